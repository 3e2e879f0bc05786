#include "search/full_text_match.h"
#include "search/search_rank.h"
#include "sql/connection.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

namespace {

using Tokens = std::vector<std::string>;

TEST(SearchTokens, SplitOnPunctuationLowerCaseAsciiAndKeepUtf8Bytes)
{
    struct Case {
        std::string text;
        Tokens tokens;
    };
    const std::vector<Case> cases = {
        {"Kick_808-C#.wav", {"kick", "808", "c#", "wav"}},
        {"  Big   KICK  ", {"big", "kick"}},
        {"", {}},
        {"_-. ,;()\"*", {}},
        {"#", {"#"}},
        {"Caf\xC3\x89 Loop", {"caf\xC3\x89", "loop"}}, // accented letters stay as they are
        {"\xC3\xA9t\xC3\xA9", {"\xC3\xA9t\xC3\xA9"}},
        {"\xFF\xFE-x", {"\xFF\xFE", "x"}}, // invalid UTF-8 bytes are kept, not dropped
        {"a\tb\nc", {"a", "b", "c"}},
        {"F#m/Bb", {"f#m", "bb"}},
    };
    for (const auto& c : cases) EXPECT_EQ(qv::searchTokens(c.text), c.tokens) << c.text;
}

// The count a ranked page groups names by must be the token count the rank sees.
TEST(StemTokenCount, IsTheTokenCountOfTheNameWithoutItsExtension)
{
    for (const std::string name : {"Kick_808-C#.wav", "Kick.wav", ".wav", "a.b.c", "no extension", "Kick.", "..",
                                   "##.aif", "Caf\xC3\x89 \xE2\x80\x94 Loop.wav", "\xFF.\xFE x", "", "_-_.wav"}) {
        const auto dot = name.rfind('.');
        const auto expected = qv::searchTokens(dot == std::string::npos ? name : name.substr(0, dot)).size();
        EXPECT_EQ(qv::stemTokenCount(name), static_cast<int>(expected)) << name;
    }
}

TEST(FtsQuery, EveryTokenIsAQuotedRequiredPrefix)
{
    EXPECT_EQ(qv::ftsQuery("Kick 808"), "\"kick\"* AND \"808\"*");
    EXPECT_EQ(qv::ftsQuery("hat"), "\"hat\"*");
    EXPECT_EQ(qv::ftsQuery(" \"(*)\" "), "");
    EXPECT_EQ(qv::ftsQuery("path:kick NEAR"), "\"path\"* AND \"kick\"* AND \"near\"*");
}

// Hostile text must never become FTS5 syntax: every expression parses and runs.
TEST(FtsQuery, HostileTextAlwaysRunsAsAMatch)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "CREATE VIRTUAL TABLE t USING fts5(filename,path);"
                           "INSERT INTO t VALUES('Kick 808.wav','/x/Drums/Kick 808.wav');"
                           "INSERT INTO t VALUES('Snare NEAR.wav','/x/AND/OR.wav');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    const std::vector<std::string> hostile = {
        "\"", "\"\"\"", "*", "kick*", "(kick", "kick)", "NEAR(kick snare)", "AND", "OR NOT", "path:kick",
        "filename : snare", "^kick", "kick + snare", "-kick", "#", "\xFF\xFE\xFD", std::string(10000, 'k'),
        std::string("a\0b", 3), "{filename path}: kick", "kick NOT snare",
    };
    for (const auto& text : hostile) {
        const std::string expression = qv::ftsQuery(text);
        if (expression.empty()) continue;
        sqlite3_stmt* st = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT count(*) FROM t WHERE t MATCH ?", -1, &st, nullptr), SQLITE_OK);
        sqlite3_bind_text(st, 1, expression.c_str(), -1, SQLITE_TRANSIENT);
        EXPECT_EQ(sqlite3_step(st), SQLITE_ROW) << text << " -> " << expression << ": " << sqlite3_errmsg(db);
        sqlite3_finalize(st);
    }
    sqlite3_close(db);
}

