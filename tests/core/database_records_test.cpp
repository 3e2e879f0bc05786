#include "support/index_test.h"

namespace {

namespace fs = std::filesystem;

class DatabaseRecords : public qv::test::IndexTest {
protected:
    fs::path _root = _dir / "Library 'A' 100%";
    std::int64_t _lib = _db.addLibrary(_root);

    qv::Sample sample(const std::string& relative) { return qv::test::sampleOf({(_root / relative).string()}); }

    std::int64_t idOf(const fs::path& path)
    {
        auto found = _db.findByPath(path);
        return found ? found->id : 0;
    }
};

TEST_F(DatabaseRecords, LibrariesListVisibleCountsAndTakeTheirRowsAlong)
{
    const auto b = _db.addLibrary("/b");
    EXPECT_EQ(_db.addLibrary("/b"), b);
    add({"/b/Kick.wav", qv::SampleType::OneShot, "", {}, "None", {"House"}}, b);
    add({"/b/._Kick.wav"}, b);
    _raw.exec("INSERT INTO playlists(id,name) VALUES(1,'P'); INSERT INTO playlist_items(playlist_id,sample_id) "
              "SELECT 1,id FROM samples;");
    _db.setLibraryDisplayLabel(b, "Beta");

    // By path, ignoring case; "._" companions are not counted.
    const auto libraries = _db.libraries();
    ASSERT_EQ(libraries.size(), 2u);
    EXPECT_EQ(libraries[0].path, "/b");
    EXPECT_EQ(libraries[0].displayLabel, "Beta");
    EXPECT_EQ(libraries[0].sampleCount, 1);
    EXPECT_EQ(libraries[1].path, _root.string());
    const auto names = _db.libraries(qv::Counts::Skipped); // the same list, in the same order
    ASSERT_EQ(names.size(), 2u);
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i].id, libraries[i].id);
        EXPECT_EQ(names[i].path, libraries[i].path);
        EXPECT_EQ(names[i].displayLabel, libraries[i].displayLabel);
        EXPECT_EQ(names[i].sampleCount, 0);
    }

    // Samples, genre rows and playlist members go; the playlist stays.
    _db.removeLibrary(b);
    EXPECT_EQ(_raw.text("SELECT (SELECT count(*) FROM samples)||(SELECT count(*) FROM sample_genres)||"
                        "(SELECT count(*) FROM playlist_items)||(SELECT count(*) FROM playlists)"),
              "0001");
}

// A scan's writes reach other connections in groups; anything else the application does
// commits the open group first, and a user's edit is on disk when its call returns.
TEST_F(DatabaseRecords, ScanBatchGroupsWritesButNeverHoldsBackOtherWork)
{
    const auto stored = [&] { return _raw.integer("SELECT count(*) FROM samples"); };
    {
        qv::Database::ScanBatch batch(_db);
        _db.upsert(sample("a.wav"), _lib);
        EXPECT_EQ(stored(), 0);
        EXPECT_EQ(_db.countSamples(), 1); // commits the group
        EXPECT_EQ(stored(), 1);

        _db.upsert(sample("b.wav"), _lib);
        _db.setFavorite(idOf(_root / "b.wav"), true);
        EXPECT_EQ(_raw.integer("SELECT count(*) FROM samples WHERE favorite=1"), 1);

        _db.upsert(sample("c.wav"), _lib);
        batch.finish();
        EXPECT_EQ(stored(), 3);
    }

    // A long scan shows its progress without anything else running, and a scan that
    // fails keeps what it wrote.
    try {
        qv::Database::ScanBatch batch(_db);
        for (int i = 0; i < 300; ++i) _db.upsert(sample("long/" + std::to_string(i) + ".wav"), _lib);
        EXPECT_GE(stored(), 3 + 256);
        throw std::runtime_error("drive gone");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(stored(), 303);

    // After the batch, writes commit one by one again.
    _db.upsert(sample("d.wav"), _lib);
    EXPECT_EQ(stored(), 304);
}

// A re-scan replaces what indexing inferred and keeps what the user decided.
TEST_F(DatabaseRecords, RescanKeepsFavouriteOverridesAndFolderGenres)
{
    auto s = qv::test::sampleOf({(_root / "Drums/Kick.wav").string(), qv::SampleType::OneShot, "Kick", {}, "None",
                                 {"Techno"}});
    _db.upsert(s, _lib);
    const auto id = idOf(s.path);
    _raw.exec("UPDATE samples SET favorite=1,user_type_override='Loop',type='Loop',type_override_source='sample',"
              "user_instrument_override='Perc',instrument='Perc',instrument_override_source='folder' WHERE id=" +
              std::to_string(id));
    _raw.exec("INSERT INTO sample_genres(sample_id,genre,source) VALUES(" + std::to_string(id) + ",'House','folder')");

    s.type = qv::SampleType::Unknown;
    s.instrument = "Snare";
    s.genre = "Ambient";
    s.fileSize = 2000;
    _db.upsert(s, _lib);

    EXPECT_EQ(idOf(s.path), id);
    EXPECT_EQ(_raw.text("SELECT favorite||'|'||type||'|'||auto_type||'|'||type_override_source||'|'||instrument||'|'||"
                        "auto_instrument||'|'||instrument_override_source||'|'||file_size FROM samples"),
              "1|Loop|Unknown|sample|Perc|Snare|folder|2000");
    // Folder genres come first, whatever the alphabet says; the old auto genre is gone.
    EXPECT_EQ(_raw.text("SELECT genre||'|'||auto_genre FROM samples"), "House, Ambient|Ambient");

    s.genre = "";
    _db.upsert(s, _lib);
    EXPECT_EQ(_raw.text("SELECT genre FROM samples"), "House");
    _raw.exec("DELETE FROM sample_genres");
    _db.upsert(s, _lib);
    EXPECT_EQ(_raw.text("SELECT genre FROM samples"), "<null>");

    // The full-text rows followed every rewrite of the record.
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_search WHERE sample_search MATCH 'genre:house OR genre:ambient "
                           "OR genre:techno'"),
              0);
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_search WHERE sample_search MATCH 'instrument:perc'"), 1);
}

