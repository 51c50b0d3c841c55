// SPDX-License-Identifier: Apache-2.0
#include "channels.h"

#include <cstdlib>
#include <stdexcept>

namespace example {
namespace {

// The resolver names the channels of the local, the shared configuration and the admin server. The
// other shared servers are told apart by their server type alone (the operational one travels as
// type 3); their names are this example's.
constexpr Channel kChannels[] = {
    {KELVO_NR_CHANNEL_LOCAL, "local", KELVO_NODE_PHYSICAL, KELVO_SERVER_LOCAL},
    {KELVO_NR_CHANNEL_SHARED_SC, "shared configuration", KELVO_NODE_SHARED, KELVO_SERVER_SHARED_SC},
    {"/dev/kelvosvr-primary-shared-nc", "shared operational", KELVO_NODE_SHARED,
     KELVO_SERVER_ADMIN},
    {"/dev/kelvosvr-primary-shared-data-nc", "shared data", KELVO_NODE_SHARED,
     KELVO_SERVER_SHARED_DATA_NC},
    {KELVO_NR_CHANNEL_ADMIN, "admin", KELVO_NODE_ADMIN, KELVO_SERVER_LOCAL},
};

}  // namespace

std::span<const Channel> channels() {
    return kChannels;
}

const Channel* channel_of(const kelvo_nr_answer& answer) {
    for (const Channel& channel : kChannels)
        if (channel.node_type == answer.node_type && channel.server_type == answer.server_type)
            return &channel;
    return nullptr;
}

const Channel* channel_named(const std::string& path) {
    for (const Channel& channel : kChannels)
        if (path == channel.path) return &channel;
    return nullptr;
}

std::string socket_path(const Channel& channel) {
    const char* directory = std::getenv("KELVO_RUNTIME_DIR");
    if (directory == nullptr || *directory == '\0')
        throw std::runtime_error(
            "KELVO_RUNTIME_DIR is not set: it names the directory below which the server keeps "
            "its sockets");
    return std::string(directory) + channel.path;
}

}  // namespace example
