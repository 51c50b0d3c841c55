// SPDX-License-Identifier: Apache-2.0
//
// The rate limit of a catalogue message: a bucket of kBurst tokens that regains one every
// kInterval. The bucket is kept as one number, the time at which it will be full again, so that a
// message takes its token with one atomic exchange and no lock.
//
// Of the bookkeeping words, the first is that time and the second counts what was suppressed. The
// first word of the object switches the limit on; a process that stores 0 there lifts it.
#pragma once

#include <cstdint>

#include "kelvo_platform.h"

namespace kelvo::host {

/// Time is counted in tenths of a second, so that 32 bits last for 13 years of running.
inline constexpr std::uint32_t kTenthsPerSecond = 10;
inline constexpr std::uint32_t kBurst = 20;
inline constexpr std::uint32_t kInterval = 5 * kTenthsPerSecond;

inline std::uint32_t now_in_tenths() noexcept {
    timespec now{};
    clock_get_fast_timespec(&now);
    return static_cast<std::uint32_t>(now.tv_sec * kTenthsPerSecond + now.tv_nsec / 100000000);
}

/// Takes a token. @return whether there was one; then `suppressed` receives how many messages went
/// without since the last that passed
inline bool passes_limit(qor_msg_limit& limit, std::uint32_t& suppressed) noexcept {
    if (__atomic_load_n(&limit.enabled, __ATOMIC_RELAXED) == 0) return true;
    std::uint32_t* const full_at = &limit.bookkeeping[0];
    std::uint32_t* const count = &limit.bookkeeping[1];
    const std::uint32_t now = now_in_tenths();
    std::uint32_t before = __atomic_load_n(full_at, __ATOMIC_RELAXED);
    std::uint32_t after;
    do {
        // 0 is a bucket never used; anything further ahead than an empty one is a time that has
        // passed.
        const std::uint32_t ahead = before - now;
        const std::uint32_t missing = before != 0 && ahead <= kBurst * kInterval ? ahead : 0;
        if (missing + kInterval > kBurst * kInterval) {
            __atomic_fetch_add(count, 1, __ATOMIC_RELAXED);
            return false;
        }
        after = now + missing + kInterval;
    } while (!__atomic_compare_exchange_n(full_at, &before, after, true, __ATOMIC_RELAXED,
                                          __ATOMIC_RELAXED));
    suppressed = __atomic_exchange_n(count, 0, __ATOMIC_RELAXED);
    return true;
}

}  // namespace kelvo::host
