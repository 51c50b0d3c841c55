// SPDX-License-Identifier: Apache-2.0
//
// Bind, converted in place from network order. There is no host-order reader.
#include "kelvo_common_msg_walk_bind.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_bind_interpret(void* msg, uint32_t length, uint32_t* version_out,
                                             uint32_t* reserved_out, uint32_t* p1_out,
                                             char** first_string_out, uint32_t* p2_out,
                                             uint32_t* p3_out, uint32_t* p4_out, uint32_t* p5_out,
                                             uint32_t* p6_out, char** second_string_out,
                                             uint32_t* p7_out, uint32_t* p8_out) {
    return walk_bind(FromNetwork{}, msg, length,
                     {version_out,
                      reserved_out,
                      first_string_out,
                      second_string_out,
                      {p1_out, p2_out, p3_out, p4_out, p5_out, p6_out, p7_out, p8_out}});
}
