#include "inference/metadata_parser.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace qv {
namespace {

struct TempoCase {
    const char* text;
    std::optional<std::int32_t> bpm;
};

TEST(MetadataParserTest, TempoIsReadFromTheFirstShapeThatYieldsOne)
{
    const TempoCase cases[] = {
        {"Loop_140BPM", 140}, {"bpm140", 140}, {"140 bpm", 140}, {"drums 120 am", 120}, {"Vocal Chop 95 F#", 95},
        {"128 - C# min - Pad", 128}, {"Pad 85 drum loop", 85}, {"Break 170 Drum Loop.wav", 170},
        {"Pad 45 loop", std::nullopt}, {"Song 2 loop", std::nullopt},
        {"x120bpm", 120},                // glued to a word: only the plain "(\d+)bpm" sees it
        {"bpm 085 groove", 85},          // a leading zero is allowed
        {"BPM 40", std::nullopt},        // below 50, and no other shape applies
        {"Intro 400bpm", std::nullopt},  // above 399 in both glued shapes
        {"Kick 1000bpm", std::nullopt},  // four digits: no word boundary, too long when glued
        {"x1200bpm 90 loop", 90},        // the glued run is too long, the loop shape still counts
        {"Kit_x0120bpm", std::nullopt},  // four glued digits are refused even with a tempo inside
        {"Bass 120 amb", std::nullopt},  // the key must end at a space, dot or the end
        {"808 F Slide", std::nullopt},   // 808 is out of range as a tempo
        {"45 am then 120 am", std::nullopt},  // only the leftmost number before a key is looked at
        {"45 c 120 loop", 120},               // an out-of-range key number falls through to the loop shape
        {"Pad 90 loop 120bpm", 120},          // shape order, not position, decides
    };
    const MetadataParser parser;
    for (const auto& c : cases) EXPECT_EQ(parser.parseBpm(c.text), c.bpm) << c.text;
}

TEST(MetadataParserTest, TextsLongerThanANameAreNotSearched)
{
    // std::regex recurses per character: a long digit or space run would overflow the stack.
    const MetadataParser parser;
    const std::string tail = " 140bpm Am";
    const std::string longest = std::string(kMaxNameTextBytes - tail.size(), 'x') + tail;
    EXPECT_EQ(parser.parseBpm(longest), 140);
    EXPECT_EQ(parser.parseKey(longest), "A minor");
    EXPECT_EQ(parser.parseBpm("x" + longest), std::nullopt);
    EXPECT_EQ(parser.parseKey("x" + longest), "None");
    EXPECT_EQ(parser.parseBpm(std::string(200000, '7') + "bpm"), std::nullopt);
    EXPECT_EQ(parser.parseKey("a" + std::string(200000, ' ') + "m"), "None");
}

struct TextCase {
    const char* text;
    const char* expected;
};

TEST(MetadataParserTest, KeysAreNormalisedToSharpsAndModes)
{
    const TextCase cases[] = {
        {"Bass_Bbm_Sub", "A# minor"},  {"Lead F#maj", "F# major"},         {"Keys_C_Chords", "C"},
        {"Chord Ebmin", "D# minor"},   {"Trap_Loop_140bpm_Am", "A minor"}, {"128 - C# min - Pad", "C# minor"},
        {"Pad Dm.wav", "D minor"},     {"Stab Dbmajor", "C# major"},       {"Cb_Minor", "B minor"},
        {"Fb", "E"},                   {"Bell b#", "B#"},                  {"drums 120 am", "A minor"},
        {"Amazing Pad", "None"},       {"808 Glide", "None"},              {"Gmaj7 Chord", "None"},
        {"Pad E# Major", "E# major"},   // no flat-table entry: passes through
        {"Vox a cappella", "A"},        // a lone letter is read as a note
    };
    const MetadataParser parser;
    for (const auto& c : cases) EXPECT_EQ(parser.parseKey(c.text), c.expected) << c.text;
}

TEST(MetadataParserTest, InstrumentIsTheFirstTableKeywordAnywhereInTheName)
{
    const TextCase cases[] = {
        {"Trap Kick 01 Drums", "Kick"},    {"Open_Hat_02 HiHats", "Open Hat"}, {"Hi-Hat closed", "HiHat"},
        {"OpenHat", ""},                   {"808 Kick", "808"},                {"Dirty 808 bass", "808"},
        {"synth bass", "Bass"},            {"Bassline", "Bass"},               {"Percussion_Shaker", "Percussion"},
        {"keyshot", "Keys"},               {"Padded Room", "Pad"},             {"Riser_FX_01", "FX"},
        {"Vocals/Chops", "Vocal"},         {"Ambient Texture 04", ""},
        {"Snare Kick Layer", "Kick"},     // table order, not text order
        {"bfx riser", ""},                // fx must stand alone
        {"FX", "FX"},                      // the padding makes ends count as spaces
    };
    const MetadataParser parser;
    for (const auto& c : cases) EXPECT_EQ(parser.parseInstrument(c.text), c.expected) << c.text;
}

TEST(MetadataParserTest, InstrumentSpellingsFoldOntoOneName)
{
    const TextCase cases[] = {
        {"Hi Hat", "HiHat"},     {"hats", "HiHat"},       {"Hat", "HiHat"},        {"HiHat", "HiHat"},
        {"hi-hats", "Hi-hats"},  {"Key-board", "Keys"},   {"key", "Keys"},         {"SFX", "FX"},
        {"f/x", "FX"},           {"Vocals!", "Vocal"},    {"percussion", "Percussion"},
        {"CYMBALS", "Cymbal"},   {"bass", "Bass"},        {"Open Hat", "Open Hat"}, {"open hat", "Open hat"},
        {"808", "808"},          {"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(normalizedInstrument(c.text), c.expected) << c.text;
}

struct PipelineCase {
    const char* relativePath; // under the library root "Pack"
    std::optional<std::int32_t> bpm;
    const char* key;
    const char* instrument;
    std::vector<std::string> genres;
};

TEST(MetadataParserTest, PipelineFallsBackToTheFolderAndReadsGenresFromTheWholePath)
{
    const PipelineCase cases[] = {
        {"Loops 140 BPM/Pad 01.wav", 140, "None", "Pad", {}},
        {"Loops 140 BPM/Pad 90bpm.wav", 90, "None", "Pad", {}},   // the file name wins
        {"Melody/Am/Pluck 3.wav", std::nullopt, "A minor", "Pluck", {}},
        {"Key Ebmaj/Chord.wav", std::nullopt, "D# major", "", {}},
        {"C# min/Chord.wav", std::nullopt, "None", "", {}},        // a folder needs the mode glued on
        {"Loops C/Chord.wav", std::nullopt, "None", "", {}},       // and never takes a bare letter
        {"Bbm/Lead F.wav", std::nullopt, "F", "", {}},             // the file name's key wins
        {"Hip-Hop/Trap Drums/Kick.wav", std::nullopt, "None", "Kick", {"trap", "hip hop"}},
        {"Popcorn Warehouse/Soul_Latin/Clap.wav", std::nullopt, "None", "Clap", {"house", "pop", "soul", "latin"}},
        {"HipHop/trap kick.wav", std::nullopt, "None", "Kick", {}},  // the file name plays no part in genres
    };
    testkit::TempDir dir;
    const auto root = dir / "Pack";
    const MetadataParser parser;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.relativePath);
        const Sample sample = parser.parse(root / c.relativePath, root, std::nullopt);
        EXPECT_EQ(sample.bpm, c.bpm);
        EXPECT_EQ(sample.musicalKey, c.key);
        EXPECT_EQ(sample.instrument, c.instrument);
        EXPECT_EQ(sample.genres, c.genres);
        EXPECT_EQ(sample.genre, c.genres.empty() ? "" : c.genres.front());
    }
}

TEST(MetadataParserTest, PipelineFillsNamesSizeTimeAndTypeOfARealFile)
{
    testkit::TempDir dir;
    const auto root = dir / "My Library";
    const auto file = root / "Drums" / "Kick 01.WAV";
    testkit::writeFile(file, std::string(1234, 'x'));
    std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::from_sys(
                                               std::chrono::sys_seconds{std::chrono::seconds{1700000000}} +
                                               std::chrono::milliseconds{999}));

    const MetadataParser parser;
    const Sample sample = parser.parse(file, root.string() + "/", {{.durationSeconds = 0.4, .onsetCount = 1}});

    EXPECT_EQ(sample.path, file.string());
    EXPECT_EQ(sample.filename, "Kick 01.WAV");
    EXPECT_EQ(sample.libraryName, "My Library");
    EXPECT_EQ(sample.type, SampleType::OneShot);
    EXPECT_EQ(sample.duration, 0.4);
    EXPECT_EQ(sample.fileSize, 1234);
    EXPECT_EQ(sample.modifiedAt, 1700000000);  // truncated, not rounded
    EXPECT_FALSE(sample.favorite);

    const Sample missing = parser.parse(root / "Loops" / "gone.mid", root, std::nullopt);
    EXPECT_EQ(missing.type, SampleType::MIDI);
    EXPECT_EQ(missing.fileSize, 0);
    EXPECT_EQ(missing.modifiedAt, 0);
    EXPECT_FALSE(missing.duration);
}

} // namespace
} // namespace qv
