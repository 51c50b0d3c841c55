/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_platform_host.h
 * What the platform for an ordinary Linux host adds to the services of kelvo_platform.h.
 *
 * Another platform need not offer any of this; the library never calls it. It is for programs that
 * run on this platform and want to look at it (its configuration, its accounts, the threads that
 * wait), to switch debug flags, or to make and release what the services read and write (traces,
 * packed tuples, replicated messages, serialised records).
 *
 * The conventions of kelvo_types.h hold: 0 is success, out-parameters are written only on success,
 * every function may be called from any thread at any time.
 */
#ifndef KELVO_PLATFORM_HOST_H
#define KELVO_PLATFORM_HOST_H

#include "kelvo_platform.h"

KELVO_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------
 * Statuses
 * --------------------------------------------------------------------------------------------- */

/**
 * How this platform reads a status: 3 bits class, 13 bits subsystem, 7 bits error, 9 bits errno
 * (0 for none). A number below 512 is an errno alone.
 */
/**@{*/
#define PLATFORM_HOST_STATUS_SUBSYSTEM(status) (((status) >> 16) & 0x1FFFu)
#define PLATFORM_HOST_STATUS_ERROR(status) ((status) & ~0x1FFu)
#define PLATFORM_HOST_STATUS_ERRNO(status) ((status)&0x1FFu)
/**@}*/

/** A code of this platform; ::PLATFORM_HOST_STATUS_LIST says what each means. */
/**@{*/
#define PLATFORM_HOST_ERR_CONFIG 0x409b0200u
#define PLATFORM_HOST_ERR_NODE_ID 0x409b0400u
#define PLATFORM_HOST_ERR_NODE_UNKNOWN 0x409b0600u
#define PLATFORM_HOST_ERR_SCRIPT_NAME 0x409b0800u
#define PLATFORM_HOST_ERR_SYSTEM 0xa09b0a00u
#define PLATFORM_HOST_ERR_SYSTEM_BUSY 0x809b0c00u
#define PLATFORM_HOST_ERR_BUFFER_SIZE 0x409b0e00u
#define PLATFORM_HOST_ERR_RECORD 0x409b1000u
#define PLATFORM_HOST_ERR_TUPLE 0x409b1200u
#define PLATFORM_HOST_ERR_TUPLE_FORMAT 0x409b1400u
/**@}*/

/** X(name, meaning) for every code above. The two SYSTEM codes carry an errno. */
#define PLATFORM_HOST_STATUS_LIST(X)                                                               \
    X(PLATFORM_HOST_ERR_CONFIG, "the platform's configuration is in error")                        \
    X(PLATFORM_HOST_ERR_NODE_ID, "the text or number is not a node id")                            \
    X(PLATFORM_HOST_ERR_NODE_UNKNOWN, "the configuration names no such node")                      \
    X(PLATFORM_HOST_ERR_SCRIPT_NAME, "the name of a script is empty or holds a directory")         \
    X(PLATFORM_HOST_ERR_SYSTEM, "an operating-system call failed")                                 \
    X(PLATFORM_HOST_ERR_SYSTEM_BUSY, "the operating system is short of a resource for now")        \
    X(PLATFORM_HOST_ERR_BUFFER_SIZE, "the buffer is too small for the result")                     \
    X(PLATFORM_HOST_ERR_RECORD, "the bytes are not a serialised record")                           \
    X(PLATFORM_HOST_ERR_TUPLE, "the bytes are not a packed tuple")                                 \
    X(PLATFORM_HOST_ERR_TUPLE_FORMAT, "a tuple's format is made of \"%s\" and nothing else")

/* ------------------------------------------------------------------------------------------------
 * Configuration
 * --------------------------------------------------------------------------------------------- */

/** Where the configuration is read when the environment names no other file. */
#define PLATFORM_HOST_CONFIG_PATH "/etc/kelvo/platform.conf"
/** The environment variable that names another file. A file named this way must exist. */
#define PLATFORM_HOST_CONFIG_VARIABLE "KELVO_PLATFORM_CONFIG"

/** What platform_type() and platform_is_single_node() answer while the configuration is in error:
 *  no card type, and not a single node. */
#define PLATFORM_HOST_UNKNOWN 0xFFFFFFFFu

/** A configuration that was read. */
typedef struct platform_host_config platform_host_config;

/**
 * Reads a configuration without using it, for programs that check or show one.
 * @param path  the file, which must exist; null for what this process would use: the file that
 *              KELVO_PLATFORM_CONFIG names, else /etc/kelvo/platform.conf, else the defaults
 * @return the configuration, also when it is in error (see platform_host_config_error()); null only
 *         when memory runs out. Released with platform_host_config_free().
 */
KELVO_API platform_host_config* platform_host_config_load(const char* path);

/** Releases what platform_host_config_load() returned; null is harmless. */
KELVO_API void platform_host_config_free(platform_host_config* config);

/**
 * What is wrong with a configuration, as "file:line: key: problem", or null when it is good.
 * @param config  null for the one that this process uses, which is read now if it has not been yet
 *
 * The process's own configuration is read once, on first need. While it is in error, the services
 * that need it fail with PLATFORM_HOST_ERR_CONFIG (those without a status answer as
 * kelvo_platform.h says for "unknown" or "none"); nothing falls back to the defaults. The error is
 * written to standard error once.
 */
