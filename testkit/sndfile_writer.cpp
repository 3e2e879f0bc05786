#include "sndfile_writer.h"

#include <sndfile.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace qv::testkit {

namespace {

struct Closer {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

void writeWith(const std::filesystem::path& path, const AudioBuffer& audio, int format)
{
    SF_INFO info{};
    info.samplerate = audio.sampleRate;
    info.channels = audio.channels;
    info.format = format;
    std::unique_ptr<SNDFILE, Closer> file(sf_open(path.string().c_str(), SFM_WRITE, &info));
    if (!file) throw std::runtime_error("cannot write " + path.string() + ": " + sf_strerror(nullptr));

    const auto frames = static_cast<sf_count_t>(audio.frames());
    if (sf_writef_float(file.get(), audio.samples.data(), frames) != frames) {
        throw std::runtime_error("cannot write " + path.string() + ": " + sf_strerror(file.get()));
    }
    // sf_close flushes the encoder; its failure is the file's failure.
    if (sf_close(file.release()) != 0) throw std::runtime_error("cannot finish " + path.string());
}

} // namespace

bool mp3Encodable()
{
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III;
    return sf_format_check(&info) != 0;
}

void writeAiff(const std::filesystem::path& path, const AudioBuffer& audio, Encoding encoding)
{
    writeWith(path, audio, SF_FORMAT_AIFF | (encoding == Encoding::Pcm24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_16));
}

void writeMp3(const std::filesystem::path& path, const AudioBuffer& audio)
{
    writeWith(path, audio, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III);
}

} // namespace qv::testkit
