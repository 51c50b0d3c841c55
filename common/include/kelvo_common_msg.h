/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg.h
 * The message envelope: common header, message types, value types, gather lists and flattening.
 *
 * How a message is built. A compose function (kelvo_common_msg_item.h and its neighbours) fills the
 * caller's header area and the caller's gather list. The slots point at the caller's own storage:
 * header area, length cells, texts, values, and ::kelvo_alignment for fill. Nothing is copied or
 * allocated, and nothing can fail; only the bulk builder (kelvo_common_msg_bulk.h) allocates. The
 * list is sent as it stands, or flattened here first.
 *
 * What travels:
 *
 * - Every request and reply begins with the 40-byte ::kelvo_msg_header. The message type is in the
 *   sender's order and is never converted.
 * - Every other 32-bit field of a request is in network (big-endian) order. A 64-bit field travels
 *   as two 32-bit words, each converted by itself, in the order in which they lie in the sender's
 *   memory. Two things stay in the sender's own order: what kelvo_common_msg_item_get_compose()
 *   makes, and the items of a bulk request.
 * - A counted string is an 8-byte length cell (u32 length with the NUL, then 4 ignored bytes), the
 *   text with its NUL, and zero bytes up to a multiple of 8. A counted value looks the same but may
 *   be empty and has no NUL.
 * - The value of an item is converted by its value type, see ::kelvo_value_type.
 *
 * How a message is read. The interpret functions check a received buffer and hand out pointers into
 * it. A plain `_interpret` reads host order; its `_interpret_endian_ntoh` twin converts each field
 * in place just before testing it. A plain one that has no such twin may convert as well: that of a
 * bind, list, data-list, transaction start, item lock or copy does, and its comment says so. A
 * buffer is interpreted once: a failed one may be partly converted and is to be dropped.
 *
 * What is trusted. The bytes within the given length are hostile and are checked; the pointers,
 * header areas, cells and gather lists that the caller passes are its promise and are not. By
 * contract, some functions touch a few bytes before they check the length, and some follow a count
 * that nobody checks; their comments say how large the buffer must be then. A receiver whose buffer
 * is as large as the message asks kelvo_common_msg_guard() first (kelvo_common_msg_guard.h).
 */
#ifndef KELVO_COMMON_MSG_H
#define KELVO_COMMON_MSG_H

#include "kelvo_common_msg_types.h"
#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/**
 * The common header. The messaging transport owns most of it: compose functions leave those bytes
 * as the caller's buffer holds them, and nothing here reads them. In replies the bytes from 16 on
 * carry fields of the reply.
 */
typedef struct kelvo_msg_header {
    uint32_t transport[5];      /**< the transport's */
    uint32_t conversion_marker; /**< ::KELVO_MSG_CONVERTED once a list request has been converted */
    uint32_t type;              /**< ::kelvo_msg_type, in the sender's order, never converted */
    uint32_t transport_tail[3]; /**< the transport's */
} kelvo_msg_header;

KELVO_ASSERT_OFFSET(kelvo_msg_header, conversion_marker, 20);
KELVO_ASSERT_OFFSET(kelvo_msg_header, type, 24);
KELVO_ASSERT_OFFSET(kelvo_msg_header, transport_tail, 28);
KELVO_ASSERT_SIZE(kelvo_msg_header, 40);

/** The conversion marker of a list or data-list request that is already in host order. */
#define KELVO_MSG_CONVERTED 0x12345678u

/**
 * A length cell: a length or count that precedes a variable-length piece. The whole cell travels,
 * so callers keep the second half zero; receivers ignore it. Compose functions take the address of
 * the length as `uint32_t *` and expect 8 bytes there.
 */
typedef struct kelvo_length_cell {
    uint32_t length; /**< the length or count */
    uint32_t fill;   /**< 0, and ignored */
} kelvo_length_cell;

KELVO_ASSERT_SIZE(kelvo_length_cell, 8);

/**
 * Value types of items. The library knows a type only by the width that byte-order conversion
 * reverses; every code that is not named here travels as it is.
 */
