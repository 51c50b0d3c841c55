/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_bulk.h
 * Bulk: many item operations in one message. Builder, readers of requests and of replies.
 *
 * Request (type 46):
 *
 *     kelvo_msg_bulk               72 bytes, ends with the leading string's length cell
 *     leading string, NUL, fill
 *     items, one after another, each:
 *         kelvo_msg_bulk_item      16 bytes
 *         name                     counted string
 *         data                     counted value, may be empty
 *
 * Reply:
 *
 *     kelvo_rply_bulk              40 bytes
 *     items, one after another, each:
 *         kelvo_rply_bulk_item     16 bytes
 *         name                     counted string
 *         data                     counted value, may be empty
 *         third text               counted string
 *
 * Byte order. The fixed part is in network order; the items are in the order of whoever wrote them,
 * and nobody converts them to send. A reader tells the order of each item from its name length: a
 * length that reads above ::KELVO_BULK_NAME_MAX is a foreign-ordered one, and the item is then
 * converted in place, its data by its value type.
 *
 * The meaning of operations, words and the leading string belongs to client and server, except that
 * the data of operation 2 stands in a place of its own (::kelvo_bulk_item).
 *
 * A builder or a reader state belongs to one caller at a time.
 */
#ifndef KELVO_COMMON_MSG_BULK_H
#define KELVO_COMMON_MSG_BULK_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of a bulk request. */
typedef struct kelvo_msg_bulk {
    kelvo_msg_header header;   /**< the common header */
    uint32_t word1;            /**< bulk word 1 */
    uint32_t word2;            /**< bulk word 2 */
    uint32_t count;            /**< number of items */
    uint32_t word3;            /**< bulk word 3 */
    uint32_t word4;            /**< bulk word 4 */
    uint32_t untouched;        /**< neither written nor converted */
    kelvo_length_cell leading; /**< length of the leading string with its NUL */
} kelvo_msg_bulk;

KELVO_ASSERT_OFFSET(kelvo_msg_bulk, word1, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk, word2, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk, count, 48);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk, word3, 52);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk, word4, 56);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk, untouched, 60);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk, leading, 64);
KELVO_ASSERT_SIZE(kelvo_msg_bulk, 72);

/** The four words that an item of a bulk request begins with. */
typedef struct kelvo_msg_bulk_item {
    uint32_t operation; /**< what to do */
    uint32_t word2;     /**< item word 2 */
    uint32_t type;      /**< value type of the data */
    uint32_t word4;     /**< item word 4 */
} kelvo_msg_bulk_item;

KELVO_ASSERT_OFFSET(kelvo_msg_bulk_item, operation, 0);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk_item, word2, 4);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk_item, type, 8);
KELVO_ASSERT_OFFSET(kelvo_msg_bulk_item, word4, 12);
KELVO_ASSERT_SIZE(kelvo_msg_bulk_item, 16);

/** Fixed part of a bulk reply. */
typedef struct kelvo_rply_bulk {
    uint32_t leading[4]; /**< neither read nor converted */
    uint32_t word1;      /**< reply word 1 */
    uint32_t word2;      /**< reply word 2 */
    uint32_t untouched;  /**< neither read nor converted */
    uint32_t word3;      /**< reply word 3, never converted */
    uint32_t word4;      /**< reply word 4, never converted */
    uint32_t untouched2; /**< neither read nor converted */
} kelvo_rply_bulk;

KELVO_ASSERT_OFFSET(kelvo_rply_bulk, word1, 16);
KELVO_ASSERT_OFFSET(kelvo_rply_bulk, word2, 20);
KELVO_ASSERT_OFFSET(kelvo_rply_bulk, untouched, 24);
KELVO_ASSERT_OFFSET(kelvo_rply_bulk, word3, 28);
KELVO_ASSERT_OFFSET(kelvo_rply_bulk, word4, 32);
KELVO_ASSERT_SIZE(kelvo_rply_bulk, 40);

