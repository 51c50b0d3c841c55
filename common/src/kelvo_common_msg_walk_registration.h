// SPDX-License-Identifier: Apache-2.0
//
// The walks over registration requests. What interpretation and conversion share, because their
// steps come in the same order, is written once over the byte order; what a conversion does and
// does not check is its own.
#pragma once

#include <algorithm>

#include "kelvo_common_msg_registration.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// What VS and EDMS registrations have between their fixed words and their pairs: path and number
/// of pairs. `path_cell` is the offset of the path's length.
template <class Order>
[[nodiscard]] static Status walk_path_and_count(Cursor<Order>& in, u64 path_cell, char** path,
                                                u32* pairs) {
    if (const Status st = in.skip(path_cell)) return st;
    if (const Status st = in.text(path)) return st;
    return in.cell(pairs);
}

/// As many of the claimed pairs as there is room for.
template <class Order>
[[nodiscard]] u64 most_pairs(const Cursor<Order>& in, u32 claimed) {
    return std::min<u64>(claimed, in.left() / sizeof(kelvo_startup_pair));
}

/// The startup pairs that end a message. A pair that is received is converted before there is known
/// to be room for it. `take(job_id, node_id)` is given each pair and says how that went.
template <class Order, class Take>
[[nodiscard]] static Status walk_pairs(Cursor<Order>& in, u32 count, Take take) {
    Order& order = in.order();
    for (u32 k = 0; k < count; ++k) {
        u8* const job_id = in.at() + offsetof(kelvo_startup_pair, job_id);
        u8* const node_id = in.at() + offsetof(kelvo_startup_pair, node_id);
        order.arrive(job_id);
        order.arrive(node_id);
        if (const Status st = in.skip(sizeof(kelvo_startup_pair))) return st;
        if (const Status st = take(order.read(job_id), order.read(node_id))) return in.refuse(st);
        order.depart(job_id);
        order.depart(node_id);
    }
    return in.end();
}

/// The names of a configuration-group request, whose lengths come in network order and the rest in
/// host order. Each round converts the word at the cursor before it tests anything, and a name that
/// fails stays at the cursor for all rounds that remain: of their conversions only an odd one is
/// left. `names` is a TextArray, or has its members and drops what it is given.
template <class Order, class Names>
[[nodiscard]] static Status walk_group_names(Cursor<Order>& in, Names& names, u32* count) {
    const u8* const count_at = in.at() + offsetof(kelvo_msg_cfg_grp, count);
    if (const Status st = in.skip(sizeof(kelvo_msg_cfg_grp))) return st;
    const u32 claimed = in.order().raw(count_at);
    if (const Status st = names.make_room(claimed, in.left())) return in.refuse(st);
    for (u32 i = 0; i < claimed; ++i) {
        char* name;
        if (const Status st = in.text(&name, Cell::before_room)) {
            if ((claimed - i - 1) % 2 != 0) in.order().arrive(in.at());
            return st;
        }
        names.take(i, name);
    }
    *count = claimed;
    return 0;
}

/// Conversion of an EDM registration. The first string is checked; the second length is not even
/// known to be inside the message.
template <class Order>
[[nodiscard]] Status convert_edm_reg(Order order, void* message, u64 length) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_edm_reg, w1), 5);
    Cursor in(order, msg, length);
    char* first;
    if (const Status st = in.skip(offsetof(kelvo_msg_edm_reg, first))) return st;
    if (const Status st = in.text(&first)) return st;
    order.fixed(in.at());
    return in.accept();
}

/// Conversion of an NFN registration: the path's length is converted unseen.
template <class Order>
[[nodiscard]] Status convert_nfn_reg(Order order, void* message, u64 length) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_nfn_reg, registration_id), 2);
    order.fixed(msg + offsetof(kelvo_msg_nfn_reg, parameter));
    Cursor in(order, msg, length);
    if (const Status st = in.skip(offsetof(kelvo_msg_nfn_reg, path))) return st;
    order.fixed(in.at());
    return in.accept();
}

