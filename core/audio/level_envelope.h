// The level envelope of WAVE sample data: for each block of sampleRate / 100 frames
// (at least one), the largest absolute sample over all channels, in full scale.
//
// Full scale: 8-bit unsigned (v - 128) / 128; 16-bit v / 2^15; 24-bit sign-extended
// v / 2^23; 32-bit integer v / 2^31; float as stored, NaN and infinities counted as 0.
// The data is streamed in bounded reads, so memory is one read buffer plus the
// envelope (one double per block, never more entries than the data has frames).
// Stateless; any thread.
#pragma once

#include "audio/byte_source.h"
#include "audio/wave_reader.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace qv {

class LevelEnvelope {
public:
    // Sample data is read in pieces of at most this many bytes (whole frames).
    static constexpr std::size_t kReadBytes = 128 * 1024;

    // Empty when the sample data cannot be read.
    static std::optional<std::vector<double>> measure(ByteSource& source, const WaveLayout& layout);
};

} // namespace qv
