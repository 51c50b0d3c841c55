// SPDX-License-Identifier: Apache-2.0
//
// Transactions: changes between start and commit take effect together, or, after abort, not at all.
#include "handlers.h"
#include "kelvo_common_msg_transaction.h"

namespace example {

std::optional<Reply> handle_start(Request& request) {
    std::uint64_t words[2];
    std::uint32_t options;
    if (const kelvo_status status =
            kelvo_common_msg_transtart_interpret(request.data(), request.length(), words, &options))
        return result(status);
    return result(request.service.begin(request.client));
}

std::optional<Reply> handle_commit(Request& request) {
    if (const kelvo_status status =
            kelvo_common_msg_trancommit_interpret(request.data(), request.length()))
        return result(status);
    return request.service.commit(request.client, request.number());
}

std::optional<Reply> handle_abort(Request& request) {
    if (const kelvo_status status =
            kelvo_common_msg_tranabort_interpret(request.data(), request.length()))
        return result(status);
    return result(request.service.abort(request.client));
}

}  // namespace example
