// The indexed search plan: counts, pages, positions and filter value lists that are
// exactly what the written SQL (reference_plan.h) returns, in a few milliseconds at a
// million samples instead of hundreds:
// - what a state of the file decides (offline libraries, stored keys, excluded rows,
//   counts) is read once and kept until anything writes (PlanState);
// - a page is found as ids first, by walking a support index in the page's order when
//   matches are dense, by driving from the most selective index and sorting when they
//   are rare; only the page's own rows are then read in full (search_strategy.h);
// - a duration or tempo sort reads the samples that have the value, then those that do
//   not, each in the order of its index; a tempo filter reads groups of equal distance;
// - a page ranked by text reads the matches that can rank best first (ranked_page.cpp);
// - a position is the number of matches ahead of the sample;
// - a filter value list in a place skips through the field's distinct values and keeps
//   those a counted row of the place holds (value_lists.cpp).
// Every call runs in one read transaction, so its statements see one state of the file.
//
// Used by Database under its mutex; failures throw SqliteError.
#pragma once

#include "sample.h"
#include "search/plan_state.h"
#include "search/search_query.h"
#include "search/search_strategy.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qv {

class Connection;
class FullTextRowBudget;
class NameOrder;
class StatementCache;
struct Matches;

class IndexedPlan {
public:
    // Registers qv_full_text_match and the name order's row hook on the connection.
    IndexedPlan(Connection& db, StatementCache& statements);
    ~IndexedPlan();
    IndexedPlan(const IndexedPlan&) = delete;
    IndexedPlan& operator=(const IndexedPlan&) = delete;

    std::int64_t count(const SearchQuery& query);
    std::vector<Sample> page(const SearchQuery& query);
    std::optional<std::int64_t> position(const SearchQuery& query, std::int64_t sampleId);
    std::vector<std::string> filterValues(const FilterColumn& column, const SearchQuery& query);
    SearchStrategy strategy(const SearchQuery& query);
    ValueList valueListStrategy(const SearchQuery& query);
    void forget(); // nothing remembered survives
    void warmUp(); // reads what the state of the file decides once, ahead of a search
    // The one-character search texts, the first key of most searches, whose counts list
    // most of the index: counted ahead, one a call, kept until anything writes.
    static const std::vector<std::string>& firstKeys();
    void warmUpCount(const SearchQuery& query);

private:
    // plan_state.cpp
    PlanState& state();
    const std::vector<std::string>* storedKeys();
    std::int64_t cachedCount(const std::string& sql, const std::vector<std::string>& params);
    // The query's matches as FROM and WHERE, over the online libraries or (`countScope`)
    // without the offline ones, as the count writes it.
    Matches matchesOf(const SearchQuery& query, bool countScope, const char* walkIndex, bool rowText);

    // indexed_count.cpp
    std::int64_t countLocked(const SearchQuery& query);
    bool testsTextByRow(const SearchQuery& query);
    bool rowTestsOverBudget(const SearchQuery& query);
    StrategyFacts countFacts(const SearchQuery& query);
    StrategyFacts facts(const SearchQuery& query);
    const std::vector<std::int64_t>& fullTextMatches(const SearchQuery& query);
    std::size_t fullTextCount(const SearchQuery& query);
    std::int64_t membersCount(const SearchQuery& query);
    const std::vector<std::int64_t>& members(const SearchQuery& query); // membershipIds, distinct, sorted
    const std::vector<std::int64_t>* intersected(const SearchQuery& query);
    // The query's matches among the intersected ids, as FROM and WHERE.
    Matches intersectedMatches(const SearchQuery& query, bool countScope);

    // excluded_rows.cpp
    const ExcludedRows& excludedRows();
    std::int64_t excludedEstimate();
    std::int64_t excludedAmong(const std::vector<std::int64_t>& ids);

    // indexed_page.cpp
    std::vector<std::int64_t> pageIds(const SearchQuery& query);
    std::vector<std::int64_t> pageAmong(const SearchQuery& query, const std::vector<std::int64_t>& ids);
    std::vector<std::int64_t> statementPageIds(const SearchQuery& query, const SearchStrategy& strategy);
    std::vector<std::int64_t> segmentedPageIds(const SearchQuery& query, bool walk);
    std::int64_t countWithValue(const SearchQuery& query, const std::string& column);
    std::optional<std::vector<std::int64_t>> memberPageIds(const SearchQuery& query);

    // tempo_page.cpp
    std::optional<std::vector<std::int64_t>> tempoPageIds(const SearchQuery& query, bool rowText);

    // value_lists.cpp
    bool fewPlaceRows(const SearchQuery& query);
    std::vector<std::string> scannedValues(const FilterColumn& column, const SearchQuery& query);
    std::optional<std::vector<std::string>> probedValues(const FilterColumn& column, const SearchQuery& query);

    // The name order, up to date; null when it cannot serve.
    const NameOrder* nameOrder();

    // ranked_page.cpp
    std::optional<std::vector<std::int64_t>> rankedPageIds(const SearchQuery& query);
    const std::vector<std::int64_t>* exactNameMatches(const std::vector<std::string>& tokens);

    Connection& _db;
    StatementCache& _statements;
    PlanState _state;
    FullTextRowBudget* _fullTextBudget = nullptr; // owned by the connection; null without FTS5
    std::unique_ptr<NameOrder> _nameOrder;        // hooked into the connection
};

} // namespace qv
