// Search latency at a million samples: what one keystroke or filter click costs.
//
// For each query class the browser runs, times countMatching + the first page of 50
// (+ matchingIndex of a row when an explicit sort is active, as the browser does) by
// the reference plan (the SQL as written) and by the indexed plan, and prints p50 and
// p95 of both side by side with the ratio. The indexed plan is timed cold (nothing
// cached, as after any write or for a new search text) and warm (its count kept, as
// when paging or re-sorting). Before timing, both plans must agree on the count, the
// page and the position. Also times the filter value lists under a folder scope, the
// lists a chip or the quick filters read in each kind of place (checked once against
// the reference plan), the one-time build of the support indexes and the size per
// sample, and the sidebar's folder tree from every sample path against the one from
// the folder table (with --drop-caches also once from an emptied file cache; needs root).
//
// With --cli PATH it times instead each class through the command-line tool, each run a
// new process (`PATH --db FILE search ... --json`, the output discarded), from spawn to
// exit, beside the tool's bare start (`--help`).
//
//   search_bench [--db FILE] [--records N] [--seed N] [--genre-packs] [--reps N] [--only TEXT]
//                [--values-only] [--drop-caches] [--cli PATH] [--text TEXT]...
//
// --text (repeatable) times the given search texts alone instead of the classes, as typed
// into the search field.
//
// The database is generated once (without audio) and reused: by default
// bench-data/search-<N>.db next to this executable (search-<N>-seed<S>.db for another seed,
// -genre-packs before ".db" for that shape).
#include "browse/folder_tree.h"
#include "database_access.h"
#include "database_filler.h"
#include "db/database.h"
#include "search/search_query.h"
#include "search/search_rank.h"

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Options {
    fs::path db;
    std::uint64_t records = 1000000;
    std::uint64_t seed = 1;
    int reps = 10;
    std::string only; // run just the cases and places whose name contains this
    bool valuesOnly = false; // just the value lists per place
    bool dropCaches = false;
    qv::testkit::DataShape shape = qv::testkit::DataShape::Scanned;
    fs::path cli; // time the classes through this command-line tool instead
    std::vector<std::string> texts; // time these search texts instead of the classes
};

struct Case {
    std::string name;
    qv::SearchQuery query;
};

struct Stats {
    double p50 = 0;
    double p95 = 0;
};

double millisecondsOf(const std::function<void()>& work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// One warm-up run, then `reps` timed runs, each after an untimed `prepare`; p95 by
// nearest rank.
Stats measure(int reps, const std::function<void()>& work, const std::function<void()>& prepare = [] {})
{
    prepare();
    work();
    std::vector<double> times;
    for (int i = 0; i < reps; ++i) {
        prepare();
        times.push_back(millisecondsOf(work));
    }
    std::sort(times.begin(), times.end());
    const auto rank = [&](double p) {
        const auto index = static_cast<std::size_t>(std::max(1.0, std::ceil(p * static_cast<double>(times.size()))));
        return times[std::min(index, times.size()) - 1];
    };
    return {rank(0.50), rank(0.95)};
}

bool hasSort(const qv::SearchQuery& q)
{
    return q.sortByFilename || q.sortByDuration || q.sortByBpm;
}

Options parse(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto value = [&]() -> std::string {
            if (i + 1 >= argc) throw std::runtime_error(arg + " needs a value");
            return argv[++i];
        };
        if (arg == "--db") options.db = value();
        else if (arg == "--records") options.records = std::stoull(value());
        else if (arg == "--seed") options.seed = std::stoull(value());
        else if (arg == "--reps") options.reps = std::max(1, std::stoi(value()));
        else if (arg == "--only") options.only = value();
        else if (arg == "--drop-caches") options.dropCaches = true;
        else if (arg == "--values-only") options.valuesOnly = true;
        else if (arg == "--genre-packs") options.shape = qv::testkit::DataShape::GenrePacks;
        else if (arg == "--cli") options.cli = value();
        else if (arg == "--text") options.texts.push_back(value());
        else throw std::runtime_error("unknown argument " + arg);
    }
    if (options.db.empty()) {
        options.db = fs::canonical("/proc/self/exe").parent_path() / "bench-data"
            / ("search-" + std::to_string(options.records)
               + (options.seed == 1 ? std::string() : "-seed" + std::to_string(options.seed))
               + (options.shape == qv::testkit::DataShape::GenrePacks ? "-genre-packs" : "") + ".db");
    }
    return options;
}

