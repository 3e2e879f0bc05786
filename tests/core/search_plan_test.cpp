// The indexed search plan against the SQL as written: thousands of seeded random
// queries over a generated index, each answered by both through separate connections
// to one file, must agree on the count, every row of the page in order, positions and
// filter value lists. Writes between batches, through either connection, check that
// nothing the indexed plan keeps outlives a change.
#include "search/search_rank.h"
#include "support/index_test.h"

#include "database_filler.h"

#include <algorithm>
#include <cctype>
#include <random>
#include <set>

namespace {

namespace fs = std::filesystem;
using qv::SearchQuery;

// Rows the generator does not make: names equal but for case, spellings of one key,
// blank and odd values, a sample without a library, names that look like SQL or FTS
// syntax, and a folder that is a prefix of another's name.
void addEdgeRows(qv::Database& db, qv::testkit::RawDb& raw, std::int64_t library, const std::string& root)
{
    using qv::SampleType;
    const std::vector<qv::test::Row> rows = {
        {"Edge/Kick.wav", SampleType::OneShot, "Kick", 120, "A minor", {"House"}, 0.5},
        {"Edge/kick.wav", SampleType::OneShot, "kick", 120, "Am", {"house", "Techno"}, 0.5},
        {"Edge/KICK.WAV", SampleType::OneShot, "KICK", {}, "a min", {}, {}},
        {"Edge/Sub/Kick 01.wav", SampleType::Loop, "  ", 5, "C", {"Lo-Fi, House"}, 2.0},
        {"Edge/Sub/C Major Pad.wav", SampleType::Loop, "Pad", 300, "C Major", {"Ambient"}, 8.0},
        {"EdgeX/Kick.wav", SampleType::OneShot, "Kick", 311, "c major", {}, 0.5},
        {"Edge/it's \"quoted\" AND NEAR(x).wav", SampleType::Unknown, "", {}, "None", {}, {}},
        {"Edge/c#_808-C#.wav", SampleType::OneShot, "808", 140, "C# minor", {"Trap"}, 1.0},
        {"Edge/Ünïcødé — snare.wav", SampleType::OneShot, "Snare", 90, "F#m", {}, 0.25},
        {"Edge/._Kick.wav", SampleType::OneShot, "Kick", 120, "A minor", {"House"}, 0.5},
        {"Edge/.wav", SampleType::Unknown, "", {}, "None", {}, {}},
        {"Edge/50% off_promo.mid", SampleType::MIDI, "", 128, "Am", {"House"}, {}},
    };
    for (auto row : rows) {
        row.path = root + "/" + row.path;
        db.upsert(qv::test::sampleOf(row), library);
    }
    raw.exec("INSERT INTO samples(path,filename,library_id,type,file_size,modified_at) VALUES "
             "('/nowhere/Kick orphan.wav','Kick orphan.wav',NULL,'One Shot',1,1)");
}

class QueryMaker {
public:
    QueryMaker(std::uint64_t seed, qv::testkit::RawDb& raw)
        : _random(seed)
    {
        for (const auto& name : raw.column("SELECT filename FROM samples ORDER BY random() LIMIT 300")) {
            for (const auto& token : qv::searchTokens(name)) _words.push_back(token);
        }
        _folders = raw.column("SELECT DISTINCT rtrim(path, replace(path,'/','')) FROM samples ORDER BY random() "
                              "LIMIT 40");
        for (auto& folder : _folders) folder.pop_back(); // the trailing "/"
        _folders.push_back(_folders.front() + "/"); // a trailing slash matches nothing
        _folders.push_back(_folders.front().substr(0, _folders.front().size() - 2)); // a name prefix, not a folder
        _folders.push_back("/");
        _folders.push_back("/nowhere");
        _folders.push_back("'; DROP TABLE samples; --");
        for (const auto& id : raw.column("SELECT id FROM playlists")) _playlists.push_back(std::stoll(id));
        _playlists.push_back(9999);
    }

