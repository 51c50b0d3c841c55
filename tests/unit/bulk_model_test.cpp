// SPDX-License-Identifier: Apache-2.0
//
// The bulk readers against a plain model: the same steps written down one after another, without
// templates, cursors or policies. Messages are random, with damaged bytes and lengths, and the two
// must agree on status, item, position and every byte of the buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
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
        for (const std::uint64_t at : {0U, 4U, 8U, 12U, 16U}) reverse_at(bytes, item + at);
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
            reverse_by_type(bytes, cell2 + 8, expected.words[reply ? 1 : 2]);
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

/// Where a pointer points in a buffer; 0 for a null pointer.
std::uint64_t offset(const Bytes& bytes, const void* pointer) {
    if (pointer == nullptr) return 0;
    return static_cast<std::uint64_t>(static_cast<const std::uint8_t*>(pointer) - bytes.data());
}

struct Request {
    static constexpr bool kReply = false;
    static constexpr std::size_t kFixed = 64;
    static constexpr auto kInterpret = kelvo_common_msg_bulk_interpret;
    static constexpr auto kNext = kelvo_common_msg_bulk_next;
    using State = kelvo_bulk_info;
    using Record = kelvo_bulk_item;

    static std::uint64_t first_item(const Bytes& bytes) { return 72 + rounded(word_at(bytes, 64)); }

    static void expect_found(const Bytes& bytes, const Record& found, const Expected& expected) {
        const bool second = expected.words[0] == 2;
        EXPECT_EQ(found.operation, expected.words[0]);
        EXPECT_EQ(found.word2, expected.words[1]);
        EXPECT_EQ(found.type, expected.words[2]);
        EXPECT_EQ(found.word4, expected.words[3]);
        EXPECT_EQ(offset(bytes, found.name), expected.name);
        EXPECT_EQ(offset(bytes, found.data), second ? 0 : expected.data);
        EXPECT_EQ(found.data_length, second ? 0 : expected.data_length);
        EXPECT_EQ(offset(bytes, found.op2_data), second ? expected.data : 0);
        EXPECT_EQ(found.op2_data_length, second ? expected.data_length : 0);
        EXPECT_EQ(found.op2_type, 0U);
    }
};

struct Reply {
    static constexpr bool kReply = true;
    static constexpr std::size_t kFixed = 24;
    static constexpr auto kInterpret = kelvo_common_msg_bulk_reply_interpret;
    static constexpr auto kNext = kelvo_common_msg_bulk_reply_next;
    using State = kelvo_bulk_reply_info;
    using Record = kelvo_bulk_reply_item;

    static std::uint64_t first_item(const Bytes&) { return 40; }

    static void expect_found(const Bytes& bytes, const Record& found, const Expected& expected) {
        EXPECT_EQ(found.word1, expected.words[0]);
        EXPECT_EQ(found.type, expected.words[1]);
        EXPECT_EQ(found.word3, expected.words[2]);
        EXPECT_EQ(found.word4, expected.words[3]);
        EXPECT_EQ(offset(bytes, found.name), expected.name);
        EXPECT_EQ(offset(bytes, found.data), expected.data);
        EXPECT_EQ(found.data_length, expected.data_length);
        EXPECT_EQ(offset(bytes, found.third), expected.third);
    }
};

/// Messages of up to three items in mixed orders, and what a hostile peer might do to them.
template <class Kind>
class RandomMessages {
  public:
    Bytes next() {
        std::vector<Bytes> items(pick(4));
        for (Bytes& item : items) item = random_item();
        Bytes bytes = Kind::kReply ? bulk_reply(items) : bulk_request(items);
        damage(bytes, Kind::kReply ? 40 : 80);
        if (pick(2) == 0) bytes.resize(bytes.size() - pick(Kind::kReply ? 17 : 25));
        return bytes;
    }

  private:
    std::uint32_t pick(std::size_t below) { return static_cast<std::uint32_t>(random_() % below); }

    Bytes random_item() {
        constexpr std::uint32_t kTypes[] = {0, 1, 2, 3, 7, 10, 11, 12, 13, 14};
        const Order order = pick(2) == 0 ? Order::host : Order::network;
        const std::uint32_t type = kTypes[pick(std::size(kTypes))];
        const std::string name(pick(20), 'n');
        Bytes data(pick(4) == 0 ? 0 : pick(20));
        for (std::uint8_t& byte : data) byte = static_cast<std::uint8_t>(pick(256));
        if (!Kind::kReply) return bulk_item(order, {pick(4), 5, type, 6}, name, data);
        return bulk_reply_item(order, {pick(4), type, 5, 6}, name, data,
                               std::string(pick(20), 't'));
    }

    void damage(Bytes& bytes, std::size_t from) {
        constexpr std::uint8_t kValues[] = {0x00, 0x01, 0x08, 0x10, 0x7F, 0xFF};
        for (std::uint32_t times = pick(3); times != 0 && bytes.size() > from; --times) {
            bytes[from + pick(bytes.size() - from)] = kValues[pick(std::size(kValues))];
        }
    }

    std::mt19937 random_{20240521};
};

template <class Kind>
class BulkModel : public ::testing::Test {
  protected:
    /// Walks one message with reader and model, up to the step that both refuse.
    void walk(Bytes actual) {
        const std::size_t length = actual.size();
        actual = with_slack(actual, std::max<std::size_t>(length, 80) + kBulkSlack - length);
        typename Kind::State state;
        const kelvo_status status =
            Kind::kInterpret(actual.data(), static_cast<std::uint32_t>(length), &state);
        ASSERT_EQ(status, length < Kind::kFixed ? KELVO_ERR_MSG_LENGTH : 0U);
        if (status != 0) return;

        Bytes model = actual;
        std::uint64_t item = Kind::first_item(actual);
        for (std::uint32_t index = 1;; ++index) {
            ASSERT_EQ(state.index, index);
            ASSERT_EQ(offset(actual, state.current), item);
            const Expected expected = model_step(model, length, item, Kind::kReply);
            auto record = sentinel<typename Kind::Record>();
            ASSERT_EQ(Kind::kNext(&state, &record), expected.status);
            ASSERT_EQ(actual, model);
            ++outcomes[expected.status];
            if (expected.status != 0) {
                ASSERT_TRUE(untouched(record));
                ASSERT_EQ(state.index, index);
                ASSERT_EQ(offset(actual, state.current), item);
                return;
            }
            Kind::expect_found(actual, record, expected);
            ASSERT_EQ(offset(actual, state.prev_item_ptr), item);
            item = expected.end;
        }
    }

    std::map<kelvo_status, int> outcomes;
};

using Kinds = ::testing::Types<Request, Reply>;
TYPED_TEST_SUITE(BulkModel, Kinds);

TYPED_TEST(BulkModel, ReaderAndModelAgree) {
    RandomMessages<TypeParam> messages;
    for (int round = 0; round < 30000 && !this->HasFailure(); ++round) {
        SCOPED_TRACE(round);
        this->walk(messages.next());
    }
    EXPECT_GT(this->outcomes[0], 10000);
    EXPECT_GT(this->outcomes[KELVO_ERR_MSG_LENGTH], 10000);
    EXPECT_GT(this->outcomes[KELVO_ERR_MSG_CONTENT], 300);
}

}  // namespace
