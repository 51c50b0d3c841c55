// SPDX-License-Identifier: Apache-2.0
//
// Every handler, by topic. The file of a topic is handle_<topic>.cpp.
#pragma once

#include "dispatch.h"

namespace example {

// bind
std::optional<Reply> handle_bind(Request& request);
std::optional<Reply> handle_unbind(Request& request);

// item
std::optional<Reply> handle_get(Request& request);
std::optional<Reply> handle_set(Request& request);
std::optional<Reply> handle_create(Request& request);
std::optional<Reply> handle_delete(Request& request);
std::optional<Reply> handle_verify(Request& request);

// list
std::optional<Reply> handle_list(Request& request);
std::optional<Reply> handle_datalist(Request& request);
std::optional<Reply> handle_get_items(Request& request);

// find
std::optional<Reply> handle_find(Request& request);
std::optional<Reply> handle_find_group(Request& request);

// transaction
std::optional<Reply> handle_start(Request& request);
std::optional<Reply> handle_commit(Request& request);
std::optional<Reply> handle_abort(Request& request);

// lock
std::optional<Reply> handle_write_lock(Request& request);
std::optional<Reply> handle_read_lock(Request& request);
std::optional<Reply> handle_unlock(Request& request);

// bulk
std::optional<Reply> handle_bulk(Request& request);

// copy
std::optional<Reply> handle_copy(Request& request);

// registration
std::optional<Reply> handle_register_notifier(Request& request);
std::optional<Reply> handle_unregister_notifier(Request& request);
std::optional<Reply> handle_register_verifier(Request& request);
std::optional<Reply> handle_unregister_verifier(Request& request);

// callback
std::optional<Reply> handle_callback_get(Request& request);
std::optional<Reply> handle_callback_reply(Request& request);

}  // namespace example
