// SPDX-License-Identifier: Apache-2.0
//
// Registration for notifications, and the sets that arrive as events.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "kelvo_common_msg_notify.h"
#include "kelvo_common_msg_registration.h"
#include "layout.h"
#include "requests.h"

namespace example {
namespace {

// The set's end bounds a name, which need not end in NUL.
std::string name_of(const kelvo_notifyset_entry& entry, const kelvo_notifyset_iterator& set) {
    const auto room = static_cast<std::size_t>(static_cast<const char*>(set.end) - entry.name);
    return {entry.name, strnlen(entry.name, room)};
}

Notification notification_of(const kelvo_notifyset_entry& entry,
                             const kelvo_notifyset_iterator& set) {
    return {entry.kind, name_of(entry, set),
            value_from(entry.type, entry.first, entry.first_length),
            value_from(entry.type, entry.second, entry.second_length)};
}

}  // namespace

// Laid out in host order and converted as a whole, just before it is sent.
kelvo_status register_notifier(Session& session, std::uint32_t id, const std::string& path) {
    kelvo_msg_nfn_reg fixed{};
    fixed.header.type = KELVO_MSG_NFN_REG;
    fixed.registration_id = id;
    fixed.path.length = wire_length(path);
    std::vector<std::uint8_t> message = Layout().fixed(fixed).text_body(path).take();
    if (const kelvo_status status = kelvo_common_msg_nfn_reg_interpret_hton(
            message.data(), static_cast<std::uint32_t>(message.size())))
        return status;
    Message reply = session.call(message);
    return read_result(reply);
}

// There is no converter for an unregistration.
kelvo_status unregister_notifier(Session& session, std::uint32_t id) {
    kelvo_msg_unreg fixed{};
    fixed.header.type = KELVO_MSG_NFN_UNREG;
    fixed.registration_id = network(id);
    std::vector<std::uint8_t> message = Layout().fixed(fixed).take();
    Message reply = session.call(message);
    return read_result(reply);
}

std::vector<Notification> next_notifications(Session& session, std::uint32_t& id) {
    Message event = session.next_event();
    id = event.frame().number;
    kelvo_notifyset_iterator* set = nullptr;
    if (event.guard(KELVO_OPERATION_NOTIFYSET_VALUES) != 0 ||
        kelvo_lib_notifyset_interpret(event.data(), event.length(), &set) != 0)
        throw std::runtime_error("the event is no notification set");
    const std::unique_ptr<kelvo_notifyset_iterator, decltype(&std::free)> owner(set, &std::free);
    std::vector<Notification> all;
    kelvo_notifyset_entry entry;
    std::uint64_t kind_and_type;
    while (kelvo_common_notifyset_next(set, &entry, &kind_and_type) == 0)
        all.push_back(notification_of(entry, *set));
    return all;
}

}  // namespace example
