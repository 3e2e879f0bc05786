#include "audio/level_envelope.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <vector>

namespace qv {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes littleEndian(std::initializer_list<std::int64_t> values, int width)
{
    Bytes out;
    for (const auto v : values) {
        for (int i = 0; i < width; ++i) out.push_back(static_cast<unsigned char>(static_cast<std::uint64_t>(v) >> (8 * i)));
    }
    return out;
}

Bytes floats(std::initializer_list<float> values)
{
    Bytes out;
    for (const float v : values) {
        const Bytes b = littleEndian({std::bit_cast<std::uint32_t>(v)}, 4);
        out.insert(out.end(), b.begin(), b.end());
    }
    return out;
}

struct EnvelopeCase {
    const char* name;
    SampleEncoding encoding;
    std::uint32_t width, channels, sampleRate;
    Bytes data;
    std::vector<double> expected;
};

TEST(LevelEnvelopeTest, EveryEncodingReachesFullScaleAtItsMostNegativeValue)
{
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInf = std::numeric_limits<float>::infinity();
    const EnvelopeCase cases[] = {
        // 200 Hz: blocks of two frames; the last block is partial.
        {"8-bit unsigned", SampleEncoding::Unsigned8, 1, 1, 200, {128, 0, 255, 192, 64}, {1.0, 127.0 / 128, 0.5}},
        {"16-bit stereo", SampleEncoding::Signed16, 2, 2, 100, littleEndian({0, -32768, 16384, -1, 1, 0}, 2),
         {1.0, 0.5, 1.0 / 32768}},
        {"24-bit sign-extended", SampleEncoding::Signed24, 3, 1, 150,
         littleEndian({-8388608, 8388607, -1, 4194304}, 3), {1.0, 8388607.0 / 8388608, 1.0 / 8388608, 0.5}},
        {"32-bit integer", SampleEncoding::Signed32, 4, 1, 100,
         littleEndian({std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(), -1073741824}, 4),
         {1.0, 2147483647.0 / 2147483648.0, 0.5}},
        // 300 Hz: blocks of three stereo frames; non-finite samples count as 0, overs stay.
        {"32-bit float", SampleEncoding::Float32, 4, 2, 300,
         floats({0.5f, -0.75f, kNaN, 0.1f, kInf, -kInf, -0.25f, 0.0f, 0.0f, 1.5f}), {0.75, 1.5}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const WaveLayout layout{c.encoding, c.channels, c.sampleRate, c.width * c.channels, 0,
                                c.data.size() / (c.width * c.channels)};
        ByteSource source(c.data);
        EXPECT_EQ(LevelEnvelope::measure(source, layout), c.expected);
    }
}

TEST(LevelEnvelopeTest, BlocksSpanningTwoReadsKeepTheirLoudestFrame)
{
    // 16-bit mono at 44.1 kHz (blocks of 441 frames): the louder frame comes last in the
    // first read, the softer one first in the second, both in the same block.
    const std::size_t boundary = LevelEnvelope::kReadBytes / 2;
    const std::size_t block = boundary / 441;
    ASSERT_TRUE(boundary % 441 >= 2 && boundary % 441 + 8 < 441);
    Bytes data(200000 * 2, 0);
    const auto put = [&](std::size_t frame, std::int16_t value) {
        data[2 * frame] = static_cast<unsigned char>(value & 0xFF);
        data[2 * frame + 1] = static_cast<unsigned char>((value >> 8) & 0xFF);
    };
    put(boundary - 2, 16384);
    put(boundary + 8, 8192);
    ByteSource source(data);
    const auto envelope = LevelEnvelope::measure(source, {SampleEncoding::Signed16, 1, 44100, 2, 0, 200000});
    ASSERT_TRUE(envelope);
    ASSERT_EQ(envelope->size(), 454u);
    EXPECT_EQ((*envelope)[block], 0.5);
    EXPECT_EQ((*envelope)[block - 1], 0.0);
    EXPECT_EQ((*envelope)[block + 1], 0.0);

    // Data that ends before its declared frames cannot be measured.
    ByteSource shortSource(std::span<const unsigned char>(data).first(1000));
    EXPECT_FALSE(LevelEnvelope::measure(shortSource, {SampleEncoding::Signed16, 1, 44100, 2, 0, 200000}));
}

} // namespace
} // namespace qv
