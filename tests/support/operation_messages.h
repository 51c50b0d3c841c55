// SPDX-License-Identifier: Apache-2.0
//
// Valid messages for every operation that takes a received buffer, in the byte order in which it
// takes them: what tests cut, change and repeat.
#pragma once

#include "kelvo_common_msg.h"
#include "kelvo_common_msg_guard.h"
#include "support/bulk_messages.h"
#include "support/registrations.h"

namespace kelvo::test {

/// An item request: a get without value.
inline Bytes item_request(Order order, std::uint32_t type, const std::string& path) {
    return Message(order).words({0, 77}).cell(1).cell(type).text(path).bytes();
}
inline Bytes item_request(Order order, std::uint32_t type, const std::string& path,
                          const Bytes& value) {
    return Message(order).words({0, 77}).cell(1).cell(type).text(path).value(value).bytes();
}

inline Bytes verify_request(Order order, std::uint32_t type, const std::string& path,
                            const Bytes& value) {
    return Message(order).words({type, 77}).text(path).value(value).bytes();
}

/// So many words and then texts, as most requests are laid out.
inline Bytes words_and_texts(Order order, std::uint32_t words,
                             const std::vector<std::string>& texts) {
    Message m(order);
    for (std::uint32_t i = 0; i < words; ++i) m.word(0x10 + i);
    for (const std::string& text : texts) m.text(text);
    return m.bytes();
}

/// A get reply with a value.
inline Bytes get_reply(Order order, std::uint32_t type, const Bytes& value) {
    Bytes bytes = Message(order).raw(value.data(), value.size()).fill().bytes();
    const auto put = [&](std::size_t at, std::uint32_t word) {
        put_word(bytes, at, order == Order::network ? reversed(word) : word);
    };
    put(24, 0);
    put(28, type);
    put(32, static_cast<std::uint32_t>(value.size()));
    return bytes;
}

/// A list reply, or a data-list reply when `values` is not 0: each group with the number of entries
/// given.
inline Bytes list_reply(Order order, std::uint32_t values,
                        const std::vector<std::uint32_t>& groups) {
    Message m = Message::of_bytes(order, Bytes(16, 0x1E));
    m.word(static_cast<std::uint32_t>(groups.size())).raw_word(0);
    for (const std::uint32_t entries : groups) {
        m.words({1, 2, 3, 4, 5, entries, 6, 7});
        for (std::uint32_t i = 0; i < entries; ++i) {
            m.words({KELVO_VALUE_INT8, 9}).text("name");
            for (std::uint32_t v = 0; v < values; ++v) m.value({1, 2, 3, 4, 5, 6, 7, 8});
        }
    }
    return m.bytes();
}

/// What a callback reply begins with: transport bytes.
inline Message callback_reply(Order order, std::size_t bytes) {
    return Message::of_bytes(order, Bytes(bytes, 0x1E));
}

inline Bytes apply_reply(Order order, std::uint32_t bits) {
    Message m = callback_reply(order, 28);
    m.words({1, 2, bits, 3, 4});
    for (std::uint32_t i = 0; i < 2 * ((bits + 31) / 32); ++i) m.word(i);
    return m.bytes();
}

inline Bytes verify_reply(Order order, std::uint32_t entries) {
    Message m = callback_reply(order, 28);
    m.words({1, 2, entries}).raw_word(0).words({3, 4, 5, 6}).raw_word(0);
    for (std::uint32_t i = 0; i < entries; ++i) {
        m.words({1, 2, KELVO_VALUE_INT4, 3}).text("a/b").value({1, 2, 3, 4}).value({5, 6, 7, 8});
    }
    return m.bytes();
}

inline Bytes errorset(Order order, std::uint32_t entries) {
    Message m(order);
    m.raw_word(0).raw_word(0).words({1, entries, 2}).raw_word(0);
    for (std::uint32_t i = 0; i < entries; ++i) {
        m.words({1, 2}).raw_word(0).raw_word(0).value({1, 2, 3});
    }
    return m.bytes();
}

inline Bytes sm_cb_response(Order order, std::uint32_t entries) {
    Message m(order);
    m.raw_word(0).raw_word(0).cell(entries);
    for (std::uint32_t i = 0; i < entries; ++i) m.words({1, 2, 3});
    return m.bytes();
}

inline Bytes smset_reply(Order order, std::uint32_t entries) {
    Message m = callback_reply(order, 28);
    m.words({entries, 1}).raw_word(0);
    for (std::uint32_t i = 0; i < entries; ++i) m.words({1, 2}).value({1, 2, 3});
    return m.bytes();
}

/// Bulk requests and replies of native, foreign and mixed items.
inline std::vector<Bytes> bulk_requests() {
    const Bytes value = {1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes native = bulk_item(Order::host, {1, 2, KELVO_VALUE_INT8, 4}, "native", value);
    const Bytes foreign = bulk_item(Order::network, {1, 2, KELVO_VALUE_INT4, 4}, "other", {1, 2});
    const Bytes empty = bulk_item(Order::network, {2, 2, KELVO_VALUE_INT8, 4}, "x", {});
    return {bulk_request({}), bulk_request({native}), bulk_request({foreign}),
            bulk_request({foreign, native, empty, foreign}, "a longer leading string")};
}
inline std::vector<Bytes> bulk_replies() {
    const Bytes value = {1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes native =
        bulk_reply_item(Order::host, {1, KELVO_VALUE_INT8, 3, 4}, "native", value, "third");
    const Bytes foreign =
        bulk_reply_item(Order::network, {1, KELVO_VALUE_INT2, 3, 4}, "other", {1, 2}, "t");
    return {bulk_reply({}), bulk_reply({native}), bulk_reply({foreign}),
            bulk_reply({foreign, native, foreign})};
}

inline std::vector<Bytes> notify_sets() {
    const Order order = Order::network;
    const Bytes four = {1, 2, 3, 4};
    const Bytes change = notify_entry(order, 2, KELVO_VALUE_INT4, bytes_of("a/b"), four, four);
    const Bytes created = notify_entry(order, 1, KELVO_VALUE_INT8_ALT, bytes_of("c"), {}, four);
    return {notify_set(order, 0, {}), notify_set(order, 1, {change}),
            notify_set(order, 3, {change, created, change})};
}

/// A list or data-list request; a marked one is in host order.
inline Bytes list_request(bool marked) {
    Bytes bytes = words_and_texts(marked ? Order::host : Order::network, 8, {"one", "a/b/c/d"});
    if (marked) put_word(bytes, 20, KELVO_MSG_CONVERTED);
    return bytes;
}

/// Valid messages for an operation.
inline std::vector<Bytes> messages_for(kelvo_msg_operation operation) {
    const Order host = Order::host;
    const Order net = Order::network;
    const Bytes eight = {1, 2, 3, 4, 5, 6, 7, 8};
    const Pairs pairs = {{1, 2}, {3, 4}, {1, 3}};
    switch (operation) {
        case KELVO_OPERATION_BIND: {
            Bytes bytes = words_and_texts(net, 10, {"client", "a longer second"});
            put_word(bytes, 40, reversed(541));
            return {bytes};
        }
        case KELVO_OPERATION_GET:
            return {item_request(host, 0, "cfg/a")};
        case KELVO_OPERATION_GET_NTOH:
            return {item_request(net, 0, "cfg/a")};
        case KELVO_OPERATION_SET:
        case KELVO_OPERATION_CREATE:
        case KELVO_OPERATION_DELETE:
            return {item_request(host, 2, "cfg/a", eight)};
        case KELVO_OPERATION_SET_NTOH:
        case KELVO_OPERATION_CREATE_NTOH:
        case KELVO_OPERATION_DELETE_NTOH:
            return {item_request(net, 2, "cfg/a", eight), item_request(net, 1, "b", {})};
        case KELVO_OPERATION_VERIFY:
            return {verify_request(host, 2, "cfg/a", eight)};
        case KELVO_OPERATION_VERIFY_NTOH:
            return {verify_request(net, 2, "cfg/a", eight)};
        case KELVO_OPERATION_GET_REPLY_NTOH:
            return {get_reply(net, 2, eight), get_reply(net, 10, {1, 2, 3}), get_reply(net, 0, {})};
        case KELVO_OPERATION_GET_REPLY_HTON:
            return {get_reply(host, 2, eight)};
        case KELVO_OPERATION_GET_ITEMS:
        case KELVO_OPERATION_GET_ITEMS_NTOH: {
            const Order order = operation == KELVO_OPERATION_GET_ITEMS ? host : net;
            return {Message(order).words({2, 9}).text("base").text("x").text("yy").bytes(),
                    Message(order).words({0, 9}).text("base").bytes()};
        }
        case KELVO_OPERATION_COPY: {
            return {Message(net).word(7).raw_word(0).text("a").text("b").text("cc").bytes()};
        }
        case KELVO_OPERATION_FIND:
        case KELVO_OPERATION_FIND_HTON:
            return {words_and_texts(host, 12, {"one", "a/b/c/d"})};
        case KELVO_OPERATION_FIND_NTOH:
            return {words_and_texts(net, 12, {"one", "a/b/c/d"})};
        case KELVO_OPERATION_FIND_GROUP_NTOH:
            return {words_and_texts(net, 2, {"group"})};
        case KELVO_OPERATION_FIND_GROUP_REPLY_NTOH:
            return {words_and_texts(net, 2, {})};
        case KELVO_OPERATION_LIST:
        case KELVO_OPERATION_DATALIST:
            return {list_request(false), list_request(true)};
        case KELVO_OPERATION_LIST_REPLY_NTOH:
            return {list_reply(net, 0, {}), list_reply(net, 0, {1}), list_reply(net, 0, {0, 2, 1})};
        case KELVO_OPERATION_DATALIST_REPLY_NTOH:
            return {list_reply(net, 2, {}), list_reply(net, 2, {1}), list_reply(net, 2, {2, 0, 1})};
        case KELVO_OPERATION_TRANSACTION_START:
        case KELVO_OPERATION_TRANSACTION_COMMIT:
        case KELVO_OPERATION_TRANSACTION_ABORT:
            return {words_and_texts(net, 6, {})};
        case KELVO_OPERATION_WRITE_LOCK:
        case KELVO_OPERATION_READ_LOCK:
        case KELVO_OPERATION_UNLOCK:
            return {words_and_texts(net, 0, {"cfg/a"})};
        case KELVO_OPERATION_BULK:
        case KELVO_OPERATION_BULK_NEXT:
        case KELVO_OPERATION_BULK_BACK:
            return bulk_requests();
        case KELVO_OPERATION_BULK_REPLY:
        case KELVO_OPERATION_BULK_REPLY_NEXT:
        case KELVO_OPERATION_BULK_REPLY_BACK:
            return bulk_replies();
        case KELVO_OPERATION_NOTIFYSET:
        case KELVO_OPERATION_NOTIFYSET_VALUES:
        case KELVO_OPERATION_NOTIFYSET_NEXT:
            return notify_sets();
        case KELVO_OPERATION_APPLY_REPLY_NTOH:
            return {apply_reply(net, 40), apply_reply(net, 0)};
        case KELVO_OPERATION_APPLY_REPLY_HTON:
            return {apply_reply(host, 40), apply_reply(host, 0)};
        case KELVO_OPERATION_VERIFY_REPLY_NTOH:
            return {verify_reply(net, 2), verify_reply(net, 0)};
        case KELVO_OPERATION_VERIFY_REPLY_HTON:
            return {verify_reply(host, 2), verify_reply(host, 0)};
        case KELVO_OPERATION_ERRORSET_NTOH:
            return {errorset(net, 2)};
        case KELVO_OPERATION_ERRORSET_HTON:
            return {errorset(host, 2)};
        case KELVO_OPERATION_SM_CB_RESPONSE_NTOH:
            return {sm_cb_response(net, 3)};
        case KELVO_OPERATION_SM_CB_RESPONSE_HTON:
            return {sm_cb_response(host, 3)};
        case KELVO_OPERATION_SMSET_REPLY_NTOH:
            return {smset_reply(net, 2)};
        case KELVO_OPERATION_SMSET_REPLY_HTON:
            return {smset_reply(host, 2)};
        case KELVO_OPERATION_TEMP_NTOH:
        case KELVO_OPERATION_TEMP_HTON:
        case KELVO_OPERATION_TEMP_REPLY_NTOH:
        case KELVO_OPERATION_TEMP_REPLY_HTON:
            return {words_and_texts(host, 0, {})};
        case KELVO_OPERATION_NFN_REG:
        case KELVO_OPERATION_NFN_REG_HTON:
            return {nfn_reg(host, "cfg/a")};
        case KELVO_OPERATION_NFN_REG_NTOH:
            return {nfn_reg(net, "cfg/a")};
        case KELVO_OPERATION_NFN_UNREG:
        case KELVO_OPERATION_VRFN_UNREG:
        case KELVO_OPERATION_EDM_UNREG:
            return {unreg(5)};
        case KELVO_OPERATION_VRFN_REG:
        case KELVO_OPERATION_VRFN_REG_HTON:
            return {vrfn_reg(host, {"cfg/a", "b", "a/longer/one"})};
        case KELVO_OPERATION_VRFN_REG_NTOH:
            return {vrfn_reg(net, {"cfg/a", "b", "a/longer/one"})};
        case KELVO_OPERATION_VS_REG:
        case KELVO_OPERATION_VS_REG_HTON:
            return {vs_reg(host, "cfg/a", pairs), vs_reg(host, "cfg/a", {})};
        case KELVO_OPERATION_VS_REG_NTOH:
            return {vs_reg(net, "cfg/a", pairs)};
        case KELVO_OPERATION_VS_UNREG:
        case KELVO_OPERATION_EDMS_UNREG:
            return {startup_unreg(5, pairs)};
        case KELVO_OPERATION_EDM_REG:
        case KELVO_OPERATION_EDM_REG_HTON:
            return {edm_reg(host, "first", "the second")};
        case KELVO_OPERATION_EDM_REG_NTOH:
            return {edm_reg(net, "first", "the second")};
        case KELVO_OPERATION_EDMS_REG:
        case KELVO_OPERATION_EDMS_REG_HTON:
            return {edms_reg(host, "cfg/a", pairs), edms_reg(host, "cfg/a", {})};
        case KELVO_OPERATION_EDMS_REG_NTOH:
            return {edms_reg(net, "cfg/a", pairs)};
        case KELVO_OPERATION_REG_ACTIVATE_NTOH:
            return {reg_activate(net, {1, 2, 3})};
        case KELVO_OPERATION_REG_ACTIVATE_HTON:
            return {reg_activate(host, {1, 2, 3})};
        case KELVO_OPERATION_CFG_GRP:
            return {cfg_grp(1, {"alpha", "b"}), cfg_grp(1, {})};
        case KELVO_OPERATION_COUNT:
            break;
    }
    return {};
}

}  // namespace kelvo::test
