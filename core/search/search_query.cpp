#include "search/search_query.h"

#include "ascii.h"
#include "db/schema.h"
#include "inference/metadata_parser.h"
#include "search/search_rank.h"
#include "sql/sql_text.h"

#include <algorithm>

namespace qv {

namespace {

const char* direction(bool descending)
{
    return descending ? "DESC" : "ASC";
}

} // namespace

TempoWindow tempoWindow(std::int32_t target)
{
    return {std::max<std::int64_t>(target, 30) - 10, std::min<std::int64_t>(target, 290) + 10};
}

std::string tempoDistance(std::int32_t target)
{
    return "abs(s.bpm-" + sqlNumber(std::int64_t{target}) + ")";
}

std::optional<FilterColumn> filterColumn(const std::string& field)
{
    if (field == "instrument") return FilterColumn{"s.instrument", ""};
    if (field == "genre") return FilterColumn{"sg.genre", "JOIN sample_genres sg ON sg.sample_id=s.id "};
    if (field == "key") return FilterColumn{"s.musical_key", ""};
    return std::nullopt;
}

std::pair<std::string, std::string> keyFilterSpellings(const std::string& key)
{
    std::string compact;
    for (const char c : key) {
        if (!ascii::isSpace(c)) compact.push_back(ascii::lower(c));
    }
    if (const auto at = compact.find("major"); at != std::string::npos) compact.erase(at, 5);
    if (const auto at = compact.find("minor"); at != std::string::npos) compact.replace(at, 5, "m");
    if (compact.ends_with('m')) {
        const std::string root = compact.substr(0, compact.size() - 1);
        return {root + "m", root + "minor"};
    }
    return {compact, compact + "major"};
}

namespace {

const std::vector<std::string>& effectiveGenres(const SearchQuery& query, std::vector<std::string>& single)
{
    if (!query.genres.empty() || query.genre.empty()) return query.genres;
    single = {query.genre};
    return single;
}

// "sg.genre=? COLLATE NOCASE" for one genre, an IN list for several.
void appendGenreTest(const std::vector<std::string>& genres, std::string& sql, std::vector<std::string>& params)
{
    if (genres.size() == 1) {
        sql += "sg.genre=? COLLATE NOCASE";
    } else {
        // Not an OR of NOCASE comparisons: SQLite 3.40 rewrites that into an IN on the
        // case-sensitive primary key and misses every genre typed in another case.
        sql += "sg.genre COLLATE NOCASE IN (?";
        for (std::size_t i = 1; i < genres.size(); ++i) sql += ",?";
        sql += ")";
    }
    params.insert(params.end(), genres.begin(), genres.end());
}

// The clauses both predicates write alike, up to and including the key.
void appendColumnTests(const SearchQuery& query, std::string& sql, std::vector<std::string>& params,
                       bool joinedText = false, const std::vector<std::string>* storedKeys = nullptr,
                       bool rowText = false)
{
    if (query.excludeMidi) sql += " AND s.type<>'MIDI'";
    if (std::string match = ftsQuery(query.text); !match.empty() && !rowText) {
        sql += joinedText ? " AND f.sample_search MATCH ?"
                          : " AND s.id IN(SELECT rowid FROM sample_search WHERE sample_search MATCH ?)";
        params.push_back(std::move(match));
    }
    if (!query.type.empty()) {
        sql += " AND s.type=?";
        params.push_back(query.type);
    }
    if (!query.instrument.empty()) {
        sql += " AND s.instrument=? COLLATE NOCASE";
        params.push_back(normalizedInstrument(query.instrument));
    }
    if (query.bpm) {
        const TempoWindow window = tempoWindow(*query.bpm);
        sql += " AND s.bpm BETWEEN " + sqlNumber(window.low) + " AND " + sqlNumber(window.high);
    }
    if (!query.key.empty() && storedKeys) {
        // SQLite's lower() folds ASCII letters only, as this does.
        const auto [first, second] = keyFilterSpellings(query.key);
        sql += " AND s.musical_key IN (";
        bool any = false;
        for (const auto& stored : *storedKeys) {
            std::string folded = ascii::lowered(stored);
            std::erase(folded, ' ');
            if (folded != first && folded != second) continue;
            sql += any ? ",?" : "?";
            any = true;
            params.push_back(stored);
        }
        // NULL matches nothing, as an empty list would, but lets a partial index drive.
        sql += any ? ")" : "NULL)";
    } else if (!query.key.empty()) {
        auto [first, second] = keyFilterSpellings(query.key);
        sql += " AND replace(lower(s.musical_key),' ','') IN (?,?)";
        params.push_back(std::move(first));
        params.push_back(std::move(second));
    }
}

} // namespace

bool fullTextIds(const SearchQuery& query, std::string& sql, std::vector<std::string>& params)
{
    std::vector<std::string> single;
    const std::string fts = ftsQuery(query.text);
    if (fts.empty() || !effectiveGenres(query, single).empty() || query.playlistId || hasColumnFilters(query)
        || !query.folder.empty()) {
        return false;
    }
    sql = "SELECT rowid FROM sample_search WHERE sample_search MATCH ?";
    params.push_back(fts);
    return true;
}

bool membershipIds(const SearchQuery& query, std::string& sql, std::vector<std::string>& params)
{
    std::vector<std::string> single;
    const auto& genres = effectiveGenres(query, single);
    if (query.playlistId) {
        sql = "SELECT pi.sample_id FROM playlist_items pi WHERE pi.playlist_id=" + sqlNumber(*query.playlistId)
            + " AND pi.sample_id IS NOT NULL";
        return true;
    }
    if (genres.empty()) return false;
    sql = "SELECT sg.sample_id FROM sample_genres sg WHERE ";
    appendGenreTest(genres, sql, params);
    sql += " AND sg.sample_id IS NOT NULL";
    return true;
}

bool memberIds(const SearchQuery& query, std::string& sql, std::vector<std::string>& params)
{
    std::vector<std::string> single;
    const auto& genres = effectiveGenres(query, single);
    if (!searchTokens(query.text).empty() || hasColumnFilters(query) || !query.folder.empty()
        || genres.empty() == !query.playlistId) {
        return false;
    }
    return membershipIds(query, sql, params);
}

bool hasColumnFilters(const SearchQuery& query)
{
    return query.excludeMidi || !query.type.empty() || !query.instrument.empty() || query.bpm || !query.key.empty()
        || query.favoritesOnly;
}

bool narrowsResults(const SearchQuery& query)
{
    return query.excludeMidi || !searchTokens(query.text).empty() || !query.type.empty() || !query.instrument.empty()
        || query.bpm || !query.key.empty() || !query.genres.empty() || !query.genre.empty() || !query.folder.empty()
        || query.playlistId || query.favoritesOnly;
}

void appendIndexedPredicate(const SearchQuery& query, Membership membership, std::string& sql,
                            std::vector<std::string>& params, const std::vector<std::string>* storedKeys,
                            const char* rowColumns)
{
    appendColumnTests(query, sql, params, membership == Membership::Joined, storedKeys, rowColumns != nullptr);
    std::vector<std::string> single;
    if (const auto& genres = effectiveGenres(query, single); !genres.empty()) {
        if (membership != Membership::Probe) {
            sql += " AND s.id IN(SELECT sg.sample_id FROM sample_genres sg WHERE ";
            appendGenreTest(genres, sql, params);
            sql += ")";
        } else {
            sql += " AND EXISTS(SELECT 1 FROM sample_genres sg WHERE sg.sample_id=s.id AND (";
            appendGenreTest(genres, sql, params);
            sql += "))";
        }
    }
    if (!query.folder.empty()) {
        // Every path that starts with folder + "/" sorts between it and folder + "0",
        // '0' being the byte after '/'; nothing else does.
        sql += " AND s.path>=?||'/' AND s.path<?||'0'";
        params.push_back(query.folder);
        params.push_back(query.folder);
    }
    if (query.playlistId) {
        const std::string id = sqlNumber(*query.playlistId);
        if (membership == Membership::PlaylistJoined) {
            sql += " AND pi.playlist_id=" + id;
        } else if (membership != Membership::Probe) {
            sql += " AND s.id IN(SELECT pi.sample_id FROM playlist_items pi WHERE pi.playlist_id=" + id + ")";
        } else {
            sql += " AND EXISTS(SELECT 1 FROM playlist_items pi WHERE pi.sample_id=s.id AND pi.playlist_id=" + id + ")";
        }
    }
    if (query.favoritesOnly) sql += " AND s.favorite=1";
    if (rowColumns && !searchTokens(query.text).empty()) {
        // A match on the columns at hand spares reading the row for the others.
        sql += std::string(" AND (qv_full_text_match(?,0,") + rowColumns
            + ") OR qv_full_text_match(?,1,s.filename,s.path,s.type,s.genre,s.instrument,s.musical_key))";
        params.push_back(query.text);
        params.push_back(query.text);
    }
}

void appendPredicate(const SearchQuery& query, std::string& sql, std::vector<std::string>& params)
{
    static const std::string visible = std::string(" AND ") + schema::kVisibleSample
        + " AND s.library_id NOT IN (SELECT l.id FROM libraries l JOIN app_metadata m ON m.key='"
        + schema::kOfflineLibraryKey + "'||l.path WHERE m.value='1')";
    sql += visible;
    appendColumnTests(query, sql, params);
    std::vector<std::string> single;
    if (const auto& genres = effectiveGenres(query, single); !genres.empty()) {
        sql += " AND EXISTS(SELECT 1 FROM sample_genres sg WHERE sg.sample_id=s.id AND (";
        appendGenreTest(genres, sql, params);
        sql += "))";
    }
    if (!query.folder.empty()) {
        sql += " AND substr(s.path,1,length(?)+1)=?||'/'";
        params.push_back(query.folder);
        params.push_back(query.folder);
    }
    if (query.playlistId) {
        sql += " AND EXISTS(SELECT 1 FROM playlist_items pi WHERE pi.sample_id=s.id AND pi.playlist_id="
            + sqlNumber(*query.playlistId) + ")";
    }
    if (query.favoritesOnly) sql += " AND s.favorite=1";
}

std::string searchOrder(const SearchQuery& query, std::vector<std::string>& params)
{
    if (query.sortByFilename) {
        const char* d = direction(query.filenameDescending);
        return std::string("s.filename COLLATE NOCASE ") + d + ", s.id " + d;
    }
    if (query.sortByDuration) {
        return std::string("CASE WHEN s.duration IS NULL THEN 1 ELSE 0 END, s.duration ")
            + direction(query.durationDescending) + ", s.filename COLLATE NOCASE, s.id";
    }
    if (query.sortByBpm) {
        return std::string("CASE WHEN s.bpm IS NULL THEN 1 ELSE 0 END, s.bpm ") + direction(query.bpmDescending)
            + ", s.filename COLLATE NOCASE, s.id";
    }
    if (query.bpm) return tempoDistance(*query.bpm) + ", s.filename COLLATE NOCASE, s.id";
    if (!ftsQuery(query.text).empty()) {
        params.push_back(query.text);
        return "qv_filename_search_rank(s.filename, ?), s.filename COLLATE NOCASE, s.id";
    }
    return "s.filename COLLATE NOCASE, s.id";
}

} // namespace qv
