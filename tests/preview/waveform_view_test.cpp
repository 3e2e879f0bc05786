// The waveform view drawn offscreen, its seek and drag, and the answers it must ignore.
#include "held_decoder.h"
#include "temp_dir.h"
#include "sound_files.h"
#include "theme_colors.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"
#include "waveform_view.h"

#include <QApplication>
#include <QMouseEvent>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using qv::test::HeldDecoder;
using qv::test::qpath;
using qv::testkit::TempDir;

// 586 × 40: the inset rectangle is 576 × 30, so each of the 192 bars has a pitch of
// exactly 3 pixels (bar i covers columns 5 + 3i and 6 + 3i) and the middle row is 20.
constexpr int kWidth = 586;
constexpr int kHeight = 40;
constexpr int barColumn(int bar) { return 5 + 3 * bar + 1; }

const QColor kUnplayed(107, 107, 107);
const QColor kBackground(14, 14, 14);
const QColor kFlatLine(46, 46, 46);

class WaveformViewTest : public ::testing::Test {
protected:
    TempDir _dir;
    HeldDecoder _decoder;
    qv::WaveformNotifier _notifier;
    qv::WaveformQueue _queue{[this](const QString& path) { return _decoder.decode(path); },
                             qv::WaveformDiskCache(qpath(_dir / "cache")), _notifier, false};
    QVWaveformView _view{nullptr, &_queue};

    void SetUp() override
    {
        _view.resize(kWidth, kHeight);
        setTheme("Purple");
    }
    void TearDown() override { _decoder.release(); }

    static void setTheme(const QString& name)
    {
        QSettings("Ostrelle", "Quorvalinder").setValue("QVThemeSelection", name);
    }
    QImage draw() { return _view.grab().toImage(); }
    // Pixels in a rectangle brighter than anything but text would be there.
    static int brightPixels(const QImage& image, const QRect& area, int above)
    {
        int count = 0;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x) count += qGray(image.pixel(x, y)) > above;
        }
        return count;
    }
    void sendMouse(QEvent::Type type, double x, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        QMouseEvent event(type, QPointF(x, 20), _view.mapToGlobal(QPointF(x, 20)), button, buttons, Qt::NoModifier);
        QApplication::sendEvent(&_view, &event);
    }
};

TEST_F(WaveformViewTest, PlayedBarsTakeTheThemeColourUpToTheProgressInclusive)
{
    _decoder.release("/"); // a path one character long: every peak is 1, full height
    _view.loadAudioAtPath("/", 1, 2);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !_view.loading(); }, 5000));
    _view.setProgress(0.5);
    QImage image = draw();
    EXPECT_EQ(image.pixelColor(barColumn(95), 20), kUnplayed) << "no playhead shown: nothing is played";

    _view.setShowsPlayhead(true);
    image = draw();
    const QColor purple = qv::themeColors("Purple").waveformPlayed;
    // Bar 96 starts at 96 / 192 = 0.5 and counts as played; the playhead covers its
    // first column (5 + 576 × 0.5 = 293).
    // Full height reaches the inset at row 6; column 5 + 3 × 97 + 2 is the gap between bars.
    for (const auto& [x, y, colour] : {std::tuple{barColumn(0), 20, purple}, {barColumn(95), 20, purple},
                                       {barColumn(96), 20, purple}, {barColumn(97), 20, kUnplayed},
                                       {barColumn(191), 6, kUnplayed}, {barColumn(191), 3, kBackground},
                                       {5 + 3 * 97 + 2, 20, kBackground}}) {
        EXPECT_EQ(image.pixelColor(x, y), colour) << x << "," << y;
    }
    const QColor playhead = image.pixelColor(293, 20);
    EXPECT_NE(playhead, purple);
    EXPECT_GT(playhead.lightness(), qv::themeColors("Purple").accent.lightness());

    // The setting is read at every draw.
    for (const char* theme : {"Green", "Classic", "Anything else"}) {
        setTheme(theme);
        EXPECT_EQ(draw().pixelColor(barColumn(10), 20), qv::themeColors(theme).waveformPlayed) << theme;
    }
    EXPECT_EQ(qv::themeColors("Anything else").waveformPlayed, purple);

    _view.setProgress(7.0);
    EXPECT_EQ(_view.progress(), 1.0);
    EXPECT_EQ(draw().pixelColor(barColumn(191), 20), purple);
    _view.setProgress(-1);
    EXPECT_EQ(_view.progress(), 0.0);
    EXPECT_EQ(draw().pixelColor(barColumn(0), 20), kUnplayed) << "progress 0 colours nothing";
}

TEST_F(WaveformViewTest, LoadingShowsTheHintFailureOnlyTheLineAndMidiItsPlaceholder)
{
    _view.loadAudioAtPath("/held.wav", 1, 2);
    EXPECT_TRUE(_view.loading());
    QImage image = draw();
    EXPECT_EQ(image.pixelColor(500, 20), kFlatLine);
    EXPECT_GT(brightPixels(image, QRect(11, 14, 90, 12), 60), 20) << "the \"Loading waveform\" hint";

    _decoder.release("/held-bad.wav");
    _view.loadAudioAtPath("/held-bad.wav", 1, 2);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !_view.loading(); }, 5000));
    EXPECT_TRUE(_view.peaks().empty());
    image = draw();
    EXPECT_EQ(image.pixelColor(500, 20), kFlatLine);
    EXPECT_EQ(brightPixels(image, QRect(11, 14, 90, 12), 60), 0);

    _view.showMIDIPlaceholder();
    EXPECT_TRUE(_view.midiMode());
    EXPECT_TRUE(_view.cacheKey().isEmpty());
    image = draw();
    EXPECT_EQ(image.pixelColor(10, 20), kBackground) << "no flat line behind the placeholder";
    EXPECT_GT(brightPixels(image, QRect(200, 10, 186, 20), 60), 40) << "the centred placeholder text";
    EXPECT_EQ(brightPixels(image, QRect(5, 5, 100, 30), 60), 0);
    EXPECT_EQ(_view.toolTip(), "Click or drag to seek");
}

