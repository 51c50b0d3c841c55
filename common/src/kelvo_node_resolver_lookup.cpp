// SPDX-License-Identifier: Apache-2.0
//
// From path to server: the path is joined and stripped of its remote form, the state machine gives
// its verdict, and the verdict is refined into the answer.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kelvo_assert.h"
#include "kelvo_node_resolver_machine.h"
#include "kelvo_node_resolver_state.h"
#include "kelvo_probe.h"
#include "kelvo_report.h"

using namespace kelvo;
using namespace kelvo::nr;

namespace {

constexpr const char* kFunction = "kelvo_nr_lookup_node";
constexpr std::size_t kMostInterfaceChars = 63;

/// Prefix and path as one text that ends with "/", on the stack unless it is long.
class JoinedPath {
  public:
    JoinedPath(const char* prefix, const char* path) {
        const std::size_t prefix_chars = std::strlen(prefix);
        const std::size_t path_chars = std::strlen(path);
        const std::size_t chars = prefix_chars + path_chars;
        if (chars + 2 > sizeof stack_) text_ = static_cast<char*>(std::malloc(chars + 2));
        if (text_ == nullptr) return;
        copy_piece(text_, prefix, prefix_chars);
        copy_piece(text_ + prefix_chars, path, path_chars);
        char* end = text_ + chars;
        if (chars == 0 || end[-1] != '/') *end++ = '/';
        *end = '\0';
    }
    ~JoinedPath() {
        if (text_ != stack_) std::free(text_);
    }
    JoinedPath(const JoinedPath&) = delete;
    JoinedPath& operator=(const JoinedPath&) = delete;

    /// Null when there was no memory.
    [[nodiscard]] char* text() { return text_; }

  private:
    char stack_[512];
    char* text_ = stack_;
};

/// A lookup under way.
struct Lookup {
    kelvo_nr_answer& answer;  ///< the caller's own, good only after success
    u32 options;
    char* path = nullptr;  ///< what is resolved; ends with "/"
    Verdict verdict{};
    const char* deprecated = "";  ///< closes debug lines
    u32 ambiguous = 0;

    [[nodiscard]] bool has(u32 option) const { return (options & option) != 0; }
    [[nodiscard]] bool is_management() const { return has(KELVO_NR_OPT_MANAGEMENT); }
    [[nodiscard]] bool is_flagged(u32 flag) const { return (verdict.flags & flag) != 0; }

