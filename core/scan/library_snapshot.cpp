#include "scan/library_snapshot.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <stdexcept>

namespace qv {

namespace {

constexpr std::size_t kFirstSlots = 1024;
constexpr int kBlockBits = 20;
constexpr std::size_t kBlockSize = std::size_t{1} << kBlockBits;
constexpr std::size_t kLongestPath = (std::size_t{1} << 18) - 1;
constexpr std::uint64_t kNumberMask = 0xffffffffu;

std::uint64_t hashOf(std::string_view path)
{
    return std::hash<std::string_view>{}(path);
}

std::uint64_t tagOf(std::uint64_t hash)
{
    return hash & ~kNumberMask;
}

} // namespace

std::string_view LibrarySnapshot::pathOf(const Entry& entry) const
{
    const std::uint64_t offset = entry.offset;
    return std::string_view(_blocks[offset >> kBlockBits].get() + (offset & (kBlockSize - 1)), entry.length);
}

std::size_t LibrarySnapshot::slotOf(std::string_view path, std::uint64_t hash) const
{
    const std::size_t mask = _slots.size() - 1;
    // Low bits pick the slot and high bits are kept in it, so most other paths are told
    // apart without reading their text.
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const std::uint64_t value = _slots[slot];
        if (value == 0) return slot;
        if (tagOf(value) == tagOf(hash) && pathOf(_entries[(value & kNumberMask) - 1]) == path) return slot;
    }
}

void LibrarySnapshot::rehash(std::size_t slotCount)
{
    std::vector<std::uint64_t> slots(slotCount, 0);
    const std::size_t mask = slotCount - 1;
    for (std::uint64_t number = 1; number <= _entries.size(); ++number) {
        const std::uint64_t hash = hashOf(pathOf(_entries[number - 1]));
        std::size_t slot = hash & mask;
        while (slots[slot] != 0) slot = (slot + 1) & mask;
        slots[slot] = tagOf(hash) | number;
    }
    _slots = std::move(slots);
}

void LibrarySnapshot::reserve(std::size_t count)
{
    _entries.reserve(count);
    const std::size_t slots = std::bit_ceil(std::max(kFirstSlots, 2 * count));
    if (slots > _slots.size()) rehash(slots);
}

LibrarySnapshot::Entry& LibrarySnapshot::insert(std::string_view path, std::uint64_t hash)
{
    // At most half full, so that a miss (every new file) ends after a probe or two.
    if (2 * (_entries.size() + 1) > _slots.size()) rehash(_slots.empty() ? kFirstSlots : 2 * _slots.size());
    if (path.size() > kLongestPath) throw std::length_error("path too long for the scan: " + std::string(path));
    const std::size_t slot = slotOf(path, hash);
    if (_blocks.empty() || _blockUsed + path.size() > kBlockSize) {
        _blocks.push_back(std::make_unique_for_overwrite<char[]>(kBlockSize));
        _blockUsed = 0;
    }
    const std::uint64_t offset = ((_blocks.size() - 1) << kBlockBits) | _blockUsed;
    std::copy(path.begin(), path.end(), _blocks.back().get() + _blockUsed);
    _blockUsed += path.size();
    _entries.push_back({offset, path.size(), 0, 0, 0, 0, 0});
    _slots[slot] = tagOf(hash) | _entries.size();
    return _entries.back();
}

std::uint64_t LibrarySnapshot::numberOf(std::string_view path, std::uint64_t hash) const
{
    return _slots.empty() ? 0 : _slots[slotOf(path, hash)] & kNumberMask;
}

void LibrarySnapshot::add(std::int64_t id, std::string_view path, std::int64_t fileSize, std::int64_t modifiedAt)
{
    const std::uint64_t hash = hashOf(path);
    if (numberOf(path, hash) != 0) return;
    Entry& entry = insert(path, hash);
    entry.recorded = 1;
    entry.id = id;
    entry.fileSize = fileSize;
    entry.modifiedAt = modifiedAt;
}

std::optional<LibrarySnapshot::Record> LibrarySnapshot::markSeen(std::string_view path)
{
    const std::uint64_t hash = hashOf(path);
    const std::uint64_t number = numberOf(path, hash);
    Entry& entry = number != 0 ? _entries[number - 1] : insert(path, hash);
    if (entry.seen) return std::nullopt;
    entry.seen = 1;
    if (!entry.recorded) return std::nullopt;
    return Record{entry.fileSize, entry.modifiedAt};
}

bool LibrarySnapshot::seen(std::string_view path) const
{
    const std::uint64_t number = numberOf(path, hashOf(path));
    return number != 0 && _entries[number - 1].seen;
}

void LibrarySnapshot::forget(std::string_view path)
{
    const std::uint64_t number = numberOf(path, hashOf(path));
    if (number != 0) _entries[number - 1].recorded = 0;
}

std::vector<std::pair<std::int64_t, std::string_view>> LibrarySnapshot::unseen() const
{
    std::vector<std::pair<std::int64_t, std::string_view>> result;
    for (const Entry& entry : _entries) {
        if (entry.recorded && !entry.seen) result.emplace_back(entry.id, pathOf(entry));
    }
    return result;
}

std::size_t LibrarySnapshot::bytesHeld() const
{
    return _blocks.size() * kBlockSize + _entries.capacity() * sizeof(Entry) + _slots.capacity() * sizeof(std::uint64_t);
}

} // namespace qv
