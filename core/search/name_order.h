// Each visible sample's place in name order (the name without case, then the id), its
// stem's token count and the initials of its stem's words, read once from the name index. A ranked page uses them to
// read the matches that can rank best, name by name, instead of ranking every match.
//
// Kept exact without reading everything again: the update hook lists the rows this
// connection writes; a few are read afresh by callers, more (a scan's write groups) are
// folded into the order row by row on the next refresh. Too many of them, or a write by
// another connection (a new data version), and it is read again.
//
// What it reads from the index it also stores (search_name_order), so that the next
// process loads it in a few milliseconds instead of walking the index; triggers remove
// the stored copy with any write that could change it. It is read and stored inside the
// caller's read transaction, so the copy is of the state the caller sees, and storing it
// fails harmlessly (busy, read-only, a newer state written meanwhile).
// Used under the database mutex.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace qv {

class Connection;

class NameOrder {
public:
    static constexpr std::uint32_t kAbsent = UINT32_MAX;
    static constexpr int kMaxWords = 255; // counts above it are kept as it

    explicit NameOrder(Connection& db); // hooks the connection's row writes
    ~NameOrder();
    NameOrder(const NameOrder&) = delete;
    NameOrder& operator=(const NameOrder&) = delete;

    // Up to date with the file at `dataVersion`; false when it cannot serve, because
    // row ids are too sparse to index by.
    bool refresh(std::int64_t dataVersion);

    // Written since it was read: its place and count are unknown.
    bool touched(std::int64_t id) const { return _touched.contains(id); }
    // kAbsent for a row that was not visible when read (and is not touched).
    std::uint32_t place(std::int64_t id) const
    {
        const auto at = static_cast<std::uint64_t>(id);
        return id >= 0 && at < _place.size() ? _place[static_cast<std::size_t>(at)] : kAbsent;
    }
    int words(std::int64_t id) const { return _words[static_cast<std::size_t>(id)]; }
    // The initials of its stem's words (stemInitials).
    std::uint32_t initials(std::int64_t id) const { return _initials[static_cast<std::size_t>(id)]; }
    // Ascending: the rows holding every one of `initials`, and every touched row.
    std::vector<std::int64_t> holding(std::uint32_t initials) const;
    // How often the whole order was read (or loaded) rather than folded.
    int reads() const { return _reads; }

private:
    static void rowWritten(void* self, std::string_view table, std::int64_t id);
    void read();
    bool fold(); // the touched rows into their places
    bool load(); // the stored copy, when there is one of this format
    void store();

    Connection& _db;
    std::vector<std::uint32_t> _place;
    std::vector<std::uint8_t> _words;
    std::vector<std::uint32_t> _initials;
    std::unordered_set<std::int64_t> _touched;
    bool _current = false;
    bool _usable = false;
    std::int64_t _dataVersion = -1;
    int _reads = 0;
};

} // namespace qv
