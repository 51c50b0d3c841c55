// SPDX-License-Identifier: Apache-2.0
//
// Item requests and the get reply, converted in place from network order.
#include "kelvo_common_msg_walk_item.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_get_interpret_endian_ntoh(void* msg, int32_t length, char** path,
                                                        uint32_t* request_argument) {
    return walk_item_get(FromNetwork{}, msg, received(length), path, request_argument);
}

kelvo_status kelvo_common_msg_set_interpret_endian_ntoh(void* msg, int32_t length, char** path,
                                                        uint32_t* value_type, void** value,
                                                        uint32_t* value_len,
                                                        uint32_t* request_argument) {
    return walk_item_change<ItemRequest::set>(
        FromNetwork{}, msg, received(length),
        {path, value_type, value, value_len, request_argument});
}

kelvo_status kelvo_common_msg_create_interpret_endian_ntoh(void* msg, int32_t length, char** path,
                                                           uint32_t* value_type, void** value,
                                                           uint32_t* value_len,
                                                           uint32_t* request_argument) {
    return walk_item_change<ItemRequest::create>(
        FromNetwork{}, msg, received(length),
        {path, value_type, value, value_len, request_argument});
}

kelvo_status kelvo_common_msg_delete_interpret_endian_ntoh(void* msg, int32_t length, char** path,
                                                           uint32_t* value_type, void** value,
                                                           uint32_t* value_len,
                                                           uint32_t* request_argument) {
    return walk_item_change<ItemRequest::remove>(
        FromNetwork{}, msg, received(length),
        {path, value_type, value, value_len, request_argument});
}

kelvo_status kelvo_common_msg_verify_interpret_endian_ntoh(void* msg, uint32_t length, char** path,
                                                           uint32_t* value_type, void** value,
                                                           uint32_t* value_len,
                                                           uint32_t* request_argument) {
    return walk_item_verify(FromNetwork{}, msg, length,
                            {path, value_type, value, value_len, request_argument});
}

kelvo_status kelvo_lib_rply_item_get_interpret_ntoh(void* reply, uint32_t length) {
    return walk_item_get_reply(FromNetwork{}, reply, length);
}

kelvo_status kelvo_lib_rply_item_get_interpret_hton(void* reply, uint32_t length) {
    return Outcome<ToNetwork, kItemGetReply>(reply, length).accept();
}
