// SPDX-License-Identifier: Apache-2.0
//
// The balanced ordered tree: the same answers as an ordered map, and balance, over random changes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "kelvo_platform.h"

namespace {

struct Entry {
    ordered_tree_node links;
    uint32_t key;
};

const Entry* entry_of(const ordered_tree_node* node) {
    return reinterpret_cast<const Entry*>(node);
}

uint32_t by_key(const ordered_tree_node* first, const ordered_tree_node* second) {
    const uint32_t a = entry_of(first)->key;
    const uint32_t b = entry_of(second)->key;
    return a < b ? 0 : a == b ? 1 : 2;
}

/// Checks links, order and balance below a node. @return its height
int check_subtree(const ordered_tree_node* node, const ordered_tree_node* parent,
                  std::vector<uint32_t>& keys) {
    if (node == nullptr) return 0;
    EXPECT_EQ(node->parent, parent);
    const int left = check_subtree(node->left, node, keys);
    keys.push_back(entry_of(node)->key);
    const int right = check_subtree(node->right, node, keys);
    EXPECT_EQ(node->balance, right - left);
    EXPECT_LE(std::abs(right - left), 1);
    return 1 + std::max(left, right);
}

class Tree {
  public:
    ordered_tree_node* insert(Entry* entry) {
        return ordered_tree_insert(&root, &entry->links, by_key);
    }
    ordered_tree_node* search(uint32_t key) {
        const Entry probe{{}, key};
        return ordered_tree_search(root, &probe.links, by_key);
    }
    ordered_tree_node* remove(uint32_t key) {
        const Entry probe{{}, key};
        return ordered_tree_delete(&root, &probe.links, by_key);
    }
    std::vector<uint32_t> checked_keys() const {
        std::vector<uint32_t> keys;
        check_subtree(root, nullptr, keys);
        return keys;
    }

    ordered_tree_node* root = nullptr;
};

std::unique_ptr<Entry> entry(uint32_t key) {
    auto made = std::make_unique<Entry>();
    made->key = key;
    return made;
}

TEST(Tree, EmptyTreeHoldsNothing) {
    Tree tree;
    EXPECT_EQ(tree.search(1), nullptr);
    EXPECT_EQ(tree.remove(1), nullptr);
    EXPECT_EQ(tree.root, nullptr);
}

TEST(Tree, AnEqualEntryIsReturnedAndTheTreeStays) {
    Tree tree;
    const auto first = entry(7);
    const auto equal = entry(7);
    EXPECT_EQ(tree.insert(first.get()), nullptr);
    EXPECT_EQ(tree.insert(equal.get()), &first->links);
    EXPECT_EQ(tree.search(7), &first->links);
    EXPECT_EQ(tree.checked_keys(), std::vector<uint32_t>{7});
}

TEST(Tree, KeysAreUnsigned) {
    Tree tree;
    const auto large = entry(0xFFFFFFFF);
    const auto small = entry(1);
    tree.insert(large.get());
    tree.insert(small.get());
    EXPECT_EQ(tree.checked_keys(), (std::vector<uint32_t>{1, 0xFFFFFFFF}));
}

TEST(Tree, TheProbeMayBeTheEntryItself) {
    Tree tree;
    const auto only = entry(3);
    tree.insert(only.get());
    EXPECT_EQ(ordered_tree_delete(&tree.root, &only->links, by_key), &only->links);
    EXPECT_EQ(tree.root, nullptr);
}

TEST(Tree, ACopyOfTheRootEmptiesTheTree) {
    Tree tree;
    std::vector<std::unique_ptr<Entry>> entries;
    for (uint32_t key = 0; key < 100; ++key) {
        entries.push_back(entry(key));
        tree.insert(entries.back().get());
    }
    ordered_tree_node* root = tree.root;
    for (uint32_t left = 100; left > 0; --left) {
        ordered_tree_node* const top = root;
        ASSERT_EQ(ordered_tree_delete(&root, top, by_key), top);
    }
    EXPECT_EQ(root, nullptr);
}

TEST(Tree, AnswersAsAnOrderedMapDoesAndStaysBalanced) {
    Tree tree;
    std::map<uint32_t, std::unique_ptr<Entry>> map;
    std::mt19937 random(20240307);
    for (int step = 0; step < 20000; ++step) {
        const auto key = static_cast<uint32_t>(random() % 500);
        const auto in_map = map.find(key);
        const auto* const expected = in_map == map.end() ? nullptr : &in_map->second->links;
        ASSERT_EQ(tree.search(key), expected) << "step " << step;
        if (random() % 2 == 0) {
            auto made = entry(key);
            ASSERT_EQ(tree.insert(made.get()), expected) << "step " << step;
            if (expected == nullptr) map.emplace(key, std::move(made));
        } else {
            ASSERT_EQ(tree.remove(key), expected) << "step " << step;
            if (expected != nullptr) map.erase(in_map);
        }
        if (step % 50 != 0) continue;
        std::vector<uint32_t> keys;
        for (const auto& [present, kept] : map) keys.push_back(present);
        ASSERT_EQ(tree.checked_keys(), keys) << "step " << step;
    }
}

/// Rising keys are the worst case of an unbalanced tree.
TEST(Tree, RisingKeysStayShallow) {
    Tree tree;
    std::vector<std::unique_ptr<Entry>> entries;
    for (uint32_t key = 0; key < 4095; ++key) {
        entries.push_back(entry(key));
        tree.insert(entries.back().get());
    }
    std::vector<uint32_t> keys;
    EXPECT_EQ(check_subtree(tree.root, nullptr, keys), 12);
    EXPECT_EQ(keys.size(), 4095U);
}

}  // namespace
