/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_node_resolver.h
 * The node resolver: which server owns a path, and through which channel a client reaches it.
 *
 * A state machine walks the path component by component and compares each component's hash with its
 * table (kelvo_nr_dfa_state_table). The table's answer is then refined by the caller's options, the
 * node or interface named in the path, the card type and the rules for management clients.
 *
 * A process calls kelvo_nr_init() once before its first lookup and kelvo_nr_shutdown() when it
 * ends. Between the two, lookups run in any thread and take no lock.
 *
 * Two process names, compared exactly, change what the resolver does: the show tool "kelvoshow" and
 * the management-client process "kelvo_mc".
 *
 * Debug lines are written while the flag "node-resolver" of kelvo_debug.h is on; the transitions of
 * the state machine and the regular expressions that stop it while "node-resolver/dfa" is.
 */
#ifndef KELVO_NODE_RESOLVER_H
#define KELVO_NODE_RESOLVER_H

#include "kelvo_types.h"
#include "kelvo_util_nodeid.h"

KELVO_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------
 * Names
 * --------------------------------------------------------------------------------------------- */

/** Configuration that is being prepared; has the rows of "cfg". */
#define KELVO_NR_NAME_SHADOW "shadow"
/** Actions; has most of the rows of "oper". */
#define KELVO_NR_NAME_ACTION "action"
/** Inter-process communication; never versioned. */
#define KELVO_NR_NAME_IPC "ipc"
/** A top-level name that is deprecated. */
#define KELVO_NR_NAME_FOO "foo"
/** Global shared records, deprecated. */
#define KELVO_NR_NAME_GSR "gsr"
/** Active configuration of a node or an interface: what names it stands below. */
#define KELVO_NR_NAME_ACT "act"
/** Templates for interfaces. */
#define KELVO_NR_NAME_TEM "tem"
/** Interface groups. */
#define KELVO_NR_NAME_IFG "ifg"
/** Node groups. */
#define KELVO_NR_NAME_NODEG "nodeg"
/** Slot groups, deprecated. */
#define KELVO_NR_NAME_SLOTG "slotg"
/** A rack, under "admin". */
#define KELVO_NR_NAME_RACK "rack"
/** A slot of a rack, under "admin". */
#define KELVO_NR_NAME_RACK_SLOT "rack-slot"
/** Television over IP, under "oper". */
#define KELVO_NR_NAME_IPTV "iptv"
/** Its input and output. */
#define KELVO_NR_NAME_IO "io"
/** Configuration at startup, under "oper/config". */
#define KELVO_NR_NAME_STARTUP "startup"
/** The timer diagnostics of the time protocol, under "oper"; deprecated. */
#define KELVO_NR_NAME_DIAG_TIMER_NTP_TEST "diag-timer-ntp-test"

/**
 * X(text, hash) for every component that the table matches: first the names that everybody knows,
 * then those above.
 *
 * The hash of a component starts at 0; for each byte up to the "/", h = h * 33 + byte, the byte
 * taken as a signed 8-bit number, all in unsigned 32-bit arithmetic. Two components of one hash are
 * one component to the resolver.
 */
#define KELVO_NR_NAME_LIST(X)                                                                      \
    X("cfg", 0x1b2b0u)                                                                             \
    X("data", 0x3881dau)                                                                           \
    X("oper", 0x3ec7f6u)                                                                           \
    X("admin", 0x713fc69u)                                                                         \
    X("debug", 0x74aa507u)                                                                         \
    X("gl", 0xdb3u)                                                                                \
    X("if", 0xdefu)                                                                                \
    X("node", 0x3e3726u)                                                                           \
    X("pre", 0x1eb87u)                                                                             \
    X("config", 0xef0567b6u)                                                                       \
    X("trigger", 0xf2f5eab4u)                                                                      \
    X("local", 0x7e0e68bu)                                                                         \
    X(KELVO_NR_NAME_SHADOW, 0x13d21da6u)                                                           \
    X(KELVO_NR_NAME_ACTION, 0xe985483eu)                                                           \
    X(KELVO_NR_NAME_IPC, 0x1cd7cu)                                                                 \
    X(KELVO_NR_NAME_FOO, 0x1c0a4u)                                                                 \
    X(KELVO_NR_NAME_GSR, 0x1c56cu)                                                                 \
    X(KELVO_NR_NAME_ACT, 0x1a9d8u)                                                                 \
    X(KELVO_NR_NAME_TEM, 0x1fae6u)                                                                 \
    X(KELVO_NR_NAME_IFG, 0x1cc36u)                                                                 \
    X(KELVO_NR_NAME_NODEG, 0x8051c4du)                                                             \
    X(KELVO_NR_NAME_SLOTG, 0x85e2269u)                                                             \
    X(KELVO_NR_NAME_RACK, 0x402d01u)                                                               \
    X(KELVO_NR_NAME_RACK_SLOT, 0x2628ae10u)                                                        \
    X(KELVO_NR_NAME_IPTV, 0x3b7fa3u)                                                               \
    X(KELVO_NR_NAME_IO, 0xdf8u)                                                                    \
    X(KELVO_NR_NAME_STARTUP, 0xaa1b7cb3u)                                                          \
    X(KELVO_NR_NAME_DIAG_TIMER_NTP_TEST, 0x8f1d4f8fu)

