// SPDX-License-Identifier: Apache-2.0
//
// Scenes: who owns a path and where it is reached; binding to every server.
#include "kelvo_common_msg_bind.h"
#include "requests.h"
#include "status.h"
#include "tour.h"

namespace example {

void Tour::show_owner(const std::string& path, std::uint32_t options) {
    const Owner owner = resolve(path, options);
    out_.status(path, owner.status);
    if (owner.status != 0) return;
    out_.line("  owner    " + owner.description());
    out_.line(std::string("  channel  ") + (owner.channel ? owner.channel->path : "none"));
}

void Tour::paths() {
    out_.scene("Who owns a path, and through which channel it is reached");
    out_.note("The resolver walks a path's components; the platform knows which node an interface");
    out_.note("belongs to. A shared or admin server is reached by its server type.");
    std::vector<std::string> examples = {"cfg/gl/host/name", "oper/host/gl/kernel/release",
                                         "data/gl/memory/total", "admin/cfg/gl/host/name"};
    for (const std::string& name : interface_names())
        examples.push_back("oper/net/if/" + name + "/mtu");
    for (const std::string& path : examples) show_owner(path, 0);
    out_.note("On another logical router, and of every interface for a management client:");
    show_owner("remote/3/cfg/gl/host/name", 0);
    show_owner("oper/net/if/.*/mtu", KELVO_NR_OPT_REGEXP | KELVO_NR_OPT_MANAGEMENT);
    out_.note("Not every path has an owner or a channel; the library logs the last one:");
    out_.status("cfg/nowhere/x", resolve("cfg/nowhere/x").status, KELVO_ERR_NO_OWNER);
    out_.status("/cfg/gl/x", resolve("/cfg/gl/x").status, KELVO_ERR_BAD_PATH);
    out_.status("cfg/gl/x, unverified (for the commit verifier)",
                resolve("cfg/gl/x", KELVO_NR_OPT_CCV).status, KELVO_ERR_BAD_NODE_TYPE);
}

void Tour::binds() {
    out_.scene("Bind to every server of this node");
    for (const Channel& channel : channels()) {
        Session& session = session_on(channel);
        if (&channel == channels().data()) {
            Value nothing;
            out_.status("get before bind", get(session, "oper/net/if/lo/mtu", nothing),
                        EXAMPLE_ERR_NOT_BOUND);
            out_.status("bind with protocol version 540", bind(session, 540),
                        KELVO_ERR_VERSION_MISMATCH);
        }
        out_.status(std::string(channel.server) + " server, " + channel.path,
                    bind(session, KELVO_BIND_VERSION));
    }
}

}  // namespace example
