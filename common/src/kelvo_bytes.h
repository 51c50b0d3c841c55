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
using i64 = std::int64_t;
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

[[nodiscard]] inline u16 load16(const void* at) noexcept {
    u16 word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline void store16(void* at, u16 word) noexcept {
    std::memcpy(at, &word, sizeof word);
}

[[nodiscard]] inline u64 load64(const void* at) noexcept {
    u64 word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline void store64(void* at, u64 word) noexcept {
    std::memcpy(at, &word, sizeof word);
}

/// As many bytes as one instruction moves.
using Word128 [[gnu::vector_size(16)]] = u64;

/// Copies the words at both ends of a piece, which meet or overlap in its middle.
template <class Word>
inline void copy_ends(u8* to, const u8* from, std::size_t bytes) noexcept {
    Word first;
    Word last;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + bytes - sizeof last, sizeof last);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + bytes - sizeof last, &last, sizeof last);
}

/// Copies a piece that is shorter than a cell, as fill is; often there is nothing of it.
inline void copy_short_piece(u8* to, const u8* from, std::size_t bytes) noexcept {
    if (bytes >= 4) return copy_ends<u32>(to, from, bytes);
    if (bytes == 0) return;
    to[0] = from[0];
    to[bytes / 2] = from[bytes / 2];
    to[bytes - 1] = from[bytes - 1];
}

/// Copies a piece of a message or a path. Most pieces are short, and cost less than a call would;
/// every cell and most numbers are of 8 bytes.
inline void copy_piece(void* place, const void* piece, std::size_t bytes) noexcept {
    auto* const to = static_cast<u8*>(place);
    const auto* const from = static_cast<const u8*>(piece);
    if (bytes == 8) return store64(to, load64(from));
    if (bytes < 8) return copy_short_piece(to, from, bytes);
    if (bytes <= 16) return copy_ends<u64>(to, from, bytes);
    if (bytes <= 32) return copy_ends<Word128>(to, from, bytes);
    if (bytes <= 64) {
        copy_ends<Word128>(to, from, bytes);
        copy_ends<Word128>(to + 16, from + 16, bytes - 32);
        return;
    }
    std::memcpy(to, from, bytes);
}

/// Whether two pieces are the same, a word at a time; the last word may begin within the one
/// before.
[[nodiscard]] inline bool same_piece(const void* piece, const void* other,
                                     std::size_t bytes) noexcept {
    const auto* const a = static_cast<const u8*>(piece);
    const auto* const b = static_cast<const u8*>(other);
    if (bytes >= 8) {
        const std::size_t last = bytes - 8;
        for (std::size_t at = 0; at < last; at += 8) {
            if (load64(a + at) != load64(b + at)) return false;
        }
        return load64(a + last) == load64(b + last);
    }
    if (bytes >= 4) {
        const std::size_t last = bytes - 4;
        return load32(a) == load32(b) && load32(a + last) == load32(b + last);
    }
    for (std::size_t at = 0; at < bytes; ++at) {
        if (a[at] != b[at]) return false;
    }
    return true;
}

/// Two conversions, which are the same on most hosts and never mean the same: "network" converts
/// between this host's order and the network's, and does nothing where they are one; "reverse" is
/// for what a sender of the other byte order wrote in its own. Either is its own inverse.
inline constexpr bool kHostIsNetwork = std::endian::native == std::endian::big;

[[nodiscard]] constexpr u16 reversed16(u16 word) noexcept {
    return __builtin_bswap16(word);
}

[[nodiscard]] constexpr u32 reversed32(u32 word) noexcept {
    return __builtin_bswap32(word);
}

[[nodiscard]] constexpr u64 reversed64(u64 word) noexcept {
    return __builtin_bswap64(word);
}

[[nodiscard]] constexpr u32 network32(u32 word) noexcept {
    return kHostIsNetwork ? word : reversed32(word);
}

/// The bytes at `at` as one number, the first of them lowest.
[[nodiscard]] inline u64 little64(const void* at) noexcept {
    return kHostIsNetwork ? reversed64(load64(at)) : load64(at);
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
    return (u64{length} + 7) & ~u64{7};
}

}  // namespace kelvo
