// A sample's place among a query's matches: the number of matches ahead of it.
#include "search/indexed_plan.h"

#include "search/plan_sql.h"
#include "sql/connection.h"
#include "sql/statement.h"
#include "sql/transaction.h"

namespace qv {

std::optional<std::int64_t> IndexedPlan::position(const SearchQuery& query, std::int64_t sampleId)
{
    ReadTransaction snapshot(_db);
    const auto segmented = segmentedOrder(query);
    const bool ranked = rankedByText(query);
    const bool tempo = !segmented && !query.sortByFilename && query.bpm;
    const bool descending = query.sortByFilename && query.filenameDescending;

    // The sample's own sort key, read by the same expressions the order uses, so that
    // comparing against it is exact whatever the stored types.
    std::string key = "NULL";
    std::vector<std::string> keyParams;
    if (segmented) key = segmented->column;
    if (tempo) key = tempoDistance(*query.bpm);
    if (ranked) {
        key = "qv_filename_search_rank(s.filename,?)";
        keyParams.push_back(query.text);
    }
    const bool rowText = testsTextByRow(query);
    const Matches target = matchesOf(query, false, nullptr, rowText);
    Statement find(_db, "SELECT s.filename," + key + " FROM " + target.from + target.where + " AND s.id=?");
    bindTexts(find, keyParams);
    bindTexts(find, target.params, static_cast<int>(keyParams.size()) + 1);
    find.bind(static_cast<int>(keyParams.size() + target.params.size()) + 1, sampleId);
    if (!find.step()) return std::nullopt;
    const SqlValue name = find.columnValue(0);
    const SqlValue value = find.columnValue(1);

    // Matches ahead of it: a smaller key, or the same key and a name (then id) ahead.
    struct Bound {
        const SqlValue* value = nullptr;
        std::int64_t id = 0;
        const std::string* text = nullptr;
    };
    std::vector<Bound> bounds;
    const auto nameAhead = [&](bool desc) {
        bounds.push_back({&name});
        bounds.push_back({&name});
        bounds.push_back({nullptr, sampleId});
        return desc ? std::string("s.filename COLLATE NOCASE>=? AND (s.filename COLLATE NOCASE>? OR s.id>?)")
                    : std::string("s.filename COLLATE NOCASE<=? AND (s.filename COLLATE NOCASE<? OR s.id<?)");
    };
    // Exactly one key ahead when the name order is the whole order.
    std::string ahead;
    std::int64_t before = 0;
    if (segmented && !value.isNull()) {
        const std::string column = segmented->column;
        const char* cmp = segmented->descending ? ">" : "<";
        bounds.push_back({&value});
        bounds.push_back({&value});
        ahead = column + (segmented->descending ? ">=?" : "<=?") + " AND (" + column + cmp + "? OR ("
            + nameAhead(false) + "))";
    } else if (segmented) {
        // Behind every sample that has the value.
        before = countWithValue(query, segmented->column);
        ahead = std::string(segmented->column) + " IS NULL AND " + nameAhead(false);
    } else if (tempo || ranked) {
        const std::string expression = tempo ? key : "qv_filename_search_rank(s.filename,?)";
        const auto pushKey = [&] {
            if (ranked) bounds.push_back({nullptr, 0, &query.text});
            bounds.push_back({&value});
        };
        pushKey();
        std::string clause = expression + "<? OR (";
        pushKey();
        clause += expression + "=? AND (" + nameAhead(false) + "))";
        ahead = clause;
    } else {
        ahead = nameAhead(descending);
    }

    const Matches counted = matchesOf(query, false, nullptr, rowText);
    Statement count(_db, "SELECT count(*) FROM " + counted.from + counted.where + " AND (" + ahead + ")");
    bindTexts(count, counted.params);
    int position = static_cast<int>(counted.params.size()) + 1;
    for (const Bound& bound : bounds) {
        if (bound.value) {
            count.bind(position, *bound.value);
        } else if (bound.text) {
            count.bind(position, *bound.text);
        } else {
            count.bind(position, bound.id);
        }
        ++position;
    }
    if (!count.step()) _db.throwError();
    return before + count.columnInt64(0);
}

} // namespace qv
