// Any byte string as a WAVE file: the analyzer must not crash, must give the same answer
// from memory and from disk, and whatever it reports must keep its invariants (onsets
// ascending and at least 100 ms apart, dip in [0, 1], finite measures).
#include "audio/audio_structure_analyzer.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

void checkInvariants(const qv::AudioStructure& s)
{
    require(std::isfinite(s.durationSeconds) && s.durationSeconds > 0.0);
    require(s.onsetCount == s.onsetTimes.size());
    for (std::size_t i = 1; i < s.onsetTimes.size(); ++i) require(s.onsetTimes[i] - s.onsetTimes[i - 1] >= 0.0999);
    require(std::isfinite(s.onsetSpan) && s.onsetSpan >= 0.0);
    require(s.onsetTimes.size() >= 2 || s.onsetSpan == 0.0);
    require(s.firstGapDip >= 0.0 && s.firstGapDip <= 1.0);
}

bool same(const std::optional<qv::AudioStructure>& a, const std::optional<qv::AudioStructure>& b)
{
    if (a.has_value() != b.has_value()) return false;
    if (!a) return true;
    return a->durationSeconds == b->durationSeconds && a->onsetTimes == b->onsetTimes &&
           a->onsetSpan == b->onsetSpan && a->firstGapDip == b->firstGapDip;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("qv-fuzz-analyze-" + std::to_string(::getpid()) + ".wav");

    const qv::AudioStructureAnalyzer analyzer;
    const auto fromMemory = analyzer.analyzeBytes({data, size});
    if (fromMemory) checkInvariants(*fromMemory);

    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    require(same(analyzer.analyze(file), fromMemory));
    return 0;
}
