// Search, edits, playlists and the folder tree through the built quorvalinder-cli, on a
// small library of known names scanned into a fresh index.
#include "cli/cli_runner.h"
#include "temp_dir.h"
#include "wave_writer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using qv::test::CliRun;
using qv::testkit::TempDir;

// Library/Trap/Drums: Kick 01..07.wav, Snare 01.wav; Library/House/Loops: a chord loop;
// Library/MIDI: one .mid file. Ten samples in all.
class CliSearchTest : public ::testing::Test {
protected:
    TempDir _dir;
    fs::path _db = _dir / "data/index.db";
    fs::path _root;

    void SetUp() override
    {
        const fs::path root = _dir / "Library";
        for (int i = 1; i <= 7; ++i) {
            qv::testkit::writeWave(root / ("Trap/Drums/Kick 0" + std::to_string(i) + ".wav"),
                                qv::testkit::hitSignal(0.2, 44100, {0.0}));
        }
        qv::testkit::writeWave(root / "Trap/Drums/Snare 01.wav", qv::testkit::hitSignal(0.2, 44100, {0.0}));
        qv::testkit::writeWave(root / "House/Loops/Chord Loop 124bpm Am.wav",
                            qv::testkit::hitSignal(2.0, 44100, {0.0, 0.5, 1.0, 1.5}));
        qv::testkit::writeFile(root / "MIDI/Melody 140bpm Cm.mid", "MThd");
        _root = fs::canonical(root); // the index stores canonical paths
        ASSERT_EQ(cliJson({"scan", _root.string()})["total"]["added"], 10);
    }

    CliRun cli(const std::vector<std::string>& args) { return qv::test::runCli(_db, args, _dir.path()); }

    json cliJson(std::vector<std::string> args)
    {
        // After the command word: global options are accepted on either side of it.
        args.insert(args.begin() + 1, "--json");
        const CliRun run = cli(args);
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }

    std::int64_t idOf(const std::string& filename)
    {
        const json found = cliJson({"search", "--", filename});
        for (const auto& row : found["rows"]) {
            if (row["filename"] == filename) return row["id"];
        }
        ADD_FAILURE() << "no sample named " << filename;
        return 0;
    }

    std::string folder(const std::string& relative) const { return (_root / relative).string(); }
};

std::set<std::int64_t> idsOf(const json& page)
{
    std::set<std::int64_t> ids;
    for (const auto& row : page["rows"]) ids.insert(row["id"].get<std::int64_t>());
    return ids;
}

