#include "playback.h"

#include "browse_logic.h"
#include "browse/pagination_controller.h"
#include "player_panel.h"
#include "playhead_diagnostics.h"
#include "results_view.h"
#include "startup_logic.h"
#include "theme_colors.h"
#include "waveform_view.h"

#include <QApplication>
#include <QFileInfo>
#include <QSettings>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cmath>

using qv::PlaybackState;

struct QVPlayback::DecodeResult {
    std::unique_ptr<qv::PreviewPlayer> player;
    QString errorDescription;
};

namespace {

QVPlayheadDiagnostics& diagnostics()
{
    return QVPlayheadDiagnostics::shared();
}

bool diagnosticsOn()
{
    return diagnostics().enabled();
}

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

// A player is a QObject of the GUI thread even when a worker made it; hand it back there
// to be deleted.
void disposeFromWorker(std::unique_ptr<qv::PreviewPlayer> player)
{
    if (!player) return;
    player->stop();
    player.release()->deleteLater();
}

} // namespace

QVPlayback::QVPlayback(qv::BrowseState& state, QVPlayerPanel& panel, QVResultsView& results, BrowserHooks hooks,
                       qv::PreviewDecoder::PlayerFactory players, QObject* parent)
    : QObject(parent)
    , _state(state)
    , _panel(panel)
    , _results(results)
    , _hooks(std::move(hooks))
    , _playbackGeneration(std::make_shared<std::atomic<std::uint64_t>>(0))
    , _decoder(std::move(players))
{
}

QVPlayback::~QVPlayback()
{
    _playbackGeneration->fetch_add(1); // any job still queued returns at once
    dropPlayer();
}

bool QVPlayback::loadedHere() const
{
    return _loadedSampleContextGeneration == _state.browseContextGeneration;
}

bool QVPlayback::rowIsPlayable(const qv::Sample& sample) const
{
    const QFileInfo info(qs(sample.path));
    return info.exists() && !info.isDir() && info.isReadable();
}

std::int64_t QVPlayback::visibleIndexForPlayingSample() const
{
    for (std::size_t i = 0; i < _state.rows.size(); ++i) {
        if (_state.rows[i].id == _playingSampleId) return static_cast<std::int64_t>(i);
    }
    return -1;
}

void QVPlayback::focusSampleRow(std::int64_t row)
{
    if (row < 0 || row >= static_cast<std::int64_t>(_state.rows.size())) return;
    _state.currentIndex = row;
    _results.selectOnly(static_cast<int>(row));
    _results.scrollToRow(static_cast<int>(row));
}

void QVPlayback::redrawRow(std::int64_t row)
{
    if (row < 0 || row >= static_cast<std::int64_t>(_state.rows.size())) return;
    _results.setPlayingRow(static_cast<int>(visibleIndexForPlayingSample()),
                           _playbackState == PlaybackState::Playing);
}

void QVPlayback::redrawRows()
{
    _results.setPlayingRow(static_cast<int>(visibleIndexForPlayingSample()),
                           _playbackState == PlaybackState::Playing);
}

void QVPlayback::dropPlayer()
{
    if (!_sound) return;
    disconnect(_sound.get(), nullptr, this, nullptr);
    _sound->stop();
    _sound.release()->deleteLater();
}

void QVPlayback::adoptPlayer(std::unique_ptr<qv::PreviewPlayer> player)
{
    _sound = std::move(player);
    qv::PreviewPlayer* sound = _sound.get();
    connect(sound, &qv::PreviewPlayer::didFinishPlaying, this, [this, sound](bool ok) {
        if (sound == _sound.get()) finishedPlaying(ok);
    });
    connect(sound, &qv::PreviewPlayer::decodeErrorDidOccur, this, [this, sound](const QString& error) {
        if (sound == _sound.get()) decodeErrorOccurred(error);
    });
}

