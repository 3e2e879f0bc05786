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
        {"Kick_808-C#.wav", {"kick", "808", "c#", "wav"}}, {"  Big   KICK  ", {"big", "kick"}}, {"", {}},
        {"_-. ,;()\"*", {}}, {"#", {"#"}}, {"a\tb\nc", {"a", "b", "c"}}, {"F#m/Bb", {"f#m", "bb"}},
        {"\xC3\xA9t\xC3\xA9", {"\xC3\xA9t\xC3\xA9"}},
        {"Caf\xC3\x89 Loop", {"caf\xC3\x89", "loop"}}, // accented letters stay as they are
        {"\xFF\xFE-x", {"\xFF\xFE", "x"}}, // invalid UTF-8 bytes are kept, not dropped
    };
    for (const auto& c : cases) EXPECT_EQ(qv::searchTokens(c.text), c.tokens) << c.text;
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
        {"Kick.wav", "kick", 0}, {"Kick 01.wav", "kick", 100001}, {"Big Kick 01.wav", "kick", 100002},
        {"Big Kick 01.wav", "big kick", 100001}, {"kick loud snare.wav", "kick snare", 200001},
        {"snare kick.wav", "kick snare", 300000}, {"snare x kick.wav", "kick snare", 300001},
        {"snare x y kick snare.wav", "kick snare", 100003},
        {"Kick_808.wav", "808 KICK", 300000}, // same tokens in another order are not "exactly"
        {"kick a b snare x kick snare.wav", "kick snare", 100005}, // a phrase anywhere beats gaps
        {"kick a b snare kick c snare.wav", "kick snare", 200001}, // least gaps over all starts
        {"snare x snare kick.wav", "kick snare", 300000}, // fewest extra tokens over all starts
        // prefix tokens
        {"Kick.wav", "kic", 400000}, {"Kick Drum.wav", "kic", 400001}, {"Kick Drum.wav", "kic dr", 400000},
        {"kicker loud snares.wav", "kick snare", 500001}, {"snares kicker.wav", "kick snare", 600000},
        // repeated query tokens need as many name tokens
        {"kick.wav", "kick kick", qv::kNoMatchRank}, {"kick kick.wav", "kick kick", 0},
        {"kick x kick.wav", "kick kick", 200001},
        // no match and unusable input
        {"Snare.wav", "kick", qv::kNoMatchRank}, {".wav", "wav", qv::kNoMatchRank},
        {"Kick.wav", "--", qv::kNoMatchRank}, {"", "kick", qv::kNoMatchRank},
        {"README", "readme", 0},                   // no dot: the whole name is the stem
        {"Kick.01.wav", "kick 01", 0},             // only the last extension goes
        {"Caf\xC3\xA9 Pad.wav", "caf\xC3\xA9", 100001},
        {"CAF\xC3\x89 Pad.wav", "caf\xC3\xA9", qv::kNoMatchRank}, // non-ASCII is not case-folded
        {"\xFF\xFE.wav", "\xFF", 400000},
        // Any order credits a name token to the alphabetically first query token it fits,
        // even one already satisfied, so "ab" starves; the earlier tiers do not credit.
        {"abc.wav", "ab a", qv::kNoMatchRank},
        {"ax abc.wav", "ab a", qv::kNoMatchRank},
        {"abc ax.wav", "ab a", 400000},
        {"ab x a.wav", "a ab", 300001},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qv::filenameSearchRank(c.filename, c.query), c.rank) << c.filename << " / " << c.query;
    }
}

} // namespace

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
