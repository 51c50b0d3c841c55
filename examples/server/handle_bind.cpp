// SPDX-License-Identifier: Apache-2.0
//
// Bind and unbind. A bind of another protocol version is refused by the library's reader.
#include "handlers.h"
#include "kelvo_common_msg_bind.h"

namespace example {

std::optional<Reply> handle_bind(Request& request) {
    std::uint32_t version, reserved, job_id, node_id, p3, p4, p6;
    char *process, *purpose;
    const kelvo_status status = kelvo_common_msg_bind_interpret(
        request.data(), request.length(), &version, &reserved, &job_id, &process, &node_id, &p3,
        &p4, nullptr, &p6, &purpose, nullptr, nullptr);
    if (status == 0) request.client.bound = true;
    return result(status);
}

// An unbind is the common header, which the dispatcher has found whole.
std::optional<Reply> handle_unbind(Request& request) {
    request.service.forget(request.client);
    request.client.bound = false;
    return result(0);
}

}  // namespace example
