// Libraries and the scanner's sample records.
#include "db/database.h"

#include "db/scan_group.h"
#include "db/schema.h"
#include "sql/connection.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"
#include "sql/statement_cache.h"
#include "sql/transaction.h"

#include <string_view>
#include <system_error>
#include <unordered_set>

namespace qv {

namespace {

std::string offlineKey(const std::filesystem::path& path)
{
    return schema::kOfflineLibraryKey + path.string();
}

bool vanished(const std::string& path)
{
    std::error_code ec;
    const auto type = std::filesystem::status(path, ec).type();
    return type == std::filesystem::file_type::not_found || type == std::filesystem::file_type::none;
}

} // namespace

std::int64_t Database::addLibrary(const std::filesystem::path& path)
{
    const auto lock = settledLock();
    Statement st(*_connection,
                 "INSERT INTO libraries(path) VALUES(?) ON CONFLICT(path) DO UPDATE SET last_scanned_at=unixepoch() "
                 "RETURNING id");
    st.bind(1, path.native());
    if (!st.step()) _connection->throwError();
    return st.columnInt64(0);
}

void Database::setLibraryAvailable(const std::filesystem::path& path, bool available)
{
    const auto lock = settledLock();
    Statement st(*_connection, available ? "DELETE FROM app_metadata WHERE key=?"
                                      : "INSERT INTO app_metadata(key,value) VALUES(?,'1') ON CONFLICT(key) DO "
                                        "UPDATE SET value='1'");
    st.bind(1, offlineKey(path));
    st.stepDone();
}

bool Database::isLibraryAvailable(const std::filesystem::path& path) const
{
    const auto lock = settledLock();
    try {
        Statement st(*_connection, "SELECT 1 FROM app_metadata WHERE key=? AND value='1'");
        st.bind(1, offlineKey(path));
        return !st.step();
    } catch (const SqliteError&) {
        return true; // a lookup failure hides nothing
    }
}

std::optional<Sample> Database::findByPath(const std::filesystem::path& path) const
{
    std::lock_guard lock(_mutex);
    commitScanGroupWhenDue();
    try {
        Statement st(*_connection, *_statements, "SELECT id,file_size,modified_at FROM samples WHERE path=?");
        st.bind(1, path.native());
        if (!st.step()) return std::nullopt;
        Sample sample;
        sample.id = st.columnInt64(0);
        sample.path = path.string();
        sample.fileSize = st.columnInt64(1);
        sample.modifiedAt = st.columnInt64(2);
        return sample;
    } catch (const SqliteError&) {
        return std::nullopt; // a lookup failure reads as "not indexed"
    }
}

std::optional<std::filesystem::path> Database::relinkMovedSample(std::int64_t libraryId,
                                                                 const std::filesystem::path& newPath,
                                                                 std::int64_t fileSize, std::int64_t modifiedAt)
{
    std::lock_guard lock(_mutex);
    const std::string filename = newPath.filename().string();

    std::optional<std::int64_t> candidateId;
    std::string candidatePath;
    int kept = 0;
    {
        Statement st(*_connection, *_statements,
                     "SELECT id,path FROM samples WHERE library_id=? AND filename=? COLLATE BINARY AND file_size=? "
                     "AND modified_at=? AND path<>?");
        st.bind(1, libraryId);
        st.bind(2, filename);
        st.bind(3, fileSize);
        st.bind(4, modifiedAt);
        st.bind(5, newPath.native());
        while (st.step()) {
            std::string oldPath = st.columnText(1);
            // A candidate whose file is still there is a duplicate, not a move.
            if (!vanished(oldPath)) continue;
            ++kept;
            candidateId = st.columnInt64(0);
            candidatePath = std::move(oldPath);
        }
    }
    if (kept != 1) return std::nullopt;

    Statement update(*_connection, *_statements, "UPDATE samples SET path=?,filename=?,analyzed_at=unixepoch() WHERE id=?");
    update.bind(1, newPath.native());
    update.bind(2, filename);
    update.bind(3, *candidateId);
    beginGroupedWrite();
    update.stepDone();
    endGroupedWrite();
    return std::filesystem::path(candidatePath);
}

void Database::upsert(const Sample& sample, std::int64_t libraryId)
{
    std::lock_guard lock(_mutex);
    beginGroupedWrite();
    // One commit instead of four: the record, its genre rows and its display genre. A
    // savepoint nests inside a caller's transaction as well.
    Savepoint savepoint(*_connection, "qv_upsert");
    upsertLocked(sample, libraryId);
    savepoint.release();
    endGroupedWrite();
}

void Database::upsertLocked(const Sample& sample, std::int64_t libraryId)
{
    Connection& db = *_connection;
    std::int64_t id = 0;
    {
        Statement st(db, *_statements,
                     "INSERT INTO "
                     "samples(path,filename,library_id,type,auto_type,genre,auto_genre,instrument,auto_instrument,bpm,"
                     "musical_key,duration,file_size,modified_at) VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?) ON "
                     "CONFLICT(path) DO UPDATE SET "
                     "filename=excluded.filename,library_id=excluded.library_id,auto_type=excluded.auto_type,type="
                     "coalesce(samples.user_type_override,excluded.auto_type),auto_genre=excluded.auto_genre,"
                     "instrument=coalesce(samples.user_instrument_override,excluded.auto_instrument),auto_instrument="
                     "excluded.auto_instrument,bpm=excluded.bpm,musical_key=excluded.musical_key,duration=excluded."
                     "duration,file_size=excluded.file_size,modified_at=excluded.modified_at,analyzed_at=unixepoch() "
                     "RETURNING id");
        const std::string type = toString(sample.type);
        st.bind(1, sample.path);
        st.bind(2, sample.filename);
        st.bind(3, libraryId);
        st.bind(4, type);
        st.bind(5, type);
        st.bind(6, sample.genre);
        st.bind(7, sample.genre);
        st.bind(8, sample.instrument);
        st.bind(9, sample.instrument);
        st.bind(10, sample.bpm ? std::optional<std::int64_t>(*sample.bpm) : std::nullopt);
        st.bind(11, sample.musicalKey);
        st.bind(12, sample.duration);
        st.bind(13, sample.fileSize);
        st.bind(14, sample.modifiedAt);
        if (!st.step()) db.throwError();
        id = st.columnInt64(0);
    }

    // The genre rows and the display genre are best effort: the record itself is stored.
    const auto bestEffort = [&](const char* sql, const auto& bind) {
        try {
            Statement st(db, *_statements, sql);
            bind(st);
            st.stepDone();
        } catch (const SqliteError&) {
        }
    };
    bestEffort("DELETE FROM sample_genres WHERE sample_id=? AND source='auto'", [&](Statement& st) { st.bind(1, id); });
    if (!sample.genre.empty()) {
        bestEffort("INSERT OR IGNORE INTO sample_genres(sample_id,genre,source) VALUES(?,?,'auto')", [&](Statement& st) {
            st.bind(1, id);
            st.bind(2, sample.genre);
        });
    }
    bestEffort("UPDATE samples SET genre=(SELECT group_concat(genre, ', ') FROM (SELECT DISTINCT genre FROM "
               "sample_genres WHERE sample_id=? ORDER BY source DESC,genre COLLATE NOCASE)) WHERE id=?",
               [&](Statement& st) {
                   st.bind(1, id);
                   st.bind(2, id);
               });
}

void Database::removeMissing(std::int64_t libraryId, const std::vector<std::string>& seenPaths,
                             std::uint64_t& removed)
{
    const std::unordered_set<std::string_view> seen(seenPaths.begin(), seenPaths.end());
    removeMissing(libraryId, [&seen](std::string_view path) { return seen.contains(path); }, removed);
}

void Database::removeMissing(std::int64_t libraryId, const std::function<bool(std::string_view path)>& seen,
                             std::uint64_t& removed)
{
    const auto lock = settledLock();
    removed = 0;

    Transaction tx(*_connection);
    std::vector<std::int64_t> gone;
    {
        Statement st(*_connection, "SELECT id,path FROM samples WHERE library_id=?");
        st.bind(1, libraryId);
        while (st.step()) {
            if (!seen(st.columnView(1))) gone.push_back(st.columnInt64(0));
        }
    }
    {
        Statement st(*_connection, "DELETE FROM samples WHERE id=?");
        for (const auto id : gone) {
            st.bind(1, id);
            st.stepDone();
            st.reset();
        }
    }
    tx.commit();
    removed = gone.size();
}

bool Database::recordedFiles(std::int64_t libraryId, const std::function<void(std::int64_t count)>& expect,
                             const RecordVisitor& visit) const
{
    const auto lock = settledLock();
    try {
        // One read transaction for both, so that the count is that of the rows listed.
        ReadTransaction read(*_connection);
        Statement count(*_connection, "SELECT count(*) FROM samples WHERE library_id=?");
        count.bind(1, libraryId);
        if (count.step()) expect(count.columnInt64(0));
        Statement st(*_connection, "SELECT id,path,file_size,modified_at FROM samples WHERE library_id=?");
        st.bind(1, libraryId);
        while (st.step()) visit(st.columnInt64(0), st.columnView(1), st.columnInt64(2), st.columnInt64(3));
        return true;
    } catch (const SqliteError&) {
        return false; // a listing returns what it could read
    }
}

void Database::removeVanished(std::int64_t libraryId,
                              const std::vector<std::pair<std::int64_t, std::string_view>>& gone,
                              std::uint64_t& removed)
{
    const auto lock = settledLock();
    removed = 0;
    if (gone.empty()) return;
    std::uint64_t count = 0;
    Transaction tx(*_connection);
    Statement st(*_connection, "DELETE FROM samples WHERE id=? AND path=? AND library_id=?");
    for (const auto& [id, path] : gone) {
        st.bind(1, id);
        st.bind(2, path);
        st.bind(3, libraryId);
        st.stepDone();
        count += static_cast<std::uint64_t>(_connection->changes());
        st.reset();
    }
    tx.commit();
    removed = count;
}

std::vector<Library> Database::libraries(Counts counts) const
{
    const auto lock = settledLock();
    std::vector<Library> result;
    try {
        // Counted from two indexes, never from the rows: a join reading each sample's
        // file name takes seconds at a million samples, this takes milliseconds.
        const std::string count = counts == Counts::Skipped
            ? std::string("0")
            : std::string("(SELECT count(*) FROM samples INDEXED BY ") + schema::kLibraryIndex
                + " WHERE library_id=l.id)-(SELECT count(*) FROM samples INDEXED BY " + schema::kHiddenIndex
                + " WHERE library_id=l.id AND " + schema::kHiddenFile + ")";
        Statement st(*_connection, "SELECT l.id,l.path," + count
                                       + ",coalesce(m.value,'') FROM libraries l LEFT JOIN app_metadata m ON "
                                         "m.key=?||l.id ORDER BY l.path COLLATE NOCASE");
        st.bind(1, schema::kLibraryLabelKey);
        while (st.step()) {
            result.push_back({st.columnInt64(0), st.columnText(1), st.columnInt64(2), st.columnText(3)});
        }
    } catch (const SqliteError&) {
        // A listing returns what it could read.
    }
    return result;
}

void Database::setLibraryDisplayLabel(std::int64_t libraryId, const std::string& label)
{
    const auto lock = settledLock();
    if (label.empty()) {
        Statement st(*_connection, "DELETE FROM app_metadata WHERE key=?||?");
        st.bind(1, schema::kLibraryLabelKey);
        st.bind(2, libraryId);
        st.stepDone();
        return;
    }
    Statement st(*_connection,
                 "INSERT INTO app_metadata(key,value) VALUES(?||?,?) ON CONFLICT(key) DO UPDATE SET value=excluded.value");
    st.bind(1, schema::kLibraryLabelKey);
    st.bind(2, libraryId);
    st.bind(3, label);
    st.stepDone();
}

void Database::removeLibrary(std::int64_t libraryId)
{
    const auto lock = settledLock();
    Statement st(*_connection, "DELETE FROM libraries WHERE id=?");
    st.bind(1, libraryId);
    st.stepDone();
}

std::vector<IndexedPath> Database::indexedPaths() const
{
    const auto lock = settledLock();
    std::vector<IndexedPath> result;
    try {
        Statement st(*_connection, "SELECT l.path,s.path,coalesce(m.value,'') FROM samples s JOIN libraries l ON "
                                   "l.id=s.library_id LEFT JOIN app_metadata m ON m.key=?||l.id WHERE "
                                       + std::string(schema::kVisibleSample) + " ORDER BY s.path");
        st.bind(1, schema::kLibraryLabelKey);
        while (st.step()) result.push_back({st.columnText(0), st.columnText(1), st.columnText(2)});
    } catch (const SqliteError&) {
        // A listing returns what it could read.
    }
    return result;
}

std::vector<IndexedFolder> Database::indexedFolders() const
{
    const auto lock = settledLock();
    std::vector<IndexedFolder> result;
    try {
        // Libraries outermost, so that each label is looked up once rather than per folder.
        Statement st(*_connection, "SELECT l.path,f.folder,coalesce(m.value,'') FROM libraries l LEFT JOIN "
                                   "app_metadata m ON m.key=?||l.id CROSS JOIN "
                                       + std::string(schema::kFolderTable)
                                       + " f WHERE f.library_id=l.id ORDER BY l.path,f.folder");
        st.bind(1, schema::kLibraryLabelKey);
        while (st.step()) {
            // Stored with its trailing '/'; the root keeps its only one.
            std::string folder = st.columnText(1);
            if (folder.size() > 1) folder.pop_back();
            result.push_back({st.columnText(0), std::move(folder), st.columnText(2)});
        }
    } catch (const SqliteError&) {
        // A listing returns what it could read.
    }
    return result;
}

bool Database::hasSample(std::int64_t sampleId) const
{
    const auto lock = settledLock();
    try {
        Statement st(*_connection, "SELECT 1 FROM samples WHERE id=?");
        st.bind(1, sampleId);
        return st.step();
    } catch (const SqliteError&) {
        return false;
    }
}

std::int64_t Database::countSamples() const
{
    const auto lock = settledLock();
    try {
        // All rows less the hidden ones: both counts read an index only.
        Statement st(*_connection, "SELECT (SELECT count(*) FROM samples)-(SELECT count(*) FROM samples INDEXED BY "
                                       + std::string(schema::kHiddenIndex) + " WHERE " + schema::kHiddenFile + ")");
        return st.step() ? st.columnInt64(0) : 0;
    } catch (const SqliteError&) {
        return 0;
    }
}

int Database::parserRevision() const
{
    const auto lock = settledLock();
    std::string text;
    try {
        Statement st(*_connection, "SELECT value FROM app_metadata WHERE key=?");
        st.bind(1, schema::kParserRevisionKey);
        if (!st.step()) return 0;
        text = st.columnText(0);
    } catch (const SqliteError&) {
        return 0;
    }
    // A damaged index, worth an error rather than a guess: a guess could skip the
    // re-index it needs or repeat one on every start.
    try {
        return std::stoi(text);
    } catch (const std::logic_error&) {
        throw std::runtime_error("The index's parser revision \"" + text + "\" is not a number");
    }
}

void Database::setParserRevision(int revision)
{
    const auto lock = settledLock();
    Statement st(*_connection,
                 "INSERT INTO app_metadata(key,value) VALUES(?,?) ON CONFLICT(key) DO UPDATE SET value=excluded.value");
    st.bind(1, schema::kParserRevisionKey);
    st.bind(2, std::to_string(revision));
    st.stepDone();
}

} // namespace qv
