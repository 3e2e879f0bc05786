#include "support/index_test.h"

namespace {

using qv::SampleType;
using qv::test::errorOf;

class UserData : public qv::test::IndexTest {
protected:
    std::int64_t _lib = _db.addLibrary("/lib");

    std::int64_t add(const std::string& path, SampleType type = SampleType::OneShot,
                     const std::vector<std::string>& genres = {})
    {
        return IndexTest::add({path, type, "Kick", {}, "None", genres}, _lib);
    }

    std::string column(const std::string& column, std::int64_t id)
    {
        return _raw.text("SELECT coalesce(" + column + ",'<null>') FROM samples WHERE id=" + std::to_string(id));
    }
};

TEST_F(UserData, TypeOverridesAreAllOrNothingAndMidiOnlyForMidiFiles)
{
    const auto a = add("/lib/a.wav"), b = add("/lib/b.wav"), gone = add("/lib/gone.wav");
    const auto midi = add("/lib/Chords.MID", SampleType::Unknown);
    _raw.exec("DELETE FROM samples WHERE id=" + std::to_string(gone));

    EXPECT_EQ(errorOf([&] { _db.setTypeOverride({a, gone, b}, SampleType::Loop); }),
              "Sample type override could not be saved");
    EXPECT_EQ(column("user_type_override", a), "<null>");
    _db.setTypeOverride({a, b}, SampleType::Loop);
    EXPECT_EQ(column("type", b) + column("type_override_source", b), "Loopsample");
    EXPECT_EQ(_db.countMatching({.type = "Loop"}), 2); // the search index follows
    _db.setTypeOverride({a}, std::nullopt);
    EXPECT_EQ(column("type", a) + column("type_override_source", a), "One Shot<null>");

    EXPECT_EQ(errorOf([&] { _db.setTypeOverride({midi, b}, SampleType::MIDI); }),
              "Only .mid and .midi files can be marked as MIDI");
    EXPECT_EQ(column("type", midi), "Unknown"); // refused before anything changed
    EXPECT_EQ(errorOf([&] { _db.setTypeOverride({midi, gone}, SampleType::MIDI); }), "Sample no longer exists");
    _db.setTypeOverride({midi}, SampleType::MIDI);
    EXPECT_EQ(column("type", midi), "MIDI");
    EXPECT_EQ(errorOf([&] { _db.setFolderTypeOverride("/lib", SampleType::MIDI); }),
              "Folder type override cannot mark audio as MIDI");
}

TEST_F(UserData, FolderTypeAndInstrumentReachEveryDepthButNotNeighboursOrMidi)
{
    const auto deep = add("/lib/Drums/Sub/Kick.wav"), direct = add("/lib/Drums/Snare.wav");
    const auto neighbour = add("/lib/DrumsX/Hat.wav"), midi = add("/lib/Drums/Groove.mid", SampleType::MIDI);

    _db.setTypeOverride({direct}, SampleType::Unknown);
    _db.setFolderTypeOverride("/lib/Drums", SampleType::Loop);
    EXPECT_EQ(column("type", deep), "Loop");
    EXPECT_EQ(column("type_override_source", direct), "folder");
    EXPECT_EQ(column("type", neighbour), "One Shot");
    EXPECT_EQ(column("type", midi) + column("user_type_override", midi), "MIDI<null>");

    // Clearing a folder also clears what was set per sample below it.
    _db.setTypeOverride({deep}, SampleType::Unknown);
    _db.setFolderTypeOverride("/lib/Drums", std::nullopt);
    EXPECT_EQ(column("type", deep), "One Shot");
    EXPECT_EQ(column("user_type_override", direct), "<null>");

    _db.setFolderInstrumentOverride("/lib/Drums", "hats");
    EXPECT_EQ(column("instrument", midi), "HiHat"); // no MIDI exception for instruments
    EXPECT_EQ(column("instrument", neighbour), "Kick");
    EXPECT_EQ(_db.countMatching({.instrument = "HiHat"}), 3);
    EXPECT_EQ(_db.countFolderSamples("/lib/Drums", false), 2);
    _db.setFolderInstrumentOverride("/lib/Drums", std::nullopt);
    EXPECT_EQ(column("instrument", deep), "Kick");
}

TEST_F(UserData, FolderGenresComeFirstAndAreRemovedInAnyCase)
{
    const auto techno = add("/lib/Drums/Kick.wav", SampleType::OneShot, {"Techno"});
    const auto plain = add("/lib/Drums/Snare.wav");
    _db.setFolderGenreOverride("/lib/Drums", "House", true);
    _db.setFolderGenreOverride("/lib/Drums", "House", true);
    EXPECT_EQ(column("genre", techno), "House, Techno");
    EXPECT_EQ(column("genre", plain), "House");

    _db.setFolderGenreOverride("/lib/Drums", "Techno", false); // the scanner's genre stays
    _db.setFolderGenreOverride("/lib/Drums", "hOUSE", false);
    EXPECT_EQ(column("genre", techno), "Techno");
    EXPECT_EQ(column("genre", plain), "<null>");
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
    EXPECT_EQ(column("type", first) + column("instrument", first), "One ShotKick");
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

    const auto a = add("/lib/a.wav"), b = add("/lib/b.wav"), hidden = add("/lib/._c.wav");
    for (const auto id : {a, b, hidden}) _db.addToPlaylist(drums, id);
    _db.removeFromPlaylist(drums, b);
    _db.addToPlaylist(drums, a); // already a member: stays where it is
    _db.addToPlaylist(drums, b);
    EXPECT_EQ(_raw.column("SELECT sample_id||'@'||position FROM playlist_items ORDER BY position"),
              (std::vector<std::string>{std::to_string(a) + "@0", std::to_string(hidden) + "@2",
                                        std::to_string(b) + "@3"}));

    const auto lists = _db.playlists();
    ASSERT_EQ(lists.size(), 2u);
    EXPECT_EQ(lists[0].id + lists[1].id, drums + lower);
    EXPECT_EQ(lists[drums == lists[0].id ? 0 : 1].sampleCount, 2); // "._" members are not counted
    const auto names = _db.playlists(qv::Counts::Skipped); // the same list, in the same order
    ASSERT_EQ(names.size(), 2u);
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i].id, lists[i].id);
        EXPECT_EQ(names[i].name, lists[i].name);
        EXPECT_EQ(names[i].sampleCount, 0);
    }
    EXPECT_THROW(_db.addToPlaylist(lower, b + 100), std::runtime_error); // no such sample
    _db.deletePlaylist(drums);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM playlist_items"), 0);
}

