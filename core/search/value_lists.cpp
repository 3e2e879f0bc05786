// Filter value lists: the distinct values of a field among a query's matches, in the
// written statement's order (case-blind, then by byte). A place alone (type, folder,
// favourites, playlist) holds up to a million rows but tens of values, so its list is
// probed value by value instead of read row by row (search_strategy.h).
#include "search/indexed_plan.h"

#include "db/schema.h"
#include "search/plan_sql.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"
#include "sql/statement_cache.h"
#include "sql/transaction.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace qv {

namespace {

// More distinct values than this and the list is read row by row: probing them all
// would cost about as much.
constexpr std::size_t kProbedValues = 1000;

// Lookups one list may spend meeting values' rows with the place's. Only ids that
// alternate between the two, value after value, come near it; the list is then read
// row by row instead.
constexpr std::int64_t kMeetingSeeks = 20000;

// What probing reads of a field; each statement is prepared once per connection.
struct ValueField {
    std::string first; // the least value, NULL when there is none
    std::string next;  // the least value above ?1
    // The first id at or after ?1 among the rows that hold the value ?2, in id order.
    std::string rows;
    // The same among the visible rows of value ?2 and type ?3; empty when no index holds
    // such pairs in id order.
    std::string typedRows;
    // Else an index that leads with the value, then the type, and holds the library:
    // whether a counted row holds a value and type is one lookup there, mostly.
    const char* typedIndex = nullptr;
    const char* column = nullptr;
};

std::string skipping(const char* column, const std::string& from)
{
    return std::string("SELECT min(") + column + ") FROM " + from;
}

const ValueField& valueField(const FilterColumn& filter)
{
    const auto sampleField = [](const char* column, const char* valueIndex, const char* rowsIndex) {
        const std::string visible = std::string("samples INDEXED BY ") + valueIndex + " WHERE " + schema::kVisibleFile;
        ValueField field;
        field.first = skipping(column, visible);
        field.next = skipping(column, visible + " AND " + column + ">?1");
        field.rows = std::string("SELECT id FROM samples INDEXED BY ") + rowsIndex + " WHERE " + column
            + "=?2 AND id>=?1 ORDER BY id LIMIT 1";
        field.column = column;
        return field;
    };
    static const ValueField instrument = [&] {
        ValueField field = sampleField("instrument", schema::kVisibleInstrumentIndex, schema::kInstrumentIndex);
        field.typedRows = std::string("SELECT id FROM samples INDEXED BY ") + schema::kVisibleInstrumentIndex
            + " WHERE " + schema::kVisibleFile + " AND instrument=?2 AND type=?3 AND id>=?1 ORDER BY id LIMIT 1";
        return field;
    }();
    static const ValueField key = [&] {
        ValueField field = sampleField("musical_key", schema::kVisibleKeyIndex, schema::kKeyIndex);
        field.typedIndex = schema::kVisibleKeyIndex;
        return field;
    }();
    static const ValueField genre = [] {
        const std::string members = std::string("sample_genres INDEXED BY ") + schema::kGenreValueIndex;
        ValueField field;
        field.first = skipping("genre", members);
        field.next = skipping("genre", members + " WHERE genre>?1");
        field.rows = "SELECT sample_id FROM " + members + " WHERE genre=?2 AND sample_id>=?1 ORDER BY sample_id LIMIT 1";
        field.column = "genre";
        return field;
    }();
    const std::string_view column = filter.column;
    if (column == "s.instrument") return instrument;
    if (column == "s.musical_key") return key;
    return genre;
}

// The written statement lists a value unless it is NULL or trim() leaves nothing of it.
bool blank(std::string_view value)
{
    return value.find_first_not_of(' ') == std::string_view::npos;
}

// One sorted list of ids, read a lookup at a time: the first id at or after a bound.
class IdCursor {
public:
    IdCursor(Connection& db, StatementCache& cache, const std::string& sql)
        : _st(db, cache, sql.c_str())
    {
    }

    // Its other parameters: the value, type or playlist the ids belong to.
    template <class Value>
    void select(const Value& value, int index = 2)
    {
        _st.reset();
        _st.bind(index, value);
    }

