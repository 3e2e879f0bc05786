// A peak decoder for queue tests: it records the order in which jobs start, and blocks
// every job until the test releases it, so that what waits and what runs is known.
// A path containing "bad" fails; other paths get peaks of 1 / (path length).
#pragma once

#include "peak_builder.h"
#include "peak_decoder.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace qv::test {

class HeldDecoder {
public:
    qv::PeakDecode decode(const QString& path)
    {
        std::unique_lock lock(_mutex);
        _started << path;
        _changed.notify_all();
        _changed.wait(lock, [&] { return _released || _releasedPaths.contains(path); });
        qv::PeakDecode result;
        if (path.contains(QLatin1String("bad"))) {
            result.error = "rejected";
        } else {
            result.peaks.assign(qv::kPeakCount, 1.0f / float(path.size()));
            result.durationSeconds = 2.5;
        }
        return result;
    }

    void release()
    {
        std::lock_guard lock(_mutex);
        _released = true;
        _changed.notify_all();
    }

    void release(const QString& path)
    {
        std::lock_guard lock(_mutex);
        _releasedPaths << path;
        _changed.notify_all();
    }

    // Blocks until `count` jobs have started (and are held).
    // False when fewer than `count` jobs started within five seconds, so that a broken
    // queue fails the test instead of hanging it.
    [[nodiscard]] bool waitForStarted(int count)
    {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(5), [&] { return _started.size() >= count; });
    }

    QStringList started() const
    {
        std::lock_guard lock(_mutex);
        return _started;
    }

private:
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    QStringList _started;
    QStringList _releasedPaths;
    bool _released = false;
};

} // namespace qv::test
