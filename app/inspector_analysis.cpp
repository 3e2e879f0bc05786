#include "inspector_analysis.h"

#include "audio/audio_structure_analyzer.h"
#include "audio_file.h"

#include <system_error>

namespace qv {

InspectorRecord inspectorRecord(const Database& database, std::int64_t sampleId)
{
    return {database.userData(sampleId)};
}

InspectorAnalysis analyzeForInspector(const std::filesystem::path& file, const std::filesystem::path& libraryRoot)
{
    InspectorAnalysis analysis;
    std::error_code error;
    analysis.fileFound = std::filesystem::is_regular_file(file, error);

    const std::filesystem::path root = libraryRoot.empty() ? file.parent_path() : libraryRoot;
    const auto structure = analysis.fileFound ? AudioStructureAnalyzer().analyze(file) : std::nullopt;
    analysis.explanation = explainMetadata(MetadataParser(), file, root, structure);

    // Only the header: libsndfile reads the format without decoding.
    if (analysis.fileFound && !hasMidiExtension(file)) {
        const AudioFile audio(file);
        if (audio.isOpen()) analysis.format = AudioFormat{audio.sampleRate(), audio.channels(), audio.durationSeconds()};
    }
    return analysis;
}

} // namespace qv
