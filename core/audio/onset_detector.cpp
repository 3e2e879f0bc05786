#include "audio/onset_detector.h"

#include "audio/audio_structure_analyzer.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace qv {

namespace {

constexpr double kSilencePeak = 0.00001;
constexpr double kThresholdRatio = 0.12;
constexpr double kRiseOverPeak = 0.055;
constexpr double kRiseRatio = 1.55;
constexpr double kLocalMaxRatio = 0.72;
constexpr std::size_t kLocalMaxEntries = 20;
constexpr std::size_t kMinOnsetDistance = 10;
constexpr double kSecondsPerEntry = 0.01;

std::vector<double> smoothed(const std::vector<double>& raw)
{
    const std::size_t n = raw.size();
    std::vector<double> out(n);
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t first = i >= 2 ? i - 2 : 0;
        const std::size_t last = std::min(n - 1, i + 2);
        double sum = 0.0;
        for (std::size_t j = first; j <= last; ++j) sum += raw[j];
        out[i] = sum / static_cast<double>(last - first + 1);
    }
    return out;
}

} // namespace

AudioStructure OnsetDetector::detect(const std::vector<double>& envelope, double durationSeconds)
{
    AudioStructure result;
    result.durationSeconds = durationSeconds;
    if (envelope.empty()) return result;

    const std::vector<double> s = smoothed(envelope);
    const double peak = *std::max_element(s.begin(), s.end());
    if (peak < kSilencePeak) return result;

    const double threshold = peak * kThresholdRatio;
    std::vector<std::size_t> onsets;
    for (std::size_t i = 2; i < s.size(); ++i) {
        if (s[i] < threshold) continue;
        const std::size_t windowStart = i >= kLocalMaxEntries ? i - kLocalMaxEntries : 0;
        const double localMax = *std::max_element(s.begin() + windowStart, s.begin() + i) * kLocalMaxRatio;
        const double base = (s[i - 1] + s[i - 2]) / 2.0;
        const bool rises = s[i] > base + peak * kRiseOverPeak && s[i] > base * kRiseRatio;
        const bool spaced = onsets.empty() || i - onsets.back() >= kMinOnsetDistance;
        if (rises && s[i] >= localMax && spaced) {
            onsets.push_back(i);
            result.onsetTimes.push_back(static_cast<double>(i) * kSecondsPerEntry);
        }
    }

    result.onsetCount = onsets.size();
    if (onsets.size() >= 2) {
        result.onsetSpan = (result.onsetTimes.back() - result.onsetTimes.front()) / std::max(durationSeconds, 0.001);
        const std::size_t a = onsets[0];
        const std::size_t b = onsets[1];
        if (b > a + 2) {
            const double valley = *std::min_element(s.begin() + static_cast<std::ptrdiff_t>(a + 1),
                                                    s.begin() + static_cast<std::ptrdiff_t>(b));
            const double dip = valley / std::max(std::min(s[a], s[b]), 0.000001);
            result.firstGapDip = std::clamp(dip, 0.0, 1.0);
        }
    }
    return result;
}

} // namespace qv
