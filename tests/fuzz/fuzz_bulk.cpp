// SPDX-License-Identifier: Apache-2.0
//
// Bulk requests and replies, walked to their end, with and without steps back. What a walk leaves,
// its items now native, gives the same items when it is read once more.
#include "fuzz/messages.h"
#include "kelvo_common_msg_bulk.h"

using namespace kelvo::fuzz;

namespace {

/// Takes items until there is none, each once more if `is_taken_again`.
template <auto kInterpret, auto kNext, auto kBack, class Info, class Item>
void take_all(void* message, std::uint32_t length, bool is_taken_again) {
    Info info;
    Item item;
    if (kInterpret(message, length, &info) != 0) return;
    while (kNext(&info, &item) == 0) {
        if (!is_taken_again) continue;
        kBack(&info);
        if (kNext(&info, &item) != 0) return;
    }
}

/// The guard answers for a step past the items that a request claims, too.
void run_past_claim(Operation operation, void* message, std::uint32_t length, Outcome& outcome) {
    switch (operation) {
        case KELVO_OPERATION_BULK_NEXT:
        case KELVO_OPERATION_BULK_BACK:
            return take_all<kelvo_common_msg_bulk_interpret, kelvo_common_msg_bulk_next,
                            kelvo_common_msg_bulk_back, kelvo_bulk_info, kelvo_bulk_item>(
                message, length, operation == KELVO_OPERATION_BULK_BACK);
        case KELVO_OPERATION_BULK_REPLY_NEXT:
        case KELVO_OPERATION_BULK_REPLY_BACK:
            return take_all<kelvo_common_msg_bulk_reply_interpret, kelvo_common_msg_bulk_reply_next,
                            kelvo_common_msg_bulk_reply_back, kelvo_bulk_reply_info,
                            kelvo_bulk_reply_item>(message, length,
                                                   operation == KELVO_OPERATION_BULK_REPLY_BACK);
        default:
            return kelvo::test::run(operation, message, length, outcome);
    }
}

/// Puts the words that interpreting has converted back into network order.
void turn_back(Operation operation, std::uint8_t* message) {
    if (operation == KELVO_OPERATION_BULK_NEXT) {
        for (const std::size_t at : {40U, 44U, 48U, 52U, 56U, 64U}) reverse(message + at, 4);
    } else {
        for (const std::size_t at : {16U, 20U}) reverse(message + at, 4);
    }
}

/// Whether a name is longer than a native one may be, which was possible in the other order.
bool holds_long_name(const Outcome& outcome) {
    std::uint64_t name = 0;
    for (const kelvo::test::Output& output : outcome.outputs) {
        const std::string_view what(output.name);
        if (what == "name") name = output.value;
        const bool follows = what == "data" || what == "op2_data";
        if (!follows || output.value == kelvo::test::kNullPointer) continue;
        if (output.value - name > KELVO_BULK_NAME_MAX) return true;
    }
    return false;
}

void check_again(Operation operation, const Bytes& message, MessageBlock& block,
                 const Outcome& outcome) {
    static MessageBlock copy;
    copy.hold(message.data(), message.size());
    run_past_claim(operation, copy.begin(), copy.length(), kept_outcome<6>());
    if (operation != KELVO_OPERATION_BULK_NEXT && operation != KELVO_OPERATION_BULK_REPLY_NEXT) {
        return;
    }
    if (outcome.status != 0) return;
    copy.hold(block.begin(), block.size());
    turn_back(operation, copy.begin());
    if (ask(operation, copy) != 0 || holds_long_name(outcome)) return;
    Outcome& again = kept_outcome<5>();
    run(operation, copy, again);
    KELVO_HOLDS(again == outcome);
}

const Family kFamily = {kBulkOperations, {}, {}, run_past_claim, check_again};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 1) return -1;  // a message of no bytes is logged
    return check_message(kFamily, data, size);
}
