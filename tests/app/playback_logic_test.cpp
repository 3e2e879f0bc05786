// The player's decisions without a window: texts, transport enablement, where a step
// starts and where it goes.
#include "playback_logic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

namespace {

using qv::PlaybackState;

TEST(PlayerTexts, ClockKeyTempoAndVolume)
{
    EXPECT_EQ(qv::clockText(0), "0:00");
    EXPECT_EQ(qv::clockText(59.99), "0:59");
    EXPECT_EQ(qv::clockText(61), "1:01");
    EXPECT_EQ(qv::clockText(3725.4), "62:05");
    EXPECT_EQ(qv::clockText(-3), "0:00");
    EXPECT_EQ(qv::clockText(std::nan("")), "0:00");
    EXPECT_EQ(qv::clockText(std::numeric_limits<double>::infinity()), "0:00");

    EXPECT_EQ(qv::displayKey("A minor"), "Am");
    EXPECT_EQ(qv::displayKey("C# major"), "C#maj");
    EXPECT_EQ(qv::displayKey("F#"), "F#");
    EXPECT_EQ(qv::displayKey("None"), "--");
    EXPECT_EQ(qv::lengthText(0.43), "0.4s");
    EXPECT_EQ(qv::lengthText(9.96), "10s");
    EXPECT_EQ(qv::lengthText(59.6), "0:59");
    EXPECT_EQ(qv::lengthText(65), "1:05");
    EXPECT_EQ(qv::lengthText(-1), "0.0s");
    EXPECT_EQ(qv::bpmText(174), "174");
    EXPECT_EQ(qv::bpmText(std::nullopt), "--");

    EXPECT_EQ(qv::volumeSymbol(0.01), "audio-volume-muted");
    EXPECT_EQ(qv::volumeSymbol(0.49), "audio-volume-low");
    EXPECT_EQ(qv::volumeSymbol(0.5), "audio-volume-high");
    EXPECT_EQ(qv::decodeAttempts(1), 1);
    EXPECT_EQ(qv::decodeAttempts(0), 2);
    EXPECT_EQ(qv::stateAfterFailedLoad(false, false), PlaybackState::Failed);
    EXPECT_EQ(qv::stateAfterFailedLoad(true, true), PlaybackState::Playing);
    EXPECT_EQ(qv::stateAfterFailedLoad(true, false), PlaybackState::Paused);
}

TEST(TransportEnablement, Table)
{
    struct Case {
        const char* name;
        qv::TransportInputs in;
        bool stop, previous, next;
    };
    const Case cases[] = {
        {"nothing loaded", {.navigationIndex = -1, .rowCount = 50}, false, false, false},
        {"first row of first page", {.state = PlaybackState::Playing, .hasPlayer = true, .sampleLoaded = true, .navigationIndex = 0, .rowCount = 50}, true, false, true},
        {"first row of a later page", {.state = PlaybackState::Paused, .hasPlayer = true, .sampleLoaded = true, .navigationIndex = 0, .rowCount = 50, .page = 2}, true, true, true},
        {"last row, more pages", {.navigationIndex = 49, .rowCount = 50, .hasNextPage = true}, false, true, true},
        {"last row, last page", {.state = PlaybackState::Finished, .hasPlayer = true, .sampleLoaded = true, .navigationIndex = 49, .rowCount = 50}, false, true, false},
        {"sorted, off page, middle", {.navigationIndex = -1, .sortActive = true, .sortedIndex = 10, .sortedTotal = 20}, false, true, true},
        {"sorted, off page, first", {.navigationIndex = -1, .sortActive = true, .sortedIndex = 0, .sortedTotal = 20}, false, false, true},
        {"sorted, off page, last", {.navigationIndex = -1, .sortActive = true, .sortedIndex = 19, .sortedTotal = 20}, false, true, false},
        {"sorted but on the page", {.navigationIndex = 3, .rowCount = 4, .sortActive = true, .sortedIndex = 0, .sortedTotal = 900}, false, true, false},
        {"playing without a player", {.state = PlaybackState::Playing, .sampleLoaded = true, .navigationIndex = 1, .rowCount = 3}, false, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const qv::TransportEnablement e = qv::transportEnablement(c.in);
        EXPECT_TRUE(e.play);
        EXPECT_EQ(e.stop, c.stop);
        EXPECT_EQ(e.previous, c.previous);
        EXPECT_EQ(e.next, c.next);
        EXPECT_EQ(e.favorite, c.in.sampleLoaded);
        EXPECT_EQ(e.addToPlaylist, c.in.sampleLoaded);
    }
}

TEST(NavigationAnchor, SelectionThenCurrentRowThenLoadedSampleThenSelection)
{
    const std::vector<std::int64_t> ids{11, 12, 13, 14};
    // The manual anchor follows the selection and makes it the current row.
    qv::Anchor a = qv::navigationAnchor({.manualAnchorActive = true, .selectedRow = 2, .currentIndex = 0, .rowIds = ids});
    EXPECT_EQ(a.index, 2);
    EXPECT_TRUE(a.takesSelection);
    // Without a selection the manual anchor is dropped and the current row is used.
    a = qv::navigationAnchor({.manualAnchorActive = true, .selectedRow = -1, .currentIndex = 1, .rowIds = ids});
    EXPECT_TRUE(a.clearManualAnchor);
    EXPECT_EQ(a.index, 1);
    // The current row counts only while it holds the loaded sample.
    a = qv::navigationAnchor({.selectedRow = 0, .currentIndex = 1, .loadedSampleId = 14, .rowIds = ids});
    EXPECT_EQ(a.index, 3);
    // With nothing loaded, the playing id; failing that, the selection.
    a = qv::navigationAnchor({.selectedRow = 0, .currentIndex = 9, .playingSampleId = 13, .rowIds = ids});
    EXPECT_EQ(a.index, 2);
    a = qv::navigationAnchor({.selectedRow = 0, .currentIndex = -1, .loadedSampleId = 99, .rowIds = ids});
    EXPECT_EQ(a.index, 0);
    a = qv::navigationAnchor({.selectedRow = -1, .currentIndex = -1, .loadedSampleId = 99, .rowIds = ids});
    EXPECT_EQ(a.index, -1);
}

TEST(Steps, WithinThePageAcrossItAndThroughTheSortedSet)
{
    // Forward within and across pages is the controller test's walk.
    using Kind = qv::Step::Kind;
    EXPECT_EQ(qv::nextStep({.from = -1, .rowCount = 50}), qv::Step{});
    EXPECT_EQ(qv::nextStep({.from = -1, .rowCount = 50, .sortActive = true, .sortedIndex = 120, .sortedTotal = 200}),
              (qv::Step{Kind::SortedGlobal, 121, 1}));
    EXPECT_EQ(qv::nextStep({.from = -1, .sortActive = true, .sortedIndex = 199, .sortedTotal = 200}), qv::Step{});
    EXPECT_EQ(qv::previousStep({.from = 3, .rowCount = 50}), (qv::Step{Kind::Row, 2, -1}));
    EXPECT_EQ(qv::previousStep({.from = 0, .rowCount = 50}), (qv::Step{Kind::CrossPage, 0, -1}));
    EXPECT_EQ(qv::previousStep({.from = -1, .sortActive = true, .sortedIndex = 50, .sortedTotal = 200}),
              (qv::Step{Kind::SortedGlobal, 49, -1}));
    EXPECT_EQ(qv::previousStep({.from = -1, .sortActive = true, .sortedIndex = 0, .sortedTotal = 200}), qv::Step{});
}

TEST(Steps, WalkSkipsUnplayableRowsButStopsAtMidi)
{
    std::vector<qv::Sample> rows(6);
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i].path = std::to_string(i);
    rows[4].type = qv::SampleType::MIDI;
    auto playableOnly = [](std::set<std::string> ok) { return [ok](const qv::Sample& s) { return ok.count(s.path) > 0; }; };

    qv::WalkResult w = qv::walkToPlayable(rows, 1, 1, playableOnly({"5"})); // three missing, then a MIDI row
    EXPECT_EQ(w.row, 4);
    EXPECT_TRUE(w.skipped);
    w = qv::walkToPlayable(rows, 3, -1, playableOnly({"0"}));
    EXPECT_EQ(w.row, 0);
    EXPECT_TRUE(w.skipped);
    w = qv::walkToPlayable(rows, 5, 1, playableOnly({})); // nothing playable to the end
    EXPECT_EQ(w.row, -1);
    w = qv::walkToPlayable(rows, 6, 1, playableOnly({"5"}));
    EXPECT_EQ(w.row, -1);
}

} // namespace
