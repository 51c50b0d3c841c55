// SPDX-License-Identifier: Apache-2.0
//
// The walk over get-items. The number of names is the sender's claim; the array for them is sized
// by what the message has room for, and the first name that is not there ends the walk.
#pragma once

#include <algorithm>
#include <cstdlib>

#include "kelvo_common_msg_get_items.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// Where the walk over get-items hands out what it finds.
struct GetItemsOut {
    char** base_path;
    char*** names;
    u32* count;
    u32* argument;
};

/// An array for `count` names of which `room` bytes remain, or null. There is one for no names too,
/// also where malloc(0) yields none.
[[nodiscard]] inline char** allocate_names(u32 count, u64 room) {
    constexpr u64 kShortestName = kCellBytes + 8;
    const u64 most = std::min(u64{count}, room / kShortestName);
    return static_cast<char**>(std::malloc(std::max<u64>(most, 1) * sizeof(char*)));
}

/// Reads `count` names. Each one read took the bytes of the shortest name at least, so `names`,
/// sized by allocate_names(), has a place for it.
template <class Order>
[[nodiscard]] Status read_names(Cursor<Order>& in, u32 count, char** names) {
    for (u32 i = 0; i < count; ++i) {
        char* name;
        if (const Status st = in.text(&name)) return st;
        names[i] = name;
    }
    return 0;
}

template <class Order>
[[nodiscard]] Status walk_get_items(Order order, void* message, u64 length,
                                    const GetItemsOut& out) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_get_items, count), 2);

    Cursor in(order, msg, length);
    char* base_path;
    if (const Status st = in.skip(sizeof(kelvo_msg_get_items))) return st;
    if (const Status st = in.text(&base_path)) return st;
    const u32 count = order.read(msg + offsetof(kelvo_msg_get_items, count));
    char** const names = allocate_names(count, in.left());
    if (names == nullptr) return KELVO_ERR_NO_MEMORY;
    if (const Status st = read_names(in, count, names)) {
        std::free(names);
        return st;
    }
    // Bytes left over are accepted here.
    *out.base_path = base_path;
    *out.names = names;
    *out.count = count;
    *out.argument = order.read(msg + offsetof(kelvo_msg_get_items, argument));
    return 0;
}

}  // namespace kelvo::wire
