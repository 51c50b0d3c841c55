// SPDX-License-Identifier: Apache-2.0
//
// How a component becomes the number that the state table compares.
#pragma once

#include "kelvo_text.h"

namespace kelvo::nr {

/// A component that has been looked at.
struct Component {
    u32 hash;
    std::size_t chars;  ///< without the "/" that ends it
};

/// The component that a text begins with.
[[nodiscard]] constexpr Component component_of(const char* text) noexcept {
    const auto ends = [](char c) { return c == '/' || c == '\0'; };
    u32 hash = 0;
    const char* at = text;
    while (!ends(at[0]) && !ends(at[1]) && !ends(at[2]) && !ends(at[3])) {
        hash = hash_four(hash, at);
        at += 4;
    }
    for (; !ends(*at); ++at) hash = hash_step(hash, *at);
    return {hash, static_cast<std::size_t>(at - text)};
}

/// The hash of the component that a text begins with.
[[nodiscard]] constexpr u32 hash_of(const char* component) noexcept {
    return component_of(component).hash;
}

}  // namespace kelvo::nr
