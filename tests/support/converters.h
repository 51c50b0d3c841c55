// SPDX-License-Identifier: Apache-2.0
//
// Checking converters against models. A model is the slow, plain reading of the steps that a
// converter is defined by, over a buffer that is large enough for whatever the steps touch. Status
// and every byte of the buffer must come out alike.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

#include "support/random.h"
#include "support/wire_bytes.h"

namespace kelvo::test {

/// A message in a larger buffer, as the models see it. Offsets are 64 bits wide; what lies outside
/// the buffer is a test's mistake.
class ModelMessage {
  public:
    ModelMessage(Bytes& bytes, std::uint32_t length) : len(length), bytes_(bytes) {}

    [[nodiscard]] std::uint32_t read(std::uint64_t offset) const {
        return word_at(bytes_, checked(offset, 4));
    }
    [[nodiscard]] std::vector<std::uint32_t> read_each(
        std::initializer_list<std::uint64_t> offsets) const {
        std::vector<std::uint32_t> words;
        for (const std::uint64_t offset : offsets) words.push_back(read(offset));
        return words;
    }
    [[nodiscard]] std::uint8_t byte(std::uint64_t offset) const {
        return bytes_[checked(offset, 1)];
    }
    void convert(std::uint64_t offset) { reverse_at(bytes_, checked(offset, 4)); }
    /// Converts each of the words at these offsets from `base` on.
    void convert_each(std::initializer_list<std::uint64_t> offsets, std::uint64_t base = 0) {
        for (const std::uint64_t offset : offsets) convert(base + offset);
    }
    /// Converts, and then reads.
    std::uint32_t converted(std::uint64_t offset) {
        convert(offset);
        return read(offset);
    }
    void convert_value(std::uint32_t type, std::uint64_t offset) {
        const std::uint32_t width = type == 1 || type == 12    ? 4
                                    : type == 2 || type == 13  ? 8
                                    : type == 10 || type == 11 ? 2
                                                               : 0;
        const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(checked(offset, width));
        std::reverse(first, first + width);
    }

    const std::uint64_t len;

  private:
    [[nodiscard]] std::size_t checked(std::uint64_t offset, std::size_t width) const {
        if (offset + width > bytes_.size()) {
            ADD_FAILURE() << "the model reaches to " << offset + width;
            std::abort();
        }
        return static_cast<std::size_t>(offset);
    }

    Bytes& bytes_;
};

inline std::uint64_t model_pad8(std::uint64_t length) {
    return (length + 7) / 8 * 8;
}

using Converter = std::uint32_t (*)(void*, std::uint32_t);
using ConverterModel = std::uint32_t (*)(ModelMessage&);

struct Conversion {
    const char* name;
    Order from;  ///< network for a receiver
    Converter convert;
    ConverterModel model;
    std::uint32_t touched;  ///< bytes that the buffer must hold whatever the length
    std::uint32_t beyond;   ///< bytes that the buffer must hold beyond the message
    friend void PrintTo(const Conversion& conversion, std::ostream* out) {
        *out << conversion.name;
    }
};

/// Converts the first `length` bytes of a message in a buffer exactly as large as it must be, and
/// compares with the model. @return the status
inline std::uint32_t expect_as_modelled(const Conversion& conversion, const Bytes& message,
                                        std::uint32_t length) {
    Bytes buffer(message);
    buffer.resize(std::max<std::size_t>(length + conversion.beyond, conversion.touched), 0xEE);
    const Walled block(buffer);
    const std::uint32_t status = conversion.convert(block.data(), length);
    ModelMessage model(buffer, length);
    EXPECT_EQ(status, conversion.model(model)) << conversion.name << ", length " << length;
    EXPECT_EQ(block.bytes(), buffer) << conversion.name << ", length " << length;
    return status;
}

/// Random messages: words that are small, or huge, or multiples of 8, in the order that the
/// converter expects; every length from `shortest` up to a few dozen bytes beyond the fixed part.
/// `prepare(message, random)` sets what must not be left to chance.
template <class Prepare>
void expect_random_messages_as_modelled(const Conversion& conversion, std::uint32_t shortest,
                                        std::uint32_t fixed, Prepare prepare) {
    Random random(fixed + conversion.beyond);
    const std::uint32_t sizes[] = {0, 0, 1, 1, 2, 3, 4, 7, 8, 9, 12, 13, 16, 17, 24, 32, 33};
    const std::uint32_t strange[] = {64,         0x80,       0x01000000, 0x08000000, 0xFFFFFFF0,
                                     0xFFFFFFF8, 0xFFFFFFF9, 0xFFFFFFFF, 0x80000000, 0x00010000};
    for (std::uint32_t round = 0; round < 10000; ++round) {
        const std::uint32_t length = shortest + random.below(fixed + 120 - shortest);
        Bytes message(length + 64);
        for (std::size_t at = 0; at + 4 <= message.size(); at += 4) {
            std::uint32_t word = random.pick(sizes);
            if (random.below(12) == 0) word = random.pick(strange);
            if (random.below(40) == 0) word = random.word();
            const bool other_order = random.below(20) == 0;
            const bool network = (conversion.from == Order::network) != other_order;
            put_word(message, at, network ? reversed(word) : word);
        }
        prepare(message, random);
        expect_as_modelled(conversion, message, length);
        if (testing::Test::HasFailure()) return;
    }
}

/// Every length from `shortest` up to the whole of a valid message, which must succeed.
inline void expect_lengths_as_modelled(const Conversion& conversion, const Bytes& valid,
                                       std::uint32_t shortest) {
    for (std::uint32_t length = shortest; length <= valid.size(); ++length) {
        const std::uint32_t status = expect_as_modelled(conversion, valid, length);
        EXPECT_TRUE(status == 0 || length < valid.size()) << conversion.name;
    }
}

}  // namespace kelvo::test
