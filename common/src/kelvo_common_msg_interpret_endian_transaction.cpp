// SPDX-License-Identifier: Apache-2.0
//
// Transactions and item locks, converted in place from network order. There are no host-order
// readers.
#include "kelvo_common_msg_walk_transaction.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// Commit and abort are the common header alone, which is not looked at.
template <u32 kType>
kelvo_status header_alone(void* message, u32 length) {
    const Outcome<FromNetwork, kType> outcome(message, length);
    if (length < sizeof(kelvo_msg_header)) return outcome.refuse(0, KELVO_ERR_MSG_LENGTH);
    return outcome.accept();
}

}  // namespace

kelvo_status kelvo_common_msg_transtart_interpret(void* msg, uint32_t length, uint64_t* words,
                                                  uint32_t* options) {
    return walk_transaction_start(FromNetwork{}, msg, length, words, options);
}

kelvo_status kelvo_common_msg_trancommit_interpret(void* msg, uint32_t length) {
    return header_alone<KELVO_MSG_TRANS_COMMIT>(msg, length);
}

kelvo_status kelvo_common_msg_tranabort_interpret(void* msg, uint32_t length) {
    return header_alone<KELVO_MSG_TRANS_ABORT>(msg, length);
}

kelvo_status kelvo_common_msg_item_wrlock_interpret(void* msg, uint32_t length, char** path) {
    return walk_item_lock(FromNetwork{}, msg, length, path);
}

kelvo_status kelvo_common_msg_item_rdlock_interpret(void* msg, uint32_t length, char** path) {
    return walk_item_lock(FromNetwork{}, msg, length, path);
}

kelvo_status kelvo_common_msg_item_unlock_interpret(void* msg, uint32_t length, char** path) {
    return walk_item_lock(FromNetwork{}, msg, length, path);
}
