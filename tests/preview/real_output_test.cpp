// The player through the real QAudioSink. tools/test.sh starts a PulseAudio null sink
// and runs RealOutput with QV_REQUIRE_AUDIO=1, so that CI proves real output works;
// elsewhere it skips when there is no sound server. NoServer runs with PULSE_SERVER
// pointing nowhere (see tests/CMakeLists.txt).
#include "device_output.h"
#include "preview_player.h"
#include "sound_files.h"
#include "temp_dir.h"

#include <QMediaDevices>
#include <QAudioDevice>
#include <QSignalSpy>
#include <QTest>

#include <sndfile.h>

#include <gtest/gtest.h>

namespace {

using qv::PreviewPlayer;
using qv::test::qpath;
using qv::test::writeTone;
using qv::testkit::TempDir;

class RealOutput : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!QMediaDevices::defaultAudioOutput().isNull()) return;
        if (qEnvironmentVariableIsSet("QV_REQUIRE_AUDIO")) FAIL() << "no audio output device, but one is required";
        GTEST_SKIP() << "no sound server";
    }
};

TEST_F(RealOutput, PlaysThroughTheDefaultDeviceToTheEnd)
{
    TempDir dir;
    struct Case {
        const char* name;
        int rate, channels;
    };
    for (const Case& c : {Case{"stereo.wav", 44100, 2}, Case{"six.wav", 96000, 6}, Case{"mono.wav", 22050, 1}}) {
        SCOPED_TRACE(c.name);
        writeTone(dir / c.name, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0.6, c.rate, c.channels);
        QString error;
        auto player = PreviewPlayer::create(qpath(dir / c.name), &error);
        ASSERT_TRUE(player) << error.toStdString();
        ASSERT_TRUE(player->prepareToPlay());
        QSignalSpy finished(player.get(), &PreviewPlayer::didFinishPlaying);
        ASSERT_TRUE(player->play()) << player->errorText().toStdString();
        EXPECT_GT(player->bytesDelivered(), 0);
        ASSERT_TRUE(QTest::qWaitFor([&] { return player->currentTime() > 0.1; }, 3000))
            << "the device never played: " << player->currentTime();
        const double mid = player->currentTime();
        EXPECT_LT(mid, 0.6);
        ASSERT_TRUE(finished.wait(5000));
        EXPECT_TRUE(finished[0][0].toBool());
        EXPECT_EQ(player->currentTime(), 0.0);
    }
}

TEST_F(RealOutput, TheChosenOutputIsUsedAndAnAbsentOneFallsBackToTheDefault)
{
    const QAudioDevice chosen = QMediaDevices::audioOutputs().value(0);
    EXPECT_EQ(qv::DeviceOutput::outputDevice(chosen.id()).id(), chosen.id());
    EXPECT_EQ(qv::DeviceOutput::outputDevice("an interface that was unplugged").id(),
              QMediaDevices::defaultAudioOutput().id());

    TempDir dir;
    writeTone(dir / "tone.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0.3, 44100, 2);
    for (const QByteArray& id : {chosen.id(), QByteArray("an interface that was unplugged")}) {
        QString error;
        auto player = PreviewPlayer::create(qpath(dir / "tone.wav"), &error, PreviewPlayer::deviceOutput(id));
        ASSERT_TRUE(player) << error.toStdString();
        ASSERT_TRUE(player->prepareToPlay());
        ASSERT_TRUE(player->play()) << player->errorText().toStdString();
        ASSERT_TRUE(QTest::qWaitFor([&] { return player->currentTime() > 0.05; }, 3000)) << id.toStdString();
    }
}

TEST(NoServer, PlayFailsWithAClearErrorInsteadOfHanging)
{
    if (!QMediaDevices::defaultAudioOutput().isNull()) GTEST_SKIP() << "a sound server answered";
    TempDir dir;
    writeTone(dir / "tone.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0.2);
    auto player = PreviewPlayer::create(qpath(dir / "tone.wav"), nullptr);
    ASSERT_TRUE(player && player->prepareToPlay());
    EXPECT_FALSE(player->play());
    EXPECT_FALSE(player->isPlaying());
    EXPECT_TRUE(player->errorText().contains("No audio output device")) << player->errorText().toStdString();
}

} // namespace
