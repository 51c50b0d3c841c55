/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_callback.h
 * Callback replies: the work that a server hands to a registered client, and what comes back.
 *
 *     apply reply                  kelvo_rply_cb_apply     48 bytes
 *                                  first mask, second mask: (bits + 31) / 32 words each
 *     verify reply                 kelvo_rply_cb_verify    64 bytes
 *                                  count times:
 *                                    kelvo_cb_verify_entry   24 bytes, path, fill
 *                                    length cell, first value, fill
 *                                    length cell, second value, fill
 *     verifier error set           kelvo_msg_errorset      64 bytes
 *                                  count times: kelvo_errorset_entry 24 bytes, data, fill
 *     state-machine response       kelvo_msg_sm_cb_response  56 bytes
 *                                  count times: 3 words
 *     smset reply                  kelvo_rply_smset        40 bytes
 *                                  count times: kelvo_smset_entry 16 bytes, data, fill
 *
 * These messages are only converted, in place: `_ntoh` on receipt, `_hton` before sending. Nothing
 * but the lengths named here is checked and nothing is handed out; the receiver reads the converted
 * message by the structures below. The counts of a fixed part are converted with it, before
 * anything is tested against them. The lengths of an entry are converted by `_ntoh` just before
 * they are tested, by `_hton` once they have passed. The meaning of the words belongs to client and
 * server.
 *
 * Each converter takes the message and its length in bytes and returns 0 or the first failure.
 * After a failure, words already converted stay so and the message is to be dropped. Nothing is
 * logged. Some need a buffer larger than the message, as they say: where there is none, guard
 * first, with kelvo_common_msg_guard() and the ::kelvo_msg_operation of the function.
 */
#ifndef KELVO_COMMON_MSG_CALLBACK_H
#define KELVO_COMMON_MSG_CALLBACK_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of an apply reply. Two masks follow, each of one bit per item in 32-bit words. */
typedef struct kelvo_rply_cb_apply {
    uint32_t transport[7]; /**< the transport's */
    uint32_t word1;        /**< passed through */
    uint32_t word2;        /**< passed through */
    uint32_t bits;         /**< bits in each mask */
    uint32_t word3;        /**< passed through */
    uint32_t word4;        /**< passed through */
} kelvo_rply_cb_apply;

KELVO_ASSERT_OFFSET(kelvo_rply_cb_apply, word1, 28);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_apply, word2, 32);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_apply, bits, 36);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_apply, word3, 40);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_apply, word4, 44);
KELVO_ASSERT_SIZE(kelvo_rply_cb_apply, 48);

/** Fixed part of a verify reply. */
typedef struct kelvo_rply_cb_verify {
    uint32_t transport[7]; /**< the transport's */
    uint32_t word1;        /**< passed through */
    uint32_t word2;        /**< passed through */
    uint32_t count;        /**< number of entries */
    uint32_t unconverted;  /**< not converted */
    uint32_t words[4];     /**< passed through */
    uint32_t unconverted2; /**< not converted */
} kelvo_rply_cb_verify;

KELVO_ASSERT_OFFSET(kelvo_rply_cb_verify, word1, 28);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_verify, word2, 32);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_verify, count, 36);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_verify, unconverted, 40);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_verify, words, 44);
KELVO_ASSERT_OFFSET(kelvo_rply_cb_verify, unconverted2, 60);
KELVO_ASSERT_SIZE(kelvo_rply_cb_verify, 64);

/** Leading part of a verify entry. The path and two counted values follow. */
typedef struct kelvo_cb_verify_entry {
    uint32_t word1;         /**< passed through */
    uint32_t word2;         /**< passed through */
    uint32_t type;          /**< ::kelvo_value_type of both values */
    uint32_t word3;         /**< passed through */
    kelvo_length_cell path; /**< length of the path */
} kelvo_cb_verify_entry;

KELVO_ASSERT_OFFSET(kelvo_cb_verify_entry, word1, 0);
KELVO_ASSERT_OFFSET(kelvo_cb_verify_entry, word2, 4);
KELVO_ASSERT_OFFSET(kelvo_cb_verify_entry, type, 8);
KELVO_ASSERT_OFFSET(kelvo_cb_verify_entry, word3, 12);
KELVO_ASSERT_OFFSET(kelvo_cb_verify_entry, path, 16);
KELVO_ASSERT_SIZE(kelvo_cb_verify_entry, 24);

/** Fixed part of a verifier error set. */
typedef struct kelvo_msg_errorset {
    kelvo_msg_header header; /**< the common header */
    uint32_t unconverted[2]; /**< not converted */
    uint32_t word1;          /**< passed through */
    uint32_t count;          /**< number of entries */
    uint32_t word2;          /**< passed through */
    uint32_t unconverted2;   /**< not converted */
} kelvo_msg_errorset;

