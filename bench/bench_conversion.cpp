// SPDX-License-Identifier: Apache-2.0
//
// Arrays of words converted in place: the masks of an apply reply, the entries of a state-machine
// response. Going there and back are the same work, so every other run goes back.
#include <cstring>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "kelvo_common_msg_callback.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

constexpr std::size_t kArrayBytes = 1 << 20;

using Bytes = std::vector<std::uint8_t>;

std::uint32_t load(const Bytes& bytes, std::size_t at) {
    std::uint32_t word;
    std::memcpy(&word, &bytes[at], sizeof word);
    return word;
}
void store(Bytes& bytes, std::size_t at, std::uint32_t word) {
    std::memcpy(&bytes[at], &word, sizeof word);
}

Bytes counting(std::size_t bytes) {
    Bytes all(bytes);
    for (std::size_t at = 0; at + 4 <= bytes; at += 4) {
        store(all, at, static_cast<std::uint32_t>(at * 0x9E3779B1));
    }
    return all;
}
bool is_reversed(const Bytes& bytes, std::size_t from, const Bytes& original, bool reversed) {
    for (std::size_t at = from; at + 4 <= bytes.size(); at += 4) {
        const std::uint32_t was = load(original, at);
        if (load(bytes, at) != (reversed ? __builtin_bswap32(was) : was)) return false;
    }
    return true;
}

/// A message whose array begins at `kFixed`, and which is converted from here to there by one
/// function and back by another.
template <std::size_t kFixed, std::size_t kCountAt, kelvo_status (*kThere)(void*, std::uint32_t),
          kelvo_status (*kBack)(void*, std::uint32_t)>
struct Convert {
    Bytes original;
    Bytes message;
    bool there = false;
    kelvo_status status = 0;

    Convert(std::size_t array_bytes, std::uint32_t count)
        : original(counting(kFixed + array_bytes)) {
        store(original, kCountAt, count);
        message = original;
    }
    void run() {
        const auto length = static_cast<std::uint32_t>(message.size());
        status = there ? kBack(message.data(), length) : kThere(message.data(), length);
        there = !there;
    }
    [[nodiscard]] bool right() const {
        return status == 0 && is_reversed(message, kFixed, original, there);
    }
};

struct Masks : Convert<sizeof(kelvo_rply_cb_apply), offsetof(kelvo_rply_cb_apply, bits),
                       kelvo_lib_rply_cb_get_apply_interpret_hton,
                       kelvo_lib_rply_cb_get_apply_interpret_ntoh> {
    explicit Masks(std::size_t bytes = kArrayBytes)
        : Convert(bytes / 8 * 8, static_cast<std::uint32_t>(bytes / 8 * 32)) {}
};

constexpr std::size_t kEntries = kArrayBytes / sizeof(kelvo_sm_cb_entry);

struct Entries
    : Convert<sizeof(kelvo_msg_sm_cb_response), offsetof(kelvo_msg_sm_cb_response, entries),
              kelvo_common_msg_sm_cb_response_interpret_hton,
              kelvo_common_msg_sm_cb_response_interpret_ntoh> {
    explicit Entries(std::size_t count = kEntries)
        : Convert(count * sizeof(kelvo_sm_cb_entry), static_cast<std::uint32_t>(count)) {}
};

struct Copy {
    Bytes original = counting(kArrayBytes);
    Bytes copy = Bytes(kArrayBytes);
    void run() { std::memcpy(copy.data(), original.data(), kArrayBytes); }
    [[nodiscard]] bool right() const { return copy == original; }
};

/// A loop over the words of an array, where the array is all there is.
template <void (*kReverse)(std::uint8_t*, std::size_t)>
struct Loop {
    Bytes original = counting(kArrayBytes);
    Bytes array = original;
    bool there = false;
    void run() {
        kReverse(array.data(), array.size());
        there = !there;
    }
    [[nodiscard]] bool right() const { return is_reversed(array, 0, original, there); }
};

void reverse_words(std::uint8_t* at, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; i += 4) {
        std::uint32_t word;
        std::memcpy(&word, at + i, sizeof word);
        word = __builtin_bswap32(word);
        std::memcpy(at + i, &word, sizeof word);
    }
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void reverse_with_avx2(std::uint8_t* at, std::size_t bytes) {
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3));
    for (std::size_t i = 0; i + 32 <= bytes; i += 32) {
        auto* const words = reinterpret_cast<__m256i*>(at + i);
        _mm256_storeu_si256(words, _mm256_shuffle_epi8(_mm256_loadu_si256(words), order));
    }
}
#endif

std::vector<Contender> contenders(const Contender& own) {
    std::vector<Contender> all = {own, floor<Copy>("memcpy of as many bytes"),
                                  shown<Loop<reverse_words>>("a loop of bswap")};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2"))
        all.push_back(other<Loop<reverse_with_avx2>>("an AVX2 loop"));
#endif
    return all;
}

const Row kMasksRow({"convert_masks", "convert 1 MiB of masks", 1, {1.1, 0.65}},
                    contenders(library<Masks>()));
const Row kEntriesRow({"convert_entries", "convert 1 MiB of entries", 1, {1.1, 0.65}},
                      contenders(library<Entries>()));
const Growth kMasksGrowth("convert_masks", "convert masks", "bytes", &time_growth<Masks>);
const Growth kEntriesGrowth("convert_entries", "convert entries", "entries", &time_growth<Entries>);

}  // namespace
