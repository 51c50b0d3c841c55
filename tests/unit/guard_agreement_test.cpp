// SPDX-License-Identifier: Apache-2.0
//
// The guard says of every message what becomes of the operation: it is run on exactly the
// message's bytes, between bytes that may not be touched, and the two must agree both ways. So no
// message that an operation stays inside is refused, and none that it does not is passed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cassert>

#include "platform/failing_memory.h"
#include "support/fenced.h"
#include "support/operation_messages.h"
#include "support/operations.h"
#include "support/random.h"

// The library's assertions come here, and print nothing.
extern "C" void __assert_fail(const char*, const char*, unsigned, const char*) noexcept(true) {
    kelvo::test::Observer::end(SIGABRT);
}

namespace {

using namespace kelvo::test;

class Guard : public testing::TestWithParam<kelvo_msg_operation> {
  protected:
    Guard() {
        scratch_.outputs.reserve(1 << 14);
        scratch_.text.reserve(1 << 16);
    }

    /// What becomes of the operation, and of its memory when it returns.
    Ending run_plainly(const Bytes& message, long* left_behind) {
        const LeaksAreMeant leaks;
        const FailingMemory memory;
        std::uint8_t* const at = fenced_.place(message);
        const auto length = static_cast<std::uint32_t>(message.size());
        const Ending ending = observer_.observe([&] { run(GetParam(), at, length, scratch_); });
        *left_behind = ending == Ending::returned ? FailingMemory::outstanding() : 0;
        return ending;
    }

    kelvo_status ask(const Bytes& message) {
        std::uint8_t* const at = fenced_.place(message);
        kelvo_status answer = 0;
        const Ending ending = observer_.observe([&] {
            answer =
                kelvo_common_msg_guard(GetParam(), at, static_cast<std::uint32_t>(message.size()));
        });
        EXPECT_EQ(ending, Ending::returned) << "the guard itself";
        EXPECT_TRUE(std::equal(message.begin(), message.end(), at)) << "the guard wrote";
        return answer;
    }

    /// Both, compared.
    void expect_agreement(const Bytes& message) {
        const kelvo_status answer = ask(message);
        long left_behind = 0;
        const Ending ending = run_plainly(message, &left_behind);
        const bool harmless = ending == Ending::returned && left_behind == 0;
        EXPECT_EQ(answer == 0, harmless)
            << "length " << message.size() << ", answer " << std::hex << answer << ", ending "
            << static_cast<int>(ending) << ", left behind " << left_behind;
        if (ending == Ending::reached_outside) {
            EXPECT_EQ(answer, KELVO_ERR_MSG_LENGTH);
        }
        if (ending == Ending::stopped) {
            EXPECT_EQ(answer, KELVO_ERR_MSG_CONTENT);
        }
    }

  private:
    Fenced fenced_;
    Observer observer_;
    Outcome scratch_;
};

/// Numbers that lengths and counts should not be, and some that they may.
constexpr std::uint32_t kStrange[] = {
    0,          1,          2,          3,          7,          8,          9,
    15,         16,         17,         24,         33,         64,         0xFF,
    0x100,      0xFFFF,     0x10000,    0x10001,    0x10100,    0x1000000,  0x7FFFFFFF,
    0x80000000, 0xFFFFFFF0, 0xFFFFFFF7, 0xFFFFFFF8, 0xFFFFFFF9, 0xFFFFFFFF, 0x12345678};

TEST_P(Guard, PassesWhatIsWellFormed) {
    for (const Bytes& message : messages_for(GetParam())) {
        EXPECT_EQ(ask(message), 0U);
        expect_agreement(message);
    }
}

TEST_P(Guard, AgreesOnEveryTruncation) {
    for (const Bytes& message : messages_for(GetParam())) {
        for (std::size_t length = 0; length <= message.size() && !HasFailure(); ++length) {
            expect_agreement(Bytes(message.begin(), message.begin() + static_cast<long>(length)));
        }
    }
}

TEST_P(Guard, AgreesOnBytesLeftOver) {
    for (Bytes message : messages_for(GetParam())) {
        for (int more = 0; more < 48 && !HasFailure(); ++more) {
            message.push_back(static_cast<std::uint8_t>(more % 5 == 0 ? more : 0));
            expect_agreement(message);
        }
    }
}

TEST_P(Guard, AgreesOnStrangeNumbersInEveryPlace) {
    for (const Bytes& message : messages_for(GetParam())) {
        for (std::size_t at = 0; at + 4 <= message.size() && !HasFailure(); at += 4) {
            for (const std::uint32_t number : kStrange) {
                for (const std::uint32_t word : {number, reversed(number)}) {
                    Bytes changed = message;
                    put_word(changed, at, word);
                    expect_agreement(changed);
                }
            }
        }
    }
}

TEST_P(Guard, AgreesOnMessagesThatAreAltered) {
    Random random(GetParam());
    const std::vector<Bytes> messages = messages_for(GetParam());
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        Bytes message = messages[random.below(static_cast<std::uint32_t>(messages.size()))];
        const auto words = static_cast<std::uint32_t>(message.size() / 4);
        for (std::uint32_t changes = 1 + random.below(3); changes > 0; --changes) {
            std::uint32_t number =
                random.below(3) == 0 ? random.pick(kStrange) : random.below(4 * words + 16);
            if (random.below(2) == 0) number = reversed(number);
            put_word(message, 4 * std::size_t{random.below(words)}, number);
        }
        if (random.below(2) == 0) message.resize(random.below(4 * words + 24));
        expect_agreement(message);
    }
}

TEST_P(Guard, AgreesOnMessagesOfChance) {
    Random random(1000 + GetParam());
    constexpr std::uint32_t kLikely[] = {0, 0, 0, 1, 1, 2, 3, 4, 8, 9, 12, 16, 17, 24};
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        Bytes message(random.below(260));
        for (std::size_t at = 0; at + 4 <= message.size(); at += 4) {
            std::uint32_t number = random.pick(kLikely);
            if (random.below(15) == 0) number = random.pick(kStrange);
            if (random.below(40) == 0) number = random.word();
            put_word(message, at, random.below(2) == 0 ? number : reversed(number));
        }
        expect_agreement(message);
    }
}

std::vector<kelvo_msg_operation> all_operations() {
    std::vector<kelvo_msg_operation> all;
    for (std::uint32_t i = 0; i < KELVO_OPERATION_COUNT; ++i) {
        all.push_back(static_cast<kelvo_msg_operation>(i));
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Operations, Guard, testing::ValuesIn(all_operations()),
                         [](const auto& row) { return std::string(name_of(row.param)); });

}  // namespace
