// The sidebar in the real window, offscreen, over a pack with subfolders: choosing a
// folder narrows the results and the breadcrumbs follow, back returns, rows dragged onto
// a playlist are added without disturbing the audition, and the launch location opens
// at the first activation (or is forgotten when its folder went away).
#include "context_menus.h"
#include "edit_commands.h"
#include "filter_chips.h"
#include "inspector.h"
#include "inspector_room.h"
#include "main_window.h"
#include "playback.h"
#include "qv_controller.h"
#include "result_browser.h"
#include "results_view.h"
#include "sidebar.h"
#include "sidebar_views.h"
#include "settings_logic.h"
#include "startup_logic.h"
#include "theme.h"
#include "sound_files.h"
#include "temp_dir.h"

#include "db/database.h"
#include "scan/library_scanner.h"

#include <QApplication>
#include <QDropEvent>
#include <QLabel>
#include <QMenu>

#include <map>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QToolButton>

#include <sndfile.h>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using qv::PlaybackState;

class SidebarWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Ostrelle"));
        QCoreApplication::setApplicationName(QStringLiteral("Quorvalinder"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString((dir / "config").string()));
        QSettings().clear();
        pack = dir / "Pack";
        const struct {
            const char* folder;
            int count;
        } folders[] = {{"Kicks", 4}, {"Snares", 3}, {"Loops/Dusty", 2}};
        for (const auto& folder : folders) {
            fs::create_directories(pack / folder.folder);
            for (int i = 0; i < folder.count; ++i) {
                const std::string name = fs::path(folder.folder).filename().string() + " " + std::to_string(i) + ".wav";
                qv::test::writeTone(pack / folder.folder / name, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2.0, 8000, 1);
            }
        }
        databasePath = dir / "index" / "quorvalinder.db";
        qv::Database db(databasePath);
        qv::LibraryScanner(db).scan(pack, {}, false);
        playlist = db.createPlaylist("Keepers");
    }

    void launch()
    {
        controller = std::make_unique<QVController>(
            QVController::Options{.databasePath = databasePath, .warmUpAudio = false, .useAudioDevice = false});
        controller->applicationDidFinishLaunching();
        ASSERT_TRUE(QTest::qWaitFor([&] { return controller->sidebar()->folderTreeLoaded(); }));
    }

    QVMainWindow& window() { return *controller->window(); }
    qv::BrowseState& state() { return controller->state(); }
    QString path(const char* relative) { return QString::fromStdString((pack / relative).string()); }
    QStringList crumbs()
    {
        QStringList titles;
        for (const qv::BreadcrumbEntry& entry : window().breadcrumbs->entries()) titles << QString::fromStdString(entry.title);
        return titles;
    }

    qv::testkit::TempDir dir;
    fs::path pack;
    fs::path databasePath;
    std::int64_t playlist = 0;
    std::unique_ptr<QVController> controller;
};

TEST_F(SidebarWindowTest, ChoosingAFolderNarrowsTheResultsAndBackReturns)
{
    launch();
    ASSERT_EQ(state().rows.size(), 9u);
    QVFolderTreeView& tree = *window().folderTree;
    ASSERT_EQ(tree.topLevelItemCount(), 1) << "one library is shown as itself";
    EXPECT_EQ(tree.topLevelItem(0)->text(0), "Pack");
    EXPECT_FALSE(tree.topLevelItem(0)->isExpanded());

    const std::uint64_t before = state().browseContextGeneration;
    ASSERT_TRUE(controller->sidebar()->navigateToFolderPath(path("Loops/Dusty"), true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().rows.size() == 2; }));
    EXPECT_GT(state().browseContextGeneration, before);
    EXPECT_EQ(window().resultsTitle->text(), "Dusty");
    EXPECT_EQ(crumbs(), (QStringList{"Folders", "Pack", "Loops", "Dusty"}));
    for (const qv::Sample& s : state().rows) EXPECT_NE(s.path.find("/Loops/Dusty/"), std::string::npos);

    window().typeButtons[1].button->click(); // Loops narrow the folder further
    ASSERT_TRUE(QTest::qWaitFor([&] { return crumbs().back() == "Loop"; }));
    controller->sidebar()->breadcrumbPressed(1); // "Pack"
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().rows.size() == 9; }));
    EXPECT_EQ(state().sectionType, "");
    EXPECT_EQ(crumbs(), (QStringList{"Folders", "Pack"}));

    controller->sidebar()->breadcrumbBack();
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().folderScope == path("Loops/Dusty").toStdString(); }));
    EXPECT_EQ(state().sectionType, "Loop");
    EXPECT_EQ(window().resultsTitle->text(), "Dusty");
}

