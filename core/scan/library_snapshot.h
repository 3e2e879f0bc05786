// What the index holds for one library as a scan of it starts, so that an unchanged
// rescan compares each file with memory instead of asking the database once per file:
// every stored path with its record id, size and time, and which paths the walk has
// seen since, so that the vanished ones are known without reading the library again.
//
// Compact at a million files: the paths are packed end to end in 1 MiB blocks (never
// copied as they grow), an entry is 32 bytes, and the open-addressing table holds 8-byte
// slots (entry number and part of the hash) at most half full: about 145 bytes a file
// with a 94-byte path, peak included. Paths up to 256 KiB. Not thread-safe; one scan
// owns it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qv {

class LibrarySnapshot {
public:
    struct Record {
        std::int64_t fileSize = 0;
        std::int64_t modifiedAt = 0;
    };

    // Room for `count` paths without growing the table.
    void reserve(std::size_t count);
    // A stored record; a path added twice keeps its first values.
    void add(std::int64_t id, std::string_view path, std::int64_t fileSize, std::int64_t modifiedAt);

    // Marks a path the walk found (adding it unrecorded when it was not stored). The
    // stored values on its first visit only; nothing when it was not stored or was seen
    // before (two links to one file).
    std::optional<Record> markSeen(std::string_view path);
    bool seen(std::string_view path) const;
    // The stored record no longer has this path (the scan moved it to another).
    void forget(std::string_view path);
    // Stored records whose paths the walk did not find: id and path.
    std::vector<std::pair<std::int64_t, std::string_view>> unseen() const;

    std::size_t size() const { return _entries.size(); }
    std::size_t bytesHeld() const;

private:
    struct Entry {
        std::uint64_t offset : 44; // block number << 20 | position in the block
        std::uint64_t length : 18;
        std::uint64_t recorded : 1;
        std::uint64_t seen : 1;
        std::int64_t id;
        std::int64_t fileSize;
        std::int64_t modifiedAt;
    };

    std::string_view pathOf(const Entry& entry) const;
    // The slot holding the path, or the empty slot where it would go.
    std::size_t slotOf(std::string_view path, std::uint64_t hash) const;
    std::uint64_t numberOf(std::string_view path, std::uint64_t hash) const; // 0 when absent
    Entry& insert(std::string_view path, std::uint64_t hash);
    void rehash(std::size_t slotCount);

    std::vector<std::unique_ptr<char[]>> _blocks;
    std::size_t _blockUsed = 0; // bytes used of the last block
    std::vector<Entry> _entries;
    std::vector<std::uint64_t> _slots; // high half: hash bits; low half: entry number + 1 (0 is empty)
};

} // namespace qv
