// SPDX-License-Identifier: Apache-2.0
//
// Callback replies, error sets and the replies of session managers.
#include "fuzz/messages.h"

using namespace kelvo::fuzz;

namespace {

const Family kFamily = {
    kCallbackOperations,
    {},
    {{KELVO_OPERATION_APPLY_REPLY_HTON, KELVO_OPERATION_APPLY_REPLY_NTOH, kNone},
     {KELVO_OPERATION_VERIFY_REPLY_HTON, KELVO_OPERATION_VERIFY_REPLY_NTOH, kNone},
     {KELVO_OPERATION_ERRORSET_HTON, KELVO_OPERATION_ERRORSET_NTOH, kNone},
     {KELVO_OPERATION_SM_CB_RESPONSE_HTON, KELVO_OPERATION_SM_CB_RESPONSE_NTOH, kNone},
     {KELVO_OPERATION_SMSET_REPLY_HTON, KELVO_OPERATION_SMSET_REPLY_NTOH, kNone},
     {KELVO_OPERATION_TEMP_HTON, KELVO_OPERATION_TEMP_NTOH, kNone},
     {KELVO_OPERATION_TEMP_REPLY_HTON, KELVO_OPERATION_TEMP_REPLY_NTOH, kNone}}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return check_message(kFamily, data, size);
}
