// One open audio file, read through libsndfile as interleaved 32-bit floats at the file's
// own rate and channel count (WAVE, AIFF, MP3, FLAC, Ogg and whatever else libsndfile
// opens). The only place that calls libsndfile, so that the peak decoder, the preview
// player and the command line read audio the same way.
//
// Invariants: an object either holds an open file (isOpen) with the format libsndfile
// reported, or holds the reason it could not open one (error). It closes the file in its
// destructor. Not thread-safe: one thread at a time, though it may be handed between
// threads (the player opens on the preview worker and reads on the GUI thread).
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

struct sf_private_tag;

namespace qv {

class AudioFile {
public:
    explicit AudioFile(const std::filesystem::path& path);
    ~AudioFile();
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;

    bool isOpen() const { return _file != nullptr; }
    // libsndfile's reason when the file could not be opened, else "".
    const std::string& error() const { return _error; }

    std::int64_t frames() const { return _frames; }
    int sampleRate() const { return _sampleRate; }
    int channels() const { return _channels; }
    double durationSeconds() const;

    // Reads up to `frames` frames into `buffer` (room for frames × channels floats).
    // Returns the frames read: fewer at the end of the data, 0 at the end or on an error.
    std::int64_t read(float* buffer, std::int64_t frames);
    // True when the last short read was libsndfile reporting a fault rather than the end.
    bool readFailed() const;
    std::string readError() const;

    // Moves the read position to `frame` (clamped to the file). False when the format
    // cannot seek.
    bool seek(std::int64_t frame);

private:
    sf_private_tag* _file = nullptr;
    std::string _error;
    std::int64_t _frames = 0;
    int _sampleRate = 0;
    int _channels = 0;
};

} // namespace qv
