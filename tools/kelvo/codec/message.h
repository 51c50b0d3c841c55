// SPDX-License-Identifier: Apache-2.0
//
// A message as the description sees it: what lies where, and the check that fails.
#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "description.h"

namespace kelvo::codec {

using Bytes = std::span<const std::uint8_t>;

enum class Order { little, big };

inline constexpr Order kNetwork = Order::big;
inline constexpr Order kNative =
    std::endian::native == std::endian::little ? Order::little : Order::big;

[[nodiscard]] inline Order opposite(Order order) {
    return order == Order::big ? Order::little : Order::big;
}
[[nodiscard]] inline const char* name_of(Order order) {
    return order == Order::big ? "big" : "little";
}

/// n bytes of content take this many with their fill.
[[nodiscard]] constexpr std::uint64_t padded8(std::uint64_t n) {
    return (n + 7) & ~std::uint64_t{7};
}
inline constexpr std::uint32_t kCellBytes = 8;

/// The number that up to 8 bytes hold.
[[nodiscard]] std::uint64_t load(Bytes bytes, Order order);
/// A word of a message; bytes beyond its end count as zero.
[[nodiscard]] std::uint32_t load_word(Bytes message, std::uint64_t at, Order order);

/// A piece of a message, and the pieces that it consists of. All offsets count from the start of
/// the message; nothing reaches beyond its end.
struct Node {
    enum class What {
        words,    ///< one word or several
        bytes,    ///< a field of bytes
        mask,     ///< words of bits
        cell,     ///< a cell with a number
        counted,  ///< a cell with a length and the content behind it
        content,  ///< content whose length stands elsewhere
        group,    ///< fields under one name
        list,     ///< entries
        entry,
    };

    What what = What::words;
    std::string name{};
    std::string meaning{};
    std::uint64_t at = 0;
    std::uint64_t size = 0;
    Order order = kNetwork;
    Format format = Format::decimal;
    std::vector<std::uint32_t> words{};  ///< words: all of them; cell, counted: the one in the cell

    std::uint64_t content_at = 0;  ///< counted, content: where it begins
    std::uint64_t content = 0;     ///< bytes of it that are there, without fill
    bool is_text = false;          ///< content that should end in NUL
    std::uint32_t type = 0;        ///< value type of content that is no text

    bool told_order = false;   ///< entry: its order is its own
    std::uint64_t beyond = 0;  ///< list: entries that it claims beyond the end of the message
    std::vector<Node> children{};
};

struct FailedCheck {
    std::uint32_t status = 0;
    std::string text;   ///< what should have been
    std::string found;  ///< what was
    std::string field;  ///< where, such as "items[2].name"
    std::uint64_t at = 0;
};

struct Decoded {
    const Message* message = nullptr;
    Order order = kNetwork;
    Order sender = kNative;  ///< of words that are never converted
    std::vector<std::uint8_t> bytes;
    std::vector<Node> nodes;
    std::optional<FailedCheck> failed;  ///< the first one, which decides
    std::uint64_t covered = 0;          ///< bytes that the nodes take; the rest is not described
    std::uint64_t end = 0;              ///< where the layout ends, which may be beyond the message

    [[nodiscard]] std::uint32_t status() const { return failed ? failed->status : 0; }
};

/// What is known of a message beyond its bytes.
struct Hints {
    const Message* message = nullptr;  ///< null: told by the type in the header
    std::optional<Order> order;        ///< none: see decode()
};

/// Reads a message. Without an order, a message that travels in network order is read in that one,
/// unless a check fails that the sender's order passes; a list request by its conversion marker.
[[nodiscard]] Decoded decode(const Description& description, Bytes bytes, const Hints& hints);

/// Finds a piece by its path, such as "items[2].name"; null when there is none.
[[nodiscard]] const Node* find(const std::vector<Node>& nodes, std::string_view path);

}  // namespace kelvo::codec