/** The four words that an item of a bulk reply begins with. */
typedef struct kelvo_rply_bulk_item {
    uint32_t word1; /**< reply item word 1 */
    uint32_t type;  /**< value type of the data */
    uint32_t word3; /**< reply item word 3 */
    uint32_t word4; /**< reply item word 4 */
} kelvo_rply_bulk_item;

KELVO_ASSERT_OFFSET(kelvo_rply_bulk_item, word1, 0);
KELVO_ASSERT_OFFSET(kelvo_rply_bulk_item, type, 4);
KELVO_ASSERT_OFFSET(kelvo_rply_bulk_item, word3, 8);
KELVO_ASSERT_OFFSET(kelvo_rply_bulk_item, word4, 12);
KELVO_ASSERT_SIZE(kelvo_rply_bulk_item, 16);

/** The longest name, with its NUL, that a reader takes for a name in its own order. */
#define KELVO_BULK_NAME_MAX 65535u

/** The operation whose data stands in the second pair of an item record. */
#define KELVO_BULK_OPERATION_2 2u

/**
 * One item of a bulk request, as the builder takes it and the reader fills it. Texts and data
 * belong to the caller (builder), or lie in the message (reader).
 */
typedef struct kelvo_bulk_item {
    uint32_t operation;       /**< what to do */
    uint32_t word2;           /**< passed through */
    uint32_t type;            /**< value type of the data */
    const char* name;         /**< NUL-terminated */
    const void* data;         /**< data of every operation except 2; null when there is none */
    uint32_t data_length;     /**< its length in bytes */
    const void* op2_data;     /**< data of operation 2; null when there is none */
    uint32_t op2_data_length; /**< its length in bytes */
    uint32_t op2_type;        /**< builder: when not 0, the type sent with operation 2 instead of
                                   `type`; the reader always leaves 0 here */
    uint32_t word4;           /**< passed through */
} kelvo_bulk_item;

KELVO_ASSERT_OFFSET(kelvo_bulk_item, operation, 0);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, word2, 4);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, type, 8);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, name, 16);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, data, 24);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, data_length, 32);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, op2_data, 40);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, op2_data_length, 48);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, op2_type, 52);
KELVO_ASSERT_OFFSET(kelvo_bulk_item, word4, 56);
KELVO_ASSERT_SIZE(kelvo_bulk_item, 64);

/** One item of a bulk reply, as the reader fills it. Texts and data lie in the message. */
typedef struct kelvo_bulk_reply_item {
    uint32_t word1;       /**< passed through */
    uint32_t type;        /**< value type of the data */
    uint32_t word3;       /**< passed through */
    uint32_t word4;       /**< passed through */
    const char* name;     /**< NUL-terminated */
    const void* data;     /**< null when the length is 0 */
    uint64_t data_length; /**< in bytes */
    const char* third;    /**< third text, NUL-terminated */
} kelvo_bulk_reply_item;

KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, word1, 0);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, type, 4);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, word3, 8);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, word4, 12);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, name, 16);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, data, 24);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, data_length, 32);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_item, third, 40);
KELVO_ASSERT_SIZE(kelvo_bulk_reply_item, 48);

/**
 * @name Build a request
 *
 * kelvo_common_msg_bulk_init(), kelvo_common_msg_bulk_add() for every index below count, send the
 * `count * 7 + 4` slots of kelvo_bulk_builder::slots, kelvo_common_msg_bulk_free().
 */
/**@{*/

/** Slots of a bulk request ahead of its items: header, leading length, leading string, fill. */
#define KELVO_BULK_LEADING_SLOTS 4u
/** Slots of one item: words, name length, name, fill, data length, data, fill. */
#define KELVO_BULK_ITEM_SLOTS 7u

/**
 * A bulk request under construction. The caller owns it, the functions fill it, and the arrays are
 * released with kelvo_common_msg_bulk_free(). One slot points into the builder, so it must stay
 * where it is until the list has been sent.
 */
typedef struct kelvo_bulk_builder {
    kelvo_msg_bulk_item* items;      /**< words of each item, in the caller's order */
    kelvo_length_cell* name_lengths; /**< name length of each item */
    kelvo_length_cell* data_lengths; /**< data length of each item */
    kelvo_length_cell leading;       /**< length of the leading string, in network order */
    kelvo_slot* slots;               /**< the gather list, count * 7 + 4 slots */
} kelvo_bulk_builder;

