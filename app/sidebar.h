#pragma once
// The sidebar's places: all samples, favourites, the library list, the three type
// sections, the libraries' folders and the playlists. Choosing one changes the browse
// state and starts a new browse context, so that a preview decoded for the old place is
// not shown in the new one.
// (The whole folder tree and breadcrumbs arrive with the sidebar work;
// this room keeps the same entry points.)

#include "browse_state.h"

#include <QObject>
#include <QString>

#include <functional>

class QVMainWindow;

namespace qv {
class Database;
}

class QVSidebar : public QObject {
    Q_OBJECT
public:
    QVSidebar(qv::Database& database, qv::BrowseState& state, QVMainWindow& window, QObject* parent = nullptr);

    void reloadSidebars();
    void showAllSamples();
    void showFavorites();
    void showLibraries();
    void toggleSection(const QString& type);
    void selectFolder(const QString& path);
    void selectPlaylist(std::int64_t id);
    // A metadata link in a row naming a type: show that section (QVFilters takes the rest).
    void applyLink(const QString& field, const QString& value);
    QString diagnosticSource() const;

signals:
    void contextChanged(); // reset to page 1 and refresh

private:
    enum class Place { AllSamples, Favorites, Libraries };
    void setPlace(Place place); // and no folder or playlist
    void changeContext();
    void syncButtons();

    qv::Database& _database;
    qv::BrowseState& _state;
    QVMainWindow& _window;
    bool _syncing = false;
};
