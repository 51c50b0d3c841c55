// SPDX-License-Identifier: Apache-2.0
//
// Get-items: what is composed, every step of both readers in its order, and the array of names,
// whatever number of them a message claims.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <random>

#include "kelvo_common_msg_get_items.h"
#include "platform/failing_memory.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kUnset = 0x5E5E5E5E;

/// What a reader hands out; sentinels until it does. Releases the array.
struct Out {
    static inline char unset = 0;
    static inline char* unset_array = nullptr;
    char* base = &unset;
    char** names = &unset_array;
    uint32_t count = kUnset;
    uint32_t argument = kUnset;

    Out() = default;
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;
    ~Out() {
        if (names != &unset_array) std::free(names);
    }
    [[nodiscard]] bool untouched() const {
        return base == &unset && names == &unset_array && count == kUnset && argument == kUnset;
    }
};

struct Reader {
    const char* name;
    Order order;
    decltype(&kelvo_common_msg_get_items_interpret) interpret;

    kelvo_status operator()(void* msg, std::size_t length, Out& out) const {
        return interpret(msg, static_cast<uint32_t>(length), &out.base, &out.names, &out.count,
                         &out.argument);
    }
    friend void PrintTo(const Reader& reader, std::ostream* out) { *out << reader.name; }
};

const Reader kReaders[] = {
    {"host", Order::host, kelvo_common_msg_get_items_interpret},
    {"ntoh", Order::network, kelvo_common_msg_get_items_interpret_endian_ntoh},
};

/// A message of a base path and three names, which claims `count` of them.
Bytes message(Order order, uint32_t count) {
    Message m(order, 52);
    m.word(count).word(0x01020304).text("cfg/gl/base");
    return m.text("a").text("1234567").text("12345678").bytes();
}

constexpr std::size_t kCells[] = {48, 72, 88, 104};
constexpr std::size_t kTextLengths[] = {12, 2, 8, 9};
constexpr std::size_t kSize = 128;

/// What the steps say of a message: the status and the bytes it leaves.
struct Outcome {
    kelvo_status status;
    Bytes after;
};

/// The plain account: the steps as the protocol lists them, on a copy, with all the memory of the
/// world.
Outcome expected_outcome(Order order, Bytes bytes, std::size_t length) {
    const auto word = [&](std::size_t at) {
        if (order == Order::network) reverse_at(bytes, at);
        return word_at(bytes, at);
    };
    const uint64_t count = word(40);
    (void)word(44);
    if (length < 56) return {KELVO_ERR_MSG_LENGTH, bytes};
    std::size_t at = 48;
    for (uint64_t i = 0; i <= count; ++i) {
        const std::size_t left = length - at;
        if (left < 8) return {KELVO_ERR_MSG_LENGTH, bytes};
        const std::size_t n = word(at);
        if (left < n + 8) return {KELVO_ERR_MSG_LENGTH, bytes};
        if (n == 0 || bytes[at + 8 + n - 1] != 0) return {KELVO_ERR_MSG_CONTENT, bytes};
        const std::size_t padded = (n + 7) / 8 * 8;
        if (left < padded + 8) return {KELVO_ERR_MSG_LENGTH, bytes};
        at += 8 + padded;
    }
    return {0, bytes};
}

class GetItems : public testing::TestWithParam<Reader> {
  protected:
    static const Reader& reader() { return GetParam(); }
    [[nodiscard]] static uint32_t wire(uint32_t word) {
        return reader().order == Order::network ? reversed(word) : word;
    }

    /// Reads in a block of exactly `length` bytes, or the 48 that a converting reader touches
    /// whatever the length, and compares with the plain account. Nothing may stay allocated.
    kelvo_status read(const Bytes& bytes, std::size_t length) {
        const std::size_t touched = reader().order == Order::network ? 48 : 0;
        Bytes inside = bytes;
        inside.resize(std::max(length, touched));
        Bytes padded = inside;
        padded.resize(std::max<std::size_t>(padded.size(), 48));
        Outcome expected = expected_outcome(reader().order, padded, length);
        expected.after.resize(inside.size());
        const Walled block(inside);
        kelvo_status status;
        bool untouched;
        {
            const FailingMemory count;
            {
                Out out;
                status = reader()(block.data(), length, out);
                untouched = out.untouched();
            }
            EXPECT_EQ(FailingMemory::outstanding(), 0);
            EXPECT_LE(FailingMemory::bytes(), std::max<std::size_t>(length, 8));
        }
        EXPECT_EQ(status, expected.status);
        EXPECT_EQ(untouched, status != 0);
        EXPECT_EQ(block.bytes(), expected.after);
        return status;
    }
    kelvo_status read(const Bytes& bytes) { return read(bytes, bytes.size()); }
};

