#include "db/database.h"
#include "scan/library_scanner.h"
#include "library_generator.h"
#include "support/index_test.h"
#include "temp_dir.h"
#include "wave_writer.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using qv::LibraryScanner;

TEST(LibraryScannerSupported, ExtensionsAnyCaseButNotCompanionsOrOtherFormats)
{
    for (const char* name : {"Kick.WAV", "loop.Aiff", "x.MIDI", "a.aif", "b.mp3", "c.mid", ".hidden.wav", "._"})
        EXPECT_EQ(LibraryScanner::supported(fs::path("/lib") / name), std::string(name) != "._") << name;
    for (const char* name : {"._Kick.wav", "kick.flac", ".wav", "kick.wav.asd", "kick", "kick.ogg", "kick.m4a"})
        EXPECT_FALSE(LibraryScanner::supported(fs::path("/lib") / name)) << name;
}

class LibraryScannerTest : public qv::test::IndexTest {
protected:
    LibraryScanner _scanner{_db};
    fs::path _root = _dir / "My Samples";

    fs::path writeHit(const std::string& relative, double seconds = 0.4)
    {
        const auto path = _root / relative;
        fs::create_directories(path.parent_path());
        qv::testkit::writeWave(path, qv::testkit::hitSignal(seconds, 44100, {0.05}));
        return path;
    }

    qv::ScanStats scan(bool force = false) { return _scanner.scan(_root, {}, force); }

    std::int64_t offlineRows(const fs::path& path)
    {
        return _raw.integer("SELECT count(*) FROM app_metadata WHERE key=?", {"offline_library:" + path.string()});
    }

