// One SQLite connection: the only owner of a raw connection handle in the program.
// Everything above the sql/ folder reaches SQLite through this, `Statement` and the
// transaction guards.
//
// Not thread-safe by itself: the database serialises every use with its mutex. Failures
// throw SqliteError with SQLite's message.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_context;
struct sqlite3_value;

namespace qv {

class Connection {
public:
    // Opens or creates the file (":memory:" for a private in-memory database). The
    // handle is closed even when opening fails.
    explicit Connection(const std::filesystem::path& file);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Runs one or more statements; throws SqliteError with the text SQLite reports.
    void exec(const char* sql);
    void exec(const std::string& sql) { exec(sql.c_str()); }

    bool inTransaction() const;
    std::int64_t totalChanges() const; // rows changed by this connection since it opened
    int changes() const;               // rows changed by the last statement
    std::string fileName() const;      // of the main database

    // Throws the connection's current error.
    [[noreturn]] void throwError() const;

    // A deterministic UTF-8 scalar function; -1 arguments for any number. `destroy`
    // frees `userData` when the function goes with the connection.
    using ScalarFunction = void (*)(sqlite3_context*, int, sqlite3_value**);
    void defineFunction(const char* name, int arguments, ScalarFunction function, void* userData = nullptr,
                        void (*destroy)(void*) = nullptr);

    // Called for every row this connection inserts, updates or deletes in a table of the
    // main database; one hook per connection, null to remove it.
    using RowWritten = void (*)(void* context, std::string_view table, std::int64_t rowid);
    void onRowWritten(RowWritten hook, void* context);

    // Copies the whole database into `file` with the online backup. The caller removes
    // what a failed copy left behind.
    enum class Backup { Done, NotOpened, Failed };
    Backup backupTo(const std::filesystem::path& file) const;

private:
    friend class Statement;
    friend class StatementCache;
    friend class FullTextTokenizer;

    sqlite3* _db = nullptr;
    RowWritten _rowWritten = nullptr;
    void* _rowWrittenContext = nullptr;
};

} // namespace qv
