// Builds RIFF/WAVE file images for tests: every PCM width and 32-bit float, the
// extensible format tag, chunk orders, odd-sized chunks with their pad byte, and headers
// that lie about the format or the data size. Truncate the returned bytes to cut a file
// short. Also generates the signals the tests feed it. Needs nothing but the standard
// library, so benchmarks can build it too.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace qv::test {

enum class WaveEncoding { Pcm8, Pcm16, Pcm24, Pcm32, Float32 };

struct WaveSpec {
    WaveEncoding encoding = WaveEncoding::Pcm16;
    std::uint32_t sampleRate = 44100;
    std::uint16_t channels = 1;
    bool extensible = false;       // tag 0xFFFE, 40-byte "fmt " with the PCM/float sub-format
    bool dataBeforeFormat = false;
    std::string extraChunk;        // when set, a "LIST" chunk with these bytes leads (odd sizes get a pad byte)
    std::optional<std::uint16_t> formatTag;        // written instead of the real tag
    std::optional<std::uint16_t> bitsPerSample;    // written instead of the real width
    std::optional<std::uint32_t> declaredFormatSize; // "fmt " size; a larger one zero-fills the body to match
    std::optional<std::uint32_t> declaredDataSize; // "data" size field; the bytes written stay real
};

// `samples` are interleaved, in [-1, 1]; integer encodings clip and round, NaN becomes 0.
std::string waveBytes(const std::vector<float>& samples, const WaveSpec& waveSpec = {});
void writeWave(const std::filesystem::path& path, const std::vector<float>& samples, const WaveSpec& waveSpec = {});

// `seconds` of silence with a decaying 220 Hz burst at each time in `hits`, the same in
// every channel. Each burst starts at 0.9 and falls by 1/e every 30 ms.
std::vector<float> hitSignal(double seconds, std::uint32_t sampleRate, const std::vector<double>& hits,
                             std::uint16_t channels = 1);

} // namespace qv::test
