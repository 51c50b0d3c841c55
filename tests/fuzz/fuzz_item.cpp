// SPDX-License-Identifier: Apache-2.0
//
// Item requests and the get reply, bind, get-items and copy.
#include "fuzz/messages.h"

using namespace kelvo::fuzz;

namespace {

const Family kFamily = {
    kItemOperations,
    {{KELVO_OPERATION_GET, KELVO_OPERATION_GET_NTOH, {40, 44, 48, 56}, false},
     {KELVO_OPERATION_SET, KELVO_OPERATION_SET_NTOH, {40, 44, 48, 56}, true},
     {KELVO_OPERATION_CREATE, KELVO_OPERATION_CREATE_NTOH, {40, 44, 48, 56}, true},
     {KELVO_OPERATION_DELETE, KELVO_OPERATION_DELETE_NTOH, {40, 44, 48, 56}, true},
     {KELVO_OPERATION_VERIFY, KELVO_OPERATION_VERIFY_NTOH, {40, 44}, true},
     {KELVO_OPERATION_GET_ITEMS, KELVO_OPERATION_GET_ITEMS_NTOH, {40, 44}, false}},
    {}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return check_message(kFamily, data, size);
}
