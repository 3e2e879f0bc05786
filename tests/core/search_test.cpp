#include "db/database.h"
#include "search/search_query.h"
#include "support/index_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using qv::SampleType;
using qv::SearchQuery;

// A small library whose rows each sit on the edge of one predicate.
class Search : public qv::test::IndexTest {
protected:
    std::int64_t _lib = _db.addLibrary("/lib");
    std::int64_t _offline = _db.addLibrary("/off");

    void SetUp() override
    {
        const std::vector<qv::test::Row> rows = {
            {"/lib/Drums/Kick 01.wav", SampleType::OneShot, "Kick", {}, "None", {"Techno"}, 0.5},
            {"/lib/Drums/Big Kick.wav", SampleType::OneShot, "Kick", {}, "None", {"House"}, 0.8},
            {"/lib/Drums/Sub/kick.wav", SampleType::OneShot, "kick", {}, "None", {}, {}},
            {"/lib/Drums/Sub/Kick.wav", SampleType::OneShot, "Kick", {}, "None", {}, 0.3},
            {"/lib/Loops/Snare Kick 120.wav", SampleType::Loop, "Drums", 120, "A minor", {"Techno"}, 4.0},
            {"/lib/Loops/Bass 128 C.wav", SampleType::Loop, "Bass", 128, "C major", {"House"}, 3.75},
            {"/lib/Loops/Pad 100 Fm.wav", SampleType::Loop, "  ", 100, "F minor", {"Ambient"}, 9.6},
            {"/lib/Loops/Keys 131.wav", SampleType::Loop, "", 131, "None", {}, 7.3},
            {"/lib/FX/Riser 110.wav", SampleType::Unknown, "", 110, "None", {}, 2.0},
            {"/lib/FX/Drone 300.wav", SampleType::Unknown, "", 300, "None", {}, 2.0},
            {"/lib/DrumsX/Hat.wav", SampleType::OneShot, "HiHat", {}, "None", {}, 0.1},
            {"/lib/MIDI/Chords Am.mid", SampleType::MIDI, "", {}, "A minor", {}, {}},
            {"/lib/Drums/._Kick 01.wav", SampleType::OneShot, "Kick", {}, "None", {"Techno"}, 0.5},
            {"/lib/Drums", SampleType::OneShot, "Kick", {}, "None", {}, 0.5},
        };
        for (const auto& row : rows) add(row, _lib);
        add({"/off/Kick.wav", SampleType::OneShot, "Kick", 120, "A minor", {"Offline"}, 1.0}, _offline);
        _db.setLibraryAvailable("/off", false);
    }

    std::int64_t id(const std::string& path) { return _db.findByPath(path)->id; }

    std::vector<std::string> paths(SearchQuery query)
    {
        query.limit = 1000;
        std::vector<std::string> result;
        for (const auto& sample : _db.search(query)) result.push_back(sample.path);
        EXPECT_EQ(_db.countMatching(query), static_cast<std::int64_t>(result.size()));
        return result;
    }

    std::set<std::string> pathSet(const SearchQuery& query)
    {
        const auto list = paths(query);
        return {list.begin(), list.end()};
    }
};

