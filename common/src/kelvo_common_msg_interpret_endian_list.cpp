// SPDX-License-Identifier: Apache-2.0
//
// List and data-list replies, converted in place from network order.
#include "kelvo_common_msg_walk_list.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_lib_rply_list_interpret_endian_ntoh(void* reply, uint32_t length) {
    return walk_list_reply<ListEntry>(FromNetwork{}, reply, length);
}

kelvo_status kelvo_lib_rply_datalist_interpret_endian_ntoh(void* reply, uint32_t length) {
    return walk_list_reply<DatalistEntry>(FromNetwork{}, reply, length);
}
