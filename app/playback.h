#pragma once
// The preview player and sample stepping. A selection loads its sample on the serial
// decode worker; three generation numbers make sure a slow or stale load never replaces
// a newer one: the load number (bumped by every load and stop, the only field read off
// the GUI thread), the browse generation at which the load was asked for, and the query
// generation (logged only). Stepping skips files that cannot be played and crosses pages
// through the result browser. GUI thread only, apart from the decode jobs.

#include "browse_state.h"
#include "playback_logic.h"
#include "playhead_watch.h"
#include "preview_decoder.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class QTimer;
class QVPlayerPanel;
class QVResultsView;
class QVWaveformView;

class QVPlayback : public QObject {
    Q_OBJECT
public:
    // What stepping needs of the result browser.
    struct BrowserHooks {
        std::function<void(std::int64_t delta)> requestPageDelta;
        std::function<void(std::int64_t page)> showPageNow; // sets the page and refreshes synchronously
        std::function<QString()> diagnosticSource;
    };

    QVPlayback(qv::BrowseState& state, QVPlayerPanel& panel, QVResultsView& results, BrowserHooks hooks,
               qv::PreviewDecoder::PlayerFactory players = qv::PreviewDecoder::devicePlayers(),
               QObject* parent = nullptr);
    ~QVPlayback() override;

    // Loading and transport.
    void loadSampleAtIndex(std::int64_t index, bool autoplay, std::int64_t direction = 0);
    void preview(std::int64_t row);
    void playerPlayPause();
    void stopPlayback();
    void stopPlaybackAction();
    void restartCurrentSample();
    void repeatPressed();
    void volumeChanged(double volume);
    void seekByFraction(double fraction);
    void seekPlayer(double seconds);
    void seekWaveform(double seconds);
    void seekRowWaveform(std::int64_t row, double seconds);
    void previewRowWaveform(std::int64_t row);

    // Stepping.
    void previousSample();
    void nextSample();
    void navigateSamplesInDirection(std::int64_t direction, std::int64_t from);
    void beginCrossPageSampleNavigation(std::int64_t direction);
    void navigateToSortedGlobalIndex(std::int64_t global, std::int64_t direction);
    std::int64_t manualNavigationIndex();
    std::int64_t visibleIndexForPlayingSample() const;
    void focusSampleRow(std::int64_t row);

    // State, timer and notifications.
    void setPlaybackState(qv::PlaybackState state);
    void startPlayerProgressTimer();
    void invalidateProgressTimer(const char* reason);
    void updatePlayer();
    void waveformCacheUpdated(const QString& path);
    void waveformDurationUpdated(const QString& path, const QVariantMap& userInfo);
    void applyStoredSettings(); // repeat and volume, read when the panel is styled
    // Another place was chosen: a load still decoding for the old one is dropped, and
    // what plays goes on.
    void browseContextChanged();
    // Where the audition is (seconds) and whether it plays; putting it back restarts it
    // only if something stopped it.
    std::pair<double, bool> audition() const;
    void resumeAudition(double seconds, bool playing);

    qv::PlaybackState playbackState() const { return _playbackState; }
    qv::PreviewPlayer* sound() const { return _sound.get(); }
    bool hasPreviewPlayer() const { return _sound != nullptr; }
    const std::optional<qv::Sample>& currentSample() const { return _currentSample; }
    std::int64_t playingSampleId() const { return _playingSampleId; }
    std::uint64_t playbackGeneration() const { return _playbackGeneration->load(); }
    bool repeatEnabled() const { return _repeatEnabled; }
    bool progressTimerActive() const;
    void setPlayerFactory(qv::PreviewDecoder::PlayerFactory players) { _decoder.setFactory(std::move(players)); }
    void setCurrentFavorite(bool favorite); // the heart changed elsewhere

signals:
    void statusMessage(const QString& text);

private:
    struct DecodeResult;
    bool loadedHere() const;
    void completeLoad(const std::shared_ptr<DecodeResult>& result, std::uint64_t generation, std::int64_t direction,
                      std::uint64_t browseGeneration, std::int64_t index, const qv::Sample& sample, bool autoplay);
    void showUnplayable(std::int64_t index, std::int64_t direction);
    void dropPlayer();
    void adoptPlayer(std::unique_ptr<qv::PreviewPlayer> player);
    void playFromStart();
    void finishedPlaying(bool successfully);
    void decodeErrorOccurred(const QString& error);
    void redrawRow(std::int64_t row);
    void redrawRows();
    bool rowIsPlayable(const qv::Sample& sample) const;
    void seekTo(double seconds, const char* source);
    void applyTransportEnablement();

    qv::BrowseState& _state;
    QVPlayerPanel& _panel;
    QVResultsView& _results;
    BrowserHooks _hooks;

    std::unique_ptr<qv::PreviewPlayer> _sound;
    std::optional<qv::Sample> _currentSample;
    std::int64_t _playingSampleId = 0;
    std::int64_t _activeSmartSkipDirection = 0;
    std::uint64_t _loadedSampleContextGeneration = 0;
    qv::PlaybackState _playbackState = qv::PlaybackState::Idle;
    bool _repeatEnabled = false;
    QPointer<QTimer> _playerTimer;
    QPointer<QVWaveformView> _fedRowWaveform; // the row view the last tick moved
    qv::PlayheadWatch _watch;

    // Shared with decode jobs, which may outlive a load but never the decoder below.
    std::shared_ptr<std::atomic<std::uint64_t>> _playbackGeneration;
    qv::PreviewDecoder _decoder; // last: stopped first
};
