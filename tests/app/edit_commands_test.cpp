// The edit commands against a real index, with scripted answers instead of a person:
// the folder question at 500 samples, failures shown and nothing refreshed, love in and
// out of the favourites, and playlists made, filled and deleted.
#include "edit_commands.h"
#include "window_test.h"

namespace {

namespace fs = std::filesystem;

class EditCommandsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        library = db.addLibrary("/lib");
        for (int i = 0; i < 499; ++i) add("/lib/Small/s" + std::to_string(i) + ".wav");
        for (int i = 0; i < 500; ++i) add("/lib/Large/l" + std::to_string(i) + ".wav");
        add("/lib/Mixed/a.wav");
        add("/lib/Mixed/b.mid", qv::SampleType::MIDI);
        hooks.refresh = [this] {
            ++refreshes;
            qv::SearchQuery query;
            query.favoritesOnly = state.favoriteMode;
            query.playlistId = state.playlistId;
            query.limit = 50;
            state.rows = db.search(query);
        };
        hooks.reloadRow = [this](int row) { reloadedRows.push_back(row); };
        hooks.reloadPlaylists = [this] { ++playlistReloads; };
        hooks.updatePlayer = [] {};
        hooks.currentSampleId = [] { return std::optional<std::int64_t>(); };
        hooks.setCurrentFavorite = [](bool) {};
        hooks.audition = [] { return std::pair<double, bool>(0.0, false); };
        hooks.resumeAudition = [](double, bool) {};
        hooks.showAllTypesOnly = [this] { ++allTypesShown; };
        commands = std::make_unique<QVEditCommands>(db, state, alerts, hooks);
    }

    void add(const std::string& path, qv::SampleType type = qv::SampleType::OneShot)
    {
        qv::Sample s;
        s.path = path;
        s.filename = fs::path(path).filename().string();
        s.type = type;
        s.musicalKey = "None";
        db.upsert(s, library);
    }

    qv::SampleType typeOf(const std::string& path)
    {
        qv::SearchQuery query;
        query.folder = fs::path(path).parent_path().string();
        query.limit = 1000;
        for (const qv::Sample& s : db.search(query)) {
            if (s.path == path) return s.type;
        }
        ADD_FAILURE() << path << " is not indexed";
        return qv::SampleType::Unknown;
    }

    qv::testkit::TempDir dir;
    qv::Database db{dir / "index.db"};
    std::int64_t library = 0;
    qv::BrowseState state;
    qv::test::ScriptedAlerts alerts;
    QVEditCommands::Hooks hooks;
    std::unique_ptr<QVEditCommands> commands;
    int refreshes = 0;
    int playlistReloads = 0;
    int allTypesShown = 0;
    std::vector<int> reloadedRows;
};

