// SPDX-License-Identifier: Apache-2.0
//
// The remainder of a division by a number that is known long before: two multiplications in place
// of the division, which takes several times as long.
#pragma once

#include "kelvo_bytes.h"

namespace kelvo {

/// What number % divisor needs to know of a divisor, which is not 0. For 1 it becomes 0.
[[nodiscard]] constexpr u64 reciprocal_of(u32 divisor) noexcept {
    return ~u64{0} / divisor + 1;
}

/// number % divisor, exactly. The product with the reciprocal, which is 2^64 / divisor rounded up,
/// has the fraction of number / divisor in its low 64 bits, too large by less than
/// 2^32 * divisor / 2^64 of a divisor's part; times the divisor, that is the remainder and
/// less than 1 more, whatever the two numbers of 32 bits are.
[[nodiscard]] constexpr u32 remainder(u32 number, u32 divisor, u64 reciprocal) noexcept {
    __extension__ using u128 = unsigned __int128;
    const u64 fraction = reciprocal * number;
    return static_cast<u32>((u128{fraction} * divisor) >> 64);
}

}  // namespace kelvo
