// SPDX-License-Identifier: Apache-2.0
//
// Transaction start, commit and abort, and the exact sizes of item locks.
#include <gtest/gtest.h>

#include <array>

#include "kelvo_common_msg_transaction.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

constexpr uint64_t kFirst = 0x0102030405060708;
constexpr uint64_t kSecond = 0xF1F2F3F4F5F6F7F8;
constexpr uint64_t kUnset = 0x5E5E5E5E5E5E5E5E;

/// A transaction start, its 64-bit words as the sender's memory held them.
Bytes start(Order order) {
    Message m(order, 11);
    for (const uint64_t value : {kFirst, kSecond}) m.word(halves(value)[0]).word(halves(value)[1]);
    return m.word(0x0A0B0C0D).raw_word(0x11223344).bytes();
}

TEST(TransactionStart, HandsOutBothWordsAndTheOptions) {
    const Walled block(start(Order::network));
    std::array<uint64_t, 3> words{kUnset, kUnset, kUnset};
    uint32_t options = 0;
    ASSERT_EQ(kelvo_common_msg_transtart_interpret(block.data(), 64, words.data(), &options), 0U);
    EXPECT_EQ(words, (std::array<uint64_t, 3>{kFirst, kSecond, kUnset}));
    EXPECT_EQ(options, 0x0A0B0C0DU);
    EXPECT_EQ(block.bytes(), start(Order::host)) << "the fill stays as it is";
}

TEST(TransactionStart, MoreBytesAreAccepted) {
    Bytes bytes = start(Order::network);
    bytes.resize(72);
    std::array<uint64_t, 2> words{};
    uint32_t options = 0;
    EXPECT_EQ(kelvo_common_msg_transtart_interpret(bytes.data(), 72, words.data(), &options), 0U);
    bytes = start(Order::network);
    EXPECT_EQ(
        kelvo_common_msg_transtart_interpret(bytes.data(), 0xFFFFFFFF, words.data(), &options), 0U);
    EXPECT_EQ(words[0], kFirst);
}

TEST(TransactionStart, IsConvertedWhateverTheLength) {
    Bytes sent = start(Order::network);
    Bytes converted = start(Order::host);
    sent.resize(60);
    converted.resize(60);
    for (uint32_t length = 0; length < 64; ++length) {
        Bytes in = sent;
        Bytes expected = converted;
        in.resize(std::max(60U, length));
        expected.resize(in.size());
        const Walled block(in);
        std::array<uint64_t, 2> words{kUnset, kUnset};
        uint32_t options = 7;
        EXPECT_EQ(
            kelvo_common_msg_transtart_interpret(block.data(), length, words.data(), &options),
            KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(block.bytes(), expected) << length;
        EXPECT_EQ(words[0], kUnset);
        EXPECT_EQ(words[1], kUnset);
        EXPECT_EQ(options, 7U);
    }
}

TEST(TransactionStart, IsReadAtAnyAddress) {
    const Bytes sent = start(Order::network);
    for (std::size_t shift = 1; shift < 8; ++shift) {
        Bytes shifted(shift);
        shifted.insert(shifted.end(), sent.begin(), sent.end());
        std::array<uint64_t, 2> words{};
        uint32_t options = 0;
        EXPECT_EQ(kelvo_common_msg_transtart_interpret(shifted.data() + shift, 64, words.data(),
                                                       &options),
                  0U);
        EXPECT_EQ(words, (std::array<uint64_t, 2>{kFirst, kSecond}));
    }
}

TEST(TransactionEnd, IsTheCommonHeaderAlone) {
    for (const auto interpret :
         {kelvo_common_msg_trancommit_interpret, kelvo_common_msg_tranabort_interpret}) {
        Bytes bytes(41, 0x77);
        for (uint32_t length = 0; length < 40; ++length) {
            EXPECT_EQ(interpret(bytes.data(), length), KELVO_ERR_MSG_LENGTH) << length;
        }
        EXPECT_EQ(interpret(bytes.data(), 40), 0U);
        EXPECT_EQ(interpret(bytes.data(), 41), 0U);
        EXPECT_EQ(interpret(bytes.data(), 0xFFFFFFFF), 0U);
        EXPECT_EQ(bytes, Bytes(41, 0x77));
    }
}

TEST(ItemLock, APathOfSevenCharactersTakesFiftySixBytes) {
    for (const auto interpret :
         {kelvo_common_msg_item_wrlock_interpret, kelvo_common_msg_item_rdlock_interpret,
          kelvo_common_msg_item_unlock_interpret}) {
        const Bytes sent = Message(Order::network, 37).text("cfg/gl/").bytes();
        ASSERT_EQ(sent.size(), 56U);
        Bytes bytes = sent;
        char* path = nullptr;
        EXPECT_EQ(interpret(bytes.data(), 56, &path), 0U);
        EXPECT_STREQ(path, "cfg/gl/");
        EXPECT_EQ(reinterpret_cast<uint8_t*>(path), bytes.data() + 48);

        bytes = sent;
        bytes.resize(57);
        path = nullptr;
        EXPECT_EQ(interpret(bytes.data(), 57, &path), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(path, nullptr);
    }
}

TEST(ItemLock, ItsLengthIsConvertedOnceTheHeaderIsThere) {
    const Bytes sent = Message(Order::network, 38).text("cfg/gl/").bytes();
    for (const uint32_t length : {39U, 40U}) {
        const Walled block(Bytes(sent.begin(), sent.begin() + (length < 40 ? 39 : 44)));
        char* path = nullptr;
        EXPECT_EQ(kelvo_common_msg_item_rdlock_interpret(block.data(), length, &path),
                  KELVO_ERR_MSG_LENGTH);
        if (length == 40) {
            EXPECT_EQ(word_at(block.data(), 40), 8U);
        }
    }
}

}  // namespace
