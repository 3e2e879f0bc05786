// How the indexed plan answers a query: which way it counts the matches and which way
// it finds a page of them. A pure choice over the query and a few facts the plan reads
// first, kept apart so that tests and the benchmark can print and check it; only speed
// depends on it, never the answer.
#pragma once

#include "search/search_query.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace qv {

// Full-text matches up to this many are always looked up by id; only more are weighed
// against the rows a count leaves out (StrategyFacts::excludedRows).
inline constexpr std::size_t kAlwaysLookedUp = 1000;

// What the plan knows about the file and the query before it chooses.
struct StrategyFacts {
    bool keysListed = false;    // every stored key spelling is known, so a key filter uses the key index
    bool rowText = false;       // the count's row-by-row text test finished within its budget
    std::int64_t matches = 0;   // the query's count
    std::int64_t highestId = 0; // bounds the number of visible rows, closely enough
    std::optional<std::size_t> fullTextMatches; // when the text alone narrows: the full-text table's matches
    // What subtracting the rows a count leaves out (hidden, offline) from a list costs:
    // the rows listed one by one, and each id range of them as one; read only when there
    // are more than kAlwaysLookedUp full-text matches.
    std::int64_t excludedRows = 0;
    // A query in name order without text that has a playlist or genres: its distinct members.
    std::optional<std::int64_t> memberRows;
    // A query with text and a playlist or genres, when few samples are both full-text
    // matches and members (at most kIntersected): how many.
    std::optional<std::size_t> intersected;
};

inline constexpr std::size_t kIntersected = 20000;

struct SearchStrategy {
    enum class Count {
        Visible,   // every visible sample: the table's count less the hidden and offline rows
        LookedUp,  // the full-text matches, each looked up by id
        Listed,    // the full-text matches less the excluded ids, without reading a row
        Members,   // a genre's or playlist's distinct members less the excluded ids
        Intersected, // the full-text matches that are members, each looked up and tested
        Folders,   // a folder alone: the folder table's counts of the folders below it
        Statement, // one count statement
    };
    enum class Page {
        Empty,        // a limit of 0
        Segmented,    // duration or tempo sort: samples with the value in order, then those without
        TempoGroups,  // closest tempo first, read group by group of equal distance
        AmongMatches, // the query's order among the listed full-text matches
        RankedGroups, // ranked by text, reading the matches that can rank best first
        MembersByName, // a playlist's or genres' members by the name order in memory, tested until the page is known
        Intersected,   // among the full-text matches that are members, each looked up and tested
        Statement,    // one statement, walking or driven from an index
    };

    Count count = Count::Statement;
    Page page = Page::Statement;
    bool rowText = false; // the text is tested on each candidate row, not listed
    // The ordered index a page walks, testing each row; null: driven from `driveIndex`
    // (or SQLite's choice when that is null too) and sorted.
    const char* walkIndex = nullptr;
    const char* driveIndex = nullptr;
};

SearchStrategy chooseStrategy(const SearchQuery& query, const StrategyFacts& facts);

// The count's part alone, which the count itself follows: it needs neither the count
// nor the highest id.
SearchStrategy::Count chooseCount(const SearchQuery& query, const StrategyFacts& facts);

// One line, e.g. "count listed; page ranked groups".
std::string describe(const SearchStrategy& strategy);

// The pieces of the choice the plan's statements need on their own.

// Ordered by text rank: search text and no explicit sort or tempo filter.
bool rankedByText(const SearchQuery& query);

// Ordered by name, without text: a page may be read among a playlist's or genres'
// members by their place in the name order.
bool namedAmongMembers(const SearchQuery& query);

// Duration and tempo sorts: the samples with a value in its direction, then those
// without, each by name.
struct SegmentedOrder {
    const char* column;
    const char* index; // walked for the samples with a value; those without by name
    bool descending;
};
std::optional<SegmentedOrder> segmentedOrder(const SearchQuery& query);

// The index to drive a query from when its matches are too rare to walk an ordered
// index for; null for SQLite's own choice.
const char* drivingIndex(const SearchQuery& query, bool keysListed, bool rowText);

// Whether the query's text could be tested row by row: it has a filter narrow enough to
// drive from, whose index holds the name.
bool rowTextCandidate(const SearchQuery& query, bool keysListed);

// A place's favourites, playlist members or folder rows up to this many are read row by
// row for a filter value list rather than probed value by value.
inline constexpr std::int64_t kScannedPlaceRows = 5000;

// How a filter value list is read. Scan reads the field of every match. Probe skips
// through the field's distinct values in an index that leads with them, a lookup each,
// and keeps a value when a counted row of the place holds it: found in the value's
// index, or where the value's rows and the place's meet in id order. Only a place
// (type, folder, favourites, playlist; no text or other filter) is probed.
enum class ValueList { Scan, Probe };

// `fewPlaceRows`: the query's favourites, playlist or folder hold at most
// kScannedPlaceRows rows.
ValueList chooseValueList(const SearchQuery& query, bool fewPlaceRows);

} // namespace qv
