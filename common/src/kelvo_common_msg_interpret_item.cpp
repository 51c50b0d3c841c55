// SPDX-License-Identifier: Apache-2.0
//
// Item requests in host order.
#include "kelvo_common_msg_walk_item.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_get_interpret(void* msg, int32_t length, char** path,
                                            uint32_t* request_argument) {
    return walk_item_get(HostOrder{}, msg, received(length), path, request_argument);
}

kelvo_status kelvo_common_msg_set_interpret(void* msg, int32_t length, char** path,
                                            uint32_t* value_type, void** value, uint32_t* value_len,
                                            uint32_t* request_argument) {
    return walk_item_change<ItemRequest::set>(
        HostOrder{}, msg, received(length), {path, value_type, value, value_len, request_argument});
}

kelvo_status kelvo_common_msg_create_interpret(void* msg, int32_t length, char** path,
                                               uint32_t* value_type, void** value,
                                               uint32_t* value_len, uint32_t* request_argument) {
    return walk_item_change<ItemRequest::create>(
        HostOrder{}, msg, received(length), {path, value_type, value, value_len, request_argument});
}

kelvo_status kelvo_common_msg_delete_interpret(void* msg, int32_t length, char** path,
                                               uint32_t* value_type, void** value,
                                               uint32_t* value_len, uint32_t* request_argument) {
    return walk_item_change<ItemRequest::remove>(
        HostOrder{}, msg, received(length), {path, value_type, value, value_len, request_argument});
}

kelvo_status kelvo_common_msg_verify_interpret(void* msg, uint32_t length, char** path,
                                               uint32_t* value_type, void** value,
                                               uint32_t* value_len, uint32_t* request_argument) {
    return walk_item_verify(HostOrder{}, msg, length,
                            {path, value_type, value, value_len, request_argument});
}
