// Any byte string as a sample name: the name parsers must not crash, and their results
// must stay inside their vocabularies (tempo 50..399, a well-formed key or "None", a
// canonical instrument or ""). The bytes up to the first '/' also serve as a folder.
#include "inference/metadata_explanation.h"
#include "inference/metadata_parser.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <regex>
#include <string>
#include <string_view>

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

bool isInstrument(const std::string& name)
{
    static constexpr std::array<std::string_view, 20> kNames{
        "",      "Open Hat", "HiHat",  "808",     "Kick",  "Snare", "Clap",  "Percussion", "Bass", "Guitar",
        "Piano", "Keys",     "Synth",  "Pad",     "Pluck", "Bell",  "Strings", "Brass",    "Flute", "Vocal",
    };
    if (name == "FX") return true;
    for (const auto known : kNames) {
        if (name == known) return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::regex keyShape{"None|[A-G]#?( major| minor)?"};
    const qv::MetadataParser parser;
    const std::string text(reinterpret_cast<const char*>(data), size);

    const auto bpm = parser.parseBpm(text);
    require(!bpm || (*bpm >= 50 && *bpm <= 399));
    require(std::regex_match(parser.parseKey(text), keyShape));
    require(isInstrument(parser.parseInstrument(text)));

    const std::string normalized = qv::normalizedInstrument(text);
    require(normalized.empty() == text.empty());

    const auto classification = parser.classifyDetailed("/x.wav", text, bpm, std::nullopt);
    require(classification.loopScore == 0 || classification.loopScore == 120);
    require(classification.oneShotScore >= 0 && classification.oneShotScore <= 113);

    // A path made of the bytes: the pipeline must survive empty, "..", separators and NULs.
    const std::string folder = text.substr(0, text.find('/'));
    const std::filesystem::path path = std::filesystem::path("/qv-fuzz-missing") / folder / (text + ".wav");
    const auto sample = parser.parse(path, "/qv-fuzz-missing", std::nullopt);
    require(std::regex_match(sample.musicalKey, keyShape));
    require(sample.genre.empty() == sample.genres.empty());

    // The explanation cuts words out of the names by position: it must stay inside them
    // and agree with the record.
    const auto why = qv::explainMetadata(parser, path, "/qv-fuzz-missing", std::nullopt);
    require(why.classification.type == sample.type);
    require((why.tempo ? std::optional(why.tempo->bpm) : std::nullopt) == sample.bpm);
    require((why.key ? why.key->key : "None") == sample.musicalKey);
    require(why.genres.size() == sample.genres.size());
    if (why.instrument) require(why.instrument->from.word.find(why.instrument->from.token) != std::string::npos);
    return 0;
}
