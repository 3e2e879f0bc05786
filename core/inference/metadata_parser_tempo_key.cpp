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

// The whole match without the space some expressions take in front of it.
TextMatch spanOf(const std::string& prepared, const std::smatch& match)
{
    auto position = static_cast<std::size_t>(match.position(0));
    const std::size_t end = position + static_cast<std::size_t>(match.length(0));
    while (position < end && ascii::isSpace(prepared[position])) ++position;
    return {position, end - position};
}

} // namespace

std::optional<TempoClue> MetadataParser::matchBpm(std::string_view text) const
{
    if (text.size() > kMaxNameTextBytes) return std::nullopt;
    const auto& re = patterns();
    const std::string prepared = prepareText(text);
    std::smatch match;
    const auto clue = [&](std::int32_t bpm) { return TempoClue{bpm, NameSource::FileName, spanOf(prepared, match)}; };

    // The expression itself only admits 50..399.
    if (std::regex_search(prepared, match, re.bpmWord)) {
        return clue(decimal(match[1].matched ? match[1] : match[2]));
    }
    if (std::regex_search(prepared, match, re.bpmGlued) && match[1].length() <= 3) {
        if (const auto value = decimal(match[1]); inTempoRange(value)) return clue(value);
    }
    if (std::regex_search(prepared, match, re.numberBeforeKey)) {
        if (const auto value = decimal(match[1]); inTempoRange(value)) return clue(value);
    }
    if (std::regex_search(prepared, match, re.numberBeforeLoop)) {
        if (const auto value = decimal(match[1]); inTempoRange(value)) return clue(value);
    }
    return std::nullopt;
}

std::optional<std::int32_t> MetadataParser::parseBpm(std::string_view text) const
{
    const auto clue = matchBpm(text);
    return clue ? std::optional(clue->bpm) : std::nullopt;
}

std::optional<KeyClue> MetadataParser::matchKey(std::string_view text) const
{
    if (text.size() > kMaxNameTextBytes) return std::nullopt;
    const auto& re = patterns();
    const std::string prepared = prepareText(text);
    std::smatch match;
    if (std::regex_search(prepared, match, re.keyWithMode) || std::regex_search(prepared, match, re.loneNote)) {
        return KeyClue{normalizedKey(match), NameSource::FileName, spanOf(prepared, match)};
    }
    return std::nullopt;
}

std::string MetadataParser::parseKey(std::string_view text) const
{
    const auto clue = matchKey(text);
    return clue ? clue->key : "None";
}

// The folder expression only finds the key; the file name's rules read what it found.
std::optional<KeyClue> MetadataParser::matchFolderKey(std::string_view folder) const
{
    if (folder.size() > kMaxNameTextBytes) return std::nullopt;
    const std::string prepared = prepareText(folder);
    std::smatch match;
    if (!std::regex_search(prepared, match, patterns().folderKey)) return std::nullopt;
    const auto key = matchKey(match[0].str());
    if (!key) return std::nullopt;
    return KeyClue{key->key, NameSource::FolderName, spanOf(prepared, match)};
}

} // namespace qv
