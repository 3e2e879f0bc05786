// The folder tree of the sidebar, built from every indexed sample's path or, the same
// tree, from the folders that hold them. Pure: no database, no toolkit, so it is
// testable on its own.
//
// A million samples make a quarter of a million folders, so the tree is compact: nodes
// are 16 bytes in one vector, in depth-first order (a node's subtree follows it), and
// names live in one shared arena. Paths are not stored but joined from the library's
// root when asked for. Immutable once built; any thread may read it.
#pragma once

#include "db/database.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qv {

class FolderTree {
public:
    using Node = std::uint32_t; // an index, stable for the life of the tree

    // The children of a node, by name, byte-wise (upper case before lower case).
    class Children {
    public:
        class iterator {
        public:
            using iterator_category = std::forward_iterator_tag;
            using value_type = Node;
            using difference_type = std::ptrdiff_t;
            using pointer = const Node*;
            using reference = Node;
            iterator() = default;
            iterator(const FolderTree* tree, Node node) : _tree(tree), _node(node) {}
            Node operator*() const { return _node; }
            iterator& operator++()
            {
                _node = _tree->_nodes[_node].end;
                return *this;
            }
            iterator operator++(int)
            {
                iterator before = *this;
                ++*this;
                return before;
            }
            bool operator==(const iterator& other) const { return _node == other._node; }

        private:
            const FolderTree* _tree = nullptr;
            Node _node = 0;
        };
        Children(const FolderTree* tree, Node first, Node end) : _tree(tree), _first(first), _end(end) {}
        iterator begin() const { return {_tree, _first}; }
        iterator end() const { return {_tree, _end}; }
        bool empty() const { return _first == _end; }

    private:
        const FolderTree* _tree;
        Node _first;
        Node _end;
    };

    FolderTree(); // the placeholder: "SAMPLE" without children

    Node root() const { return 0; }
    std::size_t size() const { return _nodes.size(); }
    // The last path component, a library's label, "SAMPLE", or "" for the unnamed root.
    std::string_view name(Node node) const { return {_names.data() + _nodes[node].nameOffset, _nodes[node].nameSize}; }
    // Absolute, spelled as the index spells it: the library's root as stored, then the
    // names. Empty for the unnamed root and the placeholder.
    std::string path(Node node) const;
    bool isLibrary(Node node) const;
    Children children(Node node) const { return {this, node + 1, _nodes[node].end}; }
    bool hasChildren(Node node) const { return _nodes[node].end != node + 1; }

private:
    friend class FolderTreeBuilder;
    struct Entry {
        std::uint32_t nameOffset;
        std::uint32_t nameSize;
        std::uint32_t parent;
        std::uint32_t end; // one past the last node of the subtree
    };
    struct Library {
        Node node;
        std::string path;
    };

    Node add(std::string_view name, Node parent);
    // Ends the subtrees of the chain's nodes from `depth` down: they are complete.
    void close(std::vector<std::pair<Node, std::string_view>>& chain, std::size_t depth);

    std::vector<Entry> _nodes;
    std::string _names;
    std::vector<Library> _libraries; // few: one per library
};

// No library: the placeholder. One library: that library's tree, the library at the
// root. Several: an unnamed root with one child per library, in path order.
FolderTree buildFolderTree(const std::vector<IndexedPath>& paths);
// The same tree from Database::indexedFolders(), which reads far fewer rows.
FolderTree buildFolderTree(const std::vector<IndexedFolder>& folders);

} // namespace qv
