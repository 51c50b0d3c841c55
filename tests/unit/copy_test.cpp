// SPDX-License-Identifier: Apache-2.0
//
// Copy: what is composed, and which path comes out where. Its reader's checks are tested with those
// of its likes.
#include <gtest/gtest.h>

#include <array>

#include "kelvo_common_msg_copy.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

struct Sender {
    std::array<uint8_t, 56> header;
    kelvo_length_cell a{0, 0x77};
    kelvo_length_cell b{0, 0x88};
    kelvo_length_cell c{0, 0x99};
    std::array<kelvo_slot, 11> list;
    char path_a[8] = "aaaaaaa";
    char path_b[3] = "bb";
    const char* path_c = "c";

    Sender() {
        header.fill(0xEE);
        list.fill({nullptr, 0xDEAD});
        kelvo_common_msg_copy_compose(header.data(), &a.length, &b.length, &c.length, path_a,
                                      path_b, path_c, 0x01020304, list.data());
    }
};

TEST(CopyCompose, PutsPathCFirstInTenSlots) {
    const Sender s;
    Bytes expected(56, 0xEE);
    put_word(expected, 24, 9);
    put_word(expected, 40, reversed(0x01020304));
    EXPECT_EQ(Bytes(s.header.begin(), s.header.end()), expected)
        << "the word at 44 and the rest of the header are the caller's";
    EXPECT_EQ(s.a.length, reversed(8));
    EXPECT_EQ(s.b.length, reversed(3));
    EXPECT_EQ(s.c.length, reversed(2));
    EXPECT_EQ(s.a.fill, 0x77U) << "the second half of a cell is not written";
    EXPECT_EQ(s.b.fill, 0x88U);
    EXPECT_EQ(s.c.fill, 0x99U);
    expect_slots(s.list.data(), {{s.header.data(), 48},
                                 {&s.c, 8},
                                 {s.path_c, 2},
                                 {kelvo_alignment, 6},
                                 {&s.a, 8},
                                 {s.path_a, 8},
                                 {kelvo_alignment, 0},
                                 {&s.b, 8},
                                 {s.path_b, 3},
                                 {kelvo_alignment, 5}});
    EXPECT_EQ(s.list[10].length, 0xDEADU) << "an eleventh slot was written";
}

TEST(CopyInterpret, HandsOutThePathsInWireOrder) {
    Bytes msg = flattened(Sender().list.data(), 10);
    put_word(msg, 44, 0x0A0B0C0D);
    char* first = nullptr;
    char* second = nullptr;
    char* third = nullptr;
    uint32_t argument = 0;
    ASSERT_EQ(kelvo_common_msg_copy_subtree_interpret(msg.data(), static_cast<uint32_t>(msg.size()),
                                                      &first, &second, &third, &argument),
              0U);
    EXPECT_STREQ(first, "c");
    EXPECT_STREQ(second, "aaaaaaa");
    EXPECT_STREQ(third, "bb");
    EXPECT_EQ(reinterpret_cast<uint8_t*>(first), msg.data() + 56);
    EXPECT_EQ(argument, 0x01020304U);
    EXPECT_EQ(word_at(msg, 44), 0x0A0B0C0DU) << "not converted";
}

TEST(CopyInterpret, ItsArgumentIsConvertedHoweverShortItIs) {
    const Bytes sent = Message(Order::network, 9).word(0x01020304).bytes();
    for (const uint32_t length : {0U, 43U, 44U}) {
        const Walled block(sent);
        char* path = nullptr;
        uint32_t argument = 7;
        EXPECT_EQ(kelvo_common_msg_copy_subtree_interpret(block.data(), length, &path, &path, &path,
                                                          &argument),
                  KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(word_at(block.data(), 40), 0x01020304U);
        EXPECT_EQ(argument, 7U);
    }
}

}  // namespace
