// SPDX-License-Identifier: Apache-2.0
//
// The channels of this node. A channel is named by a device path; in this example it is a
// Unix-domain socket at that path below $KELVO_RUNTIME_DIR.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "kelvo_node_resolver.h"

namespace example {

struct Channel {
    const char* path;           // as the resolver names it
    const char* server;         // for people
    std::int32_t node_type;     // what the resolver answers for paths of this server ...
    std::uint32_t server_type;  // ... both together
};

/// Every channel that the example server owns.
std::span<const Channel> channels();

/// The channel of a resolver's answer, or null when this node has none for it.
const Channel* channel_of(const kelvo_nr_answer& answer);

/// The channel with this path, or null.
const Channel* channel_named(const std::string& path);

/// The socket of a channel. Throws std::runtime_error when KELVO_RUNTIME_DIR is not set.
std::string socket_path(const Channel& channel);

}  // namespace example
