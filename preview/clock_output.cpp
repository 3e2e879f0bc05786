#include "clock_output.h"

#include <algorithm>

namespace qv {

bool ClockOutput::open(const OutputFormat& wanted, OutputFormat& accepted, QString&)
{
    _format = accepted = wanted;
    _writtenBytes = 0;
    _anchorPlayed = 0;
    _anchor.start();
    _running = true;
    return true;
}

void ClockOutput::close()
{
    _running = false;
}

double ClockOutput::writtenSeconds() const
{
    // In double: a header may claim any rate, and the product overflows an int.
    const double bytesPerSecond = double(_format.bytesPerFrame()) * _format.sampleRate;
    return bytesPerSecond > 0 ? double(_writtenBytes) / bytesPerSecond : 0.0;
}

double ClockOutput::playedSeconds() const
{
    const double running = _running ? double(_anchor.nsecsElapsed()) / 1e9 : 0.0;
    return std::min(_anchorPlayed + running, writtenSeconds());
}

bool ClockOutput::drained() const
{
    return playedSeconds() >= writtenSeconds();
}

std::int64_t ClockOutput::bytesFree() const
{
    const double queued = writtenSeconds() - playedSeconds();
    const double room = std::max(kBufferSeconds - queued, 0.0);
    const std::int64_t frames = std::int64_t(room * _format.sampleRate);
    return frames * _format.bytesPerFrame();
}

std::int64_t ClockOutput::write(const char*, std::int64_t bytes)
{
    // Starved: the clock waited at the end of what it had, as a device would.
    if (_running && drained()) {
        _anchorPlayed = writtenSeconds();
        _anchor.restart();
    }
    const std::int64_t frames = bytes / std::max(_format.bytesPerFrame(), 1);
    _writtenBytes += frames * _format.bytesPerFrame();
    return frames * _format.bytesPerFrame();
}

void ClockOutput::suspend()
{
    if (!_running) return;
    _anchorPlayed = playedSeconds();
    _running = false;
}

void ClockOutput::resume()
{
    if (_running) return;
    _anchor.restart();
    _running = true;
}

} // namespace qv
