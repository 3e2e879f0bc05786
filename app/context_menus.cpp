#include "context_menus.h"

#include "browse_logic.h"
#include "db/database.h"
#include "edit_commands.h"
#include "filter_logic.h"
#include "sidebar.h"

#include <QActionGroup>
#include <QMenu>
#include <QSettings>

#include <algorithm>

namespace qv {

std::vector<GenreChoice> folderGenreChoices(const std::vector<std::string>& offered,
                                            const std::vector<std::string>& present)
{
    const auto has = [&](const std::string& genre) {
        return std::find(present.begin(), present.end(), genre) != present.end();
    };
    std::vector<GenreChoice> choices;
    for (const std::string& genre : offered) choices.push_back({genre, has(genre)});
    for (const std::string& genre : present) {
        if (genre.empty() || genre == "Unknown" || genre == "None") continue;
        if (std::find(offered.begin(), offered.end(), genre) == offered.end()) choices.push_back({genre, true});
    }
    return choices;
}

} // namespace qv

namespace {

// The instruments and genres of the filter chips, without "All".
std::vector<std::string> offeredChoices(int chip)
{
    std::vector<std::string> choices = qv::builtInChoices(chip);
    choices.erase(std::remove(choices.begin(), choices.end(), "All"), choices.end());
    return choices;
}

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

std::optional<qv::Library> libraryAt(const qv::Database& database, const QString& path)
{
    for (const qv::Library& library : database.libraries(qv::Counts::Skipped)) {
        if (qs(library.path) == path) return library;
    }
    return std::nullopt;
}

} // namespace

QVContextMenus::QVContextMenus(qv::Database& database, qv::BrowseState& state, QVEditCommands& edits,
                               QVSidebar& sidebar, Hooks hooks, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _state(state)
    , _edits(edits)
    , _sidebar(sidebar)
    , _hooks(std::move(hooks))
{
}

void QVContextMenus::popup(QMenu* menu, const QPoint& where)
{
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(where);
}

QMenu* QVContextMenus::rowMenu(int row, QWidget* parent)
{
    auto* menu = new QMenu(parent);
    const int count = static_cast<int>(_state.rows.size());
    if (row < 0 || row >= count) return menu;
    const std::vector<int> targets = qv::editTargets(_hooks.selectedRows(), row, count);
    const qv::Sample& clicked = _state.rows[static_cast<std::size_t>(row)];

    const struct {
        const char* title;
        std::optional<qv::SampleType> type;
    } types[] = {{"Mark as Loop", qv::SampleType::Loop},
                 {"Mark as One Shot", qv::SampleType::OneShot},
                 {"Mark as MIDI", qv::SampleType::MIDI},
                 {"Use Auto Classification", std::nullopt}};
    for (const auto& entry : types) {
        QAction* action = menu->addAction(QString::fromUtf8(entry.title));
        connect(action, &QAction::triggered, this,
                [this, targets, type = entry.type] { _edits.applyTypeOverride(targets, type); });
        // The current type is shown, for a single row.
        if (entry.type && targets.size() == 1) {
            action->setCheckable(true);
            action->setChecked(clicked.type == *entry.type);
        }
    }
    menu->addSeparator();
    QAction* love = menu->addAction(clicked.favorite ? QStringLiteral("Remove from Favorites")
                                                     : QStringLiteral("Add to Favorites"));
    connect(love, &QAction::triggered, this, [this, row] { _hooks.toggleFavorite(row); });

    QMenu* playlists = menu->addMenu(QStringLiteral("Add to Playlist"));
    for (const qv::Playlist& playlist : _sidebar.playlists()) {
        QAction* action = playlists->addAction(qs(playlist.name));
        connect(action, &QAction::triggered, this,
                [this, targets, id = playlist.id] { _edits.addRowsToPlaylist(targets, id); });
    }
    if (!_sidebar.playlists().empty()) playlists->addSeparator();
    connect(playlists->addAction(QStringLiteral("New Playlist\u2026")), &QAction::triggered, this,
            [this, targets] { _edits.newPlaylistForRows(targets); });
    if (_state.playlistId) {
        connect(menu->addAction(QStringLiteral("Remove from Playlist")), &QAction::triggered, this,
                [this, targets] { _edits.removeRowsFromPlaylist(targets); });
    }

    menu->addSeparator();
    const QString path = qs(clicked.path);
    connect(menu->addAction(QStringLiteral("Show in Folder")), &QAction::triggered, this,
            [this, path] { _hooks.showInFolder(path); });
    QStringList paths;
    for (int target : targets) paths << qs(_state.rows[static_cast<std::size_t>(target)].path);
    connect(menu->addAction(paths.size() > 1 ? QStringLiteral("Copy Paths") : QStringLiteral("Copy Path")),
            &QAction::triggered, this, [this, paths] { _hooks.copyPaths(paths); });
    return menu;
}

QMenu* QVContextMenus::libraryRowMenu(int row, QWidget* parent)
{
    auto* menu = new QMenu(parent);
    if (row < 0 || row >= static_cast<int>(_state.libs.size())) return menu;
    const qv::Library library = _state.libs[static_cast<std::size_t>(row)];
    const QString path = qs(library.path);
    const QString label = library.displayLabel.empty() ? qs(std::filesystem::path(library.path).filename().string())
                                                       : qs(library.displayLabel);
    connect(menu->addAction(QStringLiteral("Rename\u2026")), &QAction::triggered, this,
            [this, id = library.id, label] { _edits.renameLibrary(id, label); });
    connect(menu->addAction(QStringLiteral("Show in Folder")), &QAction::triggered, this,
            [this, path] { _hooks.showInFolder(path); });
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("Rescan")), &QAction::triggered, this,
            [this, path] { _hooks.rescanLibrary(path, false); });
    connect(menu->addAction(QStringLiteral("Full Scan")), &QAction::triggered, this,
            [this, path] { _hooks.rescanLibrary(path, true); });
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("Remove Library\u2026")), &QAction::triggered, this,
            [this, id = library.id, path] { _hooks.removeLibrary(id, path); });
    return menu;
}

