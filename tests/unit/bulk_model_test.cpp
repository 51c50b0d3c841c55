// SPDX-License-Identifier: Apache-2.0
//
// The bulk readers against a plain model: the same steps written down one after another, without
// templates, cursors or policies. Messages are random, with damaged bytes and lengths, and the two
// must agree on status, item, position and every byte of the buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "kelvo_common_msg_bulk.h"
#include "support/bulk_messages.h"

using namespace kelvo::test;

namespace {

/// What a step is expected to find, as offsets; 0 for a null pointer.
struct Expected {
    kelvo_status status = KELVO_ERR_MSG_LENGTH;
    std::uint32_t words[4] = {};
    std::uint64_t name = 0;
    std::uint64_t data = 0;
    std::uint32_t data_length = 0;
    std::uint64_t third = 0;
    std::uint64_t end = 0;
};

std::uint64_t rounded(std::uint32_t length) {
    return (std::uint64_t{length} + 7) / 8 * 8;
}

void convert_by_type(Bytes& bytes, std::uint64_t at, std::uint32_t type) {
    std::size_t width = 0;
    if (type == 1 || type == 12) width = 4;
    if (type == 2 || type == 13) width = 8;
    if (type == 10 || type == 11) width = 2;
    std::reverse(bytes.begin() + static_cast<long>(at),
                 bytes.begin() + static_cast<long>(at + width));
}

Expected failed(kelvo_status status) {
    Expected expected;
    expected.status = status;
    return expected;
}

Expected model_step(Bytes& bytes, std::uint64_t length, std::uint64_t item, bool reply) {
    Expected expected;
    std::int64_t rem = static_cast<std::int64_t>(length) - static_cast<std::int64_t>(item);
    if (rem < 16) return failed(KELVO_ERR_MSG_LENGTH);
    rem -= 16;

    const bool foreign = word_at(bytes, item + 16) > 65535;
    if (foreign) {
        for (const std::uint64_t at : {0, 4, 8, 12, 16}) reverse_at(bytes, item + at);
    }
    for (std::size_t i = 0; i < 4; ++i) expected.words[i] = word_at(bytes, item + 4 * i);

    const std::uint32_t l1 = word_at(bytes, item + 16);
    if (rem < 8 || rem < std::int64_t{l1} + 8) return failed(KELVO_ERR_MSG_LENGTH);
    expected.name = item + 24;
    if (l1 == 0 || bytes[item + 24 + l1 - 1] != 0) return failed(KELVO_ERR_MSG_CONTENT);
    const std::uint64_t p1 = rounded(l1);
    if (rem < static_cast<std::int64_t>(p1 + 8)) return failed(KELVO_ERR_MSG_LENGTH);
    rem -= static_cast<std::int64_t>(p1 + 8);

    const std::uint64_t cell2 = item + 24 + p1;
    if (foreign) {
        reverse_at(bytes, cell2);
        if (word_at(bytes, cell2) != 0) {
            convert_by_type(bytes, cell2 + 8, expected.words[reply ? 1 : 2]);
        }
    }
    if (rem < 8) return failed(KELVO_ERR_MSG_LENGTH);
    const std::uint32_t l2 = word_at(bytes, cell2);
    const std::uint64_t p2 = rounded(l2);
    expected.data = l2 == 0 ? 0 : cell2 + 8;
    expected.data_length = l2;
    if (static_cast<std::int64_t>(p2 + 8) > rem) return failed(KELVO_ERR_MSG_LENGTH);
    rem -= static_cast<std::int64_t>(p2 + 8);
    expected.end = cell2 + 8 + p2;

    if (reply) {
        const std::uint64_t cell3 = expected.end;
        if (foreign) reverse_at(bytes, cell3);
        if (rem < 8) return failed(KELVO_ERR_MSG_LENGTH);
        const std::uint32_t l3 = word_at(bytes, cell3);
        if (rem < std::int64_t{l3} + 8) return failed(KELVO_ERR_MSG_LENGTH);
        expected.third = cell3 + 8;
        if (l3 == 0 || bytes[cell3 + 8 + l3 - 1] != 0) return failed(KELVO_ERR_MSG_CONTENT);
        const std::uint64_t p3 = rounded(l3);
        if (rem < static_cast<std::int64_t>(p3 + 8)) return failed(KELVO_ERR_MSG_LENGTH);
        expected.end = cell3 + 8 + p3;
    }
    expected.status = 0;
    return expected;
}

class BulkModel : public ::testing::TestWithParam<bool> {
  protected:
    std::uint32_t pick(std::uint32_t below) { return static_cast<std::uint32_t>(random() % below); }

    Bytes random_item(bool reply) {
        constexpr std::uint32_t kTypes[] = {0, 1, 2, 3, 7, 10, 11, 12, 13, 14};
        const Order order = pick(2) == 0 ? Order::host : Order::network;
        const std::uint32_t type = kTypes[pick(std::size(kTypes))];
        const std::string name(pick(20), 'n');
        Bytes data(pick(4) == 0 ? 0 : pick(20));
        for (std::uint8_t& byte : data) byte = static_cast<std::uint8_t>(random());
        if (!reply) return bulk_item(order, {pick(4), 5, type, 6}, name, data);
        return bulk_reply_item(order, {pick(4), type, 5, 6}, name, data,
                               std::string(pick(20), 't'));
    }

    /// Bytes behind the fixed part and what a hostile peer might have done to them.
    void damage(Bytes& bytes, std::size_t from) {
        constexpr std::uint8_t kValues[] = {0x00, 0x01, 0x08, 0x10, 0x7F, 0xFF};
        for (std::uint32_t times = pick(3); times != 0 && bytes.size() > from; --times) {
            const auto at = from + pick(static_cast<std::uint32_t>(bytes.size() - from));
            bytes[at] = kValues[pick(std::size(kValues))];
        }
    }

