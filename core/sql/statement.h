// The one way the core talks to SQLite: a prepared statement that finalizes itself,
// a write-transaction guard that rolls back unless committed, and `execute` for
// statement lists.
//
// Every failure throws std::runtime_error carrying SQLite's own message. Values are
// always bound, never spliced into SQL text. Neither type locks: callers hold the
// database mutex.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace qv {

// Throws SQLite's current message for `db` ("sqlite error" when it has none).
[[noreturn]] void throwSqliteError(sqlite3* db);

// Runs one or more statements with sqlite3_exec; throws the text it reports.
void execute(sqlite3* db, const char* sql);

// Prepared statements kept for the life of a connection, for the operations a scan runs
// once per file. Keyed by the address of the SQL literal. Not thread-safe by itself:
// used under the database mutex. Must be destroyed before the connection closes.
class StatementCache {
public:
    StatementCache() = default;
    ~StatementCache();
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    sqlite3_stmt* get(sqlite3* db, const char* sql);

private:
    std::vector<std::pair<const char*, sqlite3_stmt*>> _entries;
};

class Statement {
public:
    Statement(sqlite3* db, std::string_view sql);
    // Borrows a cached statement; on destruction it is reset and its bindings cleared
    // instead of being finalized.
    Statement(sqlite3* db, StatementCache& cache, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bind(int index, std::int64_t value);
    void bind(int index, int value) { bind(index, static_cast<std::int64_t>(value)); }
    void bind(int index, double value);
    void bind(int index, std::string_view text); // copied by SQLite
    void bind(int index, const std::string& text) { bind(index, std::string_view(text)); }
    void bind(int index, const char* text) { bind(index, std::string_view(text)); }
    void bindNull(int index);
    void bind(int index, const std::optional<std::int64_t>& value);
    void bind(int index, const std::optional<double>& value);
    void bind(int index, const std::optional<std::string>& text);

    // true for a row, false when done; throws on anything else.
    bool step();
    // The statement must finish without a row; throws otherwise.
    void stepDone();
    // Steps without interpreting the result, for callers that decide themselves.
    int stepRaw();

    void reset();
    void clearBindings();

    bool isNull(int column) const;
    std::int64_t columnInt64(int column) const;
    double columnDouble(int column) const;
    std::string columnText(int column) const; // NULL reads as ""
    std::string_view columnView(int column) const; // the same, valid until the next step

    sqlite3_stmt* handle() const { return _stmt; }

private:
    sqlite3* _db;
    sqlite3_stmt* _stmt = nullptr;
    bool _borrowed = false;
};

// "BEGIN IMMEDIATE" now; "ROLLBACK" on destruction unless commit() ran. A failing
// rollback is swallowed so that the first error is the one that propagates.
class Transaction {
public:
    explicit Transaction(sqlite3* db);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    sqlite3* _db;
    bool _open = true;
};

} // namespace qv
