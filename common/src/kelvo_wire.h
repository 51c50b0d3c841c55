// SPDX-License-Identifier: Apache-2.0
//
// The wire: byte-order policies, the cursor over a received message, the gather list of a sent one.
//
// Each message is walked by one template over a byte-order policy. A policy says what happens to a
// word when a walk arrives at it and when it has passed its tests:
//
//                    arrive            depart            fixed
//   HostOrder        -                 -                 -            reads a message in host order
//   FromNetwork      convert           -                 convert      receives from the network
//   ToNetwork        -                 convert           convert      prepares to send
//
// "fixed" are the words of a fixed part that a walk converts as a block without testing them, and
// those of an array.
// A policy is an object and all reads go through it, so that one may also watch a walk: those of
// kelvo_guard.h note what a converting walk would touch, convert nothing, and may end it.
//
// The cursor is the only place that compares lengths with what is left. It subtracts before it
// compares, in 64 bits, and does not move when a test fails.
#pragma once

#include <initializer_list>

#include "kelvo_array.h"
#include "kelvo_bytes.h"
#include "kelvo_common_msg.h"
#include "kelvo_common_msg_types.h"
#include "kelvo_probe.h"
#include "kelvo_value.h"

namespace kelvo::wire {

using Status = kelvo_status;

/// Size of a length cell on the wire.
inline constexpr u32 kCellBytes = sizeof(kelvo_length_cell);

/// Length of a received message as the walks take it. A negative one is too short for anything.
[[nodiscard]] constexpr u64 received(i32 length) noexcept {
    return length < 0 ? 0 : static_cast<u64>(length);
}

/// What the policies that run a walk have in common.
struct Running {
    /// Whether tracers are told what becomes of the message.
    static constexpr bool kObserved = true;
    /// The word at `at` as the walk has it by now.
    [[nodiscard]] static u32 read(const u8* at) noexcept { return load32(at); }
    /// The word at `at` as it came, which the walk has not converted.
    [[nodiscard]] static u32 raw(const u8* at) noexcept { return load32(at); }
    /// Notes a condition without which the walk ends the process.
    static void demand(bool) noexcept {}
    /// Whether the walk is to be given up.
    [[nodiscard]] static constexpr bool stopped() noexcept { return false; }
};

struct HostOrder : Running {
    static constexpr bool kConverts = false;
    static void arrive(u8*) noexcept {}
    static void depart(u8*) noexcept {}
    static void fixed(u8*) noexcept {}
    static void value(u32, u8*) noexcept {}
};

struct FromNetwork : Running {
    static constexpr bool kConverts = true;
    static void arrive(u8* at) noexcept { convert32(at); }
    static void depart(u8*) noexcept {}
    static void fixed(u8* at) noexcept { convert32(at); }
    static void array(u8* first, u64 count) noexcept { convert_array(first, count); }
    [[gnu::always_inline]] static void value(u32 type, u8* at) noexcept {
        convert_value(type, at, at);
    }
};

struct ToNetwork : Running {
    static constexpr bool kConverts = true;
    static void arrive(u8*) noexcept {}
    static void depart(u8* at) noexcept { convert32(at); }
    static void fixed(u8* at) noexcept { convert32(at); }
    static void array(u8* first, u64 count) noexcept { convert_array(first, count); }
    [[gnu::always_inline]] static void value(u32 type, u8* at) noexcept {
        convert_value(type, at, at);
    }
};

/// Converts `count` adjacent words of a fixed part.
template <class Order>
void fixed_words(Order& order, u8* first, u32 count) noexcept {
    for (u32 i = 0; i < count && !order.stopped(); ++i) order.fixed(first + 4 * std::size_t{i});
}

/// Reads `count` adjacent words of a fixed part.
template <class Order>
void read_words(Order& order, const u8* first, u32 count, u32* words) noexcept {
    for (u32 i = 0; i < count; ++i) words[i] = order.read(first + 4 * std::size_t{i});
}

/// Passes a single word. @return it in host order
template <class Order>
[[nodiscard]] u32 pass_word(Order& order, u8* at) noexcept {
    order.arrive(at);
    const u32 word = order.read(at);
    order.depart(at);
    return word;
}

/// Passes a counted value whose cell is known to be within the message; whether the value is,
/// nobody asks before it is converted. @return the bytes that cell, value and fill take
template <class Order>
[[nodiscard]] u64 pass_value(Order& order, u8* cell, u32 type) noexcept {
    const u32 length = pass_word(order, cell);
    if (length != 0) order.value(type, cell + kCellBytes);
    return kCellBytes + padded8(length);
}

/// When a converting walk touches a length cell: once there is room for the cell, or before. The
/// second reads up to four bytes past a message that ends there; which messages do so is part of
/// the protocol, and their headers say how large the buffer must be.
enum class Cell { after_room, before_room };

/// What becomes of a received message, which tracers are told. A walk by positions answers through
/// this; one with the cursor, through the cursor. kType is the type of a message that is not known
/// by its header.
template <class Order, u32 kType = probe::kTypeInHeader>
class Outcome {
  public:
    [[gnu::always_inline]] Outcome(const void* message, u64 length) noexcept
        : message_(message), length_(length) {}

