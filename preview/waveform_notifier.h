// The three waveform notifications as signals of one process-wide object.
//
// Each signal carries the file path (the notification's object) and a user-information
// map with the notification's keys:
//   QVWaveformCacheDidUpdate     {"key": cache key}                  192 peaks are cached
//   QVWaveformCacheDidFail       {"key": cache key, "error": error}  a decode failed
//   QVWaveformDurationDidUpdate  {"duration": seconds (double)}      a real decode measured it
// "error" is a map {"domain": "QuorvalinderWaveform", "message": "Audio decoder
// rejected the file"}.
//
// The object lives on the GUI thread, and `post*` may be called from any thread: the
// signal is always emitted on the GUI thread, later, from its event loop. Connect with
// the default connection type.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace qv {

class WaveformNotifier : public QObject {
    Q_OBJECT
public:
    // Created on first use and moved to the application's thread; never destroyed.
    static WaveformNotifier& shared();
    explicit WaveformNotifier(QObject* parent = nullptr);

    void postCacheDidUpdate(const QString& path, const QString& key);
    void postCacheDidFail(const QString& path, const QString& key);
    void postDurationDidUpdate(const QString& path, double seconds);

    static QVariantMap decoderRejectedError();

signals:
    void QVWaveformCacheDidUpdate(const QString& path, const QVariantMap& userInfo);
    void QVWaveformCacheDidFail(const QString& path, const QVariantMap& userInfo);
    void QVWaveformDurationDidUpdate(const QString& path, const QVariantMap& userInfo);
};

} // namespace qv