TEST_F(Search, EachPredicateSelectsExactlyItsRows)
{
    const std::set<std::string> kicks = {"/lib/Drums/Kick 01.wav", "/lib/Drums/Big Kick.wav",
                                         "/lib/Drums/Sub/kick.wav", "/lib/Drums/Sub/Kick.wav",
                                         "/lib/Loops/Snare Kick 120.wav", "/lib/Drums"};
    EXPECT_EQ(pathSet({.text = "kick"}), kicks);
    EXPECT_EQ(pathSet({.text = "KI"}), kicks);
    EXPECT_EQ(pathSet({.text = "snare kick"}), std::set<std::string>{"/lib/Loops/Snare Kick 120.wav"});
    // Text matches every column of the full-text index, the folder path included.
    EXPECT_EQ(pathSet({.text = "drumsx"}), std::set<std::string>{"/lib/DrumsX/Hat.wav"});

    EXPECT_EQ(pathSet({.type = "Loop"}).size(), 4u);
    EXPECT_TRUE(pathSet({.type = "loop"}).empty()); // exact type text
    EXPECT_EQ(pathSet({.instrument = "KICK"}).size(), 5u);
    // The filter is normalised like the scanner's instruments.
    EXPECT_EQ(pathSet({.instrument = "hats"}), std::set<std::string>{"/lib/DrumsX/Hat.wav"});

    EXPECT_EQ(pathSet({.bpm = 120}), (std::set<std::string>{"/lib/FX/Riser 110.wav", "/lib/Loops/Snare Kick 120.wav",
                                                             "/lib/Loops/Bass 128 C.wav"}));
    EXPECT_EQ(pathSet({.bpm = 121}), (std::set<std::string>{"/lib/Loops/Snare Kick 120.wav", "/lib/Loops/Bass 128 C.wav",
                                                             "/lib/Loops/Keys 131.wav"}));
    // The window is clamped to 20..300, and a target far outside gives nothing on purpose.
    EXPECT_TRUE(pathSet({.bpm = 5}).empty());
    EXPECT_TRUE(pathSet({.bpm = 289}).empty());
    EXPECT_EQ(pathSet({.bpm = 290}), std::set<std::string>{"/lib/FX/Drone 300.wav"});
    EXPECT_EQ(pathSet({.bpm = 310}), std::set<std::string>{"/lib/FX/Drone 300.wav"});
    EXPECT_TRUE(pathSet({.bpm = 311}).empty());

    const std::set<std::string> aMinor = {"/lib/Loops/Snare Kick 120.wav", "/lib/MIDI/Chords Am.mid"};
    for (const char* key : {"A minor", "Am", "aminor", " a  MINOR "}) EXPECT_EQ(pathSet({.key = key}), aMinor) << key;
    for (const char* key : {"C", "C Major", "cmajor"}) {
        EXPECT_EQ(pathSet({.key = key}), std::set<std::string>{"/lib/Loops/Bass 128 C.wav"}) << key;
    }

    EXPECT_EQ(pathSet({.genre = "house"}), (std::set<std::string>{"/lib/Drums/Big Kick.wav",
                                                                   "/lib/Loops/Bass 128 C.wav"}));
    // A genre list wins over the single genre.
    EXPECT_EQ(pathSet({.genre = "House", .genres = {"ambient", "TECHNO"}}),
              (std::set<std::string>{"/lib/Loops/Pad 100 Fm.wav", "/lib/Drums/Kick 01.wav",
                                     "/lib/Loops/Snare Kick 120.wav"}));

    // Strictly below the folder: not a sibling sharing the prefix, not the folder itself.
    EXPECT_EQ(pathSet({.folder = "/lib/Drums"}),
              (std::set<std::string>{"/lib/Drums/Kick 01.wav", "/lib/Drums/Big Kick.wav", "/lib/Drums/Sub/kick.wav",
                                     "/lib/Drums/Sub/Kick.wav"}));

    EXPECT_EQ(pathSet({.excludeMidi = true}).size(), 12u);
    EXPECT_EQ(pathSet({}).size(), 13u); // hidden and offline rows are never results
}

