// SPDX-License-Identifier: Apache-2.0
//
// Copy as a gather list.
#include "kelvo_common_msg_copy.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

uint32_t kelvo_common_msg_copy_compose(void* header, uint32_t* len_cell_a, uint32_t* len_cell_b,
                                       uint32_t* len_cell_c, char* path_a, char* path_b,
                                       const char* path_c, uint32_t copy_argument,
                                       kelvo_slot* list) {
    auto* const msg = static_cast<u8*>(header);
    start_message(msg, KELVO_MSG_COPY);
    send_words(msg + offsetof(kelvo_msg_copy, argument), {copy_argument});
    Gather<> out(list);
    out.block(msg, sizeof(kelvo_msg_copy));
    out.text(len_cell_c, path_c);  // c travels first
    out.text(len_cell_a, path_a);
    out.text(len_cell_b, path_b);
    return out.done();
}