TEST_F(CliSearchTest, SearchFiltersPagesAndAcceptsAnyText)
{
    const json kicks = cliJson({"search", "--instrument", "kick"});
    std::vector<std::string> keys;
    for (const auto& [key, value] : kicks.items()) keys.push_back(key);
    EXPECT_EQ(keys, (std::vector<std::string>{"count", "page", "pageCount", "rows"}));
    EXPECT_EQ(kicks["count"], 7);
    EXPECT_EQ(kicks["page"], 1);
    EXPECT_EQ(kicks["pageCount"], 1);
    ASSERT_EQ(kicks["rows"].size(), 7u);
    for (const auto& row : kicks["rows"]) EXPECT_EQ(row["instrument"], "Kick");

    // Pages from 1, no overlap, no gap; past the end is empty, not an error.
    std::multiset<std::int64_t> seen;
    for (int page = 1; page <= 4; ++page) {
        const json rows = cliJson({"search", "--page-size", "3", "--page", std::to_string(page)});
        EXPECT_EQ(rows["count"], 10);
        EXPECT_EQ(rows["pageCount"], 4);
        EXPECT_EQ(rows["rows"].size(), page < 4 ? 3u : 1u);
        for (const auto id : idsOf(rows)) seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 10u);
    EXPECT_EQ(std::set<std::int64_t>(seen.begin(), seen.end()).size(), 10u);
    EXPECT_TRUE(cliJson({"search", "--page-size", "3", "--page", "5"})["rows"].empty());

    // The folder is compared as a path prefix, so spelling variants must normalise.
    EXPECT_EQ(cliJson({"search", "--folder", folder("Trap/./Drums/")})["count"], 8);
    EXPECT_EQ(cliJson({"search", "--folder", folder("Trap/Drums/../../House")})["count"], 1);
    EXPECT_EQ(cliJson({"search", "--no-midi", "--sort", "filename", "--desc"})["rows"][0]["filename"], "Snare 01.wav");
    EXPECT_EQ(cliJson({"search", "--genre", "house", "--genre", "trap"})["count"], 9);
    EXPECT_EQ(cliJson({"search", "--genre", "trap", "kick"})["count"], 7); // text is not a second genre

    for (const std::string text : {"\"kick", "kick*", "path:kick", "kick NEAR snare", "(kick OR", "'; --", "***"}) {
        const json found = cliJson({"search", "--", text});
        EXPECT_EQ(found["count"], found["rows"].size()) << text;
    }
    EXPECT_EQ(cliJson({"search", "\"kick*"})["count"], 7);

    const CliRun table = cli({"search", "kick", "--page-size", "2"});
    EXPECT_EQ(table.status, 0);
    EXPECT_TRUE(table.out.starts_with("7 samples, page 1 of 4\n     ID  TYPE")) << table.out;
    EXPECT_EQ(std::count(table.out.begin(), table.out.end(), '\n'), 4);
    EXPECT_NE(table.out.find("Kick 01.wav\n"), std::string::npos);

    EXPECT_EQ(cliJson({"values", "genre"})["values"], json({"house", "trap"}));
    EXPECT_EQ(cliJson({"values", "key"})["values"], json({"A minor", "C minor"})); // no "None"
    EXPECT_EQ(cliJson({"values", "key", "--type", "MIDI"})["values"], json({"C minor"}));
}

TEST_F(CliSearchTest, EditsShowInSearchAndValues)
{
    const auto kick = std::to_string(idOf("Kick 01.wav"));

    cliJson({"favorite", kick, "on"});
    const json favorites = cliJson({"search", "--favorites"});
    ASSERT_EQ(favorites["count"], 1);
    EXPECT_EQ(favorites["rows"][0]["id"], std::stoll(kick));
    EXPECT_EQ(favorites["rows"][0]["favorite"], true);
    cliJson({"favorite", kick, "off"});
    EXPECT_EQ(cliJson({"search", "--favorites"})["count"], 0);

    const auto typeOfKick = [&] { return cliJson({"search", "Kick 01"})["rows"][0]["type"]; };
    const json inferred = typeOfKick();
    EXPECT_EQ(cliJson({"set-type", "Unknown", kick})["type"], "Unknown");
    EXPECT_EQ(typeOfKick(), "Unknown");
    EXPECT_TRUE(cliJson({"set-type", "auto", kick})["type"].is_null());
    EXPECT_EQ(typeOfKick(), inferred);

    const CliRun badType = cli({"set-type", "loop", kick});
    EXPECT_EQ(badType.status, 1);
    EXPECT_TRUE(badType.err.starts_with("quorvalinder-cli: Unknown type \"loop\"")) << badType.err;
    const CliRun audioAsMidi = cli({"set-type", "MIDI", kick});
    EXPECT_EQ(audioAsMidi.status, 1);
    EXPECT_EQ(audioAsMidi.err, "quorvalinder-cli: Only .mid and .midi files can be marked as MIDI\n");

    // MIDI files below a folder keep their type.
    EXPECT_EQ(cliJson({"folder-type", _root.string() + "/", "One Shot"})["samples"], 9);
    EXPECT_EQ(cliJson({"search", "--type", "One Shot"})["count"], 9);
    EXPECT_EQ(cliJson({"search", "--type", "MIDI"})["count"], 1);

    cliJson({"folder-instrument", folder("House/"), "Keys"});
    EXPECT_EQ(cliJson({"values", "instrument"})["values"], json({"Keys", "Kick", "Snare"}));
    cliJson({"folder-genre", folder("House"), "Funk", "add"});
    EXPECT_EQ(cliJson({"values", "genre", "--folder", folder("House")})["values"], json({"Funk", "house"}));
    cliJson({"folder-genre", folder("House"), "FUNK", "remove"});
    EXPECT_EQ(cliJson({"values", "genre"})["values"], json({"house", "trap"}));
}

