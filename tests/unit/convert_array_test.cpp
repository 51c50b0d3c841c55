// SPDX-License-Identifier: Apache-2.0
//
// Arrays of words are converted in pieces that depend on how long they are and where they lie.
// Every length and place around the pieces' ends gives what one word after another gives.
#include <gtest/gtest.h>

#include <algorithm>

#include "kelvo_common_msg_registration.h"
#include "support/wire_bytes.h"

using namespace kelvo::test;

namespace {

constexpr std::size_t kFixed = sizeof(kelvo_msg_reg_activate);

/// A registration activate in host order: words that differ in all four bytes.
Bytes activate(std::uint32_t entries) {
    Bytes message(kFixed + std::size_t{entries} * 4);
    for (std::size_t i = 0; i < message.size(); ++i) {
        message[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    }
    put_word(message, offsetof(kelvo_msg_reg_activate, entries), entries);
    return message;
}

Bytes converted(Bytes message) {
    reverse_at(message, offsetof(kelvo_msg_reg_activate, w1));
    reverse_at(message, offsetof(kelvo_msg_reg_activate, w2));
    reverse_at(message, offsetof(kelvo_msg_reg_activate, entries));
    for (std::size_t at = kFixed; at < message.size(); at += 4) reverse_at(message, at);
    return message;
}

/// What stands around a message. No two of its bytes that follow one another are alike, so that it
/// looks different when any of it is reversed.
constexpr std::uint8_t around_at(std::size_t at) {
    return static_cast<std::uint8_t>(0xA0 + at % 11);
}

/// There and back, with bytes around the message that must stay.
void expect_converted(std::uint32_t entries, std::size_t offset) {
    const Bytes host = activate(entries);
    const Bytes network = converted(host);
    constexpr std::size_t kAround = 40;
    Bytes around(kAround + offset + host.size() + kAround);
    for (std::size_t at = 0; at < around.size(); ++at) around[at] = around_at(at);
    Bytes block = around;
    const auto begin = block.begin() + static_cast<std::ptrdiff_t>(kAround + offset);
    std::copy(host.begin(), host.end(), begin);
    const auto length = static_cast<std::uint32_t>(host.size());
    const auto expect = [&](const Bytes& message) {
        Bytes expected = around;
        std::copy(message.begin(), message.end(),
                  expected.begin() + static_cast<std::ptrdiff_t>(kAround + offset));
        ASSERT_TRUE(block == expected) << entries << " entries at " << offset;
    };
    ASSERT_EQ(kelvo_common_msg_reg_activate_interpret_hton(&*begin, length), 0U);
    expect(network);
    ASSERT_EQ(kelvo_common_msg_reg_activate_interpret_ntoh(&*begin, length), 0U);
    expect(host);
}

}  // namespace

TEST(ConvertArray, ShortOnes) {
    for (std::uint32_t entries = 0; entries <= 40; ++entries) {
        for (std::size_t offset = 0; offset < 8; ++offset) expect_converted(entries, offset);
    }
}

TEST(ConvertArray, LongOnes) {
    for (std::uint32_t entries = 1010; entries <= 1050; ++entries) {
        for (std::size_t offset = 0; offset < 40; ++offset) expect_converted(entries, offset);
    }
}

TEST(ConvertArray, VeryLongOnes) {
    for (const std::uint32_t entries : {65'535U, 65'536U, 1'000'003U}) {
        for (std::size_t offset = 0; offset < 4; ++offset) expect_converted(entries, offset);
    }
}