TEST_F(WaveformViewTest, ClicksAndDragsSeekWithinTheDurationAndDoubleClicksGoToTheirOwnAction)
{
    struct Case {
        double x, width, duration, position;
    };
    for (const Case& c : {Case{50, 100, 10, 5}, Case{150, 100, 10, 10}, Case{-5, 100, 10, 0}, Case{0.5, 0, 4, 2},
                          Case{100, 100, 0.25, 0.25}}) {
        EXPECT_DOUBLE_EQ(QVWaveformView::seekPosition(c.x, c.width, c.duration), c.position) << c.x << " " << c.width;
    }

    _view.resize(200, kHeight);
    QSignalSpy seeks(&_view, &QVWaveformView::seekRequested);
    sendMouse(QEvent::MouseButtonPress, 50, Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(seeks.size(), 0) << "no duration: nothing to seek";

    _view.setDuration(8);
    sendMouse(QEvent::MouseButtonPress, 50, Qt::LeftButton, Qt::LeftButton);
    sendMouse(QEvent::MouseMove, 100, Qt::NoButton, Qt::LeftButton);
    sendMouse(QEvent::MouseMove, 400, Qt::NoButton, Qt::LeftButton);
    sendMouse(QEvent::MouseButtonRelease, 20, Qt::LeftButton, Qt::NoButton);
    sendMouse(QEvent::MouseMove, 30, Qt::NoButton, Qt::NoButton);
    ASSERT_EQ(seeks.size(), 3);
    EXPECT_EQ(seeks[0][0].toDouble(), 2.0);
    EXPECT_EQ(seeks[1][0].toDouble(), 4.0);
    EXPECT_EQ(seeks[2][0].toDouble(), 8.0);
    EXPECT_EQ(_view.doubleValue(), 8.0);
    EXPECT_EQ(_view.progress(), 1.0);

    // Nothing connected to the double click: it seeks like a click.
    sendMouse(QEvent::MouseButtonDblClick, 25, Qt::LeftButton, Qt::LeftButton);
    ASSERT_EQ(seeks.size(), 4);
    EXPECT_EQ(seeks[3][0].toDouble(), 1.0);
    QSignalSpy doubleClicks(&_view, &QVWaveformView::doubleClicked);
    sendMouse(QEvent::MouseButtonDblClick, 150, Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(doubleClicks.size(), 1);
    EXPECT_EQ(seeks.size(), 4);
    EXPECT_EQ(_view.doubleValue(), 1.0);

    _view.showMIDIPlaceholder();
    sendMouse(QEvent::MouseButtonPress, 50, Qt::LeftButton, Qt::LeftButton);
    _view.clear();
    _view.setEnabled(false);
    sendMouse(QEvent::MouseButtonPress, 50, Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(seeks.size(), 4);
}

TEST_F(WaveformViewTest, AnswersForAFileNoLongerShownAreIgnored)
{
    // The first file's peaks arrive while the second is shown: its notification is
    // ignored, and the view keeps loading until its own peaks come.
    _view.loadAudioAtPath("/first.wav", 1, 2);
    _view.loadAudioAtPath("/second-file.wav", 1, 2);
    _decoder.release("/first.wav");
    ASSERT_TRUE(QTest::qWaitFor([&] { return _queue.hasCached(qv::waveformCacheKey("/first.wav", 1, 2)); }, 5000));
    QTest::qWait(50);
    EXPECT_TRUE(_view.loading());
    EXPECT_TRUE(_view.peaks().empty());
    _decoder.release("/second-file.wav");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !_view.loading(); }, 5000));
    EXPECT_EQ(_view.peaks(), std::vector<float>(192, 1.0f / 16));

    // Another view shows cached peaks at once, without the event loop.
    QVWaveformView row(nullptr, &_queue);
    row.loadCachedAudioAtPath("/first.wav", 1, 2);
    EXPECT_FALSE(row.loading());
    EXPECT_EQ(row.peaks(), std::vector<float>(192, 1.0f / 10));

    // Polls: with both workers busy, a cached load's poll asks for its peaks at preload
    // priority, and keeps asking after a new preload generation cancels that job...
    _queue.requestKey("a", "/busy-a", false);
    _queue.requestKey("b", "/busy-b", false);
    ASSERT_TRUE(_decoder.waitForStarted(4));
    row.loadCachedAudioAtPath("/polled.wav", 1, 2);
    EXPECT_EQ(_queue.pendingJobCount(), 3u);
    _queue.beginPreloadGeneration();
    EXPECT_EQ(_queue.pendingJobCount(), 2u);
    ASSERT_TRUE(QTest::qWaitFor([&] { return _queue.pendingJobCount() == 3; }, 2000));
    // ...but a poll of a view that moved on asks no more.
    row.clear();
    _queue.beginPreloadGeneration();
    QTest::qWait(3 * QVWaveformView::kPollIntervalMs);
    EXPECT_EQ(_queue.pendingJobCount(), 2u);
    EXPECT_FALSE(row.loading());
}

} // namespace
