#include "db/schema.h"
#include "support/index_test.h"

namespace {

using qv::SearchQuery;
using qv::SearchStrategy;
using qv::StrategyFacts;

// Only speed depends on the strategy, so a wrong choice shows as a slow page, never as a
// failing test elsewhere: its thresholds are pinned here.
TEST(SearchStrategy, ChoosesByTheQueryAndWhatThePlanKnows)
{
    const SearchQuery all{.limit = 50};
    const SearchQuery loops{.type = "Loop", .limit = 50};
    const SearchQuery deep{.type = "Loop", .limit = 50, .offset = 400000};
    const SearchQuery kick{.text = "kick", .limit = 50};
    const SearchQuery tempo{.bpm = 120, .limit = 50};
    const SearchQuery longest{.type = "Loop", .sortByDuration = true, .limit = 50};
    const SearchQuery loved{.text = "kick", .favoritesOnly = true, .limit = 50};
    const SearchQuery key{.key = "A minor", .limit = 50};
    const SearchQuery none{.type = "Loop", .limit = 0};
    const SearchQuery genre{.genre = "Trap", .limit = 50};
    const SearchQuery kickTrap{.text = "kick", .genre = "Trap", .bpm = 140, .limit = 50};
    const auto members = [](std::int64_t n) {
        return StrategyFacts{.matches = n, .highestId = 1000000, .memberRows = n};
    };

    const StrategyFacts dense{.keysListed = true, .matches = 300000, .highestId = 1000000};
    const StrategyFacts rare{.keysListed = true, .matches = 900, .highestId = 1000000};
    const StrategyFacts unlisted{.matches = 300000, .highestId = 1000000};
    const StrategyFacts rowText{.keysListed = true, .rowText = true, .matches = 200, .highestId = 1000000};
    const auto words = [](std::size_t n, std::int64_t excluded = 0) {
        return StrategyFacts{.matches = 1, .highestId = 1000000, .fullTextMatches = n, .excludedRows = excluded};
    };
    const struct {
        SearchQuery query;
        StrategyFacts facts;
        const char* expected;
    } cases[] = {
        {all, dense, "count visible; page statement, walks idx_samples_visible_name"},
        {loops, dense, "count statement; page statement, walks idx_samples_visible_name"},
        {loops, rare, "count statement; page statement"},
        {deep, dense, "count statement; page statement"},
        {kick, words(73000), "count listed; page ranked groups, from idx_samples_visible_id"},
        {kick, words(1000), "count looked up; page among matches, from idx_samples_visible_id"},
        {kick, words(5000, 40000), "count looked up; page among matches, from idx_samples_visible_id"},
        {kick, words(5001, 40000), "count listed; page ranked groups, from idx_samples_visible_id"},
        {tempo, dense, "count statement; page tempo groups, walks idx_samples_visible_bpm"},
        {tempo, rare, "count statement; page statement, from idx_samples_visible_bpm"},
        {longest, dense, "count statement; page segmented, walks idx_samples_visible_duration"},
        {longest, rare, "count statement; page segmented"},
        {loved, rowText, "count statement; page statement, text row by row, from idx_samples_visible_favorite"},
        {key, rare, "count statement; page statement, from idx_samples_visible_key"},
        {key, unlisted, "count statement; page statement, walks idx_samples_visible_name"},
        {none, dense, "count statement; page empty"},
        {genre, members(250000), "count members; page members by name, from idx_samples_visible_id"},
        {genre, members(250001), "count members; page statement, walks idx_samples_visible_name"},
        {kickTrap, StrategyFacts{.rowText = true, .matches = 10, .highestId = 1000000, .intersected = 20000},
         "count intersected; page intersected"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qv::describe(qv::chooseStrategy(c.query, c.facts)), c.expected) << c.expected;
    }
}

// A place alone is probed value by value, unless its favourites, playlist or folder
// hold few rows; any other filter or the text reads the matches row by row.
TEST(SearchStrategy, ProbesTheValueListsOfAPlaceOfManyRows)
{
    using qv::ValueList;
    const struct {
        SearchQuery query;
        bool fewPlaceRows;
        ValueList expected;
    } cases[] = {
        {{}, false, ValueList::Probe},
        {{.type = "One Shot"}, true, ValueList::Probe},
        {{.text = " - "}, false, ValueList::Probe},
        {{.favoritesOnly = true}, false, ValueList::Probe},
        {{.type = "Loop", .playlistId = 3}, false, ValueList::Probe},
        {{.favoritesOnly = true}, true, ValueList::Scan},
        {{.playlistId = 3}, true, ValueList::Scan},
        {{.text = "kick"}, false, ValueList::Scan},
        {{.instrument = "Kick"}, false, ValueList::Scan},
        {{.key = "Am"}, false, ValueList::Scan},
        {{.genre = "House"}, false, ValueList::Scan},
        {{.genres = {"House"}}, false, ValueList::Scan},
        {{.folder = "/lib"}, false, ValueList::Probe},
        {{.folder = "/lib"}, true, ValueList::Scan},
        {{.bpm = 120}, false, ValueList::Scan},
        {{.excludeMidi = true}, false, ValueList::Scan},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qv::chooseValueList(c.query, c.fewPlaceRows), c.expected)
            << "type '" << c.query.type << "' text '" << c.query.text << "' few " << c.fewPlaceRows;
    }
}

