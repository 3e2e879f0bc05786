// One thread scans while another browses and edits through the same Database, as the
// application's scan queue and main thread do. The database mutex must serialise it all:
// no data race (tools/test.sh runs this under ThreadSanitizer), no SQLite error such as
// "database is locked", and edits made during the scans must still be there afterwards.
#include "library_generator.h"
#include "reliability/user_edits.h"
#include "support/index_test.h"

#include <array>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>

namespace {

namespace fs = std::filesystem;

// Holds the browsing thread to one round per few scanned files, as a person clicking
// during a scan would: std::mutex is not fair, and a thread that asks for the database
// lock non-stop can starve the scan of it for many seconds.
class Pace {
public:
    // From the scan's progress callback. With `waitForBrowsing`, blocks until two more
    // rounds ran, so that browsing happens in mid-scan however the threads are scheduled.
    void scanned(bool waitForBrowsing)
    {
        std::unique_lock lock(_mutex);
        ++_files;
        _changed.notify_all();
        if (!waitForBrowsing) return;
        _scanWaits = true;
        const std::size_t until = _rounds + 2;
        _changed.wait(lock, [&] { return !_browsing || _rounds >= until; });
        _scanWaits = false;
    }

    // Before each browsing round after the first: whether the scans are still running.
    bool nextRound(std::size_t round)
    {
        std::unique_lock lock(_mutex);
        if (round > 0) {
            ++_rounds;
            _changed.notify_all();
            const std::size_t mark = _files;
            _changed.wait(lock, [&] { return !_scanning || _scanWaits || _files >= mark + 4; });
        }
        return _scanning;
    }

    void endScans() { end(_scanning); }
    void endBrowsing() { end(_browsing); }

    std::size_t files()
    {
        std::lock_guard lock(_mutex);
        return _files;
    }

private:
    void end(bool& flag)
    {
        std::lock_guard lock(_mutex);
        flag = false;
        _changed.notify_all();
    }

    std::mutex _mutex;
    std::condition_variable _changed;
    bool _scanning = true;
    bool _browsing = true;
    std::size_t _files = 0;
    std::size_t _rounds = 0;
    bool _scanWaits = false;
};

TEST(Concurrency, ScansAlongsideSearchesCountsAndEditsOnOneDatabase)
{
    qv::testkit::TempDir dir;
    const fs::path dbFile = dir / "index/quorvalinder.db";
    const fs::path root = dir / "Library";
    const auto first = qv::testkit::LibraryGenerator({.seed = 51, .files = 300, .tinyAudio = true}).generate(root / "First");
    const auto second = qv::testkit::LibraryGenerator({.seed = 52, .files = 200, .tinyAudio = true}).generate(root / "Second");
    qv::Database db(dbFile);
    qv::LibraryScanner scanner(db);
    // Something to browse from the start.
    scanner.scan(root / "First", {}, false);

    std::mutex failuresMutex;
    std::vector<std::string> failures;
    const auto fail = [&](const std::string& what) {
        std::lock_guard lock(failuresMutex);
        failures.push_back(what);
    };
    Pace pace;
    std::thread scans([&] {
        const auto count = [&](std::size_t files, const fs::path&) { pace.scanned(files == 20); };
        try {
            scanner.scan(root, count, false); // adds Second
            scanner.scan(root, count, true);  // re-analyses everything
            scanner.scan(root / "First", count, true);
        } catch (const std::exception& error) {
            fail(std::string("scan: ") + error.what());
        }
        pace.endScans();
    });

    // What the browsing thread decided; the scans must not undo any of it.
    std::map<std::int64_t, bool> favourite;
    std::set<std::int64_t> members;
    std::int64_t playlist = 0;
    std::thread browse([&] {
        static constexpr std::array<const char*, 6> kTexts = {"", "kick", "loop 120", "bass", "c#", "snare hat"};
        static constexpr std::array<const char*, 4> kInstruments = {"", "kick", "Bass", "hi hat"};
        try {
            playlist = db.createPlaylist("Made while scanning");
            // At least a few rounds even if the scans were quick.
            for (std::size_t rounds = 0; pace.nextRound(rounds) || rounds < 40; ++rounds) {
                const qv::SearchQuery query{.text = kTexts[rounds % kTexts.size()],
                                            .instrument = kInstruments[rounds % kInstruments.size()],
                                            .sortByBpm = rounds % 3 == 1, .limit = 50};
                const auto page = db.search(query);
                if (std::int64_t(page.size()) > db.countMatching(query)) fail("a page longer than its count");
                for (const char* field : {"instrument", "genre", "key"}) db.distinctFilterValues(field, query);
                if (!page.empty()) {
                    const auto& sample = page[rounds % page.size()];
                    db.matchingIndex(query, sample.id);
                    if (!db.findByPath(sample.path)) fail("a listed sample was not found: " + sample.path);
                    if (rounds % 5 == 0) {
                        // Edits that run in a transaction of their own.
                        db.setTypeOverride({sample.id}, qv::SampleType::Loop);
                        db.setTypeOverride({sample.id}, std::nullopt);
                        const fs::path folder = fs::path(sample.path).parent_path();
                        db.setFolderGenreOverride(folder, "Made Mid-Scan", true);
                        db.setFolderGenreOverride(folder, "Made Mid-Scan", false);
                    }
                    const bool on = !favourite[sample.id];
                    db.setFavorite(sample.id, on);
                    favourite[sample.id] = on;
                    if (members.contains(sample.id)) {
                        db.removeFromPlaylist(playlist, sample.id);
                        members.erase(sample.id);
                    } else {
                        db.addToPlaylist(playlist, sample.id);
                        members.insert(sample.id);
                    }
                }
                db.playlists();
                db.libraries();
                db.countFolderSamples(root / "First", rounds % 2 == 0);
            }
        } catch (const std::exception& error) {
            fail(std::string("browse: ") + error.what());
        }
        pace.endBrowsing();
    });

    scans.join();
    browse.join();
    EXPECT_EQ(failures, std::vector<std::string>{});
    EXPECT_EQ(pace.files(), 2 * (first.indexable() + second.indexable()) + first.indexable());
    EXPECT_EQ(static_cast<std::uint64_t>(db.countSamples()), first.indexable() + second.indexable());

    const auto ids = [&](const qv::SearchQuery& query) {
        std::set<std::int64_t> found;
        for (const auto& sample : db.search(query)) found.insert(sample.id);
        return found;
    };
    std::set<std::int64_t> wantedFavourites;
    for (const auto& [id, on] : favourite) {
        if (on) wantedFavourites.insert(id);
    }
    ASSERT_FALSE(favourite.empty());
    EXPECT_EQ(ids({.favoritesOnly = true, .limit = 100000}), wantedFavourites);
    EXPECT_EQ(ids({.playlistId = playlist, .limit = 100000}), members);
    qv::test::expectIndexSound(dbFile);
}

} // namespace
