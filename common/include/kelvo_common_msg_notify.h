/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_notify.h
 * Notification sets: how a server reports changes of items to a client.
 *
 *     kelvo_msg_notifyset          32 bytes, ends with the entry count
 *     entries, one after another, each:
 *         kelvo_msg_notifyset_entry  16 bytes, ends with the name length
 *         name, fill
 *         first value              counted value
 *         second value             counted value
 *
 * A set is received in network order and is interpreted once, which converts and checks it in place
 * and allocates an iterator; the iterator then walks the entries. The meaning of the leading bytes
 * and of the change kinds belongs to client and server, except that kind 1 has no first value and
 * kind 4 no second.
 *
 * An iterator belongs to one caller at a time.
 */
#ifndef KELVO_COMMON_MSG_NOTIFY_H
#define KELVO_COMMON_MSG_NOTIFY_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of a notification set. */
typedef struct kelvo_msg_notifyset {
    uint32_t leading[7]; /**< not touched here */
    uint32_t count;      /**< number of entries */
} kelvo_msg_notifyset;

KELVO_ASSERT_OFFSET(kelvo_msg_notifyset, count, 28);
KELVO_ASSERT_SIZE(kelvo_msg_notifyset, 32);

/** What an entry of a notification set begins with. */
typedef struct kelvo_msg_notifyset_entry {
    uint32_t kind;        /**< change kind */
    uint32_t type;        /**< value type of both values */
    uint32_t name_length; /**< length of the name with its NUL */
    uint32_t untouched;   /**< not converted */
} kelvo_msg_notifyset_entry;

KELVO_ASSERT_OFFSET(kelvo_msg_notifyset_entry, kind, 0);
KELVO_ASSERT_OFFSET(kelvo_msg_notifyset_entry, type, 4);
KELVO_ASSERT_OFFSET(kelvo_msg_notifyset_entry, name_length, 8);
KELVO_ASSERT_SIZE(kelvo_msg_notifyset_entry, 16);

/** The change kind that has no first value. */
#define KELVO_NOTIFY_NO_FIRST_VALUE 1u
/** The change kind that has no second value. */
#define KELVO_NOTIFY_NO_SECOND_VALUE 4u

/** Where a walk stands in a notification set. Allocated by the interpret functions and released
 * with free(); its pointers point into the buffer, which the caller keeps as long. */
typedef struct kelvo_notifyset_iterator {
    void* start;          /**< the buffer */
    void* end;            /**< start + length */
    void* current;        /**< the entry that is next */
    uint32_t count;       /**< number of entries */
    uint32_t index;       /**< number of the entry that is next, counted from 1 */
    uint32_t zero;        /**< set to 0 */
    uint32_t caller_word; /**< the caller's to set, copied into each entry record; interpret does
                               not set it (in a fresh iterator it happens to be 0) */
} kelvo_notifyset_iterator;

KELVO_ASSERT_OFFSET(kelvo_notifyset_iterator, start, 0);
KELVO_ASSERT_OFFSET(kelvo_notifyset_iterator, end, 8);
KELVO_ASSERT_OFFSET(kelvo_notifyset_iterator, current, 16);
KELVO_ASSERT_OFFSET(kelvo_notifyset_iterator, count, 24);
KELVO_ASSERT_OFFSET(kelvo_notifyset_iterator, index, 28);
KELVO_ASSERT_OFFSET(kelvo_notifyset_iterator, zero, 32);
KELVO_ASSERT_OFFSET(kelvo_notifyset_iterator, caller_word, 36);
KELVO_ASSERT_SIZE(kelvo_notifyset_iterator, 40);

/** One entry of a notification set. Name and values lie in the buffer. */
typedef struct kelvo_notifyset_entry {
    const char* name;       /**< not checked for a NUL */
    uint32_t kind;          /**< change kind */
    uint32_t type;          /**< value type of both values */
    const void* first;      /**< first value; null for kind 1 only */
    uint32_t first_length;  /**< its length in bytes */
    const void* second;     /**< second value; null for kind 4 only */
    uint32_t second_length; /**< its length in bytes */
    uint32_t caller_word;   /**< the iterator's caller word */
    uint32_t count;         /**< number of entries of the set */
    uint32_t index;         /**< number of this entry, counted from 1 */
} kelvo_notifyset_entry;

KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, name, 0);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, kind, 8);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, type, 12);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, first, 16);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, first_length, 24);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, second, 32);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, second_length, 40);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, caller_word, 44);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, count, 48);
KELVO_ASSERT_OFFSET(kelvo_notifyset_entry, index, 52);
KELVO_ASSERT_SIZE(kelvo_notifyset_entry, 56);

