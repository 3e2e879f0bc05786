// The indexed plan's counts, and the facts its strategy is chosen by.
#include "search/indexed_plan.h"

#include "db/schema.h"
#include "search/full_text_match.h"
#include "search/plan_sql.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/sqlite_error.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace qv {

namespace {

// More full-row tests than this (about a random row read each) and the row test costs
// more than asking the full-text table for its matches.
constexpr std::int64_t kRowTests = 5000;

// Member rows sampled to estimate the row test's full-row tests.
constexpr std::size_t kSampledMembers = 256;

// The query less its text and the membership that membershipIds reads.
SearchQuery withoutTextAndMembers(const SearchQuery& query)
{
    SearchQuery rest = query;
    rest.text.clear();
    if (rest.playlistId) {
        rest.playlistId.reset();
    } else {
        rest.genre.clear();
        rest.genres.clear();
    }
    return rest;
}

// The hidden rows, from their own index.
const std::string& hiddenRows()
{
    static const std::string rows = std::string(" FROM samples INDEXED BY ") + schema::kHiddenIndex + " WHERE "
        + schema::kHiddenFile;
    return rows;
}

// The statements listing a query's full-text matches (its text alone) and its genre's or
// playlist's members; nothing without either.
struct TextAndMembers {
    SearchQuery textOnly;
    std::string text;
    std::vector<std::string> textParams;
    std::string members;
    std::vector<std::string> memberParams;
};

std::optional<TextAndMembers> textAndMembers(const SearchQuery& query)
{
    TextAndMembers both;
    both.textOnly.text = query.text;
    if (!membershipIds(query, both.members, both.memberParams)
        || !fullTextIds(both.textOnly, both.text, both.textParams)) {
        return std::nullopt;
    }
    return both;
}

} // namespace

StrategyFacts IndexedPlan::countFacts(const SearchQuery& query)
{
    StrategyFacts facts;
    facts.keysListed = storedKeys() != nullptr;
    std::string sql;
    std::vector<std::string> params;
    if (narrowsResults(query) && fullTextIds(query, sql, params)) {
        facts.fullTextMatches = fullTextCount(query);
        if (*facts.fullTextMatches > kAlwaysLookedUp) facts.excludedRows = excludedEstimate();
    }
    // Only when the row test gave up: listing a common word's matches costs more than
    // testing a narrow filter's rows (a "loop" of a genre at a tempo).
    if (!testsTextByRow(query)) {
        if (const auto* ids = intersected(query)) facts.intersected = ids->size();
    }
    return facts;
}

StrategyFacts IndexedPlan::facts(const SearchQuery& query)
{
    StrategyFacts facts = countFacts(query);
    facts.rowText = testsTextByRow(query);
    facts.matches = countLocked(query);
    facts.highestId = scalar(_db, "SELECT max(id) FROM samples");
    if (query.limit != 0 && namedAmongMembers(query)) {
        facts.memberRows = static_cast<std::int64_t>(members(query).size());
    }
    return facts;
}

