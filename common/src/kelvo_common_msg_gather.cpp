// SPDX-License-Identifier: Apache-2.0
//
// Gather lists: their length, and flattening into one buffer.
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

/// A buffer for the message, or null; the replication layer's own failure goes to *status.
u8* allocate_message(u32 size, bool replicated, u32 replica_arg, kelvo_status* status) {
    *status = 0;
    if (!replicated) return static_cast<u8*>(std::malloc(size));
    u8* buffer = nullptr;
    *status = replica_build_msg_headers(size, replica_arg, &buffer);
    return buffer;
}

kelvo_status refuse_memory(u32 size, bool fail_hard) {
    if (size <= kHugeMessageBytes || !fail_hard) return KELVO_ERR_NO_MEMORY;
    std::printf("message length: %d\n", static_cast<int>(size));
    std::fflush(stdout);
    show_system_mem_status();
    KELVO_ASSERT_AT(false, "0", "common/src/kelvo_common_msg_compose", __LINE__,
                    "kelvo_common_msg_iovs_to_buffer_v2");
    return KELVO_ERR_NO_MEMORY;
}

}  // namespace

void kelvo_common_msg_iovs_length(const kelvo_slot* list, int32_t count, uint32_t* total) {
    u32 sum = 0;
    for (i32 i = 0; i < count; ++i) sum += static_cast<u32>(list[i].length);
    *total = sum;
}

kelvo_status kelvo_common_msg_iovs_to_buffer_v2(const kelvo_slot* list, int32_t count,
                                                uint32_t size, uint32_t fail_hard,
                                                uint32_t replicated, uint32_t replica_arg,
                                                uint8_t** out) {
    kelvo_status status;
    u8* const buffer = allocate_message(size, replicated != 0, replica_arg, &status);
    if (buffer == nullptr) return refuse_memory(size, fail_hard != 0);
    if (status != 0) return status;

    u8* at = buffer;
    for (i32 i = 0; i < count; ++i) {
        // An empty slot may have no base, and memcpy would not have that.
        if (list[i].length != 0) std::memcpy(at, list[i].base, list[i].length);
        at += list[i].length;
    }
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
