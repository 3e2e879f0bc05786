#include "waveform_queue.h"

#include "peak_builder.h"
#include "waveform_notifier.h"

#include <QDebug>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <thread>

namespace qv {

class WaveformQueue::Job : public QRunnable {
public:
    Job(WaveformQueue& queue, QString key, QString path, int priority)
        : key(std::move(key))
        , path(std::move(path))
        , priority(priority)
        , _queue(queue)
    {
    }

    void run() override
    {
        {
            QMutexLocker lock(&_queue._queueMutex);
            _queue._waiting.erase(this);
        }
        ++_queue._runningJobs;
        _queue.runJob(*this);
        --_queue._runningJobs;
        --_queue._liveJobs;
    }

    const QString key;
    const QString path;
    const int priority;

private:
    WaveformQueue& _queue;
};

WaveformQueue& WaveformQueue::shared()
{
    static WaveformQueue* const queue = new WaveformQueue(
        [](const QString& path) { return decodePeaks(QFile::encodeName(path).toStdString()); },
        WaveformDiskCache(WaveformDiskCache::defaultDirectory()), WaveformNotifier::shared(),
        qEnvironmentVariableIsSet("QUORVALINDER_WAVEFORM_DEBUG"));
    return *queue;
}

WaveformQueue::WaveformQueue(Decoder decoder, WaveformDiskCache disk, WaveformNotifier& notifier, bool debugLog)
    : _decoder(std::move(decoder))
    , _disk(std::move(disk))
    , _notifier(notifier)
    , _debugLog(debugLog)
{
    _pool.setMaxThreadCount(2);
    _pool.setThreadPriority(QThread::LowPriority);
    _pool.setObjectName(QStringLiteral("com.ostrelle.quorvalinder.waveforms"));
    _diskWriter.setMaxThreadCount(1);
    _diskWriter.setThreadPriority(QThread::LowestPriority);
}

WaveformQueue::~WaveformQueue()
{
    std::vector<Job*> cancelled;
    {
        QMutexLocker lock(&_queueMutex);
        for (Job* job : _waiting) {
            if (_pool.tryTake(job)) cancelled.push_back(job);
        }
        for (Job* job : cancelled) _waiting.erase(job);
    }
    for (Job* job : cancelled) delete job;
    _pool.waitForDone();
    _diskWriter.waitForDone();
}

void WaveformQueue::request(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize, bool preload)
{
    requestKey(waveformCacheKey(path, modifiedAt, fileSize), path, preload);
}

void WaveformQueue::requestKey(const QString& key, const QString& path, bool preload)
{
    if (_memory.contains(key)) return;
    {
        QMutexLocker lock(&_inFlightMutex);
        if (_failures.contains(key) || _inFlight.contains(key)) return;
        const std::size_t live = _liveJobs.load();
        if (live >= kMaxLiveJobs) {
            if (_debugLog) qInfo().noquote() << QStringLiteral("wave reject live=%1 %2").arg(live).arg(path);
            return;
        }
        _inFlight.insert(key);
        ++_liveJobs;
    }
    auto* job = new Job(*this, key, path, preload ? kPreloadPriority : kOnScreenPriority);
    QMutexLocker lock(&_queueMutex);
    _waiting.insert(job);
    _pool.start(job, job->priority);
    _maxObservedJobs = std::max(_maxObservedJobs, _liveJobs.load());
}

void WaveformQueue::beginPreloadGeneration()
{
    std::vector<Job*> cancelled;
    {
        QMutexLocker lock(&_queueMutex);
        ++_preloadGeneration;
        for (Job* job : _waiting) {
            // A job the pool has already handed to a worker is not taken: it runs.
            if (job->priority < -3 && _pool.tryTake(job)) cancelled.push_back(job);
        }
        for (Job* job : cancelled) _waiting.erase(job);
        if (_debugLog) {
            qInfo().noquote() << QStringLiteral("wave begin generation=%1 operations=%2")
                                     .arg(_preloadGeneration)
                                     .arg(_liveJobs.load() - cancelled.size());
        }
    }
    for (Job* job : cancelled) {
        jobEnded(job->key, false);
        --_liveJobs;
        delete job;
    }
}

void WaveformQueue::runJob(Job& job)
{
    std::optional<std::vector<float>> peaks = _disk.read(job.key);
    double duration = 0;
    if (!peaks) {
        PeakDecode decoded = _decoder(job.path);
        if (decoded.peaks.size() == kPeakCount) {
            duration = decoded.durationSeconds;
            // Creating a file costs more than decoding a short sample on some disks, and
            // the CPU it takes is the decoders'. One writer writes cache files while no
            // job is live, or at once when too many wait.
            ++_pendingWrites;
            _diskWriter.start([this, key = job.key, written = decoded.peaks] {
                while (_liveJobs.load() > 0 && _pendingWrites.load() < kMaxDeferredWrites) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                }
                _disk.write(key, written);
                --_pendingWrites;
            });
            peaks = std::move(decoded.peaks);
        }
    }
    const bool failed = !peaks;
    if (peaks) _memory.insert(job.key, *peaks);
    if (_debugLog) {
        qInfo().noquote() << QStringLiteral("wave complete count=%1 %2").arg(peaks ? peaks->size() : 0).arg(job.path);
    }
    jobEnded(job.key, failed);
    if (failed) {
        _notifier.postCacheDidFail(job.path, job.key);
    } else {
        _notifier.postCacheDidUpdate(job.path, job.key);
    }
    if (duration > 0) _notifier.postDurationDidUpdate(job.path, duration);
}

void WaveformQueue::jobEnded(const QString& key, bool failed)
{
    QMutexLocker lock(&_inFlightMutex);
    if (failed) _failures.insert(key);
    _inFlight.remove(key);
}

std::optional<std::vector<float>> WaveformQueue::cachedPeaks(const QString& key) const
{
    return _memory.peaks(key);
}

bool WaveformQueue::hasCached(const QString& key) const
{
    return _memory.contains(key);
}

bool WaveformQueue::hasFailed(const QString& key) const
{
    QMutexLocker lock(&_inFlightMutex);
    return _failures.contains(key);
}

std::size_t WaveformQueue::maximumObservedJobCount() const
{
    QMutexLocker lock(&_queueMutex);
    return _maxObservedJobs;
}

std::uint64_t WaveformQueue::preloadGeneration() const
{
    QMutexLocker lock(&_queueMutex);
    return _preloadGeneration;
}

void WaveformQueue::waitForDiskWrites()
{
    _diskWriter.waitForDone();
}

bool WaveformQueue::waitUntilIdleWithTimeout(double seconds) const
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (pendingJobCount() > 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return pendingJobCount() == 0;
}

} // namespace qv
