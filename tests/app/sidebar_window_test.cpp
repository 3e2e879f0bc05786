// The sidebar in the real window, offscreen, over a pack with subfolders: choosing a
// folder narrows the results and the breadcrumbs follow, back returns, rows dragged onto
// a playlist are added without disturbing the audition, and the launch location opens
// at the first activation (or is forgotten when its folder went away).
#include "context_menus.h"
#include "edit_commands.h"
#include "filter_chips.h"
#include "inspector.h"
#include "inspector_room.h"
#include "playback.h"
#include "result_browser.h"
#include "results_view.h"
#include "sidebar.h"
#include "sidebar_views.h"
#include "settings_logic.h"
#include "startup_logic.h"
#include "theme.h"
#include "window_test.h"

#include <QApplication>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>

#include <map>

namespace {

namespace fs = std::filesystem;
using qv::PlaybackState;
using qv::test::menuItem;

class SidebarWindowTest : public qv::test::WindowTest {
protected:
    void SetUp() override
    {
        ownSettings();
        writeTones(pack / "Kicks", {"Kicks 0.wav", "Kicks 1.wav", "Kicks 2.wav", "Kicks 3.wav"}, 2.0);
        writeTones(pack / "Snares", {"Snares 0.wav", "Snares 1.wav", "Snares 2.wav"}, 2.0);
        writeTones(pack / "Loops/Dusty", {"Dusty 0.wav", "Dusty 1.wav"}, 2.0);
        scan(pack);
        playlist = qv::Database(databasePath).createPlaylist("Keepers");
    }

    void launch()
    {
        WindowTest::launch();
        ASSERT_TRUE(folderTreeLoaded());
    }

    QString path(const char* relative) { return qv::test::qpath(pack, relative); }
    QStringList crumbs()
    {
        QStringList titles;
        for (const qv::BreadcrumbEntry& entry : window().breadcrumbs->entries()) titles << QString::fromStdString(entry.title);
        return titles;
    }

    fs::path pack = dir / "Pack";
    std::int64_t playlist = 0;
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

    // A reload (as after a scan) keeps the opened folders and the one being browsed.
    QSignalSpy reloaded(controller->sidebar(), &QVSidebar::folderTreeReloaded);
    controller->sidebar()->reloadSidebars();
    ASSERT_TRUE(reloaded.wait(5000));
    ASSERT_NE(tree.currentItem(), nullptr);
    EXPECT_EQ(tree.currentItem()->text(0), "Dusty");
    EXPECT_TRUE(tree.topLevelItem(0)->isExpanded());
    EXPECT_EQ(state().folderScope, path("Loops/Dusty").toStdString());

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

TEST_F(SidebarWindowTest, MenusActOnTheSelectionWithTheClickedRowAndShowAFoldersGenres)
{
    launch();
    std::vector<int> others; // rows that are not loops yet
    for (int i = 0; i < static_cast<int>(state().rows.size()); ++i) {
        if (state().rows[std::size_t(i)].type != qv::SampleType::Loop) others.push_back(i);
    }
    ASSERT_GE(others.size(), 3u);
    const auto idAt = [&](std::size_t i) { return state().rows[std::size_t(others[i])].id; };
    const std::int64_t selected = idAt(0), between = idAt(1), clicked = idAt(2);
    window().table->selectOnly(others[0]);
    std::unique_ptr<QMenu> rows(controller->menus()->rowMenu(others[2], &window()));
    EXPECT_EQ(menuItem(rows.get(), "Remove from Playlist"), nullptr) << "only inside a playlist";
    QAction* loop = menuItem(rows.get(), "Mark as Loop");
    ASSERT_NE(loop, nullptr);
    loop->trigger();
    std::map<std::int64_t, qv::SampleType> types;
    for (const qv::Sample& s : state().rows) types[s.id] = s.type;
    EXPECT_EQ(types[selected], qv::SampleType::Loop);
    EXPECT_EQ(types[clicked], qv::SampleType::Loop);
    EXPECT_NE(types[between], qv::SampleType::Loop) << "neither selected nor clicked";

    // The folder's genres are read as the submenu opens.
    std::unique_ptr<QMenu> folder;
    const auto kicksGenres = [&] {
        folder.reset(controller->menus()->folderMenu(path("Kicks"), false, &window()));
        QAction* item = menuItem(folder.get(), "Mark Genres");
        if (item) emit item->menu()->aboutToShow();
        return item ? item->menu() : nullptr;
    };
    QMenu* genres = kicksGenres();
    EXPECT_EQ(menuItem(folder.get(), "Rescan"), nullptr) << "a library's items only on its root";
    ASSERT_TRUE(genres && menuItem(genres, "house"));
    EXPECT_FALSE(menuItem(genres, "house")->isChecked());
    menuItem(genres, "house")->trigger(); // the folder had no genre: four samples gain it
    genres = kicksGenres();
    ASSERT_TRUE(genres && menuItem(genres, "trap"));
    EXPECT_TRUE(menuItem(genres, "house")->isChecked());
    EXPECT_FALSE(menuItem(genres, "trap")->isChecked());
    std::unique_ptr<QMenu> root(controller->menus()->folderMenu(QString::fromStdString(pack.string()), true, &window()));
    EXPECT_NE(menuItem(root.get(), "Remove Library\u2026"), nullptr);
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
