#include "db/database.h"
#include "scan/library_scanner.h"
#include "support/index_test.h"
#include "temp_dir.h"
#include "wave_writer.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

namespace fs = std::filesystem;
using qv::SampleType;

std::string errorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "<no error>";
}

class UserData : public qv::test::IndexTest {
protected:
    std::int64_t _lib = _db.addLibrary("/lib");

    std::int64_t add(const std::string& path, SampleType type = SampleType::OneShot, const std::string& genre = "")
    {
        qv::Sample s;
        s.path = path;
        s.filename = fs::path(path).filename().string();
        s.type = type;
        s.instrument = "Kick";
        s.genre = genre;
        s.musicalKey = "None";
        s.fileSize = 10;
        s.modifiedAt = 1700000000;
        _db.upsert(s, _lib);
        return _db.findByPath(path)->id;
    }

    std::string column(const std::string& column, std::int64_t id)
    {
        return _raw.text("SELECT coalesce(" + column + ",'<null>') FROM samples WHERE id=" + std::to_string(id));
    }
};

TEST_F(UserData, FavouritesAreFlagsAndUnknownIdsAreHarmless)
{
    const auto id = add("/lib/Kick.wav");
    EXPECT_FALSE(_db.isFavorite(id));
    _db.setFavorite(id, true);
    EXPECT_TRUE(_db.isFavorite(id));
    _db.setFavorite(id, false);
    EXPECT_FALSE(_db.isFavorite(id));
    EXPECT_NO_THROW(_db.setFavorite(id + 100, true));
    EXPECT_FALSE(_db.isFavorite(id + 100));
    EXPECT_TRUE(_db.hasSample(id));
    EXPECT_FALSE(_db.hasSample(id + 100));
}

TEST_F(UserData, SampleTypeOverridesAreAllOrNothing)
{
    const auto a = add("/lib/a.wav");
    const auto b = add("/lib/b.wav");
    const auto gone = add("/lib/gone.wav");
    _raw.exec("DELETE FROM samples WHERE id=" + std::to_string(gone));

    EXPECT_EQ(errorOf([&] { _db.setTypeOverride({a, gone, b}, SampleType::Loop); }),
              "Sample type override could not be saved");
    EXPECT_EQ(column("type", a), "One Shot");
    EXPECT_EQ(column("user_type_override", a), "<null>");

    _db.setTypeOverride({a, b}, SampleType::Loop);
    EXPECT_EQ(column("type", b), "Loop");
    EXPECT_EQ(column("type_override_source", b), "sample");
    EXPECT_EQ(_db.countMatching({.type = "Loop"}), 2); // the search index follows

    _db.setTypeOverride({a}, std::nullopt);
    EXPECT_EQ(column("type", a), "One Shot");
    EXPECT_EQ(column("type_override_source", a), "<null>");
    EXPECT_NO_THROW(_db.setTypeOverride({}, SampleType::Loop));
}

TEST_F(UserData, OnlyMidiFilesCanBeMarkedMidi)
{
    const auto upper = add("/lib/Chords.MID", SampleType::Unknown);
    const auto midi = add("/lib/Bass.midi", SampleType::Unknown);
    const auto wave = add("/lib/Kick.wav");
    _db.setTypeOverride({upper, midi}, SampleType::MIDI);
    EXPECT_EQ(column("type", upper), "MIDI");

    _db.setTypeOverride({upper, midi}, std::nullopt);
    EXPECT_EQ(errorOf([&] { _db.setTypeOverride({midi, wave}, SampleType::MIDI); }),
              "Only .mid and .midi files can be marked as MIDI");
    EXPECT_EQ(column("type", midi), "Unknown"); // refused before anything changed
    EXPECT_EQ(errorOf([&] { _db.setTypeOverride({midi, wave + 10}, SampleType::MIDI); }), "Sample no longer exists");
    EXPECT_EQ(errorOf([&] { _db.setFolderTypeOverride("/lib", SampleType::MIDI); }),
              "Folder type override cannot mark audio as MIDI");
}