/* ------------------------------------------------------------------------------------------------
 * The state table
 * --------------------------------------------------------------------------------------------- */

/** Operations of a state. */
enum {
    /** Move past the next "/" to the following component. Failure: nothing follows that "/". */
    KELVO_NR_DFA_ADVANCE = 0x49a0c010,
    /** Stop; the argument is the result, one of ::kelvo_nr_dfa_result. */
    KELVO_NR_DFA_RESULT = 0x49a0c011,
    /** Add the argument to the path's flags; go on with success. */
    KELVO_NR_DFA_SET_FLAG = 0x49a0c012,
    /** Compare the hash of the current component with the argument. Failure: it differs. */
    KELVO_NR_DFA_MATCH = 0x49a0c013,
    /** Go on with success. */
    KELVO_NR_DFA_NO_OPERATION = 0x49a0c014,
    /** Stop with "all local" (management client) or "local" if the caller may use regular
     *  expressions and the current component holds one; else go on with success. */
    KELVO_NR_DFA_WILDCARD_TEST = 0x49a0c015
};

/** Results of the state machine. */
enum kelvo_nr_dfa_result {
    KELVO_NR_DFA_INVALID = 0x61efc60e,   /**< no server owns the path */
    KELVO_NR_DFA_AMBIGUOUS = 0x61efc60f, /**< it stops above the level that decides the owner */
    KELVO_NR_DFA_SHARED = 0x61efc610,    /**< the shared server */
    KELVO_NR_DFA_LOCAL = 0x61efc611,     /**< this node's local server */
    KELVO_NR_DFA_ADMIN = 0x61efc612,     /**< the admin server */
    KELVO_NR_DFA_NODE = 0x61efc613,      /**< the node that the component names */
    KELVO_NR_DFA_IFNAME = 0x61efc614,    /**< the node of the interface that the component names */
    KELVO_NR_DFA_ALL_LOCAL = 0x61efc615  /**< every local server */
};

/** Flags of a path. */
enum {
    KELVO_NR_PATH_DEPRECATED = 0x2,     /**< deprecated path */
    KELVO_NR_PATH_LOG_DEPRECATED = 0x4, /**< its use is logged */
    KELVO_NR_PATH_ALL_LOCAL = 0x8,      /**< all local servers for a management client */
    KELVO_NR_PATH_REGEXP = 0x10,        /**< ambiguous, not invalid, for a management client */
    KELVO_NR_PATH_UNVERSIONED = 0x20    /**< not versioned */
};

/** One state. A link that the operation does not use is the other one, or 0. */
typedef struct kelvo_nr_dfa_state {
    uint32_t operation;  /**< KELVO_NR_DFA_... */
    uint32_t argument;   /**< a result, flags or a component's hash; else 0 */
    uint32_t on_success; /**< number of the next state */
    uint32_t on_failure; /**< number of the next state */
} kelvo_nr_dfa_state;

KELVO_ASSERT_OFFSET(kelvo_nr_dfa_state, operation, 0);
KELVO_ASSERT_OFFSET(kelvo_nr_dfa_state, argument, 4);
KELVO_ASSERT_OFFSET(kelvo_nr_dfa_state, on_success, 8);
KELVO_ASSERT_OFFSET(kelvo_nr_dfa_state, on_failure, 12);
KELVO_ASSERT_SIZE(kelvo_nr_dfa_state, 16);

/** How many states there are. */
#define KELVO_NR_DFA_STATES 167

/** The states. */
KELVO_API extern const kelvo_nr_dfa_state kelvo_nr_dfa_state_table[KELVO_NR_DFA_STATES];

/** The state that a walk starts in: 165. */
KELVO_API extern const uint32_t kelvo_nr_dfa_start_state;

/* ------------------------------------------------------------------------------------------------
 * Life of the resolver
 * --------------------------------------------------------------------------------------------- */

