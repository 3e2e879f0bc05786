#include "warmup.h"

#include "preview_player.h"
#include "startup_logic.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDir>
#include <QEvent>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QTemporaryFile>
#include <QThreadPool>
#include <QTimer>

namespace {

// Keeps the overlay the size of the view it covers.
class OverlayFitter : public QObject {
public:
    OverlayFitter(QWidget* overlay, QWidget* content)
        : QObject(overlay)
        , _overlay(overlay)
    {
        content->installEventFilter(this);
        overlay->setGeometry(content->rect());
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Resize) _overlay->setGeometry(static_cast<QWidget*>(watched)->rect());
        return false;
    }

private:
    QWidget* _overlay;
};

} // namespace

QVAudioWarmup::QVAudioWarmup(QWidget& content, std::function<bool()> previewExists,
                             qv::PreviewDecoder::PlayerFactory players, QObject* parent)
    : QObject(parent)
    , _content(content)
    , _previewExists(std::move(previewExists))
    , _players(std::move(players))
{
}

QVAudioWarmup::~QVAudioWarmup() = default;

void QVAudioWarmup::start()
{
    _overlay = new QWidget(&_content);
    _overlay->setObjectName(QStringLiteral("warmupOverlay"));
    _overlay->setAttribute(Qt::WA_StyledBackground);
    _overlay->setStyleSheet(QStringLiteral("QWidget#warmupOverlay { background: rgba(0, 0, 0, 128); }"));
    auto* column = new QVBoxLayout(_overlay);
    column->addStretch();
    auto* label = new QLabel(QStringLiteral("Preparing audio\u2026"), _overlay);
    label->setStyleSheet(QStringLiteral("color: rgba(255, 255, 255, 224); font-size: 12px; font-weight: 500;"));
    label->setAlignment(Qt::AlignCenter);
    label->setFixedSize(220, 20);
    auto* bar = new QProgressBar(_overlay);
    bar->setRange(0, 0);
    bar->setFixedSize(180, 14);
    bar->setTextVisible(false);
    column->addWidget(label, 0, Qt::AlignHCenter);
    column->addSpacing(3);
    column->addWidget(bar, 0, Qt::AlignHCenter);
    column->addStretch();
    new OverlayFitter(_overlay, &_content);
    _overlay->raise();
    _overlay->show();

    QPointer<QVAudioWarmup> self(this);
    QThreadPool::globalInstance()->start([self, players = _players] {
        std::unique_ptr<qv::PreviewPlayer> player;
        QTemporaryFile file(QDir::tempPath() + QStringLiteral("/quorvalinder-warmup-XXXXXX.wav"));
        if (file.open() && file.write(qv::silentWaveBytes()) == qv::silentWaveBytes().size() && file.flush()) {
            QString error;
            player = players(file.fileName(), &error);
            if (player) {
                player->setVolume(0);
                if (!player->prepareToPlay()) player.reset();
            }
        }
        auto* handed = player.release();
        QMetaObject::invokeMethod(
            qApp,
            [self, handed] {
                std::unique_ptr<qv::PreviewPlayer> owned(handed);
                if (self) self->prepared(std::move(owned));
            },
            Qt::QueuedConnection);
    });
}

void QVAudioWarmup::prepared(std::unique_ptr<qv::PreviewPlayer> player)
{
    if (player && !(_previewExists && _previewExists())) {
        _sound = std::move(player);
        _played = _sound->play();
    }
    QTimer::singleShot(kDurationMs, this, &QVAudioWarmup::end);
}

void QVAudioWarmup::end()
{
    if (_sound) {
        _sound->stop();
        _sound.reset();
    }
    delete _overlay;
    _overlay = nullptr;
    emit finished();
}
