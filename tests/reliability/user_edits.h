// One of every kind of user edit on an indexed library, and a reading of all of them
// straight from the file, so that a test can tell whether a crash, a hostile tree or a
// concurrent scan lost anything the user decided.
#pragma once

#include "db/database.h"

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace qv::test {

// Each list is sorted, one line per row.
struct UserEditSnapshot {
    std::vector<std::string> favourites;   // sample id
    std::vector<std::string> typeOverrides; // id:override:source:effective type
    std::vector<std::string> instrumentOverrides; // id:override:source:effective instrument
    std::vector<std::string> genres;       // id:genre:source, the user's rows only
    std::vector<std::string> playlists;    // name:sample id:position

    bool operator==(const UserEditSnapshot&) const = default;
};

void PrintTo(const UserEditSnapshot& snapshot, std::ostream* out);

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
