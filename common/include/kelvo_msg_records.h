/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_msg_records.h
 * The message catalogue: the constant records that the library logs against.
 *
 * A condition that an operator should see is written with the platform's logger qor_errmsg(), which
 * takes the address of one of these records, its severity and exactly the arguments of its format.
 * Records are constant; a record points at its rate-limit object, which belongs to the logger and
 * is touched by nobody else.
 *
 * "INVALID_PATH", "LOCKING" and "WRONG_PLANE" are here for the store's other components; this
 * library does not log them.
 */
#ifndef KELVO_MSG_RECORDS_H
#define KELVO_MSG_RECORDS_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** Bookkeeping of the logger for one rate-limited message. The first word is stored as 1. */
typedef struct qor_msg_limit {
    uint32_t enabled;        /**< 1 */
    uint32_t bookkeeping[7]; /**< the logger's own; stored as 0 */
} qor_msg_limit;

KELVO_ASSERT_SIZE(qor_msg_limit, 32);

/** One catalogue message. */
typedef struct qor_msg_rec {
    uint64_t reserved;     /**< 0 */
    const char* format;    /**< printf-style text */
    qor_msg_limit* limit;  /**< null when the message is not rate-limited */
    const char* facility;  /**< "KELVOUTILS" */
    const char* group;     /**< "KELVO" */
    const char* mnemonic;  /**< upper-case name of the message */
    uint16_t options;      /**< passed through to the logger */
    uint16_t severity;     /**< 6 or 7; equals the severity that every call passes */
    uint32_t reserved2[3]; /**< 0 */
    uint32_t message_id;   /**< facility number in the upper half, message number in the lower */
    uint32_t reserved3;    /**< 0 */
} qor_msg_rec;

KELVO_ASSERT_OFFSET(qor_msg_rec, format, 8);
KELVO_ASSERT_OFFSET(qor_msg_rec, limit, 16);
KELVO_ASSERT_OFFSET(qor_msg_rec, facility, 24);
KELVO_ASSERT_OFFSET(qor_msg_rec, group, 32);
KELVO_ASSERT_OFFSET(qor_msg_rec, mnemonic, 40);
KELVO_ASSERT_OFFSET(qor_msg_rec, options, 48);
KELVO_ASSERT_OFFSET(qor_msg_rec, severity, 50);
KELVO_ASSERT_OFFSET(qor_msg_rec, reserved2, 52);
KELVO_ASSERT_OFFSET(qor_msg_rec, message_id, 64);
KELVO_ASSERT_OFFSET(qor_msg_rec, reserved3, 68);
KELVO_ASSERT_SIZE(qor_msg_rec, 72);

/** The facility number of the library, the upper half of every message id. */
#define KELVO_MSG_FACILITY 0x0232u

/**
 * X(name, mnemonic, number, severity, options, LIMITED or UNLIMITED, format), in the order of the
 * message numbers, which is the alphabetical order of the mnemonics.
 */
#define KELVO_MSG_RECORD_LIST(X)                                                                   \
    X(deprecated_path, "DEPRECATED_PATH", 32, 7, 0, LIMITED, "Kelvo path '%s' is deprecated")      \
    X(fileopen_fail, "FILEOPEN_FAIL", 33, 6, 0, UNLIMITED, "Failed to open log file %s")           \
    X(internal, "INTERNAL", 34, 7, 7, LIMITED, "%s: rc 0x%x (%s)")                                 \
    X(internal_nodeid_str, "INTERNAL_NODEID_STR", 35, 7, 1, LIMITED,                               \
      "NodeID to string conversion failed for node id %d (rc 0x%x - %s)")                          \
    X(internal_state, "INTERNAL_STATE", 36, 7, 1, LIMITED, "%s")                                   \
    X(invalid_path, "INVALID_PATH", 37, 7, 1, LIMITED, "Kelvo path '%s' is invalid")               \
    X(locking, "LOCKING", 38, 7, 7, LIMITED, "Failed to %s %s. Error %d")                          \
    X(mutex_unlock_fail, "MUTEX_UNLOCK_FAIL", 39, 6, 0, UNLIMITED, "Failed to unlock log mutex")   \
    X(parse_failed, "PARSE_FAILED", 40, 7, 0, LIMITED, "%s ('%s' from '%s') (%s)")                 \
    X(unexpected_value, "UNEXPECTED_VALUE", 41, 7, 1, LIMITED, "Encountered unexpected %s: 0x%x")  \
    X(wrong_plane, "WRONG_PLANE", 42, 7, 0, LIMITED,                                               \
      "An attempt was made to access Kelvo path '%s'.  This resolves to the %s plane and "         \
      "cannot be accessed on this card type.")

/** @cond */
#define KELVO_MSG_DECLARE_LIMITED(name)                                                            \
    KELVO_API extern qor_msg_limit qor_msg_limit_kelvoutils_##name;
#define KELVO_MSG_DECLARE_UNLIMITED(name)
#define KELVO_MSG_DECLARE(name, mnemonic, number, severity, options, limited, format)              \
    KELVO_API extern const qor_msg_rec qor_msg_rec_kelvoutils_##name;                              \
    KELVO_MSG_DECLARE_##limited(name)
KELVO_MSG_RECORD_LIST(KELVO_MSG_DECLARE)
#undef KELVO_MSG_DECLARE
#undef KELVO_MSG_DECLARE_LIMITED
#undef KELVO_MSG_DECLARE_UNLIMITED
/** @endcond */

KELVO_EXTERN_C_END

#endif
