// SPDX-License-Identifier: Apache-2.0
//
// The probes themselves: the only places where a tracer stops.
#include "kelvo_probe.h"

#include "kelvo_bytes.h"

#define SDT_USE_VARIADIC
#define _SDT_HAS_SEMAPHORES 1
#include <sys/sdt.h>

// A tracer finds these by the notes of the probes and counts them up while it watches.
#define KELVO_SEMAPHORE [[gnu::section(".probes"), gnu::used]]
KELVO_SEMAPHORE uint16_t kelvo_composed_semaphore = 0;
KELVO_SEMAPHORE uint16_t kelvo_interpreted_semaphore = 0;
KELVO_SEMAPHORE uint16_t kelvo_lookup_semaphore = 0;
extern "C" {
[[gnu::alias("kelvo_interpreted_semaphore")]] extern uint16_t kelvo_refused_semaphore;
}

namespace kelvo::probe {
namespace {

u32 type_of(u32 type, const void* message, u64 length) noexcept {
    if (type != kTypeInHeader) return type;
    if (message == nullptr || length < sizeof(kelvo_msg_header)) return KELVO_MSG_TYPE_COUNT;
    return load32(static_cast<const u8*>(message) + offsetof(kelvo_msg_header, type));
}

}  // namespace

u32 tell_composed(u32 type, u64 length, u32 status) noexcept {
    STAP_PROBEV(kelvo, composed, type, length, status);
    return status;
}

u32 tell_composed(const kelvo_slot* first, const kelvo_slot* end, u32 status) noexcept {
    u64 length = 0;
    for (const kelvo_slot* slot = first; slot != end; ++slot) length += slot->length;
    return tell_composed(type_of(kTypeInHeader, first->base, first->length), length, status);
}

kelvo_status tell_accepted(u32 type, const void* message, u64 length) noexcept {
    STAP_PROBEV(kelvo, interpreted, type_of(type, message, length), length, kelvo_status{0});
    return 0;
}

kelvo_status tell_refused(u32 type, const void* message, u64 length, u64 offset,
                          kelvo_status status) noexcept {
    if (!interpreting()) return status;
    const u32 claimed = type_of(type, message, length);
    STAP_PROBEV(kelvo, refused, claimed, length, offset, status);
    STAP_PROBEV(kelvo, interpreted, claimed, length, status);
    return status;
}

void tell_lookup(const char* prefix, const char* path, kelvo_status status,
                 const kelvo_nr_answer& answer) noexcept {
    STAP_PROBEV(kelvo, lookup, prefix, path, status, answer.node_type, answer.node_id,
                answer.server_type);
}

}  // namespace kelvo::probe
