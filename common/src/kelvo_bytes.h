// SPDX-License-Identifier: Apache-2.0
//
// Loads, stores and byte swaps. Fields of a message may lie at any address, so nothing else in the
// library touches message bytes: every access is a copy that the compiler turns into one
// instruction.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace kelvo {

using i32 = std::int32_t;
using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

[[nodiscard]] inline u32 load32(const void* at) noexcept {
    u32 word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline void store32(void* at, u32 word) noexcept {
    std::memcpy(at, &word, sizeof word);
}

[[nodiscard]] inline u64 load64(const void* at) noexcept {
    u64 word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

/// Two conversions, which are the same on most hosts and never mean the same: "network" converts
/// between this host's order and the network's, and does nothing where they are one; "reverse" is
/// for what a sender of the other byte order wrote in its own. Either is its own inverse.
inline constexpr bool kHostIsNetwork = std::endian::native == std::endian::big;

[[nodiscard]] constexpr u32 reversed32(u32 word) noexcept {
    return __builtin_bswap32(word);
}

[[nodiscard]] constexpr u32 network32(u32 word) noexcept {
    return kHostIsNetwork ? word : reversed32(word);
}

/// Converts the word at `at` between host and network order.
inline void convert32(void* at) noexcept {
    store32(at, network32(load32(at)));
}

/// Reverses the word at `at`.
inline void reverse32(void* at) noexcept {
    store32(at, reversed32(load32(at)));
}

/// The two words of a 64-bit field, in the order in which they lie in memory. They travel as two
/// words, each converted by itself.
struct WordPair {
    u32 first;
    u32 second;
};
[[nodiscard]] constexpr WordPair words_of(u64 field) noexcept {
    return std::bit_cast<WordPair>(field);
}

/// Fill after a variable-length piece, so that the next field starts at a multiple of 8.
[[nodiscard]] constexpr u32 pad8(u32 length) noexcept {
    return (0U - length) & 7U;
}

/// A length with its fill, exact for every length.
[[nodiscard]] constexpr u64 padded8(u32 length) noexcept {
    return u64{length} + pad8(length);
}

}  // namespace kelvo
