// SPDX-License-Identifier: Apache-2.0
//
// The walks over callback replies, one for both directions. A word that arrives before a test and
// departs after it is where the directions differ: when received it is converted before the test,
// when sent after it.
#pragma once

#include <algorithm>

#include "kelvo_common_msg_callback.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// What becomes of a reply.
template <class Order, kelvo_msg_operation kReceives>
using ReplyOutcome = Outcome<Order, probe::no_header(kReceives)>;

/// What a reply begins with: enough bytes, and then a message at all.
[[nodiscard]] inline Status require_reply(const void* message, u64 length, u64 fixed) noexcept {
    if (length < fixed) return KELVO_ERR_MSG_LENGTH;
    return message == nullptr ? KELVO_ERR_NULL_PARAM : 0;
}

template <class Order>
[[nodiscard]] static Status walk_cb_apply(Order order, void* message, u64 length) {
    constexpr u64 kFixed = sizeof(kelvo_rply_cb_apply);
    const ReplyOutcome<Order, KELVO_OPERATION_APPLY_REPLY_NTOH> outcome(message, length);
    if (const Status st = require_reply(message, length, kFixed)) return outcome.refuse(0, st);
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_rply_cb_apply, word1), 2);
    const u64 bits = pass_word(order, msg + offsetof(kelvo_rply_cb_apply, bits));
    fixed_words(order, msg + offsetof(kelvo_rply_cb_apply, word3), 2);

    const u64 mask_words = (bits + 31) / 32;
    if (length - kFixed < 8 * mask_words) return outcome.refuse(kFixed, KELVO_ERR_MSG_LENGTH);
    order.array(msg + kFixed, 2 * mask_words);
    return outcome.accept();
}

/// One entry of a verify reply, at `at` with `left` bytes from there on. *size is how far it goes,
/// or went until it was refused.
template <class Order>
[[nodiscard]] static Status walk_cb_verify_entry(Order& order, u8* at, u64 left, bool last,
                                                 u64* size) {
    *size = sizeof(kelvo_cb_verify_entry);
    for (u32 word = 0; word < 16; word += 4) order.arrive(at + word);
    if (left <= *size) return KELVO_ERR_MSG_LENGTH;
    const u32 type = order.read(at + offsetof(kelvo_cb_verify_entry, type));
    for (u32 word = 0; word < 16; word += 4) order.depart(at + word);

    u8* const path_cell = at + offsetof(kelvo_cb_verify_entry, path);
    order.arrive(path_cell);
    *size += padded8(order.read(path_cell));
    if (left < *size + kCellBytes) return KELVO_ERR_MSG_LENGTH;
    order.depart(path_cell);

    // Each value is converted before its own room is known.
    u8* const first = at + *size;
    order.arrive(first);
    const u32 first_length = order.read(first);
    if (first_length != 0) order.value(type, first + kCellBytes);
    *size += kCellBytes + padded8(first_length);
    if (left < *size + kCellBytes) return KELVO_ERR_MSG_LENGTH;
    order.depart(first);

    u8* const second = at + *size;
    order.arrive(second);
    const u32 second_length = order.read(second);
    if (second_length != 0) order.value(type, second + kCellBytes);
    *size += kCellBytes + padded8(second_length);
    if (last ? left != *size : left <= *size) return KELVO_ERR_MSG_LENGTH;
    order.depart(second);
    return 0;
}

template <class Order>
[[nodiscard]] static Status walk_cb_verify(Order order, void* message, u64 length) {
    constexpr u64 kFixed = sizeof(kelvo_rply_cb_verify);
    const ReplyOutcome<Order, KELVO_OPERATION_VERIFY_REPLY_NTOH> outcome(message, length);
    if (const Status st = require_reply(message, length, kFixed)) return outcome.refuse(0, st);
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_rply_cb_verify, word1), 2);
    const u32 count = pass_word(order, msg + offsetof(kelvo_rply_cb_verify, count));
    fixed_words(order, msg + offsetof(kelvo_rply_cb_verify, words), 4);

    u64 pos = kFixed;
    for (u32 k = 0; k < count; ++k) {
        u64 size;
        const bool last = k == count - 1;
        if (const Status st = walk_cb_verify_entry(order, msg + pos, length - pos, last, &size)) {
            return outcome.refuse(pos + size, st);
        }
        pos += size;
    }
    return outcome.accept();
}

