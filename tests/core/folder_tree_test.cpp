#include "browse/folder_tree.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// One line per node, indented by depth: "name path".
std::string outline(const qv::FolderNode& node, int depth = 0)
{
    std::string text = std::string(depth * 2, ' ') + node.name + " " + node.path.string() + "\n";
    for (const auto& child : node.children) {
        text += outline(child, depth + 1);
    }
    return text;
}

TEST(FolderTree, RootDependsOnHowManyLibrariesThereAre)
{
    EXPECT_EQ(outline(qv::buildFolderTree({})), "SAMPLE \n");

    // Path order, not first appearance; the first non-empty label wins, else the folder name.
    const auto several = qv::buildFolderTree({
        {"/b", "/b/s.wav", ""},
        {"/a", "/a/x/s.wav", ""},
        {"/a", "/a/s.wav", "Alpha"},
        {"/a", "/a/t.wav", "Later"},
    });
    EXPECT_EQ(outline(several), " \n"
                                "  Alpha /a\n"
                                "    x /a/x\n"
                                "  b /b\n");

    EXPECT_EQ(outline(qv::buildFolderTree({{"/lib", "/lib/Keys/s.wav", "Mine"}})), "Mine /lib\n"
                                                                                    "  Keys /lib/Keys\n");
}

TEST(FolderTree, ChildrenAreOrderedByteWise)
{
    const auto tree = qv::buildFolderTree({
        {"/lib", "/lib/bass/1.wav", ""},
        {"/lib", "/lib/Keys/1.wav", ""},
        {"/lib", "/lib/Drums/1.wav", ""},
    });
    EXPECT_EQ(outline(tree), "lib /lib\n  Drums /lib/Drums\n  Keys /lib/Keys\n  bass /lib/bass\n");
}

TEST(FolderTree, OnlyFoldersBelowTheLibraryBecomeNodes)
{
    const auto tree = qv::buildFolderTree({
        {"/lib", "/lib/top.wav", ""},
        {"/lib", "/elsewhere/s.wav", ""},
        {"/lib", "/library2/s.wav", ""},
        {"/lib", "relative/s.wav", ""},
        {"/lib", "/lib/a/b/c/deep.wav", ""},
        {"/lib", "/lib/a/b/shallow.wav", ""},
        {"/lib", "/lib/a/./d/s.wav", ""},
    });
    EXPECT_EQ(outline(tree), "lib /lib\n"
                             "  a /lib/a\n"
                             "    b /lib/a/b\n"
                             "      c /lib/a/b/c\n"
                             "    d /lib/a/d\n");
}

} // namespace