KELVO_ASSERT_OFFSET(kelvo_msg_errorset, unconverted, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_errorset, word1, 48);
KELVO_ASSERT_OFFSET(kelvo_msg_errorset, count, 52);
KELVO_ASSERT_OFFSET(kelvo_msg_errorset, word2, 56);
KELVO_ASSERT_OFFSET(kelvo_msg_errorset, unconverted2, 60);
KELVO_ASSERT_SIZE(kelvo_msg_errorset, 64);

/** Leading part of an error-set entry. The data follows. */
typedef struct kelvo_errorset_entry {
    uint32_t word1;          /**< passed through */
    uint32_t word2;          /**< passed through */
    uint32_t unconverted[2]; /**< not converted */
    kelvo_length_cell data;  /**< length of the data */
} kelvo_errorset_entry;

KELVO_ASSERT_OFFSET(kelvo_errorset_entry, word1, 0);
KELVO_ASSERT_OFFSET(kelvo_errorset_entry, word2, 4);
KELVO_ASSERT_OFFSET(kelvo_errorset_entry, unconverted, 8);
KELVO_ASSERT_OFFSET(kelvo_errorset_entry, data, 16);
KELVO_ASSERT_SIZE(kelvo_errorset_entry, 24);

/** Fixed part of a state-machine callback response. */
typedef struct kelvo_msg_sm_cb_response {
    kelvo_msg_header header;   /**< the common header */
    uint32_t unconverted[2];   /**< not converted */
    kelvo_length_cell entries; /**< number of entries; the fill is not converted */
} kelvo_msg_sm_cb_response;

KELVO_ASSERT_OFFSET(kelvo_msg_sm_cb_response, unconverted, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_sm_cb_response, entries, 48);
KELVO_ASSERT_SIZE(kelvo_msg_sm_cb_response, 56);

/** Entry of a state-machine callback response: 12 bytes, no fill. */
typedef struct kelvo_sm_cb_entry {
    uint32_t words[3]; /**< passed through */
} kelvo_sm_cb_entry;

KELVO_ASSERT_SIZE(kelvo_sm_cb_entry, 12);

/** Fixed part of an smset reply. */
typedef struct kelvo_rply_smset {
    uint32_t transport[7]; /**< the transport's */
    uint32_t count;        /**< number of entries */
    uint32_t word;         /**< passed through */
    uint32_t unconverted;  /**< not converted */
} kelvo_rply_smset;

KELVO_ASSERT_OFFSET(kelvo_rply_smset, count, 28);
KELVO_ASSERT_OFFSET(kelvo_rply_smset, word, 32);
KELVO_ASSERT_OFFSET(kelvo_rply_smset, unconverted, 36);
KELVO_ASSERT_SIZE(kelvo_rply_smset, 40);

/** Leading part of an smset entry. The data follows. */
typedef struct kelvo_smset_entry {
    uint32_t word1;         /**< passed through */
    uint32_t word2;         /**< passed through */
    kelvo_length_cell data; /**< length of the data */
} kelvo_smset_entry;

KELVO_ASSERT_OFFSET(kelvo_smset_entry, word1, 0);
KELVO_ASSERT_OFFSET(kelvo_smset_entry, word2, 4);
KELVO_ASSERT_OFFSET(kelvo_smset_entry, data, 8);
KELVO_ASSERT_SIZE(kelvo_smset_entry, 16);

/**
 * Converts an apply reply. In this order:
 *
 *  -# less than 48 bytes: ::KELVO_ERR_MSG_LENGTH; a null message: ::KELVO_ERR_NULL_PARAM
 *  -# the words at 28 to 44
 *  -# no room for two masks of `bits` bits: ::KELVO_ERR_MSG_LENGTH
 *  -# the words of both masks; 0. Bytes beyond them are allowed
 *
 * Note: a null message is answered by its length, ::KELVO_ERR_MSG_LENGTH when that is too short and
 * ::KELVO_ERR_NULL_PARAM otherwise; in the verify and smset replies, too.
 */
KELVO_API kelvo_status kelvo_lib_rply_cb_get_apply_interpret_ntoh(void* msg, uint32_t length);

/** Converts an apply reply to network order by the same steps. */
KELVO_API kelvo_status kelvo_lib_rply_cb_get_apply_interpret_hton(void* msg, uint32_t length);