TEST_F(UserData, UserDataTellsEachDecisionItsSourceAndTheLibrary)
{
    const auto kick = add("/lib/Drums/Kick.wav", SampleType::OneShot, {"trap"});
    const auto snare = add("/lib/Drums/Snare.wav");
    const auto outside = add("/lib/Keys/Chord.wav");
    _db.setFolderTypeOverride("/lib/Drums", SampleType::Loop);
    _db.setTypeOverride({snare}, SampleType::Unknown);
    _db.setFolderInstrumentOverride("/lib/Drums", "hats");
    _db.setFolderGenreOverride("/lib/Drums", "house", true);
    _db.setFolderGenreOverride("/lib/Drums", "Boom Bap", true);
    _db.setFavorite(kick, true);
    const auto later = _db.createPlaylist("later"), best = _db.createPlaylist("Best");
    _db.addToPlaylist(later, kick);
    _db.addToPlaylist(best, kick);
    _db.setLibraryDisplayLabel(_lib, "Main 'kit'");

    const auto data = _db.userData(kick);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->typeOverride, SampleType::Loop);
    EXPECT_EQ(data->typeSource, qv::OverrideSource::Folder);
    EXPECT_EQ(data->inferredType, SampleType::OneShot);
    EXPECT_EQ(data->instrumentOverride, "HiHat");
    EXPECT_EQ(data->instrumentSource, qv::OverrideSource::Folder);
    EXPECT_EQ(data->inferredInstrument, "Kick");
    EXPECT_EQ(data->folderGenres, (std::vector<std::string>{"Boom Bap", "house"}));
    EXPECT_EQ(data->inferredGenres, (std::vector<std::string>{"trap"}));
    EXPECT_TRUE(data->favorite);
    EXPECT_EQ(data->playlists, (std::vector<std::string>{"Best", "later"}));
    EXPECT_EQ(data->libraryId, _lib);
    EXPECT_EQ(data->libraryPath, "/lib");
    EXPECT_EQ(data->libraryLabel, "Main 'kit'");
    EXPECT_TRUE(data->libraryAvailable);

    EXPECT_EQ(_db.userData(snare)->typeOverride, SampleType::Unknown); // an override to Unknown is one
    EXPECT_EQ(_db.userData(snare)->typeSource, qv::OverrideSource::Sample);
    const auto plain = _db.userData(outside);
    EXPECT_EQ(plain->typeOverride, std::nullopt);
    EXPECT_EQ(plain->instrumentOverride, std::nullopt);
    EXPECT_TRUE(plain->folderGenres.empty() && plain->playlists.empty() && !plain->favorite);

    // Overrides stored before their sources were (schema version 4).
    _raw.exec("UPDATE samples SET user_type_override='One Shot',type='One Shot' WHERE id=" + std::to_string(outside));
    EXPECT_EQ(_db.userData(outside)->typeSource, qv::OverrideSource::Unrecorded);

    _db.setLibraryAvailable("/lib", false);
    EXPECT_FALSE(_db.userData(kick)->libraryAvailable); // still found while offline
    EXPECT_EQ(_db.userData(kick + outside + snare), std::nullopt);

    _raw.exec("DROP TABLE playlist_items"); // a lookup never throws for SQLite errors
    EXPECT_EQ(_db.userData(kick), std::nullopt);
}

} // namespace
