#include "support/index_test.h"

#include <algorithm>
#include <set>

namespace {

using qv::SampleType;
using qv::SearchQuery;
using Set = std::set<std::string>;

// A small library whose rows each sit on the edge of one predicate. Paths are written
// and compared below the library folders "/lib/" and "/off/".
class Search : public qv::test::IndexTest {
protected:
    std::int64_t _lib = _db.addLibrary("/lib");
    std::int64_t _offline = _db.addLibrary("/off");

    void SetUp() override
    {
        const std::vector<qv::test::Row> rows = {
            {"Drums/Kick 01.wav", SampleType::OneShot, "Kick", {}, "None", {"Techno"}, 0.5},
            {"Drums/Big Kick.wav", SampleType::OneShot, "Kick", {}, "None", {"House"}, 0.8},
            {"Drums/Sub/kick.wav", SampleType::OneShot, "kick", {}, "None", {}, {}},
            {"Drums/Sub/Kick.wav", SampleType::OneShot, "Kick", {}, "None", {}, 0.3},
            {"Loops/Snare Kick 120.wav", SampleType::Loop, "Drums", 120, "A minor", {"Techno"}, 4.0},
            {"Loops/Bass 128 C.wav", SampleType::Loop, "Bass", 128, "C major", {"House"}, 3.75},
            {"Loops/Pad 100 Fm.wav", SampleType::Loop, "  ", 100, "F minor", {"Ambient"}, 9.6},
            {"Loops/Keys 131.wav", SampleType::Loop, "", 131, "None", {}, 7.3},
            {"FX/Riser 110.wav", SampleType::Unknown, "", 110, "None", {}, 2.0},
            {"FX/Drone 300.wav", SampleType::Unknown, "", 300, "None", {}, 2.0},
            {"DrumsX/Hat.wav", SampleType::OneShot, "HiHat", {}, "None", {}, 0.1},
            {"MIDI/Chords Am.mid", SampleType::MIDI, "", {}, "A minor", {}, {}},
            {"Drums/._Kick 01.wav", SampleType::OneShot, "Kick", {}, "None", {"Techno"}, 0.5},
            {"Drums", SampleType::OneShot, "Kick", {}, "None", {}, 0.5},
        };
        for (auto row : rows) {
            row.path = "/lib/" + row.path;
            add(row, _lib);
        }
        add({"/off/Kick.wav", SampleType::OneShot, "Kick", 120, "A minor", {"Offline"}, 1.0}, _offline);
        _db.setLibraryAvailable("/off", false);
    }

    std::int64_t id(const std::string& path) { return _db.findByPath(path[0] == '/' ? path : "/lib/" + path)->id; }

    std::vector<std::string> paths(SearchQuery query)
    {
        query.limit = 1000;
        std::vector<std::string> result;
        for (const auto& sample : _db.search(query)) result.push_back(sample.path.substr(5));
        EXPECT_EQ(_db.countMatching(query), static_cast<std::int64_t>(result.size()));
        return result;
    }

