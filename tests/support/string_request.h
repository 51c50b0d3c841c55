// SPDX-License-Identifier: Apache-2.0
//
// Requests that are a fixed part and counted strings and demand their exact length: a description
// of one reader of such a request, its messages, and the plain account of what the reader must do.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <ostream>

#include "kelvo_common_msg.h"
#include "support/wire_bytes.h"

namespace kelvo::test {

inline constexpr std::uint32_t kUnset = 0x5E5E5E5E;

inline char unset_text = 0;

/// What a reader hands out, in the order of its parameters; sentinels until it does.
struct StringsOut {
    std::array<char*, 3> text;
    std::array<std::uint32_t, 10> word;
    std::uint32_t never = kUnset;  ///< an output that is never written

    StringsOut() {
        text.fill(&unset_text);
        word.fill(kUnset);
    }
    [[nodiscard]] bool untouched() const { return *this == StringsOut(); }
    friend bool operator==(const StringsOut&, const StringsOut&) = default;
};

/// What a reader does to the words it passes.
enum class Conversion { none, from_network, to_network };

struct StringReader {
    const char* name;
    Conversion conversion;
    std::size_t fixed;                    ///< bytes before the first length cell
    std::vector<std::size_t> words;       ///< converted before any test
    std::size_t strings;                  ///< number of counted strings
    std::vector<std::size_t> handed_out;  ///< where the words of StringsOut come from
    bool hands_out_texts;
    bool takes_marked;  ///< the message is marked as converted beforehand
    bool marks;         ///< the message is marked afterwards
    kelvo_status (*read)(void*, std::uint32_t, StringsOut&);

    friend void PrintTo(const StringReader& reader, std::ostream* out) { *out << reader.name; }

    /// Order of the message that the reader is given.
    [[nodiscard]] Order takes() const {
        return conversion == Conversion::from_network ? Order::network : Order::host;
    }
    /// Order in which it leaves the message.
    [[nodiscard]] Order leaves() const {
        return conversion == Conversion::to_network ? Order::network : Order::host;
    }

    /// The value of the word at an offset in the messages below. At 40 it is 541, which a bind must
    /// have there.
    [[nodiscard]] static std::uint32_t value_at(std::size_t offset) {
        return 541 + 0x01020304 * static_cast<std::uint32_t>((offset - 40) / 4);
    }

    /// A valid message in an order.
    [[nodiscard]] Bytes message(Order order, const std::vector<std::string>& texts) const {
        Message m(order, 77);
        for (std::size_t at = 40; at < fixed; at += 4) {
            const bool converted = std::find(words.begin(), words.end(), at) != words.end();
            converted ? m.word(value_at(at)) : m.raw_word(value_at(at));
        }
        for (std::size_t i = 0; i < strings; ++i) m.text(texts[i]);
        Bytes bytes = m.bytes();
        if (takes_marked) put_word(bytes, 20, KELVO_MSG_CONVERTED);
        return bytes;
    }
    [[nodiscard]] Bytes message(const std::vector<std::string>& texts) const {
        return message(takes(), texts);
    }
};

/// What must come of a message: the status, the bytes it leaves, and how much of the buffer the
/// reader may touch.
struct StringsOutcome {
    kelvo_status status;
    Bytes after;
    std::size_t touched;
};

/// The plain account: the steps as the protocol lists them, on a copy with room to spare.
inline StringsOutcome expected_outcome(const StringReader& reader, Bytes bytes,
                                       std::size_t length) {
    std::size_t touched = length;
    const auto convert = [&](std::size_t at) {
        touched = std::max(touched, at + 4);
        if (bytes.size() < at + 4) bytes.resize(at + 4);
        reverse_at(bytes, at);
    };
    const auto outcome = [&](kelvo_status status) {
        bytes.resize(std::max(touched, bytes.size()));
        return StringsOutcome{status, bytes, touched};
    };
    if (reader.marks) put_word(bytes, 20, KELVO_MSG_CONVERTED);
    if (reader.marks || reader.takes_marked) touched = std::max<std::size_t>(touched, 24);
    if (reader.conversion != Conversion::none) {
        for (const std::size_t at : reader.words) convert(at);
    }
    if (length < reader.fixed) return outcome(KELVO_ERR_MSG_LENGTH);

    std::size_t at = reader.fixed;
    for (std::size_t i = 0; i < reader.strings; ++i) {
        const std::size_t left = length - at;
        if (reader.conversion == Conversion::from_network) convert(at);
        if (left < 8) return outcome(KELVO_ERR_MSG_LENGTH);
        const std::size_t n = word_at(bytes, at);
        if (left < n + 8) return outcome(KELVO_ERR_MSG_LENGTH);
        if (n == 0 || bytes[at + 8 + n - 1] != 0) return outcome(KELVO_ERR_MSG_CONTENT);
        const std::size_t padded = (n + 7) / 8 * 8;
        if (left < padded + 8) return outcome(KELVO_ERR_MSG_LENGTH);
        if (reader.conversion == Conversion::to_network) convert(at);
        at += 8 + padded;
    }
    return outcome(at == length ? 0 : KELVO_ERR_MSG_LENGTH);
}

}  // namespace kelvo::test
