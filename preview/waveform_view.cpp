#include "waveform_view.h"

#include "peak_builder.h"
#include "playhead_diagnostics.h"
#include "theme_colors.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"

#include <QMetaMethod>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>

#include <algorithm>

namespace {

constexpr double kInset = 5;
constexpr double kCornerRadius = 6;

QColor white(double level)
{
    return QColor::fromRgbF(float(level), float(level), float(level));
}

QColor towardsWhite(const QColor& colour, double amount)
{
    auto mix = [amount](float c) { return float(c + (1.0 - c) * amount); };
    return QColor::fromRgbF(mix(colour.redF()), mix(colour.greenF()), mix(colour.blueF()));
}

QFont mediumFont(int pixelSize)
{
    QFont font;
    font.setPixelSize(pixelSize);
    font.setWeight(QFont::Medium);
    return font;
}

} // namespace

QVWaveformView::QVWaveformView(QWidget* parent, qv::WaveformQueue* queue)
    : QWidget(parent)
    , _queue(queue ? *queue : qv::WaveformQueue::shared())
{
    setToolTip(QStringLiteral("Click or drag to seek"));
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    connect(&_queue.notifier(), &qv::WaveformNotifier::QVWaveformCacheDidUpdate, this, &QVWaveformView::cacheUpdated);
    connect(&_queue.notifier(), &qv::WaveformNotifier::QVWaveformCacheDidFail, this, &QVWaveformView::cacheFailed);
}

void QVWaveformView::loadAudioAtPath(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize)
{
    startLoading(path, modifiedAt, fileSize, true);
}

void QVWaveformView::loadCachedAudioAtPath(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize)
{
    startLoading(path, modifiedAt, fileSize, false);
}

void QVWaveformView::startLoading(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize, bool request)
{
    const std::uint64_t generation = ++_requestGeneration;
    _midiMode = false;
    _loading = true;
    _peaks.clear();
    _audioPath = path;
    _cacheKey = qv::waveformCacheKey(path, modifiedAt, fileSize);
    update();
    if (takeCachedPeaks()) return;
    if (request) _queue.requestKey(_cacheKey, path, false);
    poll(path, _cacheKey, generation, 0);
}

void QVWaveformView::poll(QString path, QString key, std::uint64_t generation, int attempt)
{
    if (generation != _requestGeneration || key != _cacheKey) return;
    if (takeCachedPeaks()) return;
    if (_queue.hasFailed(key)) {
        finishLoading();
        return;
    }
    if (attempt >= kMaxPollAttempts) {
        finishLoading();
        return;
    }
    // A no-op while the job is queued; asks again after a drop at the job ceiling.
    _queue.requestKey(key, path, true);
    QTimer::singleShot(kPollIntervalMs, this, [this, path = std::move(path), key = std::move(key), generation, attempt] {
        poll(path, key, generation, attempt + 1);
    });
}

bool QVWaveformView::takeCachedPeaks()
{
    auto cached = _queue.cachedPeaks(_cacheKey);
    if (!cached || cached->size() != qv::kPeakCount) return false;
    _peaks = std::move(*cached);
    finishLoading();
    return true;
}

void QVWaveformView::finishLoading()
{
    _loading = false;
    update();
}

void QVWaveformView::cacheUpdated(const QString&, const QVariantMap& userInfo)
{
    if (_cacheKey.isEmpty() || userInfo.value(QStringLiteral("key")).toString() != _cacheKey) return;
    if (!takeCachedPeaks()) finishLoading();
}

void QVWaveformView::cacheFailed(const QString&, const QVariantMap& userInfo)
{
    if (_cacheKey.isEmpty() || userInfo.value(QStringLiteral("key")).toString() != _cacheKey) return;
    finishLoading();
}

void QVWaveformView::clear()
{
    ++_requestGeneration;
    _audioPath.clear();
    _cacheKey.clear();
    _midiMode = false;
    _loading = false;
    _peaks.clear();
    _progress = 0;
    update();
}

void QVWaveformView::showMIDIPlaceholder()
{
    ++_requestGeneration;
    _audioPath.clear();
    _cacheKey.clear();
    _midiMode = true;
    _loading = false;
    _peaks.clear();
    update();
}