/// A verifier error set. Something must be left beyond the leading part of an entry, so an entry
/// without data cannot end the message; meant.
template <class Order>
[[nodiscard]] static Status walk_errorset(Order order, void* message, u64 length) {
    constexpr u64 kFixed = sizeof(kelvo_msg_errorset);
    const Outcome<Order> outcome(message, length);
    if (length < kFixed) return outcome.refuse(0, KELVO_ERR_MSG_LENGTH);
    auto* const msg = static_cast<u8*>(message);
    order.fixed(msg + offsetof(kelvo_msg_errorset, word1));
    const u32 count = pass_word(order, msg + offsetof(kelvo_msg_errorset, count));
    order.fixed(msg + offsetof(kelvo_msg_errorset, word2));

    u64 pos = kFixed;
    for (u32 k = 0; k < count; ++k) {
        u8* const word1 = msg + pos + offsetof(kelvo_errorset_entry, word1);
        u8* const word2 = msg + pos + offsetof(kelvo_errorset_entry, word2);
        u8* const data_cell = msg + pos + offsetof(kelvo_errorset_entry, data);
        order.arrive(word1);
        order.arrive(word2);
        pos += sizeof(kelvo_errorset_entry);
        if (length <= pos) return outcome.refuse(pos, KELVO_ERR_MSG_LENGTH);
        order.depart(word1);
        order.depart(word2);
        order.arrive(data_cell);
        pos += padded8(order.read(data_cell));
        if (length < pos) return outcome.refuse(pos, KELVO_ERR_MSG_LENGTH);
        order.depart(data_cell);
    }
    return outcome.accept();
}

/// An entry of a state-machine response is words and nothing else.
inline constexpr u64 kEntryWords = sizeof(kelvo_sm_cb_entry) / sizeof(u32);

template <class Order>
[[nodiscard]] static Status walk_sm_cb_response(Order order, void* message, u64 length) {
    constexpr u64 kFixed = sizeof(kelvo_msg_sm_cb_response);
    const Outcome<Order> outcome(message, length);
    if (length < kFixed) return outcome.refuse(0, KELVO_ERR_MSG_LENGTH);
    auto* const msg = static_cast<u8*>(message);
    const u32 count = pass_word(order, msg + offsetof(kelvo_msg_sm_cb_response, entries));

    // Entries that are there are converted, whether or not all are.
    const u64 there = std::min<u64>(count, (length - kFixed) / sizeof(kelvo_sm_cb_entry));
    order.array(msg + kFixed, there * kEntryWords);
    if (there < count) {
        return outcome.refuse(kFixed + there * sizeof(kelvo_sm_cb_entry), KELVO_ERR_MSG_LENGTH);
    }
    return outcome.accept();
}

/// An smset reply. Its entries are tested like those of an error set, but before they are touched.
template <class Order>
[[nodiscard]] static Status walk_smset(Order order, void* message, u64 length) {
    constexpr u64 kFixed = sizeof(kelvo_rply_smset);
    const ReplyOutcome<Order, KELVO_OPERATION_SMSET_REPLY_NTOH> outcome(message, length);
    if (const Status st = require_reply(message, length, kFixed)) return outcome.refuse(0, st);
    auto* const msg = static_cast<u8*>(message);
    const u32 count = pass_word(order, msg + offsetof(kelvo_rply_smset, count));
    order.fixed(msg + offsetof(kelvo_rply_smset, word));

    u64 pos = kFixed;
    for (u32 k = 0; k < count; ++k) {
        u8* const entry = msg + pos;
        u8* const data_cell = entry + offsetof(kelvo_smset_entry, data);
        pos += sizeof(kelvo_smset_entry);
        if (length <= pos) return outcome.refuse(pos, KELVO_ERR_MSG_LENGTH);
        order.fixed(entry + offsetof(kelvo_smset_entry, word1));
        order.fixed(entry + offsetof(kelvo_smset_entry, word2));
        order.arrive(data_cell);
        pos += padded8(order.read(data_cell));
        if (length < pos) return outcome.refuse(pos, KELVO_ERR_MSG_LENGTH);
        order.depart(data_cell);
    }
    return outcome.accept();
}

}  // namespace kelvo::wire
