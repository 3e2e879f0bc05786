// The ids of one page, by the strategy chosen for the query.
#include "search/indexed_plan.h"

#include "db/schema.h"
#include "search/name_order.h"
#include "search/plan_sql.h"
#include "sql/connection.h"
#include "sql/sql_text.h"

#include <algorithm>

namespace qv {

std::vector<std::int64_t> IndexedPlan::pageIds(const SearchQuery& query)
{
    using Page = SearchStrategy::Page;
    const StrategyFacts known = facts(query);
    // The page's rows are among those counted (the count leaves out only offline
    // libraries, the page reads online ones), so none lie past the count.
    if (known.matches <= std::max<std::int64_t>(query.offset, 0)) return {};
    const SearchStrategy strategy = chooseStrategy(query, known);
    switch (strategy.page) {
    case Page::Empty: return {};
    case Page::Segmented: return segmentedPageIds(query, strategy.walkIndex != nullptr);
    case Page::TempoGroups:
        if (auto ids = tempoPageIds(query, strategy.rowText)) return *ids;
        // Too many distinct tempos in the window: every match sorted by distance.
        return statementPageIds(query, {.rowText = strategy.rowText});
    case Page::AmongMatches: return pageAmong(query, fullTextMatches(query));
    case Page::RankedGroups:
        if (auto ids = rankedPageIds(query)) return *ids;
        return statementPageIds(query, {.rowText = strategy.rowText});
    case Page::Intersected: {
        std::vector<std::string> orderParams;
        const std::string order = searchOrder(query, orderParams);
        Matches m = intersectedMatches(query, false);
        m.params.insert(m.params.end(), orderParams.begin(), orderParams.end());
        return readIds(_db, "SELECT s.id FROM " + m.from + m.where + " ORDER BY " + order + windowOf(query).sql(),
                       m.params);
    }
    case Page::MembersByName:
        if (auto ids = memberPageIds(query)) return *ids;
        return statementPageIds(query, {.walkIndex = schema::kVisibleNameIndex});
    case Page::Statement: break;
    }
    return statementPageIds(query, strategy);
}

// A page in name order among a playlist's or genres' members: the members by their place
// in the name order kept in memory, tested a chunk at a time against the whole query,
// until `offset + limit` of them match. Every unread member comes after those by name, so
// the page is among the ones read; rows written since the order was read are tested up
// front, as their place is unknown. Nothing when the name order cannot serve.
std::optional<std::vector<std::int64_t>> IndexedPlan::memberPageIds(const SearchQuery& query)
{
    const Window window = windowOf(query);
    const NameOrder* order = window.limit < 0 ? nullptr : nameOrder();
    if (!order) return std::nullopt;
    std::vector<std::int64_t> touched;
    std::vector<std::int64_t> placed;
    for (const std::int64_t id : members(query)) {
        if (order->touched(id)) {
            touched.push_back(id);
        } else if (order->place(id) != NameOrder::kAbsent) {
            placed.push_back(id);
        }
    }
    const bool descending = query.sortByFilename && query.filenameDescending;
    const auto before = [&](std::int64_t a, std::int64_t b) {
        return descending ? order->place(a) > order->place(b) : order->place(a) < order->place(b);
    };

    // Each candidate is tested by the query's own predicate, its membership probed per row.
    const Matches m = matchesOf(query, false, schema::kVisibleIdIndex, false);
    std::vector<std::int64_t> found;
    const auto test = [&](auto first, auto last) {
        if (first == last) return std::size_t{0};
        const auto ids = readIds(_db, "SELECT s.id FROM " + m.from + m.where + " AND s.id IN " + sqlList({first, last}),
                                 m.params);
        found.insert(found.end(), ids.begin(), ids.end());
        return ids.size();
    };
    test(touched.begin(), touched.end());
    const auto need = static_cast<std::size_t>(window.offset + window.limit);
    std::size_t placedFound = 0;
    std::size_t chunk = 64;
    for (auto from = placed.begin(); from != placed.end() && placedFound < need;
         chunk = std::min<std::size_t>(chunk * 2, 4096)) {
        const auto left = static_cast<std::size_t>(placed.end() - from);
        const auto to = left > chunk ? from + static_cast<std::ptrdiff_t>(chunk) : placed.end();
        std::partial_sort(from, to, placed.end(), before);
        placedFound += test(from, to);
        from = to;
    }
    return pageAmong(query, found);
}

// One statement: walking the strategy's ordered index, or driven from the query's most
// selective one and sorted.
std::vector<std::int64_t> IndexedPlan::statementPageIds(const SearchQuery& query, const SearchStrategy& strategy)
{
    std::vector<std::string> orderParams;
    const std::string order = searchOrder(query, orderParams);
    Matches m = matchesOf(query, false, strategy.walkIndex, strategy.rowText);
    m.params.insert(m.params.end(), orderParams.begin(), orderParams.end());
    return readIds(_db, "SELECT s.id FROM " + m.from + m.where + " ORDER BY " + order + windowOf(query).sql(),
                   m.params);
}

// The query's page among these ids, in its written order, from the narrow by-id index.
std::vector<std::int64_t> IndexedPlan::pageAmong(const SearchQuery& query, const std::vector<std::int64_t>& ids)
{
    if (ids.empty()) return {};
    std::vector<std::string> params;
    const std::string order = searchOrder(query, params);
    return readIds(_db,
                   std::string("SELECT s.id FROM samples s INDEXED BY ") + schema::kVisibleIdIndex + " WHERE s.id IN "
                       + sqlList(ids) + " AND " + schema::kVisibleSample + onlineScope(state().online) + " ORDER BY "
                       + order + windowOf(query).sql(),
                   params);
}

std::vector<std::int64_t> IndexedPlan::segmentedPageIds(const SearchQuery& query, bool walk)
{
    const SegmentedOrder order = *segmentedOrder(query);
    const Window window = windowOf(query);
    const std::string column = order.column;
    const bool rowText = testsTextByRow(query);

    Matches with = matchesOf(query, false, walk ? order.index : nullptr, rowText);
    with.where += " AND " + column + " IS NOT NULL";
    std::vector<std::int64_t> ids = readIds(_db,
                                            "SELECT s.id FROM " + with.from + with.where + " ORDER BY " + column
                                                + (order.descending ? " DESC" : "")
                                                + ", s.filename COLLATE NOCASE, s.id" + window.sql(),
                                            with.params);
    if (window.limit >= 0 && static_cast<std::int64_t>(ids.size()) == window.limit) return ids;

    // The page reaches the samples without a value. How many have one matters only when
    // the page starts beyond them all.
    Window rest{0, window.limit < 0 ? -1 : window.limit - static_cast<std::int64_t>(ids.size())};
    if (ids.empty() && window.offset > 0) rest.offset = window.offset - countWithValue(query, column);
    Matches without = matchesOf(query, false, walk ? schema::kVisibleNameIndex : nullptr, rowText);
    without.where += " AND " + column + " IS NULL";
    const auto more = readIds(_db,
                              "SELECT s.id FROM " + without.from + without.where
                                  + " ORDER BY s.filename COLLATE NOCASE, s.id" + rest.sql(),
                              without.params);
    ids.insert(ids.end(), more.begin(), more.end());
    return ids;
}

std::int64_t IndexedPlan::countWithValue(const SearchQuery& query, const std::string& column)
{
    Matches counted = matchesOf(query, false, nullptr, testsTextByRow(query));
    counted.where += " AND " + column + " IS NOT NULL";
    return cachedCount("SELECT count(*) FROM " + counted.from + counted.where, counted.params);
}

} // namespace qv
