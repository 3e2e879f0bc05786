// The one exception type for a failure SQLite reports: its message, or "sqlite error"
// when it gives none, and its result codes, so that a caller can tell a broken
// constraint from a full disk without parsing text. A runtime error like every other
// failure of the core.
#pragma once

#include <stdexcept>
#include <string>

namespace qv {

class SqliteError : public std::runtime_error {
public:
    SqliteError(const std::string& message, int code, int extendedCode);

    int code() const { return _code; }                 // primary result code (SQLITE_CONSTRAINT, …)
    int extendedCode() const { return _extendedCode; } // e.g. SQLITE_CONSTRAINT_UNIQUE
    bool isUniqueConstraint() const;

private:
    int _code;
    int _extendedCode;
};

} // namespace qv
