#include "result_row.h"

#include "db/database.h"
#include "playback_logic.h"
#include "sample.h"
#include "theme_colors.h"
#include "waveform_disk_cache.h"
#include "waveform_view.h"

#include <QDir>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>

namespace {

constexpr int kSampleHeight = 56;
constexpr int kLibraryHeight = 76;
constexpr int kPlaySize = 30;
constexpr int kHeartSize = 26;
const QString kPlayGlyph = QStringLiteral("\u25B6");
const QString kPauseGlyph = QStringLiteral("\u2161");
const QString kSeparator = QStringLiteral(" \u00B7 ");
const QColor kOfflineColour(0xe5, 0xa5, 0x4b);

// Secondary text: the window text most of the way towards the background.
QColor mutedColour(const QPalette& palette)
{
    const QColor text = palette.color(QPalette::WindowText);
    const QColor back = palette.color(QPalette::Window);
    auto mix = [](int a, int b) { return (a * 55 + b * 45) / 100; };
    return QColor(mix(text.red(), back.red()), mix(text.green(), back.green()), mix(text.blue(), back.blue()));
}

// A glyph on a flat button; the round kind sits on a faint disc that takes the theme's
// accent while active. Painted by hand: style sheets on 50 pooled rows cost more.
class GlyphButton : public QToolButton {
public:
    GlyphButton(bool round, QWidget* parent)
        : QToolButton(parent)
        , _round(round)
    {
        setFocusPolicy(Qt::NoFocus); // the results view keeps the keyboard
        setCursor(Qt::PointingHandCursor);
        setAttribute(Qt::WA_Hover);
    }

    void setActive(bool active)
    {
        if (active == _active) return;
        _active = active;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool hot = underMouse();
        QColor glyph = palette().color(QPalette::WindowText);
        if (_round) {
            QColor fill = _active ? qv::currentThemeColors().accent : QColor(255, 255, 255, isDown() ? 60 : hot ? 42 : 24);
            painter.setPen(Qt::NoPen);
            painter.setBrush(fill);
            painter.drawEllipse(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
        } else {
            glyph = _active ? qv::currentThemeColors().accent.lighter(125) : mutedColour(palette());
            if (hot) glyph = glyph.lighter(135);
        }
        painter.setPen(glyph);
        QRectF area = rect();
        // The triangle's weight sits left of its box; nudge it to look centred in the disc.
        if (text() == kPlayGlyph) area.translate(1, 0);
        painter.drawText(area, Qt::AlignCenter, text());
    }

private:
    bool _round;
    bool _active = false;
};

// One line of text, elided in the middle (a file's extension and a path's last folder
// stay readable); it asks for no width of its own.
class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(QWidget* parent)
        : QLabel(parent)
    {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        setTextFormat(Qt::PlainText);
    }

    void setFullText(const QString& text)
    {
        if (text == _full) return;
        _full = text;
        elide();
    }
    const QString& fullText() const { return _full; }

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        QLabel::resizeEvent(event);
        elide();
    }

private:
    void elide() { setText(fontMetrics().elidedText(_full, Qt::ElideMiddle, std::max(width(), 0))); }

    QString _full;
};

QString link(const QString& field, const QString& value, const QString& shown, const QString& colour)
{
    return QStringLiteral("<a href=\"%1:%2\" style=\"color:%3; text-decoration:none\">%4</a>")
        .arg(field, QString::fromLatin1(QUrl::toPercentEncoding(value)), colour, shown.toHtmlEscaped());
}

// The metadata line: it refits its parts whenever the layout gives it a new width.
class MetadataLabel : public QLabel {
public:
    MetadataLabel(QWidget* parent, std::function<void()> resized)
        : QLabel(parent)
        , _resized(std::move(resized))
    {
    }

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        QLabel::resizeEvent(event);
        _resized();
    }

private:
    std::function<void()> _resized;
};

} // namespace