TEST(FilenameSearchRank, Bands)
{
    struct Case {
        const char* filename;
        const char* query;
        int rank;
    };
    const std::vector<Case> cases = {
        // exact tokens
        {"Kick.wav", "kick", 0},
        {"Kick_808.wav", "808 KICK", 300000}, // same tokens in another order are not "exactly"
        {"Kick 01.wav", "kick", 100001},
        {"Big Kick 01.wav", "kick", 100002},
        {"Big Kick 01.wav", "big kick", 100001},
        {"kick loud snare.wav", "kick snare", 200001},
        {"kick a b snare x kick snare.wav", "kick snare", 100005}, // a phrase anywhere beats gaps
        {"kick a b snare kick c snare.wav", "kick snare", 200001}, // least gaps over all starts
        {"snare kick.wav", "kick snare", 300000},
        {"snare x kick.wav", "kick snare", 300001},
        {"snare x y kick snare.wav", "kick snare", 100003},
        // prefix tokens
        {"Kick.wav", "kic", 400000},
        {"Kick Drum.wav", "kic", 400001},
        {"Kick Drum.wav", "kic dr", 400000},
        {"kicker loud snares.wav", "kick snare", 500001},
        {"snares kicker.wav", "kick snare", 600000},
        // repeated query tokens need as many name tokens
        {"kick.wav", "kick kick", qv::kNoMatchRank},
        {"kick kick.wav", "kick kick", 0},
        {"kick x kick.wav", "kick kick", 200001},
        // no match and unusable input
        {"Snare.wav", "kick", qv::kNoMatchRank},
        {".wav", "wav", qv::kNoMatchRank},
        {"Kick.wav", "--", qv::kNoMatchRank},
        {"", "kick", qv::kNoMatchRank},
        {"README", "readme", 0},                   // no dot: the whole name is the stem
        {"Kick.01.wav", "kick 01", 0},             // only the last extension goes
        {"Caf\xC3\xA9 Pad.wav", "caf\xC3\xA9", 100001},
        {"CAF\xC3\x89 Pad.wav", "caf\xC3\xA9", qv::kNoMatchRank}, // non-ASCII is not case-folded
        {"\xFF\xFE.wav", "\xFF", 400000},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qv::filenameSearchRank(c.filename, c.query), c.rank) << c.filename << " / " << c.query;
    }
}

// A name token is credited to the alphabetically first query token it fits, even when
// that token is satisfied already, so "ab" can starve.
TEST(FilenameSearchRank, AnyOrderCreditsTheFirstFittingQueryTokenAlphabetically)
{
    // Every token fitting "ab" fits "a" too and is credited there, so "ab" starves.
    EXPECT_EQ(qv::filenameSearchRank("abc.wav", "ab a"), qv::kNoMatchRank);
    EXPECT_EQ(qv::filenameSearchRank("ax abc.wav", "ab a"), qv::kNoMatchRank);
    // The earlier tiers do not credit, so the same tokens in query order still match.
    EXPECT_EQ(qv::filenameSearchRank("abc ax.wav", "ab a"), 400000);
    // Exact mode credits by equality, so order does not matter there.
    EXPECT_EQ(qv::filenameSearchRank("ab x a.wav", "a ab"), 300001);
}

TEST(FilenameSearchRank, SqlFunctionTreatsNullAsNoMatch)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_create_function_v2(db, "r", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                         &qv::searchRankSql, nullptr, nullptr, nullptr),
              SQLITE_OK);
    auto rank = [&](const char* sql) {
        sqlite3_stmt* st = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &st, nullptr), SQLITE_OK);
        EXPECT_EQ(sqlite3_step(st), SQLITE_ROW);
        const int value = sqlite3_column_int(st, 0);
        sqlite3_finalize(st);
        return value;
    };
    EXPECT_EQ(rank("SELECT r('Big Kick 01.wav','kick')"), 100002);
    EXPECT_EQ(rank("SELECT r(NULL,'kick')"), qv::kNoMatchRank);
    EXPECT_EQ(rank("SELECT r('Kick.wav',NULL)"), qv::kNoMatchRank);
    EXPECT_EQ(rank("SELECT r(808,'808')"), 0); // numbers are read as their text
    sqlite3_close(db);
}

} // namespace

