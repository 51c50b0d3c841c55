// SPDX-License-Identifier: Apache-2.0
//
// Process utilities: thin covers over what the system and the platform offer.
#include <sched.h>
#include <unistd.h>

#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_platform.h"
#include "kelvo_process.h"

using namespace kelvo;

namespace {

constexpr u32 kCollectionLimitSeconds = 1800;
constexpr unsigned kSecondsToStart = 2;

bool collects_support_data(u32 type) {
    return type == PLATFORM_TYPE_ROUTE_PROCESSOR || type == PLATFORM_TYPE_DISTRIBUTED_PROCESSOR ||
           type == PLATFORM_TYPE_STANDBY_PROCESSOR;
}

}  // namespace

kelvo_status kelvo_util_get_priority(uint32_t* priority) {
    sched_param parameters;
    if (sched_getparam(0, &parameters) != 0) return KELVO_ERR_OS_CALL;
    *priority = static_cast<u32>(parameters.sched_priority);
    return 0;
}

kelvo_status kelvo_util_set_priority(uint32_t priority) {
    sched_param parameters = {};
    parameters.sched_priority = static_cast<int>(priority);
    return sched_setparam(0, &parameters) == 0 ? 0 : KELVO_ERR_OS_CALL;
}

kelvo_status kelvo_util_get_rsvd_mem_flag(uint32_t* flag) {
    *flag = 1;
    return 0;
}

kelvo_status kelvo_util_set_rsvd_mem_flag(uint32_t /*flag*/) {
    return 0;
}

char* kelvo_strdup(const char* text) {
    const std::size_t length = std::strlen(text);
    const u32 size = static_cast<u32>(length) + 1;
    if (size != length + 1) return nullptr;  // the copy would not fit into what the size says
    void* const copy = alloc_with_caller(size, __builtin_return_address(0));
    if (copy == nullptr) return nullptr;
    return static_cast<char*>(std::memcpy(copy, text, size));
}

uint32_t kelvo_util_jid_in_array(int32_t job_id, uint32_t count, const uint32_t* job_ids) {
    for (u32 i = 0; i < count; ++i) {
        if (job_ids[i] == static_cast<u32>(job_id)) return 1;
    }
    return 0;
}

void kelvo_get_elapsed_time_since_boot(int64_t* out) {
    timespec now = {};
    clock_get_fast_timespec(&now);
    out[0] = now.tv_sec;
    out[1] = now.tv_nsec / 1000;
}

kelvo_status kelvo_util_collect_showtech(uint32_t admin_plane) {
    if (!collects_support_data(platform_type())) return 0;
    procmgr_spawn_params params = {};
    params.time_limit_seconds = kCollectionLimitSeconds;
    const char* const arguments = admin_plane != 0
                                      ? "-x (SP) -c kelvo-admin -m kelvo_techdump_fast -a -A"
                                      : "-r -c kelvo -m kelvo_techdump_fast -a -S";
    if (const kelvo_status status = procmgr_spawn_script("techdump_fast", arguments, &params)) {
        return status;
    }
    sleep(kSecondsToStart);
    return 0;
}
