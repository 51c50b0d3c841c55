// SPDX-License-Identifier: Apache-2.0
#include "dispatch.h"

#include <cstdio>

#include "handlers.h"
#include "kelvo_common_msg_item.h"
#include "status.h"

namespace example {
namespace {

struct Row {
    std::uint32_t type;
    Handler handle;
};

constexpr Row kRows[] = {
    {KELVO_MSG_BIND, handle_bind},
    {KELVO_MSG_UNBIND, handle_unbind},
    {KELVO_MSG_ITEM_GET, handle_get},
    {KELVO_MSG_ITEM_GET_INH, handle_get},
    {KELVO_MSG_ITEM_SET, handle_set},
    {KELVO_MSG_ITEM_CREATE, handle_create},
    {KELVO_MSG_ITEM_DELETE, handle_delete},
    {KELVO_MSG_ITEM_COND_DELETE, handle_delete},
    {KELVO_MSG_ITEM_VERIFY, handle_verify},
    {KELVO_MSG_LIST, handle_list},
    {KELVO_MSG_DATALIST, handle_datalist},
    {KELVO_MSG_GET_ITEMS, handle_get_items},
    {KELVO_MSG_FIND, handle_find},
    {KELVO_MSG_FIND_GRP_AG, handle_find_group},
    {KELVO_MSG_FIND_GRP_AH, handle_find_group},
    {KELVO_MSG_TRANS_START, handle_start},
    {KELVO_MSG_TRANS_COMMIT, handle_commit},
    {KELVO_MSG_TRANS_ABORT, handle_abort},
    {KELVO_MSG_ITEM_WRLOCK, handle_write_lock},
    {KELVO_MSG_ITEM_RDLOCK, handle_read_lock},
    {KELVO_MSG_ITEM_UNLOCK, handle_unlock},
    {KELVO_MSG_BULK, handle_bulk},
    {KELVO_MSG_COPY, handle_copy},
    {KELVO_MSG_NFN_REG, handle_register_notifier},
    {KELVO_MSG_NFN_UNREG, handle_unregister_notifier},
    {KELVO_MSG_VRFN_REG, handle_register_verifier},
    {KELVO_MSG_VRFN_UNREG, handle_unregister_verifier},
    {KELVO_MSG_CB_GET, handle_callback_get},
    {KELVO_MSG_CB_RPLY_VERIFY, handle_callback_reply},
};

Handler handler_of(std::uint32_t type) {
    for (const Row& row : kRows)
        if (row.type == type) return row.handle;
    return nullptr;
}

std::optional<Reply> handle(Request& request) {
    if (request.length() < sizeof(kelvo_msg_header)) return result(KELVO_ERR_MSG_LENGTH);
    if (request.message.frame().kind != Kind::request) return result(KELVO_ERR_MSG_CONTENT);
    const std::uint32_t type = request.message.type();
    const Handler handler = handler_of(type);
    if (handler == nullptr) return result(KELVO_ERR_NOT_SUPPORTED);
    if (!request.client.bound && type != KELVO_MSG_BIND) return result(EXAMPLE_ERR_NOT_BOUND);
    return handler(request);
}

// One line per request: the server's log.
void log(const Request& request, const Frame& frame, std::uint32_t type, const char* outcome) {
    std::printf("%-36s #%-4u %-12s %6u bytes  %s\n", request.service.channel().path, frame.number,
                request.length() < sizeof(kelvo_msg_header) ? "-" : kelvo_comm_msg_desc(type),
                request.length(), outcome);
    std::fflush(stdout);
}

std::string outcome_of(const std::optional<Reply>& reply) {
    if (!reply) return "answered later";
    return reply->kind == Kind::result ? status_name(status_of(*reply)) : "answered";
}

}  // namespace

void dispatch(Service& service, Connection& client, Message message) {
    const Frame frame = message.frame();
    const std::uint32_t type = message.type();
    Request request{service, client, message};
    std::optional<Reply> reply = handle(request);
    log(request, frame, type, outcome_of(reply).c_str());
    if (reply) client.send(std::move(*reply), frame.number);
}

}  // namespace example
