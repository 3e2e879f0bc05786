// The preview player on its clock output (no device): position, seeking, volume, the end
// and a rewind that makes it ready to repeat, decode errors, and format conversion.
#include "preview_player.h"
#include "sample_converter.h"
#include "sound_files.h"
#include "support/files.h"
#include "temp_dir.h"

#include <QSignalSpy>
#include <QTest>

#include <sndfile.h>

#include <gtest/gtest.h>

namespace {

using qv::PreviewPlayer;
using qv::test::qpath;
using qv::test::writeTone;
using qv::testkit::TempDir;

std::unique_ptr<PreviewPlayer> clockPlayer(const std::filesystem::path& path, QString* error = nullptr)
{
    return PreviewPlayer::create(qpath(path), error, PreviewPlayer::clockOutput());
}

TEST(PreviewPlayer, PlaysSeeksPausesAndRewindsAtTheEndReadyToRepeat)
{
    TempDir dir;
    writeTone(dir / "tone.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0.6);
    auto player = clockPlayer(dir / "tone.wav");
    ASSERT_TRUE(player && player->prepareToPlay());
    EXPECT_DOUBLE_EQ(player->duration(), 0.6);
    EXPECT_EQ(player->currentTime(), 0.0);
    EXPECT_FALSE(player->isPlaying());

    for (const auto& [to, at] : std::vector<std::pair<double, double>>{{0.25, 0.25}, {9, 0.6}, {-1, 0}}) {
        player->setCurrentTime(to);
        EXPECT_DOUBLE_EQ(player->currentTime(), at) << to;
    }
    for (const auto& [to, at] : std::vector<std::pair<double, double>>{{1.5, 1}, {-0.5, 0}}) {
        player->setVolume(to);
        EXPECT_EQ(player->volume(), at) << to;
    }

    QSignalSpy finished(player.get(), &PreviewPlayer::didFinishPlaying);
    ASSERT_TRUE(player->play()) << player->errorText().toStdString();
    EXPECT_TRUE(player->isPlaying());
    EXPECT_GT(player->bytesDelivered(), 0) << "the first buffer goes out within play()";
    ASSERT_TRUE(QTest::qWaitFor([&] { return player->currentTime() > 0.05; }, 2000));
    player->pause();
    const double paused = player->currentTime();
    QTest::qWait(60);
    EXPECT_EQ(player->currentTime(), paused);
    EXPECT_FALSE(player->isPlaying());

    // Seeking while playing starts from the new place.
    ASSERT_TRUE(player->play());
    player->setCurrentTime(0.5);
    EXPECT_TRUE(player->isPlaying());
    EXPECT_GE(player->currentTime(), 0.5);
    ASSERT_TRUE(finished.wait(3000));
    QTest::qWait(50);
    ASSERT_EQ(finished.size(), 1);
    EXPECT_TRUE(finished[0][0].toBool());
    EXPECT_FALSE(player->isPlaying());
    EXPECT_EQ(player->currentTime(), 0.0);

    // Repeat: play again from the start and reach the end again.
    player->setCurrentTime(0.45);
    ASSERT_TRUE(player->play());
    ASSERT_TRUE(finished.wait(3000));
    EXPECT_EQ(finished.size(), 2);

    // Stop keeps the position.
    ASSERT_TRUE(player->play());
    ASSERT_TRUE(QTest::qWaitFor([&] { return player->currentTime() > 0.05; }, 2000));
    player->stop();
    const double stopped = player->currentTime();
    EXPECT_GT(stopped, 0.0);
    QTest::qWait(30);
    EXPECT_EQ(player->currentTime(), stopped);
}

TEST(PreviewPlayer, OnlyTheFirstChunkIsDecodedBeforePlay)
{
    TempDir dir;
    writeTone(dir / "long.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 30.0, 48000, 6);
    auto player = clockPlayer(dir / "long.wav");
    ASSERT_TRUE(player && player->prepareToPlay());
    // 30 s of six-channel float is 34 MB; a chunk is 4096 frames.
    ASSERT_TRUE(player->play());
    EXPECT_LE(player->bytesDelivered(), 0.2 * 48000 * 6 * 4 + PreviewPlayer::kChunkFrames * 6 * 4);
    player->setCurrentTime(29.9);
    QSignalSpy finished(player.get(), &PreviewPlayer::didFinishPlaying);
    ASSERT_TRUE(finished.wait(3000));
}

TEST(PreviewPlayer, FilesThatCannotPlaySayWhy)
{
    TempDir dir;
    qv::testkit::writeFile(dir / "text.wav", "not audio at all, just text");
    for (const char* name : {"missing.wav", "text.wav"}) {
        QString error;
        EXPECT_FALSE(clockPlayer(dir / name, &error)) << name;
        EXPECT_FALSE(error.isEmpty()) << name;
    }

    // A file with no frames plays and ends at once, successfully.
    qv::test::writeSound(dir / "empty.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1, {});
    auto empty = clockPlayer(dir / "empty.wav");
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->duration(), 0.0);
    QSignalSpy emptyFinished(empty.get(), &PreviewPlayer::didFinishPlaying);
    ASSERT_TRUE(empty->play());
    EXPECT_EQ(emptyFinished.size(), 0) << "the end is signalled later, never inside play()";
    ASSERT_TRUE(emptyFinished.wait(2000));
    EXPECT_TRUE(emptyFinished[0][0].toBool());

    // A FLAC file whose second half is garbage opens, plays, and then reports a
    // decode error instead of finishing.
    writeTone(dir / "good.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 2.0);
    std::string bytes = qv::test::readFile(dir / "good.flac");
    for (std::size_t i = bytes.size() / 3; i < bytes.size(); ++i) bytes[i] = char(i * 7919 % 251);
    qv::testkit::writeFile(dir / "broken.flac", bytes);
    auto broken = clockPlayer(dir / "broken.flac");
    ASSERT_TRUE(broken && broken->prepareToPlay());
    QSignalSpy failed(broken.get(), &PreviewPlayer::decodeErrorDidOccur);
    QSignalSpy finished(broken.get(), &PreviewPlayer::didFinishPlaying);
    ASSERT_TRUE(broken->play());
    broken->setCurrentTime(0.4);
    ASSERT_TRUE(failed.wait(3000));
    EXPECT_FALSE(failed[0][0].toString().isEmpty());
    EXPECT_FALSE(broken->isPlaying());
    EXPECT_EQ(finished.size(), 0);
}

TEST(SampleConverter, ChannelsRatesAndIntegersAreConvertedSeamlessly)
{
    using Sample = qv::OutputFormat::Sample;
    auto floats = [](const QByteArray& bytes) {
        return std::vector<float>(reinterpret_cast<const float*>(bytes.constData()),
                                  reinterpret_cast<const float*>(bytes.constData()) + bytes.size() / 4);
    };
    struct Case {
        int inChannels, outChannels;
        std::vector<float> in, out;
    };
    for (const Case& c : {Case{2, 1, {0.2f, 0.4f, -1, 1}, {0.3f, 0}}, Case{1, 2, {0.5f, -0.5f}, {0.5f, 0.5f, -0.5f, -0.5f}},
                          Case{6, 2, {1, 2, 3, 4, 5, 6}, {1, 2}}, Case{2, 4, {1, 2}, {1, 2, 0, 0}}}) {
        qv::SampleConverter converter(44100, c.inChannels, {44100, c.outChannels, Sample::Float});
        QByteArray out;
        converter.convert(c.in.data(), std::int64_t(c.in.size()) / c.inChannels, out);
        EXPECT_EQ(floats(out), c.out) << c.inChannels << " to " << c.outChannels;
    }

    // Doubling the rate puts the midpoint between frames, across chunk boundaries too.
    qv::SampleConverter doubler(22050, 1, {44100, 1, Sample::Float});
    QByteArray out;
    const float first[] = {0, 1};
    const float second[] = {3};
    doubler.convert(first, 2, out);
    doubler.convert(second, 1, out);
    EXPECT_EQ(floats(out), (std::vector<float>{0, 0.5f, 1, 2, 3}));

    qv::SampleConverter integers(44100, 1, {44100, 1, Sample::Int16});
    QByteArray ints;
    const float values[] = {1.5f, -1.5f, 0.5f};
    integers.convert(values, 3, ints);
    const auto* samples = reinterpret_cast<const std::int16_t*>(ints.constData());
    EXPECT_EQ(std::vector<std::int16_t>(samples, samples + ints.size() / 2),
              (std::vector<std::int16_t>{32767, -32767, 16384}));
}

} // namespace
