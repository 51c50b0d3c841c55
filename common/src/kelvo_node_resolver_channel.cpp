// SPDX-License-Identifier: Apache-2.0
//
// From the server that owns a path to the channel on which it is reached; the choice among the
// shared servers.
#include <cstdlib>
#include <cstring>

#include "kelvo_assert.h"
#include "kelvo_format.h"
#include "kelvo_node_resolver_state.h"
#include "kelvo_report.h"

using namespace kelvo;
using namespace kelvo::nr;

namespace {

/// The shared server for the paths that start like this. Texts, not pointers to them: these would
/// have to be relocated in every process.
struct SharedServer {
    char start[24];
    kelvo_node_type node_type;
    kelvo_server_type server_type;
    char name[16];
};

/// The first that fits is the one.
constexpr SharedServer kSharedServers[] = {
    {"cfg/", KELVO_NODE_SHARED, KELVO_SERVER_SHARED_SC, "shared-sc"},
    {"oper/kelvo/gl/sc", KELVO_NODE_SHARED, KELVO_SERVER_SHARED_SC, "shared-sc"},
    {"debug/gl/LR/ALL/kelvo/", KELVO_NODE_ALL_SHARED, KELVO_SERVER_LOCAL, "all shared"},
    {"data/", KELVO_NODE_SHARED, KELVO_SERVER_SHARED_DATA_NC, "shared-data-nc"},
    {"oper/kelvo/gl/nc-data", KELVO_NODE_SHARED, KELVO_SERVER_SHARED_DATA_NC, "shared-data-nc"},
    // Operational data really has the admin server's number: the wire knows it by that.
    {"", KELVO_NODE_SHARED, KELVO_SERVER_ADMIN, "shared-nc"},
};

/// A channel's name without memory for it is null.
char* local_channel() {
    auto* const channel = static_cast<char*>(std::malloc(sizeof KELVO_NR_CHANNEL_LOCAL));
    if (channel == nullptr) return nullptr;
    std::memcpy(channel, KELVO_NR_CHANNEL_LOCAL, sizeof KELVO_NR_CHANNEL_LOCAL);
    return channel;
}

/// The channel of another node's local server. 0 with a null channel says that there is no memory.
kelvo_status channel_of_node(u32 nodeid, char** channel) {
    char name[20];
    if (platform_node_name(nodeid, name, sizeof name) != 0) return KELVO_ERR_NODE_NAME;
    const std::size_t size = std::strlen(name) + 25;
    auto* const text = static_cast<char*>(std::malloc(size));
    *channel = text;
    if (text == nullptr) return 0;
    const kelvo_status status = format_text(text, size, KELVO_NR_CHANNEL_LOCAL_OF "%s", name);
    if (status != 0) std::free(text);
    return status;
}

bool is_this_node(const kelvo_nr_answer& answer) {
    return answer.node_type == KELVO_NODE_PHYSICAL && answer.node_id == state.local.node_id;
}

/// The new text for an answer that has a channel of its own.
kelvo_status own_channel(const kelvo_nr_answer& answer, char** channel) {
    if (is_this_node(answer)) {
        *channel = local_channel();
        return 0;
    }
    if (answer.node_type != KELVO_NODE_PHYSICAL) {
        report_internal("Bad node type (no LWM channel)", static_cast<u32>(answer.node_type));
        return KELVO_ERR_BAD_NODE_TYPE;
    }
    if (centralised()) {
        *channel = local_channel();
        return 0;
    }
    return channel_of_node(answer.node_id, channel);
}

/// Classes of servers, the shared and the admin server are reached by their type, not a channel.
bool is_reached_by_type(kelvo_node_type type) {
    return type < 0 || type == KELVO_NODE_SHARED || type == KELVO_NODE_ADMIN;
}

}  // namespace

const char* kelvo_nr_get_remote_basename(const char* path) {
    const char* rest = path;
    if (starts_with(path, "remote")) {
        const char* const first = std::strchr(path, '/');
        const char* const second = first != nullptr ? std::strchr(first + 1, '/') : nullptr;
        if (second != nullptr) rest = second + 1;
    }
    KELVO_NR_DEBUG("%s: %s -> %s", "kelvo_nr_get_remote_basename", path, rest);
    return rest;
}

void kelvo_nr_lookup_shared(const char* path, kelvo_nr_answer* out) {
    if (path[0] == 'r') path = kelvo_nr_get_remote_basename(path);
    const SharedServer* server = kSharedServers;
    while (!starts_with(path, server->start)) ++server;
    out->node_type = server->node_type;
    out->node_id = KELVO_NODEID_INVALID;
    out->server_type = server->server_type;
    KELVO_NR_DEBUG("%s: %s -> %s", "kelvo_nr_lookup_shared", path, server->name);
}

kelvo_status kelvo_nr_lookup_chan(const char* path, uint32_t options, char** channel,
                                  uint32_t* several, int32_t* node_type) {
    if (any_null(path, channel)) return KELVO_ERR_NULL_PARAM;

    kelvo_nr_answer answer;
    u32 ambiguous = 0;
    if (const auto status = kelvo_nr_lookup_node(path, "", options, &answer, &ambiguous)) {
        return status;
    }

    char* name = const_cast<char*>("");
    if (!is_reached_by_type(answer.node_type)) {
        if (const auto status = own_channel(answer, &name)) return status;
    }
    KELVO_ASSERT(name != nullptr, "channel_name[0] != '\\0'", kUnit);

    *channel = name;
    if (several != nullptr) *several = answer.node_type < 0 ? 1 : ambiguous;
    if (node_type != nullptr) *node_type = answer.node_type;
    return 0;
}
