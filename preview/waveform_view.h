// QVWaveformView: the control that draws a sample's 192 peaks as bars with the played
// part coloured and a playhead, and seeks when clicked or dragged. One sits in the player
// panel and one in each result row.
//
// It asks the waveform queue for peaks (on-screen priority, or none at all for
// `loadCachedAudioAtPath`), listens for the queue's notifications, and polls the memory
// cache every 250 ms, at most 120 times. Every load, clear and MIDI placeholder starts a
// new request generation, and a poll or notification counts only when both its
// generation and its cache key are still the view's, so a late answer for an older file
// is never shown.
//
// Invariants: 0 ≤ progress ≤ 1; peaks are empty or exactly 192; `cacheKey` is empty
// exactly when no file is shown.
// GUI thread only.
#pragma once

#include <QString>
#include <QVariantMap>
#include <QWidget>

#include <cstdint>
#include <vector>

namespace qv {
class WaveformQueue;
}

class QVWaveformView : public QWidget {
    Q_OBJECT
public:
    static constexpr int kPollIntervalMs = 250;
    static constexpr int kMaxPollAttempts = 120;

    // `queue`: where peaks come from; the application's shared queue when null.
    explicit QVWaveformView(QWidget* parent = nullptr, qv::WaveformQueue* queue = nullptr);

    void loadAudioAtPath(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize);
    void loadCachedAudioAtPath(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize);
    void clear();
    void showMIDIPlaceholder();

    const std::vector<float>& peaks() const { return _peaks; }
    const QString& audioPath() const { return _audioPath; }
    const QString& cacheKey() const { return _cacheKey; }
    std::uint64_t requestGeneration() const { return _requestGeneration; }
    bool midiMode() const { return _midiMode; }
    bool loading() const { return _loading; }

    double progress() const { return _progress; }
    void setProgress(double progress);
    double duration() const { return _duration; }
    void setDuration(double seconds) { _duration = seconds; }
    double doubleValue() const { return _value; }
    void setDoubleValue(double seconds) { _value = seconds; }
    bool showsPlayhead() const { return _showsPlayhead; }
    void setShowsPlayhead(bool shows);

    // Playhead-diagnostics counters; they move only while diagnostics are enabled.
    struct Diagnostics {
        std::uint64_t progressUpdateCount = 0;
        std::uint64_t redrawCount = 0;
        double lastProgressTime = 0;
        double lastRedrawTime = 0;
        double lastAppliedProgress = 0;
        double lastDrawnProgress = 0;
        bool hasDrawnProgress = false;
    };
    const Diagnostics& diagnostics() const { return _diagnostics; }

    // Where a click at `x` seeks to, for a view `width` wide showing `duration` seconds.
    static double seekPosition(double x, double width, double duration);

signals:
    // The control's action: the user clicked or dragged to `seconds` (also the value).
    void seekRequested(double seconds);
    // A double click; when nothing is connected, a double click seeks instead.
    void doubleClicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void startLoading(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize, bool request);
    void poll(QString path, QString key, std::uint64_t generation, int attempt);
    void cacheUpdated(const QString& path, const QVariantMap& userInfo);
    void cacheFailed(const QString& path, const QVariantMap& userInfo);
    bool takeCachedPeaks();
    void finishLoading();
    void seekTo(double x);

    qv::WaveformQueue& _queue;
    std::vector<float> _peaks;
    QString _audioPath;
    QString _cacheKey;
    std::uint64_t _requestGeneration = 0;
    bool _midiMode = false;
    bool _loading = false;
    double _progress = 0;
    double _duration = 0;
    double _value = 0;
    bool _showsPlayhead = false;
    Diagnostics _diagnostics;
};
