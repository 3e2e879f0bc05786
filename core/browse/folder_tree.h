// The folder tree of the sidebar, built from every indexed sample's path or, the same
// tree, from the folders that hold them. Pure: no database, no toolkit, so it is
// testable on its own.
#pragma once

#include "db/database.h"

#include <filesystem>
#include <string>
#include <vector>

namespace qv {

struct FolderNode {
    std::string name;            // last path component, a library's label, or "SAMPLE"
    std::filesystem::path path;  // absolute; a library's root for a library node; empty for a synthetic root
    std::vector<FolderNode> children; // by name, byte-wise (upper case before lower case)
};

// No library: a root named "SAMPLE" without children. One library: that library's tree.
// Several: an unnamed root with one child per library, in path order.
FolderNode buildFolderTree(const std::vector<IndexedPath>& paths);
// The same tree from Database::indexedFolders(), which reads far fewer rows.
FolderNode buildFolderTree(const std::vector<IndexedFolder>& folders);

} // namespace qv
