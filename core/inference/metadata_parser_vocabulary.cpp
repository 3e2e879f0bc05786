// Instrument and genre vocabularies, matched as plain substrings.
#include "inference/metadata_parser.h"

#include "ascii.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace qv {

namespace {

// Order settles overlaps: "open hat" before "hi hat", "808" before "kick" and "bass",
// "kick" before "snare", "bass" before "synth". Only " fx " must stand as a word.
constexpr std::array<std::pair<std::string_view, std::string_view>, 21> kInstrumentKeywords{{
    {"open hat", "Open Hat"}, {"hi hat", "HiHat"},   {"hihat", "HiHat"},     {"808", "808"},
    {"kick", "Kick"},         {"snare", "Snare"},    {"clap", "Clap"},       {"perc", "Percussion"},
    {"bass", "Bass"},         {"guitar", "Guitar"},  {"piano", "Piano"},     {"keys", "Keys"},
    {"synth", "Synth"},       {"pad", "Pad"},        {"pluck", "Pluck"},     {"bell", "Bell"},
    {"strings", "Strings"},   {"brass", "Brass"},    {"flute", "Flute"},     {"vocal", "Vocal"},
    {" fx ", "FX"},
}};

// Substring matches are wanted: "pop" inside "popcorn" and "house" inside "warehouse"
// count, and "hip hop" needs its separator (written "Hip-Hop" or "hip_hop").
constexpr std::array<std::string_view, 9> kGenreKeywords{
    "trap", "hip hop", "house", "rnb", "pop", "cinematic", "acoustic", "soul", "latin",
};

constexpr std::array<std::pair<std::string_view, std::string_view>, 14> kInstrumentSpellings{{
    {"hat", "HiHat"},         {"hats", "HiHat"},      {"hihat", "HiHat"},
    {"key", "Keys"},          {"keys", "Keys"},       {"keyboard", "Keys"},
    {"perc", "Percussion"},   {"percussion", "Percussion"},
    {"fx", "FX"},             {"sfx", "FX"},
    {"vocal", "Vocal"},       {"vocals", "Vocal"},
    {"cymbal", "Cymbal"},     {"cymbals", "Cymbal"},
}};

} // namespace

std::optional<KeywordClue> MetadataParser::matchInstrument(std::string_view text) const
{
    std::string padded(1, ' ');
    padded += prepareText(text);
    padded += ' ';
    for (const auto& [keyword, instrument] : kInstrumentKeywords) {
        const auto found = padded.find(keyword);
        if (found == std::string::npos) continue;
        // Back to the unpadded text, without the spaces " fx " carries.
        std::size_t begin = found;
        std::size_t end = found + keyword.size();
        while (begin < end && padded[begin] == ' ') ++begin;
        while (end > begin && padded[end - 1] == ' ') --end;
        return KeywordClue{std::string(instrument), std::string(keyword), {begin - 1, end - begin}};
    }
    return std::nullopt;
}

std::string MetadataParser::parseInstrument(std::string_view text) const
{
    auto clue = matchInstrument(text);
    return clue ? std::move(clue->value) : std::string();
}

std::vector<KeywordClue> MetadataParser::matchGenres(std::string_view folderPath)
{
    const std::string prepared = prepareText(folderPath);
    std::vector<KeywordClue> genres;
    for (const auto keyword : kGenreKeywords) {
        const auto found = prepared.find(keyword);
        if (found != std::string::npos) genres.push_back({std::string(keyword), std::string(keyword), {found, keyword.size()}});
    }
    return genres;
}

std::string normalizedInstrument(std::string name)
{
    std::string key;
    for (const char c : name) {
        if (ascii::isAlnum(c)) key += ascii::lower(c);
    }
    for (const auto& [spelling, canonical] : kInstrumentSpellings) {
        if (key == spelling) return std::string(canonical);
    }
    if (!name.empty()) name[0] = ascii::upper(name[0]);
    return name;
}

} // namespace qv