void QVWaveformView::setProgress(double progress)
{
    // NaN compares false both ways; it becomes 0 rather than poisoning the drawing.
    _progress = progress > 0 ? std::min(progress, 1.0) : 0.0;
    if (QVPlayheadDiagnostics::enabledInEnvironment()) {
        ++_diagnostics.progressUpdateCount;
        _diagnostics.lastProgressTime = QVPlayheadDiagnostics::uptime();
        _diagnostics.lastAppliedProgress = _progress;
    }
    update();
}

void QVWaveformView::setShowsPlayhead(bool shows)
{
    _showsPlayhead = shows;
    update();
}

void QVWaveformView::paintEvent(QPaintEvent*)
{
    const bool diagnostics = QVPlayheadDiagnostics::enabledInEnvironment();
    if (diagnostics) {
        ++_diagnostics.redrawCount;
        _diagnostics.lastRedrawTime = QVPlayheadDiagnostics::uptime();
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(white(0.055));
    painter.drawRoundedRect(QRectF(rect()), kCornerRadius, kCornerRadius);
    // Bars and lines land on whole pixels: at 1× a blurred 2-pixel bar reads as grey.
    painter.setRenderHint(QPainter::Antialiasing, false);

    const QRectF r = QRectF(rect()).adjusted(kInset, kInset, -kInset, -kInset);
    const double middle = r.center().y();
    if (_midiMode) {
        painter.setFont(mediumFont(10));
        painter.setPen(white(0.5));
        painter.drawText(r, Qt::AlignCenter, QStringLiteral("MIDI note overview reserved"));
        return;
    }
    if (_peaks.empty()) {
        painter.fillRect(QRectF(r.x(), middle - 0.5, r.width(), 1), white(0.18));
        if (_loading) {
            painter.setFont(mediumFont(9));
            painter.setPen(white(0.42));
            painter.drawText(QRectF(r.x() + 6, middle - 6, std::max(r.width() - 6, 0.0), r.height()),
                             Qt::AlignLeft | Qt::AlignTop, QStringLiteral("Loading waveform\u2026"));
        }
    }
    if (_peaks.empty() && !_showsPlayhead) return;
    // Read at every draw, so that a theme change shows at the next one.
    const qv::ThemeColors theme = qv::currentThemeColors();
    if (!_peaks.empty()) {
        const QColor unplayed = white(0.42);
        const double n = double(_peaks.size());
        const double pitch = r.width() / n;
        const double barWidth = std::max(pitch - 1, 1.0);
        const bool colourPlayed = _showsPlayhead && _progress > 0;
        for (std::size_t i = 0; i < _peaks.size(); ++i) {
            const double height = std::max(r.height() * _peaks[i], 1.0);
            const bool played = colourPlayed && double(i) / n <= _progress;
            painter.fillRect(QRectF(r.x() + pitch * double(i), middle - height / 2, barWidth, height),
                             played ? theme.waveformPlayed : unplayed);
        }
    }
    if (_showsPlayhead) {
        const QColor playhead = towardsWhite(theme.accent, 0.12);
        painter.fillRect(QRectF(r.x() + r.width() * _progress, r.y(), 1, r.height()), playhead);
        if (diagnostics) {
            _diagnostics.lastDrawnProgress = _progress;
            _diagnostics.hasDrawnProgress = true;
        }
    }
}

double QVWaveformView::seekPosition(double x, double width, double duration)
{
    return std::clamp(x / std::max(width, 1.0) * duration, 0.0, duration);
}

void QVWaveformView::seekTo(double x)
{
    if (!isEnabled() || _midiMode || _duration <= 0) return;
    const double position = seekPosition(x, width(), _duration);
    _value = position;
    setProgress(position / _duration);
    emit seekRequested(position);
}

void QVWaveformView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    seekTo(event->position().x());
}

void QVWaveformView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return QWidget::mouseDoubleClickEvent(event);
    if (isSignalConnected(QMetaMethod::fromSignal(&QVWaveformView::doubleClicked))) {
        emit doubleClicked();
        return;
    }
    seekTo(event->position().x());
}

void QVWaveformView::mouseMoveEvent(QMouseEvent* event)
{
    // Qt delivers moves here only while a button is held (no mouse tracking).
    if (event->buttons() & Qt::LeftButton) seekTo(event->position().x());
}
