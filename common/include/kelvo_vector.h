/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_vector.h
 * A table of copied byte blocks, each known by a 32-bit index that it keeps until it is deleted.
 *
 * The table doubles when it is full and halves when it is mostly empty; deleted indices are used
 * again. Going through all values:
 *
 *     uint32_t index = KELVO_VECTOR_NONE;
 *     void* value;
 *     uint32_t size;
 *     uint32_t end;
 *     while (vector_get_next_value(vector, &index, &value, &size, &end) == 0 && !end) {
 *         // `size` bytes at `value`, known as `index`; the vector keeps them
 *     }
 *
 * A vector belongs to one thread at a time. Values handed out stay the vector's and are valid until
 * they are deleted.
 *
 * Every fault of an argument, an index without a value included, is ::KELVO_ERR_NULL_PARAM. Only
 * vector_init() logs it.
 */
#ifndef KELVO_VECTOR_H
#define KELVO_VECTOR_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** No index: ends the free list, and begins an iteration. */
#define KELVO_VECTOR_NONE 0xFFFFFFFFu

/** State of a slot below the high-water mark. */
enum {
    KELVO_VECTOR_SLOT_FREE = 1, /**< on the free list */
    KELVO_VECTOR_SLOT_USED = 2  /**< holds a value */
};

/** One slot. A slot at or above the high-water mark holds nothing meaningful. */
typedef struct kelvo_vector_slot {
    uint32_t state; /**< free or used */
    union {
        void* value;        /**< used: the vector's own copy */
        uint32_t next_free; /**< free: the next free slot, or ::KELVO_VECTOR_NONE */
    };
    uint32_t size; /**< bytes of the value */
} kelvo_vector_slot;

KELVO_ASSERT_OFFSET(kelvo_vector_slot, state, 0);
KELVO_ASSERT_OFFSET(kelvo_vector_slot, value, 8);
KELVO_ASSERT_OFFSET(kelvo_vector_slot, next_free, 8);
KELVO_ASSERT_OFFSET(kelvo_vector_slot, size, 16);
KELVO_ASSERT_SIZE(kelvo_vector_slot, 24);

/** A vector. Its fields are there to be read. */
typedef struct kelvo_vector {
    uint32_t minimum_capacity; /**< the table never shrinks below it */
    uint32_t capacity;         /**< slots allocated: a power of two, at least 2 */
    uint32_t used_count;       /**< slots that hold a value */
    uint32_t free_count; /**< steers trimming, see vector_delete(); not the number of free slots */
    uint32_t free_head;  /**< first free slot, or ::KELVO_VECTOR_NONE */
    uint32_t high_water; /**< one more than the highest index handed out and not yet trimmed */
    kelvo_vector_slot* slots; /**< the table */
} kelvo_vector;

KELVO_ASSERT_OFFSET(kelvo_vector, minimum_capacity, 0);
KELVO_ASSERT_OFFSET(kelvo_vector, capacity, 4);
KELVO_ASSERT_OFFSET(kelvo_vector, used_count, 8);
KELVO_ASSERT_OFFSET(kelvo_vector, free_count, 12);
KELVO_ASSERT_OFFSET(kelvo_vector, free_head, 16);
KELVO_ASSERT_OFFSET(kelvo_vector, high_water, 20);
KELVO_ASSERT_OFFSET(kelvo_vector, slots, 24);
KELVO_ASSERT_SIZE(kelvo_vector, 32);

/**
 * Makes an empty vector.
 *
 * @param initial_count  number of values expected; the capacity is the next power of two, at
 *                       least 2, and the table never shrinks below it
 * @param vector         receives the vector, released with vector_shutdown()
 *
 * @return in this order: ::KELVO_ERR_NULL_PARAM, logged, when `vector` is null or the count 0;
 *         ::KELVO_ERR_NO_MEMORY when there is no room for the vector (*vector is left as it is) or
 *         for its table (*vector becomes null); 0. A count above 2,147,483,648, whose capacity
 *         would not fit into 32 bits, counts as a table without room.
 */
KELVO_API kelvo_status vector_init(uint32_t initial_count, kelvo_vector** vector);

/**
 * Releases every value, the table and the vector.
 * @return ::KELVO_ERR_NULL_PARAM when the vector or its table is null; 0
 */
KELVO_API kelvo_status vector_shutdown(kelvo_vector* vector);

/**
 * Copies a value into the vector.
 *
 * @param vector  the vector
 * @param value   `size` bytes
 * @param size    at least 1
 * @param index   receives the index: the free slot last put on the free list, or else the next one
 *                never used
 *
 * @return in this order: ::KELVO_ERR_NULL_PARAM when a pointer is null, the size 0 or there is no
 *         table; ::KELVO_ERR_NO_MEMORY when there is no room for the copy, the vector being left as
 *         it is; ::KELVO_ERR_NO_MEMORY when the value was inserted and filled the table, but the
 *         table could not be doubled; 0
 *
 * Note: when only the growth failed, the value is in the vector and *index is set. The next insert
 * then tries to grow first, and leaves the vector as it is when that fails again.
 *
 * Note: the free count is not lowered when a free slot is used again.
 */
KELVO_API kelvo_status vector_insert(kelvo_vector* vector, const void* value, uint32_t size,
                                     uint32_t* index);

/**
 * Finds the value of an index.
 * @param vector  the vector
 * @param index   the index
 * @param value   receives the vector's copy, which stays the vector's
 * @param size    receives its size in bytes
 * @return ::KELVO_ERR_NULL_PARAM when a pointer is null or the index has no value; 0
 */
KELVO_API kelvo_status vector_find(const kelvo_vector* vector, uint32_t index, void** value,
                                   uint32_t* size);

/**
 * Deletes a value.
 *
 * The slot goes to the head of the free list, or, when it is the last one below the high-water
 * mark, the mark drops to it. Each deletion raises the free count. When that is at least half the
 * capacity and a free slot lies just below the mark, the table is trimmed: the mark drops below
 * the free slots at the top, each lowering the free count, and the free list is made anew with the
 * lowest index at its head. Then the table is halved for as long as at most a quarter of it is used
 * and half of it is neither less than the minimum nor below the mark.
 *
 * @return in this order: ::KELVO_ERR_NULL_PARAM when the vector or its table is null or the index
 *         has no value; ::KELVO_ERR_NO_MEMORY when the table could not be halved (the value is
 *         deleted all the same); 0
 */
KELVO_API kelvo_status vector_delete(kelvo_vector* vector, uint32_t index);

/**
 * Finds the next value, in the order of the indices. See the example above.
 *
 * @param vector  the vector
 * @param index   the index to go on from, ::KELVO_VECTOR_NONE at first; receives the index found,
 * or where the search ended: the high-water mark, or the index after the one given when that lies
 * beyond the mark
 * @param value   receives the vector's copy, or null at the end
 * @param size    receives its size in bytes; untouched at the end
 * @param end     receives 1 at the end, else 0
 *
 * @return ::KELVO_ERR_NULL_PARAM when a pointer is null, there is no table, or the index is neither
 *         ::KELVO_VECTOR_NONE nor below the capacity; 0
 */
KELVO_API kelvo_status vector_get_next_value(const kelvo_vector* vector, uint32_t* index,
                                             void** value, uint32_t* size, uint32_t* end);

KELVO_EXTERN_C_END

#endif
