#include "sql/statement.h"

#include "sql/connection.h"
#include "sql/statement_cache.h"

#include <sqlite3.h>

#include <new>
#include <utility>

namespace qv {

SqlValue::SqlValue(sqlite3_value* source)
    : _value(sqlite3_value_dup(source))
{
    if (!_value) throw std::bad_alloc();
}

SqlValue::~SqlValue()
{
    sqlite3_value_free(_value);
}

SqlValue::SqlValue(SqlValue&& other) noexcept
    : _value(std::exchange(other._value, nullptr))
{
}

bool SqlValue::isNull() const
{
    return sqlite3_value_type(_value) == SQLITE_NULL;
}

bool SqlValue::isInteger() const
{
    return sqlite3_value_type(_value) == SQLITE_INTEGER;
}

std::int64_t SqlValue::integer() const
{
    return sqlite3_value_int64(_value);
}

double SqlValue::real() const
{
    return sqlite3_value_double(_value);
}

Statement::Statement(Connection& db, std::string_view sql)
    : _db(db)
{
    if (sqlite3_prepare_v2(db._db, sql.data(), static_cast<int>(sql.size()), &_stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(_stmt);
        _stmt = nullptr;
        db.throwError();
    }
}

Statement::Statement(Connection& db, StatementCache& cache, const char* sql)
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

sqlite3_stmt* StatementCache::get(Connection& db, const char* sql)
{
    for (auto& [key, stmt] : _entries) {
        if (key == sql) return stmt;
    }
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v3(db._db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(stmt);
        db.throwError();
    }
    _entries.emplace_back(sql, stmt);
    return stmt;
}

namespace {
void check(const Connection& db, int rc)
{
    if (rc != SQLITE_OK) db.throwError();
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

void Statement::bindBlob(int index, std::span<const std::uint8_t> bytes)
{
    check(_db, sqlite3_bind_blob64(_stmt, index, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
}

void Statement::bind(int index, const SqlValue& value)
{
    check(_db, sqlite3_bind_value(_stmt, index, value._value));
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
    _db.throwError();
}

void Statement::stepDone()
{
    if (sqlite3_step(_stmt) != SQLITE_DONE) _db.throwError();
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

std::span<const std::uint8_t> Statement::columnBlob(int column) const
{
    const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(_stmt, column));
    if (!bytes) return {};
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(_stmt, column))};
}

SqlValue Statement::columnValue(int column) const
{
    return SqlValue(sqlite3_column_value(_stmt, column));
}

} // namespace qv
