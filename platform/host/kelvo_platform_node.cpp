// SPDX-License-Identifier: Apache-2.0
//
// This node and the others, as the configuration names them.
#include <cstring>

#include "kelvo_platform_config.h"

using namespace kelvo::host;

kelvo_status platform_my_nodeid(uint32_t* nodeid) {
    if (nodeid == nullptr) return KELVO_ERR_NULL_PARAM;
    const Config* const config = good_config();
    if (config == nullptr) return PLATFORM_HOST_ERR_CONFIG;
    *nodeid = config->self().id.value;
    return 0;
}

uint32_t platform_type(void) {
    const Config* const config = good_config();
    return config != nullptr ? config->self().card_type.value : PLATFORM_HOST_UNKNOWN;
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
    const Config* const config = good_config();
    if (config == nullptr) return PLATFORM_HOST_ERR_CONFIG;
    std::uint32_t cpu = nodeid;
    for (const Node& node : config->nodes) {
        for (const auto& card : node.sub_cards) {
            if (card.value == nodeid) cpu = node.id.value;
        }
    }
    *cpu_nodeid = cpu;
    return 0;
}
