#pragma once
// The player at the foot of the window: transport buttons, the loaded sample's name, key
// and tempo, its waveform with time and duration, a seek slider, the love heart, repeat
// and volume. Shows what it is given and forwards what the user does.

#include "playback_logic.h"

#include <QWidget>

class QGridLayout;
class QHBoxLayout;
class QLabel;
class QVBoxLayout;
class QSlider;
class QToolButton;
class QVWaveformView;

namespace qv {
class WaveformQueue;
}

class QVPlayerPanel : public QWidget {
    Q_OBJECT
public:
    explicit QVPlayerPanel(qv::WaveformQueue& queue, QWidget* parent = nullptr);

    QVWaveformView* waveform() const { return _waveform; }

    void setTitle(const QString& title);
    void setTimes(const QString& time, const QString& duration);
    void setKeyText(const QString& text);
    void setBpmText(const QString& text);
    void setSeekRange(double maximum);
    void setSeekValue(double seconds); // ignored while the user drags the slider
    void setSeekEnabled(bool enabled);
    double seekValue() const;
    bool userIsSeeking() const;
    void setPlaying(bool playing);
    void setEnablement(const qv::TransportEnablement& enablement);
    void setFavorite(bool favorite);
    void setRepeat(bool on, const QColor& accent);
    void setVolume(double volume);
    void setCompact(bool compact); // the waveform under the controls instead of beside them
    double volume() const;

    QString timeText() const;
    QString durationText() const;
    QString keyText() const;
    QString bpmText() const;
    QToolButton* playButton() const { return _play; }
    QToolButton* previousButton() const { return _previous; }
    QToolButton* nextButton() const { return _next; }
    QToolButton* stopButton() const { return _stop; }

signals:
    void playPausePressed();
    void stopPressed();
    void previousPressed();
    void nextPressed();
    void repeatPressed();
    void favoritePressed();
    void volumeChanged(double volume);
    void seekSliderMoved(double seconds);
    void waveformSeek(double seconds);
    void waveformDoubleClicked();

private:
    QToolButton* transportButton(const QString& symbol, const QString& tip);

    QVWaveformView* _waveform;
    QVBoxLayout* _column;
    QHBoxLayout* _row;
    QGridLayout* _wave;
    QLabel* _title;
    QLabel* _time;
    QLabel* _duration;
    QLabel* _key;
    QLabel* _bpm;
    QSlider* _seek;
    QToolButton* _previous;
    QToolButton* _play;
    QToolButton* _next;
    QToolButton* _stop;
    QToolButton* _favorite;
    QToolButton* _repeat;
    QToolButton* _volumeIcon;
    QSlider* _volume;
    bool _playing = false;
};