TEST_F(UserData, FolderTypeAndInstrumentReachEveryDepthButNotNeighboursOrMidi)
{
    const auto deep = add("/lib/Drums/Sub/Kick.wav");
    const auto direct = add("/lib/Drums/Snare.wav");
    const auto neighbour = add("/lib/DrumsX/Hat.wav");
    const auto midi = add("/lib/Drums/Groove.mid", SampleType::MIDI);

    _db.setTypeOverride({direct}, SampleType::Unknown);
    _db.setFolderTypeOverride("/lib/Drums", SampleType::Loop);
    EXPECT_EQ(column("type", deep), "Loop");
    EXPECT_EQ(column("type_override_source", direct), "folder");
    EXPECT_EQ(column("type", neighbour), "One Shot");
    EXPECT_EQ(column("type", midi), "MIDI");
    EXPECT_EQ(column("user_type_override", midi), "<null>");

    // Clearing a folder also clears what was set per sample below it.
    _db.setTypeOverride({deep}, SampleType::Unknown);
    _db.setFolderTypeOverride("/lib/Drums", std::nullopt);
    EXPECT_EQ(column("type", deep), "One Shot");
    EXPECT_EQ(column("user_type_override", direct), "<null>");

    _db.setFolderInstrumentOverride("/lib/Drums", "hats");
    EXPECT_EQ(column("instrument", midi), "HiHat"); // no MIDI exception for instruments
    EXPECT_EQ(column("instrument_override_source", deep), "folder");
    EXPECT_EQ(column("instrument", neighbour), "Kick");
    EXPECT_EQ(_db.countMatching({.instrument = "HiHat"}), 3);
    _db.setFolderInstrumentOverride("/lib/Drums", std::nullopt);
    EXPECT_EQ(column("instrument", deep), "Kick");
}

TEST_F(UserData, FolderGenresComeFirstAndAreRemovedInAnyCase)
{
    const auto techno = add("/lib/Drums/Kick.wav", SampleType::OneShot, "Techno");
    const auto plain = add("/lib/Drums/Snare.wav");
    _db.setFolderGenreOverride("/lib/Drums", "House", true);
    _db.setFolderGenreOverride("/lib/Drums", "House", true);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_genres WHERE source='folder'"), 2);
    EXPECT_EQ(column("genre", techno), "House, Techno");
    EXPECT_EQ(column("genre", plain), "House");

    _db.setFolderGenreOverride("/lib/Drums", "Techno", false); // the scanner's genre stays
    _db.setFolderGenreOverride("/lib/Drums", "hOUSE", false);
    EXPECT_EQ(column("genre", techno), "Techno");
    EXPECT_EQ(column("genre", plain), "<null>");
    EXPECT_NO_THROW(_db.setFolderGenreOverride("/lib/Drums", "", true));
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_genres"), 1);
}

TEST_F(UserData, AFailingFolderEditChangesNothing)
{
    const auto first = add("/lib/Drums/A.wav");
    add("/lib/Drums/B poison.wav");
    // Fails on the second row of each folder-wide statement.
    _raw.exec("CREATE TRIGGER poison BEFORE UPDATE ON samples WHEN new.path LIKE '%poison%' BEGIN "
              "SELECT RAISE(ABORT,'poisoned row'); END");

    EXPECT_EQ(errorOf([&] { _db.setFolderTypeOverride("/lib/Drums", SampleType::Loop); }), "poisoned row");
    EXPECT_EQ(errorOf([&] { _db.setFolderInstrumentOverride("/lib/Drums", "Bass"); }), "poisoned row");
    // The genre rows go in first; the display rebuild fails after them.
    EXPECT_EQ(errorOf([&] { _db.setFolderGenreOverride("/lib/Drums", "House", true); }), "poisoned row");
    EXPECT_EQ(column("type", first), "One Shot");
    EXPECT_EQ(column("instrument", first), "Kick");
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_genres"), 0);

    // The connection is usable afterwards: no transaction was left open.
    _raw.exec("DROP TRIGGER poison");
    _db.setFolderTypeOverride("/lib/Drums", SampleType::Loop);
    EXPECT_EQ(_db.countMatching({.type = "Loop"}), 2);
}

