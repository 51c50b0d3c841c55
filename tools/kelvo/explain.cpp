// SPDX-License-Identifier: Apache-2.0
#include "explain.h"

#include <cstdlib>

#include "kelvo_platform.h"
#include "kelvo_status.h"
#include "text.h"

namespace kelvo::tool {
namespace {

std::string in_quotes(const std::string& text) {
    return "'" + printable(text) + "'";
}

/// "gl, if or node"
std::string alternatives(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i != 0) list += i + 1 == names.size() ? " or " : ", ";
        list += names[i];
    }
    return list;
}

class Explainer {
  public:
    Explainer(const Resolver& resolver, const Outcome& outcome)
        : client_(resolver.client()), facts_(resolver.facts()), outcome_(outcome) {}

    Explanation explain(const std::string& prefix, const std::string& path) {
        told_.status = look_up(prefix, path);
        return told_;
    }

  private:
    [[nodiscard]] bool is_management() const { return client_.has(KELVO_NR_OPT_MANAGEMENT); }
    [[nodiscard]] bool is_flagged(std::uint32_t flag) const {
        return (told_.walk.flags & flag) != 0;
    }
    [[nodiscard]] std::string component() const {
        const Walk& walk = told_.walk;
        return walk.at < walk.components.size() ? walk.components[walk.at].text : "";
    }
    void say(const std::string& rule) { told_.rules.push_back(rule); }
    kelvo_status refuse(kelvo_status status, const std::string& rule) {
        say(rule);
        return status;
    }

    // --- what stands before the table -----------------------------------------------------------

    kelvo_status look_up(const std::string& prefix, const std::string& path) {
        const bool begins_with_slash = prefix.starts_with("/") || path.starts_with("/");
        told_.path = prefix + path;
        if (begins_with_slash && told_.path.size() > 1) {
            return refuse(KELVO_ERR_BAD_PATH,
                          "neither the path nor its prefix may begin with '/': leave it out");
        }
        if (!told_.path.ends_with('/')) told_.path += '/';
        if (!told_.path.starts_with('r')) return resolve();
        if (told_.path.starts_with("remote/")) return resolve_remote();
        return refuse(KELVO_ERR_BAD_PATH,
                      "a path that begins with the letter 'r' is taken for a remote one, "
                      "remote/NUMBER/..., and this one is not");
    }

    kelvo_status resolve_remote() {
        const std::size_t begin = std::string("remote/").size();
        const std::size_t end = told_.path.find('/', begin);
        const std::string number =
            told_.path.substr(begin, end == std::string::npos ? end : end - begin);
        if (end != std::string::npos) told_.path.erase(0, end + 1);
        say("the remote form asks for " + in_quotes(told_.path) + " on the logical router " +
            in_quotes(number));
        if (const kelvo_status status = resolve()) return status;
        if (is_systemwide_) return 0;
        return refuse(KELVO_ERR_BAD_PATH,
                      "only the shared, the admin and the CCV server can be asked for on another "
                      "logical router");
    }

    // --- what the table says --------------------------------------------------------------------

    void tell_walk() {
        const Walk& walk = told_.walk;
        switch (walk.stop) {
            case Stop::wildcard:
                say(in_quotes(component()) +
                    " is a regular expression where one name is expected: it stands for several, "
                    "so the result is " +
                    name_of_result(walk.result));
                return;
            case Stop::regexp:
                say(in_quotes(component()) +
                    " is a regular expression, which ends the walk of a management client that "
                    "may use them");
                return;
            case Stop::overlong:
                say("a component of more than 511 bytes is not tested for a regular expression");
                return;
            case Stop::result:
                tell_result();
        }
    }

    void tell_result() {
        const Walk& walk = told_.walk;
        const std::string names = alternatives(walk.expected);
        if (walk.result == KELVO_NR_DFA_AMBIGUOUS) {
            say("the path stops above the level that decides its owner; " +
                (walk.takes_any ? "any component" : names) + " may follow");
        } else if (walk.result == KELVO_NR_DFA_INVALID && walk.at < walk.components.size()) {
            say(in_quotes(component()) + " is not " + names +
                (walk.expected.size() == 1 ? ", the only name" : ", the names") +
                " that may stand here" + suggestion(component(), walk.expected));
        } else if (walk.result == KELVO_NR_DFA_INVALID) {
            say("no server owns the path that stops here");
        }
    }

