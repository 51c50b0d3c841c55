// SPDX-License-Identifier: Apache-2.0
//
// List and data-list requests: what is composed, and what the conversion marker does.
#include <gtest/gtest.h>

#include <array>

#include "kelvo_common_msg_list.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

struct Kind {
    const char* name;
    uint32_t type;
    decltype(&kelvo_common_msg_list_compose) compose;
    decltype(&kelvo_common_msg_list_interpret) interpret;
    friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }
};

const Kind kKinds[] = {
    {"list", 14, kelvo_common_msg_list_compose, kelvo_common_msg_list_interpret},
    {"datalist", 15, kelvo_common_msg_datalist_compose, kelvo_common_msg_datalist_interpret},
};

class ListRequest : public testing::TestWithParam<Kind> {};

struct Out {
    char* first = nullptr;
    char* second = nullptr;
    uint32_t word1 = 0;
    std::array<uint32_t, 5> block{};
    uint32_t behind = 0;
    uint32_t word4 = 0;

    kelvo_status read(const Kind& kind, Bytes& msg) {
        return kind.interpret(msg.data(), static_cast<uint32_t>(msg.size()), &first, &second,
                              &word1, block.data(), &word4);
    }
    friend bool operator==(const Out&, const Out&) = default;
};

constexpr uint64_t kValue1 = 0x0102030405060708;
constexpr uint64_t kValue2 = 0x1112131415161718;

/// The caller's storage for one request, composed.
struct Sender {
    std::array<uint8_t, 80> header;
    kelvo_length_cell first_len{0, 0x77};
    kelvo_length_cell second_len{0, 0x88};
    std::array<kelvo_slot, 8> list;

    explicit Sender(const Kind& kind, const char* first, const char* second) {
        header.fill(0xEE);
        list.fill({nullptr, 0xDEAD});
        kind.compose(header.data(), &first_len.length, &second_len.length, first, second, 0xA1,
                     kValue1, kValue2, 0xA2, 0xA3, 0xA4, list.data());
    }
};

TEST_P(ListRequest, ComposeFillsTheFixedPartAndSevenSlots) {
    const char* first = "client";
    const char* second = "1234567";
    const Sender s(GetParam(), first, second);

    Bytes expected(80, 0xEE);
    put_word(expected, 24, GetParam().type);
    const uint32_t words[] = {0xA1,
                              halves(kValue1)[0],
                              halves(kValue1)[1],
                              halves(kValue2)[0],
                              halves(kValue2)[1],
                              0xA2,
                              0xA3,
                              0xA4};
    for (std::size_t i = 0; i < 8; ++i) put_word(expected, 40 + 4 * i, reversed(words[i]));
    EXPECT_EQ(Bytes(s.header.begin(), s.header.end()), expected)
        << "the marker and the rest of the header are the caller's";
    EXPECT_EQ(s.first_len.length, reversed(7));
    EXPECT_EQ(s.first_len.fill, 0x77U) << "the second half of a cell is not written";
    EXPECT_EQ(s.second_len.length, reversed(8));
    EXPECT_EQ(s.second_len.fill, 0x88U);
    expect_slots(s.list.data(), {{s.header.data(), 72},
                                 {&s.first_len, 8},
                                 {first, 7},
                                 {kelvo_alignment, 1},
                                 {&s.second_len, 8},
                                 {second, 8},
                                 {kelvo_alignment, 0}});
    EXPECT_EQ(s.list[7].length, 0xDEADU) << "an eighth slot was written";
}

TEST_P(ListRequest, WhatIsComposedIsReadAndWordThreeIsNotHandedOut) {
    const Sender s(GetParam(), "client", "1234567");
    Bytes bytes = flattened(s.list.data(), 7);
    Out out;
    ASSERT_EQ(out.read(GetParam(), bytes), 0U);
    EXPECT_STREQ(out.first, "client");
    EXPECT_STREQ(out.second, "1234567");
    EXPECT_EQ(out.word1, 0xA1U);
    EXPECT_EQ(out.block, (std::array<uint32_t, 5>{halves(kValue1)[0], halves(kValue1)[1],
                                                  halves(kValue2)[0], halves(kValue2)[1], 0xA2}));
    EXPECT_EQ(out.behind, 0U) << "the block has five words";
    EXPECT_EQ(out.word4, 0xA4U);
    EXPECT_EQ(word_at(bytes, 64), 0xA3U) << "carried and converted nevertheless";
}

TEST_P(ListRequest, ASecondReadingConvertsNothingAndAnswersTheSame) {
    const Sender s(GetParam(), "client", "1234567");
    Bytes bytes = flattened(s.list.data(), 7);
    Out first;
    ASSERT_EQ(first.read(GetParam(), bytes), 0U);
    EXPECT_EQ(word_at(bytes, 20), KELVO_MSG_CONVERTED);
    const Bytes converted = bytes;
    Out second;
    ASSERT_EQ(second.read(GetParam(), bytes), 0U);
    EXPECT_EQ(bytes, converted);
    EXPECT_EQ(second, first);
}

TEST_P(ListRequest, AMessageMayBeReadByEitherReaderNext) {
    const Sender s(GetParam(), "client", "1234567");
    Bytes bytes = flattened(s.list.data(), 7);
    Out first;
    ASSERT_EQ(first.read(GetParam(), bytes), 0U);
    for (const Kind& kind : kKinds) {
        Out second;
        EXPECT_EQ(second.read(kind, bytes), 0U);
        EXPECT_EQ(second, first);
    }
}

TEST_P(ListRequest, ARefusedMessageIsMarkedToo) {
    const Sender s(GetParam(), "client", "1234567");
    for (const std::size_t length : {std::size_t{0}, std::size_t{71}, std::size_t{80}}) {
        Bytes bytes = flattened(s.list.data(), 7);
        Out out;
        EXPECT_EQ(GetParam().interpret(bytes.data(), static_cast<uint32_t>(length), &out.first,
                                       &out.second, &out.word1, out.block.data(), &out.word4),
                  KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(word_at(bytes, 20), KELVO_MSG_CONVERTED);
        EXPECT_EQ(word_at(bytes, 40), 0xA1U);
        EXPECT_EQ(out, Out());
    }
}

TEST_P(ListRequest, AMarkThatIsItselfReversedIsNoMark) {
    const Sender s(GetParam(), "client", "1234567");
    Bytes bytes = flattened(s.list.data(), 7);
    put_word(bytes, 20, 0x78563412);
    Out out;
    EXPECT_EQ(out.read(GetParam(), bytes), 0U);
    EXPECT_EQ(out.word1, 0xA1U);
}

INSTANTIATE_TEST_SUITE_P(, ListRequest, testing::ValuesIn(kKinds),
                         [](const auto& row) { return row.param.name; });

TEST(ListRequestMark, ListMarksBeforeItHandsOutAndDatalistAfter) {
    // An output that lies on the marker shows when the mark is made.
    const uint32_t left_there[] = {0xA1, KELVO_MSG_CONVERTED};
    for (std::size_t i = 0; i < 2; ++i) {
        SCOPED_TRACE(kKinds[i].name);
        const Sender s(kKinds[i], "client", "1234567");
        Bytes bytes = flattened(s.list.data(), 7);
        auto* const marker = reinterpret_cast<uint32_t*>(bytes.data() + 20);
        Out out;
        ASSERT_EQ(kKinds[i].interpret(bytes.data(), static_cast<uint32_t>(bytes.size()), &out.first,
                                      &out.second, marker, out.block.data(), &out.word4),
                  0U);
        EXPECT_EQ(word_at(bytes, 20), left_there[i]);
    }
}

}  // namespace
