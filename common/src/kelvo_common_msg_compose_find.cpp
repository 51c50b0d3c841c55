// SPDX-License-Identifier: Apache-2.0
//
// Find and group find as gather lists.
#include "kelvo_common_msg_find.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

void kelvo_common_msg_find_compose(void* header, uint32_t* first_len_slot,
                                   uint32_t* second_len_slot, const char* first_string,
                                   const char* second_string, uint32_t word1, uint32_t word4,
                                   uint64_t value1, uint64_t value2, uint32_t word2, uint32_t word3,
                                   uint32_t word7, uint32_t word5, uint32_t word6,
                                   kelvo_slot* gather) {
    auto* const msg = static_cast<u8*>(header);
    const WordPair first = words_of(value1);
    const WordPair second = words_of(value2);
    start_message(msg, KELVO_MSG_FIND);
    send_words(msg + offsetof(kelvo_msg_find, word1),
               {word1, first.first, first.second, second.first, second.second, word2, word3, word4,
                word5, word6, word7});
    Gather<> out(gather);
    out.block(msg, sizeof(kelvo_msg_find));
    out.text(first_len_slot, first_string);
    out.text(second_len_slot, second_string);
    out.done();
}

void kelvo_common_msg_find_grp_ag_ah_compose(void* header, uint32_t* len_slot, const char* string,
                                             uint32_t group_word, kelvo_slot* gather, uint32_t ag) {
    auto* const msg = static_cast<u8*>(header);
    start_message(msg, ag != 0 ? KELVO_MSG_FIND_GRP_AG : KELVO_MSG_FIND_GRP_AH);
    send_words(msg + offsetof(kelvo_msg_find_group, group), {group_word});
    Gather<> out(gather);
    out.block(msg, sizeof(kelvo_msg_find_group));
    out.text(len_slot, string);
    out.done();
}
