// SPDX-License-Identifier: Apache-2.0
//
// What tests of composed messages have in common: words, slots and bytes of a gather list.
#pragma once

#include <gtest/gtest.h>

#include <array>

#include "kelvo_types.h"
#include "support/wire_bytes.h"

namespace kelvo::test {

/// The two words of a 64-bit value as they lie in this host's memory, and so on the wire.
inline std::array<std::uint32_t, 2> halves(std::uint64_t value) {
    std::array<std::uint32_t, 2> words;
    std::memcpy(words.data(), &value, 8);
    return words;
}

/// The bytes of a gather list, piece by piece.
inline Bytes flattened(const kelvo_slot* list, std::size_t count) {
    Bytes bytes;
    for (std::size_t i = 0; i < count; ++i) {
        const auto* piece = static_cast<const std::uint8_t*>(list[i].base);
        bytes.insert(bytes.end(), piece, piece + list[i].length);
    }
    return bytes;
}

/// A slot as a test expects it.
struct ExpectedSlot {
    const void* base;
    std::uint64_t length;
};

inline void expect_slots(const kelvo_slot* list, std::initializer_list<ExpectedSlot> expected) {
    std::size_t i = 0;
    for (const ExpectedSlot& slot : expected) {
        EXPECT_EQ(list[i].base, slot.base) << "slot " << i;
        EXPECT_EQ(list[i].length, slot.length) << "slot " << i;
        ++i;
    }
}

}  // namespace kelvo::test
