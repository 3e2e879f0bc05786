// Measures what tells a loop from a one-shot in an uncompressed WAVE file: its length,
// its onsets, and how the level behaves between the first two onsets.
//
// Reads RIFF/WAVE itself (see wave_reader.h for the accepted formats); every other file,
// and every unreadable, truncated or unsupported one, gives an empty result. Never
// throws and never reads past the file. Stateless; any thread, concurrently.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace qv {

class ByteSource;

struct AudioStructure {
    double durationSeconds = 0.0;
    std::uint64_t onsetCount = 0;
    std::vector<double> onsetTimes; // seconds, ascending, at least 0.1 s apart
    double onsetSpan = 0.0;         // (last - first onset) / max(duration, 0.001); 0 below two onsets
    double firstGapDip = 1.0;       // valley between the first two onsets over the lower of them, in [0, 1]
};

class AudioStructureAnalyzer {
public:
    std::optional<AudioStructure> analyze(const std::filesystem::path& file) const;

    // The same measurement of a file image already in memory.
    std::optional<AudioStructure> analyzeBytes(std::span<const unsigned char> bytes) const;

private:
    static std::optional<AudioStructure> analyzeSource(ByteSource& source);
};

} // namespace qv
