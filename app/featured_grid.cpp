#include "featured_grid.h"

#include "featured_items.h"

#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {
constexpr int kCardHeight = 44;
constexpr int kAvatarSide = 32;
constexpr int kCardMinWidth = 120;

// The first local image file among dropped URLs; empty when there is none.
QString droppedImage(const QMimeData* mime)
{
    if (!mime || !mime->hasUrls()) return {};
    for (const QUrl& url : mime->urls()) {
        if (!url.isLocalFile()) continue;
        const QString path = url.toLocalFile();
        if (!QImageReader::imageFormat(path).isEmpty()) return path;
    }
    return {};
}
} // namespace

QPixmap featuredAvatar(const QVariantMap& entry, int side, const qv::WindowTheme& theme)
{
    const qreal ratio = 2.0; // sharp on high-density screens too
    QPixmap pixmap(QSize(side, side) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing);
    QPainterPath tile;
    tile.addRoundedRect(QRectF(0, 0, side, side), side * 0.22, side * 0.22);
    painter.setClipPath(tile);

    const QString avatarPath = entry.value(QStringLiteral("avatar")).toString();
    const QImage image = avatarPath.isEmpty() ? QImage() : QImage(avatarPath);
    if (!image.isNull()) {
        painter.drawImage(QRectF(0, 0, side, side), image);
        return pixmap;
    }
    // Different sets get different shades of the one accent, stable per title.
    const QString title = entry.value(QStringLiteral("title")).toString();
    const int shade = int(qHash(title) % 5);
    const QColor top = theme.accent.lighter(95 + shade * 18);
    const QColor bottom = theme.accent.darker(140 + shade * 25);
    QLinearGradient fill(0, 0, side, side);
    fill.setColorAt(0, top);
    fill.setColorAt(1, bottom);
    painter.fillRect(QRectF(0, 0, side, side), fill);

    const QString initial = title.trimmed().isEmpty() ? QStringLiteral("?") : title.trimmed().left(1).toUpper();
    QFont font = painter.font();
    font.setPixelSize(int(side * 0.5));
    font.setWeight(QFont::Bold);
    painter.setFont(font);
    painter.setPen(QColor(255, 255, 255, 235));
    painter.drawText(QRectF(0, 0, side, side), Qt::AlignCenter, initial);
    return pixmap;
}

QVFeaturedCard::QVFeaturedCard(const QVariantMap& entry, const qv::WindowTheme& theme, QWidget* parent)
    : QWidget(parent)
    , _title(entry.value(QStringLiteral("title")).toString())
    , _avatar(featuredAvatar(entry, kAvatarSide, theme))
    , _theme(theme)
{
    const bool folder = entry.value(QStringLiteral("kind")).toString() == QLatin1String("folder");
    _subtitle = folder ? QStringLiteral("Folder") : QStringLiteral("Playlist");
    setToolTip(folder ? entry.value(QStringLiteral("value")).toString() : _title);
    setCursor(Qt::PointingHandCursor);
    setAcceptDrops(true);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize QVFeaturedCard::sizeHint() const { return {180, kCardHeight}; }
QSize QVFeaturedCard::minimumSizeHint() const { return {kCardMinWidth, kCardHeight}; }

void QVFeaturedCard::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(_hovered ? _theme.accent : _theme.panel.lighter(150), 1));
    painter.setBrush(_hovered ? _theme.panel.lighter(135) : _theme.panel.lighter(118));
    painter.drawRoundedRect(frame, 8, 8);

    const int margin = (height() - kAvatarSide) / 2;
    painter.drawPixmap(margin, margin, _avatar);

    const int textLeft = margin + kAvatarSide + 9;
    const QRect textRect(textLeft, margin - 1, width() - textLeft - margin, kAvatarSide + 2);
    QFont titleFont = font();
    titleFont.setWeight(QFont::DemiBold);
    painter.setFont(titleFont);
    painter.setPen(palette().color(QPalette::WindowText));
    const QFontMetrics titleMetrics(titleFont);
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignTop,
                     titleMetrics.elidedText(_title, Qt::ElideRight, textRect.width()));
    QFont smallFont = font();
    smallFont.setPixelSize(10);
    painter.setFont(smallFont);
    painter.setPen(_theme.mutedText);
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignBottom, _subtitle);
}

