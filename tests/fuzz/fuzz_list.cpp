// SPDX-License-Identifier: Apache-2.0
//
// List and find requests and their replies, transactions and locks.
#include "fuzz/messages.h"

using namespace kelvo::fuzz;

namespace {

/// A list that is interpreted once more, now in host order and marked so, gives the same.
void check_again(Operation operation, const Bytes& /*message*/, MessageBlock& block,
                 const Outcome& outcome) {
    if (operation != KELVO_OPERATION_LIST && operation != KELVO_OPERATION_DATALIST) return;
    if (outcome.status != 0) return;
    Outcome& again = kept_outcome<5>();
    run(operation, block, again);
    KELVO_HOLDS(again == outcome);
}

const Family kFamily = {
    kListOperations,
    {{KELVO_OPERATION_FIND,
      KELVO_OPERATION_FIND_NTOH,
      {40, 44, 48, 52, 56, 60, 64, 68, 72, 76, 80},
      false}},
    {{KELVO_OPERATION_FIND_HTON, KELVO_OPERATION_FIND_NTOH, KELVO_OPERATION_FIND}},
    kelvo::test::run,
    check_again};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return check_message(kFamily, data, size);
}
