// SPDX-License-Identifier: Apache-2.0
//
// Inputs that rows share: names and numbers in an order that is not theirs, the same in every run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace kelvo::bench {

inline std::mt19937 random_numbers() {
    return std::mt19937(20);
}

/// 1 to count.
inline std::vector<std::uint32_t> shuffled_numbers(std::size_t count) {
    std::vector<std::uint32_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 1U);
    std::mt19937 random = random_numbers();
    std::shuffle(numbers.begin(), numbers.end(), random);
    return numbers;
}

/// Names of interfaces.
inline std::vector<std::string> shuffled_names(std::size_t count) {
    std::vector<std::string> names;
    for (const std::uint32_t number : shuffled_numbers(count)) {
        names.push_back("downstream_port0_" + std::to_string(number % 16) + "_" +
                        std::to_string(number));
    }
    return names;
}

}  // namespace kelvo::bench
