/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_get_items.h
 * Get-items: several items under one path, read with one request.
 *
 * Get-items (type 52), in network order:
 *
 *     kelvo_msg_get_items          48 bytes, holds the number of names
 *     base path                    counted string
 *     for each name:
 *         name                     counted string
 *
 * The meaning of the request argument belongs to client and server.
 */
#ifndef KELVO_COMMON_MSG_GET_ITEMS_H
#define KELVO_COMMON_MSG_GET_ITEMS_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of a get-items. */
typedef struct kelvo_msg_get_items {
    kelvo_msg_header header; /**< the common header */
    uint32_t count;          /**< number of names */
    uint32_t argument;       /**< request argument */
} kelvo_msg_get_items;

KELVO_ASSERT_OFFSET(kelvo_msg_get_items, count, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_get_items, argument, 44);
KELVO_ASSERT_SIZE(kelvo_msg_get_items, 48);

/**
 * Composes a get-items (type 52) in 4 slots and 3 more for each name: header, base length, base
 * path, fill; then name length, name, fill. Header area, cells and texts must stay as they are
 * until the list has been sent. Nothing is tested and nothing can fail.
 *
 * @param header            the caller's header area of 48 bytes (::kelvo_msg_get_items)
 * @param names             `count` NUL-terminated texts
 * @param name_len_cells    `count` adjacent 8-byte cells (::kelvo_length_cell), one for each name
 * @param base_path         NUL-terminated text
 * @param base_len_cell     8-byte cell for the length of the base path
 * @param count             number of names
 * @param request_argument  passed through
 * @param list              receives 4 + 3 * count slots
 * @return 0; not a status
 */
KELVO_API uint32_t kelvo_common_msg_get_items_compose(void* header, char** names,
                                                      uint32_t* name_len_cells,
                                                      const char* base_path,
                                                      uint32_t* base_len_cell, uint32_t count,
                                                      uint32_t request_argument, kelvo_slot* list);

/**
 * @name Interpret
 *
 * Each checks a received get-items of `length` bytes and hands out its fields. Base path and names
 * are pointers into the message; the array of names is allocated, even for no names, and the caller
 * releases it with free(). Checks, in this order:
 *
 *  -# less than 56 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# no room for the base path: ::KELVO_ERR_MSG_LENGTH; an empty base path, or one that does not
 *     end in NUL: ::KELVO_ERR_MSG_CONTENT; no room for its fill: ::KELVO_ERR_MSG_LENGTH
 *  -# the array of names cannot be allocated: ::KELVO_ERR_NO_MEMORY
 *  -# for each name: no room for its length cell or its text: ::KELVO_ERR_MSG_LENGTH; an empty
 *     name, or one that does not end in NUL: ::KELVO_ERR_MSG_CONTENT; no room for its fill:
 *     ::KELVO_ERR_MSG_LENGTH
 *
 * On failure no output is written and nothing stays allocated.
 *
 * Note: bytes left over after the last name are accepted, unlike in other requests.
 *
 * Note: the number of names is the sender's claim. A name takes at least 16 bytes, so the array is
 * made for the claimed names or for those that the bytes after the base path have room for,
 * whichever is less. A claim of more than that is answered by the check of the first name that is
 * not there. That covers every claim whose array size wraps in 32 bits (2^29 names or more: no
 * message holds so many), so both readers answer alike.
 */
/**@{*/

/** Interprets a get-items in host order. Reads nothing beyond `length`. */
KELVO_API kelvo_status kelvo_common_msg_get_items_interpret(void* msg, uint32_t length,
                                                            char** base_path, char*** names,
                                                            uint32_t* count,
                                                            uint32_t* request_argument);

/**
 * Interprets a get-items in network order, converting it in place: the two words at 40 and 44
 * whatever the length (the buffer must hold at least 48 bytes), then each length cell once there is
 * room for it, just before it is tested. A failure leaves converted what has been converted. Where
 * the buffer is no larger than the message, guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_GET_ITEMS_NTOH.
 */
KELVO_API kelvo_status kelvo_common_msg_get_items_interpret_endian_ntoh(void* msg, uint32_t length,
                                                                        char** base_path,
                                                                        char*** names,
                                                                        uint32_t* count,
                                                                        uint32_t* request_argument);
/**@}*/

KELVO_EXTERN_C_END

#endif
