// Search, count, position and filter value lists with the SQL as first written: one
// statement each over the shared predicate and order. Kept as the reference that the
// indexed plan must agree with row for row. Failures throw SqliteError.
#pragma once

#include "sample.h"
#include "search/search_query.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qv {

class Connection;

namespace reference {

std::vector<Sample> page(Connection& db, const SearchQuery& query);
std::int64_t count(Connection& db, const SearchQuery& query);
std::optional<std::int64_t> position(Connection& db, const SearchQuery& query, std::int64_t sampleId);
std::vector<std::string> filterValues(Connection& db, const FilterColumn& column, const SearchQuery& query);

} // namespace reference
} // namespace qv
