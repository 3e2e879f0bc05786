// The waveform cache key and the on-disk form of peaks.
//
// Key: "v2:<path>:<modification time>:<size>"; a change of time or size gives a new key,
// so an edited file is decoded again. The "v2" is the format version of the files.
//
// Files: one per key in a cache folder (by default GenericCacheLocation +
// "Ostrelle/Quorvalinder/Waveforms"), named "%016lx.plist" after the FNV-1a 64-bit hash
// of the key's UTF-8 bytes. Each holds an XML property list whose root is an array of
// exactly 192 <real> elements, the peaks in bucket order, and nothing else. A file that
// is unreadable, malformed or holds any other number of entries reads as no peaks; the
// next successful decode replaces it. Writes go to a temporary file in the folder that
// is then renamed over the target, so a reader never sees half a file.
//
// Thread-safe: the folder is fixed at construction; every call works on its own file.
#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace qv {

QString waveformCacheKey(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize);
std::uint64_t stableKeyHash(const QString& key);

class WaveformDiskCache {
public:
    explicit WaveformDiskCache(QString directory);
    // The application's folder under the user's cache directory.
    static QString defaultDirectory();

    const QString& directory() const { return _directory; }
    QString filePath(const QString& key) const;

    std::optional<std::vector<float>> read(const QString& key) const;
    // False when the folder or the file could not be written; callers ignore that.
    bool write(const QString& key, const std::vector<float>& peaks) const;

private:
    QString _directory;
};

// The property-list text of a list of reals, and back. Parsing accepts <real> and
// <integer> entries of a root <array> and refuses anything else.
QByteArray peaksToPropertyList(const std::vector<float>& peaks);
std::optional<std::vector<float>> peaksFromPropertyList(const QByteArray& xml);

} // namespace qv
