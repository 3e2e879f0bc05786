#include "scan/file_time.h"

#include <chrono>

#if defined(__unix__) || defined(__APPLE__)
#include <cerrno>
#include <sys/stat.h>
#endif

namespace qv {

std::optional<std::int64_t> lastWriteSeconds(const std::filesystem::path& path, std::error_code& error)
{
    const auto written = std::filesystem::last_write_time(path, error);
    if (error) return std::nullopt;
    const auto system = std::chrono::file_clock::to_sys(written);
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(system.time_since_epoch());
    return nanoseconds.count() / 1'000'000'000;
}

#if defined(__unix__) || defined(__APPLE__)

std::optional<FileSizeAndTime> fileSizeAndTime(const struct stat& status, int result, std::error_code& error)
{
    if (result != 0) {
        error.assign(errno, std::generic_category());
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        error = std::make_error_code(std::errc::not_supported);
        return std::nullopt;
    }
#if defined(__APPLE__)
    const auto& written = status.st_mtimespec;
#else
    const auto& written = status.st_mtim;
#endif
    // Truncation toward zero, as for lastWriteSeconds: a time just before 1970 is second 0.
    std::int64_t seconds = written.tv_sec;
    if (seconds < 0 && written.tv_nsec > 0) ++seconds;
    error.clear();
    return FileSizeAndTime{static_cast<std::uintmax_t>(status.st_size), seconds};
}

std::optional<FileSizeAndTime> fileSizeAndTime(const std::filesystem::path& path, std::error_code& error)
{
    struct stat status {};
    const int result = ::stat(path.c_str(), &status);
    return fileSizeAndTime(status, result, error);
}

#else

std::optional<FileSizeAndTime> fileSizeAndTime(const std::filesystem::path& path, std::error_code& error)
{
    const auto size = std::filesystem::file_size(path, error);
    if (error) return std::nullopt;
    const auto seconds = lastWriteSeconds(path, error);
    if (!seconds) return std::nullopt;
    return FileSizeAndTime{size, *seconds};
}

#endif

} // namespace qv
