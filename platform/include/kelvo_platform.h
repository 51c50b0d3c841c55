/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_platform.h
 * What the library asks of the platform that it runs on: every service, with its contract.
 *
 * The library imports these functions and builds none of them in. The default for an ordinary Linux
 * host is `libkelvo_platform.so.1`; another platform ships a library of the same SONAME. A process
 * may also replace a single service by defining a function of that name itself: the dynamic linker
 * then binds the library, and the rest of the platform, to the process's definition.
 *
 * Rules for every service, unless its comment says otherwise:
 *
 * - It may be called from any thread at any time, and must be ready when the library is loaded.
 * - A status is 0 for success; out-parameters are written only on success. Statuses of a platform
 *   are its own 32-bit numbers; the library passes them through and asks errcode_strerror() for
 *   their text. The class bits mean what kelvo_status.h says.
 * - Texts handed in belong to the library and are valid during the call only.
 */
#ifndef KELVO_PLATFORM_H
#define KELVO_PLATFORM_H

#include <pthread.h>
#include <time.h>

#include "kelvo_msg_records.h"
#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------
 * Message-catalogue logger and status texts
 * --------------------------------------------------------------------------------------------- */

/**
 * Writes one catalogue message to the system log.
 *
 * @param record    the message; constant, its rate-limit object (if any) is the logger's to change
 * @param severity  6 (notice) or 7 (error detail), always the record's own
 * @param ...       exactly the arguments of record->format
 *
 * Must not fail visibly and must not change errno in a way that a caller could notice.
 */
KELVO_API void qor_errmsg(const qor_msg_rec* record, int severity, ...);

/** Text of a status code, never null. The text is constant or stays valid for the calling thread
 *  until its next call. */
KELVO_API const char* errcode_strerror(kelvo_status status);

/** The three texts of a status code; each may be null or empty. They live as long as those of
 *  errcode_strerror(). */
typedef struct errcode_strings {
    const char* subsystem; /**< its name; begins with "Subsystem(" when only the number is known */
    const char* error;     /**< the error's text */
    const char* os_error;  /**< the operating system's text for it; strerror(0) counts as none */
} errcode_strings;

/** Splits a status code into its texts. @return 0 or a status that the caller passes on. */
KELVO_API kelvo_status errcode_getstrings(kelvo_status status, errcode_strings* strings);

/* ------------------------------------------------------------------------------------------------
 * Node identity and card types
 * --------------------------------------------------------------------------------------------- */

/** Card types that the library tells apart. */
enum {
    PLATFORM_TYPE_ROUTE_PROCESSOR = 0,
    PLATFORM_TYPE_DISTRIBUTED_PROCESSOR = 1,
    PLATFORM_TYPE_LINE_CARD = 2,
    PLATFORM_TYPE_STANDBY_PROCESSOR = 3,
    PLATFORM_TYPE_LOCAL_ONLY = 4, /**< may not reach the shared plane; gets no log file */
    PLATFORM_TYPE_SERVICE_CARD = 5
};

/** Node type for which a management client addresses all local servers of the rack. */
#define PLATFORM_NODE_TYPE_RACK 2u

/** Stores this node's id. @return 0 or a status. */
KELVO_API kelvo_status platform_my_nodeid(uint32_t* nodeid);

/** This node's card type, PLATFORM_TYPE_... */
KELVO_API uint32_t platform_type(void);

/** 1 when the whole system is one node (centralised), 0 when not; any other answer counts as 0. */
KELVO_API uint32_t platform_is_single_node(void);

/** The node type of a node; 0 when it has no special one or is unknown. */
KELVO_API uint32_t platform_node_type(uint32_t nodeid);

/**
 * Writes the name of a node, as it stands in channel names, with its NUL.
 * @param nodeid  the node
 * @param buffer  receives the text with its NUL
 * @param size    size of the buffer in bytes; a name that does not fit is a failure
 * @return 0 or a status
 */
KELVO_API kelvo_status platform_node_name(uint32_t nodeid, char* buffer, size_t size);

/** Parses the text form of a node id, as nodeid_format() writes it. @return 0 or a status. */
KELVO_API kelvo_status nodeid_parse(const char* text, uint32_t* nodeid);

/** Writes the text form of a node id with its NUL into `size` bytes. @return 0 or a status. */
KELVO_API kelvo_status nodeid_format(uint32_t nodeid, char* buffer, size_t size);

/** Turns the id of a sub-card into the id of the processor that serves it; the id of a processor
 *  stays as it is. @return 0 or a status. */
KELVO_API kelvo_status nodeid_to_cpu_nodeid(uint32_t nodeid, uint32_t* cpu_nodeid);

