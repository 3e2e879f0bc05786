#pragma once
// The main window: builds the panels in launch order and holds them. It shows and
// forwards; the rooms decide. Folders dropped anywhere on it are offered as libraries.

#include "theme.h"

#include <QList>
#include <QMainWindow>
#include <QUrl>

#include <vector>

class QAction;
class QFrame;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QStackedWidget;
class QTimer;
class QToolButton;
class QVBreadcrumbBar;
class QVFolderTreeView;
class QVPlaylistList;
class QVFilterBar;
class QVFeaturedGrid;
class QHBoxLayout;
class QVInspector;
class QVPlayerPanel;
class QVResultsView;
class QVBoxLayout;

namespace qv {
class WaveformQueue;
}

class QVMainWindow : public QMainWindow {
    Q_OBJECT
public:
    QVMainWindow(const qv::WindowTheme& theme, qv::WaveformQueue& waveforms, QWidget* parent = nullptr);

    // Launch steps 8 to 17, in that order.
    void buildBrandHeader();
    void buildSidebar();
    void buildSearchRow();
    void buildFilters();
    void buildPagination();
    void buildResultsHeader();
    void buildResultsTable();
    void buildEmptyState();
    void buildDiscoveryArea();
    void setPlayerPanel(QVPlayerPanel* panel);
    void setInspector(QVInspector* panel); // at the right of the results

    // 1 desktop; 0 compact vertical: the sidebar becomes a drawer opened from the
    // search row, the featured sets and the inspector step aside, sorting is off.
    void setLayoutMode(int mode);
    int layoutMode() const { return _layoutMode; }
    void setSidebarOpen(bool open); // the drawer; the desktop layout always shows it
    bool sidebarOpen() const;

    void setEmptyStateVisible(bool visible);
    bool emptyStateVisible() const;
    void setStatus(const QString& text);
    QString status() const;
    const qv::WindowTheme& theme() const { return _theme; }
    // Every panel re-styled from the theme's row, in place: nothing is rebuilt.
    void setTheme(const qv::WindowTheme& theme);

    struct TaggedButton {
        QPushButton* button;
        int tag;
        QString title; // the results title when it is pressed
    };

    // Panels, for the rooms that fill them.
    std::vector<TaggedButton> navButtons;  // all samples, favourites, libraries
    std::vector<TaggedButton> typeButtons; // all types, loops, one-shots, MIDI
    QVFolderTreeView* folderTree = nullptr;
    QVPlaylistList* playlistTable = nullptr;
    QToolButton* newPlaylistButton = nullptr;
    QPushButton* addLibraryButton = nullptr;
    QVBreadcrumbBar* breadcrumbs = nullptr;
    QLabel* resultsTitle = nullptr;
    QLineEdit* search = nullptr;
    QToolButton* clearSearch = nullptr;
    QToolButton* sidebarToggle = nullptr; // the compact layout's drawer
    QVFilterBar* filterBar = nullptr; // the chips, quick filters and status line
    QPushButton* clearFilters = nullptr;
    QLabel* statusLabel = nullptr;
    QWidget* paginationGroup = nullptr;
    QPushButton* pagePrevious = nullptr;
    QLabel* pageLabel = nullptr;
    QPushButton* pageNext = nullptr;
    QPushButton* filenameHeader = nullptr;
    QPushButton* timeHeader = nullptr;
    QPushButton* bpmHeader = nullptr;
    QVResultsView* table = nullptr;
    QWidget* empty = nullptr;
    QPushButton* emptyAddButton = nullptr;
    QWidget* discovery = nullptr;
    QVFeaturedGrid* featuredGrid = nullptr;
    QVPlayerPanel* player = nullptr;
    QVInspector* inspector = nullptr;
    QToolButton* inspectorToggle = nullptr;

signals:
    void foldersDropped(const QList<QUrl>& urls);
    void addLibraryRequested();
    void contentResized(QSize size); // the user's resize, settled for half a second

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QLabel* heading(const QString& text);
    QPushButton* sidebarButton(const QString& text, const QString& symbol);
    QPushButton* typeButton(const QString& text);

    qv::WindowTheme _theme;
    qv::WaveformQueue& _waveforms;
    QLabel* _brandIcon = nullptr;
    QAction* _searchIcon = nullptr;
    QWidget* _sidebar = nullptr;
    QVBoxLayout* _sidebarLayout = nullptr;
    QVBoxLayout* _mainLayout = nullptr;
    QVBoxLayout* _outerLayout = nullptr;
    QHBoxLayout* _body = nullptr;
    QStackedWidget* _resultsStack = nullptr;
    QWidget* _filtersRow = nullptr;
    QWidget* _headerRow = nullptr;
    QTimer* _resizeSettle = nullptr;
    int _layoutMode = 1;
};