    std::string scanError(const fs::path& root, const LibraryScanner::Progress& progress = {})
    {
        try {
            _scanner.scan(root, progress, false);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }
};

// A generated library with every kind of file: the counts follow its manifest, and a
// rescan and a full rescan count what they must.
TEST_F(LibraryScannerTest, GeneratedLibraryCountsFollowTheManifest)
{
    const auto manifest = qv::testkit::LibraryGenerator({.seed = 7, .files = 400}).generate(_root);
    const auto indexable = manifest.indexable();
    ASSERT_GT(indexable, 300u);

    std::size_t lastCount = 0;
    std::size_t calls = 0;
    const auto first = _scanner.scan(_root, [&](std::size_t count, const fs::path&) {
        EXPECT_EQ(count, lastCount + 1);
        lastCount = count;
        ++calls;
    }, false);
    EXPECT_EQ(first.added, indexable);
    EXPECT_EQ(first.emptySkipped, manifest.count(qv::testkit::FileKind::ZeroByte));
    EXPECT_EQ(first.unchanged + first.updated + first.removed, 0u);
    EXPECT_EQ(calls, indexable);
    EXPECT_EQ(static_cast<std::uint64_t>(_db.countSamples()), indexable);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM samples WHERE filename LIKE '._%'"), 0);

    const auto again = scan();
    EXPECT_EQ(again.unchanged, indexable);
    EXPECT_EQ(again.added + again.updated + again.removed, 0u);

    const auto full = scan(true);
    EXPECT_EQ(full.updated, indexable);
    EXPECT_EQ(full.unchanged + full.added, 0u);
    EXPECT_EQ(static_cast<std::uint64_t>(_db.countSamples()), indexable);
}

TEST_F(LibraryScannerTest, ChangedEmptiedAndDeletedFilesAreUpdatedOrRemoved)
{
    const auto kick = writeHit("Drums/Kick.wav");
    const auto snare = writeHit("Drums/Snare.wav");
    const auto hat = writeHit("Drums/Hat.wav");
    qv::testkit::writeFile(_root / "Drums/Empty.wav", "");
    EXPECT_EQ(scan().added, 3u);

    writeHit("Drums/Kick.wav", 0.8); // new size
    qv::testkit::writeFile(snare, "");   // became empty
    fs::remove(hat);

    const auto stats = scan();
    EXPECT_EQ(stats.updated, 1u);
    EXPECT_EQ(stats.emptySkipped, 2u);
    EXPECT_EQ(stats.removed, 2u);
    EXPECT_EQ(_db.countSamples(), 1);
    EXPECT_TRUE(_db.findByPath(kick));
}

// A move inside the library keeps the record, so favourites and overrides follow it.
TEST_F(LibraryScannerTest, MovedFileKeepsItsRecordAndUserEdits)
{
    const auto from = writeHit("Kicks/k1.wav");
    scan();
    const auto id = _db.findByPath(from)->id;
    _raw.exec("UPDATE samples SET favorite=1,user_type_override='Loop',type='Loop'");

    const auto to = _root / "Drums/k1.wav";
    fs::create_directories(to.parent_path());
    fs::rename(from, to);
    const auto stats = scan();

    ASSERT_EQ(stats.moved.size(), 1u);
    EXPECT_EQ(stats.moved[0], std::make_pair(from.string(), to.string()));
    EXPECT_EQ(stats.unchanged, 1u);
    EXPECT_EQ(stats.added + stats.removed, 0u);
    EXPECT_EQ(_db.findByPath(to)->id, id);
    EXPECT_EQ(_raw.text("SELECT favorite||type FROM samples"), "1Loop");

    // A full scan re-analyses but keeps the user's type.
    scan(true);
    EXPECT_EQ(_raw.text("SELECT type||'/'||user_type_override FROM samples"), "Loop/Loop");
}

TEST_F(LibraryScannerTest, RootThroughSymlinkIsStoredResolvedAndBothSpellingsGoOnline)
{
    writeHit("Kick.wav");
    const auto link = _dir / "link to samples";
    fs::create_directory_symlink(_root, link);
    _db.setLibraryAvailable(link, false);
    _db.setLibraryAvailable(_root, false);

    const auto stats = _scanner.scan(link, {}, false);
    EXPECT_EQ(stats.added, 1u);
    ASSERT_EQ(_db.libraries().size(), 1u);
    EXPECT_EQ(_db.libraries()[0].path, _root.string());
    EXPECT_TRUE(_db.findByPath(_root / "Kick.wav"));
    EXPECT_EQ(offlineRows(link) + offlineRows(_root), 0);
}

TEST_F(LibraryScannerTest, LinksInsideTheLibrary)
{
    const auto outside = _dir / "Elsewhere";
    fs::create_directories(outside);
    qv::testkit::writeWave(outside / "Pad.wav", qv::testkit::hitSignal(0.3, 44100, {0.0}));
    writeHit("Kick.wav");
    fs::create_symlink(outside / "Pad.wav", _root / "Pad link.wav");
    fs::create_symlink(_dir / "gone.wav", _root / "Dangling.wav");
    fs::create_directory_symlink(outside, _root / "Folder link");

    const auto stats = scan();
    // The file link counts once, under its target; the dangling link and the folder link
    // are passed over (folders behind links are not walked).
    EXPECT_EQ(stats.added, 2u);
    EXPECT_TRUE(_db.findByPath(outside / "Pad.wav"));
    EXPECT_FALSE(_db.findByPath(_root / "Pad link.wav"));
    EXPECT_EQ(scan().unchanged, 2u);
}

TEST_F(LibraryScannerTest, OddNamesAreStoredByTheirExactBytes)
{
    const std::vector<std::string> names = {
        "Kick 'quoted' \"double\" 100%_x.wav", "Caf\xC3\xA9 Loop 120bpm.wav", "Latin1 \xE9t\xE9.wav",
        "semi;colon --dash.wav", " leading space.wav", std::string(200, 'k') + ".wav",
    };
    for (const auto& name : names) writeHit("Odd/" + name);
    EXPECT_EQ(scan().added, names.size());
    for (const auto& name : names) EXPECT_TRUE(_db.findByPath(_root / "Odd" / name)) << name;
    EXPECT_EQ(scan().unchanged, names.size());
}

TEST_F(LibraryScannerTest, MissingRootIsMarkedOfflineAndKeepsItsRecords)
{
    writeHit("Kick.wav");
    scan();
    const auto moved = _dir / "unplugged";
    fs::rename(_root, moved);

    const std::string message = scanError(_root);
    EXPECT_EQ(message, "Library offline: " + _root.string()
                           + ". Reconnect the drive or restore this folder, then Rescan. Cached samples are hidden; "
                             "Favorites and playlists are preserved.");
    EXPECT_EQ(offlineRows(_root), 1);
    EXPECT_EQ(_db.countSamples(), 1);

    fs::rename(moved, _root);
    EXPECT_EQ(scan().unchanged, 1u);
    EXPECT_EQ(offlineRows(_root), 0);
}

// The drive goes away half-way: whatever message comes first, nothing is deleted.
TEST_F(LibraryScannerTest, RootVanishingDuringTheWalkDeletesNothing)
{
    for (int i = 0; i < 30; ++i) writeHit("Pack " + std::to_string(i % 5) + "/Hit " + std::to_string(i) + ".wav");
    EXPECT_EQ(scan().added, 30u);

    const auto away = _dir / "unplugged";
    bool pulled = false;
    const std::string message = scanError(_root, [&](std::size_t, const fs::path&) {
        if (!pulled) fs::rename(_root, away);
        pulled = true;
    });
    EXPECT_TRUE(message == "Library disconnected during scan; old entries preserved."
                || message.starts_with("Scan incomplete; old entries preserved: ")
                || message.starts_with("Cannot "))
        << message;
    EXPECT_EQ(_db.countSamples(), 30);
}

TEST_F(LibraryScannerTest, UnreadableSubfolderStopsTheScanWithoutDeleting)
{
    if (::geteuid() == 0) GTEST_SKIP() << "running as root: permission bits do not stop reads";
    writeHit("Open/Kick.wav");
    writeHit("Locked/Snare.wav");
    EXPECT_EQ(scan().added, 2u);
    fs::permissions(_root / "Locked", fs::perms::none);
    const std::string message = scanError(_root);
    fs::permissions(_root / "Locked", fs::perms::owner_all);
    EXPECT_TRUE(message.starts_with("Scan incomplete; old entries preserved: ")) << message;
    EXPECT_EQ(_db.countSamples(), 2);
}

} // namespace
