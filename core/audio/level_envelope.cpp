#include "audio/level_envelope.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qv {

namespace {

template <typename T>
T loadLittleEndian(const unsigned char* p)
{
    if constexpr (std::endian::native == std::endian::little) {
        T value;
        std::memcpy(&value, p, sizeof(T));
        return value;
    } else {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) bits |= static_cast<std::uint32_t>(p[i]) << (8 * i);
        return std::bit_cast<T>(static_cast<std::make_unsigned_t<T>>(bits));
    }
}

template <>
float loadLittleEndian<float>(const unsigned char* p)
{
    return std::bit_cast<float>(loadLittleEndian<std::uint32_t>(p));
}

// Highest magnitude of little-endian signed integers of type T, in raw units.
template <typename T>
std::int64_t integerPeak(const unsigned char* p, std::size_t samples)
{
    T low = 0;
    T high = 0;
    for (std::size_t i = 0; i < samples; ++i) {
        const auto value = loadLittleEndian<T>(p + sizeof(T) * i);
        low = std::min(low, value);
        high = std::max(high, value);
    }
    return std::max<std::int64_t>(high, -static_cast<std::int64_t>(low));
}

// Integer encodings keep the lowest and highest raw value and scale once: the scales are
// powers of two, so the result equals scaling every sample first, and plain min/max
// loops vectorise where an absolute value would not.
double peakOf(SampleEncoding encoding, const unsigned char* p, std::size_t samples)
{
    switch (encoding) {
    case SampleEncoding::Unsigned8: {
        unsigned char low = 255;
        unsigned char high = 0;
        for (std::size_t i = 0; i < samples; ++i) {
            low = std::min(low, p[i]);
            high = std::max(high, p[i]);
        }
        return std::max(high - 128, 128 - low) * 0.0078125;
    }
    case SampleEncoding::Signed16:
        return static_cast<double>(integerPeak<std::int16_t>(p, samples)) * (1.0 / 32768.0);
    case SampleEncoding::Signed24: {
        std::int32_t low = 0;
        std::int32_t high = 0;
        for (std::size_t i = 0; i < samples; ++i) {
            const unsigned char* s = p + 3 * i;
            const std::int32_t raw = s[0] | (s[1] << 8) | (s[2] << 16);
            const std::int32_t value = (raw ^ 0x800000) - 0x800000;
            low = std::min(low, value);
            high = std::max(high, value);
        }
        return std::max(high, -low) * (1.0 / 8388608.0);
    }
    case SampleEncoding::Signed32:
        return static_cast<double>(integerPeak<std::int32_t>(p, samples)) * (1.0 / 2147483648.0);
    case SampleEncoding::Float32: {
        float peak = 0.0f;
        for (std::size_t i = 0; i < samples; ++i) {
            const float level = std::fabs(loadLittleEndian<float>(p + 4 * i));
            // NaN fails the comparison as well as infinity.
            const float counted = level <= FLT_MAX ? level : 0.0f;
            peak = counted > peak ? counted : peak;
        }
        return peak;
    }
    }
    return 0.0;
}

} // namespace

std::optional<std::vector<double>> LevelEnvelope::measure(ByteSource& source, const WaveLayout& layout)
{
    const std::uint64_t blockFrames = std::max<std::uint32_t>(1, layout.sampleRate / 100);
    std::vector<double> envelope((layout.frames + blockFrames - 1) / blockFrames, 0.0);

    const std::uint64_t framesPerRead = std::max<std::uint64_t>(1, kReadBytes / layout.frameSize);
    std::uint64_t frame = 0;
    while (frame < layout.frames) {
        const std::uint64_t count = std::min(framesPerRead, layout.frames - frame);
        const auto bytes = source.read(layout.dataOffset + frame * layout.frameSize,
                                       static_cast<std::size_t>(count * layout.frameSize));
        if (bytes.empty()) return std::nullopt;

        const unsigned char* p = bytes.data();
        std::uint64_t left = count;
        while (left > 0) {
            // A run never crosses a block boundary, so one peak serves one entry.
            const std::uint64_t run = std::min(left, blockFrames - frame % blockFrames);
            double& entry = envelope[frame / blockFrames];
            entry = std::max(entry, peakOf(layout.encoding, p, static_cast<std::size_t>(run * layout.channels)));
            p += run * layout.frameSize;
            frame += run;
            left -= run;
        }
    }
    return envelope;
}

} // namespace qv