void QVPlayback::loadSampleAtIndex(std::int64_t index, bool autoplay, std::int64_t direction)
{
    if (index < 0 || index >= static_cast<std::int64_t>(_state.rows.size())) return;
    _state.manualPageNavigationAnchorActive = false;
    const std::int64_t previousRow = visibleIndexForPlayingSample();
    const qv::Sample sample = _state.rows[static_cast<std::size_t>(index)];

    if (diagnosticsOn()) {
        diagnostics().record(QString::asprintf("load-request sample=%lld index=%lld autoplay=%d direction=%lld source=%s browseGen=%llu",
                                               static_cast<long long>(sample.id), static_cast<long long>(index), autoplay ? 1 : 0,
                                               static_cast<long long>(direction),
                                               qPrintable(_hooks.diagnosticSource ? _hooks.diagnosticSource() : QString()),
                                               static_cast<unsigned long long>(_state.browseContextGeneration)));
    }

    if (sample.type == qv::SampleType::MIDI) {
        _panel.waveform()->showMIDIPlaceholder();
        // The player keeps its sample, but the row is where the walk now stands: without
        // this, the next step would start from the loaded row and land here again.
        focusSampleRow(index);
        _state.manualPageNavigationAnchorActive = true;
        return;
    }

    focusSampleRow(index);
    const std::uint64_t generation = _playbackGeneration->fetch_add(1) + 1;
    const std::uint64_t browseGeneration = _state.browseContextGeneration;

    if (!rowIsPlayable(sample)) {
        qWarning("Quorvalinder preview path is unavailable: %s", sample.path.c_str());
        setPlaybackState(qv::stateAfterFailedLoad(_sound != nullptr, _sound && _sound->isPlaying()));
        emit statusMessage(tr("Sample unavailable: %1 \u2014 open Libraries and run Full Scan to find its new path")
                               .arg(qs(sample.filename)));
        _state.manualPageNavigationAnchorActive = true;
        if (direction != 0) navigateSamplesInDirection(direction, index + direction);
        return;
    }

    dropPlayer();
    _currentSample = sample;
    _playingSampleId = sample.id;
    _state.currentIndex = index;
    if (qv::hasActiveSort(_state)) {
        _state.sortedNavigationIndex = index + _state.page * qv::kResultsPageSize;
    } else {
        _state.sortedNavigationIndex.reset();
    }
    _loadedSampleContextGeneration = browseGeneration;
    _activeSmartSkipDirection = direction;

    QVWaveformView* wave = _panel.waveform();
    wave->setEnabled(false);
    wave->clear();
    _panel.setTitle(qs(sample.filename));
    _panel.setTimes(QStringLiteral("0:00"), QStringLiteral("0:00"));
    _panel.setKeyText(QStringLiteral("Key  ") + qs(qv::displayKey(sample.musicalKey)));
    _panel.setBpmText(QStringLiteral("BPM  ") + qs(qv::bpmText(sample.bpm)));
    if (previousRow >= 0 && previousRow != index) redrawRow(previousRow);
    setPlaybackState(PlaybackState::Loading);

    auto result = std::make_shared<DecodeResult>();
    const QString path = qs(sample.path);
    auto current = _playbackGeneration;
    const int attempts = qv::decodeAttempts(direction);
    QPointer<QVPlayback> self(this);
    _decoder.post([this, self, result, path, current, generation, attempts, direction, browseGeneration, index, sample,
                   autoplay] {
        if (generation != current->load()) return;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            if (result->player) break;
            QString error;
            std::unique_ptr<qv::PreviewPlayer> player = _decoder.makePlayer(path, &error);
            if (generation != current->load()) {
                disposeFromWorker(std::move(player));
                return;
            }
            if (player && player->prepareToPlay()) {
                result->player = std::move(player);
            } else {
                if (player && error.isEmpty()) error = player->errorText();
                result->errorDescription = error.isEmpty() ? QStringLiteral("decoder rejected the file") : error;
                disposeFromWorker(std::move(player));
            }
            if (!result->player && attempt + 1 < attempts && generation == current->load()) QThread::msleep(50);
        }
        // Posted to the application, not to this room: when the room is gone by then, the
        // block still runs on the GUI thread and frees the player there.
        QMetaObject::invokeMethod(
            qApp,
            [self, result, generation, direction, browseGeneration, index, sample, autoplay] {
                if (self) self->completeLoad(result, generation, direction, browseGeneration, index, sample, autoplay);
            },
            Qt::QueuedConnection);
    });
}