/* ------------------------------------------------------------------------------------------------
 * Interface database
 * --------------------------------------------------------------------------------------------- */

/** The status with which an interface lookup says that the interface is permanently unknown. It has
 *  the transient class but is not retried. */
#define IFDB_UNKNOWN_INTERFACE 0x809a3c00u

/**
 * Opens a connection to the interface database for the calling thread. The library keeps one per
 * thread and never closes it.
 * @return 0 or a status; the library tries again, 1 second apart
 */
KELVO_API kelvo_status ifdb_bind(void** connection);

/**
 * Finds the node that an interface belongs to.
 *
 * @param connection  from ifdb_bind(), used by the thread that bound it
 * @param name        the interface's name, at most 63 characters
 * @param nodeid      receives the node, or KELVO_NODEID_INVALID when the name is well formed but
 *                    stands for no node
 * @param reported    receives the database's own answer: 0, or why it has none (written always)
 * @return 0 when the database could be asked, else a status
 *
 * A returned or reported status of the transient class, other than IFDB_UNKNOWN_INTERFACE, makes
 * the library ask again.
 */
KELVO_API kelvo_status ifname_to_location(void* connection, const char* name, uint32_t* nodeid,
                                          kelvo_status* reported);

/* ------------------------------------------------------------------------------------------------
 * Processes
 * --------------------------------------------------------------------------------------------- */

/** The job id of this process. */
KELVO_API uint32_t procmgr_get_job_id(void);

/** How a script is to be run. */
typedef struct procmgr_spawn_params {
    uint32_t time_limit_seconds; /**< after which the process manager ends it; 0 for none */
    uint32_t reserved[7];        /**< 0 */
} procmgr_spawn_params;

/**
 * Starts one of the platform's scripts and returns at once.
 * @param script     its name, without a directory
 * @param arguments  its arguments in one text, separated by blanks (the platform splits it)
 * @param params     how the script is to run
 * @return 0 or a status
 */
KELVO_API kelvo_status procmgr_spawn_script(const char* script, const char* arguments,
                                            const procmgr_spawn_params* params);

/**
 * Starts a program, found as the shell would find it, and returns at once.
 * @param name         the program
 * @param arguments    its argument list: arguments[0] is the name, a null pointer ends it
 * @param descriptors  the open descriptors that become its standard input, output and error
 * @return the process id, or -1 with errno set
 */
KELVO_API int spawn_process(const char* name, char* const arguments[], const int descriptors[3]);

/** The directory of the boot medium with this number (1 is the first), ending in "/"; null, with
 *  errno set, when there is none. */
KELVO_API const char* platform_get_boot_media(uint32_t which);

/* ------------------------------------------------------------------------------------------------
 * Debug-flag registry and debug print
 * --------------------------------------------------------------------------------------------- */

/** One debug flag, filled and kept by the platform. */
typedef struct platform_debug_context {
    uint32_t enabled;     /**< non-zero while the flag is on; read by the library without a lock */
    uint32_t index;       /**< row of the flag in its table */
    uint32_t level;       /**< as given at initialisation */
    uint32_t value;       /**< as given at initialisation */
    const char* name;     /**< as given at initialisation */
    const char* path;     /**< where the table is registered; null while it is not */
    void* bookkeeping[2]; /**< the platform's own */
} platform_debug_context;

KELVO_ASSERT_OFFSET(platform_debug_context, enabled, 0);
KELVO_ASSERT_SIZE(platform_debug_context, 48);

/**
 * Initialises one flag of a table.
 * @param context  the flag, a row of `table`; outlives the registration, as does `name`
 * @param table    the first row of the table
 * @param index    the flag's row
 * @param level    passed through
 * @param name     the flag's name below the table's debug path
 * @param value    passed through
 * @return 0 or a status
 */
KELVO_API kelvo_status platform_debug_init_event(platform_debug_context* context,
                                                 platform_debug_context* table, uint32_t index,
                                                 uint32_t level, const char* name, uint32_t value);

/** Registers the initialised flags of a table under a debug path. @return 0 or a status. */
KELVO_API kelvo_status platform_debug_register(platform_debug_context* table, const char* path);

/** Withdraws what is registered under a debug path. @return 0 or a status. */
KELVO_API kelvo_status platform_debug_cleanup(const char* path);

/** Writes one debug line. The library calls it only while the flag that gates the line is on. */
KELVO_API void debug_print(const char* format, ...) KELVO_PRINTF(1, 2);

/** Writes one record to the trace that a process gave to the resolver at initialisation. */
KELVO_API void platform_trace_record(void* trace, const char* format, ...) KELVO_PRINTF(2, 3);

