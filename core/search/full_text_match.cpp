#include "search/full_text_match.h"

#include "search/search_rank.h"

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

namespace {

// FTS5 cuts longer tokens to this many bytes, in documents and queries alike.
constexpr int kMaxTokenBytes = 32768;

// A phrase: its tokens in order, the last one a prefix.
using Phrase = std::vector<std::string>;

class Matcher {
public:
    Matcher(const fts5_tokenizer& api, Fts5Tokenizer* instance)
        : _api(api)
        , _instance(instance)
    {
    }
    ~Matcher() { _api.xDelete(_instance); }
    Matcher(const Matcher&) = delete;
    Matcher& operator=(const Matcher&) = delete;

    FullTextRowBudget budget;

    // Each token of `text`, as the tokenizer folds it, into `tokens`.
    int tokenize(std::string_view text, int flags, std::vector<std::string>& tokens, std::size_t& count)
    {
        count = 0;
        struct Sink {
            std::vector<std::string>* tokens;
            std::size_t* count;
        } sink{&tokens, &count};
        const auto each = [](void* context, int, const char* token, int bytes, int, int) {
            auto* s = static_cast<Sink*>(context);
            if (*s->count == s->tokens->size()) s->tokens->emplace_back();
            (*s->tokens)[(*s->count)++].assign(token, static_cast<std::size_t>(std::min(bytes, kMaxTokenBytes)));
            return SQLITE_OK;
        };
        return _api.xTokenize(_instance, &sink, flags, text.data(), static_cast<int>(text.size()), each);
    }

private:
    fts5_tokenizer _api;
    Fts5Tokenizer* _instance;
};

// The phrases of a search text as the full-text query parses them: each search token,
// quoted, tokenised again in query mode.
using Phrases = std::vector<Phrase>;

// A phrase without a token ("#" alone) occurs nowhere, as FTS5 matches it to nothing.
bool occurs(const Phrase& phrase, const std::vector<std::string>& tokens, std::size_t count)
{
    const std::size_t n = phrase.size();
    for (std::size_t at = 0; at + n <= count; ++at) {
        std::size_t i = 0;
        while (i + 1 < n && tokens[at + i] == phrase[i]) ++i;
        if (i + 1 == n && tokens[at + i].starts_with(phrase[i])) return true;
    }
    return false;
}

std::string_view textOf(sqlite3_value* value)
{
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (!bytes) return {};
    return {bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

void fullTextMatchSql(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    auto* matcher = static_cast<Matcher*>(sqlite3_user_data(context));
    if (argc < 2) {
        sqlite3_result_error(context, "qv_full_text_match needs a text and a counted flag", -1);
        return;
    }
    if (sqlite3_value_int(argv[1]) != 0 && !matcher->budget.spend()) {
        sqlite3_result_error(context, "row test budget spent", -1);
        return;
    }

    // The text's phrases, parsed once per statement: handed to SQLite to keep only once
    // this call is done with them, since it may free them as soon as it takes them.
    auto* phrases = static_cast<Phrases*>(sqlite3_get_auxdata(context, 0));
    std::unique_ptr<Phrases> parsed;
    if (!phrases) {
        parsed = std::make_unique<Phrases>();
        std::vector<std::string> tokens;
        for (const auto& token : searchTokens(textOf(argv[0]))) {
            std::size_t count = 0;
            if (matcher->tokenize(token, FTS5_TOKENIZE_QUERY | FTS5_TOKENIZE_PREFIX, tokens, count) != SQLITE_OK) {
                sqlite3_result_error_nomem(context);
                return;
            }
            parsed->emplace_back(tokens.begin(), tokens.begin() + static_cast<std::ptrdiff_t>(count));
        }
        phrases = parsed.get();
    }
    const auto keep = [&] {
        if (parsed) sqlite3_set_auxdata(context, 0, parsed.release(), [](void* p) { delete static_cast<Phrases*>(p); });
    };
    if (phrases->empty()) {
        sqlite3_result_int(context, 0);
        keep();
        return;
    }

    thread_local std::vector<std::string> tokens;
    thread_local std::vector<char> found;
    found.assign(phrases->size(), 0);
    std::size_t left = phrases->size();
    for (int column = 2; column < argc && left > 0; ++column) {
        const std::string_view text = textOf(argv[column]);
        if (text.empty()) continue;
        std::size_t count = 0;
        if (matcher->tokenize(text, FTS5_TOKENIZE_DOCUMENT, tokens, count) != SQLITE_OK) {
            sqlite3_result_error_nomem(context);
            keep();
            return;
        }
        for (std::size_t p = 0; p < phrases->size(); ++p) {
            if (!found[p] && occurs((*phrases)[p], tokens, count)) {
                found[p] = 1;
                --left;
            }
        }
    }
    sqlite3_result_int(context, left == 0 ? 1 : 0);
    keep();
}

fts5_api* fts5Of(sqlite3* db)
{
    fts5_api* api = nullptr;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT fts5(?1)", -1, &st, nullptr) != SQLITE_OK) return nullptr;
    sqlite3_bind_pointer(st, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(st);
    sqlite3_finalize(st);
    return api;
}

} // namespace

FullTextRowBudget* registerFullTextMatch(sqlite3* db)
{
    fts5_api* fts5 = fts5Of(db);
    void* userData = nullptr;
    fts5_tokenizer api{};
    if (!fts5 || fts5->xFindTokenizer(fts5, "unicode61", &userData, &api) != SQLITE_OK) return nullptr;
    Fts5Tokenizer* instance = nullptr;
    if (api.xCreate(userData, nullptr, 0, &instance) != SQLITE_OK) return nullptr;
    auto matcher = std::make_unique<Matcher>(api, instance);
    Matcher* raw = matcher.get();
    if (sqlite3_create_function_v2(db, "qv_full_text_match", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, matcher.release(),
                                   &fullTextMatchSql, nullptr, nullptr,
                                   [](void* p) { delete static_cast<Matcher*>(p); })
        != SQLITE_OK) {
        return nullptr;
    }
    return &raw->budget;
}

} // namespace qv
