// SPDX-License-Identifier: Apache-2.0
//
// Item requests as gather lists.
#include "kelvo_common_msg_item.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// Bytes of the caller's header area: common header and two words.
constexpr u32 kHeaderBytes = offsetof(kelvo_msg_item_request, names);
static_assert(kHeaderBytes == offsetof(kelvo_msg_item_verify, path));

/// What all requests but verify begin with, up to the path.
template <class Order>
[[gnu::always_inline]] inline void compose_request(Gather<Order>& out, void* header, u32 type,
                                                   u32* count_cell, u32* type_cell,
                                                   u32* name_len_cell, const char* path,
                                                   u32 value_type, u32 argument) {
    auto* const msg = static_cast<u8*>(header);
    start_message(msg, type);
    send_words<Order>(msg + offsetof(kelvo_msg_item_request, reserved), {0, argument});
    out.block(msg, kHeaderBytes);
    out.cell(count_cell, 1);
    out.cell(type_cell, value_type);
    out.text(name_len_cell, path);
}

/// The value, which is converted where it lies. @return whether it was
template <class Order>
[[gnu::always_inline]] inline u32 compose_value(Gather<Order>& out, u32* value_len_cell,
                                                u32 value_type, void* value, i32 value_len) {
    out.counted(value_len_cell, value, static_cast<u32>(value_len));
    return value_len != 0 ? convert_value(value_type, value, value) : 0;
}

template <class Order>
u32 compose_get(void* header, u32 type, u32* count_cell, u32* type_cell, u32* name_len_cell,
                const char* path, u32 argument, kelvo_slot* list) {
    Gather<Order> out(list);
    compose_request(out, header, type, count_cell, type_cell, name_len_cell, path, KELVO_VALUE_NONE,
                    argument);
    return out.done();
}

[[gnu::always_inline]] inline u32 compose_change(void* header, u32 type, u32* count_cell,
                                                 u32* type_cell, u32* name_len_cell,
                                                 u32* value_len_cell, const char* path,
                                                 u32 value_type, void* value, i32 value_len,
                                                 u32 argument, kelvo_slot* list) {
    Gather<> out(list);
    compose_request(out, header, type, count_cell, type_cell, name_len_cell, path, value_type,
                    argument);
    return out.done(compose_value(out, value_len_cell, value_type, value, value_len));
}

}  // namespace

uint32_t kelvo_common_msg_item_get_compose(void* header, uint32_t* count_cell, uint32_t* type_cell,
                                           uint32_t* name_len_cell, char* path,
                                           uint32_t request_argument, kelvo_slot* list) {
    return compose_get<SendHost>(header, KELVO_MSG_ITEM_GET, count_cell, type_cell, name_len_cell,
                                 path, request_argument, list);
}

uint32_t kelvo_lib_msg_item_get_compose(void* header, uint32_t* count_cell, uint32_t* type_cell,
                                        uint32_t* name_len_cell, char* path,
                                        uint32_t request_argument, kelvo_slot* list) {
    return compose_get<SendNetwork>(header, KELVO_MSG_ITEM_GET, count_cell, type_cell,
                                    name_len_cell, path, request_argument, list);
}

uint32_t kelvo_lib_msg_item_get_inh_compose(void* header, uint32_t* count_cell, uint32_t* type_cell,
                                            uint32_t* name_len_cell, char* path,
                                            uint32_t request_argument, kelvo_slot* list) {
    return compose_get<SendNetwork>(header, KELVO_MSG_ITEM_GET_INH, count_cell, type_cell,
                                    name_len_cell, path, request_argument, list);
}

uint32_t kelvo_common_msg_item_set_compose(void* header, uint32_t* count_cell, uint32_t* type_cell,
                                           uint32_t* name_len_cell, uint32_t* value_len_cell,
                                           const char* path, uint32_t value_type, void* value,
                                           int32_t value_len, uint32_t request_argument,
                                           kelvo_slot* list) {
    return compose_change(header, KELVO_MSG_ITEM_SET, count_cell, type_cell, name_len_cell,
                          value_len_cell, path, value_type, value, value_len, request_argument,
                          list);
}

uint32_t kelvo_common_msg_item_create_compose(void* header, uint32_t* count_cell,
                                              uint32_t* type_cell, uint32_t* name_len_cell,
                                              uint32_t* value_len_cell, const char* path,
                                              uint32_t value_type, void* value, int32_t value_len,
                                              uint32_t request_argument, kelvo_slot* list) {
    return compose_change(header, KELVO_MSG_ITEM_CREATE, count_cell, type_cell, name_len_cell,
                          value_len_cell, path, value_type, value, value_len, request_argument,
                          list);
}

uint32_t kelvo_common_msg_item_delete_compose(void* header, uint32_t* count_cell,
                                              uint32_t* type_cell, uint32_t* name_len_cell,
                                              uint32_t* value_len_cell, const char* path,
                                              uint32_t value_type, void* value, int32_t value_len,
                                              uint32_t request_argument, kelvo_slot* list) {
    const u32 type = value_len != 0 ? KELVO_MSG_ITEM_COND_DELETE : KELVO_MSG_ITEM_DELETE;
    return compose_change(header, type, count_cell, type_cell, name_len_cell, value_len_cell, path,
                          value_type, value, value_len, request_argument, list);
}

uint32_t kelvo_common_msg_item_verify_compose(void* header, uint32_t* name_len_cell,
                                              uint32_t* value_len_cell, const char* path,
                                              uint32_t value_type, void* value, int32_t value_len,
                                              uint32_t request_argument, kelvo_slot* list) {
    auto* const msg = static_cast<u8*>(header);
    start_message(msg, KELVO_MSG_ITEM_VERIFY);
    send_words(msg + offsetof(kelvo_msg_item_verify, type), {value_type, request_argument});
    Gather<> out(list);
    out.block(msg, kHeaderBytes);
    out.text(name_len_cell, path);
    return out.done(compose_value(out, value_len_cell, value_type, value, value_len));
}
