// SPDX-License-Identifier: Apache-2.0
//
// Bind and unbind: what is composed, what is handed out where, and the version. The checks that a
// bind has in common with its likes are tested with theirs.
#include <gtest/gtest.h>

#include <array>

#include "kelvo_common_msg_bind.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kUnset = 0x5E5E5E5E;

struct Fields {
    uint32_t version = 541;
    std::string first = "client";
    std::string second = "localhost";
};

/// A bind as it travels.
Message bind(const Fields& f = {}) {
    Message m(Order::network, 0);
    m.word(f.version).word(0x0E0E0E0E).words({1, 2, 3, 4, 5, 6, 7, 8});
    m.text(f.first).text(f.second);
    return m;
}

struct Out {
    char sentinel = 0;
    uint32_t version = kUnset, reserved = kUnset;
    std::array<uint32_t, 9> p;
    char* first = &sentinel;
    char* second = &sentinel;

    Out() { p.fill(kUnset); }

    kelvo_status read(uint8_t* msg, uint32_t length) {
        return kelvo_common_msg_bind_interpret(msg, length, &version, &reserved, &p[1], &first,
                                               &p[2], &p[3], &p[4], &p[5], &p[6], &second, &p[7],
                                               &p[8]);
    }
    [[nodiscard]] bool untouched() const {
        return version == kUnset && reserved == kUnset && p == Out().p && first == &sentinel &&
               second == &sentinel;
    }
};

/// What the reader leaves of `sent`: the ten words converted, and the cells named.
Bytes converted(Bytes sent, std::initializer_list<std::size_t> cells) {
    for (std::size_t at = 40; at < 80; at += 4) reverse_at(sent, at);
    for (const std::size_t at : cells) reverse_at(sent, at);
    return sent;
}

constexpr std::size_t kFirstCell = 80;
constexpr std::size_t kSecondCell = 80 + 8 + 8;

TEST(BindCompose, FillsTheFixedPartAndSevenSlots) {
    std::array<uint8_t, 88> header;
    header.fill(0xEE);
    kelvo_length_cell first_len{0, 0x77};
    kelvo_length_cell second_len{0, 0x88};
    std::array<kelvo_slot, 8> list;
    list.fill({nullptr, 0xDEAD});
    const char* first = "client";
    const char* second = "localhost";
    kelvo_common_msg_bind_compose(header.data(), &first_len.length, first, 1, 2, 3, 4, 5, 6, 7, 8,
                                  &second_len.length, second, list.data());

    EXPECT_EQ(word_at(header.data(), 24), 0U);
    EXPECT_EQ(word_at(header.data(), 20), 0xEEEEEEEE) << "the rest of the header is the caller's";
    EXPECT_EQ(word_at(header.data(), 28), 0xEEEEEEEE);
    const uint32_t words[] = {541, 0, 1, 2, 3, 4, 5, 6, 7, 8};
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(word_at(header.data(), 40 + 4 * i), reversed(words[i])) << i;
    }
    EXPECT_EQ(word_at(header.data(), 80), 0xEEEEEEEE);
    EXPECT_EQ(first_len.length, reversed(7));
    EXPECT_EQ(first_len.fill, 0x77U) << "the second half of a cell is not written";
    EXPECT_EQ(second_len.length, reversed(10));
    EXPECT_EQ(second_len.fill, 0x88U);
    expect_slots(list.data(), {{header.data(), 80},
                               {&first_len, 8},
                               {first, 7},
                               {kelvo_alignment, 1},
                               {&second_len, 8},
                               {second, 10},
                               {kelvo_alignment, 6}});
    EXPECT_EQ(list[7].length, 0xDEADU) << "an eighth slot was written";
}

TEST(UnbindCompose, SetsTheTypeAndNothingElse) {
    Bytes header(48, 0xEE);
    kelvo_common_msg_unbind_compose(header.data());
    Bytes expected(48, 0xEE);
    put_word(expected, 24, 2);
    EXPECT_EQ(header, expected);
}