void QVPlayback::completeLoad(const std::shared_ptr<DecodeResult>& result, std::uint64_t generation,
                              std::int64_t direction, std::uint64_t browseGeneration, std::int64_t index,
                              const qv::Sample& sample, bool autoplay)
{
    if (generation != _playbackGeneration->load() || browseGeneration != _state.browseContextGeneration) {
        if (result->player) result->player->stop();
        result->player.reset();
        return;
    }
    if (!result->player) {
        const QString error = result->errorDescription.isEmpty() ? QStringLiteral("decoder rejected the file")
                                                                 : result->errorDescription;
        qWarning("Quorvalinder preview unavailable for %s: %s", sample.path.c_str(), qPrintable(error));
        setPlaybackState(qv::stateAfterFailedLoad(_sound != nullptr, _sound && _sound->isPlaying()));
        emit statusMessage(tr("Cannot preview %1: %2").arg(qs(sample.filename), error));
        if (direction != 0) navigateSamplesInDirection(direction, index + direction);
        return;
    }

    adoptPlayer(std::move(result->player));
    _sound->setVolume(_panel.volume());
    const double duration = _sound->duration();
    _panel.setSeekRange(std::max(duration, 0.001));
    _panel.setSeekValue(0);
    _panel.setSeekEnabled(true);
    QVWaveformView* wave = _panel.waveform();
    wave->setEnabled(true);
    wave->setDuration(duration);
    wave->setDoubleValue(0);
    _panel.setTimes(QStringLiteral("0:00"), qs(qv::clockText(duration)));
    wave->loadAudioAtPath(qs(sample.path), sample.modifiedAt, static_cast<std::uint64_t>(sample.fileSize));
    if (autoplay) {
        if (_sound->play()) {
            setPlaybackState(PlaybackState::Playing);
        } else {
            setPlaybackState(PlaybackState::Failed);
            if (direction != 0) {
                navigateSamplesInDirection(direction, index + direction);
                return;
            }
        }
    } else {
        setPlaybackState(PlaybackState::Idle);
    }
    redrawRows();
    focusSampleRow(index);
}

void QVPlayback::setPlaybackState(PlaybackState state)
{
    const PlaybackState from = _playbackState;
    _playbackState = state;
    if (diagnosticsOn()) {
        diagnostics().record(QString::asprintf("playback-state from=%lld to=%lld sound=%d isPlaying=%d sample=%lld",
                                               static_cast<long long>(from), static_cast<long long>(state),
                                               _sound ? 1 : 0, _sound && _sound->isPlaying() ? 1 : 0,
                                               static_cast<long long>(_currentSample ? _currentSample->id : 0)));
    }
    if (_sound) _sound->setVolume(_panel.volume());
    _panel.setPlaying(state == PlaybackState::Playing);
    updatePlayer();
}

void QVPlayback::playFromStart()
{
    _sound->setCurrentTime(0);
    setPlaybackState(_sound->play() ? PlaybackState::Playing : PlaybackState::Failed);
}

void QVPlayback::playerPlayPause()
{
    const bool here = loadedHere();
    if (_playbackState == PlaybackState::Failed && here) {
        const std::int64_t row = visibleIndexForPlayingSample();
        if (row >= 0) loadSampleAtIndex(row, true);
        return;
    }
    if (_playbackState == PlaybackState::Loading && here) return;
    if (!_sound || !here) {
        if (_sound) {
            _sound->pause();
            setPlaybackState(PlaybackState::Paused);
        }
        for (std::size_t i = 0; i < _state.rows.size(); ++i) {
            if (_state.rows[i].type != qv::SampleType::MIDI) {
                loadSampleAtIndex(static_cast<std::int64_t>(i), true);
                break;
            }
        }
        return;
    }
    switch (_playbackState) {
    case PlaybackState::Finished:
    case PlaybackState::Failed:
    case PlaybackState::Idle:
        playFromStart();
        break;
    case PlaybackState::Playing:
        _sound->pause();
        setPlaybackState(PlaybackState::Paused);
        break;
    case PlaybackState::Paused:
        setPlaybackState(_sound->play() ? PlaybackState::Playing : PlaybackState::Failed);
        break;
    case PlaybackState::Loading:
        break;
    }
    const std::int64_t row = visibleIndexForPlayingSample();
    if (row >= 0) {
        focusSampleRow(row);
        redrawRow(row);
    }
}

