// Last-write times as whole seconds since the Unix epoch, the unit the index stores.
//
// The file clock's epoch differs from the Unix epoch on some standard libraries, so the
// time is converted to the system clock first and then truncated toward zero. The
// scanner compares stored times with this value; both sides must use it. Any thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>

namespace qv {

std::optional<std::int64_t> lastWriteSeconds(const std::filesystem::path& path, std::error_code& error);

} // namespace qv
