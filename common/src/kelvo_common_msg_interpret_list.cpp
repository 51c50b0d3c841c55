// SPDX-License-Identifier: Apache-2.0
//
// List and data-list requests. The conversion marker of the message says in which order it is to be
// walked, so one reader serves both.
#include "kelvo_common_msg_walk_list.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

u8* marker(void* msg) {
    return static_cast<u8*>(msg) + offsetof(kelvo_msg_header, conversion_marker);
}

bool is_converted(void* msg) {
    return load32(marker(msg)) == KELVO_MSG_CONVERTED;
}

void mark_converted(void* msg) {
    store32(marker(msg), KELVO_MSG_CONVERTED);
}

}  // namespace

kelvo_status kelvo_common_msg_list_interpret(void* msg, uint32_t length, char** first_string_out,
                                             char** second_string_out, uint32_t* word1_out,
                                             uint32_t* block_out, uint32_t* word4_out) {
    const ListOut out = {first_string_out, second_string_out, word1_out, block_out, word4_out};
    if (is_converted(msg)) return walk_list(HostOrder{}, msg, length, out);
    mark_converted(msg);
    return walk_list(FromNetwork{}, msg, length, out);
}

kelvo_status kelvo_common_msg_datalist_interpret(void* msg, uint32_t length,
                                                 char** first_string_out, char** second_string_out,
                                                 uint32_t* word1_out, uint32_t* block_out,
                                                 uint32_t* word4_out) {
    const ListOut out = {first_string_out, second_string_out, word1_out, block_out, word4_out};
    if (is_converted(msg)) return walk_list(HostOrder{}, msg, length, out);
    const Status st = walk_list(FromNetwork{}, msg, length, out);
    mark_converted(msg);  // last, and whatever came of it
    return st;
}
