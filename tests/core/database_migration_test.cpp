#include "database_access.h"
#include "db/migrations.h"
#include "support/files.h"
#include "support/index_test.h"

namespace {

namespace fs = std::filesystem;
using qv::test::readFile;
using qv::testkit::RawDb;
using qv::testkit::TempDir;

// Builds a database the way an older release left it: the version table, then the
// first `version` scripts, then rows that later scripts must carry over.
void buildDatabaseAtVersion(const fs::path& file, int version)
{
    RawDb raw(file);
    raw.exec("PRAGMA journal_mode=WAL;");
    raw.exec(qv::schema::kVersionTable);
    for (int v = 1; v <= version; ++v) raw.exec(qv::schema::kScripts[static_cast<std::size_t>(v - 1)]);
    if (version >= 1) {
        raw.exec("INSERT INTO libraries(id,path) VALUES(1,'/Samples');"
                 "INSERT INTO samples(id,path,filename,library_id,type,genre,instrument,file_size,modified_at,favorite)"
                 " VALUES(7,'/Samples/Kick 01.wav','Kick 01.wav',1,'One Shot','House, Techno','Kick',10,20,1);"
                 "INSERT INTO samples(id,path,filename,library_id,type,file_size,modified_at)"
                 " VALUES(8,'/Samples/Pad.wav','Pad.wav',1,'Loop',10,20);"
                 "INSERT INTO playlists(id,name) VALUES(3,'Keepers');"
                 "INSERT INTO playlist_items(playlist_id,sample_id,position) VALUES(3,7,0);");
    }
    if (version >= 2) raw.exec("INSERT INTO app_metadata(key,value) VALUES('library_label:1','Main');");
}

class DatabaseMigration : public ::testing::Test {
protected:
    TempDir _dir;
    fs::path _file = _dir / "quorvalinder.db";
    fs::path _backup = _dir / "quorvalinder.db.pre-v5-backup";
};

TEST_F(DatabaseMigration, NewDatabaseInMissingFoldersIsCurrentWithoutABackup)
{
    const auto file = _dir / "a/b c/quorvalinder.db";
    { qv::Database db(file); }
    EXPECT_FALSE(fs::exists(file.string() + ".pre-v5-backup"));

    RawDb raw(file);
    EXPECT_EQ(raw.integer("SELECT version FROM schema_version"), qv::schema::kCurrentVersion);
    EXPECT_EQ(raw.integer("SELECT count(*) FROM schema_version"), 1);
    EXPECT_EQ(raw.text("PRAGMA journal_mode"), "wal");

    // A support index an older release defined differently is rebuilt as defined now.
    const std::string hiddenNow = raw.text("SELECT sql FROM sqlite_master WHERE name='idx_samples_hidden'");
    raw.exec("DROP INDEX idx_samples_hidden; CREATE INDEX idx_samples_hidden ON samples(library_id) WHERE "
             "substr(filename,1,2)='._'");
    { qv::Database db(file); }
    EXPECT_EQ(raw.text("SELECT sql FROM sqlite_master WHERE name='idx_samples_hidden'"), hiddenNow);
}

// Genre and playlist rows follow their sample even through a connection without foreign
// keys (the search counts members without looking each up), and rows such a connection
// left behind before are removed on open, the rest kept.
TEST_F(DatabaseMigration, MembershipRowsNeverOutliveTheirSample)
{
    { qv::Database db(_file); }
    RawDb raw(_file); // foreign keys off
    raw.exec("INSERT INTO libraries(id,path) VALUES(1,'/l'); INSERT INTO samples(id,path,filename,library_id,"
             "file_size,modified_at) VALUES(1,'/l/a.wav','a.wav',1,1,1),(2,'/l/b.wav','b.wav',1,1,1); INSERT INTO "
             "playlists(id,name) VALUES(1,'p'); INSERT INTO sample_genres(sample_id,genre) VALUES(1,'House'),"
             "(2,'House'); INSERT INTO playlist_items(playlist_id,sample_id) VALUES(1,1),(1,2)");
    const auto members = [&](int id) {
        return raw.integer("SELECT count(*) FROM sample_genres WHERE sample_id=?", {std::to_string(id)})
            + raw.integer("SELECT count(*) FROM playlist_items WHERE sample_id=?", {std::to_string(id)});
    };
    raw.exec("DELETE FROM samples WHERE id=1");
    EXPECT_EQ(members(1), 0);
    EXPECT_THROW(raw.exec("INSERT INTO sample_genres(sample_id,genre) VALUES(9,'Techno')"), std::runtime_error);
    EXPECT_THROW(raw.exec("INSERT INTO playlist_items(playlist_id,sample_id) VALUES(1,9)"), std::runtime_error);
    EXPECT_THROW(raw.exec("UPDATE playlist_items SET sample_id=9"), std::runtime_error);
    EXPECT_THROW(raw.exec("UPDATE samples SET id=9 WHERE id=2"), std::runtime_error);
    EXPECT_EQ(members(2), 2);

    raw.exec("DROP TRIGGER sample_genres_sample_bi; DROP TRIGGER playlist_items_sample_bi; INSERT INTO "
             "sample_genres(sample_id,genre) VALUES(9,'Techno'); INSERT INTO playlist_items(playlist_id,sample_id) "
             "VALUES(1,9),(1,NULL)");
    { qv::Database db(_file); }
    EXPECT_EQ(members(9), 0);
    EXPECT_EQ(members(2), 2);
    EXPECT_EQ(raw.integer("SELECT count(*) FROM playlist_items WHERE sample_id IS NULL"), 1);
}

// Every older version: a backup exactly for 1-4 holding the old content (later versions
// only gain or rebuild tables), data carried over, and a second open changes nothing.
TEST_F(DatabaseMigration, OlderVersionsAreBackedUpOnceAndCarriedToTheCurrentVersion)
{
    for (int version = 0; version < qv::schema::kCurrentVersion; ++version) {
        SCOPED_TRACE("from version " + std::to_string(version));
        TempDir dir;
        const auto file = dir / "quorvalinder.db";
        buildDatabaseAtVersion(file, version);

        { qv::Database db(file); }
        const fs::path backup = file.string() + ".pre-v5-backup";
        ASSERT_EQ(fs::exists(backup), version >= 1 && version <= 4);

        RawDb raw(file);
        EXPECT_EQ(raw.integer("SELECT version FROM schema_version"), qv::schema::kCurrentVersion);
        if (version >= 1 && version <= 4) {
            RawDb old(backup);
            EXPECT_EQ(old.integer("SELECT version FROM schema_version"), version);
            EXPECT_EQ(old.integer("SELECT count(*) FROM samples"), 2);

            EXPECT_EQ(raw.integer("SELECT count(*) FROM playlist_items WHERE playlist_id=3"), 1);
            EXPECT_EQ(raw.text("SELECT favorite||'|'||auto_type||'|'||auto_instrument FROM samples WHERE id=7"),
                      version >= 4 ? "1|Unknown|Kick" : "1|One Shot|Kick");
            // The old joined genre text becomes one 'auto' genre, not two; no genre, no row.
            EXPECT_EQ(raw.column("SELECT sample_id||':'||genre||'/'||source FROM sample_genres"),
                      std::vector<std::string>{"7:House, Techno/auto"});
        }
        // The full-text table, made again by version 7, still finds what was indexed.
        EXPECT_EQ(raw.integer("SELECT count(*) FROM sample_search WHERE sample_search MATCH 'k*'"), version >= 1);
        EXPECT_EQ(raw.text("SELECT coalesce((SELECT value FROM app_metadata WHERE key='library_label:1'),'-')"),
                  version >= 2 ? "Main" : "-");

        const std::string backupBytes = version <= 4 ? readFile(backup) : "";
        { qv::Database again(file); }
        EXPECT_EQ(raw.integer("SELECT version FROM schema_version"), qv::schema::kCurrentVersion);
        if (version <= 4) EXPECT_EQ(readFile(backup), backupBytes);
    }
}

TEST_F(DatabaseMigration, AnExistingBackupIsNeverOverwritten)
{
    buildDatabaseAtVersion(_file, 4);
    qv::testkit::writeFile(_backup, "an older backup");
    { qv::Database db(_file); }
    EXPECT_EQ(readFile(_backup), "an older backup");
    EXPECT_EQ(RawDb(_file).integer("SELECT version FROM schema_version"), qv::schema::kCurrentVersion);
}

// A backup that cannot be written stops the migration before any script runs.
TEST_F(DatabaseMigration, FailedBackupLeavesTheDatabaseUntouched)
{
    buildDatabaseAtVersion(_file, 3);
    // A dangling link into a folder that does not exist: the path reads as absent, but
    // nothing can be written through it.
    fs::create_symlink(_dir / "no such folder/backup", _backup);
    const std::string message = qv::test::errorOf([&] { qv::Database db(_file); });
    EXPECT_TRUE(message == "Could not create migration backup" || message == "Could not complete migration backup")
        << message;
    RawDb raw(_file);
    EXPECT_EQ(raw.integer("SELECT version FROM schema_version"), 3);
    EXPECT_EQ(raw.integer("SELECT count(*) FROM pragma_table_info('samples') WHERE name='auto_type'"), 0);
    EXPECT_EQ(raw.integer("SELECT count(*) FROM samples"), 2);
    EXPECT_FALSE(fs::exists(_dir / "no such folder"));
}

TEST_F(DatabaseMigration, OpeningSomethingThatIsNotADatabaseFails)
{
    qv::testkit::writeFile(_file, std::string(4096, 'x'));
    EXPECT_THROW(qv::Database db(_file), std::runtime_error);
    EXPECT_EQ(readFile(_file), std::string(4096, 'x'));
    fs::create_directories(_dir / "folder.db");
    EXPECT_THROW(qv::Database db(_dir / "folder.db"), std::runtime_error);
}

// The rank function must be registered as deterministic: only then may an index use it.
TEST_F(DatabaseMigration, RankFunctionIsRegisteredAsDeterministic)
{
    qv::Database db(_file);
    EXPECT_NO_THROW(qv::DatabaseTestAccess::exec(db, "CREATE INDEX probe ON samples(qv_filename_search_rank(filename,'kick')); DROP INDEX probe;"));
    EXPECT_EQ(qv::test::errorOf([&] { qv::DatabaseTestAccess::exec(db, "SELECT no_such_function()"); }),
              "no such function: no_such_function");
}

} // namespace
