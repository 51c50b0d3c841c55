// SPDX-License-Identifier: Apache-2.0
//
// Random numbers for tests: the same on every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace kelvo::test {

class Random {
  public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    /// Any 32-bit number.
    std::uint32_t word() { return static_cast<std::uint32_t>(engine_()); }
    /// A number below `end`.
    std::uint32_t below(std::uint32_t end) { return word() % end; }
    /// One of a few values.
    template <class T, std::size_t kCount>
    const T& pick(const T (&values)[kCount]) {
        return values[below(static_cast<std::uint32_t>(kCount))];
    }

  private:
    std::mt19937 engine_;
};

}  // namespace kelvo::test
