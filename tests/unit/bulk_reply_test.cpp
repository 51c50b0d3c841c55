// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/bulk_readers.h"

using namespace kelvo::test;

namespace {

/// Offset of the first item.
constexpr std::size_t kFirst = 40;

using Received = ReceivedReply;

/// 72 bytes: words, name at 24, data length at 32, data at 40, third length at 48, third text
/// at 56.
Bytes plain_item(Order order = Order::host) {
    return bulk_reply_item(order, {0x11, 3, 0x33, 0x44}, "name", {'a', 'b', 'c'}, "third");
}
constexpr std::size_t kThird = 48;

class BulkReply : public ::testing::Test {
  protected:
    BulkReply() { platform().reset(); }
};

TEST_F(BulkReply, InterpretRefusesNullsAndAnEmptyReplyAndLogsIt) {
    Bytes bytes = bulk_reply({});
    const Bytes before = bytes;
    kelvo_bulk_reply_info info = sentinel<kelvo_bulk_reply_info>();
    EXPECT_EQ(kelvo_common_msg_bulk_reply_interpret(nullptr, 40, &info), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_reply_interpret(bytes.data(), 0, &info), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_reply_interpret(bytes.data(), 40, nullptr),
              KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>(3, kNullLogged));
    EXPECT_EQ(bytes, before);
    EXPECT_TRUE(untouched(info));
}

TEST_F(BulkReply, InterpretConvertsTwoWordsAndFillsTheState) {
    Received in(bulk_reply({plain_item()}));
    Bytes expected = in.bytes;
    reverse_at(expected, 16);
    reverse_at(expected, 20);
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.bytes, expected);
    EXPECT_EQ(in.info.start, in.bytes.data());
    EXPECT_EQ(in.at(in.info.end), static_cast<std::ptrdiff_t>(in.length));
    EXPECT_EQ(in.at(in.info.current), static_cast<std::ptrdiff_t>(kFirst));
    EXPECT_EQ(in.info.prev_item_ptr, nullptr);
    EXPECT_EQ(in.info.word3, word_at(expected, 28)) << "not converted";
    EXPECT_EQ(in.info.word4, word_at(expected, 32)) << "not converted";
    EXPECT_EQ(in.info.index, 1U);
}

