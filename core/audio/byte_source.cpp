#include "audio/byte_source.h"

#include <algorithm>
#include <system_error>

namespace qv {

namespace {

constexpr std::size_t kSmallReadWindow = 4096;

} // namespace

ByteSource::ByteSource(const std::filesystem::path& path)
{
    // file_size fails for anything but a regular file, so a FIFO or a device, which could
    // block or never end, is never opened.
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error) return;
    // Unbuffered: every read lands straight in the window, without a second copy.
    _file.rdbuf()->pubsetbuf(nullptr, 0);
    _file.open(path, std::ios::binary);
    if (_file) _size = size;
}

ByteSource::ByteSource(std::span<const unsigned char> bytes)
    : _memory(bytes), _size(bytes.size()), _inMemory(true)
{
}

std::span<const unsigned char> ByteSource::read(std::uint64_t offset, std::size_t count)
{
    if (count == 0 || offset > _size || count > _size - offset) return {};
    if (_inMemory) return _memory.subspan(static_cast<std::size_t>(offset), count);
    if (!_file.is_open()) return {};

    if (offset >= _windowStart && offset - _windowStart + count <= _windowSize) {
        return {_buffer.get() + (offset - _windowStart), count};
    }
    const auto fill = static_cast<std::size_t>(std::min<std::uint64_t>(std::max(count, kSmallReadWindow), _size - offset));
    if (_capacity < fill) {
        _buffer = std::make_unique_for_overwrite<unsigned char[]>(fill);
        _capacity = fill;
    }
    _windowSize = 0;
    // Sequential reads, the common case for sample data, need no seek.
    if (offset != _position) {
        _file.clear();
        _file.seekg(static_cast<std::streamoff>(offset));
    }
    _file.read(reinterpret_cast<char*>(_buffer.get()), static_cast<std::streamsize>(fill));
    if (!_file || static_cast<std::size_t>(_file.gcount()) != fill) {
        _file.clear();
        _position = ~std::uint64_t{0};
        return {};
    }
    _position = offset + fill;
    _windowStart = offset;
    _windowSize = fill;
    return {_buffer.get(), count};
}

} // namespace qv
