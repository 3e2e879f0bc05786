// RIFF/WAVE file images, for tests and for the generated libraries alike: every PCM width
// and 32-bit float, the extensible format tag, the "fact" chunk of non-PCM writers, a
// "LIST" chunk in three places, chunk orders, odd-sized chunks with their pad byte, and
// headers that lie about the format or the data size. Truncate the returned bytes to cut
// a file short. Also generates the signals the tests feed it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace qv::testkit {

enum class WaveEncoding { Pcm8, Pcm16, Pcm24, Pcm32, Float32 };

// Where a "LIST" chunk goes: ahead of every other chunk, right before "data", or last.
enum class ListAt : std::uint8_t { First, BeforeData, Last };

struct WaveSpec {
    WaveEncoding encoding = WaveEncoding::Pcm16;
    std::uint32_t sampleRate = 44100;
    std::uint16_t channels = 1;
    bool extensible = false;       // tag 0xFFFE, 40-byte "fmt " with the PCM/float sub-format
    bool factChunk = false;        // an 18-byte "fmt " (cbSize 0) followed by a "fact" frame count
    bool dataBeforeFormat = false;
    std::string listChunk;         // when set, a "LIST" chunk with these bytes (odd sizes get a pad byte)
    ListAt listAt = ListAt::First;
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

} // namespace qv::testkit
