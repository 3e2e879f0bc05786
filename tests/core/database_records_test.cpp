#include "db/database.h"
#include "support/index_test.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

class DatabaseRecords : public qv::test::IndexTest {
protected:
    fs::path _root = _dir / "Library 'A' 100%";

    qv::Sample sample(const std::string& relative, qv::SampleType type = qv::SampleType::OneShot)
    {
        qv::Sample s;
        s.path = (_root / relative).string();
        s.filename = fs::path(s.path).filename().string();
        s.type = type;
        s.musicalKey = "None";
        s.fileSize = 1000;
        s.modifiedAt = 1700000000;
        return s;
    }

    std::int64_t idOf(const std::string& path)
    {
        auto found = _db.findByPath(path);
        return found ? found->id : 0;
    }
};

TEST_F(DatabaseRecords, LibrariesAreAddedOnceLabelledAndMarkedOffline)
{
    const auto id = _db.addLibrary(_root);
    EXPECT_EQ(_raw.text("SELECT coalesce(last_scanned_at,'<null>') FROM libraries"), "<null>");
    EXPECT_EQ(_db.addLibrary(_root), id);
    EXPECT_GT(_raw.integer("SELECT last_scanned_at FROM libraries"), 1600000000);

    _db.setLibraryDisplayLabel(id, "  Drums 'n' Bass ");
    ASSERT_EQ(_db.libraries().size(), 1u);
    EXPECT_EQ(_db.libraries()[0].displayLabel, "  Drums 'n' Bass "); // stored as given
    _db.setLibraryDisplayLabel(id, "");
    EXPECT_EQ(_db.libraries()[0].displayLabel, "");
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM app_metadata"), 0);

    const std::string offlineRows = "SELECT count(*) FROM app_metadata WHERE key=?";
    const std::vector<std::string> offlineKey = {"offline_library:" + _root.string()};
    _db.setLibraryAvailable(_root, false);
    _db.setLibraryAvailable(_root, false);
    EXPECT_EQ(_raw.integer(offlineRows, offlineKey), 1);
    _db.setLibraryAvailable(_root, true);
    EXPECT_EQ(_raw.integer(offlineRows, offlineKey), 0);
}

TEST_F(DatabaseRecords, LibrariesAreListedCaseInsensitivelyWithVisibleCounts)
{
    const auto b = _db.addLibrary("/b");
    const auto a = _db.addLibrary("/A");
    _db.addLibrary("/c");
    auto s = sample("x.wav");
    s.path = "/b/Kick.wav";
    _db.upsert(s, b);
    s.path = "/b/._Kick.wav";
    s.filename = "._Kick.wav";
    _db.upsert(s, b);
    s.path = "/A/Snare.wav";
    s.filename = "Snare.wav";
    _db.upsert(s, a);
    _db.setLibraryDisplayLabel(a, "Alpha");

    const auto libraries = _db.libraries();
    ASSERT_EQ(libraries.size(), 3u);
    EXPECT_EQ(libraries[0].path, "/A");
    EXPECT_EQ(libraries[0].displayLabel, "Alpha");
    EXPECT_EQ(libraries[0].sampleCount, 1);
    EXPECT_EQ(libraries[1].path, "/b");
    EXPECT_EQ(libraries[1].sampleCount, 1); // the "._" companion is not counted
    EXPECT_EQ(libraries[2].sampleCount, 0);

    EXPECT_EQ(_db.countSamples(), 2);
    const auto paths = _db.indexedPaths();
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_EQ(paths[0].samplePath, "/A/Snare.wav");
    EXPECT_EQ(paths[0].libraryLabel, "Alpha");
    EXPECT_EQ(paths[1].samplePath, "/b/Kick.wav");
    EXPECT_EQ(paths[1].libraryPath, "/b");
    EXPECT_EQ(paths[1].libraryLabel, "");
}

TEST_F(DatabaseRecords, UpsertStoresEveryFieldAndFindByPathReturnsTheIdentity)
{
    const auto lib = _db.addLibrary(_root);
    auto s = sample("Loops/Caf\xC3\xA9 \"Loop\" 120.wav", qv::SampleType::Loop);
    s.bpm = 120;
    s.duration = 2.5;
    s.instrument = "Keys";
    s.musicalKey = "A minor";
    _db.upsert(s, lib);

    auto found = _db.findByPath(s.path);
    ASSERT_TRUE(found);
    EXPECT_GT(found->id, 0);
    EXPECT_EQ(found->path, s.path);
    EXPECT_EQ(found->fileSize, 1000);
    EXPECT_EQ(found->modifiedAt, 1700000000);
    EXPECT_EQ(found->filename, ""); // only the identity is read back
    EXPECT_FALSE(_db.findByPath(_root / "missing.wav"));

    EXPECT_EQ(_raw.text("SELECT type||'|'||auto_type||'|'||instrument||'|'||auto_instrument||'|'||bpm||'|'||"
                        "musical_key||'|'||duration FROM samples"),
              "Loop|Loop|Keys|Keys|120|A minor|2.5");

    auto bare = sample("Pad.wav");
    bare.musicalKey = "None";
    _db.upsert(bare, lib);
    EXPECT_EQ(_raw.text("SELECT coalesce(bpm,'null')||coalesce(duration,'null')||'|'||instrument FROM samples WHERE "
                        "filename='Pad.wav'"),
              "nullnull|"); // empty instrument is stored as text, not NULL
}

