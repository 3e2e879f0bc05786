#pragma once
// The context menus of result rows, library rows, folders, playlists and the favourites
// button. Each menu is built when it opens, from the place and the rows it was opened
// on, and its items call the edit commands, the sidebar and the scans.

#include "browse_state.h"

#include <QObject>
#include <QPoint>
#include <QString>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class QMenu;
class QVEditCommands;
class QVScanCoordinator;
class QVSidebar;
class QWidget;

namespace qv {
class Database;

// The genres a folder's menu offers: the fixed list, then those the folder holds that
// the list lacks; each with whether the folder already has it.
struct GenreChoice {
    std::string genre;
    bool present = false;
    bool operator==(const GenreChoice&) const = default;
};
std::vector<GenreChoice> folderGenreChoices(const std::vector<std::string>& offered,
                                            const std::vector<std::string>& present);
} // namespace qv

class QVContextMenus : public QObject {
    Q_OBJECT
public:
    struct Hooks {
        std::function<std::vector<int>()> selectedRows;
        std::function<void(const QString& path)> showInFolder;
        std::function<void(const QStringList& paths)> copyPaths;
        std::function<void(const QString& path, bool force)> rescanLibrary;
        std::function<void(std::int64_t libraryId, const QString& path)> removeLibrary;
        std::function<void(int row)> toggleFavorite;
        std::function<void(const QString& folder)> featureFolder;                 // "Add to Featured"
        std::function<void(std::int64_t playlistId, const QString& name)> featurePlaylist;
    };

    QVContextMenus(qv::Database& database, qv::BrowseState& state, QVEditCommands& edits, QVSidebar& sidebar,
                   Hooks hooks, QObject* parent = nullptr);

    // Built but not shown, so that tests can read and trigger the items.
    QMenu* rowMenu(int row, QWidget* parent);
    QMenu* libraryRowMenu(int row, QWidget* parent);
    QMenu* folderMenu(const QString& path, bool libraryRoot, QWidget* parent);
    QMenu* playlistMenu(std::int64_t playlistId, QWidget* parent);
    QMenu* favoritesMenu(QWidget* parent);

    // Builds, shows at `where` and deletes the menu when it closes.
    void popup(QMenu* menu, const QPoint& where);

private:
    qv::Database& _database;
    qv::BrowseState& _state;
    QVEditCommands& _edits;
    QVSidebar& _sidebar;
    Hooks _hooks;
};
