// SPDX-License-Identifier: Apache-2.0
//
// The walk over a notification set. Its two variants convert the same framing and differ in when
// they first touch an entry, and in whether they convert the values as well.
#pragma once

#include <cstdlib>

#include "kelvo_common_msg_notify.h"
#include "kelvo_report.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

enum class Notify { framing, values };

/// Where the entries of a set begin, and the bytes of an entry before its name.
inline constexpr u32 kNotifyHeaderBytes = sizeof(kelvo_msg_notifyset);
inline constexpr u32 kNotifyEntryBytes = sizeof(kelvo_msg_notifyset_entry);

/// One entry that begins with `left` bytes left. Its second value is not tested here but by where
/// the next entry, or the set's end, has to be. *size is how far it goes, or went until it was
/// refused.
template <Notify kWhat, class Order>
[[nodiscard]] static Status walk_notify_entry(Order& order, u8* entry, u64 left, u64* size) {
    if (kWhat == Notify::framing) fixed_words(order, entry, 2);
    *size = kNotifyEntryBytes;
    if (left <= *size) return KELVO_ERR_MSG_LENGTH;
    if (kWhat == Notify::values) fixed_words(order, entry, 2);
    // Where the values stay as they are, they are passed as values of no type.
    const u32 type = kWhat == Notify::values
                         ? order.read(entry + offsetof(kelvo_msg_notifyset_entry, type))
                         : u32{KELVO_VALUE_NONE};

    const u32 name_length =
        pass_word(order, entry + offsetof(kelvo_msg_notifyset_entry, name_length));
    *size += padded8(name_length);
    for (int values = 0; values < 2; ++values) {
        if (left < *size + kCellBytes) return KELVO_ERR_MSG_LENGTH;
        *size += pass_value(order, entry + *size, type);
    }
    return 0;
}

/// What becomes of a set.
template <Notify kWhat, class Order>
using NotifyOutcome =
    Outcome<Order, probe::no_header(kWhat == Notify::framing ? KELVO_OPERATION_NOTIFYSET
                                                             : KELVO_OPERATION_NOTIFYSET_VALUES)>;

/// All entries. Each takes at least 32 bytes of the set, whatever count the set claims.
template <Notify kWhat, class Order>
[[nodiscard]] static Status walk_notifyset(Order order, void* buffer, u64 length, u32* count) {
    const NotifyOutcome<kWhat, Order> outcome(buffer, length);
    if (length < kNotifyHeaderBytes) return outcome.refuse(0, KELVO_ERR_MSG_LENGTH);
    auto* const set = static_cast<u8*>(buffer);
    const u32 n = pass_word(order, set + offsetof(kelvo_msg_notifyset, count));
    u64 at = kNotifyHeaderBytes;
    for (u32 todo = n; todo != 0; --todo) {
        u64 size;
        if (const Status st = walk_notify_entry<kWhat>(order, set + at, length - at, &size)) {
            return outcome.refuse(at + size, st);
        }
        at += size;
        if (todo == 1 ? length != at : length <= at) {
            return outcome.refuse(at, KELVO_ERR_MSG_LENGTH);
        }
    }
    *count = n;
    return 0;
}

/// Goes to the first entry.
inline void rewind(kelvo_notifyset_iterator& iterator) {
    iterator.current = static_cast<u8*>(iterator.start) + kNotifyHeaderBytes;
    iterator.index = 1;
}

/// Either interpret function: the walk, then an iterator for it.
template <Notify kWhat>
[[nodiscard]] static Status interpret_notifyset(void* buffer, u32 length,
                                                kelvo_notifyset_iterator** iterator_out) {
    const NotifyOutcome<kWhat, FromNetwork> outcome(buffer, length);
    if (any_null(buffer, iterator_out)) {
        const Status refused = refuse_null();
        return outcome.refuse(0, length < kNotifyHeaderBytes ? KELVO_ERR_MSG_LENGTH : refused);
    }
    u32 count;
    if (const Status st = walk_notifyset<kWhat>(FromNetwork{}, buffer, length, &count)) return st;

    // Zero-filled, so that a caller word that nobody sets is not garbage.
    auto* const iterator =
        static_cast<kelvo_notifyset_iterator*>(std::calloc(1, sizeof(kelvo_notifyset_iterator)));
    if (iterator == nullptr) return outcome.refuse(length, KELVO_ERR_NO_MEMORY);
    iterator->start = buffer;
    iterator->end = static_cast<u8*>(buffer) + length;
    iterator->count = count;
    rewind(*iterator);
    *iterator_out = iterator;
    return outcome.accept();
}

}  // namespace kelvo::wire
