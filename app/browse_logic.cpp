#include "browse_logic.h"

#include "browse/pagination_controller.h"

#include <cstdio>

namespace qv {

namespace {

std::string format(const char* pattern, auto... values)
{
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, pattern, values...);
    return buffer;
}

} // namespace

SearchQuery browseQuery(const BrowseState& state)
{
    SearchQuery query;
    query.text = state.searchText;
    query.limit = kResultsPageSize;
    query.offset = static_cast<std::int32_t>(state.page * kResultsPageSize);
    query.favoritesOnly = state.favoriteMode;
    query.folder = state.folderScope;
    query.playlistId = state.playlistId;
    query.sortByFilename = state.filenameSortDirection != 0;
    query.filenameDescending = state.filenameSortDirection < 0;
    query.sortByDuration = state.timeSortDirection != 0;
    query.durationDescending = state.timeSortDirection < 0;
    query.sortByBpm = state.bpmSortDirection != 0;
    query.bpmDescending = state.bpmSortDirection < 0;
    if (state.instrumentFilter != "All") query.instrument = state.instrumentFilter;
    if (state.bpmFilter != "All") {
        // A popup value that is not a number means no tempo, as a failed integer read does.
        try {
            query.bpm = std::stoi(state.bpmFilter);
        } catch (const std::exception&) {
            query.bpm = 0;
        }
    }
    if (state.keyFilter != "All") query.key = state.keyFilter;
    query.genres = state.selectedGenres;
    // An empty section means every type: the query's type stays empty.
    query.type = state.sectionType;
    return query;
}

bool hasActiveSort(const BrowseState& state)
{
    return state.filenameSortDirection != 0 || state.timeSortDirection != 0 || state.bpmSortDirection != 0;
}

std::int64_t pageCountFor(std::int64_t matches)
{
    if (matches + (kResultsPageSize - 1) < kResultsPageSize) return 1;
    return (matches + kResultsPageSize - 1) / kResultsPageSize;
}

std::string matchesStatusText(std::int64_t matches, std::int64_t page, std::size_t rowsOnPage)
{
    const std::int64_t first = rowsOnPage == 0 ? 0 : page * kResultsPageSize + 1;
    const std::int64_t last = page * kResultsPageSize + static_cast<std::int64_t>(rowsOnPage);
    return format("%lld matching samples  \u2022  showing %lld\u2013%lld", static_cast<long long>(matches),
                  static_cast<long long>(first), static_cast<long long>(last));
}

std::string pageLabelText(std::int64_t page, std::int64_t pageCount)
{
    return format("Page %lld of %lld", static_cast<long long>(page + 1), static_cast<long long>(pageCount));
}

std::string librariesStatusText(std::size_t libraries)
{
    return format("%zu imported root folders  \u2022  Double-click a library name to rename it.", libraries);
}

std::int64_t nextSortDirection(std::int64_t direction)
{
    return direction == 1 ? -1 : 1;
}

void pressSort(BrowseState& state, SortColumn column)
{
    std::int64_t* directions[] = {&state.filenameSortDirection, &state.timeSortDirection, &state.bpmSortDirection};
    std::int64_t& pressed = *directions[static_cast<int>(column)];
    const std::int64_t next = nextSortDirection(pressed);
    for (std::int64_t* direction : directions) *direction = 0;
    pressed = next;
}

std::string sortTitle(SortColumn column, std::int64_t direction)
{
    static const char* const names[] = {"Filename", "Time", "BPM"};
    std::string title = names[static_cast<int>(column)];
    if (direction > 0) title += "  \u25b2";
    if (direction < 0) title += "  \u25bc";
    return title;
}

} // namespace qv
