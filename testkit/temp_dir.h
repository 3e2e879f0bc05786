// A fresh directory per test, removed afterwards. Its name holds a space, a quote, a
// percent sign, an underscore and non-ASCII letters, so that path handling is exercised
// by every test that uses it.
#pragma once

#include <filesystem>
#include <string_view>

namespace qv::testkit {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return _path; }
    std::filesystem::path operator/(std::string_view name) const { return _path / name; }

private:
    std::filesystem::path _path;
};

// Writes `contents` to `path`, creating parent folders.
void writeFile(const std::filesystem::path& path, std::string_view contents);

} // namespace qv::testkit
