#pragma once
// The inspector's texts, as plain functions: each value the list shows beside where it
// came from (the word in a name, or the user's override), and the type's scores and
// rules in a producer's words. Without an analysis yet (the worker is still reading the
// file) the stored values show with their sources pending.

#include "inspector_analysis.h"
#include "sample.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qv {

struct InspectorField {
    std::string value;
    std::vector<std::string> notes; // where the value came from, one line each
};

struct InspectorReason {
    std::string points;      // "+62", "−35"
    std::string text;        // "A single hit"
    bool towardsLoop = false;
};

struct InspectorTexts {
    std::string name;
    std::string path;
    std::string folder; // the folder the sidebar should select
    std::string notice; // "" unless the file or its library is missing
    std::string library;
    bool libraryOnline = true;
    std::string size;
    std::string duration;
    std::string format;
    std::string playlists; // "" when in none
    bool favorite = false;

    InspectorField tempo;
    InspectorField key;
    InspectorField instrument;
    InspectorField genre;

    std::string type;       // the type the list shows
    std::string typeSource; // "inferred", "your override, set on this sample", …
    std::string verdict;    // why the inferred type won, "" until analysed
    std::optional<std::int32_t> loopScore;
    std::optional<std::int32_t> oneShotScore;
    std::vector<InspectorReason> reasons;
    std::vector<std::string> audio; // the measurement in a few lines
};

InspectorTexts inspectorTexts(const Sample& sample, const InspectorRecord& record, const InspectorAnalysis* analysis);

// Decimal units, as file managers show them: "812 bytes", "1.2 MB".
std::string sizeText(std::int64_t bytes);
// "0.40 s" under ten seconds, "12.5 s" under a minute, then "1:05".
std::string durationText(double seconds);
// "WAV · 44.1 kHz · Stereo"; the extension alone without a format.
std::string formatText(const std::string& path, const std::optional<AudioFormat>& format);
// Where a value came from: "from file name: “140BPM”", "from folder “Trap Loops Am”: “Am”".
std::string sourceText(const Evidence& evidence);

} // namespace qv
