/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_registration.h
 * Registration requests: a client registers with a server for notifications (NFN), as a verifier
 * (VRFN), as a VS, EDM or EDMS provider, or for configuration groups; it unregisters; registrations
 * are activated.
 *
 * Senders lay these messages out themselves, by the structures below, convert them with `_hton` and
 * send them. Receivers convert with `_ntoh`, and only if that returns 0 go on with `_interpret`.
 * Unregistrations and the configuration-group request have no converters.
 *
 *     NFN registration (19)        kelvo_msg_nfn_reg      128 bytes, path, fill
 *     VRFN registration (21)       kelvo_msg_vrfn_reg     136 bytes
 *                                  c paths, each a counted string
 *     VS registration (23)         kelvo_msg_vs_reg       128 bytes, path, fill
 *                                  length cell with c, then c times kelvo_startup_pair
 *     EDMS registration (42)       kelvo_msg_edms_reg     120 bytes, path, fill
 *                                  length cell with c, then c times kelvo_startup_pair
 *     EDM registration (17)        kelvo_msg_edm_reg      136 bytes, first string, fill
 *                                  second string, a counted string
 *     NFN, VRFN, EDM               kelvo_msg_unreg        44 bytes
 *       unregistration (20, 22, 18)
 *     VS, EDMS                     kelvo_msg_startup_unreg  56 bytes, then c times
 *       unregistration (24, 43)                             kelvo_startup_pair
 *     registration activate (49)   kelvo_msg_reg_activate 56 bytes, then c words
 *     configuration groups         kelvo_msg_cfg_grp      48 bytes
 *                                  c names, each a counted string
 *
 * The length cell, the pairs and their order are what kelvo_common_startup_list_create_iovs()
 * makes. Each length is exact: bytes beyond the last field make a message invalid, except where a
 * function says otherwise. The meaning of client blocks and of the words w1 to w7 belongs to client
 * and server; they are passed through.
 *
 * What is trusted: the bytes within the given length are hostile and are checked by `_interpret`.
 * Several converters reach beyond a malformed message before they find it so, or do not look at the
 * length at all. Each says how large the buffer must be; a receiver that cannot promise that guards
 * first: kelvo_common_msg_guard() with the ::kelvo_msg_operation of the converter. Two readers keep
 * memory when they fail, which the guard knows beforehand, too.
 */
#ifndef KELVO_COMMON_MSG_REGISTRATION_H
#define KELVO_COMMON_MSG_REGISTRATION_H

#include "kelvo_common_msg.h"
#include "kelvo_common_startup_list.h"

KELVO_EXTERN_C_BEGIN

/** Bytes of a client block, which is handed to the receiver by pointer and is never converted. */
#define KELVO_CLIENT_BLOCK_BYTES 64

/** Fixed part of an NFN registration. */
typedef struct kelvo_msg_nfn_reg {
    kelvo_msg_header header;                        /**< the common header */
    uint32_t registration_id;                       /**< what the unregistration will carry */
    uint32_t second_word;                           /**< converted, not handed out */
    uint8_t client_block[KELVO_CLIENT_BLOCK_BYTES]; /**< the client's, as it came */
    uint32_t parameter;                             /**< passed through */
    uint32_t unused;                                /**< not converted */
    kelvo_length_cell path;                         /**< length of the path with its NUL */
} kelvo_msg_nfn_reg;

KELVO_ASSERT_OFFSET(kelvo_msg_nfn_reg, registration_id, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_nfn_reg, second_word, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_nfn_reg, client_block, 48);
KELVO_ASSERT_OFFSET(kelvo_msg_nfn_reg, parameter, 112);
KELVO_ASSERT_OFFSET(kelvo_msg_nfn_reg, unused, 116);
KELVO_ASSERT_OFFSET(kelvo_msg_nfn_reg, path, 120);
KELVO_ASSERT_SIZE(kelvo_msg_nfn_reg, 128);

/** Fixed part of a VRFN registration. */
typedef struct kelvo_msg_vrfn_reg {
    kelvo_msg_header header;                        /**< the common header */
    uint32_t registration_id;                       /**< what the unregistration will carry */
    uint32_t w2;                                    /**< passed through */
    uint8_t client_block[KELVO_CLIENT_BLOCK_BYTES]; /**< the client's, as it came */
    uint32_t w3;                                    /**< passed through */
    uint32_t w4;                                    /**< passed through */
    uint32_t w5;                                    /**< passed through */
    uint32_t w6;                                    /**< passed through */
    uint32_t count;                                 /**< number of paths, at least 1 */
    uint32_t w7;                                    /**< passed through */
} kelvo_msg_vrfn_reg;

KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, registration_id, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, w2, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, client_block, 48);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, w3, 112);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, w4, 116);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, w5, 120);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, w6, 124);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, count, 128);
KELVO_ASSERT_OFFSET(kelvo_msg_vrfn_reg, w7, 132);
KELVO_ASSERT_SIZE(kelvo_msg_vrfn_reg, 136);

/** Fixed part of a VS registration. */
typedef struct kelvo_msg_vs_reg {
    kelvo_msg_header header;                        /**< the common header */
    uint32_t registration_id;                       /**< what the unregistration will carry */
    uint32_t unused;                                /**< neither read nor converted */
    uint8_t client_block[KELVO_CLIENT_BLOCK_BYTES]; /**< the client's, as it came */
    uint32_t parameter;                             /**< passed through */
    uint32_t unused2;                               /**< neither read nor converted */
    kelvo_length_cell path;                         /**< length of the path with its NUL */
} kelvo_msg_vs_reg;

KELVO_ASSERT_OFFSET(kelvo_msg_vs_reg, registration_id, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_vs_reg, unused, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_vs_reg, client_block, 48);
KELVO_ASSERT_OFFSET(kelvo_msg_vs_reg, parameter, 112);
KELVO_ASSERT_OFFSET(kelvo_msg_vs_reg, unused2, 116);
KELVO_ASSERT_OFFSET(kelvo_msg_vs_reg, path, 120);
KELVO_ASSERT_SIZE(kelvo_msg_vs_reg, 128);

/** Fixed part of an EDMS registration. */
typedef struct kelvo_msg_edms_reg {
    kelvo_msg_header header;                        /**< the common header */
    uint8_t client_block[KELVO_CLIENT_BLOCK_BYTES]; /**< the client's, as it came */
    uint32_t parameter;                             /**< passed through */
    uint32_t unused;                                /**< neither read nor converted */
    kelvo_length_cell path;                         /**< length of the path with its NUL */
} kelvo_msg_edms_reg;

KELVO_ASSERT_OFFSET(kelvo_msg_edms_reg, client_block, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_edms_reg, parameter, 104);
KELVO_ASSERT_OFFSET(kelvo_msg_edms_reg, unused, 108);
KELVO_ASSERT_OFFSET(kelvo_msg_edms_reg, path, 112);
KELVO_ASSERT_SIZE(kelvo_msg_edms_reg, 120);

/** Fixed part of an EDM registration. */
typedef struct kelvo_msg_edm_reg {
    kelvo_msg_header header;                        /**< the common header */
    uint8_t client_block[KELVO_CLIENT_BLOCK_BYTES]; /**< the client's, as it came */
    uint32_t w1;                                    /**< passed through */
    uint32_t w2;                                    /**< passed through */
    uint32_t w3;                                    /**< passed through */
    uint32_t w4;                                    /**< passed through */
    uint32_t w5;                                    /**< passed through */
    uint32_t unused;                                /**< not converted */
    kelvo_length_cell first;                        /**< length of the first string with its NUL */
} kelvo_msg_edm_reg;

KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, client_block, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, w1, 104);
KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, w2, 108);
KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, w3, 112);
KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, w4, 116);
KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, w5, 120);
KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, unused, 124);
KELVO_ASSERT_OFFSET(kelvo_msg_edm_reg, first, 128);
KELVO_ASSERT_SIZE(kelvo_msg_edm_reg, 136);

/** NFN, VRFN and EDM unregistration. */
typedef struct kelvo_msg_unreg {
    kelvo_msg_header header;  /**< the common header */
    uint32_t registration_id; /**< what the registration carried */
} kelvo_msg_unreg;

KELVO_ASSERT_OFFSET(kelvo_msg_unreg, registration_id, 40);
KELVO_ASSERT_SIZE(kelvo_msg_unreg, 44);

/** Fixed part of a VS or EDMS unregistration. */
typedef struct kelvo_msg_startup_unreg {
    kelvo_msg_header header;  /**< the common header */
    uint32_t registration_id; /**< what the registration carried */
    uint32_t unused;          /**< not read */
    kelvo_length_cell pairs;  /**< number of startup pairs, may be 0 */
} kelvo_msg_startup_unreg;

