#pragma once
// The result browser's decisions, as plain functions of the browse state: the query a
// refresh runs, page counts, the texts of the status line, page label and sort headers,
// and row heights.

#include "browse_state.h"
#include "search/search_query.h"

#include <cstdint>
#include <string>

namespace qv {

enum class SortColumn { Filename, Time, Bpm };

SearchQuery browseQuery(const BrowseState& state);
bool hasActiveSort(const BrowseState& state);

// 1 for an empty result, otherwise enough pages of 50 for every match.
std::int64_t pageCountFor(std::int64_t matches);

std::string matchesStatusText(std::int64_t matches, std::int64_t page, std::size_t rowsOnPage);
std::string pageLabelText(std::int64_t page, std::int64_t pageCount);
std::string librariesStatusText(std::size_t libraries);

// Unsorted -> ascending -> descending -> ascending: pressing never returns to unsorted.
std::int64_t nextSortDirection(std::int64_t direction);
// Sets the pressed column's direction and clears the other two.
void pressSort(BrowseState& state, SortColumn column);
std::string sortTitle(SortColumn column, std::int64_t direction);

inline constexpr double kSampleRowHeight = 56.0;
inline constexpr double kLibraryRowHeight = 76.0;
inline constexpr double kPlaylistRowHeight = 26.0;

} // namespace qv
