// SPDX-License-Identifier: Apache-2.0
//
// Bind and unbind as gather lists.
#include "kelvo_common_msg_bind.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

void kelvo_common_msg_bind_compose(void* header, uint32_t* first_len_slot, const char* first_string,
                                   uint32_t p1, uint32_t p2, uint32_t p3, uint32_t p4, uint32_t p5,
                                   uint32_t p6, uint32_t p7, uint32_t p8, uint32_t* second_len_slot,
                                   const char* second_string, kelvo_slot* gather) {
    auto* const msg = static_cast<u8*>(header);
    start_message(msg, KELVO_MSG_BIND);
    send_words(msg + offsetof(kelvo_msg_bind, version),
               {KELVO_BIND_VERSION, 0, p1, p2, p3, p4, p5, p6, p7, p8});
    Gather<> out(gather);
    out.block(msg, sizeof(kelvo_msg_bind));
    out.text(first_len_slot, first_string);
    out.text(second_len_slot, second_string);
    out.done();
}

void kelvo_common_msg_unbind_compose(void* header) {
    start_message(static_cast<u8*>(header), KELVO_MSG_UNBIND);
    if (probe::composing()) [[unlikely]] {
        probe::tell_composed(KELVO_MSG_UNBIND, sizeof(kelvo_msg_header), 0);
    }
}
