// SPDX-License-Identifier: Apache-2.0
//
// Why the resolver answers as it does: the walk through its table, and every rule that decided or
// changed the answer, in the order in which the library applies them.
#pragma once

#include <string>
#include <vector>

#include "machine.h"
#include "resolver.h"

namespace kelvo::tool {

struct Explanation {
    std::string path;  ///< what is resolved: joined, with a "/" at its end, without its remote form
    bool was_walked = false;  ///< whether it came as far as the table
    Walk walk;
    std::vector<std::string> rules;
    kelvo_status status = 0;  ///< what the rules come to
};

/// Explains an outcome of `resolver`.
Explanation explain(const Resolver& resolver, const std::string& prefix, const std::string& path,
                    const Outcome& outcome);

}  // namespace kelvo::tool
