#include "audio_file.h"

#include <sndfile.h>

#include <algorithm>

namespace qv {

AudioFile::AudioFile(const std::filesystem::path& path)
{
    SF_INFO info{};
    _file = sf_open(path.c_str(), SFM_READ, &info);
    if (!_file) {
        _error = sf_strerror(nullptr);
        if (_error.empty()) _error = "the file could not be opened";
        return;
    }
    _frames = info.frames;
    _sampleRate = info.samplerate;
    _channels = info.channels;
    // Float data outside [-1, 1] is kept as it is: peaks take absolute values, and the
    // player's sink clips.
    sf_command(_file, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
}

AudioFile::~AudioFile()
{
    if (_file) sf_close(_file);
}

double AudioFile::durationSeconds() const
{
    return _sampleRate > 0 ? static_cast<double>(_frames) / _sampleRate : 0.0;
}

std::int64_t AudioFile::read(float* buffer, std::int64_t frames)
{
    if (!_file || frames <= 0 || _channels <= 0) return 0;
    return std::max<sf_count_t>(sf_readf_float(_file, buffer, frames), 0);
}

bool AudioFile::readFailed() const
{
    return _file && sf_error(_file) != SF_ERR_NO_ERROR;
}

std::string AudioFile::readError() const
{
    return _file ? sf_strerror(_file) : _error;
}

bool AudioFile::seek(std::int64_t frame)
{
    if (!_file) return false;
    frame = std::clamp<std::int64_t>(frame, 0, _frames);
    return sf_seek(_file, frame, SEEK_SET) >= 0;
}

} // namespace qv
