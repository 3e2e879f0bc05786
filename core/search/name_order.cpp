#include "search/name_order.h"

#include "db/schema.h"
#include "search/search_rank.h"
#include "sql/connection.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"

#include <algorithm>
#include <string_view>

namespace qv {

namespace {

// Past this many written rows reading them one by one costs more than reading all.
constexpr std::size_t kMaxTouched = 16384;

// Of the stored copy: each id's place as four bytes, least significant first, and its
// count as one. Bumped when either changes meaning (the token count's rule).
constexpr std::int64_t kStoredFormat = 1;

} // namespace

NameOrder::NameOrder(Connection& db)
    : _db(db)
{
    _db.onRowWritten(&rowWritten, this);
}

NameOrder::~NameOrder()
{
    _db.onRowWritten(nullptr, nullptr);
}

void NameOrder::rowWritten(void* self, std::string_view table, std::int64_t id)
{
    auto& order = *static_cast<NameOrder*>(self);
    if (!order._current || table != "samples") return;
    if (!order._usable || order._touched.size() >= kMaxTouched) {
        order._current = false;
        order._touched.clear();
        return;
    }
    order._touched.insert(id);
}

bool NameOrder::refresh(std::int64_t dataVersion)
{
    if (!_current || dataVersion != _dataVersion) {
        read();
        _dataVersion = dataVersion;
    }
    return _usable;
}

void NameOrder::read()
{
    _current = false;
    _usable = false;
    _touched.clear();
    _place.clear();
    _words.clear();
    if (load()) {
        _current = true;
        _usable = true;
        return;
    }

    std::vector<std::int64_t> ids;
    std::vector<std::uint8_t> words;
    Statement st(_db, std::string("SELECT id,filename FROM samples INDEXED BY ") + schema::kVisibleNameIndex + " WHERE "
                          + schema::kVisibleFile + " ORDER BY filename COLLATE NOCASE,id");
    std::int64_t highest = -1;
    bool negative = false;
    while (st.step()) {
        const std::int64_t id = st.columnInt64(0);
        ids.push_back(id);
        words.push_back(static_cast<std::uint8_t>(std::min(stemTokenCount(st.columnView(1)), kMaxWords)));
        highest = std::max(highest, id);
        negative = negative || id < 0;
    }
    _current = true;
    // Indexed by id: ids far sparser than the rows would cost more memory than they save.
    if (negative || highest >= static_cast<std::int64_t>(4 * ids.size() + 65536)) return;
    _place.assign(static_cast<std::size_t>(highest + 1), kAbsent);
    _words.assign(static_cast<std::size_t>(highest + 1), 0);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        _place[static_cast<std::size_t>(ids[i])] = static_cast<std::uint32_t>(i);
        _words[static_cast<std::size_t>(ids[i])] = words[i];
    }
    _usable = true;
    store();
}

bool NameOrder::load()
{
    Statement st(_db, "SELECT places,words FROM search_name_order WHERE id=1 AND format=?");
    st.bind(1, kStoredFormat);
    if (!st.step()) return false;
    const auto places = st.columnBlob(0);
    const auto words = st.columnBlob(1);
    if (places.size() != 4 * words.size()) return false;
    _place.resize(words.size());
    for (std::size_t i = 0; i < _place.size(); ++i) {
        const std::uint8_t* p = places.data() + 4 * i;
        _place[i] = p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
    }
    _words.assign(words.begin(), words.end());
    return true;
}

void NameOrder::store()
{
    // Outside a transaction the copy could be of a later state than the one read.
    if (!_db.inTransaction()) return;
    std::vector<std::uint8_t> places(4 * _place.size());
    for (std::size_t i = 0; i < _place.size(); ++i) {
        for (std::size_t b = 0; b < 4; ++b) places[4 * i + b] = static_cast<std::uint8_t>(_place[i] >> (8 * b));
    }
    try {
        Statement st(_db, "INSERT OR REPLACE INTO search_name_order(id,format,places,words) VALUES(1,?,?,?)");
        st.bind(1, kStoredFormat);
        st.bindBlob(2, places);
        st.bindBlob(3, _words);
        st.step();
    } catch (const SqliteError&) {
        // Kept in memory all the same; the next process reads the index as before.
    }
}

} // namespace qv