    std::optional<std::int64_t> seek(std::int64_t from)
    {
        _st.reset();
        _st.bind(1, from);
        if (!_st.step() || _st.isNull(0)) return std::nullopt;
        return _st.columnInt64(0);
    }

private:
    Statement _st;
};

enum class Met { Yes, No, OverBudget };

// Whether the row ?1 lies below the folder ?2, as appendIndexedPredicate writes it.
constexpr const char* kInFolder = "SELECT 1 FROM samples WHERE id=?1 AND path>=?2||'/' AND path<?2||'0'";

// Whether every list holds one id that the count does not leave out (and, with
// `inFolder`, whose row lies in the folder): each list in turn seeks the highest id seen
// so far (a leapfrog join), so that runs of ids one list lacks are passed in one lookup,
// and so are left-out id ranges, such as an offline drive's.
Met meet(const std::vector<IdCursor*>& lists, const ExcludedRows& excluded, Statement* inFolder, std::int64_t& seeks)
{
    constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
    std::int64_t at = std::numeric_limits<std::int64_t>::min();
    std::size_t agreed = 0;
    for (std::size_t i = 0;; i = (i + 1) % lists.size()) {
        if (--seeks < 0) return Met::OverBudget;
        const auto id = lists[i]->seek(at);
        if (!id) return Met::No;
        if (*id == at) {
            ++agreed;
        } else {
            at = *id;
            agreed = 1;
            if (const auto end = excluded.rangeEnd(at)) {
                if (*end == kLast) return Met::No;
                at = *end + 1;
                agreed = 0;
            }
        }
        if (agreed == lists.size()) {
            if (!excluded.excludes(at)) {
                if (!inFolder) return Met::Yes;
                inFolder->reset();
                inFolder->bind(1, at);
                if (inFolder->step()) return Met::Yes;
            }
            if (at == kLast) return Met::No;
            ++at;
            agreed = 0;
        }
    }
}

// The values in the written order, which SQLite applies itself: its case folding and
// its order of storage classes are the reference's own.
std::vector<std::string> writtenOrder(Connection& db, const std::vector<const SqlValue*>& values)
{
    if (values.empty()) return {};
    std::string sql = "SELECT column1 FROM (VALUES (?)";
    for (std::size_t i = 1; i < values.size(); ++i) sql += ",(?)";
    sql += ") ORDER BY column1 COLLATE NOCASE, column1";
    Statement st(db, sql);
    for (std::size_t i = 0; i < values.size(); ++i) st.bind(static_cast<int>(i) + 1, *values[i]);
    std::vector<std::string> ordered;
    while (st.step()) ordered.push_back(st.columnText(0));
    return ordered;
}

} // namespace

ValueList IndexedPlan::valueListStrategy(const SearchQuery& query)
{
    ReadTransaction snapshot(_db);
    return chooseValueList(query, fewPlaceRows(query));
}

std::vector<std::string> IndexedPlan::filterValues(const FilterColumn& column, const SearchQuery& query)
{
    ReadTransaction snapshot(_db);
    if (chooseValueList(query, fewPlaceRows(query)) == ValueList::Probe) {
        try {
            if (auto values = probedValues(column, query)) return *values;
        } catch (const SqliteError&) {
            // Read row by row, which reports a failure as a list does.
        }
    }
    return scannedValues(column, query);
}

// Counting a few favourites or members would cost about what reading them does, so the
// question is only whether there are more than a few.
bool IndexedPlan::fewPlaceRows(const SearchQuery& query)
{
    const auto few = [&](const std::string& rows) {
        Statement st(_db, rows + " LIMIT 1 OFFSET " + sqlNumber(kScannedPlaceRows));
        return !st.step();
    };
    if (query.favoritesOnly
        && few(std::string("SELECT 1 FROM samples INDEXED BY ") + schema::kFavoriteIndex + " WHERE favorite=1")) {
        return true;
    }
    if (query.playlistId && few("SELECT 1 FROM playlist_items WHERE playlist_id=" + sqlNumber(*query.playlistId))) {
        return true;
    }
    if (query.folder.empty()) return false;
    // The folder is a value: bound, not written into the statement.
    Statement rows(_db, "SELECT 1 FROM samples WHERE path>=?1||'/' AND path<?1||'0' LIMIT 1 OFFSET "
                            + sqlNumber(kScannedPlaceRows));
    rows.bind(1, query.folder);
    return !rows.step();
}

std::vector<std::string> IndexedPlan::scannedValues(const FilterColumn& column, const SearchQuery& query)
{
    const std::string x = column.column;
    std::string sql = "SELECT DISTINCT " + x + " FROM samples s " + column.join + "WHERE " + x + " IS NOT NULL AND trim("
        + x + ")<>'' AND " + schema::kVisibleSample + qv::countScope(state().offline);
    std::vector<std::string> params;
    appendIndexedPredicate(query, Membership::List, sql, params, storedKeys());
    // Values equal but for case come in byte order, as the reference's sort leaves them.
    sql += " ORDER BY " + x + " COLLATE NOCASE, " + x;

    Statement st(_db, sql);
    bindTexts(st, params);
    std::vector<std::string> values;
    try {
        while (st.step()) values.push_back(st.columnText(0));
    } catch (const SqliteError&) {
        // A failing step ends the list with what was read.
    }
    return values;
}

