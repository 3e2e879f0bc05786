// The built quorvalinder-cli in a subprocess, as a user runs it: its arguments, the shape
// of its JSON and text, its exit status and messages. What the core does with a request
// is the core suites' business.
#include "support/files.h"
#include "temp_dir.h"
#include "wave_writer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

struct CliRun {
    int status = -1;
    std::string out;
    std::string err;
};

std::string shellQuoted(const std::string& text)
{
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// Library/Trap/Drums: Kick 01, Kick 02, Snare 01; Library/House/Loops: a chord loop;
// Library/MIDI: one .mid file.
class CliTest : public ::testing::Test {
protected:
    qv::testkit::TempDir _dir;
    fs::path _db = _dir / "data/index.db";
    fs::path _root;

    void SetUp() override
    {
        const fs::path root = _dir / "Library";
        for (const char* name : {"Kick 01.wav", "Kick 02.wav", "Snare 01.wav"}) {
            qv::testkit::writeWave(root / "Trap/Drums" / name, qv::testkit::hitSignal(0.2, 44100, {0.0}));
        }
        qv::testkit::writeWave(root / "House/Loops/Chord Loop 124bpm Am.wav",
                               qv::testkit::hitSignal(2.0, 44100, {0.0, 0.5, 1.0, 1.5}));
        qv::testkit::writeFile(root / "MIDI/Melody 140bpm Cm.mid", "MThd");
        _root = fs::canonical(root); // the index stores canonical paths
    }

    CliRun cli(const std::vector<std::string>& args)
    {
        std::string command = shellQuoted(QV_CLI_PATH) + " --db " + shellQuoted(_db.string());
        for (const auto& arg : args) command += " " + shellQuoted(arg);
        const fs::path out = _dir / "stdout.txt", err = _dir / "stderr.txt";
        const int status = std::system((command + " >" + shellQuoted(out) + " 2>" + shellQuoted(err)).c_str());
        return {WEXITSTATUS(status), qv::test::readFile(out), qv::test::readFile(err)};
    }

    json cliJson(std::vector<std::string> args)
    {
        args.insert(args.begin() + 1, "--json");
        const CliRun run = cli(args);
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }

    std::string idOf(const std::string& filename)
    {
        return cliJson({"search", "--", filename})["rows"][0]["id"].dump();
    }

    std::string folder(const std::string& relative) const { return (_root / relative).string(); }
};

TEST_F(CliTest, ScanLibrariesSearchAndTreeAnswerInJsonOrText)
{
    const std::string bullet = "  \xE2\x80\xA2  ";
    const json first = cliJson({"scan", _root.string()});
    EXPECT_EQ(first["total"]["added"], 5);
    EXPECT_EQ(first["summary"], "Scan complete" + bullet + "5 new" + bullet + "0 updated" + bullet + "0 unchanged"
                                    + bullet + "0 missing");
    EXPECT_TRUE(cliJson({"scan", "--full", _root.string()})["summary"].get<std::string>().starts_with("Full Scan"));
    const CliRun plain = cli({"scan", _root.string()});
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(plain.out, "Scan complete" + bullet + "0 new" + bullet + "0 updated" + bullet + "5 unchanged" + bullet
                             + "0 missing\n");

    // Global options go on either side of the command word.
    const json libraries = json::parse(cli({"--json", "libraries"}).out);
    ASSERT_EQ(libraries.size(), 1u);
    EXPECT_EQ(libraries[0]["path"], _root.string());
    EXPECT_EQ(libraries[0]["sampleCount"], 5);
    EXPECT_EQ(libraries[0]["available"], true);
    const std::string library = libraries[0]["id"].dump();
    EXPECT_EQ(cliJson({"label", library, "  Crate 'One' "})["displayLabel"], "Crate 'One'");

    // Pages count from 1; past the end is empty, not an error.
    json page = cliJson({"search", "--page-size", "2", "--page", "3"});
    EXPECT_EQ(page["rows"].size(), 1u);
    page.erase("rows");
    EXPECT_EQ(page, json::parse(R"({"count": 5, "page": 3, "pageCount": 3})"));
    EXPECT_TRUE(cliJson({"search", "--page-size", "2", "--page", "4"})["rows"].empty());
    // Folder spellings are normalised before they reach the path prefix test.
    EXPECT_EQ(cliJson({"search", "--folder", folder("Trap/./Drums/")})["count"], 3);
    EXPECT_EQ(cliJson({"search", "--folder", folder("Trap/Drums/../../House")})["count"], 1);
    EXPECT_EQ(cliJson({"search", "--genre", "house", "--genre", "trap"})["count"], 4);
    EXPECT_EQ(cliJson({"search", "--no-midi", "--sort", "filename", "--desc"})["rows"][0]["filename"], "Snare 01.wav");
    EXPECT_EQ(cliJson({"values", "key"})["values"], json({"A minor", "C minor"})); // no "None"

    const CliRun table = cli({"search", "kick", "--page-size", "1"});
    EXPECT_TRUE(table.out.starts_with("2 samples, page 1 of 2\n     ID  TYPE")) << table.out;
    EXPECT_EQ(std::count(table.out.begin(), table.out.end(), '\n'), 3);
    EXPECT_EQ(cli({"tree"}).out, "Crate 'One'\n  House\n    Loops\n  MIDI\n  Trap\n    Drums\n");
    const json tree = cliJson({"tree"});
    EXPECT_EQ(tree["path"], _root.string());
    EXPECT_EQ(tree["children"][2]["children"][0]["path"], folder("Trap/Drums"));

    // A scan that finds the folder gone marks the library offline, and says so.
    fs::rename(_root, _dir / "Unplugged");
    EXPECT_EQ(cli({"scan", _root.string()}).status, 1);
    EXPECT_EQ(cliJson({"libraries"})[0]["available"], false);
    EXPECT_NE(cli({"libraries"}).out.find("  offline  " + _root.string()), std::string::npos);

    EXPECT_EQ(cliJson({"remove-library", library})["removed"]["id"].dump(), library);
    EXPECT_TRUE(cliJson({"libraries"}).empty());
}

TEST_F(CliTest, EditsAndPlaylistsAnswerInJson)
{
    cliJson({"scan", _root.string()});
    const auto kick = idOf("Kick 01.wav"), snare = idOf("Snare 01.wav");
    EXPECT_EQ(cliJson({"favorite", kick, "on"})["favorite"], true);
    EXPECT_EQ(cliJson({"search", "--favorites"})["rows"][0]["id"].dump(), kick);
    EXPECT_EQ(cliJson({"set-type", "Unknown", kick})["type"], "Unknown");
    EXPECT_TRUE(cliJson({"set-type", "auto", kick})["type"].is_null());
    EXPECT_EQ(cliJson({"folder-type", _root.string() + "/", "One Shot"})["samples"], 4);
    EXPECT_EQ(cliJson({"folder-instrument", folder("House"), "Keys"})["instrument"], "Keys");
    cliJson({"folder-genre", folder("House"), "Funk", "add"});
    EXPECT_EQ(cliJson({"values", "genre", "--folder", folder("House")})["values"], json({"Funk", "house"}));

    const json created = cliJson({"playlist", "create", "  Drums  "});
    EXPECT_EQ(created["name"], "Drums");
    const std::string playlist = created["id"].dump();
    EXPECT_EQ(cliJson({"playlist", "add", playlist, kick, snare})["sampleCount"], 2);
    EXPECT_EQ(cliJson({"playlist", "remove", playlist, kick})["sampleCount"], 1);
    EXPECT_EQ(cliJson({"playlist", "list"}),
              json::parse(R"([{"id": )" + playlist + R"(, "name": "Drums", "sampleCount": 1}])"));
    EXPECT_EQ(cliJson({"search", "--playlist", playlist})["rows"][0]["id"].dump(), snare);
    cliJson({"playlist", "delete", playlist});
    EXPECT_TRUE(cliJson({"playlist", "list"}).empty());
}

TEST_F(CliTest, MistakesExitWithOneLineOnStandardErrorAndChangeNothing)
{
    cliJson({"scan", _root.string()});
    const auto kick = idOf("Kick 01.wav");
    const auto playlist = cliJson({"playlist", "create", "Kept"})["id"].dump();
    const json before = cliJson({"search"});
    const std::vector<std::pair<std::vector<std::string>, std::string>> mistakes = {
        {{}, ""},
        {{"bogus"}, "quorvalinder-cli: unknown command 'bogus' (try --help)\n"},
        {{"scan", (_dir / "never existed").string()}, ""},
        {{"inspect", (_dir / "missing.wav").string()}, ""},
        {{"label", "not-a-number", "x"}, ""},
        {{"search", "--page", "0"}, "quorvalinder-cli: Pages are numbered from 1\n"},
        {{"search", "--desc"}, ""},
        {{"values", "Genre"}, ""},
        {{"favorite", "999", "on"}, "quorvalinder-cli: No sample with id 999\n"},
        {{"set-type", "loop", kick}, "quorvalinder-cli: Unknown type \"loop\": use \"Loop\", \"One Shot\", \"MIDI\" or "
                                     "\"Unknown\", or \"auto\" to clear the override\n"},
        {{"set-type", "MIDI", kick}, "quorvalinder-cli: Only .mid and .midi files can be marked as MIDI\n"},
        {{"set-type", "Loop", kick, "999"}, ""},
        {{"folder-type", folder("Nowhere"), "Loop"}, ""},
        {{"playlist", "create", "Kept"}, "quorvalinder-cli: A playlist with that name already exists\n"},
        {{"playlist", "add", playlist, kick, "999"}, ""},
    };
    for (const auto& [args, message] : mistakes) {
        const CliRun run = cli(args);
        SCOPED_TRACE(args.empty() ? "no arguments" : args[0]);
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_TRUE(run.out.empty());
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_TRUE(message.empty() || run.err == message) << run.err;
    }
    // Batches with one unknown id are refused whole.
    EXPECT_EQ(cliJson({"search"}), before);
    EXPECT_EQ(cliJson({"playlist", "list"})[0]["sampleCount"], 0);
}

// Text that is not UTF-8 is printed with U+FFFD in its place and kept exact in a Base64 twin.
TEST_F(CliTest, InspectExplainsTheTypeAndKeepsNonUtf8NamesLossless)
{
    const std::string latin1 = "Loop_140BPM_Am \xE9t\xE9.mid";
    qv::testkit::writeFile(_root / "MIDI" / latin1, "MThd");
    const auto kick = folder("Trap/Drums/Kick 01.wav");

    const json one = cliJson({"inspect", kick, "--root", _root.string()});
    EXPECT_EQ(one["libraryName"], "Library");
    EXPECT_EQ(one["instrument"], "Kick");
    EXPECT_NEAR(one["structure"]["durationSeconds"].get<double>(), 0.2, 1e-3);
    EXPECT_EQ(one["type"], one["oneShotScore"].get<int>() >= one["loopScore"].get<int>() + 15 ? "One Shot" : "Unknown");
    EXPECT_FALSE(one.contains("filenameBase64"));
    EXPECT_TRUE(cliJson({"libraries"}).empty()); // inspect stores nothing

    const json both = cliJson({"inspect", kick, folder("MIDI/" + latin1)});
    ASSERT_EQ(both.size(), 2u);
    EXPECT_EQ(both[1]["type"], "MIDI");
    EXPECT_TRUE(both[1]["structure"].is_null());
    EXPECT_EQ(both[1]["filename"], "Loop_140BPM_Am \xEF\xBF\xBDt\xEF\xBF\xBD.mid");
    EXPECT_EQ(both[1]["filenameBase64"], "TG9vcF8xNDBCUE1fQW0g6XTpLm1pZA==");
}

TEST_F(CliTest, PeaksPrintsPeaksAndDurationOrTheDecodersReasonAndExitsOneOnAnyFailure)
{
    const fs::path click = _dir / "Click 1.wav", odd = _dir / std::string("caf\xE9.wav");
    // 19200 mono frames at 9600 Hz, silent but for frame 9600 (bucket 96) at -0.5.
    std::vector<float> frames(19200, 0.0f);
    frames[9600] = -0.5f;
    for (const auto& path : {click, odd}) qv::testkit::writeWave(path, frames, {.sampleRate = 9600});
    qv::testkit::writeFile(_dir / "notes.wav", "these are not samples");

    auto run = cli({"--json", "peaks", click.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    json one = json::parse(run.out);
    EXPECT_EQ(one["path"], click.string());
    EXPECT_EQ(one["duration"], 2.0);
    ASSERT_EQ(one["peaks"].size(), 192u);
    for (int i = 0; i < 192; ++i) EXPECT_EQ(one["peaks"][i], i == 96 ? 1.0 : 0.0) << i;
    EXPECT_FALSE(fs::exists(_db)) << "peaks never opens the index";

    run = cli({"--json", "peaks", odd.string(), (_dir / "notes.wav").string(), (_dir / "missing.wav").string()});
    EXPECT_EQ(run.status, 1);
    json several = json::parse(run.out);
    ASSERT_TRUE(several.is_array());
    ASSERT_EQ(several.size(), 3u);
    EXPECT_EQ(several[0]["path"], (_dir / "caf\xEF\xBF\xBD.wav").string());
    EXPECT_TRUE(several[0].contains("pathBase64"));
    EXPECT_EQ(several[0]["peaks"], one["peaks"]);
    for (int i : {1, 2}) {
        EXPECT_FALSE(several[i].contains("peaks"));
        EXPECT_FALSE(several[i]["error"].get<std::string>().empty());
    }
    EXPECT_NE(run.err.find("notes.wav: "), std::string::npos) << run.err;

    run = cli({"peaks", click.string()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.rfind(click.string() + "\n  duration: 2.0 s\n  peaks: 0.0 0.0 ", 0), 0u) << run.out;
}

} // namespace
