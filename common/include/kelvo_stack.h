/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_stack.h
 * A last-in-first-out list of copied byte blocks.
 *
 * A stack belongs to one thread at a time. Every function logs a null argument and answers it with
 * ::KELVO_ERR_NULL_PARAM before anything else.
 */
#ifndef KELVO_STACK_H
#define KELVO_STACK_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** One value on a stack. */
typedef struct kelvo_stack_node {
    void* value;                   /**< the stack's copy */
    uint64_t size;                 /**< its size in bytes */
    struct kelvo_stack_node* next; /**< the value below, or null */
} kelvo_stack_node;

KELVO_ASSERT_OFFSET(kelvo_stack_node, value, 0);
KELVO_ASSERT_OFFSET(kelvo_stack_node, size, 8);
KELVO_ASSERT_OFFSET(kelvo_stack_node, next, 16);
KELVO_ASSERT_SIZE(kelvo_stack_node, 24);

/** A stack. Its fields are there to be read. */
typedef struct kelvo_stack {
    uint32_t argument;     /**< as given to stack_init() */
    uint32_t depth;        /**< number of values */
    kelvo_stack_node* top; /**< null when the stack is empty */
} kelvo_stack;

KELVO_ASSERT_OFFSET(kelvo_stack, argument, 0);
KELVO_ASSERT_OFFSET(kelvo_stack, depth, 4);
KELVO_ASSERT_OFFSET(kelvo_stack, top, 8);
KELVO_ASSERT_SIZE(kelvo_stack, 16);

/**
 * Makes an empty stack.
 * @param argument  kept in the stack for the caller; the library does not use it
 * @param stack     receives the stack, released with stack_shutdown()
 * @return ::KELVO_ERR_NULL_PARAM; ::KELVO_ERR_NO_MEMORY; 0
 */
KELVO_API kelvo_status stack_init(uint32_t argument, kelvo_stack** stack);

/** * @param stack  the stack
 Tells whether a stack is empty. @param is_empty receives 1 or 0 @return ::KELVO_ERR_NULL_PARAM;
 *  0 */
KELVO_API kelvo_status stack_is_empty(const kelvo_stack* stack, uint32_t* is_empty);

/** Releases every value from the top down, and the stack. @return ::KELVO_ERR_NULL_PARAM; 0 */
KELVO_API kelvo_status stack_shutdown(kelvo_stack* stack);

/**
 * Puts a copy of a value on top.
 * @param stack  the stack
 * @param value  `size` bytes
 * @param size   may be 0
 * @return ::KELVO_ERR_NULL_PARAM; ::KELVO_ERR_NO_MEMORY, the stack being left as it is; 0
 */
KELVO_API kelvo_status stack_push(kelvo_stack* stack, const void* value, uint64_t size);

/**
 * Takes the top value off.
 * @param stack  the stack
 * @param value  receives the value, which is the caller's from then on and is released with free()
 * @param size   receives its size in bytes
 * @return ::KELVO_ERR_NULL_PARAM; ::KELVO_ERR_STACK_EMPTY_POP; 0
 */
KELVO_API kelvo_status stack_pop(kelvo_stack* stack, void** value, uint64_t* size);

/**
 * Looks at the top value.
 * @param stack  the stack
 * @param value  receives the value, which stays the stack's
 * @param size   receives its size in bytes
 * @return ::KELVO_ERR_NULL_PARAM; ::KELVO_ERR_STACK_EMPTY_PEEK; 0
 *
 * Note: an empty stack has one code for pop and another for peek.
 */
KELVO_API kelvo_status stack_peek(const kelvo_stack* stack, void** value, uint64_t* size);

KELVO_EXTERN_C_END

#endif
