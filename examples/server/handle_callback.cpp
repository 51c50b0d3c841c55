// SPDX-License-Identifier: Apache-2.0
//
// The verifier's side of a change: it fetches its work, and answers with an error set.
#include "handlers.h"
#include "kelvo_common_msg_callback.h"

namespace example {

// Answered now or later: when there is work.
std::optional<Reply> handle_callback_get(Request& request) {
    request.service.verifiers().fetch(request.client, request.number());
    return std::nullopt;
}

// Word 1 names the callback. No entries: the changes are accepted.
std::optional<Reply> handle_callback_reply(Request& request) {
    if (const kelvo_status status =
            kelvo_vrfn_msg_errorset_iterate_ntoh(request.data(), request.length()))
        return result(status);
    const auto fixed = fixed_part<kelvo_msg_errorset>(request.data());
    return result(request.service.verified(request.client, fixed.word1, fixed.count == 0));
}

}  // namespace example