QVResultRow::QVResultRow(qv::WaveformQueue& queue, QWidget* parent)
    : QWidget(parent)
    , _play(new GlyphButton(true, this))
    , _name(new ElidedLabel(this))
    , _detail(new ElidedLabel(this))
    , _metadata(new MetadataLabel(this, [this] { fitMetadata(); }))
    , _heart(new GlyphButton(false, this))
    , _waveform(new QVWaveformView(this, &queue))
{
    setAttribute(Qt::WA_Hover);
    setFixedHeight(kSampleHeight);

    _play->setFixedSize(kPlaySize, kPlaySize);
    _play->setText(kPlayGlyph);
    _play->setToolTip(tr("Play preview"));
    QFont glyphFont = _play->font();
    glyphFont.setPixelSize(12);
    _play->setFont(glyphFont);

    QFont bold = _name->font();
    bold.setBold(true);
    _name->setFont(bold);

    QFont small = _metadata->font();
    small.setPointSizeF(small.pointSizeF() * 0.88);
    _metadata->setFont(small);
    _metadata->setTextFormat(Qt::RichText);
    _metadata->setTextInteractionFlags(Qt::LinksAccessibleByMouse);
    _metadata->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    _detail->setFont(small);
    _detail->hide();

    QFont heartFont = _heart->font();
    heartFont.setPixelSize(17);
    _heart->setFont(heartFont);
    _heart->setFixedSize(kHeartSize, kHeartSize);
    _heart->setText(QStringLiteral("\u2661"));

    _waveform->setFocusPolicy(Qt::NoFocus);
    _waveform->setFixedHeight(40);
    _waveform->setMinimumWidth(240);
    _waveform->setMaximumWidth(380);
    _waveform->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    auto* text = new QVBoxLayout;
    text->setContentsMargins(0, 0, 0, 0);
    text->setSpacing(2);
    text->addStretch(1);
    text->addWidget(_name);
    text->addWidget(_detail);
    text->addWidget(_metadata);
    text->addStretch(1);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 0, 14, 0);
    layout->setSpacing(12);
    layout->addWidget(_play);
    layout->addLayout(text, 3);
    layout->addWidget(_heart);
    layout->addWidget(_waveform, 1);

    connect(_play, &QToolButton::clicked, this, [this] { emit playClicked(_row); });
    connect(_heart, &QToolButton::clicked, this, [this] { emit heartClicked(_row); });
    connect(_metadata, &QLabel::linkActivated, this, [this](const QString& href) {
        const auto [field, value] = parseMetadataLink(href);
        if (!field.isEmpty()) emit metadataLinkActivated(_row, field, value);
    });
    connect(_waveform, &QVWaveformView::seekRequested, this, [this](double seconds) { emit waveformSeek(_row, seconds); });
    connect(_waveform, &QVWaveformView::doubleClicked, this, [this] { emit waveformDoubleClicked(_row); });
}

void QVResultRow::configure(const qv::Sample& sample, int row)
{
    _row = row;
    setLibraryMode(false);
    const QString path = QString::fromStdString(sample.path);
    static_cast<ElidedLabel*>(_name)->setFullText(QString::fromStdString(sample.filename));
    _name->setToolTip(path);
    _metadataParts = metadataParts(sample);
    fitMetadata();

    _heart->setText(sample.favorite ? QStringLiteral("\u2665") : QStringLiteral("\u2661"));
    _heart->setToolTip(sample.favorite ? tr("Remove from favourites") : tr("Add to favourites"));
    static_cast<GlyphButton*>(_heart)->setActive(sample.favorite);

    if (sample.type == qv::SampleType::MIDI) {
        if (!_waveform->midiMode()) _waveform->showMIDIPlaceholder();
        return;
    }
    const auto fileSize = static_cast<std::uint64_t>(sample.fileSize);
    // The same file again (a refreshed page, a new favourite): keep what is shown or coming.
    const bool same = _waveform->cacheKey() == qv::waveformCacheKey(path, sample.modifiedAt, fileSize);
    if (!same || (!_waveform->loading() && _waveform->peaks().empty())) {
        _waveform->loadCachedAudioAtPath(path, sample.modifiedAt, fileSize);
    }
}

void QVResultRow::configureLibrary(const qv::Library& library, bool available, int row)
{
    _row = row;
    setLibraryMode(true);
    const QString path = QString::fromStdString(library.path);
    QString label = QString::fromStdString(library.displayLabel);
    if (label.isEmpty()) label = QDir(path).dirName();
    if (label.isEmpty()) label = path;
    static_cast<ElidedLabel*>(_name)->setFullText(label);
    _name->setToolTip(path);
    static_cast<ElidedLabel*>(_detail)->setFullText(path);

    QString line = QString::asprintf("%lld samples", static_cast<long long>(library.sampleCount)).toHtmlEscaped();
    if (!available) {
        line += kSeparator + QStringLiteral("<span style=\"color:%1\">%2</span>").arg(kOfflineColour.name(), tr("Offline"));
    }
    _metadata->setText(QStringLiteral("<span style=\"color:%1\">%2</span>").arg(mutedColour(palette()).name(), line));
}

void QVResultRow::fitMetadata()
{
    if (_libraryRow) return;
    const QString html = metadataHtml(_metadataParts, mutedColour(palette()), _metadata->fontMetrics(), _metadata->width());
    if (html != _metadata->text()) _metadata->setText(html);
}