void QVPlayback::preview(std::int64_t row)
{
    if (row < 0 || row >= static_cast<std::int64_t>(_state.rows.size())) return;
    const qv::Sample& sample = _state.rows[static_cast<std::size_t>(row)];
    if (sample.type == qv::SampleType::MIDI) {
        _panel.waveform()->showMIDIPlaceholder();
        return;
    }
    if (sample.id == _playingSampleId && _sound && loadedHere() && _playbackState != PlaybackState::Failed) {
        playerPlayPause();
    } else {
        loadSampleAtIndex(row, true);
    }
}

void QVPlayback::stopPlayback()
{
    _playbackGeneration->fetch_add(1);
    if (_sound) {
        _sound->stop();
        _sound->setCurrentTime(0);
    }
    setPlaybackState(PlaybackState::Idle);
}

void QVPlayback::stopPlaybackAction()
{
    stopPlayback();
    redrawRow(visibleIndexForPlayingSample());
}

void QVPlayback::restartCurrentSample()
{
    if (_sound && loadedHere()) {
        playFromStart();
        redrawRow(visibleIndexForPlayingSample());
    } else {
        playerPlayPause();
    }
}

void QVPlayback::finishedPlaying(bool successfully)
{
    if (!successfully) {
        setPlaybackState(PlaybackState::Failed);
        return;
    }
    _sound->setCurrentTime(0);
    if (_repeatEnabled) {
        setPlaybackState(_sound->play() ? PlaybackState::Playing : PlaybackState::Failed);
    } else {
        setPlaybackState(PlaybackState::Finished);
        redrawRow(visibleIndexForPlayingSample());
    }
}

void QVPlayback::decodeErrorOccurred(const QString& error)
{
    const std::int64_t direction = std::exchange(_activeSmartSkipDirection, 0);
    setPlaybackState(PlaybackState::Failed);
    emit statusMessage(tr("Preview failed: %1").arg(error.isEmpty() ? QStringLiteral("Audio decode error") : error));
    const std::int64_t row = visibleIndexForPlayingSample();
    if (direction != 0 && row >= 0) navigateSamplesInDirection(direction, row + direction);
}

void QVPlayback::repeatPressed()
{
    _repeatEnabled = !_repeatEnabled;
    QSettings().setValue(QLatin1String(qv::kPlayerRepeatKey), _repeatEnabled);
    _panel.setRepeat(_repeatEnabled, qv::currentThemeColors().accent);
}

void QVPlayback::volumeChanged(double volume)
{
    volume = std::clamp(volume, 0.0, 1.0);
    if (_sound) _sound->setVolume(volume);
    QSettings().setValue(QLatin1String(qv::kPlayerVolumeKey), volume);
}

void QVPlayback::applyStoredSettings()
{
    const QSettings settings;
    _repeatEnabled = settings.value(QLatin1String(qv::kPlayerRepeatKey), false).toBool();
    _panel.setRepeat(_repeatEnabled, qv::currentThemeColors().accent);
    const QVariant stored = settings.value(QLatin1String(qv::kPlayerVolumeKey));
    _panel.setVolume(stored.isValid() ? std::clamp(stored.toDouble(), 0.0, 1.0) : qv::kDefaultPlayerVolume);
}

void QVPlayback::setCurrentFavorite(bool favorite)
{
    if (_currentSample) _currentSample->favorite = favorite;
}

void QVPlayback::seekTo(double seconds, const char* source)
{
    if (!_sound) return;
    if (source && diagnosticsOn()) {
        diagnostics().record(QString::asprintf("seek source=%s from=%.3f to=%.3f", source, _sound->currentTime(), seconds));
    }
    _sound->setCurrentTime(seconds);
    updatePlayer();
}

