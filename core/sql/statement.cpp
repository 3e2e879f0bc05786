#include "sql/statement.h"

#include <sqlite3.h>

#include <stdexcept>

namespace qv {

void throwSqliteError(sqlite3* db)
{
    const char* message = db ? sqlite3_errmsg(db) : nullptr;
    throw std::runtime_error(message && *message ? message : "sqlite error");
}

void execute(sqlite3* db, const char* sql)
{
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) == SQLITE_OK) {
        sqlite3_free(error);
        return;
    }
    std::string message = error && *error ? error : "sqlite error";
    sqlite3_free(error);
    throw std::runtime_error(message);
}

Statement::Statement(sqlite3* db, std::string_view sql)
    : _db(db)
{
    if (sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &_stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(_stmt);
        _stmt = nullptr;
        throwSqliteError(db);
    }
}

Statement::Statement(sqlite3* db, StatementCache& cache, const char* sql)
    : _db(db)
    , _stmt(cache.get(db, sql))
    , _borrowed(true)
{
}

Statement::~Statement()
{
    if (_borrowed) {
        sqlite3_reset(_stmt);
        sqlite3_clear_bindings(_stmt);
    } else {
        sqlite3_finalize(_stmt);
    }
}

StatementCache::~StatementCache()
{
    for (auto& [sql, stmt] : _entries) sqlite3_finalize(stmt);
}

sqlite3_stmt* StatementCache::get(sqlite3* db, const char* sql)
{
    for (auto& [key, stmt] : _entries) {
        if (key == sql) return stmt;
    }
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(stmt);
        throwSqliteError(db);
    }
    _entries.emplace_back(sql, stmt);
    return stmt;
}

namespace {
void check(sqlite3* db, int rc)
{
    if (rc != SQLITE_OK) throwSqliteError(db);
}
} // namespace

void Statement::bind(int index, std::int64_t value)
{
    check(_db, sqlite3_bind_int64(_stmt, index, value));
}

void Statement::bind(int index, double value)
{
    check(_db, sqlite3_bind_double(_stmt, index, value));
}

void Statement::bind(int index, std::string_view text)
{
    check(_db, sqlite3_bind_text64(_stmt, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::bindNull(int index)
{
    check(_db, sqlite3_bind_null(_stmt, index));
}

void Statement::bind(int index, const std::optional<std::int64_t>& value)
{
    value ? bind(index, *value) : bindNull(index);
}

void Statement::bind(int index, const std::optional<double>& value)
{
    value ? bind(index, *value) : bindNull(index);
}

void Statement::bind(int index, const std::optional<std::string>& text)
{
    text ? bind(index, std::string_view(*text)) : bindNull(index);
}

bool Statement::step()
{
    const int rc = sqlite3_step(_stmt);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    throwSqliteError(_db);
}

void Statement::stepDone()
{
    if (sqlite3_step(_stmt) != SQLITE_DONE) throwSqliteError(_db);
}

int Statement::stepRaw()
{
    return sqlite3_step(_stmt);
}

void Statement::reset()
{
    sqlite3_reset(_stmt);
}

void Statement::clearBindings()
{
    sqlite3_clear_bindings(_stmt);
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(_stmt, column) == SQLITE_NULL;
}

std::int64_t Statement::columnInt64(int column) const
{
    return sqlite3_column_int64(_stmt, column);
}

double Statement::columnDouble(int column) const
{
    return sqlite3_column_double(_stmt, column);
}

std::string Statement::columnText(int column) const
{
    return std::string(columnView(column));
}

std::string_view Statement::columnView(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(_stmt, column));
    if (!text) return {};
    return {text, static_cast<std::size_t>(sqlite3_column_bytes(_stmt, column))};
}

Transaction::Transaction(sqlite3* db)
    : _db(db)
{
    execute(db, "BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!_open) return;
    try {
        execute(_db, "ROLLBACK");
    } catch (const std::exception&) {
        // The error that brought us here is the one worth reporting.
    }
}

void Transaction::commit()
{
    execute(_db, "COMMIT");
    _open = false;
}

} // namespace qv
