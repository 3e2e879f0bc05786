// A scan killed with SIGKILL at random points must leave an index that opens, passes its
// integrity checks and still holds every user edit; a full scan afterwards completes.
#include "library_generator.h"
#include "reliability/user_edits.h"
#include "support/index_test.h"

#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// A child process that runs full scans of `root` back to back until it is killed,
// writing one byte to `progressFd` per file. It exits by itself only on an error.
pid_t startScanning(const fs::path& dbFile, const fs::path& root, int progressFd)
{
    const pid_t pid = ::fork();
    if (pid != 0) return pid;
    int status = 0;
    try {
        qv::Database db(dbFile);
        qv::LibraryScanner scanner(db);
        const auto report = [&](std::size_t, const fs::path&) {
            const char byte = 1;
            if (::write(progressFd, &byte, 1) != 1) ::_exit(4);
        };
        for (;;) scanner.scan(root, report, true);
    } catch (...) {
        status = 3;
    }
    ::_exit(status); // no atexit handlers: they belong to the test runner
}

// Reads progress bytes until `count` arrived or the child closed its end.
std::uint64_t awaitProgress(int fd, std::uint64_t count)
{
    std::uint64_t seen = 0;
    char buffer[256];
    while (seen < count) {
        const auto n = ::read(fd, buffer, std::min<std::uint64_t>(sizeof buffer, count - seen));
        if (n <= 0) break;
        seen += static_cast<std::uint64_t>(n);
    }
    return seen;
}

TEST(CrashSafety, ScansKilledAtRandomPointsLoseNoUserEdit)
{
    qv::testkit::TempDir dir;
    const fs::path dbFile = dir / "index/quorvalinder.db";
    const fs::path root = dir / "Library";

    // One part is indexed and edited before the crashes; the other is new to every scan,
    // so the kills land among inserts as well as among updates.
    const auto indexed = qv::testkit::LibraryGenerator({.seed = 41, .files = 1500, .tinyAudio = true}).generate(root / "Indexed");
    std::optional<qv::Database> db(std::in_place, dbFile);
    qv::LibraryScanner(*db).scan(root, {}, false);
    const std::int64_t indexedCount = db->countSamples();
    ASSERT_EQ(static_cast<std::uint64_t>(indexedCount), indexed.indexable());
    const auto edits = qv::test::makeUserEdits(*db, dbFile, root / "Indexed");
    db.reset(); // the child must not inherit an open connection
    const auto incoming = qv::testkit::LibraryGenerator({.seed = 42, .files = 700, .tinyAudio = true}).generate(root / "Incoming");
    const std::uint64_t total = indexed.indexable() + incoming.indexable();

    std::mt19937_64 random(20240611);
    constexpr int kRounds = 6;
    for (int round = 0; round < kRounds; ++round) {
        // Somewhere in the first scan, or early in the next one the child starts.
        const std::uint64_t files = std::uniform_int_distribution<std::uint64_t>(1, total + total / 5)(random);
        const auto delay = std::chrono::microseconds(std::uniform_int_distribution<int>(0, 3000)(random));
        SCOPED_TRACE("round " + std::to_string(round) + ": killed after " + std::to_string(files) + " files and "
                     + std::to_string(delay.count()) + " us");

        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        const pid_t child = startScanning(dbFile, root, fds[1]);
        ASSERT_GT(child, 0);
        ::close(fds[1]);
        const std::uint64_t seen = awaitProgress(fds[0], files);
        std::this_thread::sleep_for(delay);
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ::close(fds[0]);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
            << "the scanning child ended by itself with status " << status << " after " << seen << " files";

        qv::test::expectIndexSound(dbFile);
        EXPECT_EQ(qv::test::readUserEdits(dbFile), edits);
        qv::Database reopened(dbFile);
        const std::int64_t count = reopened.countSamples();
        EXPECT_GE(count, indexedCount);
        EXPECT_LE(static_cast<std::uint64_t>(count), total);
    }

    db.emplace(dbFile);
    const auto stats = qv::LibraryScanner(*db).scan(root, {}, true);
    EXPECT_EQ(stats.added + stats.updated, total);
    EXPECT_EQ(stats.removed, 0u);
    EXPECT_EQ(static_cast<std::uint64_t>(db->countSamples()), total);
    EXPECT_EQ(qv::test::readUserEdits(dbFile), edits);
    qv::test::expectIndexSound(dbFile);
}

} // namespace
