/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_util_nodeid.h
 * Node values and server types with their display names; node ids as text.
 *
 * A node value is a signed 32-bit number: the id of a real node (positive, from the platform), or
 * one of a few reserved values that stand for a class of servers. A server type says which of the
 * servers a client is connected to.
 */
#ifndef KELVO_UTIL_NODEID_H
#define KELVO_UTIL_NODEID_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/* clang-format off */
/** X(name, value, display name, meaning) for every reserved node value, in ascending order. */
#define KELVO_NODE_TYPE_LIST(X) \
    X(ILLEGAL,             -999999999, "illegal",             "no valid answer")                           \
    X(MEMBERSET,           -999999998, "memberset",           "a set of member nodes")                     \
    X(NODESET_COMP,        -499999999, "nodeset_comp",        "a composite node set")                      \
    X(ALL_LOCAL_SAME_RACK, -6,         "all_local_same_rack", "every local server in the caller's rack")   \
    X(UNRESOLVED,          -5,         "unresolved",          "not yet resolved, or ambiguous")            \
    X(ALL_ADMIN,           -4,         "all_admin",           "every admin server")                        \
    X(ALL_SHARED,          -3,         "all_shared",          "every shared server")                       \
    X(ALL_LOCAL,           -2,         "all_local",           "every local server of the system")          \
    X(ALL_LR,              -1,         "all_lr",              "every local server of every logical router") \
    X(PHYSICAL,            0,          "physical",            "a physical node, no class")                 \
    X(SHARED,              1000000000, "shared",              "the shared server")                         \
    X(ADMIN,               1000000001, "admin",               "the admin server")                          \
    X(CCV,                 1000000002, "ccv",                 "the configuration-commit verifier server")

/** X(name, value, display name) for every server type. MAX is how many there are, not a type. */
#define KELVO_SERVER_TYPE_LIST(X) \
    X(LOCAL,          0, "local")          \
    X(SHARED_SC,      1, "shared_sc")      \
    X(SHARED_NC,      2, "shared_nc")      \
    X(ADMIN,          3, "admin")          \
    X(SHARED_DATA_NC, 4, "shared_data_nc") \
    X(CCV,            5, "ccv")            \
    X(ALL,            6, "all")            \
    X(MAX,            7, "max")
/* clang-format on */

/** A node value. */
typedef int32_t kelvo_node_type;

/** The reserved node values, as KELVO_NODE_... */
enum {
/** @cond */
#define KELVO_NODE_TYPE_DEFINE(name, value, display, meaning) KELVO_NODE_##name = value,
    KELVO_NODE_TYPE_LIST(KELVO_NODE_TYPE_DEFINE)
#undef KELVO_NODE_TYPE_DEFINE
    /** @endcond */
};

/** A server type. */
typedef uint32_t kelvo_server_type;

/** The server types, as KELVO_SERVER_... */
enum {
/** @cond */
#define KELVO_SERVER_TYPE_DEFINE(name, value, display) KELVO_SERVER_##name = value,
    KELVO_SERVER_TYPE_LIST(KELVO_SERVER_TYPE_DEFINE)
#undef KELVO_SERVER_TYPE_DEFINE
    /** @endcond */
};

/** The display name of a reserved node value; "" for every other value, real node ids included.
 *  Constant, never null. */
KELVO_API const char* kelvo_comm_nodetype_desc(int32_t node);

/** The display name of a server type; "" for a value above KELVO_SERVER_MAX. Constant, never
 *  null. */
KELVO_API const char* kelvo_comm_servertype_desc(uint32_t type);

/** How many texts of kelvo_util_nodeid_to_str() a thread may hold at a time. */
#define KELVO_NODEID_TEXTS 5u

/** The bytes of one such text, its NUL included. */
#define KELVO_NODEID_TEXT_BYTES 32u

/**
 * The text of a node id, in the platform's form (nodeid_format()).
 *
 * The text lies in a ring of ::KELVO_NODEID_TEXTS slots that belongs to the calling thread: it is
 * valid until the same thread has made five more conversions, or ends. So one log line can print
 * five node ids.
 *
 * @param nodeid  the node id; ::KELVO_NODEID_INVALID gives the constant "NODEID_INVALID"
 * @return the text, never null. "unknown node id 0x<id>" when the platform has no text for the id,
 *         which is logged on the record "INTERNAL_NODEID_STR" with the platform's status; the
 *         constant "Error - can't convert nodeid" when there is no slot to write to:
 *
 *  -# the thread key could not be made, which is done once for the process; logged as internal,
 *     "pthread_once failed" each time or, the first time only, "Couldn't create pthread key for
 *     nodeid to string conversion"
 *  -# no memory for the thread's ring; not logged
 *  -# the ring could not be kept for the thread, logged as internal: "pthread_setspecific failed"
 *  -# the text for an unknown id could not be formed, logged as internal: "Couldn't form error
 *     string in nodeid_to_str"; the slot is then not used up
 *
 * Note: the ring advances for ::KELVO_NODEID_INVALID too, and that id also needs the ring.
 *
 * Note: when the platform has no text, a process whose short name is exactly "kelvo_trace_dump"
 * runs the shell command "dumpaid_gen -o running -p kelvo_trace_dump" and waits for it, to capture
 * its own state.
 */
KELVO_API const char* kelvo_util_nodeid_to_str(uint32_t nodeid);

KELVO_EXTERN_C_END

#endif
