#include "reliability/user_edits.h"

#include "raw_db.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace qv::test {

namespace fs = std::filesystem;

UserEditSnapshot makeUserEdits(Database& db, const fs::path& dbFile, const fs::path& root)
{
    // Not MIDI files: a folder type override passes them over.
    const std::vector<Sample> samples = db.search({.folder = root.string(), .excludeMidi = true, .limit = 1'000'000});

    // The three folders holding the most samples, each edited in its own way.
    std::map<std::string, int> perFolder;
    for (const auto& sample : samples) ++perFolder[fs::path(sample.path).parent_path().string()];
    std::vector<std::pair<int, std::string>> folders;
    for (const auto& [folder, count] : perFolder) folders.emplace_back(-count, folder);
    std::sort(folders.begin(), folders.end());
    EXPECT_GE(folders.size(), 3u);
    EXPECT_GE(samples.size(), 40u);
    if (folders.size() < 3 || samples.size() < 40) return {};

    std::vector<std::int64_t> typed;
    const std::int64_t playlist = db.createPlaylist("Kept after a crash");
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (i % 7 == 0) db.setFavorite(samples[i].id, true);
        if (i % 11 == 3) typed.push_back(samples[i].id);
        if (i % 13 == 5) db.addToPlaylist(playlist, samples[i].id);
    }
    db.setTypeOverride(typed, SampleType::Loop);
    db.setFolderTypeOverride(folders[0].second, SampleType::OneShot);
    db.setFolderInstrumentOverride(folders[1].second, std::string("Piano"));
    db.setFolderGenreOverride(folders[2].second, "Crash Test Genre", true);

    UserEditSnapshot snapshot = readUserEdits(dbFile);
    for (const char* kind : {"favourite ", "instrument ", "genre ", "playlist "}) {
        EXPECT_GT(countOf(snapshot, kind), 0u) << kind;
    }
    EXPECT_GT(countOf(snapshot, "type "), typed.size()); // the folder's too
    return snapshot;
}

UserEditSnapshot readUserEdits(const fs::path& dbFile)
{
    testkit::RawDb raw(dbFile);
    UserEditSnapshot snapshot;
    // The effective column is part of the line: a rescan must keep applying the override.
    for (const char* sql : {
             "SELECT 'favourite '||id FROM samples WHERE favorite=1 ORDER BY id",
             "SELECT 'type '||id||':'||user_type_override||':'||coalesce(type_override_source,'-')||':'||type FROM "
             "samples WHERE user_type_override IS NOT NULL ORDER BY id",
             "SELECT 'instrument '||id||':'||user_instrument_override||':'||coalesce(instrument_override_source,'-')||"
             "':'||coalesce(instrument,'-') FROM samples WHERE user_instrument_override IS NOT NULL ORDER BY id",
             "SELECT 'genre '||g.sample_id||':'||g.genre||':'||g.source||':'||(instr(coalesce(s.genre,''),g.genre)>0) FROM "
             "sample_genres g JOIN samples s ON s.id=g.sample_id WHERE g.source<>'auto' ORDER BY g.sample_id,g.genre",
             "SELECT 'playlist '||p.name||':'||i.sample_id||':'||i.position FROM playlist_items i JOIN playlists p ON "
             "p.id=i.playlist_id ORDER BY p.name,i.position,i.sample_id"}) {
        const auto rows = raw.column(sql);
        snapshot.insert(snapshot.end(), rows.begin(), rows.end());
    }
    return snapshot;
}

void expectIndexSound(const fs::path& dbFile)
{
    testkit::RawDb raw(dbFile);
    EXPECT_EQ(raw.text("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(raw.integer("SELECT count(*) FROM pragma_foreign_key_check"), 0);
    EXPECT_NO_THROW(raw.exec("INSERT INTO sample_search(sample_search) VALUES('integrity-check')"));
    // The search index holds exactly the stored samples. (Its content check cannot run:
    // the index names a "tags" column that the samples table does not have.)
    raw.exec("CREATE VIRTUAL TABLE temp.indexed_terms USING fts5vocab(main,sample_search,instance)");
    EXPECT_EQ(raw.integer("SELECT count(*) FROM samples WHERE id NOT IN(SELECT doc FROM temp.indexed_terms)"), 0);
    EXPECT_EQ(raw.integer("SELECT count(DISTINCT doc) FROM temp.indexed_terms WHERE doc NOT IN(SELECT id FROM samples)"),
              0);
}

} // namespace qv::test
