// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>

#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/bulk_readers.h"

using namespace kelvo::test;

namespace {

/// Offset of the first item behind the leading string "lead".
constexpr std::size_t kFirst = 80;

using Received = ReceivedRequest;

Bytes plain_item(Order order = Order::host) {
    return bulk_item(order, {9, 0x22, 3, 0x44}, "name", {'a', 'b', 'c'});
}

class BulkRequest : public ::testing::Test {
  protected:
    BulkRequest() { platform().reset(); }
};

TEST_F(BulkRequest, InterpretRefusesNullsAndAnEmptyMessageAndLogsIt) {
    Bytes bytes = bulk_request({});
    const Bytes before = bytes;
    kelvo_bulk_info info = sentinel<kelvo_bulk_info>();
    EXPECT_EQ(kelvo_common_msg_bulk_interpret(nullptr, 80, &info), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_interpret(bytes.data(), 0, &info), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_interpret(bytes.data(), 80, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>(3, kNullLogged));
    EXPECT_EQ(bytes, before);
    EXPECT_TRUE(untouched(info));
}

TEST_F(BulkRequest, InterpretConvertsTheFixedPartAndFillsTheState) {
    Received in(bulk_request({plain_item()}));
    Bytes expected = in.bytes;
    for (const std::size_t at : {40U, 44U, 48U, 52U, 56U, 64U}) reverse_at(expected, at);
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.bytes, expected);
    EXPECT_EQ(in.info.start, in.bytes.data());
    EXPECT_EQ(in.at(in.info.end), static_cast<std::ptrdiff_t>(in.length));
    EXPECT_EQ(in.at(in.info.current), static_cast<std::ptrdiff_t>(kFirst));
    EXPECT_EQ(in.info.prev_item_ptr, nullptr);
    EXPECT_EQ(in.info.count, 1U);
    EXPECT_EQ(in.info.index, 1U);
    EXPECT_EQ(in.info.word1, 0x11111101U);
    EXPECT_EQ(in.info.word2, 0x11111102U);
    EXPECT_STREQ(in.info.leading, "lead");
    for (const std::uint32_t word : in.info.zero) EXPECT_EQ(word, 0U);
}

TEST_F(BulkRequest, InterpretConvertsBeforeItTestsTheLength) {
    for (std::uint32_t length = 1; length < 64; ++length) {
        Bytes bytes = bulk_request({});
        bytes.resize(68);
        Bytes expected = bytes;
        for (const std::size_t at : {40U, 44U, 48U, 52U, 56U, 64U}) reverse_at(expected, at);
        const Walled block(bytes);
        kelvo_bulk_info info = sentinel<kelvo_bulk_info>();
        EXPECT_EQ(kelvo_common_msg_bulk_interpret(block.data(), length, &info),
                  KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(block.bytes(), expected) << length;
        EXPECT_TRUE(untouched(info)) << length;
    }
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(BulkRequest, AMessageOf64BytesInterpretsAndHasNoItem) {
    // Whatever stands where the leading length would: the first item lies beyond the end.
    for (const std::uint32_t leading : {0U, 1U, 5U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
        Bytes bytes = bulk_request({});
        bytes.resize(68);
        put_word(bytes, 64, reversed(leading));
        const Walled block(bytes);
        kelvo_bulk_info info = sentinel<kelvo_bulk_info>();
        kelvo_bulk_item record = sentinel<kelvo_bulk_item>();
        ASSERT_EQ(kelvo_common_msg_bulk_interpret(block.data(), 64, &info), 0U);
        const kelvo_bulk_info before = info;
        EXPECT_EQ(kelvo_common_msg_bulk_next(&info, &record), KELVO_ERR_MSG_LENGTH) << leading;
        EXPECT_TRUE(same(info, before));
        EXPECT_TRUE(untouched(record));
    }
}

TEST_F(BulkRequest, AnyLengthFrom64Interprets) {
    const Bytes whole = bulk_request({plain_item()});
    for (std::size_t length = 64; length <= whole.size(); ++length) {
        const Walled block(Bytes(
            whole.begin(), whole.begin() + static_cast<long>(std::max<std::size_t>(length, 68))));
        kelvo_bulk_info info;
        EXPECT_EQ(kelvo_common_msg_bulk_interpret(block.data(), static_cast<std::uint32_t>(length),
                                                  &info),
                  0U);
        EXPECT_EQ(info.end, block.data() + length);
    }
}

TEST_F(BulkRequest, ALeadingLengthBeyondTheMessageIsHarmless) {
    for (const std::uint32_t leading :
         {9U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFB0U, 0xFFFFFFF8U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
        Bytes bytes = bulk_request({plain_item()});
        bytes.resize(88);  // room for one word of the item only
        put_word(bytes, 64, reversed(leading));
        const Walled block(bytes);
        kelvo_bulk_info info;
        kelvo_bulk_item record = sentinel<kelvo_bulk_item>();
        ASSERT_EQ(kelvo_common_msg_bulk_interpret(block.data(), 88, &info), 0U);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(info.current),
                  reinterpret_cast<std::uintptr_t>(block.data()) + 72 + rounded(leading));
        EXPECT_EQ(kelvo_common_msg_bulk_next(&info, &record), KELVO_ERR_MSG_LENGTH) << leading;
        EXPECT_TRUE(untouched(record));
    }
}

TEST_F(BulkRequest, TheLeadingStringIsNotChecked) {
    Bytes message = bulk_request({plain_item()});
    std::memset(message.data() + 72, 'x', 8);  // no NUL
    Received unterminated(message);
    EXPECT_EQ(unterminated.interpret(), 0U);
    EXPECT_EQ(unterminated.next(), 0U);

    put_word(message, 64, 0);  // not even one byte: the first item begins at 72
    Received empty(message);
    EXPECT_EQ(empty.interpret(), 0U);
    EXPECT_EQ(empty.at(empty.info.current), 72);
}

TEST_F(BulkRequest, NextRefusesNullsAndLogsIt) {
    Received in(bulk_request({plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    const kelvo_bulk_info before = in.info;
    EXPECT_EQ(kelvo_common_msg_bulk_next(nullptr, &in.record), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_next(&in.info, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>(2, kNullLogged));
    EXPECT_TRUE(untouched(in.record));
    EXPECT_TRUE(same(in.info, before));
}

TEST_F(BulkRequest, NextHandsOutTheItemAndAdvances) {
    Received in(bulk_request({plain_item(), plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    const Bytes before = in.bytes;
    ASSERT_EQ(in.next(), 0U);
    EXPECT_EQ(in.record.operation, 9U);
    EXPECT_EQ(in.record.word2, 0x22U);
    EXPECT_EQ(in.record.type, 3U);
    EXPECT_EQ(in.record.word4, 0x44U);
    EXPECT_EQ(in.at(in.record.name), static_cast<std::ptrdiff_t>(kFirst + 24));
    EXPECT_EQ(in.at(in.record.data), static_cast<std::ptrdiff_t>(kFirst + 40));
    EXPECT_EQ(in.record.data_length, 3U);
    EXPECT_EQ(in.record.op2_data, nullptr);
    EXPECT_EQ(in.record.op2_data_length, 0U);
    EXPECT_EQ(in.record.op2_type, 0U);
    EXPECT_EQ(in.info.index, 2U);
    EXPECT_EQ(in.at(in.info.prev_item_ptr), static_cast<std::ptrdiff_t>(kFirst));
    EXPECT_EQ(in.at(in.info.current), static_cast<std::ptrdiff_t>(kFirst + 48));
    EXPECT_EQ(in.bytes, before) << "a native item is not converted";
}

TEST_F(BulkRequest, OperationTwoHandsOutTheSecondPair) {
    for (const Order order : {Order::host, Order::network}) {
        Received in(bulk_request({bulk_item(order, {2, 0x22, 3, 0x44}, "name", {1, 2, 3})}));
        ASSERT_EQ(in.interpret(), 0U);
        ASSERT_EQ(in.next(), 0U);
        EXPECT_EQ(in.record.data, nullptr);
        EXPECT_EQ(in.record.data_length, 0U);
        EXPECT_EQ(in.at(in.record.op2_data), static_cast<std::ptrdiff_t>(kFirst + 40));
        EXPECT_EQ(in.record.op2_data_length, 3U);
        EXPECT_EQ(in.record.op2_type, 0U);
    }
}

TEST_F(BulkRequest, EmptyDataIsANullPointer) {
    for (const Order order : {Order::host, Order::network}) {
        for (const std::uint32_t operation : {1U, 2U}) {
            Received in(bulk_request({bulk_item(order, {operation, 0, 1, 0}, "name", {})}));
            ASSERT_EQ(in.interpret(), 0U);
            ASSERT_EQ(in.next(), 0U);
            EXPECT_EQ(in.record.data, nullptr);
            EXPECT_EQ(in.record.op2_data, nullptr);
            EXPECT_EQ(in.info.current, in.info.end);
        }
    }
}

TEST_F(BulkRequest, AForeignItemIsConvertedToItsNativeTwin) {
    for (const ForeignValue& row : kForeignValues) {
        for (const std::uint32_t operation : {1U, 2U}) {
            Received foreign(bulk_request(
                {bulk_item(Order::network, {operation, 0x22, row.type, 0x44}, "n", row.foreign)}));
            Received native(bulk_request(
                {bulk_item(Order::host, {operation, 0x22, row.type, 0x44}, "n", row.native)}));
            ASSERT_EQ(foreign.interpret(), 0U);
            ASSERT_EQ(native.interpret(), 0U);
            ASSERT_EQ(foreign.next(), 0U) << row.type;
            ASSERT_EQ(native.next(), 0U) << row.type;
            EXPECT_EQ(foreign.bytes, native.bytes) << row.type;
            EXPECT_EQ(foreign.record.type, row.type);
            EXPECT_EQ(foreign.record.word2, 0x22U);
            EXPECT_EQ(foreign.record.word4, 0x44U);
            EXPECT_EQ(foreign.record.operation, operation);
        }
    }
}

TEST_F(BulkRequest, EachItemHasItsOwnOrder) {
    Received in(bulk_request(
        {plain_item(Order::host), plain_item(Order::network), plain_item(Order::host)}));
    ASSERT_EQ(in.interpret(), 0U);
    for (std::uint32_t i = 1; i <= 3; ++i) {
        EXPECT_EQ(in.info.index, i);
        ASSERT_EQ(in.next(), 0U) << i;
        EXPECT_EQ(in.record.word2, 0x22U);
        EXPECT_STREQ(in.record.name, "name");
    }
    EXPECT_EQ(in.info.current, in.info.end);
}

TEST_F(BulkRequest, ANameOf65535BytesIsNativeAndALongerOneReadsAsForeign) {
    Received longest(
        bulk_request({bulk_item(Order::host, {1, 2, 3, 4}, std::string(65534, 'n'), {'d'})}));
    ASSERT_EQ(longest.interpret(), 0U);
    const Bytes before = longest.bytes;
    EXPECT_EQ(longest.next(), 0U);
    EXPECT_EQ(longest.bytes, before);
    EXPECT_EQ(std::strlen(longest.record.name), 65534U);

    Received beyond(
        bulk_request({bulk_item(Order::host, {1, 2, 3, 4}, std::string(65535, 'n'), {'d'})}));
    ASSERT_EQ(beyond.interpret(), 0U);
    Bytes expected = beyond.bytes;
    reverse_item_head(expected, kFirst);
    EXPECT_EQ(beyond.next(), KELVO_ERR_MSG_CONTENT) << "0x00010000 is taken for a length of 256";
    EXPECT_EQ(beyond.bytes, expected);
    EXPECT_TRUE(untouched(beyond.record));
}

TEST_F(BulkRequest, AForeignNameOf65535BytesIsRead) {
    Received in(
        bulk_request({bulk_item(Order::network, {1, 2, 3, 4}, std::string(65534, 'n'), {'d'})}));
    ASSERT_EQ(in.interpret(), 0U);
    ASSERT_EQ(in.next(), 0U);
    EXPECT_EQ(std::strlen(in.record.name), 65534U);
    EXPECT_EQ(in.record.operation, 1U);
}

TEST_F(BulkRequest, AForeignNameOfAMultipleOf65536BytesReadsAsNative) {
    // 0x00010000 of the other order is 256 here.
    Received in(
        bulk_request({bulk_item(Order::network, {1, 2, 3, 4}, std::string(65535, 'n'), {'d'})}));
    ASSERT_EQ(in.interpret(), 0U);
    const Bytes before = in.bytes;
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT);
    EXPECT_EQ(in.bytes, before);
    EXPECT_TRUE(untouched(in.record));
}

TEST_F(BulkRequest, NamesMustBeThereAndEndInNul) {
    for (const Order order : {Order::host, Order::network}) {
        Bytes unterminated = plain_item(order);
        unterminated[24 + 4] = 'x';
        Received in(bulk_request({unterminated}));
        ASSERT_EQ(in.interpret(), 0U);
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT);
        EXPECT_TRUE(untouched(in.record));
        EXPECT_EQ(in.info.index, 1U);
        EXPECT_EQ(in.info.prev_item_ptr, nullptr);
    }
    // An empty name is the same in both orders. Only the room for its cell is tested before.
    Bytes empty = plain_item();
    put_word(empty, 16, 0);
    Received in(bulk_request({empty}));
    in.length = kFirst + 24;
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT);
}

TEST_F(BulkRequest, ANameIsTestedForItsNulBeforeTheRoomOfItsFill) {
    Bytes item = plain_item();
    item[24 + 4] = 'x';
    Received in(bulk_request({item}));
    in.length = kFirst + 24 + 5;  // the fill is missing
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_CONTENT);
}

TEST_F(BulkRequest, LengthsNearTheTopOf32BitsDoNotFit) {
    expect_hostile_lengths_refused<Received>(
        {16, 32}, plain_item, [](const std::vector<Bytes>& items) { return bulk_request(items); });
}

TEST_F(BulkRequest, WordsAndNameLengthAreConvertedBeforeThereIsRoomForTheName) {
    const Bytes whole = bulk_request({plain_item(Order::network)});
    for (std::size_t left = 16; left < 24; ++left) {
        Received in(whole);
        in.length = kFirst + left;
        ASSERT_EQ(in.interpret(), 0U);
        Bytes expected = in.bytes;
        reverse_item_head(expected, kFirst);
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH) << left;
        EXPECT_EQ(in.bytes, expected) << left;
    }
    for (std::size_t left = 0; left < 16; ++left) {
        Received in(whole);
        in.length = kFirst + left;
        ASSERT_EQ(in.interpret(), 0U);
        const Bytes before = in.bytes;
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH) << left;
        EXPECT_EQ(in.bytes, before) << left;
    }
}

TEST_F(BulkRequest, ForeignDataIsConvertedBeforeThereIsRoomForIt) {
    const Bytes whole =
        bulk_request({bulk_item(Order::network, {9, 0x22, 2, 0x44}, "name", Bytes(8, 0))});
    for (std::size_t left = 32; left < 48; ++left) {
        Received in(whole);
        for (std::uint8_t i = 0; i < 8; ++i) in.bytes[kFirst + 40 + i] = i;
        in.length = kFirst + left;
        ASSERT_EQ(in.interpret(), 0U);
        Bytes expected = in.bytes;
        reverse_item_head(expected, kFirst);
        reverse_at(expected, kFirst + 32);
        for (std::uint8_t i = 0; i < 8; ++i) {
            expected[kFirst + 40 + i] = static_cast<std::uint8_t>(7 - i);
        }
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH) << left;
        EXPECT_EQ(in.bytes, expected) << left;
    }
}

TEST_F(BulkRequest, EveryTruncationIsRefusedWithinTheSlackThatIsAskedFor) {
    for (const Order order : {Order::host, Order::network}) {
        expect_truncations_refused<Received>(
            bulk_request({bulk_item(order, {9, 0x22, 2, 0x44}, "name", Bytes(8, 1))}), kFirst,
            order);
    }
}

TEST_F(BulkRequest, MessagesMayLieAtAnyAddress) {
    for (std::size_t shift = 0; shift < 8; ++shift) {
        Bytes bytes(shift);
        append(bytes, bulk_request({bulk_item(Order::network, {9, 8, 2, 7}, "n", Bytes(8, 1)),
                                    bulk_item(Order::host, {9, 8, 2, 7}, "n", Bytes(8, 1))}));
        kelvo_bulk_info info;
        kelvo_bulk_item record;
        ASSERT_EQ(
            kelvo_common_msg_bulk_interpret(
                bytes.data() + shift, static_cast<std::uint32_t>(bytes.size() - shift), &info),
            0U);
        EXPECT_EQ(kelvo_common_msg_bulk_next(&info, &record), 0U);
        EXPECT_EQ(kelvo_common_msg_bulk_next(&info, &record), 0U);
    }
}

TEST_F(BulkRequest, TheItemCountIsNotComparedWithTheIndex) {
    Bytes message = bulk_request({plain_item(), plain_item()});
    put_word(message, 48, reversed(1));
    Received in(message);
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.info.count, 1U);
    EXPECT_EQ(in.next(), 0U);
    EXPECT_EQ(in.next(), 0U);
    EXPECT_EQ(in.info.index, 3U);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(in.info.index, 3U);
}

TEST_F(BulkRequest, NextBackNextTakesTheSameItemTwice) {
    for (const Order order : {Order::host, Order::network}) {
        Received in(bulk_request(
            {plain_item(order), bulk_item(order, {1, 2, 2, 3}, "other", Bytes(8, 1))}));
        ASSERT_EQ(in.interpret(), 0U);
        ASSERT_EQ(in.next(), 0U);
        ASSERT_EQ(in.next(), 0U);
        const kelvo_bulk_item taken = in.record;
        const kelvo_bulk_info after = in.info;
        const Bytes bytes = in.bytes;

        EXPECT_EQ(in.at(kelvo_common_msg_bulk_back(&in.info)),
                  static_cast<std::ptrdiff_t>(kFirst + 48));
        EXPECT_EQ(in.info.index, 2U);
        EXPECT_EQ(in.at(in.info.current), static_cast<std::ptrdiff_t>(kFirst + 48));
        EXPECT_EQ(in.info.prev_item_ptr, nullptr);

        ASSERT_EQ(in.next(), 0U);
        EXPECT_EQ(in.record.operation, taken.operation);
        EXPECT_EQ(in.record.type, taken.type);
        EXPECT_EQ(in.record.name, taken.name);
        EXPECT_EQ(in.record.data, taken.data);
        EXPECT_EQ(in.record.data_length, taken.data_length);
        EXPECT_TRUE(same(in.info, after));
        EXPECT_EQ(in.bytes, bytes) << "an item is converted once";
    }
}

TEST_F(BulkRequest, AForeignNameTooLongForANativeOneCannotBeTakenTwice) {
    // 65537 is 0x00010001 in either order's reading, so it is converted each time.
    Received in(
        bulk_request({bulk_item(Order::network, {1, 2, 3, 4}, std::string(65536, 'n'), {'d'})}));
    ASSERT_EQ(in.interpret(), 0U);
    ASSERT_EQ(in.next(), 0U);
    kelvo_common_msg_bulk_back(&in.info);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
}

TEST_F(BulkRequest, AFailedStepKeepsTheStepBackOpen) {
    Received in(bulk_request({plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    ASSERT_EQ(in.next(), 0U);
    ASSERT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(in.at(kelvo_common_msg_bulk_back(&in.info)), static_cast<std::ptrdiff_t>(kFirst));
    EXPECT_EQ(in.next(), 0U);
}

TEST_F(BulkRequest, NothingIsAllocatedOrLogged) {
    Received in(bulk_request({plain_item(Order::network)}));
    FailingMemory counting;
    EXPECT_EQ(in.interpret(), 0U);
    EXPECT_EQ(in.next(), 0U);
    EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(FailingMemory::allocations(), 0U);
    EXPECT_EQ(platform().log.size(), 0U);
}

using BulkRequestDeathTest = BulkRequest;

constexpr char kBackReport[] =
    "^[^ ]*: common/src/kelvo_common_msg_interpret:1361: kelvo_common_msg_bulk_back: "
    "Assertion `bulk_info->prev_item_ptr != \\(\\(void \\*\\)0\\)' failed\\.\n$";

TEST_F(BulkRequestDeathTest, BackBeforeNextStopsTheProcess) {
    Received in(bulk_request({plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    EXPECT_EXIT(kelvo_common_msg_bulk_back(&in.info), ::testing::KilledBySignal(SIGABRT),
                kBackReport);
}

TEST_F(BulkRequestDeathTest, BackTwiceStopsTheProcess) {
    Received in(bulk_request({plain_item(), plain_item()}));
    ASSERT_EQ(in.interpret(), 0U);
    ASSERT_EQ(in.next(), 0U);
    ASSERT_EQ(in.next(), 0U);
    kelvo_common_msg_bulk_back(&in.info);
    EXPECT_EXIT(kelvo_common_msg_bulk_back(&in.info), ::testing::KilledBySignal(SIGABRT),
                kBackReport);
}

}  // namespace
