// Walks one library folder and brings the index in line with what is on disk: new files
// are stored, changed ones analysed again, unchanged ones skipped by size and time, moved
// ones relinked (keeping favourites, overrides and playlists), and records of vanished
// files deleted, but only after a complete walk, so that a failure preserves them. The
// library's records are read once as the scan starts (LibrarySnapshot), so an unchanged
// file costs a status query and a lookup in memory.
//
// One scan at a time per scanner (a mutex is held for the whole call); call it from a
// background thread. The progress callback runs on the scanning thread. Failures throw
// std::runtime_error with a message meant for the user.
#pragma once

#include "audio/audio_structure_analyzer.h"
#include "inference/metadata_parser.h"
#include "sample.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string_view>

namespace qv {

class Database;

class LibraryScanner {
public:
    using Progress = std::function<void(std::size_t count, const std::filesystem::path& file)>;

    explicit LibraryScanner(Database& database);

    // True for ".wav", ".aif", ".aiff", ".mp3", ".mid", ".midi" (any letter case), except
    // the "._" companions some file systems write beside every file.
    static bool supported(const std::filesystem::path& path);
    static bool supportedName(std::string_view fileName); // the same, of a file name

    ScanStats scan(const std::filesystem::path& root, const Progress& progress, bool force);

private:
    std::mutex _mutex;
    Database* _database;
    MetadataParser _parser;
    AudioStructureAnalyzer _analyzer;
};

} // namespace qv
