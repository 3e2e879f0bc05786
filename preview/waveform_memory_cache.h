// The process's memory cache of waveform peaks: key → 192 peaks, at most 1000 entries,
// evicting the least recently used.
//
// Thread-safe: a QCache behind one mutex; lookups copy the peaks out (768 bytes), so no
// caller ever holds a pointer into the cache.
#pragma once

#include <QCache>
#include <QMutex>
#include <QString>

#include <optional>
#include <vector>

namespace qv {

class WaveformMemoryCache {
public:
    static constexpr int kCapacity = 1000;

    std::optional<std::vector<float>> peaks(const QString& key) const;
    bool contains(const QString& key) const;
    void insert(const QString& key, std::vector<float> peaks);

private:
    mutable QMutex _mutex;
    // QCache::object moves an entry to the front, so even reads change it.
    mutable QCache<QString, std::vector<float>> _cache{kCapacity};
};

} // namespace qv
