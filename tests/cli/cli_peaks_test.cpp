// `quorvalinder-cli peaks`, run as a user runs it: the numbers of a file whose peaks are
// known, several files at once, a name that is not UTF-8, and files that do not decode.
#include "cli/cli_runner.h"
#include "temp_dir.h"

#include <sndfile.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <vector>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using qv::test::TempDir;

// 19200 mono frames, silent but for frame 9600 (bucket 96) at -0.5.
void writeClick(const fs::path& path)
{
    SF_INFO info{};
    info.samplerate = 9600;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    std::vector<float> frames(19200, 0.0f);
    frames[9600] = -0.5f;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    sf_writef_float(file, frames.data(), sf_count_t(frames.size()));
    sf_close(file);
}

TEST(CliPeaks, PrintsPeaksAndDurationOrTheDecodersReasonAndExitsOneOnAnyFailure)
{
    TempDir dir;
    const fs::path click = dir / "Click 1.wav";
    writeClick(click);
    const fs::path odd = dir / std::string("caf\xE9.wav");
    writeClick(odd);
    qv::test::writeFile(dir / "notes.wav", "these are not samples");
    auto cli = [&](const std::vector<std::string>& args) { return qv::test::runCli(dir / "unused.db", args, dir.path()); };

    auto run = cli({"--json", "peaks", click.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    json one = json::parse(run.out);
    EXPECT_EQ(one["path"], click.string());
    EXPECT_EQ(one["duration"], 2.0);
    ASSERT_EQ(one["peaks"].size(), 192u);
    for (int i = 0; i < 192; ++i) EXPECT_EQ(one["peaks"][i], i == 96 ? 1.0 : 0.0) << i;
    EXPECT_FALSE(fs::exists(dir / "unused.db")) << "peaks never opens the index";

    run = cli({"--json", "peaks", odd.string(), (dir / "notes.wav").string(), (dir / "missing.wav").string()});
    EXPECT_EQ(run.status, 1);
    json several = json::parse(run.out);
    ASSERT_TRUE(several.is_array());
    ASSERT_EQ(several.size(), 3u);
    EXPECT_EQ(several[0]["path"], (dir / "caf\xEF\xBF\xBD.wav").string());
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
