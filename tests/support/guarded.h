// SPDX-License-Identifier: Apache-2.0
//
// The operations by the guard's numbers: names, and runs of the operation that the guard speaks of,
// readers with all their steps.
#pragma once

#include "kelvo_common_msg_bulk.h"
#include "kelvo_common_msg_guard.h"
#include "support/operations.h"

namespace kelvo::test {

inline constexpr const char* kFunctionOf[] = {
#define KELVO_TEST_FUNCTION(number, name, function) #function,
    KELVO_MSG_OPERATION_LIST(KELVO_TEST_FUNCTION)
#undef KELVO_TEST_FUNCTION
};

inline const char* name_of(kelvo_msg_operation operation) {
    return kFunctionOf[operation];
}

/// The row of the table of operations that runs a function: the longest name that its name ends in.
inline Operation operation_of(std::string_view function) {
    std::size_t longest = 0;
    Operation found{};
    for (std::uint32_t i = 0; i < kOperationCount; ++i) {
        const std::string_view name = name_of(static_cast<Operation>(i));
        if (!function.ends_with(name) || name.size() <= longest) continue;
        longest = name.size();
        found = static_cast<Operation>(i);
    }
    if (longest == 0) std::abort();
    return found;
}

/// Takes every item twice.
template <auto kInterpret, auto kNext, auto kBack, class Info, class Item>
void take_twice(void* msg, std::uint32_t length) {
    Info info;
    Item item;
    if (kInterpret(msg, length, &info) != 0) return;
    while (kNext(&info, &item) == 0) {
        kBack(&info);
        if (kNext(&info, &item) != 0) return;
    }
}

/// Runs an operation. Of what is handed out nothing stays allocated; `scratch` has room for it.
inline void run(kelvo_msg_operation operation, void* msg, std::uint32_t length, Outcome& scratch) {
    kelvo_bulk_info request;
    kelvo_bulk_reply_info reply;
    switch (operation) {
        case KELVO_OPERATION_BULK:
            (void)kelvo_common_msg_bulk_interpret(msg, length, &request);
            return;
        case KELVO_OPERATION_BULK_REPLY:
            (void)kelvo_common_msg_bulk_reply_interpret(msg, length, &reply);
            return;
        case KELVO_OPERATION_BULK_BACK:
            return take_twice<kelvo_common_msg_bulk_interpret, kelvo_common_msg_bulk_next,
                              kelvo_common_msg_bulk_back, kelvo_bulk_info, kelvo_bulk_item>(msg,
                                                                                            length);
        case KELVO_OPERATION_BULK_REPLY_BACK:
            return take_twice<kelvo_common_msg_bulk_reply_interpret,
                              kelvo_common_msg_bulk_reply_next, kelvo_common_msg_bulk_reply_back,
                              kelvo_bulk_reply_info, kelvo_bulk_reply_item>(msg, length);
        case KELVO_OPERATION_BULK_NEXT:
            return run(Operation::bulk_read, msg, length, scratch);
        case KELVO_OPERATION_BULK_REPLY_NEXT:
            return run(Operation::bulk_reply_read, msg, length, scratch);
        case KELVO_OPERATION_NOTIFYSET:
        case KELVO_OPERATION_NOTIFYSET_NEXT:
            return run(Operation::common_notifyset_read, msg, length, scratch);
        case KELVO_OPERATION_NOTIFYSET_VALUES:
            return run(Operation::lib_notifyset_read, msg, length, scratch);
        default:
            return run(operation_of(name_of(operation)), msg, length, scratch);
    }
}

}  // namespace kelvo::test
