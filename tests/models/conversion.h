// SPDX-License-Identifier: Apache-2.0
//
// Registration requests, converted in place. `receive`: a word is converted and then tested; to be
// sent, it is tested and then converted.
#pragma once

#include "models/message.h"

namespace kelvo::model {

inline u32 convert_nfn_reg(Message& m, Expected&) {
    m.convert({40, 44, 112});
    if (m.len < 120) return kLength;
    m.convert(120);
    return kOk;
}

inline u32 convert_edm_reg(Message& m, Expected&, bool receive) {
    m.convert({104, 108, 112, 116, 120});
    if (m.len < 128) return kLength;
    const u64 r = m.len - 128;
    if (r < 8) return kLength;
    if (receive) m.convert(128);
    const u64 len1 = m.length(128);
    if (r < len1 + 8) return kLength;
    if (len1 == 0 || m.byte(136 + len1 - 1) != 0) return kContent;
    if (r < pad8(len1) + 8) return kLength;
    if (!receive) m.convert(128);
    m.convert(136 + pad8(len1));
    return kOk;
}

/// VRFN registration: nothing is checked. A round that does not get on leaves the word at the
/// cursor to the next one; two such rounds give it back, and so does every further pair of them.
inline u32 convert_vrfn_reg(Message& m, Expected&, bool receive) {
    if (receive) m.convert({40, 44, 112, 116, 120, 124, 128, 132});
    const u32 c = m.count(128, 136);
    u32 r = static_cast<u32>(m.len) - 136;
    u64 cursor = 136;
    u32 stuck = 0;
    for (u64 rounds = c; rounds != 0; --rounds) {
        if (receive) m.convert(cursor);
        const u64 size = 8 + pad8(m.length_in_either_order(cursor));
        if (!receive) m.convert(cursor);
        ++stuck;
        if (size <= r) {
            cursor += size;
            r -= static_cast<u32>(size);
            stuck = 0;
        }
        if (stuck >= 2 && rounds > 1000) rounds = (rounds - 1) % 2 + 1;
    }
    if (!receive) m.convert({40, 44, 112, 116, 120, 124, 128, 132});
    return kOk;
}

/// Path and pairs of a VS or EDMS registration; `cell` is where the path's length stands. A
/// received pair is converted before there is known to be room for it.
inline u32 convert_path_and_pairs(Message& m, u64 cell, bool receive) {
    if (m.len < cell) return kLength;
    if (m.len < cell + 8) return kLength;
    const u64 r = m.len - cell;
    if (receive) m.convert(cell);
    const u64 n = m.length(cell);
    if (r < n + 8) return kLength;
    if (n == 0 || m.byte(cell + 8 + n - 1) != 0) return kContent;
    if (r < pad8(n) + 8) return kLength;
    if (!receive) m.convert(cell);
    if (r - (pad8(n) + 8) < 8) return kLength;
    const u64 p = cell + 8 + pad8(n);
    if (receive) m.convert(p);
    const u32 c = m.count(p, p + 8);
    if (!receive) m.convert(p);
    u64 cursor = p + 8;
    for (u32 k = 0; k < c; ++k) {
        if (receive) m.convert({0, 4}, cursor);
        if (m.len - cursor < 8) return kLength;
        if (!receive) m.convert({0, 4}, cursor);
        cursor += 8;
    }
    return m.len == cursor ? kOk : kLength;
}

inline u32 convert_vs_reg(Message& m, Expected&, bool receive) {
    m.convert({40, 112});
    return convert_path_and_pairs(m, 120, receive);
}

inline u32 convert_edms_reg(Message& m, Expected&, bool receive) {
    m.convert(104);
    return convert_path_and_pairs(m, 112, receive);
}

/// Registration activate: the entries are not compared with the length.
inline u32 convert_reg_activate(Message& m, Expected&, bool receive) {
    if (m.len < 56) return kLength;
    if (receive) m.convert({40, 44, 48});
    const u32 c = m.count(48, 56);
    for (u64 k = 0; k < c; ++k) m.convert(56 + 4 * k);
    if (!receive) m.convert({40, 44, 48});
    return kOk;
}

}  // namespace kelvo::model
