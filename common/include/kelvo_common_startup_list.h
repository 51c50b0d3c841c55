/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_startup_list.h
 * Startup lists: which processes, each on a node, a registration names and its unregistration
 * withdraws (kelvo_common_msg_registration.h).
 *
 * A list is a chain of entries, newest first, known by the pointer to its first entry; the null
 * pointer is the empty list. A list grows by kelvo_common_startup_list_add(), shrinks by
 * kelvo_common_startup_list_remove() and ends with kelvo_common_startup_list_free(). It needs no
 * release while it is empty. Every entry is one allocation that the list owns.
 *
 * Match rule: an entry matches the query (job, node) when its job id is the same and either the
 * node is ::KELVO_NODEID_INVALID, which asks for any node, or its node id is the same. A stored
 * node id of ::KELVO_NODEID_INVALID is an ordinary value: only a query for any node matches it.
 *
 * Null pointers are programming errors here. Where a function names an assertion, a call that does
 * not keep it ends the process with that text, source unit "common/src/kelvo_common_structs", in
 * every build.
 *
 * A list belongs to one thread at a time. Lists are short; each lookup walks the chain.
 */
#ifndef KELVO_COMMON_STARTUP_LIST_H
#define KELVO_COMMON_STARTUP_LIST_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** An entry of a startup list, and the list itself when it is the first. */
typedef struct kelvo_startup_list {
    uint32_t job_id;  /**< process */
    uint32_t node_id; /**< node that it runs on */
    uint32_t count;   /**< entries of the whole list; kept correct in the first entry only */
    struct kelvo_startup_list* next; /**< the entry added before this one; null at the end */
} kelvo_startup_list;

KELVO_ASSERT_OFFSET(kelvo_startup_list, job_id, 0);
KELVO_ASSERT_OFFSET(kelvo_startup_list, node_id, 4);
KELVO_ASSERT_OFFSET(kelvo_startup_list, count, 8);
KELVO_ASSERT_OFFSET(kelvo_startup_list, next, sizeof(void*) == 8 ? 16 : 12);

/** A pair as it travels. */
typedef struct kelvo_startup_pair {
    uint32_t job_id;  /**< job */
    uint32_t node_id; /**< node, or ::KELVO_NODEID_INVALID for any */
} kelvo_startup_pair;

KELVO_ASSERT_OFFSET(kelvo_startup_pair, job_id, 0);
KELVO_ASSERT_OFFSET(kelvo_startup_pair, node_id, 4);
KELVO_ASSERT_SIZE(kelvo_startup_pair, 8);

/**
 * Adds a pair as the new first entry.
 *
 * @param list_handle  the list, which may be empty
 * @param job_id       job
 * @param node_id      node, or ::KELVO_NODEID_INVALID for any
 *
 * Assertion: "list_handle != ((void *)0)".
 *
 * @return in this order, with the list unchanged on failure: ::KELVO_ERR_ALREADY_EXISTS when an
 *         entry matches the pair; ::KELVO_ERR_NO_MEMORY; 0
 *
 * Note: a pair with ::KELVO_NODEID_INVALID is refused when the list holds its job on any node,
 * whereas a job on a certain node may be added to a list that holds it with ::KELVO_NODEID_INVALID.
 */
KELVO_API kelvo_status kelvo_common_startup_list_add(kelvo_startup_list** list_handle,
                                                     uint32_t job_id, uint32_t node_id);

/**
 * Removes the first entry that matches, counted from the newest, and releases it. Removing the last
 * one left makes the list empty.
 *
 * @param list_handle  the list, not empty
 * @param job_id       job
 * @param node_id      node, or ::KELVO_NODEID_INVALID for any
 *
 * Assertion: "list_handle != ((void *)0) && *list_handle != ((void *)0)".
 *
 * @return ::KELVO_ERR_NOT_FOUND, with the list unchanged, when no entry matches; 0
 */
KELVO_API kelvo_status kelvo_common_startup_list_remove(kelvo_startup_list** list_handle,
                                                        uint32_t job_id, uint32_t node_id);

/**
 * Says whether an entry matches.
 *
 * @param list_handle  the list's first entry. Note: an empty list must not be asked
 * @param job_id       job
 * @param node_id      node, or ::KELVO_NODEID_INVALID for any
 * @param contains     receives 1 or 0
 *
 * Assertion: "list_handle != ((void *)0) && contains != ((void *)0)".
 */
