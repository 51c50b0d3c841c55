// SPDX-License-Identifier: Apache-2.0
//
// The resolver's state machine as the library exports it: names of what is in its table, and the
// walk that a path takes through it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kelvo_node_resolver.h"

namespace kelvo::tool {

/// "SHARED"
std::string name_of_result(std::uint32_t result);
/// {"DEPRECATED", "LOGGED"}
std::vector<std::string> names_of_flags(std::uint32_t flags);
/// The name that the table matches by this hash; "" when it matches none.
std::string name_of_hash(std::uint32_t hash);
/// What a state does: "is it cfg?", "SHARED".
std::string label_of(const kelvo_nr_dfa_state& state);
/// Whether a state's operation uses the link for failure.
bool can_fail(const kelvo_nr_dfa_state& state);

/// The hash by which the table knows a component.
std::uint32_t hash_of(const std::string& component);

/// One component and the states that looked at it.
struct Component {
    std::string text;
    std::vector<std::uint32_t> states;
};

/// What ended a walk.
enum class Stop {
    result,    ///< a state that says the result
    wildcard,  ///< a regular expression where a node or an interface is named
    regexp,    ///< a regular expression that is none of the names of its level
    overlong   ///< a component too long to be tested for one
};

/// A walk through the table.
struct Walk {
    std::vector<Component> components;
    std::vector<std::uint32_t> at_end;  ///< states that came after the last component
    std::size_t at = 0;  ///< the component that it stopped at; their number at the path's end
    Stop stop = Stop::result;
    std::uint32_t result = KELVO_NR_DFA_INVALID;
    std::uint32_t flags = 0;
    std::vector<std::string> expected;  ///< names that would have led on from there
    bool takes_any = false;             ///< whether any other component would have, too
};

/// Walks a path, which ends with "/" and has neither prefix nor remote form. Only the options for
/// regular expressions and management clients count.
Walk walk_of(const std::string& path, std::uint32_t options);

}  // namespace kelvo::tool