std::int64_t IndexedPlan::countLocked(const SearchQuery& query)
{
    using Count = SearchStrategy::Count;
    PlanState& current = state();
    std::string listed;
    std::vector<std::string> listParams;
    if (narrowsResults(query) && fullTextIds(query, listed, listParams)) {
        // Kept under the full-text statement, so that a kept count needs no list.
        return current.remembered("listed " + cacheKey(listed, listParams), [&] {
            const auto& ids = fullTextMatches(query);
            if (chooseCount(query, countFacts(query)) == Count::Listed) {
                return static_cast<std::int64_t>(ids.size()) - excludedAmong(ids);
            }
            return scalar(_db, std::string("SELECT count(*) FROM samples s INDEXED BY ") + schema::kVisibleIdIndex
                              + " WHERE s.id IN " + sqlList(ids) + " AND " + schema::kVisibleSample
                              + qv::countScope(current.offline));
        });
    }
    switch (chooseCount(query, countFacts(query))) {
    case Count::Visible:
        // Every visible sample: the table's count less the hidden rows, which small
        // indexes count, instead of a pass over the visible ones.
        return current.remembered("visible samples", [&] {
            std::int64_t count =
                scalar(_db, "SELECT count(*) FROM samples") - scalar(_db, "SELECT count(*)" + hiddenRows());
            if (!current.offline.empty()) {
                // NOT IN gives NULL for a sample without a library, which hides it too.
                const std::string outside = "(library_id IN " + current.offline + " OR library_id IS NULL)";
                count -= scalar(_db, "SELECT count(*) FROM samples WHERE library_id IN " + current.offline)
                    + scalar(_db, "SELECT count(*) FROM samples WHERE library_id IS NULL")
                    - scalar(_db, "SELECT count(*)" + hiddenRows() + " AND " + outside);
            }
            return count;
        });
    case Count::Members: return membersCount(query);
    case Count::Folders: {
        // A library's root holds hundreds of thousands of rows, each read for its name and
        // library by a count statement; the folders below it are a few thousand rows that
        // the sample triggers keep counted. Rows without a library are not in that table:
        // they count only while no library is offline, as in the count statement.
        std::string sql = "SELECT (SELECT coalesce(sum(visible_samples),0) FROM " + std::string(schema::kFolderTable)
            + " WHERE library_id IN " + current.online + " AND folder>=?1||'/' AND folder<?1||'0')";
        if (current.offline.empty()) {
            sql += std::string("+(SELECT count(*) FROM samples WHERE library_id IS NULL AND ") + schema::kVisibleFile
                + " AND path>=?1||'/' AND path<?1||'0')";
        }
        return cachedCount(sql, {query.folder});
    }
    case Count::Intersected: {
        const Matches m = intersectedMatches(query, true);
        return cachedCount("SELECT count(*) FROM " + m.from + m.where, m.params);
    }
    default: break;
    }
    const Matches m = matchesOf(query, true, nullptr, testsTextByRow(query));
    return cachedCount("SELECT count(*) FROM " + m.from + m.where, m.params);
}

// Tried on the count first, with a budget of full-row tests: the count is kept if the
// test finishes, and the query's text is then tested row by row in every statement.
// Whether it finishes is remembered for the state of the file.
bool IndexedPlan::testsTextByRow(const SearchQuery& query)
{
    const std::vector<std::string>* keys = storedKeys();
    if (!_fullTextBudget || !rowTextCandidate(query, keys != nullptr)) return false;
    PlanState& current = state();
    const Matches m = matchesOf(query, true, nullptr, true);
    const std::string sql = "SELECT count(*) FROM " + m.from + m.where;
    const std::string key = cacheKey(sql, m.params);
    if (current.counts.contains(key)) return true;
    if (current.rowTextRefused.contains(key)) return false;
    if (rowTestsOverBudget(query)) {
        current.rowTextRefused.insert(key);
        return false;
    }

    struct Unlimited {
        FullTextRowBudget* budget;
        ~Unlimited() { budget->limit(-1); }
    } unlimited{_fullTextBudget};
    _fullTextBudget->limit(kRowTests);
    try {
        cachedCount(sql, m.params);
        return true;
    } catch (const SqliteError&) {
        if (!_fullTextBudget->exhausted()) throw;
    }
    current.rowTextRefused.insert(key);
    return false;
}

// Whether the row test of text with a genre or playlist would give up: the members'
// rows whose text the driving index's columns do not settle each cost a full-row test.
// Counted on evenly spaced members and scaled to all of them; past the budget, trying it
// costs as much as meeting the text's matches and the members in memory, for nothing
// (a common word absent from a genre's rows at a tempo).
bool IndexedPlan::rowTestsOverBudget(const SearchQuery& query)
{
    if (!textAndMembers(query)) return false;
    const auto& ids = members(query);
    if (static_cast<std::int64_t>(ids.size()) <= kRowTests) return false;
    std::vector<std::int64_t> sampled;
    sampled.reserve(kSampledMembers);
    for (std::size_t i = 0; i < kSampledMembers; ++i) sampled.push_back(ids[i * ids.size() / kSampledMembers]);

    const char* index = drivingIndex(query, storedKeys() != nullptr, true);
    std::string sql = std::string("SELECT count(*) FROM samples s NOT INDEXED WHERE s.id IN ") + sqlList(sampled)
        + " AND " + schema::kVisibleSample + qv::countScope(state().offline);
    std::vector<std::string> params;
    appendIndexedPredicate(withoutTextAndMembers(query), Membership::List, sql, params, storedKeys(), nullptr);
    sql += std::string(" AND NOT qv_full_text_match(?,0,") + rowColumnsOf(index) + ")";
    params.push_back(query.text);
    const std::int64_t unsettled = cachedCount(sql, params);
    return unsettled * static_cast<std::int64_t>(ids.size()) > kRowTests * static_cast<std::int64_t>(kSampledMembers);
}