TEST(GetItemsCompose, FillsFourSlotsAndThreeForEachName) {
    std::array<uint8_t, 56> header;
    header.fill(0xEE);
    kelvo_length_cell base_len{0, 0x77};
    std::array<kelvo_length_cell, 3> lens{{{0, 1}, {0, 2}, {0, 3}}};
    std::array<kelvo_slot, 11> list;
    list.fill({nullptr, 0xDEAD});
    const char* base = "cfg/gl/base";
    char a[] = "a";
    char b[] = "1234567";
    char* names[] = {a, b};
    EXPECT_EQ(kelvo_common_msg_get_items_compose(header.data(), names, &lens[0].length, base,
                                                 &base_len.length, 2, 0x01020304, list.data()),
              0U);

    Bytes expected(56, 0xEE);
    put_word(expected, 24, 52);
    put_word(expected, 40, reversed(2));
    put_word(expected, 44, reversed(0x01020304));
    EXPECT_EQ(Bytes(header.begin(), header.end()), expected);
    EXPECT_EQ(base_len.length, reversed(12));
    EXPECT_EQ(base_len.fill, 0x77U) << "the second half of a cell is not written";
    EXPECT_EQ(lens[0].length, reversed(2));
    EXPECT_EQ(lens[0].fill, 1U);
    EXPECT_EQ(lens[1].length, reversed(8));
    EXPECT_EQ(lens[1].fill, 2U);
    EXPECT_EQ(lens[2].length, 0U);
    expect_slots(list.data(), {{header.data(), 48},
                               {&base_len, 8},
                               {base, 12},
                               {kelvo_alignment, 4},
                               {&lens[0], 8},
                               {a, 2},
                               {kelvo_alignment, 6},
                               {&lens[1], 8},
                               {b, 8},
                               {kelvo_alignment, 0}});
    EXPECT_EQ(list[10].length, 0xDEADU) << "an eleventh slot was written";

    Bytes msg = flattened(list.data(), 10);
    Out out;
    ASSERT_EQ(kReaders[1](msg.data(), msg.size(), out), 0U);
    EXPECT_STREQ(out.base, "cfg/gl/base");
    ASSERT_EQ(out.count, 2U);
    EXPECT_STREQ(out.names[0], "a");
    EXPECT_STREQ(out.names[1], "1234567");
    EXPECT_EQ(out.argument, 0x01020304U);
}

TEST(GetItemsCompose, WithoutNamesThereAreFourSlots) {
    std::array<uint8_t, 48> header{};
    kelvo_length_cell base_len{0, 0};
    std::array<kelvo_slot, 5> list;
    list.fill({nullptr, 0xDEAD});
    EXPECT_EQ(kelvo_common_msg_get_items_compose(header.data(), nullptr, nullptr, "b",
                                                 &base_len.length, 0, 1, list.data()),
              0U);
    EXPECT_EQ(word_at(header.data(), 40), 0U);
    EXPECT_EQ(list[3].length, 6U);
    EXPECT_EQ(list[4].length, 0xDEADU);
}

TEST_P(GetItems, HandsOutPointersIntoTheMessageAndAnArray) {
    const Bytes sent = message(reader().order, 3);
    ASSERT_EQ(sent.size(), kSize);
    const Walled block(sent);
    Out out;
    {
        const FailingMemory count;
        ASSERT_EQ(reader()(block.data(), sent.size(), out), 0U);
        EXPECT_EQ(FailingMemory::bytes(), 3 * sizeof(char*)) << "one array, of those names alone";
    }
    EXPECT_EQ(reinterpret_cast<uint8_t*>(out.base), block.data() + 56);
    EXPECT_EQ(out.count, 3U);
    EXPECT_EQ(out.argument, 0x01020304U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(reinterpret_cast<uint8_t*>(out.names[i]), block.data() + kCells[i + 1] + 8);
    }
    EXPECT_STREQ(out.names[2], "12345678");
    EXPECT_EQ(block.bytes(), message(Order::host, 3));
}

