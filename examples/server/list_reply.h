// SPDX-License-Identifier: Apache-2.0
//
// The reply to list, data-list, find and get-items: one group of entries. Group word 1 says whether
// more would follow; the client asks for it by the last name that it got.
#pragma once

#include <string>

#include "reply.h"

namespace example {

class ListReply {
  public:
    /// At most `limit` entries; 0 leaves it to the server.
    explicit ListReply(std::uint32_t limit);

    /// An entry of a list reply: a name, which ends with "/" when more lies below it.
    void add_name(const std::string& name);
    /// An entry of a data-list reply. The first value is the item's, the second is empty; word 2 is
    /// the item's status.
    void add_item(const std::string& name, const Value* value, kelvo_status status = 0);

    /// True when no further entry is to be added. Whoever had one calls stop_here() and ends its
    /// walk.
    bool full() const;
    bool stop_here() {
        more_ = true;
        return false;
    }
    /// True when the reply has become larger than a message may be.
    bool too_large() const { return entries_.size() > kMaxReply / 2; }

    Reply take();

  private:
    Layout entries_;
    std::uint32_t limit_;
    std::uint32_t count_ = 0;
    bool more_ = false;
    const char* layout_ = "list_reply";
};

}  // namespace example
