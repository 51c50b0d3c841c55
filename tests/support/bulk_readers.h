// SPDX-License-Identifier: Apache-2.0
//
// What the readers of bulk requests and of bulk replies are tested with alike.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "kelvo_common_msg_bulk.h"
#include "support/bulk_messages.h"

namespace kelvo::test {

inline bool same(const kelvo_bulk_info& one, const kelvo_bulk_info& other) {
    return std::memcmp(&one, &other, sizeof one) == 0;
}
inline bool same(const kelvo_bulk_reply_info& one, const kelvo_bulk_reply_info& other) {
    return one.start == other.start && one.end == other.end && one.current == other.current &&
           one.prev_item_ptr == other.prev_item_ptr && one.word3 == other.word3 &&
           one.word4 == other.word4 && one.index == other.index;
}

/// A received message: its bytes, slack behind them, and a reader.
template <class Info, class Record, auto kInterpret, auto kNext>
struct ReceivedBulk {
    explicit ReceivedBulk(const Bytes& message)
        : length(message.size()), bytes(with_slack(message, kBulkSlack)) {}
    /// Interprets the message, or a copy of it that stands elsewhere.
    kelvo_status interpret() { return interpret(bytes.data()); }
    kelvo_status interpret(std::uint8_t* elsewhere) {
        return kInterpret(elsewhere, static_cast<std::uint32_t>(length), &info);
    }
    kelvo_status next() { return kNext(&info, &record); }

    [[nodiscard]] std::ptrdiff_t at(const void* pointer) const {
        return static_cast<const std::uint8_t*>(pointer) - bytes.data();
    }

    std::size_t length;
    Bytes bytes;
    Info info = sentinel<Info>();
    Record record = sentinel<Record>();
};

using ReceivedRequest = ReceivedBulk<kelvo_bulk_info, kelvo_bulk_item,
                                     kelvo_common_msg_bulk_interpret, kelvo_common_msg_bulk_next>;
using ReceivedReply =
    ReceivedBulk<kelvo_bulk_reply_info, kelvo_bulk_reply_item,
                 kelvo_common_msg_bulk_reply_interpret, kelvo_common_msg_bulk_reply_next>;

/// Reverses what a reader converts of a foreign item before it has looked for room.
inline void reverse_item_head(Bytes& bytes, std::size_t item) {
    for (const std::size_t at : {0U, 4U, 8U, 12U, 16U}) reverse_at(bytes, item + at);
}

/// Data of an item by its value type, in the other order and in this one.
struct ForeignValue {
    std::uint32_t type;
    Bytes foreign;
    Bytes native;
};
inline const ForeignValue kForeignValues[] = {
    {1, {1, 2, 3, 4}, {4, 3, 2, 1}},
    {2, {1, 2, 3, 4, 5, 6, 7, 8}, {8, 7, 6, 5, 4, 3, 2, 1}},
    {10, {1, 2}, {2, 1}},
    {11, {1, 2, 3}, {2, 1, 3}},
    {12, {1, 2, 3, 4}, {4, 3, 2, 1}},
    {12, {1, 2, 3, 4, 5}, {4, 3, 2, 1, 5}},
    {13, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {8, 7, 6, 5, 4, 3, 2, 1, 9}},
    {0, {1, 2, 3, 4}, {1, 2, 3, 4}},
    {3, {1, 2, 3, 4}, {1, 2, 3, 4}},
    {7, {1, 2}, {1, 2}},
    {9, {1, 2, 3, 4}, {1, 2, 3, 4}},
    {14, {1, 2, 3, 4}, {1, 2, 3, 4}}};

/// An item is refused of which one length is near the top of 32 bits, whichever of those at
/// `cells`.
template <class Received>
void expect_hostile_lengths_refused(std::initializer_list<std::size_t> cells,
                                    Bytes (*plain_item)(Order),
                                    Bytes (*message)(const std::vector<Bytes>&)) {
    for (const std::uint32_t hostile : {0xFFFFFFFFU, 0xFFFFFFF9U, 0xFFFFFFF8U, 0xFFFFFFF7U,
                                        0xFFFFFFF0U, 0x80000000U, 0x7FFFFFFFU}) {
        for (const std::size_t cell : cells) {
            for (const Order order : {Order::host, Order::network}) {
                Bytes item = plain_item(order);
                put_word(item, cell, order == Order::host ? hostile : reversed(hostile));
                Received in(message({item}));
                ASSERT_EQ(in.interpret(), 0U);
                const auto before = in.info;
                EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH) << hostile << ' ' << cell;
                EXPECT_TRUE(same(in.info, before));
                EXPECT_TRUE(untouched(in.record));
            }
        }
    }
}

/// Every truncation is refused of the one item of `whole`, which begins at `first` and is in
/// `order`, in a buffer with as much slack as is asked for.
template <class Received>
void expect_truncations_refused(const Bytes& whole, std::size_t first, Order order) {
    for (std::size_t length = first; length <= whole.size(); ++length) {
        const bool all = length == whole.size();
        // A native item is touched beyond the end for its name length alone.
        const std::size_t left = length - first;
        const std::size_t slack = order == Order::network   ? kBulkSlack
                                  : left >= 16 && left < 20 ? 20 - left
                                                            : 0;
        const Bytes bytes(whole.begin(), whole.begin() + static_cast<long>(length));
        const Walled block(all ? bytes : with_slack(bytes, slack));
        Received in(bytes);
        ASSERT_EQ(in.interpret(block.data()), 0U);
        const auto before = in.info;
        const kelvo_status status = in.next();
        if (all) {
            EXPECT_EQ(status, 0U);
            EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
            continue;
        }
        EXPECT_EQ(status, KELVO_ERR_MSG_LENGTH) << length;
        EXPECT_TRUE(untouched(in.record)) << length;
        EXPECT_TRUE(same(in.info, before)) << length;
    }
}

}  // namespace kelvo::test
