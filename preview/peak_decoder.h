// Decodes a whole audio file into its waveform peaks: open, stream 8192-frame chunks
// through one reusable buffer into a PeakBuilder, close.
//
// The rule for failure: a file that cannot be opened, reports fewer than one frame, a
// rate of 0 or no channels yields no peaks and an error text. A read that stops early
// (a truncated file) ends decoding with the frames read so far, which still succeed.
// Thread-safe: each call has its own file and buffer.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qv {

struct PeakDecode {
    std::vector<float> peaks;  // kPeakCount values on success, else empty
    double durationSeconds = 0;  // frames / rate from the header, on success
    std::string error;           // why there are no peaks
};

PeakDecode decodePeaks(const std::filesystem::path& path);

} // namespace qv