    /// What a walk returns when it is through.
    [[nodiscard, gnu::always_inline]] Status accept() const noexcept {
        if constexpr (kObserved) {
            if (probe::interpreting()) [[unlikely]]
                return probe::tell_accepted(kType, message_, length_);
        }
        return 0;
    }

    /// What a walk returns where it does not go on. The part that did not pass begins at `offset`,
    /// beyond the end of the message if a length claims that.
    [[nodiscard, gnu::always_inline]] Status refuse(u64 offset, Status status) const noexcept {
        if constexpr (kObserved) {
            // It yields `status`. That this is not 0, and the walk over, nobody here can see.
            const Status told = probe::tell_refused(kType, message_, length_, offset, status);
            if (told == 0) __builtin_unreachable();
            return told;
        }
        return status;
    }

  private:
    /// Walks that look at a message for another reason than to read it are not observed.
    static constexpr bool kObserved = KELVO_PROBES && requires { requires Order::kObserved; };

    const void* message_;
    u64 length_;
};

/// Position in a received message and the bytes left from there. The position is 64 bits wide on
/// purpose: no sum of two lengths can wrap. The steps are inlined by force: with what a refusal has
/// to tell they look too long for that, and then the cursor lives in memory.
template <class Order, u32 kType = probe::kTypeInHeader>
class Cursor {
  public:
    Cursor(Order& order, u8* message, u64 length) noexcept
        : order_(order), begin_(message), at_(message), left_(length) {}

    /// Passes over the fixed part.
    [[nodiscard, gnu::always_inline]] Status skip(u64 bytes) noexcept {
        if (left_ < bytes) return refuse(KELVO_ERR_MSG_LENGTH);
        advance(bytes);
        return 0;
    }

    /// A cell that holds a count or a type.
    [[nodiscard, gnu::always_inline]] Status cell(u32* word) noexcept {
        if (left_ < kCellBytes) return refuse(KELVO_ERR_MSG_LENGTH);
        *word = pass_word(order_, at_);
        advance(kCellBytes);
        return 0;
    }

    /// A counted string. Four tests in this order: room for the cell, room for the text, a text
    /// that is there and ends in NUL, room for the fill.
    [[nodiscard, gnu::always_inline]] Status text(char** text,
                                                  Cell touch = Cell::after_room) noexcept {
        if (touch == Cell::before_room) order_.arrive(at_);
        if (left_ < kCellBytes) return refuse(KELVO_ERR_MSG_LENGTH);
        if (touch == Cell::after_room) order_.arrive(at_);
        const u32 length = order_.read(at_);
        if (left_ - kCellBytes < length) return refuse(KELVO_ERR_MSG_LENGTH);
        if (length == 0 || at_[kCellBytes + u64{length} - 1] != 0)
            return refuse(KELVO_ERR_MSG_CONTENT);
        if (left_ - kCellBytes < padded8(length)) return refuse(KELVO_ERR_MSG_LENGTH);
        order_.depart(at_);
        *text = reinterpret_cast<char*>(at_ + kCellBytes);
        advance(kCellBytes + padded8(length));
        return 0;
    }

