#include "inference/metadata_explanation.h"

#include "library_plan.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace qv {
namespace {

namespace fs = std::filesystem;

// As the parser prepares a text: separators to spaces, ASCII lower case.
std::string prepared(std::string text)
{
    for (char& c : text) {
        if (c == '-' || c == '_' || c == '/' || c == '\\') c = ' ';
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

const std::array<std::optional<AudioStructure>, 6> kStructures{
    std::nullopt,
    AudioStructure{.durationSeconds = 0.4, .onsetCount = 1, .onsetTimes = {0.05}},
    AudioStructure{.durationSeconds = 8.0, .onsetCount = 16, .onsetSpan = 0.9, .firstGapDip = 0.1},
    AudioStructure{.durationSeconds = 3.0, .onsetCount = 2, .onsetSpan = 0.3, .firstGapDip = 0.4},
    AudioStructure{.durationSeconds = 2.0, .onsetCount = 0},
    AudioStructure{.durationSeconds = 5.0, .onsetCount = 3, .onsetSpan = 0.25, .firstGapDip = 0.9},
};

// Everything an explanation claims, checked against parse() and against the rules
// themselves re-run on the words it names.
void expectAgreesWithParse(const fs::path& path, const fs::path& root, const std::optional<AudioStructure>& structure)
{
    SCOPED_TRACE(path.string());
    const MetadataParser parser;
    const Sample sample = parser.parse(path, root, structure);
    const MetadataExplanation why = explainMetadata(parser, path, root, structure);

    ASSERT_EQ(why.tempo.has_value(), sample.bpm.has_value());
    if (why.tempo) {
        EXPECT_EQ(why.tempo->bpm, *sample.bpm);
        const auto& from = why.tempo->from;
        // The token alone gives the tempo, and so does the name it was found in.
        EXPECT_EQ(parser.parseBpm(from.token), sample.bpm) << from.token;
        if (from.source == NameSource::FolderName) {
            EXPECT_EQ(from.folder, path.parent_path().filename().string());
            EXPECT_EQ(parser.parseBpm(path.stem().string()), std::nullopt);
        }
    }

    EXPECT_EQ(why.key ? why.key->key : "None", sample.musicalKey);
    if (why.key) {
        const auto& from = why.key->from;
        const auto reread = from.source == NameSource::FileName ? parser.matchKey(from.token)
                                                                : parser.matchFolderKey(from.token);
        ASSERT_TRUE(reread) << from.token;
        EXPECT_EQ(reread->key, sample.musicalKey);
    }

    EXPECT_EQ(why.instrument ? why.instrument->value : "", sample.instrument);
    if (why.instrument) {
        std::string keyword = why.instrument->keyword; // only " fx " carries spaces
        if (keyword == " fx ") keyword = "fx";
        EXPECT_EQ(prepared(why.instrument->from.token), keyword);
    }

    std::vector<std::string> genres;
    for (const auto& genre : why.genres) {
        genres.push_back(genre.value);
        EXPECT_EQ(prepared(genre.from.token), genre.keyword);
        EXPECT_NE(path.parent_path().string().find(genre.from.folder), std::string::npos);
        EXPECT_NE(genre.from.folder.find(genre.from.token), std::string::npos);
    }
    EXPECT_EQ(genres, sample.genres);

    EXPECT_EQ(why.classification.type, sample.type);
    const auto scores = parser.classifyDetailed(path, MetadataParser::classificationText(path, root), sample.bpm, structure);
    EXPECT_EQ(why.classification.loopScore, scores.loopScore);
    EXPECT_EQ(why.classification.oneShotScore, scores.oneShotScore);
    std::int32_t loop = 0, oneShot = 0;
    for (const auto& step : why.steps) {
        (step.towards == SampleType::Loop ? loop : oneShot) += step.points;
        if (step.from) {
            EXPECT_NE(step.from->word.find(step.from->token), std::string::npos);
            EXPECT_NE(prepared(why.classificationText).find(prepared(step.from->token)), std::string::npos);
        }
    }
    if (sample.type != SampleType::MIDI) {
        EXPECT_EQ(loop, scores.loopScore);
        EXPECT_EQ(oneShot, scores.oneShotScore);
    }
}

TEST(MetadataExplanationTest, AgreesWithParseOverAGeneratedLibraryAndOddNames)
{
    const fs::path root = "/Users/me/Sample Packs";
    std::vector<fs::path> paths;
    testkit::LibraryPlan plan(20240611, testkit::indexMix(600));
    while (auto file = plan.next()) paths.push_back(root / file->relativePath);
    for (const char* odd : {
             "Trap Loops Am/Dark_Keys_140BPM.wav", "Drums/Custom Texture.wav", "Hip/Hop/x.wav",
             "90 BPM Keys/Pad.wav", "Loops/song.MID", "FX/Riser_FX_01.aif", "key ebmaj/Open Hat.wav",
             "Hat Samples/Open.wav", "120 am/Vox a cappella.wav", "./One Shots/Bbm Stab bpm 085.wav",
             "Pop-Corn_Sounds/Warehouse One-Shot Kick 808.wav", "Ünïcode Drums/Snäre 95 F#.wav",
         }) {
        paths.push_back(root / odd);
    }
    paths.push_back("/Hip-Hop/outside the root 100bpm.wav");
    ASSERT_GT(paths.size(), 500u);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        expectAgreesWithParse(paths[i], root, kStructures[i % kStructures.size()]);
        if (HasFatalFailure()) return;
    }
}

TEST(MetadataExplanationTest, EvidenceNamesTheWordAndTheNameItCameFrom)
{
    const MetadataParser parser;
    const fs::path root = "/lib";

    const auto loop = explainMetadata(parser, "/lib/Trap Loops Am/Dark_Keys_140BPM.wav", root, std::nullopt);
    ASSERT_TRUE(loop.tempo && loop.key && loop.instrument);
    EXPECT_EQ(loop.tempo->from.token, "140BPM");
    EXPECT_EQ(loop.tempo->from.source, NameSource::FileName);
    EXPECT_EQ(loop.key->key, "A minor");
    EXPECT_EQ(loop.key->from.token, "Am");
    EXPECT_EQ(loop.key->from.folder, "Trap Loops Am");
    EXPECT_EQ(loop.instrument->from.token, "Keys");
    EXPECT_EQ(loop.instrument->from.source, NameSource::FileName);
    ASSERT_EQ(loop.genres.size(), 1u);
    EXPECT_EQ(loop.genres[0].from.token, "Trap");
    ASSERT_EQ(loop.steps.size(), 1u);
    EXPECT_EQ(loop.steps[0].rule, ScoreRule::LoopWord);
    EXPECT_EQ(loop.steps[0].from->token, "Loop");
    EXPECT_EQ(loop.steps[0].from->word, "Loops");
    EXPECT_EQ(loop.steps[0].from->folder, "Trap Loops Am");

    // "tom" hides in "Custom"; the audio adds a single hit and a short length.
    const auto hit = explainMetadata(parser, "/lib/Drums/Custom Texture.wav", root, kStructures[1]);
    EXPECT_EQ(hit.classification.type, SampleType::OneShot);
    ASSERT_EQ(hit.steps.size(), 3u);
    EXPECT_EQ(hit.steps[0].rule, ScoreRule::OneShotKeyword);
    EXPECT_EQ(hit.steps[0].from->token, "tom");
    EXPECT_EQ(hit.steps[0].from->word, "Custom");
    EXPECT_EQ(hit.steps[0].from->source, NameSource::FileName);
    EXPECT_EQ(hit.steps[1].rule, ScoreRule::SingleOnset);
    EXPECT_EQ(hit.steps[2].rule, ScoreRule::VeryShort);
    EXPECT_DOUBLE_EQ(*hit.onsetRate(), 2.5);

    // Tempo and instrument from a folder; a genre written across two folders.
    const auto pad = explainMetadata(parser, "/lib/Hip/Hop/90 BPM Keys/Pad.wav", root, std::nullopt);
    ASSERT_TRUE(pad.tempo && pad.instrument);
    EXPECT_EQ(pad.tempo->from.token, "90 BPM");
    EXPECT_EQ(pad.tempo->from.folder, "90 BPM Keys");
    EXPECT_EQ(pad.instrument->value, "Keys"); // table order: keys before pad
    EXPECT_EQ(pad.instrument->from.source, NameSource::FolderName);
    EXPECT_EQ(pad.instrument->from.folder, "90 BPM Keys");
    ASSERT_EQ(pad.genres.size(), 1u);
    EXPECT_EQ(pad.genres[0].from.token, "Hip/Hop");
    EXPECT_EQ(pad.genres[0].from.folder, "Hip/Hop");

    const auto fx = explainMetadata(parser, "/lib/Risers/Riser_FX_01.wav", root, std::nullopt);
    ASSERT_TRUE(fx.instrument);
    EXPECT_EQ(fx.instrument->from.token, "FX");
    ASSERT_EQ(fx.steps.size(), 1u);
    EXPECT_EQ(fx.steps[0].from->token, "FX");

    const auto midi = explainMetadata(parser, "/lib/Loops/song.mid", root, kStructures[2]);
    ASSERT_EQ(midi.steps.size(), 1u);
    EXPECT_EQ(midi.steps[0].rule, ScoreRule::MidiExtension);
    EXPECT_EQ(midi.classification.type, SampleType::MIDI);
}

} // namespace
} // namespace qv
