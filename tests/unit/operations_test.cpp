// SPDX-License-Identifier: Apache-2.0
//
// The table of operations that other tests run messages through: what it reports is what was handed
// out, and nothing of it stays allocated.
#include "support/operations.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "kelvo_common_msg_registration.h"
#include "platform/failing_memory.h"
#include "support/wire_bytes.h"

namespace {

using namespace kelvo::test;

Outcome outcome_of(kelvo_msg_operation operation, Bytes& bytes, std::uint32_t length) {
    Outcome outcome;
    outcome.outputs.reserve(100);
    outcome.text.reserve(100);
    const FailingMemory memory;
    run(operation, bytes.data(), length, outcome);
    EXPECT_EQ(FailingMemory::outstanding(), 0) << name_of(operation);
    return outcome;
}

TEST(Operations, GivePointersAsOffsets) {
    Message message(Order::host);
    message.word(7).word(8).raw(Bytes(64).data(), 64).word(9).word(0).text("cfg/a");
    Bytes bytes = message.bytes();
    const Outcome outcome = outcome_of(KELVO_OPERATION_NFN_REG, bytes, message.size());
    const Outcome expected{
        0, {{"registration_id", 7}, {"client_block", 48}, {"parameter", 9}, {"path", 128}}, ""};
    EXPECT_EQ(outcome, expected);
}

TEST(Operations, CopyListsAndReleaseThem) {
    Message message(Order::host);
    message.word(7).word(0).cell(2).words({1, 2, 3, 4});
    Bytes bytes = message.bytes();
    const Outcome outcome = outcome_of(KELVO_OPERATION_VS_UNREG, bytes, message.size());
    const Outcome expected{0,
                           {{"registration_id", 7},
                            {"entries", 2},
                            {"job_id", 3},
                            {"node_id", 4},
                            {"job_id", 1},
                            {"node_id", 2}},
                           ""};
    EXPECT_EQ(outcome, expected);
}

TEST(Operations, CopyTextsAndReleaseThem) {
    Message message(Order::host);
    message.word(7).word(2);
    Message names = Message::of_bytes(Order::network, message.bytes());
    names.text("alpha").text("beta");
    Bytes bytes = names.bytes();
    const Outcome outcome = outcome_of(KELVO_OPERATION_CFG_GRP, bytes, names.size());
    EXPECT_EQ(outcome.status, 0U);
    EXPECT_EQ(outcome.text, "cfg/gl/a/config-group/alpha|beta/");
}

// Each leaves its out-parameters alone on a message that is too short; the conversions that look at
// no length have none.
TEST(Operations, GiveNothingWhenTheyFail) {
    for (std::uint32_t number = 0; number < kOperationCount; ++number) {
        const auto operation = static_cast<kelvo_msg_operation>(number);
        Bytes bytes(200);
        put_word(bytes, 48, 1);  // an item get stops the process otherwise
        const Outcome outcome = outcome_of(operation, bytes, 12);
        EXPECT_TRUE(outcome.outputs.empty()) << name_of(operation);
    }
}

}  // namespace
