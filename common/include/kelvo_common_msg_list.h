/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_list.h
 * List and data-list: requests for names, or for names with their data, and their replies.
 *
 * Both requests (list is type 14, data-list 15), in network order:
 *
 *     kelvo_msg_list               72 bytes
 *     first string                 counted string
 *     second string                counted string
 *
 * Both replies, in network order:
 *
 *     kelvo_rply_list              24 bytes, holds the number of groups
 *     for each group:
 *         kelvo_rply_list_group    32 bytes, holds the number of entries
 *         for each entry of a list reply:
 *             kelvo_rply_list_entry        16 bytes, ends with the name's length
 *             name, NUL, fill
 *         for each entry of a data-list reply:
 *             kelvo_rply_datalist_entry    16 bytes, ends with the name's length
 *             name, NUL, fill
 *             first value          counted value
 *             second value         counted value
 *
 * What the words and strings mean belongs to client and server; they are passed through.
 */
#ifndef KELVO_COMMON_MSG_LIST_H
#define KELVO_COMMON_MSG_LIST_H

#include "kelvo_common_msg.h"

KELVO_EXTERN_C_BEGIN

/** Fixed part of a list or data-list request. */
typedef struct kelvo_msg_list {
    kelvo_msg_header header; /**< its conversion marker says whether the rest is in host order */
    uint32_t word1;          /**< passed through */
    uint32_t value1[2];      /**< a 64-bit value as it lies in the sender's memory */
    uint32_t value2[2];      /**< likewise */
    uint32_t word2;          /**< passed through */
    uint32_t word3;          /**< carried, but handed out by no reader */
    uint32_t word4;          /**< passed through */
} kelvo_msg_list;

KELVO_ASSERT_OFFSET(kelvo_msg_list, word1, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_list, value1, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_list, value2, 52);
KELVO_ASSERT_OFFSET(kelvo_msg_list, word2, 60);
KELVO_ASSERT_OFFSET(kelvo_msg_list, word3, 64);
KELVO_ASSERT_OFFSET(kelvo_msg_list, word4, 68);
KELVO_ASSERT_SIZE(kelvo_msg_list, 72);

/** What a list or data-list reply begins with. */
typedef struct kelvo_rply_list {
    uint32_t transport[4]; /**< the transport's */
    uint32_t groups;       /**< number of groups */
    uint32_t transport2;   /**< the transport's */
} kelvo_rply_list;

KELVO_ASSERT_OFFSET(kelvo_rply_list, groups, 16);
KELVO_ASSERT_SIZE(kelvo_rply_list, 24);

/** What a group of a reply begins with. */
typedef struct kelvo_rply_list_group {
    uint32_t value1[2]; /**< a 64-bit value as it lies in the sender's memory */
    uint32_t value2[2]; /**< likewise */
    uint32_t word1;     /**< passed through */
    uint32_t entries;   /**< number of entries in the group */
    uint32_t word2;     /**< passed through */
    uint32_t word3;     /**< passed through */
} kelvo_rply_list_group;

KELVO_ASSERT_OFFSET(kelvo_rply_list_group, value1, 0);
KELVO_ASSERT_OFFSET(kelvo_rply_list_group, value2, 8);
KELVO_ASSERT_OFFSET(kelvo_rply_list_group, word1, 16);
KELVO_ASSERT_OFFSET(kelvo_rply_list_group, entries, 20);
KELVO_ASSERT_OFFSET(kelvo_rply_list_group, word2, 24);
KELVO_ASSERT_OFFSET(kelvo_rply_list_group, word3, 28);
KELVO_ASSERT_SIZE(kelvo_rply_list_group, 32);

/** What an entry of a list reply begins with. */
typedef struct kelvo_rply_list_entry {
    uint32_t word1;         /**< passed through */
    uint32_t word2;         /**< passed through */
    kelvo_length_cell name; /**< length of the name with its NUL */
} kelvo_rply_list_entry;

KELVO_ASSERT_OFFSET(kelvo_rply_list_entry, word1, 0);
KELVO_ASSERT_OFFSET(kelvo_rply_list_entry, word2, 4);
KELVO_ASSERT_OFFSET(kelvo_rply_list_entry, name, 8);
KELVO_ASSERT_SIZE(kelvo_rply_list_entry, 16);