    SearchQuery next()
    {
        SearchQuery q;
        if (chance(0.6)) q.text = text();
        if (chance(0.15)) q.type = pick<std::string>({"Loop", "One Shot", "MIDI", "Unknown", "loop", ""});
        if (chance(0.15)) q.instrument = pick<std::string>({"Kick", "kick", "Snare", "Bass", "Pad", "808", "  ", "hh"});
        if (chance(0.2)) q.bpm = pick<std::int32_t>({5, 60, 90, 120, 128, 140, 174, 300, 320, 0, -5});
        if (chance(0.15)) q.key = pick<std::string>({"A minor", "Am", "a min", "C", "C Major", "F#m", "None", "x"});
        if (chance(0.1)) q.genre = pick<std::string>({"House", "techno", "Lo-Fi", "Ambient", "Trap", "none"});
        if (chance(0.1)) q.genres = {pick<std::string>({"House", "Lo-Fi"}), pick<std::string>({"TECHNO", "ambient"})};
        if (chance(0.25)) q.folder = pick(_folders);
        if (chance(0.1)) q.playlistId = pick(_playlists);
        q.favoritesOnly = chance(0.1);
        q.excludeMidi = chance(0.2);
        const int order = std::uniform_int_distribution<int>(0, 6)(_random); // 3 to 6: none
        q.sortByFilename = order == 0;
        q.sortByDuration = order == 1;
        q.sortByBpm = order == 2;
        q.filenameDescending = chance(0.5);
        q.durationDescending = chance(0.5);
        q.bpmDescending = chance(0.5);
        q.limit = pick<std::int32_t>({50, 50, 7, 1, 200, 0, -1});
        q.offset = pick<std::int32_t>({0, 0, 0, 3, 49, 150, 700, -2});
        return q;
    }

    std::mt19937_64& random() { return _random; }

private:
    bool chance(double p) { return std::bernoulli_distribution(p)(_random); }

    template <typename T>
    T pick(const std::vector<T>& from)
    {
        return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(_random)];
    }

    std::string text()
    {
        static const std::vector<std::string> hostile = {
            "\"", "'", "*", "kick*", "NEAR", "AND", "OR NOT", "--", "%", "_", "c#", "#", "—", "Ünï", "a.b-c_d",
            std::string("ki\0ck", 5), std::string(300, 'k'), "kick kick", "ba", "k", "120", "SELECT",
        };
        std::string text;
        const int parts = std::uniform_int_distribution<int>(1, 3)(_random);
        for (int i = 0; i < parts; ++i) {
            if (i > 0) text += pick<std::string>({" ", "_", "-", ".", "  "});
            if (chance(0.25)) {
                text += pick(hostile);
            } else {
                std::string word = pick(_words);
                if (chance(0.3)) word = word.substr(0, std::uniform_int_distribution<std::size_t>(1, word.size())(_random));
                if (chance(0.3)) std::transform(word.begin(), word.end(), word.begin(), ::toupper);
                text += word;
            }
        }
        return text;
    }

    std::mt19937_64 _random;
    std::vector<std::string> _words;
    std::vector<std::string> _folders;
    std::vector<std::int64_t> _playlists;
};

std::string describe(const SearchQuery& q)
{
    std::string d = "text='" + q.text + "' type='" + q.type + "' instrument='" + q.instrument + "' key='" + q.key
        + "' genre='" + q.genre + "' genres=" + std::to_string(q.genres.size()) + " folder='" + q.folder + "'";
    if (q.bpm) d += " bpm=" + std::to_string(*q.bpm);
    if (q.playlistId) d += " playlist=" + std::to_string(*q.playlistId);
    d += std::string(q.favoritesOnly ? " favourites" : "") + (q.excludeMidi ? " no-midi" : "");
    d += std::string(q.sortByFilename ? " by-name" : q.sortByDuration ? " by-time" : q.sortByBpm ? " by-bpm" : "");
    d += " desc=" + std::to_string(q.filenameDescending) + std::to_string(q.durationDescending)
        + std::to_string(q.bpmDescending);
    return d + " limit=" + std::to_string(q.limit) + " offset=" + std::to_string(q.offset);
}

