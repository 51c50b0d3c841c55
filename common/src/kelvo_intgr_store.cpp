// SPDX-License-Identifier: Apache-2.0
//
// The integer store: entries with the platform's tree links in front.
#include "kelvo_intgr_store.h"

#include <cstdlib>

#include "kelvo_assert.h"
#include "kelvo_bytes.h"

using namespace kelvo;

using Entry = kelvo_intgr_store_entry;

namespace {

/// The links are an entry's first member.
Entry* entry_of(ordered_tree_node* links) {
    return reinterpret_cast<Entry*>(links);
}

u32 key_of(const ordered_tree_node* links) {
    return reinterpret_cast<const Entry*>(links)->key;
}

/// The platform tree's order: 0 smaller, 1 equal, 2 larger. Without a branch, since no processor
/// can tell beforehand which way a search turns.
u32 compare_keys(const ordered_tree_node* first, const ordered_tree_node* second) {
    const u32 a = key_of(first);
    const u32 b = key_of(second);
    return 1U + (a > b) - (a < b);
}

}  // namespace

kelvo_status kelvo_intgr_store_insert(ordered_tree_node** root, uint32_t key, void* value,
                                      kelvo_intgr_store_entry** out) {
    auto* const entry = static_cast<Entry*>(std::malloc(sizeof(Entry)));
    if (entry == nullptr) return KELVO_ERR_NO_MEMORY;
    *entry = {{}, key, value};
    if (ordered_tree_insert(root, &entry->links, compare_keys) != nullptr) {
        std::free(entry);
        return KELVO_ERR_ALREADY_EXISTS;
    }
    if (out != nullptr) *out = entry;
    return 0;
}

kelvo_status kelvo_intgr_store_delete(ordered_tree_node** root, uint32_t key, void** value_out) {
    const Entry probe = {{}, key, nullptr};
    ordered_tree_node* const deleted = ordered_tree_delete(root, &probe.links, compare_keys);
    if (deleted == nullptr) return KELVO_ERR_NO_SUCH_KEY;
    if (value_out != nullptr) *value_out = entry_of(deleted)->value;
    std::free(entry_of(deleted));
    return 0;
}

uint32_t kelvo_intgr_store_contains(ordered_tree_node* const* root, uint32_t key,
                                    void** value_out) {
    const Entry probe = {{}, key, nullptr};
    ordered_tree_node* const found = ordered_tree_search(*root, &probe.links, compare_keys);
    if (found == nullptr) return 0;
    if (value_out != nullptr) *value_out = entry_of(found)->value;
    return 1;
}

void kelvo_intgr_store_shutdown(ordered_tree_node* root, int free_values) {
    while (root != nullptr) {
        ordered_tree_node* const deleted = ordered_tree_delete(&root, root, compare_keys);
        KELVO_ASSERT(deleted != nullptr, "deleted != ((void *)0)", "common/src/kelvo_intgr_store");
        if (free_values != 0) std::free(entry_of(deleted)->value);
        std::free(entry_of(deleted));
    }
}
