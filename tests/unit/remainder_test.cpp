// SPDX-License-Identifier: Apache-2.0
//
// The remainder without a division, held to the one with it: where either number is the least or
// the largest, beside every power of two and beside every multiple of the divisor that is near one.
#include "kelvo_remainder.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using kelvo::u32;
using kelvo::u64;

namespace {

/// Every power of two of 32 bits and its neighbours, 0 and the largest number.
std::vector<u32> boundaries() {
    std::vector<u32> all = {0, UINT32_MAX};
    for (u32 power = 1; power != 0; power <<= 1) {
        for (const u32 number : {power - 1, power, power + 1}) all.push_back(number);
    }
    return all;
}

void expect_exact(u32 number, u32 divisor) {
    const u64 reciprocal = kelvo::reciprocal_of(divisor);
    ASSERT_EQ(kelvo::remainder(number, divisor, reciprocal), number % divisor)
        << number << " % " << divisor;
}

TEST(Remainder, Boundaries) {
    for (const u32 divisor : boundaries()) {
        if (divisor == 0) continue;
        for (const u32 number : boundaries()) {
            const u32 multiple = number / divisor * divisor;
            for (const u32 near : {number, multiple - 1, multiple, multiple + divisor - 1}) {
                expect_exact(near, divisor);
            }
        }
    }
}

TEST(Remainder, EveryDivisorOfSixteenBitsBesideItsLargestMultiple) {
    for (u32 divisor = 1; divisor <= 0xFFFF; ++divisor) {
        const u32 multiple = UINT32_MAX / divisor * divisor;
        for (const u32 number : {multiple - 1, multiple, UINT32_MAX}) expect_exact(number, divisor);
    }
}

TEST(Remainder, AnyNumbers) {
    std::mt19937 random(7);
    for (int i = 0; i < 200'000; ++i) {
        const auto divisor = static_cast<u32>(random() >> random() % 32);
        if (divisor != 0) expect_exact(static_cast<u32>(random()), divisor);
    }
}

}  // namespace