TEST_P(GetItems, EveryTruncationIsRefused) {
    const Bytes bytes = message(reader().order, 3);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        SCOPED_TRACE(length);
        EXPECT_EQ(read(bytes, length), KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(GetItems, BytesLeftOverAreAccepted) {
    for (uint32_t count = 0; count <= 3; ++count) {
        for (const std::size_t extra : {0U, 1U, 8U, 100U}) {
            Bytes bytes = message(reader().order, count);
            bytes.resize(bytes.size() + extra);
            EXPECT_EQ(read(bytes), 0U);
        }
    }
}

TEST_P(GetItems, WithoutNamesAnArrayIsAllocatedNevertheless) {
    Bytes bytes = message(reader().order, 0);
    bytes.resize(kCells[1]);
    Out out;
    {
        const FailingMemory count;
        ASSERT_EQ(reader()(bytes.data(), bytes.size(), out), 0U);
        EXPECT_EQ(FailingMemory::outstanding(), 1);
        EXPECT_GT(FailingMemory::bytes(), 0U)
            << "some allocators answer null to a request for none";
    }
    EXPECT_NE(out.names, nullptr);
    EXPECT_NE(out.names, &Out::unset_array);
    EXPECT_EQ(out.count, 0U);
    EXPECT_STREQ(out.base, "cfg/gl/base");
}

TEST_P(GetItems, MoreNamesThanThereAreIsALengthErrorHoweverManyAreClaimed) {
    for (const uint32_t count : {4U, 5U, 0x0FFFFFFFU, 0x10000000U, 0x1FFFFFFFU, 0x20000000U,
                                 0x20000001U, 0x20000003U, 0x40000000U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(count);
        EXPECT_EQ(read(message(reader().order, count)), KELVO_ERR_MSG_LENGTH);
        Bytes bytes = message(reader().order, count);
        bytes.resize(kSize + 8);
        EXPECT_EQ(read(bytes), KELVO_ERR_MSG_CONTENT) << "a fourth name that is empty";
    }
}

TEST_P(GetItems, AsManyShortestNamesAsFitAreRead) {
    constexpr uint32_t kMany = 1000;
    Message m(reader().order, 52);
    m.word(kMany).word(0).text("b");
    for (uint32_t i = 0; i < kMany; ++i) m.text("");
    EXPECT_EQ(read(m.bytes()), 0U);
    Bytes claims_more = m.bytes();
    put_word(claims_more, 40, wire(0x20000001));
    EXPECT_EQ(read(claims_more), KELVO_ERR_MSG_LENGTH);
}

TEST_P(GetItems, ATextThatDoesNotFitIsALengthErrorHoweverLongItClaimsToBe) {
    for (const std::size_t cell : kCells) {
        const auto room = static_cast<uint32_t>(kSize - cell - 8);
        for (const uint32_t length : {room + 1, 0x80000000U, 0xFFFFFFF0U, 0xFFFFFFF7U, 0xFFFFFFF8U,
                                      0xFFFFFFF9U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(testing::Message() << "cell " << cell << " of length " << length);
            Bytes bytes = message(reader().order, 3);
            put_word(bytes, cell, wire(length));
            EXPECT_EQ(read(bytes), KELVO_ERR_MSG_LENGTH);
        }
    }
}

TEST_P(GetItems, AnEmptyOrUnterminatedTextIsContent) {
    for (std::size_t i = 0; i < 4; ++i) {
        for (const uint32_t length : {0U, static_cast<uint32_t>(kTextLengths[i] - 1)}) {
            SCOPED_TRACE(testing::Message() << "text " << i << " of length " << length);
            Bytes bytes = message(reader().order, 3);
            put_word(bytes, kCells[i], wire(length));
            EXPECT_EQ(read(bytes), KELVO_ERR_MSG_CONTENT);
            EXPECT_EQ(read(bytes, kCells[i] + 8 + length), KELVO_ERR_MSG_CONTENT)
                << "before room for the fill";
        }
    }
}

TEST_P(GetItems, DamagedMessagesComeOutAsThePlainAccountSays) {
    std::mt19937 random(52);
    const uint8_t bytes_of_interest[] = {0, 1, 2, 4, 7, 8, 9, 16, 0x20, 0x80, 0xF8, 0xFF};
    for (int round = 0; round < 5000; ++round) {
        Bytes bytes = message(reader().order, 3);
        for (std::size_t damages = 1 + random() % 3; damages > 0; --damages) {
            bytes[40 + random() % (kSize - 40)] = bytes_of_interest[random() % 12];
        }
        (void)read(bytes, random() % 3 == 0 ? random() % (kSize + 1) : kSize);
        if (HasFailure()) FAIL() << "in round " << round;
    }
}

TEST_P(GetItems, WithoutMemoryItSaysSoAfterTheBasePathAndBeforeTheNames) {
    const auto read_without_memory = [](Bytes bytes, std::size_t length) {
        Out out;
        kelvo_status status;
        {
            const FailingMemory fail(0);
            status = reader()(bytes.data(), length, out);
            EXPECT_EQ(FailingMemory::outstanding(), 0);
        }
        EXPECT_TRUE(out.untouched());
        return status;
    };
    for (const uint32_t count : {0U, 3U, 0x20000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(read_without_memory(message(reader().order, count), kSize), KELVO_ERR_NO_MEMORY);
    }
    Bytes bytes = message(reader().order, 3);
    put_word(bytes, kCells[1], 0);
    EXPECT_EQ(read_without_memory(bytes, kSize), KELVO_ERR_NO_MEMORY);
    put_word(bytes, kCells[0], 0);
    EXPECT_EQ(read_without_memory(bytes, kSize), KELVO_ERR_MSG_CONTENT);
    EXPECT_EQ(read_without_memory(bytes, 55), KELVO_ERR_MSG_LENGTH);
}

TEST_P(GetItems, IsReadAtAnyAddress) {
    const Bytes sent = message(reader().order, 3);
    for (std::size_t shift = 1; shift < 8; ++shift) {
        Bytes shifted(shift);
        shifted.insert(shifted.end(), sent.begin(), sent.end());
        Out out;
        ASSERT_EQ(reader()(shifted.data() + shift, sent.size(), out), 0U);
        EXPECT_STREQ(out.names[1], "1234567");
    }
}

INSTANTIATE_TEST_SUITE_P(, GetItems, testing::ValuesIn(kReaders),
                         [](const auto& row) { return row.param.name; });

}  // namespace