    /// A counted value, which may be empty: room for the cell, room for value and fill.
    [[nodiscard, gnu::always_inline]] Status value(u8** value, u32* length) noexcept {
        if (left_ < kCellBytes) return refuse(KELVO_ERR_MSG_LENGTH);
        order_.arrive(at_);
        const u32 n = order_.read(at_);
        if (left_ - kCellBytes < padded8(n)) return refuse(KELVO_ERR_MSG_LENGTH);
        order_.depart(at_);
        *value = at_ + kCellBytes;
        *length = n;
        advance(kCellBytes + padded8(n));
        return 0;
    }

    /// A message that demands its exact length has nothing left here.
    [[nodiscard, gnu::always_inline]] Status end() const noexcept {
        return left_ == 0 ? 0 : refuse(KELVO_ERR_MSG_LENGTH);
    }

    /// What a walk returns where it refuses what it has read for a reason of its own.
    [[nodiscard, gnu::always_inline]] Status refuse(Status status) const noexcept {
        return outcome().refuse(passed(), status);
    }

    /// What a walk over a message returns when it is through.
    [[nodiscard, gnu::always_inline]] Status accept() const noexcept { return outcome().accept(); }

    [[nodiscard]] Order& order() const noexcept { return order_; }
    [[nodiscard]] u8* at() const noexcept { return at_; }
    [[nodiscard]] u64 left() const noexcept { return left_; }

  private:
    [[nodiscard, gnu::always_inline]] u64 passed() const noexcept {
        return static_cast<u64>(at_ - begin_);
    }
    [[nodiscard, gnu::always_inline]] Outcome<Order, kType> outcome() const noexcept {
        return {begin_, passed() + left_};
    }

    void advance(u64 bytes) noexcept {
        at_ += bytes;
        left_ -= bytes;
    }

    Order& order_;
    u8* begin_;
    u8* at_;
    u64 left_;
};

/// Fields of a message to be sent: in network order, or left in host order.
struct SendNetwork {
    static void store(void* at, u32 word) noexcept { store32(at, network32(word)); }
};
struct SendHost {
    static void store(void* at, u32 word) noexcept { store32(at, word); }
};

/// Stores the message type. Header fields other than the type are not touched, and it is not
/// converted.
inline void start_message(u8* message, u32 type) noexcept {
    store32(message + offsetof(kelvo_msg_header, type), type);
}

/// Stores adjacent words of a fixed part.
template <class Order = SendNetwork>
void send_words(u8* first, std::initializer_list<u32> words) noexcept {
    for (const u32 word : words) {
        Order::store(first, word);
        first += 4;
    }
}

/// Length of a text on the wire.
[[nodiscard]] inline u32 counted_length(const char* text) noexcept {
    return static_cast<u32>(std::strlen(text) + 1);
}

/// The gather list of a message, filled slot by slot in wire order; header first, done() last.
template <class Order = SendNetwork>
class Gather {
  public:
    explicit Gather(kelvo_slot* first) noexcept : first_(first), slot_(first) {}

    void block(const void* base, u64 length) noexcept { *slot_++ = {base, length}; }

    /// A length cell of the caller's, whose second half travels as the caller left it.
    void cell(u32* cell, u32 word) noexcept {
        Order::store(cell, word);
        block(cell, kCellBytes);
    }

    /// A counted string in three slots: cell, text with its NUL, fill.
    void text(u32* length_cell, const char* text) noexcept {
        counted(length_cell, text, counted_length(text));
    }

    /// A counted piece in three slots: cell, bytes, fill.
    void counted(u32* length_cell, const void* bytes, u32 length) noexcept {
        cell(length_cell, length);
        block(bytes, length);
        block(kelvo_alignment, pad8(length));
    }

    /// The list is complete; tracers are told. @return `answer`, the compose function's
    [[gnu::always_inline]] u32 done(u32 answer = 0) const noexcept {
        if (probe::composing()) [[unlikely]]
            return probe::tell_composed(first_, slot_, answer);
        return answer;
    }

  private:
    kelvo_slot* first_;
    kelvo_slot* slot_;
};

}  // namespace kelvo::wire
