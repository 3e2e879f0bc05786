#include "sidebar.h"

#include "db/database.h"
#include "browse_logic.h"
#include "icons.h"
#include "main_window.h"

#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>

#include <algorithm>

namespace {

constexpr int kFavoritesTag = 4;
constexpr int kLibrariesTag = 6;
constexpr int kPathRole = Qt::UserRole;

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

QVSidebar::QVSidebar(qv::Database& database, qv::BrowseState& state, QVMainWindow& window, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _state(state)
    , _window(window)
{
    for (const QVMainWindow::NavButton& nav : _window.navButtons) {
        connect(nav.button, &QPushButton::clicked, this, [this, tag = nav.tag] {
            if (tag == kFavoritesTag) {
                showFavorites();
            } else if (tag == kLibrariesTag) {
                showLibraries();
            } else {
                showAllSamples();
            }
        });
    }
    for (QPushButton* button : _window.categoryButtons) {
        connect(button, &QPushButton::clicked, this,
                [this, button] { toggleSection(button->property("sectionType").toString()); });
    }
    connect(_window.folderTree, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { selectFolder(item->data(0, kPathRole).toString()); });
    connect(_window.playlistTable, &QListWidget::itemClicked, this,
            [this](QListWidgetItem* item) { selectPlaylist(item->data(kPathRole).toLongLong()); });
}

void QVSidebar::reloadSidebars()
{
    // Library roots only: the folders below them come with the full tree, which must
    // not read every sample's path on this thread.
    _window.folderTree->clear();
    for (const qv::Library& library : _database.libraries(qv::Counts::Skipped)) {
        const QString path = qs(library.path);
        const QString name = library.displayLabel.empty() ? qs(std::filesystem::path(library.path).filename().string())
                                                          : qs(library.displayLabel);
        auto* item = new QTreeWidgetItem(_window.folderTree, {name});
        item->setIcon(0, qv::symbolIcon(QStringLiteral("folder"), _window.theme().mutedText));
        item->setData(0, kPathRole, path);
        item->setToolTip(0, path);
    }
    _window.playlistTable->clear();
    for (const qv::Playlist& playlist : _database.playlists(qv::Counts::Skipped)) {
        auto* item = new QListWidgetItem(qs(playlist.name), _window.playlistTable);
        item->setData(kPathRole, static_cast<qlonglong>(playlist.id));
    }
    syncButtons();
}

void QVSidebar::changeContext()
{
    ++_state.browseContextGeneration;
    syncButtons();
    emit contextChanged();
}

void QVSidebar::syncButtons()
{
    const bool allSamples = !_state.favoriteMode && !_state.libraryMode && _state.folderScope.empty() &&
                            !_state.playlistId;
    for (const QVMainWindow::NavButton& nav : _window.navButtons) {
        const bool on = nav.tag == kFavoritesTag ? _state.favoriteMode
                        : nav.tag == kLibrariesTag ? _state.libraryMode
                                                   : allSamples;
        nav.button->setChecked(on);
    }
    for (QPushButton* button : _window.categoryButtons) {
        button->setChecked(button->property("sectionType").toString() == qs(_state.sectionType));
    }
    if (_state.folderScope.empty()) _window.folderTree->clearSelection();
    if (!_state.playlistId) _window.playlistTable->clearSelection();
}

void QVSidebar::setPlace(Place place)
{
    _state.favoriteMode = place == Place::Favorites;
    _state.libraryMode = place == Place::Libraries;
    _state.folderScope.clear();
    _state.playlistId.reset();
}

void QVSidebar::showAllSamples()
{
    setPlace(Place::AllSamples);
    changeContext();
}

void QVSidebar::showFavorites()
{
    setPlace(Place::Favorites);
    changeContext();
}

void QVSidebar::showLibraries()
{
    setPlace(Place::Libraries);
    changeContext();
}

void QVSidebar::toggleSection(const QString& type)
{
    const std::string wanted = type.toStdString();
    _state.sectionType = _state.sectionType == wanted ? std::string() : wanted;
    _state.libraryMode = false;
    changeContext();
}

void QVSidebar::selectFolder(const QString& path)
{
    setPlace(Place::AllSamples);
    _state.folderScope = path.toStdString();
    changeContext();
}

void QVSidebar::selectPlaylist(std::int64_t id)
{
    setPlace(Place::AllSamples);
    _state.playlistId = id;
    changeContext();
}

void QVSidebar::applyLink(const QString& field, const QString& value)
{
    if (field == QLatin1String("type")) {
        _state.sectionType = value.toStdString();
        _state.libraryMode = false;
    } else {
        return;
    }
    changeContext();
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
