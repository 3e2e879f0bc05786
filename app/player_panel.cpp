#include "player_panel.h"

#include "icons.h"
#include "waveform_view.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace {
// A long file name is cut in the middle to the width the layout gives, whatever the
// style sheet's font: eliding once to a fixed width cut bold names short of their end.
class ElidingLabel : public QLabel {
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        const QRect area = contentsRect();
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width());
        style()->drawItemText(&painter, area, int(alignment()), palette(), isEnabled(), shown, foregroundRole());
    }
};


constexpr double kSliderScale = 1000.0; // the seek slider counts milliseconds

} // namespace

QVPlayerPanel::QVPlayerPanel(qv::WaveformQueue& queue, QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("playerPanel"));
    setAttribute(Qt::WA_StyledBackground);
    setFixedHeight(96);

    _previous = transportButton(QStringLiteral("media-skip-backward"), tr("Previous sample"));
    _play = transportButton(QStringLiteral("media-playback-start"), tr("Play or pause"));
    _play->setObjectName(QStringLiteral("playButton"));
    _play->setIconSize(QSize(26, 26));
    _play->setFixedSize(44, 44);
    _next = transportButton(QStringLiteral("media-skip-forward"), tr("Next sample"));
    _stop = transportButton(QStringLiteral("media-playback-stop"), tr("Stop"));

    _title = new ElidingLabel(tr("No sample loaded"), this);
    _title->setObjectName(QStringLiteral("playerTitle"));
    _title->setMinimumWidth(120);
    _title->setMaximumWidth(260);
    _key = new QLabel(QStringLiteral("Key  --"), this);
    _bpm = new QLabel(QStringLiteral("BPM  --"), this);
    for (QLabel* label : {_key, _bpm}) label->setObjectName(QStringLiteral("playerDetail"));

    _waveform = new QVWaveformView(this, &queue);
    _waveform->setMinimumHeight(44);
    _time = new QLabel(QStringLiteral("0:00"), this);
    _duration = new QLabel(QStringLiteral("0:00"), this);
    for (QLabel* label : {_time, _duration}) {
        label->setObjectName(QStringLiteral("playerClock"));
        label->setMinimumWidth(38);
        label->setAlignment(Qt::AlignCenter);
    }
    _seek = new QSlider(Qt::Horizontal, this);
    _seek->setObjectName(QStringLiteral("seekSlider"));
    _seek->setRange(0, 1);
    _seek->setEnabled(false);

    _favorite = new QToolButton(this);
    _favorite->setObjectName(QStringLiteral("playerHeart"));
    _favorite->setText(QStringLiteral("\u2661"));
    _favorite->setToolTip(tr("Love"));
    _favorite->setAutoRaise(true);
    _repeat = transportButton(QStringLiteral("media-playlist-repeat"), tr("Repeat off"));
    _repeat->setCheckable(true);
    _volumeIcon = transportButton(QStringLiteral("audio-volume-high"), tr("Volume"));
    _volumeIcon->setEnabled(false);
    _volume = new QSlider(Qt::Horizontal, this);
    _volume->setObjectName(QStringLiteral("volumeSlider"));
    _volume->setRange(0, 100);
    _volume->setFixedWidth(110);

    auto* transport = new QHBoxLayout;
    transport->setSpacing(4);
    for (QToolButton* b : {_previous, _play, _next, _stop}) transport->addWidget(b);

    auto* details = new QVBoxLayout;
    details->setSpacing(2);
    details->addStretch();
    details->addWidget(_title);
    auto* keyBpm = new QHBoxLayout;
    keyBpm->setSpacing(14);
    keyBpm->addWidget(_key);
    keyBpm->addWidget(_bpm);
    keyBpm->addStretch();
    details->addLayout(keyBpm);
    details->addStretch();

    auto* wave = _wave = new QGridLayout;
    wave->setHorizontalSpacing(8);
    wave->setVerticalSpacing(0);
    wave->addWidget(_time, 0, 0);
    wave->addWidget(_waveform, 0, 1);
    wave->addWidget(_duration, 0, 2);
    wave->addWidget(_seek, 1, 1);

    auto* right = new QHBoxLayout;
    right->setSpacing(4);
    right->addWidget(_favorite);
    right->addWidget(_repeat);
    right->addSpacing(8);
    right->addWidget(_volumeIcon);
    right->addWidget(_volume);

    auto* column = _column = new QVBoxLayout(this);
    column->setContentsMargins(16, 8, 16, 8);
    column->setSpacing(6);
    auto* row = _row = new QHBoxLayout;
    row->setSpacing(18);
    row->addLayout(transport);
    row->addLayout(details, 1);
    row->addLayout(wave, 3);
    row->addLayout(right);
    column->addLayout(row);

    connect(_previous, &QToolButton::clicked, this, &QVPlayerPanel::previousPressed);
    connect(_play, &QToolButton::clicked, this, &QVPlayerPanel::playPausePressed);
    connect(_next, &QToolButton::clicked, this, &QVPlayerPanel::nextPressed);
    connect(_stop, &QToolButton::clicked, this, &QVPlayerPanel::stopPressed);
    connect(_favorite, &QToolButton::clicked, this, &QVPlayerPanel::favoritePressed);
    connect(_repeat, &QToolButton::clicked, this, &QVPlayerPanel::repeatPressed);
    connect(_volume, &QSlider::valueChanged, this, [this](int value) {
        _volumeIcon->setIcon(qv::symbolIcon(QString::fromStdString(qv::volumeSymbol(value / 100.0))));
        emit volumeChanged(value / 100.0);
    });
    connect(_seek, &QSlider::sliderMoved, this, [this](int value) { emit seekSliderMoved(value / kSliderScale); });
    connect(_waveform, &QVWaveformView::seekRequested, this, &QVPlayerPanel::waveformSeek);
    connect(_waveform, &QVWaveformView::doubleClicked, this, &QVPlayerPanel::waveformDoubleClicked);
}