/**
 * Converts a verify reply. In this order:
 *
 *  -# less than 64 bytes: ::KELVO_ERR_MSG_LENGTH; a null message: ::KELVO_ERR_NULL_PARAM
 *  -# the words at 28, 32, 36 and 44 to 56; no entries: 0, whatever follows
 *  -# for each entry:
 *      -# its first four words, and only then: nothing left beyond 24 bytes,
 *         ::KELVO_ERR_MSG_LENGTH
 *      -# the length of the path; no room for path, fill and the first length cell:
 *         ::KELVO_ERR_MSG_LENGTH
 *      -# the first length and, unless it is 0, the first value by its type, and only then: no room
 *         for value, fill and the second length cell, ::KELVO_ERR_MSG_LENGTH
 *      -# the second length and, unless it is 0, the second value by its type
 *      -# nothing left behind an entry that is not the last one: ::KELVO_ERR_MSG_LENGTH
 *  -# the last entry does not end where the message ends: ::KELVO_ERR_MSG_LENGTH; 0
 *
 * Words and values are converted before there is known to be room for them: the buffer must hold 16
 * bytes more than the message.
 */
KELVO_API kelvo_status kelvo_lib_rply_cb_get_verify_interpret_ntoh(void* msg, uint32_t length);

/**
 * Converts a verify reply to network order by the same steps, but converts the first four words and
 * each length of an entry after the test that follows them (the second length after the test of
 * where the entry ends). Values are converted before their room is known, here too: the buffer must
 * hold 8 bytes more than the message.
 */
KELVO_API kelvo_status kelvo_lib_rply_cb_get_verify_interpret_hton(void* msg, uint32_t length);

/**
 * Converts a verifier error set. In this order:
 *
 *  -# less than 64 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# the words at 48, 52 and 56
 *  -# for each entry:
 *      -# its first two words, and only then: nothing left beyond 24 bytes, ::KELVO_ERR_MSG_LENGTH
 *         (the buffer must hold 8 bytes more than the message)
 *      -# the length of the data; no room for data and fill: ::KELVO_ERR_MSG_LENGTH
 *  -# 0. Bytes beyond the last entry are allowed
 *
 * Note: an entry without data that ends where the message ends is refused.
 */
KELVO_API kelvo_status kelvo_vrfn_msg_errorset_iterate_ntoh(void* msg, uint32_t length);

/** Converts a verifier error set to network order by the same steps, but converts words and length
 *  after the tests. The buffer need not be larger than the message. */
KELVO_API kelvo_status kelvo_vrfn_msg_errorset_iterate_hton(void* msg, uint32_t length);

/**
 * Converts a state-machine callback response: less than 56 bytes give ::KELVO_ERR_MSG_LENGTH; then
 * the number of entries at 48; then each entry once there is room for it, otherwise
 * ::KELVO_ERR_MSG_LENGTH; 0. Bytes beyond the last entry are allowed.
 */
KELVO_API kelvo_status kelvo_common_msg_sm_cb_response_interpret_ntoh(void* msg, uint32_t length);

/** Converts a state-machine callback response to network order by the same steps. */
KELVO_API kelvo_status kelvo_common_msg_sm_cb_response_interpret_hton(void* msg, uint32_t length);

/**
 * Converts an smset reply. In this order:
 *
 *  -# less than 40 bytes: ::KELVO_ERR_MSG_LENGTH; a null message: ::KELVO_ERR_NULL_PARAM
 *  -# the words at 28 and 32
 *  -# for each entry:
 *      -# nothing left beyond 16 bytes: ::KELVO_ERR_MSG_LENGTH
 *      -# its first two words and the length of the data; no room for data and fill:
 *         ::KELVO_ERR_MSG_LENGTH
 *  -# 0. Bytes beyond the last entry are allowed
 *
 * Note: an entry without data that ends where the message ends is refused.
 */
KELVO_API kelvo_status kelvo_lib_rply_smset_interpret_ntoh(void* msg, uint32_t length);

/** Converts an smset reply to network order by the same steps, but converts the length of the data
 *  after its test. */
KELVO_API kelvo_status kelvo_lib_rply_smset_interpret_hton(void* msg, uint32_t length);

/** Does nothing and returns 0, whatever it is given: temporary messages have no body to convert. */
KELVO_API kelvo_status kelvo_common_msg_temp_interpret_hton(void* msg, uint32_t length);
/** Does nothing and returns 0, whatever it is given. */
KELVO_API kelvo_status kelvo_common_msg_temp_interpret_ntoh(void* msg, uint32_t length);
/** Does nothing and returns 0, whatever it is given. */
KELVO_API kelvo_status kelvo_lib_rply_temp_interpret_hton(void* msg, uint32_t length);
/** Does nothing and returns 0, whatever it is given. */
KELVO_API kelvo_status kelvo_lib_rply_temp_interpret_ntoh(void* msg, uint32_t length);

KELVO_EXTERN_C_END

#endif
