// SPDX-License-Identifier: Apache-2.0
//
// Startup lists: a chain of (job, node) pairs, newest first, whose first entry knows the length.
#include "kelvo_common_structs_startup_list.h"
#include "kelvo_assert.h"
#include "kelvo_common_msg.h"

using namespace kelvo;

// The source unit as assertion reports name it.
#define KELVO_UNIT "common/src/kelvo_common_structs"

namespace {

bool matches(const kelvo_startup_list& entry, u32 job_id, u32 node_id) {
    return entry.job_id == job_id && (node_id == KELVO_NODEID_INVALID || entry.node_id == node_id);
}

/// The first match from `entry` on, or null.
const kelvo_startup_list* find(const kelvo_startup_list* entry, u32 job_id, u32 node_id) {
    while (entry != nullptr && !matches(*entry, job_id, node_id)) entry = entry->next;
    return entry;
}

/// Unlinks and releases the first entry; the next one takes over the count.
void drop_first(kelvo_startup_list** list) {
    kelvo_startup_list* const first = *list;
    if (first->next != nullptr) first->next->count = first->count - 1;
    *list = first->next;
    std::free(first);
}

/// Counted, since the first entry's count is the caller's to spoil.
u64 entries_of(const kelvo_startup_list* list) {
    u64 entries = 0;
    for (; list != nullptr; list = list->next) ++entries;
    return entries;
}

constexpr u64 kBlockHeadBytes = sizeof(kelvo_length_cell);

u64 block_bytes(u32 count) {
    return kBlockHeadBytes + u64{count} * sizeof(kelvo_startup_pair);
}

/// The end of a registration: number of pairs, pairs. Null when there is no memory.
u8* make_block(const kelvo_startup_list* list, u32 count) {
    auto* const block = static_cast<u8*>(std::calloc(1, block_bytes(count)));
    if (block == nullptr) return nullptr;
    store32(block, count);
    u8* at = block + kBlockHeadBytes;
    for (u32 k = 0; k < count && list != nullptr; ++k, list = list->next) {
        store32(at + offsetof(kelvo_startup_pair, job_id), list->job_id);
        store32(at + offsetof(kelvo_startup_pair, node_id), list->node_id);
        at += sizeof(kelvo_startup_pair);
    }
    return block;
}

/// n + 1 empty slots. Null when there is no memory or when 32 bits cannot count the slots.
kelvo_slot* make_slots(u32 n) {
    if (n == UINT32_MAX) return nullptr;
    return static_cast<kelvo_slot*>(std::calloc(std::size_t{n} + 1, sizeof(kelvo_slot)));
}

}  // namespace

kelvo_status kelvo::startup_list_link(kelvo_startup_list** list, u32 job_id, u32 node_id) {
    auto* const entry = static_cast<kelvo_startup_list*>(std::malloc(sizeof(kelvo_startup_list)));
    if (entry == nullptr) return KELVO_ERR_NO_MEMORY;
    const u32 count = *list == nullptr ? 0 : (*list)->count;
    *entry = {job_id, node_id, count + 1, *list};
    *list = entry;
    return 0;
}

kelvo_status kelvo_common_startup_list_add(kelvo_startup_list** list_handle, uint32_t job_id,
                                           uint32_t node_id) {
    KELVO_ASSERT(list_handle != nullptr, "list_handle != ((void *)0)", KELVO_UNIT);
    if (find(*list_handle, job_id, node_id) != nullptr) return KELVO_ERR_ALREADY_EXISTS;
    return startup_list_link(list_handle, job_id, node_id);
}

kelvo_status kelvo_common_startup_list_remove(kelvo_startup_list** list_handle, uint32_t job_id,
                                              uint32_t node_id) {
    KELVO_ASSERT(list_handle != nullptr && *list_handle != nullptr,
                 "list_handle != ((void *)0) && *list_handle != ((void *)0)", KELVO_UNIT);
    kelvo_startup_list* const first = *list_handle;
    if (matches(*first, job_id, node_id)) {
        drop_first(list_handle);
        return 0;
    }
    for (kelvo_startup_list* before = first; before->next != nullptr; before = before->next) {
        kelvo_startup_list* const entry = before->next;
        if (!matches(*entry, job_id, node_id)) continue;
        first->count -= 1;
        before->next = entry->next;
        std::free(entry);
        return 0;
    }
    return KELVO_ERR_NOT_FOUND;
}

