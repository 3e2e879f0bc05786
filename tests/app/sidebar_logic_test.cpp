// The sidebar's decisions without a window: button presses and the lit buttons, the
// breadcrumb entries of every place, the back history, snapshots, and the launch
// location as stored and as restored.
#include "sidebar_logic.h"

#include "temp_dir.h"

#include <QSettings>

#include <algorithm>

#include <gtest/gtest.h>

namespace {

using qv::BreadcrumbEntry;
using qv::BrowseState;
using qv::FolderTree;
using qv::SidebarButtons;

// /lib: Drums/{Kicks/Acoustic/Dry, Snares}; /lib2 beside it, and /lib2b sharing a prefix.
FolderTree twoLibraries()
{
    return qv::buildFolderTree(std::vector<qv::IndexedPath>{
        {"/lib", "/lib/Drums/Kicks/Acoustic/Dry/k1.wav", "My Drums"},
        {"/lib", "/lib/Drums/Snares/s1.wav", ""},
        {"/lib2", "/lib2/Bass/b1.wav", ""},
        {"/lib2b", "/lib2b/Keys/k1.wav", ""},
    });
}

TEST(SidebarButtons, ATypePressedTwiceReturnsToAllTypesAndANavigationPressResetsThePlace)
{
    BrowseState state;
    SidebarButtons buttons;
    state.page = 4;
    EXPECT_FALSE(qv::pressSidebarButton(state, buttons, qv::kLoopTag));
    EXPECT_EQ(state.sectionType, "Loop");
    EXPECT_EQ(buttons.activeType, qv::kLoopTag);
    EXPECT_EQ(state.page, 0);
    qv::pressSidebarButton(state, buttons, qv::kLoopTag);
    EXPECT_EQ(state.sectionType, "");
    EXPECT_EQ(buttons.activeType, qv::kAllTypesTag);

    // Inside a folder the type narrows the folder, and clearing it lights no type button.
    qv::selectFolderPlace(state, buttons, "/lib/Drums");
    EXPECT_EQ(buttons.activeNav, qv::kNoButton);
    qv::pressSidebarButton(state, buttons, qv::kMidiTag);
    EXPECT_EQ(state.folderScope, "/lib/Drums");
    EXPECT_EQ(state.sectionType, "MIDI");
    qv::pressSidebarButton(state, buttons, qv::kMidiTag);
    EXPECT_EQ(buttons.activeType, qv::kNoButton);

    state.sectionType = "One Shot";
    EXPECT_TRUE(qv::pressSidebarButton(state, buttons, qv::kLibrariesTag));
    EXPECT_TRUE(state.libraryMode);
    EXPECT_EQ(state.folderScope, "");
    EXPECT_EQ(state.sectionType, "");
    EXPECT_EQ(buttons.activeNav, qv::kLibrariesTag);
    EXPECT_EQ(buttons.activeType, qv::kNoButton);

    qv::selectPlaylistPlace(state, buttons, 7);
    EXPECT_FALSE(state.libraryMode);
    qv::pressSidebarButton(state, buttons, qv::kAllTypesTag);
    EXPECT_FALSE(state.playlistId);
    EXPECT_EQ(buttons.activeType, qv::kAllTypesTag);
    EXPECT_EQ(buttons.activeNav, qv::kNoButton);
}

TEST(FolderChain, FindsTheFoldersFromTheLibraryDownAndNeverAPrefixNeighbour)
{
    const FolderTree tree = twoLibraries();
    const auto chain = qv::findFolderChain(tree, "/lib/Drums/Kicks/Acoustic/");
    ASSERT_EQ(chain.size(), 4u);
    EXPECT_EQ(tree.name(chain.front()), "My Drums");
    EXPECT_EQ(tree.path(chain.back()), "/lib/Drums/Kicks/Acoustic");
    EXPECT_EQ(qv::findFolderChain(tree, "/lib2b/Keys").size(), 2u);
    EXPECT_EQ(tree.path(qv::findFolderChain(tree, "/lib2b/Keys").front()), "/lib2b");
    EXPECT_TRUE(qv::findFolderChain(tree, "/lib/Drum").empty());
    EXPECT_TRUE(qv::findFolderChain(tree, "/elsewhere").empty());
    EXPECT_TRUE(qv::findFolderChain(tree, "").empty());
    EXPECT_EQ(qv::standardizedPath("/a/./b//"), "/a/b");
}

// Each node's own path leads to it, however its library and names are spelled: the walk
// extends its parent's normal form by plain names and normalises only the others.
TEST(FolderChain, EveryNodeIsFoundByItsOwnPath)
{
    const auto tree = qv::buildFolderTree(std::vector<qv::IndexedFolder>{
        {"/", "/top/x", ""},
        {"/t/", "/t/u/v", "T"},
        {"/lib", "/lib/./../z", ""},
        {"/lib", "/lib/Ñoño 100%/'q'", ""},
        {"/lib", "/lib/...", ""},
    });
    ASSERT_EQ(tree.size(), 13u);
    for (qv::FolderTree::Node node = 1; node < tree.size(); ++node) {
        const std::string path = tree.path(node);
        SCOPED_TRACE(path);
        const auto chain = qv::findFolderChain(tree, path);
        ASSERT_FALSE(chain.empty());
        EXPECT_EQ(qv::standardizedPath(tree.path(chain.back())), qv::standardizedPath(path));
        EXPECT_TRUE(tree.isLibrary(chain.front()));
        for (std::size_t i = 1; i < chain.size(); ++i) {
            const auto children = tree.children(chain[i - 1]);
            EXPECT_NE(std::find(children.begin(), children.end(), chain[i]), children.end());
        }
    }
    EXPECT_EQ(qv::findFolderChain(tree, "/z").size(), 3u); // lib, "..", z
    EXPECT_EQ(qv::findFolderChain(tree, "/t/u/v/").size(), 3u);
}

TEST(Breadcrumbs, EachPlaceHasItsEntriesAndAFolderShowsItsLastThree)
{
    const FolderTree tree = twoLibraries();
    const std::vector<qv::Playlist> playlists = {{3, "Best Kicks", 0}};
    BrowseState state;
    EXPECT_EQ(qv::breadcrumbEntries(state, playlists, tree, {}), (std::vector<BreadcrumbEntry>{{"All Samples", "all", ""}}));

    state.favoriteMode = true;
    state.sectionType = "Loop";
    EXPECT_EQ(qv::breadcrumbEntries(state, playlists, tree, {}),
              (std::vector<BreadcrumbEntry>{{"Favorites", "favorites", ""}, {"Loop", "section", ""}}));
    state = {};
    state.libraryMode = true;
    EXPECT_EQ(qv::breadcrumbEntries(state, playlists, tree, {}), (std::vector<BreadcrumbEntry>{{"Libraries", "libraries", ""}}));

    state = {};
    state.playlistId = 99; // deleted meanwhile; a shown one is the window test's
    EXPECT_EQ(qv::breadcrumbEntries(state, playlists, tree, {}), (std::vector<BreadcrumbEntry>{{"Playlists", "all", ""}}));

    state = {};
    state.folderScope = "/lib/Drums/Kicks/Acoustic/Dry";
    const auto entries = qv::breadcrumbEntries(state, playlists, tree, qv::findFolderChain(tree, state.folderScope));
    EXPECT_EQ(entries, (std::vector<BreadcrumbEntry>{{"Folders", "all", ""},
                                                     {"Kicks", "folder", "/lib/Drums/Kicks"},
                                                     {"Acoustic", "folder", "/lib/Drums/Kicks/Acoustic"},
                                                     {"Dry", "folder", "/lib/Drums/Kicks/Acoustic/Dry"}}));
}

TEST(BreadcrumbHistory, KeepsTheNewestTwentyAndSnapshotsRestoreTheirPlace)
{
    qv::BreadcrumbHistory history;
    for (int i = 0; i < 25; ++i) history.push({"folder", "/f" + std::to_string(i), "", 0});
    EXPECT_EQ(history.size(), 20u);
    EXPECT_EQ(history.pop()->value, "/f24");
    std::optional<qv::BreadcrumbSnapshot> oldest;
    while (auto next = history.pop()) oldest = next;
    EXPECT_EQ(oldest->value, "/f5");
    EXPECT_FALSE(history.pop());

    BrowseState places[4]; // a folder's snapshot is restored by Back in the window test
    places[0].playlistId = 12;
    places[1].favoriteMode = true;
    places[2].libraryMode = true;
    places[3].sectionType = "MIDI";
    places[3].page = 2;
    for (const BrowseState& place : places) {
        const qv::BreadcrumbSnapshot snapshot = qv::breadcrumbSnapshot(place);
        BrowseState restored;
        restored.folderScope = "/somewhere/else";
        restored.sectionType = "Loop";
        SidebarButtons buttons;
        qv::restoreBreadcrumbSnapshot(restored, buttons, snapshot);
        EXPECT_EQ(qv::breadcrumbSnapshot(restored), snapshot) << snapshot.kind;
        EXPECT_EQ(restored.playlistId, place.playlistId);
        EXPECT_EQ(restored.favoriteMode, place.favoriteMode);
        EXPECT_EQ(restored.libraryMode, place.libraryMode);
        if (!place.sectionType.empty()) {
            EXPECT_EQ(buttons.activeType, qv::tagForSectionType(place.sectionType));
        }
    }
}

TEST(LaunchLocation, IsStoredClearedAndRestoredOnlyWhenItsTargetStillExists)
{
    qv::testkit::TempDir dir;
    QSettings settings(QString::fromStdString((dir / "settings.ini").string()), QSettings::IniFormat);
    qv::setPlaylistOpenAtLaunch(settings, 9);
    qv::setFolderOpenAtLaunch(settings, "/lib/Drums");
    qv::LaunchLocation stored = qv::readLaunchLocation(settings);
    EXPECT_EQ(stored.kind, "folder");
    EXPECT_EQ(stored.folderPath, "/lib/Drums");
    EXPECT_FALSE(stored.playlistId) << "a folder replaces the playlist";
    qv::setFavoritesOpenAtLaunch(settings);
    stored = qv::readLaunchLocation(settings);
    EXPECT_EQ(stored.kind, "favorites");
    EXPECT_EQ(stored.folderPath, "");
    qv::setPlaylistOpenAtLaunch(settings, 9);
    EXPECT_EQ(qv::readLaunchLocation(settings).playlistId, 9);
    qv::clearLaunchLocation(settings);
    EXPECT_TRUE(settings.allKeys().isEmpty());

    const auto folders = [](const std::string& path) { return path == "/lib/Drums"; };
    const auto playlists = [](std::int64_t id) { return id == 9; };
    using qv::LaunchAction; // a folder that opens is the window test's
    const struct {
        int mode;
        qv::LaunchLocation location;
        LaunchAction expected;
    } cases[] = {
        {1, {}, LaunchAction::Nothing},
        {1, {"favorites", "", {}}, LaunchAction::OpenFavorites},
        {0, {"favorites", "", {}}, LaunchAction::Nothing}, // compact: keys left alone
        {1, {"folder", "/lib/Gone", {}}, LaunchAction::ClearStored},
        {1, {"playlist", "", 9}, LaunchAction::OpenPlaylist},
        {1, {"playlist", "", 10}, LaunchAction::ClearStored},
        {1, {"shelf", "", {}}, LaunchAction::ClearStored},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qv::launchAction(c.mode, c.location, folders, playlists), c.expected) << c.location.kind;
    }
}

} // namespace
