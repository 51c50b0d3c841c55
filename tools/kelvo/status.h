// SPDX-License-Identifier: Apache-2.0
//
// Status codes by name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::tool {

/// "KELVO_ERR_NO_OWNER", "success", or the number of a code that has no name.
std::string name_of_status(std::uint32_t code);
/// "no server owns the path". For a code without a name, what the platform says of it.
std::string meaning_of_status(std::uint32_t code);
/// Whether the code has a name.
bool is_known_status(std::uint32_t code);

/// The code that a text names: by name, with or without what all names begin with, or as a number.
std::optional<std::uint32_t> status_from(const std::string& text);

/// Every code that has a name, and every name that status_from() takes.
const std::vector<std::uint32_t>& known_statuses();
std::vector<std::string> names_of_statuses();

}  // namespace kelvo::tool
