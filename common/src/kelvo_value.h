// SPDX-License-Identifier: Apache-2.0
//
// Conversion of typed values between byte orders.
#pragma once

#include <array>

#include "kelvo_bytes.h"
#include "kelvo_common_msg.h"

namespace kelvo {

inline constexpr std::array<u8, 14> kValueWidths = {0, 4, 8, 0, 0, 0, 0, 0, 0, 0, 2, 2, 4, 8};

/// Bytes that conversion reverses for a value type; 0 for a type that travels as it is.
[[nodiscard]] constexpr u32 value_width(u32 type) noexcept {
    return type < kValueWidths.size() ? kValueWidths[type] : 0;
}

/// Copies the leading bytes of a value in reverse from `source` to `destination`, which may be the
/// same. A longer value keeps its other bytes; a shorter one is the caller's error and is not
/// checked. Inlined by force, like the walks' other steps: a walk that calls has to save registers.
[[gnu::always_inline]] inline void reverse_value(u32 type, void* destination,
                                                 const void* source) noexcept {
    switch (value_width(type)) {
        case 2:
            return store16(destination, reversed16(load16(source)));
        case 4:
            return store32(destination, reversed32(load32(source)));
        case 8:
            return store64(destination, reversed64(load64(source)));
        default:
            return;
    }
}

/// Converts a value between host and network order, as reverse_value() does where they differ.
/// @return 1 when it converted; 0, with nothing written, for a null pointer or a type that is not
///         an integer
[[gnu::always_inline]] inline u32 convert_value(u32 type, void* destination,
                                                const void* source) noexcept {
    if (destination == nullptr || source == nullptr) return 0;
    if (value_width(type) == 0) return 0;
    if constexpr (kHostIsNetwork) {
        std::memmove(destination, source, value_width(type));
    } else {
        reverse_value(type, destination, source);
    }
    return 1;
}

}  // namespace kelvo
