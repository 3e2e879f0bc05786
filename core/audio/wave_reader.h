// Finds the format and the sample data of an uncompressed RIFF/WAVE file.
//
// Reads: "RIFF" <size, ignored> "WAVE", then chunks of <4-byte id><u32 LE size><body>
// with one pad byte after an odd-sized body, in any order. "fmt " gives the format tag
// (u16 at 0), channels (u16 at 2), sample rate (u32 at 4) and bits per sample (u16 at
// 14); "data" holds interleaved little-endian frames. The walk stops once a data chunk
// with bytes and a non-zero format tag are both known, or at the end of the file.
//
// Accepted: tag 1 (integer PCM) with 8, 16, 24 or 32 bits, and tag 3 (IEEE float) with
// 32 bits, at least one channel, a non-zero rate and one whole frame of data. The
// extensible tag 0xFFFE and everything else is refused. A chunk that claims more bytes
// than the file holds fails the read (and so the file) before anything is allocated.
// Stateless; any thread.
#pragma once

#include "audio/byte_source.h"

#include <cstdint>
#include <optional>

namespace qv {

enum class SampleEncoding { Unsigned8, Signed16, Signed24, Signed32, Float32 };

struct WaveLayout {
    SampleEncoding encoding = SampleEncoding::Signed16;
    std::uint32_t channels = 0;
    std::uint32_t sampleRate = 0;
    std::uint32_t frameSize = 0;   // bytes per interleaved frame
    std::uint64_t dataOffset = 0;  // of the first frame within the file
    std::uint64_t frames = 0;      // whole frames; a trailing partial frame is ignored
};

class WaveReader {
public:
    static std::optional<WaveLayout> locate(ByteSource& source);
};

} // namespace qv