TEST_F(BulkReply, AShortReplyIsRefusedBeforeAnythingIsTouched) {
    for (std::uint32_t length = 1; length < 24; ++length) {
        const Bytes whole = bulk_reply({});
        const Walled block(Bytes(whole.begin(), whole.begin() + length));
        const Bytes before = block.bytes();
        kelvo_bulk_reply_info info = sentinel<kelvo_bulk_reply_info>();
        EXPECT_EQ(kelvo_common_msg_bulk_reply_interpret(block.data(), length, &info),
                  KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(block.bytes(), before) << length;
        EXPECT_TRUE(untouched(info)) << length;
    }
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(BulkReply, AReplyOf24BytesInterpretsAndHasNoItem) {
    const Bytes whole = bulk_reply({});
    for (std::uint32_t length = 24; length <= 40; ++length) {
        const Walled block(
            Bytes(whole.begin(), whole.begin() + std::max<std::ptrdiff_t>(length, 36)));
        kelvo_bulk_reply_info info;
        kelvo_bulk_reply_item record = sentinel<kelvo_bulk_reply_item>();
        ASSERT_EQ(kelvo_common_msg_bulk_reply_interpret(block.data(), length, &info), 0U) << length;
        EXPECT_EQ(info.end, block.data() + length);
        EXPECT_EQ(info.current, block.data() + 40);
        EXPECT_EQ(info.word3, word_at(whole, 28));
        EXPECT_EQ(info.word4, word_at(whole, 32));
        EXPECT_EQ(kelvo_common_msg_bulk_reply_next(&info, &record), KELVO_ERR_MSG_LENGTH);
        EXPECT_TRUE(untouched(record));
    }
}

TEST_F(BulkReply, NextRefusesNullsAndLogsIt) {
    Received in(bulk_reply({plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    const kelvo_bulk_reply_info before = in.info;
    EXPECT_EQ(kelvo_common_msg_bulk_reply_next(nullptr, &in.record), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_reply_next(&in.info, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>(2, kNullLogged));
    EXPECT_TRUE(untouched(in.record));
    EXPECT_TRUE(same(in.info, before));
}

TEST_F(BulkReply, NextHandsOutTheItemAndAdvances) {
    Received in(bulk_reply({plain_item(), plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    const Bytes before = in.bytes;
    ASSERT_EQ(in.next(), 0U);
    EXPECT_EQ(in.record.word1, 0x11U);
    EXPECT_EQ(in.record.type, 3U);
    EXPECT_EQ(in.record.word3, 0x33U);
    EXPECT_EQ(in.record.word4, 0x44U);
    EXPECT_EQ(in.at(in.record.name), static_cast<std::ptrdiff_t>(kFirst + 24));
    EXPECT_EQ(in.at(in.record.data), static_cast<std::ptrdiff_t>(kFirst + 40));
    EXPECT_EQ(in.record.data_length, 3U);
    EXPECT_EQ(in.at(in.record.third), static_cast<std::ptrdiff_t>(kFirst + 56));
    EXPECT_EQ(in.info.index, 2U);
    EXPECT_EQ(in.at(in.info.prev_item_ptr), static_cast<std::ptrdiff_t>(kFirst));
    EXPECT_EQ(in.at(in.info.current), static_cast<std::ptrdiff_t>(kFirst + 64));
    EXPECT_EQ(in.bytes, before) << "a native item is not converted";
}

TEST_F(BulkReply, EmptyDataIsANullPointer) {
    for (const Order order : {Order::host, Order::network}) {
        Received in(bulk_reply({bulk_reply_item(order, {2, 1, 3, 4}, "name", {}, "third")}));
        ASSERT_EQ(in.interpret(), 0U);
        ASSERT_EQ(in.next(), 0U);
        EXPECT_EQ(in.record.data, nullptr);
        EXPECT_EQ(in.record.data_length, 0U);
        EXPECT_STREQ(in.record.third, "third");
        EXPECT_EQ(in.info.current, in.info.end);
    }
}

TEST_F(BulkReply, AForeignItemIsConvertedToItsNativeTwinByTheSecondWordsType) {
    for (const ForeignValue& row : kForeignValues) {
        // The third word would name a different type, were it a request's.
        Received foreign(bulk_reply(
            {bulk_reply_item(Order::network, {2, row.type, 10, 4}, "n", row.foreign, "t")}));
        Received native(
            bulk_reply({bulk_reply_item(Order::host, {2, row.type, 10, 4}, "n", row.native, "t")}));
        ASSERT_EQ(foreign.interpret(), 0U);
        ASSERT_EQ(native.interpret(), 0U);
        ASSERT_EQ(foreign.next(), 0U) << row.type;
        ASSERT_EQ(native.next(), 0U) << row.type;
        EXPECT_EQ(foreign.bytes, native.bytes) << row.type;
        EXPECT_EQ(foreign.record.word1, 2U);
        EXPECT_EQ(foreign.record.type, row.type);
        EXPECT_EQ(foreign.record.word3, 10U);
        EXPECT_EQ(foreign.record.word4, 4U);
        EXPECT_EQ(foreign.record.data_length, row.foreign.size());
        EXPECT_STREQ(foreign.record.third, "t");
    }
}

TEST_F(BulkReply, EachItemHasItsOwnOrder) {
    Received in(bulk_reply(
        {plain_item(Order::network), plain_item(Order::host), plain_item(Order::network)}));
    ASSERT_EQ(in.interpret(), 0U);
    for (std::uint32_t i = 1; i <= 3; ++i) {
        EXPECT_EQ(in.info.index, i);
        ASSERT_EQ(in.next(), 0U) << i;
        EXPECT_EQ(in.record.word3, 0x33U);
        EXPECT_STREQ(in.record.name, "name");
        EXPECT_STREQ(in.record.third, "third");
    }
    EXPECT_EQ(in.info.current, in.info.end);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
}

TEST_F(BulkReply, OnlyTheNameLengthTellsTheOrder) {
    // A native item may have a third text, and data, longer than any name.
    Received in(bulk_reply({bulk_reply_item(Order::host, {2, 1, 3, 4}, std::string(65534, 'n'),
                                            Bytes(70000, 1), std::string(70000, 't'))}));
    ASSERT_EQ(in.interpret(), 0U);
    const Bytes before = in.bytes;
    ASSERT_EQ(in.next(), 0U);
    EXPECT_EQ(in.bytes, before);
    EXPECT_EQ(std::strlen(in.record.name), 65534U);
    EXPECT_EQ(in.record.data_length, 70000U);
    EXPECT_EQ(std::strlen(in.record.third), 70000U);
}

TEST_F(BulkReply, ANameOf65536BytesReadsAsForeign) {
    Received in(bulk_reply(
        {bulk_reply_item(Order::host, {2, 1, 3, 4}, std::string(65535, 'n'), {1}, "third")}));
    ASSERT_EQ(in.interpret(), 0U);
    Bytes expected = in.bytes;
    reverse_item_head(expected, kFirst);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT);
    EXPECT_EQ(in.bytes, expected);
    EXPECT_TRUE(untouched(in.record));
}

TEST_F(BulkReply, NameAndThirdTextMustBeThereAndEndInNul) {
    for (const Order order : {Order::host, Order::network}) {
        for (const std::size_t last : {std::size_t{24 + 4}, kThird + 8 + 5}) {
            Bytes item = plain_item(order);
            item[last] = 'x';
            Received in(bulk_reply({item}));
            ASSERT_EQ(in.interpret(), 0U);
            const kelvo_bulk_reply_info before = in.info;
            EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT) << last;
            EXPECT_TRUE(same(in.info, before));
            EXPECT_TRUE(untouched(in.record));
        }
        Bytes item = plain_item(order);
        put_word(item, kThird, 0);
        Received in(bulk_reply({item}));
        in.length = kFirst + kThird + 8;  // room for the cell is all that is tested before
        ASSERT_EQ(in.interpret(), 0U);
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT);
    }
    Bytes item = plain_item();
    put_word(item, 16, 0);
    Received in(bulk_reply({item}));
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT);
}

TEST_F(BulkReply, ThirdTextIsTestedForItsNulBeforeTheRoomOfItsFill) {
    for (const bool terminated : {true, false}) {
        Bytes item = plain_item();
        if (!terminated) item[kThird + 8 + 5] = 'x';
        Received in(bulk_reply({item}));
        in.length = kFirst + kThird + 8 + 6;
        ASSERT_EQ(in.interpret(), 0U);
        EXPECT_EQ(in.next(), terminated ? KELVO_ERR_MSG_LENGTH : KELVO_ERR_MSG_CONTENT);
    }
}

TEST_F(BulkReply, LengthsNearTheTopOf32BitsDoNotFit) {
    expect_hostile_lengths_refused<Received>({16, 32, kThird}, plain_item, bulk_reply);
}

TEST_F(BulkReply, AForeignItemIsConvertedAheadOfEachTestOfItsRoom) {
    const Bytes whole = bulk_reply(
        {bulk_reply_item(Order::network, {9, 2, 3, 4}, "name", {0, 1, 2, 3, 4, 5, 6, 7}, "third")});
    const Bytes conversion_of_value = {7, 6, 5, 4, 3, 2, 1, 0};
    for (std::size_t left = 0; left < 64; ++left) {
        Received in(whole);
        in.length = kFirst + left;
        ASSERT_EQ(in.interpret(), 0U);
        Bytes expected = in.bytes;
        if (left >= 16) {
            reverse_item_head(expected, kFirst);
        }
        if (left >= 32) {
            reverse_at(expected, kFirst + 32);
            std::copy(conversion_of_value.begin(), conversion_of_value.end(),
                      expected.begin() + kFirst + 40);
        }
        if (left >= 48) reverse_at(expected, kFirst + kThird);
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH) << left;
        EXPECT_EQ(in.bytes, expected) << left;
        EXPECT_TRUE(untouched(in.record));
    }
}

TEST_F(BulkReply, EveryTruncationIsRefusedWithinTheSlackThatIsAskedFor) {
    for (const Order order : {Order::host, Order::network}) {
        expect_truncations_refused<Received>(
            bulk_reply({bulk_reply_item(order, {9, 2, 3, 4}, "name", Bytes(8, 1), "third")}),
            kFirst, order);
    }
}

TEST_F(BulkReply, NextBackNextTakesTheSameItemTwice) {
    for (const Order order : {Order::host, Order::network}) {
        Received in(bulk_reply({plain_item(order), plain_item(order)}));
        ASSERT_EQ(in.interpret(), 0U);
        ASSERT_EQ(in.next(), 0U);
        ASSERT_EQ(in.next(), 0U);
        const kelvo_bulk_reply_item taken = in.record;
        const kelvo_bulk_reply_info after = in.info;
        const Bytes bytes = in.bytes;

        EXPECT_EQ(in.at(kelvo_common_msg_bulk_reply_back(&in.info)),
                  static_cast<std::ptrdiff_t>(kFirst + 64));
        EXPECT_EQ(in.info.index, 2U);
        EXPECT_EQ(in.at(in.info.current), static_cast<std::ptrdiff_t>(kFirst + 64));
        EXPECT_EQ(in.info.prev_item_ptr, nullptr);

        ASSERT_EQ(in.next(), 0U);
        EXPECT_EQ(std::memcmp(&in.record, &taken, sizeof taken), 0);
        EXPECT_TRUE(same(in.info, after));
        EXPECT_EQ(in.bytes, bytes) << "an item is converted once";
    }
}

TEST_F(BulkReply, NothingIsAllocatedOrLogged) {
    Received in(bulk_reply({plain_item(Order::network)}));
    FailingMemory counting;
    EXPECT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.next(), 0U);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(FailingMemory::allocations(), 0U);
    EXPECT_EQ(platform().log.size(), 0U);
}

using BulkReplyDeathTest = BulkReply;

constexpr char kBackReport[] =
    "^[^ ]*: common/src/kelvo_common_msg_interpret:1553: kelvo_common_msg_bulk_reply_back: "
    "Assertion `reply_info->prev_item_ptr != \\(\\(void \\*\\)0\\)' failed\\.\n$";

TEST_F(BulkReplyDeathTest, BackBeforeNextStopsTheProcess) {
    Received in(bulk_reply({plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EXIT(kelvo_common_msg_bulk_reply_back(&in.info), ::testing::KilledBySignal(SIGABRT),
                kBackReport);
}

TEST_F(BulkReplyDeathTest, BackTwiceStopsTheProcess) {
    Received in(bulk_reply({plain_item(), plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    ASSERT_EQ(in.next(), 0U);
    ASSERT_EQ(in.next(), 0U);
    kelvo_common_msg_bulk_reply_back(&in.info);
    EXPECT_EXIT(kelvo_common_msg_bulk_reply_back(&in.info), ::testing::KilledBySignal(SIGABRT),
                kBackReport);
}

}  // namespace
