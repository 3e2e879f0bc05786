#include "sql/connection.h"

#include "sql/sqlite_error.h"

#include <sqlite3.h>

#include <cstring>

namespace qv {

Connection::Connection(const std::filesystem::path& file)
{
    const int rc = sqlite3_open(file.c_str(), &_db);
    if (rc != SQLITE_OK) {
        SqliteError error(_db ? sqlite3_errmsg(_db) : "", rc, _db ? sqlite3_extended_errcode(_db) : rc);
        sqlite3_close(_db);
        throw error;
    }
}

Connection::~Connection()
{
    sqlite3_close(_db);
}

void Connection::throwError() const
{
    const char* message = sqlite3_errmsg(_db);
    throw SqliteError(message ? message : "", sqlite3_errcode(_db), sqlite3_extended_errcode(_db));
}

void Connection::exec(const char* sql)
{
    char* error = nullptr;
    if (sqlite3_exec(_db, sql, nullptr, nullptr, &error) == SQLITE_OK) {
        sqlite3_free(error);
        return;
    }
    const std::string message = error ? error : "";
    sqlite3_free(error);
    throw SqliteError(message, sqlite3_errcode(_db), sqlite3_extended_errcode(_db));
}

bool Connection::inTransaction() const
{
    return sqlite3_get_autocommit(_db) == 0;
}

std::int64_t Connection::totalChanges() const
{
    return sqlite3_total_changes64(_db);
}

int Connection::changes() const
{
    return sqlite3_changes(_db);
}

std::string Connection::fileName() const
{
    const char* name = sqlite3_db_filename(_db, "main");
    return name ? name : "";
}

void Connection::defineFunction(const char* name, int arguments, ScalarFunction function, void* userData,
                                void (*destroy)(void*))
{
    if (sqlite3_create_function_v2(_db, name, arguments, SQLITE_UTF8 | SQLITE_DETERMINISTIC, userData, function,
                                   nullptr, nullptr, destroy)
        != SQLITE_OK) {
        throwError();
    }
}

void Connection::onRowWritten(RowWritten hook, void* context)
{
    _rowWritten = hook;
    _rowWrittenContext = context;
    if (!hook) {
        sqlite3_update_hook(_db, nullptr, nullptr);
        return;
    }
    sqlite3_update_hook(
        _db,
        [](void* self, int, const char* database, const char* table, sqlite3_int64 rowid) {
            const auto& connection = *static_cast<Connection*>(self);
            if (std::strcmp(database, "main") == 0) {
                connection._rowWritten(connection._rowWrittenContext, table, rowid);
            }
        },
        this);
}

Connection::Backup Connection::backupTo(const std::filesystem::path& file) const
{
    sqlite3* destination = nullptr;
    if (sqlite3_open(file.c_str(), &destination) != SQLITE_OK) {
        sqlite3_close(destination);
        return Backup::NotOpened;
    }
    int stepResult = SQLITE_ERROR;
    if (sqlite3_backup* backup = sqlite3_backup_init(destination, "main", _db, "main")) {
        stepResult = sqlite3_backup_step(backup, -1); // every page in one step
        sqlite3_backup_finish(backup);
    }
    const int destinationError = sqlite3_errcode(destination);
    sqlite3_close(destination);
    return stepResult == SQLITE_DONE && destinationError == SQLITE_OK ? Backup::Done : Backup::Failed;
}

} // namespace qv
