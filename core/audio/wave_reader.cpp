#include "audio/wave_reader.h"

#include <cstring>

namespace qv {

namespace {

constexpr std::uint16_t kFormatPcm = 1;
constexpr std::uint16_t kFormatFloat = 3;

std::uint16_t le16(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t le32(const unsigned char* p)
{
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

bool hasId(const unsigned char* p, const char* id)
{
    return std::memcmp(p, id, 4) == 0;
}

std::optional<SampleEncoding> encodingOf(std::uint16_t tag, std::uint16_t bits)
{
    if (tag == kFormatFloat) return bits == 32 ? std::optional(SampleEncoding::Float32) : std::nullopt;
    if (tag != kFormatPcm) return std::nullopt;
    switch (bits) {
    case 8: return SampleEncoding::Unsigned8;
    case 16: return SampleEncoding::Signed16;
    case 24: return SampleEncoding::Signed24;
    case 32: return SampleEncoding::Signed32;
    default: return std::nullopt;
    }
}

} // namespace

std::optional<WaveLayout> WaveReader::locate(ByteSource& source)
{
    const auto head = source.read(0, 12);
    if (head.empty() || !hasId(head.data(), "RIFF") || !hasId(head.data() + 8, "WAVE")) return std::nullopt;

    std::uint16_t tag = 0;
    std::uint16_t channels = 0;
    std::uint32_t sampleRate = 0;
    std::uint16_t bits = 0;
    std::uint64_t dataOffset = 0;
    std::uint64_t dataSize = 0;

    std::uint64_t position = 12;
    while (!(dataSize > 0 && tag != 0)) {
        const auto header = source.read(position, 8);
        if (header.empty()) break;
        const std::uint32_t size = le32(header.data() + 4);
        const bool isFormat = hasId(header.data(), "fmt ");
        const bool isData = hasId(header.data(), "data");
        position += 8;
        const bool bodyPresent = size <= source.size() - position;

        if (isFormat) {
            if (size < 16 || !bodyPresent) return std::nullopt;
            const auto body = source.read(position, 16);
            if (body.empty()) return std::nullopt;
            tag = le16(body.data());
            channels = le16(body.data() + 2);
            sampleRate = le32(body.data() + 4);
            bits = le16(body.data() + 14);
        } else if (isData) {
            // The frames are read later, straight from the file; only their place is kept.
            if (!bodyPresent) return std::nullopt;
            dataOffset = position;
            dataSize = size;
        }
        // Skipping past the end is not an error: the next header read ends the walk.
        position += static_cast<std::uint64_t>(size) + (size & 1u);
    }

    const auto encoding = encodingOf(tag, bits);
    if (sampleRate == 0 || channels == 0 || bits < 8 || !encoding) return std::nullopt;
    const std::uint32_t frameSize = static_cast<std::uint32_t>(bits / 8) * channels;
    if (frameSize == 0 || dataSize < frameSize) return std::nullopt;

    return WaveLayout{*encoding, channels, sampleRate, frameSize, dataOffset, dataSize / frameSize};
}

} // namespace qv
