// SPDX-License-Identifier: Apache-2.0
//
// Messages by chance, from the description: well-formed ones, and what damage makes of them.
#pragma once

#include <cstdint>
#include <vector>

#include "message_json.h"
#include "support/random.h"

namespace kelvo::test {

/// A message that every reader accepts, as JSON. `order` is what its words are to be encoded in.
[[nodiscard]] codec::Json random_message(Random& random, const codec::Message& message,
                                         codec::Order order);

/// One thing changed: cut short, made longer, or a word or byte replaced, by an interesting number
/// more often than not.
void damage(Random& random, std::vector<std::uint8_t>& bytes);

}  // namespace kelvo::test
