// SPDX-License-Identifier: Apache-2.0
//
// Transactions and item locks, get-items, copy, bind.
#pragma once

#include "models/message.h"

namespace kelvo::model {

inline u64 double_word(Message& m, u64 at) {
    const u32 halves[2] = {m.word(at), m.word(at + 4)};
    u64 both;
    std::memcpy(&both, halves, 8);
    return both;
}

/// Transaction start: each half of the two words is converted by itself, before anything else.
inline u32 transaction_start(Message& m, Expected& e) {
    m.convert({40, 44, 48, 52, 56});
    if (m.len < 64) return kLength;
    e.give("words", double_word(m, 40));
    e.give("words", double_word(m, 48));
    e.give("options", m.word(56));
    return kOk;
}

/// Transaction commit and abort.
inline u32 transaction_end(Message& m, Expected&) {
    return m.len < 40 ? kLength : kOk;
}

/// Write lock, read lock, unlock.
inline u32 lock(Message& m, Expected& e) {
    if (m.len < 40) return kLength;
    m.convert(40);
    if (m.len < 48) return kLength;
    const u64 l = m.length(40);
    if (m.len - 40 < l + 8) return kLength;
    if (l == 0 || m.byte(48 + l - 1) != 0) return kContent;
    if (m.len - 40 != pad8(l) + 8) return kLength;
    e.give("path", 48);
    return kOk;
}

/// Get items. Bytes behind the last name are no error.
inline u32 get_items(Message& m, Expected& e, bool receive) {
    if (receive) m.convert({40, 44});
    if (m.len < 56) return kLength;
    u64 r = m.len - 48;
    if (receive) m.convert(48);
    const u64 l = m.length(48);
    if (r < l + 8) return kLength;
    if (l == 0 || m.byte(56 + l - 1) != 0) return kContent;
    if (r < pad8(l) + 8) return kLength;
    r -= pad8(l) + 8;
    u64 cursor = 56 + pad8(l);
    const u32 n = m.count(40, cursor);
    test::Outcome names;
    for (u32 i = 0; i < n; ++i) {
        if (r < 8) return kLength;
        if (receive) m.convert(cursor);
        const u64 li = m.length(cursor);
        if (r < li + 8) return kLength;
        if (li == 0 || m.byte(cursor + 8 + li - 1) != 0) return kContent;
        if (r < pad8(li) + 8) return kLength;
        names.outputs.push_back({"names", cursor + 8});
        cursor += 8 + pad8(li);
        r -= 8 + pad8(li);
    }
    e.give("base_path", 56);
    for (const test::Output& name : names.outputs) e.give(name.name, name.value);
    e.give("count", n);
    e.give("request_argument", m.word(44));
    return kOk;
}

/// Copy. Each length is converted before there is known to be room for it.
inline u32 copy(Message& m, Expected& e) {
    m.convert(40);
    if (m.len < 48) return kLength;
    u64 r = m.len - 48;
    u64 cursor = 48;
    u64 paths[3];
    for (u64& path : paths) {
        m.convert(cursor);
        if (r < 8) return kLength;
        const u64 l = m.length(cursor);
        if (r < l + 8) return kLength;
        if (l == 0 || m.byte(cursor + 8 + l - 1) != 0) return kContent;
        if (r < pad8(l) + 8) return kLength;
        path = cursor + 8;
        cursor += pad8(l) + 8;
        r -= pad8(l) + 8;
    }
    if (r != 0) return kLength;
    e.give("first", paths[0]);
    e.give("second", paths[1]);
    e.give("third", paths[2]);
    e.give("copy_argument", m.word(40));
    return kOk;
}

/// Bind. Only a well-formed one is asked for its version.
inline u32 bind(Message& m, Expected& e) {
    m.convert({40, 44, 48, 52, 56, 60, 64, 68, 72, 76});
    if (m.len < 80) return kLength;
    m.convert(80);
    const u64 r = m.len - 80;
    if (r < 8) return kLength;
    const u64 l1 = m.length(80);
    if (r < l1 + 8) return kLength;
    if (l1 == 0) return kContent;
    if (m.byte(88 + l1 - 1) != 0) return kContent;
    const u64 p1 = pad8(l1);
    if (r < p1 + 8) return kLength;
    m.convert(80 + p1 + 8);
    const u64 r2 = r - (p1 + 8);
    if (r2 < 8) return kLength;
    const u64 l2 = m.length(80 + p1 + 8);
    if (r2 < l2 + 8) return kLength;
    if (l2 == 0 || m.byte(96 + p1 + l2 - 1) != 0) return kContent;
    const u64 p2 = pad8(l2);
    if (r2 < p2 + 8 || r2 != p2 + 8) return kLength;
    if (m.one_of(40, {541, 540}) != 541) return KELVO_ERR_VERSION_MISMATCH;
    e.give("version", 541);
    e.give("reserved", m.word(44));
    for (u64 at = 48; at <= 76; at += 4) e.give("p", m.word(at));
    e.give("first_string", 88);
    e.give("second_string", 96 + p1);
    return kOk;
}

}  // namespace kelvo::model