    // --- what the flags make of it --------------------------------------------------------------

    kelvo_status resolve() {
        told_.was_walked = true;
        told_.walk = walk_of(told_.path, client_.options);
        result_ = told_.walk.result;
        if (told_.path != "/") tell_walk();
        if (const kelvo_status status = refine()) return status;
        const kelvo_status status =
            client_.has(KELVO_NR_OPT_CCV) ? answer_with_ccv() : answer_by_result();
        if (status == 0) tell_versions();
        return status;
    }

    kelvo_status refine() {
        if (result_ == KELVO_NR_DFA_INVALID && told_.path == "/") {
            say("the empty path is ambiguous, not invalid");
            result_ = KELVO_NR_DFA_AMBIGUOUS;
        }
        if (is_flagged(KELVO_NR_PATH_DEPRECATED)) {
            if (facts_.refuses_deprecated) {
                return refuse(KELVO_ERR_NO_OWNER,
                              "the path is deprecated, and the show tool is refused such paths");
            }
            say("the path is deprecated, which changes nothing for this process");
        }
        if (is_flagged(KELVO_NR_PATH_ALL_LOCAL) && is_management()) {
            say("a management client gets all local servers for a path that stops here");
            result_ = KELVO_NR_DFA_ALL_LOCAL;
        }
        if (is_flagged(KELVO_NR_PATH_REGEXP) && is_management()) {
            say("for a management client the path is ambiguous instead of invalid");
            result_ = KELVO_NR_DFA_AMBIGUOUS;
        }
        return 0;
    }

    // --- the answer -----------------------------------------------------------------------------

    kelvo_status answer_with_ccv() {
        is_systemwide_ = true;
        say("an unverified configuration request goes to the CCV server, whatever its path");
        return 0;
    }

    kelvo_status answer_by_result() {
        switch (result_) {
            case KELVO_NR_DFA_SHARED:
                return is_out_of_reach() ? KELVO_ERR_NO_OWNER : answer_shared();
            case KELVO_NR_DFA_LOCAL:
                say("the table gives the path to this node's local server");
                return 0;
            case KELVO_NR_DFA_ADMIN:
                is_systemwide_ = true;
                say("the table gives the path to the admin server");
                return 0;
            case KELVO_NR_DFA_NODE:
                return answer_node();
            case KELVO_NR_DFA_IFNAME:
                return answer_interface();
            case KELVO_NR_DFA_ALL_LOCAL:
                return 0;
            case KELVO_NR_DFA_AMBIGUOUS:
                return answer_ambiguous();
            default:
                return KELVO_ERR_NO_OWNER;
        }
    }

    bool is_out_of_reach() {
        if (facts_.card_type != PLATFORM_TYPE_LOCAL_ONLY) return false;
        say("a local-only card may not reach the shared plane, where the path's owner is");
        return true;
    }

    kelvo_status answer_shared() {
        kelvo_nr_answer server{};
        kelvo_nr_lookup_shared(told_.path.c_str(), &server);
        is_systemwide_ = server.node_type == KELVO_NODE_SHARED;
        say("among the shared servers the path's beginning chooses node type " +
            std::string(kelvo_comm_nodetype_desc(server.node_type)) + ", server type " +
            kelvo_comm_servertype_desc(server.server_type));
        return 0;
    }

    kelvo_status answer_node() {
        if (client_.has(KELVO_NR_OPT_SERVER)) return answer_for_server();
        return answer_found(in_quotes(component()) + " names node ");
    }

    kelvo_status answer_interface() {
        if (is_out_of_reach()) return KELVO_ERR_NO_OWNER;
        if (client_.has(KELVO_NR_OPT_SERVER)) return answer_for_server();
        return answer_found("the interface database finds " + in_quotes(component()) + " on node ");
    }

    kelvo_status answer_for_server() {
        say("a server takes every node and interface for its own");
        return 0;
    }

