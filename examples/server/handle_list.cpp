// SPDX-License-Identifier: Apache-2.0
//
// List (the names directly below a path), data-list (all items below it) and get-items (named items
// below it). In list and data-list the second string is the name to go on after, and word 1 the
// most entries wanted.
#include <cstdlib>
#include <memory>

#include "handlers.h"
#include "kelvo_common_msg_get_items.h"
#include "kelvo_common_msg_list.h"
#include "list_reply.h"
#include "status.h"

namespace example {
namespace {

using ListReader = decltype(&kelvo_common_msg_list_interpret);

struct ListRequest {
    std::string base;   // ends with "/"
    std::string after;  // empty at the beginning
    std::uint32_t limit;
};

std::string as_branch(std::string path) {
    if (!path.ends_with('/')) path += '/';
    return path;
}

kelvo_status read_list(Request& request, ListReader read, ListRequest& list) {
    char *base, *after;
    std::uint32_t word1, block[5], word4;
    if (const kelvo_status status =
            read(request.data(), request.length(), &base, &after, &word1, block, &word4))
        return status;
    list = {as_branch(base), after, word1};
    return request.service.owns(list.base);
}

// The first component of what is left of a path, with its "/".
std::string component_of(const std::string& rest) {
    return rest.substr(0, rest.find('/') == rest.npos ? rest.npos : rest.find('/') + 1);
}

}  // namespace

// Items below one name stand together, so a name is new when it differs from the one before.
std::optional<Reply> handle_list(Request& request) {
    ListRequest list;
    if (const kelvo_status status = read_list(request, kelvo_common_msg_list_interpret, list))
        return result(status);
    ListReply reply(list.limit);
    std::string last = list.after;
    request.service.items().range(list.base + list.after, [&](const auto& path, const Value&) {
        if (!path.starts_with(list.base)) return false;
        const std::string name = component_of(path.substr(list.base.size()));
        if (name == last) return true;
        if (reply.full()) return reply.stop_here();
        reply.add_name(last = name);
        return true;
    });
    return reply.take();
}

std::optional<Reply> handle_datalist(Request& request) {
    ListRequest list;
    if (const kelvo_status status = read_list(request, kelvo_common_msg_datalist_interpret, list))
        return result(status);
    ListReply reply(list.limit);
    const std::string first = list.base + list.after;
    request.service.items().range(first, [&](const auto& path, const Value& value) {
        if (!path.starts_with(list.base)) return false;
        if (path == first) return true;
        if (reply.full()) return reply.stop_here();
        reply.add_item(path.substr(list.base.size()), &value);
        return true;
    });
    return reply.take();
}

std::optional<Reply> handle_get_items(Request& request) {
    char* base;
    char** names;
    std::uint32_t count, argument;
    if (const kelvo_status status = kelvo_common_msg_get_items_interpret_endian_ntoh(
            request.data(), request.length(), &base, &names, &count, &argument))
        return result(status);
    const std::unique_ptr<char*, decltype(&std::free)> owner(names, &std::free);
    const std::string branch = as_branch(base);
    if (const kelvo_status status = request.service.owns(branch)) return result(status);
    ListReply reply(0);
    for (std::uint32_t i = 0; i < count && !reply.too_large(); ++i) {
        const Value* value = request.service.look(request.client, branch + names[i]);
        reply.add_item(names[i], value, value ? 0 : KELVO_ERR_NOT_FOUND);
    }
    return reply.too_large() ? result(EXAMPLE_ERR_TOO_LARGE) : reply.take();
}

}  // namespace example
