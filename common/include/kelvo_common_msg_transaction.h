/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_transaction.h
 * Transactions and item locks, on the receiving side.
 *
 * Transaction start (type 11): ::kelvo_msg_transaction_start, 64 bytes. Transaction commit (12) and
 * abort (13): the common header alone.
 *
 * Item write lock (type 37), read lock (38) and unlock (39), in network order:
 *
 *     kelvo_msg_header             40 bytes
 *     item path                    counted string
 *
 * These functions take a message as it arrived, in network order, and convert it in place although
 * their names do not say so; give each message to them once. What the words of a transaction mean
 * belongs to client and server.
 */
#ifndef KELVO_COMMON_MSG_TRANSACTION_H
#define KELVO_COMMON_MSG_TRANSACTION_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** A transaction start. */
typedef struct kelvo_msg_transaction_start {
    kelvo_msg_header header; /**< the common header */
    uint32_t first[2];  /**< first transaction word, 64 bits as they lie in the sender's memory */
    uint32_t second[2]; /**< second transaction word, likewise */
    uint32_t options;   /**< transaction options */
    uint32_t fill;      /**< not converted */
} kelvo_msg_transaction_start;

KELVO_ASSERT_OFFSET(kelvo_msg_transaction_start, first, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_transaction_start, second, 48);
KELVO_ASSERT_OFFSET(kelvo_msg_transaction_start, options, 56);
KELVO_ASSERT_OFFSET(kelvo_msg_transaction_start, fill, 60);
KELVO_ASSERT_SIZE(kelvo_msg_transaction_start, 64);

/**
 * Converts a transaction start in place and hands out its fields.
 *
 * @param msg      the message
 * @param length   its length in bytes; more than 64 are accepted
 * @param words    receives two 64-bit transaction words
 * @param options  receives the transaction options
 * @return ::KELVO_ERR_MSG_LENGTH for less than 64 bytes, with the outputs left alone; 0
 *
 * Note: both transaction words (each half by itself, the halves are not exchanged) and the options
 * are converted before the length is tested. The buffer must hold at least 60 bytes, or guard
 * first: kelvo_common_msg_guard() with KELVO_OPERATION_TRANSACTION_START.
 */
KELVO_API kelvo_status kelvo_common_msg_transtart_interpret(void* msg, uint32_t length,
                                                            uint64_t* words, uint32_t* options);

/**
 * Checks a transaction commit, of which only the length is looked at.
 * @return ::KELVO_ERR_MSG_LENGTH for less than 40 bytes; 0
 */
KELVO_API kelvo_status kelvo_common_msg_trancommit_interpret(void* msg, uint32_t length);

/** Checks a transaction abort, as kelvo_common_msg_trancommit_interpret(). */
KELVO_API kelvo_status kelvo_common_msg_tranabort_interpret(void* msg, uint32_t length);

/**
 * Converts an item write lock in place, checks it and hands out its path. In this order:
 *
 *  -# less than 40 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# the path's length cell is converted, before there is known to be room for it (the buffer must
 *     hold at least 44 bytes, or guard first: kelvo_common_msg_guard() with
 *     KELVO_OPERATION_WRITE_LOCK, or the one of the function's name below)
 *  -# no room for cell or path: ::KELVO_ERR_MSG_LENGTH
 *  -# an empty path, or one that does not end in NUL: ::KELVO_ERR_MSG_CONTENT
 *  -# a length other than 48 plus the path and its fill: ::KELVO_ERR_MSG_LENGTH
 *
 * @param msg     the message
 * @param length  its length in bytes
 * @param path    receives the path, a pointer into the message; left alone on failure
 */
KELVO_API kelvo_status kelvo_common_msg_item_wrlock_interpret(void* msg, uint32_t length,
                                                              char** path);

/** Interprets an item read lock, as kelvo_common_msg_item_wrlock_interpret(). */
KELVO_API kelvo_status kelvo_common_msg_item_rdlock_interpret(void* msg, uint32_t length,
                                                              char** path);

/** Interprets an item unlock, as kelvo_common_msg_item_wrlock_interpret(). */
KELVO_API kelvo_status kelvo_common_msg_item_unlock_interpret(void* msg, uint32_t length,
                                                              char** path);

KELVO_EXTERN_C_END

#endif
