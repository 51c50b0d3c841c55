// SPDX-License-Identifier: Apache-2.0
//
// The slot table. Every slot below the high-water mark holds a value or is on the free list, so a
// table without a free slot below its capacity is full. It is never left full unless growing it
// failed; an insert that meets it full grows it first.
#include "kelvo_vector.h"

#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_report.h"

using namespace kelvo;

using Slot = kelvo_vector_slot;

namespace {

constexpr u32 kSmallestCapacity = 2;

bool is_used(const Slot& slot) {
    return slot.state == KELVO_VECTOR_SLOT_USED;
}

bool is_unusable(const kelvo_vector* vector) {
    return vector == nullptr || vector->slots == nullptr;
}

bool has_value(const kelvo_vector* vector, u32 index) {
    return index < vector->high_water && is_used(vector->slots[index]);
}

/// The least power of two that holds `count` values; 64 bits, since it may be 2^32.
u64 capacity_for(u32 count) {
    u64 capacity = kSmallestCapacity;
    while (capacity < count) capacity *= 2;
    return capacity;
}

/// Reallocates the table, which may also be its first allocation. The old one is kept on failure.
[[nodiscard]] kelvo_status resize(kelvo_vector* vector, u64 capacity) {
    if (capacity > UINT32_MAX) return KELVO_ERR_NO_MEMORY;
    void* const slots = std::realloc(vector->slots, capacity * sizeof(Slot));
    if (slots == nullptr) return KELVO_ERR_NO_MEMORY;
    vector->slots = static_cast<Slot*>(slots);
    vector->capacity = static_cast<u32>(capacity);
    return 0;
}

[[nodiscard]] kelvo_status grow(kelvo_vector* vector) {
    return resize(vector, u64{vector->capacity} * 2);
}

/// True when the next insert finds neither a free slot nor one above the mark.
bool is_full(const kelvo_vector* vector) {
    return vector->free_head == KELVO_VECTOR_NONE && vector->high_water == vector->capacity;
}

void push_free(kelvo_vector* vector, u32 index) {
    Slot& slot = vector->slots[index];
    slot.state = KELVO_VECTOR_SLOT_FREE;
    slot.next_free = vector->free_head;
    vector->free_head = index;
}

u32 take_slot(kelvo_vector* vector) {
    if (vector->free_head == KELVO_VECTOR_NONE) return vector->high_water++;
    const u32 index = vector->free_head;
    vector->free_head = vector->slots[index].next_free;
    return index;
}

bool top_is_free(const kelvo_vector* vector) {
    return vector->high_water != 0 && !is_used(vector->slots[vector->high_water - 1]);
}

/// Lowers the mark below the free slots at the top and makes the free list anew, lowest index
/// first.
void trim(kelvo_vector* vector) {
    vector->free_head = KELVO_VECTOR_NONE;
    for (; top_is_free(vector); --vector->high_water) --vector->free_count;
    for (u32 index = vector->high_water; index-- > 0;) {
        if (!is_used(vector->slots[index])) push_free(vector, index);
    }
}

bool is_mostly_empty(const kelvo_vector* vector) {
    const u32 half = vector->capacity / 2;
    return vector->used_count <= vector->capacity / 4 && half >= vector->minimum_capacity &&
           half >= vector->high_water;
}

}  // namespace

kelvo_status vector_init(uint32_t initial_count, kelvo_vector** vector) {
    if (vector == nullptr || initial_count == 0) return refuse_null();
    auto* const made = static_cast<kelvo_vector*>(std::malloc(sizeof(kelvo_vector)));
    if (made == nullptr) return KELVO_ERR_NO_MEMORY;
    *made = {};
    made->free_head = KELVO_VECTOR_NONE;
    if (const kelvo_status status = resize(made, capacity_for(initial_count))) {
        std::free(made);
        *vector = nullptr;
        return status;
    }
    made->minimum_capacity = made->capacity;
    *vector = made;
    return 0;
}

kelvo_status vector_shutdown(kelvo_vector* vector) {
    if (is_unusable(vector)) return KELVO_ERR_NULL_PARAM;
    for (u32 index = 0; index < vector->high_water; ++index) {
        if (is_used(vector->slots[index])) std::free(vector->slots[index].value);
    }
    std::free(vector->slots);
    std::free(vector);
    return 0;
}

kelvo_status vector_insert(kelvo_vector* vector, const void* value, uint32_t size,
                           uint32_t* index) {
    if (is_unusable(vector) || any_null(value, index) || size == 0) return KELVO_ERR_NULL_PARAM;
    void* const copy = std::malloc(size);
    if (copy == nullptr) return KELVO_ERR_NO_MEMORY;
    if (is_full(vector) && grow(vector) != 0) {  // an earlier growth had failed
        std::free(copy);
        return KELVO_ERR_NO_MEMORY;
    }
    std::memcpy(copy, value, size);
    const u32 at = take_slot(vector);
    vector->slots[at] = {KELVO_VECTOR_SLOT_USED, {copy}, size};
    *index = at;
    ++vector->used_count;
    return vector->used_count == vector->capacity ? grow(vector) : 0;
}

kelvo_status vector_find(const kelvo_vector* vector, uint32_t index, void** value, uint32_t* size) {
    if (is_unusable(vector) || any_null(value, size)) return KELVO_ERR_NULL_PARAM;
    if (!has_value(vector, index)) return KELVO_ERR_NULL_PARAM;
    *value = vector->slots[index].value;
    *size = vector->slots[index].size;
    return 0;
}

kelvo_status vector_delete(kelvo_vector* vector, uint32_t index) {
    if (is_unusable(vector) || !has_value(vector, index)) return KELVO_ERR_NULL_PARAM;
    std::free(vector->slots[index].value);
    --vector->used_count;
    ++vector->free_count;
    if (index + 1 == vector->high_water) {
        vector->high_water = index;
    } else {
        push_free(vector, index);
    }
    if (vector->free_count >= vector->capacity / 2 && top_is_free(vector)) trim(vector);
    while (is_mostly_empty(vector)) {
        if (const kelvo_status status = resize(vector, vector->capacity / 2)) return status;
    }
    return 0;
}

kelvo_status vector_get_next_value(const kelvo_vector* vector, uint32_t* index, void** value,
                                   uint32_t* size, uint32_t* end) {
    if (is_unusable(vector) || any_null(index, value, size, end)) return KELVO_ERR_NULL_PARAM;
    if (*index != KELVO_VECTOR_NONE && *index >= vector->capacity) return KELVO_ERR_NULL_PARAM;
    u32 at = *index + 1;  // from "none", this is 0
    while (at < vector->high_water && !is_used(vector->slots[at])) ++at;
    const bool found = at < vector->high_water;
    *index = at;
    *value = found ? vector->slots[at].value : nullptr;
    if (found) *size = vector->slots[at].size;
    *end = found ? 0 : 1;
    return 0;
}
