// Peaks of files made in code, in every format and shape the decoder meets.
#include "peak_builder.h"
#include "peak_decoder.h"
#include "sound_files.h"
#include "support/files.h"
#include "temp_dir.h"

#include <sndfile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

namespace fs = std::filesystem;
using qv::test::makeFrames;
using qv::testkit::TempDir;
using qv::test::writeSound;

TEST(PeakDecoder, FramesSpreadOverTheBucketsByTheIntegerRuleAndSilenceStaysZero)
{
    TempDir dir;
    // Frame 50 is the loudest; the others are at 0.1 of it.
    writeSound(dir / "short.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 44100, 1,
               makeFrames(100, 1, [](long p, int) { return p == 50 ? -0.8f : 0.08f; }));
    const auto result = qv::decodePeaks(dir / "short.wav");
    ASSERT_EQ(result.peaks.size(), 192u) << result.error;
    // Frame p lands in bucket p × 192 / 100: 0→0, 1→1, 2→3, 50→96, 99→190.
    for (const auto& [bucket, peak] : std::vector<std::pair<int, float>>{{0, 0.1f}, {1, 0.1f}, {2, 0}, {96, 1},
                                                                       {190, 0.1f}, {191, 0}}) {
        EXPECT_FLOAT_EQ(result.peaks[std::size_t(bucket)], peak) << bucket;
    }
    EXPECT_EQ(std::count(result.peaks.begin(), result.peaks.end(), 0.0f), 92);
    EXPECT_DOUBLE_EQ(result.durationSeconds, 100.0 / 44100);

    writeSound(dir / "silence.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2,
               makeFrames(96000, 2, [](long, int) { return 0.0f; }));
    const auto silence = qv::decodePeaks(dir / "silence.wav");
    ASSERT_EQ(silence.peaks.size(), 192u);
    EXPECT_TRUE(std::all_of(silence.peaks.begin(), silence.peaks.end(), [](float v) { return v == 0.0f; }));
    EXPECT_DOUBLE_EQ(silence.durationSeconds, 2.0);

    // 96000 frames: frame 47999 is in bucket 95, frame 48000 opens bucket 96.
    writeSound(dir / "click.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2,
               makeFrames(96000, 2, [](long p, int c) { return p == 48000 && c == 1 ? 0.01f : 0.0f; }));
    const auto click = qv::decodePeaks(dir / "click.wav");
    ASSERT_EQ(click.peaks.size(), 192u);
    EXPECT_FLOAT_EQ(click.peaks[96], 1.0f);
    EXPECT_EQ(std::count(click.peaks.begin(), click.peaks.end(), 0.0f), 191);
}

// A signal at 0.4 in the first half and 0.8 in the second, on the loudest channel only:
// integer, float and lossy data at several rates and channel counts give about 0.5 then 1.
TEST(PeakDecoder, EncodingsAndChannelCountsGiveTheSameShape)
{
    struct Case {
        const char* name;
        int format, rate, channels;
        float tolerance;
    };
    const Case cases[] = {
        {"s16.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 0.001f},
        {"s24.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 96000, 6, 0.001f},
        {"f32.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 44100, 6, 0.0001f},
        {"s24.aif", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 48000, 1, 0.001f},
        {"lossy.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2, 0.12f},
    };
    TempDir dir;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (std::string(c.name).ends_with(".mp3") && !qv::test::canWriteMp3()) continue;
        const long frames = c.rate;  // one second
        const int loud = c.channels - 1;
        // A square-ish tone (so that the lossy codec keeps its level) on the last channel.
        writeSound(dir / c.name, c.format, c.rate, c.channels, makeFrames(frames, c.channels, [&](long p, int ch) {
                       if (ch != loud) return 0.0f;
                       const float level = p < frames / 2 ? 0.4f : 0.8f;
                       return (p / 50) % 2 ? level : -level;
                   }));
        const auto result = qv::decodePeaks(dir / c.name);
        ASSERT_EQ(result.peaks.size(), 192u) << result.error;
        // Skip the buckets around the step and the codec's start and end.
        for (int i = 8; i < 90; ++i) EXPECT_NEAR(result.peaks[i], 0.5f, c.tolerance) << "bucket " << i;
        for (int i = 100; i < 184; ++i) EXPECT_NEAR(result.peaks[i], 1.0f, c.tolerance) << "bucket " << i;
        EXPECT_NEAR(result.durationSeconds, 1.0, 0.1);
    }
}

TEST(PeakDecoder, BrokenFilesFailWithAReasonAndTruncatedOnesKeepWhatWasRead)
{
    TempDir dir;
    const auto whole = makeFrames(44100, 2, [](long p, int) { return p < 22050 ? 0.5f : 0.25f; });
    writeSound(dir / "whole.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, whole);

    // The header still claims a second; only the first half-second of data is there.
    const std::string bytes = qv::test::readFile(dir / "whole.wav");
    qv::testkit::writeFile(dir / "truncated.wav", bytes.substr(0, 44 + 22050 * 4));
    const auto truncated = qv::decodePeaks(dir / "truncated.wav");
    ASSERT_EQ(truncated.peaks.size(), 192u) << truncated.error;
    EXPECT_FLOAT_EQ(truncated.peaks[0], 1.0f);
    EXPECT_NEAR(truncated.durationSeconds, 0.5, 0.01);

    writeSound(dir / "empty.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, {});
    qv::testkit::writeFile(dir / "noise.wav", std::string(4000, '\x5a'));
    qv::testkit::writeFile(dir / "zero.wav", "");
    std::string corruptHeader = bytes;
    corruptHeader.replace(8, 4, "JUNK");
    qv::testkit::writeFile(dir / "corrupt.wav", corruptHeader);
    fs::create_directory(dir / "folder.wav");
    for (const char* name : {"empty.wav", "noise.wav", "zero.wav", "corrupt.wav", "folder.wav", "missing.wav"}) {
        SCOPED_TRACE(name);
        const auto result = qv::decodePeaks(dir / name);
        EXPECT_TRUE(result.peaks.empty());
        EXPECT_FALSE(result.error.empty());
        EXPECT_EQ(result.durationSeconds, 0.0);
    }
}

TEST(PeakBuilder, ChunkBoundariesDoNotChangeThePeaksAndNonFiniteSamplesStayBounded)
{
    const long frames = 10007;
    const auto data = makeFrames(frames, 3, [](long p, int c) { return std::sin(float(p * (c + 1)) * 0.001f) * float(p % 97) / 97; });
    qv::PeakBuilder whole(frames, 3);
    whole.addFrames(data.data(), frames);
    qv::PeakBuilder chunked(frames, 3);
    for (long done = 0, step = 1; done < frames; done += step, step = step * 3 % 1000 + 1) {
        const long n = std::min(step, frames - done);
        chunked.addFrames(data.data() + done * 3, n);
    }
    EXPECT_EQ(whole.finish(), chunked.finish());

    const float inf = std::numeric_limits<float>::infinity();
    const float values[] = {0.5f, inf, std::nanf(""), 0.25f};
    qv::PeakBuilder odd(4, 1);
    odd.addFrames(values, 4);
    for (const float peak : odd.finish()) EXPECT_TRUE(peak >= 0.0f && peak <= 1.0f) << peak;
}

} // namespace
