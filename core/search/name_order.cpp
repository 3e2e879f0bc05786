#include "search/name_order.h"

#include "db/schema.h"
#include "search/search_rank.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/sqlite_error.h"
#include "sql/statement.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

namespace qv {

namespace {

// Past this many written rows reading them one by one costs more than reading all.
constexpr std::size_t kMaxTouched = 16384;

// Up to this many written rows are ranked up front where the order is used; more (a
// scan's write groups) are folded into it, which costs a pass over the whole order.
constexpr std::size_t kFoldAbove = 256;

// Of the stored copy: each id's place as four bytes, least significant first, its count
// as one, and its initials as four. Bumped when any changes meaning (the token rule).
constexpr std::int64_t kStoredFormat = 3;

template <typename T>
std::vector<std::uint8_t> littleEndian(const std::vector<T>& values)
{
    std::vector<std::uint8_t> bytes(sizeof(T) * values.size());
    if constexpr (std::endian::native == std::endian::little) {
        if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
        return bytes;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (std::size_t b = 0; b < sizeof(T); ++b) bytes[sizeof(T) * i + b] = static_cast<std::uint8_t>(values[i] >> (8 * b));
    }
    return bytes;
}

template <typename T>
std::vector<T> fromLittleEndian(std::span<const std::uint8_t> bytes)
{
    std::vector<T> values(bytes.size() / sizeof(T));
    // A new process loads 9 MB at a million samples: copied whole where it can be.
    if constexpr (std::endian::native == std::endian::little) {
        if (!values.empty()) std::memcpy(values.data(), bytes.data(), sizeof(T) * values.size());
        return values;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        T value = 0;
        for (std::size_t b = 0; b < sizeof(T); ++b) value |= static_cast<T>(bytes[sizeof(T) * i + b]) << (8 * b);
        values[i] = value;
    }
    return values;
}

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
    } else if (_usable && _touched.size() > kFoldAbove && !fold()) {
        read();
    }
    return _usable;
}

std::vector<std::int64_t> NameOrder::holding(std::uint32_t initials) const
{
    std::vector<std::int64_t> ids;
    for (std::size_t id = 0; id < _place.size(); ++id) {
        if (_place[id] != kAbsent && (_initials[id] & initials) == initials) ids.push_back(static_cast<std::int64_t>(id));
    }
    if (!_touched.empty()) {
        ids.insert(ids.end(), _touched.begin(), _touched.end());
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    }
    return ids;
}

// The written rows as the index holds them now: each leaves its place, and each still
// visible follows the row before it by name, which two probes of the name index find.
// Rows that follow one another in name order were all written, so they follow the same
// unwritten row together. Exact as a fresh read; false when ids became too sparse, or
// the order holds no place for a row it should.
bool NameOrder::fold()
{
    std::vector<std::int64_t> written(_touched.begin(), _touched.end());
    _touched.clear();
    std::sort(written.begin(), written.end());
    if (written.front() < 0) return false;

    struct Row {
        std::int64_t id;
        std::uint8_t words;
        std::uint32_t initials;
        std::uint32_t after; // the place of the unwritten row it follows; kAbsent: first
        bool run;            // follows the previous written row instead
    };
    std::vector<Row> rows;
    Statement st(_db, std::string("SELECT id,filename FROM samples INDEXED BY ") + schema::kVisibleIdIndex
                          + " WHERE id IN " + sqlList(written) + " AND " + schema::kVisibleFile
                          + " ORDER BY filename COLLATE NOCASE,id");
    Statement sameName(_db, std::string("SELECT id FROM samples INDEXED BY ") + schema::kVisibleNameIndex + " WHERE "
                                + schema::kVisibleFile
                                + " AND filename=? COLLATE NOCASE AND id<? ORDER BY filename COLLATE NOCASE DESC,"
                                  "id DESC LIMIT 1");
    Statement earlierName(_db, std::string("SELECT id FROM samples INDEXED BY ") + schema::kVisibleNameIndex
                                   + " WHERE " + schema::kVisibleFile
                                   + " AND filename<? COLLATE NOCASE ORDER BY filename COLLATE NOCASE DESC,id DESC "
                                     "LIMIT 1");
    const auto before = [&](std::string_view name, std::int64_t id) -> std::optional<std::int64_t> {
        for (Statement* probe : {&sameName, &earlierName}) {
            probe->reset();
            probe->bind(1, name);
            if (probe == &sameName) probe->bind(2, id);
            if (probe->step()) return probe->columnInt64(0);
        }
        return std::nullopt;
    };
    while (st.step()) {
        Row row{st.columnInt64(0), static_cast<std::uint8_t>(std::min(stemTokenCount(st.columnView(1)), kMaxWords)),
                stemInitials(st.columnView(1)), kAbsent, false};
        const std::optional<std::int64_t> previous = before(st.columnView(1), row.id);
        if (previous && !rows.empty() && *previous == rows.back().id) {
            row.run = true;
        } else if (previous) {
            row.after = place(*previous);
            if (row.after == kAbsent || std::binary_search(written.begin(), written.end(), *previous)) return false;
        }
        rows.push_back(row);
    }

    // The unwritten rows by place, the written ones taken out.
    const std::int64_t highest = std::max<std::int64_t>(written.back(), static_cast<std::int64_t>(_place.size()) - 1);
    for (const std::int64_t id : written) {
        if (static_cast<std::size_t>(id) < _place.size()) _place[static_cast<std::size_t>(id)] = kAbsent;
    }
    std::vector<std::int64_t> byPlace(_place.size(), -1);
    std::size_t kept = 0;
    for (std::size_t id = 0; id < _place.size(); ++id) {
        if (_place[id] == kAbsent) continue;
        if (_place[id] >= byPlace.size()) return false;
        byPlace[_place[id]] = static_cast<std::int64_t>(id);
        ++kept;
    }
    if (highest >= static_cast<std::int64_t>(4 * (kept + rows.size()) + 65536)) return false;
    _place.resize(static_cast<std::size_t>(highest + 1), kAbsent);
    _words.resize(static_cast<std::size_t>(highest + 1), 0);
    _initials.resize(static_cast<std::size_t>(highest + 1), 0);

    // Both merged: each run of written rows right after the row it follows.
    std::uint32_t next = 0;
    std::size_t r = 0;
    const auto emitRuns = [&](std::uint32_t after) {
        while (r < rows.size() && (rows[r].run || rows[r].after == after)) {
            _place[static_cast<std::size_t>(rows[r].id)] = next++;
            _words[static_cast<std::size_t>(rows[r].id)] = rows[r].words;
            _initials[static_cast<std::size_t>(rows[r].id)] = rows[r].initials;
            ++r;
        }
    };
    emitRuns(kAbsent);
    for (std::size_t p = 0; p < byPlace.size(); ++p) {
        if (byPlace[p] < 0) continue;
        _place[static_cast<std::size_t>(byPlace[p])] = next++;
        emitRuns(static_cast<std::uint32_t>(p));
    }
    return r == rows.size();
}

