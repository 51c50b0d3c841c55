// SPDX-License-Identifier: Apache-2.0
//
// Notification sets: the framing, and the walk over the entries of a set that has been interpreted.
// The walk trusts the set but keeps its own bounds, in offsets from the entry, so that no length
// can lead beyond the address space.
#include "kelvo_common_msg_walk_notify.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// Where the parts of an entry stand, as offsets from its beginning.
struct Value {
    u32 length;
    u64 at;
    u64 end;
};

Value value_at(const u8* entry, u64 cell) {
    const u32 length = load32(entry + cell);
    return {length, cell + kCellBytes, cell + kCellBytes + padded8(length)};
}

}  // namespace

kelvo_status kelvo_common_notifyset_interpret(void* buffer, uint32_t length,
                                              kelvo_notifyset_iterator** iterator_out) {
    return interpret_notifyset<Notify::framing>(buffer, length, iterator_out);
}

kelvo_status kelvo_common_notifyset_next(kelvo_notifyset_iterator* iterator,
                                         kelvo_notifyset_entry* record_out,
                                         uint64_t* kind_and_type_out) {
    if (iterator->index > iterator->count) return KELVO_ERR_NOT_FOUND;
    auto* const entry = static_cast<u8*>(iterator->current);
    const auto begin = reinterpret_cast<std::uintptr_t>(entry);
    const auto end = reinterpret_cast<std::uintptr_t>(iterator->end);
    const u64 left = begin < end ? end - begin : 0;
    const Outcome<HostOrder, probe::no_header(KELVO_OPERATION_NOTIFYSET_NEXT)> outcome(entry, left);
    if (left == 0) return outcome.refuse(0, KELVO_ERR_MSG_LENGTH);

    kelvo_notifyset_entry& record = *record_out;
    record.type = load32(entry + offsetof(kelvo_msg_notifyset_entry, type));
    record.kind = load32(entry + offsetof(kelvo_msg_notifyset_entry, kind));
    record.index = iterator->index;
    record.count = iterator->count;
    record.caller_word = iterator->caller_word;
    record.name = reinterpret_cast<const char*>(entry + kNotifyEntryBytes);

    const u32 name_length = load32(entry + offsetof(kelvo_msg_notifyset_entry, name_length));
    const u64 first_cell = kNotifyEntryBytes + padded8(name_length);
    if (first_cell > left) return outcome.refuse(first_cell, KELVO_ERR_MSG_LENGTH);
    const Value first = value_at(entry, first_cell);
    const bool has_first = record.kind != KELVO_NOTIFY_NO_FIRST_VALUE;
    record.first = has_first ? entry + first.at : nullptr;
    record.first_length = has_first ? first.length : 0;

    if (first.end > left) return outcome.refuse(first.end, KELVO_ERR_MSG_LENGTH);
    const Value second = value_at(entry, first.end);
    const bool has_second = record.kind != KELVO_NOTIFY_NO_SECOND_VALUE;
    record.second = has_second ? entry + second.at : nullptr;
    record.second_length = has_second ? second.length : 0;

    *kind_and_type_out = load64(entry);
    iterator->current = entry + second.end;
    iterator->index += 1;
    return outcome.accept();
}

kelvo_status kelvo_common_notifyset_start(kelvo_notifyset_iterator* iterator) {
    if (any_null(iterator)) return KELVO_ERR_NULL_PARAM;
    rewind(*iterator);
    return 0;
}

kelvo_status kelvo_common_listset_init(kelvo_listset* listset) {
    if (any_null(listset)) return refuse_null();
    for (u32& word : listset->cleared) word = 0;
    return 0;
}
