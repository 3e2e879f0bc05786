#include "sidebar_views.h"

#include <QTreeWidgetItemIterator>

#include "icons.h"
#include "results_view.h"

#include <QBoxLayout>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>
#include <QToolButton>

namespace {

constexpr int kPathRole = Qt::UserRole;
constexpr int kNodeRole = Qt::UserRole + 1;
constexpr int kPopulatedRole = Qt::UserRole + 2;
constexpr int kLibraryRootRole = Qt::UserRole + 3;
constexpr int kPlaylistRole = Qt::UserRole;

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

qv::FolderTree::Node nodeOf(const QTreeWidgetItem* item)
{
    return item->data(0, kNodeRole).value<quint32>();
}

std::vector<std::int64_t> droppedIds(const QMimeData* mime)
{
    std::vector<std::int64_t> ids;
    if (!mime) return ids;
    for (const QByteArray& part : mime->data(QString::fromLatin1(kSampleIdsMimeType)).split(',')) {
        bool ok = false;
        const qlonglong id = part.toLongLong(&ok);
        if (ok) ids.push_back(id);
    }
    return ids;
}

} // namespace

void QVFolderTreeView::setIconTint(const QColor& tint)
{
    _folderIcon = qv::symbolIcon(QStringLiteral("folder"), tint);
    for (QTreeWidgetItemIterator it(this); *it; ++it) {
        if (!pathOf(*it).isEmpty()) (*it)->setIcon(0, _folderIcon);
    }
}

QVFolderTreeView::QVFolderTreeView(QColor iconTint, QWidget* parent)
    : QTreeWidget(parent)
    , _folderIcon(qv::symbolIcon(QStringLiteral("folder"), iconTint))
{
    setHeaderHidden(true);
    setColumnCount(1);
    setFocusPolicy(Qt::NoFocus);
    setIndentation(14);
    setIconSize(QSize(16, 16));
    setUniformRowHeights(true);
    setTextElideMode(Qt::ElideRight);
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QTreeWidget::itemExpanded, this, &QVFolderTreeView::populate);
    connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
        const QList<QTreeWidgetItem*> selected = selectedItems();
        if (!selected.isEmpty()) emit folderSelected(pathOf(selected.front()), selected.front()->text(0));
    });
    connect(this, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        QTreeWidgetItem* item = itemAt(at);
        if (item && !pathOf(item).isEmpty()) {
            emit folderMenuRequested(pathOf(item), isLibraryRoot(item), viewport()->mapToGlobal(at));
        }
    });
}

QTreeWidgetItem* QVFolderTreeView::makeItem(qv::FolderTree::Node node, bool libraryRoot)
{
    const std::string_view name = _tree.name(node);
    auto* item = new QTreeWidgetItem({QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))});
    const QString path = qs(_tree.path(node));
    item->setIcon(0, _folderIcon);
    item->setData(0, kPathRole, path);
    item->setData(0, kNodeRole, QVariant::fromValue<quint32>(node));
    item->setData(0, kLibraryRootRole, libraryRoot);
    item->setToolTip(0, path);
    item->setSizeHint(0, QSize(170, 22));
    item->setChildIndicatorPolicy(_tree.hasChildren(node) ? QTreeWidgetItem::ShowIndicator
                                                          : QTreeWidgetItem::DontShowIndicator);
    if (path.isEmpty()) item->setFlags(item->flags() & ~Qt::ItemIsSelectable); // the "SAMPLE" placeholder
    return item;
}

void QVFolderTreeView::populate(QTreeWidgetItem* item)
{
    if (item->data(0, kPopulatedRole).toBool()) return;
    item->setData(0, kPopulatedRole, true);
    QList<QTreeWidgetItem*> children;
    for (const qv::FolderTree::Node child : _tree.children(nodeOf(item))) children.append(makeItem(child, false));
    item->addChildren(children);
}

