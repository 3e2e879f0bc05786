#include "raw_db.h"

#include <sqlite3.h>

#include <stdexcept>

namespace qv::testkit {

namespace {
struct Stmt {
    sqlite3_stmt* s = nullptr;
    Stmt(sqlite3* db, const std::string& sql)
    {
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr) != SQLITE_OK)
            throw std::runtime_error(std::string(sqlite3_errmsg(db)) + " in: " + sql);
    }
    ~Stmt() { sqlite3_finalize(s); }
};
} // namespace

RawDb::RawDb(const std::filesystem::path& path)
{
    if (sqlite3_open(path.c_str(), &_db) != SQLITE_OK) {
        std::string message = sqlite3_errmsg(_db);
        sqlite3_close(_db);
        throw std::runtime_error(message);
    }
    sqlite3_busy_timeout(_db, 5000);
}

RawDb::~RawDb()
{
    sqlite3_close(_db);
}

void RawDb::exec(const std::string& sql)
{
    char* error = nullptr;
    if (sqlite3_exec(_db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        std::string message = error ? error : "sqlite error";
        sqlite3_free(error);
        throw std::runtime_error(message + " in: " + sql);
    }
}

std::int64_t RawDb::integer(const std::string& sql, const std::vector<std::string>& params)
{
    Stmt st(_db, sql);
    for (std::size_t i = 0; i < params.size(); ++i)
        sqlite3_bind_text(st.s, static_cast<int>(i + 1), params[i].c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(st.s) != SQLITE_ROW) throw std::runtime_error("no row for: " + sql);
    return sqlite3_column_int64(st.s, 0);
}

std::string RawDb::text(const std::string& sql)
{
    Stmt st(_db, sql);
    if (sqlite3_step(st.s) != SQLITE_ROW) throw std::runtime_error("no row for: " + sql);
    const auto* value = sqlite3_column_text(st.s, 0);
    return value ? reinterpret_cast<const char*>(value) : "<null>";
}

std::vector<std::string> RawDb::column(const std::string& sql)
{
    Stmt st(_db, sql);
    std::vector<std::string> values;
    while (sqlite3_step(st.s) == SQLITE_ROW) {
        const auto* value = sqlite3_column_text(st.s, 0);
        values.emplace_back(value ? reinterpret_cast<const char*>(value) : "<null>");
    }
    return values;
}

} // namespace qv::testkit
