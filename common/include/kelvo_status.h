/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_status.h
 * The status codes of the library, written once as a list.
 *
 * A status is a 32-bit number, 0 for success. Its top three bits are its class; the library itself
 * looks at nothing else of a foreign code. The text of a code comes from the platform
 * (errcode_strerror(), errcode_getstrings()).
 */
#ifndef KELVO_STATUS_H
#define KELVO_STATUS_H

#include "kelvo_types.h"

/** A code that the library itself returns; ::KELVO_STATUS_LIST says what each means. */
/**@{*/
#define KELVO_ERR_NULL_PARAM 0x40818800u
#define KELVO_ERR_NO_MEMORY 0xc0818200u
#define KELVO_ERR_NOT_FOUND 0x40818600u
#define KELVO_ERR_MSG_LENGTH 0xa0825000u
#define KELVO_ERR_MSG_CONTENT 0xa0825200u
#define KELVO_ERR_BAD_VALUE_TYPE 0x40818e00u
#define KELVO_ERR_REPLY_FAILED 0xa0820c00u
#define KELVO_ERR_VERSION_MISMATCH 0xa0820e00u
#define KELVO_ERR_MSG_DUPLICATE 0xa0821200u
#define KELVO_ERR_ALREADY_EXISTS 0x40824c00u
#define KELVO_ERR_INVALID_STRING 0x40826200u
#define KELVO_ERR_BAD_REGEXP 0x40827400u
#define KELVO_ERR_BAD_PATH 0x40818a00u
#define KELVO_ERR_NO_OWNER 0xa0813800u
#define KELVO_ERR_REMOTE_LOCAL_BIND 0xa0813c00u
#define KELVO_ERR_NODE_NAME 0x40810200u
#define KELVO_ERR_BAD_NODE_TYPE 0x40810400u
#define KELVO_ERR_RESOLVE_UNSUPPORTED 0x40810600u
#define KELVO_ERR_NAME_TOO_LONG 0xc0825c00u
#define KELVO_ERR_OS_CALL 0xa0820a00u
#define KELVO_ERR_DEBUG_INIT 0x40829000u
#define KELVO_ERR_NOT_SUPPORTED 0x40818400u
#define KELVO_ERR_NO_SUCH_KEY 0x40813e00u
#define KELVO_ERR_STACK_EMPTY_POP 0xa0827e00u
#define KELVO_ERR_STACK_EMPTY_PEEK 0xa0827a00u
/**@}*/

/**
 * X(name, meaning) for every code above. Texts, documentation and tests expand this list.
 */
#define KELVO_STATUS_LIST(X)                                                                       \
    X(KELVO_ERR_NULL_PARAM, "a required pointer argument is null")                                 \
    X(KELVO_ERR_NO_MEMORY, "an allocation failed")                                                 \
    X(KELVO_ERR_NOT_FOUND, "no such entry, or nothing more to return")                             \
    X(KELVO_ERR_MSG_LENGTH, "a received message is shorter or longer than its fields require")     \
    X(KELVO_ERR_MSG_CONTENT, "a field of a received message holds a value that it may not hold")   \
    X(KELVO_ERR_BAD_VALUE_TYPE, "an item create names value type 0")                               \
    X(KELVO_ERR_REPLY_FAILED, "an item-get reply carries a non-zero result status")                \
    X(KELVO_ERR_VERSION_MISMATCH, "a bind request carries the wrong protocol version")             \
    X(KELVO_ERR_MSG_DUPLICATE, "a received message lists the same job id and node id twice")       \
    X(KELVO_ERR_ALREADY_EXISTS, "an equal entry is already present")                               \
    X(KELVO_ERR_INVALID_STRING,                                                                    \
      "a string holds a control character or a malformed or forbidden %-escape")                   \
    X(KELVO_ERR_BAD_REGEXP, "a path component is not a valid regular expression")                  \
    X(KELVO_ERR_BAD_PATH, "a path or prefix is malformed for resolution")                          \
    X(KELVO_ERR_NO_OWNER, "no server owns the path")                                               \
    X(KELVO_ERR_REMOTE_LOCAL_BIND, "a bind to another node's local namespace is refused")          \
    X(KELVO_ERR_NODE_NAME, "the name of a node could not be obtained")                             \
    X(KELVO_ERR_BAD_NODE_TYPE, "the node type has no channel")                                     \
    X(KELVO_ERR_RESOLVE_UNSUPPORTED,                                                               \
      "the path resolves to an answer that this platform type does not serve")                     \
    X(KELVO_ERR_NAME_TOO_LONG, "a name reaches the size of the buffer meant for it")               \
    X(KELVO_ERR_OS_CALL, "an operating-system call failed")                                        \
    X(KELVO_ERR_DEBUG_INIT, "the debug-event context could not be initialised")                    \
    X(KELVO_ERR_NOT_SUPPORTED, "the operation is not provided")                                    \
    X(KELVO_ERR_NO_SUCH_KEY, "the integer store holds no such key")                                \
    X(KELVO_ERR_STACK_EMPTY_POP, "pop from an empty stack")                                        \
    X(KELVO_ERR_STACK_EMPTY_PEEK, "peek at an empty stack")

/** The bits of a status that hold its class. */
#define KELVO_STATUS_CLASS_MASK 0xE0000000u
/** The class of a transient condition: trying again later may succeed. */
#define KELVO_STATUS_CLASS_TRANSIENT 0x80000000u

#endif
