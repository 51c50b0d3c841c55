// SPDX-License-Identifier: Apache-2.0
//
// Locks on items: one writer, or any number of readers. A lock belongs to a connection and ends
// with it.
#pragma once

#include <map>
#include <set>
#include <string>

#include "kelvo_types.h"

namespace example {

class Connection;

class Locks {
  public:
    /// @return 0 or EXAMPLE_ERR_LOCKED; a lock that the client has already is no conflict
    kelvo_status lock_for_writing(const Connection& client, const std::string& path);
    kelvo_status lock_for_reading(const Connection& client, const std::string& path);
    /// @return 0, or KELVO_ERR_NOT_FOUND when the client has no lock on the item
    kelvo_status unlock(const Connection& client, const std::string& path);

    /// True when the client may change the item now.
    bool may_write(const Connection& client, const std::string& path) const;
    void forget(const Connection& client);

  private:
    struct Lock {
        const Connection* writer = nullptr;
        std::set<const Connection*> readers;

        bool empty() const { return writer == nullptr && readers.empty(); }
        bool held_by_others(const Connection& client) const;
    };

    std::map<std::string, Lock> locks_;
};

}  // namespace example
