// SPDX-License-Identifier: Apache-2.0
//
// Who is to be told of changes: registered notifiers, each with a path below which it listens. A
// change is reported as a notification set, sent as an event under the registration's id.
#pragma once

#include <string>
#include <vector>

#include "change.h"
#include "kelvo_types.h"

namespace example {

class Connection;

class Notifiers {
  public:
    /// @return 0, or KELVO_ERR_ALREADY_EXISTS when the client has a registration of this id
    kelvo_status add(Connection& client, std::uint32_t id, const std::string& path);
    /// @return 0 or KELVO_ERR_NOT_FOUND
    kelvo_status remove(const Connection& client, std::uint32_t id);
    void forget(const Connection& client);

    /// Tells every notifier what concerns it.
    void tell(const Effects& effects) const;

  private:
    struct Notifier {
        Connection* client;
        std::uint32_t id;
        std::string path;
    };

    std::vector<Notifier> notifiers_;
};

}  // namespace example
