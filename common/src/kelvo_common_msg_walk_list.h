// SPDX-License-Identifier: Apache-2.0
//
// The walks over list and data-list requests and their replies.
//
// A reply is walked by position rather than with the cursor: its checks are lenient on purpose, and
// a position may pass the end of the reply before it is compared with it, or without. Clients rely
// on exactly these checks. What that asks of the caller's buffer is said in the public header.
#pragma once

#include "kelvo_common_msg_list.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// Where the walk over a list request hands out what it finds.
struct ListOut {
    char** first;
    char** second;
    u32* word1;
    u32* block;
    u32* word4;
};

/// The block of five words that readers of lists and finds hand out together: both values and
/// word 2.
inline constexpr u32 kListBlockWords = 5;
static_assert(offsetof(kelvo_msg_list, word3) ==
              offsetof(kelvo_msg_list, value1) + sizeof(u32) * kListBlockWords);

template <class Order>
[[nodiscard]] static Status walk_list(Order order, void* message, u64 length, const ListOut& out) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_list, word1), 8);

    Cursor in(order, msg, length);
    char* first;
    char* second;
    if (const Status st = in.skip(sizeof(kelvo_msg_list))) return st;
    if (const Status st = in.text(&first, Cell::before_room)) return st;
    if (const Status st = in.text(&second, Cell::before_room)) return st;
    if (const Status st = in.end()) return st;

    *out.first = first;
    *out.second = second;
    *out.word1 = order.read(msg + offsetof(kelvo_msg_list, word1));
    read_words(order, msg + offsetof(kelvo_msg_list, value1), kListBlockWords, out.block);
    *out.word4 = order.read(msg + offsetof(kelvo_msg_list, word4));
    return in.accept();
}

/// One entry of a list reply, from *pos to where the next one begins or to where it was refused.
struct ListEntry {
    static constexpr kelvo_msg_operation kReceives = KELVO_OPERATION_LIST_REPLY_NTOH;

    template <class Order>
    [[nodiscard]] static Status walk(Order& order, u8* reply, u64 length, u64* pos) {
        u8* const entry = reply + *pos;
        fixed_words(order, entry, 2);
        *pos += sizeof(kelvo_rply_list_entry);
        if (length <= *pos) return KELVO_ERR_MSG_LENGTH;
        *pos += padded8(pass_word(order, entry + offsetof(kelvo_rply_list_entry, name)));
        return 0;
    }
};

/// One entry of a data-list reply: an entry of a list reply and two values.
struct DatalistEntry {
    static constexpr kelvo_msg_operation kReceives = KELVO_OPERATION_DATALIST_REPLY_NTOH;
    static_assert(sizeof(kelvo_rply_datalist_entry) == sizeof(kelvo_rply_list_entry));
    static_assert(offsetof(kelvo_rply_datalist_entry, name) ==
                  offsetof(kelvo_rply_list_entry, name));

    template <class Order>
    [[nodiscard]] static Status walk(Order& order, u8* reply, u64 length, u64* pos) {
        u8* const type = reply + *pos + offsetof(kelvo_rply_datalist_entry, type);
        if (const Status st = ListEntry::walk(order, reply, length, pos)) return st;
        for (int values = 0; values < 2; ++values) {
            if (length < *pos + kCellBytes) return KELVO_ERR_MSG_LENGTH;
            *pos += pass_value(order, reply + *pos, order.read(type));
        }
        return 0;
    }
};

/// One group: its header, which has no test of its own, and its entries. Only between two entries
/// is there a look whether the reply has ended.
template <class Entry, class Order>
[[nodiscard]] static Status walk_group(Order& order, u8* reply, u64 length, u64* pos) {
    u8* const group = reply + *pos;
    fixed_words(order, group, sizeof(kelvo_rply_list_group) / 4);
    const u32 entries = order.read(group + offsetof(kelvo_rply_list_group, entries));
    *pos += sizeof(kelvo_rply_list_group);
    for (u32 i = 0; i < entries; ++i) {
        if (i != 0 && length <= *pos) return KELVO_ERR_MSG_LENGTH;
        if (const Status st = Entry::walk(order, reply, length, pos)) return st;
    }
    return 0;
}

/// A reply of either kind.
template <class Entry, class Order>
[[nodiscard]] static Status walk_list_reply(Order order, void* reply, u64 length) {
    constexpr u64 kShortest = sizeof(kelvo_rply_list) + sizeof(kelvo_rply_list_group);
    const Outcome<Order, probe::no_header(Entry::kReceives)> outcome(reply, length);
    if (reply == nullptr || length < kShortest) return outcome.refuse(0, KELVO_ERR_MSG_LENGTH);
    auto* const rply = static_cast<u8*>(reply);
    const u32 groups = pass_word(order, rply + offsetof(kelvo_rply_list, groups));
    u64 pos = sizeof(kelvo_rply_list);
    for (u32 i = 0; i < groups && !order.stopped(); ++i) {
        if (const Status st = walk_group<Entry>(order, rply, length, &pos)) {
            return outcome.refuse(pos, st);
        }
    }
    return outcome.accept();
}

}  // namespace kelvo::wire
