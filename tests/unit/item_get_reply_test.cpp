// SPDX-License-Identifier: Apache-2.0
//
// The get reply as it is received: every check in its order, and what is converted by then.
#include <gtest/gtest.h>

#include <algorithm>

#include "kelvo_common_msg_item.h"
#include "support/wire_bytes.h"

namespace {

using namespace kelvo::test;

struct Reply {
    uint32_t word = 0x01020304;
    uint32_t result = 0;
    uint32_t type = 1;
    uint32_t length = 8;
};

Bytes reply(const Reply& r, std::size_t body) {
    Bytes bytes(40 + body);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i);
    put_word(bytes, 16, reversed(r.word));
    put_word(bytes, 24, reversed(r.result));
    put_word(bytes, 28, reversed(r.type));
    put_word(bytes, 32, reversed(r.length));
    return bytes;
}

Bytes with_fixed_words_converted(Bytes bytes) {
    for (const std::size_t at : {16U, 24U, 28U, 32U}) reverse_at(bytes, at);
    return bytes;
}

TEST(GetReply, IsConvertedInPlace) {
    const Bytes sent = reply({}, 8);
    const Walled block(sent);
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(block.data(), 48), 0U);
    Bytes expected = with_fixed_words_converted(sent);
    reverse_at(expected, 40);
    EXPECT_EQ(block.bytes(), expected);
}

TEST(GetReply, FixedWordsAreConvertedWhateverTheLength) {
    const Bytes sent = reply({}, 8);
    for (const uint32_t length : {0U, 39U}) {
        const Walled block(Bytes(sent.begin(), sent.begin() + 36));
        EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(block.data(), length),
                  KELVO_ERR_MSG_LENGTH);
        Bytes expected = with_fixed_words_converted(sent);
        expected.resize(36);
        EXPECT_EQ(block.bytes(), expected);
    }
}

TEST(GetReply, AnIntegerIsConvertedByTheWidthOfItsTypeAndNothingElseIs) {
    for (uint32_t type = 0; type < 16; ++type) {
        SCOPED_TRACE(type);
        const std::ptrdiff_t widths[16] = {0, 4, 8, 0, 0, 0, 0, 0, 0, 0, 2, 2, 4, 8};
        const Bytes sent = reply({.type = type, .length = 9}, 16);
        const Walled block(sent);
        EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(block.data(), 56), 0U);
        Bytes expected = with_fixed_words_converted(sent);
        std::reverse(expected.begin() + 40, expected.begin() + 40 + widths[type]);
        EXPECT_EQ(block.bytes(), expected);
    }
}

TEST(GetReply, AnEmptyValueIsNotConvertedWhateverItsType) {
    for (const uint32_t type : {1U, 2U, 10U}) {
        const Bytes sent = reply({.type = type, .length = 0}, 0);
        const Walled block(sent);
        EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(block.data(), 40), 0U);
        EXPECT_EQ(block.bytes(), with_fixed_words_converted(sent));
    }
}

TEST(GetReply, ItsLengthMustFitExactly) {
    for (const uint32_t value_length : {0U, 1U, 8U, 9U, 17U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
        for (const uint32_t body : {0U, 7U, 8U, 9U, 16U, 24U}) {
            const Bytes sent = reply({.length = value_length}, body);
            Bytes bytes = sent;
            const bool fits = (value_length == 0 && body == 0) ||
                              (value_length <= 16 && value_length > 8 && body == 16) ||
                              (value_length <= 8 && value_length > 0 && body == 8) ||
                              (value_length == 17 && body == 24);
            EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 40 + body),
                      fits ? 0 : KELVO_ERR_MSG_LENGTH)
                << value_length << " in " << body;
            Bytes expected = with_fixed_words_converted(sent);
            if (fits && value_length != 0) reverse_at(expected, 40);
            EXPECT_EQ(bytes, expected) << value_length << " in " << body;
        }
    }
}

TEST(GetReply, AFailedResultLeavesTheValueUnconverted) {
    for (const uint32_t result : {5U, 0x05000000U, 0xFFFFFFFFU}) {
        const Bytes sent = reply({.result = result}, 8);
        Bytes bytes = sent;
        EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 48), KELVO_ERR_REPLY_FAILED);
        EXPECT_EQ(bytes, with_fixed_words_converted(sent));
    }
}

TEST(GetReply, ALengthErrorComesBeforeAFailedResult) {
    Bytes bytes = reply({.result = 5}, 8);
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 47), KELVO_ERR_MSG_LENGTH);
}

TEST(GetReply, AValueWithoutTypeStaysAsItIs) {
    const Bytes sent = reply({.type = 0}, 8);
    Bytes bytes = sent;
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 48), 0U);
    EXPECT_EQ(bytes, with_fixed_words_converted(sent));
}

TEST(GetReply, IsNeverConvertedForSending) {
    const Bytes sent = reply({}, 8);
    Bytes bytes = sent;
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_hton(bytes.data(), 48), 0U);
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_hton(nullptr, 0), 0U);
    EXPECT_EQ(bytes, sent);
}

}  // namespace
