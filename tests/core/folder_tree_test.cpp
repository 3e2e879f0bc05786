#include "browse/folder_tree.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// One line per node, indented by depth: "name path".
std::string outline(const qv::FolderNode& node, int depth = 0)
{
    std::string text = std::string(depth * 2, ' ') + node.name + " " + node.path.string() + "\n";
    for (const auto& child : node.children) text += outline(child, depth + 1);
    return text;
}

TEST(FolderTree, RootFollowsTheLibrariesAndFoldersSortByBytes)
{
    EXPECT_EQ(outline(qv::buildFolderTree({})), "SAMPLE \n");
    // Path order, not first appearance; the first non-empty label wins, else the folder name.
    EXPECT_EQ(outline(qv::buildFolderTree({{"/b", "/b/s.wav", ""}, {"/a", "/a/x/s.wav", ""},
                                           {"/a", "/a/s.wav", "Alpha"}, {"/a", "/a/t.wav", "Later"}})),
              " \n  Alpha /a\n    x /a/x\n  b /b\n");
    EXPECT_EQ(outline(qv::buildFolderTree({{"/lib", "/lib/Keys/s.wav", "Mine"}})), "Mine /lib\n  Keys /lib/Keys\n");

    // Byte order among children; only folders below the library become nodes.
    const auto tree = qv::buildFolderTree({
        {"/lib", "/lib/top.wav", ""},         {"/lib", "/lib/bass/1.wav", ""},      {"/lib", "/lib/Keys/1.wav", ""},
        {"/lib", "/elsewhere/s.wav", ""},     {"/lib", "/library2/s.wav", ""},      {"/lib", "relative/s.wav", ""},
        {"/lib", "/lib/a/b/c/deep.wav", ""},  {"/lib", "/lib/a/b/shallow.wav", ""}, {"/lib", "/lib/a/./d/s.wav", ""},
    });
    EXPECT_EQ(outline(tree), "lib /lib\n  Keys /lib/Keys\n  a /lib/a\n    b /lib/a/b\n      c /lib/a/b/c\n"
                             "    d /lib/a/d\n  bass /lib/bass\n");
}

} // namespace