KELVO_ASSERT_OFFSET(kelvo_bulk_builder, items, 0);
KELVO_ASSERT_OFFSET(kelvo_bulk_builder, name_lengths, 8);
KELVO_ASSERT_OFFSET(kelvo_bulk_builder, data_lengths, 16);
KELVO_ASSERT_OFFSET(kelvo_bulk_builder, leading, 24);
KELVO_ASSERT_OFFSET(kelvo_bulk_builder, slots, 32);
KELVO_ASSERT_SIZE(kelvo_bulk_builder, 40);

/**
 * Begins a bulk request: writes the fixed part and the first 4 slots (header, leading length,
 * leading string, fill), and allocates zero-filled arrays for `count` items.
 *
 * @param header          the caller's header area of 64 bytes (::kelvo_msg_bulk up to the leading
 *                        length). Bulk words 3 and 4 are sent as the caller put them there, in host
 *                        order; they are converted in place
 * @param count           number of items; may be 0
 * @param word1           bulk word 1
 * @param word2           bulk word 2
 * @param leading_string  NUL-terminated text
 * @param builder         receives arrays and cell; what it held before is not released
 *
 * Header area and leading string must stay as they are until the list has been sent.
 *
 * @return in this order: ::KELVO_ERR_NULL_PARAM, logged, when a pointer is null;
 *         ::KELVO_ERR_NO_MEMORY; 0. A failure leaves nothing allocated, and neither builder nor
 *         header written
 */
KELVO_API kelvo_status kelvo_common_msg_bulk_init(void* header, uint32_t count, uint32_t word1,
                                                  uint32_t word2, const char* leading_string,
                                                  kelvo_bulk_builder* builder);

/**
 * Fills the 7 slots of one item. Nothing is copied or converted but the four words and the two
 * lengths, all in host order: name and data must stay as they are until the list has been sent, the
 * record need not.
 *
 * Of the record, operation 2 sends the pair `op2_data`, `op2_data_length`, and `op2_type` as the
 * type unless that is 0; every other operation sends `data`, `data_length` and `type`. The data may
 * be null when its length is 0. Nothing is tested and nothing can fail.
 *
 * @param record   the item
 * @param index    its place, counted from 0; must be below the count
 * @param builder  from kelvo_common_msg_bulk_init()
 *
 * Items may be added in any order; adding one again replaces it.
 *
 * Note: a name of more than ::KELVO_BULK_NAME_MAX bytes with its NUL is sent, but a receiver of the
 * sender's byte order misreads it. One of the other order misreads it when its length is a multiple
 * of 65536.
 */
KELVO_API void kelvo_common_msg_bulk_add(const kelvo_bulk_item* record, uint32_t index,
                                         kelvo_bulk_builder* builder);

/**
 * Releases the four arrays of a builder and sets their pointers to null, so that a second call does
 * nothing. The builder itself is the caller's.
 *
 * @param builder  from kelvo_common_msg_bulk_init(); null is logged
 */
KELVO_API void kelvo_common_msg_bulk_free(kelvo_bulk_builder* builder);
/**@}*/

/**
 * @name Read a request
 *
 * kelvo_common_msg_bulk_interpret(), then kelvo_common_msg_bulk_next() until kelvo_bulk_info::count
 * items have been taken; between two of them at most one kelvo_common_msg_bulk_back().
 */
/**@{*/

/** Where a reader stands in a bulk request. The caller owns it; its pointers point into the
 *  message. */
typedef struct kelvo_bulk_info {
    void* start;         /**< the message */
    void* end;           /**< start + length */
    void* current;       /**< the item that is next */
    void* prev_item_ptr; /**< the item before the last step, or null */
    uint32_t count;      /**< number of items that the message claims */
    uint32_t index;      /**< number of the item that is next, counted from 1 */
    uint32_t word1;      /**< bulk word 1 */
    uint32_t word2;      /**< bulk word 2 */
    const char* leading; /**< the leading string, unchecked */
    uint32_t zero[4];    /**< set to 0 */
} kelvo_bulk_info;

