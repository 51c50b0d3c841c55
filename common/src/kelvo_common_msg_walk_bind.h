// SPDX-License-Identifier: Apache-2.0
//
// The walk over a bind.
#pragma once

#include "kelvo_common_msg_bind.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// Where the walk over a bind hands out what it finds. Parameters 5, 7 and 8 may be null.
struct BindOut {
    u32* version;
    u32* reserved;
    char** first;
    char** second;
    u32* parameters[8];
};

template <class Order>
[[nodiscard]] static Status walk_bind(Order order, void* message, u64 length, const BindOut& out) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_bind, version), 10);

    Cursor in(order, msg, length);
    char* first;
    char* second;
    if (const Status st = in.skip(sizeof(kelvo_msg_bind))) return st;
    if (const Status st = in.text(&first, Cell::before_room)) return st;
    if (const Status st = in.text(&second, Cell::before_room)) return st;
    if (const Status st = in.end()) return st;
    // Only a well-formed message is asked for its version.
    const u32 version = order.read(msg + offsetof(kelvo_msg_bind, version));
    if (version != KELVO_BIND_VERSION) return in.refuse(KELVO_ERR_VERSION_MISMATCH);

    *out.version = version;
    *out.reserved = order.read(msg + offsetof(kelvo_msg_bind, reserved));
    *out.first = first;
    *out.second = second;
    const u8* parameter = msg + offsetof(kelvo_msg_bind, parameters);
    for (u32* const wanted : out.parameters) {
        if (wanted != nullptr) *wanted = order.read(parameter);
        parameter += 4;
    }
    return in.accept();
}

}  // namespace kelvo::wire
