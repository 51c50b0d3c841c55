// SPDX-License-Identifier: Apache-2.0
//
// What the models of the operations are written with. A model is the slow, plain reading of the
// steps that an operation is defined by: straight-line code over a message whose every access goes
// through here, so that it is known how far the steps reach, and on which words they depend.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "kelvo_status.h"
#include "models/choices.h"
#include "support/operations.h"

namespace kelvo::model {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

inline constexpr u32 kOk = 0;
inline constexpr u32 kLength = KELVO_ERR_MSG_LENGTH;
inline constexpr u32 kContent = KELVO_ERR_MSG_CONTENT;

/// A length and its fill.
constexpr u64 pad8(u64 length) {
    return (length + 7) / 8 * 8;
}

/// Thrown where the steps reach beyond the block, or end the process.
struct OutOfRoom {};
struct Stops {};

/// A message in a larger block. Bytes that nobody has asked for are whatever they are; a word that
/// steers the steps takes, when it is first looked at, each value that is worth trying in turn.
class Message {
  public:
    static constexpr std::size_t kRoom = 2048;

    /// `choices` null: the bytes are taken as they are.
    Message(const u8* bytes, std::size_t room, u64 length, Choices* choices = nullptr)
        : len(length), room_(room), choices_(choices) {
        if (room > kRoom) std::abort();
        std::memcpy(now_.data(), bytes, room);
        if (choices == nullptr) return;
        std::memcpy(original_.data(), bytes, room);
        for (std::size_t i = 0; i < room; ++i) origin_[i] = static_cast<u16>(i);
        std::memset(chosen_.data(), 0, room);
    }

    /// Length of the message, not of the block.
    const u64 len;

    /// A word that is handed on.
    u32 word(u64 at) {
        touch(at, 4);
        u32 value;
        std::memcpy(&value, now_.data() + at, 4);
        return value;
    }
    /// A length: of what begins 8 bytes behind it unless said otherwise.
    u32 length(u64 at, u64 cell = 8) {
        return choose(at, [&](Choices& choices) { return choices.length(left(at + cell)); });
    }
    /// A length that may be in either byte order.
    u32 length_in_either_order(u64 at) {
        return choose(
            at, [&](Choices& choices) { return choices.length_in_either_order(left(at + 8)); });
    }
    /// A number of entries, which begin at `entries`.
    u32 count(u64 at, u64 entries) {
        return choose(at, [&](Choices& choices) { return choices.count(left(entries)); });
    }
    /// A value type.
    u32 type(u64 at) {
        return choose(at, [](Choices& choices) { return choices.type(); });
    }
    /// A word that matters only by whether it is one of these.
    u32 one_of(u64 at, std::initializer_list<u32> values) {
        return choose(at, [&](Choices& choices) { return choices.one_of(values); });
    }
    /// A byte that is NUL or not.
    u8 byte(u64 at) {
        touch(at, 1);
        if (choices_ != nullptr && chosen_[origin_[at]] == 0) set(at, choices_->nul(), 1);
        return now_[at];
    }

    /// Reverses a word, or each of several from `base` on.
    void convert(u64 at) { reverse(at, 4); }
    void convert(std::initializer_list<u64> offsets, u64 base = 0) {
        for (const u64 offset : offsets) convert(base + offset);
    }
    /// Reverses as many bytes of a value as its type says.
    void convert_value(u32 value_type, u64 at) {
        if (value_type == 1 || value_type == 12) reverse(at, 4);
        if (value_type == 2 || value_type == 13) reverse(at, 8);
        if (value_type == 10 || value_type == 11) reverse(at, 2);
    }
    void store(u64 at, u32 value) {
        touch(at, 4);
        std::memcpy(now_.data() + at, &value, 4);
    }

    /// The block as it was, as it is, and how much of it was touched.
    [[nodiscard]] const u8* before() const { return original_.data(); }
    [[nodiscard]] const u8* after() const { return now_.data(); }
    [[nodiscard]] u64 reach() const { return reach_; }

  private:
    void touch(u64 at, u64 width) {
        if (at + width > room_) throw OutOfRoom{};
        if (at + width > reach_) reach_ = at + width;
    }
    [[nodiscard]] u64 left(u64 from) const { return len < from ? 0 : len - from; }

    void reverse(u64 at, u64 width) {
        touch(at, width);
        for (u64 i = at, j = at + width - 1; i < j; ++i, --j) {
            std::swap(now_[i], now_[j]);
            std::swap(origin_[i], origin_[j]);
        }
    }

    /// Gives bytes a value that they have had from the beginning, wherever they stood then.
    void set(u64 at, u32 value, u64 width) {
        for (u64 i = 0; i < width; ++i) {
            const u8 byte = reinterpret_cast<const u8*>(&value)[i];
            now_[at + i] = byte;
            original_[origin_[at + i]] = byte;
            chosen_[origin_[at + i]] = 1;
        }
    }

    template <class Pick>
    u32 choose(u64 at, Pick pick) {
        touch(at, 4);
        if (choices_ != nullptr) {
            bool free = true;
            for (u64 i = 0; i < 4; ++i) free = free && chosen_[origin_[at + i]] == 0;
            if (free) set(at, pick(*choices_), 4);
        }
        return word(at);
    }

    std::size_t room_;
    Choices* choices_;
    u64 reach_ = 0;
    std::array<u8, kRoom> now_;
    std::array<u8, kRoom> original_;
    std::array<u16, kRoom> origin_;  ///< where a byte stood at first
    std::array<u8, kRoom> chosen_;
};

/// What an operation is expected to come to.
struct Expected {
    test::Outcome outcome;
    u32 left_behind = 0;  ///< allocations that are lost, which is meant

    void give(const char* name, u64 value) { outcome.outputs.push_back({name, value}); }
};

}  // namespace kelvo::model