/**
 * Makes the resolver ready. Once per process, before any lookup and before other threads.
 *
 * @param is_server     not 0 when this process is a store server; kept, and nothing else
 * @param nodeid        this node's id, for the show tool only; the others ask the platform
 * @param trace_handle  where names of nodes and interfaces that cannot be resolved are written (see
 *                      platform_trace_record()); null to have them logged
 *
 * Steps, each done whatever became of the others unless it says so:
 *
 *  -# the show tool takes `nodeid` and refuses deprecated paths from now on; every other process
 *     asks for the card type and this node's id. A failure is logged as internal, "Failed to get
 *     nodeid "; its status is the result, and the next step is left out
 *  -# the key for each thread's connection to the interface database is created. A failure is
 *     logged as internal, "Failed to create imc connection context key"
 *  -# the management-client process initialises the debug flags (kelvo_common_debug_init(), whose
 *     failure is logged there and changes nothing here); every other process but the show tool may
 *     from now on bind to the local namespaces of other nodes
 *
 * @return 0, the platform's status, or the system error number of the key
 *
 * Note: the show tool never asks for the card type and counts as a route processor.
 */
KELVO_API kelvo_status kelvo_nr_init(uint32_t is_server, uint32_t nodeid, void* trace_handle);

/** Deletes the key for connections to the interface database. The connections stay. @return 0 */
KELVO_API kelvo_status kelvo_nr_shutdown(void);

/* ------------------------------------------------------------------------------------------------
 * From path to server
 * --------------------------------------------------------------------------------------------- */

/** Options of a lookup. */
enum {
    KELVO_NR_OPT_REGEXP = 0x1,      /**< the path may hold regular expressions */
    KELVO_NR_OPT_MANAGEMENT = 0x2,  /**< the caller is a management client */
    KELVO_NR_OPT_SERVER = 0x4,      /**< paths of any node or interface are this node's */
    KELVO_NR_OPT_UNVERSIONED = 0x8, /**< the answer is never versioned */
    KELVO_NR_OPT_CCV = 0x10         /**< unverified configuration request: the answer is the CCV */
};

/** Which server owns a path. */
typedef struct kelvo_nr_answer {
    kelvo_node_type node_type; /**< KELVO_NODE_PHYSICAL or a class of servers */
    uint32_t node_id;          /**< the node, for a physical node and for all local servers of its
                                  rack; the logical-router number of a remote path; else
                                  ::KELVO_NODEID_INVALID */
    uint32_t versioned;        /**< 1 when requests on the path carry version information */
    kelvo_server_type server_type; /**< KELVO_SERVER_... */
} kelvo_nr_answer;

KELVO_ASSERT_OFFSET(kelvo_nr_answer, node_type, 0);
KELVO_ASSERT_OFFSET(kelvo_nr_answer, node_id, 4);
KELVO_ASSERT_OFFSET(kelvo_nr_answer, versioned, 8);
KELVO_ASSERT_OFFSET(kelvo_nr_answer, server_type, 12);
KELVO_ASSERT_SIZE(kelvo_nr_answer, 16);

/**
 * Finds the server that owns a path.
 *
 * `prefix` and `path` are joined, and a "/" is added unless the text ends with one. A text of the
 * form "remote/N/REST" asks for REST on the logical router N (the decimal digits that the component
 * begins with; 0 when it begins with none).
 *
 * @param prefix        first part of the path, may be ""
 * @param path          second part of the path, may be ""
 * @param options       KELVO_NR_OPT_...
 * @param out           receives the answer; after every failure it holds the illegal answer
 *                      {KELVO_NODE_ILLEGAL, KELVO_NODEID_INVALID, 0, 0}
 * @param is_ambiguous  may be null; receives, on success only, 1 when the path stops above the
 *                      level that decides its owner and the answer was chosen for it, else 0
 *
 * Statuses, in the order tested:
 *
 *  -# ::KELVO_ERR_NULL_PARAM, not logged: `prefix`, `path` or `out` is null
 *  -# ::KELVO_ERR_BAD_PATH: either part starts with "/" (the path that is "/" and nothing else is
 *     good: it is the empty path)
 *  -# ::KELVO_ERR_NO_MEMORY: a joined path of more than 510 bytes found no buffer; shorter ones
 *     never allocate
 *  -# ::KELVO_ERR_BAD_PATH: the path begins with the letter "r" but not with the component "remote"
 *  -# ::KELVO_ERR_NO_OWNER: this process refuses deprecated paths and the path is one
 *  -# ::KELVO_ERR_NO_OWNER: no server owns the path; its owner is on the shared plane, which this
 *     card may not reach; or the node or interface in it cannot be resolved, which is logged on the
 *     record "PARSE_FAILED" or written to the trace (for a sub-card it is logged as internal,
 *     "Failed to extract card nodeid")
 *  -# ::KELVO_ERR_REMOTE_LOCAL_BIND: the path belongs to another node's local server, the system is
 *     not one node, the caller is not a management client, and the process is the show tool or the
 *     management-client process
 *  -# ::KELVO_ERR_BAD_PATH: a remote path that another than the shared, admin or CCV server owns
 *
 * A node is named by its text form when the component has a "_" in it, else by hexadecimal digits;
 * the name of a sub-card stands for its processor. The name of an interface has at most 63
 * characters. The first interface lookup of a thread binds it to the interface database, trying six
 * times, a second apart; when all fail the process stops. A lookup that fails for the moment is
 * repeated up to three times, a second apart.
 *
 * Note: every path that begins with the letter "r" and is not a remote path is refused.
 *
 * Note: some deprecated paths are logged on the record "DEPRECATED_PATH", unless this process
 * refuses them.
 *
 * Note: a regular expression where a name is expected ends the walk for a management client that
 * may use them; the path then counts as ambiguous. A component of more than 511 bytes is not tested
 * for one: no server owns the path, and "NR DFA pathname overrun" is logged on the record
 * "INTERNAL_STATE".
 *
 * Note: an unverified configuration request gets the CCV server for a path that no server owns too,
 * and for an ambiguous one, then not marked as ambiguous; but not for a deprecated path that this
 * process refuses.
 *
 * Note: a path on a plane that this card may not reach has no owner; the lookup never returns
 * ::KELVO_ERR_RESOLVE_UNSUPPORTED.
 *
 * Note: an ambiguous answer is not versioned when the path's first component, or the one after
 * "admin/", begins with the letter "i".
 */
