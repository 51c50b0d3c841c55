// SPDX-License-Identifier: Apache-2.0
//
// Notification sets, interpreted with and without their values and walked to their end. Both ways
// accept the same sets, when both may be asked, and find the same in them.
#include "fuzz/messages.h"

using namespace kelvo::fuzz;

namespace {

void check_other_way(Operation operation, const Bytes& message, MessageBlock& /*block*/,
                     const Outcome& outcome) {
    if (operation != KELVO_OPERATION_NOTIFYSET_NEXT) return;
    static MessageBlock copy;
    copy.hold(message.data(), message.size());
    if (ask(KELVO_OPERATION_NOTIFYSET_VALUES, copy) != 0) return;
    Outcome& with_values = kept_outcome<5>();
    run(KELVO_OPERATION_NOTIFYSET_VALUES, copy, with_values);
    KELVO_HOLDS(with_values == outcome);
}

const Family kFamily = {kNotifyOperations, {}, {}, kelvo::test::run, check_other_way};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return check_message(kFamily, data, size);
}
