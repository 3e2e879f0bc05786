// Sizes and last-write times of files, times as whole seconds since the Unix epoch (the
// unit the index stores).
//
// The file clock's epoch differs from the Unix epoch on some standard libraries, so the
// time is converted to the system clock first and then truncated toward zero. The
// scanner compares stored times with these values; every writer must use them. Any
// thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

namespace qv {

std::optional<std::int64_t> lastWriteSeconds(const std::filesystem::path& path, std::error_code& error);

struct FileSizeAndTime {
    std::uintmax_t size = 0;
    std::int64_t modifiedAt = 0;
};

// Both from one status query where the platform allows it: a rescan asks this of every
// file, and a second query would double its cost. Follows symbolic links.
std::optional<FileSizeAndTime> fileSizeAndTime(const std::filesystem::path& path, std::error_code& error);

// The same query for the files of a walk, made relative to an open handle of the file's
// folder where the platform has one: the system then resolves one name instead of every
// folder of the path, which was most of an unchanged rescan's time. The handle is kept
// while files come from the same folder. One thread.
class FolderStatus {
public:
    FolderStatus() = default;
    ~FolderStatus();
    FolderStatus(const FolderStatus&) = delete;
    FolderStatus& operator=(const FolderStatus&) = delete;

    std::optional<FileSizeAndTime> query(const std::filesystem::path& path, std::error_code& error);

private:
    std::string _folder; // of the open handle
    int _handle = -1;
};

} // namespace qv
