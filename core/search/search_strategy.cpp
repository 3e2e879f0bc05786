#include "search/search_strategy.h"

#include "db/schema.h"
#include "search/search_rank.h"

namespace qv {

namespace {

// Whether full-text matches are few enough to look up by id, rather than counting them
// by subtracting the excluded ids (a lookup costs several times a step through a list)
// and ranking them after reading the full-text table again.
bool looksUp(std::size_t matches, std::int64_t excludedRows)
{
    return matches <= kAlwaysLookedUp || static_cast<std::int64_t>(matches) * 8 <= excludedRows;
}

// Walking an ordered index visits about (offset + limit) * visible / matches rows;
// driving from the matches visits each once and sorts them, a few times the cost of a
// step of the walk.
bool walks(const SearchQuery& query, const StrategyFacts& facts)
{
    if (!narrowsResults(query)) return true;
    const double found = static_cast<double>(facts.matches);
    const double rows = static_cast<double>(facts.highestId);
    const double wanted =
        query.limit < 0 ? rows : static_cast<double>(std::max<std::int64_t>(query.offset, 0) + query.limit);
    return found > 0 && wanted * rows / found < 4.0 * found;
}

} // namespace

bool rankedByText(const SearchQuery& query)
{
    return !query.sortByFilename && !query.sortByDuration && !query.sortByBpm && !query.bpm
        && !searchTokens(query.text).empty();
}

bool namedAmongMembers(const SearchQuery& query)
{
    return searchTokens(query.text).empty() && !query.sortByDuration && !query.sortByBpm && !query.bpm
        && (query.playlistId || !query.genres.empty() || !query.genre.empty());
}

std::optional<SegmentedOrder> segmentedOrder(const SearchQuery& query)
{
    if (query.sortByFilename) return std::nullopt;
    if (query.sortByDuration) return SegmentedOrder{"s.duration", schema::kVisibleDurationIndex, query.durationDescending};
    if (query.sortByBpm) return SegmentedOrder{"s.bpm", schema::kBpmIndex, query.bpmDescending};
    return std::nullopt;
}

const char* drivingIndex(const SearchQuery& query, bool keysListed, bool rowText)
{
    // Without statistics SQLite often prefers the type index, whichever filter is the
    // narrow one. A query with text is driven from the full-text table itself.
    if (!query.folder.empty()) return nullptr; // SQLite takes the path index itself
    if (!query.key.empty() && keysListed) return schema::kVisibleKeyIndex;
    if (query.favoritesOnly) return schema::kVisibleFavoriteIndex;
    const bool text = !searchTokens(query.text).empty();
    if (query.bpm && (!text || rowText)) return schema::kVisibleBpmIndex;
    // The narrow copy by id, only when no test needs a column it lacks; else it costs a
    // second lookup per row.
    if (!hasColumnFilters(query) && (text || query.playlistId || !query.genres.empty() || !query.genre.empty())) {
        return schema::kVisibleIdIndex;
    }
    return nullptr;
}

bool rowTextCandidate(const SearchQuery& query, bool keysListed)
{
    return !searchTokens(query.text).empty()
        && (!query.folder.empty() || (!query.key.empty() && keysListed) || query.favoritesOnly || query.bpm);
}

SearchStrategy::Count chooseCount(const SearchQuery& query, const StrategyFacts& facts)
{
    using Count = SearchStrategy::Count;
    std::string members;
    std::vector<std::string> params;
    if (!narrowsResults(query)) return Count::Visible;
    if (facts.intersected) return Count::Intersected;
    if (facts.fullTextMatches) {
        const std::size_t found = *facts.fullTextMatches;
        return found > 0 && looksUp(found, facts.excludedRows) ? Count::LookedUp : Count::Listed;
    }
    if (memberIds(query, members, params)) return Count::Members;
    SearchQuery rest = query;
    rest.folder.clear();
    if (!narrowsResults(rest)) return Count::Folders;
    return Count::Statement;
}

SearchStrategy chooseStrategy(const SearchQuery& query, const StrategyFacts& facts)
{
    using Page = SearchStrategy::Page;
    SearchStrategy s;
    s.count = chooseCount(query, facts);
    s.rowText = facts.rowText;
    s.driveIndex = drivingIndex(query, facts.keysListed, facts.rowText);
    const bool listed = facts.fullTextMatches.has_value();
    const bool lookUp = listed && looksUp(*facts.fullTextMatches, facts.excludedRows);

    const bool named = query.sortByFilename;
    if (query.limit == 0) {
        s.page = Page::Empty;
    } else if (facts.intersected) {
        s.page = Page::Intersected;
        s.rowText = false;
        s.driveIndex = nullptr;
    } else if (const auto order = segmentedOrder(query)) {
        s.page = Page::Segmented;
        if (walks(query, facts)) s.walkIndex = order->index;
    } else if (query.bpm && !named && (searchTokens(query.text).empty() || facts.rowText) && walks(query, facts)) {
        s.page = Page::TempoGroups;
        s.walkIndex = schema::kVisibleBpmIndex;
    } else if (rankedByText(query) || (query.bpm && !named)) {
        // Every match is ranked or measured against the tempo: nothing to walk.
        if (lookUp) {
            s.page = Page::AmongMatches;
        } else if (listed && rankedByText(query)) {
            s.page = Page::RankedGroups;
        }
    } else if (facts.memberRows && *facts.memberRows * 4 <= facts.highestId) {
        // Members need not be spread evenly over the name order (a genre's packs named
        // after it sit together): walking could visit most rows before the first.
        s.page = Page::MembersByName;
    } else if (walks(query, facts)) {
        s.walkIndex = schema::kVisibleNameIndex;
    }
    return s;
}

ValueList chooseValueList(const SearchQuery& query, bool fewPlaceRows)
{
    const bool place = searchTokens(query.text).empty() && query.instrument.empty() && query.key.empty()
        && query.genre.empty() && query.genres.empty() && !query.bpm && !query.excludeMidi;
    if (!place) return ValueList::Scan;
    const bool members = query.favoritesOnly || query.playlistId || !query.folder.empty();
    return members && fewPlaceRows ? ValueList::Scan : ValueList::Probe;
}

std::string describe(const SearchStrategy& strategy)
{
    static constexpr const char* kCounts[] = {"visible", "looked up", "listed", "members", "intersected", "folders", "statement"};
    static constexpr const char* kPages[] = {"empty",         "segmented",       "tempo groups", "among matches",
                                             "ranked groups", "members by name", "intersected",  "statement"};
    std::string text = std::string("count ") + kCounts[static_cast<int>(strategy.count)] + "; page "
        + kPages[static_cast<int>(strategy.page)];
    if (strategy.page == SearchStrategy::Page::Empty) return text;
    if (strategy.rowText) text += ", text row by row";
    if (strategy.walkIndex) {
        text += std::string(", walks ") + strategy.walkIndex;
    } else if (strategy.driveIndex) {
        text += std::string(", from ") + strategy.driveIndex;
    }
    return text;
}

} // namespace qv
