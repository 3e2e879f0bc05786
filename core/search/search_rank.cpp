#include "search/search_rank.h"

#include "ascii.h"

#include <sqlite3.h>

#include <algorithm>

namespace qv {

std::vector<std::string> searchTokens(std::string_view text)
{
    std::vector<std::string> tokens;
    std::string current;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80) {
            current.push_back(c);
        } else if (ascii::isAlnum(c) || c == '#') {
            current.push_back(ascii::lower(c));
        } else if (!current.empty()) {
            tokens.push_back(std::move(current));
            current.clear();
        }
    }
    if (!current.empty()) tokens.push_back(std::move(current));
    return tokens;
}

std::string ftsQuery(std::string_view text)
{
    std::string expression;
    for (const auto& token : searchTokens(text)) {
        if (!expression.empty()) expression += " AND ";
        expression += '"';
        expression += token;
        expression += "\"*";
    }
    return expression;
}

namespace {

// Tokens are views into a lower-cased copy of their text, and every buffer is reused
// from call to call: the rank runs once per candidate row, and per-row allocations
// used to cost more than the comparisons themselves.
using Tokens = std::vector<std::string_view>;

bool isTokenByte(unsigned char byte)
{
    return byte >= 0x80 || ascii::isAlnum(static_cast<char>(byte)) || byte == '#';
}

// The same tokens as searchTokens, as views into `lowered`.
void tokenize(std::string_view text, std::string& lowered, Tokens& tokens)
{
    lowered.assign(text);
    tokens.clear();
    std::size_t start = 0;
    bool inToken = false;
    for (std::size_t i = 0; i < lowered.size(); ++i) {
        const auto byte = static_cast<unsigned char>(lowered[i]);
        if (isTokenByte(byte)) {
            lowered[i] = ascii::lower(lowered[i]);
            if (!inToken) start = i;
            inToken = true;
        } else if (inToken) {
            tokens.emplace_back(lowered.data() + start, i - start);
            inToken = false;
        }
    }
    if (inToken) tokens.emplace_back(lowered.data() + start, lowered.size() - start);
}

bool fits(std::string_view nameToken, std::string_view queryToken, bool prefix)
{
    return prefix ? nameToken.starts_with(queryToken) : nameToken == queryToken;
}

struct Scratch {
    std::string nameText;
    std::string queryText;
    Tokens s;
    Tokens q;
    std::string lastQuery;
    bool queryValid = false;
    std::vector<std::pair<std::string_view, std::size_t>> wanted; // sorted distinct Q tokens, counts
    std::vector<std::size_t> credited;
};

std::size_t phraseExtra(const Tokens& q, const Tokens& s, bool prefix, bool& found)
{
    found = false;
    if (s.size() < q.size()) return 0;
    for (std::size_t i = 0; i + q.size() <= s.size(); ++i) {
        bool all = true;
        for (std::size_t k = 0; k < q.size() && all; ++k) all = fits(s[i + k], q[k], prefix);
        if (all) {
            found = true;
            return s.size() - q.size();
        }
    }
    return 0;
}

std::size_t orderedGaps(const Tokens& q, const Tokens& s, bool prefix, bool& found)
{
    found = false;
    std::size_t best = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (!fits(s[i], q[0], prefix)) continue;
        std::size_t last = i;
        bool complete = true;
        for (std::size_t k = 1; k < q.size() && complete; ++k) {
            std::size_t j = last + 1;
            while (j < s.size() && !fits(s[j], q[k], prefix)) ++j;
            complete = j < s.size();
            last = j;
        }
        if (!complete) continue;
        const std::size_t gaps = (last - i + 1) - q.size();
        if (!found || gaps < best) best = gaps;
        found = true;
    }
    return best;
}

