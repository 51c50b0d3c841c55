// SPDX-License-Identifier: Apache-2.0
//
// Numbers to pointers in order, against the balanced tree of another library.
#include <glib.h>

#include "inputs.h"
#include "kelvo_intgr_store.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

constexpr std::size_t kCount = 1000;

void* value_of(std::uint32_t key) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(key) * 8);
}

/// The library's store.
class Store {
  public:
    Store() = default;
    ~Store() { kelvo_intgr_store_shutdown(root_, 0); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    void insert(std::uint32_t key) {
        (void)kelvo_intgr_store_insert(&root_, key, value_of(key), nullptr);
    }
    void erase(std::uint32_t key) { (void)kelvo_intgr_store_delete(&root_, key, nullptr); }
    [[nodiscard]] void* find(std::uint32_t key) const {
        void* value = nullptr;
        (void)kelvo_intgr_store_contains(&root_, key, &value);
        return value;
    }

  private:
    ordered_tree_node* root_ = nullptr;
};

int compare_numbers(const void* a, const void* b) {
    const auto first = reinterpret_cast<std::uintptr_t>(a);
    const auto second = reinterpret_cast<std::uintptr_t>(b);
    return (first > second) - (first < second);
}

class Tree {
  public:
    Tree() = default;
    ~Tree() { g_tree_destroy(tree_); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    void insert(std::uint32_t key) { g_tree_insert(tree_, key_of(key), value_of(key)); }
    void erase(std::uint32_t key) { g_tree_remove(tree_, key_of(key)); }
    [[nodiscard]] void* find(std::uint32_t key) const { return g_tree_lookup(tree_, key_of(key)); }

  private:
    static void* key_of(std::uint32_t key) {
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(key));
    }
    GTree* tree_ = g_tree_new(compare_numbers);
};

/// A map of so many keys, of which some are asked for: others each time, since the same again and
/// again would have their way through a tree learnt by the processor.
template <class Map>
struct Keys {
    explicit Keys(std::size_t size)
        : keys(shuffled_numbers(size)), asked(std::min(size, kCount)), drawn(64 * asked) {
        for (const std::uint32_t key : keys) map.insert(key);
        std::mt19937 numbers = random_numbers();
        for (std::uint32_t& key : drawn) key = keys[numbers() % size];
    }
    std::vector<std::uint32_t> keys;
    std::size_t asked;
    std::vector<std::uint32_t> drawn;
    std::size_t now = 0;
    Map map;
    /// The keys of the next run.
    const std::uint32_t* draw() {
        now = (now + asked) % drawn.size();
        return &drawn[now];
    }
    [[nodiscard]] bool right() const {
        for (std::size_t i = 0; i < asked; ++i) {
            if (map.find(keys[i]) != value_of(keys[i])) return false;
        }
        return map.find(0) == nullptr;
    }
};

template <class Map>
struct Find : Keys<Map> {
    explicit Find(std::size_t size = kCount) : Keys<Map>(size) {}
    std::uintptr_t found = 0;
    void run() {
        found = 0;
        const std::uint32_t* const these = this->draw();
        for (std::size_t i = 0; i < this->asked; ++i) {
            found += reinterpret_cast<std::uintptr_t>(this->map.find(these[i]));
        }
    }
    [[nodiscard]] bool right() const {
        std::uintptr_t all = 0;
        for (std::size_t i = 0; i < this->asked; ++i) {
            all += std::uintptr_t{this->drawn[this->now + i]} * 8;
        }
        return found == all && Keys<Map>::right();
    }
};

/// Takes a key out and inserts it again.
template <class Map>
struct Insert : Keys<Map> {
    explicit Insert(std::size_t size = kCount) : Keys<Map>(size) {}
    void run() {
        const std::uint32_t* const these = this->draw();
        for (std::size_t i = 0; i < this->asked; ++i) {
            this->map.erase(these[i]);
            this->map.insert(these[i]);
        }
    }
};

const Row kFindRow({"store_find", "integer store: find a key", kCount, {0.9, 0}},
                   {library<Find<Store>>(), other<Find<Tree>>("GTree")});
const Row kInsertRow(
    {"store_insert", "integer store: delete a key and insert it", kCount, {0.9, 0}},
    {library<Insert<Store>>(), other<Insert<Tree>>("GTree")});
const Growth kFindAmong("store_find", "integer store: find at most 1,000 keys among so many",
                        "keys", &time_growth<Find<Store>>);
const Growth kInsertAmong("store_insert",
                          "integer store: delete and insert at most 1,000 among so many", "keys",
                          &time_growth<Insert<Store>>);

}  // namespace