// The generator's database for these parameters, built on first use.
void ensureDatabase(const Options& options)
{
    if (fs::exists(options.db)) return;
    fs::create_directories(options.db.parent_path());
    const fs::path partial = options.db.string() + ".partial";
    fs::remove(partial);
    std::printf("building %s (%llu records, once)...\n", options.db.c_str(),
                static_cast<unsigned long long>(options.records));
    std::fflush(stdout);
    const double ms = millisecondsOf([&] {
        qv::Database db(partial);
        qv::testkit::fillDatabase(db, options.records, options.seed, {}, options.shape);
        qv::DatabaseTestAccess::exec(db, "PRAGMA wal_checkpoint(TRUNCATE)");
    });
    fs::rename(partial, options.db);
    std::printf("built in %.1f s\n", ms / 1000.0);
}

// Pages in use (not on the free list) times the page size.
double usedBytes(const fs::path& file)
{
    sqlite3* db = nullptr;
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    double bytes = 0;
    sqlite3_stmt* st = nullptr;
    sqlite3_prepare_v2(db, "SELECT (page_count-freelist_count)*page_size FROM pragma_page_count, "
                       "pragma_freelist_count, pragma_page_size", -1, &st, nullptr);
    if (sqlite3_step(st) == SQLITE_ROW) bytes = sqlite3_column_double(st, 0);
    sqlite3_finalize(st);
    sqlite3_close(db);
    return bytes;
}

std::string scalarText(sqlite3* raw, const char* sql)
{
    sqlite3_stmt* st = nullptr;
    sqlite3_prepare_v2(raw, sql, -1, &st, nullptr);
    std::string text;
    if (sqlite3_step(st) == SQLITE_ROW && sqlite3_column_text(st, 0)) {
        text = reinterpret_cast<const char*>(sqlite3_column_text(st, 0));
    }
    sqlite3_finalize(st);
    return text;
}

bool sameTree(const qv::FolderTree& a, const qv::FolderTree& b)
{
    if (a.size() != b.size()) return false;
    for (qv::FolderTree::Node node = 0; node < a.size(); ++node) {
        if (a.name(node) != b.name(node) || a.path(node) != b.path(node) || a.hasChildren(node) != b.hasChildren(node)) {
            return false;
        }
    }
    return true;
}

void dropFileCache()
{
    ::sync();
    std::ofstream drop("/proc/sys/vm/drop_caches");
    drop << "3\n";
    if (!drop.flush()) throw std::runtime_error("cannot empty the file cache (needs root)");
}

// What the sidebar reads at start: the tree from every sample path, and from the folder
// table. Only what the window waits for is timed: the tree it keeps is released outside
// the timing. The folder table goes first, before a million rows of paths have churned
// the heap and the file cache. The table is also filled anew once, as opening an older
// file does.
void folderTree(const Options& options, qv::Database& db)
{
    using Build = qv::FolderTree (*)(qv::Database&);
    const Build fromPaths = [](qv::Database& d) { return qv::buildFolderTree(d.indexedPaths()); };
    const Build fromFolders = [](qv::Database& d) { return qv::buildFolderTree(d.indexedFolders()); };
    qv::DatabaseTestAccess::exec(db, "PRAGMA wal_checkpoint(TRUNCATE)");

    qv::FolderTree kept;
    const auto release = [&] { kept = {}; };
    const Stats folders = measure(options.reps, [&] { kept = fromFolders(db); }, release);
    std::vector<qv::IndexedFolder> rows;
    const Stats listing = measure(options.reps, [&] { rows = db.indexedFolders(); }, [&] { rows = {}; });
    const Stats building = measure(options.reps, [&] { kept = qv::buildFolderTree(rows); }, release);
    const qv::FolderTree tree = fromPaths(db);
    if (!sameTree(tree, kept)) throw std::runtime_error("the folder trees differ");
    const Stats paths = measure(options.reps, [&] { kept = fromPaths(db); }, release);
    std::printf("\nsidebar folder tree: %zu nodes from %zu folders of %zu samples\n", tree.size(), rows.size(),
                db.indexedPaths().size());
    std::printf("%-34s %9s %9s\n", "warm, ms", "p50", "p95");
    std::printf("%-34s %9.1f %9.1f\n", "indexedPaths + buildFolderTree", paths.p50, paths.p95);
    std::printf("%-34s %9.1f %9.1f   %.0fx\n", "indexedFolders + buildFolderTree", folders.p50, folders.p95,
                paths.p95 / std::max(folders.p95, 0.01));
    std::printf("%-34s %9.1f %9.1f\n", "  of which indexedFolders", listing.p50, listing.p95);
    std::printf("%-34s %9.1f %9.1f\n", "  of which buildFolderTree", building.p50, building.p95);

    if (options.dropCaches) {
        for (const auto& [name, build] : {std::pair{"indexedFolders + buildFolderTree", fromFolders},
                                          std::pair{"indexedPaths + buildFolderTree", fromPaths}}) {
            release();
            dropFileCache();
            double treeMs = 0;
            const double total = millisecondsOf([&] {
                qv::Database cold(options.db);
                treeMs = millisecondsOf([&] { kept = build(cold); });
            });
            std::printf("cold (file cache emptied): %-34s %7.1f ms, with the open %7.1f ms\n", name, treeMs, total);
        }
    }

    sqlite3* raw = nullptr;
    sqlite3_open(options.db.c_str(), &raw);
    sqlite3_exec(raw, "DROP TABLE sample_folders", nullptr, nullptr, nullptr);
    sqlite3_close(raw);
    std::printf("folder table filled at open, as for an older file: %.0f ms\n",
                millisecondsOf([&] { qv::Database reopened(options.db); }));
}

