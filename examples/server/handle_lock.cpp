// SPDX-License-Identifier: Apache-2.0
//
// Locks on items. An item need not exist to be locked.
#include "handlers.h"
#include "kelvo_common_msg_transaction.h"

namespace example {
namespace {

using LockReader = decltype(&kelvo_common_msg_item_wrlock_interpret);
using LockAction = kelvo_status (Locks::*)(const Connection&, const std::string&);

std::optional<Reply> on_lock(Request& request, LockReader read, LockAction action) {
    char* path;
    if (const kelvo_status status = read(request.data(), request.length(), &path))
        return result(status);
    if (const kelvo_status status = request.service.owns(path)) return result(status);
    return result((request.service.locks().*action)(request.client, path));
}

}  // namespace

std::optional<Reply> handle_write_lock(Request& request) {
    return on_lock(request, kelvo_common_msg_item_wrlock_interpret, &Locks::lock_for_writing);
}

std::optional<Reply> handle_read_lock(Request& request) {
    return on_lock(request, kelvo_common_msg_item_rdlock_interpret, &Locks::lock_for_reading);
}

std::optional<Reply> handle_unlock(Request& request) {
    return on_lock(request, kelvo_common_msg_item_unlock_interpret, &Locks::unlock);
}

}  // namespace example