KELVO_ASSERT_OFFSET(kelvo_msg_startup_unreg, registration_id, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_startup_unreg, unused, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_startup_unreg, pairs, 48);
KELVO_ASSERT_SIZE(kelvo_msg_startup_unreg, 56);

/** Fixed part of a registration activate. */
typedef struct kelvo_msg_reg_activate {
    kelvo_msg_header header;   /**< the common header */
    uint32_t w1;               /**< passed through */
    uint32_t w2;               /**< passed through */
    kelvo_length_cell entries; /**< number of entries; the fill is not converted */
} kelvo_msg_reg_activate;

KELVO_ASSERT_OFFSET(kelvo_msg_reg_activate, w1, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_reg_activate, w2, 44);
KELVO_ASSERT_OFFSET(kelvo_msg_reg_activate, entries, 48);
KELVO_ASSERT_SIZE(kelvo_msg_reg_activate, 56);

/** Fixed part of a configuration-group request, in host order when it is interpreted. */
typedef struct kelvo_msg_cfg_grp {
    kelvo_msg_header header; /**< the common header */
    uint32_t w1;             /**< passed through */
    uint32_t count;          /**< number of group names */
} kelvo_msg_cfg_grp;

KELVO_ASSERT_OFFSET(kelvo_msg_cfg_grp, w1, 40);
KELVO_ASSERT_OFFSET(kelvo_msg_cfg_grp, count, 44);
KELVO_ASSERT_SIZE(kelvo_msg_cfg_grp, 48);

/** Words of the record that the configuration-group reader hands out. */
#define KELVO_CFG_GRP_RECORD_WORDS 5

/**
 * @name Interpret
 *
 * Each checks a received request of `length` bytes in host order and hands out its fields. Texts,
 * the client block and the pointers of a path array point into the message, which must outlive
 * them. Except for configuration groups, nothing beyond `length` is read. Nothing is logged. On
 * failure the out-parameters are left alone.
 *
 * A counted string is checked in this order: room for its length cell and for its text,
 * ::KELVO_ERR_MSG_LENGTH; a text that is not empty and ends in NUL, ::KELVO_ERR_MSG_CONTENT; room
 * for its fill, ::KELVO_ERR_MSG_LENGTH. The empty path, one NUL with length 1, is accepted.
 */
/**@{*/

/**
 * Interprets an NFN registration.
 *
 * @param msg              the message
 * @param length           its length in bytes
 * @param registration_id  receives the registration id
 * @param client_block     receives a pointer to the ::KELVO_CLIENT_BLOCK_BYTES of the client block
 * @param parameter        receives the word at 112
 * @param path             receives the path
 *
 * @return in this order: ::KELVO_ERR_MSG_LENGTH, no room for the fixed part; the path as a counted
 *         string; ::KELVO_ERR_MSG_LENGTH, bytes left over; 0
 */
KELVO_API kelvo_status kelvo_common_msg_nfn_reg_interpret(void* msg, uint32_t length,
                                                          uint32_t* registration_id,
                                                          void** client_block, uint32_t* parameter,
                                                          char** path);

/**
 * Interprets an NFN unregistration.
 *
 * @param msg              the message
 * @param length           its length in bytes
 * @param registration_id  receives the registration id
 *
 * @return ::KELVO_ERR_MSG_LENGTH for any length but 44; 0
 */
KELVO_API kelvo_status kelvo_common_msg_nfn_unreg_interpret(void* msg, uint32_t length,
                                                            uint32_t* registration_id);

/** Interprets a VRFN unregistration, as kelvo_common_msg_nfn_unreg_interpret(). */
KELVO_API kelvo_status kelvo_common_msg_vrfn_unreg_interpret(void* msg, uint32_t length,
                                                             uint32_t* registration_id);

/** Interprets an EDM unregistration, as kelvo_common_msg_nfn_unreg_interpret(). */
KELVO_API kelvo_status kelvo_common_msg_edm_unreg_interpret(void* msg, uint32_t length,
                                                            uint32_t* registration_id);

