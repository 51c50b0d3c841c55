/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_copy.h
 * Copy: one request that names a subtree to be copied by three paths.
 *
 * Copy (type 9), in network order:
 *
 *     kelvo_msg_copy               48 bytes
 *     first path                   counted string
 *     second path                  counted string
 *     third path                   counted string
 *
 * What the argument and each path mean belongs to client and server.
 */
#ifndef KELVO_COMMON_MSG_COPY_H
#define KELVO_COMMON_MSG_COPY_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of a copy. */
typedef struct kelvo_msg_copy {
    kelvo_msg_header header; /**< the common header */
    uint32_t argument;       /**< copy argument */
    uint32_t fill;           /**< the caller's; neither written nor converted */
} kelvo_msg_copy;

KELVO_ASSERT_OFFSET(kelvo_msg_copy, argument, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_copy, fill, 44);
KELVO_ASSERT_SIZE(kelvo_msg_copy, 48);

/**
 * Composes a copy (type 9) in 10 slots: header, then length, path and fill of path c, of path a and
 * of path b. Header area, cells and paths must stay as they are until the list has been sent.
 * Nothing is tested and nothing can fail.
 *
 * @param header         the caller's header area of 48 bytes (::kelvo_msg_copy)
 * @param len_cell_a     8-byte cell for the length of path a
 * @param len_cell_b     likewise for path b
 * @param len_cell_c     likewise for path c
 * @param path_a         NUL-terminated text
 * @param path_b         NUL-terminated text
 * @param path_c         NUL-terminated text
 * @param copy_argument  passed through
 * @param list           receives 10 slots
 * @return 0; not a status
 *
 * Note: path c travels first.
 */
KELVO_API uint32_t kelvo_common_msg_copy_compose(void* header, uint32_t* len_cell_a,
                                                 uint32_t* len_cell_b, uint32_t* len_cell_c,
                                                 char* path_a, char* path_b, const char* path_c,
                                                 uint32_t copy_argument, kelvo_slot* list);

/**
 * Converts a copy in place from network order, although its name does not say so, checks it and
 * hands out its fields. In this order:
 *
 *  -# the copy argument is converted, whatever the length (the buffer must hold at least 44 bytes)
 *  -# less than 48 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# for each of the three paths: its length cell is converted, before there is known to be room
 *     for it (so the buffer must hold 4 bytes more than a message that ends where a cell is due);
 *     no room for cell or path: ::KELVO_ERR_MSG_LENGTH; an empty path, or one that does not end in
 *     NUL: ::KELVO_ERR_MSG_CONTENT; no room for its fill: ::KELVO_ERR_MSG_LENGTH
 *  -# bytes left over: ::KELVO_ERR_MSG_LENGTH
 *
 * @param msg            the message
 * @param length         its length in bytes
 * @param first          receives the first path in wire order, a pointer into the message
 * @param second         likewise the second
 * @param third          likewise the third
 * @param copy_argument  receives the copy argument
 *
 * On failure no output is written, but the message is partly converted and is to be dropped.
 *
 * Where the buffer is no larger than the message, guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_COPY.
 */
KELVO_API kelvo_status kelvo_common_msg_copy_subtree_interpret(void* msg, uint32_t length,
                                                               char** first, char** second,
                                                               char** third,
                                                               uint32_t* copy_argument);

KELVO_EXTERN_C_END

#endif
