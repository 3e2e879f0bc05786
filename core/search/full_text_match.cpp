#include "search/full_text_match.h"

#include "search/search_rank.h"
#include "sql/connection.h"
#include "sql/full_text_tokenizer.h"
#include "sql/sqlite_error.h"

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

namespace {

// A phrase: its tokens in order, the last one a prefix.
using Phrase = std::vector<std::string>;

// The connection's own tokenizer, and the budget of counted calls.
struct Matcher {
    std::unique_ptr<FullTextTokenizer> tokenizer;
    FullTextRowBudget budget;
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
            if (!matcher->tokenizer->tokenize(token, FullTextTokenizer::Mode::QueryPrefix, tokens, count)) {
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
        if (!matcher->tokenizer->tokenize(text, FullTextTokenizer::Mode::Document, tokens, count)) {
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

} // namespace

FullTextRowBudget* registerFullTextMatch(Connection& db)
{
    auto matcher = std::make_unique<Matcher>();
    matcher->tokenizer = FullTextTokenizer::find(db, "unicode61");
    if (!matcher->tokenizer) return nullptr;
    Matcher* raw = matcher.get();
    try {
        // SQLite owns the matcher from here on, and frees it even when this fails.
        db.defineFunction("qv_full_text_match", -1, &fullTextMatchSql, matcher.release(),
                          [](void* p) { delete static_cast<Matcher*>(p); });
    } catch (const SqliteError&) {
        return nullptr;
    }
    return &raw->budget;
}

} // namespace qv
