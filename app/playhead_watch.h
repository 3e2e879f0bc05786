#pragma once
// The progress tick's part of the playhead diagnostics: a gap between ticks, a playhead
// that stopped moving while audio plays, and a snapshot every two seconds. Only runs
// when diagnostics are on; writes through QVPlayheadDiagnostics.

#include <QString>

#include <cstdint>

class QVWaveformView;

namespace qv {

class PlayheadWatch {
public:
    struct Tick {
        bool timerExists = false;
        bool timerValid = false;
        std::int64_t state = 0;
        bool hasSound = false;
        bool audioPlaying = false;
        double position = 0;
        double duration = 0;
        double progress = 0;
        bool sampleLoaded = false;
        std::int64_t sampleId = 0;
        std::int64_t playingSampleId = 0;
        std::int64_t currentIndex = -1;
        std::int64_t visibleRow = -1;
        QString source;
        std::uint64_t browseGeneration = 0;
        std::uint64_t loadedGeneration = 0;
        std::uint64_t playGeneration = 0;
        const QVWaveformView* bottom = nullptr;
        const QVWaveformView* browser = nullptr;
    };

    static constexpr double kTimerGap = 0.5;
    static constexpr double kStall = 2.0;
    static constexpr double kSnapshotInterval = 2.0;

    // `now` is the uptime in seconds; the diagnostics clock by default.
    void tick(const Tick& t, double now = -1);

private:
    QString viewSummary(const QVWaveformView* view, double now, bool withPresence) const;

    std::uint64_t _callbacks = 0;
    std::uint64_t _successes = 0;
    double _lastCallback = -1;
    double _lastSnapshot = 0;
    double _lastBottomProgress = -1;
    double _lastBottomAdvance = -1;
    std::uint64_t _trackedPlaybackGeneration = 0;
    std::int64_t _trackedSample = 0;
    bool _stallReported = false;
};

} // namespace qv
