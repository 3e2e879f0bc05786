#include "library_generator.h"
#include "support/index_test.h"

#include <map>

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

using LibraryScannerTest = qv::test::ScanTest;

// What the benchmarks and the reliability suite take for granted of a generated library:
// every indexable file is stored, once, as the type it was made as.
TEST_F(LibraryScannerTest, GeneratedLibraryIndexesAsItsManifestSays)
{
    const auto manifest = qv::testkit::LibraryGenerator({.seed = 7, .files = 400}).generate(_root);
    std::size_t calls = 0;
    const auto first = scan(false, [&](std::size_t count, const fs::path&) { EXPECT_EQ(count, ++calls); });
    EXPECT_EQ(first.added, manifest.indexable());
    EXPECT_EQ(first.emptySkipped, manifest.count(qv::testkit::FileKind::ZeroByte));
    EXPECT_EQ(calls, manifest.indexable());
    EXPECT_EQ(static_cast<std::uint64_t>(_db.countSamples()), manifest.indexable());

    std::map<std::string, std::string> stored;
    for (const auto& row : _raw.column("SELECT type||path FROM samples")) stored[row.substr(row.find('/'))] = row;
    std::map<qv::SampleType, int> checked;
    for (const auto& file : manifest.files) {
        const bool typed = file.type == qv::SampleType::Loop || file.type == qv::SampleType::OneShot;
        if (file.kind != qv::testkit::FileKind::Midi && !(file.kind == qv::testkit::FileKind::Wav && typed)) continue;
        const std::string path = (_root / qv::testkit::pathFromUtf8(file.relativePath)).string();
        EXPECT_EQ(stored[path], qv::toString(file.type) + path);
        ++checked[file.type];
    }
    for (const auto type : {qv::SampleType::Loop, qv::SampleType::OneShot, qv::SampleType::MIDI}) {
        EXPECT_GT(checked[type], 0) << qv::toString(type);
    }

    EXPECT_EQ(scan().unchanged, manifest.indexable());
    EXPECT_EQ(scan(true).updated, manifest.indexable());
}

TEST_F(LibraryScannerTest, ChangedEmptiedMovedAndDeletedFiles)
{
    const auto kick = writeHit("Drums/Kick.wav");
    const auto snare = writeHit("Drums/Snare.wav");
    const auto hat = writeHit("Drums/Hat.wav");
    const auto from = writeHit("Kicks/k1.wav");
    qv::testkit::writeFile(_root / "Drums/Empty.wav", "");
    // A file link counts once, under its target; a dangling one is passed over.
    const auto pad = _dir / "Elsewhere/Pad.wav";
    qv::testkit::writeWave(pad, qv::testkit::hitSignal(0.3, 44100, {0.0}));
    fs::create_symlink(pad, _root / "Pad link.wav");
    fs::create_symlink(_dir / "gone.wav", _root / "Dangling.wav");
    EXPECT_EQ(scan().added, 5u);
    EXPECT_TRUE(_db.findByPath(pad));
    const auto id = _db.findByPath(from)->id;

    writeHit("Drums/Kick.wav", 0.8); // new size
    qv::testkit::writeFile(snare, ""); // became empty
    fs::remove(hat);
    const auto to = _root / "Drums/k1.wav";
    fs::rename(from, to);

    const auto stats = scan();
    EXPECT_EQ(stats.updated, 1u);
    EXPECT_EQ(stats.emptySkipped, 2u);
    EXPECT_EQ(stats.removed, 2u);
    EXPECT_EQ(stats.unchanged, 2u);
    // A move inside the library keeps the record, so favourites and overrides follow it.
    ASSERT_EQ(stats.moved.size(), 1u);
    EXPECT_EQ(stats.moved[0], std::make_pair(from.string(), to.string()));
    EXPECT_EQ(_db.findByPath(to)->id, id);
    EXPECT_EQ(_db.countSamples(), 3);
    EXPECT_TRUE(_db.findByPath(kick));
}

TEST_F(LibraryScannerTest, RootThroughSymlinkIsStoredResolvedAndBothSpellingsGoOnline)
{
    writeHit("Kick.wav");
    const auto link = _dir / "link to samples";
    fs::create_directory_symlink(_root, link);
    _db.setLibraryAvailable(link, false);
    _db.setLibraryAvailable(_root, false);

    EXPECT_EQ(LibraryScanner(_db).scan(link, {}, false).added, 1u);
    ASSERT_EQ(_db.libraries().size(), 1u);
    EXPECT_EQ(_db.libraries()[0].path, _root.string());
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM app_metadata WHERE key LIKE 'offline_library:%'"), 0);
}

