// SPDX-License-Identifier: Apache-2.0
//
// Valid registration requests for tests, in either byte order.
#pragma once

#include "kelvo_common_msg_types.h"
#include "support/startup_lists.h"
#include "support/wire_bytes.h"

namespace kelvo::test {

/// What a client block holds here: bytes that no conversion may touch.
inline Bytes client_block() {
    Bytes block;
    for (std::uint8_t i = 0; i < 64; ++i) block.push_back(static_cast<std::uint8_t>(0xC0 + i));
    return block;
}

inline Message& put_block(Message& m) {
    const Bytes block = client_block();
    return m.raw(block.data(), block.size());
}

/// The pair section: count, pairs in the order given.
inline Message& put_pairs(Message& m, const Pairs& pairs) {
    m.cell(static_cast<std::uint32_t>(pairs.size()));
    for (const auto& [job, node] : pairs) m.words({job, node});
    return m;
}

inline Bytes nfn_reg(Order order, const std::string& path) {
    Message m(order, KELVO_MSG_NFN_REG);
    m.words({0x11223344, 0x51525354});
    put_block(m).word(0x61626364).raw_word(0x71727374);
    return m.text(path).bytes();
}

inline Bytes vrfn_reg(Order order, const std::vector<std::string>& paths) {
    Message m(order, KELVO_MSG_VRFN_REG);
    m.words({0x11223344, 2});
    put_block(m).words({3, 4, 5, 6, static_cast<std::uint32_t>(paths.size()), 7});
    for (const std::string& path : paths) m.text(path);
    return m.bytes();
}

inline Bytes vs_reg(Order order, const std::string& path, const Pairs& pairs) {
    Message m(order, KELVO_MSG_VS_REG);
    m.word(0x11223344).raw_word(0x51525354);
    put_block(m).word(0x61626364).raw_word(0x71727374).text(path);
    return put_pairs(m, pairs).bytes();
}

inline Bytes edms_reg(Order order, const std::string& path, const Pairs& pairs) {
    Message m(order, KELVO_MSG_EDMS_REG);
    put_block(m).word(0x61626364).raw_word(0x71727374).text(path);
    return put_pairs(m, pairs).bytes();
}

inline Bytes edm_reg(Order order, const std::string& first, const std::string& second) {
    Message m(order, KELVO_MSG_EDM_REG);
    put_block(m).words({1, 2, 3, 4, 5}).raw_word(0x71727374);
    return m.text(first).text(second).bytes();
}

inline Bytes unreg(std::uint32_t registration_id) {
    return Message(Order::host, KELVO_MSG_NFN_UNREG).word(registration_id).bytes();
}

inline Bytes startup_unreg(std::uint32_t registration_id, const Pairs& pairs) {
    Message m(Order::host, KELVO_MSG_VS_UNREG);
    m.word(registration_id).raw_word(0x51525354);
    return put_pairs(m, pairs).bytes();
}

inline Bytes reg_activate(Order order, const std::vector<std::uint32_t>& entries) {
    Message m(order, KELVO_MSG_REG_ACTIVATE);
    m.words({1, 2, static_cast<std::uint32_t>(entries.size())}).raw_word(0x71727374);
    for (const std::uint32_t entry : entries) m.word(entry);
    return m.bytes();
}

/// A configuration-group request as it is interpreted: the name lengths in network order, the rest
/// in host order.
inline Bytes cfg_grp(std::uint32_t w1, const std::vector<std::string>& names) {
    Message m(Order::host, KELVO_MSG_CFG_GRP_GET);
    m.words({w1, static_cast<std::uint32_t>(names.size())});
    Message rest = Message::of_bytes(Order::network, m.bytes());
    for (const std::string& name : names) rest.text(name);
    return rest.bytes();
}

}  // namespace kelvo::test
