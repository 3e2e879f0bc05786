// An audio output without a device: it accepts up to 0.2 s of audio ahead and "plays" it
// at the rate of a monotonic clock. Like a real device it stops when starved and goes on
// from where it stopped when fed again, so a stalled feeder never makes time jump.
// GUI thread (any one thread).
#pragma once

#include "audio_output.h"

#include <QElapsedTimer>

namespace qv {

class ClockOutput : public AudioOutput {
public:
    static constexpr double kBufferSeconds = 0.2;

    bool open(const OutputFormat& wanted, OutputFormat& accepted, QString& error) override;
    void close() override;
    std::int64_t bytesFree() const override;
    std::int64_t write(const char* data, std::int64_t bytes) override;
    double playedSeconds() const override;
    bool drained() const override;
    void suspend() override;
    void resume() override;
    void setVolume(double) override {}

private:
    double writtenSeconds() const;

    OutputFormat _format;
    std::int64_t _writtenBytes = 0;
    // Played time = _anchorPlayed + time since _anchor while running, capped at written.
    double _anchorPlayed = 0;
    QElapsedTimer _anchor;
    bool _running = false;
};

} // namespace qv
