#include "peak_builder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace qv {

namespace {

constexpr float kLoudest = std::numeric_limits<float>::max();

// The largest |sample|. Magnitudes are compared as integers: without the sign bit the
// IEEE bit patterns of floats order like the numbers, and an integer maximum vectorises
// where a float one (because of NaN) does not; this loop is most of the peaks' cost.
float loudestMagnitude(const float* samples, std::int64_t count)
{
    std::uint32_t loudest = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        std::uint32_t bits;
        std::memcpy(&bits, samples + i, sizeof bits);
        bits &= 0x7fffffffu;
        loudest = bits > loudest ? bits : loudest;
    }
    constexpr std::uint32_t kInfinity = 0x7f800000u;
    if (loudest < kInfinity) {
        float value;
        std::memcpy(&value, &loudest, sizeof value);
        return value;
    }
    // Rare: an infinity is capped so it cannot turn the other peaks into NaN after
    // scaling, and NaN samples are skipped.
    float value = 0;
    for (std::int64_t i = 0; i < count; ++i) value = std::max(value, std::min(std::fabs(samples[i]), kLoudest));
    return value;
}

} // namespace

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
        const std::int64_t samples = (runEnd - p) * _channels;
        float& peak = _buckets[static_cast<std::size_t>(bucket)];
        peak = std::max(peak, loudestMagnitude(frame, samples));
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
