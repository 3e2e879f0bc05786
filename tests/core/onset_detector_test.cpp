#include "core/onset_detector.h"

#include "core/audio_structure_analyzer.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace qv {
namespace {

// A raw envelope of `length` entries at `floor`, with the given entries set and, when
// `from` is given, every entry from there on at `stepTo`.
std::vector<double> envelope(std::size_t length, double floor, std::vector<std::pair<std::size_t, double>> set = {},
                             std::size_t from = 0, double stepTo = 0.0)
{
    std::vector<double> raw(length, floor);
    for (std::size_t i = from; from > 0 && i < length; ++i) raw[i] = stepTo;
    for (const auto& [index, value] : set) raw[index] = value;
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
        {"impulse", envelope(40, 0, {{5, 1.0}}), {3}, 1.0},
        {"impulse at the very start", envelope(40, 0, {{0, 1.0}}), {}, 1.0},
        {"impulse at entry 3 is found at 2", envelope(40, 0, {{3, 1.0}}), {2}, 1.0},
        {"impulses 10 apart", envelope(40, 0, {{5, 1.0}, {15, 1.0}}), {3, 13}, 0.0},
        {"impulses 9 apart: found one entry late", envelope(40, 0, {{5, 1.0}, {14, 1.0}}), {3, 13}, 0.0},
        {"impulses 8 apart: one onset", envelope(40, 0, {{5, 1.0}, {13, 1.0}}), {3}, 1.0},
        {"small hit above 12% of the peak", envelope(40, 0, {{5, 0.13}, {30, 1.0}}), {3, 28}, 0.0},
        {"small hit below 12% of the peak", envelope(40, 0, {{5, 0.11}, {30, 1.0}}), {28}, 1.0},
        {"second hit within 200 ms of a louder one", envelope(40, 0, {{5, 1.0}, {20, 0.5}}), {3}, 1.0},
        {"second hit after 200 ms", envelope(40, 0, {{5, 1.0}, {30, 0.5}}), {3, 28}, 0.0},
        {"step from 0.2 to 1.0", envelope(30, 0.2, {}, 10, 1.0), {8}, 1.0},
        {"step from 0.4 to 1.0 rises too little", envelope(30, 0.4, {}, 10, 1.0), {}, 1.0},
        {"silence", envelope(40, 0.000009), {}, 1.0},
        {"dip over a floor", envelope(40, 0.1, {{5, 1.0}, {15, 1.0}}), {3, 13}, 0.1 / 0.28},
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
    auto raw = envelope(60, 0, {}, 5, 0.3);
    for (std::size_t i = 25; i < raw.size(); ++i) raw[i] = 1.2;
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