    Set pathSet(const SearchQuery& query)
    {
        const auto list = paths(query);
        return {list.begin(), list.end()};
    }
};

TEST_F(Search, EachPredicateSelectsExactlyItsRows)
{
    const Set kicks = {"Drums/Kick 01.wav", "Drums/Big Kick.wav", "Drums/Sub/kick.wav", "Drums/Sub/Kick.wav",
                       "Loops/Snare Kick 120.wav", "Drums"};
    EXPECT_EQ(pathSet({.text = "kick"}), kicks);
    EXPECT_EQ(pathSet({.text = "KI"}), kicks);
    EXPECT_EQ(pathSet({.text = "snare kick"}), Set{"Loops/Snare Kick 120.wav"});
    // Text matches every column of the full-text index, the folder path included.
    EXPECT_EQ(pathSet({.text = "drumsx"}), Set{"DrumsX/Hat.wav"});

    EXPECT_EQ(pathSet({.type = "Loop"}).size(), 4u);
    EXPECT_TRUE(pathSet({.type = "loop"}).empty()); // exact type text
    EXPECT_EQ(pathSet({.instrument = "KICK"}).size(), 5u);
    // The filter is normalised like the scanner's instruments.
    EXPECT_EQ(pathSet({.instrument = "hats"}), Set{"DrumsX/Hat.wav"});

    EXPECT_EQ(pathSet({.bpm = 120}), (Set{"FX/Riser 110.wav", "Loops/Snare Kick 120.wav", "Loops/Bass 128 C.wav"}));
    EXPECT_EQ(pathSet({.bpm = 121}), (Set{"Loops/Snare Kick 120.wav", "Loops/Bass 128 C.wav", "Loops/Keys 131.wav"}));
    // The window is clamped to 20..300, and a target far outside gives nothing on purpose.
    EXPECT_TRUE(pathSet({.bpm = 5}).empty());
    EXPECT_TRUE(pathSet({.bpm = 289}).empty());
    EXPECT_EQ(pathSet({.bpm = 290}), Set{"FX/Drone 300.wav"});
    EXPECT_EQ(pathSet({.bpm = 310}), Set{"FX/Drone 300.wav"});
    EXPECT_TRUE(pathSet({.bpm = 311}).empty());

    for (const char* key : {"A minor", "Am", "aminor", " a  MINOR "}) {
        EXPECT_EQ(pathSet({.key = key}), (Set{"Loops/Snare Kick 120.wav", "MIDI/Chords Am.mid"})) << key;
    }
    for (const char* key : {"C", "C Major", "cmajor"}) {
        EXPECT_EQ(pathSet({.key = key}), Set{"Loops/Bass 128 C.wav"}) << key;
    }

    EXPECT_EQ(pathSet({.genre = "house"}), (Set{"Drums/Big Kick.wav", "Loops/Bass 128 C.wav"}));
    // A genre list wins over the single genre.
    EXPECT_EQ(pathSet({.genre = "House", .genres = {"ambient", "TECHNO"}}),
              (Set{"Loops/Pad 100 Fm.wav", "Drums/Kick 01.wav", "Loops/Snare Kick 120.wav"}));

    // Strictly below the folder: not a sibling sharing the prefix, not the folder itself.
    EXPECT_EQ(pathSet({.folder = "/lib/Drums"}),
              (Set{"Drums/Kick 01.wav", "Drums/Big Kick.wav", "Drums/Sub/kick.wav", "Drums/Sub/Kick.wav"}));

    EXPECT_EQ(pathSet({.excludeMidi = true}).size(), 12u);
    // Hidden and offline rows are never results, but offline ones are still counted.
    EXPECT_EQ(pathSet({}).size(), 13u);
    EXPECT_EQ(_db.countSamples(), 14);
    EXPECT_TRUE(pathSet({.genre = "Offline"}).empty());
    _db.setLibraryAvailable("/off", true);
    EXPECT_EQ(pathSet({.genre = "Offline"}), Set{"Kick.wav"});
}

TEST_F(Search, PlaylistFavouritesAndCombinedFilters)
{
    const auto playlist = _db.createPlaylist("Crate");
    for (const char* path : {"Loops/Bass 128 C.wav", "Drums/Big Kick.wav", "/off/Kick.wav"}) {
        _db.addToPlaylist(playlist, id(path));
    }
    _db.setFavorite(id("Drums/Big Kick.wav"), true);
    _db.setFavorite(id("Drums/._Kick 01.wav"), true);

    EXPECT_EQ(pathSet({.playlistId = playlist}).size(), 2u);
    EXPECT_TRUE(pathSet({.playlistId = playlist + 1}).empty());
    EXPECT_EQ(pathSet({.favoritesOnly = true}), Set{"Drums/Big Kick.wav"});
    EXPECT_EQ(pathSet({.text = "kick", .playlistId = playlist, .favoritesOnly = true}), Set{"Drums/Big Kick.wav"});
    EXPECT_EQ(pathSet({.text = "kick", .type = "Loop", .key = "Am", .bpm = 115}), Set{"Loops/Snare Kick 120.wav"});
    EXPECT_TRUE(pathSet({.text = "kick", .genre = "House", .folder = "/lib/Drums/Sub"}).empty());
}

TEST_F(Search, OrdersBreakTiesByNameThenIdAndPutMissingValuesLast)
{
    // Same name in two cases: the lower id first.
    EXPECT_EQ(paths({.folder = "/lib/Drums/Sub", .sortByFilename = true}),
              (std::vector<std::string>{"Drums/Sub/kick.wav", "Drums/Sub/Kick.wav"}));
    const auto byNameDown = paths({.folder = "/lib/Drums/Sub", .sortByFilename = true, .filenameDescending = true});
    EXPECT_EQ(byNameDown[0], "Drums/Sub/Kick.wav");

    for (const bool descending : {false, true}) {
        const auto byDuration = paths({.sortByDuration = true, .durationDescending = descending});
        // No duration: last either way, by name among themselves.
        EXPECT_EQ(byDuration[byDuration.size() - 2], "MIDI/Chords Am.mid");
        EXPECT_EQ(byDuration.back(), "Drums/Sub/kick.wav");
        EXPECT_EQ(byDuration.front(), descending ? "Loops/Pad 100 Fm.wav" : "DrumsX/Hat.wav");
        const auto byBpm = paths({.type = "Loop", .sortByBpm = true, .bpmDescending = descending});
        EXPECT_EQ(byBpm.front(), descending ? "Loops/Keys 131.wav" : "Loops/Pad 100 Fm.wav");
    }

    // Closest tempo first, measured from the raw target.
    EXPECT_EQ(paths({.bpm = 125}),
              (std::vector<std::string>{"Loops/Bass 128 C.wav", "Loops/Snare Kick 120.wav", "Loops/Keys 131.wav"}));

    // Best file name match first: exact stems, then phrases by extra tokens, then names
    // that only matched in another column.
    EXPECT_EQ(paths({.text = "kick"}),
              (std::vector<std::string>{"Drums/Sub/kick.wav", "Drums/Sub/Kick.wav", "Drums/Big Kick.wav",
                                        "Drums/Kick 01.wav", "Loops/Snare Kick 120.wav", "Drums"}));
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
        EXPECT_EQ(_db.matchingIndex(query, id("Drums/._Kick 01.wav")), std::nullopt);
        EXPECT_EQ(_db.matchingIndex(query, id("/off/Kick.wav")), std::nullopt);
    }
    EXPECT_EQ(_db.matchingIndex({.type = "Loop"}, id("Drums/Big Kick.wav")), std::nullopt);
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
        SCOPED_TRACE(text);
        for (SearchQuery query : {SearchQuery{.text = text}, SearchQuery{.text = text, .sortByFilename = true}}) {
            EXPECT_NO_THROW(paths(query)); // and the count agrees with the page
            EXPECT_NO_THROW(_db.matchingIndex(query, 1));
            for (const char* f : {"instrument", "genre", "key"}) EXPECT_NO_THROW(_db.distinctFilterValues(f, query));
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
