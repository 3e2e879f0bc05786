// Search, count, position and filter value lists with the SQL as first written: one
// statement each over the shared predicate and order. Kept as the reference that the
// indexed plan must agree with row for row.
#include "db/database.h"
#include "search/search_internal.h"

#include "sql/statement.h"

#include <sqlite3.h>

namespace qv {

void bindTexts(Statement& st, const std::vector<std::string>& params, int first)
{
    for (std::size_t i = 0; i < params.size(); ++i) st.bind(first + static_cast<int>(i), params[i]);
}

Sample sampleFromSearchRow(const Statement& st)
{
    Sample sample;
    sample.id = st.columnInt64(0);
    sample.path = st.columnText(1);
    sample.filename = st.columnText(2);
    sample.type = sampleTypeFromString(st.columnText(3));
    sample.genre = st.columnText(4);
    sample.instrument = st.columnText(5);
    if (!st.isNull(6)) sample.bpm = static_cast<std::int32_t>(st.columnInt64(6));
    sample.musicalKey = st.columnText(7);
    if (!st.isNull(8)) sample.duration = st.columnDouble(8);
    sample.fileSize = st.columnInt64(9);
    sample.modifiedAt = st.columnInt64(10);
    sample.favorite = st.columnInt64(11) != 0;
    sample.libraryName = std::filesystem::path(st.columnText(12)).filename().string();
    return sample;
}

std::vector<Sample> Database::referenceSearch(const SearchQuery& query) const
{
    std::string sql = "SELECT s.id,s.path,s.filename,s.type,s.genre,s.instrument,s.bpm,s.musical_key,s.duration,"
                      "s.file_size,s.modified_at,s.favorite,l.path FROM samples s JOIN libraries l ON "
                      "l.id=s.library_id WHERE 1=1";
    std::vector<std::string> params;
    appendPredicate(query, sql, params);
    const std::string order = searchOrder(query, params);
    sql += " ORDER BY " + order + " LIMIT " + std::to_string(query.limit) + " OFFSET " + std::to_string(query.offset);

    std::vector<Sample> rows;
    try {
        Statement st(_db.get(), sql);
        bindTexts(st, params);
        while (st.step()) rows.push_back(sampleFromSearchRow(st));
    } catch (const std::runtime_error&) {
        // A page returns what it could read.
    }
    return rows;
}

std::int64_t Database::referenceCountMatching(const SearchQuery& query) const
{
    std::string sql = "SELECT count(*) FROM samples s WHERE 1=1";
    std::vector<std::string> params;
    appendPredicate(query, sql, params);
    Statement st(_db.get(), sql);
    bindTexts(st, params);
    if (!st.step()) throwSqliteError(_db.get());
    return st.columnInt64(0);
}

std::optional<std::int64_t> Database::referenceMatchingIndex(const SearchQuery& query, std::int64_t sampleId) const
{
    std::vector<std::string> orderParams;
    const std::string order = searchOrder(query, orderParams);
    std::string sql = "SELECT position FROM (SELECT s.id,row_number() OVER (ORDER BY " + order
        + ")-1 AS position FROM samples s JOIN libraries l ON l.id=s.library_id WHERE 1=1";
    std::vector<std::string> predicateParams;
    appendPredicate(query, sql, predicateParams);
    sql += ") WHERE id=?";

    Statement st(_db.get(), sql);
    bindTexts(st, orderParams);
    bindTexts(st, predicateParams, static_cast<int>(orderParams.size()) + 1);
    st.bind(static_cast<int>(orderParams.size() + predicateParams.size()) + 1, sampleId);
    if (!st.step()) return std::nullopt;
    return st.columnInt64(0);
}

std::vector<std::string> Database::referenceFilterValues(const char* column, const char* join, const SearchQuery& query) const
{
    const std::string x = column;
    std::string sql = "SELECT DISTINCT " + x + " FROM samples s " + join + "WHERE " + x + " IS NOT NULL AND trim(" + x
        + ")<>''";
    std::vector<std::string> params;
    appendPredicate(query, sql, params);
    sql += " ORDER BY " + x + " COLLATE NOCASE";

    Statement st(_db.get(), sql);
    bindTexts(st, params);
    std::vector<std::string> values;
    try {
        while (st.step()) values.push_back(st.columnText(0));
    } catch (const std::runtime_error&) {
        // A failing step ends the list with what was read.
    }
    return values;
}

} // namespace qv
