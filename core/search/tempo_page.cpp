// Closest tempo first: the stored tempos of the filter's window, grouped by their
// distance to the target, and each group's matches by name from the tempo index. Only
// the groups up to the page's end are read.
#include "search/indexed_plan.h"

#include "db/schema.h"
#include "search/plan_sql.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/statement.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace qv {

namespace {

// More distinct tempos than this in the window (only stored fractions could do it) and
// the tempo order sorts all matches instead.
constexpr std::size_t kTempoGroups = 64;

} // namespace

// Empty when the window holds too many distinct tempos.
std::optional<std::vector<std::int64_t>> IndexedPlan::tempoPageIds(const SearchQuery& query, bool rowText)
{
    const std::int64_t target = *query.bpm;
    const TempoWindow tempo = tempoWindow(*query.bpm);

    // Distinct tempos by skipping through the index, one lookup each.
    struct Tempo {
        double distance;
        std::string literal;
    };
    std::vector<Tempo> tempos;
    {
        Statement first(_db, "SELECT min(s.bpm) FROM samples s WHERE s.bpm BETWEEN ? AND ?");
        first.bind(1, tempo.low);
        first.bind(2, tempo.high);
        bool more = first.step() && !first.isNull(0);
        std::optional<SqlValue> last;
        if (more) last.emplace(first.columnValue(0));
        while (more) {
            if (tempos.size() == kTempoGroups) return std::nullopt;
            // abs(s.bpm-target) as SQLite computes it: integer when the tempo is one.
            const double distance = last->isInteger() ? static_cast<double>(std::llabs(last->integer() - target))
                                                      : std::fabs(last->real() - static_cast<double>(target));
            tempos.push_back({distance, last->isInteger() ? sqlNumber(last->integer()) : sqlNumber(last->real())});
            Statement next(_db, "SELECT min(s.bpm) FROM samples s WHERE s.bpm>? AND s.bpm<=?");
            next.bind(1, *last);
            next.bind(2, tempo.high);
            more = next.step() && !next.isNull(0);
            if (more) last.emplace(next.columnValue(0));
        }
    }
    std::stable_sort(tempos.begin(), tempos.end(), [](const Tempo& a, const Tempo& b) { return a.distance < b.distance; });

    const Matches m = matchesOf(query, false, schema::kVisibleBpmIndex, rowText);
    const Window window = windowOf(query);
    std::int64_t skip = window.offset;
    std::vector<std::int64_t> ids;
    for (std::size_t i = 0; i < tempos.size();) {
        std::string group = " AND s.bpm IN (" + tempos[i].literal;
        for (++i; i < tempos.size() && tempos[i].distance == tempos[i - 1].distance; ++i) group += "," + tempos[i].literal;
        group += ")";
        if (skip > 0) {
            const std::int64_t inGroup = cachedCount("SELECT count(*) FROM " + m.from + m.where + group, m.params);
            if (inGroup <= skip) {
                skip -= inGroup;
                continue;
            }
        }
        const std::int64_t wanted = window.limit < 0 ? -1 : window.limit - static_cast<std::int64_t>(ids.size());
        const auto more = readIds(_db,
                                  "SELECT s.id FROM " + m.from + m.where + group
                                      + " ORDER BY s.filename COLLATE NOCASE, s.id" + Window{skip, wanted}.sql(),
                                  m.params);
        skip = 0;
        ids.insert(ids.end(), more.begin(), more.end());
        if (window.limit >= 0 && static_cast<std::int64_t>(ids.size()) >= window.limit) break;
    }
    return ids;
}

} // namespace qv
