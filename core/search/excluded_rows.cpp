// The rows a count leaves out, and how many of a list of ids are among them.
#include "search/indexed_plan.h"

#include "db/schema.h"
#include "search/plan_sql.h"
#include "sql/connection.h"
#include "sql/statement.h"
#include "sql/statement_cache.h"

#include <algorithm>
#include <limits>

namespace qv {

namespace {

// More alternations than this between left-out and counted rows, in id order, and the
// left-out rows are listed one by one instead.
constexpr std::size_t kExcludedRanges = 64;

// Id ranges that hold only rows of these libraries (nullopt: rows without one) and
// every such row, found by seeking the library index at the edges where the libraries
// alternate; nullopt when they alternate too often.
std::optional<std::vector<std::pair<std::int64_t, std::int64_t>>>
libraryRanges(Connection& db, StatementCache& cache, const std::vector<std::optional<std::int64_t>>& left,
              const std::vector<std::int64_t>& kept)
{
    // [last][library]: prepared once per connection, as a range costs several of each.
    static constexpr const char* kEdges[2][2] = {
        {"SELECT min(id) FROM samples WHERE library_id IS NULL AND id>?1",
         "SELECT min(id) FROM samples WHERE library_id=?2 AND id>?1"},
        {"SELECT max(id) FROM samples WHERE library_id IS NULL AND id<?1",
         "SELECT max(id) FROM samples WHERE library_id=?2 AND id<?1"},
    };
    // The first id above, or the last below, `bound` among a library's rows.
    const auto edge = [&](const std::optional<std::int64_t>& library, bool last, std::int64_t bound) {
        Statement st(db, cache, kEdges[last][library.has_value()]);
        st.bind(1, bound);
        if (library) st.bind(2, *library);
        return st.step() && !st.isNull(0) ? std::optional(st.columnInt64(0)) : std::nullopt;
    };
    // The nearest edge over several libraries.
    const auto nearest = [&](const auto& libraries, bool last, std::int64_t bound) {
        std::optional<std::int64_t> best;
        for (const auto& library : libraries) {
            const auto id = edge(library, last, bound);
            if (id && (!best || (last ? *id > *best : *id < *best))) best = id;
        }
        return best;
    };

    std::vector<std::pair<std::int64_t, std::int64_t>> ranges;
    std::vector<std::optional<std::int64_t>> keptLibraries(kept.begin(), kept.end());
    std::optional<std::int64_t> from = nearest(left, false, std::numeric_limits<std::int64_t>::min());
    while (from) {
        if (ranges.size() == kExcludedRanges) return std::nullopt;
        const auto counted = nearest(keptLibraries, false, *from);
        // The last left-out row before the next counted one; there is one: `from`.
        const auto to = nearest(left, true, counted ? *counted : std::numeric_limits<std::int64_t>::max());
        ranges.emplace_back(*from, *to);
        from = counted ? nearest(left, false, *counted) : std::nullopt;
    }
    return ranges;
}

} // namespace

// The rows the count leaves out: hidden rows, and the rows of offline libraries or of
// none when a library is offline. Read once per state of the file.
const ExcludedRows& IndexedPlan::excludedRows()
{
    PlanState& current = state();
    if (current.excluded) return *current.excluded;

    ExcludedRows excluded;
    std::vector<std::int64_t> ids = readIds(_db,
                                            std::string("SELECT rowid FROM samples INDEXED BY ") + schema::kHiddenIndex
                                                + " WHERE " + schema::kHiddenFile,
                                            {});
    if (!current.offline.empty()) {
        std::vector<std::optional<std::int64_t>> left = {std::nullopt};
        for (const std::int64_t id : readIds(_db, "SELECT id FROM libraries WHERE id IN " + current.offline, {})) {
            left.emplace_back(id);
        }
        // Every other library the rows name, listed or not, by skipping through the
        // library index.
        std::vector<std::int64_t> kept;
        std::optional<std::int64_t> library = std::numeric_limits<std::int64_t>::min();
        while (kept.size() <= kExcludedRanges) {
            Statement next(_db, _statements, "SELECT min(library_id) FROM samples WHERE library_id>?");
            next.bind(1, *library);
            if (!next.step() || next.isNull(0)) break;
            library = next.columnInt64(0);
            if (std::find(left.begin(), left.end(), library) == left.end()) kept.push_back(*library);
        }
        auto ranges = kept.size() <= kExcludedRanges ? libraryRanges(_db, _statements, left, kept) : std::nullopt;
        if (ranges) {
            // Libraries usually hold runs of ids, which a count checks by their ends
            // instead of listing each of a large offline drive's rows.
            excluded.ranges = std::move(*ranges);
            std::erase_if(ids, [&](std::int64_t id) { return excluded.inRanges(id); });
        } else {
            // Apart, not as one OR: each comes from the library index in id order,
            // where the OR would first collect and sort every row id.
            for (const std::string& where : {"library_id IN " + current.offline, std::string("library_id IS NULL")}) {
                const auto more = readIds(_db, "SELECT id FROM samples WHERE " + where, {});
                ids.insert(ids.end(), more.begin(), more.end());
            }
        }
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    excluded.ids = std::move(ids);
    current.excluded = std::move(excluded);
    return *current.excluded;
}

// What subtracting the left-out rows from a list costs, in rows stepped through: each
// listed id, and a range as one, since a count finds its ends by two searches.
std::int64_t IndexedPlan::excludedEstimate()
{
    PlanState& current = state();
    if (!current.excludedEstimate) {
        const ExcludedRows& excluded = excludedRows();
        current.excludedEstimate = static_cast<std::int64_t>(excluded.ids.size() + excluded.ranges.size());
    }
    return *current.excludedEstimate;
}

// How many of these sorted ids the count leaves out.
std::int64_t IndexedPlan::excludedAmong(const std::vector<std::int64_t>& ids)
{
    const ExcludedRows& excluded = excludedRows();
    std::int64_t found = 0;
    for (const auto& [first, last] : excluded.ranges) {
        found += std::upper_bound(ids.begin(), ids.end(), last) - std::lower_bound(ids.begin(), ids.end(), first);
    }
    const bool fewer = ids.size() <= excluded.ids.size();
    const auto& shorter = fewer ? ids : excluded.ids;
    const auto& longer = fewer ? excluded.ids : ids;
    if (shorter.size() * 16 < longer.size()) {
        // Each of a few ids searched for among many.
        auto from = longer.begin();
        for (const std::int64_t id : shorter) {
            from = std::lower_bound(from, longer.end(), id);
            if (from == longer.end()) break;
            if (*from == id) ++found;
        }
        return found;
    }
    // Lists of like size: one merge, where a search per id cost more than reading the list.
    auto a = shorter.begin();
    auto b = longer.begin();
    while (a != shorter.end() && b != longer.end()) {
        if (*a < *b) {
            ++a;
        } else if (*b < *a) {
            ++b;
        } else {
            ++found, ++a, ++b;
        }
    }
    return found;
}

} // namespace qv
