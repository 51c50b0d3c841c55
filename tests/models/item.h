// SPDX-License-Identifier: Apache-2.0
//
// Item requests and the item-get reply.
#pragma once

#include "models/message.h"

namespace kelvo::model {

/// Item get. Received from the network, it is converted field by field, just before each is tested;
/// and a count that is not 1 ends the process, even one that is not there.
inline u32 get(Message& m, Expected& e, bool receive) {
    if (receive) {
        m.convert({40, 44});
        if (m.len < 48) {
            if (m.one_of(48, {1}) != 1) throw Stops{};
            return kLength;
        }
    }
    if (m.len < 48) return kLength;
    if (m.len < 56) return kLength;
    if (receive) m.convert(48);
    if (m.one_of(48, {1}) != 1) {
        if (receive) throw Stops{};
        return kContent;
    }
    if (m.len < 64) return kLength;
    if (receive) m.convert(56);
    if (m.type(56) != 0) return kContent;
    if (m.len < 72) return kLength;
    const u64 r = m.len - 64;
    if (receive) m.convert(64);
    const u64 l = m.length(64);
    if (r < l + 8) return kLength;
    if (l == 0 || m.byte(72 + l - 1) != 0) return kContent;
    if (r != l + (pad8(l) - l) + 8) return kLength;
    e.give("path", 72);
    e.give("request_argument", m.word(44));
    return kOk;
}

/// The value that set, create, delete and verify carry behind their name: its length cell at `at`,
/// with `r2` bytes left from there.
inline u32 item_value(Message& m, u64 at, u64 r2, bool receive, u64* v) {
    if (r2 < 8) return kLength;
    if (receive) m.convert(at);
    *v = m.length(at);
    if (r2 != *v + (pad8(*v) - *v) + 8) return kLength;
    return kOk;
}

enum class Item { set, create, remove };

/// Item set, create and delete.
inline u32 item(Message& m, Expected& e, Item kind, bool receive) {
    if (receive) m.convert({40, 44});
    if (m.len < 48) return kLength;
    if (m.len < 56) return kLength;
    if (receive) m.convert(48);
    if (m.one_of(48, {1}) != 1) return kContent;
    if (m.len < 64) return kLength;
    if (receive) m.convert(56);
    if (m.len < 72) return kLength;
    const u64 r = m.len - 64;
    if (receive) m.convert(64);
    const u64 l = m.length(64);
    if (r < l + 8) return kLength;
    if (l == 0 || m.byte(72 + l - 1) != 0) return kContent;
    if (r < pad8(l) + 8) return kLength;
    u64 v;
    if (const u32 st = item_value(m, 72 + pad8(l), r - (pad8(l) + 8), receive, &v)) return st;
    const u32 type = m.type(56);
    if (kind == Item::create && type == 0) return KELVO_ERR_BAD_VALUE_TYPE;
    const u64 value = 80 + pad8(l);
    if (receive && v != 0) m.convert_value(type, value);
    e.give("path", 72);
    e.give("value_type", type);
    e.give("value", kind == Item::remove && v == 0 ? test::kNullPointer : value);
    e.give("value_len", v);
    e.give("request_argument", m.word(44));
    return kOk;
}

/// Item verify.
inline u32 verify(Message& m, Expected& e, bool receive) {
    if (receive) m.convert({40, 44});
    if (m.len < 56) return kLength;
    const u64 r = m.len - 48;
    if (receive) m.convert(48);
    const u64 l = m.length(48);
    if (r < l + 8) return kLength;
    if (l == 0 || m.byte(56 + l - 1) != 0) return kContent;
    if (r < pad8(l) + 8) return kLength;
    u64 v;
    if (const u32 st = item_value(m, 56 + pad8(l), r - (pad8(l) + 8), receive, &v)) return st;
    const u32 type = m.type(40);
    const u64 value = 64 + pad8(l);
    if (receive && v != 0) m.convert_value(type, value);
    e.give("path", 56);
    e.give("value_type", type);
    e.give("value", value);
    e.give("value_len", v);
    e.give("request_argument", m.word(44));
    return kOk;
}

/// The reply to an item get, received.
inline u32 get_reply(Message& m, Expected&) {
    m.convert({16, 24, 28, 32});
    if (m.len < 40) return kLength;
    const u64 v = m.length(32);
    if (40 + pad8(v) != m.len) return kLength;
    if (m.one_of(24, {0}) != 0) return KELVO_ERR_REPLY_FAILED;
    const u32 type = m.type(28);
    if (v != 0 && type != 0) m.convert_value(type, 40);
    return kOk;
}

/// Preparing a reply to be sent, and the temporary messages: nothing is done.
inline u32 nothing(Message&, Expected&) {
    return kOk;
}

}  // namespace kelvo::model