// Both shapes of the generator: libraries one after another, and packs named by genre
// over libraries interleaved by id, where a genre's members sit together in name order.
class SearchPlanTest : public ::testing::TestWithParam<qv::testkit::DataShape> {
protected:
    qv::testkit::TempDir _dir;
    fs::path _file = _dir / "index.db";
    qv::Database _reference{_file};
    qv::Database _indexed{_file};
    qv::testkit::RawDb _raw{_file};

    void SetUp() override
    {
        _reference.setSearchPlan(qv::SearchPlan::Reference);
        const auto summary = qv::testkit::fillDatabase(_reference, 2500, 11, {}, GetParam());
        const std::string root = summary.libraryPaths.front();
        addEdgeRows(_reference, _raw, _raw.integer("SELECT id FROM libraries WHERE path=?", {root}), root);
        // A folder-wide edit gives rows an override source and a second genre.
        _reference.setFolderGenreOverride(root + "/Edge", "Lo-Fi", true);
        _reference.setFolderTypeOverride(root + "/Edge/Sub", qv::SampleType::OneShot);
    }

    // Both plans on one query: count, page, positions of rows on and off the page.
    void compare(const SearchQuery& q, std::mt19937_64& random)
    {
        SCOPED_TRACE(describe(q));
        const std::int64_t count = _reference.countMatching(q);
        ASSERT_EQ(_indexed.countMatching(q), count);
        const auto expected = _reference.search(q);
        const auto page = _indexed.search(q);
        ASSERT_EQ(page.size(), expected.size());
        for (std::size_t i = 0; i < page.size(); ++i) {
            ASSERT_EQ(page[i].id, expected[i].id) << "row " << i;
            EXPECT_EQ(page[i].path, expected[i].path);
            EXPECT_EQ(page[i].libraryName, expected[i].libraryName);
            EXPECT_EQ(page[i].favorite, expected[i].favorite);
        }
        std::vector<std::int64_t> ids = {0, std::uniform_int_distribution<std::int64_t>(1, _maxId)(random)};
        if (!expected.empty()) ids.insert(ids.end(), {expected.front().id, expected.back().id});
        for (const std::int64_t id : ids) {
            ASSERT_EQ(position(_indexed, q, id), position(_reference, q, id)) << "sample " << id;
        }
    }

    // A position, or -2 when the call throws: a negative tempo target writes "--" into
    // the written order and comments out the rest of the statement, in both plans.
    static std::int64_t position(const qv::Database& db, const SearchQuery& q, std::int64_t id)
    {
        try {
            return db.matchingIndex(q, id).value_or(-1);
        } catch (const std::runtime_error&) {
            return -2;
        }
    }

    std::int64_t _maxId = 1;
};

