// SPDX-License-Identifier: Apache-2.0
#include "platform/failing_memory.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/failed_sites.h"
#include "support/sanitizers.h"

// The allocator underneath: the C library's, or a sanitizer's.
#if KELVO_SANITIZES_ADDRESS || KELVO_SANITIZES_THREADS
#define KELVO_UNDERLYING(name) __interceptor_##name
#else
#define KELVO_UNDERLYING(name) __libc_##name
#endif

// A sanitizer asks for memory before it can watch anybody, so it must not watch these.
#define KELVO_UNWATCHED __attribute__((no_sanitize("address", "thread")))

extern "C" {
void* KELVO_UNDERLYING(malloc)(std::size_t size);
void* KELVO_UNDERLYING(calloc)(std::size_t count, std::size_t size);
void* KELVO_UNDERLYING(realloc)(void* block, std::size_t size);
void KELVO_UNDERLYING(free)(void* block);
}

namespace {

thread_local constinit kelvo::test::FailingMemory::State state{};

constexpr std::size_t kMostRequests = 500;
thread_local constinit kelvo::test::FailingMemory::Request requests[kMostRequests] = {};

/// Counts an allocation. @return whether it is to fail
KELVO_UNWATCHED bool refuse(std::size_t size, const void* caller) {
    if (!state.armed) return false;
    const std::size_t number = state.allocations++;
    state.bytes += size;
    if (number < kMostRequests) requests[number] = {caller, size};
    if (number < state.first || number - state.first >= state.count) return false;
    kelvo::test::add_failed_site(caller);
    errno = ENOMEM;
    return true;
}

KELVO_UNWATCHED void* counted(void* block) {
    if (state.armed && block != nullptr) ++state.outstanding;
    return block;
}

}  // namespace

namespace kelvo::test {

FailingMemory::FailingMemory(std::size_t first, std::size_t count)
    : before_(std::exchange(state, {true, first, count, 0, 0, 0})) {}

FailingMemory::~FailingMemory() {
    if (!before_.armed) {
        state.armed = false;  // what was counted may still be asked for
        return;
    }
    const long outstanding = state.outstanding;
    state = before_;
    state.outstanding += outstanding;
}

FailingMemory::Pause::Pause() : was_armed_(std::exchange(state.armed, false)) {}

FailingMemory::Pause::~Pause() {
    state.armed = was_armed_;
}

std::size_t FailingMemory::allocations() {
    return state.allocations;
}
long FailingMemory::outstanding() {
    return state.outstanding;
}
std::size_t FailingMemory::bytes() {
    return state.bytes;
}
std::vector<FailingMemory::Request> FailingMemory::requests() {
    const Pause pause;
    return {::requests, ::requests + std::min(state.allocations, kMostRequests)};
}

}  // namespace kelvo::test

extern "C" {

KELVO_UNWATCHED void* malloc(std::size_t size) noexcept {
    return refuse(size, __builtin_return_address(0)) ? nullptr
                                                     : counted(KELVO_UNDERLYING(malloc)(size));
}

KELVO_UNWATCHED void* calloc(std::size_t count, std::size_t size) noexcept {
    return refuse(count * size, __builtin_return_address(0))
               ? nullptr
               : counted(KELVO_UNDERLYING(calloc)(count, size));
}

KELVO_UNWATCHED void* realloc(void* block, std::size_t size) noexcept {
    if (refuse(size, __builtin_return_address(0))) return nullptr;
    void* const moved = KELVO_UNDERLYING(realloc)(block, size);
    return block == nullptr ? counted(moved) : moved;
}

KELVO_UNWATCHED void free(void* block) noexcept {
    if (state.armed && block != nullptr) --state.outstanding;
    KELVO_UNDERLYING(free)(block);
}

// The C library's own asks malloc(), a sanitizer's does not.
KELVO_UNWATCHED char* strdup(const char* text) noexcept {
    const std::size_t size = std::strlen(text) + 1;
    if (refuse(size, __builtin_return_address(0))) return nullptr;
    void* const copy = counted(KELVO_UNDERLYING(malloc)(size));
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}
// The name that libraries built against an old C library call.
KELVO_UNWATCHED char* __strdup(const char* text) noexcept {
    return strdup(text);
}

}  // extern "C"
