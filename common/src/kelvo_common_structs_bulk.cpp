// SPDX-License-Identifier: Apache-2.0
//
// The bulk builder. The fixed part goes out in network order; the items stay in the sender's own
// order, from which the reader tells theirs.
#include <algorithm>
#include <cstdlib>

#include "kelvo_common_msg_bulk.h"
#include "kelvo_report.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// Slots ahead of item `index`. 64 bits wide: the count is the caller's to choose.
constexpr u64 slots_before(u32 index) {
    return u64{index} * KELVO_BULK_ITEM_SLOTS + KELVO_BULK_LEADING_SLOTS;
}

/// A zero-filled array, never of no elements: null always means that memory ran out.
template <class Element>
bool allocate(Element*& array, u64 count) {
    array = static_cast<Element*>(std::calloc(std::max<u64>(count, 1), sizeof(Element)));
    return array != nullptr;
}

bool allocate_arrays(kelvo_bulk_builder& builder, u32 count) {
    return allocate(builder.slots, slots_before(count)) && allocate(builder.name_lengths, count) &&
           allocate(builder.data_lengths, count) && allocate(builder.items, count);
}

void release_arrays(kelvo_bulk_builder& builder) {
    std::free(builder.items);
    std::free(builder.name_lengths);
    std::free(builder.data_lengths);
    std::free(builder.slots);
    builder.items = nullptr;
    builder.name_lengths = nullptr;
    builder.data_lengths = nullptr;
    builder.slots = nullptr;
}

/// A request that could not be begun.
kelvo_status not_begun(kelvo_status status) {
    if (probe::composing()) [[unlikely]]
        probe::tell_composed(KELVO_MSG_BULK, 0, status);
    return status;
}

/// A request is composed when its last item is there, or, without items, when it has been begun.
[[gnu::cold]] void tell_if_composed(const kelvo_bulk_builder& builder, u32 items) {
    const auto* const msg = static_cast<const u8*>(builder.slots[0].base);
    if (network32(load32(msg + offsetof(kelvo_msg_bulk, count))) != items) return;
    probe::tell_composed(builder.slots, builder.slots + slots_before(items), 0);
}

}  // namespace

kelvo_status kelvo_common_msg_bulk_init(void* header, uint32_t count, uint32_t word1,
                                        uint32_t word2, const char* leading_string,
                                        kelvo_bulk_builder* builder) {
    if (any_null(header, leading_string, builder)) return not_begun(refuse_null());
    kelvo_bulk_builder made = {};
    if (!allocate_arrays(made, count)) {
        release_arrays(made);
        return not_begun(KELVO_ERR_NO_MEMORY);
    }
    *builder = made;

    auto* const msg = static_cast<u8*>(header);
    start_message(msg, KELVO_MSG_BULK);
    send_words(msg + offsetof(kelvo_msg_bulk, word1), {word1, word2, count});
    convert32(msg + offsetof(kelvo_msg_bulk, word3));
    convert32(msg + offsetof(kelvo_msg_bulk, word4));
    Gather<> out(builder->slots);
    out.block(msg, offsetof(kelvo_msg_bulk, leading));
    out.text(&builder->leading.length, leading_string);
    if (probe::composing()) [[unlikely]]
        tell_if_composed(*builder, 0);
    return 0;
}

void kelvo_common_msg_bulk_add(const kelvo_bulk_item* record, uint32_t index,
                               kelvo_bulk_builder* builder) {
    const char* const name = record->name;
    const u32 name_length = counted_length(name);
    const bool second = record->operation == KELVO_BULK_OPERATION_2;
    kelvo_msg_bulk_item& words = builder->items[index];
    words.operation = record->operation;
    words.word2 = record->word2;
    words.type = second && record->op2_type != 0 ? record->op2_type : record->type;
    words.word4 = record->word4;

    Gather<SendHost> out(builder->slots + slots_before(index));
    out.block(&words, sizeof words);
    out.counted(&builder->name_lengths[index].length, name, name_length);
    out.counted(&builder->data_lengths[index].length, second ? record->op2_data : record->data,
                second ? record->op2_data_length : record->data_length);
    if (probe::composing()) [[unlikely]]
        tell_if_composed(*builder, index + 1);
}

void kelvo_common_msg_bulk_free(kelvo_bulk_builder* builder) {
    if (any_null(builder)) {
        static_cast<void>(refuse_null());
        return;
    }
    release_arrays(*builder);
}
