#include "core/file_time.h"

#include <chrono>

namespace qv {

std::optional<std::int64_t> lastWriteSeconds(const std::filesystem::path& path, std::error_code& error)
{
    const auto written = std::filesystem::last_write_time(path, error);
    if (error) return std::nullopt;
    const auto system = std::chrono::file_clock::to_sys(written);
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(system.time_since_epoch());
    return nanoseconds.count() / 1'000'000'000;
}

} // namespace qv
