/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_item.h
 * Item requests: get, set, create, delete and verify of one item named by its path; the get reply.
 *
 * Get (type 3, or 66 with inheritance), set (4), create (7), delete (8, conditional 44):
 *
 *     kelvo_msg_item_request       72 bytes, ends with the name's length cell
 *     path, NUL, fill
 *     value length cell            not in a get
 *     value, fill                  not in a get
 *
 * Verify (type 10):
 *
 *     kelvo_msg_item_verify        56 bytes, ends with the name's length cell
 *     path, NUL, fill
 *     value length cell
 *     value, fill
 *
 * Get reply:
 *
 *     kelvo_rply_item_get          40 bytes
 *     value, fill
 *
 * All fields from offset 40 of a request are in network order. The meaning of the request argument
 * and of the reply word belongs to client and server; they are passed through.
 */
#ifndef KELVO_COMMON_MSG_ITEM_H
#define KELVO_COMMON_MSG_ITEM_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of get, set, create and delete. */
typedef struct kelvo_msg_item_request {
    kelvo_msg_header header; /**< the common header */
    uint32_t reserved;       /**< 0 */
    uint32_t argument;       /**< request argument */
    kelvo_length_cell names; /**< name-set count, always 1 */
    kelvo_length_cell type;  /**< value type; 0 in a get */
    kelvo_length_cell path;  /**< length of the path with its NUL */
} kelvo_msg_item_request;

KELVO_ASSERT_OFFSET(kelvo_msg_item_request, reserved, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_item_request, argument, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_item_request, names, 48);
KELVO_ASSERT_OFFSET(kelvo_msg_item_request, type, 56);
KELVO_ASSERT_OFFSET(kelvo_msg_item_request, path, 64);
KELVO_ASSERT_SIZE(kelvo_msg_item_request, 72);

/** Fixed part of verify. */
typedef struct kelvo_msg_item_verify {
    kelvo_msg_header header; /**< the common header */
    uint32_t type;           /**< value type */
    uint32_t argument;       /**< request argument */
    kelvo_length_cell path;  /**< length of the path with its NUL */
} kelvo_msg_item_verify;

KELVO_ASSERT_OFFSET(kelvo_msg_item_verify, type, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_item_verify, argument, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_item_verify, path, 48);
KELVO_ASSERT_SIZE(kelvo_msg_item_verify, 56);

/** Fixed part of the get reply. */
typedef struct kelvo_rply_item_get {
    uint32_t transport[4]; /**< the transport's */
    uint32_t word;         /**< reply word, converted but not checked */
    uint32_t transport2;   /**< the transport's */
    uint32_t result;       /**< result status, 0 for success */
    uint32_t type;         /**< value type */
    uint32_t length;       /**< length of the value */
    uint32_t untouched;    /**< neither read nor converted */
} kelvo_rply_item_get;

KELVO_ASSERT_OFFSET(kelvo_rply_item_get, word, 16);
KELVO_ASSERT_OFFSET(kelvo_rply_item_get, result, 24);
KELVO_ASSERT_OFFSET(kelvo_rply_item_get, type, 28);
KELVO_ASSERT_OFFSET(kelvo_rply_item_get, length, 32);
KELVO_ASSERT_SIZE(kelvo_rply_item_get, 40);

/**
 * @name Compose
 *
 * Each fills the caller's header area of 48 bytes (common header and two words) and the caller's
 * slots. The cells are 8 bytes each in the caller's storage; `path` is a NUL-terminated text.
 * Header area, cells, path and value must stay as they are until the list has been sent.
 *
 * Nothing is tested and nothing can fail; the result is not a status.
 */
/**@{*/

/**
 * Composes an item get (type 3) in 6 slots: header, count, type, name length, path, fill.
 * @return 0
 *
 * Note: leaves every field in host order, unlike its twin kelvo_lib_msg_item_get_compose().
 */
KELVO_API uint32_t kelvo_common_msg_item_get_compose(void* header, uint32_t* count_cell,
                                                     uint32_t* type_cell, uint32_t* name_len_cell,
                                                     char* path, uint32_t request_argument,
                                                     kelvo_slot* list);

/** Composes an item get (type 3) in the same 6 slots, in network order. @return 0 */
KELVO_API uint32_t kelvo_lib_msg_item_get_compose(void* header, uint32_t* count_cell,
                                                  uint32_t* type_cell, uint32_t* name_len_cell,
                                                  char* path, uint32_t request_argument,
                                                  kelvo_slot* list);

/** Composes an item get with inheritance (type 66), otherwise as kelvo_lib_msg_item_get_compose().
 *  @return 0 */
