// SPDX-License-Identifier: Apache-2.0
//
// The walks over find, group find and the group-find reply. Both directions of conversion are the
// same walk: a receiving one converts a length cell before its tests, a sending one after them.
#pragma once

#include "kelvo_common_msg_find.h"
#include "kelvo_common_msg_walk_list.h"

static_assert(offsetof(kelvo_msg_find, word4) == offsetof(kelvo_msg_list, word4),
              "a find begins as a list request");

namespace kelvo::wire {

/// Where the readers of a find hand out what they find.
struct FindOut {
    char** first;
    char** second;
    u32* word1;
    u32* word4;
    u32* block;
    u32* word7;
    u32* word5;
    u32* word6;
};

/// A find, all its checks. The words of the fixed part are left to the readers: a sending walk has
/// none to hand out.
template <class Order>
[[nodiscard]] static Status walk_find(Order& order, u8* msg, u64 length, char** first,
                                      char** second) {
    fixed_words(order, msg + offsetof(kelvo_msg_find, word1), 11);

    Cursor in(order, msg, length);
    if (const Status st = in.skip(sizeof(kelvo_msg_find))) return st;
    if (const Status st = in.text(first, Cell::before_room)) return st;
    if (const Status st = in.text(second, Cell::before_room)) return st;
    if (const Status st = in.end()) return st;
    return in.accept();
}

/// A find that is read, and left in host order.
template <class Order>
[[nodiscard]] static Status read_find(Order order, void* message, u64 length, const FindOut& out) {
    auto* const msg = static_cast<u8*>(message);
    char* first;
    char* second;
    if (const Status st = walk_find(order, msg, length, &first, &second)) return st;

    *out.first = first;
    *out.second = second;
    *out.word1 = order.read(msg + offsetof(kelvo_msg_find, word1));
    *out.word4 = order.read(msg + offsetof(kelvo_msg_find, word4));
    read_words(order, msg + offsetof(kelvo_msg_find, value1), kListBlockWords, out.block);
    *out.word7 = order.read(msg + offsetof(kelvo_msg_find, word7));
    *out.word5 = order.read(msg + offsetof(kelvo_msg_find, word5));
    *out.word6 = order.read(msg + offsetof(kelvo_msg_find, word6));
    return 0;
}

/// Group find.
template <class Order>
[[nodiscard]] static Status walk_find_group(Order order, void* message, u64 length, char** string,
                                            u32* group) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_find_group, group), 1);

    Cursor in(order, msg, length);
    char* text;
    if (const Status st = in.skip(sizeof(kelvo_msg_find_group))) return st;
    if (const Status st = in.text(&text, Cell::before_room)) return st;
    if (const Status st = in.end()) return st;

    *string = text;
    *group = order.read(msg + offsetof(kelvo_msg_find_group, group));
    return in.accept();
}

/// Group-find reply.
template <class Order>
[[nodiscard]] static Status walk_find_group_reply(Order order, void* reply, u64 length) {
    constexpr u32 kType = probe::no_header(KELVO_OPERATION_FIND_GROUP_REPLY_NTOH);
    const Outcome<Order, kType> outcome(reply, length);
    if (reply == nullptr || length < sizeof(kelvo_rply_find_group)) {
        return outcome.refuse(0, KELVO_ERR_MSG_LENGTH);
    }
    fixed_words(order, static_cast<u8*>(reply) + offsetof(kelvo_rply_find_group, word), 1);
    return outcome.accept();
}

}  // namespace kelvo::wire
