#include "browse/folder_tree.h"
#include "support/index_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <tuple>

namespace {

namespace fs = std::filesystem;

using Paths = std::vector<qv::IndexedPath>;

// One line per node, indented by depth: "name path".
std::string outline(const qv::FolderTree& tree, qv::FolderTree::Node node = 0, int depth = 0)
{
    std::string text = std::string(depth * 2, ' ') + std::string(tree.name(node)) + " " + tree.path(node) + "\n";
    for (const auto child : tree.children(node)) text += outline(tree, child, depth + 1);
    return text;
}

TEST(FolderTree, RootFollowsTheLibrariesAndFoldersSortByBytes)
{
    EXPECT_EQ(outline(qv::buildFolderTree(Paths{})), "SAMPLE \n");
    // Path order, not first appearance; the first non-empty label wins, else the folder name.
    EXPECT_EQ(outline(qv::buildFolderTree(Paths{{"/b", "/b/s.wav", ""}, {"/a", "/a/x/s.wav", ""},
                                           {"/a", "/a/s.wav", "Alpha"}, {"/a", "/a/t.wav", "Later"}})),
              " \n  Alpha /a\n    x /a/x\n  b /b\n");
    EXPECT_EQ(outline(qv::buildFolderTree(Paths{{"/lib", "/lib/Keys/s.wav", "Mine"}})), "Mine /lib\n  Keys /lib/Keys\n");

    // Byte order among children; only folders below the library become nodes.
    const auto tree = qv::buildFolderTree(Paths{
        {"/lib", "/lib/top.wav", ""},         {"/lib", "/lib/bass/1.wav", ""},      {"/lib", "/lib/Keys/1.wav", ""},
        {"/lib", "/elsewhere/s.wav", ""},     {"/lib", "/library2/s.wav", ""},      {"/lib", "relative/s.wav", ""},
        {"/lib", "/lib/a/b/c/deep.wav", ""},  {"/lib", "/lib/a/b/shallow.wav", ""}, {"/lib", "/lib/a/./d/s.wav", ""},
    });
    EXPECT_EQ(outline(tree), "lib /lib\n  Keys /lib/Keys\n  a /lib/a\n    b /lib/a/b\n      c /lib/a/b/c\n"
                             "    d /lib/a/d\n  bass /lib/bass\n");

    // As lexically_relative() has it: doubled separators vanish, ".." first leaves the
    // library but further down is a folder's name; a library spelled with a trailing '/'.
    EXPECT_EQ(outline(qv::buildFolderTree(Paths{{"/lib", "/lib/x/../y/s.wav", ""}, {"/lib", "/lib/./../s.wav", ""},
                                                {"/lib", "/lib//deep//s.wav", ""}, {"/lib", "/lib/../lib/q/s.wav", ""}})),
              "lib /lib\n  .. /lib/..\n  deep /lib/deep\n  x /lib/x\n    .. /lib/x/..\n      y /lib/x/../y\n");
    EXPECT_EQ(outline(qv::buildFolderTree(Paths{{"/t/", "/t/u/s.wav", "T"}, {"/t/", "/t//v/s.wav", ""}})),
              "T /t/\n  u /t/u\n  v /t/v\n");
}

// Names are kept in one arena and paths joined from the library's root on demand; the
// order is name by name, so a folder's subfolders stay under it whatever byte follows its
// name in a neighbour's ("a b" and "a-1" sort before "a/x" as whole paths).
TEST(FolderTree, PathsJoinFromTheLibraryRootAndNamesSortNameByName)
{
    using Folders = std::vector<qv::IndexedFolder>;
    EXPECT_EQ(outline(qv::buildFolderTree(Folders{{"/lib", "/lib/a b", ""}, {"/lib", "/lib/a-1", ""},
                                                  {"/lib", "/lib/a/x", ""}, {"/lib", "/lib/a.b", ""},
                                                  {"/lib", "/lib/ab", ""}, {"/lib", "/lib/a/x/y", ""},
                                                  {"/lib", "/lib/a!", ""}, {"/lib", "/lib", ""}})),
              "lib /lib\n  a /lib/a\n    x /lib/a/x\n      y /lib/a/x/y\n  a b /lib/a b\n  a! /lib/a!\n"
              "  a-1 /lib/a-1\n  a.b /lib/a.b\n  ab /lib/ab\n");

    // The file system's root as a library; names with quotes, '%', '_', a backslash and
    // accents, spelled oddly; the same folder reached twice.
    EXPECT_EQ(outline(qv::buildFolderTree(Folders{{"/", "/Drums & 'Loops' 100%/Ñoño_\\", "Root"},
                                                  {"/", "/Drums & 'Loops' 100%/./Ñoño_\\/.", ""},
                                                  {"/", "//Drums & 'Loops' 100%", ""}})),
              "Root /\n  Drums & 'Loops' 100% /Drums & 'Loops' 100%\n"
              "    Ñoño_\\ /Drums & 'Loops' 100%/Ñoño_\\\n");

    // A library inside another: each keeps the folders its own rows name.
    const auto nested = qv::buildFolderTree(Folders{{"/lib/inner", "/lib/inner/a", "Inner"},
                                                    {"/lib", "/lib/inner/b", ""}, {"/lib", "/lib/c", ""}});
    EXPECT_EQ(outline(nested), " \n  lib /lib\n    c /lib/c\n    inner /lib/inner\n      b /lib/inner/b\n"
                               "  Inner /lib/inner\n    a /lib/inner/a\n");
    const std::vector<qv::FolderTree::Node> libraries(nested.children(nested.root()).begin(),
                                                      nested.children(nested.root()).end());
    ASSERT_EQ(libraries.size(), 2u);
    EXPECT_TRUE(nested.isLibrary(libraries[0]) && nested.isLibrary(libraries[1]));
    EXPECT_FALSE(nested.isLibrary(nested.root()));
    EXPECT_FALSE(nested.isLibrary(*nested.children(libraries[0]).begin()));
}

// The sidebar's tree from the folder table against the tree from every sample path, over
// generated libraries and through every kind of write.
class FolderTreeFromIndex : public qv::test::IndexTest {
protected:
    using Listing = std::set<std::tuple<std::string, std::string, std::string>>;

