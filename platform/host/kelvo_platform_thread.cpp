// SPDX-License-Identifier: Apache-2.0
//
// The thread monitor: a table of the threads that wait for a mutex. A thread takes a row when it
// begins to wait and gives it back when it is done.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "kelvo_platform_host.h"
#include "kelvo_platform_line.h"
#include "kelvo_platform_lock.h"

namespace kelvo::host {
namespace {

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
constinit platform_host_blocked_thread rows[PLATFORM_HOST_BLOCKED_THREADS] = {};  // thread 0: free

/// The row of a thread, or the first free one for thread 0; null when there is none. The mutex is
/// held.
platform_host_blocked_thread* row_of(std::uint32_t thread) noexcept {
    for (auto& row : rows) {
        if (row.thread == thread) return &row;
    }
    return nullptr;
}

std::uint32_t this_thread() noexcept {
    return static_cast<std::uint32_t>(gettid());
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

void thread_mark_mutex_block(pthread_mutex_t* waited_for, const char* where, uint32_t line) {
    timespec now{};
    clock_get_fast_timespec(&now);
    const std::uint32_t thread = this_thread();
    const Locked lock(mutex);
    platform_host_blocked_thread* row = row_of(thread);
    if (row == nullptr) row = row_of(0);
    if (row == nullptr) return;
    *row = {thread, line, waited_for, now, ""};
    buf_strncpy(row->where, where, sizeof row->where);
}

void thread_unmark_mutex_block(void) {
    const Locked lock(mutex);
    platform_host_blocked_thread* const row = row_of(this_thread());
    if (row != nullptr) row->thread = 0;
}

size_t platform_host_blocked_threads(platform_host_blocked_thread* copies, size_t capacity) {
    const Locked lock(mutex);
    std::size_t count = 0;
    for (const auto& row : rows) {
        if (row.thread == 0) continue;
        if (count < capacity) copies[count] = row;
        ++count;
    }
    return count;
}

void platform_host_print_blocked_threads(int descriptor) {
    const KeepErrno keep;
    platform_host_blocked_thread copies[PLATFORM_HOST_BLOCKED_THREADS];
    const std::size_t count = platform_host_blocked_threads(copies, std::size(copies));
    std::for_each(copies, copies + count, [&](const auto& row) {
        Line line;
        line.add("thread %u waits for mutex %p at %s:%u since %lld.%03ld s after boot", row.thread,
                 row.mutex, row.where, row.line, static_cast<long long>(row.since.tv_sec),
                 row.since.tv_nsec / 1000000);
        line.write_to(descriptor);
    });
}
