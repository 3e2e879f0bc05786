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
// Every rule can also say where it found its word (NameClues, ClassificationTrace): the
// sample inspector shows that to the user, and parse() is built on the same calls, so the
// two cannot disagree. Preparing a text (separators to spaces, ASCII lower case) keeps
// every byte in place, so a position in the prepared text is one in the name as written.
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

// A byte range of the text a rule searched.
struct TextMatch {
    std::size_t position = 0;
    std::size_t length = 0;
};

enum class NameSource { FileName, FolderName };

struct TempoClue {
    std::int32_t bpm = 0;
    NameSource source = NameSource::FileName;
    TextMatch at; // in the stem or in the folder name
};

struct KeyClue {
    std::string key;
    NameSource source = NameSource::FileName;
    TextMatch at; // in the stem or in the folder name
};

struct KeywordClue {
    std::string value;   // the instrument or genre
    std::string keyword; // the table's word that found it
    TextMatch at;        // instrument: in instrumentText; genre: in parentPath
};

// What the names of one file say, and where; parse() reads its names from this.
struct NameClues {
    std::string stem;               // the file name without its extension
    std::string folder;             // the name of the folder holding the file
    std::string parentPath;         // that folder's full path: the genre text
    std::string instrumentText;     // stem, a space and folder
    std::string classificationText; // see MetadataParser::classificationText
    std::optional<TempoClue> tempo;
    std::optional<KeyClue> key;     // empty: the key is "None"
    std::optional<KeywordClue> instrument;
    std::vector<KeywordClue> genres; // vocabulary order
};

// The rules of the loop / one-shot decision, in the order they are weighed.
enum class ScoreRule {
    MidiExtension,      // decides MIDI; nothing else is weighed
    LoopWord,           // a loop keyword in the name; also decides Loop
    OneShotPhrase,
    OneShotKeyword,
    ManyOnsetsWideSpan, // three or more onsets spanning at least 30 % of the length
    ManyOnsetsSpan,     // three or more spanning 22 to 30 %
    TwoOnsetsWithDip,   // two, 1.5 to 3.5 s long, 18 % apart, a clear dip between them
    TwoOnsetsSpan,      // two, 22 % apart
    SingleOnset,
    VeryShort,          // under 1 s
    Short,              // under 2.5 s
    LongWithOnsets,     // over 4 s with two or more onsets
    TempoWithOnsets,    // a tempo and two or more onsets spanning 22 %
    SpreadOnsets,       // three or more onsets spanning 30 %: not a single hit
};

struct ScoreStep {
    ScoreRule rule = ScoreRule::MidiExtension;
    SampleType towards = SampleType::Unknown; // Loop or OneShot: the score it changed
    std::int32_t points = 0;
    std::string keyword;                      // the name rules' word, else ""
    TextMatch at;                             // the name rules' match in the classification text
};

struct ClassificationTrace {
    Classification result;
    std::vector<ScoreStep> steps;
};

class MetadataParser {
public:
    // Tempo in 50..399 read from "140bpm", "bpm 140", "120 am" or "90 loop" shapes.
    std::optional<std::int32_t> parseBpm(std::string_view text) const;

    // "A minor", "C# major", "F#" (flats become sharps) or "None".
    std::string parseKey(std::string_view text) const;

    // The first instrument keyword of a fixed table found in the text, or "".
    std::string parseInstrument(std::string_view text) const;

    // The same rules, with where they matched in `text`.
    std::optional<TempoClue> matchBpm(std::string_view text) const;
    std::optional<KeyClue> matchKey(std::string_view text) const;
    // A folder name must glue a mode to the note; a bare letter is not taken.
    std::optional<KeyClue> matchFolderKey(std::string_view folder) const;
    std::optional<KeywordClue> matchInstrument(std::string_view text) const;
    static std::vector<KeywordClue> matchGenres(std::string_view folderPath);

    // Tempo, key and instrument with the folder fallbacks parse() applies, and the genres.
    NameClues readNames(const std::filesystem::path& path, const std::filesystem::path& libraryRoot) const;

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
    // classifyDetailed with every rule that changed a score, in the order weighed.
    ClassificationTrace traceClassification(const std::filesystem::path& path, std::string_view text,
                                            std::optional<std::int32_t> bpm,
                                            const std::optional<AudioStructure>& structure) const;

    // The record of one file, ready for the database. Reads the file's size and time.
    Sample parse(const std::filesystem::path& path, const std::filesystem::path& libraryRoot,
                 const std::optional<AudioStructure>& structure) const;

private:
    // Separators "-", "_", "/" and "\" become spaces; ASCII letters are lower-cased.
    static std::string prepareText(std::string_view text);
    // `steps` is null when only the result is wanted (every scanned file).
    Classification weigh(const std::filesystem::path& path, std::string_view text, std::optional<std::int32_t> bpm,
                         const std::optional<AudioStructure>& structure, std::vector<ScoreStep>* steps) const;
};

// Canonical spelling of an instrument name: "hats" and "Hi-Hat" are "HiHat", "Key-board"
// is "Keys"; anything else keeps its spelling with the first letter upper-cased.
std::string normalizedInstrument(std::string name);

} // namespace qv