void QVFolderTreeView::setTree(qv::FolderTree tree)
{
    const QSignalBlocker quiet(this);
    // A reload (a scan finished) keeps the folders the producer opened, and the scroll.
    QSet<QString> expanded;
    for (QTreeWidgetItemIterator it(this); *it; ++it) {
        if ((*it)->isExpanded()) expanded.insert(pathOf(*it));
    }
    const int scrolled = verticalScrollBar()->value();
    clear();
    _tree = std::move(tree);
    // A library at the root, or the placeholder, is shown itself; an unnamed root stands
    // for several libraries and shows them.
    QList<QTreeWidgetItem*> top;
    const qv::FolderTree::Node root = _tree.root();
    if (_tree.isLibrary(root) || !_tree.hasChildren(root)) {
        top.append(makeItem(root, _tree.isLibrary(root)));
    } else {
        for (const qv::FolderTree::Node library : _tree.children(root)) top.append(makeItem(library, true));
    }
    addTopLevelItems(top);
    for (QList<QTreeWidgetItem*> open = top; !open.isEmpty();) {
        QTreeWidgetItem* item = open.takeLast();
        if (!expanded.contains(pathOf(item))) continue;
        populate(item);
        item->setExpanded(true);
        for (int i = 0; i < item->childCount(); ++i) open.append(item->child(i));
    }
    verticalScrollBar()->setValue(scrolled);
}

QTreeWidgetItem* QVFolderTreeView::revealChain(const std::vector<qv::FolderTree::Node>& chain)
{
    QTreeWidgetItem* item = nullptr;
    for (std::size_t depth = 0; depth < chain.size(); ++depth) {
        QTreeWidgetItem* found = nullptr;
        const int count = item ? item->childCount() : topLevelItemCount();
        for (int i = 0; i < count && !found; ++i) {
            QTreeWidgetItem* candidate = item ? item->child(i) : topLevelItem(i);
            if (nodeOf(candidate) == chain[depth]) found = candidate;
        }
        if (!found) return nullptr;
        item = found;
        if (depth + 1 < chain.size()) {
            populate(item);
            item->setExpanded(true);
        }
    }
    return item;
}

QString QVFolderTreeView::pathOf(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kPathRole).toString() : QString();
}

bool QVFolderTreeView::isLibraryRoot(const QTreeWidgetItem* item)
{
    return item && item->data(0, kLibraryRootRole).toBool();
}

QVPlaylistList::QVPlaylistList(QWidget* parent)
    : QListWidget(parent)
{
    setFocusPolicy(Qt::NoFocus);
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    setDropIndicatorShown(false);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setTextElideMode(Qt::ElideRight);
    connect(this, &QListWidget::itemSelectionChanged, this, [this] {
        if (_quiet) return;
        const QList<QListWidgetItem*> selected = selectedItems();
        if (!selected.isEmpty()) emit playlistSelected(selected.front()->data(kPlaylistRole).toLongLong());
    });
    connect(this, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        if (QListWidgetItem* item = itemAt(at)) {
            emit playlistMenuRequested(item->data(kPlaylistRole).toLongLong(), viewport()->mapToGlobal(at));
        }
    });
}

void QVPlaylistList::setPlaylists(const std::vector<qv::Playlist>& playlists)
{
    _quiet = true;
    clear();
    _dropTarget = nullptr;
    for (const qv::Playlist& playlist : playlists) {
        auto* item = new QListWidgetItem(qv::symbolIcon(QStringLiteral("view-media-playlist"), palette().color(QPalette::PlaceholderText)),
                                         qs(playlist.name), this);
        item->setData(kPlaylistRole, static_cast<qlonglong>(playlist.id));
        item->setToolTip(qs(playlist.name));
        item->setSizeHint(QSize(170, 24));
    }
    _quiet = false;
}

QListWidgetItem* QVPlaylistList::itemForId(std::int64_t playlistId) const
{
    for (int i = 0; i < count(); ++i) {
        if (item(i)->data(kPlaylistRole).toLongLong() == playlistId) return item(i);
    }
    return nullptr;
}

void QVPlaylistList::showSelected(std::optional<std::int64_t> playlistId)
{
    _quiet = true;
    QListWidgetItem* target = playlistId ? itemForId(*playlistId) : nullptr;
    if (target) {
        setCurrentItem(target);
        scrollToItem(target);
    } else {
        clearSelection();
    }
    _quiet = false;
}

