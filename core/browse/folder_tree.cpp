#include "browse/folder_tree.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <numeric>
#include <optional>
#include <type_traits>

namespace qv {

namespace {

namespace fs = std::filesystem;

// A folder below its library: its names from the library down, joined by '/', none of
// them "" or ".". Mostly a view of the row's own text; an oddly spelled row is spelled
// anew in `spelled`.
struct Folder {
    std::uint32_t library;
    std::string_view names;
};

std::string_view keep(std::deque<std::string>& spelled, const std::vector<std::string_view>& parts)
{
    std::string& text = spelled.emplace_back();
    for (const std::string_view part : parts) {
        if (!text.empty()) text += '/';
        text += part;
    }
    return text;
}

// The names of `folder` below `library`; nothing when the folder is not below it ("..",
// or no relative path at all). A folder whose text extends the library's by a '/' has
// the library's components and then its own segments, so it is split by hand; anything
// else goes through lexically_relative().
std::optional<std::string_view> namesBelow(const std::string& library, const std::string& folder,
                                           std::deque<std::string>& spelled, std::vector<std::string_view>& parts)
{
    parts.clear();
    if (!library.empty() && library.back() != '/' && folder.size() > library.size()
        && folder.compare(0, library.size(), library) == 0 && folder[library.size()] == '/') {
        const std::string_view rest = std::string_view(folder).substr(library.size() + 1);
        bool first = true;
        bool plain = true; // no "" or "." to leave out: the text itself will do
        for (std::size_t begin = 0; begin <= rest.size();) {
            const std::size_t end = std::min(rest.find('/', begin), rest.size());
            const std::string_view part = rest.substr(begin, end - begin);
            if (part.empty() || part == ".") {
                plain = false;
            } else {
                if (first && part == "..") return std::nullopt;
                parts.push_back(part);
            }
            if (!part.empty()) first = false;
            begin = end + 1;
        }
        return plain ? rest : keep(spelled, parts);
    }
    const fs::path relative = fs::path(folder).lexically_relative(fs::path(library));
    if (relative.empty() || *relative.begin() == "..") return std::nullopt;
    std::vector<std::string> owned;
    for (const auto& component : relative) {
        if (!component.empty() && component != ".") owned.push_back(component.native());
    }
    parts.assign(owned.begin(), owned.end());
    return keep(spelled, parts);
}

// Name by name, byte-wise: the separator sorts before any byte, so "a/b" comes before
// "a b" (as "a" before "a b") and a folder's descendants follow it at once.
bool namesBefore(std::string_view a, std::string_view b)
{
    const auto [ia, ib] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (ib == b.end()) return false;
    if (ia == a.end() || *ia == '/') return true;
    if (*ib == '/') return false;
    return static_cast<unsigned char>(*ia) < static_cast<unsigned char>(*ib);
}

std::string folderOf(const IndexedPath& row)
{
    return fs::path(row.samplePath).parent_path().native();
}

const std::string& folderOf(const IndexedFolder& row)
{
    return row.folderPath;
}

} // namespace

class FolderTreeBuilder {
public:
    // Libraries are told apart by path equality, in order of first appearance; a library
    // is named by the first non-empty label among its rows, else by its folder's own name.
    template <typename Row>
    static FolderTree build(const std::vector<Row>& rows)
    {
        std::vector<fs::path> libraries;
        std::vector<const std::string*> libraryTexts;
        std::vector<std::string> labels;
        std::vector<Folder> folders;
        folders.reserve(rows.size());
        std::deque<std::string> spelled;
        std::vector<std::string_view> parts;
        const std::string* lastText = nullptr;
        std::uint32_t last = 0;
        std::string lastFolder;
        std::uint32_t lastFolderLibrary = 0;
        for (const Row& row : rows) {
            if (!lastText || row.libraryPath != *lastText) {
                fs::path library(row.libraryPath);
                const auto found = std::find(libraries.begin(), libraries.end(), library);
                last = static_cast<std::uint32_t>(found - libraries.begin());
                if (found == libraries.end()) {
                    libraries.push_back(std::move(library));
                    libraryTexts.push_back(&row.libraryPath);
                    labels.emplace_back();
                }
                lastText = &row.libraryPath;
            }
            if (labels[last].empty()) labels[last] = row.libraryLabel;
            // Samples come folder by folder: a row of IndexedPath adds its folder once,
            // kept here because the names below are views of it.
            const std::string* folder = nullptr;
            if constexpr (std::is_same_v<Row, IndexedPath>) {
                std::string text = folderOf(row);
                if (!lastFolder.empty() && lastFolderLibrary == last && text == lastFolder) continue;
                lastFolder = text;
                lastFolderLibrary = last;
                folder = &spelled.emplace_back(std::move(text));
            } else {
                folder = &folderOf(row);
            }
            if (const auto names = namesBelow(*libraryTexts[last], *folder, spelled, parts)) {
                folders.push_back({last, *names});
            }
        }
        if (libraries.empty()) return FolderTree();

        std::vector<std::uint32_t> order(libraries.size());
        std::iota(order.begin(), order.end(), 0u);
        std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return libraries[a] < libraries[b]; });
        std::vector<std::uint32_t> rank(libraries.size());
        for (std::uint32_t i = 0; i < order.size(); ++i) rank[order[i]] = i;
        std::sort(folders.begin(), folders.end(), [&](const Folder& a, const Folder& b) {
            if (a.library != b.library) return rank[a.library] < rank[b.library];
            return namesBefore(a.names, b.names);
        });