KELVO_API uint32_t kelvo_lib_msg_item_get_inh_compose(void* header, uint32_t* count_cell,
                                                      uint32_t* type_cell, uint32_t* name_len_cell,
                                                      char* path, uint32_t request_argument,
                                                      kelvo_slot* list);

/**
 * Composes an item set (type 4) in 9 slots: header, count, type, name length, path, fill, value
 * length, value, fill.
 *
 * @param header            the caller's header area
 * @param count_cell        8-byte cell for the count
 * @param type_cell         8-byte cell for the value type
 * @param name_len_cell     8-byte cell for the length of the path
 * @param value_len_cell    8-byte cell for the length of the value
 * @param path              NUL-terminated path
 * @param value_type        ::kelvo_value_type of the value
 * @param value             the value; may be null when value_len is 0
 * @param value_len         its length in bytes; for an integer type at least the type's width
 * @param request_argument  request argument
 * @param list              receives 9 slots
 * @return 1 when the value was converted, 0 when it travels as it is
 *
 * Note: a value of an integer type is converted to network order in the caller's own buffer.
 */
KELVO_API uint32_t kelvo_common_msg_item_set_compose(void* header, uint32_t* count_cell,
                                                     uint32_t* type_cell, uint32_t* name_len_cell,
                                                     uint32_t* value_len_cell, const char* path,
                                                     uint32_t value_type, void* value,
                                                     int32_t value_len, uint32_t request_argument,
                                                     kelvo_slot* list);

/** Composes an item create (type 7), otherwise as kelvo_common_msg_item_set_compose(). */
KELVO_API uint32_t kelvo_common_msg_item_create_compose(
    void* header, uint32_t* count_cell, uint32_t* type_cell, uint32_t* name_len_cell,
    uint32_t* value_len_cell, const char* path, uint32_t value_type, void* value, int32_t value_len,
    uint32_t request_argument, kelvo_slot* list);

/**
 * Composes an item delete, otherwise as kelvo_common_msg_item_set_compose(). With a value
 * (value_len not 0) it is a conditional delete (type 44), without one a plain delete (type 8).
 */
KELVO_API uint32_t kelvo_common_msg_item_delete_compose(
    void* header, uint32_t* count_cell, uint32_t* type_cell, uint32_t* name_len_cell,
    uint32_t* value_len_cell, const char* path, uint32_t value_type, void* value, int32_t value_len,
    uint32_t request_argument, kelvo_slot* list);

/**
 * Composes an item verify (type 10) in 7 slots: header, name length, path, fill, value length,
 * value, fill. Value and result are as for kelvo_common_msg_item_set_compose().
 */
KELVO_API uint32_t kelvo_common_msg_item_verify_compose(void* header, uint32_t* name_len_cell,
                                                        uint32_t* value_len_cell, const char* path,
                                                        uint32_t value_type, void* value,
                                                        int32_t value_len,
                                                        uint32_t request_argument,
                                                        kelvo_slot* list);
/**@}*/

/**
 * @name Interpret
 *
 * Each checks a received request of `length` bytes and hands out its fields; texts and values are
 * pointers into the message. A negative length counts as 0. The plain functions take a message in
 * host order and read nothing beyond `length`. Nothing is logged or allocated; on failure the
 * out-parameters are left alone.
 *
 * Checks of get, set, create and delete, in this order:
 *
 *  -# room for the 48 bytes up to the count, then for the count cell: ::KELVO_ERR_MSG_LENGTH
 *  -# the count is not 1: ::KELVO_ERR_MSG_CONTENT
 *  -# room for the type cell: ::KELVO_ERR_MSG_LENGTH
 *  -# (get) the value type is not 0: ::KELVO_ERR_MSG_CONTENT
 *  -# room for the name's length cell, then for the name: ::KELVO_ERR_MSG_LENGTH
 *  -# an empty name, or one that does not end in NUL: ::KELVO_ERR_MSG_CONTENT
 *  -# room for the name's fill: ::KELVO_ERR_MSG_LENGTH
 *  -# (all but get) room for the value's length cell, then for value and fill:
 *     ::KELVO_ERR_MSG_LENGTH
 *  -# bytes left over: ::KELVO_ERR_MSG_LENGTH
 *  -# (create) the value type is 0: ::KELVO_ERR_BAD_VALUE_TYPE
 *
 * Verify has no count and no type cell; its checks begin with room for 56 bytes.
 *
 * The `_interpret_endian_ntoh` twins take a message in network order and convert it in place: first
 * the two words at 40 and 44, whatever the length (the buffer must hold at least 48 bytes); then
 * each cell once there is room for it, just before it is tested; last, after all checks, the value
 * by its type, unless it is empty. A failure leaves converted what has been converted; the message
 * is then to be dropped. Where the buffer is no larger than the message, guard first:
 * kelvo_common_msg_guard() with the ::kelvo_msg_operation of the function.
 */
