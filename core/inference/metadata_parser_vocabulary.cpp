// Instrument and genre vocabularies, matched as plain substrings.
#include "inference/metadata_parser.h"

#include "ascii.h"

#include <array>
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

std::string MetadataParser::parseInstrument(std::string_view text) const
{
    std::string padded(1, ' ');
    padded += prepareText(text);
    padded += ' ';
    for (const auto& [keyword, instrument] : kInstrumentKeywords) {
        if (padded.find(keyword) != std::string::npos) return std::string(instrument);
    }
    return "";
}

std::vector<std::string> MetadataParser::genresOf(std::string_view folderPath)
{
    const std::string prepared = prepareText(folderPath);
    std::vector<std::string> genres;
    for (const auto keyword : kGenreKeywords) {
        if (prepared.find(keyword) != std::string::npos) genres.emplace_back(keyword);
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
