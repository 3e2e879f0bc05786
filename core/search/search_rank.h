// Search text tokenisation, the FTS5 MATCH expression built from it, and the rank of a
// file name against a search text (lower is better).
//
// Rank bands: 0 the stem has exactly the query's tokens; then exact tokens as a phrase
// (100000), in order with gaps (200000), in any order (300000); the same three with
// prefix tokens (400000, 500000, 600000); kNoMatchRank otherwise. Each band adds a
// small count of extra or gap tokens. Pure functions, safe from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3_context;
struct sqlite3_value;

namespace qv {

inline constexpr int kNoMatchRank = 4000000;

// ASCII letters, digits and '#' (lower-cased) and every byte >= 0x80 (unchanged) build
// tokens; any other byte separates them.
std::vector<std::string> searchTokens(std::string_view text);

// Every token as a quoted prefix term, all required: "kick"* AND "808"*. Empty when
// the text has no token.
std::string ftsQuery(std::string_view text);

int filenameSearchRank(std::string_view filename, std::string_view query);

// How many tokens the file name's stem (the name without its last ".extension") has:
// the name tokens filenameSearchRank compares the query against.
int stemTokenCount(std::string_view filename);

// A bit for a token's first byte, lower-cased: one for each letter, four shared by the
// digits, one for '#' and one for every byte above ASCII. A name token that starts with a
// query token has its bit, so a name lacking the bit of any query token cannot rank.
std::uint32_t tokenInitialBit(std::string_view token);
// The bits of every token of the file name's stem.
std::uint32_t stemInitials(std::string_view filename);

// The SQL function "qv_filename_search_rank"(filename, query text).
void searchRankSql(sqlite3_context* context, int argc, sqlite3_value** argv);

} // namespace qv
