// SPDX-License-Identifier: Apache-2.0
//
// Callback replies, converted in place. `receive`: a word is converted and then used; to be sent,
// it is used and then converted.
#pragma once

#include "models/message.h"

namespace kelvo::model {

inline u32 apply_reply(Message& m, Expected&, bool receive) {
    if (m.len < 48) return kLength;
    if (receive) m.convert({28, 32, 36, 40, 44});
    const u32 b = m.length(36, 12);
    if (!receive) m.convert({28, 32, 36, 40, 44});
    u64 w = (b >> 5) + 1;
    if (b % 32 == 0) w -= 1;
    if (m.len < 48 + 8 * w) return kLength;
    for (u64 k = 0; k < 2 * w; ++k) m.convert(48 + 4 * k);
    return kOk;
}

inline u32 verify_reply_ntoh(Message& m, Expected&) {
    if (m.len < 64) return kLength;
    m.convert({28, 32, 36, 44, 48, 52, 56});
    const u32 c = m.count(36, 64);
    if (c == 0) return kOk;
    u64 pos = 64;
    for (u32 i = 1; i <= c; ++i) {
        const bool too_short = m.len <= pos + 24;
        m.convert({0, 4, 8, 12}, pos);
        if (too_short) return kLength;
        m.convert(pos + 16);
        const u64 n = pad8(m.length(pos + 16));
        if (m.len < pos + 32 + n) return kLength;
        m.convert(pos + 24 + n);
        const u64 d1 = m.length(pos + 24 + n);
        if (d1 != 0) m.convert_value(m.type(pos + 8), pos + 32 + n);
        if (m.len < pos + 40 + n + pad8(d1)) return kLength;
        m.convert(pos + 32 + n + pad8(d1));
        const u64 d2 = m.length(pos + 32 + n + pad8(d1));
        if (d2 != 0) m.convert_value(m.type(pos + 8), pos + 40 + n + pad8(d1));
        pos += 40 + n + pad8(d1) + pad8(d2);
        if (i == c) return m.len == pos ? kOk : kLength;
        if (m.len <= pos) return kLength;
    }
    return kOk;
}

inline u32 verify_reply_hton(Message& m, Expected&) {
    if (m.len < 64) return kLength;
    const u32 c = m.count(36, 64);
    m.convert({28, 32, 36, 44, 48, 52, 56});
    if (c == 0) return kOk;
    u64 pos = 64;
    u32 entry = 0;
    while (pos + 24 < m.len) {
        ++entry;
        const u32 t = m.type(pos + 8);
        m.convert({0, 4, 8, 12}, pos);
        const u64 n = pad8(m.length(pos + 16));
        if (m.len < pos + 32 + n) return kLength;
        m.convert(pos + 16);
        const u64 cell1 = pos + 24 + n;
        const u64 d1 = m.length(cell1);
        if (d1 != 0) m.convert_value(t, cell1 + 8);
        if (m.len < pos + 40 + n + pad8(d1)) return kLength;
        m.convert(cell1);
        const u64 cell2 = cell1 + 8 + pad8(d1);
        const u64 d2 = m.length(cell2);
        if (d2 != 0) m.convert_value(t, cell2 + 8);
        pos += 40 + n + pad8(d1) + pad8(d2);
        if (entry == c && m.len != pos) return kLength;
        if (entry != c && m.len <= pos) return kLength;
        m.convert(cell2);
        if (entry == c) return kOk;
    }
    return kLength;
}

inline u32 errorset(Message& m, Expected&, bool receive) {
    if (m.len < 64) return kLength;
    if (receive) m.convert({48, 52, 56});
    const u32 c = m.count(52, 64);
    if (!receive) m.convert({48, 52, 56});
    u64 pos = 64;
    for (u32 i = 0; i < c; ++i) {
        const u64 entry = pos;
        pos += 24;
        if (receive) m.convert({0, 4}, entry);
        if (m.len <= pos) return kLength;
        if (!receive) m.convert({0, 4}, entry);
        if (receive) m.convert(entry + 16);
        pos += pad8(m.length(entry + 16));
        if (m.len < pos) return kLength;
        if (!receive) m.convert(entry + 16);
    }
    return kOk;
}

inline u32 sm_cb_response(Message& m, Expected&, bool receive) {
    if (m.len < 56) return kLength;
    if (receive) m.convert(48);
    const u32 c = m.count(48, 56);
    if (!receive) m.convert(48);
    if (c == 0) return kOk;
    for (u64 k = 0; k < c; ++k) {
        if (m.len < 56 + 12 * (k + 1)) return kLength;
        m.convert({0, 4, 8}, 56 + 12 * k);
    }
    return kOk;
}

inline u32 smset_reply(Message& m, Expected&, bool receive) {
    if (m.len < 40) return kLength;
    if (receive) m.convert({28, 32});
    const u32 c = m.count(28, 40);
    if (!receive) m.convert({28, 32});
    u64 pos = 40;
    for (u32 i = 0; i < c; ++i) {
        const u64 entry = pos;
        pos += 16;
        if (m.len <= pos) return kLength;
        m.convert({0, 4}, entry);
        if (receive) m.convert(entry + 8);
        pos += pad8(m.length(entry + 8));
        if (m.len < pos) return kLength;
        if (!receive) m.convert(entry + 8);
    }
    return kOk;
}

}  // namespace kelvo::model
