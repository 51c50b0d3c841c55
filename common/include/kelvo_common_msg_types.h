/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_common_msg_types.h
 * The 72 message types with their texts, written once as a list.
 *
 * Tags and descriptions deliberately disagree in places (54 reads "VICE" and "VICR"; 19 to 22 read
 * "NFN"/"VRFN" and "not"/"ver"; 23 has two blanks in its tag), the first item and transaction tags
 * have underscores where later ones have blanks, and 59 to 63, 65 and 66 have no tag. Logs and
 * scripts know the texts as they stand here.
 */
#ifndef KELVO_COMMON_MSG_TYPES_H
#define KELVO_COMMON_MSG_TYPES_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/* clang-format off */
/** X(number, name, tag, description) for every message type, in the order of the numbers. */
#define KELVO_MSG_TYPE_LIST(X) \
    X( 0, BIND,                 "BIND        ", "bind")                   \
    X( 1, BIND_REVERSE,         "BIND REV    ", "bind reverse")           \
    X( 2, UNBIND,               "UNBIND      ", "unbind")                 \
    X( 3, ITEM_GET,             "ITEM_GET    ", "get")                    \
    X( 4, ITEM_SET,             "ITEM_SET    ", "set")                    \
    X( 5, FIND,                 "FIND        ", "find")                   \
    X( 6, FIND_DATA,            "FIND_DATA   ", "find data")              \
    X( 7, ITEM_CREATE,          "ITEM_CREATE ", "create")                 \
    X( 8, ITEM_DELETE,          "ITEM_DELETE ", "delete")                 \
    X( 9, COPY,                 "COPY        ", "copy")                   \
    X(10, ITEM_VERIFY,          "ITEM_VERIFY ", "verify")                 \
    X(11, TRANS_START,          "TRANS_START ", "trans start")            \
    X(12, TRANS_COMMIT,         "TRANS_COMMIT", "trans commit")           \
    X(13, TRANS_ABORT,          "TRANS_ABORT ", "trans abort")            \
    X(14, LIST,                 "LIST        ", "list")                   \
    X(15, DATALIST,             "DATALIST    ", "datalist")               \
    X(16, GET_LARGE_REPLY,      "GET LRG RPLY", "large reply")            \
    X(17, EDM_REG,              "EDM REG     ", "EDM reg")                \
    X(18, EDM_UNREG,            "EDM UNREG   ", "EDM unreg")              \
    X(19, NFN_REG,              "NFN REG     ", "not reg")                \
    X(20, NFN_UNREG,            "NFN UNREG   ", "not unreg")              \
    X(21, VRFN_REG,             "VRFN REG    ", "ver reg")                \
    X(22, VRFN_UNREG,           "VRFN UNREG  ", "ver unreg")              \
    X(23, VS_REG,               "VS  REG     ", "VS reg")                 \
    X(24, VS_UNREG,             "VS UNREG    ", "VS unreg")               \
    X(25, CB_GET,               "CB GET      ", "callback get")           \
    X(26, CB_RPLY_EDM,          "CB RPLY EDM ", "EDM response")           \
    X(27, CB_RPLY_PREVERIFY,    "CB RPLY PREV", "preverify response")     \
    X(28, CB_RPLY_VERIFY,       "CB RPLY VER ", "verify response")        \
    X(29, CB_RPLY_APPLY,        "CB RPLY APLY", "apply response")         \
    X(30, CB_RPLY_TRANS,        "CB RPLY TRNS", "td response")            \
    X(31, CB_RPLY_INVALID,      "CB RPLY INV ", "invalid")                \
    X(32, CB_RPLY_VS,           "CB RPLY VS  ", "vs response")            \
    X(33, CB_RPLY_ERROR,        "CB RPLY ERR ", "callback error")         \
    X(34, VRFN_SUSPEND,         "VRFN SUSPEND", "ver suspend")            \
    X(35, VRFN_RESUME,          "VRFN RESUME ", "ver resume")             \
    X(36, LOCK_DEFAULT_TIME,    "LCK DFT TIME", "set timeout")            \
    X(37, ITEM_WRLOCK,          "ITEM WRLOCK ", "write lock")             \
    X(38, ITEM_RDLOCK,          "ITEM RDLOCK ", "read lock")              \
    X(39, ITEM_UNLOCK,          "ITEM UNLOCK ", "unlock")                 \
    X(40, EDM_NFN_GEN,          "EDM NFN GEN ", "EDM notification")       \
    X(41, CB_RPLY_EDMS,         "CB RPLY EDMS", "EDMS response")          \
    X(42, EDMS_REG,             "EDMS REG    ", "EDMS reg")               \
    X(43, EDMS_UNREG,           "EDMS UNREG  ", "EDMS unreg")             \
    X(44, ITEM_COND_DELETE,     "ITEM CON DEL", "cond delete")            \
    X(45, ACK,                  "ACK         ", "ack")                    \
    X(46, BULK,                 "BULK        ", "bulk")                   \
    X(47, LARGE_REQUEST,        "LARGE REQ   ", "large request")          \
    X(48, RESUME_LARGE_REQUEST, "RES LRG REQ ", "large request resume")   \
    X(49, REG_ACTIVATE,         "REG ACTIVATE", "activate registration")  \
    X(50, VS_UNREADY,           "VS UNREADY  ", "VS unready")             \
    X(51, RESTART_TIMER,        "RESTART TMER", "timeout restart")        \
    X(52, GET_ITEMS,            "GET ITEMS   ", "get items")              \
    X(53, TRIGGER_RESYNC,       "TRGR RESYNC ", "trigger replica resync") \
    X(54, VICR_STATUS,          "VICE STATUS ", "VICR status")            \
    X(55, GROUP_LABEL,          "GRP LABEL   ", "group label")            \
    X(56, ISSU_END,             "ISSU END    ", "ISSU end")               \
    X(57, BULK_BIND_REQ,        "BULK BIND RQ", "bulk bind req")          \
    X(58, BULK_REG_REQ,         "BULK REG REQ", "bulk reg req")           \
    X(59, SET_SCAN_APPLY_ERR,   "",             "SetScanAplyErr")         \
    X(60, GET_APPLY_ERR,        "",             "get apply err")          \
    X(61, GET_UNSCANNED,        "",             "get unscanned")          \
    X(62, CLEAR_APPLY_ERR,      "",             "clr apply err")          \
    X(63, CLEAR_UNSCANNED,      "",             "clr unscanned")          \
    X(64, PING,                 "PING        ", "ping")                   \
    X(65, CFG_GRP_GET,          "",             "cfg_grp_get")            \
    X(66, ITEM_GET_INH,         "",             "item_get_inh")           \
    X(67, FIND_GRP_AG,          "FIND GRP AG ", "find_grp_ag")            \
    X(68, FIND_GRP_AH,          "FIND GRP AH ", "find_grp_ah")            \
    X(69, CCV_UPDATE,           "CCV UPDATE  ", "ccv_update")             \
    X(70, BULK_RESUME,          "BULK RESUME ", "bulk_resume")            \
    X(71, BULK_ABORT,           "BULK ABORT  ", "bulk_abort")
/* clang-format on */

/** Message types, as they stand in kelvo_msg_header::type. */
typedef enum kelvo_msg_type {
/** @cond */
#define KELVO_MSG_TYPE_ENUMERATOR(number, name, tag, description) KELVO_MSG_##name = (number),
    KELVO_MSG_TYPE_LIST(KELVO_MSG_TYPE_ENUMERATOR)
#undef KELVO_MSG_TYPE_ENUMERATOR
    /** @endcond */
    KELVO_MSG_TYPE_COUNT = 72
} kelvo_msg_type;

/**
 * Description of a message type in lower case, such as "get".
 * @return a constant text; "Unknown type" for a number above 71
 */
KELVO_API const char* kelvo_comm_msg_desc(uint32_t type);

/**
 * Tag of a message type: exactly 12 characters, padded with blanks, such as "ITEM_GET    ".
 * @return a constant text
 *
 * Note: the text is empty for a number above 71 (not "Unknown type"), and for the types that have a
 * description but no tag: 59 to 63, 65 and 66.
 */
KELVO_API const char* kelvo_comm_msgtype_desc(uint32_t type);

KELVO_EXTERN_C_END

#endif
