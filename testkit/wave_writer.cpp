#include "wave_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <numbers>

namespace qv::testkit {

namespace {

void put16(std::string& out, std::uint16_t v)
{
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>(v >> 8);
}

void put32(std::string& out, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i) out += static_cast<char>((v >> (8 * i)) & 0xFF);
}

void putChunk(std::string& out, const char* id, const std::string& body, std::optional<std::uint32_t> declared = {})
{
    out.append(id, 4);
    put32(out, declared.value_or(static_cast<std::uint32_t>(body.size())));
    out += body;
    if (body.size() % 2 == 1) out += '\0';
}

std::int64_t quantize(float sample, double fullScale)
{
    if (std::isnan(sample)) return 0;
    const double clipped = std::clamp(static_cast<double>(sample), -1.0, 1.0);
    return static_cast<std::int64_t>(std::lround(clipped * fullScale));
}

std::string encode(const std::vector<float>& samples, WaveEncoding encoding)
{
    std::string out;
    for (const float s : samples) {
        switch (encoding) {
        case WaveEncoding::Pcm8: out += static_cast<char>(quantize(s, 127.0) + 128); break;
        case WaveEncoding::Pcm16: put16(out, static_cast<std::uint16_t>(quantize(s, 32767.0))); break;
        case WaveEncoding::Pcm24: {
            const auto v = static_cast<std::uint32_t>(quantize(s, 8388607.0));
            for (int i = 0; i < 3; ++i) out += static_cast<char>((v >> (8 * i)) & 0xFF);
            break;
        }
        case WaveEncoding::Pcm32: put32(out, static_cast<std::uint32_t>(quantize(s, 2147483647.0))); break;
        case WaveEncoding::Float32: {
            std::uint32_t bits = 0;
            std::memcpy(&bits, &s, 4);
            put32(out, bits);
            break;
        }
        }
    }
    return out;
}

std::uint16_t bitsOf(WaveEncoding encoding)
{
    switch (encoding) {
    case WaveEncoding::Pcm8: return 8;
    case WaveEncoding::Pcm16: return 16;
    case WaveEncoding::Pcm24: return 24;
    default: return 32;
    }
}

} // namespace

std::string waveBytes(const std::vector<float>& samples, const WaveSpec& waveSpec)
{
    const std::uint16_t bits = waveSpec.bitsPerSample.value_or(bitsOf(waveSpec.encoding));
    const std::uint16_t realTag = waveSpec.encoding == WaveEncoding::Float32 ? 3 : 1;
    const std::uint16_t tag = waveSpec.formatTag.value_or(waveSpec.extensible ? 0xFFFE : realTag);
    const std::uint16_t frameBytes = static_cast<std::uint16_t>(bits / 8 * waveSpec.channels);

    std::string format;
    put16(format, tag);
    put16(format, waveSpec.channels);
    put32(format, waveSpec.sampleRate);
    put32(format, waveSpec.sampleRate * frameBytes);
    put16(format, frameBytes);
    put16(format, bits);
    if (waveSpec.extensible) {
        put16(format, 22);
        put16(format, bits);
        put32(format, waveSpec.channels == 1 ? 0x4 : 0x3);
        // Sub-format GUID: the real tag followed by the fixed tail 00000000-0010-0080-00AA00389B71.
        put16(format, realTag);
        format += std::string("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 14);
    } else if (waveSpec.factChunk) {
        put16(format, 0); // cbSize, as non-PCM formats carry it
    }

    if (waveSpec.declaredFormatSize && *waveSpec.declaredFormatSize > format.size()) format.resize(*waveSpec.declaredFormatSize, '\0');

    std::string chunks;
    const auto list = [&](ListAt at) {
        if (!waveSpec.listChunk.empty() && waveSpec.listAt == at) putChunk(chunks, "LIST", waveSpec.listChunk);
    };
    const auto data = [&] {
        list(ListAt::BeforeData);
        putChunk(chunks, "data", encode(samples, waveSpec.encoding), waveSpec.declaredDataSize);
    };
    list(ListAt::First);
    if (waveSpec.dataBeforeFormat) data();
    putChunk(chunks, "fmt ", format, waveSpec.declaredFormatSize);
    if (waveSpec.factChunk) {
        std::string frames;
        put32(frames, static_cast<std::uint32_t>(samples.size() / std::max<std::uint16_t>(waveSpec.channels, 1)));
        putChunk(chunks, "fact", frames);
    }
    if (!waveSpec.dataBeforeFormat) data();
    list(ListAt::Last);

    std::string out = "RIFF";
    put32(out, static_cast<std::uint32_t>(chunks.size() + 4));
    out += "WAVE";
    return out + chunks;
}

void writeWave(const std::filesystem::path& path, const std::vector<float>& samples, const WaveSpec& waveSpec)
{
    const std::string bytes = waveBytes(samples, waveSpec);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

std::vector<float> hitSignal(double seconds, std::uint32_t sampleRate, const std::vector<double>& hits,
                             std::uint16_t channels)
{
    const auto frames = static_cast<std::size_t>(std::llround(seconds * sampleRate));
    std::vector<float> out(frames * channels, 0.0f);
    for (const double start : hits) {
        const auto first = static_cast<std::size_t>(std::llround(start * sampleRate));
        for (std::size_t f = first; f < frames; ++f) {
            const double t = static_cast<double>(f - first) / sampleRate;
            const double envelope = 0.9 * std::exp(-t / 0.03);
            if (envelope < 1e-6) break;
            const double v = envelope * std::sin(2.0 * std::numbers::pi * 220.0 * t + std::numbers::pi / 2);
            for (std::uint16_t c = 0; c < channels; ++c) {
                float& slot = out[f * channels + c];
                slot = static_cast<float>(std::clamp(slot + v, -1.0, 1.0));
            }
        }
    }
    return out;
}

} // namespace qv::testkit
