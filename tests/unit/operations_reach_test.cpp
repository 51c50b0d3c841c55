// SPDX-License-Identifier: Apache-2.0
//
// How far operations reach, on the messages of the models: never further than the models say, nor
// than the headers say, nor before the message, wherever it stands; and the guard passes exactly
// those that stay inside, do not stop the process and leave nothing behind.
#include <gtest/gtest.h>

#include <algorithm>

#include "models/cases.h"
#include "support/fenced.h"
#include "support/operations.h"
#include "support/startup_lists.h"

namespace {

using namespace kelvo::model;
using kelvo::test::Ending;
using kelvo::test::Fenced;
using kelvo::test::LeaksAreMeant;
using kelvo::test::name_of;
using kelvo::test::Observer;
using kelvo::test::Outcome;

/// Both tests run each case several times: fewer values for each word than where the models are
/// compared.
constexpr std::size_t kFewer = 1;

class OperationsReach : public testing::TestWithParam<u32> {
  protected:
    OperationsReach() {
        outcome_.outputs.reserve(4096);
        outcome_.text.reserve(4096);
    }

    /// Runs the operation with the first byte of its room `shift` bytes behind the fence.
    void expect_no_reach_before(const Case& c, u64 shift) {
        std::array<u8, Message::kRoom + 8> bytes{};
        const u64 room = c.room();
        std::memcpy(bytes.data() + shift, c.message.before(), room);
        u8* const block = fenced_.place_first(bytes.data(), shift + room) + shift;
        expect_as_modelled(c, block);
        EXPECT_EQ(std::memcmp(block - shift, bytes.data(), shift), 0);
    }
    /// Runs it with the last byte of its room before the fence.
    void expect_no_reach_beyond(const Case& c) {
        expect_as_modelled(c, fenced_.place(c.message.before(), c.room()));
    }

    void expect_as_modelled(const Case& c, u8* block) {
        const LeaksAreMeant leaks;
        const Ending ending = observer_.observe(
            [&] { run(c.model.operation, block, static_cast<u32>(c.length()), outcome_); });
        ASSERT_EQ(ending, Ending::returned);
        EXPECT_EQ(outcome_, c.expected.outcome);
        EXPECT_EQ(std::memcmp(block, c.message.after(), c.room()), 0) << "the bytes";
    }

    /// The guard's answer, for the message in exactly its own bytes.
    kelvo_status ask(const Case& c) {
        const u8* const at = fenced_.place(c.message.before(), c.length());
        kelvo_status answer = 0;
        const Ending ending = observer_.observe([&] {
            answer = kelvo_common_msg_guard(c.model.operation, at, static_cast<u32>(c.length()));
        });
        EXPECT_EQ(ending, Ending::returned) << "the guard itself";
        EXPECT_EQ(std::memcmp(at, c.message.before(), c.length()), 0) << "the guard wrote";
        return answer;
    }

    [[nodiscard]] const Model& model() const {
        return model_of(static_cast<kelvo_msg_operation>(GetParam()));
    }

    Fenced fenced_;
    Observer observer_;
    Outcome outcome_;
};

TEST_P(OperationsReach, IsThatOfTheHeadersWhereverTheMessageStands) {
    u64 number = 0;
    for_each_case(model(), kFewer, [&](const Case& c) {
        if (model().reach.holds_for(c.length())) {
            EXPECT_NE(c.end, Case::out_of_room);
            EXPECT_LE(c.message.reach(), model().reach.of(c.length()));
        }
        if (c.end == Case::done) {
            expect_no_reach_beyond(c);
            expect_no_reach_before(c, 0);
            expect_no_reach_before(c, number++ % 8);
        }
        if (HasFailure()) ADD_FAILURE() << description(c);
        return !HasFailure();
    });
}

/// A word of the block as the steps have left it.
u32 word_after(const Case& c, u64 at) {
    return kelvo::test::word_at(c.message.after(), at);
}

/// What the headers say of the operations that follow what a message claims.
TEST(ReachAsClaimed, OfAReplyWithOneGroupIsEightBytesMore) {
    for (const auto reply :
         {KELVO_OPERATION_LIST_REPLY_NTOH, KELVO_OPERATION_DATALIST_REPLY_NTOH}) {
        for_each_case(model_of(reply), kFewer, [&](const Case& c) {
            const bool one_group = c.length() >= 56 && word_after(c, 16) == 1;
            if (one_group) {
                EXPECT_LE(c.message.reach(), c.length() + 8);
                EXPECT_NE(c.end, Case::out_of_room);
            }
            return !testing::Test::HasFailure();
        });
    }
}

TEST(ReachAsClaimed, OfARegistrationActivateIsItsEntries) {
    for_each_case(model_of(KELVO_OPERATION_REG_ACTIVATE_NTOH), kFewer, [](const Case& c) {
        const u64 claimed = c.length() < 56 ? 0 : 56 + 4 * u64{word_after(c, 48)};
        EXPECT_LE(c.message.reach(), std::max(c.length(), claimed));
        if (c.end == Case::out_of_room) {
            EXPECT_GT(claimed, c.length());
        }
        return !testing::Test::HasFailure();
    });
}

/// What the guard is to say of a case.
kelvo_status verdict(const Case& c) {
    if (c.end == Case::out_of_room || c.message.reach() > c.length()) return KELVO_ERR_MSG_LENGTH;
    if (c.end == Case::stops) return KELVO_ERR_MSG_CONTENT;
    if (c.expected.left_behind == 0) return 0;
    return c.expected.outcome.status == KELVO_ERR_MSG_DUPLICATE ? KELVO_ERR_MSG_CONTENT
                                                                : KELVO_ERR_MSG_LENGTH;
}

TEST_P(OperationsReach, IsWhatTheGuardSays) {
    u64 passed = 0;
    u64 refused = 0;
    for_each_case(model(), kFewer, [&](const Case& c) {
        const kelvo_status answer = ask(c);
        EXPECT_EQ(answer, verdict(c));
        ++(answer == 0 ? passed : refused);
        if (HasFailure()) ADD_FAILURE() << description(c);
        return !HasFailure();
    });
    RecordProperty("passed", std::to_string(passed));
    RecordProperty("refused", std::to_string(refused));
    EXPECT_GT(passed, 0U);
}

INSTANTIATE_TEST_SUITE_P(All, OperationsReach, testing::Range(0U, u32{KELVO_OPERATION_COUNT}),
                         [](const auto& tested) {
                             return std::string(
                                 name_of(static_cast<kelvo_msg_operation>(tested.param)));
                         });

}  // namespace