TEST_F(DatabaseRecords, RelinkFollowsOneVanishedFileAndRefusesDuplicatesAndAmbiguity)
{
    const auto s = sample("Old/Kick.wav");
    _db.upsert(s, _lib);
    const auto id = idOf(s.path);
    const auto moved = _root / "New/Kick.wav";

    // The old file still exists: a copy, not a move.
    qv::testkit::writeFile(s.path, "x");
    EXPECT_FALSE(_db.relinkMovedSample(_lib, moved, 1000, 1700000000));
    fs::remove(s.path);

    // Size, time, library and exact name must all agree.
    EXPECT_FALSE(_db.relinkMovedSample(_lib, moved, 1001, 1700000000));
    EXPECT_FALSE(_db.relinkMovedSample(_lib, moved, 1000, 1700000001));
    EXPECT_FALSE(_db.relinkMovedSample(_lib + 1, moved, 1000, 1700000000));
    EXPECT_FALSE(_db.relinkMovedSample(_lib, _root / "New/kick.wav", 1000, 1700000000));

    EXPECT_EQ(_db.relinkMovedSample(_lib, moved, 1000, 1700000000), fs::path(s.path));
    EXPECT_EQ(idOf(moved), id);
    EXPECT_FALSE(_db.findByPath(s.path));

    // Two vanished twins: a third copy cannot tell which one moved.
    _db.upsert(sample("Other/Kick.wav"), _lib);
    EXPECT_FALSE(_db.relinkMovedSample(_lib, _root / "Third/Kick.wav", 1000, 1700000000));
    EXPECT_EQ(idOf(moved), id);
}

TEST_F(DatabaseRecords, RemoveMissingDeletesUnseenRowsOrNothingAtAll)
{
    std::vector<std::string> all;
    for (const char* name : {"a.wav", "b.wav", "c.wav", "d.wav"}) {
        _db.upsert(sample(name), _lib);
        all.push_back(sample(name).path);
    }
    const auto other = _db.addLibrary(_dir / "other");
    add({(_dir / "other/x.wav").string()}, other);

    // A delete that fails half-way must take the earlier deletes with it.
    _raw.exec("CREATE TRIGGER refuse BEFORE DELETE ON samples WHEN old.filename='d.wav' BEGIN SELECT "
              "RAISE(ABORT,'refused'); END;");
    std::uint64_t removed = 99;
    EXPECT_THROW(_db.removeMissing(_lib, {all[0]}, removed), std::runtime_error);
    EXPECT_EQ(removed, 0u);
    EXPECT_EQ(_db.countSamples(), 5);
    _raw.exec("DROP TRIGGER refuse");

    _db.removeMissing(_lib, {all[0], all[3]}, removed);
    EXPECT_EQ(removed, 2u);
    EXPECT_EQ(_db.countSamples(), 3); // other libraries are not touched
}

} // namespace
