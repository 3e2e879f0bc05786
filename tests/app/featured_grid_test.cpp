// The featured grid in the real window, offscreen: sets pinned from the folder and
// playlist menus become cards, a card opens its place, and its menu and a dropped image
// rename, restyle and remove it.
#include "context_menus.h"
#include "featured_grid.h"
#include "featured_items.h"
#include "scan_coordinator.h"
#include "window_test.h"

#include <QGridLayout>
#include <QImage>
#include <QLabel>
#include <QMimeData>

namespace {

namespace fs = std::filesystem;
using qv::test::qpath;
using qv::test::trigger;

class FeaturedGridTest : public qv::test::WindowTest {
protected:
    void SetUp() override
    {
        ownSettings();
        writeTones(pack / "Kicks", {"Kicks 0.wav", "Kicks 1.wav"}, 1.0);
        writeTones(pack / "Snares", {"Snares 0.wav", "Snares 1.wav"}, 1.0);
        scan(pack);
        playlist = qv::Database(databasePath).createPlaylist("Keepers");
        launch({.featuredAvatarDirectory = qpath(dir / "avatars")});
        ASSERT_TRUE(folderTreeLoaded());
    }

    QVFeaturedGrid& grid() { return *controller->window()->featuredGrid; }

    fs::path pack = dir / "Pack";
    std::int64_t playlist = 0;
};

TEST_F(FeaturedGridTest, PinnedFromTheMenusAndOpenedFromTheirCards)
{
    EXPECT_EQ(grid().shownCount(), 0);
    std::unique_ptr<QMenu> folderMenu(controller->menus()->folderMenu(qpath(pack / "Snares"), false, &window()));
    trigger(folderMenu.get(), "Add to Featured");
    std::unique_ptr<QMenu> playlistMenu(controller->menus()->playlistMenu(playlist, &window()));
    trigger(playlistMenu.get(), "Add to Featured");
    trigger(playlistMenu.get(), "Add to Featured"); // already there

    ASSERT_EQ(grid().shownCount(), 2);
    EXPECT_EQ(grid().card(0)->title(), "Snares");
    EXPECT_EQ(grid().card(1)->title(), "Keepers");

    QTest::mouseClick(grid().card(0), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->state().folderScope == (pack / "Snares").string(); }));
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->state().rows.size() == 2; }));
    QTest::mouseClick(grid().card(1), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->state().playlistId == playlist; }));
}

TEST_F(FeaturedGridTest, CardMenuRenamesAndRemovesAndADroppedImageBecomesTheAvatar)
{
    QVFeaturedItems& featured = *controller->featured();
    featured.addFolder(qpath(pack / "Kicks"));
    featured.addFolder(qpath(pack / "Snares"));

    auto alerts = std::make_unique<qv::test::ScriptedAlerts>();
    alerts->texts = {QStringLiteral("Low end")};
    controller->setAlerts(std::move(alerts));
    std::unique_ptr<QMenu> menu(grid().cardMenu(0, &window()));
    trigger(menu.get(), "Rename\u2026");
    EXPECT_EQ(grid().card(0)->title(), "Low end");

    QImage image(40, 20, QImage::Format_RGB32);
    image.fill(Qt::green);
    ASSERT_TRUE(image.save(qpath(dir / "cover.png")));
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(qpath(dir / "cover.png"))});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(grid().card(1), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPoint(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(grid().card(1), &drop);
    const QString avatar = featured.entry(1).value("avatar").toString();
    ASSERT_FALSE(avatar.isEmpty());
    EXPECT_EQ(QImage(avatar).size(), QSize(512, 512));

    menu.reset(grid().cardMenu(1, &window()));
    trigger(menu.get(), "Remove from Featured");
    ASSERT_EQ(grid().shownCount(), 1);
    EXPECT_EQ(grid().card(0)->title(), "Low end");
    EXPECT_FALSE(QFileInfo::exists(avatar));
}

TEST_F(FeaturedGridTest, ShowsTheNewestTwoRowsOfTheConfiguredColumns)
{
    QSettings().setValue(QLatin1String(qv::kFeaturedColumnsKey), 3);
    QVFeaturedItems& featured = *controller->featured();
    for (int i = 0; i < 8; ++i) featured.addPlaylist(100 + i, QStringLiteral("Set %1").arg(i));
    ASSERT_EQ(grid().shownCount(), 6);
    EXPECT_EQ(grid().card(0)->title(), "Set 2");
    EXPECT_EQ(grid().indexOfCard(0), 2);
    EXPECT_EQ(grid().card(5)->title(), "Set 7");
    const auto cell = [&](int shown) {
        auto* layout = qobject_cast<QGridLayout*>(grid().card(shown)->parentWidget()->layout());
        int row = -1, column = -1, rows = 0, columns = 0;
        layout->getItemPosition(layout->indexOf(grid().card(shown)), &row, &column, &rows, &columns);
        return QPoint(column, row);
    };
    EXPECT_EQ(cell(2), QPoint(2, 0));
    EXPECT_EQ(cell(3), QPoint(0, 1));
    EXPECT_EQ(cell(5), QPoint(2, 1));
}

TEST_F(FeaturedGridTest, AFullScanTakesAFeaturedFolderToWhereItsFilesWent)
{
    QVFeaturedItems& featured = *controller->featured();
    featured.addFolder(qpath(pack / "Kicks"));
    fs::rename(pack / "Kicks", pack / "Kick Drums");

    controller->scans()->scanRoots({QUrl::fromLocalFile(qpath(pack))}, false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller->scans()->scanRunning(); }));
    EXPECT_EQ(featured.entry(0).value("value").toString(), qpath(pack / "Kicks")) << "only a Full Scan relinks";

    fs::rename(pack / "Kick Drums", pack / "Kicks");
    controller->scans()->scanRoots({QUrl::fromLocalFile(qpath(pack))}, false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller->scans()->scanRunning(); }));
    fs::rename(pack / "Kicks", pack / "Kick Drums");
    controller->scans()->scanRoots({QUrl::fromLocalFile(qpath(pack))}, true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller->scans()->scanRunning(); }));
    EXPECT_EQ(featured.entry(0).value("value").toString(), qpath(pack / "Kick Drums"));
    EXPECT_EQ(grid().card(0)->toolTip(), qpath(pack / "Kick Drums"));
}

} // namespace
