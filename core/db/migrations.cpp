#include "db/migrations.h"

#include "db/database.h"
#include "db/schema.h"
#include "sql/connection.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <system_error>

namespace qv {

namespace schema {

const char* const kVersionTable =
    "CREATE TABLE IF NOT EXISTS schema_version(version INTEGER NOT NULL); "
    "INSERT INTO schema_version SELECT 0 WHERE NOT EXISTS(SELECT 1 FROM schema_version);";

const std::array<const char*, kCurrentVersion> kScripts = {
    // 1: a new database.
    "BEGIN; CREATE TABLE libraries(id INTEGER PRIMARY KEY,path TEXT NOT NULL UNIQUE,added_at INTEGER NOT NULL "
    "DEFAULT(unixepoch()),last_scanned_at INTEGER);\n"
    "CREATE TABLE samples(id INTEGER PRIMARY KEY,path TEXT NOT NULL UNIQUE,filename TEXT NOT NULL,library_id INTEGER "
    "REFERENCES libraries(id) ON DELETE CASCADE,type TEXT NOT NULL DEFAULT 'Unknown',genre TEXT,instrument TEXT,bpm "
    "INTEGER,musical_key TEXT NOT NULL DEFAULT 'None',duration REAL,file_size INTEGER NOT NULL,modified_at INTEGER "
    "NOT NULL,file_identity TEXT,analyzed_at INTEGER NOT NULL DEFAULT(unixepoch()),favorite INTEGER NOT NULL "
    "DEFAULT 0);\n"
    "CREATE TABLE tags(id INTEGER PRIMARY KEY,name TEXT NOT NULL UNIQUE);\n"
    "CREATE TABLE sample_tags(sample_id INTEGER REFERENCES samples(id) ON DELETE CASCADE,tag_id INTEGER REFERENCES "
    "tags(id) ON DELETE CASCADE,PRIMARY KEY(sample_id,tag_id));\n"
    "CREATE TABLE playlists(id INTEGER PRIMARY KEY,name TEXT NOT NULL UNIQUE,created_at INTEGER NOT NULL "
    "DEFAULT(unixepoch()));\n"
    "CREATE TABLE playlist_items(playlist_id INTEGER REFERENCES playlists(id) ON DELETE CASCADE,sample_id INTEGER "
    "REFERENCES samples(id) ON DELETE CASCADE,position INTEGER,PRIMARY KEY(playlist_id,sample_id));\n"
    "CREATE INDEX idx_samples_type ON samples(type); CREATE INDEX idx_samples_instrument ON samples(instrument); "
    "CREATE INDEX idx_samples_bpm ON samples(bpm); CREATE INDEX idx_samples_key ON samples(musical_key); CREATE "
    "INDEX idx_samples_library ON samples(library_id);\n"
    "CREATE VIRTUAL TABLE sample_search USING "
    "fts5(filename,path,type,genre,instrument,musical_key,tags,content='samples',content_rowid='id');\n"
    "CREATE TRIGGER samples_ai AFTER INSERT ON samples BEGIN INSERT INTO "
    "sample_search(rowid,filename,path,type,genre,instrument,musical_key,tags) "
    "VALUES(new.id,new.filename,new.path,new.type,new.genre,new.instrument,new.musical_key,''); END;\n"
    "CREATE TRIGGER samples_ad AFTER DELETE ON samples BEGIN INSERT INTO "
    "sample_search(sample_search,rowid,filename,path,type,genre,instrument,musical_key,tags) "
    "VALUES('delete',old.id,old.filename,old.path,old.type,old.genre,old.instrument,old.musical_key,''); END;\n"
    "CREATE TRIGGER samples_au AFTER UPDATE ON samples BEGIN INSERT INTO "
    "sample_search(sample_search,rowid,filename,path,type,genre,instrument,musical_key,tags) "
    "VALUES('delete',old.id,old.filename,old.path,old.type,old.genre,old.instrument,old.musical_key,''); INSERT "
    "INTO sample_search(rowid,filename,path,type,genre,instrument,musical_key,tags) "
    "VALUES(new.id,new.filename,new.path,new.type,new.genre,new.instrument,new.musical_key,''); END;\n"
    "UPDATE schema_version SET version=1; COMMIT;",

    // 2
    "BEGIN; CREATE TABLE IF NOT EXISTS app_metadata(key TEXT PRIMARY KEY,value TEXT NOT NULL); CREATE INDEX IF NOT "
    "EXISTS idx_samples_favorite ON samples(favorite); UPDATE schema_version SET version=2; COMMIT;",

    // 3
    "BEGIN; CREATE INDEX IF NOT EXISTS idx_samples_path ON samples(path); CREATE INDEX IF NOT EXISTS "
    "idx_playlist_items_sample ON playlist_items(sample_id); UPDATE schema_version SET version=3; COMMIT;",

    // 4
    "BEGIN; ALTER TABLE samples ADD COLUMN auto_type TEXT NOT NULL DEFAULT 'Unknown'; ALTER TABLE samples ADD COLUMN "
    "user_type_override TEXT; UPDATE samples SET auto_type=type; CREATE INDEX IF NOT EXISTS "
    "idx_samples_type_override ON samples(user_type_override); UPDATE schema_version SET version=4; COMMIT;",

    // 5
    "BEGIN;\n"
    "ALTER TABLE samples ADD COLUMN auto_instrument TEXT;\n"
    "ALTER TABLE samples ADD COLUMN user_instrument_override TEXT;\n"
    "ALTER TABLE samples ADD COLUMN auto_genre TEXT;\n"
    "ALTER TABLE samples ADD COLUMN type_override_source TEXT;\n"
    "ALTER TABLE samples ADD COLUMN instrument_override_source TEXT;\n"
    "UPDATE samples SET auto_instrument=instrument,auto_genre=genre;\n"
    "CREATE TABLE sample_genres(sample_id INTEGER NOT NULL REFERENCES samples(id) ON DELETE CASCADE,genre TEXT NOT "
    "NULL,source TEXT NOT NULL DEFAULT 'auto',PRIMARY KEY(sample_id,genre,source));\n"
    "INSERT OR IGNORE INTO sample_genres(sample_id,genre,source) SELECT id,genre,'auto' FROM samples WHERE genre IS "
    "NOT NULL AND trim(genre)<>'';\n"
    "CREATE INDEX idx_sample_genres_genre ON sample_genres(genre COLLATE NOCASE,sample_id);\n"
    "CREATE INDEX idx_samples_instrument_override ON samples(user_instrument_override);\n"
    "UPDATE schema_version SET version=5;COMMIT;",

    // 6: the name order a ranked search reads, kept for the next process. Any write that
    // could move a sample in it (a row added or removed, an id or file name changed),
    // by whichever connection, removes it in the same transaction.
    "BEGIN;\n"
    "CREATE TABLE search_name_order(id INTEGER PRIMARY KEY CHECK(id=1),format INTEGER NOT NULL,places BLOB NOT "
    "NULL,words BLOB NOT NULL);\n"
    "CREATE TRIGGER search_name_order_ai AFTER INSERT ON samples BEGIN DELETE FROM search_name_order; END;\n"
    "CREATE TRIGGER search_name_order_ad AFTER DELETE ON samples BEGIN DELETE FROM search_name_order; END;\n"
    "CREATE TRIGGER search_name_order_au AFTER UPDATE OF id,filename ON samples BEGIN DELETE FROM "
    "search_name_order; END;\n"
    "UPDATE schema_version SET version=6;COMMIT;",

    // 7: the full-text table again, with an index of each word's first one and two
    // letters, so that a short prefix (the first keys typed into the search field) reads
    // one list instead of merging those of every word starting with it. Its content is copied
    // from the samples, as the triggers keep it; the tags column has always been empty.
    // The stored name order gains each name's initials.
    "BEGIN;\n"
    "DELETE FROM search_name_order;\n"
    "ALTER TABLE search_name_order ADD COLUMN initials BLOB NOT NULL DEFAULT x'';\n"
    "DROP TABLE sample_search;\n"
    "CREATE VIRTUAL TABLE sample_search USING "
    "fts5(filename,path,type,genre,instrument,musical_key,tags,content='samples',content_rowid='id',prefix='1 2');\n"
    "INSERT INTO sample_search(rowid,filename,path,type,genre,instrument,musical_key,tags) "
    "SELECT id,filename,path,type,genre,instrument,musical_key,'' FROM samples;\n"
    "UPDATE schema_version SET version=7;COMMIT;",
};

} // namespace schema

void Database::migrate(const OpenProgress& progress)
{
    const auto lock = settledLock();
    exec(schema::kVersionTable);

    int version = 0;
    try {
        Statement st(*_connection, "SELECT version FROM schema_version");
        if (st.step()) version = static_cast<int>(st.columnInt64(0));
    } catch (const SqliteError&) {
        // An unreadable version counts as 0.
    }

    // Only version 5 changed existing data; later scripts add tables beside it.
    if (version >= 1 && version < 5) backupBeforeVersion5();

    // Version 7 rebuilds the full-text table: half a minute at a million samples.
    const bool report = progress && version >= 1 && version < 7 && [&] {
        Statement rows(*_connection, "SELECT count(*) FROM samples");
        return rows.step() && rows.columnInt64(0) >= schema::kReportedBuild;
    }();
    if (report) progress(0, 1);
    for (int next = std::max(version, 0) + 1; next <= schema::kCurrentVersion; ++next) {
        // A failing script leaves its transaction open; the exception makes the
        // database unusable, which is the point.
        exec(schema::kScripts[static_cast<std::size_t>(next - 1)]);
    }
    if (report) progress(1, 1);
}

void Database::backupBeforeVersion5()
{
    const std::filesystem::path backupPath = _connection->fileName() + ".pre-v5-backup";

    std::error_code ec;
    const auto type = std::filesystem::status(backupPath, ec).type();
    if (type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::none) {
        return; // never overwrite an earlier backup
    }

    switch (_connection->backupTo(backupPath)) {
    case Connection::Backup::Done: return;
    case Connection::Backup::NotOpened: throw std::runtime_error("Could not create migration backup");
    case Connection::Backup::Failed:
        std::filesystem::remove(backupPath, ec);
        throw std::runtime_error("Could not complete migration backup");
    }
}

} // namespace qv
