// SPDX-License-Identifier: Apache-2.0
#include "notifiers.h"

#include <algorithm>

#include "connection.h"
#include "kelvo_common_msg_notify.h"
#include "status.h"

namespace example {
namespace {

constexpr std::size_t kMaxNotifiers = 1'000;
constexpr std::size_t kSetBytes = kMaxRequest;  // a set that has grown past this is sent

// One value of an entry: empty where the item has none, or has one of another type than the
// entry's.
std::vector<std::uint8_t> bytes_of(const std::optional<Value>& value, std::uint32_t type) {
    if (!value || value->type != type) return {};
    return wire_bytes(*value);
}

void add_entry(Layout& layout, const Effect& effect) {
    kelvo_msg_notifyset_entry entry{};
    const std::uint32_t type = type_of(effect);
    entry.kind = network(kind_of(effect));
    entry.type = network(type);
    entry.name_length = network(wire_length(effect.path));
    layout.fixed(entry)
        .text_body(effect.path)
        .value(bytes_of(effect.before, type))
        .value(bytes_of(effect.after, type));
}

void send_set(Connection& client, std::uint32_t id, Layout& entries, std::uint32_t count) {
    if (count == 0) return;
    kelvo_msg_notifyset fixed{};
    fixed.count = network(count);
    client.send({Kind::event, Layout().fixed(fixed).raw(entries.take()).take(), "notifyset"}, id);
}

}  // namespace

kelvo_status Notifiers::add(Connection& client, std::uint32_t id, const std::string& path) {
    for (const Notifier& each : notifiers_)
        if (each.client == &client && each.id == id) return KELVO_ERR_ALREADY_EXISTS;
    if (notifiers_.size() >= kMaxNotifiers) return EXAMPLE_ERR_STORE_FULL;
    notifiers_.push_back({&client, id, path});
    return 0;
}

kelvo_status Notifiers::remove(const Connection& client, std::uint32_t id) {
    const auto is_it = [&](const Notifier& each) {
        return each.client == &client && each.id == id;
    };
    return std::erase_if(notifiers_, is_it) != 0 ? 0 : KELVO_ERR_NOT_FOUND;
}

void Notifiers::forget(const Connection& client) {
    std::erase_if(notifiers_, [&](const Notifier& each) { return each.client == &client; });
}

// A great many changes are told in several sets.
void Notifiers::tell(const Effects& effects) const {
    for (const Notifier& notifier : notifiers_) {
        Layout entries;
        std::uint32_t count = 0;
        for (const Effect& effect : effects) {
            if (!effect.path.starts_with(notifier.path)) continue;
            add_entry(entries, effect);
            ++count;
            if (entries.size() < kSetBytes) continue;
            send_set(*notifier.client, notifier.id, entries, count);
            count = 0;
        }
        send_set(*notifier.client, notifier.id, entries, count);
    }
}

}  // namespace example
