// SPDX-License-Identifier: Apache-2.0
//
// This node and the others, as the configuration names them.
#include <algorithm>
#include <cstring>

#include "kelvo_platform_config.h"

namespace kelvo::host {
namespace {

bool serves(const Node& node, std::uint32_t id) noexcept {
    return std::any_of(node.sub_cards.begin(), node.sub_cards.end(),
                       [=](const auto& card) { return card.value == id; });
}

/// The node whose processor serves a sub-card, or null when the id is no sub-card's.
const Node* find_server(const Config& config, std::uint32_t id) noexcept {
    if (serves(config.self, id)) return &config.self;
    for (const Node& node : config.nodes) {
        if (serves(node, id)) return &node;
    }
    return nullptr;
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

kelvo_status platform_my_nodeid(uint32_t* nodeid) {
    if (nodeid == nullptr) return KELVO_ERR_NULL_PARAM;
    const Config* const config = good_config();
    if (config == nullptr) return PLATFORM_HOST_ERR_CONFIG;
    *nodeid = config->self.id.value;
    return 0;
}

uint32_t platform_type(void) {
    const Config* const config = good_config();
    return config != nullptr ? config->self.card_type.value : PLATFORM_HOST_UNKNOWN;
}

uint32_t platform_is_single_node(void) {
    const Config* const config = good_config();
    return config != nullptr ? config->single_node.value : PLATFORM_HOST_UNKNOWN;
}

uint32_t platform_node_type(uint32_t nodeid) {
    const Config* const config = good_config();
    const Node* const node = config != nullptr ? find_node(*config, nodeid) : nullptr;
    return node != nullptr ? node->node_type.value : 0;
}

kelvo_status platform_node_name(uint32_t nodeid, char* buffer, size_t size) {
    if (buffer == nullptr) return KELVO_ERR_NULL_PARAM;
    const Config* const config = good_config();
    if (config == nullptr) return PLATFORM_HOST_ERR_CONFIG;
    const Node* const node = find_node(*config, nodeid);
    if (node == nullptr) return PLATFORM_HOST_ERR_NODE_UNKNOWN;
    const std::size_t length = std::strlen(node->name) + 1;
    if (length > size) return PLATFORM_HOST_ERR_BUFFER_SIZE;
    std::memcpy(buffer, node->name, length);
    return 0;
}

kelvo_status nodeid_to_cpu_nodeid(uint32_t nodeid, uint32_t* cpu_nodeid) {
    if (cpu_nodeid == nullptr) return KELVO_ERR_NULL_PARAM;
    if (nodeid == KELVO_NODEID_INVALID) return PLATFORM_HOST_ERR_NODE_ID;
    const Config* const config = good_config();
    if (config == nullptr) return PLATFORM_HOST_ERR_CONFIG;
    const Node* const server = find_server(*config, nodeid);
    *cpu_nodeid = server != nullptr ? server->id.value : nodeid;
    return 0;
}
