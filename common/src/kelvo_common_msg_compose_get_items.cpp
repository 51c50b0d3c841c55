// SPDX-License-Identifier: Apache-2.0
//
// Get-items as a gather list, which grows with the number of names.
#include "kelvo_common_msg_get_items.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

uint32_t kelvo_common_msg_get_items_compose(void* header, char** names, uint32_t* name_len_cells,
                                            const char* base_path, uint32_t* base_len_cell,
                                            uint32_t count, uint32_t request_argument,
                                            kelvo_slot* list) {
    constexpr std::size_t kCellWords = kCellBytes / sizeof(u32);
    auto* const msg = static_cast<u8*>(header);
    start_message(msg, KELVO_MSG_GET_ITEMS);
    send_words(msg + offsetof(kelvo_msg_get_items, count), {count, request_argument});
    Gather<> out(list);
    out.block(msg, sizeof(kelvo_msg_get_items));
    out.text(base_len_cell, base_path);
    for (std::size_t i = 0; i < count; ++i) out.text(name_len_cells + kCellWords * i, names[i]);
    return out.done();
}
