// SPDX-License-Identifier: Apache-2.0
//
// Bind, unbind and the requests on one item.
//
// A composer fills cells and a list in the caller's storage and points the slots at them, so all of
// it lives in one small record per request until the list has been sent. The value is converted
// where it lies: each function takes its own copy.
#include <unistd.h>

#include <arpa/inet.h>

#include <cstring>
#include <stdexcept>

#include "kelvo_common_msg_bind.h"
#include "kelvo_common_msg_item.h"
#include "requests.h"

namespace example {
namespace {

using ItemComposer = decltype(&kelvo_common_msg_item_set_compose);

struct Cells {
    kelvo_length_cell names{}, type{}, path_length{}, value_length{};
};

std::uint32_t send_item(Session& session, ItemComposer compose, const std::string& path,
                        Value& value) {
    kelvo_msg_item_request header{};
    Cells cells;
    kelvo_slot list[9];
    compose(&header, &cells.names.length, &cells.type.length, &cells.path_length.length,
            &cells.value_length.length, path.c_str(), value.type, value.bytes.data(),
            static_cast<std::int32_t>(value.bytes.size()), 0, list);
    return session.send(&header, list);
}

kelvo_status call_item(Session& session, ItemComposer compose, const std::string& path,
                       Value& value) {
    Message reply = session.reply_to(send_item(session, compose, path, value));
    return read_result(reply);
}

}  // namespace

// The library answers KELVO_ERR_REPLY_FAILED for any refusal; which one it was stands in the reply.
kelvo_status read_result(Message& reply, Value* value) {
    if (reply.frame().kind != Kind::result) throw std::runtime_error("the reply is no result");
    if (const kelvo_status status = reply.guard(KELVO_OPERATION_GET_REPLY_NTOH)) return status;
    const kelvo_status status =
        kelvo_lib_rply_item_get_interpret_ntoh(reply.data(), reply.length());
    if (status != 0 && status != KELVO_ERR_REPLY_FAILED) return status;
    kelvo_rply_item_get fixed;
    std::memcpy(&fixed, reply.data(), sizeof fixed);
    if (status == KELVO_ERR_REPLY_FAILED) return fixed.result;
    if (value != nullptr)
        *value = value_from(fixed.type, reply.data() + sizeof fixed, fixed.length);
    return 0;
}

// The composer always writes this library's protocol version; a wrong one has to be forged.
kelvo_status bind(Session& session, std::uint32_t version) {
    kelvo_msg_bind header{};
    kelvo_length_cell process{}, purpose{};
    kelvo_slot list[7];
    kelvo_common_msg_bind_compose(&header, &process.length, "kelvo-example-client",
                                  static_cast<std::uint32_t>(getpid()), 0, 0, 0, 0, 0, 0, 0,
                                  &purpose.length, "demonstration", list);
    header.version = htonl(version);
    Message reply = session.call(&header, list);
    return read_result(reply);
}

kelvo_status unbind(Session& session) {
    kelvo_msg_header header{};
    kelvo_common_msg_unbind_compose(&header);
    const kelvo_slot list[] = {{&header, sizeof header}};
    Message reply = session.call(&header, list);
    return read_result(reply);
}

kelvo_status get(Session& session, const std::string& path, Value& value) {
    kelvo_msg_item_request header{};
    Cells cells;
    kelvo_slot list[6];
    kelvo_lib_msg_item_get_compose(&header, &cells.names.length, &cells.type.length,
                                   &cells.path_length.length, const_cast<char*>(path.c_str()), 0,
                                   list);
    Message reply = session.call(&header, list);
    return read_result(reply, &value);
}

kelvo_status set(Session& session, const std::string& path, Value value) {
    return call_item(session, kelvo_common_msg_item_set_compose, path, value);
}

kelvo_status create(Session& session, const std::string& path, Value value) {
    return call_item(session, kelvo_common_msg_item_create_compose, path, value);
}

kelvo_status remove(Session& session, const std::string& path) {
    Value nothing;
    return call_item(session, kelvo_common_msg_item_delete_compose, path, nothing);
}

kelvo_status remove_if(Session& session, const std::string& path, Value value) {
    return call_item(session, kelvo_common_msg_item_delete_compose, path, value);
}

std::uint32_t send_set(Session& session, const std::string& path, Value value) {
    return send_item(session, kelvo_common_msg_item_set_compose, path, value);
}

kelvo_status verify(Session& session, const std::string& path, Value value) {
    kelvo_msg_item_verify header{};
    Cells cells;
    kelvo_slot list[7];
    kelvo_common_msg_item_verify_compose(
        &header, &cells.path_length.length, &cells.value_length.length, path.c_str(), value.type,
        value.bytes.data(), static_cast<std::int32_t>(value.bytes.size()), 0, list);
    Message reply = session.call(&header, list);
    return read_result(reply);
}

}  // namespace example
