// The real controller, offscreen, over a generated library of 60 short tones in a folder
// whose name has spaces, '%' and non-ASCII: launch, stale decodes, skipping, crossing a
// page, the search debounce and coalesced page requests. Players run on a clock.
#include "filter_chips.h"
#include "player_panel.h"
#include "waveform_view.h"
#include "warmup.h"
#include "playback.h"
#include "result_browser.h"
#include "results_view.h"
#include "scan_coordinator.h"
#include "window_test.h"

#include "inference/metadata_parser.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QUrl>
#include <QSignalSpy>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

namespace fs = std::filesystem;
using qv::PlaybackState;

class ControllerTest : public qv::test::WindowTest {
protected:
    void SetUp() override
    {
        std::vector<std::string> names;
        for (int i = 0; i < 60; ++i) names.push_back((i % 2 ? "Snare " : "Kick ") + std::string(i < 10 ? "0" : "") + std::to_string(i) + ".wav");
        writeTones(library, names, 3.0);
        scan(library);
    }

    QVPlayback& playback() { return *controller->playback(); }
    bool playing() { return waitFor([&] { return playback().playbackState() == PlaybackState::Playing; }); }
    // Players made after a slow disk's delay, counted.
    void slowPlayers(int ms, std::atomic<int>* created = nullptr)
    {
        playback().setPlayerFactory([ms, created](const QString& path, QString* error) {
            if (created) ++*created;
            std::this_thread::sleep_for(std::chrono::milliseconds(ms));
            return qv::PreviewPlayer::create(path, error, qv::PreviewPlayer::clockOutput());
        });
    }
    bool waitFor(const std::function<bool()>& done, int ms = 5000) { return QTest::qWaitFor(done, ms); }

    fs::path library = dir / "Drums 100% Größe";
};

TEST_F(ControllerTest, LaunchBuildsInOrderAndShowsTheFirstPage)
{
    launch();
    EXPECT_EQ(controller->launchSteps(),
              (QStringList{"database", "library-availability", "layout", "window", "panels", "notifications",
                           "sidebars", "refresh", "show"}));
    EXPECT_EQ(window().windowTitle(), QString::fromUtf8("Quorvalinder \u2014 Ostrelle"));
    EXPECT_EQ(state().rows.size(), 50u);
    EXPECT_EQ(window().table->rowCount(), 50);
    EXPECT_TRUE(state().hasNextPage);
    EXPECT_EQ(status(), QString::fromUtf8("60 matching samples  \u2022  showing 1\u201350"));
    EXPECT_EQ(window().pageLabel->text(), "Page 1 of 2");
    EXPECT_FALSE(window().emptyStateVisible());
    EXPECT_EQ(window().focusWidget(), window().table); // Space and arrows act at once
    EXPECT_NE(window().player, nullptr) << "the sidebars' reload builds the player";
}

TEST_F(ControllerTest, AnUnpluggedLibraryIsMarkedOfflineBeforeTheFirstRefresh)
{
    fs::rename(library, dir / "elsewhere");
    launch();
    EXPECT_FALSE(controller->database().isLibraryAvailable(library.string()));
    EXPECT_TRUE(state().rows.empty());
    EXPECT_EQ(status(), QString::fromUtf8("0 matching samples  \u2022  showing 0\u20130"));
}

TEST_F(ControllerTest, SelectingFasterThanFilesDecodeKeepsOnlyTheLastSelection)
{
    launch();
    std::atomic<int> created{0};
    slowPlayers(150, &created);
    playback().loadSampleAtIndex(0, true);
    playback().loadSampleAtIndex(1, true);
    playback().loadSampleAtIndex(2, true);
    EXPECT_EQ(playback().playbackState(), PlaybackState::Loading);
    ASSERT_TRUE(playing());
    QTest::qWait(400); // any late completion of an older load would land here
    ASSERT_TRUE(playback().currentSample());
    EXPECT_EQ(playback().currentSample()->id, state().rows[2].id);
    EXPECT_EQ(playback().playbackState(), PlaybackState::Playing);
    EXPECT_EQ(state().currentIndex, 2);
    EXPECT_LE(created.load(), 2) << "a load made stale before it started must not decode";
}

TEST_F(ControllerTest, ADecodeForAnOldBrowseContextIsDiscarded)
{
    launch();
    slowPlayers(120);
    playback().loadSampleAtIndex(0, true);
    ++state().browseContextGeneration; // the search text changed meanwhile
    QTest::qWait(500);
    EXPECT_EQ(playback().playbackState(), PlaybackState::Loading);
    EXPECT_EQ(playback().sound(), nullptr);
}

