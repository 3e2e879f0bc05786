#include "search/plan_sql.h"

#include "db/schema.h"
#include "search/search_rank.h"
#include "search/search_strategy.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/statement.h"

#include <algorithm>

namespace qv {

const char* rowColumnsOf(const char* index)
{
    const std::string name = index ? index : "";
    return name == schema::kVisibleBpmIndex || name == schema::kVisibleKeyIndex ? "s.filename,s.type" : "s.filename";
}

Matches matches(const SearchQuery& query, const std::string& scope, const char* walkIndex,
                const std::vector<std::string>* keys, bool rowText)
{
    Matches m;
    const char* index = walkIndex ? walkIndex : drivingIndex(query, keys != nullptr, rowText);
    const bool byId = index && std::string(index) == schema::kVisibleIdIndex;
    Membership membership = walkIndex ? Membership::Probe : Membership::List;
    if (!rowText && !walkIndex && byId && !searchTokens(query.text).empty()) {
        membership = Membership::Joined;
        m.from = "sample_search f CROSS JOIN ";
    } else if (!rowText && !walkIndex && byId && query.playlistId) {
        // Its rows in id order, each looked up once, without first listing them apart.
        membership = Membership::PlaylistJoined;
        m.from = "playlist_items pi CROSS JOIN ";
    }
    m.from += "samples s";
    if (index) m.from += std::string(" INDEXED BY ") + index;
    if (membership == Membership::Joined) m.from += " ON s.id=f.rowid";
    if (membership == Membership::PlaylistJoined) m.from += " ON s.id=pi.sample_id";
    m.where = std::string(" WHERE 1=1 AND ") + schema::kVisibleSample + scope;
    appendIndexedPredicate(query, membership, m.where, m.params, keys, rowText ? rowColumnsOf(index) : nullptr);
    return m;
}

std::string onlineScope(const std::string& online)
{
    return " AND +s.library_id IN " + online;
}

std::string countScope(const std::string& offline)
{
    return offline.empty() ? std::string() : " AND +s.library_id NOT IN " + offline;
}

std::string Window::sql() const
{
    return " LIMIT " + sqlNumber(limit) + " OFFSET " + sqlNumber(offset);
}

Window windowOf(const SearchQuery& query)
{
    return {std::max<std::int64_t>(query.offset, 0), query.limit < 0 ? -1 : query.limit};
}

std::string cacheKey(const std::string& sql, const std::vector<std::string>& params)
{
    std::string key = sql;
    for (const auto& param : params) key += '\0' + std::to_string(param.size()) + ':' + param;
    return key;
}

void bindTexts(Statement& st, const std::vector<std::string>& params, int first)
{
    for (std::size_t i = 0; i < params.size(); ++i) st.bind(first + static_cast<int>(i), params[i]);
}

std::vector<std::int64_t> readIds(Connection& db, const std::string& sql, const std::vector<std::string>& params)
{
    Statement st(db, sql);
    bindTexts(st, params);
    std::vector<std::int64_t> ids;
    while (st.step()) ids.push_back(st.columnInt64(0));
    return ids;
}

std::vector<std::int64_t> sortedIds(Connection& db, const std::string& sql, const std::vector<std::string>& params)
{
    std::vector<std::int64_t> ids = readIds(db, sql, params);
    if (!std::is_sorted(ids.begin(), ids.end())) std::sort(ids.begin(), ids.end());
    return ids;
}

std::int64_t scalar(Connection& db, const std::string& sql)
{
    Statement st(db, sql);
    if (!st.step()) db.throwError();
    return st.columnInt64(0);
}

} // namespace qv
