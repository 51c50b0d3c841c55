// SPDX-License-Identifier: Apache-2.0
//
// Words are reversed two at a time, and those of a long array with the vectors that most processors
// have. What the processor has is asked for when it first matters, which takes microseconds:
// nothing runs when the library is loaded, and most processes never have an array that long.
#include "kelvo_array.h"

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>

#include <atomic>
#endif

namespace kelvo {
namespace {

/// Reverses the words at `at`, two at a time.
void reverse_pairs(u8* at, u64 count) noexcept {
    for (; count >= 2; count -= 2, at += 8) {
        store64(at, std::rotl(reversed64(load64(at)), 32));
    }
    if (count != 0) reverse32(at);
}

#if defined(__x86_64__)

/// Below this, asking costs more than it gains for a long time.
constexpr u64 kLongArray = 1024;

enum class Vectors : u8 { unknown, none, avx2 };
constinit std::atomic<Vectors> vectors = Vectors::unknown;

/// AVX2, and a system that keeps its registers.
Vectors ask_processor() noexcept {
    constexpr u32 kKept = 0x6;  // SSE and AVX registers
    u32 a;
    u32 b;
    u32 c;
    u32 d;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_OSXSAVE) == 0) return Vectors::none;
    u32 kept;
    __asm__("xgetbv" : "=a"(kept), "=d"(d) : "c"(0));
    if ((kept & kKept) != kKept) return Vectors::none;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) return Vectors::none;
    return (b & bit_AVX2) != 0 ? Vectors::avx2 : Vectors::none;
}

/// Threads that come here together find the same.
bool has_avx2() noexcept {
    Vectors known = vectors.load(std::memory_order_relaxed);
    if (known == Vectors::unknown) {
        known = ask_processor();
        vectors.store(known, std::memory_order_relaxed);
    }
    return known == Vectors::avx2;
}

/// Words before the first that begins a vector's place in memory; where no word does, about as
/// many.
u64 words_ahead(const u8* at) noexcept {
    return (0U - reinterpret_cast<std::uintptr_t>(at)) % sizeof(__m256i) / sizeof(u32);
}

/// Reverses words eight at a time. @return how many; the rest are fewer than eight
[[gnu::target("avx2")]] u64 reverse_vectors(u8* at, u64 count) noexcept {
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3));
    u64 done = 0;
    for (; count - done >= 8; done += 8, at += 32) {
        auto* const words = reinterpret_cast<__m256i_u*>(at);
        _mm256_storeu_si256(words, _mm256_shuffle_epi8(_mm256_loadu_si256(words), order));
    }
    return done;
}

#endif

}  // namespace

void convert_array(void* first, u64 count) noexcept {
    if constexpr (kHostIsNetwork) return;
    auto* at = static_cast<u8*>(first);
#if defined(__x86_64__)
    if (count >= kLongArray && has_avx2()) {
        const u64 ahead = words_ahead(at);
        reverse_pairs(at, ahead);
        at += 4 * ahead;
        count -= ahead;
        const u64 done = reverse_vectors(at, count);
        at += 4 * done;
        count -= done;
    }
#endif
    reverse_pairs(at, count);
}

}  // namespace kelvo
