// SPDX-License-Identifier: Apache-2.0
//
// The bulk readers against their models on random messages of several items in mixed orders, with
// damaged bytes and lengths.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string_view>

#include "support/bulk_messages.h"
#include "support/converters.h"

using namespace kelvo::test;

namespace {

struct Request {
    static constexpr bool kReply = false;
    static constexpr auto kNext = KELVO_OPERATION_BULK_NEXT;
    static constexpr auto kBack = KELVO_OPERATION_BULK_BACK;
};
struct Reply {
    static constexpr bool kReply = true;
    static constexpr auto kNext = KELVO_OPERATION_BULK_REPLY_NEXT;
    static constexpr auto kBack = KELVO_OPERATION_BULK_REPLY_BACK;
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
    /// Walks one message, once and with each item taken twice, up to the step that is refused.
    void walk(const Bytes& message) {
        const auto length = static_cast<std::uint32_t>(message.size());
        for (const Output& output : outcome_as_modelled(Kind::kNext, message, length).outputs) {
            if (output.name == std::string_view("status of next")) ++outcomes[output.value];
        }
        expect_as_modelled(Kind::kBack, message, length);
    }

    std::map<std::uint64_t, int> outcomes;
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
