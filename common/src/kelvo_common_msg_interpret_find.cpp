// SPDX-License-Identifier: Apache-2.0
//
// Find in host order.
#include "kelvo_common_msg_walk_find.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_find_interpret(void* msg, uint32_t length, char** first_string_out,
                                             char** second_string_out, uint32_t* word1_out,
                                             uint32_t* word4_out, uint32_t* block_out,
                                             uint32_t* word7_out, uint32_t* word5_out,
                                             uint32_t* word6_out) {
    return read_find(HostOrder{}, msg, length,
                     {first_string_out, second_string_out, word1_out, word4_out, block_out,
                      word7_out, word5_out, word6_out});
}
