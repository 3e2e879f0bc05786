#include "sound_files.h"

#include <sndfile.h>

#include <cmath>
#include <stdexcept>

namespace qv::test {

void writeSound(const std::filesystem::path& path, int format, int rate, int channels,
                const std::vector<float>& interleaved)
{
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!file) throw std::runtime_error(std::string("cannot write test audio: ") + sf_strerror(nullptr));
    // Keep float data exactly as given; integer formats scale from [-1, 1].
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    sf_writef_float(file, interleaved.data(), sf_count_t(interleaved.size() / std::size_t(channels)));
    sf_close(file);
}

std::vector<float> makeFrames(long frames, int channels, const std::function<float(long, int)>& sample)
{
    std::vector<float> data(std::size_t(frames * channels));
    for (long p = 0; p < frames; ++p) {
        for (int c = 0; c < channels; ++c) data[std::size_t(p * channels + c)] = sample(p, c);
    }
    return data;
}

void writeTone(const std::filesystem::path& path, int format, double seconds, int rate, int channels)
{
    writeSound(path, format, rate, channels,
               makeFrames(long(seconds * rate), channels, [](long p, int) { return 0.5f * std::sin(0.05f * p); }));
}

bool canWriteMp3()
{
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III;
    return sf_format_check(&info) == SF_TRUE;
}

} // namespace qv::test
