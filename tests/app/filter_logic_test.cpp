// The filters' decisions without a window: compact keys, which values a list offers,
// chip visibility and titles, the quick filters' order and toggle, custom tempo limits.
#include "filter_logic.h"

#include <gtest/gtest.h>

namespace {

using qv::QuickFilterRow;
using Strings = std::vector<std::string>;

TEST(CompactKey, SpellingsOfOneKeyCollapseAndNoKeyIsEmpty)
{
    for (const auto& [key, compact] : std::vector<std::pair<const char*, const char*>>{
             {"C# minor", "C#m"}, {"C#M", "C#m"}, {"F major", "F"}, {"Bb", "BB"}, {" g  Minor ", "Gm"},
             {"D", "D"}, {"None", ""}, {"UNKNOWN", ""}}) {
        EXPECT_EQ(qv::QVCompactKey(key), compact) << key;
    }
}

TEST(ChipChoices, OfferValuesOnceWithoutPlaceholdersAndKeysCompacted)
{
    EXPECT_EQ(qv::chipChoices(qv::kInstrumentChip, {"Bass", "", "Unknown", "None", "Piano", "Bass"}),
              (Strings{"All", "Bass", "Piano"}));
    EXPECT_EQ(qv::chipChoices(qv::kKeyChip, {"A minor", "Am", "C# minor", "c#m", "C#M", "None", "F major", "F"}),
              (Strings{"All", "Am", "C#m", "F"}));
    EXPECT_EQ(qv::chipChoices(qv::kGenreChip, {}), (Strings{"All"}));

    // The built-in lists, before a chip first opens.
    EXPECT_EQ(qv::builtInChoices(qv::kTypeChip), (Strings{"All"}));
    const Strings bpm = qv::builtInChoices(qv::kBpmChip);
    ASSERT_EQ(bpm.size(), 18u);
    EXPECT_EQ(bpm[1], "50");
    EXPECT_EQ(bpm[16], "200");
    EXPECT_EQ(bpm.back(), "Custom\u2026");
    EXPECT_EQ(qv::builtInChoices(qv::kKeyChip).size(), 25u);
}

TEST(ChipVisibility, FollowsTheTypeSection)
{
    const struct {
        const char* section;
        bool instruments, bpm, key, genres;
    } cases[] = {
        {"", true, true, true, true},          {"Loop", true, true, true, true},
        {"One Shot", true, false, false, true}, {"MIDI", false, true, true, true},
        {"Unknown", true, true, true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.section);
        EXPECT_FALSE(qv::chipVisible(qv::kTypeChip, c.section));
        EXPECT_EQ(qv::chipVisible(qv::kInstrumentChip, c.section), c.instruments);
        EXPECT_EQ(qv::chipVisible(qv::kBpmChip, c.section), c.bpm);
        EXPECT_EQ(qv::chipVisible(qv::kKeyChip, c.section), c.key);
        EXPECT_EQ(qv::chipVisible(qv::kGenreChip, c.section), c.genres);
    }
}

TEST(ChipTitles, NameWhenUnsetValueWithRoomForResetAndGenreCount)
{
    // One value or none: the filters' window test reads the chips' titles.
    EXPECT_EQ(qv::genreChipValue({"trap", "house", "soul"}), "trap +2");
    qv::BrowseState state;
    state.selectedGenres = {"house", "trap"};
    EXPECT_EQ(qv::chipTitle("Genres", qv::chipValue(state, qv::kGenreChip)), "house +1    ");
}

TEST(QuickFilters, PreferredNamesFirstIgnoringCaseThenTheRestOnce)
{
    EXPECT_EQ(qv::quickFilterOrder(QuickFilterRow::Genres,
                                   {"afro", "Hip Hop", "hoodtrap", "Unknown", "RnB", "house", "afro", "Trap", ""}),
              (Strings{"Trap", "RnB", "Hip Hop", "hoodtrap", "afro", "house"}));
    EXPECT_EQ(qv::quickFilterOrder(QuickFilterRow::Instruments, {"Bass", "guitar", "ep", "None", "Piano", "piano"}),
              (Strings{"Piano", "piano", "ep", "guitar", "Bass"}));
    EXPECT_TRUE(qv::quickFilterOrder(QuickFilterRow::Genres, {"Unknown", "None", ""}).empty());

    // Genre titles and the selected mark show in the filters' window test.
    EXPECT_EQ(qv::quickFilterTitle(QuickFilterRow::Instruments, "rnb"), "rnb");
    EXPECT_EQ(qv::quickFilterWidth(10), 54);
    EXPECT_EQ(qv::quickFilterWidth(15), 55);
}

TEST(QuickFilters, EnabledOutsideTheLibraryListWhileTheirChipShowsOrInTheCompactLayout)
{
    qv::BrowseState state;
    EXPECT_TRUE(qv::quickFiltersEnabled(state, true));
    EXPECT_FALSE(qv::quickFiltersEnabled(state, false));
    state.layoutMode = 0;
    EXPECT_TRUE(qv::quickFiltersEnabled(state, false));
    state.libraryMode = true;
    EXPECT_FALSE(qv::quickFiltersEnabled(state, true));
}

TEST(QuickFilters, ChoosingTheSelectedOneAgainClearsItsFilter)
{
    qv::BrowseState state;
    state.selectedGenres = {"trap", "house"};
    std::string choice = qv::quickFilterChoice(QuickFilterRow::Genres, "hip hop", state);
    EXPECT_TRUE(qv::chooseFilterValue(state, qv::kGenreChip, choice));
    EXPECT_EQ(state.selectedGenres, Strings{"hip hop"}) << "a quick filter replaces the other genres";
    EXPECT_TRUE(qv::quickFilterSelected(QuickFilterRow::Genres, "hip hop", state));
    choice = qv::quickFilterChoice(QuickFilterRow::Genres, "hip hop", state);
    EXPECT_EQ(choice, "All");
    EXPECT_TRUE(qv::chooseFilterValue(state, qv::kGenreChip, choice));
    EXPECT_TRUE(state.selectedGenres.empty());

    state.instrumentFilter = "piano";
    EXPECT_TRUE(qv::quickFilterSelected(QuickFilterRow::Instruments, "Piano", state));
    EXPECT_EQ(qv::quickFilterChoice(QuickFilterRow::Instruments, "Piano", state), "All");
    EXPECT_EQ(qv::quickFilterChoice(QuickFilterRow::Instruments, "Bass", state), "Bass");
}

TEST(ChoosingAValue, SetsTheChipsFieldAndSaysWhetherAnythingChanged)
{
    qv::BrowseState state;
    EXPECT_TRUE(qv::chooseFilterValue(state, qv::kKeyChip, "C#m"));
    EXPECT_EQ(state.keyFilter, "C#m");
    EXPECT_FALSE(qv::chooseFilterValue(state, qv::kKeyChip, "C#m"));
    EXPECT_TRUE(qv::chooseFilterValue(state, qv::kBpmChip, "140"));
    EXPECT_EQ(state.bpmFilter, "140");
    EXPECT_FALSE(qv::chooseFilterValue(state, qv::kTypeChip, "Loop"));
    EXPECT_FALSE(qv::chooseFilterValue(state, qv::kGenreChip, "All"));
    EXPECT_TRUE(qv::clearAllFilters(state));
    EXPECT_EQ(state.keyFilter, "All");
    EXPECT_EQ(state.bpmFilter, "All");
    EXPECT_FALSE(qv::clearAllFilters(state));
}

TEST(CustomTempo, AcceptsTwentyToThreeHundredAsALeadingWholeNumber)
{
    const struct {
        const char* entry;
        std::optional<int> tempo;
    } cases[] = {
        {"20", 20}, {"300", 300}, {"19", std::nullopt}, {"301", std::nullopt}, {" 128 ", 128}, {"120.5", 120},
        {"abc", std::nullopt}, {"", std::nullopt}, {"-120", std::nullopt}, {"99999999999999999999", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(qv::customTempo(c.entry), c.tempo) << c.entry;
}

} // namespace
