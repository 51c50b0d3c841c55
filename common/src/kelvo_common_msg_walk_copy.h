// SPDX-License-Identifier: Apache-2.0
//
// The walk over a copy.
#pragma once

#include "kelvo_common_msg_copy.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// Where the walk over a copy hands out what it finds; the paths in wire order.
struct CopyOut {
    char** first;
    char** second;
    char** third;
    u32* argument;
};

template <class Order>
[[nodiscard]] static Status walk_copy(Order order, void* message, u64 length, const CopyOut& out) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_copy, argument), 1);

    Cursor in(order, msg, length);
    char* first;
    char* second;
    char* third;
    if (const Status st = in.skip(sizeof(kelvo_msg_copy))) return st;
    if (const Status st = in.text(&first, Cell::before_room)) return st;
    if (const Status st = in.text(&second, Cell::before_room)) return st;
    if (const Status st = in.text(&third, Cell::before_room)) return st;
    if (const Status st = in.end()) return st;

    *out.first = first;
    *out.second = second;
    *out.third = third;
    *out.argument = order.read(msg + offsetof(kelvo_msg_copy, argument));
    return in.accept();
}

}  // namespace kelvo::wire
