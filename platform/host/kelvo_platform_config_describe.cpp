// SPDX-License-Identifier: Apache-2.0
//
// Showing a configuration: every value, as text, with where it comes from.
#include <net/if.h>

#include <cstdarg>
#include <cstdio>

#include "kelvo_platform_config.h"

namespace kelvo::host {
namespace {

class Describer {
  public:
    Describer(const Config& config, platform_host_config_visitor visit, void* argument) noexcept
        : config_(config), visit_(visit), argument_(argument) {}

    void all() const noexcept;

  private:
    KELVO_PRINTF(4, 5)
    void show(const Origin& origin, const char* value, const char* key, ...) const noexcept;
    void show_node(const Node& node, const char* key) const noexcept;
    void show_interfaces() const noexcept;
    void show_kernel_interfaces() const noexcept;

    const Config& config_;
    platform_host_config_visitor visit_;
    void* argument_;
};

/// The text of a node id, in a buffer of its own.
struct NodeText {
    char text[PLATFORM_HOST_NODEID_TEXT + 16];

    explicit NodeText(std::uint32_t id) noexcept {
        if (id == KELVO_NODEID_INVALID) {
            snprintf(text, sizeof text, "none");
        } else if (nodeid_format(id, text, sizeof text) != 0) {
            snprintf(text, sizeof text, "0x%x", id);
        }
    }
};

void Describer::show(const Origin& origin, const char* value, const char* key_format,
                     ...) const noexcept {
    char key[128];
    va_list arguments;
    va_start(arguments, key_format);
    vsnprintf(key, sizeof key, key_format, arguments);
    va_end(arguments);
    char source[sizeof config_.path + 16];
    if (origin.variable != nullptr) {
        snprintf(source, sizeof source, "environment %s", origin.variable);
    } else if (origin.line != 0) {
        snprintf(source, sizeof source, "%s:%u", config_.path, origin.line);
    } else {
        snprintf(source, sizeof source, "default");
    }
    visit_(argument_, key, value, source);
}

void Describer::show_node(const Node& node, const char* key) const noexcept {
    show(node.id.origin, NodeText(node.id.value).text, "%s.id", key);
    show(node.name_origin, node.name, "%s.name", key);
    show(node.card_type.origin, word_for(kCardTypes, node.card_type.value), "%s.card_type", key);
    show(node.node_type.origin, word_for(kNodeTypes, node.node_type.value), "%s.node_type", key);
    for (const auto& card : node.sub_cards) {
        show(card.origin, NodeText(card.value).text, "%s.sub_cards[%td]", key,
             &card - node.sub_cards.begin());
    }
}

void Describer::show_interfaces() const noexcept {
    for (const auto& interface : config_.interfaces) {
        const auto index = &interface - config_.interfaces.begin();
        show(interface.node.origin, interface.name, "interfaces[%td].name", index);
        show(interface.node.origin, NodeText(interface.node.value).text, "interfaces[%td].node",
             index);
    }
}

/// The interfaces that this node has without being told.
void Describer::show_kernel_interfaces() const noexcept {
    struct if_nameindex* const list = if_nameindex();
    if (list == nullptr) return;
    for (const auto* entry = list; entry->if_index != 0; ++entry) {
        if (find_interface(config_, entry->if_name) != nullptr) continue;
        char key[64];
        snprintf(key, sizeof key, "interface %s", entry->if_name);
        visit_(argument_, key, NodeText(config_.self.id.value).text, "kernel");
    }
    if_freenameindex(list);
}

void Describer::all() const noexcept {
    show_node(config_.self, "node");
    const char* const single = config_.single_node.value != 0 ? "true" : "false";
    show(config_.single_node.origin, single, "single_node");
    for (const Node& node : config_.nodes) {
        char key[32];
        snprintf(key, sizeof key, "nodes[%td]", &node - config_.nodes.begin());
        show_node(node, key);
    }
    show_interfaces();
    show_kernel_interfaces();
    char number[16];
    snprintf(number, sizeof number, "%u", config_.job_id.value);
    show(config_.job_id.origin, number, "job_id");
    for (const auto& medium : config_.boot_media) {
        show(medium.origin, medium.value, "boot_media[%td]", &medium - config_.boot_media.begin());
    }
    show(config_.scripts_directory.origin, config_.scripts_directory.value, "scripts_directory");
    show(config_.log_destination.origin, word_for(kLogDestinations, config_.log_destination.value),
         "log.destination");
    show(config_.log_level.origin, word_for(kLogLevels, config_.log_level.value), "log.level");
    for (const auto& flag : config_.debug) {
        show(flag.origin, flag.value, "debug[%td]", &flag - config_.debug.begin());
    }
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

kelvo_status platform_host_config_describe(const platform_host_config* loaded,
                                           platform_host_config_visitor visit, void* argument) {
    if (visit == nullptr) return KELVO_ERR_NULL_PARAM;
    if (loaded == nullptr) loaded = process_config();
    if (loaded == nullptr || !loaded->config.good()) return PLATFORM_HOST_ERR_CONFIG;
    Describer(loaded->config, visit, argument).all();
    return 0;
}
