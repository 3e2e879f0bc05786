#include "browse/folder_tree.h"

#include <algorithm>
#include <deque>
#include <map>
#include <numeric>
#include <string_view>

namespace qv {

namespace {

namespace fs = std::filesystem;

// A std::map keeps children in byte-wise name order while the tree grows; a child's
// name is its key.
struct MutableNode {
    std::string path; // native text, made a path once when frozen
    std::map<std::string, MutableNode, std::less<>> children;
};

// Takes the tree apart as it goes: names and paths are moved, not copied.
FolderNode freeze(std::string&& name, MutableNode&& node)
{
    FolderNode frozen{std::move(name), fs::path(std::move(node.path)), {}};
    frozen.children.reserve(node.children.size());
    while (!node.children.empty()) {
        auto child = node.children.extract(node.children.begin());
        frozen.children.push_back(freeze(std::move(child.key()), std::move(child.mapped())));
    }
    return frozen;
}

// What `parent / name` gives for a relative name: a separator unless the parent is
// empty or already ends with one.
std::string joined(const std::string& parent, std::string_view name)
{
    std::string path = parent;
    if (!path.empty() && path.back() != '/') path += '/';
    path += name;
    return path;
}

// One library's tree, grown folder by folder. Consecutive folders mostly share their
// upper components, so the chain of the previous folder is kept and only what differs
// is looked up.
class LibraryTree {
public:
    explicit LibraryTree(fs::path library)
        : _library(std::move(library))
        , _root{_library.native(), {}}
    {
    }

    const fs::path& library() const { return _library; }

    void add(const std::string& folder)
    {
        if (!partsBelowLibrary(folder)) return;
        std::size_t kept = 0;
        while (kept < _parts.size() && kept < _chain.size() && _chain[kept]->first == _parts[kept]) ++kept;
        _chain.resize(kept);
        MutableNode* node = kept == 0 ? &_root : &_chain.back()->second;
        for (std::size_t i = kept; i < _parts.size(); ++i) {
            auto it = node->children.lower_bound(_parts[i]);
            if (it == node->children.end() || it->first != _parts[i]) {
                it = node->children.emplace_hint(it, _parts[i], MutableNode{joined(node->path, _parts[i]), {}});
            }
            _chain.push_back(&*it);
            node = &it->second;
        }
    }

    FolderNode freeze(std::string label)
    {
        _chain.clear();
        return qv::freeze(std::move(label), std::move(_root));
    }

private:
    // The components of the folder relative to the library that become nodes (all but
    // "" and "."); false when the folder is not below the library ("..", or no relative
    // path at all). A folder whose text extends the library's by a '/' has the library's
    // components and then its own segments, so it is split by hand; anything else goes
    // through lexically_relative().
    bool partsBelowLibrary(const std::string& folder)
    {
        _parts.clear();
        const std::string& library = _library.native();
        if (!library.empty() && library.back() != '/' && folder.size() > library.size()
            && folder.compare(0, library.size(), library) == 0 && folder[library.size()] == '/') {
            const std::string_view rest = std::string_view(folder).substr(library.size() + 1);
            bool first = true;
            for (std::size_t begin = 0; begin <= rest.size();) {
                const std::size_t end = std::min(rest.find('/', begin), rest.size());
                if (end > begin) {
                    const std::string_view part = rest.substr(begin, end - begin);
                    if (first && part == "..") return false;
                    first = false;
                    if (part != ".") _parts.push_back(part);
                }
                begin = end + 1;
            }
            return true;
        }
        const fs::path relative = fs::path(folder).lexically_relative(_library);
        if (relative.empty() || *relative.begin() == "..") return false;
        _slowParts.clear();
        for (const auto& component : relative) {
            if (!component.empty() && component != ".") _slowParts.push_back(component.native());
        }
        _parts.assign(_slowParts.begin(), _slowParts.end());
        return true;
    }

    fs::path _library;
    MutableNode _root;
    std::vector<std::pair<const std::string, MutableNode>*> _chain; // the previous folder's nodes
    std::vector<std::string_view> _parts;
    std::vector<std::string> _slowParts;
};

std::string folderOf(const IndexedPath& row)
{
    return fs::path(row.samplePath).parent_path().native();
}

const std::string& folderOf(const IndexedFolder& row)
{
    return row.folderPath;
}

// Libraries are told apart by path equality, in order of first appearance; a library is
// named by the first non-empty label among its rows, else by its folder's own name.
template <typename Row>
FolderNode buildTree(const std::vector<Row>& rows)
{
    std::deque<LibraryTree> trees; // never moved: each keeps pointers into itself
    std::vector<std::string> labels;
    const std::string* lastText = nullptr;
    std::size_t last = 0;
    for (const Row& row : rows) {
        if (!lastText || row.libraryPath != *lastText) {
            fs::path library(row.libraryPath);
            const auto found = std::find_if(trees.begin(), trees.end(),
                                            [&](const LibraryTree& tree) { return tree.library() == library; });
            last = static_cast<std::size_t>(found - trees.begin());
            if (found == trees.end()) {
                trees.emplace_back(std::move(library));
                labels.emplace_back();
            }
            lastText = &row.libraryPath;
        }
        if (labels[last].empty()) labels[last] = row.libraryLabel;
        trees[last].add(folderOf(row));
    }

    const auto finish = [&](std::size_t i) {
        return trees[i].freeze(labels[i].empty() ? trees[i].library().filename().string() : std::move(labels[i]));
    };
    if (trees.empty()) {
        return FolderNode{"SAMPLE", {}, {}};
    }
    if (trees.size() == 1) {
        return finish(0);
    }
    std::vector<std::size_t> order(trees.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return trees[a].library() < trees[b].library(); });
    FolderNode root;
    root.children.reserve(trees.size());
    for (const std::size_t i : order) {
        root.children.push_back(finish(i));
    }
    return root;
}

} // namespace

FolderNode buildFolderTree(const std::vector<IndexedPath>& paths)
{
    return buildTree(paths);
}

FolderNode buildFolderTree(const std::vector<IndexedFolder>& folders)
{
    return buildTree(folders);
}

} // namespace qv