void QVPlaylistList::setDropTarget(QListWidgetItem* item)
{
    if (_dropTarget == item) return;
    if (_dropTarget) _dropTarget->setBackground(QBrush());
    _dropTarget = item;
    if (_dropTarget) _dropTarget->setBackground(palette().color(QPalette::Highlight).darker(140));
}

void QVPlaylistList::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasFormat(QString::fromLatin1(kSampleIdsMimeType))) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void QVPlaylistList::dragMoveEvent(QDragMoveEvent* event)
{
    QListWidgetItem* item = itemAt(event->position().toPoint());
    setDropTarget(item);
    if (event->mimeData()->hasFormat(QString::fromLatin1(kSampleIdsMimeType))) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
}

void QVPlaylistList::dragLeaveEvent(QDragLeaveEvent* event)
{
    setDropTarget(nullptr);
    QListWidget::dragLeaveEvent(event);
}

void QVPlaylistList::dropEvent(QDropEvent* event)
{
    QListWidgetItem* item = itemAt(event->position().toPoint());
    setDropTarget(nullptr);
    const std::vector<std::int64_t> ids = droppedIds(event->mimeData());
    if (ids.empty()) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (item) {
        emit samplesDropped(item->data(kPlaylistRole).toLongLong(), ids);
    } else {
        emit samplesDroppedOutsidePlaylists(ids);
    }
}

void QVPlaylistList::paintEvent(QPaintEvent* event)
{
    QListWidget::paintEvent(event);
    if (count() > 0) return;
    // An empty list says how it fills, rather than leaving a hole.
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    QFont font = painter.font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    painter.setFont(font);
    painter.drawText(viewport()->rect().adjusted(6, 4, -6, -4), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
                     tr("Drag samples here from the results, or press +, to make a playlist."));
}

QVBreadcrumbBar::QVBreadcrumbBar(QWidget* parent)
    : QWidget(parent)
    , _row(new QHBoxLayout(this))
    , _back(new QToolButton(this))
{
    setObjectName(QStringLiteral("breadcrumbs"));
    _row->setContentsMargins(0, 0, 0, 0);
    _row->setSpacing(2);
    _back->setText(QStringLiteral("\u2039"));
    _back->setObjectName(QStringLiteral("crumbBack"));
    _back->setToolTip(QStringLiteral("Back"));
    _back->setAutoRaise(true);
    _back->setFocusPolicy(Qt::NoFocus);
    _back->setCursor(Qt::PointingHandCursor);
    connect(_back, &QToolButton::clicked, this, &QVBreadcrumbBar::backPressed);
    _row->addWidget(_back);
    _row->addStretch(1);
}

void QVBreadcrumbBar::setEntries(const std::vector<qv::BreadcrumbEntry>& entries, bool canGoBack)
{
    _back->setEnabled(canGoBack);
    if (entries == _entries && !_crumbs.empty()) return;
    _entries = entries;
    for (QWidget* crumb : _crumbs) crumb->deleteLater();
    _crumbs.clear();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i > 0) {
            auto* separator = new QLabel(QStringLiteral("\u203a"), this);
            separator->setObjectName(QStringLiteral("crumbSeparator"));
            _crumbs.push_back(separator);
            _row->insertWidget(_row->count() - 1, separator);
        }
        auto* crumb = new QPushButton(qs(entries[i].title), this);
        crumb->setObjectName(i + 1 == entries.size() ? QStringLiteral("crumbCurrent") : QStringLiteral("crumb"));
        crumb->setFlat(true);
        crumb->setFocusPolicy(Qt::NoFocus);
        crumb->setCursor(Qt::PointingHandCursor);
        if (entries[i].kind == "folder") crumb->setToolTip(qs(entries[i].value));
        if (entries[i].kind == "section") crumb->setToolTip(QStringLiteral("Show every type"));
        connect(crumb, &QPushButton::clicked, this, [this, i] { emit entryPressed(static_cast<int>(i)); });
        _crumbs.push_back(crumb);
        _row->insertWidget(_row->count() - 1, crumb);
    }
}