TEST_F(Search, PlaylistFavouritesAndCombinedFilters)
{
    const auto playlist = _db.createPlaylist("Crate");
    _db.addToPlaylist(playlist, id("/lib/Loops/Bass 128 C.wav"));
    _db.addToPlaylist(playlist, id("/lib/Drums/Big Kick.wav"));
    _db.addToPlaylist(playlist, id("/off/Kick.wav"));
    _db.setFavorite(id("/lib/Drums/Big Kick.wav"), true);
    _db.setFavorite(id("/lib/Drums/._Kick 01.wav"), true);

    EXPECT_EQ(pathSet({.playlistId = playlist}).size(), 2u);
    EXPECT_TRUE(pathSet({.playlistId = playlist + 1}).empty());
    EXPECT_EQ(pathSet({.favoritesOnly = true}), std::set<std::string>{"/lib/Drums/Big Kick.wav"});
    EXPECT_EQ(pathSet({.text = "kick", .playlistId = playlist, .favoritesOnly = true}),
              std::set<std::string>{"/lib/Drums/Big Kick.wav"});
    EXPECT_EQ(pathSet({.text = "kick", .type = "Loop", .key = "Am", .bpm = 115}),
              std::set<std::string>{"/lib/Loops/Snare Kick 120.wav"});
    EXPECT_TRUE(pathSet({.text = "kick", .genre = "House", .folder = "/lib/Drums/Sub"}).empty());
}

TEST_F(Search, OrdersBreakTiesByNameThenIdAndPutMissingValuesLast)
{
    // Same name in two cases: the lower id first.
    const auto byName = paths({.folder = "/lib/Drums/Sub", .sortByFilename = true});
    ASSERT_EQ(byName.size(), 2u);
    EXPECT_EQ(byName[0], "/lib/Drums/Sub/kick.wav");
    const auto byNameDown = paths({.folder = "/lib/Drums/Sub", .sortByFilename = true, .filenameDescending = true});
    EXPECT_EQ(byNameDown[0], "/lib/Drums/Sub/Kick.wav");

    for (const bool descending : {false, true}) {
        const auto byDuration = paths({.sortByDuration = true, .durationDescending = descending});
        // No duration: last either way, by name among themselves.
        EXPECT_EQ(byDuration[byDuration.size() - 2], "/lib/MIDI/Chords Am.mid");
        EXPECT_EQ(byDuration.back(), "/lib/Drums/Sub/kick.wav");
        EXPECT_EQ(byDuration.front(), descending ? "/lib/Loops/Pad 100 Fm.wav" : "/lib/DrumsX/Hat.wav");
        const auto byBpm = paths({.type = "Loop", .sortByBpm = true, .bpmDescending = descending});
        EXPECT_EQ(byBpm.front(), descending ? "/lib/Loops/Keys 131.wav" : "/lib/Loops/Pad 100 Fm.wav");
    }

    // Closest tempo first, measured from the raw target.
    EXPECT_EQ(paths({.bpm = 125}), (std::vector<std::string>{"/lib/Loops/Bass 128 C.wav", "/lib/Loops/Snare Kick 120.wav",
                                                             "/lib/Loops/Keys 131.wav"}));

    // Best file name match first: exact stems, then phrases by extra tokens, then names
    // that only matched in another column.
    EXPECT_EQ(paths({.text = "kick"}),
              (std::vector<std::string>{"/lib/Drums/Sub/kick.wav", "/lib/Drums/Sub/Kick.wav",
                                        "/lib/Drums/Big Kick.wav", "/lib/Drums/Kick 01.wav",
                                        "/lib/Loops/Snare Kick 120.wav", "/lib/Drums"}));
    // Punctuation only: no text filter and the plain name order.
    EXPECT_EQ(paths({.text = "--- ..."}), paths({}));
}

TEST_F(Search, MatchingIndexAgreesWithThePositionInEveryOrder)
{
    const std::vector<SearchQuery> orders = {
        {},
        {.text = "kick"},
        {.bpm = 125},
        {.sortByFilename = true},
        {.sortByFilename = true, .filenameDescending = true},
        {.sortByDuration = true},
        {.sortByDuration = true, .durationDescending = true},
        {.sortByBpm = true},
        {.sortByBpm = true, .bpmDescending = true},
        {.text = "k", .sortByBpm = true, .bpmDescending = true},
    };
    for (const SearchQuery& query : orders) {
        const auto rows = paths(query);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(_db.matchingIndex(query, id(rows[i])), static_cast<std::int64_t>(i)) << rows[i];
        }
        EXPECT_EQ(_db.matchingIndex(query, id("/lib/Drums/._Kick 01.wav")), std::nullopt);
        EXPECT_EQ(_db.matchingIndex(query, id("/off/Kick.wav")), std::nullopt);
    }
    EXPECT_EQ(_db.matchingIndex({.type = "Loop"}, id("/lib/Drums/Big Kick.wav")), std::nullopt);
}