void kelvo_common_startup_list_contains(const kelvo_startup_list* list_handle, uint32_t job_id,
                                        uint32_t node_id, uint32_t* contains) {
    KELVO_ASSERT(list_handle != nullptr && contains != nullptr,
                 "list_handle != ((void *)0) && contains != ((void *)0)", KELVO_UNIT);
    *contains = find(list_handle, job_id, node_id) != nullptr;
}

uint32_t kelvo_common_startup_list_get(const kelvo_startup_list* list_handle, uint32_t* jid,
                                       uint32_t* nid) {
    KELVO_ASSERT(list_handle != nullptr && jid != nullptr && nid != nullptr,
                 "list_handle != ((void *)0) && jid != ((void *)0) && nid != ((void *)0)",
                 KELVO_UNIT);
    *jid = list_handle->job_id;
    *nid = list_handle->node_id;
    return *nid;
}

kelvo_startup_list* kelvo_common_startup_list_get_next(kelvo_startup_list** list_handle,
                                                       uint32_t* jid, uint32_t* nid) {
    KELVO_ASSERT(
        list_handle != nullptr && *list_handle != nullptr && jid != nullptr && nid != nullptr,
        "list_handle != ((void *)0) && *list_handle != ((void *)0) && jid != ((void *)0) && "
        "nid != ((void *)0)",
        KELVO_UNIT);
    *jid = (*list_handle)->job_id;
    *nid = (*list_handle)->node_id;
    *list_handle = (*list_handle)->next;
    return *list_handle;
}

void kelvo_common_startup_list_free(kelvo_startup_list** list_handle) {
    KELVO_ASSERT(list_handle != nullptr && *list_handle != nullptr,
                 "list_handle != ((void *)0) && *list_handle != ((void *)0)", KELVO_UNIT);
    while (*list_handle != nullptr) drop_first(list_handle);
}

kelvo_status kelvo_common_startup_list_dup(const kelvo_startup_list* list_handle,
                                           kelvo_startup_list** dup_list) {
    KELVO_ASSERT(list_handle != nullptr && dup_list != nullptr,
                 "list_handle != ((void *)0) && dup_list != ((void *)0)", KELVO_UNIT);
    StartupListBuilder copy(entries_of(list_handle));
    for (const auto* entry = list_handle; entry != nullptr; entry = entry->next) {
        if (const kelvo_status st = copy.add(entry->job_id, entry->node_id)) {
            copy.discard();
            return st;
        }
    }
    *dup_list = copy.list();
    return 0;
}

kelvo_status kelvo_common_startup_list_create_iovs(const kelvo_startup_list* list_handle,
                                                   uint32_t n, kelvo_slot** iov_set,
                                                   uint32_t* num_iovs) {
    KELVO_ASSERT(iov_set != nullptr && num_iovs != nullptr,
                 "iov_set != ((void *)0) && num_iovs != ((void *)0)", KELVO_UNIT);
    const u32 count = list_handle == nullptr ? 0 : list_handle->count;
    u8* const block = make_block(list_handle, count);
    if (block == nullptr) return KELVO_ERR_NO_MEMORY;
    kelvo_slot* const slots = make_slots(n);
    if (slots == nullptr) {
        std::free(block);
        return KELVO_ERR_NO_MEMORY;
    }
    slots[n] = {block, block_bytes(count)};
    *iov_set = slots;
    *num_iovs = n + 1;
    return 0;
}

void kelvo_common_startup_list_free_iovs(uint32_t n, kelvo_slot** iov_set) {
    KELVO_ASSERT(iov_set != nullptr && *iov_set != nullptr,
                 "iov_set != ((void *)0) && *iov_set != ((void *)0)", KELVO_UNIT);
    std::free(const_cast<void*>((*iov_set)[n].base));
    std::free(*iov_set);
    *iov_set = nullptr;
}