void QVResultRow::setLibraryMode(bool library)
{
    if (library == _libraryRow) return;
    _libraryRow = library;
    setFixedHeight(library ? kLibraryHeight : kSampleHeight);
    _play->setVisible(!library);
    _heart->setVisible(!library);
    _waveform->setVisible(!library);
    _detail->setVisible(library);
    if (library) {
        _waveform->clear();
        setPlaying(false);
    }
}

QString QVResultRow::fileName() const
{
    return static_cast<const ElidedLabel*>(_name)->fullText();
}

void QVResultRow::setSelected(bool selected)
{
    if (selected == _selected) return;
    _selected = selected;
    update();
}

void QVResultRow::setPlaying(bool playing)
{
    if (playing == _playing) return;
    _playing = playing;
    _play->setText(playing ? kPauseGlyph : kPlayGlyph);
    _play->setToolTip(playing ? tr("Pause") : tr("Play preview"));
    static_cast<GlyphButton*>(_play)->setActive(playing);
}

std::vector<QVResultRow::MetadataPart> QVResultRow::metadataParts(const qv::Sample& sample)
{
    std::vector<MetadataPart> parts;
    const QString type = QString::fromStdString(qv::toString(sample.type));
    parts.push_back({QStringLiteral("type"), type, type});
    if (!sample.instrument.empty()) {
        const QString instrument = QString::fromStdString(sample.instrument);
        parts.push_back({QStringLiteral("instrument"), instrument, instrument});
    }
    if (!sample.genre.empty()) {
        const QString genre = QString::fromStdString(sample.genre);
        parts.push_back({QStringLiteral("genre"), genre, genre});
    }
    if (!sample.musicalKey.empty() && sample.musicalKey != "None") {
        parts.push_back({QStringLiteral("key"), QString::fromStdString(sample.musicalKey),
                         QString::fromStdString(qv::displayKey(sample.musicalKey))});
    }
    if (sample.bpm) {
        const QString bpm = QString::number(*sample.bpm);
        parts.push_back({QStringLiteral("bpm"), bpm, QStringLiteral("%1 BPM").arg(bpm)});
    }
    if (sample.duration) {
        parts.push_back({QStringLiteral("duration"), QString::number(*sample.duration, 'g', 10),
                         QString::fromStdString(qv::lengthText(*sample.duration))});
    }
    return parts;
}

QString QVResultRow::metadataHtml(const std::vector<MetadataPart>& parts, const QColor& linkColour,
                                  const QFontMetrics& metrics, int width)
{
    const QString colour = linkColour.name();
    const QString ellipsis = QStringLiteral("\u2026");
    // Whole parts only, each still a link; what does not fit is marked, not cut mid-word.
    std::size_t shown = parts.size();
    if (width >= 0) {
        auto widthOf = [&](std::size_t count, bool elided) {
            QStringList texts;
            for (std::size_t i = 0; i < count; ++i) texts << parts[i].shown;
            if (elided) texts << ellipsis;
            return metrics.horizontalAdvance(texts.join(kSeparator));
        };
        if (widthOf(shown, false) > width) {
            do {
                --shown;
            } while (shown > 0 && widthOf(shown, true) > width);
        }
    }
    QStringList links;
    for (std::size_t i = 0; i < shown; ++i) links << link(parts[i].field, parts[i].value, parts[i].shown, colour);
    if (shown < parts.size()) links << ellipsis;
    return QStringLiteral("<span style=\"color:%1\">%2</span>").arg(colour, links.join(kSeparator));
}

std::pair<QString, QString> QVResultRow::parseMetadataLink(const QString& href)
{
    static const QStringList fields{QStringLiteral("type"), QStringLiteral("instrument"), QStringLiteral("genre"),
                                    QStringLiteral("key"), QStringLiteral("bpm"), QStringLiteral("duration")};
    const qsizetype colon = href.indexOf(QLatin1Char(':'));
    if (colon < 0) return {};
    const QString field = href.left(colon);
    if (!fields.contains(field)) return {};
    return {field, QUrl::fromPercentEncoding(href.mid(colon + 1).toLatin1())};
}

void QVResultRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (_selected) {
        QColor highlight = palette().color(QPalette::Highlight);
        highlight.setAlphaF(0.30f);
        painter.fillRect(rect(), highlight);
    } else if (_hovered) {
        painter.fillRect(rect(), QColor(255, 255, 255, 10));
    }
    // A hairline between rows, inset so it reads as a list rather than a grid.
    painter.fillRect(QRect(14, height() - 1, width() - 28, 1), QColor(255, 255, 255, 14));
}

void QVResultRow::enterEvent(QEnterEvent* event)
{
    _hovered = true;
    update();
    QWidget::enterEvent(event);
}

void QVResultRow::leaveEvent(QEvent* event)
{
    _hovered = false;
    update();
    QWidget::leaveEvent(event);
}
