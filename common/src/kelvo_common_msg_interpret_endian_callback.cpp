// SPDX-License-Identifier: Apache-2.0
//
// Callback replies, converted in place in both directions.
#include "kelvo_common_msg_walk_callback.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// What is temporary has no body, and is not looked at.
template <kelvo_msg_operation kReceives>
kelvo_status nothing_to_convert(const void* message, u32 length) {
    return Outcome<HostOrder, probe::no_header(kReceives)>(message, length).accept();
}

}  // namespace

kelvo_status kelvo_lib_rply_cb_get_apply_interpret_ntoh(void* msg, uint32_t length) {
    return walk_cb_apply(FromNetwork{}, msg, length);
}

kelvo_status kelvo_lib_rply_cb_get_apply_interpret_hton(void* msg, uint32_t length) {
    return walk_cb_apply(ToNetwork{}, msg, length);
}

kelvo_status kelvo_lib_rply_cb_get_verify_interpret_ntoh(void* msg, uint32_t length) {
    return walk_cb_verify(FromNetwork{}, msg, length);
}

kelvo_status kelvo_lib_rply_cb_get_verify_interpret_hton(void* msg, uint32_t length) {
    return walk_cb_verify(ToNetwork{}, msg, length);
}

kelvo_status kelvo_vrfn_msg_errorset_iterate_ntoh(void* msg, uint32_t length) {
    return walk_errorset(FromNetwork{}, msg, length);
}

kelvo_status kelvo_vrfn_msg_errorset_iterate_hton(void* msg, uint32_t length) {
    return walk_errorset(ToNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_sm_cb_response_interpret_ntoh(void* msg, uint32_t length) {
    return walk_sm_cb_response(FromNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_sm_cb_response_interpret_hton(void* msg, uint32_t length) {
    return walk_sm_cb_response(ToNetwork{}, msg, length);
}

kelvo_status kelvo_lib_rply_smset_interpret_ntoh(void* msg, uint32_t length) {
    return walk_smset(FromNetwork{}, msg, length);
}

kelvo_status kelvo_lib_rply_smset_interpret_hton(void* msg, uint32_t length) {
    return walk_smset(ToNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_temp_interpret_hton(void* msg, uint32_t length) {
    return nothing_to_convert<KELVO_OPERATION_TEMP_NTOH>(msg, length);
}

kelvo_status kelvo_common_msg_temp_interpret_ntoh(void* msg, uint32_t length) {
    return nothing_to_convert<KELVO_OPERATION_TEMP_NTOH>(msg, length);
}

kelvo_status kelvo_lib_rply_temp_interpret_hton(void* msg, uint32_t length) {
    return nothing_to_convert<KELVO_OPERATION_TEMP_REPLY_NTOH>(msg, length);
}

kelvo_status kelvo_lib_rply_temp_interpret_ntoh(void* msg, uint32_t length) {
    return nothing_to_convert<KELVO_OPERATION_TEMP_REPLY_NTOH>(msg, length);
}
