// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "kelvo_common_msg_bulk.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/bulk_messages.h"
#include "support/messages.h"

using namespace kelvo::test;

namespace {

class BulkBuilder : public ::testing::Test {
  protected:
    BulkBuilder() {
        platform().reset();
        for (std::size_t i = 0; i < header.size(); ++i) {
            header[i] = static_cast<std::uint8_t>(0x80 + i);
        }
    }
    ~BulkBuilder() override {
        if (begun) kelvo_common_msg_bulk_free(&builder);
    }

    kelvo_status init(std::uint32_t count, const char* leading = "lead") {
        const kelvo_status status = kelvo_common_msg_bulk_init(header.data(), count, 0x01020304,
                                                               0x05060708, leading, &builder);
        begun = begun || status == 0;
        return status;
    }

    Bytes flatten(std::uint32_t count) {
        std::uint32_t size = 0;
        const auto slots = static_cast<std::int32_t>(count * 7 + 4);
        kelvo_common_msg_iovs_length(builder.slots, slots, &size);
        std::uint8_t* buffer = nullptr;
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer(builder.slots, count * 7 + 4, size, &buffer), 0U);
        const Bytes bytes(buffer, buffer + size);
        std::free(buffer);
        return bytes;
    }

    Bytes header = Bytes(64);
    kelvo_bulk_builder builder = sentinel<kelvo_bulk_builder>();
    bool begun = false;
};

kelvo_bulk_item item(std::uint32_t operation, const char* name) {
    kelvo_bulk_item record = {};
    record.operation = operation;
    record.word2 = 0x22;
    record.type = 3;
    record.name = name;
    record.data = "abc";
    record.data_length = 3;
    record.op2_data = "wxyz!";
    record.op2_data_length = 5;
    record.word4 = 0x44;
    return record;
}

