/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_guard.h
 * The guard: whether a received buffer may be given to an operation.
 *
 * Most operations that take a received buffer check every length before they use it. Some, by
 * contract, convert words before they test the length, a few follow counts that nobody checks, one
 * stops the process, and two keep memory when they fail; the comment of each says so. They are
 * made for buffers larger than the message, or for senders that are trusted. Everybody else asks
 * here first:
 *
 *     if ((status = kelvo_common_msg_guard(KELVO_OPERATION_LIST_REPLY_NTOH, reply, length)) != 0) {
 *         return status; // drop the message
 *     }
 *     status = kelvo_lib_rply_list_interpret_endian_ntoh(reply, length);
 */
#ifndef KELVO_COMMON_MSG_GUARD_H
#define KELVO_COMMON_MSG_GUARD_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/* clang-format off */
/**
 * X(number, name, function) for every operation that takes a received buffer, in the order of the
 * numbers. Tests and tools expand this list.
 */
#define KELVO_MSG_OPERATION_LIST(X)                                                                \
    X( 0, BIND,                    kelvo_common_msg_bind_interpret)                                \
    X( 1, GET,                     kelvo_common_msg_get_interpret)                                 \
    X( 2, GET_NTOH,                kelvo_common_msg_get_interpret_endian_ntoh)                     \
    X( 3, SET,                     kelvo_common_msg_set_interpret)                                 \
    X( 4, SET_NTOH,                kelvo_common_msg_set_interpret_endian_ntoh)                     \
    X( 5, CREATE,                  kelvo_common_msg_create_interpret)                              \
    X( 6, CREATE_NTOH,             kelvo_common_msg_create_interpret_endian_ntoh)                  \
    X( 7, DELETE,                  kelvo_common_msg_delete_interpret)                              \
    X( 8, DELETE_NTOH,             kelvo_common_msg_delete_interpret_endian_ntoh)                  \
    X( 9, VERIFY,                  kelvo_common_msg_verify_interpret)                              \
    X(10, VERIFY_NTOH,             kelvo_common_msg_verify_interpret_endian_ntoh)                  \
    X(11, GET_REPLY_NTOH,          kelvo_lib_rply_item_get_interpret_ntoh)                         \
    X(12, GET_REPLY_HTON,          kelvo_lib_rply_item_get_interpret_hton)                         \
    X(13, GET_ITEMS,               kelvo_common_msg_get_items_interpret)                           \
    X(14, GET_ITEMS_NTOH,          kelvo_common_msg_get_items_interpret_endian_ntoh)               \
    X(15, COPY,                    kelvo_common_msg_copy_subtree_interpret)                        \
    X(16, FIND,                    kelvo_common_msg_find_interpret)                                \
    X(17, FIND_NTOH,               kelvo_common_msg_find_interpret_endian_ntoh)                    \
    X(18, FIND_HTON,               kelvo_common_msg_find_interpret_endian_hton)                    \
    X(19, FIND_GROUP_NTOH,         kelvo_common_msg_find_grp_ag_interpret_endian_ntoh)             \
    X(20, FIND_GROUP_REPLY_NTOH,   kelvo_lib_rply_grp_ag_interpret_endian_ntoh)                    \
    X(21, LIST,                    kelvo_common_msg_list_interpret)                                \
    X(22, DATALIST,                kelvo_common_msg_datalist_interpret)                            \
    X(23, LIST_REPLY_NTOH,         kelvo_lib_rply_list_interpret_endian_ntoh)                      \
    X(24, DATALIST_REPLY_NTOH,     kelvo_lib_rply_datalist_interpret_endian_ntoh)                  \
    X(25, TRANSACTION_START,       kelvo_common_msg_transtart_interpret)                           \
    X(26, TRANSACTION_COMMIT,      kelvo_common_msg_trancommit_interpret)                          \
    X(27, TRANSACTION_ABORT,       kelvo_common_msg_tranabort_interpret)                           \
    X(28, WRITE_LOCK,              kelvo_common_msg_item_wrlock_interpret)                         \
    X(29, READ_LOCK,               kelvo_common_msg_item_rdlock_interpret)                         \
    X(30, UNLOCK,                  kelvo_common_msg_item_unlock_interpret)                         \
    X(31, BULK,                    kelvo_common_msg_bulk_interpret)                                \
    X(32, BULK_NEXT,               kelvo_common_msg_bulk_next)                                     \
    X(33, BULK_BACK,               kelvo_common_msg_bulk_back)                                     \
    X(34, BULK_REPLY,              kelvo_common_msg_bulk_reply_interpret)                          \
    X(35, BULK_REPLY_NEXT,         kelvo_common_msg_bulk_reply_next)                               \
    X(36, BULK_REPLY_BACK,         kelvo_common_msg_bulk_reply_back)                               \
    X(37, NOTIFYSET,               kelvo_common_notifyset_interpret)                               \
    X(38, NOTIFYSET_VALUES,        kelvo_lib_notifyset_interpret)                                  \
    X(39, NOTIFYSET_NEXT,          kelvo_common_notifyset_next)                                    \
    X(40, APPLY_REPLY_NTOH,        kelvo_lib_rply_cb_get_apply_interpret_ntoh)                     \
    X(41, APPLY_REPLY_HTON,        kelvo_lib_rply_cb_get_apply_interpret_hton)                     \
    X(42, VERIFY_REPLY_NTOH,       kelvo_lib_rply_cb_get_verify_interpret_ntoh)                    \
    X(43, VERIFY_REPLY_HTON,       kelvo_lib_rply_cb_get_verify_interpret_hton)                    \
    X(44, ERRORSET_NTOH,           kelvo_vrfn_msg_errorset_iterate_ntoh)                           \
    X(45, ERRORSET_HTON,           kelvo_vrfn_msg_errorset_iterate_hton)                           \
    X(46, SM_CB_RESPONSE_NTOH,     kelvo_common_msg_sm_cb_response_interpret_ntoh)                 \
    X(47, SM_CB_RESPONSE_HTON,     kelvo_common_msg_sm_cb_response_interpret_hton)                 \
    X(48, SMSET_REPLY_NTOH,        kelvo_lib_rply_smset_interpret_ntoh)                            \
    X(49, SMSET_REPLY_HTON,        kelvo_lib_rply_smset_interpret_hton)                            \
    X(50, TEMP_NTOH,               kelvo_common_msg_temp_interpret_ntoh)                           \
    X(51, TEMP_HTON,               kelvo_common_msg_temp_interpret_hton)                           \
    X(52, TEMP_REPLY_NTOH,         kelvo_lib_rply_temp_interpret_ntoh)                             \
    X(53, TEMP_REPLY_HTON,         kelvo_lib_rply_temp_interpret_hton)                             \
    X(54, NFN_REG,                 kelvo_common_msg_nfn_reg_interpret)                             \
    X(55, NFN_REG_NTOH,            kelvo_common_msg_nfn_reg_interpret_ntoh)                        \
    X(56, NFN_REG_HTON,            kelvo_common_msg_nfn_reg_interpret_hton)                        \
    X(57, NFN_UNREG,               kelvo_common_msg_nfn_unreg_interpret)                           \
    X(58, VRFN_REG,                kelvo_common_msg_vrfn_reg_interpret)                            \
    X(59, VRFN_REG_NTOH,           kelvo_common_msg_vrfn_reg_interpret_ntoh)                       \
    X(60, VRFN_REG_HTON,           kelvo_common_msg_vrfn_reg_interpret_hton)                       \
    X(61, VRFN_UNREG,              kelvo_common_msg_vrfn_unreg_interpret)                          \
    X(62, VS_REG,                  kelvo_common_msg_vs_reg_interpret)                              \
    X(63, VS_REG_NTOH,             kelvo_common_msg_vs_reg_interpret_ntoh)                         \
    X(64, VS_REG_HTON,             kelvo_common_msg_vs_reg_interpret_hton)                         \
    X(65, VS_UNREG,                kelvo_common_msg_vs_unreg_interpret)                            \
    X(66, EDM_REG,                 kelvo_common_msg_edm_reg_interpret)                             \
    X(67, EDM_REG_NTOH,            kelvo_common_msg_edm_reg_interpret_ntoh)                        \
    X(68, EDM_REG_HTON,            kelvo_common_msg_edm_reg_interpret_hton)                        \
    X(69, EDM_UNREG,               kelvo_common_msg_edm_unreg_interpret)                           \
    X(70, EDMS_REG,                kelvo_common_msg_edms_reg_interpret)                            \
    X(71, EDMS_REG_NTOH,           kelvo_common_msg_edms_reg_interpret_ntoh)                       \
    X(72, EDMS_REG_HTON,           kelvo_common_msg_edms_reg_interpret_hton)                       \
    X(73, EDMS_UNREG,              kelvo_common_msg_edms_unreg_interpret)                          \
    X(74, REG_ACTIVATE_NTOH,       kelvo_common_msg_reg_activate_interpret_ntoh)                   \
    X(75, REG_ACTIVATE_HTON,       kelvo_common_msg_reg_activate_interpret_hton)                   \
    X(76, CFG_GRP,                 kelvo_common_msg_cfg_grp_interpret)
