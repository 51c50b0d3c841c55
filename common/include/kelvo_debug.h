/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_debug.h
 * The library's debug flags, as the platform's debug facility knows them.
 *
 * There are two, registered under the debug path "/debug/kelvo/common/". The facility fills and
 * keeps a context for each; a flag is on while the `enabled` word of its context is not 0. The
 * resolver writes its debug lines while flag 0 is on and follows its state machine while flag 1 is.
 *
 * A process registers the flags once when it starts and withdraws them when it ends, before and
 * after its other threads use the library.
 */
#ifndef KELVO_DEBUG_H
#define KELVO_DEBUG_H

#include "kelvo_platform.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** Rows of ::kelvo_cmn_debug_options and of ::kelvo_cmn_debug_flags. */
enum {
    KELVO_DEBUG_NODE_RESOLVER = 0,     /**< "node-resolver" */
    KELVO_DEBUG_NODE_RESOLVER_DFA = 1, /**< "node-resolver/dfa" */
    KELVO_DEBUG_FLAGS = 2              /**< how many there are */
};

/** What the platform is told of one flag. */
typedef struct kelvo_debug_option {
    const char* name;  /**< below "/debug/kelvo/common/" */
    uint32_t value;    /**< 1; its meaning is the debug facility's */
    uint32_t reserved; /**< 0 */
} kelvo_debug_option;

KELVO_ASSERT_OFFSET(kelvo_debug_option, name, 0);
KELVO_ASSERT_OFFSET(kelvo_debug_option, value, 8);
KELVO_ASSERT_OFFSET(kelvo_debug_option, reserved, 12);
KELVO_ASSERT_SIZE(kelvo_debug_option, 16);

/** The flags' names and values. */
KELVO_API extern const kelvo_debug_option kelvo_cmn_debug_options[KELVO_DEBUG_FLAGS];

/** The flags themselves, in the order of the options. Every flag is off until the platform switches
 *  it on. */
KELVO_API extern platform_debug_context kelvo_cmn_debug_flags[KELVO_DEBUG_FLAGS];

/**
 * Initialises the flags, in their order, and registers them with the platform.
 *
 * A failure is logged as internal, with the platform's status and its text:
 *
 *  -# a flag cannot be initialised: "Failed to initialise debug event"; the flags after it are not
 *     tried
 *  -# the flags cannot be registered: "Failed to register for debugging"
 *
 * Nothing is undone on failure.
 *
 * @return 0, or ::KELVO_ERR_OS_CALL for either failure
 */
KELVO_API kelvo_status kelvo_common_debug_init(void);

/**
 * Withdraws the flags from the platform.
 *
 * @return 0, or ::KELVO_ERR_DEBUG_INIT when the platform refuses, which is logged as internal with
 *         the platform's status and its text
 *
 * Note: the logged description is that of a failed initialisation, "Failed to initialise debug
 * event".
 */
KELVO_API kelvo_status kelvo_common_debug_shutdown(void);

KELVO_EXTERN_C_END

#endif
