// The job queue with a decoder that holds every job until released: priorities, the
// cancellation of waiting preloads, the live-job ceiling, de-duplication, the failure
// registry, the notifications and the debug log.
#include "held_decoder.h"
#include "temp_dir.h"
#include "sound_files.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"

#include <QCoreApplication>
#include <QMutex>
#include <QSignalSpy>
#include <QThread>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using qv::test::HeldDecoder;
using qv::test::qpath;
using qv::testkit::TempDir;

// Workers log too, so the captured lines are guarded.
QMutex gLogMutex;
QStringList gLog;
void captureLog(QtMsgType, const QMessageLogContext&, const QString& message)
{
    QMutexLocker lock(&gLogMutex);
    gLog << message;
}
QStringList logLines()
{
    QMutexLocker lock(&gLogMutex);
    return gLog;
}

class WaveformQueueTest : public ::testing::Test {
protected:
    TempDir _dir;
    HeldDecoder _decoder;
    qv::WaveformNotifier _notifier;
    qv::WaveformQueue _queue{[this](const QString& path) { return _decoder.decode(path); },
                             qv::WaveformDiskCache(qpath(_dir / "cache")), _notifier, true};

    void SetUp() override
    {
        qInstallMessageHandler(captureLog);
        QMutexLocker lock(&gLogMutex);
        gLog.clear();
    }
    void TearDown() override
    {
        _decoder.release();
        qInstallMessageHandler(nullptr);
    }
    QString key(const QString& path) const { return qv::waveformCacheKey(path, 1, 1); }
    void request(const QString& path, bool preload) { _queue.requestKey(key(path), path, preload); }
};

TEST_F(WaveformQueueTest, OnScreenRequestsOvertakePreloadsAndANewGenerationCancelsOnlyWaitingPreloads)
{
    request("/running-preload", true);
    request("/running-onscreen", false);
    ASSERT_TRUE(_decoder.waitForStarted(2));
    request("/waiting-preload-1", true);
    request("/waiting-preload-2", true);
    request("/waiting-onscreen", false);
    request("/waiting-onscreen", false);  // in flight: no second job
    EXPECT_EQ(_queue.pendingJobCount(), 5u);
    EXPECT_EQ(_queue.activeWorkerCount(), 2u);

    _queue.beginPreloadGeneration();
    EXPECT_EQ(_queue.pendingJobCount(), 3u);
    EXPECT_EQ(_queue.preloadGeneration(), 1u);
    EXPECT_TRUE(logLines().contains("wave begin generation=1 operations=3")) << logLines().join('\n').toStdString();
    request("/next-page-preload", true);

    // One worker comes free: the on-screen request goes first, then the preload.
    _decoder.release("/running-preload");
    ASSERT_TRUE(_decoder.waitForStarted(3));
    EXPECT_EQ(_decoder.started().at(2), "/waiting-onscreen");
    _decoder.release();
    ASSERT_TRUE(_queue.waitUntilIdleWithTimeout(10));
    EXPECT_EQ(_decoder.started().mid(3), QStringList({"/next-page-preload"}));
    EXPECT_TRUE(_queue.hasCached(key("/running-preload")));
    EXPECT_FALSE(_queue.hasCached(key("/waiting-preload-1")));
    EXPECT_EQ(_queue.maximumObservedJobCount(), 5u);
    EXPECT_TRUE(logLines().contains("wave complete count=192 /waiting-onscreen"));

    // A cancelled key is forgotten, not failed: asking again decodes it.
    request("/waiting-preload-1", true);
    ASSERT_TRUE(_queue.waitUntilIdleWithTimeout(10));
    EXPECT_TRUE(_queue.hasCached(key("/waiting-preload-1")));
}

