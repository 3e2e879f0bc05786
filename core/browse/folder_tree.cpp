#include "browse/folder_tree.h"

#include <algorithm>
#include <map>

namespace qv {

namespace {

namespace fs = std::filesystem;

// A std::map keeps children in byte-wise name order while the tree grows.
struct MutableNode {
    std::string name;
    fs::path path;
    std::map<std::string, MutableNode> children;
};

FolderNode freeze(const MutableNode& node)
{
    FolderNode frozen{node.name, node.path, {}};
    frozen.children.reserve(node.children.size());
    for (const auto& [name, child] : node.children) {
        frozen.children.push_back(freeze(child));
    }
    return frozen;
}

// The first non-empty label among the library's rows, else the folder's own name.
std::string libraryLabel(const fs::path& library, const std::vector<IndexedPath>& paths)
{
    for (const auto& row : paths) {
        if (!row.libraryLabel.empty() && fs::path(row.libraryPath) == library) {
            return row.libraryLabel;
        }
    }
    return library.filename().string();
}

FolderNode buildLibraryTree(const fs::path& library, const std::vector<IndexedPath>& paths, const std::string& label)
{
    MutableNode root{label, library, {}};
    for (const auto& row : paths) {
        if (fs::path(row.libraryPath) != library) {
            continue;
        }
        // Empty when no relative path exists; ".." when the sample lies outside its library.
        const fs::path relative = fs::path(row.samplePath).parent_path().lexically_relative(library);
        if (relative.empty() || *relative.begin() == "..") {
            continue;
        }
        fs::path running = library;
        MutableNode* node = &root;
        for (const auto& component : relative) {
            if (component.empty() || component == ".") {
                continue;
            }
            running /= component;
            const std::string name = component.string();
            auto [it, inserted] = node->children.try_emplace(name);
            if (inserted) {
                it->second.name = name;
                it->second.path = running;
            }
            node = &it->second;
        }
    }
    return freeze(root);
}

} // namespace

FolderNode buildFolderTree(const std::vector<IndexedPath>& paths)
{
    std::vector<fs::path> libraries;
    for (const auto& row : paths) {
        fs::path library(row.libraryPath);
        if (std::find(libraries.begin(), libraries.end(), library) == libraries.end()) {
            libraries.push_back(std::move(library));
        }
    }
    if (libraries.empty()) {
        return FolderNode{"SAMPLE", {}, {}};
    }
    if (libraries.size() == 1) {
        return buildLibraryTree(libraries.front(), paths, libraryLabel(libraries.front(), paths));
    }
    std::sort(libraries.begin(), libraries.end());
    FolderNode root;
    root.children.reserve(libraries.size());
    for (const auto& library : libraries) {
        root.children.push_back(buildLibraryTree(library, paths, libraryLabel(library, paths)));
    }
    return root;
}

} // namespace qv
