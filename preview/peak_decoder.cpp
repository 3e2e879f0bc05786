#include "peak_decoder.h"

#include "audio_file.h"
#include "peak_builder.h"

#include <algorithm>

namespace qv {

namespace {
constexpr std::int64_t kChunkFrames = 8192;
}

PeakDecode decodePeaks(const std::filesystem::path& path)
{
    PeakDecode result;
    AudioFile file(path);
    if (!file.isOpen()) {
        result.error = file.error();
        return result;
    }
    if (file.frames() < 1 || file.sampleRate() <= 0 || file.channels() <= 0) {
        result.error = "the file holds no audio frames";
        return result;
    }
    PeakBuilder builder(file.frames(), file.channels());
    std::vector<float> buffer(static_cast<std::size_t>(kChunkFrames * file.channels()));
    for (std::int64_t done = 0; done < file.frames();) {
        const std::int64_t got = file.read(buffer.data(), std::min(kChunkFrames, file.frames() - done));
        if (got <= 0) break;
        builder.addFrames(buffer.data(), got);
        done += got;
    }
    result.peaks = builder.finish();
    result.durationSeconds = file.durationSeconds();
    return result;
}

} // namespace qv