QMenu* QVContextMenus::folderMenu(const QString& path, bool libraryRoot, QWidget* parent)
{
    auto* menu = new QMenu(parent);
    const std::string folder = path.toStdString();
    const auto aim = [this, folder] { _edits.setFolderContextPath(folder); };

    QMenu* types = menu->addMenu(QStringLiteral("Mark Folder As"));
    const struct {
        const char* title;
        std::optional<qv::SampleType> type;
    } folderTypes[] = {{"Loop", qv::SampleType::Loop}, {"One Shot", qv::SampleType::OneShot}};
    for (const auto& entry : folderTypes) {
        connect(types->addAction(QString::fromUtf8(entry.title)), &QAction::triggered, this,
                [this, aim, type = entry.type] { aim(), _edits.applyFolderType(type); });
    }
    types->addSeparator();
    connect(types->addAction(QStringLiteral("Use Auto Classification")), &QAction::triggered, this,
            [this, aim] { aim(), _edits.applyFolderType(std::nullopt); });

    QMenu* instruments = menu->addMenu(QStringLiteral("Mark Instrument"));
    for (const std::string& instrument : offeredChoices(qv::kInstrumentChip)) {
        connect(instruments->addAction(qs(instrument)), &QAction::triggered, this,
                [this, aim, instrument] { aim(), _edits.applyFolderInstrument(instrument); });
    }
    instruments->addSeparator();
    connect(instruments->addAction(QStringLiteral("Use Auto Detection")), &QAction::triggered, this,
            [this, aim] { aim(), _edits.applyFolderInstrument(std::nullopt); });

    // The genres the folder's samples have, read when the submenu opens: a large folder
    // takes a moment to list.
    QMenu* genres = menu->addMenu(QStringLiteral("Mark Genres"));
    connect(genres, &QMenu::aboutToShow, this, [this, genres, folder, aim] {
        genres->clear();
        qv::SearchQuery inFolder;
        inFolder.folder = folder;
        std::vector<std::string> present;
        try {
            present = _database.distinctFilterValues("genre", inFolder);
        } catch (const std::exception&) {
            // Without the list every genre shows unchecked; adding still works.
        }
        for (const qv::GenreChoice& choice : qv::folderGenreChoices(offeredChoices(qv::kGenreChip), present)) {
            QAction* action = genres->addAction(qs(choice.genre));
            action->setCheckable(true);
            action->setChecked(choice.present);
            connect(action, &QAction::triggered, this,
                    [this, aim, choice] { aim(), _edits.applyFolderGenre(choice.genre, choice.present); });
        }
    });

    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("Open at Launch")), &QAction::triggered, this,
            [this, path] { _sidebar.setFolderOpenAtLaunch(path); });
    if (_hooks.featureFolder) {
        connect(menu->addAction(QStringLiteral("Add to Featured")), &QAction::triggered, this,
                [this, path] { _hooks.featureFolder(path); });
    }
    connect(menu->addAction(QStringLiteral("Show in Folder")), &QAction::triggered, this,
            [this, path] { _hooks.showInFolder(path); });
    if (libraryRoot) {
        if (const std::optional<qv::Library> library = libraryAt(_database, path)) {
            menu->addSeparator();
            const QString label = library->displayLabel.empty()
                                      ? qs(std::filesystem::path(library->path).filename().string())
                                      : qs(library->displayLabel);
            connect(menu->addAction(QStringLiteral("Rename\u2026")), &QAction::triggered, this,
                    [this, id = library->id, label] { _edits.renameLibrary(id, label); });
            connect(menu->addAction(QStringLiteral("Rescan")), &QAction::triggered, this,
                    [this, path] { _hooks.rescanLibrary(path, false); });
            connect(menu->addAction(QStringLiteral("Full Scan")), &QAction::triggered, this,
                    [this, path] { _hooks.rescanLibrary(path, true); });
            connect(menu->addAction(QStringLiteral("Remove Library\u2026")), &QAction::triggered, this,
                    [this, id = library->id, path] { _hooks.removeLibrary(id, path); });
        }
    }
    return menu;
}

QMenu* QVContextMenus::playlistMenu(std::int64_t playlistId, QWidget* parent)
{
    auto* menu = new QMenu(parent);
    connect(menu->addAction(QStringLiteral("Open at Launch")), &QAction::triggered, this,
            [this, playlistId] { _sidebar.setPlaylistOpenAtLaunch(playlistId); });
    if (_hooks.featurePlaylist) {
        connect(menu->addAction(QStringLiteral("Add to Featured")), &QAction::triggered, this, [this, playlistId] {
            for (const qv::Playlist& playlist : _sidebar.playlists()) {
                if (playlist.id == playlistId) _hooks.featurePlaylist(playlistId, qs(playlist.name));
            }
        });
    }
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("Delete Playlist\u2026")), &QAction::triggered, this,
            [this, playlistId] { _edits.deletePlaylist(playlistId); });
    return menu;
}

QMenu* QVContextMenus::favoritesMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    connect(menu->addAction(QStringLiteral("Open at Launch")), &QAction::triggered, this,
            [this] { _sidebar.setFavoritesOpenAtLaunch(); });
    connect(menu->addAction(QStringLiteral("Open Normally at Launch")), &QAction::triggered, this,
            [this] { _sidebar.clearLaunchLocation(); });
    return menu;
}
