#pragma once
// The sidebar's lists and the breadcrumb bar. They show and forward; QVSidebar decides.

#include "browse/folder_tree.h"
#include "db/database.h"
#include "sidebar_logic.h"

#include <QListWidget>
#include <QTreeWidget>
#include <QWidget>

#include <cstdint>
#include <vector>

class QHBoxLayout;
class QToolButton;

// The folder tree. A tree of tens of thousands of folders is shown at once: items for a
// folder's children are made the first time it is expanded.
class QVFolderTreeView : public QTreeWidget {
    Q_OBJECT
public:
    explicit QVFolderTreeView(QColor iconTint, QWidget* parent = nullptr);
    void setIconTint(const QColor& tint); // the items made so far too

    // Replaces the tree; everything starts collapsed.
    void setTree(qv::FolderTree tree);
    const qv::FolderTree& tree() const { return _tree; }
    // Expands every item of the chain but the last and returns the last one's item.
    QTreeWidgetItem* revealChain(const std::vector<qv::FolderTree::Node>& chain);
    static QString pathOf(const QTreeWidgetItem* item);
    static bool isLibraryRoot(const QTreeWidgetItem* item);

signals:
    void folderSelected(const QString& path, const QString& name);
    void folderMenuRequested(const QString& path, bool libraryRoot, const QPoint& globalPosition);

private:
    QTreeWidgetItem* makeItem(qv::FolderTree::Node node, bool libraryRoot);
    void populate(QTreeWidgetItem* item);

    qv::FolderTree _tree;
    QIcon _folderIcon;
};

// The playlists. Samples dragged from the results onto one are added to it.
class QVPlaylistList : public QListWidget {
    Q_OBJECT
public:
    explicit QVPlaylistList(QWidget* parent = nullptr);
    void setPlaylists(const std::vector<qv::Playlist>& playlists);
    // Selects without reporting it; no id (or an unknown one) clears the selection.
    void showSelected(std::optional<std::int64_t> playlistId);
    QListWidgetItem* itemForId(std::int64_t playlistId) const;

signals:
    void playlistSelected(std::int64_t playlistId);
    void samplesDropped(std::int64_t playlistId, const std::vector<std::int64_t>& sampleIds);
    void samplesDroppedOutsidePlaylists(const std::vector<std::int64_t>& sampleIds); // a new playlist
    void playlistMenuRequested(std::int64_t playlistId, const QPoint& globalPosition);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void setDropTarget(QListWidgetItem* item);
    QListWidgetItem* _dropTarget = nullptr;
    bool _quiet = false;
};

// Where the results come from, as a path of buttons, with a back button.
class QVBreadcrumbBar : public QWidget {
    Q_OBJECT
public:
    explicit QVBreadcrumbBar(QWidget* parent = nullptr);
    void setEntries(const std::vector<qv::BreadcrumbEntry>& entries, bool canGoBack);
    const std::vector<qv::BreadcrumbEntry>& entries() const { return _entries; }

signals:
    void entryPressed(int index);
    void backPressed();

private:
    QHBoxLayout* _row;
    QToolButton* _back;
    std::vector<qv::BreadcrumbEntry> _entries;
    std::vector<QWidget*> _crumbs;
};