// A scan's writes reach other connections in groups; anything else the application does
// commits the open group first, and a user's edit is on disk when its call returns.
TEST_F(DatabaseRecords, ScanBatchGroupsWritesButNeverHoldsBackOtherWork)
{
    const auto lib = _db.addLibrary(_root);
    const auto stored = [&] { return _raw.integer("SELECT count(*) FROM samples"); };
    {
        qv::Database::ScanBatch batch(_db);
        _db.upsert(sample("a.wav"), lib);
        EXPECT_EQ(stored(), 0);
        EXPECT_EQ(_db.countSamples(), 1); // commits the group
        EXPECT_EQ(stored(), 1);

        _db.upsert(sample("b.wav"), lib);
        _db.setFavorite(idOf((_root / "b.wav").string()), true);
        EXPECT_EQ(_raw.integer("SELECT count(*) FROM samples WHERE favorite=1"), 1);

        _db.upsert(sample("c.wav"), lib);
        batch.finish();
        EXPECT_EQ(stored(), 3);
    }

    // A long scan shows its progress without anything else running, and a scan that
    // fails keeps what it wrote.
    try {
        qv::Database::ScanBatch batch(_db);
        for (int i = 0; i < 300; ++i) _db.upsert(sample("long/" + std::to_string(i) + ".wav"), lib);
        EXPECT_GE(stored(), 3 + 256);
        throw std::runtime_error("drive gone");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(stored(), 303);

    // After the batch, writes commit one by one again.
    _db.upsert(sample("d.wav"), lib);
    EXPECT_EQ(stored(), 304);
}

// A re-scan replaces what indexing inferred and keeps what the user decided.
TEST_F(DatabaseRecords, RescanKeepsFavouriteOverridesAndFolderGenres)
{
    const auto lib = _db.addLibrary(_root);
    auto s = sample("Drums/Kick.wav");
    s.instrument = "Kick";
    s.genre = "Techno";
    _db.upsert(s, lib);
    const auto id = idOf(s.path);
    _raw.exec("UPDATE samples SET favorite=1,user_type_override='Loop',type='Loop',type_override_source='sample',"
              "user_instrument_override='Perc',instrument='Perc',instrument_override_source='folder' WHERE id=" +
              std::to_string(id));
    _raw.exec("INSERT INTO sample_genres(sample_id,genre,source) VALUES(" + std::to_string(id) + ",'House','folder')");

    s.type = qv::SampleType::Unknown;
    s.instrument = "Snare";
    s.genre = "Ambient";
    s.fileSize = 2000;
    _db.upsert(s, lib);

    EXPECT_EQ(idOf(s.path), id);
    EXPECT_EQ(_raw.text("SELECT favorite||'|'||type||'|'||auto_type||'|'||type_override_source||'|'||instrument||'|'||"
                        "auto_instrument||'|'||instrument_override_source||'|'||file_size FROM samples"),
              "1|Loop|Unknown|sample|Perc|Snare|folder|2000");
    // Folder genres come first, whatever the alphabet says; the old auto genre is gone.
    EXPECT_EQ(_raw.text("SELECT genre FROM samples"), "House, Ambient");
    EXPECT_EQ(_raw.text("SELECT auto_genre FROM samples"), "Ambient");

    s.genre = "";
    _db.upsert(s, lib);
    EXPECT_EQ(_raw.text("SELECT genre FROM samples"), "House");
    _raw.exec("DELETE FROM sample_genres");
    _db.upsert(s, lib);
    EXPECT_EQ(_raw.text("SELECT genre FROM samples"), "<null>");

    // The full-text rows followed every rewrite of the record.
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_search WHERE sample_search MATCH 'genre:house OR genre:ambient "
                           "OR genre:techno'"),
              0);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_search WHERE sample_search MATCH 'instrument:perc'"), 1);
}