/**@{*/

/** Interprets an item get of either type. */
KELVO_API kelvo_status kelvo_common_msg_get_interpret(void* msg, int32_t length, char** path,
                                                      uint32_t* request_argument);

/**
 * Interprets an item get in network order.
 *
 * Note: a count other than 1 stops the process with the assertion "castmsg->nameset->count == 1". A
 * message of less than 48 bytes has its unconverted word at 48 tested in the same way before
 * ::KELVO_ERR_MSG_LENGTH is returned, so the buffer must hold at least 52 bytes, and only a get
 * that the transport has already found long enough should come here. The guard answers for both.
 */
KELVO_API kelvo_status kelvo_common_msg_get_interpret_endian_ntoh(void* msg, int32_t length,
                                                                  char** path,
                                                                  uint32_t* request_argument);

/** Interprets an item set. The value type is not looked at; the value may be empty. */
KELVO_API kelvo_status kelvo_common_msg_set_interpret(void* msg, int32_t length, char** path,
                                                      uint32_t* value_type, void** value,
                                                      uint32_t* value_len,
                                                      uint32_t* request_argument);

/** Interprets an item set in network order. */
KELVO_API kelvo_status kelvo_common_msg_set_interpret_endian_ntoh(void* msg, int32_t length,
                                                                  char** path, uint32_t* value_type,
                                                                  void** value, uint32_t* value_len,
                                                                  uint32_t* request_argument);

/** Interprets an item create. Value type 0 is refused, after all length checks. */
KELVO_API kelvo_status kelvo_common_msg_create_interpret(void* msg, int32_t length, char** path,
                                                         uint32_t* value_type, void** value,
                                                         uint32_t* value_len,
                                                         uint32_t* request_argument);

/** Interprets an item create in network order. */
KELVO_API kelvo_status kelvo_common_msg_create_interpret_endian_ntoh(
    void* msg, int32_t length, char** path, uint32_t* value_type, void** value, uint32_t* value_len,
    uint32_t* request_argument);

/** Interprets an item delete of either type. The value pointer is null when there is no value. */
KELVO_API kelvo_status kelvo_common_msg_delete_interpret(void* msg, int32_t length, char** path,
                                                         uint32_t* value_type, void** value,
                                                         uint32_t* value_len,
                                                         uint32_t* request_argument);

/** Interprets an item delete in network order. */
KELVO_API kelvo_status kelvo_common_msg_delete_interpret_endian_ntoh(
    void* msg, int32_t length, char** path, uint32_t* value_type, void** value, uint32_t* value_len,
    uint32_t* request_argument);

/** Interprets an item verify. */
KELVO_API kelvo_status kelvo_common_msg_verify_interpret(void* msg, uint32_t length, char** path,
                                                         uint32_t* value_type, void** value,
                                                         uint32_t* value_len,
                                                         uint32_t* request_argument);

/** Interprets an item verify in network order. */
KELVO_API kelvo_status kelvo_common_msg_verify_interpret_endian_ntoh(
    void* msg, uint32_t length, char** path, uint32_t* value_type, void** value,
    uint32_t* value_len, uint32_t* request_argument);
/**@}*/

/**
 * Converts an item-get reply in place from network order and checks it; the caller then reads it as
 * ::kelvo_rply_item_get. In this order:
 *
 *  -# the words at 16, 24, 28 and 32 are converted, whatever the length (the buffer must hold at
 *     least 36 bytes)
 *  -# less than 40 bytes, or a length other than 40 plus the value and its fill:
 *     ::KELVO_ERR_MSG_LENGTH
 *  -# a result status other than 0: ::KELVO_ERR_REPLY_FAILED, with the value unconverted
 *  -# the value is converted by its type, unless it is empty or has no type; 0
 *
 * Where the buffer is no larger than the reply, guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_GET_REPLY_NTOH.
 */
KELVO_API kelvo_status kelvo_lib_rply_item_get_interpret_ntoh(void* reply, uint32_t length);

/** Does nothing and returns 0: a get reply is converted by its receiver only. */
KELVO_API kelvo_status kelvo_lib_rply_item_get_interpret_hton(void* reply, uint32_t length);

KELVO_EXTERN_C_END

#endif
