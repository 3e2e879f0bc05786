// The preview player: one audio file played from a position, with the operations the
// controller needs of a platform player (create with an error text, prepare, play,
// pause, stop, current time, duration, volume, end-of-play and decode-error signals).
//
// Streaming: the file stays open and is decoded on demand in chunks of at most 4096
// frames, just ahead of what the output will take (0.2 s for the clock output, the
// sink's buffer for the device). `prepareToPlay` decodes only the first chunk, so the
// first buffer reaches the device within milliseconds of `play` whatever the file's
// length, and memory per player is the decoder's state plus a few chunk buffers.
// Seeking moves the decoder and drops what the output still held.
//
// Time: currentTime = the position of the last seek (or start) + what the output has
// played since. At the end of the data the player stops, rewinds to 0 and emits
// didFinishPlaying(true) once; a read fault emits decodeErrorDidOccur with
// libsndfile's text and stops.
//
// Threads: `create` and `prepareToPlay` may run on a worker (the preview queue); the
// object is moved to the application's thread on creation, and everything else,
// including the signals, happens there.
#pragma once

#include "audio_file.h"
#include "audio_output.h"
#include "sample_converter.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <memory>
#include <vector>

class QTimer;

namespace qv {

class PreviewPlayer : public QObject {
    Q_OBJECT
public:
    static constexpr std::int64_t kChunkFrames = 4096;

    // The chosen output device (empty: the system's default; see DeviceOutput).
    static AudioOutputFactory deviceOutput(const QByteArray& deviceId = {});
    static AudioOutputFactory clockOutput();

    // Null with `error` set when the file cannot be opened or holds no audio format.
    static std::unique_ptr<PreviewPlayer> create(const QString& path, QString* error,
                                                 AudioOutputFactory output = deviceOutput());
    ~PreviewPlayer() override;

    // Decodes the first chunk. False with `errorText` when the decoder fails at once.
    bool prepareToPlay();
    // Opens the output (the first time, or after stop) and starts. False with
    // `errorText` when there is no usable output or the file cannot be decoded.
    bool play();
    void pause();
    // Releases the output and keeps the position.
    void stop();

    double currentTime() const;
    void setCurrentTime(double seconds);
    double duration() const;
    bool isPlaying() const { return _playing; }
    double volume() const { return _volume; }
    void setVolume(double volume);
    const QString& errorText() const { return _error; }

    // Bytes handed to the output since it was opened; 0 until the first buffer is.
    std::int64_t bytesDelivered() const { return _delivered; }

signals:
    void didFinishPlaying(bool successfully);
    void decodeErrorDidOccur(const QString& error);

private:
    PreviewPlayer(std::unique_ptr<AudioFile> file, AudioOutputFactory output);
    bool openOutput();
    void closeOutput();
    // Feeds the output what it will take; false on a read fault.
    bool pump();
    // Ends happen only here, on the timer, so that play() never signals before it returns.
    void tick();
    bool decodeChunk();
    void reposition(double seconds);
    void finish();

    std::unique_ptr<AudioFile> _file;
    AudioOutputFactory _outputFactory;
    std::unique_ptr<AudioOutput> _output;
    std::unique_ptr<SampleConverter> _converter;
    OutputFormat _format;
    QTimer* _pumpTimer;

    std::vector<float> _decoded;  // at most kChunkFrames frames not yet converted
    std::int64_t _decodedFrames = 0;
    QByteArray _pending;          // converted bytes the output has not taken yet
    std::int64_t _readFrame = 0;  // next frame the decoder reads
    bool _endOfData = false;
    bool _readFault = false;
    bool _prepared = false;
    bool _playing = false;
    double _basePosition = 0;     // seconds at which the output started
    double _volume = 1.0;
    std::int64_t _delivered = 0;
    QString _error;
};

} // namespace qv