TEST_F(WaveformQueueTest, SixtyFourLiveJobsAreTheCeilingAndTheDroppedRequestIsNotRemembered)
{
    for (int i = 0; i < 64; ++i) request(QStringLiteral("/row-%1").arg(i), true);
    request("/row-0", false);
    EXPECT_EQ(_queue.pendingJobCount(), 64u);
    request("/row-64", false);
    EXPECT_EQ(_queue.pendingJobCount(), 64u);
    EXPECT_TRUE(logLines().contains("wave reject live=64 /row-64"));
    EXPECT_EQ(_queue.maximumObservedJobCount(), 64u);

    _decoder.release();
    ASSERT_TRUE(_queue.waitUntilIdleWithTimeout(10));
    EXPECT_EQ(_decoder.started().size(), 64);
    EXPECT_FALSE(_queue.hasCached(key("/row-64")));
    EXPECT_FALSE(_queue.hasFailed(key("/row-64")));

    request("/row-64", true);
    ASSERT_TRUE(_queue.waitUntilIdleWithTimeout(10));
    EXPECT_TRUE(_queue.hasCached(key("/row-64")));
    EXPECT_EQ(_decoder.started().size(), 65);
    EXPECT_EQ(_queue.maximumObservedJobCount(), 64u);
}

TEST_F(WaveformQueueTest, NotificationsArriveOnTheGuiThreadAndFailuresAreNeverRetried)
{
    QList<QPair<QString, QVariantMap>> updates, failures, durations;
    bool offGuiThread = false;
    auto collect = [&](auto& list) {
        return [&](const QString& path, const QVariantMap& info) {
            offGuiThread |= QThread::currentThread() != qApp->thread();
            list.append({path, info});
        };
    };
    QObject::connect(&_notifier, &qv::WaveformNotifier::QVWaveformCacheDidUpdate, collect(updates));
    QObject::connect(&_notifier, &qv::WaveformNotifier::QVWaveformCacheDidFail, collect(failures));
    QObject::connect(&_notifier, &qv::WaveformNotifier::QVWaveformDurationDidUpdate, collect(durations));

    _decoder.release();
    request("/good.wav", false);
    request("/bad.wav", false);
    ASSERT_TRUE(_queue.waitUntilIdleWithTimeout(10));
    EXPECT_TRUE(updates.isEmpty()) << "delivered through the event loop, not from the worker";
    ASSERT_TRUE(QTest::qWaitFor([&] { return updates.size() + failures.size() + durations.size() == 3; }, 5000));

    EXPECT_FALSE(offGuiThread);
    using Notes = QList<QPair<QString, QVariantMap>>;
    EXPECT_EQ(updates, Notes({{"/good.wav", {{"key", key("/good.wav")}}}}));
    const QVariantMap error{{"domain", "QuorvalinderWaveform"}, {"message", "Audio decoder rejected the file"}};
    EXPECT_EQ(failures, Notes({{"/bad.wav", {{"key", key("/bad.wav")}, {"error", error}}}}));
    EXPECT_EQ(durations, Notes({{"/good.wav", {{"duration", 2.5}}}}));

    EXPECT_TRUE(_queue.hasFailed(key("/bad.wav")));
    request("/bad.wav", false);
    EXPECT_EQ(_queue.pendingJobCount(), 0u);
    EXPECT_EQ(_decoder.started().size(), 2);

    // Another process (a new queue over the same disk cache) reads the peaks back: an
    // update, but no duration, since nothing was decoded.
    HeldDecoder unused;
    qv::WaveformQueue later([&](const QString& path) { return unused.decode(path); }, _queue.diskCache(), _notifier,
                            false);
    later.requestKey(key("/good.wav"), "/good.wav", false);
    ASSERT_TRUE(later.waitUntilIdleWithTimeout(10));
    ASSERT_TRUE(QTest::qWaitFor([&] { return updates.size() == 2; }, 5000));
    QTest::qWait(50);
    EXPECT_EQ(durations.size(), 1);
    EXPECT_TRUE(unused.started().isEmpty());
}

} // namespace