TEST_F(ControllerTest, SteppingSkipsMissingFilesAndCrossesPages)
{
    launch();
    const auto pathOf = [&](int row) { return fs::path(state().rows[static_cast<std::size_t>(row)].path); };
    for (int row : {1, 2, 3}) fs::remove(pathOf(row));
    playback().loadSampleAtIndex(0, true);
    ASSERT_TRUE(playing());
    playback().nextSample();
    ASSERT_TRUE(waitFor([&] { return playback().currentSample() && playback().currentSample()->id == state().rows[4].id; }));
    EXPECT_EQ(status(), "Skipped unavailable sample");

    playback().loadSampleAtIndex(49, true);
    ASSERT_TRUE(waitFor([&] { return playback().playbackState() == PlaybackState::Playing && state().currentIndex == 49; }));
    playback().nextSample();
    ASSERT_TRUE(waitFor([&] { return state().page == 1 && playback().playbackState() == PlaybackState::Playing; }));
    EXPECT_EQ(state().rows.size(), 10u);
    EXPECT_EQ(playback().currentSample()->id, state().rows[0].id);
    EXPECT_EQ(state().pendingSamplePageSelection, 0);

    // On the last page the walk stops at the last row.
    playback().loadSampleAtIndex(9, true);
    ASSERT_TRUE(waitFor([&] { return state().currentIndex == 9 && playback().playbackState() == PlaybackState::Playing; }));
    fs::remove(pathOf(9));
    playback().navigateSamplesInDirection(1, 10);
    EXPECT_EQ(status(), "Skipped unavailable samples");
    EXPECT_EQ(state().page, 1);
    EXPECT_EQ(window().table->selectedRow(), 9);
}

TEST_F(ControllerTest, TypedSearchWaitsForTheDebounceAndClampsThePage)
{
    launch();
    controller->browser()->nextPage();
    ASSERT_TRUE(waitFor([&] { return state().page == 1 && !state().pageTransitionScheduled; }));
    QLineEdit* search = window().search;
    search->setText(QStringLiteral("Snare"));
    EXPECT_TRUE(controller->browser()->searchRefreshPending());
    EXPECT_EQ(state().rows.size(), 10u) << "nothing runs before the pause";
    ASSERT_TRUE(waitFor([&] { return !controller->browser()->searchRefreshPending(); }, 1000));
    ASSERT_EQ(state().rows.size(), 30u);
    EXPECT_EQ(state().page, 0) << "page 2 of the old result does not exist in the new one";
    for (const qv::Sample& s : state().rows) EXPECT_NE(s.filename.find("Snare"), std::string::npos) << s.filename;
    EXPECT_EQ(status(), QString::fromUtf8("30 matching samples  \u2022  showing 1\u201330"));
}

TEST_F(ControllerTest, RapidPageRequestsCoalesceIntoOneRefresh)
{
    launch();
    QVResultBrowser& browser = *controller->browser();
    const std::uint64_t before = state().queryGeneration;
    browser.requestPageDelta(1);
    browser.requestPageDelta(1);
    browser.requestPageDelta(1);
    EXPECT_TRUE(state().pageTransitionScheduled);
    ASSERT_TRUE(waitFor([&] { return !state().pageTransitionScheduled; }));
    EXPECT_EQ(state().queryGeneration, before + 1);
    EXPECT_EQ(state().page, 1) << "three ahead, clamped to the last page";
    EXPECT_EQ(browser.pagination().metrics().coalesced, 2u);
    EXPECT_FALSE(state().hasNextPage);
    browser.requestPageDelta(1); // nothing beyond: stays
    QTest::qWait(50);
    EXPECT_EQ(state().page, 1);
}

TEST_F(ControllerTest, FoldersDroppedOnTheWindowAreScannedInTheBackground)
{
    launch();
    const fs::path more = dir / "More \"Quoted\" Loops";
    writeTones(more, {"Pad 90 BPM.wav"}, 1.0);
    const QUrl url = QUrl::fromLocalFile(qv::test::qpath(more));
    emit window().foldersDropped({url, url});
    EXPECT_EQ(status(), QString::fromUtf8("Scanning 1 root folder\u2026 You can keep browsing."));
    emit window().foldersDropped({url});
    EXPECT_EQ(status(), "A library scan is already running. Please wait for it to finish.");
    ASSERT_TRUE(waitFor([&] { return status().startsWith("Scan complete"); }));
    EXPECT_EQ(status(), QString::fromUtf8("Scan complete  \u2022  1 new  \u2022  0 updated  \u2022  0 unchanged  \u2022  0 missing"));
    EXPECT_EQ(controller->database().libraries().size(), 2u);
    EXPECT_EQ(window().pageLabel->text(), "Page 1 of 2") << "61 samples after the refresh";
}

