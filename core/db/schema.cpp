#include "db/schema.h"

#include "sql/connection.h"
#include "sql/statement.h"
#include "sql/transaction.h"

namespace qv::schema {

namespace {

std::string index(const char* name, const std::string& on)
{
    return "CREATE INDEX " + std::string(name) + " ON " + on;
}

std::string visible(const std::string& columns)
{
    return "samples(" + columns + ") WHERE " + kVisibleFile;
}

// Refuses a member row for a missing sample, as the foreign key would.
std::string refusal(const char* name, const std::string& when)
{
    return "CREATE TRIGGER " + std::string(name) + " " + when
        + " BEGIN SELECT RAISE(ABORT,'FOREIGN KEY constraint failed'); END";
}

} // namespace

const std::vector<SupportObject>& supportIndexes()
{
    // All but the first serve the indexed search plan. The visible ones hold no "._"
    // rows, order them the way a page is sorted and carry the library, so that counts
    // and pages are answered from the index alone. Each costs the scanner a page write
    // per file and group commit.
    static const std::vector<SupportObject> indexes = {
        // The scanner looks up move candidates by name, size and time for every new file.
        {kRelinkIndex, index(kRelinkIndex, "samples(filename,file_size,modified_at)")},
        {kVisibleNameIndex, index(kVisibleNameIndex, visible("filename COLLATE NOCASE,id,library_id"))},
        {kVisibleDurationIndex,
         index(kVisibleDurationIndex, visible("duration,filename COLLATE NOCASE,id,library_id"))},
        {kVisibleIdIndex, index(kVisibleIdIndex, visible("id,filename,library_id"))},
        // The type too, so that a tempo or key filter with a type, or with a word the type
        // matches, is answered without reading the rows.
        {kVisibleBpmIndex, index(kVisibleBpmIndex, visible("bpm,filename COLLATE NOCASE,id,library_id,type"))},
        {kVisibleKeyIndex, index(kVisibleKeyIndex, visible("musical_key,type,filename,id,library_id"))},
        {kVisibleFavoriteIndex,
         index(kVisibleFavoriteIndex,
               "samples(filename COLLATE NOCASE,id,library_id) WHERE favorite=1 AND " + std::string(kVisibleFile))},
        // Hidden rows, so that the count of all visible samples is a subtraction.
        {kHiddenIndex, index(kHiddenIndex, "samples(library_id,filename) WHERE " + std::string(kHiddenFile))},
        // Filter value lists skip from one distinct value to the next: instruments with
        // their type, each pair's rows in id order; genres in byte order, which the
        // case-blind genre index cannot tell apart.
        {kVisibleInstrumentIndex, index(kVisibleInstrumentIndex, visible("instrument,type"))},
        {kGenreValueIndex, index(kGenreValueIndex, "sample_genres(genre,sample_id)")},
    };
    return indexes;
}

const std::vector<SupportObject>& supportTriggers()
{
    // Genre and playlist rows point at existing samples even after a connection without
    // foreign keys deleted one, as the schema's ON DELETE CASCADE intends, so that the
    // search can count members without looking each up.
    static const std::vector<SupportObject> triggers = {
        {"samples_members_ad",
         "CREATE TRIGGER samples_members_ad AFTER DELETE ON samples BEGIN DELETE FROM sample_genres WHERE "
         "sample_id=old.id; DELETE FROM playlist_items WHERE sample_id=old.id; END"},
        {"samples_members_bu",
         refusal("samples_members_bu",
                 "BEFORE UPDATE OF id ON samples WHEN new.id IS NOT old.id AND (EXISTS(SELECT 1 FROM sample_genres "
                 "WHERE sample_id=old.id) OR EXISTS(SELECT 1 FROM playlist_items WHERE sample_id=old.id))")},
        {"sample_genres_sample_bi",
         refusal("sample_genres_sample_bi", "BEFORE INSERT ON sample_genres WHEN new.sample_id IS NOT NULL AND NOT "
                                            "EXISTS(SELECT 1 FROM samples WHERE id=new.sample_id)")},
        {"sample_genres_sample_bu",
         refusal("sample_genres_sample_bu", "BEFORE UPDATE OF sample_id ON sample_genres WHEN new.sample_id IS NOT "
                                            "NULL AND NOT EXISTS(SELECT 1 FROM samples WHERE id=new.sample_id)")},
        {"playlist_items_sample_bi",
         refusal("playlist_items_sample_bi", "BEFORE INSERT ON playlist_items WHEN new.sample_id IS NOT NULL AND NOT "
                                             "EXISTS(SELECT 1 FROM samples WHERE id=new.sample_id)")},
        {"playlist_items_sample_bu",
         refusal("playlist_items_sample_bu", "BEFORE UPDATE OF sample_id ON playlist_items WHEN new.sample_id IS NOT "
                                             "NULL AND NOT EXISTS(SELECT 1 FROM samples WHERE id=new.sample_id)")},
    };
    return triggers;
}

namespace {

// Whether a samples row, "new" or "old" in a trigger, is counted in the folder table.
std::string counted(const std::string& row)
{
    return "substr(" + row + ".filename,1,2)<>'._' AND " + row + ".library_id IS NOT NULL";
}

std::string folderOf(const std::string& row)
{
    return "rtrim(" + row + ".path,replace(" + row + ".path,'/',''))";
}

std::string countNew()
{
    return "INSERT INTO sample_folders(library_id,folder,visible_samples) SELECT new.library_id," + folderOf("new")
        + ",1 WHERE " + counted("new")
        + " ON CONFLICT(library_id,folder) DO UPDATE SET visible_samples=visible_samples+1;";
}

// A folder goes with its last sample.
std::string uncountOld()
{
    const std::string key = "library_id=old.library_id AND folder=" + folderOf("old");
    return "UPDATE sample_folders SET visible_samples=visible_samples-1 WHERE " + key + " AND " + counted("old")
        + "; DELETE FROM sample_folders WHERE " + key + " AND visible_samples<=0;";
}

} // namespace

const SupportObject& folderTable()
{
    static const SupportObject table = {
        kFolderTable, "CREATE TABLE sample_folders(library_id INTEGER NOT NULL,folder TEXT NOT NULL,visible_samples "
                      "INTEGER NOT NULL,PRIMARY KEY(library_id,folder)) WITHOUT ROWID"};
    return table;
}

const std::vector<SupportObject>& folderTriggers()
{
    // A scan pays one lookup in this small table per new file; a rescan's upsert names
    // the columns but changes none of them, so its update does nothing here.
    static const std::vector<SupportObject> triggers = {
        {"sample_folders_ai", "CREATE TRIGGER sample_folders_ai AFTER INSERT ON samples BEGIN " + countNew() + " END"},
        {"sample_folders_ad", "CREATE TRIGGER sample_folders_ad AFTER DELETE ON samples BEGIN " + uncountOld() + " END"},
        {"sample_folders_au",
         "CREATE TRIGGER sample_folders_au AFTER UPDATE OF path,filename,library_id ON samples WHEN old.path IS NOT "
         "new.path OR old.filename IS NOT new.filename OR old.library_id IS NOT new.library_id BEGIN "
             + uncountOld() + " " + countNew() + " END"},
    };
    return triggers;
}

namespace {

// Missing, or left by a release that defined it differently.
bool current(Connection& db, const char* type, const SupportObject& object)
{
    Statement st(db, "SELECT sql FROM sqlite_schema WHERE type=? AND name=?");
    st.bind(1, type);
    st.bind(2, object.name);
    return st.step() && st.columnView(0) == object.sql;
}

bool folderCountsCurrent(Connection& db)
{
    if (!current(db, "table", folderTable())) return false;
    for (const SupportObject& trigger : folderTriggers()) {
        if (!current(db, "trigger", trigger)) return false;
    }
    return true;
}

// The table and its triggers anew, in one transaction so that no write falls between
// the count and the triggers that keep it.
void refillFolderTable(Connection& db)
{
    Transaction transaction(db);
    for (const SupportObject& trigger : folderTriggers()) db.exec("DROP TRIGGER IF EXISTS " + std::string(trigger.name));
    db.exec("DROP TABLE IF EXISTS " + std::string(kFolderTable) + "; " + folderTable().sql);
    db.exec("INSERT INTO sample_folders(library_id,folder,visible_samples) SELECT library_id,"
            "rtrim(path,replace(path,'/','')),count(*) FROM samples WHERE "
            + std::string(kVisibleFile) + " AND library_id IS NOT NULL GROUP BY 1,2");
    for (const SupportObject& trigger : folderTriggers()) db.exec(trigger.sql);
    transaction.commit();
}

} // namespace

void createSupportObjects(Connection& db, const std::function<void(int done, int total)>& progress)
{
    std::vector<const SupportObject*> missing;
    for (const SupportObject& index : supportIndexes()) {
        if (!current(db, "index", index)) missing.push_back(&index);
    }
    const bool refill = !folderCountsCurrent(db);
    const int total = static_cast<int>(missing.size()) + (refill ? 1 : 0);
    // A fresh or small index builds them in an instant; only a long wait is reported.
    const bool report = progress && total > 0 && [&] {
        Statement rows(db, "SELECT count(*) FROM samples");
        return rows.step() && rows.columnInt64(0) >= kReportedBuild;
    }();
    int done = 0;
    for (const SupportObject* index : missing) {
        if (report) progress(done++, total);
        db.exec("DROP INDEX IF EXISTS " + std::string(index->name) + "; " + index->sql);
    }
    if (refill) {
        if (report) progress(done++, total);
        refillFolderTable(db);
    }
    if (report) progress(total, total);

    bool triggersCurrent = true;
    for (const SupportObject& trigger : supportTriggers()) triggersCurrent = triggersCurrent && current(db, "trigger", trigger);
    if (triggersCurrent) return;
    Transaction transaction(db);
    for (const SupportObject& trigger : supportTriggers()) {
        db.exec("DROP TRIGGER IF EXISTS " + std::string(trigger.name) + "; " + trigger.sql);
    }
    // Rows already left behind are invisible to every query; they go once, here.
    db.exec("DELETE FROM sample_genres WHERE sample_id NOT IN (SELECT id FROM samples);"
            "DELETE FROM playlist_items WHERE sample_id NOT IN (SELECT id FROM samples);");
    transaction.commit();
}

} // namespace qv::schema
