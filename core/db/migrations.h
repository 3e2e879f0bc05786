// The schema's numbered migration scripts. Script N takes a database from version N-1
// to N inside its own transaction. Exposed so that tests can build old databases.
#pragma once

#include <array>

namespace qv::schema {

inline constexpr int kCurrentVersion = 7;

// Creates the version table with one row holding 0 when it does not exist yet.
extern const char* const kVersionTable;

// kScripts[0] is script 1.
extern const std::array<const char*, kCurrentVersion> kScripts;

} // namespace qv::schema
