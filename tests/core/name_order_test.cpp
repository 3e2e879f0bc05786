// The name order kept up to date through its own connection's writes must be the
// order a fresh read of the index gives, whether the writes were ranked where used or
// folded in: inserts among equal names, renames across the order and into or out of
// hiding, deletes, and long runs of new rows that follow one another.
#include "search/name_order.h"
#include "support/index_test.h"

#include "sql/connection.h"
#include "sql/statement.h"

#include <random>

namespace {

namespace fs = std::filesystem;

std::int64_t dataVersion(qv::Connection& db)
{
    qv::Statement st(db, "PRAGMA data_version");
    st.step();
    return st.columnInt64(0);
}

std::int64_t highestId(qv::Connection& db)
{
    qv::Statement st(db, "SELECT coalesce(max(id),0) FROM samples");
    st.step();
    return st.columnInt64(0);
}

class NameOrderTest : public ::testing::Test {
protected:
    qv::testkit::TempDir _dir;
    fs::path _file = _dir / "index.db";
    std::int64_t _library = qv::Database(_file).addLibrary(_dir / "lib");
    qv::Connection _writer{_file};
    std::mt19937_64 _random{7};

    // Few words in several cases, so that many names are equal but for case or id.
    std::string name()
    {
        static const std::vector<std::string> words = {"Kick", "kick", "KICK", "Bass", "b", "Snare 01", "snare 1",
                                                       "Zz", "808", "a_b", "A-B", ""};
        std::string text = _random() % 17 == 0 ? "._" : "";
        text += words[_random() % words.size()];
        if (_random() % 2) text += " " + words[_random() % words.size()];
        return text + (_random() % 3 ? ".wav" : "");
    }

    void insert(const std::string& filename)
    {
        qv::Statement st(_writer, "INSERT INTO samples(path,filename,library_id,type,file_size,modified_at) "
                                  "VALUES(?,?,?,'One Shot',1,1)");
        st.bind(1, "/lib/" + std::to_string(_random()) + "/" + filename);
        st.bind(2, filename);
        st.bind(3, _library);
        st.stepDone();
    }

    void rename(std::int64_t id, const std::string& filename)
    {
        qv::Statement st(_writer, "UPDATE samples SET filename=? WHERE id=?");
        st.bind(1, filename);
        st.bind(2, id);
        st.stepDone();
    }

    std::int64_t someId() { return std::uniform_int_distribution<std::int64_t>(1, highestId(_writer))(_random); }

    // Every id's place and count as a new connection reads them from the index.
    void expectAsFreshRead(const qv::NameOrder& order)
    {
        qv::Connection reader(_file);
        qv::NameOrder fresh(reader);
        ASSERT_TRUE(fresh.refresh(dataVersion(reader)));
        const std::int64_t highest = highestId(reader) + 2;
        for (std::int64_t id = 0; id <= highest; ++id) {
            ASSERT_FALSE(order.touched(id)) << "id " << id;
            ASSERT_EQ(order.place(id), fresh.place(id)) << "id " << id;
            if (fresh.place(id) != qv::NameOrder::kAbsent) {
                ASSERT_EQ(order.words(id), fresh.words(id)) << "id " << id;
            }
        }
    }
};

TEST_F(NameOrderTest, WritesFoldedInLeaveTheOrderAFreshReadGives)
{
    _writer.exec("BEGIN");
    for (int i = 0; i < 3000; ++i) insert(name());
    _writer.exec("COMMIT");
    qv::NameOrder order(_writer);
    ASSERT_TRUE(order.refresh(dataVersion(_writer)));
    ASSERT_EQ(order.reads(), 1);

    for (int round = 0; round < 6; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        _writer.exec("BEGIN");
        for (int i = 0; i < 300 + 200 * round; ++i) {
            switch (_random() % 4) {
            case 0: insert(name()); break;
            case 1: rename(someId(), name()); break;
            case 2: _writer.exec("DELETE FROM samples WHERE id=" + std::to_string(someId())); break;
            default: rename(someId(), "._" + name()); break; // hidden, or hidden twice
            }
        }
        // A run of new rows next to one another, one between them and an old row, and
        // rows before every other and after every other.
        for (int i = 0; i < 40; ++i) insert("Kick " + std::to_string(1000 + i) + ".wav");
        insert("kick 1000.wav");
        insert("");
        insert("\x7f~~ last");
        // The highest id removed, so that a later insert takes an id written before.
        _writer.exec("DELETE FROM samples WHERE id=(SELECT max(id) FROM samples)");
        _writer.exec("COMMIT");
        ASSERT_TRUE(order.refresh(dataVersion(_writer)));
        ASSERT_NO_FATAL_FAILURE(expectAsFreshRead(order));
    }
    EXPECT_EQ(order.reads(), 1) << "every round folded in, none read again";

    // Everything deleted: nothing has a place.
    _writer.exec("DELETE FROM samples");
    ASSERT_TRUE(order.refresh(dataVersion(_writer)));
    ASSERT_NO_FATAL_FAILURE(expectAsFreshRead(order));
}

} // namespace
