// Infers a sample's tempo, key, instrument, genres and type from its file and folder
// names and, when the audio could be measured, from its onset structure.
//
// Stateless: every operation is const and safe from any thread. The regular expressions
// are compiled once per process on first use (ECMAScript, case-insensitive) and shared.
// Nothing here throws for odd input; a text without clues gives an empty tempo, the key
// "None", the instrument "" and the type Unknown.
//
// Tempo and key are read from file and folder names. std::regex matches recursively, one
// stack level per character, so texts longer than kMaxNameTextBytes (more than any file
// system allows for a name) are not searched: they give no tempo and the key "None".
//
// Bump kMetadataParserRevision whenever a rule changes: an index written by an older
// revision is re-indexed once.
#pragma once

#include "audio/audio_structure_analyzer.h"
#include "sample.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

inline constexpr int kMetadataParserRevision = 6;
inline constexpr std::size_t kMaxNameTextBytes = 1024;

struct Classification {
    SampleType type = SampleType::Unknown;
    std::int32_t loopScore = 0;
    std::int32_t oneShotScore = 0;
};

class MetadataParser {
public:
    // Tempo in 50..399 read from "140bpm", "bpm 140", "120 am" or "90 loop" shapes.
    std::optional<std::int32_t> parseBpm(std::string_view text) const;

    // "A minor", "C# major", "F#" (flats become sharps) or "None".
    std::string parseKey(std::string_view text) const;

    // The first instrument keyword of a fixed table found in the text, or "".
    std::string parseInstrument(std::string_view text) const;

    // The folder relative to the library root ("." for the root itself), a space and the
    // stem: the text classifyDetailed weighs.
    static std::string classificationText(const std::filesystem::path& path,
                                          const std::filesystem::path& libraryRoot);

    // `text` is normally classificationText(path, root).
    Classification classifyDetailed(const std::filesystem::path& path, std::string_view text,
                                    std::optional<std::int32_t> bpm,
                                    const std::optional<AudioStructure>& structure) const;
    SampleType classify(const std::filesystem::path& path, std::string_view text,
                        std::optional<std::int32_t> bpm,
                        const std::optional<AudioStructure>& structure) const;

    // The record of one file, ready for the database. Reads the file's size and time.
    Sample parse(const std::filesystem::path& path, const std::filesystem::path& libraryRoot,
                 const std::optional<AudioStructure>& structure) const;

private:
    // Separators "-", "_", "/" and "\" become spaces; ASCII letters are lower-cased.
    static std::string prepareText(std::string_view text);
    std::string folderKey(std::string_view folder) const;
    static std::vector<std::string> genresOf(std::string_view folderPath);
};

// Canonical spelling of an instrument name: "hats" and "Hi-Hat" are "HiHat", "Key-board"
// is "Keys"; anything else keeps its spelling with the first letter upper-cased.
std::string normalizedInstrument(std::string name);

} // namespace qv
