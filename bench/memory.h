// SPDX-License-Identifier: Apache-2.0
//
// Memory that a piece of work takes at the most.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kelvo::bench {

struct Memory {
    std::string title;
    std::uint64_t floor;  ///< what the interface itself hands out
    std::uint64_t bytes;
};

/// By how much the process grows at the most while it does the work.
std::uint64_t peak(const std::function<void()>& work);

std::vector<Memory> memory_of_bulk();

}  // namespace kelvo::bench
