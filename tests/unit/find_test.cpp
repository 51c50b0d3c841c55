// SPDX-License-Identifier: Apache-2.0
//
// Find and group find: what is composed, conversion in both directions, the group-find reply.
#include <gtest/gtest.h>

#include <array>

#include "kelvo_common_msg_find.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kUnset = 0x5E5E5E5E;
constexpr uint64_t kValue1 = 0x0102030405060708;
constexpr uint64_t kValue2 = 0x1112131415161718;

/// The caller's storage for one find, composed with word n being 0xA0 + n.
struct Sender {
    std::array<uint8_t, 96> header;
    kelvo_length_cell first_len{0, 0x77};
    kelvo_length_cell second_len{0, 0x88};
    std::array<kelvo_slot, 8> list;
    const char* first = "client";
    const char* second = "1234567";

    Sender() {
        header.fill(0xEE);
        list.fill({nullptr, 0xDEAD});
        kelvo_common_msg_find_compose(header.data(), &first_len.length, &second_len.length, first,
                                      second, 0xA1, 0xA4, kValue1, kValue2, 0xA2, 0xA3, 0xA7, 0xA5,
                                      0xA6, list.data());
    }
    [[nodiscard]] Bytes message() const { return flattened(list.data(), 7); }
};

struct Out {
    char* first = nullptr;
    char* second = nullptr;
    uint32_t word1 = kUnset, word4 = kUnset, word5 = kUnset, word6 = kUnset, word7 = kUnset;
    std::array<uint32_t, 5> block{};
    uint32_t behind = kUnset;

    kelvo_status read_host(Bytes& msg) {
        return kelvo_common_msg_find_interpret(msg.data(), static_cast<uint32_t>(msg.size()),
                                               &first, &second, &word1, &word4, block.data(),
                                               &word7, &word5, &word6);
    }
    kelvo_status read_network(Bytes& msg) {
        return kelvo_common_msg_find_interpret_endian_ntoh(
            msg.data(), static_cast<uint32_t>(msg.size()), &first, &second, &word1, &word4,
            block.data(), &word7, &word5, &word6);
    }
    void expect_as_composed() const {
        EXPECT_STREQ(first, "client");
        EXPECT_STREQ(second, "1234567");
        EXPECT_EQ(behind, kUnset) << "the block has five words";
        EXPECT_EQ(word1, 0xA1U);
        EXPECT_EQ(word4, 0xA4U);
        EXPECT_EQ(word5, 0xA5U);
        EXPECT_EQ(word6, 0xA6U);
        EXPECT_EQ(word7, 0xA7U);
        EXPECT_EQ(block, (std::array<uint32_t, 5>{halves(kValue1)[0], halves(kValue1)[1],
                                                  halves(kValue2)[0], halves(kValue2)[1], 0xA2}));
    }
};

kelvo_status send(Bytes& msg, std::size_t length) {
    return kelvo_common_msg_find_interpret_endian_hton(msg.data(), static_cast<uint32_t>(length));
}

constexpr std::size_t kFirstCell = 88;
constexpr std::size_t kSecondCell = 88 + 8 + 8;

TEST(FindCompose, FillsTheFixedPartAndSevenSlots) {
    const Sender s;
    Bytes expected(96, 0xEE);
    put_word(expected, 24, 5);
    const uint32_t words[] = {0xA1,
                              halves(kValue1)[0],
                              halves(kValue1)[1],
                              halves(kValue2)[0],
                              halves(kValue2)[1],
                              0xA2,
                              0xA3,
                              0xA4,
                              0xA5,
                              0xA6,
                              0xA7};
    for (std::size_t i = 0; i < 11; ++i) put_word(expected, 40 + 4 * i, reversed(words[i]));
    EXPECT_EQ(Bytes(s.header.begin(), s.header.end()), expected)
        << "the word at 84 and the rest of the header are the caller's";
    EXPECT_EQ(s.first_len.length, reversed(7));
    EXPECT_EQ(s.first_len.fill, 0x77U) << "the second half of a cell is not written";
    EXPECT_EQ(s.second_len.length, reversed(8));
    EXPECT_EQ(s.second_len.fill, 0x88U);
    expect_slots(s.list.data(), {{s.header.data(), 88},
                                 {&s.first_len, 8},
                                 {s.first, 7},
                                 {kelvo_alignment, 1},
                                 {&s.second_len, 8},
                                 {s.second, 8},
                                 {kelvo_alignment, 0}});
    EXPECT_EQ(s.list[7].length, 0xDEADU) << "an eighth slot was written";
}

TEST(FindInterpret, WhatIsComposedIsReadInEitherOrder) {
    Bytes msg = Sender().message();
    put_word(msg, 84, 0x0A0B0C0D);
    Out network;
    ASSERT_EQ(network.read_network(msg), 0U);
    network.expect_as_composed();
    EXPECT_EQ(word_at(msg, 64), 0xA3U) << "word 3 is carried and converted, but not handed out";
    EXPECT_EQ(word_at(msg, 84), 0x0A0B0C0DU) << "not converted";
    Out host;
    ASSERT_EQ(host.read_host(msg), 0U);
    host.expect_as_composed();
}

