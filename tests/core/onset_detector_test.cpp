#include "audio/onset_detector.h"

#include "audio/audio_structure_analyzer.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace qv {
namespace {

// A raw envelope of `length` entries: each (index, level) pair holds from its index
// until the next pair.
std::vector<double> steps(std::size_t length, std::vector<std::pair<std::size_t, double>> changes)
{
    std::vector<double> raw(length, 0.0);
    for (std::size_t c = 0; c < changes.size(); ++c) {
        const std::size_t end = c + 1 < changes.size() ? changes[c + 1].first : length;
        for (std::size_t i = changes[c].first; i < end; ++i) raw[i] = changes[c].second;
    }
    return raw;
}

// Single-entry impulses over silence.
std::vector<double> impulses(std::size_t length, std::vector<std::pair<std::size_t, double>> hits)
{
    std::vector<double> raw(length, 0.0);
    for (const auto& [index, level] : hits) raw[index] = level;
    return raw;
}

struct DetectCase {
    const char* name;
    std::vector<double> raw;
    std::vector<std::size_t> onsets; // entry indices
    double dip;
};

TEST(OnsetDetectorTest, OnsetsFollowTheRiseSpacingAndLevelRules)
{
    const DetectCase cases[] = {
        {"impulse", impulses(40, {{5, 1.0}}), {3}, 1.0},
        {"impulse at the very start", impulses(40, {{0, 1.0}}), {}, 1.0},
        {"impulse at entry 3 is found at 2", impulses(40, {{3, 1.0}}), {2}, 1.0},
        {"impulses 10 apart", impulses(40, {{5, 1.0}, {15, 1.0}}), {3, 13}, 0.0},
        {"impulses 9 apart: found one entry late", impulses(40, {{5, 1.0}, {14, 1.0}}), {3, 13}, 0.0},
        {"impulses 8 apart: one onset", impulses(40, {{5, 1.0}, {13, 1.0}}), {3}, 1.0},
        {"small hit above 12% of the peak", impulses(40, {{5, 0.13}, {30, 1.0}}), {3, 28}, 0.0},
        {"small hit below 12% of the peak", impulses(40, {{5, 0.11}, {30, 1.0}}), {28}, 1.0},
        {"second hit at 71% of the recent maximum", impulses(40, {{5, 1.0}, {17, 0.71}}), {3}, 1.0},
        {"second hit while the first is 20 entries back", impulses(40, {{5, 1.0}, {29, 0.5}}), {3, 28}, 0.0},
        {"step from 0.2 to 1.0", steps(30, {{0, 0.2}, {10, 1.0}}), {8}, 1.0},
        {"step from 0.4 to 1.0 rises too little", steps(30, {{0, 0.4}, {10, 1.0}}), {}, 1.0},
        {"a rise of 1.52 times waits an entry", steps(30, {{0, 0.25}, {10, 0.9}}), {9}, 1.0},
        {"a rise short of 5.5% of the peak waits an entry",
         steps(50, {{0, 0.07}, {10, 0.3325}, {16, 0.0}, {40, 5.0}, {41, 0.0}}), {9, 38}, 0.0},
        {"a hit too quiet to tell from silence", impulses(40, {{5, 0.00004}}), {}, 1.0},
        {"dip over a floor", steps(40, {{0, 0.1}, {5, 1.0}, {6, 0.1}, {15, 1.0}, {16, 0.1}}), {3, 13}, 0.1 / 0.28},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const AudioStructure s = OnsetDetector::detect(c.raw, 1.0);
        std::vector<double> times;
        for (const auto i : c.onsets) times.push_back(static_cast<double>(i) * 0.01);
        EXPECT_EQ(s.onsetCount, c.onsets.size());
        EXPECT_EQ(s.onsetTimes, times);
        EXPECT_NEAR(s.firstGapDip, c.dip, 1e-9);
    }
}

TEST(OnsetDetectorTest, ValleyAboveTheFirstOnsetIsClampedAndSpanUsesTheDuration)
{
    // The first onset fires early on a slow rise, so the valley after it sits above it.
    const auto raw = steps(60, {{5, 0.3}, {25, 1.2}});
    const AudioStructure s = OnsetDetector::detect(raw, 0.5);
    ASSERT_EQ(s.onsetTimes, (std::vector<double>{5 * 0.01, 23 * 0.01}));
    EXPECT_EQ(s.firstGapDip, 1.0);
    EXPECT_NEAR(s.onsetSpan, 0.18 / 0.5, 1e-12);
    EXPECT_EQ(s.durationSeconds, 0.5);

    // A zero duration divides by 1 ms instead.
    EXPECT_NEAR(OnsetDetector::detect(raw, 0.0).onsetSpan, 0.18 / 0.001, 1e-9);
    EXPECT_EQ(OnsetDetector::detect({}, 0.0).firstGapDip, 1.0);
}

} // namespace
} // namespace qv
