// SPDX-License-Identifier: Apache-2.0
//
// A message decoded to JSON and encoded again is the same bytes, whatever is wrong with it and
// whatever message it is taken for.
#include <gtest/gtest.h>

#include "message_json.h"
#include "protocol/random_messages.h"

namespace {

using namespace kelvo::test;
namespace codec = kelvo::codec;

const codec::Description& description() {
    return codec::Description::built_in();
}

/// Through the text that a program would read and write.
void expect_same(const std::vector<std::uint8_t>& bytes, const codec::Hints& hints) {
    const codec::Decoded decoded = decode(description(), bytes, hints);
    const std::string text = to_json(description(), decoded).dump();
    const auto again = from_json(description(), codec::Json::parse(text));
    ASSERT_EQ(codec::to_hex(again), codec::to_hex(bytes)) << text;
}

TEST(RoundTrip, OfWellFormedAndDamagedMessages) {
    Random random(1);
    for (const codec::Message& message : description().messages()) {
        for (int round = 0; round < 40 && !HasFailure(); ++round) {
            const codec::Order order = round % 2 == 0 ? codec::kNetwork : codec::kNative;
            auto bytes = from_json(description(), random_message(random, message, order));
            for (int damages = 0; damages < 6; ++damages) {
                expect_same(bytes, {});
                expect_same(bytes, {&message, order});
                expect_same(bytes, {&message, codec::opposite(order)});
                damage(random, bytes);
            }
        }
    }
}

TEST(RoundTrip, OfMessagesTakenForOthers) {
    Random random(2);
    for (const codec::Message& message : description().messages()) {
        for (const codec::Message& other : description().messages()) {
            const auto bytes =
                from_json(description(), random_message(random, message, codec::kNetwork));
            expect_same(bytes, {&other, std::nullopt});
        }
    }
}

TEST(RoundTrip, OfEveryTruncation) {
    Random random(3);
    for (const codec::Message& message : description().messages()) {
        auto bytes = from_json(description(), random_message(random, message, codec::kNetwork));
        for (; !bytes.empty(); bytes.pop_back()) expect_same(bytes, {&message, codec::kNetwork});
    }
}

}  // namespace