std::vector<std::string> gTexts; // --text

std::vector<Case> cases(qv::Database& db, sqlite3* raw)
{
    if (!gTexts.empty()) {
        std::vector<Case> typed;
        for (const std::string& text : gTexts) typed.push_back({"\"" + text + "\"", {.text = text, .limit = 50}});
        return typed;
    }
    // A folder four levels below the first library's root, and the largest playlist.
    const std::string deepFolder = fs::path(scalarText(raw, "SELECT path FROM samples WHERE genre<>'' AND path "
                                                           "LIKE (SELECT path FROM libraries ORDER BY id LIMIT 1)"
                                                           "||'/%/%/%/%/%' ORDER BY id LIMIT 1"))
                                       .parent_path()
                                       .string();
    const std::string packFolder = fs::path(deepFolder).parent_path().parent_path().string();
    std::int64_t bigPlaylist = 0;
    std::int64_t most = -1;
    for (const auto& playlist : db.playlists()) {
        if (playlist.sampleCount > most) most = playlist.sampleCount, bigPlaylist = playlist.id;
    }

    std::vector<Case> list = {
        {"empty text", {}},
        {"rare token (bpm112)", {.text = "bpm112"}},
        {"common token (kick)", {.text = "kick"}},
        {"two tokens", {.text = "snare loop"}},
        {"two-letter prefix", {.text = "ba"}},
        {"tempo 128", {.bpm = 128}},
        {"key A minor", {.key = "A minor"}},
        {"one genre", {.genre = "House"}},
        {"genre set", {.genres = {"House", "Techno", "Lo-Fi"}}},
        {"deep folder", {.folder = deepFolder}},
        {"pack folder", {.folder = packFolder}},
        {"large playlist", {.playlistId = bigPlaylist}},
        {"favourites", {.favoritesOnly = true}},
        {"sort name asc", {.sortByFilename = true}},
        {"sort name desc", {.sortByFilename = true, .filenameDescending = true}},
        {"sort time asc", {.sortByDuration = true}},
        {"sort time desc", {.sortByDuration = true, .durationDescending = true}},
        {"sort bpm asc", {.sortByBpm = true}},
        {"sort bpm desc", {.sortByBpm = true, .bpmDescending = true}},
        {"deep page (50,000)", {.offset = 50000}},
        {"token + type + key", {.text = "loop", .type = "Loop", .key = "Am"}},
        {"token + tempo + genre", {.text = "loop", .genre = "Trap", .bpm = 140}},
        // Late in name order when packs are named by genre.
        {"late genre (Trap)", {.genre = "Trap"}},
        {"kick + tempo + genre", {.text = "kick", .genre = "Trap", .bpm = 140}},
        {"ki (prefix), ranked", {.text = "ki"}},
    };
    for (Case& c : list) c.query.limit = 50;
    return list;
}