/// Conversion of path and pairs of a VS or EDMS registration.
template <class Order>
[[nodiscard]] Status convert_path_and_pairs(Order& order, u8* message, u64 length, u64 path_cell) {
    Cursor in(order, message, length);
    char* path;
    u32 pairs;
    if (const Status st = walk_path_and_count(in, path_cell, &path, &pairs)) return st;
    const auto pass = [](u32, u32) -> Status { return 0; };
    if (const Status st = walk_pairs(in, pairs, pass)) return st;
    return in.accept();
}

template <class Order>
[[nodiscard]] Status convert_vs_reg(Order order, void* message, u64 length) {
    auto* const msg = static_cast<u8*>(message);
    order.fixed(msg + offsetof(kelvo_msg_vs_reg, registration_id));
    order.fixed(msg + offsetof(kelvo_msg_vs_reg, parameter));
    return convert_path_and_pairs(order, msg, length, offsetof(kelvo_msg_vs_reg, path));
}

template <class Order>
[[nodiscard]] Status convert_edms_reg(Order order, void* message, u64 length) {
    auto* const msg = static_cast<u8*>(message);
    order.fixed(msg + offsetof(kelvo_msg_edms_reg, parameter));
    return convert_path_and_pairs(order, msg, length, offsetof(kelvo_msg_edms_reg, path));
}

/// The path lengths of a VRFN registration, which are converted without being checked: `rounds`
/// rounds that each convert the word at the cursor and pass over the path if `left` bytes hold it.
/// A round that does not get on leaves the word for the next one, which sees it in the other byte
/// order. So the second round on one word decides: if neither order fits, all others stay, too, and
/// of their conversions only an odd one is left.
template <class Order>
void convert_vrfn_paths(Order& order, u8* at, u32 left, u32 rounds) {
    while (rounds > 0 && !order.stopped()) {
        u32 length = pass_word(order, at);
        --rounds;
        if (left < kCellBytes + padded8(length)) {
            if (rounds == 0) return;
            length = network32(length);
            (void)pass_word(order, at);
            --rounds;
            if (left < kCellBytes + padded8(length)) {
                if (rounds % 2 != 0) (void)pass_word(order, at);
                return;
            }
        }
        at += kCellBytes + padded8(length);
        left -= static_cast<u32>(kCellBytes + padded8(length));
    }
}

/// Conversion of a VRFN registration. The bytes left are counted in 32 bits, and for a message
/// shorter than its fixed part they are nearly 4 GiB; meant. Nothing is refused.
template <class Order>
[[nodiscard]] Status convert_vrfn_reg(Order order, void* message, u32 length) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + offsetof(kelvo_msg_vrfn_reg, registration_id), 2);
    fixed_words(order, msg + offsetof(kelvo_msg_vrfn_reg, w3), 4);
    const u32 paths = pass_word(order, msg + offsetof(kelvo_msg_vrfn_reg, count));
    order.fixed(msg + offsetof(kelvo_msg_vrfn_reg, w7));

    constexpr u32 kFixed = sizeof(kelvo_msg_vrfn_reg);
    convert_vrfn_paths(order, msg + kFixed, length - kFixed, paths);
    return Outcome<Order>(msg, length).accept();
}

/// Conversion of a registration activate. The entries are not checked against the length; meant.
template <class Order>
[[nodiscard]] Status convert_reg_activate(Order order, void* message, u64 length) {
    auto* const msg = static_cast<u8*>(message);
    Cursor in(order, msg, length);
    if (const Status st = in.skip(sizeof(kelvo_msg_reg_activate))) return st;
    fixed_words(order, msg + offsetof(kelvo_msg_reg_activate, w1), 2);
    const u32 entries = pass_word(order, msg + offsetof(kelvo_msg_reg_activate, entries));
    order.array(in.at(), entries);
    return in.accept();
}

}  // namespace kelvo::wire
