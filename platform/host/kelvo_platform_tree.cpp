// SPDX-License-Identifier: Apache-2.0
//
// The balanced ordered tree, an AVL tree by Boost.Intrusive. Those algorithms want a header node
// that knows the root and the first and last entries; a tree here is known by its root alone, so
// each change works with a header of its own on the stack and takes it away again. They bring a
// first or last entry up to date only where the header had the one before, so this header, which
// nobody asks for them, goes without.
#include <boost/intrusive/avltree_algorithms.hpp>
#include <cstdint>

#include "kelvo_platform.h"

namespace kelvo::host {
namespace {

struct NodeTraits {
    using node = ordered_tree_node;
    using node_ptr = node*;
    using const_node_ptr = const node*;
    using balance = intptr_t;

    static node_ptr get_parent(const_node_ptr n) noexcept { return n->parent; }
    static void set_parent(node_ptr n, node_ptr parent) noexcept { n->parent = parent; }
    static node_ptr get_left(const_node_ptr n) noexcept { return n->left; }
    static void set_left(node_ptr n, node_ptr left) noexcept { n->left = left; }
    static node_ptr get_right(const_node_ptr n) noexcept { return n->right; }
    static void set_right(node_ptr n, node_ptr right) noexcept { n->right = right; }
    static balance get_balance(const_node_ptr n) noexcept { return n->balance; }
    static void set_balance(node_ptr n, balance b) noexcept { n->balance = b; }
    static balance negative() noexcept { return -1; }
    static balance zero() noexcept { return 0; }
    static balance positive() noexcept { return 1; }
};

using Algorithms = boost::intrusive::avltree_algorithms<NodeTraits>;

enum Order : std::uint32_t { kSmaller = 0, kEqual = 1 };

/// A header under which the entries stand while the tree is changed.
class Header {
  public:
    explicit Header(ordered_tree_node** root) noexcept : root_(root) {
        Algorithms::init_header(&node_);
        if (*root == nullptr) return;
        node_.parent = *root;
        (*root)->parent = &node_;
    }
    ~Header() noexcept {
        *root_ = node_.parent;
        if (*root_ != nullptr) (*root_)->parent = nullptr;
    }
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;

    [[nodiscard]] ordered_tree_node* node() noexcept { return &node_; }

  private:
    ordered_tree_node node_;
    ordered_tree_node** root_;
};

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

ordered_tree_node* ordered_tree_search(ordered_tree_node* root, const ordered_tree_node* probe,
                                       ordered_tree_compare compare) {
    ordered_tree_node* at = root;
    while (at != nullptr) {
        const std::uint32_t order = compare(probe, at);
        if (order == kEqual) return at;
        at = order == kSmaller ? at->left : at->right;
    }
    return nullptr;
}

ordered_tree_node* ordered_tree_insert(ordered_tree_node** root, ordered_tree_node* entry,
                                       ordered_tree_compare compare) {
    Algorithms::insert_commit_data place;
    for (ordered_tree_node* at = *root; at != nullptr;) {
        const std::uint32_t order = compare(entry, at);
        if (order == kEqual) return at;
        place.link_left = order == kSmaller;
        place.node = at;
        at = place.link_left ? at->left : at->right;
    }
    Header header(root);
    if (place.node == nullptr) place.node = header.node();
    Algorithms::insert_unique_commit(header.node(), entry, place);
    return nullptr;
}

ordered_tree_node* ordered_tree_delete(ordered_tree_node** root, const ordered_tree_node* probe,
                                       ordered_tree_compare compare) {
    ordered_tree_node* const found = ordered_tree_search(*root, probe, compare);
    if (found == nullptr) return nullptr;
    Header header(root);
    Algorithms::erase(header.node(), found);
    return found;
}
