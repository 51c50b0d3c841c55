// SPDX-License-Identifier: Apache-2.0
//
// The sections of the configuration, one function each, over the defaults of a system that is a
// single node. Last, the environment has its say.
#include <syslog.h>
#include <unistd.h>

#include <cstring>

#include "kelvo_platform_config_reader.h"

namespace kelvo::host {
namespace {

constexpr std::uint32_t kDefaultNode = PLATFORM_HOST_NODEID(0, 0, 1);
constexpr char kDefaultName[] = "0_0_1";
constinit Setting<const char*> default_boot_medium = {"/var/tmp/", {}};
constexpr char kDefaultScripts[] = "/usr/lib/kelvo/scripts";
constexpr std::size_t kInterfaceName = 64;
constexpr char kJobVariable[] = "KELVO_JOB_ID";
constexpr char kDebugVariable[] = "KELVO_DEBUG";
constexpr char kBadJobId[] = "'%s' is not a number from 1 to 4294967295";
constexpr char kSeparators[] = ", \t";

Entry element(Entry list, std::size_t index) noexcept {
    return config_setting_get_elem(list, static_cast<unsigned>(index));
}

std::size_t length_of(Entry list) noexcept {
    return static_cast<std::size_t>(config_setting_length(list));
}

/// Reads a job id, a decimal number from 1 on.
bool parse_job_id(const char* text, std::uint32_t& id) noexcept {
    std::uint64_t number = 0;
    for (const char* at = text; *at != '\0'; ++at) {
        if (*at < '0' || *at > '9') return false;
        number = number * 10 + static_cast<std::uint64_t>(*at - '0');
        if (number > UINT32_MAX) return false;
    }
    if (number == 0) return false;
    id = static_cast<std::uint32_t>(number);
    return true;
}

}  // namespace

void Reader::read(const char* path) noexcept {
    set_defaults();
    if (!find_file(path) || !parse_file()) return;
    if (config_.parsed && !read_sections()) return;
    read_environment();
}

void Reader::set_defaults() noexcept {
    config_.self.id.value = kDefaultNode;
    buf_strncpy(config_.self.name, kDefaultName, sizeof config_.self.name);
    config_.single_node.value = 1;
    config_.boot_media = {&default_boot_medium, 1};
    config_.job_id.value = static_cast<std::uint32_t>(getpid());
    config_.scripts_directory.value = kDefaultScripts;
    config_.log_level.value = LOG_NOTICE;
}

bool Reader::read_sections() noexcept {
    Entry const root = config_root_setting(&config_.file);
    return known_keys(root, {"node", "single_node", "nodes", "interfaces", "job_id", "boot_media",
                             "scripts_directory", "log", "debug"}) &&
           read_nodes(root) && read_interfaces(config_setting_get_member(root, "interfaces")) &&
           read_places(root) && read_log(config_setting_get_member(root, "log")) &&
           read_debug(config_setting_get_member(root, "debug"));
}

// ------------------------------------------------------------------------------------------------
// Nodes
// ------------------------------------------------------------------------------------------------

bool Reader::read_nodes(Entry root) noexcept {
    Entry const self = config_setting_get_member(root, "node");
    if (self != nullptr && !read_node(self, config_.self)) return false;
    Entry const others = config_setting_get_member(root, "nodes");
    if (others != nullptr) {
        if (!aggregate(others, CONFIG_TYPE_LIST, "a list of groups: ( {...} )")) return false;
        if (!allocate(config_.nodes, length_of(others))) return false;
    }
    for (std::size_t i = 0; i < config_.nodes.count; ++i) {
        if (!read_node(element(others, i), config_.nodes.items[i])) return false;
    }
    config_.single_node.value = config_.nodes.count == 0;
    return read_single_node(config_setting_get_member(root, "single_node"));
}

bool Reader::read_single_node(Entry setting) noexcept {
    if (setting == nullptr) return true;
    if (!aggregate(setting, CONFIG_TYPE_BOOL, "true or false")) return false;
    const bool single = config_setting_get_bool(setting) == CONFIG_TRUE;
    config_.single_node = {single, {line_of(setting), nullptr}};
    return true;
}

bool Reader::read_node(Entry group, Node& node) noexcept {
    if (!aggregate(group, CONFIG_TYPE_GROUP, "a group: {...}")) return false;
    if (!known_keys(group, {"id", "name", "card_type", "node_type", "sub_cards"})) return false;
    Entry const id = config_setting_get_member(group, "id");
    if (id == nullptr) return fail(group, "has no id");
    return new_node_id(id, node.id) && read_name(group, node) &&
           word(group, "card_type", kCardTypes, node.card_type) &&
           word(group, "node_type", kNodeTypes, node.node_type) &&
           read_sub_cards(config_setting_get_member(group, "sub_cards"), node);
}

/// Where an id stands already, as a node's or a sub-card's; null when it does not.
const Setting<std::uint32_t>* Reader::find_id(std::uint32_t id) const noexcept {
    const auto find_in = [=](const Node& node) -> const Setting<std::uint32_t>* {
        if (node.id.value == id) return &node.id;
        for (const auto& card : node.sub_cards) {
            if (card.value == id) return &card;
        }
        return nullptr;
    };
    const auto* found = find_in(config_.self);
    for (const Node& node : config_.nodes) {
        if (found == nullptr) found = find_in(node);
    }
    return found;
}

/// Reads an id that no node or sub-card before it has.
bool Reader::new_node_id(Entry setting, Setting<std::uint32_t>& id) noexcept {
    Setting<std::uint32_t> given;
    if (!node_id(setting, given)) return false;
    const auto* const first = find_id(given.value);
    if (first == nullptr || first == &id) {  // this node's default id gives way
        id = given;
        return true;
    }
    const char* const text = config_setting_get_string(setting);
    if (first->origin.line == 0) {
        return fail(setting, "node %s is this node, which has that id by default", text);
    }
    return fail(setting, "node %s is given twice, first on line %u", text, first->origin.line);
}

bool Reader::name_is_taken(const char* name) const noexcept {
    if (std::strcmp(config_.self.name, name) == 0) return true;
    return std::any_of(config_.nodes.begin(), config_.nodes.end(),
                       [=](const Node& node) { return std::strcmp(node.name, name) == 0; });
}

/// A node without a name is called by its id.
bool Reader::read_name(Entry group, Node& node) noexcept {
    Entry const setting = config_setting_get_member(group, "name");
    const char* name = config_setting_get_string(config_setting_get_member(group, "id"));
    if (setting != nullptr && !text(setting, name)) return false;
    Entry const at = setting != nullptr ? setting : group;
    if (std::strchr(name, '/') != nullptr) return fail(at, "'%s' must not hold a '/'", name);
    if (std::strlen(name) >= sizeof node.name) {
        return fail(at, "'%s' is longer than %zu characters", name, sizeof node.name - 1);
    }
    node.name[0] = '\0';  // this node's default name gives way
    if (name_is_taken(name)) return fail(at, "another node has the name '%s'", name);
    buf_strncpy(node.name, name, sizeof node.name);
    if (setting != nullptr) node.name_origin.line = line_of(setting);
    return true;
}

bool Reader::read_sub_cards(Entry list, Node& node) noexcept {
    if (list == nullptr) return true;
    if (!aggregate(list, CONFIG_TYPE_ARRAY, "an array of node ids: [ \"0_1_16\" ]")) return false;
    if (!allocate(node.sub_cards, length_of(list))) return false;
    for (std::size_t i = 0; i < node.sub_cards.count; ++i) {
        if (!new_node_id(element(list, i), node.sub_cards.items[i])) return false;
    }
    return true;
}

// ------------------------------------------------------------------------------------------------
// Interfaces
// ------------------------------------------------------------------------------------------------

bool Reader::read_interfaces(Entry list) noexcept {
    if (list == nullptr) return true;
    if (!aggregate(list, CONFIG_TYPE_LIST, "a list of groups: ( {...} )")) return false;
    if (!allocate(config_.interfaces, length_of(list))) return false;
    for (std::size_t i = 0; i < config_.interfaces.count; ++i) {
        if (!read_interface(element(list, i), config_.interfaces.items[i])) return false;
    }
    return true;
}

bool Reader::read_interface(Entry group, Interface& interface) noexcept {
    if (!aggregate(group, CONFIG_TYPE_GROUP, "a group: {...}")) return false;
    if (!known_keys(group, {"name", "node"})) return false;
    Entry const name = config_setting_get_member(group, "name");
    if (name == nullptr) return fail(group, "has no name");
    Entry const node = config_setting_get_member(group, "node");
    if (node == nullptr) return fail(group, "has no node");
    return read_interface_name(name, interface) && read_interface_node(node, interface);
}

bool Reader::read_interface_name(Entry setting, Interface& interface) noexcept {
    const char* name = "";
    if (!text(setting, name)) return false;
    if (std::strlen(name) >= kInterfaceName) {
        return fail(setting, "'%s' is longer than %zu characters", name, kInterfaceName - 1);
    }
    for (const Interface& other : config_.interfaces) {
        if (other.name == nullptr || std::strcmp(other.name, name) != 0) continue;
        return fail(setting, "interface '%s' is given twice, first on line %u", name,
                    other.node.origin.line);
    }
    interface.name = name;
    return true;
}

bool Reader::read_interface_node(Entry setting, Interface& interface) noexcept {
    const char* value = "";
    if (!text(setting, value)) return false;
    if (std::strcmp(value, "none") == 0) {
        interface.node = {KELVO_NODEID_INVALID, {line_of(setting), nullptr}};
        return true;
    }
    if (!node_id(setting, interface.node)) return false;
    if (find_node(config_, interface.node.value) != nullptr) return true;
    return fail(setting, "node %s is neither this node nor one of nodes", value);
}

// ------------------------------------------------------------------------------------------------
// Places, log, debug flags
// ------------------------------------------------------------------------------------------------

bool Reader::read_places(Entry root) noexcept {
    Entry const job = config_setting_get_member(root, "job_id");
    if (job != nullptr) {
        const char* number = "";
        if (!text(job, number)) return false;
        if (!parse_job_id(number, config_.job_id.value)) return fail(job, kBadJobId, number);
        config_.job_id.origin.line = line_of(job);
    }
    Entry const scripts = config_setting_get_member(root, "scripts_directory");
    if (scripts != nullptr) {
        if (!absolute_path(scripts, config_.scripts_directory.value)) return false;
        config_.scripts_directory.origin.line = line_of(scripts);
    }
    return read_boot_media(config_setting_get_member(root, "boot_media"));
}

bool Reader::read_boot_media(Entry list) noexcept {
    if (list == nullptr) return true;
    if (!aggregate(list, CONFIG_TYPE_ARRAY, "an array of directories: [ \"/boot/\" ]")) {
        return false;
    }
    if (!allocate(config_.boot_media, length_of(list))) return false;
    for (std::size_t i = 0; i < config_.boot_media.count; ++i) {
        Entry const setting = element(list, i);
        auto& medium = config_.boot_media.items[i];
        if (!absolute_path(setting, medium.value)) return false;
        if (medium.value[std::strlen(medium.value) - 1] != '/') {
            return fail(setting, "'%s' must end in '/'", medium.value);
        }
        medium.origin.line = line_of(setting);
    }
    return true;
}

bool Reader::read_log(Entry log) noexcept {
    if (log == nullptr) return true;
    return aggregate(log, CONFIG_TYPE_GROUP, "a group: {...}") &&
           known_keys(log, {"destination", "level"}) &&
           word(log, "destination", kLogDestinations, config_.log_destination) &&
           word(log, "level", kLogLevels, config_.log_level);
}

bool Reader::read_debug(Entry list) noexcept {
    if (list == nullptr) return true;
    if (!aggregate(list, CONFIG_TYPE_ARRAY, "an array of flags: [ \"node-resolver\" ]")) {
        return false;
    }
    if (!allocate(config_.debug, length_of(list))) return false;
    for (std::size_t i = 0; i < config_.debug.count; ++i) {
        auto& flag = config_.debug.items[i];
        if (!text(element(list, i), flag.value)) return false;
        flag.origin.line = line_of(element(list, i));
    }
    return true;
}

// ------------------------------------------------------------------------------------------------
// Environment
// ------------------------------------------------------------------------------------------------

bool Reader::read_environment() noexcept {
    const char* const job = secure_getenv(kJobVariable);
    if (job != nullptr && !read_job_variable(job)) return false;
    const char* const debug = secure_getenv(kDebugVariable);
    return debug == nullptr || read_debug_variable(debug);
}

bool Reader::read_job_variable(const char* text) noexcept {
    if (!parse_job_id(text, config_.job_id.value)) {
        Text problem;
        problem.add(kBadJobId, text);
        snprintf(config_.error, sizeof config_.error, "environment: %s: %s", kJobVariable,
                 problem.text);
        return false;
    }
    config_.job_id.origin = {0, kJobVariable};
    return true;
}

/// Splits a copy of the variable's value; it replaces what the file says.
bool Reader::read_debug_variable(const char* text) noexcept {
    List<char> copy;
    const std::size_t size = std::strlen(text) + 1;
    if (!allocate(copy, size)) return false;
    if (!allocate(config_.debug, size / 2 + 1)) return false;
    std::memcpy(copy.items, text, size);
    config_.debug.count = 0;
    char* rest;
    for (char* flag = strtok_r(copy.items, kSeparators, &rest); flag != nullptr;
         flag = strtok_r(nullptr, kSeparators, &rest)) {
        config_.debug.items[config_.debug.count++] = {flag, {0, kDebugVariable}};
    }
    return true;
}

void read_config(Config& config, const char* path) noexcept {
    Reader(config).read(path);
}

void clear_config(Config& config) noexcept {
    for (Block* block = config.blocks; block != nullptr;) {
        Block* const next = block->next;
        std::free(block);
        block = next;
    }
    if (config.parsed) config_destroy(&config.file);
}

}  // namespace kelvo::host
