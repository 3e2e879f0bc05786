// The loop / one-shot decision: name keywords weighed against the onset structure.
#include "inference/metadata_parser.h"

#include "ascii.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace qv {

namespace {

constexpr std::int32_t kMargin = 15;

// "loop" alone already covers most of these; the list is kept whole as documented.
constexpr std::array<std::string_view, 11> kLoopKeywords{
    "loop", "loops", "drum loop", "melody loop", "bass loop", "guitar loop",
    "percussion loop", "vocal loop", "construction loop", "phrase", "groove",
};

constexpr std::array<std::string_view, 3> kOneShotPhrases{"oneshot", "one shot", "one shots"};

// Plain substrings on purpose: "hat" also fires inside "what", "tom" inside "custom".
constexpr std::array<std::string_view, 16> kOneShotKeywords{
    "kick", "snare", "clap", "hat", "hihat", "hi hat", "ride", "crash",
    "cymbal", "tom", "perc", "shaker", "rim", "snap", "808", " fx",
};

template <std::size_t N>
bool containsAny(std::string_view text, const std::array<std::string_view, N>& keywords)
{
    return std::any_of(keywords.begin(), keywords.end(),
                       [text](std::string_view keyword) { return text.find(keyword) != std::string_view::npos; });
}

} // namespace

Classification MetadataParser::classifyDetailed(const std::filesystem::path& path, std::string_view text,
                                                std::optional<std::int32_t> bpm,
                                                const std::optional<AudioStructure>& structure) const
{
    if (hasMidiExtension(path)) return {SampleType::MIDI, 0, 0};

    const std::string prepared = prepareText(text);
    const bool hasLoopWord = containsAny(prepared, kLoopKeywords);
    std::int32_t loop = hasLoopWord ? 120 : 0;
    std::int32_t oneShot = containsAny(prepared, kOneShotPhrases) ? 85 : 0;
    if (containsAny(prepared, kOneShotKeywords)) oneShot += 28;

    if (structure) {
        const auto n = static_cast<std::int32_t>(structure->onsetCount);
        const double d = structure->durationSeconds;
        const double s = structure->onsetSpan;
        const double p = structure->firstGapDip;

        if (n >= 3) {
            if (s >= 0.3) {
                loop += 100;
            } else if (s >= 0.22) {
                loop += 62;
            }
        } else if (n == 2) {
            if (d >= 1.5 && d <= 3.5 && s >= 0.18 && p <= 0.58) {
                loop += 82;
            } else if (s >= 0.22) {
                loop += 62;
            }
        } else if (n == 1) {
            oneShot += 62;
        }

        if (d < 1.0) {
            oneShot += 32;
        } else if (d < 2.5) {
            oneShot += 15;
        } else if (d > 4.0 && n >= 2) {
            loop += 18;
        }

        if (bpm && n >= 2 && s >= 0.22) loop += 20;
        if (s >= 0.3 && n >= 3) oneShot -= 35;
    }

    SampleType type = SampleType::Unknown;
    if (hasLoopWord || loop >= oneShot + kMargin) {
        type = SampleType::Loop;
    } else if (oneShot >= loop + kMargin) {
        type = SampleType::OneShot;
    }
    return {type, loop, oneShot};
}

SampleType MetadataParser::classify(const std::filesystem::path& path, std::string_view text,
                                    std::optional<std::int32_t> bpm,
                                    const std::optional<AudioStructure>& structure) const
{
    return classifyDetailed(path, text, bpm, structure).type;
}

} // namespace qv