void QVPlayback::browseContextChanged()
{
    _playbackGeneration->fetch_add(1);
    if (_playbackState != PlaybackState::Loading) return;
    if (!_sound) {
        setPlaybackState(PlaybackState::Idle);
    } else {
        setPlaybackState(_sound->isPlaying() ? PlaybackState::Playing : PlaybackState::Paused);
    }
}

std::pair<double, bool> QVPlayback::audition() const
{
    if (!_sound) return {0.0, false};
    return {_sound->currentTime(), _sound->isPlaying()};
}

void QVPlayback::resumeAudition(double seconds, bool playing)
{
    if (!_sound) return;
    if (std::abs(_sound->currentTime() - seconds) > 0.05 && !_sound->isPlaying()) _sound->setCurrentTime(seconds);
    if (playing && !_sound->isPlaying()) setPlaybackState(_sound->play() ? PlaybackState::Playing : PlaybackState::Failed);
}

void QVPlayback::seekByFraction(double fraction)
{
    if (!_sound || _sound->duration() <= 0) return;
    const double duration = _sound->duration();
    _sound->setCurrentTime(std::clamp(_sound->currentTime() + duration * fraction, 0.0, duration));
    updatePlayer();
}

void QVPlayback::seekPlayer(double seconds)
{
    seekTo(seconds, "slider");
}

void QVPlayback::seekWaveform(double seconds)
{
    seekTo(seconds, "bottom-waveform");
}

void QVPlayback::seekRowWaveform(std::int64_t row, double seconds)
{
    if (row < 0 || row >= static_cast<std::int64_t>(_state.rows.size())) return;
    if (_state.rows[static_cast<std::size_t>(row)].id != _playingSampleId) loadSampleAtIndex(row, false);
    // A fresh load is still decoding; its player arrives with position 0.
    if (_sound && _state.rows[static_cast<std::size_t>(row)].id == _playingSampleId) seekTo(seconds, nullptr);
}

void QVPlayback::previewRowWaveform(std::int64_t row)
{
    if (row < 0 || row >= static_cast<std::int64_t>(_state.rows.size())) return;
    if (_state.rows[static_cast<std::size_t>(row)].type == qv::SampleType::MIDI) return;
    _results.selectOnly(static_cast<int>(row));
    loadSampleAtIndex(row, true);
}

std::int64_t QVPlayback::manualNavigationIndex()
{
    qv::AnchorInputs in;
    in.manualAnchorActive = _state.manualPageNavigationAnchorActive;
    in.selectedRow = _results.selectedRow();
    in.currentIndex = _state.currentIndex;
    if (_currentSample) in.loadedSampleId = _currentSample->id;
    in.playingSampleId = _playingSampleId;
    in.rowIds.reserve(_state.rows.size());
    for (const qv::Sample& s : _state.rows) in.rowIds.push_back(s.id);
    const qv::Anchor anchor = qv::navigationAnchor(in);
    if (anchor.clearManualAnchor) _state.manualPageNavigationAnchorActive = false;
    if (anchor.takesSelection) _state.currentIndex = anchor.index;
    return anchor.index;
}

namespace {

qv::StepInputs stepInputs(const qv::BrowseState& state, std::int64_t from)
{
    return {from, static_cast<std::int64_t>(state.rows.size()), qv::hasActiveSort(state), state.sortedNavigationIndex,
            state.sortedNavigationTotal};
}

} // namespace

void QVPlayback::nextSample()
{
    if (_state.pageTransitionScheduled || _state.pendingSamplePageSelection != 0) return;
    const qv::Step step = qv::nextStep(stepInputs(_state, manualNavigationIndex()));
    switch (step.kind) {
    case qv::Step::Kind::Row: navigateSamplesInDirection(1, step.target); break;
    case qv::Step::Kind::CrossPage: beginCrossPageSampleNavigation(1); break;
    case qv::Step::Kind::SortedGlobal: navigateToSortedGlobalIndex(step.target, 1); break;
    case qv::Step::Kind::None: break;
    }
}

