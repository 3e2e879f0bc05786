#include "device_output.h"

#include <QAudioSink>
#include <QMediaDevices>

#include <algorithm>

namespace qv {

namespace {

QAudioFormat toQt(const OutputFormat& format)
{
    QAudioFormat qt;
    qt.setSampleRate(format.sampleRate);
    qt.setChannelCount(format.channels);
    qt.setSampleFormat(format.sample == OutputFormat::Sample::Float ? QAudioFormat::Float : QAudioFormat::Int16);
    return qt;
}

} // namespace

DeviceOutput::DeviceOutput(QByteArray deviceId)
    : _deviceId(std::move(deviceId))
{
}

QAudioDevice DeviceOutput::outputDevice(const QByteArray& deviceId)
{
    if (!deviceId.isEmpty()) {
        for (const QAudioDevice& device : QMediaDevices::audioOutputs()) {
            if (device.id() == deviceId) return device;
        }
    }
    return QMediaDevices::defaultAudioOutput();
}

DeviceOutput::~DeviceOutput()
{
    close();
}

bool DeviceOutput::chooseFormat(const QAudioDevice& device, const OutputFormat& wanted, OutputFormat& chosen)
{
    if (device.isNull()) return false;
    for (const auto sample : {OutputFormat::Sample::Float, OutputFormat::Sample::Int16}) {
        OutputFormat candidate = wanted;
        candidate.sample = sample;
        if (device.isFormatSupported(toQt(candidate))) {
            chosen = candidate;
            return true;
        }
    }
    const QAudioFormat preferred = device.preferredFormat();
    chosen.sampleRate = preferred.sampleRate() > 0 ? preferred.sampleRate() : 48000;
    chosen.channels = preferred.channelCount() > 0 ? preferred.channelCount() : 2;
    chosen.sample = preferred.sampleFormat() == QAudioFormat::Float ? OutputFormat::Sample::Float
                                                                   : OutputFormat::Sample::Int16;
    return true;
}

bool DeviceOutput::open(const OutputFormat& wanted, OutputFormat& accepted, QString& error)
{
    close();
    const QAudioDevice device = outputDevice(_deviceId);
    if (!chooseFormat(device, wanted, _format)) {
        error = QStringLiteral("No audio output device is available (is a sound server running?)");
        return false;
    }
    _sink = new QAudioSink(device, toQt(_format));
    _sink->setVolume(_volume);
    _io = _sink->start();
    if (!_io || _sink->error() != QAudio::NoError || _sink->state() == QAudio::StoppedState) {
        error = QStringLiteral("The audio output device \"%1\" could not be opened").arg(device.description());
        close();
        return false;
    }
    _writtenBytes = 0;
    accepted = _format;
    return true;
}

void DeviceOutput::close()
{
    if (!_sink) return;
    _sink->reset();
    delete _sink;
    _sink = nullptr;
    _io = nullptr;
}

std::int64_t DeviceOutput::bytesFree() const
{
    return _sink ? _sink->bytesFree() : 0;
}

std::int64_t DeviceOutput::write(const char* data, std::int64_t bytes)
{
    if (!_io) return 0;
    const std::int64_t written = std::max<std::int64_t>(_io->write(data, bytes), 0);
    _writtenBytes += written;
    return written;
}

double DeviceOutput::playedSeconds() const
{
    if (!_sink) return 0;
    const double bytesPerSecond = double(_format.bytesPerFrame()) * _format.sampleRate;
    const double written = bytesPerSecond > 0 ? double(_writtenBytes) / bytesPerSecond : 0.0;
    return std::min(double(_sink->processedUSecs()) / 1e6, written);
}

bool DeviceOutput::drained() const
{
    // In push mode the sink turns idle when it has played all it was given.
    return !_sink || _sink->state() == QAudio::IdleState;
}

void DeviceOutput::suspend()
{
    if (_sink) _sink->suspend();
}

void DeviceOutput::resume()
{
    if (_sink) _sink->resume();
}

void DeviceOutput::setVolume(double volume)
{
    _volume = volume;
    if (_sink) _sink->setVolume(volume);
}

} // namespace qv
