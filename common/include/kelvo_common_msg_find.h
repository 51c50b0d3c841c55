/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_find.h
 * Find and group find: search requests, and the group-find reply.
 *
 * Find (type 5), a list request (kelvo_common_msg_list.h) with three more words, in network order:
 *
 *     kelvo_msg_find               88 bytes
 *     first string                 counted string
 *     second string                counted string
 *
 * Group find (type 67 "AG", 68 "AH"), in network order:
 *
 *     kelvo_msg_find_group         48 bytes
 *     string                       counted string
 *
 * Group-find reply: ::kelvo_rply_find_group, and whatever the server lets follow.
 *
 * What the words and strings mean belongs to client and server; they are passed through.
 */
#ifndef KELVO_COMMON_MSG_FIND_H
#define KELVO_COMMON_MSG_FIND_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of a find. */
typedef struct kelvo_msg_find {
    kelvo_msg_header header; /**< the common header */
    uint32_t word1;          /**< passed through */
    uint32_t value1[2];      /**< a 64-bit value as it lies in the sender's memory */
    uint32_t value2[2];      /**< likewise */
    uint32_t word2;          /**< passed through */
    uint32_t word3;          /**< carried, but handed out by no reader */
    uint32_t word4;          /**< passed through */
    uint32_t word5;          /**< passed through */
    uint32_t word6;          /**< passed through */
    uint32_t word7;          /**< passed through */
    uint32_t fill;           /**< the caller's; neither written nor converted */
} kelvo_msg_find;

KELVO_ASSERT_OFFSET(kelvo_msg_find, word1, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_find, value1, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_find, value2, 52);
KELVO_ASSERT_OFFSET(kelvo_msg_find, word2, 60);
KELVO_ASSERT_OFFSET(kelvo_msg_find, word3, 64);
KELVO_ASSERT_OFFSET(kelvo_msg_find, word4, 68);
KELVO_ASSERT_OFFSET(kelvo_msg_find, word5, 72);
KELVO_ASSERT_OFFSET(kelvo_msg_find, word6, 76);
KELVO_ASSERT_OFFSET(kelvo_msg_find, word7, 80);
KELVO_ASSERT_OFFSET(kelvo_msg_find, fill, 84);
KELVO_ASSERT_SIZE(kelvo_msg_find, 88);

/** Fixed part of a group find. */
typedef struct kelvo_msg_find_group {
    kelvo_msg_header header; /**< the common header */
    uint32_t group;          /**< group word */
    uint32_t fill;           /**< the caller's; neither written nor converted */
} kelvo_msg_find_group;

KELVO_ASSERT_OFFSET(kelvo_msg_find_group, group, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_find_group, fill, 44);
KELVO_ASSERT_SIZE(kelvo_msg_find_group, 48);

/** What a group-find reply begins with. */
typedef struct kelvo_rply_find_group {
    uint32_t transport[4]; /**< the transport's */
    uint32_t word;         /**< reply word, converted but not checked */
} kelvo_rply_find_group;

KELVO_ASSERT_OFFSET(kelvo_rply_find_group, word, 16);
KELVO_ASSERT_SIZE(kelvo_rply_find_group, 20);

/**
 * @name Compose
 *
 * Each fills the caller's header area and the caller's slots. The cells are 8 bytes each in the
 * caller's storage; the strings are NUL-terminated texts. Header area, cells and strings must stay
 * as they are until the list has been sent. Nothing is tested and nothing can fail.
 */
/**@{*/

/**
 * Composes a find (type 5) in 7 slots: header, first length, first string, fill, second length,
 * second string, fill. The header area takes 88 bytes (::kelvo_msg_find).
 *
 * Note: the words are not passed in the order in which they travel. The words of a 64-bit value are
 * converted one by one and are not exchanged.
 */
KELVO_API void kelvo_common_msg_find_compose(void* header, uint32_t* first_len_slot,
                                             uint32_t* second_len_slot, const char* first_string,
                                             const char* second_string, uint32_t word1,
                                             uint32_t word4, uint64_t value1, uint64_t value2,
                                             uint32_t word2, uint32_t word3, uint32_t word7,
                                             uint32_t word5, uint32_t word6, kelvo_slot* gather);

/**
 * Composes a group find in 4 slots: header, length, string, fill. The header area takes 48 bytes
 * (::kelvo_msg_find_group).
 *
 * @param header      the caller's header area of 48 bytes
 * @param len_slot    8-byte cell for the length of the string
 * @param string      NUL-terminated text
 * @param group_word  group word
 * @param gather      receives 4 slots
 * @param ag          not 0: type 67 ("AG"); 0: type 68 ("AH")
 */