KELVO_API void kelvo_common_startup_list_contains(const kelvo_startup_list* list_handle,
                                                  uint32_t job_id, uint32_t node_id,
                                                  uint32_t* contains);

/**
 * Hands out the pair of the first entry of a list that is not empty.
 *
 * Assertion: "list_handle != ((void *)0) && jid != ((void *)0) && nid != ((void *)0)".
 *
 * @return the node id handed out, not a status
 */
KELVO_API uint32_t kelvo_common_startup_list_get(const kelvo_startup_list* list_handle,
                                                 uint32_t* jid, uint32_t* nid);

/**
 * Hands out the pair at a cursor and moves the cursor to the next entry. A cursor is a copy of the
 * list pointer.
 *
 * @param list_handle  the cursor, not at the end
 * @param jid          receives the job
 * @param nid          receives the node
 *
 * Assertion: "list_handle != ((void *)0) && *list_handle != ((void *)0) && jid != ((void *)0) &&
 * nid != ((void *)0)".
 *
 * @return the cursor's new value, null after the last entry
 */
KELVO_API kelvo_startup_list* kelvo_common_startup_list_get_next(kelvo_startup_list** list_handle,
                                                                 uint32_t* jid, uint32_t* nid);

/**
 * Releases every entry of a list that is not empty and sets its pointer to null.
 *
 * Assertion: "list_handle != ((void *)0) && *list_handle != ((void *)0)".
 */
KELVO_API void kelvo_common_startup_list_free(kelvo_startup_list** list_handle);

/**
 * Copies a list that is not empty by adding its pairs, from the first entry on, to a new one. The
 * copy therefore holds them in reverse order.
 *
 * @param list_handle  the list, which may be empty
 * @param dup_list     receives the copy, which the caller releases with
 *                     kelvo_common_startup_list_free()
 *
 * Assertion: "list_handle != ((void *)0) && dup_list != ((void *)0)".
 *
 * @return the first failure of adding, with the partial copy released: ::KELVO_ERR_ALREADY_EXISTS,
 *         ::KELVO_ERR_NO_MEMORY; 0
 *
 * Note: a list to which a job was added first with ::KELVO_NODEID_INVALID and then on a certain
 * node cannot be copied: the reverse order is one that adding refuses.
 */
KELVO_API kelvo_status kelvo_common_startup_list_dup(const kelvo_startup_list* list_handle,
                                                     kelvo_startup_list** dup_list);

/**
 * Makes a list sendable: a gather list of n + 1 slots whose last one, number n, covers a newly
 * allocated send block. The n slots before it are the caller's to fill with the pieces that precede
 * the pairs in the message. They come empty (null, 0).
 *
 * The send block, in host order, is the end of a VS or EDMS registration or unregistration: a
 * length cell with the number of pairs, then one ::kelvo_startup_pair per entry, first entry first.
 * It is converted with its message.
 *
 * @param list_handle  the list; null makes a block of 8 bytes with the number 0
 * @param n            slots to leave before the block
 * @param iov_set      receives the gather list; the caller releases it and the block with
 *                     kelvo_common_startup_list_free_iovs()
 * @param num_iovs     receives n + 1
 *
 * Assertion: "iov_set != ((void *)0) && num_iovs != ((void *)0)".
 *
 * @return ::KELVO_ERR_NO_MEMORY, also for an n of 0xFFFFFFFF, whose n + 1 cannot be handed out; 0
 */
KELVO_API kelvo_status kelvo_common_startup_list_create_iovs(const kelvo_startup_list* list_handle,
                                                             uint32_t n, kelvo_slot** iov_set,
                                                             uint32_t* num_iovs);

/**
 * Releases the send block in slot n and the gather list, and sets its pointer to null.
 *
 * @param n        the same as in the call of kelvo_common_startup_list_create_iovs()
 * @param iov_set  the gather list
 *
 * Assertion: "iov_set != ((void *)0) && *iov_set != ((void *)0)".
 */
KELVO_API void kelvo_common_startup_list_free_iovs(uint32_t n, kelvo_slot** iov_set);

KELVO_EXTERN_C_END

#endif
