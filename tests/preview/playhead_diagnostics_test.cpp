// The playhead diagnostics: who enables them, what the log file holds, and the watchdog.
#include "playhead_diagnostics.h"
#include "sound_files.h"
#include "support/files.h"
#include "temp_dir.h"

#include <QRegularExpression>
#include <QTest>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using qv::test::qpath;
using qv::test::readFile;
using qv::testkit::TempDir;

// Disabled, nothing is recorded and no file or folder is made.
TEST(PlayheadDiagnostics, OnlyOneYesOrTrueInAnyCaseEnables)
{
    struct Case {
        const char* value;
        bool enabled;
    };
    for (const Case& c : {Case{"1", true}, Case{"TRUE", true}, Case{"true", true}, Case{"yes", true},
                          Case{"yEs", true}, Case{nullptr, false}, Case{"", false}, Case{"0", false},
                          Case{"2", false}, Case{"1 ", false}, Case{" true", false}, Case{"no", false},
                          Case{"on", false}, Case{"y", false}}) {
        EXPECT_EQ(QVPlayheadDiagnostics::enabledForValue(c.value), c.enabled) << (c.value ? c.value : "(unset)");
    }
    TempDir dir;
    QVPlayheadDiagnostics diagnostics({.enabled = false, .logPath = qpath(dir / "logs/p.log")});
    diagnostics.record("ignored");
    diagnostics.flushNow();
    diagnostics.waitForWrites();
    EXPECT_TRUE(diagnostics.lines().isEmpty());
    EXPECT_FALSE(std::filesystem::exists(dir / "logs"));
}

TEST(PlayheadDiagnostics, TheFileHoldsTheLast1200LinesWrittenWholeAtMostEveryFiveSeconds)
{
    TempDir dir;
    const auto log = dir / "state/Quorvalinder/playhead-diagnostics.log";
    QVPlayheadDiagnostics diagnostics({.enabled = true, .logPath = qpath(log), .watchdogInterval = 3600});

    // The session-start line is the first record, and the first record always flushes.
    diagnostics.waitForWrites();
    const QString start = QString::fromStdString(readFile(log));
    EXPECT_TRUE(QRegularExpression("^\\d+\\.\\d{3} session-start diagnostics=v2 interval=0\\.12 snapshot=2\\.0 "
                                   "stall-threshold=2\\.0 heartbeat=0\\.5 max-lines=1200\\n$")
                    .match(start)
                    .hasMatch())
        << start.toStdString();

    for (int i = 0; i < 1300; ++i) diagnostics.record(QStringLiteral("line %1").arg(i));
    diagnostics.record(QString());
    diagnostics.waitForWrites();
    EXPECT_EQ(readFile(log), start.toStdString()) << "within 5 s of the last flush nothing is written";

    diagnostics.flushNow();
    diagnostics.waitForWrites();
    const QString text = QString::fromStdString(readFile(log));
    ASSERT_TRUE(text.endsWith('\n'));
    const QStringList lines = text.chopped(1).split('\n');
    ASSERT_EQ(lines.size(), 1200);
    EXPECT_TRUE(lines.front().endsWith(" line 100"));
    EXPECT_TRUE(lines.back().endsWith(" line 1299"));
    const QRegularExpression shape("^(\\d+\\.\\d{3}) line \\d+$");
    double previous = 0;
    for (const QString& line : lines) {
        const auto match = shape.match(line);
        ASSERT_TRUE(match.hasMatch()) << line.toStdString();
        EXPECT_GE(match.captured(1).toDouble(), previous);
        previous = match.captured(1).toDouble();
    }
    EXPECT_EQ(diagnostics.lines(), lines);
}

TEST(PlayheadDiagnostics, ABlockedGuiThreadIsRecordedOnceWithItsLength)
{
    TempDir dir;
    // Probes every 50 ms, so that a block starts at most 50 ms after a probe is posted.
    QVPlayheadDiagnostics diagnostics({.enabled = true, .logPath = qpath(dir / "p.log"), .watchdogInterval = 0.05});
    auto stalls = [&] { return diagnostics.lines().filter("MAIN_THREAD_STALL_DETECTED").size(); };
    QTest::qWait(200);
    EXPECT_EQ(stalls(), 0);
    EXPECT_EQ(diagnostics.lastMainThreadStallTime(), 0.0);

    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    QTest::qWait(200);
    EXPECT_EQ(stalls(), 0) << "0.4 s is below the 0.75 s threshold";

    const double before = QVPlayheadDiagnostics::uptime();
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    QTest::qWait(300);
    ASSERT_EQ(stalls(), 1) << "one probe in flight, however many ticks passed";
    const QString line = diagnostics.lines().filter("MAIN_THREAD_STALL_DETECTED").front();
    const auto match = QRegularExpression("^\\d+\\.\\d{3} MAIN_THREAD_STALL_DETECTED seconds=(\\d+\\.\\d{3})$").match(line);
    ASSERT_TRUE(match.hasMatch()) << line.toStdString();
    EXPECT_GT(match.captured(1).toDouble(), 0.75);
    EXPECT_NEAR(diagnostics.lastMainThreadStallDuration(), match.captured(1).toDouble(), 0.0006);
    EXPECT_GT(diagnostics.lastMainThreadStallTime(), before);
}

} // namespace
