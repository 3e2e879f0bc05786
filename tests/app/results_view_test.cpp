// The results page offscreen: pooled rows across pages, waveform modes, metadata links,
// the playing marker, the visible range, selection by mouse and keys, and drag data.
#include "db/database.h"
#include "result_row.h"
#include "results_view.h"
#include "sample.h"
#include "temp_dir.h"
#include "waveform_disk_cache.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"
#include "waveform_view.h"

#include <QApplication>
#include <QFont>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>
#include <QToolButton>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

using qv::testkit::TempDir;

class ResultsViewTest : public ::testing::Test {
protected:
    TempDir _dir;
    qv::WaveformNotifier _notifier;
    // Row waveforms poll the queue, which may decode; these files do not exist anyway.
    qv::WaveformQueue _queue{[](const QString&) {
                                 qv::PeakDecode failed;
                                 failed.error = "no audio in this test";
                                 return failed;
                             },
                             qv::WaveformDiskCache(QString::fromStdString((_dir.path() / "cache").string())), _notifier, false};
    QVResultsView _view{_queue};

    void SetUp() override { _view.resize(900, 600); }

    qv::Sample sample(const std::string& name, qv::SampleType type = qv::SampleType::Loop) const
    {
        qv::Sample s;
        s.filename = name;
        s.path = (_dir.path() / "pack" / name).string();
        s.type = type;
        s.musicalKey = "None";
        s.modifiedAt = 1700000000;
        s.fileSize = 4096;
        return s;
    }
    std::vector<qv::Sample> page(int count, const std::string& prefix = "row") const
    {
        std::vector<qv::Sample> rows;
        for (int i = 0; i < count; ++i) rows.push_back(sample(prefix + " " + std::to_string(i) + ".wav"));
        return rows;
    }
    std::vector<QString> playGlyphs() const
    {
        std::vector<QString> glyphs;
        for (int i = 0; i < _view.rowCount(); ++i) glyphs.push_back(_view.rowWidget(i)->playButton()->text());
        return glyphs;
    }
};

TEST_F(ResultsViewTest, DraggedRowsBecomeFileUrlsThatRoundTrip)
{
    std::vector<qv::Sample> rows;
    for (const char* name : {"Kick 01.wav", "100% snare_dry.wav", "\"quoted\" 'hat'.wav", "Pädsé ☃ 弦.aif", "#hash?q=1.wav"}) {
        rows.push_back(sample(name));
    }
    _view.setSampleRows(rows);

    std::unique_ptr<QMimeData> mime(_view.mimeDataForRows({4, 1, 2, 3, 1, 99, -1}));
    ASSERT_TRUE(mime);
    QStringList expected, fromUrls;
    for (int row : {1, 2, 3, 4}) expected << QString::fromStdString(rows[std::size_t(row)].path);
    for (const QUrl& url : mime->urls()) fromUrls << url.toLocalFile();
    EXPECT_EQ(fromUrls, expected);
    EXPECT_EQ(mime->text().split(QLatin1Char('\n')), expected);
    EXPECT_EQ(std::unique_ptr<QMimeData>(_view.mimeDataForRows({5, -2})), nullptr);
    _view.setLibraryRows({qv::Library{1, rows[0].path, 3, ""}}, {true});
    EXPECT_EQ(std::unique_ptr<QMimeData>(_view.mimeDataForRows({0})), nullptr) << "libraries are not dragged";
}

TEST_F(ResultsViewTest, AShorterPageReusesRowsAndHidesTheRest)
{
    _view.setSampleRows(page(50, "first"));
    ASSERT_EQ(_view.rowCount(), 50);
    QVResultRow* firstRow = _view.rowWidget(0);
    QVWaveformView* polling = _view.rowWaveform(10);
    ASSERT_FALSE(polling->cacheKey().isEmpty());
    _view.selectOnly(10);
    QSignalSpy selectionChanged(&_view, &QVResultsView::selectionChanged);

    _view.setSampleRows(page(3, "second"));
    EXPECT_EQ(_view.rowCount(), 3);
    EXPECT_EQ(_view.rowWidget(0), firstRow);
    EXPECT_EQ(_view.rowWidget(1)->fileName(), QStringLiteral("second 1.wav"));
    EXPECT_EQ(_view.rowWaveform(3), nullptr);
    EXPECT_EQ(_view.rowWidget(3), nullptr);
    const auto pool = _view.widget()->findChildren<QVResultRow*>();
    EXPECT_EQ(pool.size(), 50);
    EXPECT_EQ(std::count_if(pool.begin(), pool.end(), [](QVResultRow* r) { return !r->isHidden(); }), 3);
    EXPECT_TRUE(polling->cacheKey().isEmpty()) << "a hidden row stops asking for its old file";
    EXPECT_EQ(_view.selectedRow(), -1);
    EXPECT_EQ(selectionChanged.count(), 1);
    EXPECT_FALSE(_view.rowWidget(0)->isSelected()) << "the old highlight must not survive on a reused row";
}