TEST_P(SearchPlanTest, RandomQueriesGetTheSameAnswersFromBothPlans)
{
    QueryMaker maker(2026, _raw);
    auto& random = maker.random();
    _maxId = _raw.integer("SELECT max(id) FROM samples");
    const auto someId = [&] { return std::uniform_int_distribution<std::int64_t>(1, _maxId)(random); };
    const auto playlist = _raw.integer("SELECT min(id) FROM playlists");
    const auto offlineRoot = _raw.text("SELECT path FROM libraries ORDER BY id DESC LIMIT 1");

    for (int batch = 0; batch < 30; ++batch) {
        for (int i = 0; i < 80; ++i) ASSERT_NO_FATAL_FAILURE(compare(maker.next(), random));
        // A change between batches, by one connection or the other.
        qv::Database& writer = batch % 2 == 0 ? _indexed : _reference;
        switch (batch % 6) {
        case 0: writer.setFavorite(someId(), true); break;
        case 1: writer.setLibraryAvailable(offlineRoot, batch % 4 == 1); break;
        case 2: writer.addToPlaylist(playlist, someId()); break;
        case 3: writer.setTypeOverride({someId(), someId()}, qv::SampleType::Loop); break;
        case 4: writer.removeFromPlaylist(playlist, someId()); break;
        case 5: _raw.exec("DELETE FROM samples WHERE id=(SELECT max(id) FROM samples WHERE filename NOT LIKE 'K%')"); break;
        }
    }

    // A word that matches a few rows, in an offline library, in none, hidden or visible:
    // a plan that looks such matches up by id must still leave the right ones out. Then
    // the offline library's rows alternate with counted ones too often to be kept as
    // id ranges.
    _indexed.setLibraryAvailable(offlineRoot, false);
    _raw.exec("INSERT INTO samples(path,filename,library_id,type,file_size,modified_at) SELECT '/x/'||n||'.wav',"
              "n||'.wav',lib,'Loop',1,1 FROM (SELECT 'Quorn offline' AS n,(SELECT max(id) FROM libraries) AS lib "
              "UNION ALL SELECT '._Quorn gone',(SELECT max(id) FROM libraries) UNION ALL SELECT 'Quorn nowhere',"
              "NULL UNION ALL SELECT '._Quorn hidden',(SELECT min(id) FROM libraries) UNION ALL SELECT "
              "'Quorn shown',(SELECT min(id) FROM libraries))");
    for (int round = 0; round < 2; ++round) {
        _raw.exec("INSERT OR IGNORE INTO sample_genres(sample_id,genre) SELECT id,'Quornish' FROM samples WHERE "
                  "filename LIKE '%Quorn%'");
        for (const char* text : {"quorn", "Quorn offline", "quorn nowhere", "QUORN hidden", "quorn shown"}) {
            ASSERT_NO_FATAL_FAILURE(compare({.text = text, .limit = 5}, random));
        }
        ASSERT_NO_FATAL_FAILURE(compare({.genre = "quornish", .limit = 5}, random));
        if (round == 1) break;
        _raw.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<150) INSERT INTO "
                  "samples(path,filename,library_id,type,file_size,modified_at) SELECT '/x/Quorn flip '||i||'.wav',"
                  "CASE WHEN i%5=0 THEN '._' ELSE '' END||'Quorn flip '||i||'.wav',(SELECT CASE i%2 WHEN 0 THEN "
                  "max(id) ELSE min(id) END FROM libraries),'Loop',1,1 FROM n");
    }

    // Favourites a word matches only by their folder: testing it row by row reads every
    // row, more than the plan allows itself, and it falls back to the full-text list.
    _raw.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<6000) INSERT INTO "
              "samples(path,filename,library_id,type,bpm,musical_key,file_size,modified_at,favorite) SELECT "
              "'/x/Zorblat Kit/Take '||i||'.wav','Take '||i||'.wav',(SELECT min(id) FROM libraries),'One Shot',"
              "100+i%3,'Am',1,1,1 FROM n");
    for (SearchQuery q : std::vector<SearchQuery>{{.text = "zorblat", .favoritesOnly = true},
                                                  {.text = "take zorb", .bpm = 100, .sortByFilename = true},
                                                  {.text = "zorblat", .key = "Am", .offset = 5990}}) {
        q.limit = 20;
        ASSERT_NO_FATAL_FAILURE(compare(q, random));
    }

    // A genre of more members than the row test's budget, whose names never settle the
    // word: the plan meets the word's matches and the members in memory without trying
    // the row test. With matches, and with none at the tempo (the kicks lie elsewhere).
    _raw.exec("INSERT OR IGNORE INTO sample_genres(sample_id,genre) SELECT id,'Zorbcore' FROM samples WHERE "
              "filename LIKE 'Take %' OR filename LIKE '%kick%'");
    for (SearchQuery q : std::vector<SearchQuery>{{.text = "zorblat", .genre = "zorbcore", .bpm = 101},
                                                  {.text = "zorblat kit", .genre = "Zorbcore", .bpm = 102, .offset = 1990},
                                                  {.text = "kick", .genre = "zorbcore", .bpm = 101},
                                                  {.text = "take", .genre = "zorbcore", .bpm = 100}}) {
        q.limit = 20;
        ASSERT_NO_FATAL_FAILURE(compare(q, random));
        EXPECT_EQ(_indexed.searchStrategy(q).count == qv::SearchStrategy::Count::Intersected, q.text != "take")
            << describe(q);
    }
}

