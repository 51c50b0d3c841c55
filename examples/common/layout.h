// SPDX-License-Identifier: Apache-2.0
//
// Laying out by hand the messages for which the library has no composer: replies, registrations,
// transaction starts, locks, notification sets. A Layout appends the pieces of a message one after
// another; fixed parts are the public layout structs. Most messages are laid out in network order
// at once (fill the structs with network()). Those that have an _hton converter are laid out in
// host order and converted as a whole.
#pragma once

#include <arpa/inet.h>

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kelvo_common_msg.h"

namespace example {

/// Host to network order, or back.
inline std::uint32_t network(std::uint32_t word) {
    return htonl(word);
}

/// A 64-bit field travels as its two words in the order in which they lie in memory.
inline void put_words(std::uint32_t (&words)[2], std::uint64_t value) {
    std::memcpy(words, &value, sizeof value);
    words[0] = network(words[0]);
    words[1] = network(words[1]);
}

/// The 64-bit value of two words in host order.
inline std::uint64_t join_words(const std::uint32_t (&words)[2]) {
    std::uint64_t value;
    std::memcpy(&value, words, sizeof value);
    return value;
}

/// A fixed part of a message that is long enough to have it.
template <typename T>
T fixed_part(const void* at) {
    static_assert(std::is_trivially_copyable_v<T>);
    T part;
    std::memcpy(&part, at, sizeof part);
    return part;
}

/// n rounded up to a multiple of 8. Never wraps: it is given 32-bit lengths.
constexpr std::uint64_t padded(std::uint64_t n) {
    return (n + 7) / 8 * 8;
}

class Layout {
  public:
    enum class Order { network, host };

    explicit Layout(Order order = Order::network) : order_(order) {}

    /// A fixed part, as it is.
    template <typename T>
    Layout& fixed(const T& part) {
        static_assert(std::is_trivially_copyable_v<T>);
        return raw({reinterpret_cast<const std::uint8_t*>(&part), sizeof part});
    }
    Layout& raw(std::span<const std::uint8_t> bytes);
    /// A text with its NUL and fill, without its length cell.
    Layout& text_body(const std::string& text);
    /// Bytes with their fill, without their length cell.
    Layout& value_body(std::span<const std::uint8_t> bytes);
    /// A counted string: length cell, text, NUL, fill.
    Layout& text(const std::string& text);
    /// A counted value: length cell, bytes, fill.
    Layout& value(std::span<const std::uint8_t> bytes);

    std::size_t size() const { return bytes_.size(); }
    /// Hands out the bytes; the layout begins again.
    std::vector<std::uint8_t> take() { return std::exchange(bytes_, {}); }

  private:
    Layout& cell(std::size_t length);
    Layout& fill();

    Order order_;
    std::vector<std::uint8_t> bytes_;
};

/// The length of a text on the wire.
inline std::uint32_t wire_length(const std::string& text) {
    return static_cast<std::uint32_t>(text.size() + 1);
}

}  // namespace example
