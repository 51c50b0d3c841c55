// SPDX-License-Identifier: Apache-2.0
//
// Copies of texts, their hash, and the components of a path.
#pragma once

#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"

namespace kelvo {

/// A new text of `chars` characters from `text`, released with free(); null without memory.
[[nodiscard]] inline char* copy_text(const char* text, std::size_t chars) noexcept {
    auto* const copy = static_cast<char*>(std::malloc(chars + 1));
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, text, chars);
    copy[chars] = '\0';
    return copy;
}

/// A new text like `text`, released with free(); null without memory.
[[nodiscard]] inline char* copy_text(const char* text) noexcept {
    return copy_text(text, std::strlen(text));
}

/// The hash of a text that is one byte longer; that of the empty text is 0.
[[nodiscard]] constexpr u32 hash_step(u32 hash, char byte) noexcept {
    return hash * 33 + static_cast<u32>(static_cast<signed char>(byte));
}

/// The hash of a text that is four bytes longer, in one step: the bytes do not wait for each other.
[[nodiscard]] constexpr u32 hash_four(u32 hash, const char* bytes) noexcept {
    const u32 first = hash_step(hash_step(0, bytes[0]), bytes[1]);
    const u32 second = hash_step(hash_step(0, bytes[2]), bytes[3]);
    return hash * (33 * 33 * 33 * 33) + first * (33 * 33) + second;
}

/// Characters of the path's first component, the "/" that ends it included.
[[nodiscard]] inline std::size_t component_chars(const char* path) noexcept {
    const char* const end = strchrnul(path, '/');
    return static_cast<std::size_t>(end - path) + (*end == '/' ? 1 : 0);
}

}  // namespace kelvo