// Empty when there are too many values, or when their rows and the place's alternate
// too often in id order: the list is then read row by row.
std::optional<std::vector<std::string>> IndexedPlan::probedValues(const FilterColumn& column, const SearchQuery& query)
{
    const ValueField& field = valueField(column);

    // Every distinct value, one lookup each.
    std::vector<SqlValue> candidates;
    std::optional<SqlValue> last;
    for (;;) {
        Statement st(_db, _statements, last ? field.next.c_str() : field.first.c_str());
        if (last) st.bind(1, *last);
        if (!st.step() || st.isNull(0)) break;
        if (!blank(st.columnView(0))) {
            if (candidates.size() == kProbedValues) return std::nullopt;
            candidates.push_back(st.columnValue(0));
        }
        last.emplace(st.columnValue(0));
    }

    // Whether a counted row of the place holds a value: a row of the value, and type,
    // that the count does not leave out; in a favourites, playlist or folder place, where
    // the value's rows meet the place's in id order.
    const std::string& offline = state().offline;
    const bool typed = !query.type.empty();
    std::optional<Statement> counted;
    if (field.typedIndex && (typed || !offline.empty())) {
        counted.emplace(_db, std::string("SELECT 1 FROM samples s INDEXED BY ") + field.typedIndex + " WHERE s."
                                 + field.column + "=?1" + (typed ? " AND s.type=?2" : "") + " AND "
                                 + schema::kVisibleSample + qv::countScope(offline) + " LIMIT 1");
    }
    static const std::string typeRows = std::string("SELECT id FROM samples INDEXED BY ") + schema::kTypeIndex
        + " WHERE type=?2 AND id>=?1 ORDER BY id LIMIT 1";
    static const std::string favoriteRows = std::string("SELECT id FROM samples INDEXED BY ") + schema::kFavoriteIndex
        + " WHERE favorite=1 AND id>=?1 ORDER BY id LIMIT 1";
    static const std::string playlistRows =
        "SELECT sample_id FROM playlist_items WHERE playlist_id=?2 AND sample_id>=?1 ORDER BY sample_id LIMIT 1";
    std::optional<IdCursor> valueRows, typeIds, favoriteIds, playlistIds;
    std::vector<IdCursor*> lists;
    // A folder's rows are not in id order: each row the other lists agree on is looked up.
    std::optional<Statement> inFolder;
    if (!query.folder.empty()) {
        inFolder.emplace(_db, _statements, kInFolder);
        inFolder->bind(2, query.folder);
    }
    const bool member = query.favoritesOnly || query.playlistId || inFolder;
    // A visible instrument of any type, with every library online, is counted.
    const bool unchecked = !field.typedIndex && !field.typedRows.empty() && !typed && offline.empty();
    if (member || (!field.typedIndex && !unchecked)) {
        const bool typedRows = typed && !field.typedRows.empty();
        lists.push_back(&valueRows.emplace(_db, _statements, typedRows ? field.typedRows : field.rows));
        if (typedRows) {
            valueRows->select(query.type, 3);
        } else if (typed) {
            lists.push_back(&typeIds.emplace(_db, _statements, typeRows));
            typeIds->select(query.type);
        }
        if (query.favoritesOnly) lists.push_back(&favoriteIds.emplace(_db, _statements, favoriteRows));
        if (query.playlistId) {
            lists.push_back(&playlistIds.emplace(_db, _statements, playlistRows));
            playlistIds->select(*query.playlistId);
        }
    }

    const ExcludedRows* excluded = lists.empty() ? nullptr : &excludedRows();
    std::int64_t seeks = kMeetingSeeks;
    std::vector<const SqlValue*> present;
    for (const SqlValue& value : candidates) {
        if (counted) {
            counted->reset();
            counted->bind(1, value);
            if (!query.type.empty()) counted->bind(2, query.type);
            if (!counted->step()) continue;
        }
        if (!lists.empty()) {
            valueRows->select(value);
            const Met met = meet(lists, *excluded, inFolder ? &*inFolder : nullptr, seeks);
            if (met == Met::OverBudget) return std::nullopt;
            if (met == Met::No) continue;
        }
        present.push_back(&value);
    }
    return writtenOrder(_db, present);
}

} // namespace qv