// Ranked pages among many matches read only the matches that can rank best. Names from
// a few words give every band and many ties; the page must not change when rows that
// would rank first are written through the same connection after its name order was
// read, renamed, or removed.
TEST_P(SearchPlanTest, RankedPagesAmongManyMatchesMatchTheReference)
{
    const std::vector<std::string> words = {"Kick", "kick", "Kicks", "Bass", "BA", "ba", "Bassline", "Snare",
                                            "Loop", "808", "Deep", "kick#", "B\xc3\xa4ss", "a"};
    const std::vector<std::string> separators = {" ", "_", "-", ".", " - "};
    const std::int64_t online = _raw.integer("SELECT min(id) FROM libraries");
    const std::int64_t offline = _raw.integer("SELECT max(id) FROM libraries");
    _reference.setLibraryAvailable(_raw.text("SELECT path FROM libraries WHERE id=" + std::to_string(offline)), false);
    std::mt19937_64 random(5);
    _raw.exec("BEGIN");
    for (int i = 0; i < 2400; ++i) {
        std::string name = i % 97 == 0 ? "._" : "";
        const int count = std::uniform_int_distribution<int>(1, 6)(random);
        for (int w = 0; w < count; ++w) {
            if (w > 0) name += separators[random() % separators.size()];
            name += words[random() % words.size()];
        }
        name += std::vector<std::string>{".wav", ".aif", ""}[random() % 3];
        _raw.exec("INSERT INTO samples(path,filename,library_id,type,file_size,modified_at) VALUES('/many/"
                  + std::to_string(i) + "','" + name + "'," + std::to_string(i % 13 == 0 ? offline : online)
                  + ",'One Shot',1,1)");
    }
    _raw.exec("COMMIT");

    const auto compareAll = [&] {
        for (const char* text : {"kick", "KICK", "ki", "k", "ba", "bass", "kick 808", "808 kick", "loop kick",
                                 "kick kick", "b", "kick#", "b\xc3\xa4ss", "deep l", "a", "k b", "8 k", "d"}) {
            for (const auto& [limit, offset] : std::vector<std::pair<int, int>>{{1, 0}, {7, 3}, {50, 0}, {50, 49},
                                                                                {200, 150}, {30, 1400}}) {
                ASSERT_NO_FATAL_FAILURE(compare({.text = text, .limit = limit, .offset = offset}, random));
            }
        }
    };
    ASSERT_NO_FATAL_FAILURE(compareAll());

    // New rows that rank first, a renamed one and a removed library, all written by the
    // connection whose name order is already read.
    const std::int64_t added = _indexed.addLibrary(_dir / "added");
    for (const char* name : {"Kick.wav", "kick", "Ba.wav", "Bass.aif", "Kick 808.wav", "._Kick.wav", "a.wav"}) {
        _indexed.upsert(qv::test::sampleOf({(_dir / "added" / name).string()}), added);
    }
    auto renamed = qv::test::sampleOf({(_dir / "added/Bass.aif").string()});
    renamed.filename = "Zz.aif";
    _indexed.upsert(renamed, added);
    ASSERT_NO_FATAL_FAILURE(compareAll());
    _indexed.removeLibrary(added);
    compareAll();
}