KELVO_API const char* platform_host_config_error(const platform_host_config* config);

/**
 * Receives one value of a configuration.
 * @param argument  passed through
 * @param key       such as "node.id" or "nodes[1].name"
 * @param value     the value as text
 * @param source    where it comes from: "file:line", "environment NAME", "kernel" or "default"
 * The texts are valid during the call only.
 */
typedef void (*platform_host_config_visitor)(void* argument, const char* key, const char* value,
                                             const char* source);

/** Shows every value of a configuration (null: the process's own) to `visit`; of one that is in
 *  error, nothing. @return 0 or PLATFORM_HOST_ERR_CONFIG */
KELVO_API kelvo_status platform_host_config_describe(const platform_host_config* config,
                                                     platform_host_config_visitor visit,
                                                     void* argument);

/* ------------------------------------------------------------------------------------------------
 * Node ids
 * --------------------------------------------------------------------------------------------- */

/**
 * A node id holds rack, slot and processor: bit 31 is 0, bits 30 to 16 are the rack, bits 15 to 8
 * the slot, bits 7 to 0 the processor, each counted from 0. Its text form is "rack_slot_cpu" in
 * decimal without leading zeros. Not every such number is an id: 0 (0_0_0) and the three values
 * from 1000000000 on mean something else where a node value is expected, as do all with bit 31 set.
 */
#define PLATFORM_HOST_NODEID(rack, slot, cpu)                                                      \
    (((uint32_t)(rack) << 16) | ((uint32_t)(slot) << 8) | (uint32_t)(cpu))

/** The largest text form of a node id, "32767_255_255", with its NUL. */
#define PLATFORM_HOST_NODEID_TEXT 14u

/* ------------------------------------------------------------------------------------------------
 * Debug flags, trace
 * --------------------------------------------------------------------------------------------- */

/**
 * Switches debug flags of this process on or off.
 * @param name  a flag's name ("node-resolver"), its path ("/debug/kelvo/common/node-resolver") or
 *              "all"
 * @param on    0 for off
 * @return 0; KELVO_ERR_NULL_PARAM; KELVO_ERR_NOT_FOUND when no registered flag has that name
 */
KELVO_API kelvo_status platform_host_debug_set(const char* name, uint32_t on);

/** The number of traces that a process may have open at a time. */
#define PLATFORM_HOST_TRACES 16u

/**
 * Opens a trace for platform_trace_record(): records are appended to a file, created if need be,
 * one line each.
 * @return the handle, or null with errno set (EMFILE when all traces are in use)
 */
KELVO_API void* platform_host_trace_open(const char* path);

/** Closes a trace. Afterwards, as with any other pointer that is no open trace, recording to it
 * does nothing. */
KELVO_API void platform_host_trace_close(void* trace);

/* ------------------------------------------------------------------------------------------------
 * Threads that wait, callers that allocate
 * --------------------------------------------------------------------------------------------- */

/** A thread that told the thread monitor that it waits for a mutex. */
typedef struct platform_host_blocked_thread {
    uint32_t thread;       /**< thread id, as gettid() gives it */
    uint32_t line;         /**< where in the source it waits */
    const void* mutex;     /**< what it waits for */
    struct timespec since; /**< when it began to, on the clock of clock_get_fast_timespec() */
    char where[32];        /**< the area's name, cut to fit */
} platform_host_blocked_thread;

/** The number of waiting threads that the monitor keeps; more than that wait unseen. */
#define PLATFORM_HOST_BLOCKED_THREADS 64u

/** Copies the threads that wait now, `capacity` rows at most. @return how many there are */
KELVO_API size_t platform_host_blocked_threads(platform_host_blocked_thread* rows, size_t capacity);

/** Writes the threads that wait now to a descriptor, a line each. */
KELVO_API void platform_host_print_blocked_threads(int descriptor);

/** What one caller of alloc_with_caller() has allocated since the process began. */
typedef struct platform_host_caller {
    const void* caller;   /**< the return address; null in the row of all others */
    uint64_t allocations; /**< successful ones */
    uint64_t bytes;       /**< that these asked for */
} platform_host_caller;

/** The number of callers told apart; any further ones share the row of all others, as does a null
 *  caller. */
#define PLATFORM_HOST_CALLERS 256u

/** Copies the accounts, `capacity` rows at most, the row of all others last if it was used.
 *  @return how many there are */
KELVO_API size_t platform_host_callers(platform_host_caller* rows, size_t capacity);

/** Writes the accounts to a descriptor, a line each, callers by the names that the dynamic linker
 *  knows. */
KELVO_API void platform_host_print_callers(int descriptor);

/* ------------------------------------------------------------------------------------------------
 * Replicated messages
 * --------------------------------------------------------------------------------------------- */

/**
 * The header that replica_build_msg_headers() puts right before the message. Every field is in
 * network byte order.
 */
