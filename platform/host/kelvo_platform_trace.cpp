// SPDX-License-Identifier: Apache-2.0
//
// Traces: files to which records are appended, a line each. A handle is the address of a row of a
// table, and only an address in that table is ever followed, so a handle that is closed or not a
// trace at all is harmless.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "kelvo_platform_host.h"
#include "kelvo_platform_line.h"
#include "kelvo_platform_lock.h"

namespace kelvo::host {
namespace {

struct Trace {
    bool is_open;
    int descriptor;
};

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
constinit Trace traces[PLATFORM_HOST_TRACES] = {};

/// The open trace behind a handle, or null. The mutex is held.
Trace* open_trace(const void* handle) noexcept {
    Trace* const found = std::find_if(std::begin(traces), std::end(traces),
                                      [=](const Trace& trace) { return &trace == handle; });
    return found != std::end(traces) && found->is_open ? found : nullptr;
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

void* platform_host_trace_open(const char* path) {
    const Locked lock(mutex);
    Trace* const unused = std::find_if(std::begin(traces), std::end(traces),
                                       [](const Trace& trace) { return !trace.is_open; });
    if (unused == std::end(traces)) {
        errno = EMFILE;
        return nullptr;
    }
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0640);
    if (descriptor < 0) return nullptr;
    *unused = {true, descriptor};
    return unused;
}

void platform_host_trace_close(void* handle) {
    const KeepErrno keep;
    const Locked lock(mutex);
    Trace* const trace = open_trace(handle);
    if (trace == nullptr) return;
    trace->is_open = false;
    close(trace->descriptor);
}

void platform_trace_record(void* handle, const char* format, ...) {
    const KeepErrno keep;
    timespec now{};
    clock_get_fast_timespec(&now);
    Line line;
    line.add("%lld.%03ld %s[%d:%d]: ", static_cast<long long>(now.tv_sec), now.tv_nsec / 1000000,
             program_invocation_short_name, getpid(), gettid());
    va_list arguments;
    va_start(arguments, format);
    line.add_list(format, arguments);
    va_end(arguments);
    const Locked lock(mutex);
    if (const Trace* const trace = open_trace(handle)) line.write_to(trace->descriptor);
}
