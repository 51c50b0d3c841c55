// SPDX-License-Identifier: Apache-2.0
//
// What fuzz targets have in common: a property that must hold, the bytes of an input taken from the
// front, and a block of memory beyond whose ends nothing may be touched.
//
// A target defines LLVMFuzzerTestOneInput(). It is linked with a fuzzer, or with replay.cpp, which
// runs it on files.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "support/sanitizers.h"

#if KELVO_SANITIZES_ADDRESS
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#else
inline void __lsan_disable() {}
inline void __lsan_enable() {}
#define ASAN_POISON_MEMORY_REGION(at, size) ((void)(at), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(at, size) ((void)(at), (void)(size))
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace kelvo::fuzz {

[[noreturn]] inline void broken(const char* property, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: this does not hold: %s\n", file, line, property);
    std::abort();
}

/// A property of every input. Ends the process where it does not hold, in every build.
#define KELVO_HOLDS(...)                                                                           \
    ((__VA_ARGS__) ? (void)0 : kelvo::fuzz::broken(#__VA_ARGS__, __FILE__, __LINE__))

/// The bytes of an input, taken from the front. Past the end there are zeros.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    [[nodiscard]] bool is_empty() const { return at_ == end_; }
    [[nodiscard]] std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }
    [[nodiscard]] const std::uint8_t* at() const { return at_; }

    std::uint8_t byte() { return is_empty() ? std::uint8_t{0} : *at_++; }
    std::uint32_t word() {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i) word |= static_cast<std::uint32_t>(byte()) << (8 * i);
        return word;
    }
    /// At most so many bytes.
    std::string_view bytes(std::size_t most) {
        const std::size_t size = std::min(most, left());
        const auto* const begin = reinterpret_cast<const char*>(at_);
        at_ += size;
        return {begin, size};
    }
    /// What stands before the next byte of this kind, which is passed, or all that is left.
    std::string_view until(char delimiter) {
        const std::string_view rest(reinterpret_cast<const char*>(at_), left());
        const std::size_t chars = std::min(rest.find(delimiter), rest.size());
        at_ += std::min(chars + 1, left());
        return rest.substr(0, chars);
    }

  private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};

/// Room for one message or text, set up anew for each input: the bytes before and behind it are
/// poisoned, which an address sanitizer checks to the byte, as for a heap block of exactly that
/// size, but without the cost of one.
template <std::size_t kCapacity>
class Block {
  public:
    Block() { ASAN_POISON_MEMORY_REGION(bytes_, sizeof bytes_); }
    ~Block() { ASAN_UNPOISON_MEMORY_REGION(bytes_, sizeof bytes_); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    static constexpr std::size_t capacity() { return kCapacity; }

    /// Makes the block hold a copy of these bytes, then zeros, `size` in all.
    std::uint8_t* hold(const void* from, std::size_t count, std::size_t size) {
        KELVO_HOLDS(count <= size && size <= kCapacity);
        resize(size);
        if (count != 0) std::memcpy(begin(), from, count);
        std::memset(begin() + count, 0, size - count);
        return begin();
    }
    std::uint8_t* hold(const void* from, std::size_t size) { return hold(from, size, size); }
    /// Makes the block hold a copy of a text up to its first NUL, and a NUL.
    char* hold_text(std::string_view text) {
        const std::size_t chars = std::min(text.find('\0'), text.size());
        return reinterpret_cast<char*>(hold(text.data(), chars, chars + 1));
    }

    [[nodiscard]] std::uint8_t* begin() { return bytes_ + kWall; }
    [[nodiscard]] const std::uint8_t* begin() const { return bytes_ + kWall; }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] std::uint32_t length() const { return static_cast<std::uint32_t>(size_); }

  private:
    static constexpr std::size_t kWall = 64;

    void resize(std::size_t size) {
        ASAN_POISON_MEMORY_REGION(begin(), size_);
        ASAN_UNPOISON_MEMORY_REGION(begin(), size);
        size_ = size;
    }

    std::size_t size_ = 0;
    alignas(16) std::uint8_t bytes_[kWall + kCapacity + kWall];
};

}  // namespace kelvo::fuzz
