// SPDX-License-Identifier: Apache-2.0
//
// Get-items in host order.
#include "kelvo_common_msg_walk_get_items.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_get_items_interpret(void* msg, uint32_t length, char** base_path,
                                                  char*** names, uint32_t* count,
                                                  uint32_t* request_argument) {
    return read_get_items(HostOrder{}, msg, length, names, {base_path, count, request_argument});
}
