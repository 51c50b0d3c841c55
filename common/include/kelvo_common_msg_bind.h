/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_bind.h
 * Bind and unbind: how a client opens and releases its use of a server.
 *
 * Bind (type 0), in network order:
 *
 *     kelvo_msg_bind               80 bytes
 *     first string                 counted string
 *     second string                counted string
 *
 * Unbind (type 2) is the common header alone. The meaning of parameters and strings belongs to
 * client and server.
 */
#ifndef KELVO_COMMON_MSG_BIND_H
#define KELVO_COMMON_MSG_BIND_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** The bind protocol version: always composed, and the only one accepted. */
#define KELVO_BIND_VERSION 541u

/** Fixed part of a bind. */
typedef struct kelvo_msg_bind {
    kelvo_msg_header header; /**< the common header */
    uint32_t version;        /**< ::KELVO_BIND_VERSION */
    uint32_t reserved;       /**< 0 */
    uint32_t parameters[8];  /**< bind parameters 1 to 8 */
} kelvo_msg_bind;

KELVO_ASSERT_OFFSET(kelvo_msg_bind, version, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_bind, reserved, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_bind, parameters, 48);
KELVO_ASSERT_SIZE(kelvo_msg_bind, 80);

/**
 * Composes a bind in 7 slots: header, first length, first string, fill, second length, second
 * string, fill. Header area, cells and strings must stay as they are until the list has been sent.
 * Nothing is tested and nothing can fail.
 *
 * @param header           the caller's header area of 80 bytes (::kelvo_msg_bind)
 * @param first_len_slot   8-byte cell for the length of the first string
 * @param first_string     NUL-terminated text
 * @param p1               bind parameter 1
 * @param p2               bind parameter 2
 * @param p3               bind parameter 3
 * @param p4               bind parameter 4
 * @param p5               bind parameter 5
 * @param p6               bind parameter 6
 * @param p7               bind parameter 7
 * @param p8               bind parameter 8
 * @param second_len_slot  8-byte cell for the length of the second string
 * @param second_string    NUL-terminated text
 * @param gather           receives 7 slots
 */
KELVO_API void kelvo_common_msg_bind_compose(void* header, uint32_t* first_len_slot,
                                             const char* first_string, uint32_t p1, uint32_t p2,
                                             uint32_t p3, uint32_t p4, uint32_t p5, uint32_t p6,
                                             uint32_t p7, uint32_t p8, uint32_t* second_len_slot,
                                             const char* second_string, kelvo_slot* gather);

/** Makes the caller's 40-byte header area an unbind. There are no slots beyond the header. */
KELVO_API void kelvo_common_msg_unbind_compose(void* header);

/**
 * Converts a received bind in place from network order, checks it and hands out its fields.
 *
 * @param msg                the message; the strings handed out point into it
 * @param length             its length in bytes
 * @param version_out        receives the protocol version
 * @param reserved_out       receives the reserved word
 * @param p1_out             receives bind parameter 1
 * @param first_string_out   receives the first string
 * @param p2_out             receives bind parameter 2
 * @param p3_out             receives bind parameter 3
 * @param p4_out             receives bind parameter 4
 * @param p5_out             receives bind parameter 5; may be null
 * @param p6_out             receives bind parameter 6
 * @param second_string_out  receives the second string
 * @param p7_out             receives bind parameter 7; may be null
 * @param p8_out             receives bind parameter 8; may be null
 *
 * Mind their order: the strings stand among the parameters as shown.
 *
 * Steps, in this order:
 *
 *  -# the ten words at 40 to 76 are converted, whatever the length (the buffer must hold at least
 *     80 bytes)
 *  -# less than 80 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# for the first string, then the second: its length cell is converted, before there is known to
 *     be room for it (so the buffer must hold 4 bytes more than a message that ends where a cell is
 *     due); no room for cell or text: ::KELVO_ERR_MSG_LENGTH; an empty string or one that does not
 *     end in NUL: ::KELVO_ERR_MSG_CONTENT; no room for its fill: ::KELVO_ERR_MSG_LENGTH
 *  -# bytes left over: ::KELVO_ERR_MSG_LENGTH
 *  -# a version other than ::KELVO_BIND_VERSION: ::KELVO_ERR_VERSION_MISMATCH
 *
 * On failure no output is written, but the message is partly converted and is to be dropped.
 *
 * Where the buffer is no larger than the message, guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_BIND.
 */
KELVO_API kelvo_status kelvo_common_msg_bind_interpret(
    void* msg, uint32_t length, uint32_t* version_out, uint32_t* reserved_out, uint32_t* p1_out,
    char** first_string_out, uint32_t* p2_out, uint32_t* p3_out, uint32_t* p4_out, uint32_t* p5_out,
    uint32_t* p6_out, char** second_string_out, uint32_t* p7_out, uint32_t* p8_out);

KELVO_EXTERN_C_END

#endif