    /// What became of a node or an interface is known by the outcome.
    kelvo_status answer_found(const std::string& what) {
        if (outcome_.status == KELVO_ERR_NO_OWNER) {
            return refuse(KELVO_ERR_NO_OWNER,
                          in_quotes(component()) + " names nothing that the platform knows");
        }
        if (outcome_.status == KELVO_ERR_REMOTE_LOCAL_BIND) {
            return refuse(KELVO_ERR_REMOTE_LOCAL_BIND,
                          in_quotes(component()) + " is not on this node, " +
                              text_of_node(facts_.node_id) +
                              ", and this process may bind to no other node's local server on a "
                              "system of several nodes (a management client may: --management)");
        }
        if (outcome_.status != 0) return 0;  // another rule refuses the answer
        const kelvo_nr_answer& answer = outcome_.answer;
        say(what + text_of_node(answer.node_id));
        if (result_ == KELVO_NR_DFA_NODE) tell_sub_card(answer.node_id);
        if (answer.node_type == KELVO_NODE_ALL_LOCAL_SAME_RACK) {
            say("the node is a rack: a management client of a system of one node gets all local "
                "servers of the rack");
        }
        return 0;
    }

    /// A sub-card's name stands for the processor that serves it.
    void tell_sub_card(std::uint32_t processor) {
        std::uint32_t named = processor;
        const std::string text = component();
        if (text.find('_') == std::string::npos) {
            named = static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 16));
        } else {
            (void)nodeid_parse(text.c_str(), &named);
        }
        if (named == processor) return;
        say("it is the processor that serves the sub-card " + text_of_node(named));
    }

    kelvo_status answer_ambiguous() {
        const bool is_admin = told_.path.starts_with("admin/");
        if (told_.path[is_admin ? std::string("admin/").size() : 0] == 'i') {
            say("an ambiguous path that begins with the letter 'i' (behind 'admin/', if it has it) "
                "is not versioned");
            told_.walk.flags |= KELVO_NR_PATH_UNVERSIONED;
        }
        if (is_management()) {
            is_systemwide_ = is_admin;
            say(is_admin ? "a management client gets the admin server for an ambiguous admin path"
                         : "a management client gets every logical router for an ambiguous path");
            return 0;
        }
        if (is_admin) {
            return refuse(KELVO_ERR_NO_OWNER,
                          "only a management client (--management) gets an answer for an ambiguous "
                          "admin path");
        }
        return answer_by_card();
    }

    kelvo_status answer_by_card() {
        switch (facts_.card_type) {
            case PLATFORM_TYPE_ROUTE_PROCESSOR:
            case PLATFORM_TYPE_DISTRIBUTED_PROCESSOR:
            case PLATFORM_TYPE_STANDBY_PROCESSOR:
                say("a processor card gets the shared server for an ambiguous path");
                return answer_shared();
            case PLATFORM_TYPE_LINE_CARD:
            case PLATFORM_TYPE_LOCAL_ONLY:
            case PLATFORM_TYPE_SERVICE_CARD:
                say("a line, service or local-only card gets its local server for an ambiguous "
                    "path");
                return 0;
            default:
                return refuse(KELVO_ERR_NO_OWNER, "a card of type " +
                                                      std::to_string(facts_.card_type) +
                                                      " has no owner for an ambiguous path");
        }
    }

    void tell_versions() {
        if (is_flagged(KELVO_NR_PATH_UNVERSIONED)) {
            say("requests on the path carry no version information");
        } else if (client_.has(KELVO_NR_OPT_UNVERSIONED)) {
            say("the caller asked for an answer that is not versioned");
        }
    }

    const Client& client_;
    const Facts& facts_;
    const Outcome& outcome_;
    Explanation told_;
    std::uint32_t result_ = KELVO_NR_DFA_INVALID;
    bool is_systemwide_ = false;  ///< whether the answer can carry the number of a logical router
};

}  // namespace

Explanation explain(const Resolver& resolver, const std::string& prefix, const std::string& path,
                    const Outcome& outcome) {
    return Explainer(resolver, outcome).explain(prefix, path);
}

}  // namespace kelvo::tool
