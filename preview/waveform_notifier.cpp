#include "waveform_notifier.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace qv {

WaveformNotifier& WaveformNotifier::shared()
{
    static WaveformNotifier* const notifier = [] {
        auto* created = new WaveformNotifier;
        if (auto* app = QCoreApplication::instance()) created->moveToThread(app->thread());
        return created;
    }();
    return *notifier;
}

WaveformNotifier::WaveformNotifier(QObject* parent)
    : QObject(parent)
{
}

QVariantMap WaveformNotifier::decoderRejectedError()
{
    return {{QStringLiteral("domain"), QStringLiteral("QuorvalinderWaveform")},
            {QStringLiteral("message"), QStringLiteral("Audio decoder rejected the file")}};
}

// Queued even when already on the GUI thread, so that a request never re-enters its
// caller through a signal.
void WaveformNotifier::postCacheDidUpdate(const QString& path, const QString& key)
{
    QMetaObject::invokeMethod(
        this, [this, path, key] { emit QVWaveformCacheDidUpdate(path, {{QStringLiteral("key"), key}}); },
        Qt::QueuedConnection);
}

void WaveformNotifier::postCacheDidFail(const QString& path, const QString& key)
{
    QMetaObject::invokeMethod(
        this,
        [this, path, key] {
            emit QVWaveformCacheDidFail(path, {{QStringLiteral("key"), key}, {QStringLiteral("error"), decoderRejectedError()}});
        },
        Qt::QueuedConnection);
}

void WaveformNotifier::postDurationDidUpdate(const QString& path, double seconds)
{
    QMetaObject::invokeMethod(
        this, [this, path, seconds] { emit QVWaveformDurationDidUpdate(path, {{QStringLiteral("duration"), seconds}}); },
        Qt::QueuedConnection);
}

} // namespace qv
