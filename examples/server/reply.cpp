// SPDX-License-Identifier: Apache-2.0
#include "reply.h"

#include "kelvo_common_msg_item.h"

namespace example {
namespace {

Reply item_reply(kelvo_status status, const Value& value) {
    kelvo_rply_item_get fixed{};
    fixed.result = network(status);
    fixed.type = network(value.type);
    fixed.length = network(static_cast<std::uint32_t>(value.bytes.size()));
    return {Kind::result, Layout().fixed(fixed).value_body(wire_bytes(value)).take(),
            "item_get_reply"};
}

}  // namespace

Reply result(kelvo_status status) {
    return item_reply(status, Value{});
}

Reply result(const Value& value) {
    return item_reply(0, value);
}

kelvo_status status_of(const Reply& reply) {
    if (reply.kind != Kind::result) return 0;
    return network(fixed_part<kelvo_rply_item_get>(reply.message.data()).result);
}

}  // namespace example
