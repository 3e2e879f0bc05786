#pragma once
// What the window is browsing: the place in the sidebar, the filters, the sort, the page
// on screen and its rows, and the generation numbers that let late results be dropped.
// Plain data on the GUI thread. Each field has one writer (the room named beside it);
// any room may read.

#include "db/database.h"
#include "sample.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qv {

struct BrowseState {
    // Result browser.
    std::vector<Sample> rows;
    std::vector<Library> libs;
    std::int64_t page = 0;
    std::int64_t lastAppliedResultsPage = 0;
    bool hasNextPage = false;
    bool pageTransitionScheduled = false;
    std::int64_t filenameSortDirection = 0; // 0 off, 1 ascending, -1 descending
    std::int64_t timeSortDirection = 0;
    std::int64_t bpmSortDirection = 0;
    std::uint64_t queryGeneration = 0;
    std::uint64_t browserTransitionGeneration = 0;
    std::optional<std::int64_t> sortedNavigationIndex;
    std::int64_t sortedNavigationTotal = 0;
    std::string searchText;

    // Sidebar and filters.
    bool libraryMode = false;
    bool favoriteMode = false;
    std::string sectionType;   // "" = all types
    std::string folderScope;
    std::optional<std::int64_t> playlistId;
    std::vector<std::string> selectedGenres; // in the order chosen, no duplicates
    std::string instrumentFilter = "All";
    std::string bpmFilter = "All";
    std::string keyFilter = "All";
    std::uint64_t browseContextGeneration = 0;

    // Playback and stepping.
    std::int64_t currentIndex = -1;
    bool manualPageNavigationAnchorActive = false;
    std::int64_t pendingSamplePageSelection = 0;
    std::int64_t pendingSampleTargetPage = -1;

    // Start-up.
    int layoutMode = 1; // 1 desktop, 0 compact vertical
};

} // namespace qv
