#include "sidebar.h"

#include "db/database.h"
#include "main_window.h"
#include "sidebar_views.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QTimer>
#include <QPushButton>
#include <QSettings>
#include <QSignalBlocker>

#include <algorithm>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

// The folder read churns a few hundred megabytes at a million samples, all freed once
// the tree is built; glibc keeps such memory unless asked to give it back.
void returnFreedMemory()
{
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

} // namespace

QVSidebar::QVSidebar(qv::Database& database, qv::BrowseState& state, QVMainWindow& window, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _state(state)
    , _window(window)
{
    _reader.setMaxThreadCount(1);
    for (const QVMainWindow::TaggedButton& nav : _window.navButtons) {
        connect(nav.button, &QPushButton::clicked, this, [this, tag = nav.tag] { pressButton(tag); });
    }
    for (const QVMainWindow::TaggedButton& type : _window.typeButtons) {
        connect(type.button, &QPushButton::clicked, this, [this, tag = type.tag] { pressButton(tag); });
    }
    connect(_window.folderTree, &QVFolderTreeView::folderSelected, this, &QVSidebar::folderSelected);
    connect(_window.playlistTable, &QVPlaylistList::playlistSelected, this, &QVSidebar::playlistSelected);
    connect(_window.breadcrumbs, &QVBreadcrumbBar::entryPressed, this, &QVSidebar::breadcrumbPressed);
    connect(_window.breadcrumbs, &QVBreadcrumbBar::backPressed, this, &QVSidebar::breadcrumbBack);
    syncButtons();
}

QVSidebar::~QVSidebar()
{
    _reader.waitForDone();
}

void QVSidebar::reloadSidebars()
{
    // The libraries show at once, as the tree's top; their folders follow from the read.
    if (!_treeLoaded) {
        std::vector<qv::IndexedFolder> roots;
        for (const qv::Library& library : _database.libraries(qv::Counts::Skipped)) {
            roots.push_back({library.path, library.path, library.displayLabel});
        }
        _window.folderTree->setTree(qv::buildFolderTree(roots));
    }
    reloadPlaylists();
    syncButtons();
    updateBreadcrumb();
    const std::uint64_t generation = ++_treeGeneration;
    QTimer::singleShot(0, this, [this, generation] {
        if (generation == _treeGeneration) loadFolderTree();
    });
}

void QVSidebar::loadFolderTree()
{
    const std::uint64_t generation = _treeGeneration;
    QPointer<QVSidebar> self(this);
    _reader.start([this, self, generation] {
        // The distinct folders, not every sample's path: a million paths would take
        // seconds.
        auto tree = std::make_shared<qv::FolderTree>(qv::buildFolderTree(_database.indexedFolders()));
        returnFreedMemory();
        QMetaObject::invokeMethod(
            qApp,
            [self, generation, tree] {
                if (!self || generation != self->_treeGeneration) return;
                QVFolderTreeView& view = *self->_window.folderTree;
                view.setTree(std::move(*tree));
                self->_treeLoaded = true;
                // The folder being browsed stays selected: a library chosen before its
                // folders arrived, or any folder when a scan reloads the tree.
                const auto chain = self->scopeChain();
                if (!chain.empty()) {
                    const QSignalBlocker quiet(&view);
                    if (QTreeWidgetItem* item = view.revealChain(chain)) view.setCurrentItem(item);
                }
                self->syncButtons();
                self->updateBreadcrumb();
                if (self->_launchLocationPending) {
                    self->_launchLocationPending = false;
                    self->restoreLaunchLocation();
                }
                emit self->folderTreeReloaded();
            },
            Qt::QueuedConnection);
    });
}

void QVSidebar::reloadPlaylists()
{
    _playlists = _database.playlists(qv::Counts::Skipped);
    _window.playlistTable->setPlaylists(_playlists);
    _window.playlistTable->showSelected(_state.playlistId);
}

void QVSidebar::beginPlaceChange()
{
    ++_state.browseContextGeneration;
}

QString QVSidebar::buttonTitle(int tag) const
{
    for (const auto* group : {&_window.navButtons, &_window.typeButtons}) {
        for (const QVMainWindow::TaggedButton& button : *group) {
            if (button.tag == tag) return button.title;
        }
    }
    return QStringLiteral("All Samples");
}

void QVSidebar::pressButton(int tag)
{
    beginPlaceChange();
    if (qv::pressSidebarButton(_state, _buttons, tag)) {
        _window.folderTree->clearSelection();
        setTitle(buttonTitle(tag));
    }
    syncButtons();
    emit placeChanged(true);
}

void QVSidebar::folderSelected(const QString& path, const QString& name)
{
    if (path.isEmpty()) return;
    beginPlaceChange();
    qv::selectFolderPlace(_state, _buttons, path.toStdString());
    syncButtons();
    setTitle(name);
    emit placeChanged(false);
}

void QVSidebar::playlistSelected(std::int64_t playlistId)
{
    beginPlaceChange();
    qv::selectPlaylistPlace(_state, _buttons, playlistId);
    _window.folderTree->clearSelection();
    syncButtons();
    const auto found = std::find_if(_playlists.begin(), _playlists.end(),
                                    [&](const qv::Playlist& p) { return p.id == playlistId; });
    setTitle(found != _playlists.end() ? qs(found->name) : QStringLiteral("Playlist"));
    emit placeChanged(false);
}

void QVSidebar::selectPlaylist(std::int64_t playlistId)
{
    selectPlaylistRow(playlistId);
}

void QVSidebar::selectTreeItem(QTreeWidgetItem* item)
{
    QVFolderTreeView* tree = _window.folderTree;
    // Selecting the row that is already selected reports nothing; deliver it by hand.
    if (item->isSelected()) {
        folderSelected(QVFolderTreeView::pathOf(item), item->text(0));
    } else {
        tree->setCurrentItem(item);
    }
    tree->scrollToItem(item);
}

void QVSidebar::selectPlaylistRow(std::int64_t playlistId)
{
    if (QListWidgetItem* item = _window.playlistTable->itemForId(playlistId)) {
        _window.playlistTable->showSelected(playlistId);
        _window.playlistTable->scrollToItem(item);
    }
    playlistSelected(playlistId);
}

std::vector<qv::FolderTree::Node> QVSidebar::scopeChain() const
{
    return qv::findFolderChain(_window.folderTree->tree(), _state.folderScope);
}

bool QVSidebar::navigateToFolderPath(const QString& path, bool recordHistory)
{
    if (path.isEmpty()) return false;
    const auto chain = qv::findFolderChain(_window.folderTree->tree(), path.toStdString());
    if (chain.empty()) return false;
    if (qv::standardizedPath(_state.folderScope) == qv::standardizedPath(path.toStdString())) return true;
    QTreeWidgetItem* item = _window.folderTree->revealChain(chain);
    if (!item) return false;
    if (recordHistory) _history.push(qv::breadcrumbSnapshot(_state));
    selectTreeItem(item);
    return true;
}

void QVSidebar::breadcrumbPressed(int index)
{
    const std::vector<qv::BreadcrumbEntry> entries = _window.breadcrumbs->entries();
    if (index < 0 || index >= static_cast<int>(entries.size())) return;
    const qv::BreadcrumbEntry& entry = entries[static_cast<std::size_t>(index)];
    _history.push(qv::breadcrumbSnapshot(_state));
    if (entry.kind == "all") {
        pressButton(qv::kAllTypesTag);
    } else if (entry.kind == "favorites") {
        pressButton(qv::kFavoritesTag);
    } else if (entry.kind == "libraries") {
        pressButton(qv::kLibrariesTag);
    } else if (entry.kind == "playlist") {
        bool ok = false;
        const qlonglong id = qs(entry.value).toLongLong(&ok);
        if (ok && std::any_of(_playlists.begin(), _playlists.end(), [&](const qv::Playlist& p) { return p.id == id; })) {
            selectPlaylistRow(id);
        }
    } else if (entry.kind == "folder") {
        const auto chain = qv::findFolderChain(_window.folderTree->tree(), entry.value);
        if (QTreeWidgetItem* item = chain.empty() ? nullptr : _window.folderTree->revealChain(chain)) selectTreeItem(item);
    } else if (entry.kind == "section") {
        pressButton(qv::tagForSectionType(entry.title));
    }
}

void QVSidebar::breadcrumbBack()
{
    const std::optional<qv::BreadcrumbSnapshot> snapshot = _history.pop();
    if (!snapshot) return;
    beginPlaceChange();
    qv::restoreBreadcrumbSnapshot(_state, _buttons, *snapshot);
    {
        const QSignalBlocker quietTree(_window.folderTree);
        _window.folderTree->clearSelection();
        if (snapshot->kind == "folder") {
            const auto chain = scopeChain();
            if (QTreeWidgetItem* item = chain.empty() ? nullptr : _window.folderTree->revealChain(chain)) {
                _window.folderTree->setCurrentItem(item);
                _window.folderTree->scrollToItem(item);
                setTitle(item->text(0));
            }
        }
    }
    if (snapshot->kind == "playlist" && _state.playlistId) {
        const auto found = std::find_if(_playlists.begin(), _playlists.end(),
                                        [&](const qv::Playlist& p) { return p.id == *_state.playlistId; });
        setTitle(found != _playlists.end() ? qs(found->name) : QStringLiteral("Playlist"));
    } else if (snapshot->kind != "folder") {
        setTitle(buttonTitle(_buttons.activeNav != qv::kNoButton ? _buttons.activeNav : qv::kAllSamplesTag));
    }
    syncButtons();
    emit placeChanged(true);
}

void QVSidebar::showAllTypesOnly()
{
    _buttons = {qv::kNoButton, qv::kAllTypesTag};
    _window.folderTree->clearSelection();
    setTitle(buttonTitle(qv::kAllTypesTag));
    syncButtons();
}

void QVSidebar::applyTypeLink(const QString& type)
{
    const std::string wanted = type.toStdString();
    if (wanted != "Loop" && wanted != "One Shot" && wanted != "MIDI") return;
    if (_state.sectionType == wanted) return; // pressing it would clear it
    pressButton(qv::tagForSectionType(wanted));
}

void QVSidebar::syncButtons()
{
    for (const QVMainWindow::TaggedButton& nav : _window.navButtons) nav.button->setChecked(nav.tag == _buttons.activeNav);
    for (const QVMainWindow::TaggedButton& type : _window.typeButtons) {
        type.button->setChecked(type.tag == _buttons.activeType);
    }
    _window.playlistTable->showSelected(_state.playlistId);
    if (_state.folderScope.empty()) {
        const QSignalBlocker quiet(_window.folderTree);
        _window.folderTree->clearSelection();
    }
}

void QVSidebar::setTitle(const QString& title)
{
    _title = title;
    _window.resultsTitle->setText(title);
}

void QVSidebar::updateBreadcrumb()
{
    _window.breadcrumbs->setEntries(qv::breadcrumbEntries(_state, _playlists, _window.folderTree->tree(), scopeChain()), !_history.empty());
}

bool QVSidebar::restoreLaunchLocation()
{
    if (!_treeLoaded) {
        _launchLocationPending = true;
        return false;
    }
    QSettings settings;
    const qv::LaunchLocation location = qv::readLaunchLocation(settings);
    const qv::FolderTree& tree = _window.folderTree->tree();
    const qv::LaunchAction action = qv::launchAction(
        _state.layoutMode, location,
        [&](const std::string& path) { return !qv::findFolderChain(tree, path).empty(); },
        [&](std::int64_t id) {
            return std::any_of(_playlists.begin(), _playlists.end(), [&](const qv::Playlist& p) { return p.id == id; });
        });
    switch (action) {
    case qv::LaunchAction::OpenFavorites:
        pressButton(qv::kFavoritesTag);
        return true;
    case qv::LaunchAction::OpenFolder:
        if (QTreeWidgetItem* item = _window.folderTree->revealChain(qv::findFolderChain(tree, location.folderPath))) {
            selectTreeItem(item);
            return true;
        }
        qv::clearLaunchLocation(settings);
        return false;
    case qv::LaunchAction::OpenPlaylist:
        selectPlaylistRow(*location.playlistId);
        return true;
    case qv::LaunchAction::ClearStored:
        qv::clearLaunchLocation(settings);
        return false;
    case qv::LaunchAction::Nothing:
        return false;
    }
    return false;
}

void QVSidebar::setFolderOpenAtLaunch(const QString& folder)
{
    QSettings settings;
    qv::setFolderOpenAtLaunch(settings, folder.toStdString());
}

void QVSidebar::setPlaylistOpenAtLaunch(std::int64_t playlistId)
{
    QSettings settings;
    qv::setPlaylistOpenAtLaunch(settings, playlistId);
}

void QVSidebar::setFavoritesOpenAtLaunch()
{
    QSettings settings;
    qv::setFavoritesOpenAtLaunch(settings);
}

void QVSidebar::clearLaunchLocation()
{
    QSettings settings;
    qv::clearLaunchLocation(settings);
}

QString QVSidebar::diagnosticSource() const
{
    if (_state.libraryMode) return QStringLiteral("libraries");
    if (_state.favoriteMode) return QStringLiteral("favorites");
    if (_state.playlistId) return QStringLiteral("playlist:%1").arg(*_state.playlistId);
    if (!_state.folderScope.empty()) return QStringLiteral("folder");
    if (_state.sectionType.empty()) return QStringLiteral("all");
    return QStringLiteral("category:") + qs(_state.sectionType);
}
