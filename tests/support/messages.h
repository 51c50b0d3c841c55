// SPDX-License-Identifier: Apache-2.0
//
// What message tests have in common: running a reader over every truncation of a valid message, and
// over a message and its byte-swapped twin.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "kelvo_status.h"
#include "support/wire_bytes.h"

namespace kelvo::test {

/// Runs a reader that demands the exact length over each shorter length, in a block of exactly that
/// size, or of `touched` bytes where the reader touches that much whatever the length. Every one
/// must be refused for its length.
template <class Reader>
void expect_every_truncation_refused(const Bytes& valid, std::size_t touched, Reader reader) {
    for (std::size_t length = 0; length < valid.size(); ++length) {
        SCOPED_TRACE("length " + std::to_string(length));
        const std::size_t size = std::max(length, std::min(touched, valid.size()));
        const Walled block(Bytes(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(size)));
        EXPECT_EQ(reader(block.data(), static_cast<std::uint32_t>(length)), KELVO_ERR_MSG_LENGTH);
    }
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
