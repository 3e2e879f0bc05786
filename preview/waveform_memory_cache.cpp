#include "waveform_memory_cache.h"

namespace qv {

std::optional<std::vector<float>> WaveformMemoryCache::peaks(const QString& key) const
{
    QMutexLocker lock(&_mutex);
    if (const auto* peaks = _cache.object(key)) return *peaks;
    return std::nullopt;
}

bool WaveformMemoryCache::contains(const QString& key) const
{
    QMutexLocker lock(&_mutex);
    return _cache.contains(key);
}

void WaveformMemoryCache::insert(const QString& key, std::vector<float> peaks)
{
    QMutexLocker lock(&_mutex);
    _cache.insert(key, new std::vector<float>(std::move(peaks)));
}

} // namespace qv
