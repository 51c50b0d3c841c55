// SPDX-License-Identifier: Apache-2.0
//
// From a path to the server that owns it, and on to the channel through which it is reached.
#pragma once

#include <string>

#include "channels.h"
#include "kelvo_node_resolver.h"

namespace example {

struct Owner {
    kelvo_status status = 0;
    kelvo_nr_answer answer{};
    const Channel* channel = nullptr;  // null when the answer has none on this node
    std::string channel_name;          // as the resolver gives it; empty for classes of servers

    /// "physical local on node 0/0", "shared shared_sc" ...
    std::string description() const;
};

/// Asks the resolver for both. `options` are its KELVO_NR_OPT_... bits.
Owner resolve(const std::string& path, std::uint32_t options = 0);

}  // namespace example
