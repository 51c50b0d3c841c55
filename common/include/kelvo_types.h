/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_types.h
 * Vocabulary of the whole library: linkage, status, gather slot. Every other header builds on it.
 *
 * Conventions that hold everywhere, unless a function says otherwise:
 *
 * 1. A function that can fail returns a ::kelvo_status, 0 for success, and writes its
 *    out-parameters only on success, last, together.
 * 2. Lengths are in bytes. The length of a text on the wire counts its terminating NUL; a length
 *    that does not is called "characters".
 * 3. The caller owns what it passes in. What a function allocates is released with the function
 *    that its comment names, or with free() where it says so.
 * 4. Messages, header areas and values are `void *` and may lie at any address; nothing is assumed
 *    about alignment.
 * 5. Functions are reentrant and may be called from any thread, as long as two threads do not work
 *    on one buffer or one object at the same time.
 */
#ifndef KELVO_TYPES_H
#define KELVO_TYPES_H

#include <stddef.h>
#include <stdint.h>

/** C linkage for the declarations between the two. */
/**@{*/
#ifdef __cplusplus
#define KELVO_EXTERN_C_BEGIN extern "C" {
#define KELVO_EXTERN_C_END }
#else
#define KELVO_EXTERN_C_BEGIN
#define KELVO_EXTERN_C_END
#endif
/**@}*/

/** A condition that the compiler checks, in C and in C++. */
#ifdef __cplusplus
#define KELVO_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define KELVO_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/** Marks what the shared object exports; everything else is hidden. */
#define KELVO_API __attribute__((visibility("default")))

/** Says that an argument list follows a printf format (counted from 1). */
#define KELVO_PRINTF(format_index, first_argument)                                                 \
    __attribute__((format(printf, format_index, first_argument)))

/** Fixes the offset of a field that travels on the wire or that callers read in place. */
#define KELVO_ASSERT_OFFSET(type, field, offset)                                                   \
    KELVO_STATIC_ASSERT(offsetof(type, field) == (offset), #type "." #field " stands at " #offset)

/** Fixes the size of a record that travels on the wire or that callers read in place. */
#define KELVO_ASSERT_SIZE(type, size)                                                              \
    KELVO_STATIC_ASSERT(sizeof(type) == (size), #type " takes " #size " bytes")

/** Status of an operation: 0 is success, anything else a code of kelvo_status.h or the platform. */
typedef uint32_t kelvo_status;

/**
 * One piece of a message: `length` bytes at `base`, in the caller's storage. An array of slots in
 * wire order is a gather list. A slot is laid out like `struct iovec` of a 64-bit host, so that a
 * list can be handed to writev() or sendmsg() as it stands.
 */
typedef struct kelvo_slot {
    const void* base; /**< the bytes */
    uint64_t length;  /**< how many */
} kelvo_slot;

KELVO_ASSERT_OFFSET(kelvo_slot, base, 0);
KELVO_ASSERT_OFFSET(kelvo_slot, length, 8);
KELVO_ASSERT_SIZE(kelvo_slot, 16);

/** The node id that means "no node"; in a startup-list query, "any node". */
#define KELVO_NODEID_INVALID 0xFFFFFFFFu

#endif