TEST(BindInterpret, HandsOutEveryField) {
    const Message m = bind();
    const Walled block(m.bytes());
    Out out;
    ASSERT_EQ(out.read(block.data(), m.size()), 0U);
    EXPECT_EQ(out.version, 541U);
    EXPECT_EQ(out.reserved, 0x0E0E0E0EU);
    for (uint32_t i = 1; i <= 8; ++i) EXPECT_EQ(out.p[i], i);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(out.first), block.data() + 88);
    EXPECT_STREQ(out.first, "client");
    EXPECT_EQ(reinterpret_cast<uint8_t*>(out.second), block.data() + 88 + 8 + 8);
    EXPECT_STREQ(out.second, "localhost");
    EXPECT_EQ(block.bytes(), converted(m.bytes(), {kFirstCell, kSecondCell}));
}

TEST(BindInterpret, ReadsWhatWasComposed) {
    std::array<uint8_t, 80> header{};
    kelvo_length_cell first_len{0, 0};
    kelvo_length_cell second_len{0, 0};
    std::array<kelvo_slot, 7> list;
    kelvo_common_msg_bind_compose(header.data(), &first_len.length, "a", 11, 12, 13, 14, 15, 16, 17,
                                  18, &second_len.length, "1234567", list.data());
    Bytes bytes = flattened(list.data(), 7);
    Out out;
    ASSERT_EQ(out.read(bytes.data(), static_cast<uint32_t>(bytes.size())), 0U);
    EXPECT_EQ(out.reserved, 0U);
    for (uint32_t i = 1; i <= 8; ++i) EXPECT_EQ(out.p[i], 10 + i);
    EXPECT_STREQ(out.first, "a");
    EXPECT_STREQ(out.second, "1234567");
}

TEST(BindInterpret, ThreeParametersNeedNotBeHandedOut) {
    Bytes bytes = bind().bytes();
    Out out;
    ASSERT_EQ(kelvo_common_msg_bind_interpret(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                              &out.version, &out.reserved, &out.p[1], &out.first,
                                              &out.p[2], &out.p[3], &out.p[4], nullptr, &out.p[6],
                                              &out.second, nullptr, nullptr),
              0U);
    EXPECT_EQ(out.p[4], 4U);
    EXPECT_EQ(out.p[6], 6U);
    EXPECT_EQ(out.p[5], kUnset);
}

TEST(BindInterpret, EachOptionalParameterIsHandedOutWithoutTheOthers) {
    for (const std::size_t wanted : {5U, 7U, 8U}) {
        Bytes bytes = bind().bytes();
        Out out;
        const auto only = [&](std::size_t i) { return i == wanted ? &out.p[i] : nullptr; };
        ASSERT_EQ(kelvo_common_msg_bind_interpret(
                      bytes.data(), static_cast<uint32_t>(bytes.size()), &out.version,
                      &out.reserved, &out.p[1], &out.first, &out.p[2], &out.p[3], &out.p[4],
                      only(5), &out.p[6], &out.second, only(7), only(8)),
                  0U);
        for (const std::size_t i : {5U, 7U, 8U}) EXPECT_EQ(out.p[i], i == wanted ? i : kUnset);
    }
}

TEST(BindInterpret, AnyOtherVersionIsRefused) {
    for (const uint32_t version : {0U, 540U, 542U, 0x1D020000U, 541U << 16, 0xFFFFFFFFU}) {
        Fields fields;
        fields.version = version;
        const Bytes sent = bind(fields).bytes();
        const Walled block(sent);
        Out out;
        EXPECT_EQ(out.read(block.data(), static_cast<uint32_t>(sent.size())),
                  KELVO_ERR_VERSION_MISMATCH);
        EXPECT_TRUE(out.untouched());
        EXPECT_EQ(block.bytes(), converted(sent, {kFirstCell, kSecondCell}));
    }
}

TEST(BindInterpret, TheVersionIsCheckedLast) {
    Fields fields;
    fields.version = 540;
    const Bytes sent = bind(fields).bytes();
    Out out;
    for (const int off_by : {-1, 1}) {
        Bytes bytes = sent;
        bytes.resize(bytes.size() + 1);
        const auto length = static_cast<uint32_t>(static_cast<int>(sent.size()) + off_by);
        EXPECT_EQ(out.read(bytes.data(), length), KELVO_ERR_MSG_LENGTH);
    }
    Bytes bytes = sent;
    put_word(bytes, kSecondCell, 0);
    EXPECT_EQ(out.read(bytes.data(), static_cast<uint32_t>(bytes.size())), KELVO_ERR_MSG_CONTENT);
    EXPECT_TRUE(out.untouched());
}

}  // namespace
