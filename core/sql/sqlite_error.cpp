#include "sql/sqlite_error.h"

#include <sqlite3.h>

namespace qv {

SqliteError::SqliteError(const std::string& message, int code, int extendedCode)
    : std::runtime_error(message.empty() ? "sqlite error" : message)
    , _code(code)
    , _extendedCode(extendedCode)
{
}

bool SqliteError::isUniqueConstraint() const
{
    return _extendedCode == SQLITE_CONSTRAINT_UNIQUE;
}

} // namespace qv