/* clang-format on */

/** The operations. */
typedef enum kelvo_msg_operation {
/** @cond */
#define KELVO_MSG_OPERATION_CONSTANT(number, name, function) KELVO_OPERATION_##name = number,
    KELVO_MSG_OPERATION_LIST(KELVO_MSG_OPERATION_CONSTANT)
#undef KELVO_MSG_OPERATION_CONSTANT
    /** @endcond */
    KELVO_OPERATION_COUNT /**< number of operations */
} kelvo_msg_operation;

/**
 * Says whether an operation may be run on a message that stands in exactly as many bytes as it is
 * long. Reads nothing outside the message, writes nothing.
 *
 * The answer is 0 when the operation, run on these bytes with its other pointers valid,
 *
 *  - reads and writes no byte outside them,
 *  - does not stop the process,
 *  - leaves no memory behind but what it hands out,
 *  - takes time and memory that the length bounds.
 *
 * It is not the operation's own answer: a message that the operation would refuse by a status,
 * touching nothing else, is one that it may be given. A message that the operation accepts within
 * its length is never refused here.
 *
 * @param operation  a ::kelvo_msg_operation
 * @param msg        the message as the operation will be given it, at any address: as it was
 *                   received, or, for the readers of registrations, as a conversion has left it. It
 *                   must not change in between. May be null when `length` is 0
 * @param length     its length in bytes. The item operations take theirs as `int32_t`: one of 2 GiB
 *                   or more is judged as the negative number that they are then given
 *
 * @return in this order:
 *         - ::KELVO_ERR_NOT_SUPPORTED: no such operation
 *         - ::KELVO_ERR_NULL_PARAM: `msg` is null and `length` is not 0
 *         - ::KELVO_ERR_MSG_LENGTH: the operation would reach outside the message, or leave memory
 *           behind for want of bytes or for bytes left over
 *         - ::KELVO_ERR_MSG_CONTENT: the operation would stop the process, or leave memory behind
 *           for a pair that is listed twice
 *         - ::KELVO_ERR_NO_MEMORY: KELVO_OPERATION_VS_REG and KELVO_OPERATION_EDMS_REG only,
 *           with more than 32 pairs, see below
 *         - 0
 *
 * Nothing is logged. One pass over the message, no allocation, except that the pairs of a VS or
 * EDMS registration beyond 32 are kept in a set, released again, of at most 100 bytes for each
 * of them.
 *
 * What an answer covers:
 *
 *  - The operation itself, once. What a caller then does with fields that the operation does not
 *    check (a bulk request's leading string, the names of a reply) remains the caller's to check.
 *  - KELVO_OPERATION_BULK_NEXT, KELVO_OPERATION_BULK_REPLY_NEXT and
 *    KELVO_OPERATION_NOTIFYSET_NEXT are asked about the whole message as received: the answer
 *    covers the interpret function (of a notification set,
 *    kelvo_common_notifyset_interpret()) and then every step forward up to one that fails. What
 *    follows the items that a bulk request claims is judged as one more item. The steps through a
 *    notification set that kelvo_lib_notifyset_interpret() accepted never reach outside it, so
 *    KELVO_OPERATION_NOTIFYSET_VALUES covers them, too.
 *  - KELVO_OPERATION_BULK_BACK and KELVO_OPERATION_BULK_REPLY_BACK cover the same steps with
 *    items given back and taken again. They also refuse, with ::KELVO_ERR_MSG_CONTENT, an item that
 *    cannot be taken again: a foreign-ordered one whose name is longer than ::KELVO_BULK_NAME_MAX.
 *    A step back that no step forward came before is the caller's error, whatever the message.
 *  - KELVO_OPERATION_LIST and KELVO_OPERATION_DATALIST cover every further call on the same
 *    message, too.
 *  - A VS or EDMS registration leaves pairs behind also when memory runs out on the way, which no
 *    message decides; that is not covered.
 */
KELVO_API kelvo_status kelvo_common_msg_guard(uint32_t operation, const void* msg, uint32_t length);

KELVO_EXTERN_C_END

#endif
