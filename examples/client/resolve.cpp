// SPDX-License-Identifier: Apache-2.0
#include "resolve.h"

#include <cstdlib>

namespace example {
namespace {

// The resolver names the channel of a local server in a new text. For the shared and admin servers
// its answer is a constant empty text, which is not to be freed: those are told apart by their
// server type.
void find_channel(const std::string& path, std::uint32_t options, Owner& owner) {
    char* name = nullptr;
    owner.status = kelvo_nr_lookup_chan(path.c_str(), options, &name, nullptr, nullptr);
    if (owner.status != 0) return;
    if (*name == '\0') {
        owner.channel = channel_of(owner.answer);
        return;
    }
    owner.channel_name = name;
    owner.channel = channel_named(name);
    std::free(name);
}

}  // namespace

Owner resolve(const std::string& path, std::uint32_t options) {
    Owner owner;
    owner.status = kelvo_nr_lookup_node("", path.c_str(), options, &owner.answer, nullptr);
    if (owner.status == 0) find_channel(path, options, owner);
    return owner;
}

std::string Owner::description() const {
    std::string text = kelvo_comm_nodetype_desc(answer.node_type);
    if (answer.node_type == KELVO_NODE_PHYSICAL)
        text += std::string(" node ") + kelvo_util_nodeid_to_str(answer.node_id);
    else if (answer.node_id != KELVO_NODEID_INVALID)
        text += " of logical router " + std::to_string(answer.node_id);
    return text + ", server type " + std::to_string(answer.server_type);
}

}  // namespace example
