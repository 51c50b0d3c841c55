// SPDX-License-Identifier: Apache-2.0
//
// What the server asks of a store of items, and nothing more: any ordered keyed store will do.
// Items are kept in the store's path order (kelvo_util_compare_paths), so the items below a path
// stand together, directly after it.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "value.h"

namespace example {

class Storage {
  public:
    virtual ~Storage() = default;

    /// The item's value, or null. Valid until the next change.
    virtual const Value* get(const std::string& path) const = 0;
    /// Stores or replaces an item. False when there is no room.
    virtual bool put(const std::string& path, Value value) = 0;
    /// Removes an item, if it is there.
    virtual void remove(const std::string& path) = 0;
    /// Visits the items in order, beginning with the first that is not before `from`, until the
    /// visitor returns false.
    using Visitor = std::function<bool(const std::string& path, const Value& value)>;
    virtual void range(const std::string& from, const Visitor& visit) const = 0;
    /// Makes what was changed since the last commit durable, as far as this store can.
    virtual void commit() = 0;
};

/// A store in memory; its items end with the process.
std::unique_ptr<Storage> make_memory_storage();

}  // namespace example