KELVO_ASSERT_OFFSET(kelvo_bulk_info, start, 0);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, end, 8);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, current, 16);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, prev_item_ptr, 24);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, count, 32);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, index, 36);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, word1, 40);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, word2, 44);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, leading, 48);
KELVO_ASSERT_OFFSET(kelvo_bulk_info, zero, 56);
KELVO_ASSERT_SIZE(kelvo_bulk_info, 72);

/**
 * Converts the fixed part of a received bulk request in place from network order and prepares to
 * walk its items.
 *
 * @param msg        the message
 * @param length     its length in bytes
 * @param bulk_info  receives the reader state, which stands before the first item
 *
 * Steps, in this order:
 *
 *  -# `msg` or `bulk_info` null, or length 0: logged, ::KELVO_ERR_NULL_PARAM
 *  -# the five words at 40 to 56 and the leading length at 64 are converted, whatever the length
 *     (the buffer must hold at least 68 bytes, or guard first: kelvo_common_msg_guard() with
 *     KELVO_OPERATION_BULK)
 *  -# less than 64 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# `bulk_info` is filled; 0
 *
 * Note: the leading string is not checked. Before it reads kelvo_bulk_info::leading, a caller makes
 * sure that the message is longer than 72 bytes, that the length at 64 is neither 0 nor more than
 * what follows, and that the text ends in NUL. A leading length that points beyond the message is
 * harmless here: kelvo_common_msg_bulk_next() then answers ::KELVO_ERR_MSG_LENGTH, as it does for a
 * message of 64 bytes.
 */
KELVO_API kelvo_status kelvo_common_msg_bulk_interpret(void* msg, uint32_t length,
                                                       kelvo_bulk_info* bulk_info);

/**
 * Takes the next item of a bulk request.
 *
 * @param bulk_info   from kelvo_common_msg_bulk_interpret()
 * @param record_out  receives the item. Its data stands in the second pair for operation 2 and in
 *                    the first otherwise, the other pair being null and 0; empty data is null
 *
 * Steps, in this order:
 *
 *  -# `bulk_info` or `record_out` null: logged, ::KELVO_ERR_NULL_PARAM
 *  -# no room for the four words, or the current item lies beyond the end: ::KELVO_ERR_MSG_LENGTH
 *  -# a name length that reads above ::KELVO_BULK_NAME_MAX: the item is foreign-ordered, and its
 *     four words and its name length are converted
 *  -# no room for the name's length cell or for the name: ::KELVO_ERR_MSG_LENGTH; an empty name, or
 *     one that does not end in NUL: ::KELVO_ERR_MSG_CONTENT; no room for its fill:
 *     ::KELVO_ERR_MSG_LENGTH
 *  -# (foreign-ordered) the data length is converted and, if it is not 0, the data by its type
 *  -# no room for the data's length cell, or for data and fill: ::KELVO_ERR_MSG_LENGTH
 *  -# the state advances, the record is filled; 0
 *
 * Name length, data length and data are thus touched before there is known to be room for them. The
 * buffer must hold 16 bytes more than the message, which may be converted along with it: a length
 * cell, and 8 bytes of data behind it. Or guard first, before kelvo_common_msg_bulk_interpret():
 * kelvo_common_msg_guard() with KELVO_OPERATION_BULK_NEXT covers both.
 *
 * On failure neither state nor record is changed, but a foreign-ordered item may be partly
 * converted: the message is to be dropped.
 *
 * Note: the index is not compared with the item count; past the last item the answer is
 * ::KELVO_ERR_MSG_LENGTH.
 */
KELVO_API kelvo_status kelvo_common_msg_bulk_next(kelvo_bulk_info* bulk_info,
                                                  kelvo_bulk_item* record_out);