/** What an entry of a data-list reply begins with. */
typedef struct kelvo_rply_datalist_entry {
    uint32_t type;          /**< value type of both values, see ::kelvo_value_type */
    uint32_t word2;         /**< passed through */
    kelvo_length_cell name; /**< length of the name with its NUL */
} kelvo_rply_datalist_entry;

KELVO_ASSERT_OFFSET(kelvo_rply_datalist_entry, type, 0);
KELVO_ASSERT_OFFSET(kelvo_rply_datalist_entry, word2, 4);
KELVO_ASSERT_OFFSET(kelvo_rply_datalist_entry, name, 8);
KELVO_ASSERT_SIZE(kelvo_rply_datalist_entry, 16);

/**
 * @name Compose
 *
 * Each fills the caller's header area of 72 bytes (::kelvo_msg_list) and 7 slots: header, first
 * length, first string, fill, second length, second string, fill. The cells are 8 bytes each in the
 * caller's storage; the strings are NUL-terminated texts. Header area, cells and strings must stay
 * as they are until the list has been sent. Nothing is tested and nothing can fail.
 *
 * The words of a 64-bit value are converted one by one and are not exchanged.
 *
 * Note: the conversion marker is the caller's. A header area that happens to hold
 * ::KELVO_MSG_CONVERTED there makes the receiver take the message as already converted.
 */
/**@{*/

/** Composes a list (type 14). */
KELVO_API void kelvo_common_msg_list_compose(void* header, uint32_t* first_len_slot,
                                             uint32_t* second_len_slot, const char* first_string,
                                             const char* second_string, uint32_t word1,
                                             uint64_t value1, uint64_t value2, uint32_t word2,
                                             uint32_t word3, uint32_t word4, kelvo_slot* gather);

/** Composes a data-list (type 15), otherwise as kelvo_common_msg_list_compose(). */
KELVO_API void kelvo_common_msg_datalist_compose(
    void* header, uint32_t* first_len_slot, uint32_t* second_len_slot, const char* first_string,
    const char* second_string, uint32_t word1, uint64_t value1, uint64_t value2, uint32_t word2,
    uint32_t word3, uint32_t word4, kelvo_slot* gather);
/**@}*/

/**
 * @name Interpret a request
 *
 * Each checks a received request of `length` bytes and hands out its fields; the strings are
 * pointers into the message. A message whose conversion marker is not ::KELVO_MSG_CONVERTED is in
 * network order and is converted in place on the way; a marked one is only read. Either way it is
 * marked afterwards, whatever the outcome, so a message may be interpreted again: the second
 * reading converts nothing and answers the same for a message that was accepted.
 *
 * Steps, in this order:
 *
 *  -# (unmarked) the eight words at 40 to 68 are converted, whatever the length
 *  -# less than 72 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# for the first string, then the second: (unmarked) its length cell is converted, before there
 *     is known to be room for it; no room for cell or text: ::KELVO_ERR_MSG_LENGTH; an empty string
 *     or one that does not end in NUL: ::KELVO_ERR_MSG_CONTENT; no room for its fill:
 *     ::KELVO_ERR_MSG_LENGTH
 *  -# bytes left over: ::KELVO_ERR_MSG_LENGTH
 *
 * The buffer must hold at least 24 bytes, where the marker ends. That of an unmarked message must
 * hold at least 72 bytes, and 4 bytes more than a message that ends where a length cell is due; or
 * guard first: kelvo_common_msg_guard() with KELVO_OPERATION_LIST or KELVO_OPERATION_DATALIST.
 *
 * On failure no output is written, and the conversion stays where it stopped: such a message is
 * marked but only partly converted, and is to be dropped.
 */
/**@{*/

/**
 * Interprets a list.
 *
 * @param msg                the message
 * @param length             its length in bytes
 * @param first_string_out   receives the first string
 * @param second_string_out  receives the second string
 * @param word1_out          receives word 1
 * @param block_out          receives five words: two of value 1, two of value 2, word 2
 * @param word4_out          receives word 4
 *
 * Note: word 3 is not handed out. The message is marked as soon as its conversion begins.
 */
