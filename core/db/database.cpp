#include "db/database.h"

#include "search/search_internal.h"

#include "search/full_text_match.h"
#include "search/name_order.h"
#include "search/search_rank.h"
#include "sql/statement.h"

#include <sqlite3.h>

#include <array>

namespace qv {

void Database::Closer::operator()(sqlite3* db) const
{
    sqlite3_close(db);
}

Database::Database(const std::filesystem::path& path, const OpenProgress& progress)
    : _search(std::make_unique<SearchState>())
{
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());

    sqlite3* handle = nullptr;
    const int rc = sqlite3_open(path.c_str(), &handle);
    // Owned from here on, so that a failure below still closes the connection.
    _db.reset(handle);
    if (rc != SQLITE_OK) throwSqliteError(handle);

    if (sqlite3_create_function_v2(handle, "qv_filename_search_rank", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                   nullptr, &searchRankSql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throwSqliteError(handle);
    }
    _fullTextBudget = registerFullTextMatch(handle);
    _nameOrder = std::make_unique<NameOrder>(handle);
    // Checkpointing the log less often writes each hot index page of a scan to the file
    // once per few thousand commits instead of once per few hundred.
    exec("PRAGMA journal_mode=WAL; PRAGMA foreign_keys=ON; PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=8000;");
    migrate();
    createSupportIndexes(progress);
}

namespace {

struct SupportIndex {
    const char* name;
    const char* definition;
};

// Not part of the numbered schema, so any release can still read the file. All but the
// first serve the indexed search plan. The visible ones hold no "._" rows, order them
// the way a page is sorted and carry the library, so that counts and pages are answered
// from the index alone. Each costs the scanner a page write per file and group commit.
constexpr std::array<SupportIndex, 8> kSupportIndexes = {{
    // The scanner looks up move candidates by name, size and time for every new file.
    {"idx_samples_relink", "samples(filename,file_size,modified_at)"},
    {"idx_samples_visible_name", "samples(filename COLLATE NOCASE,id,library_id) WHERE substr(filename,1,2)<>'._'"},
    {"idx_samples_visible_duration",
     "samples(duration,filename COLLATE NOCASE,id,library_id) WHERE substr(filename,1,2)<>'._'"},
    {"idx_samples_visible_id", "samples(id,filename,library_id) WHERE substr(filename,1,2)<>'._'"},
    // The type too, so that a tempo or key filter with a type, or with a word the type
    // matches, is answered without reading the rows.
    {"idx_samples_visible_bpm",
     "samples(bpm,filename COLLATE NOCASE,id,library_id,type) WHERE substr(filename,1,2)<>'._'"},
    {"idx_samples_visible_key", "samples(musical_key,type,filename,id,library_id) WHERE substr(filename,1,2)<>'._'"},
    {"idx_samples_visible_favorite",
     "samples(filename COLLATE NOCASE,id,library_id) WHERE favorite=1 AND substr(filename,1,2)<>'._'"},
    // Hidden rows, so that the count of all visible samples is a subtraction.
    {"idx_samples_hidden", "samples(library_id,filename) WHERE substr(filename,1,2)='._'"},
}};

// Genre and playlist rows point at existing samples even after a connection without
// foreign keys deleted one, as the schema's ON DELETE CASCADE intends, so that the
// search can count members without looking each up. Like the support indexes they are
// created at open, outside the numbered schema; rows left behind before are removed once.
constexpr const char* kMissingSample = "BEGIN SELECT RAISE(ABORT,'FOREIGN KEY constraint failed'); END";
constexpr std::array<SupportIndex, 6> kSupportTriggers = {{
    {"samples_members_ad", "AFTER DELETE ON samples BEGIN DELETE FROM sample_genres WHERE sample_id=old.id; DELETE "
                           "FROM playlist_items WHERE sample_id=old.id; END"},
    {"samples_members_bu", "BEFORE UPDATE OF id ON samples WHEN new.id IS NOT old.id AND (EXISTS(SELECT 1 FROM "
                           "sample_genres WHERE sample_id=old.id) OR EXISTS(SELECT 1 FROM playlist_items WHERE "
                           "sample_id=old.id))"},
    {"sample_genres_sample_bi", "BEFORE INSERT ON sample_genres WHEN new.sample_id IS NOT NULL AND NOT EXISTS(SELECT "
                                "1 FROM samples WHERE id=new.sample_id)"},
    {"sample_genres_sample_bu", "BEFORE UPDATE OF sample_id ON sample_genres WHEN new.sample_id IS NOT NULL AND NOT "
                                "EXISTS(SELECT 1 FROM samples WHERE id=new.sample_id)"},
    {"playlist_items_sample_bi", "BEFORE INSERT ON playlist_items WHEN new.sample_id IS NOT NULL AND NOT "
                                 "EXISTS(SELECT 1 FROM samples WHERE id=new.sample_id)"},
    {"playlist_items_sample_bu", "BEFORE UPDATE OF sample_id ON playlist_items WHEN new.sample_id IS NOT NULL AND "
                                 "NOT EXISTS(SELECT 1 FROM samples WHERE id=new.sample_id)"},
}};

std::string triggerSql(const SupportIndex& trigger)
{
    std::string sql = "CREATE TRIGGER " + std::string(trigger.name) + " " + trigger.definition;
    if (!sql.ends_with("END")) sql += std::string(" ") + kMissingSample;
    return sql;
}

// About a second of index building at this many samples.
constexpr std::int64_t kReportedIndexBuild = 100000;

} // namespace

void Database::createSupportIndexes(const OpenProgress& progress)
{
    // Missing, or left by a release that defined it differently.
    std::vector<const SupportIndex*> missing;
    for (const SupportIndex& index : kSupportIndexes) {
        Statement st(_db.get(), "SELECT sql FROM sqlite_schema WHERE type='index' AND name=?");
        st.bind(1, index.name);
        if (st.step() && st.columnText(0) == "CREATE INDEX " + std::string(index.name) + " ON " + index.definition) {
            continue;
        }
        missing.push_back(&index);
    }
    const int total = static_cast<int>(missing.size());
    // A fresh or small index builds them in an instant; only a long wait is reported.
    const bool report = progress && total > 0 && [&] {
        Statement rows(_db.get(), "SELECT count(*) FROM samples");
        return rows.step() && rows.columnInt64(0) >= kReportedIndexBuild;
    }();
    for (int done = 0; done < total; ++done) {
        if (report) progress(done, total);
        const std::string name = missing[done]->name;
        exec(("DROP INDEX IF EXISTS " + name + "; CREATE INDEX " + name + " ON " + missing[done]->definition).c_str());
    }
    if (report) progress(total, total);

    bool triggersMissing = false;
    for (const SupportIndex& trigger : kSupportTriggers) {
        Statement st(_db.get(), "SELECT sql FROM sqlite_schema WHERE type='trigger' AND name=?");
        st.bind(1, trigger.name);
        triggersMissing = triggersMissing || !st.step() || st.columnText(0) != triggerSql(trigger);
    }
    if (!triggersMissing) return;
    std::string sql = "BEGIN IMMEDIATE;";
    for (const SupportIndex& trigger : kSupportTriggers) {
        sql += "DROP TRIGGER IF EXISTS " + std::string(trigger.name) + ";" + triggerSql(trigger) + ";";
    }
    sql += "DELETE FROM sample_genres WHERE sample_id NOT IN (SELECT id FROM samples);"
           "DELETE FROM playlist_items WHERE sample_id NOT IN (SELECT id FROM samples);COMMIT;";
    try {
        exec(sql.c_str());
    } catch (...) {
        sqlite3_exec(_db.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

Database::~Database() = default;

namespace {

// A group closes after this many writes or this long after it began, whichever comes
// first: long enough that a scan writes each hot page once per group, short enough that
// other connections see a scan's progress and a crash costs little.
constexpr int kGroupWrites = 256;
constexpr auto kGroupTime = std::chrono::milliseconds(250);

} // namespace

Database::ScanBatch::ScanBatch(Database& db)
    : _db(db)
{
    std::lock_guard lock(_db._mutex);
    ++_db._group.batches;
}

Database::ScanBatch::~ScanBatch()
{
    if (_finished) return;
    std::lock_guard lock(_db._mutex);
    if (--_db._group.batches > 0) return;
    try {
        _db.commitScanGroup();
    } catch (const std::exception&) {
        // Leaving after a failure: that failure is the one reported.
    }
}

void Database::ScanBatch::finish()
{
    std::lock_guard lock(_db._mutex);
    _finished = true;
    if (--_db._group.batches == 0) _db.commitScanGroup();
}

std::unique_lock<std::mutex> Database::settledLock() const
{
    std::unique_lock lock(_mutex);
    commitScanGroup();
    return lock;
}

void Database::commitScanGroup() const
{
    if (!_group.open) return;
    _group.open = false;
    sqlite3* db = _db.get();
    // An I/O or full-disk error may already have rolled the group back.
    if (sqlite3_get_autocommit(db)) return;
    if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        const std::string message = sqlite3_errmsg(db);
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw std::runtime_error(message);
    }
}

void Database::beginGroupedWrite()
{
    if (_group.batches == 0 || _group.open) return;
    execute(_db.get(), "BEGIN IMMEDIATE");
    _group.open = true;
    _group.writes = 0;
    _group.began = std::chrono::steady_clock::now();
}

void Database::endGroupedWrite()
{
    if (_group.open) ++_group.writes;
    commitScanGroupWhenDue();
}

void Database::commitScanGroupWhenDue() const
{
    if (_group.open
        && (_group.writes >= kGroupWrites || std::chrono::steady_clock::now() - _group.began >= kGroupTime)) {
        commitScanGroup();
    }
}

int Database::exec(const char* sql)
{
    execute(_db.get(), sql);
    return 0;
}

} // namespace qv
