// SPDX-License-Identifier: Apache-2.0
//
// kelvo resolve: which server owns a path, and why.
#include <optional>

#include "explain.h"
#include "input.h"
#include "kelvo_status.h"
#include "resolver.h"
#include "status.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

/// The name of the answer's owner: a class of servers, or "node".
std::string owner_of(const kelvo_nr_answer& answer) {
    return answer.node_type == KELVO_NODE_PHYSICAL ? "node"
                                                   : kelvo_comm_nodetype_desc(answer.node_type);
}

bool is_systemwide(const kelvo_nr_answer& answer) {
    return answer.node_type == KELVO_NODE_SHARED || answer.node_type == KELVO_NODE_ADMIN ||
           answer.node_type == KELVO_NODE_CCV;
}

/// The number of the logical router that the answer is for, if it carries one.
std::optional<std::uint32_t> router_of(const kelvo_nr_answer& answer) {
    if (!is_systemwide(answer) || answer.node_id == KELVO_NODEID_INVALID) return std::nullopt;
    return answer.node_id;
}

std::optional<std::string> node_of(const kelvo_nr_answer& answer) {
    if (is_systemwide(answer) || answer.node_id == KELVO_NODEID_INVALID) return std::nullopt;
    return text_of_node(answer.node_id);
}

template <typename T>
Json or_null(const std::optional<T>& value) {
    return value ? Json(*value) : Json(nullptr);
}

/// The answer in one line.
std::string sentence(const kelvo_nr_answer& answer, const Outcome& outcome) {
    std::string text = owner_of(answer);
    if (const auto node = node_of(answer)) text += " " + *node;
    text += std::string(", server ") + kelvo_comm_servertype_desc(answer.server_type);
    if (const auto router = router_of(answer))
        text += ", logical router " + std::to_string(*router);
    if (!outcome.channel.empty()) text += ", channel " + printable(outcome.channel);
    if (outcome.channel_status != 0) {
        text += ", no channel (" + name_of_status(outcome.channel_status) + ")";
    }
    text += answer.versioned != 0 ? ", versioned" : ", not versioned";
    if (outcome.is_ambiguous) text += ", ambiguous";
    return text;
}

Json json_of(const kelvo_nr_answer& answer, const Outcome& outcome) {
    const bool has_channel = outcome.channel_status == 0;
    return {{"owner", owner_of(answer)},
            {"node_type", answer.node_type},
            {"node", or_null(node_of(answer))},
            {"node_id", answer.node_id},
            {"logical_router", or_null(router_of(answer))},
            {"server", kelvo_comm_servertype_desc(answer.server_type)},
            {"server_type", answer.server_type},
            {"channel", has_channel ? Json(outcome.channel) : Json(nullptr)},
            {"channel_status", name_of_status(outcome.channel_status)},
            {"versioned", answer.versioned != 0},
            {"ambiguous", outcome.is_ambiguous}};
}

std::string joined(const std::vector<std::uint32_t>& numbers) {
    std::string text;
    for (const std::uint32_t number : numbers) {
        text += (text.empty() ? "" : " ") + std::to_string(number);
    }
    return text;
}

void show_walk(Output& out, const Walk& walk) {
    std::size_t widest = std::string("(end of path)").size();
    for (const Component& component : walk.components) {
        widest = std::max(widest, printable(component.text).size());
    }
    const auto row = [&](const std::string& name, const std::string& hash,
                         const std::vector<std::uint32_t>& states) {
        out.line("    " + name + std::string(widest - name.size() + 2, ' ') + hash + "  " +
                 (states.empty() ? "not looked at" : "states " + joined(states)));
    };
    for (const Component& component : walk.components) {
        row(printable(component.text), hex(hash_of(component.text), 8), component.states);
    }
    if (!walk.at_end.empty()) row("(end of path)", std::string(10, ' '), walk.at_end);
    std::string flags;
    for (const std::string& flag : names_of_flags(walk.flags)) flags += " " + flag;
    out.line("    the table says " + name_of_result(walk.result) +
             (flags.empty() ? "" : " with the flags" + flags));
}

Json json_of(const Walk& walk) {
    Json components = Json::array();
    for (const Component& component : walk.components) {
        const std::uint32_t hash = hash_of(component.text);
        components.push_back({{"text", component.text},
                              {"hash", hex(hash, 8)},
                              {"known_as", name_of_hash(hash)},
                              {"states", component.states}});
    }
    return {{"components", components},
            {"states_at_end", walk.at_end},
            {"result", name_of_result(walk.result)},
            {"flags", names_of_flags(walk.flags)}};
}

const std::vector<Example> kExamples = {
    {"kelvo resolve cfg/gl/host cfg/if/act/lo/mtu",
     "cfg/gl/host: shared, server shared_sc, versioned\n"
     "cfg/if/act/lo/mtu: node 0_0_1, server local, channel /dev/kelvosvr-local, versioned\n"},
    {"printf 'oper/net\\nnobody/knows\\n' | kelvo resolve; echo $?",
     "oper/net: shared, server admin, versioned, ambiguous\n"
     "nobody/knows: refused: KELVO_ERR_NO_OWNER, no server owns the path\n"
     "1\n"},
    {"kelvo resolve --explain --management cfg/if/act",
     "cfg/if/act: all_local, server local, versioned\n"
     "  walk:\n"
     "    cfg            0x0001b2b0  states 165 164 32\n"
     "    if             0x00000def  states 31 30 29 13\n"
     "    act            0x0001a9d8  states 12 11 10 5\n"
     "    (end of path)              states 6 7\n"
     "    the table says LOCAL with the flags ALL_LOCAL\n"
     "  because:\n"
     "    a management client gets all local servers for a path that stops here\n"},
    {"kelvo resolve --explain cfg/nodes/act/0_0_1; echo $?",
     "cfg/nodes/act/0_0_1: refused: KELVO_ERR_NO_OWNER, no server owns the path\n"
     "  walk:\n"
     "    cfg            0x0001b2b0  states 165 164 32\n"
     "    nodes          0x08051c59  states 31 30 29 28 34\n"
     "    act            0x0001a9d8  not looked at\n"
     "    0_0_1          0x039988cf  not looked at\n"
     "    the table says INVALID\n"
     "  because:\n"
     "    'nodes' is not gl, if or node, the names that may stand here (did you mean 'node'?)\n"
     "1\n"},
    {"kelvo resolve --json remote/3/cfg/gl/host",
     R"({"path":"remote/3/cfg/gl/host","status":"success","code":0,"owner":"shared",)"
     R"("node_type":1000000000,"node":null,"node_id":3,"logical_router":3,"server":"shared_sc",)"
     R"("server_type":1,"channel":"","channel_status":"success","versioned":true,)"
     R"("ambiguous":false})"
     "\n"},
};

