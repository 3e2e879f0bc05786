#include "core/database.h"

#include "core/search_rank.h"
#include "core/statement.h"

#include <sqlite3.h>

namespace qv {

void Database::Closer::operator()(sqlite3* db) const
{
    sqlite3_close(db);
}

Database::Database(const std::filesystem::path& path)
{
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());

    sqlite3* handle = nullptr;
    const int rc = sqlite3_open(path.c_str(), &handle);
    // Owned from here on, so that a failure below still closes the connection.
    _db.reset(handle);
    if (rc != SQLITE_OK) throwSqliteError(handle);

    if (sqlite3_create_function_v2(handle, "qv_filename_search_rank", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                   nullptr, &searchRankSql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throwSqliteError(handle);
    }
    exec("PRAGMA journal_mode=WAL; PRAGMA foreign_keys=ON; PRAGMA synchronous=NORMAL;");
    migrate();
    createSupportIndexes();
}

void Database::createSupportIndexes()
{
    // Not part of the numbered schema, so any release can still read the file: the
    // scanner looks up move candidates by name, size and time for every new file, which
    // without this index reads the whole library each time.
    exec("CREATE INDEX IF NOT EXISTS idx_samples_relink ON samples(filename,file_size,modified_at);");
}

Database::~Database() = default;

int Database::exec(const char* sql)
{
    execute(_db.get(), sql);
    return 0;
}

} // namespace qv
