// SPDX-License-Identifier: Apache-2.0
//
// List and data-list as gather lists. They differ only in the message type.
#include "kelvo_common_msg_list.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

void compose(u32 type, void* header, u32* first_len_slot, u32* second_len_slot,
             const char* first_string, const char* second_string, u32 word1, u64 value1, u64 value2,
             u32 word2, u32 word3, u32 word4, kelvo_slot* gather) {
    auto* const msg = static_cast<u8*>(header);
    const WordPair first = words_of(value1);
    const WordPair second = words_of(value2);
    start_message(msg, type);
    send_words(
        msg + offsetof(kelvo_msg_list, word1),
        {word1, first.first, first.second, second.first, second.second, word2, word3, word4});
    Gather<> out(gather);
    out.block(msg, sizeof(kelvo_msg_list));
    out.text(first_len_slot, first_string);
    out.text(second_len_slot, second_string);
    out.done();
}

}  // namespace

void kelvo_common_msg_list_compose(void* header, uint32_t* first_len_slot,
                                   uint32_t* second_len_slot, const char* first_string,
                                   const char* second_string, uint32_t word1, uint64_t value1,
                                   uint64_t value2, uint32_t word2, uint32_t word3, uint32_t word4,
                                   kelvo_slot* gather) {
    compose(KELVO_MSG_LIST, header, first_len_slot, second_len_slot, first_string, second_string,
            word1, value1, value2, word2, word3, word4, gather);
}

void kelvo_common_msg_datalist_compose(void* header, uint32_t* first_len_slot,
                                       uint32_t* second_len_slot, const char* first_string,
                                       const char* second_string, uint32_t word1, uint64_t value1,
                                       uint64_t value2, uint32_t word2, uint32_t word3,
                                       uint32_t word4, kelvo_slot* gather) {
    compose(KELVO_MSG_DATALIST, header, first_len_slot, second_len_slot, first_string,
            second_string, word1, value1, value2, word2, word3, word4, gather);
}
