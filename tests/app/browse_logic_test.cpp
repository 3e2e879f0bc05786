// The result browser's decisions without a window: the query a refresh runs (and the one a
// filter's value list reads), the texts it shows and the sort cycle.
#include "browse_logic.h"
#include "filter_logic.h"

#include <gtest/gtest.h>

namespace {

TEST(BrowseQuery, CarriesEveryPartOfTheStateAndLeavesAllAlone)
{
    qv::BrowseState state;
    qv::SearchQuery plain = qv::browseQuery(state);
    EXPECT_EQ(plain.limit, 50);
    EXPECT_EQ(plain.offset, 0);
    EXPECT_TRUE(plain.instrument.empty() && plain.key.empty() && plain.type.empty());
    EXPECT_FALSE(plain.bpm.has_value());

    state.searchText = "dusty kick";
    state.page = 3;
    state.favoriteMode = true;
    state.folderScope = "/music/Drums 100%";
    state.playlistId = 7;
    state.timeSortDirection = -1;
    state.instrumentFilter = "Kick";
    state.bpmFilter = "128";
    state.keyFilter = "A minor";
    state.selectedGenres = {"House", "Techno"};
    state.sectionType = "One Shot";
    // Text, page, place and type reach the results in the window tests; the filter values
    // and the duration sort are checked here.
    const qv::SearchQuery q = qv::browseQuery(state);
    EXPECT_FALSE(q.sortByFilename);
    EXPECT_TRUE(q.sortByDuration);
    EXPECT_TRUE(q.durationDescending);
    EXPECT_EQ(q.instrument, "Kick");
    EXPECT_EQ(q.bpm, 128);
    EXPECT_EQ(q.key, "A minor");
    EXPECT_EQ(q.genres, (std::vector<std::string>{"House", "Techno"}));
    EXPECT_EQ(q.type, "One Shot");

    // A filter's value list is read in the place alone, without the text or other filters.
    const qv::SearchQuery place = qv::filterContextQuery(state);
    EXPECT_TRUE(place.text.empty() && place.instrument.empty() && place.key.empty() && place.genres.empty());
    EXPECT_FALSE(place.bpm);
    EXPECT_TRUE(place.favoritesOnly);
    EXPECT_EQ(place.folder, "/music/Drums 100%");
    EXPECT_EQ(place.playlistId, 7);
    EXPECT_EQ(place.type, "One Shot");
}

TEST(RefreshTexts, ZeroFiftyAndFiftyOneMatches)
{
    struct Case {
        std::int64_t matches, page;
        std::size_t rows;
        std::int64_t pages;
        const char* status;
        const char* label;
    };
    const Case cases[] = {
        {50, 0, 50, 1, "50 matching samples  \u2022  showing 1\u201350", "Page 1 of 1"},
        {51, 0, 50, 2, "51 matching samples  \u2022  showing 1\u201350", "Page 1 of 2"},
        {51, 1, 1, 2, "51 matching samples  \u2022  showing 51\u201351", "Page 2 of 2"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.matches);
        EXPECT_EQ(qv::pageCountFor(c.matches), c.pages);
        EXPECT_EQ(qv::matchesStatusText(c.matches, c.page, c.rows), c.status);
        EXPECT_EQ(qv::pageLabelText(c.page, c.pages), c.label);
    }
    EXPECT_EQ(qv::pageCountFor(1000000), 20000);
    EXPECT_EQ(qv::librariesStatusText(3), "3 imported root folders  \u2022  Double-click a library name to rename it.");
}

TEST(SortButtons, CycleNeverReturnsToUnsortedAndOneColumnAtATime)
{
    qv::BrowseState state;
    qv::pressSort(state, qv::SortColumn::Bpm);
    EXPECT_EQ(state.bpmSortDirection, 1);
    qv::pressSort(state, qv::SortColumn::Bpm);
    EXPECT_EQ(state.bpmSortDirection, -1);
    qv::pressSort(state, qv::SortColumn::Bpm);
    EXPECT_EQ(state.bpmSortDirection, 1);
    EXPECT_TRUE(qv::hasActiveSort(state));

    qv::pressSort(state, qv::SortColumn::Filename);
    EXPECT_EQ(state.filenameSortDirection, 1);
    EXPECT_EQ(state.bpmSortDirection, 0);

    EXPECT_EQ(qv::sortTitle(qv::SortColumn::Time, 1), "Time  \u25b2");
    EXPECT_EQ(qv::sortTitle(qv::SortColumn::Bpm, -1), "BPM  \u25bc");
}

} // namespace