// The command line that asks the tool for a case's first page of 50, as a user types it.
std::vector<std::string> cliArguments(const Options& options, const qv::SearchQuery& q)
{
    std::vector<std::string> args = {options.cli.string(), "--json", "--db", options.db.string(), "search"};
    const auto add = [&](const char* flag, const std::string& value) {
        args.push_back(flag);
        args.push_back(value);
    };
    if (!q.text.empty()) args.push_back(q.text);
    if (!q.type.empty()) add("--type", q.type);
    if (!q.key.empty()) add("--key", q.key);
    if (q.bpm) add("--bpm", std::to_string(*q.bpm));
    if (!q.genre.empty()) add("--genre", q.genre);
    for (const auto& genre : q.genres) add("--genre", genre);
    if (!q.folder.empty()) add("--folder", q.folder);
    if (q.playlistId) add("--playlist", std::to_string(*q.playlistId));
    if (q.favoritesOnly) args.push_back("--favorites");
    if (hasSort(q)) add("--sort", q.sortByFilename ? "filename" : q.sortByDuration ? "duration" : "bpm");
    if (q.filenameDescending || q.durationDescending || q.bpmDescending) args.push_back("--desc");
    add("--page-size", std::to_string(q.limit));
    add("--page", std::to_string(q.offset / q.limit + 1));
    return args;
}

// Milliseconds from spawning the tool to its exit, its output discarded.
double runProcess(const std::vector<std::string>& args)
{
    std::vector<char*> argv;
    for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    int status = 0;
    const double ms = millisecondsOf([&] {
        if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
            throw std::runtime_error("cannot start " + args[0]);
        }
        waitpid(pid, &status, 0);
    });
    posix_spawn_file_actions_destroy(&actions);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("the tool failed: " + args[4]);
    return ms;
}