// A short prefix most rows hold only in their folder ("k" of "Kits"): the names that
// hold it are few and come late in name order, so the page is read again among the
// names holding every token. Hostile names sit among them: "#", non-ASCII letters, the
// prefix only in the extension, and rows written after the name order was read.
TEST_P(SearchPlanTest, RankedPagesOfAPrefixHeldMostlyByFoldersMatchTheReference)
{
    _raw.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<20000) INSERT INTO "
              "samples(path,filename,library_id,type,file_size,modified_at) SELECT '/many/Kits/'||i, CASE "
              "WHEN i%150=0 THEN 'Kick '||i WHEN i%151=0 THEN 'Deep kick#'||i WHEN i%157=0 THEN 'K\xc3\xa4se '||i "
              "WHEN i%163=0 THEN 'a#ki '||i WHEN i%167=0 THEN 'Deep '||i||'.kwav' WHEN i%173=0 THEN '._Kick '||i "
              "ELSE (CASE i%3 WHEN 0 THEN 'Deep ' WHEN 1 THEN 'Pad ' ELSE 'Snare ' END)||i END,"
              "(SELECT CASE WHEN i%11=0 THEN max(id) ELSE min(id) END FROM libraries),'One Shot',1,1 FROM n");
    const std::string offline = _raw.text("SELECT path FROM libraries WHERE id=(SELECT max(id) FROM libraries)");
    _reference.setLibraryAvailable(offline, false);
    std::mt19937_64 random(11);
    const auto compareAll = [&] {
        for (const char* text : {"k", "ki", "kick", "k 1", "kits", "K\xc3\xa4", "kw"}) {
            for (const auto& [limit, offset] : std::vector<std::pair<int, int>>{{50, 0}, {20, 110}, {40, 300}}) {
                ASSERT_NO_FATAL_FAILURE(compare({.text = text, .limit = limit, .offset = offset}, random));
            }
        }
    };
    ASSERT_NO_FATAL_FAILURE(compareAll());
    const std::int64_t added = _indexed.addLibrary(_dir / "added");
    for (const char* name : {"Kick.wav", "Aa kick.wav", "Deep.wav"}) {
        _indexed.upsert(qv::test::sampleOf({(_dir / "added" / name).string()}), added);
    }
    compareAll();
}

// The written ORDER BY leaves values equal but for case ("Kick", "kick") in whatever
// order the plan meets them; each such run is compared as a set.
std::vector<std::set<std::string>> caseRuns(const std::vector<std::string>& values)
{
    std::vector<std::set<std::string>> runs;
    std::string last;
    for (const auto& value : values) {
        std::string folded = value;
        std::transform(folded.begin(), folded.end(), folded.begin(), [](unsigned char c) { return std::tolower(c); });
        if (runs.empty() || folded != last) runs.emplace_back();
        runs.back().insert(value);
        last = folded;
    }
    return runs;
}

// The same values as the reference in its order; values equal but for case in byte order.
void expectSameValues(const std::vector<std::string>& indexed, const std::vector<std::string>& reference)
{
    ASSERT_EQ(caseRuns(indexed), caseRuns(reference));
    const auto folded = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
        return text;
    };
    EXPECT_TRUE(std::is_sorted(indexed.begin(), indexed.end(), [&](const std::string& a, const std::string& b) {
        return folded(a) < folded(b) || (folded(a) == folded(b) && a < b);
    }));
}

TEST_P(SearchPlanTest, FilterValueListsAreTheSameUnderRandomQueries)
{
    QueryMaker maker(7, _raw);
    for (int i = 0; i < 400; ++i) {
        const SearchQuery q = maker.next();
        SCOPED_TRACE(describe(q));
        for (const char* field : {"instrument", "genre", "key"}) {
            SCOPED_TRACE(field);
            ASSERT_NO_FATAL_FAILURE(
                expectSameValues(_indexed.distinctFilterValues(field, q), _reference.distinctFilterValues(field, q)));
        }
    }
}

