// SPDX-License-Identifier: Apache-2.0
//
// Copy of a subtree, as this example gives the three paths their meaning, in wire order: from
// where, to where, and a subtree of the first that is left out (empty: none).
#include "handlers.h"
#include "kelvo_common_msg_copy.h"

namespace example {

std::optional<Reply> handle_copy(Request& request) {
    char *from_text, *to_text, *except_text;
    std::uint32_t argument;
    if (const kelvo_status status = kelvo_common_msg_copy_subtree_interpret(
            request.data(), request.length(), &from_text, &to_text, &except_text, &argument))
        return result(status);
    const std::string from = from_text, to = to_text, except = except_text;
    if (const kelvo_status status = request.service.owns(from)) return result(status);
    if (const kelvo_status status = request.service.owns(to)) return result(status);

    Changes changes;
    request.service.items().range(from, [&](const auto& path, const Value& value) {
        if (!path.starts_with(from)) return false;
        if (except.empty() || !path.starts_with(except))
            changes.push_back({to + path.substr(from.size()), value});
        return true;
    });
    return request.service.change(request.client, request.number(), std::move(changes));
}

}  // namespace example
