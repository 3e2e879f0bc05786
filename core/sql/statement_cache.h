// Prepared statements kept for the life of a connection, for the statements a scan or a
// search runs over and over. Keyed by the address of the SQL text, which must outlive
// the cache (a literal, or a string built once). Not thread-safe by itself: used under
// the database mutex. Destroyed before its connection closes.
#pragma once

#include <utility>
#include <vector>

struct sqlite3_stmt;

namespace qv {

class Connection;

class StatementCache {
public:
    StatementCache() = default;
    ~StatementCache();
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    sqlite3_stmt* get(Connection& db, const char* sql);

private:
    std::vector<std::pair<const char*, sqlite3_stmt*>> _entries;
};

} // namespace qv
