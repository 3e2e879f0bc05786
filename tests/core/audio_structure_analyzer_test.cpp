#include "audio/audio_structure_analyzer.h"

#include "wave_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace qv {
namespace {

using testkit::WaveEncoding;
using testkit::WaveSpec;

std::optional<AudioStructure> analyzeImage(const std::string& bytes)
{
    return AudioStructureAnalyzer().analyzeBytes(
        {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

// Hits at 0.3 s and 1.3 s over a quiet 110 Hz tone, so the dip between them is neither 0 nor 1.
std::vector<float> hitsOverTone(std::uint32_t rate, std::uint16_t channels)
{
    auto samples = testkit::hitSignal(2.0, rate, {0.3, 1.3}, channels);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double t = static_cast<double>(i / channels) / rate;
        samples[i] = static_cast<float>(samples[i] * 0.85 + 0.1 * std::sin(2 * std::numbers::pi * 110 * t));
    }
    return samples;
}

TEST(AudioStructureAnalyzerTest, EveryAcceptedEncodingMeasuresTheSameSignalAlike)
{
    const auto stereo = hitsOverTone(44100, 2);
    const auto reference = analyzeImage(testkit::waveBytes(stereo, {.encoding = WaveEncoding::Float32, .channels = 2}));
    ASSERT_TRUE(reference);
    EXPECT_EQ(reference->durationSeconds, 2.0);
    EXPECT_EQ(reference->onsetTimes, (std::vector<double>{28 * 0.01, 128 * 0.01}));
    EXPECT_EQ(reference->onsetSpan, (128 * 0.01 - 28 * 0.01) / 2.0);
    EXPECT_GT(reference->firstGapDip, 0.05);
    EXPECT_LT(reference->firstGapDip, 0.95);

    const struct {
        WaveEncoding encoding;
        double dipTolerance; // one quantisation step of the width, relative to the onset level
    } cases[] = {
        {WaveEncoding::Pcm8, 0.05}, {WaveEncoding::Pcm16, 1e-3}, {WaveEncoding::Pcm24, 1e-5},
        {WaveEncoding::Pcm32, 1e-7}, {WaveEncoding::Float32, 0.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.encoding));
        const auto measured = analyzeImage(testkit::waveBytes(stereo, {.encoding = c.encoding, .channels = 2}));
        ASSERT_TRUE(measured);
        EXPECT_EQ(measured->durationSeconds, reference->durationSeconds);
        EXPECT_EQ(measured->onsetTimes, reference->onsetTimes);
        EXPECT_EQ(measured->onsetSpan, reference->onsetSpan);
        EXPECT_NEAR(measured->firstGapDip, reference->firstGapDip, c.dipTolerance);
        // 0xFFFE is refused even when its sub-format is plain PCM or float.
        EXPECT_FALSE(analyzeImage(testkit::waveBytes(stereo, {.encoding = c.encoding, .channels = 2, .extensible = true})));
    }
}

struct LayoutCase {
    const char* name;
    WaveSpec waveSpec;
    std::size_t frames; // written
    std::optional<double> duration;
};

TEST(AudioStructureAnalyzerTest, ChunkLayoutsAndLyingHeaders)
{
    constexpr auto Pcm8 = WaveEncoding::Pcm8;
    const LayoutCase cases[] = {
        {"plain", {.sampleRate = 1000}, 500, 0.5},
        {"data before fmt, odd size padded", {.encoding = Pcm8, .sampleRate = 1000, .dataBeforeFormat = true}, 501, 0.501},
        {"odd chunk before fmt", {.sampleRate = 1000, .listChunk = "INFOabc"}, 500, 0.5},
        {"data shorter than written", {.sampleRate = 1000, .declaredDataSize = 400}, 500, 0.2},
        {"partial last frame ignored", {.sampleRate = 1000, .channels = 2, .declaredDataSize = 7}, 500, 0.001},
        {"fmt of 17 bytes, odd size padded", {.sampleRate = 1000, .declaredFormatSize = 17}, 500, 0.5},
        {"fmt shorter than 16", {.sampleRate = 1000, .dataBeforeFormat = true, .declaredFormatSize = 14}, 500, std::nullopt},
        {"data longer than the file", {.sampleRate = 1000, .declaredDataSize = 1002}, 500, std::nullopt},
        {"data size near 4 GiB", {.sampleRate = 1000, .declaredDataSize = 0xFFFFFFFF}, 500, std::nullopt},
        {"less than one frame", {.sampleRate = 1000, .declaredDataSize = 1}, 500, std::nullopt},
        {"no frames", {.sampleRate = 1000}, 0, std::nullopt},
        {"zero channels", {.sampleRate = 1000, .channels = 0}, 500, std::nullopt},
        {"zero rate", {.sampleRate = 0}, 500, std::nullopt},
        {"12-bit", {.sampleRate = 1000, .bitsPerSample = 12}, 500, std::nullopt},
        {"4-bit", {.sampleRate = 1000, .bitsPerSample = 4}, 500, std::nullopt},
        {"16-bit float", {.sampleRate = 1000, .formatTag = 3}, 500, std::nullopt},
        {"64-bit float", {.encoding = WaveEncoding::Float32, .sampleRate = 1000, .bitsPerSample = 64}, 500, std::nullopt},
        {"compressed tag", {.sampleRate = 1000, .formatTag = 2}, 500, std::nullopt},
        {"tag 0", {.sampleRate = 1000, .formatTag = 0}, 500, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto s = analyzeImage(testkit::waveBytes(std::vector<float>(c.frames * std::max<int>(1, c.waveSpec.channels), 0.25f), c.waveSpec));
        ASSERT_EQ(s.has_value(), c.duration.has_value());
        EXPECT_DOUBLE_EQ(s ? s->durationSeconds : 0.0, c.duration.value_or(0.0));
    }
}

TEST(AudioStructureAnalyzerTest, EveryTruncationOfAFileIsRefused)
{
    const std::string whole = testkit::waveBytes(testkit::hitSignal(0.05, 8000, {0.01}), {.sampleRate = 8000, .listChunk = "odd"});
    ASSERT_TRUE(analyzeImage(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(analyzeImage(whole.substr(0, length))) << length;
    }
}

} // namespace
} // namespace qv
