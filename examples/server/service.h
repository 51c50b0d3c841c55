// SPDX-License-Identifier: Apache-2.0
//
// One server of this node as its clients see it: a channel, the items that it owns, and what its
// clients have opened on them. Handlers (handle_*.cpp) translate between messages and this.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "change.h"
#include "channels.h"
#include "connection.h"
#include "locks.h"
#include "notifiers.h"
#include "storage.h"
#include "verifiers.h"

namespace example {

class Service {
  public:
    Service(const Channel& channel, std::unique_ptr<Storage> items)
        : channel_(channel), items_(std::move(items)) {}

    const Channel& channel() const { return channel_; }

    /// 0 when the resolver gives this path to this server, else the status that says why not.
    /// `pattern` allows regular expressions in it.
    kelvo_status owns(const std::string& path, bool pattern = false) const;

    /// An item as this client sees it, changes of its own open transaction included, or null.
    const Value* look(const Connection& client, const std::string& path) const;
    /// The items as they are committed, for walks in order.
    const Storage& items() const { return *items_; }

    /// Makes changes for a client: into its open transaction, or at once. Either all are made or
    /// none. Returns nothing when a verifier is asked first; the request of this number is then
    /// answered when the verifier has answered.
    std::optional<Reply> change(Connection& client, std::uint32_t number, Changes changes);

    kelvo_status begin(Connection& client);
    std::optional<Reply> commit(Connection& client, std::uint32_t number);
    kelvo_status abort(Connection& client);

    /// A verifier's answer to a callback. @return 0, or KELVO_ERR_NOT_FOUND for one that it has not
    /// fetched
    kelvo_status verified(const Connection& verifier, std::uint32_t callback, bool accepted);

    Locks& locks() { return locks_; }
    Notifiers& notifiers() { return notifiers_; }
    Verifiers& verifiers() { return verifiers_; }

    /// Drops everything that a client had here.
    void forget(Connection& client);

  private:
    kelvo_status stage(Connection& client, Changes changes);
    std::optional<Reply> commit(Connection& client, std::uint32_t number, Changes changes);
    kelvo_status may_change(const Connection& client, const Changes& changes) const;
    Effects effects_of(const Changes& changes) const;
    kelvo_status apply(const Effects& effects);

    const Channel& channel_;
    std::unique_ptr<Storage> items_;
    Locks locks_;
    Notifiers notifiers_;
    Verifiers verifiers_;
};

}  // namespace example