void NameOrder::read()
{
    ++_reads;
    _current = false;
    _usable = false;
    _touched.clear();
    _place.clear();
    _words.clear();
    _initials.clear();
    if (load()) {
        _current = true;
        _usable = true;
        return;
    }

    std::vector<std::int64_t> ids;
    std::vector<std::uint8_t> words;
    std::vector<std::uint32_t> initials;
    Statement st(_db, std::string("SELECT id,filename FROM samples INDEXED BY ") + schema::kVisibleNameIndex + " WHERE "
                          + schema::kVisibleFile + " ORDER BY filename COLLATE NOCASE,id");
    std::int64_t highest = -1;
    bool negative = false;
    while (st.step()) {
        const std::int64_t id = st.columnInt64(0);
        ids.push_back(id);
        words.push_back(static_cast<std::uint8_t>(std::min(stemTokenCount(st.columnView(1)), kMaxWords)));
        initials.push_back(stemInitials(st.columnView(1)));
        highest = std::max(highest, id);
        negative = negative || id < 0;
    }
    _current = true;
    // Indexed by id: ids far sparser than the rows would cost more memory than they save.
    if (negative || highest >= static_cast<std::int64_t>(4 * ids.size() + 65536)) return;
    _place.assign(static_cast<std::size_t>(highest + 1), kAbsent);
    _words.assign(static_cast<std::size_t>(highest + 1), 0);
    _initials.assign(static_cast<std::size_t>(highest + 1), 0);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        _place[static_cast<std::size_t>(ids[i])] = static_cast<std::uint32_t>(i);
        _words[static_cast<std::size_t>(ids[i])] = words[i];
        _initials[static_cast<std::size_t>(ids[i])] = initials[i];
    }
    _usable = true;
    store();
}

bool NameOrder::load()
{
    Statement st(_db, "SELECT places,words,initials FROM search_name_order WHERE id=1 AND format=?");
    st.bind(1, kStoredFormat);
    if (!st.step()) return false;
    const auto places = st.columnBlob(0);
    const auto words = st.columnBlob(1);
    const auto initials = st.columnBlob(2);
    if (places.size() != 4 * words.size() || initials.size() != 4 * words.size()) return false;
    _place = fromLittleEndian<std::uint32_t>(places);
    _words.assign(words.begin(), words.end());
    _initials = fromLittleEndian<std::uint32_t>(initials);
    return true;
}

void NameOrder::store()
{
    // Outside a transaction the copy could be of a later state than the one read.
    if (!_db.inTransaction()) return;
    try {
        Statement st(_db, "INSERT OR REPLACE INTO search_name_order(id,format,places,words,initials) VALUES(1,?,?,?,?)");
        st.bind(1, kStoredFormat);
        st.bindBlob(2, littleEndian(_place));
        st.bindBlob(3, _words);
        st.bindBlob(4, littleEndian(_initials));
        st.step();
    } catch (const SqliteError&) {
        // Kept in memory all the same; the next process reads the index as before.
    }
}

} // namespace qv
