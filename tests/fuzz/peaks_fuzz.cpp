// Any byte string as an audio file for the peak decoder: no crash, and either 192 peaks
// in [0, 1] with a positive finite duration, or no peaks and a reason.
#include "peak_builder.h"
#include "peak_decoder.h"

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("qv-fuzz-peaks-" + std::to_string(::getpid()));
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    const qv::PeakDecode result = qv::decodePeaks(file);
    if (result.peaks.empty()) {
        require(!result.error.empty());
        require(result.durationSeconds == 0.0);
        return 0;
    }
    require(result.peaks.size() == qv::kPeakCount);
    for (const float peak : result.peaks) require(peak >= 0.0f && peak <= 1.0f);
    require(std::isfinite(result.durationSeconds) && result.durationSeconds > 0.0);
    return 0;
}
