// SPDX-License-Identifier: Apache-2.0
//
// Find, converted in place in either direction; group find and its reply, from network order.
#include "kelvo_common_msg_walk_find.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_find_interpret_endian_ntoh(void* msg, uint32_t length,
                                                         char** first_string_out,
                                                         char** second_string_out,
                                                         uint32_t* word1_out, uint32_t* word4_out,
                                                         uint32_t* block_out, uint32_t* word7_out,
                                                         uint32_t* word5_out, uint32_t* word6_out) {
    return read_find(FromNetwork{}, msg, length,
                     {first_string_out, second_string_out, word1_out, word4_out, block_out,
                      word7_out, word5_out, word6_out});
}

kelvo_status kelvo_common_msg_find_interpret_endian_hton(void* msg, uint32_t length) {
    ToNetwork order;
    char* first;
    char* second;
    return walk_find(order, static_cast<u8*>(msg), length, &first, &second);
}

kelvo_status kelvo_common_msg_find_grp_ag_interpret_endian_ntoh(void* msg, uint32_t length,
                                                                char** string_out, void* /*unused*/,
                                                                uint32_t* group_word_out) {
    return walk_find_group(FromNetwork{}, msg, length, string_out, group_word_out);
}

kelvo_status kelvo_lib_rply_grp_ag_interpret_endian_ntoh(void* reply, uint32_t length) {
    return walk_find_group_reply(FromNetwork{}, reply, length);
}
