// The search operations of the facade: the mutex, the choice of plan, and the error
// rule of listings.
#include "db/database.h"

#include "search/indexed_plan.h"
#include "search/reference_plan.h"
#include "sql/sqlite_error.h"

#include <chrono>
#include <thread>

namespace qv {

std::vector<Sample> Database::search(const SearchQuery& query) const
{
    const auto lock = settledLock();
    try {
        return _searchPlan == SearchPlan::Reference ? reference::page(*_connection, query) : _indexed->page(query);
    } catch (const SqliteError&) {
        return {}; // a page returns what it could read
    }
}

std::int64_t Database::countMatchingLocked(const SearchQuery& query) const
{
    return _searchPlan == SearchPlan::Reference ? reference::count(*_connection, query) : _indexed->count(query);
}

std::int64_t Database::countMatching(const SearchQuery& query) const
{
    const auto lock = settledLock();
    return countMatchingLocked(query);
}

std::optional<std::int64_t> Database::matchingIndex(const SearchQuery& query, std::int64_t sampleId) const
{
    const auto lock = settledLock();
    return _searchPlan == SearchPlan::Reference ? reference::position(*_connection, query, sampleId)
                                                : _indexed->position(query, sampleId);
}

std::vector<std::string> Database::distinctFilterValues(const std::string& field, const SearchQuery& query) const
{
    const auto lock = settledLock();
    const auto column = filterColumn(field);
    if (!column) throw std::runtime_error("Unsupported filter field");
    return _searchPlan == SearchPlan::Reference ? reference::filterValues(*_connection, *column, query)
                                                : _indexed->filterValues(*column, query);
}

SearchStrategy Database::searchStrategy(const SearchQuery& query) const
{
    const auto lock = settledLock();
    return _indexed->strategy(query);
}

ValueList Database::valueListStrategy(const SearchQuery& query) const
{
    const auto lock = settledLock();
    return _indexed->valueListStrategy(query);
}

void Database::warmUp() const
{
    try {
        {
            const auto lock = settledLock();
            _indexed->warmUp();
        }
        // Each count takes the lock alone, so that the window's own searches go between.
        for (const std::string& key : IndexedPlan::firstKeys()) {
            {
                const auto lock = settledLock();
                if (_searchPlan != SearchPlan::Indexed) return;
                _indexed->warmUpCount(SearchQuery{.text = key});
            }
            // The mutex is not fair: without a pause this thread would take it again
            // ahead of a search waiting for it.
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    } catch (const SqliteError&) {
        // Only speed depends on it: the first search reads what is missing.
    }
}

void Database::setSearchPlan(SearchPlan plan)
{
    const auto lock = settledLock();
    _searchPlan = plan;
    _indexed->forget(); // nothing remembered across a switch
}

} // namespace qv
