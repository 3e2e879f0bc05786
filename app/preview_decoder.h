#pragma once
// The one serial worker on which previews are decoded and prepared, so that the GUI
// thread never waits for a file. Jobs run in the order posted; a job checks the playback
// generation itself and returns early when it has gone stale.

#include "preview_player.h"

#include <QObject>
#include <QThread>

#include <functional>
#include <memory>

namespace qv {

class PreviewDecoder {
public:
    using PlayerFactory = std::function<std::unique_ptr<PreviewPlayer>(const QString& path, QString* error)>;

    // Players on the default audio device.
    static PlayerFactory devicePlayers(const QByteArray& deviceId = {});

    explicit PreviewDecoder(PlayerFactory factory = devicePlayers());
    ~PreviewDecoder(); // waits for the job in hand; drops the rest
    PreviewDecoder(const PreviewDecoder&) = delete;
    PreviewDecoder& operator=(const PreviewDecoder&) = delete;

    void post(std::function<void()> job);
    std::unique_ptr<PreviewPlayer> makePlayer(const QString& path, QString* error) const;
    void setFactory(PlayerFactory factory) { _factory = std::move(factory); }

private:
    PlayerFactory _factory;
    QThread _thread;
    QObject* _worker; // lives on _thread
};

} // namespace qv
