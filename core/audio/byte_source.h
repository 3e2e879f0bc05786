// Random-access reads for the WAVE reader, from a file or from bytes already in memory.
//
// A file source reads unbuffered into one window of its own: a small read pulls in the
// next 4 KiB, so a file's chunk headers usually cost one system call, and a large read
// is a single read of exactly its size. A memory source hands out views of the caller's
// bytes, which must outlive it. Only regular files are opened. A read returns exactly the bytes asked for or an empty
// view, never a short one; I/O failures are not thrown. The size is taken when the
// source is opened, so a reader can refuse a chunk that claims more bytes than the file
// holds before allocating anything for it. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>

namespace qv {

class ByteSource {
public:
    explicit ByteSource(const std::filesystem::path& path);
    explicit ByteSource(std::span<const unsigned char> bytes);

    std::uint64_t size() const { return _size; }

    // `count` (at least 1) bytes from `offset`, or empty when they are not all there. The
    // view stays valid until the next read.
    std::span<const unsigned char> read(std::uint64_t offset, std::size_t count);

private:
    std::ifstream _file;
    std::span<const unsigned char> _memory;
    std::unique_ptr<unsigned char[]> _buffer;
    std::size_t _capacity = 0;
    std::uint64_t _windowStart = 0;
    std::size_t _windowSize = 0;
    std::uint64_t _position = 0; // of the file stream; all ones when unknown
    std::uint64_t _size = 0;
    bool _inMemory = false;
};

} // namespace qv