    Bytes random_message(bool reply) {
        std::vector<Bytes> items(pick(4));
        for (Bytes& item : items) item = random_item(reply);
        Bytes bytes = reply ? bulk_reply(items) : bulk_request(items);
        damage(bytes, reply ? 40 : 80);
        if (pick(2) == 0) bytes.resize(bytes.size() - pick(reply ? 17 : 25));
        return bytes;
    }

    std::mt19937 random{20240521};
};

TEST_P(BulkModel, ReaderAndModelAgree) {
    const bool reply = GetParam();
    std::size_t taken = 0;
    std::size_t refused_length = 0;
    std::size_t refused_content = 0;
    for (int round = 0; round < 30000; ++round) {
        Bytes actual = random_message(reply);
        const std::uint64_t length = actual.size();
        actual.resize(std::max<std::size_t>(length, 80) + kBulkSlack, 0x7B);
        kelvo_bulk_info request_state;
        kelvo_bulk_reply_info reply_state;
        const auto bytes32 = static_cast<std::uint32_t>(length);
        if (reply) {
            ASSERT_EQ(kelvo_common_msg_bulk_reply_interpret(actual.data(), bytes32, &reply_state),
                      length < 24 ? KELVO_ERR_MSG_LENGTH : 0U);
        } else {
            ASSERT_EQ(kelvo_common_msg_bulk_interpret(actual.data(), bytes32, &request_state),
                      length < 64 ? KELVO_ERR_MSG_LENGTH : 0U);
        }
        if (length < (reply ? 24U : 64U)) continue;

        Bytes model = actual;
        std::uint64_t item = reply ? 40 : 72 + rounded(word_at(actual, 64));
        std::uint32_t index = 1;
        const auto offset = [&](const void* pointer) {
            return pointer == nullptr
                       ? 0
                       : static_cast<std::uint64_t>(static_cast<const std::uint8_t*>(pointer) -
                                                    actual.data());
        };
        Expected expected = model_step(model, length, item, reply);
        while (expected.status == 0) {
            ++taken;
            ++index;
            if (reply) {
                kelvo_bulk_reply_item found;
                ASSERT_EQ(kelvo_common_msg_bulk_reply_next(&reply_state, &found), 0U) << round;
                ASSERT_EQ(found.word1, expected.words[0]);
                ASSERT_EQ(found.type, expected.words[1]);
                ASSERT_EQ(found.word3, expected.words[2]);
                ASSERT_EQ(found.word4, expected.words[3]);
                ASSERT_EQ(offset(found.name), expected.name);
                ASSERT_EQ(offset(found.data), expected.data);
                ASSERT_EQ(found.data_length, expected.data_length);
                ASSERT_EQ(offset(found.third), expected.third);
                ASSERT_EQ(reply_state.index, index);
                ASSERT_EQ(offset(reply_state.prev_item_ptr), item);
                ASSERT_EQ(offset(reply_state.current), expected.end);
            } else {
                kelvo_bulk_item found;
                ASSERT_EQ(kelvo_common_msg_bulk_next(&request_state, &found), 0U) << round;
                const bool second = expected.words[0] == 2;
                ASSERT_EQ(found.operation, expected.words[0]);
                ASSERT_EQ(found.word2, expected.words[1]);
                ASSERT_EQ(found.type, expected.words[2]);
                ASSERT_EQ(found.word4, expected.words[3]);
                ASSERT_EQ(offset(found.name), expected.name);
                ASSERT_EQ(offset(found.data), second ? 0 : expected.data);
                ASSERT_EQ(found.data_length, second ? 0 : expected.data_length);
                ASSERT_EQ(offset(found.op2_data), second ? expected.data : 0);
                ASSERT_EQ(found.op2_data_length, second ? expected.data_length : 0);
                ASSERT_EQ(found.op2_type, 0U);
                ASSERT_EQ(request_state.index, index);
                ASSERT_EQ(offset(request_state.prev_item_ptr), item);
                ASSERT_EQ(offset(request_state.current), expected.end);
            }
            ASSERT_EQ(actual, model) << round;
            item = expected.end;
            expected = model_step(model, length, item, reply);
        }
        // The step that the model has just refused.
        kelvo_status status;
        if (reply) {
            auto found = sentinel<kelvo_bulk_reply_item>();
            status = kelvo_common_msg_bulk_reply_next(&reply_state, &found);
            ASSERT_TRUE(untouched(found));
            ASSERT_EQ(reply_state.index, index);
            ASSERT_EQ(offset(reply_state.current), item);
        } else {
            auto found = sentinel<kelvo_bulk_item>();
            status = kelvo_common_msg_bulk_next(&request_state, &found);
            ASSERT_TRUE(untouched(found));
            ASSERT_EQ(request_state.index, index);
            ASSERT_EQ(offset(request_state.current), item);
        }
        ASSERT_EQ(status, expected.status) << round;
        ASSERT_EQ(actual, model) << round;
        refused_length += status == KELVO_ERR_MSG_LENGTH;
        refused_content += status == KELVO_ERR_MSG_CONTENT;
    }
    EXPECT_GT(taken, 10000U);
    EXPECT_GT(refused_length, 10000U);
    EXPECT_GT(refused_content, 300U);
}

INSTANTIATE_TEST_SUITE_P(RequestsAndReplies, BulkModel, ::testing::Bool(),
                         [](const auto& parameter) {
                             return parameter.param ? "Reply" : "Request";
                         });

}  // namespace
