// SPDX-License-Identifier: Apache-2.0
#include "dispatch.h"

#include <cstdio>

#include "handlers.h"
#include "kelvo_common_msg_item.h"
#include "status.h"

namespace example {
namespace {

// A type with the first of the library's operations that its handler gives the message to. The
// messages of the others are the common header alone. What comes after a conversion, the reader in
// host order of a registration, stays inside every message.
struct Row {
    std::uint32_t type;
    std::optional<kelvo_msg_operation> reads;
    Handler handle;
};

constexpr Row kRows[] = {
    {KELVO_MSG_BIND, KELVO_OPERATION_BIND, handle_bind},
    {KELVO_MSG_UNBIND, std::nullopt, handle_unbind},
    {KELVO_MSG_ITEM_GET, KELVO_OPERATION_GET_NTOH, handle_get},
    {KELVO_MSG_ITEM_GET_INH, KELVO_OPERATION_GET_NTOH, handle_get},
    {KELVO_MSG_ITEM_SET, KELVO_OPERATION_SET_NTOH, handle_set},
    {KELVO_MSG_ITEM_CREATE, KELVO_OPERATION_CREATE_NTOH, handle_create},
    {KELVO_MSG_ITEM_DELETE, KELVO_OPERATION_DELETE_NTOH, handle_delete},
    {KELVO_MSG_ITEM_COND_DELETE, KELVO_OPERATION_DELETE_NTOH, handle_delete},
    {KELVO_MSG_ITEM_VERIFY, KELVO_OPERATION_VERIFY_NTOH, handle_verify},
    {KELVO_MSG_LIST, KELVO_OPERATION_LIST, handle_list},
    {KELVO_MSG_DATALIST, KELVO_OPERATION_DATALIST, handle_datalist},
    {KELVO_MSG_GET_ITEMS, KELVO_OPERATION_GET_ITEMS_NTOH, handle_get_items},
    {KELVO_MSG_FIND, KELVO_OPERATION_FIND_NTOH, handle_find},
    {KELVO_MSG_FIND_GRP_AG, KELVO_OPERATION_FIND_GROUP_NTOH, handle_find_group},
    {KELVO_MSG_FIND_GRP_AH, KELVO_OPERATION_FIND_GROUP_NTOH, handle_find_group},
    {KELVO_MSG_TRANS_START, KELVO_OPERATION_TRANSACTION_START, handle_start},
    {KELVO_MSG_TRANS_COMMIT, KELVO_OPERATION_TRANSACTION_COMMIT, handle_commit},
    {KELVO_MSG_TRANS_ABORT, KELVO_OPERATION_TRANSACTION_ABORT, handle_abort},
    {KELVO_MSG_ITEM_WRLOCK, KELVO_OPERATION_WRITE_LOCK, handle_write_lock},
    {KELVO_MSG_ITEM_RDLOCK, KELVO_OPERATION_READ_LOCK, handle_read_lock},
    {KELVO_MSG_ITEM_UNLOCK, KELVO_OPERATION_UNLOCK, handle_unlock},
    {KELVO_MSG_BULK, KELVO_OPERATION_BULK_NEXT, handle_bulk},
    {KELVO_MSG_COPY, KELVO_OPERATION_COPY, handle_copy},
    {KELVO_MSG_NFN_REG, KELVO_OPERATION_NFN_REG_NTOH, handle_register_notifier},
    {KELVO_MSG_NFN_UNREG, KELVO_OPERATION_NFN_UNREG, handle_unregister_notifier},
    {KELVO_MSG_VRFN_REG, KELVO_OPERATION_VRFN_REG_NTOH, handle_register_verifier},
    {KELVO_MSG_VRFN_UNREG, KELVO_OPERATION_VRFN_UNREG, handle_unregister_verifier},
    {KELVO_MSG_CB_GET, std::nullopt, handle_callback_get},
    {KELVO_MSG_CB_RPLY_VERIFY, KELVO_OPERATION_ERRORSET_NTOH, handle_callback_reply},
};

const Row* row_of(std::uint32_t type) {
    for (const Row& row : kRows)
        if (row.type == type) return &row;
    return nullptr;
}

std::optional<Reply> handle(Request& request) {
    if (request.length() < sizeof(kelvo_msg_header)) return result(KELVO_ERR_MSG_LENGTH);
    if (request.message.frame().kind != Kind::request) return result(KELVO_ERR_MSG_CONTENT);
    const std::uint32_t type = request.message.type();
    const Row* const row = row_of(type);
    if (row == nullptr) return result(KELVO_ERR_NOT_SUPPORTED);
    if (!request.client.bound && type != KELVO_MSG_BIND) return result(EXAMPLE_ERR_NOT_BOUND);
    if (row->reads)
        if (const kelvo_status status = request.message.guard(*row->reads)) return result(status);
    return row->handle(request);
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
    client.received(message);
    const Frame frame = message.frame();
    const std::uint32_t type = message.type();
    Request request{service, client, message};
    std::optional<Reply> reply = handle(request);
    log(request, frame, type, outcome_of(reply).c_str());
    if (reply) client.send(std::move(*reply), frame.number);
}

}  // namespace example