TEST_F(ControllerTest, SortingKeepsTheLoadedSampleSelected)
{
    launch();
    playback().loadSampleAtIndex(29, true); // the last kick, "Kick 58"
    ASSERT_TRUE(playing());
    const std::int64_t id = playback().currentSample()->id;
    QPushButton* header = window().filenameHeader;
    header->click();
    header->click(); // descending: thirty snares first, then the kicks from 58 down
    ASSERT_TRUE(waitFor([&] { return state().rows.front().filename == "Snare 59.wav"; }));
    EXPECT_EQ(header->text(), QString::fromUtf8("Filename  \u25bc"));
    EXPECT_EQ(state().currentIndex, 30);
    EXPECT_EQ(window().table->selectedRow(), 30);
    EXPECT_EQ(state().rows[30].id, id);
    EXPECT_EQ(state().sortedNavigationTotal, 60);
    EXPECT_EQ(state().sortedNavigationIndex, 30);

    // A loaded sample that the new order puts on another page is not selected.
    playback().loadSampleAtIndex(49, true); // "Kick 40"
    ASSERT_TRUE(playing());
    window().timeHeader->click();
    ASSERT_TRUE(waitFor([&] { return window().filenameHeader->text() == "Filename"; }));
    ASSERT_TRUE(waitFor([&] { return state().timeSortDirection == 1 && !state().pageTransitionScheduled; }));
    QTest::qWait(20);
    const bool onPage = std::any_of(state().rows.begin(), state().rows.end(),
                                    [&](const qv::Sample& s) { return s.id == playback().currentSample()->id; });
    EXPECT_EQ(state().currentIndex >= 0, onPage);
}

TEST(AudioWarmup, PlaysSilenceUnderAnOverlayUnlessAPreviewIsAlreadyThere)
{
    const auto clockPlayers = [](const QString& path, QString* error) {
        return qv::PreviewPlayer::create(path, error, qv::PreviewPlayer::clockOutput());
    };
    for (const bool previewExists : {false, true}) {
        SCOPED_TRACE(previewExists);
        QWidget content;
        content.resize(800, 500);
        QVAudioWarmup warmup(content, [previewExists] { return previewExists; }, clockPlayers);
        QSignalSpy finished(&warmup, &QVAudioWarmup::finished);
        warmup.start();
        EXPECT_TRUE(warmup.overlayVisible());
        auto* overlay = content.findChild<QWidget*>(QStringLiteral("warmupOverlay"));
        ASSERT_NE(overlay, nullptr);
        EXPECT_EQ(overlay->geometry(), content.rect());
        ASSERT_TRUE(finished.wait(3000));
        EXPECT_EQ(warmup.playedSound(), !previewExists);
        EXPECT_FALSE(warmup.overlayVisible());
        EXPECT_FALSE(warmup.soundPlaying());
        EXPECT_EQ(content.findChild<QWidget*>(QStringLiteral("warmupOverlay")), nullptr);
    }
}

TEST_F(ControllerTest, ALovedRowIsInFavoritesAndThePlaceStartsANewBrowseContext)
{
    launch();
    const std::int64_t loved = state().rows[3].id;
    emit window().table->heartClicked(3);
    EXPECT_TRUE(state().rows[3].favorite);
    EXPECT_TRUE(controller->database().isFavorite(loved));

    const std::uint64_t before = state().browseContextGeneration;
    window().navButtons[1].button->click(); // Favorites
    EXPECT_EQ(state().browseContextGeneration, before + 1);
    ASSERT_TRUE(waitFor([&] { return state().rows.size() == 1; }));
    EXPECT_EQ(state().rows[0].id, loved);
    EXPECT_TRUE(window().navButtons[1].button->isChecked());
    EXPECT_FALSE(window().navButtons[0].button->isChecked());
}

TEST_F(ControllerTest, SteppingPassesAMidiRowWithoutPlayingIt)
{
    // A header-only MIDI file between "Kick 02" and "Kick 04".
    qv::testkit::writeFile(library / "Kick 03.mid", std::string("MThd\0\0\0\x06\0\0\0\x01\0\x60", 14));
    scan(library);
    launch();
    ASSERT_EQ(state().rows[2].type, qv::SampleType::MIDI);
    playback().loadSampleAtIndex(1, true);
    ASSERT_TRUE(playing());
    const std::int64_t playing = playback().currentSample()->id;

    playback().nextSample();
    EXPECT_TRUE(window().player->waveform()->midiMode());
    EXPECT_EQ(playback().currentSample()->id, playing) << "the player keeps its sample";
    EXPECT_EQ(window().table->selectedRow(), 2);

    playback().nextSample();
    ASSERT_TRUE(waitFor([&] { return playback().currentSample()->id == state().rows[3].id; }));
    EXPECT_EQ(state().currentIndex, 3);
}

