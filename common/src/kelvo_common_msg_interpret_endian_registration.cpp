// SPDX-License-Identifier: Apache-2.0
//
// Registration requests, converted in place in both directions.
#include "kelvo_common_msg_walk_registration.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_nfn_reg_interpret_ntoh(void* msg, uint32_t length) {
    return convert_nfn_reg(FromNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_nfn_reg_interpret_hton(void* msg, uint32_t length) {
    return convert_nfn_reg(ToNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_vrfn_reg_interpret_ntoh(void* msg, uint32_t length) {
    return convert_vrfn_reg(FromNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_vrfn_reg_interpret_hton(void* msg, uint32_t length) {
    return convert_vrfn_reg(ToNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_vs_reg_interpret_ntoh(void* msg, uint32_t length) {
    return convert_vs_reg(FromNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_vs_reg_interpret_hton(void* msg, uint32_t length) {
    return convert_vs_reg(ToNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_edms_reg_interpret_ntoh(void* msg, uint32_t length) {
    return convert_edms_reg(FromNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_edms_reg_interpret_hton(void* msg, uint32_t length) {
    return convert_edms_reg(ToNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_edm_reg_interpret_ntoh(void* msg, uint32_t length) {
    return convert_edm_reg(FromNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_edm_reg_interpret_hton(void* msg, uint32_t length) {
    return convert_edm_reg(ToNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_reg_activate_interpret_ntoh(void* msg, uint32_t length) {
    return convert_reg_activate(FromNetwork{}, msg, length);
}

kelvo_status kelvo_common_msg_reg_activate_interpret_hton(void* msg, uint32_t length) {
    return convert_reg_activate(ToNetwork{}, msg, length);
}
