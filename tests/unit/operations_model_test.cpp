// SPDX-License-Identifier: Apache-2.0
//
// Every operation that takes a received buffer against its model, on every message within bounds:
// status, outputs, what stays allocated and every byte of the block, which is exactly as large as
// the model's steps reach and stands before an inaccessible page.
#include <gtest/gtest.h>

#include <cstring>

#include "models/cases.h"
#include "platform/failing_memory.h"
#include "support/fenced.h"
#include "support/operations.h"
#include "support/startup_lists.h"

namespace {

using namespace kelvo::model;
using kelvo::test::Ending;
using kelvo::test::FailingMemory;
using kelvo::test::Fenced;
using kelvo::test::LeaksAreMeant;
using kelvo::test::name_of;
using kelvo::test::Observer;
using kelvo::test::Outcome;

class OperationsModel : public testing::TestWithParam<u32> {
  protected:
    OperationsModel() {
        outcome_.outputs.reserve(4096);
        outcome_.text.reserve(4096);
    }

    /// Runs the operation on a case. @return whether it did as the model says
    bool agrees(const Case& c) {
        const u64 size = c.room();
        u8* const block = fenced_.place(c.message.before(), size);
        const LeaksAreMeant leaks;
        const FailingMemory memory;
        const bool inside = observer_.observe([&] {
            run(c.model.operation, block, static_cast<u32>(c.length()), outcome_);
        }) == Ending::returned;
        const long outstanding = FailingMemory::outstanding();
        if (inside && outcome_ == c.expected.outcome && outstanding == c.expected.left_behind &&
            std::memcmp(block, c.message.after(), size) == 0) {
            return true;
        }
        ADD_FAILURE() << description(c) << (inside ? "\nComes to " : "\nReaches outside; ")
                      << testing::PrintToString(outcome_) << ", " << outstanding
                      << " left behind, and leaves" << hex(block, size);
        return false;
    }

    Fenced fenced_;
    Observer observer_;
    Outcome outcome_;
};

TEST_P(OperationsModel, AgreesOnEveryMessage) {
    const Model& model = model_of(static_cast<kelvo_msg_operation>(GetParam()));
    u64 run = 0;
    u64 accepted = 0;
    const u64 cases = for_each_case(model, KELVO_FEWER_CHOICES, [&](const Case& c) {
        if (c.end != Case::done) return true;
        ++run;
        accepted += c.expected.outcome.status == 0;
        return agrees(c);
    });
    RecordProperty("cases", std::to_string(cases));
    RecordProperty("run", std::to_string(run));
    EXPECT_GT(accepted, 0U);
}

INSTANTIATE_TEST_SUITE_P(All, OperationsModel, testing::Range(0U, u32{KELVO_OPERATION_COUNT}),
                         [](const auto& tested) {
                             return std::string(
                                 name_of(static_cast<kelvo_msg_operation>(tested.param)));
                         });

}  // namespace