// The ids of the full-text matches of a query whose text alone narrows it, sorted; the
// last text asked for is kept.
const std::vector<std::int64_t>& IndexedPlan::fullTextMatches(const SearchQuery& query)
{
    std::string sql;
    std::vector<std::string> params;
    fullTextIds(query, sql, params);
    return state().fullText.get(cacheKey(sql, params), [&] { return sortedIds(_db, sql, params); });
}

// How many full-text matches there are, kept like a count: a strategy is chosen by it
// where the list itself may not be read (a page found among the names alone).
std::size_t IndexedPlan::fullTextCount(const SearchQuery& query)
{
    std::string sql;
    std::vector<std::string> params;
    fullTextIds(query, sql, params);
    return static_cast<std::size_t>(state().remembered("matched " + cacheKey(sql, params), [&] {
        return static_cast<std::int64_t>(fullTextMatches(query).size());
    }));
}

// The count of a query that narrows by membership alone: its distinct members less
// those the count leaves out, without looking each member up.
std::int64_t IndexedPlan::membersCount(const SearchQuery& query)
{
    std::string sql;
    std::vector<std::string> params;
    memberIds(query, sql, params);
    return state().remembered("members " + cacheKey(sql, params), [&] {
        const auto& ids = members(query);
        return static_cast<std::int64_t>(ids.size()) - excludedAmong(ids);
    });
}

// The full-text matches of the query's text that are members of its playlist or genres,
// when there are at most kIntersected; null otherwise, or without text or membership.
// Two sorted lists met in memory: each is read from its own index without a row lookup,
// where testing either on the other's rows reads a row per candidate.
const std::vector<std::int64_t>* IndexedPlan::intersected(const SearchQuery& query)
{
    const std::optional<TextAndMembers> both = textAndMembers(query);
    if (!both) return nullptr;
    PlanState& current = state();
    std::string key = cacheKey(both->text, both->textParams) + '\0' + cacheKey(both->members, both->memberParams);
    if (current.intersectedKey != key) {
        const auto& matches = fullTextMatches(both->textOnly);
        const auto& belonging = this->members(query);
        std::vector<std::int64_t> ids;
        std::set_intersection(matches.begin(), matches.end(), belonging.begin(), belonging.end(),
                              std::back_inserter(ids));
        current.intersectedIds.reset();
        if (ids.size() <= kIntersected) current.intersectedIds = std::move(ids);
        current.intersectedKey = std::move(key);
    }
    return current.intersectedIds ? &*current.intersectedIds : nullptr;
}

// Each intersected id looked up by rowid and tested for the rest of the query: the text
// and the membership hold already.
Matches IndexedPlan::intersectedMatches(const SearchQuery& query, bool countScope)
{
    const PlanState& current = state();
    Matches m;
    m.from = "samples s NOT INDEXED";
    m.where = std::string(" WHERE s.id IN ") + sqlList(*intersected(query)) + " AND " + schema::kVisibleSample
        + (countScope ? qv::countScope(current.offline) : onlineScope(current.online));
    appendIndexedPredicate(withoutTextAndMembers(query), Membership::List, m.where, m.params, storedKeys(), nullptr);
    return m;
}

// The last membership asked for is kept: a page in name order reads it after its count.
const std::vector<std::int64_t>& IndexedPlan::members(const SearchQuery& query)
{
    std::string sql;
    std::vector<std::string> params;
    membershipIds(query, sql, params);
    return state().members.get(cacheKey(sql, params), [&] {
        // One genre's members come in id order from its index.
        std::vector<std::int64_t> ids = sortedIds(_db, sql, params);
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        return ids;
    });
}

} // namespace qv
