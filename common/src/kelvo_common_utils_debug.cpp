// SPDX-License-Identifier: Apache-2.0
//
// The library's debug flags and their registration. The names stand in one table, the contexts that
// the platform keeps in another; a row of one belongs to the same row of the other.
#include "kelvo_debug.h"

#include "kelvo_bytes.h"
#include "kelvo_report.h"

const kelvo_debug_option kelvo_cmn_debug_options[KELVO_DEBUG_FLAGS] = {
    {"node-resolver", 1, 0},
    {"node-resolver/dfa", 1, 0},
};

platform_debug_context kelvo_cmn_debug_flags[KELVO_DEBUG_FLAGS] = {};

namespace {

constexpr const char* kDebugPath = "/debug/kelvo/common/";
constexpr const char* kEventFailed = "Failed to initialise debug event";
constexpr const char* kRegisterFailed = "Failed to register for debugging";

// Every flag is an event of this level to the debug facility.
constexpr kelvo::u32 kEventLevel = 6;

kelvo_status init_event(kelvo::u32 index) {
    const kelvo_debug_option& option = kelvo_cmn_debug_options[index];
    return platform_debug_init_event(&kelvo_cmn_debug_flags[index], kelvo_cmn_debug_flags, index,
                                     kEventLevel, option.name, option.value);
}

/// Logs the platform's status and yields the library's.
kelvo_status refused(const char* description, kelvo_status reason, kelvo_status answer) {
    kelvo::report_internal(description, reason);
    return answer;
}

}  // namespace

kelvo_status kelvo_common_debug_init(void) {
    for (kelvo::u32 index = 0; index < KELVO_DEBUG_FLAGS; ++index) {
        if (auto reason = init_event(index)) {
            return refused(kEventFailed, reason, KELVO_ERR_OS_CALL);
        }
    }
    if (auto reason = platform_debug_register(kelvo_cmn_debug_flags, kDebugPath)) {
        return refused(kRegisterFailed, reason, KELVO_ERR_OS_CALL);
    }
    return 0;
}

kelvo_status kelvo_common_debug_shutdown(void) {
    if (auto reason = platform_debug_cleanup(kDebugPath)) {
        // The description of a failed initialisation is what operators' filters know.
        return refused(kEventFailed, reason, KELVO_ERR_DEBUG_INIT);
    }
    return 0;
}