KELVO_API kelvo_status kelvo_common_msg_list_interpret(void* msg, uint32_t length,
                                                       char** first_string_out,
                                                       char** second_string_out,
                                                       uint32_t* word1_out, uint32_t* block_out,
                                                       uint32_t* word4_out);

/**
 * Interprets a data-list, otherwise as kelvo_common_msg_list_interpret().
 *
 * Note: the message is marked last, after the outputs have been written.
 */
KELVO_API kelvo_status kelvo_common_msg_datalist_interpret(void* msg, uint32_t length,
                                                           char** first_string_out,
                                                           char** second_string_out,
                                                           uint32_t* word1_out, uint32_t* block_out,
                                                           uint32_t* word4_out);
/**@}*/

/**
 * @name Convert a reply
 *
 * Each converts a received reply in place from network order and checks its lengths; the caller
 * then walks it by the structures above. A failed reply is partly converted and not to be walked.
 * Names need not end in NUL; the second half of a length cell is not touched.
 *
 * Note: these checks are lenient, and clients rely on it. A piece that ends a group, and whatever
 * follows it, is not compared with the end of the reply, and words are converted before, or
 * without, a test. So the buffer must be larger than `length` in these places:
 *
 *  - The first two words of an entry are converted before the entry is tested: 8 bytes from where
 *    it begins. An entry that is not the first of its group begins before the end of the reply.
 *  - A value of a data-list entry is converted by its type (2, 4 or 8 bytes) before a test or, the
 *    second value, without one. Its length cell has been found to lie within the reply.
 *  - Each group header after the first is converted without a test: 32 bytes from where the last
 *    entry of the group before ends by its own lengths, or, after a group of no entries, from where
 *    that group's header ends.
 *
 * For a reply of one group that comes to at most 8 bytes beyond `length`. With more groups, the
 * place of a header follows from the reply's own lengths alone: the last piece of a group may claim
 * up to 4 GiB, and G groups without entries take 32 * G bytes, whatever `length` says. A reply of
 * several groups must therefore come from a server that the caller trusts, or have had the places
 * of its groups checked, which is what kelvo_common_msg_guard() does: guard first, with
 * KELVO_OPERATION_LIST_REPLY_NTOH or KELVO_OPERATION_DATALIST_REPLY_NTOH, and the buffer need
 * not be larger than the reply.
 */
/**@{*/

/**
 * Converts a list reply. In this order:
 *
 *  -# a null reply or less than 56 bytes: ::KELVO_ERR_MSG_LENGTH
 *  -# the number of groups is converted; no groups: 0
 *  -# for each group: its eight header words are converted; then for each of its entries: both
 *     words are converted; the reply ends with the entry's 16 bytes, or before:
 *     ::KELVO_ERR_MSG_LENGTH; the name's length is converted; unless this is the group's last
 *     entry, the reply ends with its fill, or before: ::KELVO_ERR_MSG_LENGTH
 *
 * @return 0 or a status
 *
 * Note: the name of a group's last entry may run past the end of the reply.
 */
KELVO_API kelvo_status kelvo_lib_rply_list_interpret_endian_ntoh(void* reply, uint32_t length);

/**
 * Converts a data-list reply, as kelvo_lib_rply_list_interpret_endian_ntoh() but with these steps
 * for each entry:
 *
 *  -# value type and second word are converted; the reply ends with the entry's 16 bytes, or
 *     before: ::KELVO_ERR_MSG_LENGTH
 *  -# the name's length is converted; no room for the name, its fill and the first length cell:
 *     ::KELVO_ERR_MSG_LENGTH
 *  -# the first value's length is converted, then the value by its type, unless it is empty; no
 *     room for the value, its fill and the second length cell: ::KELVO_ERR_MSG_LENGTH
 *  -# the second value's length is converted, then the value by the same type, unless it is empty
 *  -# unless this is the group's last entry, the reply ends with the second value's fill, or
 *     before: ::KELVO_ERR_MSG_LENGTH
 *
 * @return 0 or a status
 *
 * Note: the first value is converted before there is known to be room for it, and the second value
 * of a group's last entry may run past the end of the reply. A value that is shorter than its type
 * has fill converted with it.
 */
KELVO_API kelvo_status kelvo_lib_rply_datalist_interpret_endian_ntoh(void* reply, uint32_t length);
/**@}*/

KELVO_EXTERN_C_END

#endif
