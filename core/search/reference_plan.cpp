#include "search/reference_plan.h"

#include "search/plan_sql.h"
#include "search/sample_row.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"

namespace qv::reference {

std::vector<Sample> page(Connection& db, const SearchQuery& query)
{
    std::string sql = std::string("SELECT ") + kSampleColumns
        + " FROM samples s JOIN libraries l ON l.id=s.library_id WHERE 1=1";
    std::vector<std::string> params;
    appendPredicate(query, sql, params);
    const std::string order = searchOrder(query, params);
    sql += " ORDER BY " + order + " LIMIT " + sqlNumber(std::int64_t{query.limit}) + " OFFSET "
        + sqlNumber(std::int64_t{query.offset});

    Statement st(db, sql);
    bindTexts(st, params);
    std::vector<Sample> rows;
    try {
        while (st.step()) rows.push_back(sampleFromRow(st));
    } catch (const SqliteError&) {
        // A page returns what it could read.
    }
    return rows;
}

std::int64_t count(Connection& db, const SearchQuery& query)
{
    std::string sql = "SELECT count(*) FROM samples s WHERE 1=1";
    std::vector<std::string> params;
    appendPredicate(query, sql, params);
    Statement st(db, sql);
    bindTexts(st, params);
    if (!st.step()) db.throwError();
    return st.columnInt64(0);
}

std::optional<std::int64_t> position(Connection& db, const SearchQuery& query, std::int64_t sampleId)
{
    std::vector<std::string> orderParams;
    const std::string order = searchOrder(query, orderParams);
    std::string sql = "SELECT position FROM (SELECT s.id,row_number() OVER (ORDER BY " + order
        + ")-1 AS position FROM samples s JOIN libraries l ON l.id=s.library_id WHERE 1=1";
    std::vector<std::string> predicateParams;
    appendPredicate(query, sql, predicateParams);
    sql += ") WHERE id=?";

    Statement st(db, sql);
    bindTexts(st, orderParams);
    bindTexts(st, predicateParams, static_cast<int>(orderParams.size()) + 1);
    st.bind(static_cast<int>(orderParams.size() + predicateParams.size()) + 1, sampleId);
    if (!st.step()) return std::nullopt;
    return st.columnInt64(0);
}

std::vector<std::string> filterValues(Connection& db, const FilterColumn& column, const SearchQuery& query)
{
    const std::string x = column.column;
    std::string sql = "SELECT DISTINCT " + x + " FROM samples s " + column.join + "WHERE " + x
        + " IS NOT NULL AND trim(" + x + ")<>''";
    std::vector<std::string> params;
    appendPredicate(query, sql, params);
    sql += " ORDER BY " + x + " COLLATE NOCASE";

    Statement st(db, sql);
    bindTexts(st, params);
    std::vector<std::string> values;
    try {
        while (st.step()) values.push_back(st.columnText(0));
    } catch (const SqliteError&) {
        // A failing step ends the list with what was read.
    }
    return values;
}

} // namespace qv::reference