/**
 * Interprets a VRFN registration.
 *
 * @param msg              the message
 * @param length           its length in bytes
 * @param registration_id  receives the registration id
 * @param w2               receives word 2
 * @param client_block     receives a pointer to the ::KELVO_CLIENT_BLOCK_BYTES of the client block
 * @param w3, w4, w5       receive words 3 to 5
 * @param count            receives the number of paths
 * @param w7               receives word 7
 * @param paths            receives a newly allocated array of `count` pointers into the message,
 *                         which the caller releases with free()
 * @param w6               receives word 6
 *
 * Mind the order of the arguments: w6 comes last.
 *
 * @return in this order: ::KELVO_ERR_MSG_LENGTH, no room for the fixed part;
 *         ::KELVO_ERR_MSG_CONTENT, no paths; ::KELVO_ERR_NO_MEMORY; the paths, one after another,
 *         as counted strings; ::KELVO_ERR_MSG_LENGTH, bytes left over; 0. Failures leave nothing
 *         allocated.
 *
 * Note: memory and time are those of the message, whatever number of paths it claims. One that
 * claims more than it has room for is not asked for memory that it could not fill; it fails on the
 * first path that is missing.
 */
KELVO_API kelvo_status kelvo_common_msg_vrfn_reg_interpret(void* msg, uint32_t length,
                                                           uint32_t* registration_id, uint32_t* w2,
                                                           void** client_block, uint32_t* w3,
                                                           uint32_t* w4, uint32_t* w5,
                                                           uint32_t* count, uint32_t* w7,
                                                           char*** paths, uint32_t* w6);

/**
 * Interprets a VS registration.
 *
 * @param msg              the message
 * @param length           its length in bytes
 * @param registration_id  receives the registration id
 * @param client_block     receives a pointer to the ::KELVO_CLIENT_BLOCK_BYTES of the client block
 * @param parameter        receives the word at 112
 * @param path             receives the path
 * @param list             receives the startup list, newest pair first, as
 *                         kelvo_common_startup_list_add() makes it; null when there are no pairs.
 *                         The caller releases one that is not empty with
 *                         kelvo_common_startup_list_free()
 *
 * @return in this order: ::KELVO_ERR_MSG_LENGTH, no room for the fixed part; the path as a counted
 *         string; ::KELVO_ERR_MSG_LENGTH, no room for the number of pairs; for each pair
 *         ::KELVO_ERR_MSG_LENGTH, no room for it, ::KELVO_ERR_MSG_DUPLICATE, the list has a match
 *         for it, ::KELVO_ERR_NO_MEMORY; ::KELVO_ERR_MSG_LENGTH, bytes left over; 0
 *
 * Note: entries that were added before a failure are not released. They are lost to the process.
 * Guard first, with kelvo_common_msg_guard() and KELVO_OPERATION_VS_REG, and a message cannot
 * bring that about.
 *
 * Note: the time is that of the message, however many pairs it lists. Beyond 32 pairs they are also
 * kept in a set, to find one that is listed twice; the set is released again, and lack of memory
 * for it is ::KELVO_ERR_NO_MEMORY, too.
 */
KELVO_API kelvo_status kelvo_common_msg_vs_reg_interpret(void* msg, uint32_t length,
                                                         uint32_t* registration_id,
                                                         void** client_block, uint32_t* parameter,
                                                         char** path, kelvo_startup_list** list);

/**
 * Interprets a VS unregistration.
 *
 * @param msg              the message
 * @param length           its length in bytes
 * @param registration_id  receives the registration id
 * @param list             receives the startup list, as for kelvo_common_msg_vs_reg_interpret()
 *
 * @return in this order: ::KELVO_ERR_MSG_LENGTH, no room for the fixed part; the pairs as for
 *         kelvo_common_msg_vs_reg_interpret(); ::KELVO_ERR_MSG_LENGTH, bytes left over; 0. Here a
 *         failure releases the entries already added.
 */
KELVO_API kelvo_status kelvo_common_msg_vs_unreg_interpret(void* msg, uint32_t length,
                                                           uint32_t* registration_id,
                                                           kelvo_startup_list** list);

/** Interprets an EDMS unregistration, as kelvo_common_msg_vs_unreg_interpret(). */
KELVO_API kelvo_status kelvo_common_msg_edms_unreg_interpret(void* msg, uint32_t length,
                                                             uint32_t* registration_id,
                                                             kelvo_startup_list** list);

