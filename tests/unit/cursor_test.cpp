// SPDX-License-Identifier: Apache-2.0
//
// The cursor, the one gate between claimed lengths and bytes: every small block with every length
// word, against the tests written out plainly.
#include <gtest/gtest.h>

#include <algorithm>

#include "kelvo_wire.h"
#include "support/wire_bytes.h"

namespace {

using namespace kelvo::test;
using kelvo::wire::Cell;
using kelvo::wire::Cursor;
using kelvo::wire::FromNetwork;
using kelvo::wire::HostOrder;
using kelvo::wire::ToNetwork;

using Wide = uint64_t;

Wide filled(uint32_t n) {
    return (Wide{n} + 7) / 8 * 8;
}

/// The four tests of a counted string, in arithmetic that cannot wrap.
kelvo_status expected_text(const Bytes& block, uint32_t n) {
    const Wide left = block.size();
    if (left < 8) return KELVO_ERR_MSG_LENGTH;
    if (left < Wide{n} + 8) return KELVO_ERR_MSG_LENGTH;
    if (n == 0 || block[8 + n - 1] != 0) return KELVO_ERR_MSG_CONTENT;
    if (left < filled(n) + 8) return KELVO_ERR_MSG_LENGTH;
    return 0;
}

kelvo_status expected_value(const Bytes& block, uint32_t n) {
    const Wide left = block.size();
    if (left < 8 || filled(n) + 8 > left) return KELVO_ERR_MSG_LENGTH;
    return 0;
}

std::vector<uint32_t> lengths() {
    std::vector<uint32_t> words;
    for (uint32_t n = 0; n < 48; ++n) words.push_back(n);
    for (uint32_t n = 0; n < 20; ++n) {
        words.push_back(0xFFFFFFFF - n);
        words.push_back(0x80000000 - 10 + n);
        words.push_back(0x01000000 * n);
    }
    return words;
}

/// Runs over blocks of 0 to 40 bytes, each with every length word and with a NUL nowhere,
/// everywhere or at one place.
template <class Check>
void for_each_block(Check check) {
    for (std::size_t size = 0; size <= 40; ++size) {
        for (const uint32_t n : lengths()) {
            for (int nul = -2; nul < 32; ++nul) {
                Bytes block(size, nul == -2 ? 0 : 'x');
                if (nul >= 0 && 8 + static_cast<std::size_t>(nul) < size)
                    block[8 + static_cast<std::size_t>(nul)] = 0;
                check(block, n);
            }
        }
    }
}

/// Puts a length word into a block that may be too small for it; what does not fit is left out.
void put_partly(Bytes& block, uint32_t word) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&word);
    std::copy_n(bytes, std::min<std::size_t>(4, block.size()), block.begin());
}

TEST(CursorText, HostOrderPassesExactlyTheFourTests) {
    for_each_block([](Bytes block, uint32_t n) {
        put_partly(block, n);
        const Bytes before = block;
        HostOrder order;
        Cursor in(order, block.data(), block.size());
        char* text = nullptr;
        const kelvo_status status = in.text(&text);
        ASSERT_EQ(status, expected_text(before, n)) << block.size() << " bytes, length " << n;
        ASSERT_EQ(block, before);
        if (status == 0) {
            ASSERT_EQ(reinterpret_cast<uint8_t*>(text), block.data() + 8);
            ASSERT_EQ(in.at() - block.data(), static_cast<std::ptrdiff_t>(filled(n)) + 8);
        } else {
            ASSERT_EQ(text, nullptr);
            ASSERT_EQ(in.at(), block.data()) << "a cursor does not move when a test fails";
        }
        ASSERT_EQ(in.left(), block.size() - static_cast<std::size_t>(in.at() - block.data()));
    });
}

TEST(CursorText, FromNetworkConvertsTheCellOnceThereIsRoom) {
    for_each_block([](Bytes block, uint32_t n) {
        put_partly(block, reversed(n));
        Bytes after = block;
        if (block.size() >= 8) reverse_at(after, 0);
        const kelvo_status expected = expected_text(block, n);
        FromNetwork order;
        Cursor in(order, block.data(), block.size());
        char* text;
        ASSERT_EQ(in.text(&text), expected);
        ASSERT_EQ(block, after);
    });
}