TEST_F(UserData, PlaylistsTrimNamesKeepPositionsAndCountVisibleMembers)
{
    EXPECT_EQ(errorOf([&] { _db.createPlaylist(" \t\r\n "); }), "Playlist name cannot be empty");
    const auto drums = _db.createPlaylist("  Drums  ");
    EXPECT_EQ(errorOf([&] { _db.createPlaylist("Drums"); }), "A playlist with that name already exists");
    const auto lower = _db.createPlaylist("drums"); // uniqueness is exact
    const auto crate = _db.createPlaylist("Crate");

    const auto a = add("/lib/a.wav");
    const auto b = add("/lib/b.wav");
    const auto c = add("/lib/c.wav");
    const auto hidden = add("/lib/._c.wav");
    for (const auto id : {a, b, c, hidden}) _db.addToPlaylist(drums, id);
    _db.removeFromPlaylist(drums, b);
    _db.addToPlaylist(drums, a); // already a member: stays where it is
    _db.addToPlaylist(drums, b);
    EXPECT_EQ(_raw.column("SELECT sample_id||'@'||position FROM playlist_items ORDER BY position"),
              (std::vector<std::string>{std::to_string(a) + "@0", std::to_string(c) + "@2",
                                        std::to_string(hidden) + "@3", std::to_string(b) + "@4"}));

    const auto lists = _db.playlists();
    ASSERT_EQ(lists.size(), 3u);
    EXPECT_EQ(lists[0].name, "Crate");
    EXPECT_EQ(lists[0].sampleCount, 0);
    EXPECT_EQ(lists[1].id + lists[2].id, drums + lower);
    EXPECT_EQ(lists[drums == lists[1].id ? 1 : 2].sampleCount, 3); // "._" members are not counted
    EXPECT_EQ(_db.countMatching({.playlistId = drums}), 3);

    EXPECT_THROW(_db.addToPlaylist(crate, c + 100), std::runtime_error); // no such sample
    _db.deletePlaylist(drums);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM playlist_items"), 0);
    EXPECT_EQ(_db.playlists().size(), 2u);
}

TEST_F(UserData, FolderCountsSeeOnlyVisibleSamples)
{
    add("/lib/Drums/Kick.wav");
    add("/lib/Drums/Sub/Snare.wav");
    add("/lib/Drums/._Kick.wav");
    add("/lib/Drums/Groove.mid", SampleType::MIDI);
    add("/lib/DrumsX/Hat.wav");
    EXPECT_EQ(_db.countFolderSamples("/lib/Drums", true), 3);
    EXPECT_EQ(_db.countFolderSamples("/lib/Drums", false), 2);
    _db.setLibraryAvailable("/lib", false);
    EXPECT_EQ(_db.countFolderSamples("/lib/Drums", true), 0);
}

// Everything the user decided is still there after a forced rescan re-analyses every file.
TEST_F(UserData, DecisionsSurviveARescan)
{
    const fs::path root = _dir / "Samples";
    fs::create_directories(root / "Kits/Deep");
    const auto signal = qv::testkit::hitSignal(0.4, 44100, {0.05});
    qv::testkit::writeWave(root / "Kits/Kick 01.wav", signal);
    qv::testkit::writeWave(root / "Kits/Deep/Snare 02.wav", signal);
    std::ofstream(root / "Kits/Chords Am.mid") << "MThd";

    qv::LibraryScanner scanner(_db);
    scanner.scan(root, {}, false);
    const auto kick = _db.findByPath(root / "Kits/Kick 01.wav")->id;
    const auto snare = _db.findByPath(root / "Kits/Deep/Snare 02.wav")->id;
    const auto kits = (root / "Kits").string();

    _db.setTypeOverride({kick}, SampleType::Loop);
    _db.setFolderInstrumentOverride(kits, "Vocals");
    _db.setFolderGenreOverride(kits, "Dub", true);
    _db.setFavorite(snare, true);
    const auto playlist = _db.createPlaylist("Keep");
    _db.addToPlaylist(playlist, snare);

    qv::testkit::writeWave(root / "Kits/Kick 01.wav", qv::testkit::hitSignal(0.6, 44100, {0.05}));
    scanner.scan(root, {}, true);

    ASSERT_EQ(_db.findByPath(root / "Kits/Kick 01.wav")->id, kick);
    EXPECT_EQ(column("type", kick), "Loop");
    EXPECT_EQ(column("auto_type", kick), "One Shot");
    EXPECT_EQ(column("instrument", snare), "Vocal");
    EXPECT_EQ(_db.countMatching({.genre = "dub"}), 3);
    EXPECT_TRUE(_db.isFavorite(snare));
    EXPECT_EQ(_db.countMatching({.playlistId = playlist}), 1);
}

} // namespace
