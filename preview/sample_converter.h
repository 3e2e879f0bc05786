// Turns the decoder's interleaved float frames into the bytes an output accepted: the
// same frames when the formats match, otherwise a channel map, a linear-interpolation
// rate change and 16-bit integers, in that order.
//
// Channel map: to mono, the mean of all channels; from mono, the one channel to every
// output channel; otherwise the first channels in file order (left, right, ...) and
// silence for outputs the file lacks.
// The rate change keeps its phase and the last frame across calls, so chunk boundaries
// are seamless; `reset` forgets them after a seek. Single-threaded.
#pragma once

#include "audio_output.h"

#include <QByteArray>

#include <cstdint>
#include <vector>

namespace qv {

class SampleConverter {
public:
    SampleConverter(int inputRate, int inputChannels, const OutputFormat& output);

    bool isIdentity() const { return _identity; }
    // Appends the converted form of `frames` input frames to `out`.
    void convert(const float* input, std::int64_t frames, QByteArray& out);
    void reset();

private:
    void mapChannels(const float* input, std::int64_t frames);
    void resample();

    int _inputRate;
    int _inputChannels;
    OutputFormat _output;
    bool _identity;
    std::vector<float> _mapped;     // input rate, output channels
    std::vector<float> _resampled;  // output rate, output channels
    std::vector<float> _previous;   // the last mapped frame of the previous call
    bool _havePrevious = false;
    double _phase = 0;  // position of the next output frame, in input frames after _previous
};

} // namespace qv
