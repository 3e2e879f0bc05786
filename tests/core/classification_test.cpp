#include "inference/metadata_parser.h"

#include <gtest/gtest.h>

#include <optional>

namespace qv {
namespace {

struct Measures {
    std::uint64_t onsets;
    double duration, span, dip;
};

struct ClassifyCase {
    const char* text;
    std::optional<std::int32_t> bpm;
    std::optional<Measures> measures;
    SampleType type;
    std::int32_t loop, oneShot;
};

std::optional<AudioStructure> structureOf(const std::optional<Measures>& m)
{
    if (!m) return std::nullopt;
    return AudioStructure{.durationSeconds = m->duration, .onsetCount = m->onsets, .onsetSpan = m->span,
                          .firstGapDip = m->dip};
}

void expectClassified(const ClassifyCase& c)
{
    SCOPED_TRACE(c.text);
    const MetadataParser parser;
    const auto result = parser.classifyDetailed("/lib/x.wav", c.text, c.bpm, structureOf(c.measures));
    EXPECT_EQ(result.type, c.type);
    EXPECT_EQ(result.loopScore, c.loop);
    EXPECT_EQ(result.oneShotScore, c.oneShot);
    EXPECT_EQ(parser.classify("/lib/x.wav", c.text, c.bpm, structureOf(c.measures)), c.type);
}

constexpr auto Loop = SampleType::Loop;
constexpr auto OneShot = SampleType::OneShot;
constexpr auto Unknown = SampleType::Unknown;

TEST(ClassificationTest, NameKeywordsAloneDecideWithoutAudio)
{
    const ClassifyCase cases[] = {
        {"Loops Pad 90bpm", 90, std::nullopt, Loop, 120, 0},
        {"Grooves Dusty Break", std::nullopt, std::nullopt, Loop, 120, 0},
        {"Kicks Kick_Loop_01", std::nullopt, std::nullopt, Loop, 120, 28},  // a loop word always wins
        {"One-Shots Chord Stab", std::nullopt, std::nullopt, OneShot, 0, 85},
        {"oneshot Snare", std::nullopt, std::nullopt, OneShot, 0, 113},
        {"Custom Texture", std::nullopt, std::nullopt, OneShot, 0, 28},     // "tom" hides in "custom"
        {"Riser_FX_01", std::nullopt, std::nullopt, OneShot, 0, 28},
        {"BFX Riser", std::nullopt, std::nullopt, Unknown, 0, 0},           // " fx" needs its space
        {". Ambient Texture", std::nullopt, std::nullopt, Unknown, 0, 0},
    };
    for (const auto& c : cases) expectClassified(c);
}

TEST(ClassificationTest, OnsetCountsAddTheirWeights)
{
    // The same 3 s file with 0 to 3 onsets; lengths of 3 s add nothing by themselves.
    const ClassifyCase cases[] = {
        {"x", std::nullopt, Measures{0, 3.0, 0.0, 1.0}, Unknown, 0, 0},
        {"x", std::nullopt, Measures{1, 3.0, 0.0, 1.0}, OneShot, 0, 62},
        {"x", std::nullopt, Measures{2, 3.0, 0.3, 0.4}, Loop, 82, 0},
        {"x", std::nullopt, Measures{2, 3.0, 0.18, 0.58}, Loop, 82, 0},    // window edges are inclusive
        {"x", std::nullopt, Measures{2, 3.0, 0.179, 0.4}, Unknown, 0, 0},
        {"x", std::nullopt, Measures{2, 3.0, 0.3, 0.581}, Loop, 62, 0},     // shallow dip: the plain span rule
        {"x", std::nullopt, Measures{2, 3.0, 0.21, 0.9}, Unknown, 0, 0},
        {"x", std::nullopt, Measures{2, 3.5, 0.2, 0.5}, Loop, 82, 0},
        {"x", std::nullopt, Measures{2, 3.6, 0.2, 0.5}, Unknown, 0, 0},
        {"x", std::nullopt, Measures{3, 3.0, 0.3, 1.0}, Loop, 100, -35},
        {"x", std::nullopt, Measures{3, 3.0, 0.29, 1.0}, Loop, 62, 0},
        {"x", std::nullopt, Measures{3, 3.0, 0.219, 1.0}, Unknown, 0, 0},
        {"x", 120, Measures{1, 3.0, 0.0, 1.0}, OneShot, 0, 62},             // tempo needs two onsets
        {"x", 120, Measures{2, 3.0, 0.22, 0.9}, Loop, 82, 0},
        {"x", 120, Measures{2, 3.0, 0.21, 0.9}, Unknown, 0, 0},
    };
    for (const auto& c : cases) expectClassified(c);
}

TEST(ClassificationTest, LengthBandsAndTheInclusiveMargin)
{
    const ClassifyCase cases[] = {
        {"Drums Kick 01", std::nullopt, Measures{1, 0.4, 0.0, 1.0}, OneShot, 0, 122},
        {"x", std::nullopt, Measures{0, 0.999, 0.0, 1.0}, OneShot, 0, 32},
        {"x", std::nullopt, Measures{0, 1.0, 0.0, 1.0}, OneShot, 0, 15},    // 15 >= 0 + 15
        {"x", std::nullopt, Measures{0, 2.499, 0.0, 1.0}, OneShot, 0, 15},
        {"x", std::nullopt, Measures{0, 2.5, 0.0, 1.0}, Unknown, 0, 0},
        {"x", std::nullopt, Measures{2, 4.0, 0.0, 1.0}, Unknown, 0, 0},
        {"x", std::nullopt, Measures{2, 4.001, 0.0, 1.0}, Loop, 18, 0},
        {"x", std::nullopt, Measures{1, 5.0, 0.0, 1.0}, OneShot, 0, 62},    // long, but one onset
        {"x", std::nullopt, Measures{16, 8.0, 0.9, 0.1}, Loop, 118, -35},
        // A one-shot phrase against a busy long file: the tempo's 20 lifts the loop score
        // to exactly 15 over, without it the scores are too close to call.
        {"One Shots Stab", std::nullopt, Measures{2, 5.0, 0.25, 0.9}, Unknown, 80, 85},
        {"One Shots Stab", 120, Measures{2, 5.0, 0.25, 0.9}, Loop, 100, 85},
        {"One Shots Stab", std::nullopt, Measures{3, 1.2, 0.25, 1.0}, OneShot, 62, 100},
        {"One Shots Stab", std::nullopt, Measures{3, 3.0, 0.3, 1.0}, Loop, 100, 50},
        {"One Shot Kick", std::nullopt, Measures{3, 1.2, 0.3, 1.0}, Unknown, 100, 93},
    };
    for (const auto& c : cases) expectClassified(c);
}

TEST(ClassificationTest, MidiFilesAreMidiWhateverTheirNameSays)
{
    const MetadataParser parser;
    Measures busy{8, 4.0, 0.9, 0.1};
    for (const char* path : {"/lib/Loops/song.mid", "/lib/Kick.MIDI", "/lib/One Shots/x.Mid"}) {
        const auto result = parser.classifyDetailed(path, "Loops song one shot", 120, structureOf(busy));
        EXPECT_EQ(result.type, SampleType::MIDI) << path;
        EXPECT_EQ(result.loopScore, 0);
        EXPECT_EQ(result.oneShotScore, 0);
    }
    EXPECT_EQ(parser.classify("/lib/Loops/song.midi.wav", "Drums Kick", std::nullopt, std::nullopt),
              SampleType::OneShot);
}

} // namespace
} // namespace qv
