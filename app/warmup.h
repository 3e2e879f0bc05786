#pragma once
// The first sound a process plays is slow to start on most systems; a silent tenth of
// a second played at launch, under an overlay, takes that cost before the user's first
// preview does.

#include "preview_decoder.h"

#include <QObject>

#include <functional>
#include <memory>

class QWidget;

namespace qv {
class PreviewPlayer;
}

class QVAudioWarmup : public QObject {
    Q_OBJECT
public:
    static constexpr int kDurationMs = 140;

    // `previewExists` is asked before the silent player starts: a preview already
    // playing is never joined by it.
    QVAudioWarmup(QWidget& content, std::function<bool()> previewExists,
                  qv::PreviewDecoder::PlayerFactory players = qv::PreviewDecoder::devicePlayers(),
                  QObject* parent = nullptr);
    ~QVAudioWarmup() override;

    void start();
    bool overlayVisible() const { return _overlay != nullptr; }
    bool soundPlaying() const { return _sound != nullptr; }
    bool playedSound() const { return _played; } // the silent sound was started

signals:
    void finished(); // the overlay is gone

private:
    void prepared(std::unique_ptr<qv::PreviewPlayer> player);
    void end();

    QWidget& _content;
    std::function<bool()> _previewExists;
    qv::PreviewDecoder::PlayerFactory _players;
    bool _played = false;
    QWidget* _overlay = nullptr;
    std::unique_ptr<qv::PreviewPlayer> _sound;
};
