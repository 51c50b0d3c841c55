// SPDX-License-Identifier: Apache-2.0
//
// The set of texts: an array of buckets, each with its first text in it and a chain behind it.
#include "kelvo_hash_table.h"

#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_process.h"
#include "kelvo_report.h"
#include "kelvo_text.h"

using namespace kelvo;

using Entry = kelvo_util_hash_entry;
using Table = kelvo_util_hash_tbl;

namespace {

u32 hash_of(const char* key) {
    u32 hash = 0;
    while (key[0] != '\0' && key[1] != '\0' && key[2] != '\0' && key[3] != '\0') {
        hash = hash_four(hash, key);
        key += 4;
    }
    for (; *key != '\0'; ++key) hash = hash_step(hash, *key);
    return hash + (hash >> 5);
}

Entry* bucket_of(const Table* table, u32 hash) {
    return &table->buckets[hash % table->count];
}

/// Fills an entry. On failure it is left as it is.
[[nodiscard]] kelvo_status fill(Entry* entry, const char* key, u32 hash) {
    char* const copy = kelvo_strdup(key);
    if (copy == nullptr) return KELVO_ERR_NO_MEMORY;
    entry->key = copy;
    entry->hash = hash;
    return 0;
}

}  // namespace

kelvo_status kelvo_util_hash_tbl_init(uint32_t count, kelvo_util_hash_tbl** out) {
    if (out == nullptr || count == 0) return refuse_null();
    auto* const table = static_cast<Table*>(std::malloc(sizeof(Table)));
    if (table == nullptr) return KELVO_ERR_NO_MEMORY;
    auto* const buckets = static_cast<Entry*>(std::calloc(count, sizeof(Entry)));
    if (buckets == nullptr) {
        std::free(table);
        return KELVO_ERR_NO_MEMORY;
    }
    *table = {count, buckets};
    *out = table;
    return 0;
}

kelvo_status kelvo_util_hash_tbl_insert(kelvo_util_hash_tbl* table, const char* key) {
    if (any_null(table, key)) return refuse_null();
    const u32 hash = hash_of(key);
    Entry* last = bucket_of(table, hash);
    if (last->key == nullptr) return fill(last, key, hash);

    auto* const node = static_cast<Entry*>(std::calloc(1, sizeof(Entry)));
    if (node == nullptr) return KELVO_ERR_NO_MEMORY;
    if (const kelvo_status status = fill(node, key, hash)) {
        std::free(node);
        return status;
    }
    while (last->next != nullptr && last->next->key != nullptr) last = last->next;
    last->next = node;
    return 0;
}

kelvo_status kelvo_util_hash_tbl_lookup(const kelvo_util_hash_tbl* table, const char* key) {
    if (any_null(table, key)) return refuse_null();
    const u32 hash = hash_of(key);
    for (const Entry* at = bucket_of(table, hash); at != nullptr && at->key != nullptr;
         at = at->next) {
        if (at->hash == hash && std::strcmp(at->key, key) == 0) return 0;
    }
    return KELVO_ERR_NOT_FOUND;
}

kelvo_status kelvo_util_hash_tbl_destroy(void) {
    return KELVO_ERR_NOT_SUPPORTED;
}