    // The folders of the listed samples: each path before its last '/'.
    Listing parentsOfPaths()
    {
        Listing parents;
        for (const auto& row : _db.indexedPaths()) {
            const auto slash = row.samplePath.rfind('/');
            parents.emplace(row.libraryPath, row.samplePath.substr(0, slash == 0 ? 1 : slash), row.libraryLabel);
        }
        return parents;
    }

    void expectSameTree(const std::string& step)
    {
        SCOPED_TRACE(step);
        const auto folders = _db.indexedFolders();
        Listing listed;
        for (const auto& f : folders) listed.emplace(f.libraryPath, f.folderPath, f.libraryLabel);
        EXPECT_EQ(listed.size(), folders.size()); // each folder once
        EXPECT_EQ(listed, parentsOfPaths());
        EXPECT_EQ(outline(qv::buildFolderTree(folders)), outline(qv::buildFolderTree(_db.indexedPaths())));
    }
};

TEST_F(FolderTreeFromIndex, EqualsTheTreeOfEverySamplePathThroughEveryWrite)
{
    const std::vector<std::string> names = {"Kick", "Kick 2", "Kick!", "kick", "Loops", "Loops_old", "b", "bc",
                                            "%20", "Ñoño", ".", "", ".."};
    for (unsigned seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
        // The first two libraries' paths share a prefix.
        const fs::path base = _dir / ("run " + std::to_string(seed));
        const std::vector<fs::path> roots = {base / "a/b", base / "a/bc", base / "Drums & 'Loops' 100%", base / "c"};
        std::vector<std::int64_t> ids;
        std::vector<std::vector<std::string>> stored(roots.size());
        for (std::size_t i = 0; i < roots.size(); ++i) {
            ids.push_back(_db.addLibrary(roots[i]));
            if (pick(2) == 0) _db.setLibraryDisplayLabel(ids.back(), "Label " + std::to_string(i));
            for (int n = 0; n < 60; ++n) {
                // Up to four levels; "", "." and ".." spell folders oddly, and a few
                // samples lie outside their library, some in the next library's folder.
                const std::size_t outside = pick(24);
                std::string path =
                    (outside == 0 ? base / "outside" : outside == 1 ? roots[(i + 1) % roots.size()] : roots[i]).string();
                for (std::size_t depth = pick(5); depth > 0; --depth) path += "/" + names[pick(names.size())];
                path += "/" + std::string(pick(8) == 0 ? "._" : "") + "s" + std::to_string(seed) + "-" +
                        std::to_string(i) + "-" + std::to_string(n) + ".wav";
                _db.upsert(qv::test::sampleOf({path}), ids[i]);
                stored[i].push_back(path);
            }
        }
        ASSERT_FALSE(_db.indexedFolders().empty());
        expectSameTree("generated");

        std::vector<std::string> seen(stored[0].begin(), stored[0].begin() + 30);
        std::uint64_t removed = 0;
        _db.removeMissing(ids[0], seen, removed);
        ASSERT_GT(removed, 0u);
        expectSameTree("rows removed by removeMissing");

        const auto moving = std::find_if(stored[1].begin(), stored[1].end(), [&](const std::string& path) {
            return path.find("/._") == std::string::npos && path.starts_with(roots[1].string() + "/Kick");
        });
        ASSERT_NE(moving, stored[1].end());
        ASSERT_TRUE(_db.relinkMovedSample(ids[1], roots[1] / "Moved here" / fs::path(*moving).filename(), 1000,
                                          1700000000));
        expectSameTree("a sample moved");

        _db.upsert(qv::test::sampleOf({stored[2][0]}), ids[3]); // the same path, now another library's
        _raw.exec("UPDATE samples SET filename='._'||filename WHERE id%5=0;"
                  "UPDATE samples SET filename=substr(filename,3) WHERE id%7=0 AND filename LIKE '.\\_%' ESCAPE '\\'");
        expectSameTree("moved between libraries, hidden and shown");

        _db.removeLibrary(ids[pick(ids.size())]);
        expectSameTree("a library removed");
    }
}

// An index written before the folder table, or while one of its triggers was missing,
// gets the table filled anew when it is opened.
TEST_F(FolderTreeFromIndex, OpeningFillsTheTableAfterWritesItDidNotSee)
{
    const auto lib = _db.addLibrary(_dir / "lib");
    for (const char* name : {"x/1.wav", "x/2.wav", "y/z/3.wav"}) add({(_dir / "lib" / name).string()}, lib);
    const auto reopened = [&] {
        qv::Database db(_dbFile);
        return db.indexedFolders().size();
    };

    _raw.exec("DROP TRIGGER sample_folders_ai; DROP TRIGGER sample_folders_ad; DROP TRIGGER sample_folders_au;"
              "DROP TABLE sample_folders; DELETE FROM samples WHERE filename='3.wav'");
    EXPECT_EQ(reopened(), 1u);
    _raw.exec("DROP TRIGGER sample_folders_ad; DELETE FROM samples");
    EXPECT_EQ(_raw.integer("SELECT count(*) FROM sample_folders"), 1); // left behind until the next open
    EXPECT_EQ(reopened(), 0u);
    expectSameTree("reopened");
}

} // namespace