TEST_F(ResultsViewTest, RowWaveformsFollowTheSampleKind)
{
    auto rows = std::vector<qv::Sample>{sample("lead.mid", qv::SampleType::MIDI), sample("pad.wav")};
    _view.setSampleRows(rows);
    EXPECT_TRUE(_view.rowWaveform(0)->midiMode());
    EXPECT_FALSE(_view.rowWaveform(1)->midiMode());
    const QString path = QString::fromStdString(rows[1].path);
    EXPECT_EQ(_view.rowWaveform(1)->cacheKey(), qv::waveformCacheKey(path, rows[1].modifiedAt, 4096));

    std::swap(rows[0], rows[1]);
    _view.setSampleRows(rows);
    EXPECT_FALSE(_view.rowWaveform(0)->midiMode());
    EXPECT_EQ(_view.rowWaveform(0)->audioPath(), path);
    EXPECT_TRUE(_view.rowWaveform(1)->midiMode());
}

TEST_F(ResultsViewTest, MetadataLinksShowTheFieldsAndReportRawValues)
{
    qv::Sample full = sample("full.wav");
    full.instrument = "Kick";
    full.genre = "Drum & Bass";
    full.musicalKey = "F# minor";
    full.bpm = 174;
    full.duration = 2.5;
    _view.setSampleRows({sample("bare.wav", qv::SampleType::OneShot), full});
    _view.show(); // laid out: the line is fitted to the row's width
    QApplication::processEvents();

    struct Expected {
        int row;
        QString shown;
        std::vector<std::pair<QString, QString>> links;
    };
    const std::vector<Expected> cases{
        {0, QStringLiteral("One Shot"), {{"type", "One Shot"}}},
        {1, QStringLiteral("Loop · Kick · Drum & Bass · F#m · 174 BPM · 2.5s"),
         {{"type", "Loop"}, {"instrument", "Kick"}, {"genre", "Drum & Bass"}, {"key", "F# minor"}, {"bpm", "174"}, {"duration", "2.5"}}},
    };
    QSignalSpy activated(&_view, &QVResultsView::metadataLinkActivated);
    for (const Expected& c : cases) {
        QLabel* label = _view.rowWidget(c.row)->metadataLabel();
        QTextDocument document;
        document.setHtml(label->text());
        EXPECT_EQ(document.toPlainText(), c.shown);

        activated.clear();
        const QRegularExpression href(QStringLiteral("href=\"([^\"]*)\""));
        for (auto it = href.globalMatch(label->text()); it.hasNext();) {
            QMetaObject::invokeMethod(label, "linkActivated", Q_ARG(QString, it.next().captured(1)));
        }
        ASSERT_EQ(activated.size(), static_cast<qsizetype>(c.links.size())) << c.shown.toStdString();
        for (std::size_t i = 0; i < c.links.size(); ++i) {
            EXPECT_EQ(activated[i][0].toInt(), c.row);
            EXPECT_EQ(activated[i][1].toString(), c.links[i].first);
            EXPECT_EQ(activated[i][2].toString(), c.links[i].second);
        }
    }
    EXPECT_EQ(QVResultRow::parseMetadataLink(QStringLiteral("https://example.com")).first, QString());

    // Narrowed, whole parts give way to "…"; the ones left stay links.
    const QFontMetrics metrics{QFont{}};
    const auto parts = QVResultRow::metadataParts(full);
    const QString all = cases[1].shown;
    const std::vector<std::pair<int, QString>> fits{
        {metrics.horizontalAdvance(all), all},
        {metrics.horizontalAdvance(QStringLiteral("Loop · Kick · Drum")), QStringLiteral("Loop · Kick · …")},
        {metrics.horizontalAdvance(QStringLiteral("Lo")), QStringLiteral("…")},
    };
    for (const auto& [width, shown] : fits) {
        const QString html = QVResultRow::metadataHtml(parts, Qt::gray, metrics, width);
        QTextDocument document;
        document.setHtml(html);
        EXPECT_EQ(document.toPlainText(), shown) << width;
        EXPECT_EQ(html.count(QStringLiteral("href=")), shown.count(QStringLiteral(" · ")) + (shown.endsWith(QStringLiteral("…")) ? 0 : 1));
    }
}

