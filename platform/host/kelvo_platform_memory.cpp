// SPDX-License-Identifier: Apache-2.0
//
// Memory that is accounted to its caller, and bounded text copies.
//
// The accounts are a fixed table that callers find by hashing their address; a row belongs to its
// caller for the life of the process, so everything is done with atomic operations and no lock.
#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "kelvo_platform_host.h"
#include "kelvo_platform_line.h"

namespace kelvo::host {
namespace {

struct Account {
    std::atomic<const void*> caller;
    std::atomic<std::uint64_t> allocations;
    std::atomic<std::uint64_t> bytes;
};

constinit Account accounts[PLATFORM_HOST_CALLERS];
constinit Account all_others;

std::size_t first_row(const void* caller) noexcept {
    return (reinterpret_cast<std::uintptr_t>(caller) * 0x9E3779B97F4A7C15u >> 32) %
           PLATFORM_HOST_CALLERS;
}

/// The row of a caller, taken for it if it has none yet.
Account& account_of(const void* caller) noexcept {
    if (caller == nullptr) return all_others;
    const std::size_t first = first_row(caller);
    for (std::size_t i = 0; i < PLATFORM_HOST_CALLERS; ++i) {
        Account& row = accounts[(first + i) % PLATFORM_HOST_CALLERS];
        const void* owner = nullptr;
        if (row.caller.compare_exchange_strong(owner, caller)) return row;
        if (owner == caller) return row;
    }
    return all_others;
}

platform_host_caller copy_of(const Account& row) noexcept {
    return {row.caller, row.allocations, row.bytes};
}

void print(int descriptor, const platform_host_caller& row) noexcept {
    Line line;
    line.add("%12llu bytes in %10llu allocations by ", static_cast<unsigned long long>(row.bytes),
             static_cast<unsigned long long>(row.allocations));
    Dl_info info;
    if (row.caller == nullptr) {
        line.add("all others");
    } else if (dladdr(row.caller, &info) != 0 && info.dli_sname != nullptr) {
        line.add("%s+0x%tx (%s)", info.dli_sname,
                 static_cast<const char*>(row.caller) - static_cast<const char*>(info.dli_saddr),
                 info.dli_fname);
    } else {
        line.add("%p", row.caller);
    }
    line.write_to(descriptor);
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

void* alloc_with_caller(size_t size, const void* caller) {
    void* const block = std::malloc(size);
    if (block == nullptr) return nullptr;
    Account& account = account_of(caller);
    account.allocations.fetch_add(1, std::memory_order_relaxed);
    account.bytes.fetch_add(size, std::memory_order_relaxed);
    return block;
}

size_t platform_host_callers(platform_host_caller* rows, size_t capacity) {
    std::size_t count = 0;
    const auto take = [&](const Account& row) {
        if (row.allocations == 0) return;
        if (count < capacity) rows[count] = copy_of(row);
        ++count;
    };
    std::for_each(std::begin(accounts), std::end(accounts), take);
    take(all_others);
    return count;
}

void platform_host_print_callers(int descriptor) {
    const KeepErrno keep;
    platform_host_caller rows[PLATFORM_HOST_CALLERS + 1];
    const std::size_t count = platform_host_callers(rows, std::size(rows));
    std::for_each(rows, rows + count, [&](const auto& row) { print(descriptor, row); });
}

char* buf_strncpy(char* destination, const char* source, size_t size) {
    if (size == 0) return destination;
    const std::size_t length = strnlen(source, size - 1);
    std::memcpy(destination, source, length);
    destination[length] = '\0';
    return destination;
}
