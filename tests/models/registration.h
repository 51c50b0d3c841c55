// SPDX-License-Identifier: Apache-2.0
//
// Registration requests, interpreted.
#pragma once

#include <utility>
#include <vector>

#include "models/message.h"

namespace kelvo::model {

inline u32 nfn_reg(Message& m, Expected& e) {
    if (m.len < 120) return kLength;
    if (m.len < 128) return kLength;
    const u64 r = m.len - 120;
    const u64 n = m.length(120);
    if (r < n + 8) return kLength;
    if (n == 0 || m.byte(128 + n - 1) != 0) return kContent;
    if (r < pad8(n) + 8 || r != pad8(n) + 8) return kLength;
    e.give("registration_id", m.word(40));
    e.give("client_block", 48);
    e.give("parameter", m.word(112));
    e.give("path", 128);
    return kOk;
}

/// NFN, VRFN and EDM unregistration.
inline u32 unreg(Message& m, Expected& e) {
    if (m.len < 44) return kLength;
    if (m.len != 44) return kLength;
    e.give("registration_id", m.word(40));
    return kOk;
}

inline u32 vrfn_reg(Message& m, Expected& e) {
    if (m.len < 136) return kLength;
    const u32 c = m.count(128, 136);
    if (c == 0) return kContent;
    u64 r = m.len - 136;
    u64 cursor = 136;
    std::vector<u64> paths;
    for (u32 i = 0; i < c; ++i) {
        if (r < 8) return kLength;
        const u64 n = m.length(cursor);
        if (r < n + 8) return kLength;
        if (n == 0 || m.byte(cursor + 8 + n - 1) != 0) return kContent;
        if (r < pad8(n) + 8) return kLength;
        paths.push_back(cursor + 8);
        cursor += pad8(n) + 8;
        r -= pad8(n) + 8;
    }
    if (r != 0) return kLength;
    e.give("registration_id", m.word(40));
    for (const u64 at : {44U, 112U, 116U, 120U, 124U, 132U}) e.give("w2 to w7", m.word(at));
    e.give("client_block", 48);
    e.give("count", c);
    for (const u64 path : paths) e.give("paths", path);
    return kOk;
}

/// A startup list, newest pair first.
using Pairs = std::vector<std::pair<u32, u32>>;

/// Adds a pair. A list has a match for it if it holds the same job on the same node, or, for a pair
/// that names no node, on any.
inline u32 add_pair(Pairs& list, u32 job, u32 node) {
    for (const auto& [j, n] : list) {
        if (j == job && (node == 0xFFFFFFFF || n == node)) return KELVO_ERR_MSG_DUPLICATE;
    }
    list.insert(list.begin(), {job, node});
    return kOk;
}

/// The `c` pairs at `cursor`, which must fill what is left of the message.
inline u32 read_pairs(Message& m, u32 c, u64 cursor, Pairs& list) {
    for (u32 k = 0; k < c; ++k) {
        if (m.len - cursor < 8) return kLength;
        const u32 job = m.one_of(cursor, {7});
        const u32 node = m.one_of(cursor + 4, {1, 0xFFFFFFFF});
        if (const u32 st = add_pair(list, job, node)) return st;
        cursor += 8;
    }
    return m.len == cursor ? kOk : kLength;
}

inline void give_pairs(Expected& e, const Pairs& list) {
    e.give("entries", list.size());
    for (const auto& [job, node] : list) {
        e.give("job_id", job);
        e.give("node_id", node);
    }
}

/// Path and pairs of a VS or EDMS registration; `cell` is where the path's length stands. A failure
/// leaves the pairs read so far behind.
inline u32 path_and_pairs(Message& m, Expected& e, u64 cell, Pairs& list) {
    if (m.len < cell) return kLength;
    if (m.len < cell + 8) return kLength;
    const u64 r = m.len - cell;
    const u64 n = m.length(cell);
    if (r < n + 8) return kLength;
    if (n == 0 || m.byte(cell + 8 + n - 1) != 0) return kContent;
    if (r < pad8(n) + 8 || r - (pad8(n) + 8) < 8) return kLength;
    const u64 p = cell + 8 + pad8(n);
    const u32 c = m.count(p, p + 8);
    if (c == 0 && r - pad8(n) - 16 != 0) return kLength;
    const u32 status = read_pairs(m, c, p + 8, list);
    if (status != kOk) e.left_behind = static_cast<u32>(list.size());
    return status;
}

inline u32 vs_reg(Message& m, Expected& e) {
    Pairs list;
    if (const u32 st = path_and_pairs(m, e, 120, list)) return st;
    e.give("registration_id", m.word(40));
    e.give("client_block", 48);
    e.give("parameter", m.word(112));
    e.give("path", 128);
    give_pairs(e, list);
    return kOk;
}

inline u32 edms_reg(Message& m, Expected& e) {
    Pairs list;
    if (const u32 st = path_and_pairs(m, e, 112, list)) return st;
    e.give("client_block", 40);
    e.give("parameter", m.word(104));
    e.give("path", 120);
    give_pairs(e, list);
    return kOk;
}

/// VS and EDMS unregistration.
inline u32 startup_unreg(Message& m, Expected& e) {
    if (m.len < 48) return kLength;
    if (m.len < 56) return kLength;
    const u32 c = m.count(48, 56);
    if (c == 0 && m.len != 56) return kLength;
    Pairs list;
    if (const u32 st = read_pairs(m, c, 56, list)) return st;
    e.give("registration_id", m.word(40));
    give_pairs(e, list);
    return kOk;
}

inline u32 edm_reg(Message& m, Expected& e) {
    if (m.len < 128) return kLength;
    if (m.len < 136) return kLength;
    const u64 r = m.len - 128;
    const u64 len1 = m.length(128);
    if (r < len1 + 8) return kLength;
    if (len1 == 0 || m.byte(136 + len1 - 1) != 0) return kContent;
    if (r < pad8(len1) + 8) return kLength;
    const u64 r2 = r - pad8(len1) - 8;
    if (r2 < 8) return kLength;
    const u64 q = 136 + pad8(len1);
    const u64 len2 = m.length(q);
    if (r2 < len2 + 8) return kLength;
    if (len2 == 0 || m.byte(q + 8 + len2 - 1) != 0) return kContent;
    if (r2 < pad8(len2) + 8 || r2 != pad8(len2) + 8) return kLength;
    e.give("client_block", 40);
    for (u64 at = 104; at <= 120; at += 4) e.give("w1 to w5", m.word(at));
    e.give("first_string", 136);
    e.give("second_string", q + 8);
    return kOk;
}

/// Configuration groups. Every round converts the word at the cursor, also those after an error:
/// a huge even number of them comes to none.
inline u32 cfg_grp(Message& m, Expected& e) {
    if (m.len < 48) return kLength;
    const u32 c = m.count(44, 48);
    u64 cursor = 48;
    u32 error = kOk;
    std::string names;
    for (u64 rounds = c; rounds != 0; --rounds) {
        m.convert(cursor);
        if (error != kOk) {
            if (rounds > 1000) rounds = (rounds - 1) % 2 + 1;
            continue;
        }
        const u64 r = m.len - cursor;
        const u64 n = r <= 7 ? 0 : m.length(cursor);
        if (r <= 7 || r < n + 8) {
            error = kLength;
        } else if (n == 0 || m.byte(cursor + 8 + n - 1) != 0) {
            error = kContent;
        } else if (r < pad8(n) + 8) {
            error = kLength;
        } else {
            if (cursor != 48) names += '|';
            for (u64 i = 0; m.byte(cursor + 8 + i) != 0; ++i) {
                names += static_cast<char>(m.byte(cursor + 8 + i));
            }
            cursor += pad8(n) + 8;
        }
    }
    if (error != kOk) return error;
    if (m.len != cursor) return kLength;
    e.outcome.text = "cfg/gl/a/config-group/" + names + "/";
    e.give("x", 0xFFFFFFFF);
    for (const u32 word : {0xC4653601U, 0xFFFFFFFFU, 0U, 0U, 0xFFFFFFFFU}) e.give("record", word);
    e.give("y", 4);
    e.give("count", c);
    e.give("w1", m.word(40));
    return kOk;
}

}  // namespace kelvo::model
