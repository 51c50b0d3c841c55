// SPDX-License-Identifier: Apache-2.0
//
// Calls of the library as programs make them all the time, one of each kind: what they cost has a
// budget.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kelvo::test {

struct PlainCall {
    std::string name;
    std::function<void()> run;
};

/// Made once, with all that they need; each can be run again and again.
[[nodiscard]] std::vector<PlainCall> plain_calls();

}  // namespace kelvo::test
