// SPDX-License-Identifier: Apache-2.0
//
// The walk over get-items. The number of names is the sender's claim; the first name that is not
// there ends the walk.
#pragma once

#include "kelvo_common_msg_get_items.h"
#include "kelvo_common_msg_texts.h"

namespace kelvo::wire {

/// Where the walk over get-items hands out what it finds besides the names.
struct GetItemsOut {
    char** base_path;
    u32* count;
    u32* argument;
};

/// `names` is a TextArray, or has its members and drops what it is given.
template <class Order, class Names>
[[nodiscard]] static Status walk_get_items(Order order, void* message, u64 length, Names& names,
                                           const GetItemsOut& out) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_get_items, count), 2);

    Cursor in(order, msg, length);
    char* base_path;
    if (const Status st = in.skip(sizeof(kelvo_msg_get_items))) return st;
    if (const Status st = in.text(&base_path)) return st;
    const u32 count = order.read(msg + offsetof(kelvo_msg_get_items, count));
    if (const Status st = names.make_room(count, in.left())) return in.refuse(st);
    for (u32 i = 0; i < count; ++i) {
        char* name;
        if (const Status st = in.text(&name)) return st;
        names.take(i, name);
    }
    // Bytes left over are accepted here.
    *out.base_path = base_path;
    *out.count = count;
    *out.argument = order.read(msg + offsetof(kelvo_msg_get_items, argument));
    return in.accept();
}

/// Either reader: the array of names is the caller's.
template <class Order>
[[nodiscard]] static Status read_get_items(Order order, void* message, u64 length, char*** names,
                                           const GetItemsOut& out) {
    TextArray array;
    if (const Status st = walk_get_items(order, message, length, array, out)) return st;
    *names = array.release();
    return 0;
}

}  // namespace kelvo::wire
