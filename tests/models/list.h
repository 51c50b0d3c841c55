// SPDX-License-Identifier: Apache-2.0
//
// List, data-list and find requests, and their replies.
#pragma once

#include "models/message.h"

namespace kelvo::model {

/// List and data-list request. A mark in the header keeps it from being converted twice: it is set
/// whatever the outcome.
inline u32 list(Message& m, Expected& e) {
    const bool convert = m.one_of(20, {0x12345678}) != 0x12345678;
    if (convert) {
        m.store(20, 0x12345678);
        m.convert({40, 44, 48, 52, 56, 60, 64, 68});
    }
    if (m.len < 72) return kLength;
    if (convert) m.convert(72);
    const u64 r = m.len - 72;
    if (r < 8) return kLength;
    const u64 l1 = m.length(72);
    if (r < l1 + 8) return kLength;
    if (l1 == 0 || m.byte(80 + l1 - 1) != 0) return kContent;
    const u64 p1 = pad8(l1);
    if (r < p1 + 8) return kLength;
    if (convert) m.convert(80 + p1);
    const u64 r2 = r - (p1 + 8);
    if (r2 < 8) return kLength;
    const u64 l2 = m.length(80 + p1);
    if (r2 < l2 + 8) return kLength;
    if (l2 == 0 || m.byte(88 + p1 + l2 - 1) != 0) return kContent;
    const u64 p2 = pad8(l2);
    if (r2 < p2 + 8 || r2 != p2 + 8) return kLength;
    e.give("first_string", 80);
    e.give("second_string", 88 + p1);
    e.give("word1", m.word(40));
    for (u64 at = 44; at <= 60; at += 4) e.give("block", m.word(at));
    e.give("word4", m.word(68));
    return kOk;
}

/// Reply to a list. Lenient: what ends a group is not compared with the end of the reply.
inline u32 list_reply(Message& m, Expected&) {
    if (m.len < 56) return kLength;
    m.convert(16);
    const u32 g = m.count(16, 24);
    u64 pos = 24;
    for (u32 group = 0; group < g; ++group) {
        m.convert({0, 4, 8, 12, 16, 20, 24, 28}, pos);
        const u64 header = pos;
        pos += 32;
        const u32 n = m.count(header + 20, pos);
        for (u32 i = 1; i <= n; ++i) {
            m.convert({0, 4}, pos);
            if (m.len <= pos + 16) return kLength;
            m.convert(pos + 8);
            pos += 16 + pad8(m.length(pos + 8));
            if (i < n && m.len <= pos) return kLength;
        }
    }
    return kOk;
}

/// Reply to a data-list.
inline u32 datalist_reply(Message& m, Expected&) {
    if (m.len < 56) return kLength;
    m.convert(16);
    const u32 g = m.count(16, 24);
    u64 pos = 24;
    for (u32 group = 0; group < g; ++group) {
        m.convert({0, 4, 8, 12, 16, 20, 24, 28}, pos);
        const u64 header = pos;
        pos += 32;
        const u32 n = m.count(header + 20, pos);
        for (u32 i = 1; i <= n; ++i) {
            m.convert({0, 4}, pos);
            if (m.len <= pos + 16) return kLength;
            m.convert(pos + 8);
            const u64 p1 = pad8(m.length(pos + 8));
            if (m.len < pos + p1 + 24) return kLength;
            m.convert(pos + 16 + p1);
            const u64 l2 = m.length(pos + 16 + p1);
            if (l2 > 0) m.convert_value(m.type(pos), pos + 24 + p1);
            const u64 p2 = pad8(l2);
            if (m.len < pos + p1 + p2 + 32) return kLength;
            m.convert(pos + 24 + p1 + p2);
            const u64 l3 = m.length(pos + 24 + p1 + p2);
            if (l3 > 0) m.convert_value(m.type(pos), pos + 32 + p1 + p2);
            pos += 32 + p1 + p2 + pad8(l3);
            if (i < n && m.len <= pos) return kLength;
        }
    }
    return kOk;
}

enum class Way { host, receive, send };

/// Find, on its three ways.
inline u32 find(Message& m, Expected& e, Way way) {
    const bool receive = way == Way::receive;
    const bool send = way == Way::send;
    if (receive || send) m.convert({40, 44, 48, 52, 56, 60, 64, 68, 72, 76, 80});
    if (m.len < 88) return kLength;
    const u64 r = m.len - 88;
    if (receive) m.convert(88);
    if (r < 8) return kLength;
    const u64 l1 = m.length(88);
    if (r < l1 + 8) return kLength;
    if (l1 == 0 || m.byte(96 + l1 - 1) != 0) return kContent;
    const u64 p1 = pad8(l1);
    if (r < p1 + 8) return kLength;
    if (send) m.convert(88);
    const u64 r2 = r - (p1 + 8);
    if (receive) m.convert(96 + p1);
    if (r2 < 8) return kLength;
    const u64 l2 = m.length(96 + p1);
    if (r2 < l2 + 8) return kLength;
    if (l2 == 0 || m.byte(104 + p1 + l2 - 1) != 0) return kContent;
    const u64 p2 = pad8(l2);
    if (r2 < p2 + 8) return kLength;
    if (send) m.convert(96 + p1);
    if (r2 != p2 + 8) return kLength;
    if (send) return kOk;
    e.give("first_string", 96);
    e.give("second_string", 104 + p1);
    e.give("word1", m.word(40));
    e.give("word4", m.word(68));
    for (u64 at = 44; at <= 60; at += 4) e.give("block", m.word(at));
    e.give("word7", m.word(80));
    e.give("word5", m.word(72));
    e.give("word6", m.word(76));
    return kOk;
}

/// Group find.
inline u32 find_group(Message& m, Expected& e) {
    m.convert(40);
    if (m.len < 48) return kLength;
    m.convert(48);
    const u64 r = m.len - 48;
    if (r < 8) return kLength;
    const u64 l = m.length(48);
    if (r < l + 8) return kLength;
    if (l == 0 || m.byte(56 + l - 1) != 0) return kContent;
    if (r < pad8(l) + 8 || r != pad8(l) + 8) return kLength;
    e.give("string", 56);
    e.give("group_word", m.word(40));
    return kOk;
}

inline u32 find_group_reply(Message& m, Expected&) {
    if (m.len < 20) return kLength;
    m.convert(16);
    return kOk;
}

}  // namespace kelvo::model
