#include "core/search_rank.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <map>

namespace qv {

std::vector<std::string> searchTokens(std::string_view text)
{
    std::vector<std::string> tokens;
    std::string current;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80) {
            current.push_back(c);
        } else if (std::isalnum(byte) || c == '#') {
            current.push_back(static_cast<char>(std::tolower(byte)));
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

using Tokens = std::vector<std::string>;

bool fits(const std::string& nameToken, const std::string& queryToken, bool prefix)
{
    return prefix ? nameToken.starts_with(queryToken) : nameToken == queryToken;
}

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

std::size_t anyOrderExtra(const Tokens& q, const Tokens& s, bool prefix, bool& found)
{
    found = false;
    std::map<std::string, std::size_t> wanted;
    for (const auto& token : q) ++wanted[token];

    std::size_t best = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        std::map<std::string, std::size_t> credited;
        for (std::size_t j = i; j < s.size(); ++j) {
            // Credit goes to the first query token in sorted order that fits, even when
            // that token is already satisfied: "abc" always counts for "a", never "ab".
            for (const auto& [token, count] : wanted) {
                if (fits(s[j], token, prefix)) {
                    ++credited[token];
                    break;
                }
            }
            const bool complete = std::all_of(wanted.begin(), wanted.end(), [&](const auto& entry) {
                auto it = credited.find(entry.first);
                return it != credited.end() && it->second >= entry.second;
            });
            if (complete) {
                const std::size_t extra = (j - i + 1) - q.size();
                if (!found || extra < best) best = extra;
                found = true;
                break;
            }
        }
    }
    return best;
}

int score(const Tokens& q, const Tokens& s, bool prefix, int base)
{
    bool found = false;
    std::size_t extra = phraseExtra(q, s, prefix, found);
    if (found) return base + static_cast<int>(extra);
    extra = orderedGaps(q, s, prefix, found);
    if (found) return base + 100000 + static_cast<int>(extra);
    extra = anyOrderExtra(q, s, prefix, found);
    if (found) return base + 200000 + static_cast<int>(extra);
    return kNoMatchRank;
}

} // namespace

int filenameSearchRank(std::string_view filename, std::string_view query)
{
    const auto dot = filename.rfind('.');
    const std::string_view stem = dot == std::string_view::npos ? filename : filename.substr(0, dot);

    const Tokens s = searchTokens(stem);
    const Tokens q = searchTokens(query);
    if (s.empty() || q.empty()) return kNoMatchRank;
    if (s == q) return 0;

    const int exact = score(q, s, false, 100000);
    if (exact < kNoMatchRank) return exact;
    return score(q, s, true, 400000);
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