// A place's lists (every sample, a type, a large folder, many favourites or playlist
// members) are probed value by value rather than read row by row. Values held only by
// hidden rows, an offline library's, rows without a library, rows of another type or
// outside the folder must still be left out, around writes by either connection and a
// library going offline and back.
TEST_P(SearchPlanTest, PlaceValueListsAreProbedAndMatchTheReference)
{
    const std::string online = std::to_string(_raw.integer("SELECT min(id) FROM libraries"));
    const std::string offline = std::to_string(_raw.integer("SELECT max(id) FROM libraries"));
    const std::string offlineRoot = _raw.text("SELECT path FROM libraries WHERE id=" + offline);
    // 9,000 crate rows, 8,000 of them favourites; the offline ones in one run of ids, as
    // a scan adds them.
    _raw.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<9000) INSERT INTO "
              "samples(path,filename,library_id,type,instrument,musical_key,file_size,modified_at,favorite) SELECT "
              "'/crate/'||i||'.wav',CASE WHEN i%40=0 THEN '._' ELSE '' END||'Crate '||i||'.wav',CASE WHEN i BETWEEN "
              "3001 AND 3500 THEN " + offline + " WHEN i%301=0 THEN NULL ELSE " + online + " END,CASE i%3 WHEN 0 "
              "THEN 'Loop' WHEN 1 THEN 'One Shot' ELSE 'MIDI' END,CASE WHEN i%40=0 THEN 'Hidden Harp' WHEN i BETWEEN "
              "3001 AND 3500 THEN 'Offline Oud' WHEN i%301=0 THEN 'Nowhere Ney' WHEN i%3=2 THEN 'Midi Moog' WHEN "
              "i%97=0 THEN ' ' ELSE 'Crate '||(i%5) END,CASE WHEN i%40=0 THEN 'G# minor' WHEN i BETWEEN 3001 AND "
              "3500 THEN 'Eb minor' WHEN i%301=0 THEN 'B major' ELSE 'D minor' END,1,1,i%9<>3 FROM n");
    _raw.exec("INSERT INTO sample_genres(sample_id,genre) SELECT id,CASE WHEN filename LIKE '._%' THEN 'Hidden Hop' "
              "WHEN library_id=" + offline + " THEN 'Offline Opera' WHEN library_id IS NULL THEN 'Nowhere Noise' "
              "WHEN type='MIDI' THEN 'midi Mambo' WHEN id%2=0 THEN 'Crate Cumbia' ELSE 'CRATE cumbia' END FROM "
              "samples WHERE path LIKE '/crate/%'");
    const std::int64_t crate = _indexed.createPlaylist("Crate");
    _raw.exec("INSERT INTO playlist_items(playlist_id,sample_id) SELECT " + std::to_string(crate)
              + ",id FROM samples WHERE path LIKE '/crate/%'");

    const std::vector<SearchQuery> places = {
        {},
        {.type = "Loop"},
        {.type = "MIDI"},
        {.type = "One Shot"},
        {.type = "Unknown"},
        {.type = "loop"},
        {.favoritesOnly = true},
        {.type = "MIDI", .favoritesOnly = true},
        {.playlistId = crate},
        {.type = "Loop", .playlistId = crate},
        {.playlistId = crate, .favoritesOnly = true},
        {.folder = "/crate"},
        {.type = "Loop", .folder = "/crate", .favoritesOnly = true},
    };
    const auto compareAll = [&] {
        for (const SearchQuery& q : places) {
            SCOPED_TRACE(describe(q));
            ASSERT_EQ(_indexed.valueListStrategy(q), qv::ValueList::Probe);
            for (const char* field : {"instrument", "genre", "key"}) {
                SCOPED_TRACE(field);
                ASSERT_NO_FATAL_FAILURE(expectSameValues(_indexed.distinctFilterValues(field, q),
                                                         _reference.distinctFilterValues(field, q)));
            }
        }
    };
    ASSERT_NO_FATAL_FAILURE(compareAll());
    // The offline drive back, through the connection whose plan probes.
    _indexed.setLibraryAvailable(offlineRoot, true);
    ASSERT_NO_FATAL_FAILURE(compareAll());
    // Other connections turn the MIDI crate rows into loops and unlove one instrument.
    _reference.setLibraryAvailable(offlineRoot, false);
    _raw.exec("UPDATE samples SET type='Loop' WHERE path LIKE '/crate/%' AND type='MIDI'");
    _raw.exec("UPDATE samples SET favorite=0 WHERE instrument='Crate 0'");
    ASSERT_NO_FATAL_FAILURE(compareAll());
}

