// Pieces the two search plans share, and the indexed plan's per-connection state.
#pragma once

#include "db/database.h"
#include "sample.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qv {

class Statement;

// "s.id,s.path,s.filename,s.type,s.genre,s.instrument,s.bpm,s.musical_key,s.duration,
// s.file_size,s.modified_at,s.favorite,l.path"
Sample sampleFromSearchRow(const Statement& st);

void bindTexts(Statement& st, const std::vector<std::string>& params, int first = 1);

// Rows the count leaves out: id ranges holding no row it counts, and the other such ids.
struct Database::ExcludedRows {
    std::vector<std::pair<std::int64_t, std::int64_t>> ranges; // inclusive, ascending, apart
    std::vector<std::int64_t> ids;                             // sorted, outside the ranges
};

inline bool inRanges(const std::vector<std::pair<std::int64_t, std::int64_t>>& ranges, std::int64_t id)
{
    const auto after = std::upper_bound(ranges.begin(), ranges.end(), id,
                                        [](std::int64_t value, const auto& range) { return value < range.first; });
    return after != ranges.begin() && id <= std::prev(after)->second;
}

// What the indexed plan reads once per state of the file. Any write, by this connection
// (total changes) or another (data version), starts a new one.
struct Database::SearchState {
    std::int64_t dataVersion = -1;
    std::int64_t changes = -1;
    std::string offline; // "(4,7)": offline library ids; empty when none
    std::string online;  // "(1,2)": every other library; "()" when none
    std::unordered_map<std::string, std::int64_t> counts; // by SQL and parameters
    // Every distinct stored musical_key, read on first use; none when there are too many
    // to list, and a key filter then keeps its written form.
    std::optional<std::vector<std::string>> keys;
    bool keysRead = false;
    std::optional<ExcludedRows> excluded; // see Database::excludedRows
    std::optional<std::int64_t> excludedCount;
    std::string fullTextKey; // the last full-text statement and its parameters
    std::vector<std::int64_t> fullTextIds;
    std::string exactKey; // the last exact-word full-text expression
    std::vector<std::int64_t> exactIds;
    // Counts whose text the row test gave up on (see Database::testsTextByRow).
    std::unordered_set<std::string> rowTextRefused;
};

} // namespace qv
