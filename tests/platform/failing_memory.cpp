// SPDX-License-Identifier: Apache-2.0
#include "platform/failing_memory.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
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

#if KELVO_SANITIZES_ADDRESS || KELVO_SANITIZES_THREADS

// A sanitizer watches the bytes behind a block, and those that nobody has written, by itself.
constexpr std::size_t kBehind = 0;
KELVO_UNWATCHED void* guarded(void* block, std::size_t) {
    return block;
}
KELVO_UNWATCHED void fill(void*, std::size_t) {}
KELVO_UNWATCHED void check(void*) {}

#else

// Behind a block stand bytes that nobody may write, and at the end of all that the allocator gave,
// how long the block is. That one is known by its address; a block that came another way, from
// aligned_alloc() say, has none.
constexpr std::size_t kGuardBytes = 8;
struct Trailer {
    std::size_t size;
    std::uintptr_t mark;
};
constexpr std::size_t kBehind = kGuardBytes + sizeof(Trailer);
constexpr unsigned char kGuard[kGuardBytes] = {0xE1, 0x3C, 0xB7, 0x92, 0x4D, 0xF8, 0x65, 0xAB};
constexpr std::uintptr_t kMark = 0x9E3779B97F4A7C15;

unsigned char* trailer_of(void* block) {
    return static_cast<unsigned char*>(block) + malloc_usable_size(block) - sizeof(Trailer);
}

void* guarded(void* block, std::size_t size) {
    if (block == nullptr) return nullptr;
    std::memcpy(static_cast<unsigned char*>(block) + size, kGuard, kGuardBytes);
    const Trailer trailer = {size, reinterpret_cast<std::uintptr_t>(block) ^ kMark};
    std::memcpy(trailer_of(block), &trailer, sizeof trailer);
    return block;
}

/// What nobody has written is never what a test expects.
void fill(void* block, std::size_t size) {
    constexpr std::size_t kMost = 64 * 1024;
    if (block != nullptr) std::memset(block, 0xD9, std::min(size, kMost));
}

/// Ends the process when a block was overrun. Its trailer goes with it.
void check(void* block) {
    if (block == nullptr || malloc_usable_size(block) < kBehind) return;
    Trailer trailer;
    std::memcpy(&trailer, trailer_of(block), sizeof trailer);
    if (trailer.mark != (reinterpret_cast<std::uintptr_t>(block) ^ kMark)) return;
    std::memset(trailer_of(block), 0, sizeof trailer);
    const auto* const behind = static_cast<unsigned char*>(block) + trailer.size;
    if (std::memcmp(behind, kGuard, kGuardBytes) == 0) return;
    constexpr char kReport[] = "a block of memory was written behind its end\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, kReport, sizeof kReport - 1);
    std::abort();
}

#endif

/// Room for a block and what is behind it; none can be as large as that if it wraps.
KELVO_UNWATCHED std::size_t with_guard(std::size_t size) {
    return size + kBehind < size ? size : size + kBehind;
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
    if (refuse(size, __builtin_return_address(0))) return nullptr;
    void* const block = guarded(KELVO_UNDERLYING(malloc)(with_guard(size)), size);
    fill(block, size);
    return counted(block);
}

KELVO_UNWATCHED void* calloc(std::size_t count, std::size_t size) noexcept {
    if (refuse(count * size, __builtin_return_address(0))) return nullptr;
    if (size != 0 && count > (SIZE_MAX - kBehind) / size) return nullptr;
    return counted(guarded(KELVO_UNDERLYING(calloc)(1, count * size + kBehind), count * size));
}

KELVO_UNWATCHED void* realloc(void* block, std::size_t size) noexcept {
    if (refuse(size, __builtin_return_address(0))) return nullptr;
    check(block);
    void* const moved = guarded(KELVO_UNDERLYING(realloc)(block, with_guard(size)), size);
    return block == nullptr ? counted(moved) : moved;
}

KELVO_UNWATCHED void free(void* block) noexcept {
    if (state.armed && block != nullptr) --state.outstanding;
    check(block);
    KELVO_UNDERLYING(free)(block);
}

// The C library's own asks malloc(), a sanitizer's does not.
KELVO_UNWATCHED char* strdup(const char* text) noexcept {
    const std::size_t size = std::strlen(text) + 1;
    if (refuse(size, __builtin_return_address(0))) return nullptr;
    void* const copy = counted(guarded(KELVO_UNDERLYING(malloc)(with_guard(size)), size));
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}
// The name that libraries built against an old C library call.
KELVO_UNWATCHED char* __strdup(const char* text) noexcept {
    return strdup(text);
}

}  // extern "C"
