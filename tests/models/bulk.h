// SPDX-License-Identifier: Apache-2.0
//
// Bulk requests, bulk replies, notification sets: the walk from the first item to the last.
#pragma once

#include "models/message.h"

namespace kelvo::model {

/// Where a bulk reader stands.
struct BulkPosition {
    u64 current;
    u64 previous = test::kNullPointer;
    u32 index = 1;

    void give(Expected& e) const {
        e.give("current", current);
        e.give("prev_item_ptr", previous);
        e.give("index", index);
    }
    void advance(u64 item, u64 next) {
        index += 1;
        previous = item;
        current = next;
    }
    void back() {
        index -= 1;
        current = previous;
        previous = test::kNullPointer;
    }
};

/// One item of a bulk request, or of a reply. Both begin with four words, a name and data; which
/// of the words is the data's type differs, and a reply has a third text.
struct BulkItem {
    u32 words[4] = {};
    u64 name = test::kNullPointer;
    u64 data = test::kNullPointer;
    u64 data_length = 0;
    u64 third = test::kNullPointer;
};

inline u32 bulk_item(Message& m, BulkPosition& position, bool reply, BulkItem* out) {
    const u64 item = position.current;
    if (item > m.len) return kLength;
    u64 rem = m.len - item;
    if (rem < 16) return kLength;
    rem -= 16;
    BulkItem found;
    const bool foreign = m.length_in_either_order(item + 16) > 65535;
    if (foreign) m.convert({0, 4, 8, 12, 16}, item);
    if (rem < 8) return kLength;
    const u64 l1 = m.length(item + 16);
    if (rem < l1 + 8) return kLength;
    found.name = item + 24;
    if (l1 == 0 || m.byte(item + 24 + l1 - 1) != 0) return kContent;
    const u64 p1 = pad8(l1);
    if (rem < p1 + 8) return kLength;
    rem -= p1 + 8;

    const u64 cell2 = item + 24 + p1;
    if (foreign) {
        m.convert(cell2);
        if (m.length(cell2) != 0) m.convert_value(m.type(item + (reply ? 4 : 8)), cell2 + 8);
    }
    if (rem < 8) return kLength;
    const u64 l2 = m.length(cell2);
    const u64 p2 = pad8(l2);
    if (p2 + 8 > rem) return kLength;
    rem -= p2 + 8;
    if (l2 != 0) found.data = cell2 + 8;
    found.data_length = l2;

    u64 next = cell2 + 8 + p2;
    if (reply) {
        if (foreign) m.convert(next);
        if (rem < 8) return kLength;
        const u64 l3 = m.length(next);
        if (rem < l3 + 8) return kLength;
        found.third = next + 8;
        if (l3 == 0 || m.byte(next + 8 + l3 - 1) != 0) return kContent;
        const u64 p3 = pad8(l3);
        if (rem < p3 + 8) return kLength;
        next += p3 + 8;
    }
    for (u64 i = 0; i < 4; ++i) found.words[i] = m.word(item + 4 * i);
    if (!reply) found.words[0] = m.one_of(item, {2});
    position.advance(item, next);
    *out = found;
    return kOk;
}

inline void give_request_item(Expected& e, const BulkItem& item) {
    const bool second = item.words[0] == 2;
    e.give("operation", item.words[0]);
    e.give("word2", item.words[1]);
    e.give("type", item.words[2]);
    e.give("name", item.name);
    e.give("data", second ? test::kNullPointer : item.data);
    e.give("data_length", second ? 0 : item.data_length);
    e.give("op2_data", second ? item.data : test::kNullPointer);
    e.give("op2_data_length", second ? item.data_length : 0);
    e.give("op2_type", 0);
    e.give("word4", item.words[3]);
}

inline void give_reply_item(Expected& e, const BulkItem& item) {
    e.give("word1", item.words[0]);
    e.give("type", item.words[1]);
    e.give("word3", item.words[2]);
    e.give("word4", item.words[3]);
    e.give("name", item.name);
    e.give("data", item.data);
    e.give("data_length", item.data_length);
    e.give("third", item.third);
}

/// How far a bulk reader is driven: not at all, through the items, or through the items with each
/// one given back and taken again.
enum class Drive { interpret, next, back };

/// Takes items until one fails, however many the message claims.
inline void bulk_items(Message& m, Expected& e, BulkPosition position, bool reply, Drive drive) {
    position.give(e);
    if (drive == Drive::interpret) return;
    for (;;) {
        for (int again = 0; again < (drive == Drive::back ? 2 : 1); ++again) {
            if (again != 0) {
                position.back();
                e.give("back", position.current);
                position.give(e);
            }
            BulkItem item;
            const u32 status = bulk_item(m, position, reply, &item);
            e.give("status of next", status);
            reply ? give_reply_item(e, item) : give_request_item(e, item);
            position.give(e);
            if (status != kOk) return;
        }
    }
}

inline u32 bulk(Message& m, Expected& e, Drive drive) {
    if (m.len == 0) return KELVO_ERR_NULL_PARAM;
    m.convert({40, 44, 48, 52, 56, 64});
    if (m.len < 64) return kLength;
    const u64 p0 = pad8(m.length(64));
    e.give("start", 0);
    e.give("end", m.len);
    e.give("count", m.word(48));
    e.give("word1", m.word(40));
    e.give("word2", m.word(44));
    e.give("leading", 72);
    for (int i = 0; i < 4; ++i) e.give("zero", 0);
    bulk_items(m, e, {.current = 72 + p0}, false, drive);
    return kOk;
}

inline u32 bulk_reply(Message& m, Expected& e, Drive drive) {
    if (m.len == 0) return KELVO_ERR_NULL_PARAM;
    if (m.len < 24) return kLength;
    m.convert({16, 20});
    e.give("start", 0);
    e.give("end", m.len);
    e.give("word3", m.word(28));
    e.give("word4", m.word(32));
    bulk_items(m, e, {.current = 40}, true, drive);
    return kOk;
}

/// The checks and conversions of a notification set. `values`: the variant that converts the values
/// as well, whose steps come in another order.
inline u32 notifyset_entries(Message& m, u32 n, bool values) {
    u64 pos = 32;
    for (u32 i = 1; i <= n; ++i) {
        if (!values) m.convert({0, 4}, pos);
        if (m.len <= pos + 16) return kLength;
        if (values) m.convert({0, 4}, pos);
        m.convert(pos + 8);
        const u64 p1 = pad8(m.length(pos + 8));
        if (m.len < pos + p1 + 24) return kLength;
        m.convert(pos + 16 + p1);
        const u64 l2 = m.length(pos + 16 + p1);
        if (values && l2 > 0) m.convert_value(m.type(pos + 4), pos + 24 + p1);
        const u64 p2 = pad8(l2);
        if (m.len < pos + p1 + p2 + 32) return kLength;
        m.convert(pos + 24 + p1 + p2);
        const u64 l3 = m.length(pos + 24 + p1 + p2);
        if (values && l3 > 0) m.convert_value(m.type(pos + 4), pos + 32 + p1 + p2);
        pos += 32 + p1 + p2 + pad8(l3);
        if (i == n && m.len != pos) return kLength;
        if (i < n && m.len <= pos) return kLength;
    }
    return kOk;
}

/// One step of the walk over an accepted set.
inline u32 notifyset_next(Message& m, Expected& e, u32 n, u64* current, u32* index) {
    if (*index > n) return KELVO_ERR_NOT_FOUND;
    const u64 entry = *current;
    if (entry >= m.len) return kLength;
    const u32 kind = m.one_of(entry, {1, 4});
    const u64 p1 = pad8(m.word(entry + 8));
    if (entry + p1 + 16 > m.len) return kLength;
    const u32 l2 = m.word(entry + 16 + p1);
    const u64 p2 = pad8(l2);
    if (entry + p1 + p2 + 24 > m.len) return kLength;
    const u32 l3 = m.word(entry + 24 + p1 + p2);
    e.give("name", entry + 16);
    e.give("kind", kind);
    e.give("type", m.word(entry + 4));
    e.give("first", kind == 1 ? test::kNullPointer : entry + p1 + 24);
    e.give("first_length", kind == 1 ? 0 : l2);
    e.give("second", kind == 4 ? test::kNullPointer : entry + p1 + p2 + 32);
    e.give("second_length", kind == 4 ? 0 : l3);
    e.give("caller_word", 0x1234);
    e.give("count", n);
    e.give("index", *index);
    const u32 halves[2] = {kind, m.word(entry + 4)};
    u64 kind_and_type;
    std::memcpy(&kind_and_type, halves, 8);
    e.give("kind_and_type", kind_and_type);
    *current = entry + 32 + p1 + p2 + pad8(l3);
    *index += 1;
    return kOk;
}

inline u32 notifyset(Message& m, Expected& e, bool values, Drive drive) {
    if (m.len < 32) return kLength;
    m.convert(28);
    const u32 n = m.count(28, 32);
    if (const u32 st = notifyset_entries(m, n, values)) return st;
    u64 current = 32;
    u32 index = 1;
    e.give("start", 0);
    e.give("end", m.len);
    e.give("count", n);
    e.give("zero", 0);
    e.give("current", current);
    e.give("index", index);
    if (drive == Drive::interpret) return kOk;
    u32 status;
    while ((status = notifyset_next(m, e, n, &current, &index)) == kOk) e.give("current", current);
    e.give("status of next", status);
    e.give("index", index);
    return kOk;
}

}  // namespace kelvo::model
