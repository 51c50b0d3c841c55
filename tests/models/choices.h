// SPDX-License-Identifier: Apache-2.0
//
// Trying every way through some code that asks for choices: the code is run again and again, and
// each run takes a way that none before it took, until there is no other.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace kelvo::model {

/// How many values are tried for a word: all of them for the first choices of a run, fewer for
/// later ones, and then the one that leads furthest.
struct Grid {
    std::size_t wide;    ///< choices that are made from all values
    std::size_t narrow;  ///< choices that are then made from a few
};

class Choices {
  public:
    explicit Choices(const Grid& grid) : grid_(grid) {}

    /// Makes the next run take another way. @return whether there is one
    bool another() {
        made_ = 0;
        while (!way_.empty()) {
            if (++way_.back().taken < way_.back().of) return true;
            way_.pop_back();
        }
        return false;
    }

    /// A length of something for which `left` bytes are left.
    std::uint32_t length(std::uint64_t left) {
        const auto n = static_cast<std::uint32_t>(left);
        if (thin()) return pick({1, 8, 9, n - 8, n, n + 1, 0xFFFFFFF9});
        return pick({1,          0,          2,          7,          8,          9,
                     16,         17,         n - 17,     n - 16,     n - 15,     n - 9,
                     n - 8,      n - 7,      n - 1,      n,          n + 1,      n + 7,
                     n + 8,      n + 9,      0xFFFF,     0x10000,    0x01000000, 0x7FFFFFF9,
                     0x80000000, 0xFFFFFFF0, 0xFFFFFFF7, 0xFFFFFFF8, 0xFFFFFFF9, 0xFFFFFFFF});
    }

    /// A length that may be in either byte order.
    std::uint32_t length_in_either_order(std::uint64_t left) {
        const auto n = static_cast<std::uint32_t>(left);
        const auto reversed = [](std::uint32_t word) { return __builtin_bswap32(word); };
        if (thin()) return pick({1, 0x08000000, 9, n, reversed(n), reversed(n + 1), 0xFFFFFFF9});
        return pick({1,
                     0x01000000,
                     0,
                     8,
                     0x08000000,
                     9,
                     0x09000000,
                     16,
                     n - 16,
                     n - 9,
                     n - 8,
                     n - 7,
                     n,
                     n + 1,
                     n + 8,
                     n + 9,
                     reversed(n - 16),
                     reversed(n - 9),
                     reversed(n - 8),
                     reversed(n - 7),
                     reversed(n),
                     reversed(n + 1),
                     reversed(n + 8),
                     reversed(n + 9),
                     0xFFFF,
                     0x10000,
                     0xFFFF0000,
                     0x00000100,
                     0x80000000,
                     0xFFFFFFF8,
                     0xFFFFFFF9,
                     0xFFFFFFFF});
    }

    /// A number of entries for which `left` bytes are left.
    std::uint32_t count(std::uint64_t left) {
        const auto n = static_cast<std::uint32_t>(left);
        if (thin()) return pick({2, 1, 0, n / 8, n / 8 + 1, 0xFFFFFFFF});
        return pick({2,          1,          0,          3,          4,          5,
                     6,          7,          n / 4 - 1,  n / 4,      n / 4 + 1,  n / 8 - 1,
                     n / 8,      n / 8 + 1,  n / 12,     n / 12 + 1, 0x01000000, 0x1FFFFFFF,
                     0x20000000, 0x20000001, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF});
    }

    std::uint32_t type() {
        if (thin()) return pick({2, 1, 10, 0, 0xFFFFFFFF});
        return pick({1, 2, 10, 11, 12, 13, 0, 3, 9, 14, 0x01000000, 0xFFFFFFFF});
    }

    /// One of several values, or another one.
    std::uint32_t one_of(std::initializer_list<std::uint32_t> values) {
        constexpr std::uint32_t kAnother = 0x5A6B7C8D;
        begin();
        for (const std::uint32_t value : values) add(value);
        add(kAnother);
        return take();
    }

    std::uint32_t nul() { return pick({0, 'x'}); }

  private:
    struct Step {
        std::size_t taken;
        std::size_t of;
    };

    [[nodiscard]] bool thin() const { return made_ >= grid_.wide; }

    std::uint32_t pick(std::initializer_list<std::uint32_t> values) {
        begin();
        for (const std::uint32_t value : values) add(value);
        return take();
    }

    void begin() { size_ = 0; }
    void add(std::uint32_t value) {
        const auto end = values_.begin() + size_;
        if (std::find(values_.begin(), end, value) == end) values_[size_++] = value;
    }
    std::uint32_t take() {
        if (made_ == way_.size()) {
            way_.push_back({0, made_ < grid_.wide + grid_.narrow ? size_ : 1});
        }
        return values_[way_[made_++].taken];
    }

    Grid grid_;
    std::vector<Step> way_;
    std::size_t made_ = 0;  ///< choices of this run
    std::array<std::uint32_t, 32> values_{};
    std::size_t size_ = 0;
};

}  // namespace kelvo::model
