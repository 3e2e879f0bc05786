#include "core/byte_source.h"

namespace qv {

ByteSource::ByteSource(const std::filesystem::path& path)
    : _file(path, std::ios::binary)
{
    if (!_file) return;
    _file.seekg(0, std::ios::end);
    const auto end = _file.tellg();
    if (!_file || end < 0) {
        _file.close();
        return;
    }
    _size = static_cast<std::uint64_t>(end);
}

ByteSource::ByteSource(std::span<const unsigned char> bytes)
    : _memory(bytes), _size(bytes.size()), _inMemory(true)
{
}

std::span<const unsigned char> ByteSource::read(std::uint64_t offset, std::size_t count)
{
    if (offset > _size || count > _size - offset) return {};
    if (_inMemory) return _memory.subspan(static_cast<std::size_t>(offset), count);
    if (!_file.is_open()) return {};

    if (_buffer.size() < count) _buffer.resize(count);
    _file.clear();
    _file.seekg(static_cast<std::streamoff>(offset));
    _file.read(reinterpret_cast<char*>(_buffer.data()), static_cast<std::streamsize>(count));
    if (!_file || static_cast<std::size_t>(_file.gcount()) != count) {
        _file.clear();
        return {};
    }
    return {_buffer.data(), count};
}

} // namespace qv