TEST_F(LibraryScannerTest, MissingOrVanishingRootIsMarkedOfflineAndKeepsItsRecords)
{
    for (int i = 0; i < 30; ++i) writeHit("Pack " + std::to_string(i % 5) + "/Hit " + std::to_string(i) + ".wav");
    EXPECT_EQ(scan().added, 30u);
    const auto away = _dir / "unplugged";
    fs::rename(_root, away);
    EXPECT_EQ(qv::test::errorOf([&] { scan(); }),
              "Library offline: " + _root.string()
                  + ". Reconnect the drive or restore this folder, then Rescan. Cached samples are hidden; "
                    "Favorites and playlists are preserved.");
    EXPECT_EQ(_db.countMatching({}), 0); // hidden, not deleted
    fs::rename(away, _root);
    EXPECT_EQ(scan().unchanged, 30u);
    EXPECT_EQ(_db.countMatching({}), 30);

    // The drive goes away half-way: whatever message comes first, nothing is deleted.
    bool pulled = false;
    const std::string message = qv::test::errorOf([&] {
        scan(false, [&](std::size_t, const fs::path&) {
            if (!std::exchange(pulled, true)) fs::rename(_root, away);
        });
    });
    EXPECT_TRUE(message == "Library disconnected during scan; old entries preserved."
                || message.starts_with("Scan incomplete; old entries preserved: ") || message.starts_with("Cannot "))
        << message;
    fs::rename(away, _root);
    EXPECT_EQ(scan().unchanged, 30u);
}

// A rescan compares files with the records read as it starts; files rewritten after that
// read, before the walk reaches them, are still seen as they are on disk.
TEST_F(LibraryScannerTest, FilesChangedAfterTheRecordsWereReadAreAnalysedAgain)
{
    std::vector<fs::path> files;
    for (int i = 0; i < 12; ++i) {
        files.push_back(writeHit("Pack " + std::to_string(i % 3) + "/Hit " + std::to_string(i) + ".wav"));
    }
    EXPECT_EQ(scan().added, 12u);

    const auto stats = scan(false, [&](std::size_t count, const fs::path& file) {
        if (count != 1) return;
        for (const auto& other : files) {
            if (other != file) writeHit(fs::relative(other, _root), 0.7);
        }
    });
    EXPECT_EQ(stats.unchanged, 1u);
    EXPECT_EQ(stats.updated, 11u);
    for (const auto& file : files) {
        EXPECT_EQ(_db.findByPath(file)->fileSize, static_cast<std::int64_t>(fs::file_size(file))) << file;
    }
    EXPECT_EQ(scan().unchanged, 12u);
}

// Paths the library's own records do not hold are still looked up one by one: a file
// reached through two links, rewritten, is analysed once; a folder inside another library
// finds the outer library's records instead of adding them again.
TEST_F(LibraryScannerTest, LinkedTwiceOrNestedFilesAreNotCountedAgain)
{
    const auto target = _dir / "Elsewhere/Shared Pad.wav";
    qv::testkit::writeWave(target, qv::testkit::hitSignal(0.3, 44100, {0.0}));
    fs::create_directories(_root);
    fs::create_symlink(target, _root / "Pad A.wav");
    fs::create_symlink(target, _root / "Pad B.wav");
    writeHit("Inner/Kick.wav");
    writeHit("Inner/Snare.wav");
    const auto first = scan();
    EXPECT_EQ(first.added, 3u);
    EXPECT_EQ(first.unchanged, 1u);

    qv::testkit::writeWave(target, qv::testkit::hitSignal(0.6, 44100, {0.0}));
    const auto linked = scan();
    EXPECT_EQ(linked.updated, 1u);
    EXPECT_EQ(linked.unchanged, 3u);
    EXPECT_EQ(_db.findByPath(target)->fileSize, static_cast<std::int64_t>(fs::file_size(target)));

    const auto inner = LibraryScanner(_db).scan(_root / "Inner", {}, false);
    EXPECT_EQ(inner.added, 0u);
    EXPECT_EQ(inner.unchanged, 2u);
    const auto outer = scan();
    EXPECT_EQ(outer.unchanged, 4u);
    EXPECT_EQ(outer.removed, 0u);
    EXPECT_EQ(_db.countSamples(), 3);
}

} // namespace
