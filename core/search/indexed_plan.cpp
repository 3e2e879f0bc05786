// Search, count, position and filter value lists by the indexed plan, and the switch
// between it and the reference (database_search_reference.cpp).
//
// The indexed plan returns exactly what the written SQL returns, in a few milliseconds
// at a million samples instead of hundreds:
// - the offline-library exclusion is read once per state of the file and written as a
//   list of library ids;
// - a page is found as ids first, by walking a support index in the page's order when
//   matches are dense, by driving from the most selective index and sorting when they
//   are rare; only the page's own rows are then read in full;
// - a duration or tempo sort reads the samples that have the value, then those that do
//   not, each in the order of its index;
// - a position is the number of matches ahead of the sample;
// - counts are kept until anything writes.
// Every call runs in one read transaction, so its statements see one state of the file.
#include "db/database.h"
#include "search/search_internal.h"

#include "search/full_text_match.h"
#include "search/name_order.h"
#include "search/search_rank.h"
#include "sql/statement.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <queue>

namespace qv {

namespace {

constexpr const char* kVisible = " AND substr(s.filename,1,2)<>'._'";

// More distinct keys than this and a key filter keeps its written form.
constexpr std::size_t kListedKeys = 500;

constexpr const char* kRowById = "SELECT s.id,s.path,s.filename,s.type,s.genre,s.instrument,s.bpm,s.musical_key,"
                                 "s.duration,s.file_size,s.modified_at,s.favorite,l.path FROM samples s JOIN "
                                 "libraries l ON l.id=s.library_id WHERE s.id=?";

// Holds a read transaction unless the caller is already inside one.
class ReadSnapshot {
public:
    explicit ReadSnapshot(sqlite3* db)
        : _db(db)
        , _own(sqlite3_get_autocommit(db) != 0)
    {
        if (_own) execute(db, "BEGIN");
    }
    ~ReadSnapshot()
    {
        if (_own && sqlite3_exec(_db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
            sqlite3_exec(_db, "ROLLBACK", nullptr, nullptr, nullptr);
        }
    }
    ReadSnapshot(const ReadSnapshot&) = delete;
    ReadSnapshot& operator=(const ReadSnapshot&) = delete;

private:
    sqlite3* _db;
    bool _own;
};

// A column value read from one statement and bound, unchanged, into another.
class Value {
public:
    explicit Value(sqlite3_value* source)
        : _value(sqlite3_value_dup(source))
    {
        if (!_value) throw std::bad_alloc();
    }
    ~Value() { sqlite3_value_free(_value); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    Value(Value&& other) noexcept
        : _value(std::exchange(other._value, nullptr))
    {
    }
    Value& operator=(Value&&) = delete;

    bool isNull() const { return sqlite3_value_type(_value) == SQLITE_NULL; }
    sqlite3_value* get() const { return _value; }

private:
    sqlite3_value* _value;
};

std::string idList(sqlite3* db, const char* sql)
{
    Statement st(db, sql);
    std::string list = "(";
    while (st.step()) {
        if (list.size() > 1) list += ',';
        list += std::to_string(st.columnInt64(0));
    }
    return list + ")";
}

std::int64_t scalar(sqlite3* db, const std::string& sql)
{
    Statement st(db, sql);
    if (!st.step()) throwSqliteError(db);
    return st.columnInt64(0);
}

// The visible rows by id with their name and library: rows reached by id, from the
// full-text table or a membership list, are tested (and ranked) from this narrow copy
// instead of the table.
constexpr const char* kById = "idx_samples_visible_id";

// The index to drive a query from when its matches are too rare to walk an ordered
// index for. Without statistics SQLite often prefers the type index, whichever filter
// is the narrow one. A query with text is driven from the full-text table itself.
const char* drivingIndex(const SearchQuery& query, bool keysListed, bool rowText)
{
    if (!query.folder.empty()) return nullptr; // SQLite takes the path index itself
    if (!query.key.empty() && keysListed) return "idx_samples_visible_key";
    if (query.favoritesOnly) return "idx_samples_visible_favorite";
    const bool text = !searchTokens(query.text).empty();
    if (query.bpm && (!text || rowText)) return "idx_samples_visible_bpm";
    // Only when no test needs a column the narrow copy lacks; else it costs a second
    // lookup per row.
    if (!hasColumnFilters(query) && (text || query.playlistId || !query.genres.empty() || !query.genre.empty())) return kById;
    return nullptr;
}

// Whether a query's text could be tested row by row: it has a filter narrow enough to
// drive from, whose index holds the name (and, for tempo and key, the type).
bool rowTextCandidate(const SearchQuery& query, bool keysListed)
{
    return !searchTokens(query.text).empty()
        && (!query.folder.empty() || (!query.key.empty() && keysListed) || query.favoritesOnly || query.bpm);
}

// The text columns an index holds, tested before the row is read for the others.
const char* rowColumnsOf(const char* index)
{
    const std::string name = index ? index : "";
    return name == "idx_samples_visible_bpm" || name == "idx_samples_visible_key" ? "s.filename,s.type" : "s.filename";
}

// The matches of a query, from and where. Walking names an ordered index to follow and
// tests membership row by row; driving starts from the narrowest filter, and from the
// full-text table itself when the query has text and drives by id. `scope` is the
// library test: the reference's join and offline exclusion as one list. With `rowText`
// the text is tested on each candidate row instead of listed by the full-text table.
struct Matches {
    std::string from;
    std::string where;
    std::vector<std::string> params;
};

Matches matches(const SearchQuery& query, const std::string& scope, const char* walkIndex,
                const std::vector<std::string>* keys, bool rowText)
{
    Matches m;
    const char* index = walkIndex ? walkIndex : drivingIndex(query, keys != nullptr, rowText);
    Membership membership = walkIndex ? Membership::Probe : Membership::List;
    if (!rowText && !walkIndex && index == kById && !searchTokens(query.text).empty()) {
        membership = Membership::Joined;
        m.from = "sample_search f CROSS JOIN ";
    } else if (!rowText && !walkIndex && index == kById && query.playlistId) {
        // Its rows in id order, each looked up once, without first listing them apart.
        membership = Membership::PlaylistJoined;
        m.from = "playlist_items pi CROSS JOIN ";
    }
    m.from += "samples s";
    if (index) m.from += std::string(" INDEXED BY ") + index;
    if (membership == Membership::Joined) m.from += " ON s.id=f.rowid";
    if (membership == Membership::PlaylistJoined) m.from += " ON s.id=pi.sample_id";
    m.where = std::string(" WHERE 1=1") + kVisible + scope;
    appendIndexedPredicate(query, membership, m.where, m.params, keys, rowText ? rowColumnsOf(index) : nullptr);
    return m;
}

std::string literalList(const std::vector<std::int64_t>& ids)
{
    std::string list = "(";
    for (const std::int64_t id : ids) {
        if (list.size() > 1) list += ',';
        list += std::to_string(id);
    }
    return list + ")";
}

std::string onlineScope(const std::string& online)
{
    return " AND +s.library_id IN " + online;
}

// countMatching has no join to libraries: only the offline ones are left out.
std::string countScope(const std::string& offline)
{
    return offline.empty() ? std::string() : " AND +s.library_id NOT IN " + offline;
}

bool rankedByText(const SearchQuery& query)
{
    return !query.sortByFilename && !query.sortByDuration && !query.sortByBpm && !query.bpm
        && !searchTokens(query.text).empty();
}

// LIMIT and OFFSET as SQLite reads them: a negative limit means all rows, a negative
// offset none skipped.
struct Window {
    std::int64_t offset;
    std::int64_t limit; // -1: unbounded