void QVPlayback::previousSample()
{
    if (_state.pageTransitionScheduled || _state.pendingSamplePageSelection != 0) return;
    const qv::Step step = qv::previousStep(stepInputs(_state, manualNavigationIndex()));
    switch (step.kind) {
    case qv::Step::Kind::Row: navigateSamplesInDirection(-1, step.target); break;
    case qv::Step::Kind::CrossPage: beginCrossPageSampleNavigation(-1); break;
    case qv::Step::Kind::SortedGlobal: navigateToSortedGlobalIndex(step.target, -1); break;
    case qv::Step::Kind::None: break;
    }
}

void QVPlayback::navigateSamplesInDirection(std::int64_t direction, std::int64_t from)
{
    if (direction == 0 || _state.libraryMode || _state.pageTransitionScheduled ||
        _state.pendingSamplePageSelection != 0) {
        return;
    }
    const qv::WalkResult walk =
        qv::walkToPlayable(_state.rows, from, direction, [this](const qv::Sample& s) { return rowIsPlayable(s); });
    if (walk.row >= 0) {
        if (walk.skipped) emit statusMessage(tr("Skipped unavailable sample"));
        loadSampleAtIndex(walk.row, true, direction);
        return;
    }
    emit statusMessage(tr("Skipped unavailable samples"));
    const auto last = static_cast<std::int64_t>(_state.rows.size()) - 1;
    if (direction > 0) {
        if (_state.hasNextPage) {
            beginCrossPageSampleNavigation(direction);
        } else {
            focusSampleRow(last);
            _state.manualPageNavigationAnchorActive = true;
        }
    } else {
        if (_state.page > 0) {
            beginCrossPageSampleNavigation(direction);
        } else {
            focusSampleRow(0);
            _state.manualPageNavigationAnchorActive = true;
        }
    }
}

void QVPlayback::beginCrossPageSampleNavigation(std::int64_t direction)
{
    if (direction == 0 || _state.libraryMode || _state.pageTransitionScheduled ||
        _state.pendingSamplePageSelection != 0) {
        return;
    }
    if (direction < 0 && _state.page < 1) return;
    if (direction > 0 && !_state.hasNextPage) return;
    _state.pendingSamplePageSelection = direction > 0 ? 1 : -1;
    _state.pendingSampleTargetPage = _state.page + direction;
    if (_hooks.requestPageDelta) _hooks.requestPageDelta(direction);
}

void QVPlayback::navigateToSortedGlobalIndex(std::int64_t global, std::int64_t direction)
{
    const std::int64_t page = global / qv::kResultsPageSize;
    if (page != _state.page && _hooks.showPageNow) _hooks.showPageNow(page);
    const std::int64_t row = global % qv::kResultsPageSize;
    if (row < static_cast<std::int64_t>(_state.rows.size())) navigateSamplesInDirection(direction, row);
}

bool QVPlayback::progressTimerActive() const
{
    return _playerTimer && _playerTimer->isActive();
}

void QVPlayback::startPlayerProgressTimer()
{
    if (progressTimerActive()) {
        if (diagnosticsOn()) diagnostics().record(QString::asprintf("timer-reuse id=%p valid=1", static_cast<void*>(_playerTimer.data())));
        return;
    }
    if (_playerTimer) {
        if (diagnosticsOn()) {
            diagnostics().record(QString::asprintf("timer-invalidate reason=replace id=%p valid=%d", static_cast<void*>(_playerTimer.data()),
                                                   _playerTimer->isActive() ? 1 : 0));
        }
        delete _playerTimer.data();
    }
    auto* timer = new QTimer(this);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setInterval(120);
    connect(timer, &QTimer::timeout, this, &QVPlayback::updatePlayer);
    timer->start();
    _playerTimer = timer;
    if (diagnosticsOn()) {
        diagnostics().record(QString::asprintf("timer-create id=%p valid=%d mode=common", static_cast<void*>(timer), timer->isActive() ? 1 : 0));
    }
}

void QVPlayback::invalidateProgressTimer(const char* reason)
{
    if (reason && diagnosticsOn()) diagnostics().record(QString::asprintf("timer-invalidate reason=%s", reason));
    delete _playerTimer.data();
}

