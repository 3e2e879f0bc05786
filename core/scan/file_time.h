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
#include <system_error>

#if defined(__unix__) || defined(__APPLE__)
struct stat;
#endif

namespace qv {

std::optional<std::int64_t> lastWriteSeconds(const std::filesystem::path& path, std::error_code& error);

struct FileSizeAndTime {
    std::uintmax_t size = 0;
    std::int64_t modifiedAt = 0;
};

// Both from one status query where the platform allows it: a rescan asks this of every
// file, and a second query would double its cost. Follows symbolic links.
std::optional<FileSizeAndTime> fileSizeAndTime(const std::filesystem::path& path, std::error_code& error);

#if defined(__unix__) || defined(__APPLE__)
// The same from a status query the caller made (relative to a folder handle, say); a
// `result` other than 0 reads errno.
std::optional<FileSizeAndTime> fileSizeAndTime(const struct stat& status, int result, std::error_code& error);
#endif

} // namespace qv
