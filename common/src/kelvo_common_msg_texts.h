// SPDX-License-Identifier: Apache-2.0
//
// The array of the counted strings that a message lists. Their number is the sender's claim; but
// each string that is read takes 16 bytes at least, cell and padded text, so the array needs no
// more places than the message can fill.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "kelvo_wire.h"

namespace kelvo::wire {

class TextArray {
  public:
    TextArray() = default;
    ~TextArray() { std::free(texts_); }
    TextArray(const TextArray&) = delete;
    TextArray& operator=(const TextArray&) = delete;

    /// Makes places for `count` strings, or as many as `left` bytes have room for, and at least
    /// one: also no strings have an array.
    [[nodiscard]] Status make_room(u32 count, u64 left) noexcept {
        constexpr u64 kShortestString = kCellBytes + 8;
        const u64 places = std::max<u64>(std::min<u64>(count, left / kShortestString), 1);
        texts_ = static_cast<char**>(std::malloc(places * sizeof(char*)));
        return texts_ == nullptr ? KELVO_ERR_NO_MEMORY : 0;
    }
    /// Takes a string that has been read.
    void take(u32 index, char* text) noexcept { texts_[index] = text; }
    [[nodiscard]] char* const* texts() const noexcept { return texts_; }
    /// Hands the array over; it is released with free().
    [[nodiscard]] char** release() noexcept { return std::exchange(texts_, nullptr); }

  private:
    char** texts_ = nullptr;
};

}  // namespace kelvo::wire