KELVO_API kelvo_status kelvo_nr_lookup_node(const char* prefix, const char* path, uint32_t options,
                                            kelvo_nr_answer* out, uint32_t* is_ambiguous);

/**
 * Strips the remote form from a path.
 *
 * @return the text after the second "/" of a path that starts with "remote"; the path itself when
 *         it does not, or has fewer than two "/". Points into `path`.
 *
 * Note: only the first six characters are looked at, so "remoteness/1/x" gives "x".
 */
KELVO_API const char* kelvo_nr_get_remote_basename(const char* path);

/**
 * Chooses among the shared servers for a path that belongs to one of them. The remote form is
 * stripped first.
 *
 * @param path  the path
 * @param out   receives node type, node id (::KELVO_NODEID_INVALID) and server type; `versioned`
 *              stays as it is
 *
 * Note: the shared server of operational data has the server type 3 (KELVO_SERVER_ADMIN), not 2:
 * that is how servers are told apart on the wire.
 *
 * Note: prefixes are compared as text, so "oper/kelvo/gl/scx" goes where "oper/kelvo/gl/sc" goes.
 */
KELVO_API void kelvo_nr_lookup_shared(const char* path, kelvo_nr_answer* out);

/* ------------------------------------------------------------------------------------------------
 * From path to channel
 * --------------------------------------------------------------------------------------------- */

/** Channel of this node's local server. */
#define KELVO_NR_CHANNEL_LOCAL "/dev/kelvosvr-local"
/** Channel of another node's local server; the node's name follows. */
#define KELVO_NR_CHANNEL_LOCAL_OF "/dev/kelvosvr-local.d/"
/** Channel of the primary shared configuration server. */
#define KELVO_NR_CHANNEL_SHARED_SC "/dev/kelvosvr-primary-shared-sc"
/** Channel of the primary admin server. */
#define KELVO_NR_CHANNEL_ADMIN "/admin/dev/kelvosvr-primary-admin"

/**
 * Finds the channel of the server that owns a path.
 *
 * @param path       the path, as for kelvo_nr_lookup_node()
 * @param options    KELVO_NR_OPT_...
 * @param channel    receives the channel's name: for a local server a new text that the caller
 *                   releases with free(); for a class of servers, and for the shared and the admin
 *                   server, which are reached by their server type, a constant "" that is not to be
 *                   released
 * @param several    may be null; receives 1 when the answer is a class of servers or was chosen for
 *                   an ambiguous path, else 0
 * @param node_type  may be null; receives the answer's node type
 *
 * Statuses, in the order tested:
 *
 *  -# ::KELVO_ERR_NULL_PARAM, not logged: `path` or `channel` is null
 *  -# what kelvo_nr_lookup_node() returns
 *  -# ::KELVO_ERR_BAD_NODE_TYPE, logged as internal: "Bad node type (no LWM channel)". So the CCV
 *     server has no channel
 *  -# ::KELVO_ERR_NODE_NAME: the platform has no name for the node
 *  -# ::KELVO_ERR_OS_CALL, ::KELVO_ERR_NAME_TOO_LONG: the name could not be formed
 *
 * Note: without memory for the new text the process stops with the assertion "channel_name[0] !=
 * '\0'".
 *
 * Note: the node type that is logged as bad appears where other lines have a status.
 */
KELVO_API kelvo_status kelvo_nr_lookup_chan(const char* path, uint32_t options, char** channel,
                                            uint32_t* several, int32_t* node_type);

KELVO_EXTERN_C_END

#endif