/**
 * Interprets an EDM registration.
 *
 * @param msg              the message
 * @param length           its length in bytes
 * @param client_block     receives a pointer to the ::KELVO_CLIENT_BLOCK_BYTES of the client block
 * @param w1               receives word 1
 * @param second_string    receives the second string
 * @param first_string     receives the first string
 * @param w3, w4, w2, w5   receive the other words
 *
 * @return in this order: ::KELVO_ERR_MSG_LENGTH, no room for the fixed part; the strings as counted
 *         strings, the first one first; ::KELVO_ERR_MSG_LENGTH, bytes left over; 0
 *
 * Note: the order of the arguments is not that of the message. The second string precedes the
 * first, and w2 follows w3 and w4.
 */
KELVO_API kelvo_status kelvo_common_msg_edm_reg_interpret(void* msg, uint32_t length,
                                                          void** client_block, uint32_t* w1,
                                                          char** second_string, char** first_string,
                                                          uint32_t* w3, uint32_t* w4, uint32_t* w2,
                                                          uint32_t* w5);

/**
 * Interprets an EDMS registration, otherwise as kelvo_common_msg_vs_reg_interpret(): it carries no
 * registration id, and the parameter is the word at 104.
 */
KELVO_API kelvo_status kelvo_common_msg_edms_reg_interpret(void* msg, uint32_t length,
                                                           void** client_block, uint32_t* parameter,
                                                           char** path, kelvo_startup_list** list);

/**
 * Interprets a configuration-group request: names the groups as one path and answers what the node
 * resolver always answers for a configuration path.
 *
 * The message is in host order except for the length words of the names, which are in network order
 * and are converted here in place.
 *
 * @param msg     the message
 * @param length  its length in bytes
 * @param path    receives the newly allocated path "cfg/gl/a/config-group/<names>/" with the names
 *                in message order and "|" between them; the caller releases it with free(). Without
 *                names it ends in two slashes
 * @param x       receives 0xFFFFFFFF
 * @param record  receives ::KELVO_CFG_GRP_RECORD_WORDS words: 0xc4653601, 0xFFFFFFFF, 0, 0,
 *                0xFFFFFFFF
 * @param y       receives 4
 * @param count   receives the number of names
 * @param w1      receives the word at 40
 *
 * @return in this order: ::KELVO_ERR_MSG_LENGTH, no room for the fixed part;
 *         ::KELVO_ERR_NO_MEMORY; the names as counted strings; ::KELVO_ERR_NO_MEMORY;
 *         ::KELVO_ERR_MSG_LENGTH, bytes left over; 0. Failures leave nothing allocated.
 *
 * Note: the length word of a name is converted before there is known to be room for it, so the
 * buffer must hold 4 bytes more than the message. After a malformed name the same word is converted
 * once more for each name that remains; what is left of it is known from whether their number is
 * even. The time is that of the message, whatever number of names it claims.
 *
 * Note: a name that contains a NUL counts up to there.
 */
KELVO_API kelvo_status kelvo_common_msg_cfg_grp_interpret(void* msg, uint32_t length, char** path,
                                                          uint32_t* x, uint32_t* record,
                                                          uint32_t* y, uint32_t* count,
                                                          uint32_t* w1);
/**@}*/

/**
 * @name Convert
 *
 * Each converts a registration `msg` of `length` bytes in place, `_ntoh` from network to host order
 * and `_hton` back. `_ntoh` converts a count or a length and tests it then; `_hton` reads it first,
 * and converts the length of a string only when the string has passed its tests. So after a failure
 * the two leave different words converted: `_ntoh` the length that failed, `_hton` not. A message
 * that could not be converted is to be dropped. Nothing is logged.
 */
/**@{*/

/**
 * Converts an NFN registration: the words at 40, 44 and 112, whatever the length; a length below
 * 120 gives ::KELVO_ERR_MSG_LENGTH; then the length of the path. Nothing else is checked.
 *
 * The buffer must hold 116 bytes, and 124 when the length is 120 or more.
 */
KELVO_API kelvo_status kelvo_common_msg_nfn_reg_interpret_ntoh(void* msg, uint32_t length);

/** Converts an NFN registration to network order by the same steps. */
KELVO_API kelvo_status kelvo_common_msg_nfn_reg_interpret_hton(void* msg, uint32_t length);