        FolderTree tree;
        tree._nodes.clear();
        tree._names.clear();
        tree._nodes.reserve(folders.size() + libraries.size() + 1);
        if (libraries.size() > 1) tree.add({}, 0);
        auto next = folders.begin();
        for (const std::uint32_t library : order) {
            std::string label = labels[library].empty() ? libraries[library].filename().string() : labels[library];
            const FolderTree::Node top = tree.add(label, 0);
            tree._libraries.push_back({top, *libraryTexts[library]});
            // The open nodes below the library, with their names: sorted folders share
            // their upper names, so only what differs from the previous folder is added.
            std::vector<std::pair<FolderTree::Node, std::string_view>> chain;
            for (; next != folders.end() && next->library == library; ++next) {
                const std::string_view names = next->names;
                std::size_t depth = 0;
                for (std::size_t begin = 0; begin < names.size(); ++depth) {
                    const std::size_t end = std::min(names.find('/', begin), names.size());
                    const std::string_view name = names.substr(begin, end - begin);
                    begin = end + 1;
                    if (depth < chain.size() && chain[depth].second == name) continue;
                    tree.close(chain, depth);
                    chain.emplace_back(tree.add(name, chain.empty() ? top : chain.back().first), name);
                }
                tree.close(chain, depth);
            }
            tree.close(chain, 0);
            tree._nodes[top].end = static_cast<FolderTree::Node>(tree._nodes.size());
        }
        tree._nodes[0].end = static_cast<FolderTree::Node>(tree._nodes.size());
        tree._nodes.shrink_to_fit();
        tree._names.shrink_to_fit();
        return tree;
    }
};

FolderTree::FolderTree()
{
    add("SAMPLE", 0);
    _nodes[0].end = 1;
}

FolderTree::Node FolderTree::add(std::string_view name, Node parent)
{
    _nodes.push_back({static_cast<std::uint32_t>(_names.size()), static_cast<std::uint32_t>(name.size()), parent, 0});
    _names += name;
    return static_cast<Node>(_nodes.size() - 1);
}

void FolderTree::close(std::vector<std::pair<Node, std::string_view>>& chain, std::size_t depth)
{
    while (chain.size() > depth) {
        _nodes[chain.back().first].end = static_cast<Node>(_nodes.size());
        chain.pop_back();
    }
}

std::string FolderTree::path(Node node) const
{
    std::vector<Node> below;
    auto library = _libraries.end();
    for (Node at = node;; at = _nodes[at].parent) {
        library = std::find_if(_libraries.begin(), _libraries.end(), [&](const Library& l) { return l.node == at; });
        if (library != _libraries.end()) break;
        if (at == root()) return {};
        below.push_back(at);
    }
    std::string text = library->path;
    for (auto it = below.rbegin(); it != below.rend(); ++it) {
        // What `parent / name` gives: a separator unless the parent already ends with one.
        if (!text.empty() && text.back() != '/') text += '/';
        text += name(*it);
    }
    return text;
}

bool FolderTree::isLibrary(Node node) const
{
    return std::any_of(_libraries.begin(), _libraries.end(), [&](const Library& l) { return l.node == node; });
}

FolderTree buildFolderTree(const std::vector<IndexedPath>& paths)
{
    return FolderTreeBuilder::build(paths);
}

FolderTree buildFolderTree(const std::vector<IndexedFolder>& folders)
{
    return FolderTreeBuilder::build(folders);
}

} // namespace qv