    std::string sql() const { return " LIMIT " + std::to_string(limit) + " OFFSET " + std::to_string(offset); }
};

Window windowOf(const SearchQuery& query)
{
    return {std::max<std::int64_t>(query.offset, 0), query.limit < 0 ? -1 : query.limit};
}

// The hidden rows, from their own index.
constexpr const char* kHiddenRows = " FROM samples INDEXED BY idx_samples_hidden WHERE substr(filename,1,2)='._'";

// Rows the count leaves out for their library when a library is offline: NOT IN gives
// NULL for a sample without a library, which hides it too.
std::string outsideCountScope(const std::string& offline)
{
    return "(library_id IN " + offline + " OR library_id IS NULL)";
}

// A statement and its parameters as one cache key, unambiguous whatever the texts hold.
std::string cacheKey(const std::string& sql, const std::vector<std::string>& params)
{
    std::string key = sql;
    for (const auto& param : params) key += '\0' + std::to_string(param.size()) + ':' + param;
    return key;
}

// A number SQLite stored, written back so that SQLite reads the same value.
std::string numberLiteral(sqlite3_value* value)
{
    if (sqlite3_value_type(value) == SQLITE_INTEGER) return std::to_string(sqlite3_value_int64(value));
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", sqlite3_value_double(value));
    return text;
}

// More distinct tempos than this in the range (only stored fractions could do it) and
// the tempo order sorts all matches instead.
constexpr std::size_t kTempoGroups = 64;

// A count kept until anything writes: looked up by `key`, else counted and kept.
template <class Count>
std::int64_t remembered(std::unordered_map<std::string, std::int64_t>& counts, std::string key, Count count)
{
    if (const auto it = counts.find(key); it != counts.end()) return it->second;
    const std::int64_t value = count();
    counts.emplace(std::move(key), value);
    return value;
}

std::vector<std::int64_t> readIds(sqlite3* db, const std::string& sql, const std::vector<std::string>& params)
{
    Statement st(db, sql);
    bindTexts(st, params);
    std::vector<std::int64_t> ids;
    while (st.step()) ids.push_back(st.columnInt64(0));
    return ids;
}

// Full-text ids: the table returns them in rowid order already, so they are sorted only
// when they are not.
std::vector<std::int64_t> sortedIds(sqlite3* db, const std::string& sql, const std::vector<std::string>& params)
{
    std::vector<std::int64_t> ids = readIds(db, sql, params);
    if (!std::is_sorted(ids.begin(), ids.end())) std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace

void Database::setSearchPlan(SearchPlan plan)
{
    const auto lock = settledLock();
    _searchPlan = plan;
    *_search = SearchState{}; // nothing remembered across a switch
}

Database::SearchState& Database::currentSearchState() const
{
    sqlite3* db = _db.get();
    Statement version(db, _statements, "PRAGMA data_version");
    if (!version.step()) throwSqliteError(db);
    const std::int64_t dataVersion = version.columnInt64(0);
    const std::int64_t changes = sqlite3_total_changes64(db);
    if (_search->dataVersion == dataVersion && _search->changes == changes) return *_search;

    SearchState fresh;
    fresh.dataVersion = dataVersion;
    fresh.changes = changes;
    constexpr const char* offline = "SELECT l.id FROM libraries l JOIN app_metadata m ON "
                                    "m.key='offline_library:'||l.path WHERE m.value='1'";
    fresh.offline = idList(db, offline);
    if (fresh.offline == "()") fresh.offline.clear();
    fresh.online = idList(db, (std::string("SELECT id FROM libraries WHERE id NOT IN (") + offline + ") ORDER BY id").c_str());
    *_search = std::move(fresh);
    return *_search;
}

// Listed by skipping through the key index, one lookup per distinct value.
const std::vector<std::string>* Database::storedKeys() const
{
    SearchState& state = currentSearchState();
    if (!state.keysRead) {
        state.keysRead = true;
        std::vector<std::string> keys;
        Statement first(_db.get(), "SELECT min(musical_key) FROM samples");
        bool more = first.step() && !first.isNull(0);
        if (more) keys.push_back(first.columnText(0));
        while (more && keys.size() <= kListedKeys) {
            Statement next(_db.get(), _statements, "SELECT min(musical_key) FROM samples WHERE musical_key>?");
            next.bind(1, keys.back());
            more = next.step() && !next.isNull(0);
            if (more) keys.push_back(next.columnText(0));
        }
        if (!more) state.keys = std::move(keys);
    }
    return state.keys ? &*state.keys : nullptr;
}

std::int64_t Database::cachedCount(const std::string& sql, const std::vector<std::string>& params) const
{
    return remembered(_search->counts, cacheKey(sql, params), [&] {
        Statement st(_db.get(), sql);
        bindTexts(st, params);
        if (!st.step()) throwSqliteError(_db.get());
        return st.columnInt64(0);
    });
}

std::int64_t Database::indexedCountMatching(const SearchQuery& query) const
{
    const SearchState& state = currentSearchState();
    sqlite3* db = _db.get();
    if (!narrowsResults(query)) {
        // Every visible sample: the table's count less the hidden rows, which small
        // indexes count, instead of a pass over the visible ones.
        return remembered(_search->counts, "visible samples", [&] {
            std::int64_t count = scalar(db, "SELECT count(*) FROM samples")
                - scalar(db, std::string("SELECT count(*)") + kHiddenRows);
            if (!state.offline.empty()) {
                count -= scalar(db, "SELECT count(*) FROM samples WHERE library_id IN " + state.offline)
                    + scalar(db, "SELECT count(*) FROM samples WHERE library_id IS NULL")
                    - scalar(db, std::string("SELECT count(*)") + kHiddenRows + " AND "
                             + outsideCountScope(state.offline));
            }
            return count;
        });
    }
    std::string listed;
    std::vector<std::string> listParams;
    if (fullTextIds(query, listed, listParams)) return listedCount(listed, listParams);
    if (memberIds(query, listed, listParams)) return memberCount(listed, listParams);
    const Matches m = matches(query, countScope(state.offline), nullptr, storedKeys(), testsTextByRow(query));
    return cachedCount("SELECT count(*) FROM " + m.from + m.where, m.params);
}

// More full-row tests than this (about a random row read each) and the row test costs
// more than asking the full-text table for its matches.
constexpr std::int64_t kRowTests = 5000;

// Tried on the count first, with a budget of full-row tests: the count is kept if the
// test finishes, and the query's text is then tested row by row in every statement.
// Whether it finishes is remembered for the state of the file.
bool Database::testsTextByRow(const SearchQuery& query) const
{
    const std::vector<std::string>* keys = storedKeys();
    if (!_fullTextBudget || !rowTextCandidate(query, keys != nullptr)) return false;
    SearchState& state = currentSearchState();
    const Matches m = matches(query, countScope(state.offline), nullptr, keys, true);
    const std::string sql = "SELECT count(*) FROM " + m.from + m.where;
    const std::string key = cacheKey(sql, m.params);
    if (state.counts.contains(key)) return true;
    if (state.rowTextRefused.contains(key)) return false;

    struct Unlimited {
        FullTextRowBudget* budget;
        ~Unlimited() { budget->limit(-1); }
    } unlimited{_fullTextBudget};
    _fullTextBudget->limit(kRowTests);
    try {
        cachedCount(sql, m.params);
        return true;
    } catch (const std::runtime_error&) {
        if (!_fullTextBudget->exhausted()) throw;
    }
    state.rowTextRefused.insert(key);
    return false;
}

namespace {

// More alternations than this between left-out and counted rows, in id order, and the
// left-out rows are listed one by one instead.
constexpr std::size_t kExcludedRanges = 64;

// Id ranges that hold only rows of these libraries (nullopt: rows without one) and
// every such row, found by seeking the library index at the edges where the libraries
// alternate; nullopt when they alternate too often.
std::optional<std::vector<std::pair<std::int64_t, std::int64_t>>>
libraryRanges(sqlite3* db, StatementCache& cache, const std::vector<std::optional<std::int64_t>>& left,
              const std::vector<std::int64_t>& kept)
{
    // [last][library]: prepared once per connection, as a range costs several of each.
    static constexpr const char* kEdges[2][2] = {
        {"SELECT min(id) FROM samples WHERE library_id IS NULL AND id>?1",
         "SELECT min(id) FROM samples WHERE library_id=?2 AND id>?1"},
        {"SELECT max(id) FROM samples WHERE library_id IS NULL AND id<?1",
         "SELECT max(id) FROM samples WHERE library_id=?2 AND id<?1"},
    };
    // The first id above, or the last below, `bound` among a library's rows.
    const auto edge = [&](const std::optional<std::int64_t>& library, bool last, std::int64_t bound) {
        Statement st(db, cache, kEdges[last][library.has_value()]);
        st.bind(1, bound);
        if (library) st.bind(2, *library);
        return st.step() && !st.isNull(0) ? std::optional(st.columnInt64(0)) : std::nullopt;
    };
    // The nearest edge over several libraries.
    const auto nearest = [&](const auto& libraries, bool last, std::int64_t bound) {
        std::optional<std::int64_t> best;
        for (const auto& library : libraries) {
            const auto id = edge(library, last, bound);
            if (id && (!best || (last ? *id > *best : *id < *best))) best = id;
        }
        return best;
    };

    std::vector<std::pair<std::int64_t, std::int64_t>> ranges;
    std::vector<std::optional<std::int64_t>> keptLibraries(kept.begin(), kept.end());
    std::optional<std::int64_t> from = nearest(left, false, std::numeric_limits<std::int64_t>::min());
    while (from) {
        if (ranges.size() == kExcludedRanges) return std::nullopt;
        const auto counted = nearest(keptLibraries, false, *from);
        // The last left-out row before the next counted one; there is one: `from`.
        const auto to = nearest(left, true, counted ? *counted : std::numeric_limits<std::int64_t>::max());
        ranges.emplace_back(*from, *to);
        from = counted ? nearest(left, false, *counted) : std::nullopt;
    }
    return ranges;
}

} // namespace

// The rows the count leaves out: hidden rows, and the rows of offline libraries or of
// none when a library is offline. Read once per state of the file.
const Database::ExcludedRows& Database::excludedRows() const
{
    SearchState& state = currentSearchState();
    if (!state.excluded) {
        sqlite3* db = _db.get();
        ExcludedRows excluded;
        std::vector<std::int64_t> ids = readIds(db, std::string("SELECT rowid") + kHiddenRows, {});
        if (!state.offline.empty()) {
            std::vector<std::optional<std::int64_t>> left = {std::nullopt};
            for (const std::int64_t id : readIds(db, "SELECT id FROM libraries WHERE id IN " + state.offline, {})) {
                left.emplace_back(id);
            }
            // Every other library the rows name, listed or not, by skipping through the
            // library index.
            std::vector<std::int64_t> kept;
            std::optional<std::int64_t> library = std::numeric_limits<std::int64_t>::min();
            while (kept.size() <= kExcludedRanges) {
                Statement next(db, _statements, "SELECT min(library_id) FROM samples WHERE library_id>?");
                next.bind(1, *library);
                if (!next.step() || next.isNull(0)) break;
                library = next.columnInt64(0);
                if (std::find(left.begin(), left.end(), library) == left.end()) kept.push_back(*library);
            }
            auto ranges = kept.size() <= kExcludedRanges ? libraryRanges(db, _statements, left, kept) : std::nullopt;
            if (ranges) {
                // Libraries usually hold runs of ids, which a count checks by their ends
                // instead of listing each of a large offline drive's rows.
                excluded.ranges = std::move(*ranges);
                std::erase_if(ids, [&](std::int64_t id) { return inRanges(excluded.ranges, id); });
            } else {
                // Apart, not as one OR: each comes from the library index in id order,
                // where the OR would first collect and sort every row id.
                for (const std::string& where : {"library_id IN " + state.offline, std::string("library_id IS NULL")}) {
                    const auto more = readIds(db, "SELECT id FROM samples WHERE " + where, {});
                    ids.insert(ids.end(), more.begin(), more.end());
                }
            }
        }
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        excluded.ids = std::move(ids);
        state.excluded = std::move(excluded);
    }
    return *state.excluded;
}

// Fewer matches than this cost less to look up than counting what they leave out.
constexpr std::size_t kAlwaysLookedUp = 1000;

// Whether full-text matches are few enough to look up by id, rather than counting them
// by subtracting the excluded ids (a lookup costs several times a step through a list)
// and ranking them after reading the full-text table again.
bool Database::looksUp(std::size_t matches) const
{
    if (matches <= kAlwaysLookedUp) return true;
    SearchState& state = currentSearchState();
    if (!state.excludedCount) {
        // The ranges' widths bound the rows they hold, closely enough to choose by, and
        // cost nothing once they are read; counting the rows took longer than reading them.
        const ExcludedRows& excluded = excludedRows();
        std::int64_t count = static_cast<std::int64_t>(excluded.ids.size());
        for (const auto& [first, last] : excluded.ranges) count += last - first + 1;
        state.excludedCount = count;
    }
    return static_cast<std::int64_t>(matches) * 8 <= *state.excludedCount;
}

// The ids of the full-text matches of the last text asked for, sorted.
const std::vector<std::int64_t>& Database::fullTextMatches(const std::string& sql,
                                                          const std::vector<std::string>& params) const
{
    SearchState& state = currentSearchState();
    std::string key = cacheKey(sql, params);
    if (state.fullTextKey != key) {
        state.fullTextIds = sortedIds(_db.get(), sql, params);
        state.fullTextKey = std::move(key);
    }
    return state.fullTextIds;
}

// The count of a query that narrows by its text alone: few matches are looked up by
// id, many are counted as the full-text ids less those the count leaves out, without
// reading a row.
std::int64_t Database::listedCount(const std::string& sql, const std::vector<std::string>& params) const
{
    return remembered(_search->counts, "listed " + cacheKey(sql, params), [&] {
        const auto& ids = fullTextMatches(sql, params);
        if (!ids.empty() && looksUp(ids.size())) {
            return scalar(_db.get(), "SELECT count(*) FROM samples s INDEXED BY " + std::string(kById)
                              + " WHERE s.id IN " + literalList(ids) + kVisible
                              + countScope(currentSearchState().offline));
        }
        return static_cast<std::int64_t>(ids.size()) - excludedAmong(ids);
    });
}

// How many of these sorted ids the count leaves out.
std::int64_t Database::excludedAmong(const std::vector<std::int64_t>& ids) const
{
    const ExcludedRows& excluded = excludedRows();
    std::int64_t found = 0;
    for (const auto& [first, last] : excluded.ranges) {
        found += std::upper_bound(ids.begin(), ids.end(), last) - std::lower_bound(ids.begin(), ids.end(), first);
    }
    const bool fewer = ids.size() <= excluded.ids.size();
    const auto& shorter = fewer ? ids : excluded.ids;
    const auto& longer = fewer ? excluded.ids : ids;
    if (shorter.size() * 16 < longer.size()) {
        // Each of a few ids searched for among many.
        auto from = longer.begin();
        for (const std::int64_t id : shorter) {
            from = std::lower_bound(from, longer.end(), id);
            if (from == longer.end()) break;
            if (*from == id) ++found;
        }
        return found;
    }
    // Lists of like size: one merge, where a search per id cost more than reading the list.
    auto a = shorter.begin();
    auto b = longer.begin();
    while (a != shorter.end() && b != longer.end()) {
        if (*a < *b) {
            ++a;
        } else if (*b < *a) {
            ++b;
        } else {
            ++found, ++a, ++b;
        }
    }
    return found;
}

// The count of a query that narrows by membership alone: its distinct members less
// those the count leaves out, without looking each member up.
std::int64_t Database::memberCount(const std::string& sql, const std::vector<std::string>& params) const
{
    return remembered(_search->counts, "members " + cacheKey(sql, params), [&] {
        std::vector<std::int64_t> ids = readIds(_db.get(), sql, params);
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        return static_cast<std::int64_t>(ids.size()) - excludedAmong(ids);
    });
}

std::int64_t Database::countMatchingLocked(const SearchQuery& query) const
{
    if (_searchPlan == SearchPlan::Reference) return referenceCountMatching(query);
    ReadSnapshot snapshot(_db.get());
    return indexedCountMatching(query);
}

std::int64_t Database::countMatching(const SearchQuery& query) const
{
    const auto lock = settledLock();
    return countMatchingLocked(query);
}

namespace {

// Duration and tempo sorts: the samples with a value in its direction, then those
// without, each by name.
struct Segmented {
    const char* column;
    const char* index; // walked for the samples with a value; those without by name
    bool descending;
};

std::optional<Segmented> segmentedOrder(const SearchQuery& query)
{
    if (query.sortByFilename) return std::nullopt;
    if (query.sortByDuration) return Segmented{"s.duration", "idx_samples_visible_duration", query.durationDescending};
    if (query.sortByBpm) return Segmented{"s.bpm", "idx_samples_bpm", query.bpmDescending};
    return std::nullopt;
}

} // namespace

// Walking an ordered index visits about (offset + limit) * visible / matches rows;
// driving from the matches visits each once and sorts them, a few times the cost of a
// step of the walk. Only speed depends on the choice.
bool Database::walks(const SearchQuery& query) const
{
    if (!narrowsResults(query)) return true;
    const double found = static_cast<double>(indexedCountMatching(query));
    const Window window = windowOf(query);
    // The highest id bounds the visible count closely enough, at no cost.
    const double rows = static_cast<double>(scalar(_db.get(), "SELECT max(id) FROM samples"));
    const double wanted = window.limit < 0 ? rows : static_cast<double>(window.offset + window.limit);
    return found > 0 && wanted * rows / found < 4.0 * found;
}

std::vector<std::int64_t> Database::pageIds(const SearchQuery& query) const
{
    const SearchState& state = currentSearchState();
    const Window window = windowOf(query);
    if (window.limit == 0) return {};
    if (segmentedOrder(query)) return segmentedPageIds(query);

    const bool rowText = testsTextByRow(query);
    if (query.bpm && !query.sortByFilename && (searchTokens(query.text).empty() || rowText) && walks(query)) {
        if (auto ids = tempoPageIds(query)) return *ids;
    }

    std::vector<std::string> orderParams;
    std::string order;
    const char* walkIndex = nullptr;
    if (rankedByText(query) || (query.bpm && !query.sortByFilename)) {
        // Every match is ranked or measured against the tempo: nothing to walk.
        order = searchOrder(query, orderParams);
        std::string listed;
        std::vector<std::string> listParams;
        if (fullTextIds(query, listed, listParams)) {
            const auto& ids = fullTextMatches(listed, listParams);
            if (looksUp(ids.size())) return pageAmong(query, ids);
            if (rankedByText(query)) {
                if (auto page = rankedPageIds(query, ids)) return *page;
            }
        }
    } else {
        const char* d = query.sortByFilename && query.filenameDescending ? " DESC" : "";
        order = std::string("s.filename COLLATE NOCASE") + d + ", s.id" + d;
        if (walks(query)) walkIndex = "idx_samples_visible_name";
    }
    Matches m = matches(query, onlineScope(state.online), walkIndex, storedKeys(), rowText);
    m.params.insert(m.params.end(), orderParams.begin(), orderParams.end());
    return readIds(_db.get(), "SELECT s.id FROM " + m.from + m.where + " ORDER BY " + order + window.sql(), m.params);
}

// The query's page among these ids, in its written order, from the narrow by-id index.
std::vector<std::int64_t> Database::pageAmong(const SearchQuery& query, const std::vector<std::int64_t>& ids) const
{
    if (ids.empty()) return {};
    std::vector<std::string> params;
    const std::string order = searchOrder(query, params);
    return readIds(_db.get(),
                   "SELECT s.id FROM samples s INDEXED BY " + std::string(kById) + " WHERE s.id IN " + literalList(ids)
                       + kVisible + onlineScope(currentSearchState().online) + " ORDER BY " + order
                       + windowOf(query).sql(),
                   params);
}

// The rows whose name holds every query token as a word, among others: the full-text
// words of a name include each of its ASCII letter-and-digit tokens. Null when a token
// has other bytes, which the full-text table may split or fold differently.
const std::vector<std::int64_t>* Database::exactNameMatches(const std::vector<std::string>& tokens) const
{
    std::string expression;
    for (const auto& token : tokens) {
        const bool plain = std::all_of(token.begin(), token.end(), [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        });
        if (!plain) return nullptr;
        if (!expression.empty()) expression += " AND ";
        expression += "filename : \"" + token + "\"";
    }
    SearchState& state = currentSearchState();
    if (state.exactKey != expression) {
        state.exactIds =
            sortedIds(_db.get(), "SELECT rowid FROM sample_search WHERE sample_search MATCH ?", {expression});
        state.exactKey = std::move(expression);
    }
    return &state.exactIds;
}

namespace {

// The least rank a name can have for a query of `q` tokens, from its stem's token count
// and whether it holds every query token as a word; groups of matches are read in this
// order. A key per bound: [0, 256) exact words, [256, 512) prefixes only, 512 no match.
constexpr int kRankGroups = 513;

int rankGroup(int words, int q, bool exact)
{
    if (words < q) return kRankGroups - 1; // too few tokens to hold the query's
    return (exact ? 0 : 256) + words - q;
}

int leastRank(int group)
{
    if (group == 0) return 0;
    if (group < 256) return 100000 + group;
    if (group < 512) return 400000 + group - 256;
    return kNoMatchRank;
}

} // namespace

// A page ranked by text among many full-text matches, without ranking them all. The
// matches are grouped by the least rank they could have; groups are read best first,
// each in name order, until every row the page needs is known to be read: rows ranked
// below the next group's least rank, or enough rows of the group's own least rank,
// which come before the group's unread rows by name. SQLite then orders the rows read.
// Nothing when the name order cannot serve.
std::optional<std::vector<std::int64_t>> Database::rankedPageIds(const SearchQuery& query,
                                                                 const std::vector<std::int64_t>& matches) const
{
    const SearchState& state = currentSearchState();
    const std::vector<std::string> tokens = searchTokens(query.text);
    const int q = static_cast<int>(tokens.size());
    const Window window = windowOf(query);
    if (window.limit < 0 || q >= NameOrder::kMaxWords || !_nameOrder->refresh(state.dataVersion)) {
        return std::nullopt;
    }
    const NameOrder& order = *_nameOrder;
    const std::int64_t need = window.offset + window.limit;
    const std::vector<std::int64_t>* exact = exactNameMatches(tokens);

    // Matches by group; rows written since the order was read are ranked up front.
    std::vector<std::int64_t> touched;
    std::vector<int> groupOf(matches.size(), -1);
    std::array<std::size_t, kRankGroups + 1> starts{};
    auto exactAt = exact ? exact->begin() : std::vector<std::int64_t>::const_iterator();
    for (std::size_t i = 0; i < matches.size(); ++i) {
        const std::int64_t id = matches[i];
        if (order.touched(id)) {
            touched.push_back(id);
        } else if (order.place(id) != NameOrder::kAbsent) {
            bool isExact = true;
            if (exact) {
                exactAt = std::lower_bound(exactAt, exact->end(), id);
                isExact = exactAt != exact->end() && *exactAt == id;
            }
            groupOf[i] = rankGroup(order.words(id), q, isExact);
            ++starts[static_cast<std::size_t>(groupOf[i]) + 1];
        }
    }
    for (std::size_t g = 1; g < starts.size(); ++g) starts[g] += starts[g - 1];
    std::vector<std::int64_t> grouped(starts.back());
    {
        auto next = starts;
        for (std::size_t i = 0; i < matches.size(); ++i) {
            if (groupOf[i] >= 0) grouped[next[static_cast<std::size_t>(groupOf[i])]++] = matches[i];
        }
    }

    struct Ranked {
        std::int64_t id;
        int rank;
    };
    std::vector<Ranked> known;
    std::priority_queue<int, std::vector<int>, std::greater<>> unsettled; // ranks not yet below a bound
    std::int64_t below = 0;
    using Ids = std::vector<std::int64_t>;
    const auto rankRows = [&](Ids::const_iterator first, Ids::const_iterator last) {
        if (first == last) return;
        Statement st(_db.get(), "SELECT s.id,s.filename FROM samples s INDEXED BY " + std::string(kById)
                         + " WHERE s.id IN " + literalList({first, last}) + kVisible + onlineScope(state.online));
        while (st.step()) {
            known.push_back({st.columnInt64(0), filenameSearchRank(st.columnView(1), query.text)});
            unsettled.push(known.back().rank);
        }
    };
    const auto page = [&](int bound) {
        std::vector<std::int64_t> ids;
        for (const Ranked& row : known) {
            if (row.rank <= bound) ids.push_back(row.id);
        }
        return pageAmong(query, ids);
    };

    rankRows(touched.begin(), touched.end());
    for (int group = 0; group < kRankGroups; ++group) {
        const auto first = grouped.begin() + static_cast<std::ptrdiff_t>(starts[static_cast<std::size_t>(group)]);
        const auto last = grouped.begin() + static_cast<std::ptrdiff_t>(starts[static_cast<std::size_t>(group) + 1]);
        if (first == last) continue;
        const int least = leastRank(group);
        while (!unsettled.empty() && unsettled.top() < least) {
            unsettled.pop();
            ++below;
        }
        if (below >= need) return page(least - 1);

        std::sort(first, last, [&](std::int64_t a, std::int64_t b) { return order.place(a) < order.place(b); });
        const std::int64_t wanted = need - below;
        std::int64_t found = 0;
        std::ptrdiff_t chunk = 64;
        for (auto from = first; from != last; chunk = std::min<std::ptrdiff_t>(chunk * 2, 4096)) {
            const auto to = last - from > chunk ? from + chunk : last;
            const std::size_t read = known.size();
            rankRows(from, to);
            for (std::size_t i = read; i < known.size(); ++i) found += known[i].rank == least;
            if (found >= wanted) return page(least);
            // Few matches rank well (a word most names have only in their folder): one
            // statement ranking them all costs less than reading them group by group.
            if (known.size() * 4 > matches.size()) return std::nullopt;
            from = to;
        }
    }
    return page(kNoMatchRank);
}

std::vector<std::int64_t> Database::segmentedPageIds(const SearchQuery& query) const
{
    const Segmented order = *segmentedOrder(query);
    const SearchState& state = currentSearchState();
    sqlite3* db = _db.get();
    const Window window = windowOf(query);
    const char* walkIndex = walks(query) ? order.index : nullptr;
    const std::string column = order.column;
    const bool rowText = testsTextByRow(query);

    Matches with = matches(query, onlineScope(state.online), walkIndex, storedKeys(), rowText);
    with.where += " AND " + column + " IS NOT NULL";
    std::vector<std::int64_t> ids = readIds(db,
                                            "SELECT s.id FROM " + with.from + with.where + " ORDER BY " + column
                                                + (order.descending ? " DESC" : "")
                                                + ", s.filename COLLATE NOCASE, s.id" + window.sql(),
                                            with.params);
    if (window.limit >= 0 && static_cast<std::int64_t>(ids.size()) == window.limit) return ids;

    // The page reaches the samples without a value. How many have one matters only when
    // the page starts beyond them all.
    Window rest{0, window.limit < 0 ? -1 : window.limit - static_cast<std::int64_t>(ids.size())};
    if (ids.empty() && window.offset > 0) rest.offset = window.offset - countWithValue(query, column);
    Matches without = matches(query, onlineScope(state.online), walkIndex ? "idx_samples_visible_name" : nullptr,
                              storedKeys(), rowText);
    without.where += " AND " + column + " IS NULL";
    const auto more = readIds(db,
                              "SELECT s.id FROM " + without.from + without.where
                                  + " ORDER BY s.filename COLLATE NOCASE, s.id" + rest.sql(),
                              without.params);
    ids.insert(ids.end(), more.begin(), more.end());
    return ids;
}

// Closest tempo first: the stored tempos of the range, grouped by their distance to the
// target, and each group's matches by name from the tempo index. Only the groups up to
// the page's end are read; empty when the range holds too many distinct tempos.
std::optional<std::vector<std::int64_t>> Database::tempoPageIds(const SearchQuery& query) const
{
    sqlite3* db = _db.get();
    const std::int64_t target = *query.bpm;
    const std::int64_t low = std::max<std::int64_t>(target, 30) - 10;
    const std::int64_t high = std::min<std::int64_t>(target, 290) + 10;
    const std::string range = " AND s.bpm BETWEEN " + std::to_string(low) + " AND " + std::to_string(high);

    // Distinct tempos by skipping through the index, one lookup each.
    struct Tempo {
        double distance;
        std::string literal;
    };
    std::vector<Tempo> tempos;
    {
        const std::string following = "SELECT min(s.bpm) FROM samples s WHERE s.bpm>? AND s.bpm<=" + std::to_string(high);
        Statement first(db, "SELECT min(s.bpm) FROM samples s WHERE 1=1" + range);
        bool more = first.step() && !first.isNull(0);
        std::optional<Value> last;
        if (more) last.emplace(sqlite3_column_value(first.handle(), 0));
        while (more) {
            if (tempos.size() == kTempoGroups) return std::nullopt;
            const double value = sqlite3_value_double(last->get());
            // abs(s.bpm-target) as SQLite computes it: integer when the tempo is one.
            const double distance = sqlite3_value_type(last->get()) == SQLITE_INTEGER
                ? static_cast<double>(std::llabs(sqlite3_value_int64(last->get()) - target))
                : std::fabs(value - static_cast<double>(target));
            tempos.push_back({distance, numberLiteral(last->get())});
            Statement next(db, following);
            sqlite3_bind_value(next.handle(), 1, last->get());
            more = next.step() && !next.isNull(0);
            if (more) last.emplace(sqlite3_column_value(next.handle(), 0));
        }
    }
    std::stable_sort(tempos.begin(), tempos.end(), [](const Tempo& a, const Tempo& b) { return a.distance < b.distance; });

    const SearchState& state = currentSearchState();
    const Matches m = matches(query, onlineScope(state.online), "idx_samples_visible_bpm", storedKeys(), testsTextByRow(query));
    const Window window = windowOf(query);
    std::int64_t skip = window.offset;
    std::vector<std::int64_t> ids;
    for (std::size_t i = 0; i < tempos.size();) {
        std::string group = " AND s.bpm IN (" + tempos[i].literal;
        for (++i; i < tempos.size() && tempos[i].distance == tempos[i - 1].distance; ++i) group += "," + tempos[i].literal;
        group += ")";
        if (skip > 0) {
            const std::int64_t inGroup = cachedCount("SELECT count(*) FROM " + m.from + m.where + group, m.params);
            if (inGroup <= skip) {
                skip -= inGroup;
                continue;
            }
        }
        const std::int64_t wanted = window.limit < 0 ? -1 : window.limit - static_cast<std::int64_t>(ids.size());
        const auto more = readIds(db,
                                  "SELECT s.id FROM " + m.from + m.where + group
                                      + " ORDER BY s.filename COLLATE NOCASE, s.id" + Window{skip, wanted}.sql(),
                                  m.params);
        skip = 0;
        ids.insert(ids.end(), more.begin(), more.end());
        if (window.limit >= 0 && static_cast<std::int64_t>(ids.size()) >= window.limit) break;
    }
    return ids;
}

std::int64_t Database::countWithValue(const SearchQuery& query, const std::string& column) const
{
    Matches counted = matches(query, onlineScope(currentSearchState().online), nullptr, storedKeys(), testsTextByRow(query));
    counted.where += " AND " + column + " IS NOT NULL";
    return cachedCount("SELECT count(*) FROM " + counted.from + counted.where, counted.params);
}

std::vector<Sample> Database::indexedSearch(const SearchQuery& query) const
{
    std::vector<Sample> rows;
    try {
        ReadSnapshot snapshot(_db.get());
        for (const std::int64_t id : pageIds(query)) {
            Statement st(_db.get(), _statements, kRowById);
            st.bind(1, id);
            if (st.step()) rows.push_back(sampleFromSearchRow(st));
        }
    } catch (const std::runtime_error&) {
        // A page returns what it could read.
    }
    return rows;
}

std::vector<Sample> Database::search(const SearchQuery& query) const
{
    const auto lock = settledLock();
    return _searchPlan == SearchPlan::Reference ? referenceSearch(query) : indexedSearch(query);
}

std::optional<std::int64_t> Database::indexedMatchingIndex(const SearchQuery& query, std::int64_t sampleId) const
{
    ReadSnapshot snapshot(_db.get());
    const SearchState& state = currentSearchState();
    sqlite3* db = _db.get();
    const auto segmented = segmentedOrder(query);
    const bool ranked = rankedByText(query);
    const bool tempo = !segmented && !query.sortByFilename && query.bpm;
    const bool descending = query.sortByFilename && query.filenameDescending;

    // The sample's own sort key, read by the same expressions the order uses, so that
    // comparing against it is exact whatever the stored types.
    std::string key = "NULL";
    std::vector<std::string> keyParams;
    if (segmented) key = segmented->column;
    if (tempo) key = "abs(s.bpm-" + std::to_string(*query.bpm) + ")";
    if (ranked) {
        key = "qv_filename_search_rank(s.filename,?)";
        keyParams.push_back(query.text);
    }
    const bool rowText = testsTextByRow(query);
    const Matches target = matches(query, onlineScope(state.online), nullptr, storedKeys(), rowText);
    Statement find(db, "SELECT s.filename," + key + " FROM " + target.from + target.where + " AND s.id=?");
    bindTexts(find, keyParams);
    bindTexts(find, target.params, static_cast<int>(keyParams.size()) + 1);
    find.bind(static_cast<int>(keyParams.size() + target.params.size()) + 1, sampleId);
    if (!find.step()) return std::nullopt;
    const Value name(sqlite3_column_value(find.handle(), 0));
    const Value value(sqlite3_column_value(find.handle(), 1));

    // Matches ahead of it: a smaller key, or the same key and a name (then id) ahead.
    struct Bound {
        const Value* value = nullptr;
        std::int64_t id = 0;
        const std::string* text = nullptr;
    };
    std::vector<Bound> bounds;
    const auto nameAhead = [&](bool desc) {
        bounds.push_back({&name});
        bounds.push_back({&name});
        bounds.push_back({nullptr, sampleId});
        return desc ? std::string("s.filename COLLATE NOCASE>=? AND (s.filename COLLATE NOCASE>? OR s.id>?)")
                    : std::string("s.filename COLLATE NOCASE<=? AND (s.filename COLLATE NOCASE<? OR s.id<?)");
    };
    // Exactly one key ahead when the name order is the whole order.
    std::string ahead;
    std::int64_t before = 0;
    if (segmented && !value.isNull()) {
        const std::string column = segmented->column;
        const char* cmp = segmented->descending ? ">" : "<";
        bounds.push_back({&value});
        bounds.push_back({&value});
        ahead = column + (segmented->descending ? ">=?" : "<=?") + " AND (" + column + cmp + "? OR ("
            + nameAhead(false) + "))";
    } else if (segmented) {
        // Behind every sample that has the value.
        before = countWithValue(query, segmented->column);
        ahead = std::string(segmented->column) + " IS NULL AND " + nameAhead(false);
    } else if (tempo || ranked) {
        const std::string expression = tempo ? key : "qv_filename_search_rank(s.filename,?)";
        const auto pushKey = [&] {
            if (ranked) bounds.push_back({nullptr, 0, &query.text});
            bounds.push_back({&value});
        };
        pushKey();
        std::string clause = expression + "<? OR (";
        pushKey();
        clause += expression + "=? AND (" + nameAhead(false) + "))";
        ahead = clause;
    } else {
        ahead = nameAhead(descending);
    }

    const Matches counted = matches(query, onlineScope(state.online), nullptr, storedKeys(), rowText);
    Statement count(db, "SELECT count(*) FROM " + counted.from + counted.where + " AND (" + ahead + ")");
    bindTexts(count, counted.params);
    int position = static_cast<int>(counted.params.size()) + 1;
    for (const Bound& bound : bounds) {
        if (bound.value) {
            sqlite3_bind_value(count.handle(), position, bound.value->get());
        } else if (bound.text) {
            count.bind(position, *bound.text);
        } else {
            count.bind(position, bound.id);
        }
        ++position;
    }
    if (!count.step()) throwSqliteError(db);
    return before + count.columnInt64(0);
}

std::optional<std::int64_t> Database::matchingIndex(const SearchQuery& query, std::int64_t sampleId) const
{
    const auto lock = settledLock();
    if (_searchPlan == SearchPlan::Reference) return referenceMatchingIndex(query, sampleId);
    return indexedMatchingIndex(query, sampleId);
}

std::vector<std::string> Database::indexedFilterValues(const char* column, const char* join,
                                                       const SearchQuery& query) const
{
    std::vector<std::string> values;
    ReadSnapshot snapshot(_db.get());
    const SearchState& state = currentSearchState();
    const std::string x = column;
    std::string sql = "SELECT DISTINCT " + x + " FROM samples s " + join + "WHERE " + x + " IS NOT NULL AND trim(" + x
        + ")<>''" + kVisible + countScope(state.offline);
    std::vector<std::string> params;
    appendIndexedPredicate(query, Membership::List, sql, params, storedKeys());
    // Values equal but for case come in byte order, as the reference's sort leaves them.
    sql += " ORDER BY " + x + " COLLATE NOCASE, " + x;

    Statement st(_db.get(), sql);
    bindTexts(st, params);
    try {
        while (st.step()) values.push_back(st.columnText(0));
    } catch (const std::runtime_error&) {
        // A failing step ends the list with what was read.
    }
    return values;
}

std::vector<std::string> Database::distinctFilterValues(const std::string& field, const SearchQuery& query) const
{
    const auto lock = settledLock();
    const char* column = nullptr;
    const char* join = "";
    if (field == "instrument") {
        column = "s.instrument";
    } else if (field == "genre") {
        column = "sg.genre";
        join = "JOIN sample_genres sg ON sg.sample_id=s.id ";
    } else if (field == "key") {
        column = "s.musical_key";
    } else {
        throw std::runtime_error("Unsupported filter field");
    }
    return _searchPlan == SearchPlan::Reference ? referenceFilterValues(column, join, query)
                                                : indexedFilterValues(column, join, query);
}

} // namespace qv
