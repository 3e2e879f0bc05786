// One description of what the result browser asks for (text, filters, scope, order and
// page) and the SQL pieces built from it. Search, count, position and filter value
// lists all share these, so they always agree on what matches and in which order.
//
// Every value that comes from the user is pushed to `params` and bound as text; only
// numbers the program produced (tempo bounds, a playlist id) are written into the SQL,
// each as one term whatever its sign (sqlNumber).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qv {

struct SearchQuery {
    std::string text;
    std::string type;       // "Loop", "One Shot", "MIDI", "Unknown"; empty = any
    std::string instrument; // empty = any
    std::string key;        // empty = any
    std::string genre;      // used only when `genres` is empty
    std::string folder;     // absolute, no trailing "/"; only samples strictly below it
    std::vector<std::string> genres; // any of these
    std::optional<std::int32_t> bpm;
    std::optional<std::int64_t> playlistId;
    bool favoritesOnly = false;
    bool excludeMidi = false;
    bool sortByFilename = false;
    bool filenameDescending = false;
    bool sortByDuration = false;
    bool durationDescending = false;
    bool sortByBpm = false;
    bool bpmDescending = false;
    std::int32_t limit = 200;
    std::int32_t offset = 0;
};

// The tempos a tempo filter matches: within 10 of the target, the bounds kept within 20
// and 300. A target below 10 or above 310 gives an empty window (low > high) on purpose.
struct TempoWindow {
    std::int64_t low;
    std::int64_t high;
};
TempoWindow tempoWindow(std::int32_t target);

// "abs(s.bpm-120)": the distance to the raw target (not the clamped one) that orders a
// tempo filter's matches.
std::string tempoDistance(std::int32_t target);

// The column (and the join it needs) behind a filter value list: "instrument", "genre"
// or "key"; none for any other field.
struct FilterColumn {
    const char* column;
    const char* join; // "" or a JOIN ending in a space
};
std::optional<FilterColumn> filterColumn(const std::string& field);

// Appends the WHERE clauses (each starting with " AND ") to SQL that ends in
// "WHERE 1=1", over `samples` aliased as s, and pushes their parameters in order.
void appendPredicate(const SearchQuery& query, std::string& sql, std::vector<std::string>& params);

// How the indexed plan writes membership of a genre or a playlist. Probe tests each
// candidate row against the membership table, which suits walking an ordered index;
// List asks the membership index for its sample ids, which suits driving the query
// from them. Joined is List with the full-text match written against "sample_search f",
// for a caller that drives the query from that table (its row ids are unique, so the
// join selects the same rows as the IN list). PlaylistJoined is List with the playlist
// written against "playlist_items pi", for a caller that drives the query from the
// playlist's rows (one per sample). All select the same rows.
enum class Membership { Probe, List, Joined, PlaylistJoined };

// The clauses of appendPredicate after its visibility terms (the "._" and offline
// exclusions, which the caller writes for its own plan), selecting the same rows in
// forms the support indexes can use: a folder as a range of paths and, for List,
// genre and playlist membership as id lists.
// With `storedKeys` (every distinct musical_key stored), a key filter is written as the
// stored spellings that normalise to the filter's, which the key index can look up.
// With `rowColumns` ("s.filename,s.type": the text columns the driving index holds), the
// text is tested on each row by qv_full_text_match, on those columns first and on every
// full-text column only when they do not match; it comes last, after every cheaper test.
void appendIndexedPredicate(const SearchQuery& query, Membership membership, std::string& sql,
                            std::vector<std::string>& params, const std::vector<std::string>* storedKeys = nullptr,
                            const char* rowColumns = nullptr);

// When the query narrows by its text alone, writes a statement selecting the ids of
// the full-text matches and returns true. Each names a stored sample: triggers keep the
// full-text rows in step with the samples table, whichever connection writes.
bool fullTextIds(const SearchQuery& query, std::string& sql, std::vector<std::string>& params);

// When the query narrows by genre or by playlist alone, writes a statement selecting the
// sample ids of its members (none NULL, some repeated) and returns true. Each names a
// stored sample: support triggers remove the rows of a deleted sample and refuse rows
// for a missing one, whatever the connection's foreign key setting.
bool memberIds(const SearchQuery& query, std::string& sql, std::vector<std::string>& params);

// When the query has a playlist or genres, writes a statement selecting the sample ids of
// their members (the playlist's when it has both), whatever its other filters: a superset
// of its matches. Same form as memberIds.
bool membershipIds(const SearchQuery& query, std::string& sql, std::vector<std::string>& params);

// Whether a filter tests a column of the sample itself: MIDI, type, instrument, tempo,
// key or favourite (not the text, folder or membership).
bool hasColumnFilters(const SearchQuery& query);

// False when only the visibility terms apply, so every visible sample matches.
bool narrowsResults(const SearchQuery& query);

// The ORDER BY list (without the keywords). Pushes the search text when the order is
// by filename rank. Always ends in the case-insensitive name and the id, so the order
// is total and pages never overlap.
std::string searchOrder(const SearchQuery& query, std::vector<std::string>& params);

// The two spellings a key filter matches, e.g. "A minor" -> {"am", "aminor"},
// "C Major" -> {"c", "cmajor"}.
std::pair<std::string, std::string> keyFilterSpellings(const std::string& key);

} // namespace qv