typedef struct platform_host_replica_header {
    uint32_t magic;       /**< PLATFORM_HOST_REPLICA_MAGIC */
    uint16_t version;     /**< PLATFORM_HOST_REPLICA_VERSION */
    uint16_t header_size; /**< of this header in bytes: the message follows at once */
    uint32_t size;        /**< of the message in bytes */
    uint32_t replica_arg; /**< as the sender gave it */
    uint32_t node;        /**< the sender's node id */
    uint32_t job;         /**< the sender's job id */
    uint32_t sequence;    /**< counts the sending process's messages from 1, wrapping */
    uint32_t reserved;    /**< 0 */
} platform_host_replica_header;

KELVO_ASSERT_OFFSET(platform_host_replica_header, magic, 0);
KELVO_ASSERT_OFFSET(platform_host_replica_header, version, 4);
KELVO_ASSERT_OFFSET(platform_host_replica_header, header_size, 6);
KELVO_ASSERT_OFFSET(platform_host_replica_header, size, 8);
KELVO_ASSERT_OFFSET(platform_host_replica_header, replica_arg, 12);
KELVO_ASSERT_OFFSET(platform_host_replica_header, node, 16);
KELVO_ASSERT_OFFSET(platform_host_replica_header, job, 20);
KELVO_ASSERT_OFFSET(platform_host_replica_header, sequence, 24);
KELVO_ASSERT_OFFSET(platform_host_replica_header, reserved, 28);
KELVO_ASSERT_SIZE(platform_host_replica_header, 32);

#define PLATFORM_HOST_REPLICA_MAGIC                                                                \
    0x4B52504Cu                          /**< "KRPL": begins a header of a replicated message */
#define PLATFORM_HOST_REPLICA_VERSION 1u /**< version of that header */

/** Releases a message that replica_build_msg_headers() allocated, given the address of the message
 *  itself; null is harmless. */
KELVO_API void platform_host_replica_free(uint8_t* message);

/* ------------------------------------------------------------------------------------------------
 * Serialised records
 * --------------------------------------------------------------------------------------------- */

/**
 * The header of a serialised record, in network byte order. Annotations of any kind may stand
 * between it and the payload; they are no part of the value.
 */
typedef struct platform_host_record_header {
    uint32_t magic;          /**< PLATFORM_HOST_RECORD_MAGIC */
    uint16_t version;        /**< PLATFORM_HOST_RECORD_VERSION */
    uint16_t payload_offset; /**< from the start of the header, 16 at least, a multiple of 8 */
    uint32_t schema;         /**< number of the record's schema */
    uint32_t revision;       /**< of that schema */
} platform_host_record_header;

KELVO_ASSERT_OFFSET(platform_host_record_header, magic, 0);
KELVO_ASSERT_OFFSET(platform_host_record_header, version, 4);
KELVO_ASSERT_OFFSET(platform_host_record_header, payload_offset, 6);
KELVO_ASSERT_OFFSET(platform_host_record_header, schema, 8);
KELVO_ASSERT_OFFSET(platform_host_record_header, revision, 12);
KELVO_ASSERT_SIZE(platform_host_record_header, 16);

#define PLATFORM_HOST_RECORD_MAGIC 0x4B524543u /**< "KREC": begins a serialised record */
#define PLATFORM_HOST_RECORD_VERSION 1u        /**< version of that header */

/* ------------------------------------------------------------------------------------------------
 * Packed tuples
 * --------------------------------------------------------------------------------------------- */

/**
 * A packed tuple begins with this header, in network byte order. Each text follows as its length
 * (4 bytes, network byte order, counting the NUL) and its bytes with their NUL; nothing is aligned.
 */
typedef struct platform_host_tuple_header {
    uint32_t magic; /**< PLATFORM_HOST_TUPLE_MAGIC */
    uint32_t size;  /**< of the whole tuple in bytes, header included */
    uint32_t count; /**< of texts */
} platform_host_tuple_header;

KELVO_ASSERT_OFFSET(platform_host_tuple_header, magic, 0);
KELVO_ASSERT_OFFSET(platform_host_tuple_header, size, 4);
KELVO_ASSERT_OFFSET(platform_host_tuple_header, count, 8);
KELVO_ASSERT_SIZE(platform_host_tuple_header, 12);

#define PLATFORM_HOST_TUPLE_MAGIC 0x4B545550u /**< "KTUP": begins a packed tuple */

/** The size in bytes of a tuple of these texts. */
KELVO_API size_t platform_host_tuple_size(const char* const* texts, uint32_t count);

/**
 * Packs texts into a buffer for packed_tuple_unpack().
 * @param texts   `count` texts
 * @param count   number of texts
 * @param buffer  receives the tuple
 * @param size    of the buffer in bytes
 * @return 0; KELVO_ERR_NULL_PARAM; PLATFORM_HOST_ERR_BUFFER_SIZE when the buffer is smaller than
 *         platform_host_tuple_size() or the tuple would be larger than 4 GiB
 */
KELVO_API kelvo_status platform_host_tuple_pack(const char* const* texts, uint32_t count,
                                                void* buffer, size_t size);

KELVO_EXTERN_C_END

#endif
