// What the indexed plan reads once per state of the file and keeps until anything
// writes, by this connection (total changes) or another (data version).
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace qv {

// Rows the count leaves out: id ranges holding no row it counts, and the other such ids.
struct ExcludedRows {
    std::vector<std::pair<std::int64_t, std::int64_t>> ranges; // inclusive, ascending, apart
    std::vector<std::int64_t> ids;                             // sorted, outside the ranges

    bool inRanges(std::int64_t id) const { return rangeEnd(id).has_value(); }

    // The last id of the range that holds `id`, if one does.
    std::optional<std::int64_t> rangeEnd(std::int64_t id) const
    {
        const auto after = std::upper_bound(ranges.begin(), ranges.end(), id,
                                            [](std::int64_t value, const auto& range) { return value < range.first; });
        if (after == ranges.begin() || id > std::prev(after)->second) return std::nullopt;
        return std::prev(after)->second;
    }

    bool excludes(std::int64_t id) const { return inRanges(id) || std::binary_search(ids.begin(), ids.end(), id); }
};

// The last list asked for, kept under its key until another is asked for.
struct LastList {
    std::string key;
    std::vector<std::int64_t> ids;

    template <class Read>
    const std::vector<std::int64_t>& get(std::string wanted, Read read)
    {
        if (key != wanted) {
            ids = read();
            key = std::move(wanted);
        }
        return ids;
    }
};

struct PlanState {
    std::int64_t dataVersion = -1;
    std::int64_t changes = -1;
    std::string offline; // "(4,7)": offline library ids; empty when none
    std::string online;  // "(1,2)": every other library; "()" when none
    std::unordered_map<std::string, std::int64_t> counts; // by SQL and parameters
    // Every distinct stored musical_key, read on first use; none when there are too many
    // to list, and a key filter then keeps its written form.
    std::optional<std::vector<std::string>> keys;
    bool keysRead = false;
    std::optional<ExcludedRows> excluded;
    std::optional<std::int64_t> excludedEstimate;
    LastList fullText; // under the full-text statement and its parameters
    LastList members;  // under the membership statement: distinct sample ids, sorted
    std::string intersectedKey; // the last text and membership intersected
    std::optional<std::vector<std::int64_t>> intersectedIds; // none: more than kIntersected
    LastList exact; // under the exact-word full-text expression
    // Counts whose text the row test gave up on.
    std::unordered_set<std::string> rowTextRefused;

    // A count kept until anything writes: looked up by `key`, else counted and kept.
    template <class Count>
    std::int64_t remembered(std::string key, Count count)
    {
        if (const auto it = counts.find(key); it != counts.end()) return it->second;
        const std::int64_t value = count();
        counts.emplace(std::move(key), value);
        return value;
    }
};

} // namespace qv