TEST_F(DatabaseRecords, RelinkFollowsOneVanishedFileAndRefusesDuplicatesAndAmbiguity)
{
    const auto lib = _db.addLibrary(_root);
    auto s = sample("Old/Kick.wav");
    _db.upsert(s, lib);
    const auto id = idOf(s.path);
    _raw.exec("UPDATE samples SET favorite=1");
    const auto moved = _root / "New/Kick.wav";

    // The old file still exists: a copy, not a move.
    qv::testkit::writeFile(s.path, "x");
    EXPECT_FALSE(_db.relinkMovedSample(lib, moved, 1000, 1700000000));
    fs::remove(s.path);

    // Size, time, library and exact name must all agree.
    EXPECT_FALSE(_db.relinkMovedSample(lib, moved, 1001, 1700000000));
    EXPECT_FALSE(_db.relinkMovedSample(lib, moved, 1000, 1700000001));
    EXPECT_FALSE(_db.relinkMovedSample(lib + 1, moved, 1000, 1700000000));
    EXPECT_FALSE(_db.relinkMovedSample(lib, _root / "New/kick.wav", 1000, 1700000000));

    const auto old = _db.relinkMovedSample(lib, moved, 1000, 1700000000);
    ASSERT_TRUE(old);
    EXPECT_EQ(old->string(), s.path);
    EXPECT_EQ(idOf(moved.string()), id);
    EXPECT_EQ(_raw.integer("SELECT favorite FROM samples WHERE id=" + std::to_string(id)), 1);
    EXPECT_FALSE(_db.findByPath(s.path));

    // Two vanished twins: a third copy cannot tell which one moved.
    auto twin = sample("Other/Kick.wav");
    _db.upsert(twin, lib);
    EXPECT_FALSE(_db.relinkMovedSample(lib, _root / "Third/Kick.wav", 1000, 1700000000));
    EXPECT_EQ(idOf(moved.string()), id);
    EXPECT_TRUE(_db.findByPath(twin.path));
}

TEST_F(DatabaseRecords, RemoveMissingDeletesUnseenRowsOrNothingAtAll)
{
    const auto lib = _db.addLibrary(_root);
    const auto other = _db.addLibrary(_dir / "other");
    std::vector<std::string> all;
    for (const char* name : {"a.wav", "b.wav", "c.wav", "d.wav"}) {
        auto s = sample(name);
        _db.upsert(s, lib);
        all.push_back(s.path);
    }
    auto foreign = sample("x.wav");
    foreign.path = (_dir / "other/x.wav").string();
    _db.upsert(foreign, other);

    std::uint64_t removed = 99;
    _db.removeMissing(lib, all, removed);
    EXPECT_EQ(removed, 0u);

    // A delete that fails half-way must take the earlier deletes with it.
    _raw.exec("CREATE TRIGGER refuse BEFORE DELETE ON samples WHEN old.filename='d.wav' BEGIN SELECT "
              "RAISE(ABORT,'refused'); END;");
    removed = 99;
    EXPECT_THROW(_db.removeMissing(lib, {all[0]}, removed), std::runtime_error);
    EXPECT_EQ(removed, 0u);
    EXPECT_EQ(_db.countSamples(), 5);
    _raw.exec("DROP TRIGGER refuse");

    _db.removeMissing(lib, {all[0], all[3]}, removed);
    EXPECT_EQ(removed, 2u);
    EXPECT_EQ(_db.countSamples(), 3);
    EXPECT_TRUE(_db.findByPath(foreign.path)); // other libraries are not touched
}

TEST_F(DatabaseRecords, RemovingALibraryCascadesButKeepsItsMetadataRows)
{
    const auto lib = _db.addLibrary(_root);
    auto s = sample("Kick.wav");
    s.genre = "House";
    _db.upsert(s, lib);
    _raw.exec("INSERT INTO playlists(id,name) VALUES(1,'P'); INSERT INTO playlist_items(playlist_id,sample_id) "
              "SELECT 1,id FROM samples;");
    _db.setLibraryDisplayLabel(lib, "Mine");
    _db.setLibraryAvailable(_root, false);

    _db.removeLibrary(lib);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM samples"), 0);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_genres"), 0);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM playlist_items"), 0);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM playlists"), 1);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM app_metadata"), 2);
    EXPECT_TRUE(_db.libraries().empty());
}

TEST_F(DatabaseRecords, ParserRevisionDefaultsToZeroAndRejectsGarbage)
{
    EXPECT_EQ(_db.parserRevision(), 0);
    _db.setParserRevision(6);
    EXPECT_EQ(_db.parserRevision(), 6);
    _raw.exec("UPDATE app_metadata SET value='six' WHERE key='parser_revision'");
    EXPECT_THROW(_db.parserRevision(), std::exception);
}

} // namespace
