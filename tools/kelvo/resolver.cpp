// SPDX-License-Identifier: Apache-2.0
#include "resolver.h"

#include <cerrno>
#include <cstdlib>

#include "exit_code.h"
#include "kelvo_platform.h"
#include "logger.h"
#include "text.h"

namespace kelvo::tool {
namespace {

[[noreturn]] void fail(const std::string& what, kelvo_status status) {
    throw Failure(Exit::platform, what + ": " + errcode_strerror(status) +
                                      "; 'kelvo platform check' says what is wrong");
}

std::uint32_t node_of(const Client& client) {
    std::uint32_t node_id = 0;
    if (client.node.empty()) {
        const kelvo_status status = platform_my_nodeid(&node_id);
        if (status != 0) fail("the platform does not say which node this is", status);
        return node_id;
    }
    const kelvo_status status = nodeid_parse(client.node.c_str(), &node_id);
    if (status == 0) return node_id;
    throw Failure(Exit::usage, "--node: '" + printable(client.node) +
                                   "' is no node id: " + errcode_strerror(status));
}

}  // namespace

Resolver::Resolver(const Client& client) : client_(client) {
    const bool is_show_tool = client_.process == kShowTool;
    const bool is_management = client_.process == kManagementProcess;
    // The resolver asks libc for the process's name when it starts.
    if (is_show_tool) program_invocation_short_name = const_cast<char*>(kShowTool);
    if (is_management) program_invocation_short_name = const_cast<char*>(kManagementProcess);
    if (!client_.node.empty() && !is_show_tool) {
        throw Failure(Exit::usage,
                      "--node: only the show tool is told its node (--process kelvoshow); every "
                      "other process asks the platform");
    }
    facts_.node_id = node_of(client_);
    facts_.card_type =
        is_show_tool ? std::uint32_t{PLATFORM_TYPE_ROUTE_PROCESSOR} : platform_type();
    facts_.is_single_node = platform_is_single_node() == 1;
    facts_.refuses_deprecated = is_show_tool;
    facts_.permits_remote_binds = !is_show_tool && !is_management;
    if (const kelvo_status status = kelvo_nr_init(0, facts_.node_id, nullptr)) {
        fail("the resolver does not start", status);
    }
    (void)take_logged();
}

Resolver::~Resolver() {
    (void)kelvo_nr_shutdown();
}

Outcome Resolver::resolve(const std::string& prefix, const std::string& path) const {
    Outcome outcome;
    std::uint32_t is_ambiguous = 0;
    outcome.status = kelvo_nr_lookup_node(prefix.c_str(), path.c_str(), client_.options,
                                          &outcome.answer, &is_ambiguous);
    outcome.logged = take_logged();
    outcome.is_ambiguous = is_ambiguous != 0;
    if (outcome.status != 0) return outcome;

    char* channel = nullptr;
    outcome.channel_status =
        kelvo_nr_lookup_chan((prefix + path).c_str(), client_.options, &channel, nullptr, nullptr);
    // What is logged for the channel says again what the lookup said, or what the status says.
    (void)take_logged();
    if (outcome.channel_status != 0) return outcome;
    outcome.channel = channel;
    if (*channel != '\0') std::free(channel);
    return outcome;
}

std::string text_of_node(std::uint32_t node_id) {
    char text[KELVO_NODEID_TEXT_BYTES];
    return nodeid_format(node_id, text, sizeof text) == 0 ? text : hex(node_id, 8);
}

}  // namespace kelvo::tool
