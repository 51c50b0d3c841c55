// SPDX-License-Identifier: Apache-2.0
//
// Gather lists: their length, and flattening into one buffer.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "kelvo_assert.h"
#include "kelvo_bytes.h"
#include "kelvo_common_msg.h"
#include "kelvo_platform.h"

using namespace kelvo;

const uint8_t kelvo_alignment[8] = {};

static_assert(sizeof(void*) != 8 || sizeof(kelvo_slot) == 16,
              "a slot is laid out like struct iovec");

namespace {

/// A message of more than this that cannot be allocated is worth stopping for: 50 MiB.
constexpr u32 kHugeMessageBytes = 50U * 1024 * 1024;

[[gnu::cold, gnu::noinline]] kelvo_status refuse_memory(u32 size, bool fail_hard) {
    if (size <= kHugeMessageBytes || !fail_hard) return KELVO_ERR_NO_MEMORY;
    std::printf("message length: %d\n", static_cast<int>(size));
    std::fflush(stdout);
    show_system_mem_status();
    KELVO_ASSERT_AT(false, "0", "common/src/kelvo_common_msg_compose", __LINE__,
                    "kelvo_common_msg_iovs_to_buffer_v2");
}

void copy_slots(const kelvo_slot* list, i32 count, u8* at) {
    const kelvo_slot* const end = list + std::max(count, 0);
    for (const kelvo_slot* slot = list; slot < end; ++slot) {
        const u64 bytes = slot->length;
        copy_piece(at, slot->base, bytes);
        at += bytes;
    }
}

/// The replication layer allocates the buffer, and may fail in its own way.
[[gnu::noinline]] kelvo_status flatten_replicated(const kelvo_slot* list, i32 count, u32 size,
                                                  bool fail_hard, u32 replica_arg, u8** out) {
    u8* buffer = nullptr;
    const kelvo_status status = replica_build_msg_headers(size, replica_arg, &buffer);
    if (buffer == nullptr) return refuse_memory(size, fail_hard);
    if (status != 0) return status;
    copy_slots(list, count, buffer);
    *out = buffer;
    return 0;
}

}  // namespace

void kelvo_common_msg_iovs_length(const kelvo_slot* list, int32_t count, uint32_t* total) {
    // Four sums, so that no addition waits for the one before.
    u32 a = 0;
    u32 b = 0;
    u32 c = 0;
    u32 d = 0;
    i32 i = 0;
    for (; count - i >= 4; i += 4) {
        a += static_cast<u32>(list[i].length);
        b += static_cast<u32>(list[i + 1].length);
        c += static_cast<u32>(list[i + 2].length);
        d += static_cast<u32>(list[i + 3].length);
    }
    for (; i < count; ++i) a += static_cast<u32>(list[i].length);
    *total = a + b + c + d;
}

kelvo_status kelvo_common_msg_iovs_to_buffer_v2(const kelvo_slot* list, int32_t count,
                                                uint32_t size, uint32_t fail_hard,
                                                uint32_t replicated, uint32_t replica_arg,
                                                uint8_t** out) {
    if (replicated != 0) {
        return flatten_replicated(list, count, size, fail_hard != 0, replica_arg, out);
    }
    auto* const buffer = static_cast<u8*>(std::malloc(size));
    if (buffer == nullptr) return refuse_memory(size, fail_hard != 0);
    copy_slots(list, count, buffer);
    *out = buffer;
    return 0;
}

kelvo_status kelvo_common_msg_iovs_to_buffer_v1(const kelvo_slot* list, uint32_t count,
                                                uint32_t size, uint8_t** out, uint32_t fail_hard) {
    return kelvo_common_msg_iovs_to_buffer_v2(list, static_cast<i32>(count), size, fail_hard, 0, 0,
                                              out);
}

kelvo_status kelvo_common_msg_iovs_to_buffer(const kelvo_slot* list, uint32_t count, uint32_t size,
                                             uint8_t** out) {
    return kelvo_common_msg_iovs_to_buffer_v1(list, count, size, out, 1);
}
