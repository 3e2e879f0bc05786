#include "preview_decoder.h"

namespace qv {

PreviewDecoder::PlayerFactory PreviewDecoder::devicePlayers(const QByteArray& deviceId)
{
    return [deviceId](const QString& path, QString* error) {
        return PreviewPlayer::create(path, error, PreviewPlayer::deviceOutput(deviceId));
    };
}

PreviewDecoder::PreviewDecoder(PlayerFactory factory)
    : _factory(std::move(factory))
    , _worker(new QObject)
{
    _thread.setObjectName(QStringLiteral("com.ostrelle.quorvalinder.preview"));
    _worker->moveToThread(&_thread);
    QObject::connect(&_thread, &QThread::finished, _worker, &QObject::deleteLater);
    _thread.start();
}

PreviewDecoder::~PreviewDecoder()
{
    _thread.quit();
    _thread.wait();
}

void PreviewDecoder::post(std::function<void()> job)
{
    QMetaObject::invokeMethod(_worker, std::move(job), Qt::QueuedConnection);
}

std::unique_ptr<PreviewPlayer> PreviewDecoder::makePlayer(const QString& path, QString* error) const
{
    return _factory(path, error);
}

} // namespace qv
