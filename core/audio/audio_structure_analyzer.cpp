#include "audio/audio_structure_analyzer.h"

#include "audio/byte_source.h"
#include "audio/level_envelope.h"
#include "audio/onset_detector.h"
#include "audio/wave_reader.h"

#include <exception>

namespace qv {

std::optional<AudioStructure> AudioStructureAnalyzer::analyze(const std::filesystem::path& file) const
{
    try {
        ByteSource source(file);
        return analyzeSource(source);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<AudioStructure> AudioStructureAnalyzer::analyzeBytes(std::span<const unsigned char> bytes) const
{
    try {
        ByteSource source(bytes);
        return analyzeSource(source);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// Only allocation failures can throw below; they count as an unreadable file.
std::optional<AudioStructure> AudioStructureAnalyzer::analyzeSource(ByteSource& source)
{
    const auto layout = WaveReader::locate(source);
    if (!layout) return std::nullopt;
    const auto envelope = LevelEnvelope::measure(source, *layout);
    if (!envelope) return std::nullopt;
    const double duration = static_cast<double>(layout->frames) / layout->sampleRate;
    return OnsetDetector::detect(*envelope, duration);
}

} // namespace qv
