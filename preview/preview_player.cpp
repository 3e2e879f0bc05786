#include "preview_player.h"

#include "clock_output.h"
#include "device_output.h"

#include <QCoreApplication>
#include <QFile>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace qv {

namespace {
constexpr int kPumpIntervalMs = 10;
}

AudioOutputFactory PreviewPlayer::deviceOutput(const QByteArray& deviceId)
{
    return [deviceId] { return std::make_unique<DeviceOutput>(deviceId); };
}

AudioOutputFactory PreviewPlayer::clockOutput()
{
    return [] { return std::make_unique<ClockOutput>(); };
}

std::unique_ptr<PreviewPlayer> PreviewPlayer::create(const QString& path, QString* error, AudioOutputFactory output)
{
    auto file = std::make_unique<AudioFile>(QFile::encodeName(path).toStdString());
    QString reason;
    if (!file->isOpen()) {
        reason = QString::fromStdString(file->error());
    } else if (file->sampleRate() <= 0 || file->channels() <= 0) {
        reason = QStringLiteral("The file has no playable audio format");
    }
    if (!reason.isEmpty()) {
        if (error) *error = reason;
        return nullptr;
    }
    std::unique_ptr<PreviewPlayer> player(new PreviewPlayer(std::move(file), std::move(output)));
    // Created on the preview worker, used on the GUI thread: timers and signals live there.
    if (auto* app = QCoreApplication::instance(); app && app->thread() != QThread::currentThread()) {
        player->moveToThread(app->thread());
    }
    return player;
}

PreviewPlayer::PreviewPlayer(std::unique_ptr<AudioFile> file, AudioOutputFactory output)
    : _file(std::move(file))
    , _outputFactory(std::move(output))
    , _pumpTimer(new QTimer(this))
{
    _pumpTimer->setTimerType(Qt::PreciseTimer);
    _pumpTimer->setInterval(kPumpIntervalMs);
    connect(_pumpTimer, &QTimer::timeout, this, &PreviewPlayer::tick);
}

PreviewPlayer::~PreviewPlayer()
{
    closeOutput();
}

double PreviewPlayer::duration() const
{
    return _file->durationSeconds();
}

bool PreviewPlayer::prepareToPlay()
{
    if (_prepared) return true;
    if (!decodeChunk()) {
        _error = QString::fromStdString(_file->readError());
        return false;
    }
    _prepared = true;
    return true;
}

bool PreviewPlayer::decodeChunk()
{
    if (_decodedFrames > 0) return true;
    if (_readFault) return false;
    if (_endOfData) return true;
    const int channels = _file->channels();
    _decoded.resize(std::size_t(kChunkFrames * channels));
    const std::int64_t wanted = std::min(kChunkFrames, _file->frames() - _readFrame);
    const std::int64_t got = wanted > 0 ? _file->read(_decoded.data(), wanted) : 0;
    _readFrame += got;
    _decodedFrames = got;
    if (got < wanted && _file->readFailed()) {
        // What was decoded before the fault still plays; the fault is reported after it.
        _readFault = true;
        return got > 0;
    }
    // A short read without a fault is a file shorter than its header said: its end.
    if (got < wanted || _readFrame >= _file->frames()) _endOfData = true;
    return true;
}

bool PreviewPlayer::openOutput()
{
    auto output = _outputFactory();
    const OutputFormat wanted{_file->sampleRate(), _file->channels(), OutputFormat::Sample::Float};
    QString error;
    if (!output->open(wanted, _format, error)) {
        _error = error;
        return false;
    }
    _output = std::move(output);
    _output->setVolume(_volume);
    _converter = std::make_unique<SampleConverter>(_file->sampleRate(), _file->channels(), _format);
    _pending.clear();
    _delivered = 0;
    return true;
}

void PreviewPlayer::closeOutput()
{
    if (!_output) return;
    _output->close();
    _output.reset();
}

bool PreviewPlayer::play()
{
    if (_playing) return true;
    if (!prepareToPlay()) return false;
    if (_output) {
        _output->resume();
    } else if (!openOutput()) {
        return false;
    }
    if (!pump()) {
        _error = QString::fromStdString(_file->readError());
        closeOutput();
        return false;
    }
    _playing = true;
    _pumpTimer->start();
    return true;
}

void PreviewPlayer::pause()
{
    if (!_playing) return;
    _output->suspend();
    _playing = false;
    _pumpTimer->stop();
}

void PreviewPlayer::stop()
{
    const double position = currentTime();
    _playing = false;
    _pumpTimer->stop();
    closeOutput();
    reposition(position);
}

double PreviewPlayer::currentTime() const
{
    const double played = _output ? _output->playedSeconds() : 0.0;
    return std::min(_basePosition + played, duration());
}

void PreviewPlayer::setCurrentTime(double seconds)
{
    const bool wasPlaying = _playing;
    const bool hadOutput = _output != nullptr;
    closeOutput();
    reposition(seconds);
    if (!hadOutput) return;
    // The output held audio from the old position; a fresh one starts at the new one.
    // A paused player opens its output again only when it plays.
    _playing = false;
    _pumpTimer->stop();
    if (wasPlaying) play();
}

void PreviewPlayer::reposition(double seconds)
{
    const double clamped = seconds > 0 ? std::min(seconds, duration()) : 0.0;
    const auto frame = std::clamp<std::int64_t>(std::llround(clamped * _file->sampleRate()), 0, _file->frames());
    _file->seek(frame);
    _readFrame = frame;
    _endOfData = frame >= _file->frames();
    _readFault = false;
    _decodedFrames = 0;
    _pending.clear();
    if (_converter) _converter->reset();
    _basePosition = clamped;
}

void PreviewPlayer::setVolume(double volume)
{
    _volume = volume > 0 ? std::min(volume, 1.0) : 0.0;
    if (_output) _output->setVolume(_volume);
}

bool PreviewPlayer::pump()
{
    const int bytesPerFrame = _format.bytesPerFrame();
    while (true) {
        if (_pending.isEmpty()) {
            if (!decodeChunk()) return false;
            if (_decodedFrames == 0) return true;
            _converter->convert(_decoded.data(), _decodedFrames, _pending);
            _decodedFrames = 0;
            continue;
        }
        std::int64_t room = _output->bytesFree();
        room -= room % bytesPerFrame;
        if (room <= 0) return true;
        const std::int64_t written = _output->write(_pending.constData(), std::min<std::int64_t>(room, _pending.size()));
        if (written <= 0) return true;
        _delivered += written;
        _pending.remove(0, qsizetype(written));
    }
}

void PreviewPlayer::tick()
{
    if (!_playing) return;
    if (!pump()) {
        _error = QString::fromStdString(_file->readError());
        _playing = false;
        _pumpTimer->stop();
        closeOutput();
        emit decodeErrorDidOccur(_error);
        return;
    }
    if (_endOfData && _decodedFrames == 0 && _pending.isEmpty() && _output->drained()) finish();
}

void PreviewPlayer::finish()
{
    _playing = false;
    _pumpTimer->stop();
    closeOutput();
    reposition(0);
    emit didFinishPlaying(true);
}

} // namespace qv
