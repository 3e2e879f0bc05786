#include "peak_builder.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qv {

namespace {
constexpr float kLoudest = std::numeric_limits<float>::max();
}

PeakBuilder::PeakBuilder(std::int64_t totalFrames, int channels)
    : _totalFrames(totalFrames)
    , _channels(channels)
{
}

void PeakBuilder::addFrames(const float* interleaved, std::int64_t frames)
{
    if (_channels <= 0 || frames <= 0) return;
    const float* frame = interleaved;
    // Runs of frames share a bucket; find where each run ends instead of dividing per frame.
    std::int64_t p = _position;
    const std::int64_t end = _position + frames;
    while (p < end) {
        std::int64_t bucket = _totalFrames > 0 ? p * kPeakCount / _totalFrames : 0;
        bucket = std::min<std::int64_t>(bucket, kPeakCount - 1);
        // First frame of the next bucket: the smallest q with q × 192 / F ≥ bucket + 1.
        std::int64_t runEnd = end;
        if (bucket < kPeakCount - 1 && _totalFrames > 0) {
            const std::int64_t next = ((bucket + 1) * _totalFrames + kPeakCount - 1) / kPeakCount;
            runEnd = std::min(end, std::max(next, p + 1));
        }
        float peak = _buckets[static_cast<std::size_t>(bucket)];
        const std::int64_t samples = (runEnd - p) * _channels;
        // The cap keeps an infinite sample from turning every other peak into NaN; NaN
        // samples never compare greater and are skipped.
        for (std::int64_t i = 0; i < samples; ++i) peak = std::max(peak, std::min(std::fabs(frame[i]), kLoudest));
        _buckets[static_cast<std::size_t>(bucket)] = peak;
        frame += samples;
        p = runEnd;
    }
    _position = end;
}

std::vector<float> PeakBuilder::finish() const
{
    const float loudest = *std::max_element(_buckets.begin(), _buckets.end());
    const float scale = loudest > 0.000001f ? 1.0f / loudest : 1.0f;
    std::vector<float> peaks(kPeakCount);
    std::transform(_buckets.begin(), _buckets.end(), peaks.begin(),
                   [scale](float bucket) { return std::min(bucket * scale, 1.0f); });
    return peaks;
}

} // namespace qv
