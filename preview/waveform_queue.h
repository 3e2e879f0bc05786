// The process's waveform job queue: peaks for any audio file, computed in the background
// by two workers, kept in the memory cache and on disk, announced through the notifier.
//
// A request for a key that is cached, failed before or already queued does nothing; so
// does one made while 64 jobs are live (queued or running): the view's polling asks
// again. On-screen requests run before every preload (priority 8 against −4);
// `beginPreloadGeneration` cancels the preloads still waiting, never an on-screen request
// and never a running job. A failed key is never decoded again in this process.
//
// Locks: the in-flight set and the failure registry share one mutex; the preload
// generation, the waiting jobs and the high-water mark of live jobs share the queue's
// mutex; the memory cache has its own. They are never nested. The live-job count is an
// atomic changed only under the in-flight mutex when it grows, so the ceiling holds.
//
// Cache files are written by one writer thread of their own after the job has
// published the peaks, while no job is live (or at once past 4096 waiting files), so
// that slow file creation never holds up decoding.
//
// Thread-safe: every public call may come from any thread. `waitUntilIdleWithTimeout`
// blocks its caller and must not run on the GUI thread while jobs wait to notify it.
#pragma once

#include "peak_decoder.h"
#include "waveform_disk_cache.h"
#include "waveform_memory_cache.h"

#include <QMutex>
#include <QSet>
#include <QString>
#include <QThreadPool>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_set>
#include <vector>

namespace qv {

class WaveformNotifier;

class WaveformQueue {
public:
    using Decoder = std::function<PeakDecode(const QString& path)>;

    static constexpr std::size_t kMaxLiveJobs = 64;
    static constexpr int kOnScreenPriority = 8;
    static constexpr int kPreloadPriority = -4;
    // Cache files waiting for the decoders to go idle; beyond this they are written at once.
    static constexpr std::size_t kMaxDeferredWrites = 4096;

    // The application's queue: libsndfile, the user's cache folder, the shared notifier,
    // the debug flag from QUORVALINDER_WAVEFORM_DEBUG (set to anything). Never destroyed.
    static WaveformQueue& shared();

    WaveformQueue(Decoder decoder, WaveformDiskCache disk, WaveformNotifier& notifier, bool debugLog);
    // Cancels waiting jobs and waits for running ones.
    ~WaveformQueue();
    WaveformQueue(const WaveformQueue&) = delete;
    WaveformQueue& operator=(const WaveformQueue&) = delete;

    void request(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize, bool preload);
    void requestKey(const QString& key, const QString& path, bool preload);
    void beginPreloadGeneration();

    std::optional<std::vector<float>> cachedPeaks(const QString& key) const;
    bool hasCached(const QString& key) const;
    bool hasFailed(const QString& key) const;

    std::size_t pendingJobCount() const { return _liveJobs.load(); }
    std::size_t activeWorkerCount() const { return _runningJobs.load(); }
    std::size_t maximumObservedJobCount() const;
    std::uint64_t preloadGeneration() const;
    // Polls every 10 ms until no job is left or the time is up; true when idle.
    bool waitUntilIdleWithTimeout(double seconds) const;

    // Blocks until every cache file of a finished job is written (or failed to be).
    void waitForDiskWrites();

    WaveformNotifier& notifier() const { return _notifier; }
    const WaveformDiskCache& diskCache() const { return _disk; }

private:
    class Job;
    void runJob(Job& job);
    void jobEnded(const QString& key, bool failed);

    Decoder _decoder;
    WaveformDiskCache _disk;
    WaveformNotifier& _notifier;
    const bool _debugLog;
    WaveformMemoryCache _memory;

    mutable QMutex _inFlightMutex;
    QSet<QString> _inFlight;
    QSet<QString> _failures;

    mutable QMutex _queueMutex;
    std::unordered_set<Job*> _waiting;
    std::uint64_t _preloadGeneration = 0;
    std::size_t _maxObservedJobs = 0;

    std::atomic<std::size_t> _liveJobs{0};
    std::atomic<std::size_t> _runningJobs{0};
    std::atomic<std::size_t> _pendingWrites{0};
    QThreadPool _pool;
    QThreadPool _diskWriter;
};

} // namespace qv
