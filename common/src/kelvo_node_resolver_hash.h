// SPDX-License-Identifier: Apache-2.0
//
// How a component becomes the number that the state table compares.
#pragma once

#include "kelvo_text.h"

namespace kelvo::nr {

/// The hash of the component that a text begins with.
[[nodiscard]] constexpr u32 hash_of(const char* component) noexcept {
    u32 hash = 0;
    for (const char* at = component; *at != '/' && *at != '\0'; ++at) hash = hash_step(hash, *at);
    return hash;
}

}  // namespace kelvo::nr
