/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_hash_table.h
 * A set of texts with a fixed number of buckets: is this name present?
 *
 * The hash of a text starts at 0; for each byte up to the NUL it becomes 33 times itself plus the
 * byte as a signed 8-bit number, in unsigned 32-bit arithmetic; at the end a 32nd of it is added
 * (hash + (hash >> 5)). A text belongs to the bucket numbered by its hash modulo the number of
 * buckets. The first text of a bucket lies in the bucket itself, later ones follow in a chain.
 *
 * A table belongs to one thread at a time or is guarded by its owner. A null argument is logged and
 * answered with ::KELVO_ERR_NULL_PARAM before anything else.
 */
#ifndef KELVO_HASH_TABLE_H
#define KELVO_HASH_TABLE_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** A bucket, or a node of its chain. */
typedef struct kelvo_util_hash_entry {
    struct kelvo_util_hash_entry* next; /**< null at the end of the chain */
    char* key;                          /**< the table's copy; null in an empty bucket */
    uint32_t hash;                      /**< the hash of the key */
} kelvo_util_hash_entry;

KELVO_ASSERT_OFFSET(kelvo_util_hash_entry, next, 0);
KELVO_ASSERT_OFFSET(kelvo_util_hash_entry, key, 8);
KELVO_ASSERT_OFFSET(kelvo_util_hash_entry, hash, 16);
KELVO_ASSERT_SIZE(kelvo_util_hash_entry, 24);

/**
 * A table. Its fields are there to be read. Only kelvo_util_hash_tbl_init() makes one: behind the
 * fields there is more of it.
 */
typedef struct kelvo_util_hash_tbl {
    uint32_t count;                 /**< number of buckets */
    kelvo_util_hash_entry* buckets; /**< `count` of them */
} kelvo_util_hash_tbl;

KELVO_ASSERT_OFFSET(kelvo_util_hash_tbl, count, 0);
KELVO_ASSERT_OFFSET(kelvo_util_hash_tbl, buckets, 8);
KELVO_ASSERT_SIZE(kelvo_util_hash_tbl, 16);

/**
 * Makes an empty table.
 * @param count  number of buckets, fixed from then on
 * @param out    receives the table, which lives as long as the process
 * @return ::KELVO_ERR_NULL_PARAM, logged, when `out` is null or the count 0; ::KELVO_ERR_NO_MEMORY;
 *         0
 */
KELVO_API kelvo_status kelvo_util_hash_tbl_init(uint32_t count, kelvo_util_hash_tbl** out);

/**
 * Puts a copy of a text into the table, at the end of its bucket's chain.
 * @return ::KELVO_ERR_NULL_PARAM; ::KELVO_ERR_NO_MEMORY, the table being left as it is; 0
 *
 * Note: a text that is already there is stored again.
 */
KELVO_API kelvo_status kelvo_util_hash_tbl_insert(kelvo_util_hash_tbl* table, const char* key);

/** Looks a text up. @return ::KELVO_ERR_NULL_PARAM; ::KELVO_ERR_NOT_FOUND; 0 when it is there */
KELVO_API kelvo_status kelvo_util_hash_tbl_lookup(const kelvo_util_hash_tbl* table,
                                                  const char* key);

/**
 * @return ::KELVO_ERR_NOT_SUPPORTED, always
 *
 * Note: takes no table and releases nothing. A table lives as long as its process.
 */
KELVO_API kelvo_status kelvo_util_hash_tbl_destroy(void);

KELVO_EXTERN_C_END

#endif
