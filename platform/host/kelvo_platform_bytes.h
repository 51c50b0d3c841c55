// SPDX-License-Identifier: Apache-2.0
//
// Numbers in network byte order, at any address.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace kelvo::host {

constexpr std::uint32_t network32(std::uint32_t number) noexcept {
    return std::endian::native == std::endian::little ? __builtin_bswap32(number) : number;
}

constexpr std::uint16_t network16(std::uint16_t number) noexcept {
    return std::endian::native == std::endian::little ? __builtin_bswap16(number) : number;
}

inline std::uint32_t load_network32(const void* from) noexcept {
    std::uint32_t number;
    std::memcpy(&number, from, sizeof number);
    return network32(number);
}

inline void store_network32(void* to, std::uint32_t number) noexcept {
    number = network32(number);
    std::memcpy(to, &number, sizeof number);
}

}  // namespace kelvo::host