std::size_t anyOrderExtra(Scratch& w, bool prefix, bool& found)
{
    const Tokens& q = w.q;
    const Tokens& s = w.s;
    found = false;
    std::size_t best = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        w.credited.assign(w.wanted.size(), 0);
        std::size_t satisfied = 0;
        for (std::size_t j = i; j < s.size(); ++j) {
            // Credit goes to the first query token in sorted order that fits, even when
            // that token is already satisfied: "abc" always counts for "a", never "ab".
            for (std::size_t t = 0; t < w.wanted.size(); ++t) {
                if (fits(s[j], w.wanted[t].first, prefix)) {
                    if (++w.credited[t] == w.wanted[t].second) ++satisfied;
                    break;
                }
            }
            if (satisfied == w.wanted.size()) {
                const std::size_t extra = (j - i + 1) - q.size();
                if (!found || extra < best) best = extra;
                found = true;
                break;
            }
        }
    }
    return best;
}

int score(Scratch& w, bool prefix, int base)
{
    bool found = false;
    std::size_t extra = phraseExtra(w.q, w.s, prefix, found);
    if (found) return base + static_cast<int>(extra);
    extra = orderedGaps(w.q, w.s, prefix, found);
    if (found) return base + 100000 + static_cast<int>(extra);
    extra = anyOrderExtra(w, prefix, found);
    if (found) return base + 200000 + static_cast<int>(extra);
    return kNoMatchRank;
}

// The query's tokens are kept while the same text comes back, as it does for every row
// of one search.
void prepareQuery(Scratch& w, std::string_view query)
{
    if (w.queryValid && w.lastQuery == query) return;
    w.queryValid = false;
    w.lastQuery.assign(query);
    tokenize(query, w.queryText, w.q);
    w.wanted.clear();
    Tokens sorted = w.q;
    std::sort(sorted.begin(), sorted.end());
    for (const std::string_view token : sorted) {
        if (!w.wanted.empty() && w.wanted.back().first == token) {
            ++w.wanted.back().second;
        } else {
            w.wanted.emplace_back(token, 1);
        }
    }
    w.queryValid = true;
}

} // namespace

namespace {

std::string_view stemOf(std::string_view filename)
{
    const auto dot = filename.rfind('.');
    return dot == std::string_view::npos ? filename : filename.substr(0, dot);
}

} // namespace

int filenameSearchRank(std::string_view filename, std::string_view query)
{
    thread_local Scratch w;
    const std::string_view stem = stemOf(filename);

    prepareQuery(w, query);
    tokenize(stem, w.nameText, w.s);
    if (w.s.empty() || w.q.empty()) return kNoMatchRank;
    if (w.s == w.q) return 0;

    const int exact = score(w, false, 100000);
    if (exact < kNoMatchRank) return exact;
    return score(w, true, 400000);
}

int stemTokenCount(std::string_view filename)
{
    int count = 0;
    bool inToken = false;
    for (const char c : stemOf(filename)) {
        const bool token = isTokenByte(static_cast<unsigned char>(c));
        if (token && !inToken) ++count;
        inToken = token;
    }
    return count;
}

std::uint32_t tokenInitialBit(std::string_view token)
{
    if (token.empty()) return 0;
    const char first = ascii::lower(token.front());
    if (first >= 'a' && first <= 'z') return std::uint32_t{1} << (first - 'a');
    if (first >= '0' && first <= '9') return std::uint32_t{1} << (26 + (first - '0') % 4);
    if (first == '#') return std::uint32_t{1} << 30;
    return std::uint32_t{1} << 31;
}

std::uint32_t stemInitials(std::string_view filename)
{
    std::uint32_t bits = 0;
    bool inToken = false;
    for (const char c : stemOf(filename)) {
        const bool token = isTokenByte(static_cast<unsigned char>(c));
        if (token && !inToken) bits |= tokenInitialBit(std::string_view(&c, 1));
        inToken = token;
    }
    return bits;
}

void searchRankSql(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    if (argc != 2 || sqlite3_value_type(argv[0]) == SQLITE_NULL || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_int(context, kNoMatchRank);
        return;
    }
    auto text = [](sqlite3_value* value) {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
        if (!bytes) return std::string_view();
        return std::string_view(bytes, static_cast<std::size_t>(sqlite3_value_bytes(value)));
    };
    const std::string_view filename = text(argv[0]);
    const std::string_view query = text(argv[1]);
    sqlite3_result_int(context, filenameSearchRank(filename, query));
}

} // namespace qv
