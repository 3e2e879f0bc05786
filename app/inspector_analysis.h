#pragma once
// What the inspector shows beside the sample row: what the user decided (read from the
// database on the GUI thread, one row and two short lists) and what the file says now
// (read from disk on a worker: the audio measurement, the explanation of every inferred
// value, and the format as the decoder sees it).

#include "db/database.h"
#include "inference/metadata_explanation.h"

#include <filesystem>
#include <optional>

namespace qv {

struct InspectorRecord {
    std::optional<SampleUserData> user; // empty when the sample is no longer stored
};

InspectorRecord inspectorRecord(const Database& database, std::int64_t sampleId);

struct AudioFormat {
    int sampleRate = 0;
    int channels = 0;
    double durationSeconds = 0.0;
};

struct InspectorAnalysis {
    bool fileFound = false;
    MetadataExplanation explanation;
    std::optional<AudioFormat> format; // empty for MIDI and for what the decoder cannot open
};

// Reads the file: any thread, never the GUI thread. An empty root means the file's own
// folder, as for a file outside every library.
InspectorAnalysis analyzeForInspector(const std::filesystem::path& file, const std::filesystem::path& libraryRoot);

} // namespace qv