/**
 * Steps back by one item, so that the next kelvo_common_msg_bulk_next() takes the same item again.
 *
 * @param bulk_info  not null
 * @return the item, now current, in the message
 *
 * Note: only one step back is possible. Without a step forward before it, the process stops with
 * the assertion "bulk_info->prev_item_ptr != ((void *)0)".
 *
 * Note: an item that was converted is read as native when it is taken again, which fails when its
 * name is longer than ::KELVO_BULK_NAME_MAX (a foreign-ordered one may be).
 */
KELVO_API void* kelvo_common_msg_bulk_back(kelvo_bulk_info* bulk_info);
/**@}*/

/**
 * @name Read a reply
 *
 * As for a request. A reply does not say how many items it has: the caller knows, or takes them
 * until kelvo_common_msg_bulk_reply_next() answers ::KELVO_ERR_MSG_LENGTH.
 */
/**@{*/

/** Where a reader stands in a bulk reply. The caller owns it; its pointers point into the
 *  message. */
typedef struct kelvo_bulk_reply_info {
    void* start;         /**< the reply */
    void* end;           /**< start + length */
    void* current;       /**< the item that is next */
    void* prev_item_ptr; /**< the item before the last step, or null */
    uint32_t word3;      /**< reply word 3, as it came */
    uint32_t word4;      /**< reply word 4, as it came */
    uint32_t index;      /**< number of the item that is next, counted from 1 */
} kelvo_bulk_reply_info;

KELVO_ASSERT_OFFSET(kelvo_bulk_reply_info, start, 0);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_info, end, 8);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_info, current, 16);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_info, prev_item_ptr, 24);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_info, word3, 32);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_info, word4, 36);
KELVO_ASSERT_OFFSET(kelvo_bulk_reply_info, index, 40);
KELVO_ASSERT_SIZE(kelvo_bulk_reply_info, 48);

/**
 * Converts the fixed part of a received bulk reply in place from network order and prepares to walk
 * its items.
 *
 * @param reply       the reply
 * @param length      its length in bytes
 * @param reply_info  receives the reader state, which stands before the first item
 *
 * Steps, in this order:
 *
 *  -# `reply` or `reply_info` null, or length 0: logged, ::KELVO_ERR_NULL_PARAM
 *  -# less than 24 bytes: ::KELVO_ERR_MSG_LENGTH, with nothing converted
 *  -# the words at 16 and 20 are converted
 *  -# `reply_info` is filled; 0
 *
 * Note: reply words 3 and 4 are handed out as they came, unconverted and whatever the length (the
 * buffer must hold at least 36 bytes, or guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_BULK_REPLY).
 */
KELVO_API kelvo_status kelvo_common_msg_bulk_reply_interpret(void* reply, uint32_t length,
                                                             kelvo_bulk_reply_info* reply_info);

/**
 * Takes the next item of a bulk reply, with the checks of kelvo_common_msg_bulk_next() up to the
 * data, and then for the third text, in this order:
 *
 *  -# (foreign-ordered) its length is converted
 *  -# no room for its length cell or for the text: ::KELVO_ERR_MSG_LENGTH
 *  -# an empty text, or one that does not end in NUL: ::KELVO_ERR_MSG_CONTENT
 *  -# no room for its fill: ::KELVO_ERR_MSG_LENGTH
 *
 * Size of the buffer and effects of a failure are as for kelvo_common_msg_bulk_next(); the guard's
 * name is KELVO_OPERATION_BULK_REPLY_NEXT.
 *
 * @param reply_info        from kelvo_common_msg_bulk_reply_interpret()
 * @param reply_record_out  receives the item
 */
KELVO_API kelvo_status kelvo_common_msg_bulk_reply_next(kelvo_bulk_reply_info* reply_info,
                                                        kelvo_bulk_reply_item* reply_record_out);

/**
 * Steps back by one item, as kelvo_common_msg_bulk_back().
 *
 * @param reply_info  not null
 * @return the item, now current, in the reply
 *
 * Note: the assertion is "reply_info->prev_item_ptr != ((void *)0)".
 */
KELVO_API void* kelvo_common_msg_bulk_reply_back(kelvo_bulk_reply_info* reply_info);
/**@}*/

KELVO_EXTERN_C_END

#endif
