// SPDX-License-Identifier: Apache-2.0
//
// The command-line parser takes an argument "[a,b]" for a list. Paths may look like that, so such
// arguments pass through it behind a byte that no command line has a reason to hold.
#pragma once

#include <string>

namespace kelvo::tool {

inline constexpr char kGuard = '\x01';

inline std::string guarded(const std::string& argument) {
    const bool looks_like_list =
        !argument.empty() && argument.front() == '[' && argument.back() == ']';
    return looks_like_list ? kGuard + argument : argument;
}

inline std::string unguarded(const std::string& argument) {
    const bool is_guarded = argument.size() > 1 && argument[0] == kGuard && argument[1] == '[';
    return is_guarded ? argument.substr(1) : argument;
}

}  // namespace kelvo::tool
