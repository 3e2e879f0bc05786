#pragma once
// The sidebar room: the navigation and type buttons, the folder tree, the playlists, the
// breadcrumb bar with its back history, the results title and the launch location.
// Choosing a place starts a new browse context, so that a preview decoded for the old
// place is not shown in the new one. The decisions are sidebar_logic's.

#include "browse_state.h"
#include "sidebar_logic.h"

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <cstdint>
#include <optional>
#include <vector>

class QSettings;
class QTreeWidgetItem;
class QVMainWindow;

namespace qv {
class Database;
}

class QVSidebar : public QObject {
    Q_OBJECT
public:
    QVSidebar(qv::Database& database, qv::BrowseState& state, QVMainWindow& window, QObject* parent = nullptr);
    ~QVSidebar() override; // waits for a folder read in hand

    // The playlists at once, and the folder tree (collapsed) once its folders are read:
    // off the GUI thread, after the current event, so that the first page is not kept
    // waiting behind a read that takes a few hundred milliseconds at a million samples.
    void reloadSidebars();
    bool folderTreeLoaded() const { return _treeLoaded; }
    void reloadPlaylists();
    const std::vector<qv::Playlist>& playlists() const { return _playlists; }

    // The button with that tag pressed, as a person would.
    void pressButton(int tag);
    void selectPlaylist(std::int64_t playlistId);
    // Selects the folder in the tree, expanding its parents; false when the tree lacks it.
    bool navigateToFolderPath(const QString& path, bool recordHistory);
    void breadcrumbPressed(int index);
    void breadcrumbBack();
    // Only the "All" type button lit, as after the shown playlist was deleted.
    void showAllTypesOnly();
    // A row's type link: narrow the current place to that type.
    void applyTypeLink(const QString& type);
    void updateBreadcrumb();

    // Once, when the application first becomes active: whether a stored place opened.
    // Before the folder tree has arrived, it waits for it (and returns false).
    bool restoreLaunchLocation();
    void setFolderOpenAtLaunch(const QString& folder);
    void setPlaylistOpenAtLaunch(std::int64_t playlistId);
    void setFavoritesOpenAtLaunch();
    void clearLaunchLocation();

    QString resultsTitle() const { return _title; }
    const qv::BreadcrumbHistory& history() const { return _history; }
    const qv::SidebarButtons& buttons() const { return _buttons; }
    QString diagnosticSource() const;

signals:
    // The place changed and the state's page is set: refresh (with the page fade when
    // `transition`).
    void placeChanged(bool transition);
    void folderTreeReloaded();

private:
    void loadFolderTree();
    void folderSelected(const QString& path, const QString& name);
    void playlistSelected(std::int64_t playlistId);
    void beginPlaceChange(); // the two generations
    void selectTreeItem(QTreeWidgetItem* item);
    void selectPlaylistRow(std::int64_t playlistId);
    void syncButtons();
    void setTitle(const QString& title);
    QString buttonTitle(int tag) const;
    std::vector<qv::FolderTree::Node> scopeChain() const;

    qv::Database& _database;
    qv::BrowseState& _state;
    QVMainWindow& _window;
    qv::SidebarButtons _buttons;
    qv::BreadcrumbHistory _history;
    std::vector<qv::Playlist> _playlists;
    QString _title = QStringLiteral("All Samples");
    QThreadPool _reader; // one thread: the folder reads, newest wins
    std::uint64_t _treeGeneration = 0;
    bool _treeLoaded = false;
    bool _launchLocationPending = false;
};
