// SPDX-License-Identifier: Apache-2.0
//
// The state machine. It knows the table's operations and nothing of what the table says: every
// state is followed as it stands, and a state that cannot be followed ends the process, since no
// path can bring one about.
#include "kelvo_node_resolver_machine.h"

#include "kelvo_assert.h"
#include "kelvo_node_resolver_hash.h"
#include "kelvo_node_resolver_state.h"
#include "kelvo_util_path.h"

using namespace kelvo;
using namespace kelvo::nr;

namespace {

constexpr u32 kManagementRegexp = KELVO_NR_OPT_REGEXP | KELVO_NR_OPT_MANAGEMENT;

bool holds_regexp(const char* text) {
    u32 is_regexp = 0;
    (void)kelvo_util_path_is_regexp(text, &is_regexp, 0);
    return is_regexp != 0;
}

/// A walk: the path, the component it has come to, and what is known so far.
class Walk {
  public:
    Walk(char* path, u32 options)
        : path_(path), options_(options), verdict_{KELVO_NR_DFA_INVALID, 0, path} {}

    [[nodiscard]] const Verdict& verdict() const { return verdict_; }
    void decide(u32 result) { verdict_.result = result; }
    void add_flags(u32 flags) { verdict_.flags |= flags; }

    /// Goes to the next component. @return whether there is one
    bool advance() {
        look();
        verdict_.component += component_.chars;
        if (*verdict_.component == '/') ++verdict_.component;
        looked_ = false;
        component_.hash = 0;
        return *verdict_.component != '\0';
    }

    /// The component's hash, which is computed once.
    u32 hash() {
        look();
        return component_.hash;
    }

    /// Whether a component that matched no name ends the walk: one that holds a regular expression
    /// does, for a management client that may use them, and so does one too long to be tested.
    bool ends_at_regexp() {
        if ((options_ & kManagementRegexp) != kManagementRegexp) return false;
        char component[512];
        if (!copy_component(component, verdict_.component)) {
            qor_errmsg(&qor_msg_rec_kelvoutils_internal_state, 7, "NR DFA pathname overrun");
            return true;
        }
        if (!holds_regexp(component)) return false;
        KELVO_NR_DEBUG_DFA("Regexp path '%s' found in '%s'", component, path_);
        add_flags(KELVO_NR_PATH_REGEXP);
        return true;
    }

    /// Whether the component stands for several nodes or interfaces, for a caller that may say so.
    bool decides_wildcard() {
        if ((options_ & KELVO_NR_OPT_REGEXP) == 0) return false;
        const Terminated component(verdict_.component);
        if (!holds_regexp(verdict_.component)) return false;
        decide((options_ & KELVO_NR_OPT_MANAGEMENT) != 0 ? KELVO_NR_DFA_ALL_LOCAL
                                                         : KELVO_NR_DFA_LOCAL);
        return true;
    }

    void trace(u32 from, u32 to) const {
        KELVO_NR_DEBUG_DFA(
            "Transition from state %d to state %d, with hash cache %u, for path '%s'",
            static_cast<i32>(from), static_cast<i32>(to), component_.hash, path_);
    }

  private:
    void look() {
        if (!looked_) component_ = component_of(verdict_.component);
        looked_ = true;
    }

    char* path_;
    u32 options_;
    Verdict verdict_;
    Component component_{0, 0};
    bool looked_ = false;
};

[[noreturn, gnu::cold]] void refuse_state(u32 number) {
    qor_errmsg(&qor_msg_rec_kelvoutils_unexpected_value, 7, "DFA state", number);
    KELVO_ASSERT(false, "0", kUnit);
}

/// Goes past the names that are not the component's, which is most of what a walk does.
/// @return whether the walk goes on, in *number
bool pass_names(Walk& walk, u32* number) {
    const kelvo_nr_dfa_state* at = &kelvo_nr_dfa_state_table[*number];
    if (at->operation != KELVO_NR_DFA_MATCH) return true;
    const u32 hash = walk.hash();
    for (; at->operation == KELVO_NR_DFA_MATCH && at->argument != hash;
         at = &kelvo_nr_dfa_state_table[*number]) {
        if (walk.ends_at_regexp()) return false;
        walk.trace(*number, at->on_failure);
        *number = at->on_failure;
    }
    return true;
}

/// Performs one state, which is no name but the component's. @return whether the walk goes on, to
/// *next
bool step(Walk& walk, u32 number, u32* next) {
    const kelvo_nr_dfa_state& at = kelvo_nr_dfa_state_table[number];
    *next = at.on_success;
    switch (at.operation) {
        case KELVO_NR_DFA_ADVANCE:
            if (!walk.advance()) *next = at.on_failure;
            return true;
        case KELVO_NR_DFA_RESULT:
            walk.decide(at.argument);
            return false;
        case KELVO_NR_DFA_SET_FLAG:
            walk.add_flags(at.argument);
            return true;
        case KELVO_NR_DFA_MATCH:
        case KELVO_NR_DFA_NO_OPERATION:
            return true;
        case KELVO_NR_DFA_WILDCARD_TEST:
            return !walk.decides_wildcard();
        default:
            refuse_state(number);
    }
}

}  // namespace

Verdict kelvo_nr_run_dfa(char* path, u32 options) {
    Walk walk(path, options);
    u32 number = kelvo_nr_dfa_start_state;
    u32 next;
    while (pass_names(walk, &number) && step(walk, number, &next)) {
        walk.trace(number, next);
        number = next;
    }
    return walk.verdict();
}
