// SPDX-License-Identifier: Apache-2.0
//
// Copy, converted in place from network order. There is no host-order reader.
#include "kelvo_common_msg_walk_copy.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_copy_subtree_interpret(void* msg, uint32_t length, char** first,
                                                     char** second, char** third,
                                                     uint32_t* copy_argument) {
    return walk_copy(FromNetwork{}, msg, length, {first, second, third, copy_argument});
}
