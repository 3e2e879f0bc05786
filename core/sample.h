// The record of one indexed file, the four sample kinds, and the tally of one scan.
//
// Plain values: copyable, movable, no ownership of anything outside themselves.
// `SampleType` numbers are fixed (compared in memory); the database stores the text form.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qv {

enum class SampleType : std::int32_t {
    Unknown = 0,
    Loop = 1,
    OneShot = 2,
    MIDI = 3,
};

// "Loop", "One Shot", "MIDI"; anything else, out-of-range values included, is "Unknown".
std::string toString(SampleType type);

// Exact inverse of toString: case-sensitive, no trimming; every other text is Unknown.
SampleType sampleTypeFromString(const std::string& text);

// ".mid" or ".midi" in any letter case: the only files that may be, or be marked, MIDI.
bool hasMidiExtension(const std::filesystem::path& path);

struct Sample {
    std::int64_t id = 0;          // 0 until stored
    std::string path;             // absolute, canonical; the unique key
    std::string filename;         // last component of path, extension included
    std::string libraryName;      // last component of the library root
    std::string genre;            // display genre; the first of `genres` when parsed
    std::string instrument;
    std::string musicalKey;       // "None" when the parser found no key
    SampleType type = SampleType::Unknown;
    std::optional<std::int32_t> bpm;
    std::optional<double> duration; // seconds, when the audio could be measured
    std::int64_t fileSize = 0;
    std::int64_t modifiedAt = 0;    // whole seconds since the Unix epoch
    bool favorite = false;
    std::vector<std::string> genres; // lives only for one indexing pass; not stored
};

struct ScanStats {
    std::uint64_t unchanged = 0;
    std::uint64_t added = 0;
    std::uint64_t updated = 0;
    std::uint64_t removed = 0;
    std::uint64_t emptySkipped = 0;
    std::vector<std::pair<std::string, std::string>> moved; // (old path, new path)
};

} // namespace qv
