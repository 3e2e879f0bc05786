// Fills an index database with generated sample records, without writing any audio:
// the fixture for search benchmarks at a million samples.
//
// Records follow the same plan as the files on disk (library_plan.h), spread over four
// libraries of which the last is marked offline, with about 2% "._" rows, 2% favourites,
// four playlists (one holding an eighth of all samples, one empty), a few type overrides
// and a few samples with a second, user-added genre. Same seed, same records.
#pragma once

#include "db/database.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qv::testkit {

// Scanned: the layout above, each library's rows a run of ids as a scanner adds them.
// GenrePacks: packs named by genre (PackNames::ByGenre) over twenty libraries whose rows
// interleave by id, as when several drives are scanned at once; none offline.
enum class DataShape { Scanned, GenrePacks };

struct FillSummary {
    std::uint64_t records = 0;    // rows upserted, "._" rows included
    std::uint64_t hiddenRows = 0; // rows whose file name begins with "._"
    std::vector<std::string> libraryPaths;
    std::string offlineLibrary;
};

// Not thread-safe with other writers of `db`: it runs its own BEGIN/COMMIT batches.
// `root` is put before every library path, so that a caller can make the folders exist.
FillSummary fillDatabase(qv::Database& db, std::uint64_t records, std::uint64_t seed, const std::string& root = {},
                         DataShape shape = DataShape::Scanned);

} // namespace qv::testkit