TEST(EditTargets, AreTheSelectionAndTheClickedRowOnThePageAscending)
{
    EXPECT_EQ(qv::editTargets({4, 1}, 2, 50), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(qv::editTargets({3}, 3, 50), (std::vector<int>{3}));
    EXPECT_EQ(qv::editTargets({10, 60}, -1, 50), (std::vector<int>{10}));
    EXPECT_EQ(qv::editTargets({}, 7, 5), (std::vector<int>{}));
}

TEST_F(EditCommandsTest, AFolderOf499ChangesAtOnceAndOneOf500AsksWithItsCount)
{
    commands->setFolderContextPath("/lib/Small");
    commands->applyFolderType(qv::SampleType::Loop);
    EXPECT_TRUE(alerts.asked.empty());
    EXPECT_EQ(typeOf("/lib/Small/s0.wav"), qv::SampleType::Loop);
    EXPECT_EQ(refreshes, 1);

    commands->setFolderContextPath("/lib/Large");
    alerts.answers = {1}; // Cancel
    commands->applyFolderType(qv::SampleType::Loop);
    ASSERT_EQ(alerts.asked.size(), 1u);
    EXPECT_EQ(alerts.asked[0].message, "Update 500 samples?");
    EXPECT_EQ(alerts.asked[0].informative, "This recursively updates every indexed sample in the selected folder in "
                                           "one database transaction.");
    EXPECT_EQ(alerts.asked[0].buttons, (QStringList{"Continue", "Cancel"}));
    EXPECT_EQ(typeOf("/lib/Large/l0.wav"), qv::SampleType::OneShot);
    EXPECT_EQ(refreshes, 1);

    alerts.answers = {0, 0};
    commands->applyFolderGenre("house", false);
    EXPECT_EQ(alerts.asked.back().message, "Add genre to 500 samples?");
    commands->applyFolderGenre("house", true);
    EXPECT_EQ(alerts.asked.back().message, "Remove genre from 500 samples?");
    EXPECT_EQ(refreshes, 3);
}

TEST_F(EditCommandsTest, AFailedEditIsShownAndRefreshesNothing)
{
    hooks.refresh();
    refreshes = 0;
    std::vector<int> rows;
    for (int i = 0; i < static_cast<int>(state.rows.size()); ++i) {
        if (state.rows[static_cast<std::size_t>(i)].path.rfind("/lib/Mixed/", 0) == 0) rows.push_back(i);
    }
    ASSERT_EQ(rows.size(), 2u) << "the page holds both mixed rows";
    commands->applyTypeOverride(rows, qv::SampleType::MIDI);
    ASSERT_EQ(alerts.told.size(), 1u);
    EXPECT_EQ(alerts.told[0].message, QString::fromUtf8("Couldn\u2019t change sample type"));
    EXPECT_EQ(alerts.told[0].informative, "Only .mid and .midi files can be marked as MIDI");
    EXPECT_EQ(typeOf("/lib/Mixed/a.wav"), qv::SampleType::OneShot);
    EXPECT_EQ(refreshes, 0);

    commands->setFolderContextPath("/lib/Mixed");
    commands->applyFolderType(qv::SampleType::MIDI);
    EXPECT_EQ(alerts.told.back().message, QString::fromUtf8("Couldn\u2019t update folder type"));
    EXPECT_EQ(refreshes, 0);
}

TEST_F(EditCommandsTest, LovingInTheFavoritesRedrawsTheRowAndUnlovingRefreshes)
{
    hooks.refresh();
    const std::int64_t first = state.rows[0].id;
    commands->toggleFavorite(0);
    EXPECT_TRUE(db.isFavorite(first));
    EXPECT_EQ(reloadedRows, (std::vector<int>{0}));

    state.favoriteMode = true;
    hooks.refresh();
    refreshes = 0;
    ASSERT_EQ(state.rows.size(), 1u);
    commands->toggleFavorite(0);
    EXPECT_FALSE(db.isFavorite(first));
    EXPECT_EQ(refreshes, 1);
    EXPECT_TRUE(state.rows.empty()) << "the unloved sample left the favourites";
    commands->toggleFavorite(0); // no row any more: nothing happens
    EXPECT_EQ(refreshes, 1);
}

TEST_F(EditCommandsTest, PlaylistsAreMadeFromTheSelectionAndDeletingTheShownOneFallsBack)
{
    hooks.refresh();
    alerts.texts = {QStringLiteral("  Keepers "), QStringLiteral("Keepers"), std::nullopt};
    commands->newPlaylistForRows({0, 2});
    auto lists = db.playlists();
    ASSERT_EQ(lists.size(), 1u);
    EXPECT_EQ(lists[0].name, "Keepers");
    EXPECT_EQ(lists[0].sampleCount, 2);
    EXPECT_EQ(alerts.asked[0].buttons, (QStringList{"Create", "Cancel"}));

    commands->newPlaylistForRows({1});
    EXPECT_EQ(alerts.told.back().message, QString::fromUtf8("Couldn\u2019t create playlist"));
    EXPECT_EQ(alerts.told.back().informative, "A playlist with that name already exists");
    commands->newPlaylistForRows({1}); // cancelled
    EXPECT_EQ(db.playlists().size(), 1u);

    const std::int64_t other = db.createPlaylist("Other");
    state.playlistId = lists[0].id;
    state.page = 2;
    state.sectionType = "Loop";
    alerts.answers = {0};
    commands->deletePlaylist(other);
    EXPECT_EQ(state.playlistId, lists[0].id) << "another playlist went; the view stays";
    EXPECT_EQ(allTypesShown, 0);
    alerts.answers = {1};
    commands->deletePlaylist(lists[0].id);
    EXPECT_EQ(db.playlists().size(), 1u) << "Cancel keeps it";
    alerts.answers = {0};
    commands->deletePlaylist(lists[0].id);
    EXPECT_EQ(alerts.asked.back().message, "Delete this playlist?");
    EXPECT_FALSE(state.playlistId);
    EXPECT_EQ(state.page, 0);
    EXPECT_EQ(state.sectionType, "");
    EXPECT_EQ(allTypesShown, 1);
    EXPECT_EQ(state.rows.size(), 50u) << "back to every sample";
}

} // namespace