TEST_F(SidebarWindowTest, RowsDroppedOnAPlaylistAreAddedWhileTheAuditionPlaysOn)
{
    launch();
    QVPlayback& playback = *controller->playback();
    playback.loadSampleAtIndex(0, true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return playback.playbackState() == PlaybackState::Playing; }));
    QTest::qWait(150);
    const double before = playback.audition().first;

    std::unique_ptr<QMimeData> mime(window().table->mimeDataForRows({1, 2, 3}));
    QVPlaylistList& list = *window().playlistTable;
    const QPoint at = list.visualItemRect(list.itemForId(playlist)).center();
    // A drop reaches the widget that accepted the drag's entry.
    QDragEnterEvent enter(at, Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list.viewport(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(at, Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list.viewport(), &drop);
    EXPECT_TRUE(drop.isAccepted());

    EXPECT_EQ(controller->database().playlists()[0].sampleCount, 3);
    EXPECT_EQ(playback.playbackState(), PlaybackState::Playing);
    EXPECT_GE(playback.audition().first, before) << "the audition did not start over";

    list.showSelected(std::nullopt);
    list.itemForId(playlist)->setSelected(true); // as a click would
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().playlistId == playlist && state().rows.size() == 3; }));
    EXPECT_EQ(crumbs(), (QStringList{"Playlists", "Keepers"}));
}

TEST_F(SidebarWindowTest, TheLaunchFolderOpensAtFirstActivationAndAVanishedOneIsForgotten)
{
    controller.reset();
    {
        QSettings settings;
        qv::setFolderOpenAtLaunch(settings, path("Snares").toStdString());
    }
    launch();
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().folderScope == path("Snares").toStdString(); }));
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().rows.size() == 3; }));
    EXPECT_TRUE(window().folderTree->selectedItems().value(0) != nullptr);
    controller.reset();

    {
        QSettings settings;
        qv::setFolderOpenAtLaunch(settings, path("Hats").toStdString());
    }
    launch();
    QTest::qWait(50);
    EXPECT_EQ(state().folderScope, "");
    EXPECT_EQ(state().rows.size(), 9u);
    EXPECT_FALSE(QSettings().contains(QLatin1String(qv::kLaunchLocationKindKey)));
}

QAction* actionTitled(QMenu* menu, const QString& title)
{
    for (QAction* action : menu->actions()) {
        if (action->text() == title) return action;
    }
    return nullptr;
}

TEST_F(SidebarWindowTest, MenusActOnTheSelectionWithTheClickedRowAndShowAFoldersGenres)
{
    launch();
    std::vector<int> others; // rows that are not loops yet
    for (int i = 0; i < static_cast<int>(state().rows.size()); ++i) {
        if (state().rows[static_cast<std::size_t>(i)].type != qv::SampleType::Loop) others.push_back(i);
    }
    ASSERT_GE(others.size(), 3u);
    const std::int64_t selected = state().rows[static_cast<std::size_t>(others[0])].id;
    const std::int64_t between = state().rows[static_cast<std::size_t>(others[1])].id;
    const std::int64_t clicked = state().rows[static_cast<std::size_t>(others[2])].id;
    window().table->selectOnly(others[0]);
    std::unique_ptr<QMenu> rows(controller->menus()->rowMenu(others[2], &window()));
    EXPECT_EQ(actionTitled(rows.get(), "Remove from Playlist"), nullptr) << "only inside a playlist";
    QAction* loop = actionTitled(rows.get(), "Mark as Loop");
    ASSERT_NE(loop, nullptr);
    loop->trigger();
    std::map<std::int64_t, qv::SampleType> types;
    for (const qv::Sample& s : state().rows) types[s.id] = s.type;
    EXPECT_EQ(types[selected], qv::SampleType::Loop);
    EXPECT_EQ(types[clicked], qv::SampleType::Loop);
    EXPECT_NE(types[between], qv::SampleType::Loop) << "neither selected nor clicked";

    std::unique_ptr<QMenu> folder(controller->menus()->folderMenu(path("Kicks"), false, &window()));
    EXPECT_EQ(actionTitled(folder.get(), "Rescan"), nullptr) << "a library's items only on its root";
    ASSERT_NE(actionTitled(folder.get(), "Mark Genres"), nullptr);
    QMenu* genres = actionTitled(folder.get(), "Mark Genres")->menu();
    emit genres->aboutToShow(); // the folder's genres are read as the submenu opens
    ASSERT_NE(actionTitled(genres, "house"), nullptr);
    EXPECT_FALSE(actionTitled(genres, "house")->isChecked());
    actionTitled(genres, "house")->trigger(); // the folder had no genre: four samples gain it
    folder.reset(controller->menus()->folderMenu(path("Kicks"), false, &window()));
    ASSERT_NE(actionTitled(folder.get(), "Mark Genres"), nullptr);
    genres = actionTitled(folder.get(), "Mark Genres")->menu();
    emit genres->aboutToShow();
    EXPECT_TRUE(actionTitled(genres, "house")->isChecked());
    EXPECT_FALSE(actionTitled(genres, "trap")->isChecked());
    std::unique_ptr<QMenu> root(controller->menus()->folderMenu(QString::fromStdString(pack.string()), true, &window()));
    EXPECT_NE(actionTitled(root.get(), "Remove Library\u2026"), nullptr);
}

