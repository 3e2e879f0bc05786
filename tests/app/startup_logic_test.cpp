// Launch's decisions without a window: settings normalisation, sizes, centring and the
// warm-up's silent WAV.
#include "settings_logic.h"
#include "startup_logic.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TEST(StartupSettings, LayoutModeThemeAndStoredSizes)
{
    EXPECT_EQ(qv::normalizedLayoutMode(false, 0), 1);
    EXPECT_EQ(qv::normalizedLayoutMode(true, 7), 1);
    EXPECT_EQ(qv::normalizedLayoutMode(true, -1), 1);
    EXPECT_EQ(qv::normalizedLayoutMode(true, 0), 0);
    EXPECT_STREQ(qv::sizeKeyForMode(0), "QVCompactVerticalSize");
    EXPECT_STREQ(qv::sizeKeyForMode(1), "QVDesktopSize");

    EXPECT_EQ(qv::normalizedTheme(""), "Purple");
    EXPECT_EQ(qv::normalizedTheme("Classic"), "Classic");
    EXPECT_EQ(qv::normalizedTheme("green"), "Purple");

    EXPECT_EQ(qv::parseSize("{1200.7,800}"), QSize(1200, 800));
    EXPECT_EQ(qv::parseSize("1440 x 900"), QSize(1440, 900));
    EXPECT_EQ(qv::parseSize("wide"), QSize(0, 0));
    EXPECT_EQ(qv::parseSize(qv::formatSize(QSize(1536, 770))), QSize(1536, 770));
    EXPECT_EQ(qv::formatSize(QSize(704, 1536)), "{704, 1536}");
    EXPECT_EQ(qv::storedContentSize(1, ""), QSize(1536, 770));
    EXPECT_EQ(qv::storedContentSize(0, ""), QSize(704, 1536));
    EXPECT_EQ(qv::storedContentSize(1, "nonsense"), QSize(0, 0)); // the parser's answer, clamped later
}

TEST(StartupSettings, SizesAreClampedToTheScreenAndCentred)
{
    const QRect laptop(0, 27, 1366, 741);
    EXPECT_EQ(qv::clampedContentSize(QSize(1536, 770), 1, laptop), QSize(1366, 741));
    EXPECT_EQ(qv::clampedContentSize(QSize(704, 1536), 0, laptop), QSize(704, 741));
    EXPECT_EQ(qv::clampedContentSize(QSize(0, 0), 1, laptop), QSize(980, 600)); // never unusably small
    const QRect big(100, 0, 2560, 1440);
    EXPECT_EQ(qv::clampedContentSize(QSize(1536, 770), 1, big), QSize(1536, 770));
    const QRect frame = qv::centeredFrame(QSize(1536, 770), big);
    EXPECT_EQ(frame.center().x() - big.center().x(), 0);
    EXPECT_LE(std::abs(frame.center().y() - big.center().y()), 1);
    EXPECT_TRUE(big.contains(frame));
}

TEST(SettingsWindow, ChoicesRoundTripAndOnlyWhatChangedIsReported)
{
    QTemporaryDir dir;
    QSettings settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    const qv::AppSettings defaults = qv::readAppSettings(settings);
    EXPECT_EQ(defaults.theme, "Purple");
    EXPECT_EQ(defaults.layoutMode, 1);
    EXPECT_EQ(defaults.featuredColumns, 6);
    EXPECT_TRUE(defaults.audioOutput.isEmpty());
    EXPECT_FALSE(defaults.reduceMotion);

    const qv::AppSettings chosen{QStringLiteral("Green"), 0, 3, QByteArray("alsa_output.usb-interface"), true};
    const qv::SettingsChanges changes = qv::writeAppSettings(settings, defaults, chosen);
    EXPECT_TRUE(changes.theme && changes.layout && changes.featuredColumns && changes.audioOutput && changes.reduceMotion);
    const qv::AppSettings read = qv::readAppSettings(settings);
    EXPECT_EQ(read.theme, "Green");
    EXPECT_EQ(read.layoutMode, 0);
    EXPECT_EQ(read.featuredColumns, 3);
    EXPECT_EQ(read.audioOutput, "alsa_output.usb-interface");
    EXPECT_TRUE(read.reduceMotion);
    EXPECT_FALSE(qv::writeAppSettings(settings, read, chosen).any()) << "saving again changes nothing";

    // An unknown theme is the default one, so choosing it from Purple is no change.
    qv::AppSettings odd = defaults;
    odd.theme = QStringLiteral("Pink");
    odd.featuredColumns = 40;
    const qv::SettingsChanges clamped = qv::writeAppSettings(settings, defaults, odd);
    EXPECT_FALSE(clamped.theme);
    EXPECT_TRUE(clamped.featuredColumns);
    EXPECT_EQ(qv::readAppSettings(settings).featuredColumns, 8);
    EXPECT_EQ(qv::readAppSettings(settings).theme, "Green") << "an unchanged field is not written";
}

TEST(SettingsWindow, EachLayoutReturnsToItsOwnSize)
{
    QTemporaryDir dir;
    QSettings settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    const QRect screen(0, 0, 1920, 1080);
    EXPECT_EQ(qv::sizeForLayout(0, settings, screen), QSize(704, 1080)) << "the default, kept on the screen";
    settings.setValue(QLatin1String(qv::kCompactVerticalSizeKey), qv::formatSize(QSize(620, 900)));
    settings.setValue(QLatin1String(qv::kDesktopSizeKey), qv::formatSize(QSize(1400, 820)));
    EXPECT_EQ(qv::sizeForLayout(0, settings, screen), QSize(620, 900));
    EXPECT_EQ(qv::sizeForLayout(1, settings, screen), QSize(1400, 820));
}

TEST(Warmup, SilentWaveIsATenthOfASecondOfMono16BitSilence)
{
    const QByteArray wav = qv::silentWaveBytes();
    ASSERT_EQ(wav.size(), 44 + 8820);
    // RIFF of 8856 bytes; PCM, mono, 44100 Hz, 88200 bytes a second, 2-byte frames of 16 bits; 8820 data bytes.
    EXPECT_EQ(wav.left(44).toHex(), "524946469822000057415645666d7420100000000100010044ac000088580100020010006461746174220000");
    EXPECT_EQ(wav.mid(44).count('\0'), 8820);
}

} // namespace
