// SPDX-License-Identifier: Apache-2.0
//
// Registrations, unregistrations, activation and configuration groups.
#include "fuzz/messages.h"

using namespace kelvo::fuzz;

namespace {

const Family kFamily = {
    kRegistrationOperations,
    {},
    {{KELVO_OPERATION_NFN_REG_HTON, KELVO_OPERATION_NFN_REG_NTOH, KELVO_OPERATION_NFN_REG},
     {KELVO_OPERATION_VRFN_REG_HTON, KELVO_OPERATION_VRFN_REG_NTOH, KELVO_OPERATION_VRFN_REG},
     {KELVO_OPERATION_VS_REG_HTON, KELVO_OPERATION_VS_REG_NTOH, KELVO_OPERATION_VS_REG},
     {KELVO_OPERATION_EDM_REG_HTON, KELVO_OPERATION_EDM_REG_NTOH, KELVO_OPERATION_EDM_REG},
     {KELVO_OPERATION_EDMS_REG_HTON, KELVO_OPERATION_EDMS_REG_NTOH, KELVO_OPERATION_EDMS_REG},
     {KELVO_OPERATION_REG_ACTIVATE_HTON, KELVO_OPERATION_REG_ACTIVATE_NTOH, kNone}}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return check_message(kFamily, data, size);
}
