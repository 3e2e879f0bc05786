// Why the parser inferred what it did for one file: the word each value was read from, in
// which name (the file's or a folder's), and every rule that moved the loop and one-shot
// scores, with the audio measures behind them. What the sample inspector shows.
//
// Built from the parser's own clue and trace calls, the ones parse() uses, so it always
// agrees with parse() for the same path, root and structure. Pure and synchronous: it
// reads no file itself (the caller measures the audio); any thread.
#pragma once

#include "inference/metadata_parser.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace qv {

// Where a value came from, as the user wrote it.
struct Evidence {
    std::string token;      // the matched bytes of the name: "140BPM", "Am", "Key Ebmaj"
    std::string word;       // the whole word around them: "Custom" for the token "tom"
    NameSource source = NameSource::FileName; // where the token starts
    // The folder the token is in (a FolderName source), or the folder it runs into from
    // the file name; two names joined by "/" when it spans a separator. "" otherwise.
    std::string folder;
};

struct TempoExplanation {
    std::int32_t bpm = 0;
    Evidence from;
};

struct KeyExplanation {
    std::string key;
    Evidence from;
};

struct KeywordExplanation {
    std::string value;   // instrument or genre
    std::string keyword; // the table's word
    Evidence from;
};

struct ScoreExplanation {
    ScoreRule rule = ScoreRule::MidiExtension;
    SampleType towards = SampleType::Unknown;
    std::int32_t points = 0;
    std::optional<Evidence> from; // for the name rules
};

struct MetadataExplanation {
    std::optional<TempoExplanation> tempo;
    std::optional<KeyExplanation> key; // empty: "None"
    std::optional<KeywordExplanation> instrument;
    std::vector<KeywordExplanation> genres; // vocabulary order; the first is the display genre
    std::string classificationText;
    Classification classification;
    std::vector<ScoreExplanation> steps; // in the order weighed
    std::optional<AudioStructure> structure;

    // Onsets per second; empty without a measurement or a length.
    std::optional<double> onsetRate() const;
};

MetadataExplanation explainMetadata(const MetadataParser& parser, const std::filesystem::path& path,
                                    const std::filesystem::path& libraryRoot,
                                    const std::optional<AudioStructure>& structure);

} // namespace qv