TEST(FindInterpret, AFixedPartWithoutRoomForALengthIsRefused) {
    for (const std::size_t length : {88U, 95U}) {
        Bytes msg = Sender().message();
        msg.resize(length);
        Out out;
        EXPECT_EQ(out.read_host(msg), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(out.word1, kUnset);
    }
}

TEST(FindConversion, BothDirectionsOneAfterTheOtherGiveTheOriginal) {
    const Bytes sent = Sender().message();
    Bytes msg = sent;
    Out out;
    ASSERT_EQ(out.read_network(msg), 0U);
    EXPECT_NE(msg, sent);
    ASSERT_EQ(send(msg, msg.size()), 0U);
    EXPECT_EQ(msg, sent);
    ASSERT_EQ(out.read_network(msg), 0U);
    out.expect_as_composed();
}

TEST(FindConversion, ASentCellIsConvertedAfterItsOwnTestsAndBeforeThatForTheExactLength) {
    Bytes host = Sender().message();
    Out out;
    ASSERT_EQ(out.read_network(host), 0U);
    struct {
        const char* what;
        std::size_t length;
        std::size_t damaged_cell;  // 0: none
        uint32_t damage;
        kelvo_status status;
        bool first_converted;
        bool second_converted;
    } const rows[] = {
        {"nothing wrong", 120, 0, 0, 0, true, true},
        {"bytes left over", 121, 0, 0, KELVO_ERR_MSG_LENGTH, true, true},
        {"no room for the second text", 119, 0, 0, KELVO_ERR_MSG_LENGTH, true, false},
        {"no room for the second cell", 111, 0, 0, KELVO_ERR_MSG_LENGTH, true, false},
        {"message ends after the first", 104, 0, 0, KELVO_ERR_MSG_LENGTH, true, false},
        {"no room for the first fill", 103, 0, 0, KELVO_ERR_MSG_LENGTH, false, false},
        {"no room for the first cell", 95, 0, 0, KELVO_ERR_MSG_LENGTH, false, false},
        {"fixed part too short", 87, 0, 0, KELVO_ERR_MSG_LENGTH, false, false},
        {"empty first", 120, kFirstCell, 0, KELVO_ERR_MSG_CONTENT, false, false},
        {"unterminated first", 120, kFirstCell, 6, KELVO_ERR_MSG_CONTENT, false, false},
        {"empty second", 120, kSecondCell, 0, KELVO_ERR_MSG_CONTENT, true, false},
        {"unterminated second", 120, kSecondCell, 7, KELVO_ERR_MSG_CONTENT, true, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Bytes msg = host;
        msg.resize(128);
        if (row.damaged_cell != 0) put_word(msg, row.damaged_cell, row.damage);
        Bytes expected = msg;
        for (std::size_t at = 40; at <= 80; at += 4) reverse_at(expected, at);
        if (row.first_converted) reverse_at(expected, kFirstCell);
        if (row.second_converted) reverse_at(expected, kSecondCell);
        EXPECT_EQ(send(msg, row.length), row.status);
        EXPECT_EQ(msg, expected);
    }
}

TEST(FindGroupCompose, FillsTheFixedPartAndFourSlots) {
    for (const auto& [ag, type] : {std::pair{0U, 68U}, std::pair{1U, 67U}, std::pair{5U, 67U},
                                   std::pair{0xFFFFFFFFU, 67U}}) {
        SCOPED_TRACE(ag);
        std::array<uint8_t, 56> header;
        header.fill(0xEE);
        kelvo_length_cell len{0, 0x77};
        std::array<kelvo_slot, 5> list;
        list.fill({nullptr, 0xDEAD});
        const char* string = "group*";
        kelvo_common_msg_find_grp_ag_ah_compose(header.data(), &len.length, string, 0x01020304,
                                                list.data(), ag);
        Bytes expected(56, 0xEE);
        put_word(expected, 24, type);
        put_word(expected, 40, reversed(0x01020304));
        EXPECT_EQ(Bytes(header.begin(), header.end()), expected);
        EXPECT_EQ(len.length, reversed(7));
        EXPECT_EQ(len.fill, 0x77U);
        expect_slots(list.data(),
                     {{header.data(), 48}, {&len, 8}, {string, 7}, {kelvo_alignment, 1}});
        EXPECT_EQ(list[4].length, 0xDEADU) << "a fifth slot was written";

        Bytes msg = flattened(list.data(), 4);
        put_word(msg, 44, 0x0A0B0C0D);
        char* text = nullptr;
        uint32_t word = kUnset;
        ASSERT_EQ(kelvo_common_msg_find_grp_ag_interpret_endian_ntoh(
                      msg.data(), static_cast<uint32_t>(msg.size()), &text, nullptr, &word),
                  0U);
        EXPECT_STREQ(text, "group*");
        EXPECT_EQ(word, 0x01020304U);
        EXPECT_EQ(word_at(msg, 44), 0x0A0B0C0DU) << "not converted";
    }
}

TEST(FindGroupReply, HasItsWordConvertedAndNothingElse) {
    Bytes sent;
    for (uint8_t i = 0; i < 24; ++i) sent.push_back(i);
    for (const uint32_t length : {20U, 24U}) {
        const Walled block(Bytes(sent.begin(), sent.begin() + length));
        EXPECT_EQ(kelvo_lib_rply_grp_ag_interpret_endian_ntoh(block.data(), length), 0U);
        Bytes expected(sent.begin(), sent.begin() + length);
        reverse_at(expected, 16);
        EXPECT_EQ(block.bytes(), expected);
    }
}

TEST(FindGroupReply, NullOrTooShortIsALengthErrorAndLeftAlone) {
    EXPECT_EQ(kelvo_lib_rply_grp_ag_interpret_endian_ntoh(nullptr, 20), KELVO_ERR_MSG_LENGTH);
    const Bytes sent(20, 0x12);
    for (uint32_t length = 0; length < 20; ++length) {
        const Walled block(Bytes(sent.begin(), sent.begin() + length));
        EXPECT_EQ(kelvo_lib_rply_grp_ag_interpret_endian_ntoh(block.data(), length),
                  KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(block.bytes(), Bytes(sent.begin(), sent.begin() + length));
    }
}

}  // namespace
