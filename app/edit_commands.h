#pragma once
// The corrections and organising behind the context menus: love, type overrides of the
// chosen rows, a folder's type, instrument and genres, and playlists. Each command runs
// on the GUI thread between two user events, shows a failure in an alert, and leaves the
// results refreshed (or one row redrawn) so that what is shown matches the index.

#include "browse_state.h"
#include "sample.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QVAlerts;

namespace qv {

class Database;

// Folder edits of this many samples or more ask first; smaller folders change at once.
inline constexpr std::int64_t kFolderConfirmationThreshold = 500;

// The rows a row command acts on: the selection and the clicked row, ascending, each
// once, only those on the page.
std::vector<int> editTargets(const std::vector<int>& selected, int clicked, int rowCount);

// The question before a folder edit of `count` samples; none below the threshold.
std::optional<QString> folderConfirmationMessage(const QString& verb, std::int64_t count);

} // namespace qv

class QVEditCommands : public QObject {
    Q_OBJECT
public:
    // What the commands need from the other rooms.
    struct Hooks {
        std::function<void()> refresh;
        std::function<void(int row)> reloadRow;
        std::function<void()> reloadPlaylists;
        std::function<void()> updatePlayer;
        std::function<std::optional<std::int64_t>()> currentSampleId;
        std::function<void(bool favorite)> setCurrentFavorite;
        // The audition's place, so that a change elsewhere never interrupts it.
        std::function<std::pair<double, bool>()> audition;
        std::function<void(double seconds, bool playing)> resumeAudition;
        std::function<void()> showAllTypesOnly; // the shown playlist went away
    };

    QVEditCommands(qv::Database& database, qv::BrowseState& state, QVAlerts& alerts, Hooks hooks,
                   QObject* parent = nullptr);

    void toggleFavorite(int row);
    // No type: back to what indexing inferred.
    void applyTypeOverride(const std::vector<int>& rows, std::optional<qv::SampleType> type);

    // The folder a folder menu was opened on.
    void setFolderContextPath(const std::string& folder) { _folderContextPath = folder; }
    const std::string& folderContextPath() const { return _folderContextPath; }
    bool confirmFolderOperation(const QString& verb);
    void applyFolderType(std::optional<qv::SampleType> type);
    void applyFolderInstrument(const std::optional<std::string>& instrument);
    // `present`: the folder already has the genre, so the command takes it away.
    void applyFolderGenre(const std::string& genre, bool present);

    void deletePlaylist(std::int64_t playlistId);
    void addRowsToPlaylist(const std::vector<int>& rows, std::int64_t playlistId);
    void addSamplesToPlaylist(const std::vector<std::int64_t>& sampleIds, std::int64_t playlistId);
    void newPlaylistForRows(const std::vector<int>& rows);
    void newPlaylistForSamples(const std::vector<std::int64_t>& sampleIds);
    void newEmptyPlaylist();
    void removeRowsFromPlaylist(const std::vector<int>& rows);
    void renameLibrary(std::int64_t libraryId, const QString& currentLabel);

    void showError(const QString& error, const QString& title);

signals:
    void librariesChanged(); // a label changed: the sidebar and the library list reload

private:
    std::vector<std::int64_t> idsOf(const std::vector<int>& rows) const;
    std::optional<QString> askPlaylistName(const QString& initial);

    qv::Database& _database;
    qv::BrowseState& _state;
    QVAlerts& _alerts;
    Hooks _hooks;
    std::string _folderContextPath;
};
