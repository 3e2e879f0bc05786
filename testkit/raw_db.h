// A second, plain SQLite connection to a database file, for tests that build old
// schemas or look at what the core wrote without going through it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

struct sqlite3;

namespace qv::testkit {

class RawDb {
public:
    explicit RawDb(const std::filesystem::path& path);
    ~RawDb();
    RawDb(const RawDb&) = delete;
    RawDb& operator=(const RawDb&) = delete;

    void exec(const std::string& sql);
    // First column of the first row; throws when none. `params` are bound in order.
    std::int64_t integer(const std::string& sql, const std::vector<std::string>& params = {});
    std::string text(const std::string& sql);           // NULL reads as "<null>"
    std::vector<std::string> column(const std::string& sql); // first column of every row
    sqlite3* handle() const { return _db; }

private:
    sqlite3* _db = nullptr;
};

} // namespace qv::testkit