class TempoTarget : public qv::test::IndexTest {};

// A negative target once wrote "abs(s.bpm--5)", whose "--" commented out the rest of the
// statement: the position threw and pages came out empty in both plans.
TEST_F(TempoTarget, AnyNumberIsReadAsANumberByBothPlans)
{
    const std::int64_t lib = _db.addLibrary("/lib");
    add({"/lib/loop 25.wav", qv::SampleType::Loop, "", 25}, lib);
    const std::int64_t twenty = add({"/lib/loop 20.wav", qv::SampleType::Loop, "", 20}, lib);
    const struct {
        int target;
        std::int64_t matches;
        std::optional<std::int64_t> position; // of the 20 BPM loop
    } cases[] = {{-5, 0, {}}, {-1, 0, {}}, {-2147483647 - 1, 0, {}}, {10, 1, 0}, {15, 2, 0}, {34, 1, {}}};
    for (const auto plan : {qv::SearchPlan::Indexed, qv::SearchPlan::Reference}) {
        _db.setSearchPlan(plan);
        for (const auto& c : cases) {
            SCOPED_TRACE(c.target);
            const SearchQuery q{.bpm = c.target};
            EXPECT_EQ(_db.countMatching(q), c.matches);
            EXPECT_EQ(static_cast<std::int64_t>(_db.search(q).size()), c.matches);
            EXPECT_EQ(_db.matchingIndex(q, twenty), c.position);
        }
    }
    std::vector<std::string> params;
    EXPECT_EQ(qv::searchOrder({.bpm = 120}, params), "abs(s.bpm-120), s.filename COLLATE NOCASE, s.id");
    EXPECT_EQ(qv::searchOrder({.bpm = -5}, params), "abs(s.bpm-(-5)), s.filename COLLATE NOCASE, s.id");
}

// Statements name their indexes from one header; an index that is not there would make
// every statement naming it fail, which a page reports as empty.
TEST_F(TempoTarget, EveryIndexTheSearchNamesExistsAfterOpening)
{
    std::vector<std::string> names = {qv::schema::kBpmIndex,        qv::schema::kLibraryIndex, qv::schema::kTypeIndex,
                                      qv::schema::kInstrumentIndex, qv::schema::kKeyIndex,     qv::schema::kFavoriteIndex};
    for (const auto& index : qv::schema::supportIndexes()) names.emplace_back(index.name);
    for (const auto& name : names) {
        EXPECT_EQ(_raw.integer("SELECT count(*) FROM sqlite_schema WHERE type='index' AND name=?", {name}), 1) << name;
    }
}

} // namespace
