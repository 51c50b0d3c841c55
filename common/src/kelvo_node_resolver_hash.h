// SPDX-License-Identifier: Apache-2.0
//
// How a component becomes the number that the state table compares.
#pragma once

#include "kelvo_bytes.h"

namespace kelvo::nr {

/// The next value of a component's hash.
[[nodiscard]] constexpr u32 hash_step(u32 hash, char byte) noexcept {
    return hash * 33 + static_cast<u32>(static_cast<signed char>(byte));
}

/// The hash of the component that a text begins with.
[[nodiscard]] constexpr u32 hash_of(const char* component) noexcept {
    u32 hash = 0;
    for (const char* at = component; *at != '/' && *at != '\0'; ++at) hash = hash_step(hash, *at);
    return hash;
}

}  // namespace kelvo::nr
