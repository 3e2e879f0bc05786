// Writes a sample library of N files to disk, the same bytes for the same seed.
//
// The tree is what a producer's sample folder looks like (see library_plan.h): packs of
// WAVE, AIFF, MP3 and MIDI files in nested category folders, mixed with the junk real
// folders carry ("._" companions, ".asd" analysis files, readmes, empty and broken
// files). The manifest lists every file with its kind so that tests can predict what a
// scan must count. Single-threaded; writes only below the output folder.
#pragma once

#include "library_plan.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qv::testkit {

struct GeneratorOptions {
    std::uint64_t seed = 1;
    std::uint64_t files = 300;
    bool tinyAudio = false; // 50 ms mono audio, for libraries of many thousand files
};

struct ManifestEntry {
    std::string relativePath; // '/'-separated UTF-8
    FileKind kind;
    Encoding encoding;        // of WAVE and AIFF files
    // What the name and folder tell, for every named audio or MIDI file.
    std::optional<int> bpm;
    std::string key = "None"; // as the index spells it: "A minor", "C#"
    SampleType type = SampleType::Unknown; // what the file is meant to be
};

struct Manifest {
    std::array<std::uint64_t, kFileKindCount> counts{};
    std::uint64_t mp3Stubs = 0; // MP3 files that are stubs because encoding was unavailable
    std::vector<ManifestEntry> files;

    std::uint64_t count(FileKind kind) const { return counts[static_cast<std::size_t>(kind)]; }

    // Files a scan stores: supported, non-empty and not "._" (broken WAVEs included).
    std::uint64_t indexable() const;
};

class LibraryGenerator {
public:
    static constexpr std::uint64_t kMinFiles = 10;
    static constexpr std::uint64_t kMaxFiles = 1'000'000;

    // Throws std::invalid_argument when the file count is out of range.
    explicit LibraryGenerator(GeneratorOptions options);

    // Creates `outDir` (which must be absent or empty) and fills it. `progress`, when
    // set, is called with the number of files written so far, every 1,000 files.
    Manifest generate(const std::filesystem::path& outDir,
                      const std::function<void(std::uint64_t)>& progress = {}) const;

private:
    GeneratorOptions _options;
};

// A path from the manifest's UTF-8 text, whatever the platform's narrow encoding is.
std::filesystem::path pathFromUtf8(const std::string& text);

} // namespace qv::testkit