/**
 * Converts the framing of a received notification set in place from network order, checks it and
 * allocates an iterator that stands at the first entry. Values stay in network order.
 *
 * @param buffer        the set
 * @param length        its length in bytes
 * @param iterator_out  receives the iterator, which the caller releases with free()
 *
 * Steps, in this order:
 *
 *  -# a null pointer is logged and answered with ::KELVO_ERR_MSG_LENGTH when `length` is below 32,
 *     with ::KELVO_ERR_NULL_PARAM otherwise
 *  -# less than 32 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# the entry count is converted; then for each entry
 *     -# kind and value type are converted; not more than 16 bytes left: ::KELVO_ERR_MSG_LENGTH
 *     -# the name length is converted; no room for name, fill and the first length cell:
 *        ::KELVO_ERR_MSG_LENGTH
 *     -# the first length is converted; no room for the first value, its fill and the second
 *        length cell: ::KELVO_ERR_MSG_LENGTH
 *     -# the second length is converted; the last entry does not end exactly at the end of the
 *        set, or nothing is left behind another: ::KELVO_ERR_MSG_LENGTH
 *  -# ::KELVO_ERR_NO_MEMORY; 0
 *
 * The buffer must hold 8 bytes more than the set: kind and value type are converted before there is
 * known to be room for them. Or guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_NOTIFYSET. On failure nothing is allocated, but the buffer is converted as far
 * as the walk came, wholly when memory ran out, and is to be dropped.
 *
 * Note: a set without entries may be longer than 32 bytes. Names are not checked for a NUL.
 */
KELVO_API kelvo_status kelvo_common_notifyset_interpret(void* buffer, uint32_t length,
                                                        kelvo_notifyset_iterator** iterator_out);

/**
 * As kelvo_common_notifyset_interpret(), and converts the values by their value type. The steps of
 * an entry differ: kind, value type and name length are converted together once more than 16 bytes
 * are known to be left; each value is converted right after its length, unless that is 0, whatever
 * the change kind.
 *
 * The buffer must hold 8 bytes more than the set here too: a value is converted before there is
 * known to be room for it. Or guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_NOTIFYSET_VALUES.
 */
KELVO_API kelvo_status kelvo_lib_notifyset_interpret(void* buffer, uint32_t length,
                                                     kelvo_notifyset_iterator** iterator_out);

/**
 * Takes the next entry of a notification set.
 *
 * @param iterator           from one of the interpret functions, the buffer as it left it
 * @param record_out         receives the entry
 * @param kind_and_type_out  receives the first 8 bytes of the entry, change kind and value type, as
 *                           they lie in memory
 *
 * No pointer is tested. In this order:
 *
 *  -# no entry left: ::KELVO_ERR_NOT_FOUND
 *  -# the entry does not lie before the end: ::KELVO_ERR_MSG_LENGTH
 *  -# the record receives value type, change kind, index, count, caller word and name
 *  -# the name with its fill reaches beyond the end: ::KELVO_ERR_MSG_LENGTH; the record
 *     receives the first value and its length, null and 0 for kind 1
 *  -# the first value with its fill reaches beyond the end: ::KELVO_ERR_MSG_LENGTH; the record
 *     receives the second value and its length, null and 0 for kind 4
 *  -# `kind_and_type_out` is written, the iterator moves on; 0
 *
 * Note: the last two failures leave the record partly filled; the iterator does not move. A set
 * that an interpret function accepted and nobody changed never comes to that. The bounds here are
 * those of a walk over a checked set: with an altered iterator or buffer, a length is read
 * where it would stand, up to 11 bytes beyond the end, and the second value is not looked at.
 */
KELVO_API kelvo_status kelvo_common_notifyset_next(kelvo_notifyset_iterator* iterator,
                                                   kelvo_notifyset_entry* record_out,
                                                   uint64_t* kind_and_type_out);

/**
 * Goes back to the first entry.
 * @return ::KELVO_ERR_NULL_PARAM, not logged, when the iterator is null; 0
 */
KELVO_API kelvo_status kelvo_common_notifyset_start(kelvo_notifyset_iterator* iterator);

/** A list set, a companion of the client's. The client gives its fields their meaning. */
typedef struct kelvo_listset {
    uint32_t leading[5]; /**< the client's */
    uint32_t cleared[3]; /**< set to 0 by kelvo_common_listset_init() */
} kelvo_listset;

KELVO_ASSERT_OFFSET(kelvo_listset, cleared, 20);
KELVO_ASSERT_SIZE(kelvo_listset, 32);

/**
 * Sets the last three words of a list set to 0 and leaves the 20 bytes before them.
 * @return ::KELVO_ERR_NULL_PARAM, logged, when the list set is null; 0
 */
KELVO_API kelvo_status kelvo_common_listset_init(kelvo_listset* listset);

KELVO_EXTERN_C_END

#endif