KELVO_API void kelvo_common_msg_find_grp_ag_ah_compose(void* header, uint32_t* len_slot,
                                                       const char* string, uint32_t group_word,
                                                       kelvo_slot* gather, uint32_t ag);
/**@}*/

/**
 * @name Interpret a find
 *
 * Each checks a find of `length` bytes. The readers hand out its fields; strings are pointers into
 * the message. Checks, in this order:
 *
 *  -# less than 88 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# for the first string, then the second: no room for its length cell or its text:
 *     ::KELVO_ERR_MSG_LENGTH; an empty string or one that does not end in NUL:
 *     ::KELVO_ERR_MSG_CONTENT; no room for its fill: ::KELVO_ERR_MSG_LENGTH
 *  -# bytes left over: ::KELVO_ERR_MSG_LENGTH
 *
 * On failure no output is written; what has been converted stays converted. Where the buffer of a
 * converting function is no larger than the message, guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_FIND_NTOH or KELVO_OPERATION_FIND_HTON.
 */
/**@{*/

/**
 * Interprets a find in host order. Reads nothing beyond `length`.
 *
 * @param msg                the message
 * @param length             its length in bytes
 * @param first_string_out   receives the first string
 * @param second_string_out  receives the second string
 * @param word1_out          receives word 1
 * @param word4_out          receives word 4
 * @param block_out          receives five words: two of value 1, two of value 2, word 2
 * @param word7_out          receives word 7
 * @param word5_out          receives word 5
 * @param word6_out          receives word 6
 *
 * Note: word 3 is not handed out.
 */
KELVO_API kelvo_status kelvo_common_msg_find_interpret(void* msg, uint32_t length,
                                                       char** first_string_out,
                                                       char** second_string_out,
                                                       uint32_t* word1_out, uint32_t* word4_out,
                                                       uint32_t* block_out, uint32_t* word7_out,
                                                       uint32_t* word5_out, uint32_t* word6_out);

/**
 * Interprets a find in network order, converting it in place: the eleven words at 40 to 80 whatever
 * the length, and each length cell before there is known to be room for it. The buffer must hold at
 * least 84 bytes, and 4 bytes more than a message that ends where a length cell is due.
 */
KELVO_API kelvo_status kelvo_common_msg_find_interpret_endian_ntoh(
    void* msg, uint32_t length, char** first_string_out, char** second_string_out,
    uint32_t* word1_out, uint32_t* word4_out, uint32_t* block_out, uint32_t* word7_out,
    uint32_t* word5_out, uint32_t* word6_out);

/**
 * Converts a find in host order to network order in place while checking it: the eleven words at 40
 * to 80 whatever the length (the buffer must hold at least 84 bytes), and each length cell after
 * the string's own checks. There are no outputs.
 *
 * Note: the second length cell is converted before the check for bytes left over.
 */
KELVO_API kelvo_status kelvo_common_msg_find_interpret_endian_hton(void* msg, uint32_t length);
/**@}*/

/**
 * Interprets a group find of either type in network order, converting it in place. In this order:
 *
 *  -# the group word is converted, whatever the length (the buffer must hold at least 44 bytes)
 *  -# less than 48 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# the length cell is converted, before there is known to be room for it (the buffer must hold
 *     at least 52 bytes then); no room for cell or string: ::KELVO_ERR_MSG_LENGTH; an empty string
 *     or one that does not end in NUL: ::KELVO_ERR_MSG_CONTENT; no room for its fill:
 *     ::KELVO_ERR_MSG_LENGTH
 *  -# bytes left over: ::KELVO_ERR_MSG_LENGTH
 *
 * @param msg             the message
 * @param length          its length in bytes
 * @param string_out      receives the string, a pointer into the message
 * @param unused          accepted and never written; may be null
 * @param group_word_out  receives the group word
 *
 * On failure no output is written, but the message is partly converted and is to be dropped.
 *
 * Where the buffer is no larger than the message, guard first: kelvo_common_msg_guard() with
 * KELVO_OPERATION_FIND_GROUP_NTOH.
 */
KELVO_API kelvo_status kelvo_common_msg_find_grp_ag_interpret_endian_ntoh(
    void* msg, uint32_t length, char** string_out, void* unused, uint32_t* group_word_out);

/**
 * Converts the reply word of a group-find reply (::kelvo_rply_find_group) in place from network
 * order; nothing else is touched.
 * @return ::KELVO_ERR_MSG_LENGTH for a null reply or one of less than 20 bytes, which is left as it
 *         is; 0
 */
KELVO_API kelvo_status kelvo_lib_rply_grp_ag_interpret_endian_ntoh(void* reply, uint32_t length);

KELVO_EXTERN_C_END

#endif
