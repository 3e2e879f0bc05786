// SQL text the indexed plan's statements share: a query's matches as FROM and WHERE
// over the support indexes, the library scopes, the page window, and small readers.
#pragma once

#include "search/search_query.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qv {

class Connection;
class Statement;

// The matches of a query. Walking names an ordered index to follow and tests membership
// row by row; driving starts from the narrowest filter, and from the full-text table
// itself when the query has text and drives by id. `scope` is the library test: the
// reference's join and offline exclusion as one list. With `rowText` the text is tested
// on each candidate row instead of listed by the full-text table.
struct Matches {
    std::string from;
    std::string where;
    std::vector<std::string> params;
};
Matches matches(const SearchQuery& query, const std::string& scope, const char* walkIndex,
                const std::vector<std::string>* keys, bool rowText);

// The text columns an index holds, tested before the row is read for the others.
const char* rowColumnsOf(const char* index);

// " AND +s.library_id IN (1,2)": the libraries a page joins to.
std::string onlineScope(const std::string& online);
// countMatching has no join to libraries: only the offline ones are left out.
std::string countScope(const std::string& offline);

// LIMIT and OFFSET as SQLite reads them: a negative limit means all rows, a negative
// offset none skipped.
struct Window {
    std::int64_t offset;
    std::int64_t limit; // -1: unbounded

    std::string sql() const;
};
Window windowOf(const SearchQuery& query);

// A statement and its parameters as one cache key, unambiguous whatever the texts hold.
std::string cacheKey(const std::string& sql, const std::vector<std::string>& params);

void bindTexts(Statement& st, const std::vector<std::string>& params, int first = 1);
std::vector<std::int64_t> readIds(Connection& db, const std::string& sql, const std::vector<std::string>& params);
// The same, sorted: full-text ids come in rowid order already and are sorted only when not.
std::vector<std::int64_t> sortedIds(Connection& db, const std::string& sql, const std::vector<std::string>& params);
std::int64_t scalar(Connection& db, const std::string& sql);

} // namespace qv