TEST_F(ControllerTest, ACorruptFileIsReportedInTheStatusLineAndTheWalkGoesOn)
{
    qv::testkit::writeFile(library / "Kick 03 broken.wav", "RIFF\x10\0\0\0WAVEjunk that is not audio");
    scan(library);
    launch();
    ASSERT_EQ(state().rows[2].filename, "Kick 03 broken.wav");
    playback().loadSampleAtIndex(2, true);
    ASSERT_TRUE(waitFor([&] { return playback().playbackState() == PlaybackState::Failed; }));
    EXPECT_TRUE(status().startsWith("Cannot preview Kick 03 broken.wav: ")) << status().toStdString();

    // Stepping onto it from the row before moves past it to the next playable row.
    playback().loadSampleAtIndex(1, true);
    ASSERT_TRUE(playing());
    playback().nextSample();
    ASSERT_TRUE(waitFor([&] {
        return playback().currentSample()->id == state().rows[3].id && playback().playbackState() == PlaybackState::Playing;
    }));
    EXPECT_TRUE(status().startsWith("Cannot preview Kick 03 broken.wav: ")) << "the skip says why";
}

TEST_F(ControllerTest, MenusAndKeysReachTheSearchFieldAndThePages)
{
    launch();
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    QStringList menus;
    for (QAction* menu : window().menuBar()->actions()) menus << menu->text();
    EXPECT_EQ(menus.first(), "Quorvalinder");
    EXPECT_EQ(menus.indexOf("Edit"), 1);
    EXPECT_EQ(menus.last(), "Help");
    QAction* find = qv::test::menuItem(qv::test::menuNamed(window().menuBar(), "Edit"), "Find Samples");
    ASSERT_NE(find, nullptr);

    QTest::keyClick(window().table, Qt::Key_Right);
    EXPECT_TRUE(waitFor([&] { return window().pageLabel->text() == "Page 2 of 2"; }));
    window().search->setText("Kick");
    find->trigger();
    EXPECT_TRUE(window().search->hasFocus());
    EXPECT_EQ(window().search->selectedText(), "Kick");
    QTest::keyClick(window().search, Qt::Key_Left); // typing, not paging
    EXPECT_EQ(window().search->cursorPosition(), 3);
    EXPECT_EQ(window().pageLabel->text(), "Page 2 of 2");
}

TEST_F(ControllerTest, TheStartupCheckRunsAfterLaunchAndAnOldIndexIsAnalysedAgain)
{
    {
        qv::Database db(databasePath);
        db.setParserRevision(5); // written by an older parser
        db.addLibrary(dir / "Unplugged Drive");
    }
    launch({.checkLibrariesAtStartup = true});
    QSignalSpy said(controller->scans(), &QVScanCoordinator::statusMessage);
    QProgressBar* bar = window().filterBar->libraryScanProgress;
    EXPECT_EQ(state().rows.size(), 50u) << "the first page does not wait for the check";
    ASSERT_TRUE(waitFor([&] { return bar->isVisibleTo(&window()); }, 2000));
    EXPECT_EQ(bar->maximum(), 0) << "busy until the first library is done";
    const auto saidSoFar = [&] {
        QStringList texts;
        for (const QList<QVariant>& args : said) texts << args.at(0).toString();
        return texts;
    };
    // A library needed attention, so the forced check does not record the new revision;
    // the reindex that follows does, and says so last.
    ASSERT_TRUE(waitFor([&] { return status().startsWith("Audio classification update complete"); }, 30000));
    EXPECT_TRUE(saidSoFar().contains(QString::fromUtf8("Checking libraries\u2026 2/2")));
    EXPECT_TRUE(saidSoFar().contains(QString::fromUtf8("Library check: 0 new \u2022 60 updated \u2022 0 stale entries "
                                                       "removed \u2022 1 libraries need attention")))
        << saidSoFar().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(saidSoFar().contains(QString::fromUtf8("Analyzing sample event structure\u2026")));
    EXPECT_FALSE(bar->isVisibleTo(&window()));
    EXPECT_EQ(controller->database().parserRevision(), qv::kMetadataParserRevision);
    EXPECT_FALSE(controller->scans()->busy());
}

} // namespace