// Each case through the command-line tool, a new process per run.
void timeCli(const Options& options, const std::vector<Case>& list)
{
    std::printf("%s: each run a new process of %s, %d timed runs after one untimed\n", options.db.c_str(),
                options.cli.c_str(), options.reps);
    std::printf("%-24s | %8s %8s\n", "ms, spawn to exit", "p50", "p95");
    const Stats start = measure(options.reps, [&] { runProcess({options.cli.string(), "--help"}); });
    std::printf("%-24s | %8.1f %8.1f\n", "tool start (--help)", start.p50, start.p95);
    for (const Case& c : list) {
        if (c.name.find(options.only) == std::string::npos) continue;
        const auto args = cliArguments(options, c.query);
        const Stats run = measure(options.reps, [&] { runProcess(args); });
        std::printf("%-24s | %8.1f %8.1f\n", c.name.c_str(), run.p50, run.p95);
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Options options = parse(argc, argv);
        gTexts = options.texts;
        ensureDatabase(options);
        if (!options.cli.empty()) {
            // The cases name a folder and a playlist that the database is asked for; the
            // connections close before the tool runs.
            sqlite3* raw = nullptr;
            sqlite3_open_v2(options.db.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr);
            std::vector<Case> list;
            {
                qv::Database db(options.db);
                list = cases(db, raw);
            }
            sqlite3_close(raw);
            timeCli(options, list);
            return 0;
        }
        if (options.texts.empty()) {
            // The search's support indexes are built on every run, to time that one-off.
            sqlite3* setup = nullptr;
            sqlite3_open(options.db.c_str(), &setup);
            std::vector<std::string> drops;
            sqlite3_stmt* st = nullptr;
            sqlite3_prepare_v2(setup, "SELECT name FROM sqlite_schema WHERE type='index' AND (name LIKE "
                               "'idx_samples_visible_%' OR name IN ('idx_samples_hidden','idx_sample_genres_value'))", -1, &st, nullptr);
            while (sqlite3_step(st) == SQLITE_ROW) {
                drops.push_back("DROP INDEX " + std::string(reinterpret_cast<const char*>(sqlite3_column_text(st, 0))));
            }
            sqlite3_finalize(st);
            for (const auto& drop : drops) sqlite3_exec(setup, drop.c_str(), nullptr, nullptr, nullptr);
            sqlite3_close(setup);
        }
        const auto sizeBefore = usedBytes(options.db);
        int built = 0;
        const double buildMs = millisecondsOf([&] {
            qv::Database db(options.db, [&](int, int total) { built = total; });
        });
        sqlite3* raw = nullptr;
        if (sqlite3_open_v2(options.db.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
            throw std::runtime_error("cannot open " + options.db.string());
        }
        qv::Database db(options.db);
        std::printf("%s: %lld samples, SQLite %s, %d timed runs each\n", options.db.c_str(),
                    static_cast<long long>(db.countSamples()), sqlite3_libversion(), options.reps);
        if (built > 0) {
            std::printf("support indexes: %d built at open in %.1f s, file grew by %.0f bytes per sample\n", built,
                        buildMs / 1000.0,
                        (usedBytes(options.db) - sizeBefore)
                            / static_cast<double>(db.countSamples()));
        } else {
            std::printf("support indexes: already present (open took %.1f ms)\n", buildMs);
        }
        {
            // A ranked page among many matches reads each sample's place in name order
            // once per connection, and again only after many writes.
            qv::SearchQuery ranked;
            ranked.text = "kick";
            ranked.limit = 50;
            std::printf("first ranked search after open: %.1f ms (reads the name order)\n",
                        millisecondsOf([&] { db.search(ranked); }));
        }
        if (options.only.empty() && options.texts.empty()) folderTree(options, db);

        std::printf("\nms for count + first page of 50 (+ matchingIndex when sorted); reference = SQL as written, "
                    "indexed cold = nothing cached, warm = count cached\n\n");
        std::printf("%-24s %8s | %9s %9s | %8s %8s | %7s | %8s | %s\n", "query", "matches", "ref p50", "ref p95",
                    "idx p50", "idx p95", "ratio", "warm p95", "strategy");
        for (const Case& c : cases(db, raw)) {
            if (options.valuesOnly || c.name.find(options.only) == std::string::npos) continue;
            const bool sorted = hasSort(c.query);
            db.setSearchPlan(qv::SearchPlan::Reference);
            const std::int64_t matches = db.countMatching(c.query);
            const auto firstPage = db.search(c.query);
            const std::int64_t target = firstPage.empty() ? 0 : firstPage.back().id;
            const auto position = db.matchingIndex(c.query, target);
            const auto run = [&] {
                db.countMatching(c.query);
                db.search(c.query);
                if (sorted) db.matchingIndex(c.query, target);
            };
            const Stats reference = measure(options.reps, run);

            db.setSearchPlan(qv::SearchPlan::Indexed);
            const auto page = db.search(c.query);
            const bool samePage = std::equal(page.begin(), page.end(), firstPage.begin(), firstPage.end(),
                                             [](const auto& a, const auto& b) { return a.id == b.id; });
            if (db.countMatching(c.query) != matches || !samePage || db.matchingIndex(c.query, target) != position) {
                throw std::runtime_error("the plans disagree on " + c.name);
            }
            const Stats cold = measure(options.reps, run, [&] { db.setSearchPlan(qv::SearchPlan::Indexed); });
            const Stats warm = measure(options.reps, run);
            std::printf("%-24s %8lld | %9.1f %9.1f | %8.1f %8.1f | %6.0fx | %8.1f | %s\n", c.name.c_str(),
                        static_cast<long long>(matches), reference.p50, reference.p95, cold.p50, cold.p95,
                        reference.p95 / std::max(cold.p95, 0.01), warm.p95,
                        qv::describe(db.searchStrategy(c.query)).c_str());
            std::fflush(stdout);
        }
        if (!options.texts.empty()) {
            sqlite3_close(raw);
            return 0;
        }

        const std::string scope = cases(db, raw)[10].query.folder;
        if (!options.valuesOnly) std::printf("\nfilter values under %s\n", scope.c_str());
        for (const char* field : {"instrument", "genre", "key"}) {
            if (options.valuesOnly) break;
            qv::SearchQuery q;
            q.folder = scope;
            db.setSearchPlan(qv::SearchPlan::Reference);
            const auto values = db.distinctFilterValues(field, q);
            const Stats reference = measure(options.reps, [&] { db.distinctFilterValues(field, q); });
            db.setSearchPlan(qv::SearchPlan::Indexed);
            if (db.distinctFilterValues(field, q) != values) throw std::runtime_error("the plans disagree on values");
            const Stats indexed = measure(options.reps, [&] { db.distinctFilterValues(field, q); },
                                          [&] { db.setSearchPlan(qv::SearchPlan::Indexed); });
            std::printf("%-24s %8zu | %9.1f %9.1f | %8.1f %8.1f | %6.0fx |\n", field, values.size(), reference.p50,
                        reference.p95, indexed.p50, indexed.p95, reference.p95 / std::max(indexed.p95, 0.01));
        }

        // A chip reads its list when it opens, the quick filters their two lists at every
        // change of place: what that costs, cold (after a write) and warm. Each list is
        // first checked against the reference plan.
        std::printf("\nfilter value lists per place, indexed plan: genre + instrument (the quick filters), key; "
                    "reference = all three once by the reference plan\n");
        std::printf("%-24s %8s | %8s %8s | %8s | %8s %8s | %9s | %s\n", "place", "values", "cold p50", "cold p95",
                    "warm p95", "key p50", "key p95", "reference", "way");
        const std::vector<Case> all = cases(db, raw);
        std::int64_t shortlist = 0;
        for (const auto& playlist : db.playlists()) {
            if (playlist.name == "Kick Shortlist") shortlist = playlist.id;
        }
        const std::vector<Case> places = {
            {"all samples", {}},
            {"loops", {.type = "Loop"}},
            {"one shots", {.type = "One Shot"}},
            {"midi", {.type = "MIDI"}},
            {"favourites", {.favoritesOnly = true}},
            {"favourite loops", {.type = "Loop", .favoritesOnly = true}},
            {"pack folder", {.folder = all[10].query.folder}},
            {"library root folder", {.folder = scalarText(raw, "SELECT path FROM libraries ORDER BY id LIMIT 1")}},
            {"large playlist", {.playlistId = all[11].query.playlistId}},
            {"kick shortlist", {.playlistId = shortlist}},
        };
        for (const Case& place : places) {
            if (place.name.find(options.only) == std::string::npos) continue;
            db.setSearchPlan(qv::SearchPlan::Reference);
            std::vector<std::vector<std::string>> expected;
            const double referenceMs = millisecondsOf([&] {
                for (const char* field : {"genre", "instrument", "key"}) {
                    expected.push_back(db.distinctFilterValues(field, place.query));
                }
            });
            db.setSearchPlan(qv::SearchPlan::Indexed);
            std::size_t values = 0;
            for (const char* field : {"genre", "instrument", "key"}) {
                if (db.distinctFilterValues(field, place.query) != expected[values++]) {
                    throw std::runtime_error("the plans disagree on the " + std::string(field) + " list in "
                                             + place.name);
                }
            }
            values = expected[0].size() + expected[1].size();
            const auto lists = [&] {
                db.distinctFilterValues("genre", place.query);
                db.distinctFilterValues("instrument", place.query);
            };
            const Stats cold = measure(options.reps, lists, [&] { db.setSearchPlan(qv::SearchPlan::Indexed); });
            const Stats warm = measure(options.reps, lists);
            const Stats key = measure(options.reps, [&] { db.distinctFilterValues("key", place.query); },
                                      [&] { db.setSearchPlan(qv::SearchPlan::Indexed); });
            std::printf("%-24s %8zu | %8.1f %8.1f | %8.1f | %8.1f %8.1f | %9.0f | %s\n", place.name.c_str(), values,
                        cold.p50, cold.p95, warm.p95, key.p50, key.p95, referenceMs,
                        db.valueListStrategy(place.query) == qv::ValueList::Probe ? "probe" : "scan");
            std::fflush(stdout);
        }

        // Size per sample against the text it indexes (path and file name), as a ratio.
        const double samples = std::stod(scalarText(raw, "SELECT count(*) FROM samples"));
        const double textBytes = std::stod(scalarText(raw, "SELECT sum(length(CAST(path AS BLOB))+"
                                                           "length(CAST(filename AS BLOB))) FROM samples"));
        const double fileBytes = usedBytes(options.db);
        std::printf("\ndatabase size: %.0f bytes per sample, %.1fx its path and file name text (%.0f bytes)\n",
                    fileBytes / samples, fileBytes / textBytes, textBytes / samples);
        sqlite3_close(raw);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "search_bench: %s\n", error.what());
        return 1;
    }
}
