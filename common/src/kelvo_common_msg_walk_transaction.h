// SPDX-License-Identifier: Apache-2.0
//
// The walks over a transaction start and over item locks, which are all alike.
#pragma once

#include "kelvo_common_msg_transaction.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// Transaction start. Everything is converted before the length is looked at, which is meant.
template <class Order>
[[nodiscard]] static Status walk_transaction_start(Order order, void* message, u64 length,
                                                   u64* words, u32* options) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_transaction_start, first), 5);
    Cursor in(order, msg, length);
    if (const Status st = in.skip(sizeof(kelvo_msg_transaction_start))) return st;

    u32 halves[4];
    read_words(order, msg + offsetof(kelvo_msg_transaction_start, first), 4, halves);
    std::memcpy(words, halves, sizeof halves);
    *options = order.read(msg + offsetof(kelvo_msg_transaction_start, options));
    return in.accept();
}

/// Item lock.
template <class Order>
[[nodiscard]] static Status walk_item_lock(Order order, void* message, u64 length, char** path) {
    Cursor in(order, static_cast<u8*>(message), length);
    char* text;
    if (const Status st = in.skip(sizeof(kelvo_msg_header))) return st;
    if (const Status st = in.text(&text, Cell::before_room)) return st;
    if (const Status st = in.end()) return st;

    *path = text;
    return in.accept();
}

}  // namespace kelvo::wire