TEST_F(BulkBuilder, InitRefusesANullHeaderLeadingStringOrBuilderAndLogsIt) {
    const Bytes before = header;
    void* const area = header.data();
    auto out = sentinel<kelvo_bulk_builder>();
    EXPECT_EQ(kelvo_common_msg_bulk_init(nullptr, 1, 2, 3, "x", &out), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_init(area, 1, 2, 3, nullptr, &out), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_common_msg_bulk_init(area, 1, 2, 3, "x", nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>(3, kNullLogged));
    for (const Logged& line : platform().log) {
        EXPECT_EQ(line.record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(line.severity, 7);
    }
    EXPECT_TRUE(untouched(out));
    EXPECT_EQ(header, before);
}

TEST_F(BulkBuilder, InitWritesTypeWordsAndCountAndLeavesTheRestOfTheHeader) {
    const Bytes before = header;
    ASSERT_EQ(init(2), 0U);
    Bytes expected = before;
    put_word(expected, 24, 46);
    put_word(expected, 40, reversed(0x01020304));
    put_word(expected, 44, reversed(0x05060708));
    put_word(expected, 48, reversed(2));
    reverse_at(expected, 52);  // the caller's words 3 and 4 are converted as they are
    reverse_at(expected, 56);
    EXPECT_EQ(header, expected);
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(BulkBuilder, InitFillsTheFourLeadingSlots) {
    const char* const leading = "lead";
    ASSERT_EQ(init(1, leading), 0U);
    EXPECT_EQ(builder.leading.length, reversed(5));
    EXPECT_EQ(builder.leading.fill, 0U);
    expect_slots(builder.slots,
                 {{header.data(), 64}, {&builder.leading, 8}, {leading, 5}, {kelvo_alignment, 3}});
}

TEST_F(BulkBuilder, FillOfTheLeadingStringIsThePadToEight) {
    const struct {
        const char* leading;
        std::uint64_t length;
        std::uint64_t fill;
    } rows[] = {{"", 1, 7}, {"1234567", 8, 0}, {"12345678", 9, 7}};
    for (const auto& row : rows) {
        ASSERT_EQ(init(0, row.leading), 0U);
        EXPECT_EQ(builder.slots[2].length, row.length) << row.leading;
        EXPECT_EQ(builder.slots[3].length, row.fill) << row.leading;
        kelvo_common_msg_bulk_free(&builder);
    }
}

TEST_F(BulkBuilder, ArraysBeginZeroed) {
    ASSERT_EQ(init(3), 0U);
    const Bytes zeros(3 * 7 * 16);
    EXPECT_EQ(std::memcmp(builder.items, zeros.data(), 3 * 16), 0);
    EXPECT_EQ(std::memcmp(builder.name_lengths, zeros.data(), 3 * 8), 0);
    EXPECT_EQ(std::memcmp(builder.data_lengths, zeros.data(), 3 * 8), 0);
    EXPECT_EQ(std::memcmp(builder.slots + 4, zeros.data(), zeros.size()), 0);
}

TEST_F(BulkBuilder, InitAllocatesFourArraysOfTheCount) {
    FailingMemory counting;
    ASSERT_EQ(init(5), 0U);
    EXPECT_EQ(FailingMemory::allocations(), 4U);
    EXPECT_EQ(FailingMemory::bytes(), (5 * 7 + 4) * 16 + 5 * 8 + 5 * 8 + 5 * 16U);
    kelvo_common_msg_bulk_free(&builder);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

TEST_F(BulkBuilder, AFailureAtAnyAllocationLeavesNothing) {
    // The order of the allocations shows in how many bytes have been asked for by then.
    const std::size_t asked[] = {39 * 16, 39 * 16 + 40, 39 * 16 + 80, 39 * 16 + 160};
    const Bytes before = header;
    for (std::size_t failing = 0; failing < 4; ++failing) {
        FailingMemory fail(failing);
        EXPECT_EQ(init(5), KELVO_ERR_NO_MEMORY) << failing;
        EXPECT_EQ(FailingMemory::allocations(), failing + 1);
        EXPECT_EQ(FailingMemory::bytes(), asked[failing]);
        EXPECT_EQ(FailingMemory::outstanding(), 0) << failing;
        EXPECT_TRUE(untouched(builder)) << failing;
        EXPECT_EQ(header, before) << failing;
    }
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(BulkBuilder, AHostileCountIsSizedExactly) {
    // In 32 bits, these counts would ask for an array of a few slots.
    for (const std::uint32_t count : {0xFFFFFFFFU, 0x24924925U, 0x92492493U, 0x80000000U}) {
        FailingMemory fail(0);
        EXPECT_EQ(init(count), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::bytes(), (std::uint64_t{count} * 7 + 4) * 16) << count;
        EXPECT_TRUE(untouched(builder));
    }
}

TEST_F(BulkBuilder, ARequestWithoutItemsIsFourSlots) {
    // None of the four arrays is of no bytes, for which an allocator may answer null.
    FailingMemory counting;
    ASSERT_EQ(init(0), 0U);
    EXPECT_EQ(FailingMemory::allocations(), 4U);
    EXPECT_EQ(FailingMemory::bytes(), 4 * 16 + 8 + 8 + 16U);
    const Bytes message = flatten(0);
    EXPECT_EQ(message.size(), 72U + 8);
}

TEST_F(BulkBuilder, AMissingArrayIsAFailureEvenWithoutItems) {
    for (std::size_t failing = 0; failing < 4; ++failing) {
        FailingMemory fail(failing);
        EXPECT_EQ(init(0), KELVO_ERR_NO_MEMORY) << failing;
        EXPECT_EQ(FailingMemory::outstanding(), 0) << failing;
    }
}

TEST_F(BulkBuilder, AddFillsTheSevenSlotsOfItsItemAndNoOthers) {
    ASSERT_EQ(init(3), 0U);
    const kelvo_bulk_item record = item(9, "name");
    kelvo_common_msg_bulk_add(&record, 1, &builder);

    expect_slots(builder.slots + 4 + 7, {{&builder.items[1], 16},
                                         {&builder.name_lengths[1], 8},
                                         {record.name, 5},
                                         {kelvo_alignment, 3},
                                         {&builder.data_lengths[1], 8},
                                         {record.data, 3},
                                         {kelvo_alignment, 5}});
    for (const std::size_t i : {4U, 10U, 18U, 24U}) EXPECT_EQ(builder.slots[i].base, nullptr) << i;
}

TEST_F(BulkBuilder, ItemsStayInTheSendersOrder) {
    ASSERT_EQ(init(1), 0U);
    const kelvo_bulk_item record = item(9, "name");
    kelvo_common_msg_bulk_add(&record, 0, &builder);
    EXPECT_EQ(builder.items[0].operation, 9U);
    EXPECT_EQ(builder.items[0].word2, 0x22U);
    EXPECT_EQ(builder.items[0].type, 3U);
    EXPECT_EQ(builder.items[0].word4, 0x44U);
    EXPECT_EQ(builder.name_lengths[0].length, 5U);
    EXPECT_EQ(builder.name_lengths[0].fill, 0U);
    EXPECT_EQ(builder.data_lengths[0].length, 3U);
    EXPECT_EQ(builder.data_lengths[0].fill, 0U);
}

TEST_F(BulkBuilder, ValuesAreNeitherConvertedNorCopied) {
    ASSERT_EQ(init(1), 0U);
    const Bytes value = {1, 2, 3, 4};
    kelvo_bulk_item record = item(9, "name");
    record.type = KELVO_VALUE_INT4;
    record.data = value.data();
    record.data_length = 4;
    kelvo_common_msg_bulk_add(&record, 0, &builder);
    EXPECT_EQ(builder.slots[9].base, value.data());
    EXPECT_EQ(value, (Bytes{1, 2, 3, 4}));
}

TEST_F(BulkBuilder, OperationTwoSendsItsOwnDataAndType) {
    const struct {
        std::uint32_t operation;
        std::uint32_t op2_type;
        std::uint32_t sent_type;
        bool sends_op2_data;
    } rows[] = {{2, 0, 3, true}, {2, 7, 7, true}, {1, 7, 3, false}, {3, 7, 3, false}};
    ASSERT_EQ(init(1), 0U);
    for (const auto& row : rows) {
        kelvo_bulk_item record = item(row.operation, "name");
        record.op2_type = row.op2_type;
        kelvo_common_msg_bulk_add(&record, 0, &builder);
        EXPECT_EQ(builder.items[0].type, row.sent_type) << row.operation << ' ' << row.op2_type;
        EXPECT_EQ(builder.data_lengths[0].length, row.sends_op2_data ? 5U : 3U);
        EXPECT_EQ(builder.slots[9].base, row.sends_op2_data ? record.op2_data : record.data);
        EXPECT_EQ(builder.slots[9].length, row.sends_op2_data ? 5U : 3U);
        EXPECT_EQ(builder.slots[10].length, row.sends_op2_data ? 3U : 5U);
    }
}

TEST_F(BulkBuilder, TheFlattenedListIsTheMessage) {
    for (std::uint8_t i = 0; i < 40; ++i) header[i] = static_cast<std::uint8_t>(0xA0 + i);
    put_word(header, 52, 0x11111103);
    put_word(header, 56, 0x11111104);
    put_word(header, 60, 0x60616263);
    ASSERT_EQ(
        kelvo_common_msg_bulk_init(header.data(), 2, 0x11111101, 0x11111102, "lead", &builder), 0U);
    begun = true;
    kelvo_bulk_item second = item(2, "b");
    second.op2_type = 1;
    const kelvo_bulk_item first = item(9, "a name");
    kelvo_common_msg_bulk_add(&second, 1, &builder);
    kelvo_common_msg_bulk_add(&first, 0, &builder);
    const Bytes expected =
        bulk_request({bulk_item(Order::host, {9, 0x22, 3, 0x44}, "a name", {'a', 'b', 'c'}),
                      bulk_item(Order::host, {2, 0x22, 1, 0x44}, "b", {'w', 'x', 'y', 'z', '!'})});
    EXPECT_EQ(flatten(2), expected);
}

TEST_F(BulkBuilder, WhatIsBuiltReadsBack) {
    const std::vector<std::string> names = {"a", "abcdefg", "abcdefgh", std::string(65534, 'n')};
    const auto count = static_cast<std::uint32_t>(names.size());
    ASSERT_EQ(init(count, "leading string"), 0U);
    for (std::uint32_t i = 0; i < count; ++i) {
        kelvo_bulk_item record = item(i, names[i].c_str());
        record.data_length = i;
        kelvo_common_msg_bulk_add(&record, i, &builder);
    }
    Bytes message = flatten(count);
    kelvo_bulk_info info;
    ASSERT_EQ(kelvo_common_msg_bulk_interpret(message.data(),
                                              static_cast<std::uint32_t>(message.size()), &info),
              0U);
    EXPECT_EQ(info.count, count);
    EXPECT_EQ(info.word1, 0x01020304U);
    EXPECT_EQ(info.word2, 0x05060708U);
    EXPECT_STREQ(info.leading, "leading string");
    for (std::uint32_t i = 0; i < count; ++i) {
        const bool second = i == 2;
        kelvo_bulk_item record;
        ASSERT_EQ(kelvo_common_msg_bulk_next(&info, &record), 0U) << i;
        EXPECT_EQ(record.operation, i);
        EXPECT_EQ(record.word2, 0x22U);
        EXPECT_EQ(record.type, 3U);
        EXPECT_EQ(record.word4, 0x44U);
        EXPECT_EQ(record.name, names[i]);
        EXPECT_EQ(record.data_length, second ? 0U : i);
        EXPECT_EQ(record.op2_data_length, second ? 5U : 0U);
        EXPECT_EQ(record.op2_type, 0U);
        const auto* const data = static_cast<const char*>(second ? record.op2_data : record.data);
        const std::string sent = second ? "wxyz!" : std::string("abc").substr(0, i);
        EXPECT_EQ(std::string(data == nullptr ? "" : data, sent.size()), sent);
    }
    EXPECT_EQ(info.current, info.end);
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(BulkBuilder, FreeReleasesTheArraysAndMayBeRepeated) {
    FailingMemory counting;
    ASSERT_EQ(init(7), 0U);
    EXPECT_EQ(FailingMemory::outstanding(), 4);
    kelvo_common_msg_bulk_free(&builder);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
    EXPECT_EQ(builder.items, nullptr);
    EXPECT_EQ(builder.name_lengths, nullptr);
    EXPECT_EQ(builder.data_lengths, nullptr);
    EXPECT_EQ(builder.slots, nullptr);
    kelvo_common_msg_bulk_free(&builder);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(BulkBuilder, FreeOfANullBuilderIsLogged) {
    kelvo_common_msg_bulk_free(nullptr);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>{kNullLogged});
}

}  // namespace
