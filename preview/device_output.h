// The sound device: a QAudioSink in push mode on the default output device.
//
// It asks for the file's rate and channel count as 32-bit floats, then 16-bit integers;
// where the device takes neither it falls back to the device's preferred format and the
// player converts. With no sound server Qt reports no default device, or the sink fails
// to start: `open` then returns false with a text that says so, at once.
// Push mode because Qt 6.4's pull mode asks for its first data only after ~20 ms and
// never for a small buffer, while a push write is accepted within ~1 ms of the start.
// GUI thread: the sink is a QObject driven by that thread's event loop.
#pragma once

#include "audio_output.h"

#include <QAudioDevice>
#include <QAudioFormat>

class QAudioSink;
class QIODevice;

namespace qv {

class DeviceOutput : public AudioOutput {
public:
    // `deviceId`: the output the user chose (QAudioDevice::id); empty, or a device that is
    // not connected now, means the system's default output.
    explicit DeviceOutput(QByteArray deviceId = {});
    ~DeviceOutput() override;

    static QAudioDevice outputDevice(const QByteArray& deviceId);

    bool open(const OutputFormat& wanted, OutputFormat& accepted, QString& error) override;
    void close() override;
    std::int64_t bytesFree() const override;
    std::int64_t write(const char* data, std::int64_t bytes) override;
    double playedSeconds() const override;
    bool drained() const override;
    void suspend() override;
    void resume() override;
    void setVolume(double volume) override;

    // The format the device would be opened with for `wanted`; false when there is no device.
    static bool chooseFormat(const QAudioDevice& device, const OutputFormat& wanted, OutputFormat& chosen);

private:
    QByteArray _deviceId;
    QAudioSink* _sink = nullptr;
    QIODevice* _io = nullptr;
    OutputFormat _format;
    std::int64_t _writtenBytes = 0;
    double _volume = 1.0;
};

} // namespace qv
