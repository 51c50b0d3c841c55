// SPDX-License-Identifier: Apache-2.0
//
// Texts of status codes. A status is read as class, subsystem, error and errno (see
// kelvo_platform_host.h). Known errors come from the two lists; texts that hold a number are put
// together in buffers of the calling thread.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "kelvo_platform_host.h"
#include "kelvo_platform_line.h"

namespace kelvo::host {
namespace {

struct Known {
    kelvo_status code;
    const char* name;
    const char* meaning;
};

constexpr Known kKnown[] = {
#define KELVO_HOST_KNOWN(name, meaning) {name, #name, meaning},
    KELVO_STATUS_LIST(KELVO_HOST_KNOWN)          //
    PLATFORM_HOST_STATUS_LIST(KELVO_HOST_KNOWN)  //
    {IFDB_UNKNOWN_INTERFACE, "IFDB_UNKNOWN_INTERFACE", "no such interface is known"},
#undef KELVO_HOST_KNOWN
};

const Known* find(kelvo_status status) noexcept {
    for (const Known& known : kKnown) {
        if (known.code == PLATFORM_HOST_STATUS_ERROR(status)) return &known;
    }
    return nullptr;
}

constexpr bool is_errno_alone(kelvo_status status) noexcept {
    return PLATFORM_HOST_STATUS_ERROR(status) == 0;
}

constinit thread_local char error_text[256];
constinit thread_local char os_text[128];
constinit thread_local char subsystem_text[32];

const char* os_error_of(kelvo_status status) noexcept {
    const kelvo_status number = PLATFORM_HOST_STATUS_ERRNO(status);
    return strerror_r(static_cast<int>(number), os_text, sizeof os_text);
}

const char* subsystem_of(kelvo_status status) noexcept {
    const unsigned number = PLATFORM_HOST_STATUS_SUBSYSTEM(status);
    switch (number) {
        case 0x81:
        case 0x82:
            return "Kelvo";
        case 0x9a:
            return "Interface database";
        case 0x9b:
            return "Host platform";
        default:
            std::snprintf(subsystem_text, sizeof subsystem_text, "Subsystem(%u)", number);
            return subsystem_text;
    }
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

const char* errcode_strerror(kelvo_status status) {
    const KeepErrno keep;
    if (is_errno_alone(status)) return os_error_of(status);
    const Known* const known = find(status);
    const bool with_errno = PLATFORM_HOST_STATUS_ERRNO(status) != 0;
    if (known == nullptr) {
        std::snprintf(error_text, sizeof error_text, "unknown status 0x%08x", status);
    } else if (with_errno) {
        std::snprintf(error_text, sizeof error_text, "%s: %s (%s)", known->name, known->meaning,
                      os_error_of(status));
    } else {
        std::snprintf(error_text, sizeof error_text, "%s: %s", known->name, known->meaning);
    }
    return error_text;
}

kelvo_status errcode_getstrings(kelvo_status status, errcode_strings* strings) {
    if (strings == nullptr) return KELVO_ERR_NULL_PARAM;
    const KeepErrno keep;
    const bool with_errno = PLATFORM_HOST_STATUS_ERRNO(status) != 0;
    const char* const os_error = with_errno ? os_error_of(status) : nullptr;
    if (is_errno_alone(status)) {
        *strings = {nullptr, with_errno ? nullptr : "Success", os_error};
        return 0;
    }
    const char* const subsystem = subsystem_of(status);
    if (const Known* const known = find(status)) {
        *strings = {subsystem, known->meaning, os_error};
        return 0;
    }
    std::snprintf(error_text, sizeof error_text, "unknown error 0x%08x", status);
    *strings = {subsystem, error_text, os_error};
    return 0;
}