void QVPlayback::applyTransportEnablement()
{
    qv::TransportInputs in;
    in.state = _playbackState;
    in.hasPlayer = _sound != nullptr;
    in.sampleLoaded = _currentSample.has_value();
    in.navigationIndex = manualNavigationIndex();
    in.rowCount = static_cast<std::int64_t>(_state.rows.size());
    in.page = _state.page;
    in.hasNextPage = _state.hasNextPage;
    in.sortActive = qv::hasActiveSort(_state);
    in.sortedIndex = _state.sortedNavigationIndex;
    in.sortedTotal = _state.sortedNavigationTotal;
    _panel.setEnablement(qv::transportEnablement(in));
}

void QVPlayback::updatePlayer()
{
    const bool playing = _playbackState == PlaybackState::Playing;
    _panel.setPlaying(playing);
    applyTransportEnablement();
    _panel.setFavorite(_currentSample && _currentSample->favorite);

    const double position = _sound ? _sound->currentTime() : 0.0;
    const double duration = _sound ? _sound->duration() : 0.0;
    if (_sound) {
        _panel.setTimes(QString::fromStdString(qv::clockText(position)), QString::fromStdString(qv::clockText(duration)));
        _panel.setSeekValue(position);
    }
    const bool showsPlayhead = playing || _playbackState == PlaybackState::Paused;
    const double progress = duration > 0 ? std::clamp(position / duration, 0.0, 1.0) : 0.0;
    const std::int64_t row = visibleIndexForPlayingSample();
    QVWaveformView* bottom = _panel.waveform();
    QVWaveformView* browser = row >= 0 ? _results.rowWaveform(static_cast<int>(row)) : nullptr;
    // A pooled row view that showed the last sample's playhead now shows another sample
    // (or none); it must not keep the old position.
    if (_fedRowWaveform && _fedRowWaveform != browser) {
        _fedRowWaveform->setShowsPlayhead(false);
        _fedRowWaveform->setProgress(0);
    }
    _fedRowWaveform = browser;
    for (QVWaveformView* view : {bottom, browser}) {
        if (!view || !_sound) continue;
        view->setDuration(duration);
        view->setDoubleValue(position);
        view->setShowsPlayhead(showsPlayhead);
        view->setProgress(progress);
    }
    _results.setPlayingRow(static_cast<int>(row), playing);

    if (diagnosticsOn()) {
        qv::PlayheadWatch::Tick tick;
        tick.timerExists = _playerTimer != nullptr;
        tick.timerValid = progressTimerActive();
        tick.state = static_cast<std::int64_t>(_playbackState);
        tick.hasSound = _sound != nullptr;
        tick.audioPlaying = _sound && _sound->isPlaying();
        tick.position = position;
        tick.duration = duration;
        tick.progress = progress;
        tick.sampleLoaded = _currentSample.has_value();
        tick.sampleId = _currentSample ? _currentSample->id : 0;
        tick.playingSampleId = _playingSampleId;
        tick.currentIndex = _state.currentIndex;
        tick.visibleRow = row;
        tick.source = _hooks.diagnosticSource ? _hooks.diagnosticSource() : QString();
        tick.browseGeneration = _state.browseContextGeneration;
        tick.loadedGeneration = _loadedSampleContextGeneration;
        tick.playGeneration = _playbackGeneration->load();
        tick.bottom = bottom;
        tick.browser = browser;
        _watch.tick(tick);
    }
}

void QVPlayback::waveformCacheUpdated(const QString& path)
{
    for (std::size_t i = 0; i < _state.rows.size(); ++i) {
        if (qs(_state.rows[i].path) == path) {
            if (QVWaveformView* view = _results.rowWaveform(static_cast<int>(i))) view->update();
            return;
        }
    }
}

void QVPlayback::waveformDurationUpdated(const QString& path, const QVariantMap& userInfo)
{
    const QVariant duration = userInfo.value(QStringLiteral("duration"));
    if (!duration.isValid()) return;
    for (std::size_t i = 0; i < _state.rows.size(); ++i) {
        if (qs(_state.rows[i].path) == path) {
            _state.rows[i].duration = duration.toDouble();
            _results.updateSample(static_cast<int>(i), _state.rows[i]);
            return;
        }
    }
}
