// Any byte string as the text typed into the search field, run against a real index: the
// FTS5 expression built from it must always run (rows or none, never an SQL error), the
// browser's count and page must agree with the bare MATCH, and a row whose file name
// starts every typed word must be among the matches.
#include "db/database.h"
#include "search/search_rank.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

void require(bool condition, const char* what)
{
    if (condition) return;
    std::fprintf(stderr, "fts fuzz: %s\n", what);
    std::abort();
}

struct Row {
    std::int64_t id = 0;
    std::vector<std::string> tokens; // of the file name
};

// Names with the words, digits, '#' keys and non-ASCII letters real libraries use.
constexpr std::string_view kNames[] = {
    "Kick 808 Hard.wav",         "Snare_Tight_02.wav",        "Hi Hat Open 120bpm.aif",
    "Bass Loop C#m 140 BPM.wav", "Pad Ambient Fmaj.wav",      "Caf\xC3\xA9 Piano Loop.mp3",
    "Vocal Chop AND More.wav",   "NOT a Kick (OR) NEAR.wav",  "drum loop \"quoted\" 90.wav",
    "Perc*Star^Caret-Minus.wav", "Stra\xC3\x9F" "e Synth.mid", "\xE2\x80\x94 dash \xE2\x80\x94.wav",
};

struct Index {
    fs::path dir;
    std::unique_ptr<qv::Database> db;
    sqlite3* raw = nullptr;
    sqlite3_stmt* match = nullptr;
    std::vector<Row> rows;

    Index()
    {
        dir = fs::temp_directory_path() / ("qv-fuzz-fts-" + std::to_string(::getpid()));
        fs::remove_all(dir);
        db = std::make_unique<qv::Database>(dir / "index.db");
        const fs::path root = "/qv-fuzz-library";
        const std::int64_t library = db->addLibrary(root);
        for (const auto name : kNames) {
            qv::Sample sample;
            sample.filename = std::string(name);
            sample.path = (root / "Pack" / sample.filename).string();
            sample.musicalKey = "None";
            sample.fileSize = 1000;
            db->upsert(sample, library);
            const auto stored = db->findByPath(sample.path);
            require(stored.has_value(), "a fixture row was not stored");
            rows.push_back({stored->id, qv::searchTokens(name)});
        }
        require(sqlite3_open_v2((dir / "index.db").c_str(), &raw, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK,
                "cannot open the index read-only");
        require(sqlite3_prepare_v2(raw, "SELECT rowid FROM sample_search WHERE sample_search MATCH ?", -1, &match,
                                   nullptr)
                    == SQLITE_OK,
                "cannot prepare the MATCH");
    }

    ~Index()
    {
        sqlite3_finalize(match);
        sqlite3_close(raw);
        db.reset();
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

bool asciiWord(const std::string& token)
{
    return std::all_of(token.begin(), token.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Index index;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string expression = qv::ftsQuery(text);

    std::set<std::int64_t> found;
    if (!expression.empty()) {
        sqlite3_bind_text(index.match, 1, expression.data(), static_cast<int>(expression.size()), SQLITE_TRANSIENT);
        int rc;
        while ((rc = sqlite3_step(index.match)) == SQLITE_ROW) found.insert(sqlite3_column_int64(index.match, 0));
        if (rc != SQLITE_DONE) {
            std::fprintf(stderr, "MATCH %s: %s\n", expression.c_str(), sqlite3_errmsg(index.raw));
            std::abort();
        }
        sqlite3_reset(index.match);
        sqlite3_clear_bindings(index.match);
    } else {
        for (const auto& row : index.rows) found.insert(row.id);
    }

    qv::SearchQuery query;
    query.text = text;
    std::int64_t count = -1;
    try {
        count = index.db->countMatching(query);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "countMatching: %s\n", error.what());
        std::abort();
    }
    require(count == static_cast<std::int64_t>(found.size()), "the count differs from the bare MATCH");
    const auto page = index.db->search(query);
    require(page.size() == found.size(), "the page differs from the bare MATCH");
    for (const auto& sample : page) require(found.contains(sample.id), "the page holds a row the MATCH did not");

    // Plain ASCII words are tokenised alike by the index and by searchTokens, so a name
    // that starts each of them must be found.
    const auto words = qv::searchTokens(text);
    if (words.empty() || !std::all_of(words.begin(), words.end(), asciiWord)) return 0;
    for (const auto& row : index.rows) {
        const bool starts = std::all_of(words.begin(), words.end(), [&](const std::string& word) {
            return std::any_of(row.tokens.begin(), row.tokens.end(),
                               [&](const std::string& token) { return token.starts_with(word); });
        });
        if (starts) require(found.contains(row.id), "a name that starts every word was not found");
    }
    return 0;
}