typedef enum kelvo_value_type {
    KELVO_VALUE_NONE = 0,      /**< no value type; item create refuses it */
    KELVO_VALUE_INT4 = 1,      /**< 4-byte integer */
    KELVO_VALUE_INT8 = 2,      /**< 8-byte integer */
    KELVO_VALUE_RECORD = 7,    /**< serialised record, see kelvo_compare_data(); never converted */
    KELVO_VALUE_INT2 = 10,     /**< 2-byte integer */
    KELVO_VALUE_INT2_ALT = 11, /**< 2-byte integer */
    KELVO_VALUE_INT4_ALT = 12, /**< 4-byte integer */
    KELVO_VALUE_INT8_ALT = 13  /**< 8-byte integer */
} kelvo_value_type;

/** 8 zero bytes, the only source of fill: what every alignment slot points at. */
KELVO_API extern const uint8_t kelvo_alignment[8];

/**
 * Adds up the slot lengths of a gather list.
 *
 * @param list   the slots
 * @param count  number of slots; below 1 the sum is 0
 * @param total  receives the sum
 *
 * Note: lengths are added as 32-bit numbers. Only the low half of each counts, and the sum wraps.
 */
KELVO_API void kelvo_common_msg_iovs_length(const kelvo_slot* list, int32_t count, uint32_t* total);

/**
 * Flattens a gather list into one new buffer.
 *
 * @param list         the slots, copied one after another without gaps
 * @param count        number of slots; none are copied when it is 0 or negative
 * @param size         bytes to allocate: what kelvo_common_msg_iovs_length() says for the list (the
 *                     sum is not checked against it)
 * @param fail_hard    non-zero: a buffer of more than 52,428,800 bytes (50 MiB) that cannot be
 *                     allocated stops the process, see below
 * @param replicated   non-zero: the replication layer allocates the buffer, with its headers ahead
 *                     of the message
 * @param replica_arg  passed to the replication layer
 * @param out          receives the buffer. One from the ordinary allocator is released with free(),
 *                     one from the replication layer by that layer's rules
 *
 * @return in this order: the replication layer's status, when it failed but did store a buffer;
 *         ::KELVO_ERR_NO_MEMORY when there is no buffer; 0
 *
 * Note: when a message of more than 50 MiB cannot be allocated and `fail_hard` is set, "message
 * length: <size>" is printed to standard output, show_system_mem_status() records the memory state
 * of the node, and the process ends with an assertion failure. Smaller failures are only reported.
 */
KELVO_API kelvo_status kelvo_common_msg_iovs_to_buffer_v2(const kelvo_slot* list, int32_t count,
                                                          uint32_t size, uint32_t fail_hard,
                                                          uint32_t replicated, uint32_t replica_arg,
                                                          uint8_t** out);

/** As kelvo_common_msg_iovs_to_buffer_v2() without replication. Mind the order of the arguments. */
KELVO_API kelvo_status kelvo_common_msg_iovs_to_buffer_v1(const kelvo_slot* list, uint32_t count,
                                                          uint32_t size, uint8_t** out,
                                                          uint32_t fail_hard);

/** As kelvo_common_msg_iovs_to_buffer_v1() with `fail_hard` set. */
KELVO_API kelvo_status kelvo_common_msg_iovs_to_buffer(const kelvo_slot* list, uint32_t count,
                                                       uint32_t size, uint8_t** out);

/**
 * Records the memory state of the node in files on the first boot medium, for a process that is
 * about to stop for lack of memory. Runs the platform's "memreport_ng -s -d" and "wdog_report" with
 * their output in `RKTmz40263_<date>-<time>.mem.status` and the same name with ".watchdog" added,
 * then sleeps 3 seconds so that they can write.
 *
 * Failures are logged and otherwise ignored. Note: the descriptors that it opens stay open, since
 * the caller is about to end the process.
 */
KELVO_API void show_system_mem_status(void);

KELVO_EXTERN_C_END

#endif
