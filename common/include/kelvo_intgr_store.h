/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_intgr_store.h
 * A map from a 32-bit key to one pointer, in the order of the keys, kept in the platform's ordered
 * tree.
 *
 * A store is nothing but the root of its tree, a pointer that the caller keeps and that begins as
 * null. Functions that change a store take the address of that pointer.
 *
 *     ordered_tree_node* store = NULL;
 *     kelvo_intgr_store_insert(&store, 7, strdup("seven"), NULL);
 *     void* value;
 *     if (kelvo_intgr_store_contains(&store, 7, &value)) puts((const char*)value);
 *     kelvo_intgr_store_shutdown(store, 1);
 *     store = NULL;
 *
 * A store is used by one thread at a time or guarded by its owner. Nothing is logged. Roots must
 * not be null pointers where their address is asked for.
 */
#ifndef KELVO_INTGR_STORE_H
#define KELVO_INTGR_STORE_H

#include "kelvo_platform.h"
#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** One entry: the tree's links, then what is kept. */
typedef struct kelvo_intgr_store_entry {
    ordered_tree_node links; /**< the tree's */
    uint32_t key;            /**< the key */
    void* value;             /**< the caller's */
} kelvo_intgr_store_entry;

KELVO_ASSERT_OFFSET(kelvo_intgr_store_entry, links, 0);
KELVO_ASSERT_OFFSET(kelvo_intgr_store_entry, key, sizeof(ordered_tree_node));
KELVO_ASSERT_OFFSET(kelvo_intgr_store_entry, value, sizeof(ordered_tree_node) + 8);
KELVO_ASSERT_SIZE(kelvo_intgr_store_entry, sizeof(ordered_tree_node) + 16);

/**
 * Puts a value under a key that has none.
 * @param root   the store
 * @param key    the key
 * @param value  any pointer, also null; not looked at
 * @param out    receives the new entry, which stays the store's; may be null
 * @return ::KELVO_ERR_NO_MEMORY; ::KELVO_ERR_ALREADY_EXISTS, the old value staying; 0
 */
KELVO_API kelvo_status kelvo_intgr_store_insert(ordered_tree_node** root, uint32_t key, void* value,
                                                kelvo_intgr_store_entry** out);

/**
 * Removes a key and its entry, but not its value.
 * @param root       the store
 * @param key        the key
 * @param value_out  receives the value; may be null
 * @return ::KELVO_ERR_NO_SUCH_KEY; 0
 */
KELVO_API kelvo_status kelvo_intgr_store_delete(ordered_tree_node** root, uint32_t key,
                                                void** value_out);

/**
 * Looks a key up.
 * @param root       the store
 * @param key        the key
 * @param value_out  receives the value when the key is there; may be null
 * @return 1 when the key is there, else 0
 *
 * Note: this is a truth value, not a status as its neighbours return.
 */
KELVO_API uint32_t kelvo_intgr_store_contains(ordered_tree_node* const* root, uint32_t key,
                                              void** value_out);

/**
 * Removes every entry.
 * @param root         the root of the store, not its address
 * @param free_values  non-zero: each value that is not null is released with free()
 *
 * A tree that does not give up its own root entry is a programming error and ends the process.
 *
 * Note: it works on its own copy of the root. The caller's pointer still names an entry that is
 * gone, and the caller sets it to null before using the store again.
 */
KELVO_API void kelvo_intgr_store_shutdown(ordered_tree_node* root, int free_values);

KELVO_EXTERN_C_END

#endif
