// SPDX-License-Identifier: Apache-2.0
#include "verifiers.h"

#include <algorithm>
#include <new>

#include "kelvo_common_msg_callback.h"
#include "status.h"

namespace example {
namespace {

constexpr std::size_t kMaxVerifiers = 1'000;
constexpr std::size_t kMaxWaiting = 100;

// Both values of an entry are of its type; in host order, since the whole reply is converted.
std::vector<std::uint8_t> bytes_of(const std::optional<Value>& value, std::uint32_t type) {
    if (!value || value->type != type) return {};
    return value->bytes;
}

// The callback: a verify reply, laid out in host order and converted by the library.
Reply callback(std::uint32_t id, const Effects& effects) {
    Layout layout(Layout::Order::host);
    kelvo_rply_cb_verify fixed{};
    fixed.word1 = id;
    fixed.count = static_cast<std::uint32_t>(effects.size());
    layout.fixed(fixed);
    for (const Effect& effect : effects) {
        kelvo_cb_verify_entry entry{};
        entry.word2 = kind_of(effect);
        entry.type = type_of(effect);
        entry.path.length = wire_length(effect.path);
        layout.fixed(entry)
            .text_body(effect.path)
            .value(bytes_of(effect.before, entry.type))
            .value(bytes_of(effect.after, entry.type));
    }
    std::vector<std::uint8_t> message = layout.take();
    kelvo_lib_rply_cb_get_verify_interpret_hton(message.data(),
                                                static_cast<std::uint32_t>(message.size()));
    return {Kind::answer, std::move(message), "cb_verify_reply"};
}

}  // namespace

kelvo_status Verifiers::add(Connection& client, std::uint32_t id, std::vector<std::string> paths) {
    for (const Verifier& each : verifiers_)
        if (each.client == &client && each.id == id) return KELVO_ERR_ALREADY_EXISTS;
    if (verifiers_.size() >= kMaxVerifiers) return EXAMPLE_ERR_STORE_FULL;
    verifiers_.push_back({&client, id, std::move(paths)});
    return 0;
}

kelvo_status Verifiers::remove(const Connection& client, std::uint32_t id) {
    const auto is_it = [&](const Verifier& each) {
        return each.client == &client && each.id == id;
    };
    return std::erase_if(verifiers_, is_it) != 0 ? 0 : KELVO_ERR_NOT_FOUND;
}

Connection* Verifiers::verifier_of(const Connection& requester, const Changes& changes) const {
    for (const Verifier& verifier : verifiers_) {
        if (verifier.client == &requester) continue;
        for (const std::string& path : verifier.paths)
            for (const Change& change : changes)
                if (change.path.starts_with(path)) return verifier.client;
    }
    return nullptr;
}

bool Verifiers::waiting_for(const std::string& path) const {
    for (const Verification& each : waiting_)
        for (const Change& change : each.changes)
            if (change.path == path) return true;
    return false;
}

bool Verifiers::ask(Connection& verifier, Connection& requester, std::uint32_t number,
                    Changes changes, const Effects& effects) {
    if (waiting_.size() >= kMaxWaiting) return false;
    const std::uint32_t id = ++last_id_;
    waiting_.push_back(
        {id, &verifier, &requester, number, std::move(changes), callback(id, effects)});
    deliver(verifier);
    return true;
}

void Verifiers::fetch(Connection& verifier, std::uint32_t number) {
    fetching_[&verifier] = number;
    deliver(verifier);
}

// Work and a request for it meet here, whichever came first.
void Verifiers::deliver(Connection& verifier) {
    const auto fetching = fetching_.find(&verifier);
    if (fetching == fetching_.end()) return;
    for (Verification& each : waiting_) {
        if (each.verifier != &verifier || !each.work) continue;
        verifier.send(std::move(*each.work), fetching->second);
        each.work.reset();
        fetching_.erase(fetching);
        return;
    }
}

std::optional<Verification> Verifiers::take(const Connection& verifier, std::uint32_t id) {
    for (auto each = waiting_.begin(); each != waiting_.end(); ++each) {
        if (each->verifier != &verifier || each->id != id || each->work) continue;
        std::optional<Verification> taken = std::move(*each);
        waiting_.erase(each);
        return taken;
    }
    return std::nullopt;
}

std::list<Verification> Verifiers::forget(const Connection& client) {
    std::erase_if(verifiers_, [&](const Verifier& each) { return each.client == &client; });
    std::erase_if(waiting_, [&](const Verification& each) { return each.requester == &client; });
    fetching_.erase(&client);
    std::list<Verification> orphans;
    for (auto each = waiting_.begin(); each != waiting_.end();) {
        const auto next = std::next(each);
        if (each->verifier == &client) orphans.splice(orphans.end(), waiting_, each);
        each = next;
    }
    return orphans;
}

}  // namespace example