TEST_F(SidebarWindowTest, TheInspectorFollowsTheSelectionAndRevealsTheSampleFolder)
{
    launch();
    QVInspectorRoom& room = *controller->inspector();
    room.setVisible(true);
    window().table->selectOnly(5);
    const qv::Sample chosen = state().rows[5];
    ASSERT_TRUE(QTest::qWaitFor([&] { return window().inspector->sampleId() == chosen.id; }));
    window().table->clearSelection();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window().inspector->sampleId(); }));

    const QString folder = QString::fromStdString(fs::path(chosen.path).parent_path().string());
    emit window().inspector->revealFolderRequested(folder);
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().folderScope == folder.toStdString(); }));
    EXPECT_EQ(window().folderTree->selectedItems().value(0)->data(0, Qt::UserRole).toString(), folder);
    room.setVisible(false);
    EXPECT_FALSE(QSettings().value(QLatin1String(qv::kInspectorVisibleKey)).toBool());
}

} // namespace

namespace {

TEST_F(SidebarWindowTest, TheWindowFitsASmallLaptopScreenWithTheInspectorOpen)
{
    launch();
    controller->inspector()->setVisible(true);
    window().setStatus(QStringLiteral("Library check: 12345 new \u2022 678 updated \u2022 9 stale entries removed \u2022 1 "
                                      "libraries need attention"));
    EXPECT_LE(window().minimumSizeHint().width(), 1366);
    EXPECT_LE(window().minimumSizeHint().height(), 768);
}

TEST_F(SidebarWindowTest, SettingsSwitchTheThemeAndTheLayoutInPlace)
{
    launch();
    const qv::AppSettings before = qv::readAppSettings(QSettings());
    qv::AppSettings chosen = before;
    chosen.theme = QStringLiteral("Green");
    controller->applySettings(before, chosen);
    const qv::WindowTheme green = qv::windowTheme(QStringLiteral("Green"));
    EXPECT_EQ(window().theme().name, "Green");
    EXPECT_EQ(qApp->palette().color(QPalette::Window), green.background);
    EXPECT_TRUE(window().filterBar->styleSheet().contains(green.accent.name())) << "the chips follow the theme";
    EXPECT_EQ(qv::currentThemeColors().accent, green.accent) << "rows and waveforms read the same row";

    // The compact layout: the sidebar becomes a drawer, the sort buttons rest, and the
    // window takes the size last left in this layout.
    QSettings().setValue(QLatin1String(qv::kCompactVerticalSizeKey), qv::formatSize(QSize(680, 700)));
    const QSize desktop = window().size();
    qv::AppSettings compact = chosen;
    compact.layoutMode = 0;
    controller->applySettings(chosen, compact);
    EXPECT_EQ(state().layoutMode, 0);
    const QRect screen = window().screen()->availableGeometry();
    EXPECT_EQ(window().size(), QSize(680, 700).boundedTo(screen.size()));
    EXPECT_NE(window().size(), desktop);
    EXPECT_FALSE(window().sidebarOpen());
    EXPECT_FALSE(window().sidebarToggle->isHidden());
    EXPECT_FALSE(window().filenameHeader->isEnabled());
    controller->browser()->sortPressed(qv::SortColumn::Filename);
    EXPECT_EQ(state().filenameSortDirection, 0) << "sorting is off in the compact layout";

    window().sidebarToggle->click();
    EXPECT_TRUE(window().sidebarOpen());
    ASSERT_TRUE(controller->sidebar()->navigateToFolderPath(path("Kicks"), true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().rows.size() == 4; }));
    EXPECT_FALSE(window().sidebarOpen()) << "choosing a place closes the drawer";

    controller->applySettings(compact, chosen);
    EXPECT_EQ(state().layoutMode, 1);
    EXPECT_TRUE(window().sidebarOpen());
    EXPECT_TRUE(window().sidebarToggle->isHidden());
    EXPECT_EQ(window().size(), desktop);
    EXPECT_EQ(QSettings().value(QLatin1String(qv::kLayoutModeKey)).toInt(), 1);
}

} // namespace
