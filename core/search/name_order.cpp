#include "search/name_order.h"

#include "search/search_rank.h"
#include "sql/statement.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace qv {

namespace {

// Past this many written rows reading them one by one costs more than reading all.
constexpr std::size_t kMaxTouched = 16384;

} // namespace

NameOrder::NameOrder(sqlite3* db)
    : _db(db)
{
    sqlite3_update_hook(
        db,
        [](void* self, int operation, const char* database, const char* table, sqlite3_int64 id) {
            rowWritten(self, operation, database, table, id);
        },
        this);
}

NameOrder::~NameOrder()
{
    sqlite3_update_hook(_db, nullptr, nullptr);
}

void NameOrder::rowWritten(void* self, int, const char* database, const char* table, std::int64_t id)
{
    auto& order = *static_cast<NameOrder*>(self);
    if (!order._current || std::strcmp(table, "samples") != 0 || std::strcmp(database, "main") != 0) return;
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

    std::vector<std::int64_t> ids;
    std::vector<std::uint8_t> words;
    Statement st(_db, "SELECT id,filename FROM samples INDEXED BY idx_samples_visible_name WHERE "
                      "substr(filename,1,2)<>'._' ORDER BY filename COLLATE NOCASE,id");
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
}

} // namespace qv
