// A prepared statement that finalizes itself, and a column value carried unchanged from
// one statement into another.
//
// Every failure throws SqliteError with SQLite's message. Values are always bound,
// never spliced into SQL text. Does not lock: callers hold the database mutex.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct sqlite3_stmt;
struct sqlite3_value;

namespace qv {

class Connection;
class StatementCache;

// A copy of one column value with its storage class, so that binding it elsewhere
// compares exactly as the stored value does (an integer stays an integer).
class SqlValue {
public:
    explicit SqlValue(sqlite3_value* source);
    ~SqlValue();
    SqlValue(const SqlValue&) = delete;
    SqlValue& operator=(const SqlValue&) = delete;
    SqlValue(SqlValue&& other) noexcept;
    SqlValue& operator=(SqlValue&&) = delete;

    bool isNull() const;
    bool isInteger() const;
    std::int64_t integer() const;
    double real() const;

private:
    friend class Statement;
    sqlite3_value* _value;
};

class Statement {
public:
    Statement(Connection& db, std::string_view sql);
    // Borrows the cache's statement for `sql` (a literal: keyed by its address); on
    // destruction it is reset and its bindings cleared instead of being finalized.
    Statement(Connection& db, StatementCache& cache, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bind(int index, std::int64_t value);
    void bind(int index, int value) { bind(index, static_cast<std::int64_t>(value)); }
    void bind(int index, double value);
    void bind(int index, std::string_view text); // copied by SQLite
    void bind(int index, const std::string& text) { bind(index, std::string_view(text)); }
    void bind(int index, const char* text) { bind(index, std::string_view(text)); }
    void bind(int index, const SqlValue& value);
    void bindNull(int index);
    void bindBlob(int index, std::span<const std::uint8_t> bytes); // copied by SQLite
    void bind(int index, const std::optional<std::int64_t>& value);
    void bind(int index, const std::optional<double>& value);
    void bind(int index, const std::optional<std::string>& text);

    // true for a row, false when done; throws on anything else.
    bool step();
    // The statement must finish without a row; throws otherwise.
    void stepDone();

    void reset();
    void clearBindings();

    bool isNull(int column) const;
    std::int64_t columnInt64(int column) const;
    double columnDouble(int column) const;
    std::string columnText(int column) const;      // NULL reads as ""
    std::string_view columnView(int column) const; // the same, valid until the next step
    std::span<const std::uint8_t> columnBlob(int column) const; // valid until the next step
    SqlValue columnValue(int column) const;

private:
    Connection& _db;
    sqlite3_stmt* _stmt = nullptr;
    bool _borrowed = false;
};

} // namespace qv
