// SPDX-License-Identifier: Apache-2.0
//
// Requests on one item: get, set, create, delete, conditional delete, verify.
#include "handlers.h"
#include "kelvo_common_msg_item.h"
#include "kelvo_util_compare.h"
#include "status.h"

namespace example {
namespace {

struct Item {
    std::string path;
    Value value;
};

using ItemReader = kelvo_status (*)(void*, std::int32_t, char**, std::uint32_t*, void**,
                                    std::uint32_t*, std::uint32_t*);

kelvo_status read_item(Request& request, ItemReader read, Item& item) {
    char* path;
    std::uint32_t type, length, argument;
    void* value;
    if (const kelvo_status status =
            read(request.data(), request.signed_length(), &path, &type, &value, &length, &argument))
        return status;
    item = {path, value_from(type, value, length)};
    return request.service.owns(path);
}

kelvo_status read_verify(void* message, std::int32_t length, char** path, std::uint32_t* type,
                         void** value, std::uint32_t* value_length, std::uint32_t* argument) {
    return kelvo_common_msg_verify_interpret_endian_ntoh(
        message, static_cast<std::uint32_t>(length), path, type, value, value_length, argument);
}

bool same(const Value& a, const Value& b) {
    std::uint32_t equal = 0;
    return a.type == b.type && a.bytes.size() == b.bytes.size() &&
           kelvo_compare_data(a.bytes.data(), b.bytes.data(),
                              static_cast<std::uint32_t>(a.bytes.size()),
                              static_cast<std::int32_t>(a.type), &equal) == 0 &&
           equal != 0;
}

std::optional<Reply> change(Request& request, const std::string& path, std::optional<Value> value) {
    return request.service.change(request.client, request.number(), {{path, std::move(value)}});
}

std::optional<Reply> store(Request& request, Item& item) {
    if (!storable(item.value)) return result(KELVO_ERR_BAD_VALUE_TYPE);
    return change(request, item.path, std::move(item.value));
}

}  // namespace

std::optional<Reply> handle_get(Request& request) {
    char* path;
    std::uint32_t argument;
    if (const kelvo_status status = kelvo_common_msg_get_interpret_endian_ntoh(
            request.data(), request.signed_length(), &path, &argument))
        return result(status);
    if (const kelvo_status status = request.service.owns(path)) return result(status);
    const Value* value = request.service.look(request.client, path);
    return value ? result(*value) : result(KELVO_ERR_NOT_FOUND);
}

std::optional<Reply> handle_set(Request& request) {
    Item item;
    if (const kelvo_status status =
            read_item(request, kelvo_common_msg_set_interpret_endian_ntoh, item))
        return result(status);
    return store(request, item);
}

std::optional<Reply> handle_create(Request& request) {
    Item item;
    if (const kelvo_status status =
            read_item(request, kelvo_common_msg_create_interpret_endian_ntoh, item))
        return result(status);
    if (request.service.look(request.client, item.path)) return result(KELVO_ERR_ALREADY_EXISTS);
    return store(request, item);
}

// With a value the item is removed only if it holds that value.
std::optional<Reply> handle_delete(Request& request) {
    Item item;
    if (const kelvo_status status =
            read_item(request, kelvo_common_msg_delete_interpret_endian_ntoh, item))
        return result(status);
    const Value* current = request.service.look(request.client, item.path);
    if (!current) return result(KELVO_ERR_NOT_FOUND);
    if (!item.value.bytes.empty() && !same(*current, item.value))
        return result(EXAMPLE_ERR_VALUE_DIFFERS);
    return change(request, item.path, std::nullopt);
}

std::optional<Reply> handle_verify(Request& request) {
    Item item;
    if (const kelvo_status status = read_item(request, read_verify, item)) return result(status);
    const Value* current = request.service.look(request.client, item.path);
    if (!current) return result(KELVO_ERR_NOT_FOUND);
    return result(same(*current, item.value) ? 0 : EXAMPLE_ERR_VALUE_DIFFERS);
}

}  // namespace example
