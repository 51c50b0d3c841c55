// SPDX-License-Identifier: Apache-2.0
//
// How a change comes about: locks are looked at, then it is staged in the client's transaction, put
// to a verifier, or applied, and whoever listens is told.
#include "service.h"

#include <algorithm>
#include <set>

#include "kelvo_node_resolver.h"
#include "status.h"

namespace example {
namespace {

constexpr std::size_t kMaxStagedBytes = std::size_t{4} * kMaxRequest;  // of one transaction
constexpr std::size_t kMaxVerifiedBytes = kMaxReply / 2;  // of the changes in one callback

std::size_t size_of(const std::optional<Value>& value) {
    return value ? value->bytes.size() : 0;
}

std::size_t size_of(const Changes& changes) {
    std::size_t size = 0;
    for (const Change& each : changes) size += each.path.size() + size_of(each.value) + 64;
    return size;
}

std::size_t size_of(const Effects& effects) {
    std::size_t size = 0;
    for (const Effect& each : effects)
        size += each.path.size() + size_of(each.before) + size_of(each.after) + 64;
    return size;
}

}  // namespace

// Clients resolve before they send, but nothing obliges them to. Option 0x4 is the server's side of
// it: a path that names a node or an interface has already been brought to the right node.
kelvo_status Service::owns(const std::string& path, bool pattern) const {
    kelvo_nr_answer answer;
    std::uint32_t ambiguous = 0;
    const std::uint32_t options = KELVO_NR_OPT_SERVER | (pattern ? KELVO_NR_OPT_REGEXP : 0);
    if (const kelvo_status status =
            kelvo_nr_lookup_node("", path.c_str(), options, &answer, &ambiguous))
        return status;
    if (ambiguous != 0) return KELVO_ERR_BAD_PATH;  // what is asked for must have one owner
    return channel_of(answer) == &channel_ ? 0 : KELVO_ERR_NO_OWNER;
}

const Value* Service::look(const Connection& client, const std::string& path) const {
    if (client.transaction) {
        const Changes& staged = *client.transaction;
        const auto last = std::find_if(staged.rbegin(), staged.rend(),
                                       [&](const Change& each) { return each.path == path; });
        if (last != staged.rend()) return last->value ? &*last->value : nullptr;
    }
    return items_->get(path);
}

kelvo_status Service::may_change(const Connection& client, const Changes& changes) const {
    for (const Change& each : changes)
        if (!locks_.may_write(client, each.path) || verifiers_.waiting_for(each.path))
            return EXAMPLE_ERR_LOCKED;
    return 0;
}

std::optional<Reply> Service::change(Connection& client, std::uint32_t number, Changes changes) {
    if (const kelvo_status status = may_change(client, changes)) return result(status);
    if (client.transaction) return result(stage(client, std::move(changes)));
    return commit(client, number, std::move(changes));
}

kelvo_status Service::begin(Connection& client) {
    if (client.transaction) return EXAMPLE_ERR_NO_TRANSACTION;
    client.transaction.emplace();
    return 0;
}

kelvo_status Service::stage(Connection& client, Changes changes) {
    if (size_of(*client.transaction) + size_of(changes) > kMaxStagedBytes)
        return EXAMPLE_ERR_STORE_FULL;
    for (Change& each : changes) client.transaction->push_back(std::move(each));
    return 0;
}

kelvo_status Service::abort(Connection& client) {
    if (!client.transaction) return EXAMPLE_ERR_NO_TRANSACTION;
    client.transaction.reset();
    return 0;
}

// Locks may have been taken since the changes were staged; a commit that is refused for one can be
// tried again.
std::optional<Reply> Service::commit(Connection& client, std::uint32_t number) {
    if (!client.transaction) return result(EXAMPLE_ERR_NO_TRANSACTION);
    if (const kelvo_status status = may_change(client, *client.transaction)) return result(status);
    Changes changes = std::move(*client.transaction);
    client.transaction.reset();
    return commit(client, number, std::move(changes));
}

std::optional<Reply> Service::commit(Connection& client, std::uint32_t number, Changes changes) {
    const Effects effects = effects_of(changes);
    Connection* const verifier = verifiers_.verifier_of(client, changes);
    if (verifier == nullptr) return result(apply(effects));
    if (size_of(effects) > kMaxVerifiedBytes) return result(EXAMPLE_ERR_TOO_LARGE);
    if (!verifiers_.ask(*verifier, client, number, std::move(changes), effects))
        return result(EXAMPLE_ERR_LOCKED);
    return std::nullopt;
}

// What changes come to: the last one of each item counts, and only if it makes a difference.
Effects Service::effects_of(const Changes& changes) const {
    Effects effects;
    std::set<std::string> seen;
    for (auto each = changes.rbegin(); each != changes.rend(); ++each) {
        if (!seen.insert(each->path).second) continue;
        const Value* before = items_->get(each->path);
        Effect effect{each->path, before ? std::optional(*before) : std::nullopt, each->value};
        if (effect.before != effect.after) effects.push_back(std::move(effect));
    }
    std::reverse(effects.begin(), effects.end());
    return effects;
}

// All or nothing: when the store runs out of room, what has been done is undone.
kelvo_status Service::apply(const Effects& effects) {
    const auto put = [this](const std::string& path, const std::optional<Value>& value) {
        if (value) return items_->put(path, *value);
        items_->remove(path);
        return true;
    };
    for (std::size_t done = 0; done < effects.size(); ++done) {
        if (put(effects[done].path, effects[done].after)) continue;
        while (done-- > 0) put(effects[done].path, effects[done].before);
        return EXAMPLE_ERR_STORE_FULL;
    }
    items_->commit();
    notifiers_.tell(effects);
    return 0;
}

kelvo_status Service::verified(const Connection& verifier, std::uint32_t callback, bool accepted) {
    std::optional<Verification> asked = verifiers_.take(verifier, callback);
    if (!asked) return KELVO_ERR_NOT_FOUND;
    const kelvo_status outcome =
        accepted ? apply(effects_of(asked->changes)) : EXAMPLE_ERR_VERIFIER_REFUSED;
    asked->requester->send(result(outcome), asked->number);
    return 0;
}

void Service::forget(Connection& client) {
    client.transaction.reset();
    locks_.forget(client);
    notifiers_.forget(client);
    for (const Verification& orphan : verifiers_.forget(client))
        orphan.requester->send(result(EXAMPLE_ERR_VERIFIER_GONE), orphan.number);
}

}  // namespace example