/* ------------------------------------------------------------------------------------------------
 * Thread monitor, descriptors, clock
 * --------------------------------------------------------------------------------------------- */

/** Tells the thread monitor that the calling thread is about to wait for a mutex. `line` is where
 * in the source it waits, `where` the area's name. */
KELVO_API void thread_mark_mutex_block(pthread_mutex_t* mutex, const char* where, uint32_t line);

/** Tells the thread monitor that the calling thread no longer waits. */
KELVO_API void thread_unmark_mutex_block(void);

/** Duplicates a descriptor as dup() does. @return the new descriptor, or -1 with errno set. */
KELVO_API int platform_dup(int descriptor);

/** Stores the time since boot, at the price of a coarse clock. May leave *now as it is. */
KELVO_API void clock_get_fast_timespec(struct timespec* now);

/* ------------------------------------------------------------------------------------------------
 * Memory and text
 * --------------------------------------------------------------------------------------------- */

/** As malloc(), and accounts the bytes to `caller` (a return address). Released with free(). */
KELVO_API void* alloc_with_caller(size_t size, const void* caller);

/** Copies at most size - 1 characters and always ends them with a NUL (size of at least 1).
 *  @return destination */
KELVO_API char* buf_strncpy(char* destination, const char* source, size_t size);

/* ------------------------------------------------------------------------------------------------
 * Replication layer, serialised records, packed tuples
 * --------------------------------------------------------------------------------------------- */

/**
 * Allocates a buffer that carries the replication headers ahead of a message.
 *
 * @param size         bytes of the message that will follow the headers
 * @param replica_arg  passed through from the sender
 * @param buffer       receives the address at which the message itself begins, or null when there
 *                     is no memory; unlike elsewhere it may be stored together with a failure
 * @return 0 or a status. The library returns a status only when a buffer was stored as well;
 *         without a buffer it reports that memory ran out.
 *
 * How the buffer is released is the layer's to say.
 */
KELVO_API kelvo_status replica_build_msg_headers(uint32_t size, uint32_t replica_arg,
                                                 uint8_t** buffer);

/** Stores the offset at which the payload of a serialised record begins. @return 0 or a status. */
KELVO_API kelvo_status record_payload_offset(const void* record, uint32_t* offset);

/**
 * Unpacks a packed tuple of texts into the caller's buffers.
 * @param tuple   the packed tuple
 * @param format  one "%s" for each text wanted
 * @param ...     for each "%s" a `char *` to a buffer of 256 bytes; a text that the tuple does not
 *                carry becomes empty, a longer one is cut
 * @return 0 or a status
 */
KELVO_API kelvo_status packed_tuple_unpack(const void* tuple, const char* format, ...);

/* ------------------------------------------------------------------------------------------------
 * Balanced ordered tree
 * --------------------------------------------------------------------------------------------- */

/** The links of an entry; the first member of whatever is kept in a tree. Belongs to the tree while
 *  the entry is in it. */
typedef struct ordered_tree_node {
    struct ordered_tree_node* parent; /**< the tree's */
    struct ordered_tree_node* left;   /**< the tree's */
    struct ordered_tree_node* right;  /**< the tree's */
    intptr_t balance;                 /**< the tree's */
} ordered_tree_node;

/** Order of two entries: 0 when the first is smaller, 1 when they are equal, 2 when larger. */
typedef uint32_t (*ordered_tree_compare)(const ordered_tree_node* first,
                                         const ordered_tree_node* second);

/*
 * A tree is known by its root entry, null while it is empty. Nothing else is kept, so a copy of the
 * root pointer is as good as the original until one of them is used to change the tree. No function
 * allocates; the caller guards a tree against concurrent use.
 */

/**
 * Links an entry into a tree.
 * @param root     address of the root pointer, which changes when the tree rebalances
 * @param entry    the entry
 * @param compare  the order of the tree
 * @return null when the entry was linked, otherwise the equal entry that is already there (the tree
 *         is then unchanged)
 */
KELVO_API ordered_tree_node* ordered_tree_insert(ordered_tree_node** root, ordered_tree_node* entry,
                                                 ordered_tree_compare compare);

/** Finds the entry equal to `probe`, an entry that need not be in the tree. @return it or null. */
KELVO_API ordered_tree_node* ordered_tree_search(ordered_tree_node* root,
                                                 const ordered_tree_node* probe,
                                                 ordered_tree_compare compare);

/** Unlinks the entry equal to `probe` (which may be that entry itself). @return it or null. */
KELVO_API ordered_tree_node* ordered_tree_delete(ordered_tree_node** root,
                                                 const ordered_tree_node* probe,
                                                 ordered_tree_compare compare);

KELVO_EXTERN_C_END

#endif
