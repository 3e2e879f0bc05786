// The waveform's 192 peaks of one file, built while its frames stream past.
//
// Bucket i covers frames [i × F / 192, (i + 1) × F / 192) of a file of F frames: a frame
// at absolute position p lands in bucket p × 192 / F (integer division, clamped to 191)
// and raises it to the largest absolute value over its channels. `finish` scales the
// buckets so that the loudest becomes 1 (a silent file stays all 0) and caps each at 1.
//
// Frames beyond F (a file longer than its header said) all land in the last bucket.
// Pure and single-threaded.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace qv {

inline constexpr int kPeakCount = 192;

class PeakBuilder {
public:
    PeakBuilder(std::int64_t totalFrames, int channels);

    // `interleaved` holds frames × channels floats, continuing where the last call ended.
    void addFrames(const float* interleaved, std::int64_t frames);
    std::int64_t framesSeen() const { return _position; }

    // The normalised peaks, always kPeakCount of them.
    std::vector<float> finish() const;

private:
    std::int64_t _totalFrames;
    int _channels;
    std::int64_t _position = 0;
    std::array<float, kPeakCount> _buckets{};
};

} // namespace qv
