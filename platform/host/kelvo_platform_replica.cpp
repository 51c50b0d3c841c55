// SPDX-License-Identifier: Apache-2.0
//
// Replicated messages: a block of the header and the message, one behind the other. Callers hold
// the address of the message; the header stands right before it.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kelvo_platform_bytes.h"
#include "kelvo_platform_host.h"

namespace kelvo::host {
namespace {

constexpr std::size_t kHeader = sizeof(platform_host_replica_header);

constinit std::atomic<std::uint32_t> last_sequence;

/// What is handed out together with a failure, so that the caller reports that failure rather than
/// a lack of memory. It holds no message and is never released.
constinit std::uint8_t no_message;

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

kelvo_status replica_build_msg_headers(uint32_t size, uint32_t replica_arg, uint8_t** buffer) {
    if (buffer == nullptr) return KELVO_ERR_NULL_PARAM;
    std::uint32_t node;
    if (const kelvo_status status = platform_my_nodeid(&node)) {
        *buffer = &no_message;
        return status;
    }
    auto* const block = static_cast<std::uint8_t*>(std::malloc(kHeader + size));
    if (block == nullptr) {
        *buffer = nullptr;
        return KELVO_ERR_NO_MEMORY;
    }
    const platform_host_replica_header header = {network32(PLATFORM_HOST_REPLICA_MAGIC),
                                                 network16(PLATFORM_HOST_REPLICA_VERSION),
                                                 network16(kHeader),
                                                 network32(size),
                                                 network32(replica_arg),
                                                 network32(node),
                                                 network32(procmgr_get_job_id()),
                                                 network32(++last_sequence),
                                                 0};
    std::memcpy(block, &header, kHeader);
    *buffer = block + kHeader;
    return 0;
}

void platform_host_replica_free(uint8_t* message) {
    if (message == nullptr || message == &no_message) return;
    std::free(message - kHeader);
}