void QVFeaturedCard::enterEvent(QEnterEvent*)
{
    _hovered = true;
    update();
}

void QVFeaturedCard::leaveEvent(QEvent*)
{
    _hovered = false;
    update();
}

void QVFeaturedCard::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) emit clicked();
}

void QVFeaturedCard::contextMenuEvent(QContextMenuEvent* event) { emit menuRequested(event->globalPos()); }

void QVFeaturedCard::dragEnterEvent(QDragEnterEvent* event)
{
    if (droppedImage(event->mimeData()).isEmpty()) return event->ignore();
    event->acceptProposedAction();
    _hovered = true;
    update();
}

void QVFeaturedCard::dragLeaveEvent(QDragLeaveEvent*)
{
    _hovered = false;
    update();
}

void QVFeaturedCard::dropEvent(QDropEvent* event)
{
    _hovered = false;
    update();
    const QString path = droppedImage(event->mimeData());
    if (path.isEmpty()) return event->ignore();
    event->acceptProposedAction();
    emit imageDropped(path);
}

QVFeaturedGrid::QVFeaturedGrid(const qv::WindowTheme& theme, QWidget* parent)
    : QWidget(parent)
    , _theme(theme)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    _title = new QLabel(QStringLiteral("Featured"), this);
    _title->setObjectName(QStringLiteral("discoveryTitle"));
    _hint = new QLabel(QStringLiteral("Pin your favourite folders and playlists here for one-click access."), this);
    _hint->setObjectName(QStringLiteral("caption"));
    _cardArea = new QWidget(this);
    _cardGrid = new QGridLayout(_cardArea);
    _cardGrid->setContentsMargins(0, 0, 0, 0);
    _cardGrid->setHorizontalSpacing(8);
    _cardGrid->setVerticalSpacing(8);
    layout->addWidget(_title, 0, Qt::AlignTop);
    layout->addWidget(_hint, 1);
    layout->addWidget(_cardArea, 1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    setEntries({}, qv::featuredColumns(0));
}

void QVFeaturedGrid::setTheme(const qv::WindowTheme& theme)
{
    _theme = theme;
    setEntries(QVariantList(_entries), _columns);
}

void QVFeaturedGrid::setEntries(const QVariantList& entries, int columns)
{
    _entries = entries;
    _columns = columns;
    qDeleteAll(_cards);
    _cards.clear();
    for (int column = 0; column < _cardGrid->columnCount(); ++column) _cardGrid->setColumnStretch(column, 0);

    const int capacity = columns * qv::kFeaturedRows;
    _firstShown = std::max(0, int(entries.size()) - capacity);
    for (int index = _firstShown; index < entries.size(); ++index) {
        auto* card = new QVFeaturedCard(entries.at(index).toMap(), _theme, _cardArea);
        const int shown = index - _firstShown;
        _cardGrid->addWidget(card, shown / columns, shown % columns);
        connect(card, &QVFeaturedCard::clicked, this, [this, index] { emit openRequested(index); });
        connect(card, &QVFeaturedCard::imageDropped, this,
                [this, index](const QString& path) { emit avatarDropped(index, path); });
        connect(card, &QVFeaturedCard::menuRequested, this, [this, index](const QPoint& where) {
            QMenu* menu = cardMenu(index, this);
            menu->setAttribute(Qt::WA_DeleteOnClose);
            menu->popup(where);
        });
        _cards.append(card);
    }
    // Every column the same width, filled or not, so one card does not span the window.
    for (int column = 0; column < columns; ++column) _cardGrid->setColumnStretch(column, 1);
    // Beside cards the heading sits level with the first row.
    _title->setMinimumHeight(_cards.isEmpty() ? 0 : kCardHeight);
    _hint->setVisible(_cards.isEmpty());
    _cardArea->setVisible(!_cards.isEmpty());
}

QMenu* QVFeaturedGrid::cardMenu(int index, QWidget* parent)
{
    auto* menu = new QMenu(parent);
    connect(menu->addAction(QStringLiteral("Rename\u2026")), &QAction::triggered, this,
            [this, index] { emit renameRequested(index); });
    connect(menu->addAction(QStringLiteral("Remove from Featured")), &QAction::triggered, this,
            [this, index] { emit removeRequested(index); });
    return menu;
}
