#include "playhead_watch.h"

#include "playhead_diagnostics.h"
#include "waveform_view.h"

#include <cmath>

namespace qv {

QString PlayheadWatch::viewSummary(const QVWaveformView* view, double now, bool withPresence) const
{
    if (!view) {
        return withPresence ? QStringLiteral("present:0 attached:0 hidden:1 set:0 draw:0 setAge:-1.000 drawAge:-1.000")
                            : QStringLiteral("id:0x0 attached:0 hidden:1 applied:0.00000 drawn:0.00000 hasDrawn:0 set:0 "
                                             "draw:0 setAge:-1.000 drawAge:-1.000");
    }
    const QVWaveformView::Diagnostics& d = view->diagnostics();
    const double setAge = d.lastProgressTime > 0 ? now - d.lastProgressTime : -1.0;
    const double drawAge = d.lastRedrawTime > 0 ? now - d.lastRedrawTime : -1.0;
    const int attached = view->window() != nullptr && view->isVisible() ? 1 : 0;
    const int hidden = view->isVisible() ? 0 : 1;
    if (withPresence) {
        return QString::asprintf("present:1 attached:%d hidden:%d set:%llu draw:%llu setAge:%.3f drawAge:%.3f", attached,
                                 hidden, static_cast<unsigned long long>(d.progressUpdateCount),
                                 static_cast<unsigned long long>(d.redrawCount), setAge, drawAge);
    }
    return QString::asprintf("id:%p attached:%d hidden:%d applied:%.5f drawn:%.5f hasDrawn:%d set:%llu draw:%llu "
                             "setAge:%.3f drawAge:%.3f",
                             static_cast<const void*>(view), attached, hidden, d.lastAppliedProgress, d.lastDrawnProgress,
                             d.hasDrawnProgress ? 1 : 0, static_cast<unsigned long long>(d.progressUpdateCount),
                             static_cast<unsigned long long>(d.redrawCount), setAge, drawAge);
}

void PlayheadWatch::tick(const Tick& t, double now)
{
    QVPlayheadDiagnostics& log = QVPlayheadDiagnostics::shared();
    if (!log.enabled()) return;
    if (now < 0) now = QVPlayheadDiagnostics::uptime();

    if (_lastCallback >= 0 && now - _lastCallback > kTimerGap) {
        log.record(QString::asprintf("timer-gap seconds=%.3f callback=%llu valid=%d", now - _lastCallback,
                                     static_cast<unsigned long long>(_callbacks), t.timerValid ? 1 : 0));
    }
    _lastCallback = now;
    ++_callbacks;

    if (!t.sampleLoaded) {
        if (now - _lastSnapshot >= kSnapshotInterval) {
            _lastSnapshot = now;
            log.record(QString::asprintf("snapshot early=no-loaded-sample timer=%d state=%lld sound=%d current=%lld source=%s "
                                         "browseGen=%llu playGen=%llu bottomId=%p",
                                         t.timerExists ? 1 : 0, static_cast<long long>(t.state), t.hasSound ? 1 : 0,
                                         static_cast<long long>(t.currentIndex), qPrintable(t.source),
                                         static_cast<unsigned long long>(t.browseGeneration),
                                         static_cast<unsigned long long>(t.playGeneration),
                                         static_cast<const void*>(t.bottom)));
        }
        _lastBottomProgress = -1;
        _lastBottomAdvance = -1;
        _trackedSample = 0;
        _trackedPlaybackGeneration = 0;
        _stallReported = false;
        return;
    }

    const bool playing = t.state == 2 && t.audioPlaying && t.duration > 0;
    if (playing && _trackedSample == t.sampleId && _lastBottomAdvance >= 0 && !_stallReported &&
        now - _lastBottomAdvance > kStall) {
        const QVWaveformView::Diagnostics d = t.bottom ? t.bottom->diagnostics() : QVWaveformView::Diagnostics{};
        const double stallTime = log.lastMainThreadStallTime();
        log.record(QString::asprintf(
            "PLAYHEAD_STALL_DETECTED seconds=%.3f timer=%d timerValid=%d callbacks=%llu success=%llu audioPos=%.3f "
            "targetProgress=%.5f appliedProgress=%.5f drawnProgress=%.5f hasDrawn=%d bottomId=%p sample=%lld "
            "trackedPlayGen=%llu playGen=%llu browseGen=%llu loadedGen=%llu mainStallAge=%.3f mainStallDuration=%.3f",
            now - _lastBottomAdvance, t.timerExists ? 1 : 0, t.timerValid ? 1 : 0,
            static_cast<unsigned long long>(_callbacks), static_cast<unsigned long long>(_successes), t.position,
            t.progress, d.lastAppliedProgress, d.lastDrawnProgress, d.hasDrawnProgress ? 1 : 0,
            static_cast<const void*>(t.bottom), static_cast<long long>(t.sampleId),
            static_cast<unsigned long long>(_trackedPlaybackGeneration), static_cast<unsigned long long>(t.playGeneration),
            static_cast<unsigned long long>(t.browseGeneration), static_cast<unsigned long long>(t.loadedGeneration),
            stallTime > 0 ? now - stallTime : -1.0, log.lastMainThreadStallDuration()));
        _stallReported = true;
    }

    const double applied = t.bottom ? t.bottom->diagnostics().lastAppliedProgress : 0.0;
    if (_trackedSample != t.sampleId || std::fabs(applied - _lastBottomProgress) > 0.000001) {
        _lastBottomProgress = applied;
        _lastBottomAdvance = now;
        _trackedPlaybackGeneration = t.playGeneration;
        _trackedSample = t.sampleId;
        _stallReported = false;
    }

    ++_successes;
    if (now - _lastSnapshot >= kSnapshotInterval) {
        _lastSnapshot = now;
        log.record(QString::asprintf(
            "snapshot timer=%d timerValid=%d callbacks=%llu success=%llu state=%lld audioPlaying=%d pos=%.3f dur=%.3f "
            "progress=%.5f sample=%lld selected=%lld visibleRow=%lld source=%s browseGen=%llu loadedGen=%llu "
            "playGen=%llu bottom={%s} browser={%s}",
            t.timerExists ? 1 : 0, t.timerValid ? 1 : 0, static_cast<unsigned long long>(_callbacks),
            static_cast<unsigned long long>(_successes), static_cast<long long>(t.state), t.audioPlaying ? 1 : 0,
            t.position, t.duration, t.progress, static_cast<long long>(t.sampleId),
            static_cast<long long>(t.playingSampleId), static_cast<long long>(t.visibleRow), qPrintable(t.source),
            static_cast<unsigned long long>(t.browseGeneration), static_cast<unsigned long long>(t.loadedGeneration),
            static_cast<unsigned long long>(t.playGeneration), qPrintable(viewSummary(t.bottom, now, false)),
            qPrintable(viewSummary(t.browser, now, true))));
    }
}

} // namespace qv
