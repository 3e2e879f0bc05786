#include "edit_commands.h"

#include "alerts.h"
#include "db/database.h"

#include <algorithm>
#include <exception>

namespace qv {

std::vector<int> editTargets(const std::vector<int>& selected, int clicked, int rowCount)
{
    std::vector<int> rows;
    for (int row : selected) {
        if (row >= 0 && row < rowCount) rows.push_back(row);
    }
    if (clicked >= 0 && clicked < rowCount) rows.push_back(clicked);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

std::optional<QString> folderConfirmationMessage(const QString& verb, std::int64_t count)
{
    if (count < kFolderConfirmationThreshold) return std::nullopt;
    return QStringLiteral("%1 %2 samples?").arg(verb).arg(count);
}

} // namespace qv

namespace {

QString text(const std::exception& error)
{
    return QString::fromUtf8(error.what());
}

} // namespace

QVEditCommands::QVEditCommands(qv::Database& database, qv::BrowseState& state, QVAlerts& alerts, Hooks hooks,
                               QObject* parent)
    : QObject(parent)
    , _database(database)
    , _state(state)
    , _alerts(alerts)
    , _hooks(std::move(hooks))
{
}

std::vector<std::int64_t> QVEditCommands::idsOf(const std::vector<int>& rows) const
{
    std::vector<std::int64_t> ids;
    for (int row : rows) {
        if (row >= 0 && row < static_cast<int>(_state.rows.size())) ids.push_back(_state.rows[static_cast<std::size_t>(row)].id);
    }
    return ids;
}

void QVEditCommands::showError(const QString& error, const QString& title)
{
    _alerts.inform(title, error);
}

void QVEditCommands::toggleFavorite(int row)
{
    if (row < 0 || row >= static_cast<int>(_state.rows.size())) return;
    qv::Sample& sample = _state.rows[static_cast<std::size_t>(row)];
    bool was = false;
    try {
        was = _database.isFavorite(sample.id);
        _database.setFavorite(sample.id, !was);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t change favorite"));
        return;
    }
    sample.favorite = !was;
    if (_hooks.currentSampleId && _hooks.currentSampleId() == sample.id) _hooks.setCurrentFavorite(!was);
    // An unloved sample leaves the favourites; anywhere else only its heart changes.
    if (was && _state.favoriteMode) {
        _hooks.refresh();
    } else {
        _hooks.reloadRow(row);
    }
    _hooks.updatePlayer();
}

void QVEditCommands::applyTypeOverride(const std::vector<int>& rows, std::optional<qv::SampleType> type)
{
    try {
        _database.setTypeOverride(idsOf(rows), type);
    } catch (const std::exception& error) {
        _alerts.inform(QStringLiteral("Couldn\u2019t change sample type"), text(error));
        return;
    }
    _hooks.refresh();
}

bool QVEditCommands::confirmFolderOperation(const QString& verb)
{
    std::int64_t count = 0;
    try {
        count = _database.countFolderSamples(_folderContextPath, true);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t count the folder\u2019s samples"));
        return false;
    }
    const std::optional<QString> question = qv::folderConfirmationMessage(verb, count);
    if (!question) return true;
    return _alerts.ask(*question,
                       QStringLiteral("This recursively updates every indexed sample in the selected folder in one "
                                      "database transaction."),
                       {QStringLiteral("Continue"), QStringLiteral("Cancel")}) == 0;
}

void QVEditCommands::applyFolderType(std::optional<qv::SampleType> type)
{
    if (!confirmFolderOperation(QStringLiteral("Update"))) return;
    try {
        _database.setFolderTypeOverride(_folderContextPath, type);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t update folder type"));
        return;
    }
    _hooks.refresh();
}

void QVEditCommands::applyFolderInstrument(const std::optional<std::string>& instrument)
{
    if (!confirmFolderOperation(QStringLiteral("Update"))) return;
    try {
        _database.setFolderInstrumentOverride(_folderContextPath, instrument);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t update folder instrument"));
        return;
    }
    _hooks.refresh();
}

void QVEditCommands::applyFolderGenre(const std::string& genre, bool present)
{
    if (!confirmFolderOperation(present ? QStringLiteral("Remove genre from") : QStringLiteral("Add genre to"))) return;
    try {
        _database.setFolderGenreOverride(_folderContextPath, genre, !present);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t update folder genres"));
        return;
    }
    _hooks.refresh();
}

void QVEditCommands::deletePlaylist(std::int64_t playlistId)
{
    const int answer = _alerts.ask(QStringLiteral("Delete this playlist?"),
                                   QStringLiteral("The playlist will be removed. Your original sample files will not be "
                                                  "changed."),
                                   {QStringLiteral("Delete Playlist"), QStringLiteral("Cancel")});
    if (answer != 0) return;
    try {
        _database.deletePlaylist(playlistId);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t delete playlist"));
        return;
    }
    if (_state.playlistId == playlistId) {
        _state.playlistId.reset();
        _state.sectionType.clear();
        _state.page = 0;
        _hooks.showAllTypesOnly();
    }
    _hooks.reloadPlaylists();
    _hooks.refresh();
}

void QVEditCommands::addRowsToPlaylist(const std::vector<int>& rows, std::int64_t playlistId)
{
    addSamplesToPlaylist(idsOf(rows), playlistId);
}

void QVEditCommands::addSamplesToPlaylist(const std::vector<std::int64_t>& sampleIds, std::int64_t playlistId)
{
    const auto [seconds, playing] = _hooks.audition();
    try {
        for (std::int64_t id : sampleIds) _database.addToPlaylist(playlistId, id);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t add to playlist"));
    }
    _hooks.reloadPlaylists();
    // The list beside the results changed; the audition must not notice.
    _hooks.resumeAudition(seconds, playing);
    if (_state.playlistId == playlistId) _hooks.refresh();
}

std::optional<QString> QVEditCommands::askPlaylistName(const QString& initial)
{
    return _alerts.askText(QStringLiteral("New Playlist"), QStringLiteral("Enter a unique playlist name."),
                           QStringLiteral("Playlist name"), initial, {QStringLiteral("Create"), QStringLiteral("Cancel")});
}

void QVEditCommands::newPlaylistForRows(const std::vector<int>& rows)
{
    newPlaylistForSamples(idsOf(rows));
}

void QVEditCommands::newPlaylistForSamples(const std::vector<std::int64_t>& ids)
{
    if (ids.empty()) return;
    const std::optional<QString> name = askPlaylistName({});
    if (!name) return;
    const auto [seconds, playing] = _hooks.audition();
    try {
        const std::int64_t playlist = _database.createPlaylist(name->toStdString());
        for (std::int64_t id : ids) _database.addToPlaylist(playlist, id);
    } catch (const std::exception& error) {
        _alerts.inform(QStringLiteral("Couldn\u2019t create playlist"), text(error));
        return;
    }
    _hooks.reloadPlaylists();
    _hooks.resumeAudition(seconds, playing);
}

void QVEditCommands::newEmptyPlaylist()
{
    const std::optional<QString> name = askPlaylistName({});
    if (!name) return;
    try {
        _database.createPlaylist(name->toStdString());
    } catch (const std::exception& error) {
        _alerts.inform(QStringLiteral("Couldn\u2019t create playlist"), text(error));
        return;
    }
    _hooks.reloadPlaylists();
}

void QVEditCommands::removeRowsFromPlaylist(const std::vector<int>& rows)
{
    if (!_state.playlistId) return;
    const std::vector<std::int64_t> ids = idsOf(rows);
    if (ids.empty()) return;
    try {
        for (std::int64_t id : ids) _database.removeFromPlaylist(*_state.playlistId, id);
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t remove from playlist"));
    }
    _hooks.reloadPlaylists();
    _hooks.refresh();
}

void QVEditCommands::renameLibrary(std::int64_t libraryId, const QString& currentLabel)
{
    const std::optional<QString> label =
        _alerts.askText(QStringLiteral("Rename Library"),
                        QStringLiteral("The name shown in the sidebar. Your folder on disk keeps its name."),
                        QStringLiteral("Library name"), currentLabel, {QStringLiteral("Rename"), QStringLiteral("Cancel")});
    if (!label) return;
    try {
        _database.setLibraryDisplayLabel(libraryId, label->trimmed().toStdString());
    } catch (const std::exception& error) {
        showError(text(error), QStringLiteral("Couldn\u2019t rename library"));
        return;
    }
    emit librariesChanged();
}