    kelvo_status answer_with(kelvo_node_type type, u32 nodeid, kelvo_server_type server) {
        answer = {type, nodeid, 0, server};
        return 0;
    }
    kelvo_status answer_local() {
        answer = state.local;
        return 0;
    }
    kelvo_status answer_shared() {
        kelvo_nr_lookup_shared(path, &answer);
        return 0;
    }
    kelvo_status answer_admin() {
        return answer_with(KELVO_NODE_ADMIN, KELVO_NODEID_INVALID, KELVO_SERVER_LOCAL);
    }
};

// --- what the flags make of the verdict ---------------------------------------------------------

kelvo_status refine_deprecated(Lookup& lookup) {
    if (!lookup.is_flagged(KELVO_NR_PATH_DEPRECATED)) return 0;
    KELVO_NR_DEBUG("Path '%s' is deprecated", lookup.path);
    lookup.deprecated = "(deprecated)";
    return state.refuses_deprecated ? KELVO_ERR_NO_OWNER : 0;
}

kelvo_status refine(Lookup& lookup) {
    Verdict& verdict = lookup.verdict;
    if (verdict.result == KELVO_NR_DFA_INVALID && std::strcmp(lookup.path, "/") == 0) {
        KELVO_NR_DEBUG("Downgrading '/' from invalid to ambiguous");
        verdict.result = KELVO_NR_DFA_AMBIGUOUS;
    }
    if (const auto status = refine_deprecated(lookup)) return status;
    if (lookup.is_flagged(KELVO_NR_PATH_LOG_DEPRECATED)) {
        qor_errmsg(&qor_msg_rec_kelvoutils_deprecated_path, 7, lookup.path);
    }
    if (lookup.is_flagged(KELVO_NR_PATH_ALL_LOCAL) && lookup.is_management()) {
        KELVO_NR_DEBUG("Upgrading LOCAL to ALL_LOCAL for management client");
        verdict.result = KELVO_NR_DFA_ALL_LOCAL;
    }
    if (lookup.is_flagged(KELVO_NR_PATH_REGEXP) && lookup.is_management()) {
        KELVO_NR_DEBUG("Changing INVALID to AMBIGUOUS for management client");
        verdict.result = KELVO_NR_DFA_AMBIGUOUS;
    }
    return 0;
}

// --- refusals -----------------------------------------------------------------------------------

/// Whether this card may not reach the plane of the answer.
bool is_out_of_reach(const Lookup& lookup, const char* plane) {
    if (state.card_type != PLATFORM_TYPE_LOCAL_ONLY) return false;
    KELVO_NR_DEBUG(
        "An attempt was made to access Kelvo path '%s'.  This resolves to the %s plane and cannot "
        "be accessed on this card type.",
        lookup.path, plane);
    return true;
}

/// Whether this process may not bind to the local namespace of the node.
bool is_refused_bind(const Lookup& lookup, u32 nodeid) {
    if (lookup.is_management() || nodeid == state.local.node_id || state.permits_remote_binds ||
        centralised()) {
        return false;
    }
    KELVO_NR_DEBUG(
        "Attempted bind to local namespace on node %s from node %s has been rejected, path %s",
        kelvo_util_nodeid_to_str(nodeid), kelvo_util_nodeid_to_str(state.local.node_id),
        lookup.path);
    return true;
}

/// Reports a component that names nothing: to the trace of the process, if it has one.
kelvo_status refuse_component(const Lookup& lookup, const char* what, kelvo_status status) {
    char component[512];
    (void)copy_component(component, lookup.verdict.component);
    const char* const why = errcode_strerror(status);
    if (state.trace != nullptr) {
        platform_trace_record(state.trace, "%s ('%s' from '%s') (%s)", what, component, lookup.path,
                              why);
    } else {
        qor_errmsg(&qor_msg_rec_kelvoutils_parse_failed, 7, what, component, lookup.path, why);
    }
    return KELVO_ERR_NO_OWNER;
}

// --- a node -------------------------------------------------------------------------------------

/// Reads the id that a component stands for.
kelvo_status parse_node(const Lookup& lookup, u32* nodeid) {
    const Terminated component(lookup.verdict.component);
    const char* const text = lookup.verdict.component;
    if (std::strchr(text, '_') != nullptr) return nodeid_parse(text, nodeid);
    unsigned number;
    if (std::sscanf(text, "%x", &number) != 1) return KELVO_ERR_NO_OWNER;
    *nodeid = number;
    return 0;
}

/// The id of the processor that serves a node.
kelvo_status to_processor(u32* nodeid) {
    u32 cpu = KELVO_NODEID_INVALID;
    if (const auto status = nodeid_to_cpu_nodeid(*nodeid, &cpu)) {
        report_internal("Failed to extract card nodeid", status);
        KELVO_NR_DEBUG(
            "Failed to convert nodeid 0x%x from a ADP nodeid to a CPU nodeid: rc 0x%x, %s", *nodeid,
            status, errcode_strerror(status));
        return KELVO_ERR_NO_OWNER;
    }
    KELVO_NR_DEBUG("Converted ADP nodeid 0x%x to CPU nodeid 0x%x", *nodeid, cpu);
    *nodeid = cpu;
    return 0;
}

/// The node that the path names.
kelvo_status named_node(const Lookup& lookup, u32* nodeid) {
    if (lookup.has(KELVO_NR_OPT_SERVER)) {
        *nodeid = state.local.node_id;
        return 0;
    }
    if (const auto status = parse_node(lookup, nodeid)) {
        return refuse_component(lookup, "Failed to parse node", status);
    }
    return to_processor(nodeid);
}

/// Whether the node stands for all local servers of its rack.
bool is_rack(const Lookup& lookup, u32 nodeid) {
    return lookup.is_management() && centralised() &&
           platform_node_type(nodeid) == PLATFORM_NODE_TYPE_RACK &&
           (starts_with(lookup.path, "oper/kelvo") || starts_with(lookup.path, "cfg/"));
}

kelvo_status resolve_node(Lookup& lookup) {
    u32 nodeid = KELVO_NODEID_INVALID;
    if (const auto status = named_node(lookup, &nodeid)) return status;
    if (is_refused_bind(lookup, nodeid)) return KELVO_ERR_REMOTE_LOCAL_BIND;
    KELVO_NR_DEBUG("'%s' -> %s %s", lookup.path, kelvo_util_nodeid_to_str(nodeid),
                   lookup.deprecated);
    return lookup.answer_with(
        is_rack(lookup, nodeid) ? KELVO_NODE_ALL_LOCAL_SAME_RACK : KELVO_NODE_PHYSICAL, nodeid,
        KELVO_SERVER_LOCAL);
}

// --- an interface -------------------------------------------------------------------------------

kelvo_status locate_component(const Lookup& lookup, u32* nodeid) {
    const Terminated component(lookup.verdict.component);
    const char* const name = lookup.verdict.component;
    if (std::strlen(name) > kMostInterfaceChars) return KELVO_ERR_NAME_TOO_LONG;
    return locate_interface(name, nodeid);
}

kelvo_status resolve_interface(Lookup& lookup) {
    if (is_out_of_reach(lookup, "shared")) return KELVO_ERR_NO_OWNER;
    if (lookup.has(KELVO_NR_OPT_SERVER)) return lookup.answer_local();

    u32 nodeid = KELVO_NODEID_INVALID;
    if (const auto status = locate_component(lookup, &nodeid)) {
        return refuse_component(lookup, "Unable to parse node from interface name", status);
    }
    if (nodeid == KELVO_NODEID_INVALID) {
        return refuse_component(lookup, "Parsed OK but nodeid invalid for interface name",
                                KELVO_ERR_NO_OWNER);
    }
    if (is_refused_bind(lookup, nodeid)) return KELVO_ERR_REMOTE_LOCAL_BIND;
    return lookup.answer_with(KELVO_NODE_PHYSICAL, nodeid, KELVO_SERVER_LOCAL);
}

// --- a path that stops too early ----------------------------------------------------------------

kelvo_status resolve_for_management(Lookup& lookup, bool is_admin_path) {
    if (is_admin_path) {
        KELVO_NR_DEBUG("%s: ambiguous mgmt bind %s -> admin", kFunction, lookup.path);
        return lookup.answer_admin();
    }
    KELVO_NR_DEBUG("%s: ambiguous mgmt bind %s -> all LR", kFunction, lookup.path);
    return lookup.answer_with(KELVO_NODE_ALL_LR, KELVO_NODEID_INVALID, KELVO_SERVER_LOCAL);
}

kelvo_status resolve_by_card(Lookup& lookup) {
    switch (state.card_type) {
        case PLATFORM_TYPE_ROUTE_PROCESSOR:
        case PLATFORM_TYPE_DISTRIBUTED_PROCESSOR:
        case PLATFORM_TYPE_STANDBY_PROCESSOR:
            KELVO_NR_DEBUG("%s: ambiguous bind %s -> shared", kFunction, lookup.path);
            return lookup.answer_shared();
        case PLATFORM_TYPE_LINE_CARD:
        case PLATFORM_TYPE_LOCAL_ONLY:
        case PLATFORM_TYPE_SERVICE_CARD:
            KELVO_NR_DEBUG("%s: ambiguous bind %s -> local", kFunction, lookup.path);
            return lookup.answer_local();
        default:
            return KELVO_ERR_NO_OWNER;
    }
}

kelvo_status resolve_ambiguous(Lookup& lookup) {
    constexpr const char* kAdmin = "admin/";
    const bool is_admin_path = starts_with(lookup.path, kAdmin);
    lookup.ambiguous = 1;
    // The one letter stands for the inter-process paths, and catches every other name with it too.
    if (lookup.path[is_admin_path ? std::strlen(kAdmin) : 0] == 'i') {
        lookup.verdict.flags |= KELVO_NR_PATH_UNVERSIONED;
    }
    if (lookup.is_management()) return resolve_for_management(lookup, is_admin_path);
    return is_admin_path ? KELVO_ERR_NO_OWNER : resolve_by_card(lookup);
}

// --- the answer ---------------------------------------------------------------------------------

kelvo_status resolve_shared(Lookup& lookup) {
    KELVO_NR_DEBUG("'%s' -> SHARED %s", lookup.path, lookup.deprecated);
    return is_out_of_reach(lookup, "shared") ? KELVO_ERR_NO_OWNER : lookup.answer_shared();
}

[[noreturn, gnu::cold]] void refuse_result(u32 result) {
    report_internal("Bad DFA return value", result);
    KELVO_ASSERT(false, "0", kUnit);
}

kelvo_status resolve_verdict(Lookup& lookup) {
    switch (lookup.verdict.result) {
        case KELVO_NR_DFA_INVALID:
            return KELVO_ERR_NO_OWNER;
        case KELVO_NR_DFA_SHARED:
            return resolve_shared(lookup);
        case KELVO_NR_DFA_LOCAL:
            KELVO_NR_DEBUG("'%s' -> LOCAL %s", lookup.path, lookup.deprecated);
            return lookup.answer_local();
        case KELVO_NR_DFA_ADMIN:
            KELVO_NR_DEBUG("%s: %s -> admin %s", kFunction, lookup.path, lookup.deprecated);
            return lookup.answer_admin();
        case KELVO_NR_DFA_NODE:
            return resolve_node(lookup);
        case KELVO_NR_DFA_IFNAME:
            return resolve_interface(lookup);
        case KELVO_NR_DFA_ALL_LOCAL:
            KELVO_NR_DEBUG("%s: %s -> all local %s", kFunction, lookup.path, lookup.deprecated);
            return lookup.answer_with(KELVO_NODE_ALL_LOCAL, KELVO_NODEID_INVALID,
                                      KELVO_SERVER_LOCAL);
        case KELVO_NR_DFA_AMBIGUOUS:
            return resolve_ambiguous(lookup);
        default:
            refuse_result(lookup.verdict.result);
    }
}

kelvo_status resolve_ccv(Lookup& lookup) {
    KELVO_NR_DEBUG("Changing to CCV for unverified config requests");
    KELVO_NR_DEBUG("%s: %s -> CCV %s", kFunction, lookup.path, lookup.deprecated);
    return lookup.answer_with(KELVO_NODE_CCV, KELVO_NODEID_INVALID, KELVO_SERVER_CCV);
}

void set_versioned(Lookup& lookup) {
    const bool versioned =
        !lookup.is_flagged(KELVO_NR_PATH_UNVERSIONED) && !lookup.has(KELVO_NR_OPT_UNVERSIONED);
    lookup.answer.versioned = versioned ? 1 : 0;
    KELVO_NR_DEBUG("Setting versioned flag to %s (options=0x%x)", versioned ? "TRUE" : "FALSE",
                   lookup.options);
}

kelvo_status resolve(Lookup& lookup) {
    lookup.verdict = kelvo_nr_run_dfa(lookup.path, lookup.options);
    if (const auto status = refine(lookup)) return status;
    const kelvo_status status =
        lookup.has(KELVO_NR_OPT_CCV) ? resolve_ccv(lookup) : resolve_verdict(lookup);
    if (status == 0) set_versioned(lookup);
    return status;
}

// --- the remote form ----------------------------------------------------------------------------

constexpr const char* kRemote = "remote/";

u32 read_number(const char* text) {
    u32 number = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        number = number * 10 + static_cast<u32>(*text - '0');
    return number;
}

/// Whether an answer can carry the number of a logical router.
bool is_systemwide(const kelvo_nr_answer& answer) {
    return answer.node_type == KELVO_NODE_SHARED || answer.node_type == KELVO_NODE_ADMIN ||
           answer.node_type == KELVO_NODE_CCV;
}

kelvo_status resolve_remote(Lookup& lookup) {
    const u32 number = read_number(lookup.path + std::strlen(kRemote));
    lookup.path += kelvo_nr_get_remote_basename(lookup.path) - lookup.path;
    if (const auto status = resolve(lookup)) return status;
    if (!is_systemwide(lookup.answer)) return KELVO_ERR_BAD_PATH;
    lookup.answer.node_id = number;
    return 0;
}

/// Whether a part of a path may not begin as it does. The text "/" alone is the empty path.
bool begins_wrongly(const char* prefix, const char* path) {
    if (prefix[0] != '/' && path[0] != '/') return false;
    return std::strlen(prefix) + std::strlen(path) > 1;
}

kelvo_status look_up(const char* prefix, const char* path, Lookup& lookup) {
    if (begins_wrongly(prefix, path)) return KELVO_ERR_BAD_PATH;
    JoinedPath joined(prefix, path);
    if (joined.text() == nullptr) return KELVO_ERR_NO_MEMORY;
    lookup.path = joined.text();
    if (lookup.path[0] != 'r') return resolve(lookup);
    return starts_with(lookup.path, kRemote) ? resolve_remote(lookup) : KELVO_ERR_BAD_PATH;
}

}  // namespace

kelvo_status kelvo_nr_lookup_node(const char* prefix, const char* path, uint32_t options,
                                  kelvo_nr_answer* out, uint32_t* is_ambiguous) {
    kelvo_nr_answer nobodys;
    Lookup lookup{out != nullptr ? *out : nobodys, options};
    const kelvo_status status =
        any_null(prefix, path, out) ? KELVO_ERR_NULL_PARAM : look_up(prefix, path, lookup);
    if (status != 0) lookup.answer = kIllegal;
    if (status == 0 && is_ambiguous != nullptr) *is_ambiguous = lookup.ambiguous;
    if (probe::looking_up()) [[unlikely]]
        probe::tell_lookup(prefix, path, status, lookup.answer);
    return status;
}
