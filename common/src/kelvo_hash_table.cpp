// SPDX-License-Identifier: Apache-2.0
//
// The set of texts: an array of buckets, each with its first text in it and a chain behind it.
#include "kelvo_hash_table.h"

#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_process.h"
#include "kelvo_remainder.h"
#include "kelvo_report.h"
#include "kelvo_text.h"

using namespace kelvo;

using Entry = kelvo_util_hash_entry;
using Table = kelvo_util_hash_tbl;

namespace {

[[gnu::always_inline]] inline u32 hash_of(const char* key) {
    const char* const end = key + std::strlen(key);
    u32 hash = 0;
    for (; end - key >= 8; key += 8) hash = hash_eight(hash, key);
    if (end - key >= 4) {
        hash = hash_four(hash, key);
        key += 4;
    }
    for (; key != end; ++key) hash = hash_step(hash, *key);
    return hash + (hash >> 5);
}

/// A table as it is made: behind what callers read lies what finds a bucket without a division.
struct Made {
    Table table;
    u64 reciprocal;
};

Entry* bucket_of(const Table* table, u32 hash) {
    const u64 reciprocal = reinterpret_cast<const Made*>(table)->reciprocal;
    return &table->buckets[remainder(hash, table->count, reciprocal)];
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
    auto* const made = static_cast<Made*>(std::malloc(sizeof(Made)));
    if (made == nullptr) return KELVO_ERR_NO_MEMORY;
    auto* const buckets = static_cast<Entry*>(std::calloc(count, sizeof(Entry)));
    if (buckets == nullptr) {
        std::free(made);
        return KELVO_ERR_NO_MEMORY;
    }
    *made = {{count, buckets}, reciprocal_of(count)};
    *out = &made->table;
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
