// SPDX-License-Identifier: Apache-2.0
//
// Messages of tests, operations run on them, and what their models say.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <numeric>

#include "models/models.h"
#include "support/operations.h"
#include "support/random.h"
#include "support/startup_lists.h"
#include "support/wire_bytes.h"

namespace kelvo::test {

/// Runs an operation on the first `length` bytes of a message, in a buffer exactly as large as the
/// steps of its model reach. Outcome and buffer must be those of the model. @return the outcome
inline Outcome outcome_as_modelled(kelvo_msg_operation operation, const Bytes& message,
                                   std::uint32_t length) {
    const model::Model& model = model::model_of(operation);
    Bytes buffer(message);
    buffer.resize(std::max<std::size_t>({message.size(), length, model.reach.least}) + 64);
    // No two that follow one another are alike, so that what is reversed there looks different.
    std::iota(buffer.begin() + static_cast<std::ptrdiff_t>(message.size()), buffer.end(),
              std::uint8_t{0xB0});
    model::Message steps(buffer.data(), buffer.size(), length);
    model::Expected expected;
    expected.outcome.status = model.steps(steps, expected);
    buffer.resize(std::max<std::size_t>(steps.reach(), length));

    const LeaksAreMeant leaks;
    const Walled block(buffer);
    Outcome outcome;
    run(operation, block.data(), length, outcome);
    EXPECT_EQ(outcome, expected.outcome) << name_of(operation) << ", length " << length;
    EXPECT_EQ(block.bytes(), Bytes(steps.after(), steps.after() + buffer.size()))
        << name_of(operation) << ", length " << length;
    return outcome;
}
/// The same. @return the status
inline std::uint32_t expect_as_modelled(kelvo_msg_operation operation, const Bytes& message,
                                        std::uint32_t length) {
    return outcome_as_modelled(operation, message, length).status;
}

using Converter = std::uint32_t (*)(void*, std::uint32_t);

struct Conversion {
    kelvo_msg_operation operation;
    Order from;  ///< network for a receiver
    Converter convert;
};

/// Random messages: words that are small, or huge, or multiples of 8, in the order that the
/// converter expects; every length from `shortest` up to a few dozen bytes beyond the fixed part.
/// `prepare(message, random)` sets what must not be left to chance.
template <class Prepare>
void expect_random_messages_as_modelled(const Conversion& conversion, std::uint32_t shortest,
                                        std::uint32_t fixed, Prepare prepare) {
    Random random(fixed + conversion.operation);
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
        expect_as_modelled(conversion.operation, message, length);
        if (testing::Test::HasFailure()) return;
    }
}

/// Every length from `shortest` up to the whole of a valid message, which must succeed.
inline void expect_lengths_as_modelled(const Conversion& conversion, const Bytes& valid,
                                       std::uint32_t shortest) {
    for (std::uint32_t length = shortest; length <= valid.size(); ++length) {
        const std::uint32_t status = expect_as_modelled(conversion.operation, valid, length);
        EXPECT_TRUE(status == 0 || length < valid.size()) << name_of(conversion.operation);
    }
}

}  // namespace kelvo::test