/**
 * Converts a VRFN registration: the words at 40, 44 and 112 to 132, and the length of each path.
 *
 * @return 0, always
 *
 * Note: nothing is checked. The walk over the paths keeps the number of bytes left, length - 136 as
 * an unsigned 32-bit number, and passes over a path when that many bytes hold it; otherwise it
 * stays where it is, and the next round converts the same word once more and tests it again. So a
 * length that fits in the wrong byte order is passed over, one that fits in neither stays and is
 * converted once for every path that remains. The time is that of the bytes left, whatever number
 * of paths is claimed.
 *
 * The buffer must hold 136 bytes, and 4 bytes more than the message: the walk that has arrived at
 * the end of the message converts the word there while paths remain. A length below 136 makes the
 * number of bytes left nearly 4 GiB: only messages known to be long enough should come here.
 */
KELVO_API kelvo_status kelvo_common_msg_vrfn_reg_interpret_ntoh(void* msg, uint32_t length);

/** Converts a VRFN registration to network order by the same walk, which tests each length before
 *  it converts it. @return 0, always */
KELVO_API kelvo_status kelvo_common_msg_vrfn_reg_interpret_hton(void* msg, uint32_t length);

/**
 * Converts a VS registration. In this order:
 *
 *  -# the words at 40 and 112, whatever the length (the buffer must hold at least 116 bytes); not
 *     the word at 44
 *  -# no room for the fixed part: ::KELVO_ERR_MSG_LENGTH
 *  -# the length of the path, checked as kelvo_common_msg_vs_reg_interpret() does
 *  -# no room for the number of pairs: ::KELVO_ERR_MSG_LENGTH; the number of pairs
 *  -# each pair, and only then: no room for it, ::KELVO_ERR_MSG_LENGTH (the buffer must hold 8
 *     bytes more than the message)
 *  -# bytes left over: ::KELVO_ERR_MSG_LENGTH
 *
 * A failure leaves the fields behind it unconverted; the message must then not be interpreted.
 */
KELVO_API kelvo_status kelvo_common_msg_vs_reg_interpret_ntoh(void* msg, uint32_t length);

/** Converts a VS registration to network order by the same steps, but a pair only once there is
 * room for it: the buffer must hold 116 bytes, and need not be larger than the message. */
KELVO_API kelvo_status kelvo_common_msg_vs_reg_interpret_hton(void* msg, uint32_t length);

/** Converts an EDMS registration as kelvo_common_msg_vs_reg_interpret_ntoh() does a VS
 * registration. Its fixed word is the one at 104 (the buffer must hold at least 108 bytes). */
KELVO_API kelvo_status kelvo_common_msg_edms_reg_interpret_ntoh(void* msg, uint32_t length);

/** Converts an EDMS registration as kelvo_common_msg_vs_reg_interpret_hton() does a VS
 * registration. Its fixed word is the one at 104 (the buffer must hold at least 108 bytes). */
KELVO_API kelvo_status kelvo_common_msg_edms_reg_interpret_hton(void* msg, uint32_t length);

/**
 * Converts an EDM registration. In this order:
 *
 *  -# the words at 104 to 120, whatever the length (the buffer must hold at least 124 bytes)
 *  -# no room for the fixed part: ::KELVO_ERR_MSG_LENGTH
 *  -# the length of the first string, checked as kelvo_common_msg_edm_reg_interpret() does
 *  -# the length of the second string, without a check; 0
 *
 * The second length is converted even when the message ends before it: the buffer must hold 4 bytes
 * more than the message.
 */
KELVO_API kelvo_status kelvo_common_msg_edm_reg_interpret_ntoh(void* msg, uint32_t length);

/** Converts an EDM registration to network order by the same steps, but both lengths together at
 * the end: a failure leaves both unconverted. */
KELVO_API kelvo_status kelvo_common_msg_edm_reg_interpret_hton(void* msg, uint32_t length);

/**
 * Converts a registration activate: a length below 56 gives ::KELVO_ERR_MSG_LENGTH with nothing
 * converted; then the words at 40, 44 and 48 and as many entries as 48 says; 0.
 *
 * Note: the entries are not checked against the length. A buffer of a message of 56 bytes or more
 * must hold these and 4 for each entry that the message claims, up to 16 GiB: the receiver compares
 * the number of entries, still in network order, with the length before it calls this.
 */
KELVO_API kelvo_status kelvo_common_msg_reg_activate_interpret_ntoh(void* msg, uint32_t length);

/** Converts a registration activate to network order; the entries first, by their number in host
 *  order, and the fixed words after. */
KELVO_API kelvo_status kelvo_common_msg_reg_activate_interpret_hton(void* msg, uint32_t length);
/**@}*/

KELVO_EXTERN_C_END

#endif
