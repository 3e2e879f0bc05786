// Short synthetic audio for generated samples: clicks, decaying drum and tonal hits for
// one-shots, and regular hit patterns on the bar grid of the loop's tempo.
//
// Output is interleaved float in [-0.8, 0.8] (peak-normalised). Noise comes from the
// soundSpec's own seed, so a file's audio depends on nothing but its soundSpec.
#pragma once

#include "library_plan.h"

#include <cstddef>
#include <vector>

namespace qv::testkit {

struct AudioBuffer {
    int sampleRate = 44100;
    int channels = 1;
    std::vector<float> samples; // interleaved

    std::size_t frames() const { return channels > 0 ? samples.size() / static_cast<std::size_t>(channels) : 0; }
};

// Tiny audio (for libraries of many thousand files) is mono, 22,050 Hz and at most
// 50 ms long: enough for every reader to parse, cheap to write and scan.
inline constexpr double kTinySeconds = 0.05;
inline constexpr int kTinySampleRate = 22050;

AudioBuffer synthesize(const SoundSpec& soundSpec, bool tiny);

} // namespace qv::testkit