class Resolve final : public Verb {
  public:
    Resolve()
        : Verb({"resolve", "which server owns a path, and why",
                "Says for each path which server owns it: a node or a class of servers, the server "
                "type, the channel through which a client on this node reaches it (none for "
                "servers that are reached by their type), whether requests carry version "
                "information, and whether the path was ambiguous. The answer is the library's "
                "own, on the platform of this machine.\n\n"
                "--explain adds why: each component with its hash and the states of the "
                "resolver's table that looked at it, the table's result and flags, every rule that "
                "decided or changed the answer, and what the library logged.\n\n"
                "A path that is refused is an answer too; the exit code is then 1. The empty path "
                "is written '/'.",
                kExamples}) {
        input_.declare(*this, "PATH", "paths, without a '/' at their beginning");
        app.add_flag("-x,--explain", explained_, "say why");
        add_text("--prefix", prefix_, "put TEXT before every path");
        declare_options();
        complete_arguments({"cfg/", "data/", "shadow/", "oper/", "action/", "admin/", "debug/",
                            "ipc/", "remote/"});
    }

    Exit run(Output& out) override {
        if (process_ != "other") client_.process = process_;
        const Resolver resolver(client_);
        Exit exit_code = Exit::ok;
        input_.for_each(out, [&](const Record& record) {
            const std::string path(record.text);
            const Outcome outcome = resolver.resolve(prefix_, path);
            if (outcome.status != 0) exit_code = Exit::negative;
            out.json() ? show_json(out, resolver, path, outcome)
                       : show_text(out, resolver, path, outcome);
        });
        return exit_code;
    }

  private:
    void declare_option(const std::string& name, std::uint32_t bit, const std::string& what) {
        app.add_flag_callback(
            name, [this, bit] { client_.options |= bit; }, what);
    }

    void declare_options() {
        declare_option("--regex", KELVO_NR_OPT_REGEXP,
                       "the client may use regular expressions in paths");
        declare_option("--management", KELVO_NR_OPT_MANAGEMENT, "a management client asks");
        declare_option("--server", KELVO_NR_OPT_SERVER,
                       "a server asks: every node and interface is its own");
        declare_option("--unversioned", KELVO_NR_OPT_UNVERSIONED, "the answer is never versioned");
        declare_option("--unverified", KELVO_NR_OPT_CCV,
                       "an unverified configuration request: the answer is the CCV server");
        add_choice("--process", process_, {"other", kShowTool, kManagementProcess},
                   "which process asks: the show tool and the management-client process have rules "
                   "of their own");
        add_text("--node", client_.node, "the node that the show tool is told it is on")
            ->type_name("ID");
    }

    void show_text(Output& out, const Resolver& resolver, const std::string& path,
                   const Outcome& outcome) const {
        const std::string asked = printable(prefix_ + path);
        const std::string whole = (asked.empty() ? "/" : asked) + ": ";
        if (outcome.status == 0) {
            out.line(whole + out.paint(Style::good, sentence(outcome.answer, outcome)));
        } else {
            out.line(whole + out.paint(Style::bad, "refused: " + name_of_status(outcome.status) +
                                                       ", " + meaning_of_status(outcome.status)));
        }
        if (!explained_) return;
        const Explanation why = explain(resolver, prefix_, path, outcome);
        if (why.was_walked) {
            out.line("  walk:");
            show_walk(out, why.walk);
        }
        show_list(out, "because", why.rules);
        show_list(out, "logged", outcome.logged);
    }

    static void show_list(Output& out, const std::string& title,
                          const std::vector<std::string>& lines) {
        if (!lines.empty()) out.line("  " + title + ":");
        for (const std::string& line : lines) out.line("    " + printable(line));
    }

    void show_json(Output& out, const Resolver& resolver, const std::string& path,
                   const Outcome& outcome) const {
        Json object = {{"path", prefix_ + path},
                       {"status", name_of_status(outcome.status)},
                       {"code", outcome.status}};
        if (outcome.status == 0) {
            object.update(json_of(outcome.answer, outcome));
        } else {
            object["meaning"] = meaning_of_status(outcome.status);
        }
        if (explained_) {
            const Explanation why = explain(resolver, prefix_, path, outcome);
            object["walk"] = why.was_walked ? json_of(why.walk) : Json(nullptr);
            object["because"] = why.rules;
            object["because_status"] = name_of_status(why.status);
            object["logged"] = outcome.logged;
        }
        out.record(object);
    }

    Input input_;
    Client client_;
    std::string process_ = "other";
    std::string prefix_;
    bool explained_ = false;
};

}  // namespace

std::unique_ptr<Verb> make_resolve() {
    return std::make_unique<Resolve>();
}

}  // namespace kelvo::tool
