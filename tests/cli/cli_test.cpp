// Runs the built quorvalinder-cli against generated libraries and reads its JSON.
#include "library_generator.h"
#include "cli/cli_runner.h"
#include "temp_dir.h"
#include "wave_writer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>


namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using qv::test::CliRun;
using qv::testkit::TempDir;

class CliTest : public ::testing::Test {
protected:
    TempDir _dir;
    fs::path _db = _dir / "data/index.db";
    fs::path _root = _dir / "Library";

    CliRun cli(const std::vector<std::string>& args) { return qv::test::runCli(_db, args, _dir.path()); }

    json cliJson(std::vector<std::string> args, int expectedStatus = 0)
    {
        args.insert(args.begin(), "--json");
        const CliRun run = cli(args);
        EXPECT_EQ(run.status, expectedStatus) << run.err;
        return json::parse(run.out);
    }
};

TEST_F(CliTest, ScanListLabelAndRemoveAGeneratedLibrary)
{
    const auto manifest = qv::testkit::LibraryGenerator({.seed = 3, .files = 120}).generate(_root);

    const json first = cliJson({"scan", _root.string()});
    EXPECT_EQ(first["total"]["added"], manifest.indexable());
    EXPECT_EQ(first["total"]["emptySkipped"], manifest.count(qv::testkit::FileKind::ZeroByte));
    EXPECT_EQ(first["summary"], "Scan complete  \xE2\x80\xA2  " + std::to_string(manifest.indexable())
                                    + " new  \xE2\x80\xA2  0 updated  \xE2\x80\xA2  0 unchanged  \xE2\x80\xA2  0 missing");

    const json full = cliJson({"scan", "--full", _root.string()});
    EXPECT_EQ(full["total"]["updated"], manifest.indexable());
    EXPECT_TRUE(full["summary"].get<std::string>().starts_with("Full Scan complete"));

    const CliRun plain = cli({"scan", _root.string()});
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(plain.out, "Scan complete  \xE2\x80\xA2  0 new  \xE2\x80\xA2  0 updated  \xE2\x80\xA2  "
                             + std::to_string(manifest.indexable()) + " unchanged  \xE2\x80\xA2  0 missing\n");

    json libraries = cliJson({"libraries"});
    ASSERT_EQ(libraries.size(), 1u);
    EXPECT_EQ(libraries[0]["path"], _root.string());
    EXPECT_EQ(libraries[0]["sampleCount"], manifest.indexable());
    const auto id = libraries[0]["id"].get<std::int64_t>();

    EXPECT_EQ(cliJson({"label", std::to_string(id), "  Crate 'One' "})["displayLabel"], "Crate 'One'");
    EXPECT_EQ(cliJson({"remove-library", std::to_string(id)})["removed"]["id"], id);
    EXPECT_TRUE(cliJson({"libraries"}).empty());
}

TEST_F(CliTest, ScanFailuresAndUserErrorsExitWithOneLine)
{
    fs::create_directories(_root);
    qv::testkit::writeWave(_root / "Kick.wav", qv::testkit::hitSignal(0.3, 44100, {0.0}));
    cliJson({"scan", _root.string()});
    fs::rename(_root, _dir / "unplugged");

    // A known library that vanished is scanned, marked offline, and reported.
    const json attention = cliJson({"scan", _root.string()}, 1);
    EXPECT_TRUE(attention["summary"].get<std::string>().starts_with("Scan needs attention: Library offline: "));
    EXPECT_TRUE(attention["roots"][0].contains("error"));

    for (const auto& args : std::vector<std::vector<std::string>>{
             {"scan", (_dir / "never existed").string()},
             {"bogus"},
             {},
             {"label", "999", "x"},
             {"label", "not-a-number", "x"},
             {"inspect", (_dir / "missing.wav").string()},
         }) {
        const CliRun run = cli(args);
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_TRUE(run.out.empty());
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

TEST_F(CliTest, InspectExplainsTheTypeAndKeepsNonUtf8PathsLossless)
{
    const auto wav = _root / "Drums/Kick 01.wav";
    fs::create_directories(wav.parent_path());
    qv::testkit::writeWave(wav, qv::testkit::hitSignal(0.4, 44100, {0.02}));
    const std::string latin1 = "Loop_140BPM_Am \xE9t\xE9.mid";
    qv::testkit::writeFile(_root / "Drums" / latin1, "MThd");

    const json one = cliJson({"inspect", wav.string(), "--root", _root.string()});
    EXPECT_EQ(one["libraryName"], "Library");
    EXPECT_EQ(one["instrument"], "Kick");
    EXPECT_FALSE(one["structure"].is_null());
    EXPECT_NEAR(one["structure"]["durationSeconds"].get<double>(), 0.4, 1e-3);
    EXPECT_EQ(one["type"], one["oneShotScore"].get<int>() >= one["loopScore"].get<int>() + 15 ? "One Shot" : "Unknown");
    EXPECT_TRUE(cliJson({"libraries"}).empty()); // inspect stores nothing

    const json both = cliJson({"inspect", wav.string(), (_root / "Drums" / latin1).string()});
    ASSERT_TRUE(both.is_array());
    ASSERT_EQ(both.size(), 2u);
    const json& midi = both[1];
    EXPECT_EQ(midi["type"], "MIDI");
    EXPECT_TRUE(midi["structure"].is_null());
    EXPECT_EQ(midi["bpm"], 140);
    EXPECT_EQ(midi["filename"].get<std::string>(), "Loop_140BPM_Am \xEF\xBF\xBDt\xEF\xBF\xBD.mid");
    EXPECT_EQ(midi["filenameBase64"], "TG9vcF8xNDBCUE1fQW0g6XTpLm1pZA==");
    EXPECT_FALSE(one.contains("pathBase64"));
}

} // namespace
