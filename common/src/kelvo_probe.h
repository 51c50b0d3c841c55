// SPDX-License-Identifier: Apache-2.0
//
// Static probes for tracers (docs/probes.md). What a probe has to say is put together out of line,
// in kelvo_probe.cpp, and only while somebody watches: a tracer counts up the probe's semaphore,
// and where it is 0 a probe is one load and one branch that is not taken. Built without probes
// there is nothing left of them.
#pragma once

#include "kelvo_common_msg.h"
#include "kelvo_common_msg_guard.h"
#include "kelvo_node_resolver.h"
#include "kelvo_types.h"

#ifndef KELVO_PROBES
#define KELVO_PROBES 0
#endif

extern "C" {
[[gnu::visibility("hidden")]] extern uint16_t kelvo_composed_semaphore;
/// One for `interpreted` and `refused`: a reader that answers asks once whether either is watched.
[[gnu::visibility("hidden")]] extern uint16_t kelvo_interpreted_semaphore;
[[gnu::visibility("hidden")]] extern uint16_t kelvo_refused_semaphore;
[[gnu::visibility("hidden")]] extern uint16_t kelvo_lookup_semaphore;
}

namespace kelvo::probe {

/// In place of a type: the one in the message's header.
inline constexpr uint32_t kTypeInHeader = 0xFFFFFFFF;

/// In place of the type of a message that has no header: which operation receives it.
[[nodiscard]] constexpr uint32_t no_header(kelvo_msg_operation receives) noexcept {
    return 256 + static_cast<uint32_t>(receives);
}

#if KELVO_PROBES
[[nodiscard]] inline bool composing() noexcept {
    return kelvo_composed_semaphore != 0;
}
[[nodiscard]] inline bool interpreting() noexcept {
    return kelvo_interpreted_semaphore != 0;
}
[[nodiscard]] inline bool looking_up() noexcept {
    return kelvo_lookup_semaphore != 0;
}
#else
[[nodiscard]] constexpr bool composing() noexcept {
    return false;
}
[[nodiscard]] constexpr bool interpreting() noexcept {
    return false;
}
[[nodiscard]] constexpr bool looking_up() noexcept {
    return false;
}
#endif

/// A path whose owner was asked for, and the answer.
[[gnu::cold]] void tell_lookup(const char* prefix, const char* path, kelvo_status status,
                               const kelvo_nr_answer& answer) noexcept;

// What becomes of a message is told by the last thing that a walk or a compose function does, which
// yields what the function is to return. Such a call is a jump, for which nothing has to be kept: a
// function that is not watched saves no registers for the case that it were. Refusals are rare, so
// theirs asks by itself whether anybody watches.

/// A request that has no gather list, or could not be begun. @return `status`, as of all
[[gnu::cold]] uint32_t tell_composed(uint32_t type, uint64_t length, uint32_t status) noexcept;
/// A request in the slots from `first` up to `end`, the first of which has the header.
[[gnu::cold]] uint32_t tell_composed(const kelvo_slot* first, const kelvo_slot* end,
                                     uint32_t status) noexcept;
/// A message that has passed, and one that has not. `type` is one, or ::kTypeInHeader; otherwise
/// `message` is not looked at. A message that has passed has the status 0.
[[gnu::cold]] kelvo_status tell_accepted(uint32_t type, const void* message,
                                         uint64_t length) noexcept;
[[gnu::cold]] kelvo_status tell_refused(uint32_t type, const void* message, uint64_t length,
                                        uint64_t offset, kelvo_status status) noexcept;

}  // namespace kelvo::probe
