#include "search/indexed_plan.h"

#include "db/schema.h"
#include "search/full_text_match.h"
#include "search/name_order.h"
#include "search/plan_sql.h"
#include "search/sample_row.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"
#include "sql/statement_cache.h"
#include "sql/transaction.h"

#include <string_view>

namespace qv {

namespace {

// More distinct keys than this and a key filter keeps its written form.
constexpr std::size_t kListedKeys = 500;

std::string idList(Connection& db, const std::string& sql)
{
    return sqlList(readIds(db, sql, {}));
}

} // namespace

IndexedPlan::IndexedPlan(Connection& db, StatementCache& statements)
    : _db(db)
    , _statements(statements)
    , _fullTextBudget(registerFullTextMatch(db))
    , _nameOrder(std::make_unique<NameOrder>(db))
{
}

IndexedPlan::~IndexedPlan() = default;

void IndexedPlan::forget()
{
    _state = PlanState{};
}

void IndexedPlan::warmUp()
{
    ReadTransaction snapshot(_db);
    storedKeys();
    excludedRows();
    nameOrder();
}

const std::vector<std::string>& IndexedPlan::firstKeys()
{
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> all;
        for (const char c : std::string_view("abcdefghijklmnopqrstuvwxyz0123456789")) all.emplace_back(1, c);
        return all;
    }();
    return keys;
}

void IndexedPlan::warmUpCount(const SearchQuery& query)
{
    ReadTransaction snapshot(_db);
    countLocked(query);
}

PlanState& IndexedPlan::state()
{
    Statement version(_db, _statements, "PRAGMA data_version");
    if (!version.step()) _db.throwError();
    const std::int64_t dataVersion = version.columnInt64(0);
    const std::int64_t changes = _db.totalChanges();
    if (_state.dataVersion == dataVersion && _state.changes == changes) return _state;

    PlanState fresh;
    fresh.dataVersion = dataVersion;
    fresh.changes = changes;
    static const std::string offline = std::string("SELECT l.id FROM libraries l JOIN app_metadata m ON m.key='")
        + schema::kOfflineLibraryKey + "'||l.path WHERE m.value='1'";
    fresh.offline = idList(_db, offline);
    if (fresh.offline == "()") fresh.offline.clear();
    fresh.online = idList(_db, "SELECT id FROM libraries WHERE id NOT IN (" + offline + ") ORDER BY id");
    _state = std::move(fresh);
    return _state;
}

// Listed by skipping through the key index, one lookup per distinct value.
const std::vector<std::string>* IndexedPlan::storedKeys()
{
    PlanState& current = state();
    if (!current.keysRead) {
        current.keysRead = true;
        std::vector<std::string> keys;
        Statement first(_db, "SELECT min(musical_key) FROM samples");
        bool more = first.step() && !first.isNull(0);
        if (more) keys.push_back(first.columnText(0));
        while (more && keys.size() <= kListedKeys) {
            Statement next(_db, _statements, "SELECT min(musical_key) FROM samples WHERE musical_key>?");
            next.bind(1, keys.back());
            more = next.step() && !next.isNull(0);
            if (more) keys.push_back(next.columnText(0));
        }
        if (!more) current.keys = std::move(keys);
    }
    return current.keys ? &*current.keys : nullptr;
}

const NameOrder* IndexedPlan::nameOrder()
{
    PlanState& current = state();
    const std::int64_t changes = _db.totalChanges();
    const bool usable = _nameOrder->refresh(current.dataVersion);
    // Storing its copy changes no sample: what the state holds stays true.
    if (current.changes == changes) current.changes = _db.totalChanges();
    return usable ? _nameOrder.get() : nullptr;
}

std::int64_t IndexedPlan::cachedCount(const std::string& sql, const std::vector<std::string>& params)
{
    return state().remembered(cacheKey(sql, params), [&] {
        Statement st(_db, sql);
        bindTexts(st, params);
        if (!st.step()) _db.throwError();
        return st.columnInt64(0);
    });
}

Matches IndexedPlan::matchesOf(const SearchQuery& query, bool countScope, const char* walkIndex, bool rowText)
{
    const PlanState& current = state();
    return matches(query, countScope ? qv::countScope(current.offline) : onlineScope(current.online), walkIndex,
                   storedKeys(), rowText);
}

std::int64_t IndexedPlan::count(const SearchQuery& query)
{
    ReadTransaction snapshot(_db);
    return countLocked(query);
}

SearchStrategy IndexedPlan::strategy(const SearchQuery& query)
{
    ReadTransaction snapshot(_db);
    return chooseStrategy(query, facts(query));
}

std::vector<Sample> IndexedPlan::page(const SearchQuery& query)
{
    static const std::string byId = std::string("SELECT ") + kSampleColumns
        + " FROM samples s JOIN libraries l ON l.id=s.library_id WHERE s.id=?";
    ReadTransaction snapshot(_db);
    std::vector<Sample> rows;
    try {
        for (const std::int64_t id : pageIds(query)) {
            Statement st(_db, _statements, byId.c_str());
            st.bind(1, id);
            if (st.step()) rows.push_back(sampleFromRow(st));
        }
    } catch (const SqliteError&) {
        // A page returns what it could read.
    }
    return rows;
}

} // namespace qv