TEST_F(ResultsViewTest, ThePlayingMarkerMovesAndFollowsItsSample)
{
    const QString play = QStringLiteral("▶");
    const QString pause = QStringLiteral("Ⅱ");
    auto rows = page(4);
    _view.setSampleRows(rows);
    _view.setPlayingRow(1, true);
    EXPECT_EQ(playGlyphs(), (std::vector<QString>{play, pause, play, play}));
    _view.setPlayingRow(3, true);
    EXPECT_EQ(playGlyphs(), (std::vector<QString>{play, play, play, pause}));
    _view.setPlayingRow(3, false);
    EXPECT_EQ(playGlyphs(), (std::vector<QString>{play, play, play, play}));

    _view.setPlayingRow(2, true);
    std::reverse(rows.begin(), rows.end()); // a re-sorted page: the sample moved to row 1
    _view.setSampleRows(rows);
    EXPECT_EQ(playGlyphs(), (std::vector<QString>{play, pause, play, play}));
    rows[1].favorite = true;
    _view.updateSample(1, rows[1]);
    EXPECT_EQ(playGlyphs()[1], pause);
    EXPECT_EQ(_view.rowWidget(1)->heartButton()->text(), QStringLiteral("♥"));
}

TEST_F(ResultsViewTest, TheVisibleRangeCoversWhatTheViewportShows)
{
    _view.setSampleRows(page(50));
    EXPECT_EQ(_view.visibleRowRange(), (std::pair{-1, -1})) << "nothing is on screen before the view is shown";

    QSignalSpy changed(&_view, &QVResultsView::visibleRowsChanged);
    _view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&_view));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !changed.isEmpty(); }, 2000));
    // 600 px of 56 px rows: rows 0 to 10, the last one cut off.
    EXPECT_EQ(_view.visibleRowRange(), (std::pair{0, 10}));

    changed.clear();
    _view.scrollToRow(49);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !changed.isEmpty(); }, 2000));
    EXPECT_EQ(_view.visibleRowRange().second, 49);
    EXPECT_GE(_view.visibleRowRange().first, 38);

    _view.setSampleRows(page(2));
    EXPECT_EQ(_view.visibleRowRange(), (std::pair{0, 1})) << "a new page starts at the top";
    _view.setSampleRows({});
    EXPECT_EQ(_view.visibleRowRange(), (std::pair{-1, -1}));
}

TEST_F(ResultsViewTest, MouseAndKeysSelectButArrowsAreLeftToTheWindow)
{
    _view.setSampleRows(page(6));
    _view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&_view));
    QSignalSpy clicked(&_view, &QVResultsView::rowClicked);
    const QPoint body(120, 20);

    QTest::mouseClick(_view.rowWidget(2), Qt::LeftButton, {}, body);
    QTest::mouseClick(_view.rowWidget(4), Qt::LeftButton, Qt::ControlModifier, body);
    EXPECT_EQ(_view.selectedRows(), (std::vector<int>{2, 4}));
    // A plain press on a selected row may start a drag: the selection narrows on release.
    QTest::mousePress(_view.rowWidget(4), Qt::LeftButton, {}, body);
    EXPECT_EQ(_view.selectedRows(), (std::vector<int>{2, 4}));
    QTest::mouseRelease(_view.rowWidget(4), Qt::LeftButton, {}, body);
    EXPECT_EQ(_view.selectedRows(), (std::vector<int>{4}));
    // A press on the name passes through the label to its row.
    QLabel* name = _view.rowWidget(1)->findChild<QLabel*>();
    QTest::mouseClick(name, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(_view.selectedRows(), (std::vector<int>{1}));
    ASSERT_EQ(clicked.size(), 4);
    EXPECT_EQ(clicked.back()[0].toInt(), 1);

    for (int key : {Qt::Key_Up, Qt::Key_Down, Qt::Key_Space, Qt::Key_Return}) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(&_view, &press);
        EXPECT_FALSE(press.isAccepted()) << key;
    }
    EXPECT_EQ(_view.selectedRows(), (std::vector<int>{1}));
    QTest::keyClick(&_view, Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(&_view, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(_view.selectedRows(), (std::vector<int>{1, 2, 3}));
    QTest::keyClick(&_view, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(_view.selectedRows().size(), 6u);
}

} // namespace