// The name order a ranked or member page reads is stored for the next connection. A
// write that could move a sample in it, by either connection or by plain SQL, removes
// the stored copy in its own transaction; one that cannot keeps it. Pages from the
// connection that read it, and from a new one, stay those of the reference.
TEST_P(SearchPlanTest, StoredNameOrderNeverOutlivesAWriteThatMovesASample)
{
    std::mt19937_64 random(3);
    _maxId = _raw.integer("SELECT max(id) FROM samples");
    const std::vector<SearchQuery> queries = {
        {.text = "kick", .limit = 20},
        {.genre = "house", .limit = 20},
        {.genres = {"Trap", "latin"}, .limit = 30, .offset = 10},
        {.genre = "trap", .sortByFilename = true, .filenameDescending = true, .limit = 20},
        {.type = "Loop", .playlistId = _raw.integer("SELECT min(id) FROM playlists"), .limit = 15},
    };
    const auto stored = [&] { return _raw.integer("SELECT count(*) FROM search_name_order"); };
    const auto compareAll = [&] {
        for (const auto& q : queries) ASSERT_NO_FATAL_FAILURE(compare(q, random));
        qv::Database fresh(_file);
        for (const auto& q : queries) {
            SCOPED_TRACE("new connection: " + describe(q));
            ASSERT_EQ(fresh.countMatching(q), _reference.countMatching(q));
            const auto expected = _reference.search(q);
            const auto page = fresh.search(q);
            ASSERT_TRUE(std::equal(page.begin(), page.end(), expected.begin(), expected.end(),
                                   [](const auto& a, const auto& b) { return a.id == b.id; }));
        }
    };
    const std::string house = "(SELECT max(sample_id) FROM sample_genres WHERE genre='house' COLLATE NOCASE)";

    ASSERT_NO_FATAL_FAILURE(compareAll());
    ASSERT_EQ(stored(), 1);
    _reference.setFavorite(_raw.integer("SELECT " + house), true);
    EXPECT_EQ(stored(), 1);

    // A house sample renamed to the front of the order by plain SQL.
    _raw.exec("UPDATE samples SET filename='0 '||filename WHERE id=" + house);
    EXPECT_EQ(stored(), 0);
    ASSERT_NO_FATAL_FAILURE(compareAll());
    ASSERT_EQ(stored(), 1);

    // Written by the connection that holds the order: a renamed and a new member.
    auto renamed = _indexed.search({.genre = "trap", .limit = 1, .offset = 7}).at(0);
    renamed.filename = "00 " + renamed.filename;
    renamed.genres = {"trap"};
    _indexed.upsert(renamed, _raw.integer("SELECT library_id FROM samples WHERE id=" + std::to_string(renamed.id)));
    EXPECT_EQ(stored(), 0);
    auto added = renamed;
    added.path += ".new.wav";
    added.filename = "000 New Trap.wav";
    _indexed.upsert(added, _raw.integer("SELECT min(id) FROM libraries"));
    ASSERT_NO_FATAL_FAILURE(compareAll());

    _reference.removeFromPlaylist(_raw.integer("SELECT min(id) FROM playlists"), _raw.integer("SELECT " + house));
    _raw.exec("DELETE FROM samples WHERE id=" + house);
    EXPECT_EQ(stored(), 0);
    ASSERT_NO_FATAL_FAILURE(compareAll());
}

INSTANTIATE_TEST_SUITE_P(Shapes, SearchPlanTest,
                         ::testing::Values(qv::testkit::DataShape::Scanned, qv::testkit::DataShape::GenrePacks),
                         [](const auto& info) {
                             return info.param == qv::testkit::DataShape::Scanned ? std::string("Scanned")
                                                                                  : std::string("GenrePacks");
                         });

} // namespace
