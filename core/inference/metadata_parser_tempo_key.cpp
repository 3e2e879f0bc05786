// Tempo and key from names.
#include "inference/metadata_parser.h"

#include "ascii.h"

#include <array>
#include <regex>
#include <string>
#include <string_view>
#include <utility>

namespace qv {

namespace {

struct TempoKeyPatterns {
    static constexpr auto kFlags = std::regex::ECMAScript | std::regex::icase;

    std::regex bpmWord{R"((?:\bbpm\s*(0?(?:[5-9]\d|[12]\d\d|3\d\d))\b)|(?:\b(0?(?:[5-9]\d|[12]\d\d|3\d\d))\s*bpm\b))",
                       kFlags};
    std::regex bpmGlued{R"((\d+)bpm)", kFlags};
    std::regex numberBeforeKey{R"((?:^|\s)(\d{2,3})\s+[a-g](?:#|b)?m?(?=\s|\.|$))", kFlags};
    std::regex numberBeforeLoop{R"((?:^|\s)(\d{2,3})\s+(?:(?:drum\s+)?loop)(?=\s|\.|$))", kFlags};
    std::regex keyWithMode{R"((?:^|\s)([a-gA-G])([#b]?)\s*(maj(?:or)?|min(?:or)?|m)(?=\s|\.|$))", kFlags};
    std::regex loneNote{R"((?:^|\s)([a-gA-G])([#b]?)(?=\s|\.|$))", kFlags};
    std::regex folderKey{R"((?:^|\s)(?:key\s+)?([a-g])([#b]?)(maj(?:or)?|min(?:or)?|m)(?=\s|$))", kFlags};
};

// Compiled on first use; C++ guarantees the one-time initialisation is thread-safe.
const TempoKeyPatterns& patterns()
{
    static const TempoKeyPatterns compiled;
    return compiled;
}

// Callers pass at most three digits (an optional "0" and up to three), so no overflow.
std::int32_t decimal(const std::ssub_match& digits)
{
    std::int32_t value = 0;
    for (const char c : digits.str()) value = value * 10 + (c - '0');
    return value;
}

bool inTempoRange(std::int32_t value)
{
    return value >= 50 && value <= 399;
}

std::string normalizedKey(const std::smatch& match)
{
    // No entries for E# or B#: they pass through unchanged.
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kFlats{{
        {"Cb", "B"}, {"Db", "C#"}, {"Eb", "D#"}, {"Fb", "E"}, {"Gb", "F#"}, {"Ab", "G#"}, {"Bb", "A#"},
    }};

    const char letter = match[1].str()[0];
    std::string note(1, letter >= 'a' ? static_cast<char>(letter - 'a' + 'A') : letter);
    const std::string accidental = match[2].str();
    if (accidental == "b") {
        const std::string flat = note + "b";
        for (const auto& [from, to] : kFlats) {
            if (from == flat) note = to;
        }
    } else {
        note += accidental;
    }
    const std::string mode = ascii::lowered(match.size() > 3 ? match[3].str() : std::string());
    if (mode == "m" || mode.starts_with("min")) return note + " minor";
    if (mode.starts_with("maj")) return note + " major";
    return note;
}

} // namespace

std::optional<std::int32_t> MetadataParser::parseBpm(std::string_view text) const
{
    if (text.size() > kMaxNameTextBytes) return std::nullopt;
    const auto& re = patterns();
    const std::string prepared = prepareText(text);
    std::smatch match;

    // The expression itself only admits 50..399.
    if (std::regex_search(prepared, match, re.bpmWord)) {
        return decimal(match[1].matched ? match[1] : match[2]);
    }
    if (std::regex_search(prepared, match, re.bpmGlued) && match[1].length() <= 3) {
        if (const auto value = decimal(match[1]); inTempoRange(value)) return value;
    }
    if (std::regex_search(prepared, match, re.numberBeforeKey)) {
        if (const auto value = decimal(match[1]); inTempoRange(value)) return value;
    }
    if (std::regex_search(prepared, match, re.numberBeforeLoop)) {
        if (const auto value = decimal(match[1]); inTempoRange(value)) return value;
    }
    return std::nullopt;
}

std::string MetadataParser::parseKey(std::string_view text) const
{
    if (text.size() > kMaxNameTextBytes) return "None";
    const auto& re = patterns();
    const std::string prepared = prepareText(text);
    std::smatch match;
    if (std::regex_search(prepared, match, re.keyWithMode)) return normalizedKey(match);
    if (std::regex_search(prepared, match, re.loneNote)) return normalizedKey(match);
    return "None";
}

// Folder names must glue a mode to the note ("am", "key ebmaj"); a bare letter is not
// taken, unlike in a file name.
std::string MetadataParser::folderKey(std::string_view folder) const
{
    if (folder.size() > kMaxNameTextBytes) return "None";
    const std::string prepared = prepareText(folder);
    std::smatch match;
    if (!std::regex_search(prepared, match, patterns().folderKey)) return "None";
    return parseKey(match[0].str());
}

} // namespace qv