TEST_F(CliSearchTest, PlaylistsAndTheFolderTree)
{
    const json created = cliJson({"playlist", "create", "  Drums  "});
    EXPECT_EQ(created["name"], "Drums");
    const auto playlist = std::to_string(created["id"].get<std::int64_t>());
    const CliRun again = cli({"playlist", "create", "Drums"});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, "quorvalinder-cli: A playlist with that name already exists\n");

    const auto kick = idOf("Kick 01.wav"), snare = idOf("Snare 01.wav");
    EXPECT_EQ(cliJson({"playlist", "add", playlist, std::to_string(kick), std::to_string(snare)})["sampleCount"], 2);
    EXPECT_EQ(idsOf(cliJson({"search", "--playlist", playlist})), (std::set<std::int64_t>{kick, snare}));
    EXPECT_EQ(cliJson({"search", "--playlist", playlist, "snare"})["count"], 1);
    EXPECT_EQ(cliJson({"playlist", "remove", playlist, std::to_string(kick)})["sampleCount"], 1);
    EXPECT_EQ(cliJson({"playlist", "list"}),
              json::parse(R"([{"id": )" + playlist + R"(, "name": "Drums", "sampleCount": 1}])"));
    cliJson({"playlist", "delete", playlist});
    EXPECT_TRUE(cliJson({"playlist", "list"}).empty());

    const CliRun tree = cli({"tree"});
    EXPECT_EQ(tree.status, 0);
    EXPECT_EQ(tree.out, "Library\n  House\n    Loops\n  MIDI\n  Trap\n    Drums\n");
    const json nodes = cliJson({"tree"});
    EXPECT_EQ(nodes["path"], _root.string());
    EXPECT_EQ(nodes["children"][2]["children"][0]["name"], "Drums");
    EXPECT_EQ(nodes["children"][2]["children"][0]["path"], folder("Trap/Drums"));
}

TEST_F(CliSearchTest, MistakesExitWithOneLineAndChangeNothing)
{
    const auto kick = std::to_string(idOf("Kick 01.wav"));
    const auto playlist = std::to_string(cliJson({"playlist", "create", "Kept"})["id"].get<std::int64_t>());
    const json before = cliJson({"search"});
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"search", "--page", "0"},
             {"search", "--page-size", "0"},
             {"search", "--desc"},
             {"search", "--type", "Loops"},
             {"search", "--playlist", "42"},
             {"values", "Genre"},
             {"favorite", "999", "on"},
             {"set-type", "Loop", kick, "999"},
             {"folder-type", folder("Nowhere"), "Loop"},
             {"folder-type", _root.string(), "MIDI"},
             {"folder-genre", _root.string(), " ", "add"},
             {"playlist", "create", " "},
             {"playlist", "add", "42", kick},
             {"playlist", "add", playlist, kick, "999"},
         }) {
        const CliRun run = cli(args);
        EXPECT_EQ(run.status, 1) << args[0] << ": " << run.err;
        EXPECT_TRUE(run.out.empty()) << args[0];
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
    // Batches with one unknown id leave the known ones alone too.
    EXPECT_EQ(cliJson({"search"}), before);
    const json playlists = cliJson({"playlist", "list"});
    ASSERT_EQ(playlists.size(), 1u);
    EXPECT_EQ(playlists[0]["sampleCount"], 0);
}

} // namespace