// Query tokens are kept between calls with the same text; a different text, or one that
// only shares a prefix with the last, must not reuse them.
TEST(FilenameSearchRank, AlternatingQueriesEachGetTheirOwnTokens)
{
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(qv::filenameSearchRank("Kick 01.wav", "kick"), 100000 + 1);
        EXPECT_EQ(qv::filenameSearchRank("Kick 01.wav", "kick 0"), 400000);
        EXPECT_EQ(qv::filenameSearchRank("snare kick.wav", "kick snare"), 300000);
        EXPECT_EQ(qv::filenameSearchRank("snare kick.wav", "kick snare kick"), qv::kNoMatchRank);
        EXPECT_EQ(qv::filenameSearchRank("Kick.wav", ""), qv::kNoMatchRank);
        EXPECT_EQ(qv::filenameSearchRank("Kick.wav", "KICK"), 0);
    }
}

// The row test must say exactly what the full-text table says, for every pair of a row
// and a text: case and accent folding, separators, phrases that span tokens ("c#" is
// "c", "kick-loop" in one token's place), a phrase with no token at all, matches split
// across columns, and NULL columns.
TEST(FullTextMatch, AgreesWithTheFullTextTableOnEveryRowAndText)
{
    qv::Connection db(":memory:");
    ASSERT_NE(qv::registerFullTextMatch(db), nullptr);
    db.exec("CREATE VIRTUAL TABLE t USING fts5(a,b,c);"
            "INSERT INTO t(rowid,a,b,c) VALUES"
            "(1,'Kick 808 Hard.wav','/Drums/Kicks','One Shot'),"
            "(2,'Kïck_Loop-C#.WAV','/Ünïcødé Pack','Loop'),"
            "(3,'snare.wav',NULL,'Kick'),"
            "(4,'a b','c',NULL),"
            "(5,'Loop 120bpm Am.aiff','/Packs/Trap Loops','Loop'),"
            "(6,'#.wav','kickloop','')");
    const std::vector<std::string> texts = {"kick", "KICK 808", "kick loop", "kïck", "kick-loop", "c#", "#",
                                            "ünï", "unicode", "a b", "b c", "loop am", "120", "1", "shot one",
                                            "drums kicks hard", "x", "loop trap 120bpm", "k", "\xc3"};
    for (const auto& text : texts) {
        SCOPED_TRACE(text);
        qv::Statement st(db, "SELECT rowid, qv_full_text_match(?1,1,a,b,c), rowid IN (SELECT rowid FROM t "
                             "WHERE t MATCH ?2) FROM t ORDER BY rowid");
        st.bind(1, text);
        st.bind(2, qv::ftsQuery(text));
        while (st.step()) EXPECT_EQ(st.columnInt64(1), st.columnInt64(2)) << "row " << st.columnInt64(0);
    }
}

// Counted calls stop with an error once the budget is spent; uncounted ones never do.
TEST(FullTextMatch, CountedCallsFailOnceTheBudgetIsSpent)
{
    qv::Connection db(":memory:");
    qv::FullTextRowBudget* budget = qv::registerFullTextMatch(db);
    ASSERT_NE(budget, nullptr);
    const auto run = [&](const char* counted) {
        db.exec(std::string("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<3) "
                            "SELECT count(*) FROM n WHERE qv_full_text_match('x',")
                + counted + ",i)");
    };
    budget->limit(3);
    EXPECT_NO_THROW(run("1"));
    EXPECT_FALSE(budget->exhausted());
    EXPECT_NO_THROW(run("0"));
    EXPECT_THROW(run("1"), qv::SqliteError);
    EXPECT_TRUE(budget->exhausted());
    budget->limit(-1);
    EXPECT_NO_THROW(run("1"));
}