TEST(CursorText, FromNetworkCanConvertTheCellBeforeThereIsRoom) {
    for_each_block([](Bytes block, uint32_t n) {
        const std::size_t size = block.size();
        const kelvo_status expected = expected_text(block, n);
        block.resize(std::max<std::size_t>(size, 4));
        put_partly(block, reversed(n));
        Bytes after = block;
        reverse_at(after, 0);
        FromNetwork order;
        Cursor in(order, block.data(), size);
        char* text;
        ASSERT_EQ(in.text(&text, Cell::before_room), expected);
        ASSERT_EQ(block, after);
    });
}

TEST(CursorText, ToNetworkConvertsTheCellOnlyAfterItsTests) {
    for (const Cell touch : {Cell::after_room, Cell::before_room}) {
        for_each_block([touch](Bytes block, uint32_t n) {
            put_partly(block, n);
            const Bytes before = block;
            ToNetwork order;
            Cursor in(order, block.data(), block.size());
            char* text;
            const kelvo_status status = in.text(&text, touch);
            ASSERT_EQ(status, expected_text(before, n));
            Bytes after = before;
            if (status == 0) reverse_at(after, 0);
            ASSERT_EQ(block, after);
        });
    }
}

TEST(CursorValue, MayBeEmptyAndNeedsRoomForItsFill) {
    for_each_block([](Bytes block, uint32_t n) {
        put_partly(block, n);
        const Bytes before = block;
        HostOrder order;
        Cursor in(order, block.data(), block.size());
        uint8_t* value = nullptr;
        uint32_t length = 0x5E5E5E5E;
        const kelvo_status status = in.value(&value, &length);
        ASSERT_EQ(status, expected_value(before, n)) << block.size() << " bytes, length " << n;
        ASSERT_EQ(length, status == 0 ? n : 0x5E5E5E5E);
        ASSERT_EQ(value, status == 0 ? block.data() + 8 : nullptr);
        ASSERT_EQ(in.at() - block.data(),
                  status == 0 ? static_cast<std::ptrdiff_t>(filled(n)) + 8 : 0);
    });
}

TEST(CursorValue, IsConvertedOnceThereIsRoomOrAfterItsTests) {
    for_each_block([](Bytes block, uint32_t n) {
        put_partly(block, reversed(n));
        const Bytes before = block;
        FromNetwork order;
        Cursor in(order, block.data(), block.size());
        uint8_t* value = nullptr;
        uint32_t length = 0;
        const kelvo_status status = in.value(&value, &length);
        Bytes after = before;
        if (before.size() >= 8) reverse_at(after, 0);
        ASSERT_EQ(status, expected_value(after, n));
        ASSERT_EQ(block, after);
    });
    for_each_block([](Bytes block, uint32_t n) {
        put_partly(block, n);
        const Bytes before = block;
        ToNetwork order;
        Cursor in(order, block.data(), block.size());
        uint8_t* value = nullptr;
        uint32_t length = 0;
        const kelvo_status status = in.value(&value, &length);
        Bytes after = before;
        if (status == 0) reverse_at(after, 0);
        ASSERT_EQ(status, expected_value(before, n));
        ASSERT_EQ(block, after);
    });
}

TEST(CursorCell, NeedsEightBytes) {
    for (std::size_t size = 0; size < 20; ++size) {
        Bytes block(20);
        put_word(block, 0, reversed(7));
        FromNetwork order;
        Cursor in(order, block.data(), size);
        uint32_t word = 0;
        EXPECT_EQ(in.cell(&word), size < 8 ? KELVO_ERR_MSG_LENGTH : 0);
        EXPECT_EQ(word, size < 8 ? 0U : 7U);
        EXPECT_EQ(word_at(block, 0), size < 8 ? reversed(7) : 7);
        EXPECT_EQ(in.left(), size < 8 ? size : size - 8);
    }
}

TEST(CursorSkip, NeedsTheBytesItPasses) {
    Bytes block(8);
    HostOrder order;
    Cursor in(order, block.data(), 8);
    EXPECT_EQ(in.skip(9), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(in.left(), 8U);
    EXPECT_EQ(in.end(), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(in.skip(8), 0U);
    EXPECT_EQ(in.end(), 0U);
}

}  // namespace
