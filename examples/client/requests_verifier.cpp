// SPDX-License-Identifier: Apache-2.0
//
// The verifier's side: registration, callbacks, and the error set that answers them.
#include <stdexcept>

#include "kelvo_common_msg_callback.h"
#include "kelvo_common_msg_registration.h"
#include "reader.h"
#include "requests.h"
#include "status.h"

namespace example {
namespace {

using Converter = decltype(&kelvo_vrfn_msg_errorset_iterate_hton);

// A message in host order is converted as a whole, just before it is sent.
kelvo_status convert_and_call(Session& session, Layout& layout, Converter convert) {
    std::vector<std::uint8_t> message = layout.take();
    if (const kelvo_status status =
            convert(message.data(), static_cast<std::uint32_t>(message.size())))
        return status;
    Message reply = session.call(message);
    return read_result(reply);
}

}  // namespace

kelvo_status register_verifier(Session& session, std::uint32_t id,
                               const std::vector<std::string>& paths) {
    kelvo_msg_vrfn_reg fixed{};
    fixed.header.type = KELVO_MSG_VRFN_REG;
    fixed.registration_id = id;
    fixed.count = static_cast<std::uint32_t>(paths.size());
    Layout layout(Layout::Order::host);
    layout.fixed(fixed);
    for (const std::string& path : paths) layout.text(path);
    return convert_and_call(session, layout, kelvo_common_msg_vrfn_reg_interpret_hton);
}

kelvo_status unregister_verifier(Session& session, std::uint32_t id) {
    kelvo_msg_unreg fixed{};
    fixed.header.type = KELVO_MSG_VRFN_UNREG;
    fixed.registration_id = network(id);
    std::vector<std::uint8_t> message = Layout().fixed(fixed).take();
    Message reply = session.call(message);
    return read_result(reply);
}

std::uint32_t fetch_callback(Session& session) {
    kelvo_msg_header header{};
    header.type = KELVO_MSG_CB_GET;
    const kelvo_slot list[] = {{&header, sizeof header}};
    return session.send(&header, list);
}

Callback read_callback(Session& session, std::uint32_t number) {
    Message reply = session.reply_to(number);
    if (reply.guard(KELVO_OPERATION_VERIFY_REPLY_NTOH) != 0 ||
        kelvo_lib_rply_cb_get_verify_interpret_ntoh(reply.data(), reply.length()) != 0)
        throw std::runtime_error("the reply is no callback");
    Reader reader(reply);
    const auto fixed = reader.fixed<kelvo_rply_cb_verify>();
    Callback callback{fixed.word1, {}};
    for (std::uint32_t i = 0; i < fixed.count; ++i) {
        const auto entry = reader.fixed<kelvo_cb_verify_entry>();
        std::string path = reader.text(entry.path.length);
        Value before = reader.counted_value(entry.type);
        Value after = reader.counted_value(entry.type);
        callback.changes.push_back(
            {entry.word2, std::move(path), std::move(before), std::move(after)});
    }
    return callback;
}

kelvo_status answer_callback(Session& session, const Callback& callback,
                             const std::string& objection) {
    kelvo_msg_errorset fixed{};
    fixed.header.type = KELVO_MSG_CB_RPLY_VERIFY;
    fixed.word1 = callback.id;
    fixed.count = objection.empty() ? 0 : 1;
    Layout layout(Layout::Order::host);
    layout.fixed(fixed);
    if (!objection.empty()) {
        kelvo_errorset_entry entry{};
        entry.word2 = EXAMPLE_ERR_VERIFIER_REFUSED;
        entry.data.length = wire_length(objection);
        layout.fixed(entry).text_body(objection);
    }
    return convert_and_call(session, layout, kelvo_vrfn_msg_errorset_iterate_hton);
}

}  // namespace example
