// The featured sets over real files in a temporary folder: the stored list and its
// limits, avatars cut from real images, and featured folders following a Full Scan's
// moves only when their files all went to one place.
#include "featured_items.h"
#include "window_test.h"

#include <QFileInfo>
#include <QImage>

namespace {

namespace fs = std::filesystem;
using qv::test::qpath;

class FeaturedItemsTest : public qv::test::WindowTest {
protected:
    void SetUp() override { ownSettings(); }
    QVFeaturedItems make() { return QVFeaturedItems(qpath(dir / "avatars")); }
};

TEST(FeaturedColumns, AbsentOrZeroGivesSixOthersClampToTwoThroughEight)
{
    for (const auto& [stored, columns] : std::vector<std::pair<int, int>>{{0, 6}, {1, 2}, {-4, 2}, {3, 3}, {7, 7}, {12, 8}}) {
        EXPECT_EQ(qv::featuredColumns(stored), columns) << stored;
    }
}

TEST_F(FeaturedItemsTest, AddsOnceKeepsThirtyTwoAndSurvivesAReload)
{
    QVFeaturedItems items = make();
    int emitted = 0;
    QObject::connect(&items, &QVFeaturedItems::changed, [&] { ++emitted; });

    EXPECT_TRUE(items.addFolder(QStringLiteral("/packs/Drums/Kicks")));
    EXPECT_FALSE(items.addFolder(QStringLiteral("/packs/Drums/Kicks")));
    EXPECT_FALSE(items.addFolder(QString()));
    EXPECT_TRUE(items.addPlaylist(7, QStringLiteral("Night Set")));
    EXPECT_FALSE(items.addPlaylist(7, QStringLiteral("Renamed meanwhile")));
    EXPECT_TRUE(items.addFolder(QStringLiteral("/")));
    EXPECT_EQ(emitted, 3);

    ASSERT_EQ(items.count(), 3);
    EXPECT_EQ(items.entry(0).value("title").toString(), "Kicks");
    EXPECT_EQ(items.entry(1).value("kind").toString(), "playlist");
    EXPECT_EQ(items.entry(1).value("value").toLongLong(), 7);
    EXPECT_EQ(items.entry(2).value("title").toString(), "Folder");
    EXPECT_NE(items.entry(0).value("uuid").toString(), items.entry(1).value("uuid").toString());

    for (int i = 0; i < 29; ++i) items.addPlaylist(100 + i, QString::number(i));
    ASSERT_EQ(items.count(), qv::kFeaturedLimit);
    EXPECT_EQ(items.entry(0).value("title").toString(), "Kicks");
    items.addPlaylist(500, QStringLiteral("Thirty-third"));
    ASSERT_EQ(items.count(), qv::kFeaturedLimit);
    EXPECT_EQ(items.entry(0).value("title").toString(), "Night Set");
    EXPECT_EQ(items.entry(31).value("title").toString(), "Thirty-third");

    EXPECT_EQ(make().items(), items.items());
}

TEST_F(FeaturedItemsTest, RenamingAsksTrimsAndIgnoresBlanksAndCancel)
{
    QVFeaturedItems items = make();
    items.addFolder(QStringLiteral("/packs/Snares"));
    qv::test::ScriptedAlerts alerts;
    alerts.texts = {QStringLiteral(" \n\t "), std::nullopt, QStringLiteral("  Crisp snares\n")};

    EXPECT_FALSE(items.renameAsking(0, alerts));
    EXPECT_FALSE(items.renameAsking(0, alerts));
    EXPECT_FALSE(items.renameAsking(3, alerts)); // asks nothing
    EXPECT_EQ(items.entry(0).value("title").toString(), "Snares");
    EXPECT_TRUE(items.renameAsking(0, alerts));
    ASSERT_EQ(alerts.asked.size(), 3u);
    for (const qv::test::Question& question : alerts.asked) {
        EXPECT_EQ(question.message, "Name Featured Set");
        EXPECT_EQ(question.initial, "Snares");
    }
    EXPECT_EQ(make().entry(0).value("title").toString(), "Crisp snares");
}

TEST_F(FeaturedItemsTest, AvatarIsTheCentredSquareAndGoesWithItsEntry)
{
    QVFeaturedItems items = make();
    items.addFolder(QStringLiteral("/packs/Kicks"));
    items.addFolder(QStringLiteral("/packs/Hats"));
    qv::testkit::writeFile(dir / "broken.png", "\x89PNG\r\n\x1a\n not really");
    for (const char* unreadable : {"broken.png", "missing.png"}) EXPECT_FALSE(items.setAvatar(1, qpath(dir / unreadable)));
    EXPECT_FALSE(fs::exists(dir / "avatars" / (items.entry(1).value("uuid").toString().toStdString() + ".png")));

    // 1000 x 500: red margins of 250 either side of a blue centre.
    QImage wide(1000, 500, QImage::Format_RGB32);
    wide.fill(Qt::red);
    for (int y = 0; y < 500; ++y)
        for (int x = 250; x < 750; ++x) wide.setPixel(x, y, qRgb(0, 0, 255));
    const QString widePath = qpath(dir / "wide.png");
    ASSERT_TRUE(wide.save(widePath, "PNG"));

    ASSERT_TRUE(items.setAvatar(1, widePath));
    const QString avatarPath = items.entry(1).value("avatar").toString();
    EXPECT_EQ(QFileInfo(avatarPath).fileName(), items.entry(1).value("uuid").toString() + ".png");
    EXPECT_EQ(QFileInfo(avatarPath).absolutePath(), qpath(dir / "avatars"));
    const QImage avatar(avatarPath);
    ASSERT_EQ(avatar.size(), QSize(512, 512));
    for (const QPoint corner : {QPoint(1, 1), QPoint(510, 1), QPoint(1, 510), QPoint(510, 510), QPoint(256, 256)})
        EXPECT_EQ(avatar.pixelColor(corner).rgb(), qRgb(0, 0, 255)) << corner.x() << "," << corner.y();
    EXPECT_FALSE(items.entry(0).contains("avatar"));

    // Removing the entry takes its file with it.
    ASSERT_TRUE(items.remove(1));
    EXPECT_FALSE(QFileInfo::exists(avatarPath));
    EXPECT_EQ(items.count(), 1);
    EXPECT_FALSE(items.remove(1));
}

TEST_F(FeaturedItemsTest, FoldersFollowTheirFilesOnlyToOnePlace)
{
    // Renamed on disk: everything now lives under "Drums 2".
    fs::create_directories(dir / "Drums 2" / "Kicks");
    // Split: half its files went to A, half to B.
    fs::create_directories(dir / "A");
    fs::create_directories(dir / "B");
    // Still there: moves that mention it must not rewrite it.
    fs::create_directories(dir / "Stays");
    fs::create_directories(dir / "Elsewhere");

    QVFeaturedItems items = make();
    items.addFolder(qpath(dir / "Drums"));
    items.addFolder(qpath(dir / "Split"));
    items.addFolder(qpath(dir / "Stays"));
    items.addPlaylist(3, QStringLiteral("Drums"));
    items.addFolder(qpath(dir / "Gone"));

    EXPECT_FALSE(items.relinkFromMoves({}));
    const std::vector<std::pair<std::string, std::string>> moved = {
        {(dir / "Drums" / "Kicks" / "k1.wav").string(), (dir / "Drums 2" / "Kicks" / "k1.wav").string()},
        {(dir / "Drums" / "top.wav").string(), (dir / "Drums 2" / "top.wav").string()},
        {(dir / "Split" / "a.wav").string(), (dir / "A" / "a.wav").string()},
        {(dir / "Split" / "b.wav").string(), (dir / "B" / "b.wav").string()},
        {(dir / "Stays" / "s.wav").string(), (dir / "Elsewhere" / "s.wav").string()},
        {(dir / "Gone" / "g.wav").string(), (dir / "Nowhere" / "g.wav").string()},
    };
    EXPECT_TRUE(items.relinkFromMoves(moved));

    const QVFeaturedItems reread = make();
    EXPECT_EQ(reread.entry(0).value("value").toString(), qpath(dir / "Drums 2"));
    EXPECT_EQ(reread.entry(1).value("value").toString(), qpath(dir / "Split"));
    EXPECT_EQ(reread.entry(2).value("value").toString(), qpath(dir / "Stays"));
    EXPECT_EQ(reread.entry(3).value("value").toLongLong(), 3);
    EXPECT_EQ(reread.entry(4).value("value").toString(), qpath(dir / "Gone"));

    // Nothing left to follow: a second pass changes nothing.
    EXPECT_FALSE(items.relinkFromMoves(moved));
}

} // namespace
