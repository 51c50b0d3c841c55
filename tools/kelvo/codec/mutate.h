// SPDX-License-Identifier: Apache-2.0
//
// Hostile variants of a message: each does one thing to one place of a well-formed one.
#pragma once

#include <string>
#include <vector>

#include "message.h"

namespace kelvo::codec {

struct Mutation {
    const char* name;
    const char* what;
};

/// All of them, in the order in which they are listed.
[[nodiscard]] const std::vector<Mutation>& mutations();

struct Mutant {
    std::string name;  ///< "length_max@path"
    std::vector<std::uint8_t> bytes;
};

/// What the mutation makes of a message, for each place where it can be made; with a field, there
/// only. Empty when there is no such place.
[[nodiscard]] std::vector<Mutant> mutate(const Description& description, const Decoded& message,
                                         const std::string& mutation, const std::string& field);

}  // namespace kelvo::codec
