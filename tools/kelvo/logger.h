// SPDX-License-Identifier: Apache-2.0
//
// What the library logs while the program runs. The program takes the place of the platform's
// logger, so that a question about a path does not end up in the system's log.
#pragma once

#include <string>
#include <vector>

namespace kelvo::tool {

/// The messages logged since the last call, as "MNEMONIC: text".
std::vector<std::string> take_logged();

}  // namespace kelvo::tool
