// One of every kind of user edit on an indexed library, and a reading of all of them
// straight from the file, so that a test can tell whether a crash, a hostile tree or a
// concurrent scan lost anything the user decided.
#pragma once

#include "db/database.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qv::test {

// One line per row, each kind sorted on its own:
//   "favourite <id>"
//   "type <id>:<override>:<source>:<effective type>"
//   "instrument <id>:<override>:<source>:<effective instrument>"
//   "genre <id>:<genre>:<source>:<shown>", the user's rows only
//   "playlist <name>:<sample id>:<position>"
using UserEditSnapshot = std::vector<std::string>;

// The lines of one kind, named with its trailing space ("favourite ").
inline std::size_t countOf(const UserEditSnapshot& snapshot, std::string_view kind)
{
    return std::ranges::count_if(snapshot, [&](const std::string& line) { return line.starts_with(kind); });
}

// Favourites, a per-sample type override, folder type, instrument and genre overrides on
// three different folders, and a playlist, all through the Database API, on samples
// below `root`. Returns what was stored; fails the current test when some kind of edit
// reached no sample.
UserEditSnapshot makeUserEdits(Database& db, const std::filesystem::path& dbFile, const std::filesystem::path& root);

// Opens its own connection; the caller's Database may be open or closed.
UserEditSnapshot readUserEdits(const std::filesystem::path& dbFile);

// Integrity and foreign key checks, and the search index agreeing with the records.
void expectIndexSound(const std::filesystem::path& dbFile);

} // namespace qv::test
