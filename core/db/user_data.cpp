// What the user decided: favourites, overrides and playlists. The scanner's upsert never
// writes these columns, which is what lets them survive rescans.
#include "db/database.h"

#include "db/schema.h"
#include "inference/metadata_parser.h"
#include "sql/connection.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"
#include "sql/transaction.h"

namespace qv {

namespace {

constexpr const char* kBelowFolder = "substr(path,1,length(?)+1)=?||'/'";

std::string trimmedName(const std::string& name)
{
    constexpr const char* kBlank = " \t\n\r";
    const auto first = name.find_first_not_of(kBlank);
    if (first == std::string::npos) return {};
    return name.substr(first, name.find_last_not_of(kBlank) - first + 1);
}

// Binds the override (1), the effective value (2) and its source (3); no value clears all
// three, so the effective value falls back to what the scan inferred.
void bindOverride(Statement& st, const std::optional<std::string>& value, const char* source)
{
    if (value) {
        st.bind(1, *value);
        st.bind(2, *value);
        st.bind(3, source);
    } else {
        st.bindNull(1);
        st.bindNull(2);
        st.bindNull(3);
    }
}

// One folder-wide override update in its own immediate transaction: all or nothing.
void overrideBelowFolder(Connection& db, const std::string& sql, const std::optional<std::string>& value,
                         const std::filesystem::path& folder)
{
    Transaction transaction(db);
    {
        Statement st(db, sql);
        bindOverride(st, value, "folder");
        st.bind(4, folder.native());
        st.bind(5, folder.native());
        st.stepDone();
    }
    transaction.commit();
}

} // namespace

void Database::setFavorite(std::int64_t sampleId, bool favorite)
{
    const auto lock = settledLock();
    Statement st(*_connection, "UPDATE samples SET favorite=? WHERE id=?");
    st.bind(1, favorite ? 1 : 0);
    st.bind(2, sampleId);
    st.stepDone();
}

bool Database::isFavorite(std::int64_t sampleId) const
{
    const auto lock = settledLock();
    try {
        Statement st(*_connection, "SELECT favorite FROM samples WHERE id=?");
        st.bind(1, sampleId);
        return st.step() && st.columnInt64(0) != 0;
    } catch (const SqliteError&) {
        return false;
    }
}

std::optional<SampleUserData> Database::userData(std::int64_t sampleId) const
{
    const auto lock = settledLock();
    const auto sourceOf = [](const std::string& text) {
        if (text == "sample") return OverrideSource::Sample;
        if (text == "folder") return OverrideSource::Folder;
        return OverrideSource::Unrecorded;
    };
    try {
        ReadTransaction snapshot(*_connection);
        SampleUserData data;
        {
            Statement st(*_connection,
                         "SELECT s.user_type_override,coalesce(s.type_override_source,''),s.auto_type,"
                         "s.user_instrument_override,coalesce(s.instrument_override_source,''),"
                         "coalesce(s.auto_instrument,''),s.favorite,coalesce(l.id,0),coalesce(l.path,''),"
                         "coalesce(m.value,''),coalesce(o.value,'') FROM samples s LEFT JOIN libraries l ON "
                         "l.id=s.library_id LEFT JOIN app_metadata m ON m.key=?||l.id LEFT JOIN app_metadata o ON "
                         "o.key=?||l.path WHERE s.id=?");
            st.bind(1, schema::kLibraryLabelKey);
            st.bind(2, schema::kOfflineLibraryKey);
            st.bind(3, sampleId);
            if (!st.step()) return std::nullopt;
            if (!st.isNull(0)) data.typeOverride = sampleTypeFromString(st.columnText(0));
            data.typeSource = sourceOf(st.columnText(1));
            data.inferredType = sampleTypeFromString(st.columnText(2));
            if (!st.isNull(3)) data.instrumentOverride = st.columnText(3);
            data.instrumentSource = sourceOf(st.columnText(4));
            data.inferredInstrument = st.columnText(5);
            data.favorite = st.columnInt64(6) != 0;
            data.libraryId = st.columnInt64(7);
            data.libraryPath = st.columnText(8);
            data.libraryLabel = st.columnText(9);
            data.libraryAvailable = st.columnText(10) != "1";
        }
        {
            Statement st(*_connection,
                         "SELECT genre,source FROM sample_genres WHERE sample_id=? ORDER BY genre COLLATE NOCASE");
            st.bind(1, sampleId);
            while (st.step()) {
                (st.columnView(1) == "folder" ? data.folderGenres : data.inferredGenres).push_back(st.columnText(0));
            }
        }
        {
            Statement st(*_connection, "SELECT p.name FROM playlist_items pi JOIN playlists p ON p.id=pi.playlist_id "
                                       "WHERE pi.sample_id=? ORDER BY p.name COLLATE NOCASE");
            st.bind(1, sampleId);
            while (st.step()) data.playlists.push_back(st.columnText(0));
        }
        return data;
    } catch (const SqliteError&) {
        return std::nullopt; // a lookup returns what it could read: here, nothing whole
    }
}

void Database::setTypeOverride(const std::vector<std::int64_t>& sampleIds, std::optional<SampleType> type)
{
    if (sampleIds.empty()) return;
    const auto lock = settledLock();
    if (type == SampleType::MIDI) {
        // Checked before anything changes, so a refusal leaves every sample as it was.
        Statement st(*_connection, "SELECT path FROM samples WHERE id=?");
        for (const std::int64_t id : sampleIds) {
            st.bind(1, id);
            if (!st.step()) throw std::runtime_error("Sample no longer exists");
            const std::string path = st.columnText(0);
            if (!hasMidiExtension(path)) throw std::runtime_error("Only .mid and .midi files can be marked as MIDI");
            st.reset();
            st.clearBindings();
        }
    }

    Transaction transaction(*_connection);
    {
        Statement st(*_connection,
                     "UPDATE samples SET user_type_override=?,type=coalesce(?,auto_type),type_override_source=? "
                     "WHERE id=?");
        const std::optional<std::string> text = type ? std::optional(toString(*type)) : std::nullopt;
        for (const std::int64_t id : sampleIds) {
            bindOverride(st, text, "sample");
            st.bind(4, id);
            // A vanished sample fails the whole call: no id keeps its change.
            bool saved = false;
            try {
                st.stepDone();
                saved = _connection->changes() == 1;
            } catch (const SqliteError&) {
            }
            if (!saved) throw std::runtime_error("Sample type override could not be saved");
            st.reset();
            st.clearBindings();
        }
    }
    transaction.commit();
}

void Database::setFolderTypeOverride(const std::filesystem::path& folder, std::optional<SampleType> type)
{
    if (type == SampleType::MIDI) throw std::runtime_error("Folder type override cannot mark audio as MIDI");
    const auto lock = settledLock();
    overrideBelowFolder(*_connection,
                        std::string("UPDATE samples SET user_type_override=?,type=coalesce(?,auto_type),"
                                    "type_override_source=? WHERE ")
                            + kBelowFolder + " AND type<>'MIDI'",
                        type ? std::optional(toString(*type)) : std::nullopt, folder);
}

void Database::setFolderInstrumentOverride(const std::filesystem::path& folder,
                                           const std::optional<std::string>& instrument)
{
    const auto lock = settledLock();
    overrideBelowFolder(*_connection,
                        std::string("UPDATE samples SET user_instrument_override=?,instrument=coalesce(?,"
                                    "auto_instrument),instrument_override_source=? WHERE ")
                            + kBelowFolder,
                        instrument ? std::optional(normalizedInstrument(*instrument)) : std::nullopt, folder);
}

void Database::setFolderGenreOverride(const std::filesystem::path& folder, const std::string& genre, bool add)
{
    if (genre.empty()) return;
    const auto lock = settledLock();
    Transaction transaction(*_connection);
    {
        Statement change(*_connection,
                         add ? std::string("INSERT OR IGNORE INTO sample_genres(sample_id,genre,source) SELECT "
                                           "id,?,'folder' FROM samples WHERE ")
                                   + kBelowFolder
                             // Only the user's rows go; the scanner's 'auto' genre stays.
                             : std::string("DELETE FROM sample_genres WHERE source='folder' AND genre=? COLLATE "
                                           "NOCASE AND sample_id IN(SELECT id FROM samples WHERE ")
                                   + kBelowFolder + ")");
        change.bind(1, genre);
        change.bind(2, folder.native());
        change.bind(3, folder.native());
        change.stepDone();
    }
    {
        // The display genre lists the user's genres first.
        Statement rebuild(*_connection, std::string("UPDATE samples SET genre=(SELECT group_concat(genre, ', ') FROM "
                                                 "(SELECT DISTINCT genre FROM sample_genres WHERE "
                                                 "sample_id=samples.id ORDER BY source DESC,genre COLLATE NOCASE)) "
                                                 "WHERE ")
                                         + kBelowFolder);
        rebuild.bind(1, folder.native());
        rebuild.bind(2, folder.native());
        rebuild.stepDone();
    }
    transaction.commit();
}

std::int64_t Database::countFolderSamples(const std::filesystem::path& folder, bool includeMidi) const
{
    const auto lock = settledLock();
    SearchQuery query;
    query.folder = folder.string();
    query.excludeMidi = !includeMidi;
    return countMatchingLocked(query);
}

std::vector<Playlist> Database::playlists(Counts counts) const
{
    const auto lock = settledLock();
    std::vector<Playlist> result;
    try {
        Statement st(*_connection,
                     counts == Counts::Skipped
                         ? std::string("SELECT id,name,0 FROM playlists ORDER BY name COLLATE NOCASE")
                         : "SELECT p.id,p.name,count(s.id) FROM playlists p LEFT JOIN playlist_items pi ON "
                           "pi.playlist_id=p.id LEFT JOIN samples s ON s.id=pi.sample_id AND "
                               + std::string(schema::kVisibleSample)
                               + " GROUP BY p.id,p.name ORDER BY p.name COLLATE NOCASE");
        while (st.step()) result.push_back({st.columnInt64(0), st.columnText(1), st.columnInt64(2)});
    } catch (const SqliteError&) {
        // A listing returns what it could read.
    }
    return result;
}

std::int64_t Database::createPlaylist(const std::string& name)
{
    const std::string trimmed = trimmedName(name);
    if (trimmed.empty()) throw std::runtime_error("Playlist name cannot be empty");
    const auto lock = settledLock();
    Statement st(*_connection, "INSERT INTO playlists(name) VALUES(?) RETURNING id");
    st.bind(1, trimmed);
    try {
        if (!st.step()) _connection->throwError();
    } catch (const SqliteError& error) {
        if (error.isUniqueConstraint()) throw std::runtime_error("A playlist with that name already exists");
        throw;
    }
    return st.columnInt64(0);
}

void Database::deletePlaylist(std::int64_t playlistId)
{
    const auto lock = settledLock();
    Statement st(*_connection, "DELETE FROM playlists WHERE id=?");
    st.bind(1, playlistId);
    st.stepDone();
}

void Database::addToPlaylist(std::int64_t playlistId, std::int64_t sampleId)
{
    const auto lock = settledLock();
    Statement st(*_connection,
                 "INSERT OR IGNORE INTO playlist_items(playlist_id,sample_id,position) VALUES(?,?,(SELECT "
                 "coalesce(max(position),-1)+1 FROM playlist_items WHERE playlist_id=?))");
    st.bind(1, playlistId);
    st.bind(2, sampleId);
    st.bind(3, playlistId);
    st.stepDone();
}

void Database::removeFromPlaylist(std::int64_t playlistId, std::int64_t sampleId)
{
    const auto lock = settledLock();
    Statement st(*_connection, "DELETE FROM playlist_items WHERE playlist_id=? AND sample_id=?");
    st.bind(1, playlistId);
    st.bind(2, sampleId);
    st.stepDone();
}

} // namespace qv
