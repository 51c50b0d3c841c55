// SPDX-License-Identifier: Apache-2.0
//
// Changes to inputs that know what a message looks like: its numbers are words at multiples of 4,
// lengths are right, or off by 8, or extreme, texts end in NUL and are filled up to a multiple of
// 8, and either byte order may be expected. Every third input is left to the fuzzer's own changes.
//
// The first byte of an input chooses the operation; the message follows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef KELVO_FUZZ

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace kelvo::fuzz {

class MessageMutator {
  public:
    MessageMutator(std::uint8_t* message, std::size_t size, std::size_t most, unsigned seed)
        : message_(message), size_(size), most_(most), random_(seed) {}

    /// Changes the message once. @return its new size
    std::size_t mutate() {
        switch (below(8)) {
            case 0:
                move_number();
                break;
            case 1:
                put_number(extreme());
                break;
            case 2:
                put_number(left_from_here());
                break;
            case 3:
                reverse_word(pick_word());
                break;
            case 4:
                reverse_all();
                break;
            case 5:
                drop_nul();
                break;
            case 6:
                resize();
                break;
            default:
                repeat();
                break;
        }
        return size_;
    }

  private:
    std::uint32_t next() {
        random_ = random_ * 1664525 + 1013904223;
        return random_ >> 8;
    }
    std::size_t below(std::size_t end) { return end == 0 ? 0 : next() % end; }

    /// Where a word begins. The message has at least one.
    std::size_t pick_word() { return size_ < 4 ? 0 : 4 * below(size_ / 4); }

    [[nodiscard]] std::uint32_t load(std::size_t at) const {
        std::uint32_t word;
        std::memcpy(&word, message_ + at, 4);
        return word;
    }
    void store(std::size_t at, std::uint32_t word) {
        if (at + 4 <= size_) std::memcpy(message_ + at, &word, 4);
    }
    void reverse_word(std::size_t at) {
        if (at + 4 <= size_) store(at, __builtin_bswap32(load(at)));
    }
    /// A number as either order has it.
    void store_either(std::size_t at, std::uint32_t number) {
        store(at, below(2) == 0 ? number : __builtin_bswap32(number));
    }

    /// A length or count that is off by a little, in the order in which it is small.
    void move_number() {
        static constexpr int kSteps[] = {-8, 8, -1, 1, -7, 7, -4, 4};
        const std::size_t at = pick_word();
        if (at + 4 > size_) return;
        const bool network = load(at) > 0xFFFF;
        const std::uint32_t number = network ? __builtin_bswap32(load(at)) : load(at);
        const std::uint32_t moved = number + static_cast<std::uint32_t>(kSteps[below(8)]);
        store(at, network ? __builtin_bswap32(moved) : moved);
    }
    void put_number(std::uint32_t number) {
        const std::size_t at = last_picked_ != 0 ? last_picked_ : pick_word();
        last_picked_ = 0;
        store_either(at, number);
    }
    std::uint32_t extreme() {
        static constexpr std::uint32_t kExtremes[] = {
            0,          1,          2,          7,          8,          9,          0xFF,
            0x100,      0xFFFF,     0x10000,    0x10001,    0x01000000, 0x7FFFFFFF, 0x80000000,
            0xFFFFFFF0, 0xFFFFFFF7, 0xFFFFFFF8, 0xFFFFFFF9, 0xFFFFFFFE, 0xFFFFFFFF};
        return kExtremes[below(sizeof kExtremes / sizeof kExtremes[0])];
    }
    /// The length that makes a text or value begun here end with the message, or nearly.
    std::uint32_t left_from_here() {
        last_picked_ = pick_word();
        const std::size_t left = size_ - last_picked_;
        const std::size_t length = left < 8 ? 0 : left - 8;
        return static_cast<std::uint32_t>(length - below(9) + (below(4) == 0 ? 8 : 0));
    }
    /// The whole message in the other order.
    void reverse_all() {
        for (std::size_t at = 0; at + 4 <= size_; at += 4) reverse_word(at);
    }
    void drop_nul() {
        const std::size_t from = below(size_);
        for (std::size_t i = 0; i < size_; ++i) {
            std::uint8_t& byte = message_[(from + i) % size_];
            if (byte != 0) continue;
            byte = static_cast<std::uint8_t>('a' + below(26));
            return;
        }
    }
    /// Cuts the message, or puts bytes behind it.
    void resize() {
        if (below(2) == 0) {
            size_ -= below(size_ < 24 ? size_ + 1 : 24);
            return;
        }
        for (std::size_t more = 1 + below(24); more > 0 && size_ < most_; --more) {
            message_[size_++] = below(4) == 0 ? static_cast<std::uint8_t>(next()) : std::uint8_t{0};
        }
    }
    /// Repeats some words, a counted text for example, in place.
    void repeat() {
        const std::size_t at = pick_word();
        const std::size_t bytes = 8 * (1 + below(6));
        if (at + bytes > size_ || size_ + bytes > most_) return;
        std::memmove(message_ + at + bytes, message_ + at, size_ - at);
        size_ += bytes;
    }

    std::uint8_t* message_;
    std::size_t size_;
    std::size_t most_;
    std::uint32_t random_;
    std::size_t last_picked_ = 0;
};

}  // namespace kelvo::fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned seed) {
    if (size < 5 || seed % 3 == 0) return LLVMFuzzerMutate(data, size, most);
    kelvo::fuzz::MessageMutator mutator(data + 1, size - 1, most - 1, seed);
    std::size_t changed = size;
    for (unsigned changes = 1 + seed / 3 % 3; changes > 0; --changes)
        changed = 1 + mutator.mutate();
    return changed;
}

#endif