QToolButton* QVPlayerPanel::transportButton(const QString& symbol, const QString& tip)
{
    auto* button = new QToolButton(this);
    button->setIcon(qv::symbolIcon(symbol));
    button->setIconSize(QSize(18, 18));
    button->setFixedSize(32, 32);
    button->setToolTip(tip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

void QVPlayerPanel::setTitle(const QString& title)
{
    _title->setText(title);
    _title->setToolTip(title);
}

void QVPlayerPanel::setTimes(const QString& time, const QString& duration)
{
    if (_time->text() != time) _time->setText(time);
    if (_duration->text() != duration) _duration->setText(duration);
}

void QVPlayerPanel::setKeyText(const QString& text) { _key->setText(text); }
void QVPlayerPanel::setBpmText(const QString& text) { _bpm->setText(text); }

void QVPlayerPanel::setSeekRange(double maximum)
{
    _seek->setRange(0, static_cast<int>(std::lround(std::max(maximum, 0.001) * kSliderScale)));
}

void QVPlayerPanel::setSeekValue(double seconds)
{
    if (!_seek->isSliderDown()) _seek->setValue(static_cast<int>(std::lround(seconds * kSliderScale)));
}

void QVPlayerPanel::setSeekEnabled(bool enabled) { _seek->setEnabled(enabled); }
double QVPlayerPanel::seekValue() const { return _seek->value() / kSliderScale; }
bool QVPlayerPanel::userIsSeeking() const { return _seek->isSliderDown(); }

void QVPlayerPanel::setPlaying(bool playing)
{
    if (playing == _playing && !_play->icon().isNull()) return;
    _playing = playing;
    _play->setIcon(qv::symbolIcon(playing ? QStringLiteral("media-playback-pause") : QStringLiteral("media-playback-start")));
}

void QVPlayerPanel::setEnablement(const qv::TransportEnablement& e)
{
    _play->setEnabled(e.play);
    _stop->setEnabled(e.stop);
    _previous->setEnabled(e.previous);
    _next->setEnabled(e.next);
    _favorite->setEnabled(e.favorite);
}

void QVPlayerPanel::setFavorite(bool favorite)
{
    const QString glyph = favorite ? QStringLiteral("\u2665") : QStringLiteral("\u2661");
    if (_favorite->text() != glyph) _favorite->setText(glyph);
}

void QVPlayerPanel::setRepeat(bool on, const QColor& accent)
{
    _repeat->setChecked(on);
    QColor off = Qt::white;
    off.setAlphaF(0.68);
    _repeat->setIcon(qv::symbolIcon(QStringLiteral("media-playlist-repeat"), on ? accent : off));
    _repeat->setToolTip(on ? tr("Repeat on") : tr("Repeat off"));
}

void QVPlayerPanel::setVolume(double volume)
{
    const QSignalBlocker quiet(_volume); // showing the stored value is not a change
    _volume->setValue(static_cast<int>(std::lround(std::clamp(volume, 0.0, 1.0) * 100)));
    _volumeIcon->setIcon(qv::symbolIcon(QString::fromStdString(qv::volumeSymbol(volume))));
}

double QVPlayerPanel::volume() const { return _volume->value() / 100.0; }
QString QVPlayerPanel::timeText() const { return _time->text(); }
QString QVPlayerPanel::durationText() const { return _duration->text(); }
QString QVPlayerPanel::keyText() const { return _key->text(); }
QString QVPlayerPanel::bpmText() const { return _bpm->text(); }

void QVPlayerPanel::setCompact(bool compact)
{
    // A narrow window gives the waveform its own line under the controls.
    if (compact == (_wave->parent() == _column)) return;
    if (compact) {
        _row->removeItem(_wave);
        _column->addLayout(_wave);
    } else {
        _column->removeItem(_wave);
        _row->insertLayout(2, _wave, 3);
    }
    _title->setMaximumWidth(compact ? 16777215 : 260);
    setFixedHeight(compact ? 150 : 96);
}
