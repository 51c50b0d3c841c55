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

/// The hash of a text that is eight bytes longer, all of them taken in at once. Neighbours join to
/// pairs, pairs to fours, fours to the eight, the first of two always as many times 33 as the
/// second has bytes; none of the sums outgrows its part of the word. The bytes count from 0 to 255
/// for that, 128 more than they are, and what those add is taken away in the end.
[[nodiscard]] inline u32 hash_eight(u32 hash, const char* bytes) noexcept {
    constexpr u64 kFirstOfTwo = 0x00FF00FF00FF00FF;
    constexpr u64 kFirstOfFour = 0x0000FFFF0000FFFF;
    constexpr u32 k2 = 33 * 33;
    constexpr u32 k4 = k2 * k2;
    constexpr u32 kAdded = 128 * (33 + 1) * (k2 + 1) * (k4 + 1);
    const u64 word = little64(bytes) ^ 0x8080808080808080;
    const u64 pairs = (word & kFirstOfTwo) * 33 + (word >> 8 & kFirstOfTwo);
    const u64 fours = (pairs & kFirstOfFour) * k2 + (pairs >> 16 & kFirstOfFour);
    const u32 eight = static_cast<u32>(fours) * k4 + static_cast<u32>(fours >> 32);
    return hash * (k4 * k4) + eight - kAdded;
}

/// Characters of the path's first component, the "/" that ends it included.
[[nodiscard]] inline std::size_t component_chars(const char* path) noexcept {
    const char* const end = strchrnul(path, '/');
    return static_cast<std::size_t>(end - path) + (*end == '/' ? 1 : 0);
}

}  // namespace kelvo