TEST_F(Search, OfflineLibrariesAreHiddenButStillCounted)
{
    EXPECT_EQ(_db.countSamples(), 14);
    EXPECT_TRUE(pathSet({.genre = "Offline"}).empty());
    _db.setLibraryAvailable("/off", true);
    EXPECT_EQ(pathSet({.genre = "Offline"}), std::set<std::string>{"/off/Kick.wav"});
}

TEST_F(Search, HostileTextIsNeverAnSqlError)
{
    const std::vector<std::string> texts = {
        "\"", "\"kick\"", "kick\"*", "*", "**kick", "(kick", "kick)", "NEAR(kick snare)", "kick AND snare",
        "kick OR", "NOT kick", "path:kick", "filename:Kick", "^kick", "#", "c#", "a''b", "'; DROP TABLE samples;--",
        std::string(10000, 'k'), std::string(10000, '('), "kick \xff\xfe snare", "\xc3\x28", std::string("ki\0ck", 5),
        "-kick", "kick -snare", "{kick}", "[kick]", "kick:*", "+",
    };
    for (const std::string& text : texts) {
        for (SearchQuery query : {SearchQuery{.text = text}, SearchQuery{.text = text, .sortByFilename = true}}) {
            std::int64_t count = -1;
            EXPECT_NO_THROW(count = _db.countMatching(query)) << text;
            query.limit = 1000;
            EXPECT_EQ(static_cast<std::int64_t>(_db.search(query).size()), count) << text;
            EXPECT_NO_THROW(_db.matchingIndex(query, 1)) << text;
            for (const char* field : {"instrument", "genre", "key"}) {
                EXPECT_NO_THROW(_db.distinctFilterValues(field, query)) << text;
            }
        }
    }
    // Quotes and column names are just text: they find what their letters find.
    EXPECT_EQ(pathSet({.text = "path:kick"}), pathSet({.text = "path kick"}));
    EXPECT_EQ(pathSet({.text = "\"kick\" AND"}), pathSet({.text = "kick and"}));
    EXPECT_EQ(_db.countMatching({.text = "'; DROP TABLE samples;--"}), 0);
    EXPECT_EQ(_db.countSamples(), 14);
}

TEST_F(Search, FilterValuesListWhatTheRestOfTheQueryShows)
{
    // Blank instruments never appear; values differing in case both do, side by side.
    auto instruments = _db.distinctFilterValues("instrument", {});
    ASSERT_EQ(instruments.size(), 5u);
    std::sort(instruments.begin() + 3, instruments.end());
    EXPECT_EQ(instruments, (std::vector<std::string>{"Bass", "Drums", "HiHat", "Kick", "kick"}));
    EXPECT_EQ(_db.distinctFilterValues("key", {.type = "Loop"}),
              (std::vector<std::string>{"A minor", "C major", "F minor", "None"}));
    EXPECT_EQ(_db.distinctFilterValues("genre", {.folder = "/lib/Drums"}),
              (std::vector<std::string>{"House", "Techno"}));
    EXPECT_TRUE(_db.distinctFilterValues("genre", {.text = "zzz"}).empty());

    // A user-added genre is listed next to the scanner's, one row each.
    _db.setFolderGenreOverride("/lib/Loops", "Dub", true);
    EXPECT_EQ(_db.distinctFilterValues("genre", {.folder = "/lib/Loops"}),
              (std::vector<std::string>{"Ambient", "Dub", "House", "Techno"}));

    EXPECT_THROW(_db.distinctFilterValues("Genre", {}), std::runtime_error);
    EXPECT_THROW(_db.distinctFilterValues("bpm", {}), std::runtime_error);
}

} // namespace
