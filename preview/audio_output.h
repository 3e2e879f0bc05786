// Where the preview player's samples go: the sound device, or a clock that only pretends
// to play (tests, headless machines). The player writes whole frames in the format that
// `open` accepted and asks how much has been played.
//
// Contract: `open` either succeeds and fixes `format` for the life of the opening, or
// fails with a text a user can act on; `playedSeconds` never exceeds the audio written
// since `open`, and only grows while not suspended. Called on the player's (GUI) thread.
#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace qv {

struct OutputFormat {
    enum class Sample { Float, Int16 };
    int sampleRate = 0;
    int channels = 0;
    Sample sample = Sample::Float;

    int bytesPerFrame() const { return channels * (sample == Sample::Float ? 4 : 2); }
};

class AudioOutput {
public:
    virtual ~AudioOutput() = default;

    // `wanted` is the file's format; `accepted` may differ where the device refuses it.
    virtual bool open(const OutputFormat& wanted, OutputFormat& accepted, QString& error) = 0;
    virtual void close() = 0;
    virtual std::int64_t bytesFree() const = 0;
    virtual std::int64_t write(const char* data, std::int64_t bytes) = 0;
    virtual double playedSeconds() const = 0;
    // True once everything written has been played.
    virtual bool drained() const = 0;
    virtual void suspend() = 0;
    virtual void resume() = 0;
    virtual void setVolume(double volume) = 0;
};

using AudioOutputFactory = std::function<std::unique_ptr<AudioOutput>()>;

} // namespace qv
