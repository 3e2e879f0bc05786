// The loop / one-shot decision: name keywords weighed against the onset structure.
#include "inference/metadata_parser.h"

#include "ascii.h"

#include <array>
#include <optional>
#include <utility>
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

// The first keyword of the list found in the text, in list order.
template <std::size_t N>
std::optional<std::pair<std::string_view, std::size_t>> findAny(std::string_view text,
                                                                 const std::array<std::string_view, N>& keywords)
{
    for (const std::string_view keyword : keywords) {
        if (const auto found = text.find(keyword); found != std::string_view::npos) return std::pair(keyword, found);
    }
    return std::nullopt;
}

} // namespace

Classification MetadataParser::weigh(const std::filesystem::path& path, std::string_view text,
                                     std::optional<std::int32_t> bpm, const std::optional<AudioStructure>& structure,
                                     std::vector<ScoreStep>* steps) const
{
    std::int32_t loop = 0;
    std::int32_t oneShot = 0;
    const auto add = [&](ScoreRule rule, SampleType towards, std::int32_t points, std::string_view keyword = {},
                         TextMatch at = {}) {
        (towards == SampleType::Loop ? loop : oneShot) += points;
        if (steps) steps->push_back({rule, towards, points, std::string(keyword), at});
    };
    // " fx" carries its space; the word it found starts after it.
    const auto wordAt = [](std::string_view keyword, std::size_t found) {
        const std::size_t lead = keyword.starts_with(' ') ? 1 : 0;
        return TextMatch{found + lead, keyword.size() - lead};
    };

    if (hasMidiExtension(path)) {
        add(ScoreRule::MidiExtension, SampleType::MIDI, 0);
        return {SampleType::MIDI, 0, 0};
    }

    const std::string prepared = prepareText(text);
    const auto loopWord = findAny(prepared, kLoopKeywords);
    if (loopWord) add(ScoreRule::LoopWord, SampleType::Loop, 120, loopWord->first, wordAt(loopWord->first, loopWord->second));
    if (const auto phrase = findAny(prepared, kOneShotPhrases)) {
        add(ScoreRule::OneShotPhrase, SampleType::OneShot, 85, phrase->first, wordAt(phrase->first, phrase->second));
    }
    if (const auto keyword = findAny(prepared, kOneShotKeywords)) {
        add(ScoreRule::OneShotKeyword, SampleType::OneShot, 28, keyword->first, wordAt(keyword->first, keyword->second));
    }

    if (structure) {
        const auto n = static_cast<std::int32_t>(structure->onsetCount);
        const double d = structure->durationSeconds;
        const double s = structure->onsetSpan;
        const double p = structure->firstGapDip;

        if (n >= 3) {
            if (s >= 0.3) {
                add(ScoreRule::ManyOnsetsWideSpan, SampleType::Loop, 100);
            } else if (s >= 0.22) {
                add(ScoreRule::ManyOnsetsSpan, SampleType::Loop, 62);
            }
        } else if (n == 2) {
            if (d >= 1.5 && d <= 3.5 && s >= 0.18 && p <= 0.58) {
                add(ScoreRule::TwoOnsetsWithDip, SampleType::Loop, 82);
            } else if (s >= 0.22) {
                add(ScoreRule::TwoOnsetsSpan, SampleType::Loop, 62);
            }
        } else if (n == 1) {
            add(ScoreRule::SingleOnset, SampleType::OneShot, 62);
        }

        if (d < 1.0) {
            add(ScoreRule::VeryShort, SampleType::OneShot, 32);
        } else if (d < 2.5) {
            add(ScoreRule::Short, SampleType::OneShot, 15);
        } else if (d > 4.0 && n >= 2) {
            add(ScoreRule::LongWithOnsets, SampleType::Loop, 18);
        }

        if (bpm && n >= 2 && s >= 0.22) add(ScoreRule::TempoWithOnsets, SampleType::Loop, 20);
        if (s >= 0.3 && n >= 3) add(ScoreRule::SpreadOnsets, SampleType::OneShot, -35);
    }

    SampleType type = SampleType::Unknown;
    if (loopWord || loop >= oneShot + kMargin) {
        type = SampleType::Loop;
    } else if (oneShot >= loop + kMargin) {
        type = SampleType::OneShot;
    }
    return {type, loop, oneShot};
}

Classification MetadataParser::classifyDetailed(const std::filesystem::path& path, std::string_view text,
                                                std::optional<std::int32_t> bpm,
                                                const std::optional<AudioStructure>& structure) const
{
    return weigh(path, text, bpm, structure, nullptr);
}

SampleType MetadataParser::classify(const std::filesystem::path& path, std::string_view text,
                                    std::optional<std::int32_t> bpm,
                                    const std::optional<AudioStructure>& structure) const
{
    return weigh(path, text, bpm, structure, nullptr).type;
}

ClassificationTrace MetadataParser::traceClassification(const std::filesystem::path& path, std::string_view text,
                                                        std::optional<std::int32_t> bpm,
                                                        const std::optional<AudioStructure>& structure) const
{
    ClassificationTrace trace;
    trace.result = weigh(path, text, bpm, structure, &trace.steps);
    return trace;
}

} // namespace qv
