// SPDX-License-Identifier: Apache-2.0
//
// Conversion of list and data-list replies: its lenient checks to the letter, and exactly how far
// beyond the reply it goes.
#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "kelvo_common_msg_list.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

enum class Kind { list, datalist };

void PrintTo(Kind kind, std::ostream* out) {
    *out << (kind == Kind::list ? "list" : "datalist");
}

kelvo_status convert(Kind kind, uint8_t* reply, std::size_t length) {
    return kind == Kind::list
               ? kelvo_lib_rply_list_interpret_endian_ntoh(reply, static_cast<uint32_t>(length))
               : kelvo_lib_rply_datalist_interpret_endian_ntoh(reply,
                                                               static_cast<uint32_t>(length));
}

/// Writes a reply piece by piece. What conversion does not touch stands out.
class Reply {
  public:
    Reply(Order order, uint32_t groups) : order_(order) {
        for (uint8_t i = 0; i < 16; ++i) bytes_.push_back(static_cast<uint8_t>(0xB0 + i));
        word(groups).raw_word(0x0A0B0C0D);
    }
    Reply& group(uint32_t entries) {
        for (uint32_t i = 0; i < 5; ++i) word(0x61000000 + i);
        return word(entries).word(0x61000006).word(0x61000007);
    }
    Reply& list_entry(const std::string& name) {
        return word(0xE1).word(0xE2).cell(static_cast<uint32_t>(name.size() + 1)).text(name);
    }
    Reply& datalist_entry(uint32_t type, const std::string& name, const Bytes& first,
                          const Bytes& second) {
        word(type).word(0xE2).cell(static_cast<uint32_t>(name.size() + 1)).text(name);
        return value(type, first).value(type, second);
    }
    Reply& word(uint32_t value) {
        return raw_word(order_ == Order::network ? reversed(value) : value);
    }
    Reply& cell(uint32_t value) { return word(value).raw_word(0x0C0D0E0F); }
    [[nodiscard]] const Bytes& bytes() const { return bytes_; }
    [[nodiscard]] std::size_t size() const { return bytes_.size(); }

  private:
    Reply& raw_word(uint32_t word) {
        bytes_.resize(bytes_.size() + 4);
        put_word(bytes_, bytes_.size() - 4, word);
        return *this;
    }
    Reply& text(const std::string& text) {
        bytes_.insert(bytes_.end(), text.c_str(), text.c_str() + text.size() + 1);
        return fill();
    }
    /// A value given in host order.
    Reply& value(uint32_t type, Bytes value) {
        const std::size_t width = type == 1 || type == 12    ? 4
                                  : type == 2 || type == 13  ? 8
                                  : type == 10 || type == 11 ? 2
                                                             : 0;
        if (order_ == Order::network && !value.empty()) {
            std::reverse(value.begin(), value.begin() + static_cast<std::ptrdiff_t>(width));
        }
        cell(static_cast<uint32_t>(value.size()));
        bytes_.insert(bytes_.end(), value.begin(), value.end());
        return fill();
    }
    Reply& fill() {
        bytes_.resize((bytes_.size() + 7) / 8 * 8);
        return *this;
    }

    Order order_;
    Bytes bytes_;
};

/// The plain account of a conversion: the steps as the protocol lists them, on a copy that grows as
/// far as it is touched.
class Account {
  public:
    Account(Kind kind, Bytes bytes, std::size_t length)
        : kind_(kind), length_(length), touched_(length), bytes_(std::move(bytes)) {
        bytes_.resize(std::max(bytes_.size(), length_));
    }

    /// The status, or nothing when the buffer would have to be unreasonably large.
    std::optional<kelvo_status> run() {
        if (length_ < 56) return KELVO_ERR_MSG_LENGTH;
        uint64_t pos = 24;
        for (uint64_t groups = word(16); groups > 0; --groups) {
            if (pos > kTooMuch) return std::nullopt;
            for (uint64_t i = 0; i < 8; ++i) (void)word(pos + 4 * i);
            const uint64_t entries = word_at(bytes_, pos + 20);
            pos += 32;
            for (uint64_t i = 1; i <= entries; ++i) {
                if (entry(&pos)) return KELVO_ERR_MSG_LENGTH;
                if (i < entries && length_ <= pos) return KELVO_ERR_MSG_LENGTH;
            }
        }
        return 0;
    }
    [[nodiscard]] std::size_t touched() const { return touched_; }
    /// The buffer that the conversion needs, and what it leaves there.
    [[nodiscard]] Bytes needed(Bytes bytes) const {
        bytes.resize(touched_);
        return bytes;
    }
    [[nodiscard]] Bytes after() const { return needed(bytes_); }

  private:
    static constexpr uint64_t kTooMuch = 1 << 16;

    /// Steps of one entry. @return whether the reply is too short
    bool entry(uint64_t* pos) {
        const uint32_t type = word(*pos);
        (void)word(*pos + 4);
        if (length_ <= *pos + 16) return true;
        const uint64_t p1 = padded(word(*pos + 8));
        if (kind_ == Kind::list) {
            *pos += 16 + p1;
            return false;
        }
        if (length_ < *pos + p1 + 24) return true;
        const uint32_t l2 = word(*pos + 16 + p1);
        if (l2 > 0) value(type, *pos + 24 + p1);
        const uint64_t p2 = padded(l2);
        if (length_ < *pos + p1 + p2 + 32) return true;
        const uint32_t l3 = word(*pos + 24 + p1 + p2);
        if (l3 > 0) value(type, *pos + 32 + p1 + p2);
        *pos += 32 + p1 + p2 + padded(l3);
        return false;
    }
    static uint64_t padded(uint64_t length) { return (length + 7) / 8 * 8; }
    uint32_t word(uint64_t at) {
        reverse(at, 4);
        return word_at(bytes_, at);
    }
    void value(uint32_t type, uint64_t at) {
        const uint64_t widths[] = {0, 4, 8, 0, 0, 0, 0, 0, 0, 0, 2, 2, 4, 8};
        if (type < 14 && widths[type] != 0) reverse(at, widths[type]);
    }
    void reverse(uint64_t at, uint64_t width) {
        touched_ = std::max<std::size_t>(touched_, at + width);
        if (bytes_.size() < touched_) bytes_.resize(touched_);
        std::reverse(bytes_.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes_.begin() + static_cast<std::ptrdiff_t>(at + width));
    }

    Kind kind_;
    std::size_t length_;
    std::size_t touched_;
    Bytes bytes_;
};

/// Converts the first `length` bytes in a block that ends where the conversion may touch no more,
/// and compares with the plain account. Nothing when that block would be unreasonably large.
std::optional<kelvo_status> converted(Kind kind, const Bytes& bytes, std::size_t length,
                                      std::size_t* touched = nullptr) {
    Account account(kind, bytes, length);
    const std::optional<kelvo_status> expected = account.run();
    if (!expected) return expected;
    const Walled block(account.needed(bytes));
    const kelvo_status status = convert(kind, block.data(), length);
    EXPECT_EQ(status, *expected);
    EXPECT_EQ(block.bytes(), account.after());
    if (touched != nullptr) *touched = account.touched();
    return status;
}
std::optional<kelvo_status> converted(Kind kind, const Bytes& bytes) {
    return converted(kind, bytes, bytes.size());
}

/// Three groups, of two entries, none and one.
Bytes list_reply(Order order) {
    Reply r(order, 3);
    r.group(2).list_entry("a").list_entry("bcdefgh").group(0).group(1).list_entry("ijklmnopq");
    return r.bytes();
}

Bytes datalist_reply(Order order) {
    Reply r(order, 3);
    r.group(2)
        .datalist_entry(1, "a", {1, 2, 3, 4}, {5, 6, 7, 8, 9})
        .datalist_entry(7, "bcdefgh", {1, 2, 3}, {});
    r.group(0).group(1).datalist_entry(2, "i", {}, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    return r.bytes();
}

Bytes valid_reply(Kind kind, Order order) {
    return kind == Kind::list ? list_reply(order) : datalist_reply(order);
}

class ListReply : public testing::TestWithParam<Kind> {};

TEST_P(ListReply, IsConvertedWhole) {
    const Bytes sent = valid_reply(GetParam(), Order::network);
    const Walled block(sent);
    EXPECT_EQ(convert(GetParam(), block.data(), sent.size()), 0U);
    EXPECT_EQ(block.bytes(), valid_reply(GetParam(), Order::host));
}

TEST_P(ListReply, IsConvertedAtAnyAddress) {
    const Bytes sent = valid_reply(GetParam(), Order::network);
    for (std::size_t shift = 1; shift < 8; ++shift) {
        Bytes shifted(shift);
        shifted.insert(shifted.end(), sent.begin(), sent.end());
        EXPECT_EQ(convert(GetParam(), shifted.data() + shift, sent.size()), 0U);
        shifted.erase(shifted.begin(), shifted.begin() + static_cast<std::ptrdiff_t>(shift));
        EXPECT_EQ(shifted, valid_reply(GetParam(), Order::host));
    }
}

TEST_P(ListReply, NullOrLessThanAGroupIsALengthErrorAndLeftAlone) {
    EXPECT_EQ(convert(GetParam(), nullptr, 0), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(convert(GetParam(), nullptr, 1000), KELVO_ERR_MSG_LENGTH);
    const Bytes sent = valid_reply(GetParam(), Order::network);
    for (std::size_t length = 0; length < 56; ++length) {
        const Walled block(Bytes(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_EQ(convert(GetParam(), block.data(), length), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(block.bytes(),
                  Bytes(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(length)));
    }
}

TEST_P(ListReply, WithoutGroupsNothingElseIsTouched) {
    Bytes sent = Reply(Order::network, 0).group(5).bytes();
    ASSERT_EQ(sent.size(), 56U);
    const Walled block(sent);
    EXPECT_EQ(convert(GetParam(), block.data(), 56), 0U);
    EXPECT_EQ(block.bytes(), sent);
}

TEST_P(ListReply, AGroupWithoutEntriesIsItsHeaderAlone) {
    const Walled block(Reply(Order::network, 1).group(0).bytes());
    EXPECT_EQ(convert(GetParam(), block.data(), 56), 0U);
    EXPECT_EQ(block.bytes(), Reply(Order::host, 1).group(0).bytes());
}

TEST_P(ListReply, EveryTruncationComesOutAsThePlainAccountSays) {
    const Bytes sent = valid_reply(GetParam(), Order::network);
    for (std::size_t length = 0; length <= sent.size(); ++length) {
        SCOPED_TRACE(length);
        ASSERT_TRUE(converted(GetParam(), sent, length).has_value());
    }
}

TEST_P(ListReply, AnEntryDueAtTheEndHasItsTwoWordsConvertedFirst) {
    const Bytes sent = Reply(Order::network, 1).group(1).word(0xE1).word(0xE2).bytes();
    const Walled block(sent);
    EXPECT_EQ(convert(GetParam(), block.data(), 56), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(block.bytes(), Reply(Order::host, 1).group(1).word(0xE1).word(0xE2).bytes());
}

TEST_P(ListReply, AnEntryNeedsAByteBeyondItsFixedPart) {
    const Bytes sent = Reply(Order::network, 1).group(1).word(0xE1).word(0xE2).cell(0).bytes();
    ASSERT_EQ(sent.size(), 72U);
    EXPECT_EQ(converted(GetParam(), sent, 72), KELVO_ERR_MSG_LENGTH);
    if (GetParam() == Kind::list) {
        EXPECT_EQ(converted(GetParam(), sent, 73), 0U) << "an empty name is not refused";
    }
}

TEST_P(ListReply, ACountOfEntriesThatAreNotThereEndsWithTheReply) {
    for (const uint32_t entries : {2U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        Reply r(Order::network, 1);
        r.group(entries);
        if (GetParam() == Kind::list) {
            r.list_entry("a");
        } else {
            r.datalist_entry(1, "a", {1, 2, 3, 4}, {});
        }
        EXPECT_EQ(converted(GetParam(), r.bytes()), KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(ListReply, GroupHeadersAfterTheFirstAreConvertedWhereverTheyFall) {
    // Three groups without entries in a reply that ends with the first.
    const Bytes sent = Reply(Order::network, 3).group(0).group(0).group(0).bytes();
    const Walled block(sent);
    EXPECT_EQ(convert(GetParam(), block.data(), 56), 0U);
    EXPECT_EQ(block.bytes(), Reply(Order::host, 3).group(0).group(0).group(0).bytes());
}

TEST_P(ListReply, OneGroupNeedsNoMoreThanEightBytesBeyondTheReply) {
    std::mt19937 random(32);
    std::size_t most = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes = valid_reply(GetParam(), Order::network);
        put_word(bytes, 16, reversed(1));
        for (std::size_t damages = random() % 4; damages > 0; --damages) {
            bytes[44 + random() % (bytes.size() - 44)] = static_cast<uint8_t>(random() % 24);
        }
        const std::size_t length = 56 + random() % (bytes.size() - 55);
        std::size_t touched = 0;
        ASSERT_TRUE(converted(GetParam(), bytes, length, &touched).has_value());
        most = std::max(most, touched - length);
        if (HasFailure()) FAIL() << "in round " << round;
    }
    EXPECT_EQ(most, 8U);
}

TEST_P(ListReply, DamagedRepliesComeOutAsThePlainAccountSays) {
    std::mt19937 random(3);
    const uint8_t bytes_of_interest[] = {0, 1, 2, 3, 7, 8, 9, 13, 16, 0x80, 0xF8, 0xFF};
    int compared = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes = valid_reply(GetParam(), Order::network);
        for (std::size_t damages = 1 + random() % 3; damages > 0; --damages) {
            bytes[16 + random() % (bytes.size() - 16)] = bytes_of_interest[random() % 12];
        }
        const std::size_t length = random() % 2 == 0 ? random() % bytes.size() : bytes.size();
        if (converted(GetParam(), bytes, length)) ++compared;
        if (HasFailure()) FAIL() << "in round " << round;
    }
    EXPECT_GT(compared, 10000);
}

INSTANTIATE_TEST_SUITE_P(, ListReply, testing::Values(Kind::list, Kind::datalist),
                         [](const auto& row) {
                             return row.param == Kind::list ? "list" : "datalist";
                         });

TEST(ListReplyEntry, OnlyTheLastNameOfAGroupMayRunPastTheEnd) {
    // Entries of 24 bytes at 56 and 80; the name of the second begins at 96.
    const Bytes sent = Reply(Order::network, 1).group(2).list_entry("a").list_entry("b").bytes();
    for (std::size_t length = 56; length <= sent.size(); ++length) {
        EXPECT_EQ(converted(Kind::list, sent, length), length > 96 ? 0 : KELVO_ERR_MSG_LENGTH)
            << length;
    }
}

TEST(ListReplyEntry, ALastNameMayClaimAnyLength) {
    for (const uint32_t claimed : {17U, 0x80000000U, 0xFFFFFFF8U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
        Reply r(Order::network, 1);
        r.group(1).word(0xE1).word(0xE2).cell(claimed).word(0);
        const Walled block(r.bytes());
        EXPECT_EQ(convert(Kind::list, block.data(), r.size()), 0U) << claimed;
        EXPECT_EQ(word_at(block.bytes(), 64), claimed);
        EXPECT_EQ(word_at(block.bytes(), 68), 0x0C0D0E0FU) << "the rest of the cell stays";
    }
}

TEST(ListReplyEntry, ANameThatIsNotTheLastMayNot) {
    for (const uint32_t claimed : {17U, 0x80000000U, 0xFFFFFFF8U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
        Reply r(Order::network, 1);
        r.group(2).word(0xE1).word(0xE2).cell(claimed).word(0).word(0);
        const Walled block(r.bytes());
        EXPECT_EQ(convert(Kind::list, block.data(), r.size()), KELVO_ERR_MSG_LENGTH) << claimed;
    }
}

TEST(ListReplyEntry, ANameNeedNotEndInNul) {
    Reply r(Order::network, 1);
    r.group(1).word(0xE1).word(0xE2).cell(8).word(0x41414141).word(0x41414141);
    const Walled block(r.bytes());
    EXPECT_EQ(convert(Kind::list, block.data(), r.size()), 0U);
}

TEST(ListReplyEntry, TheNextGroupBeginsWhereTheLastNameEndsByItsLength) {
    // The name claims 40 bytes, of which the reply holds 8; the next header falls beyond.
    Reply sent(Order::network, 2);
    sent.group(1).word(0xE1).word(0xE2).cell(40).word(0).word(0);
    const std::size_t length = sent.size();
    Bytes bytes = sent.bytes();
    bytes.resize(72 + 40);
    const Bytes header = Reply(Order::network, 0).group(0).bytes();
    bytes.insert(bytes.end(), header.begin() + 24, header.end());
    std::size_t touched = 0;
    EXPECT_EQ(converted(Kind::list, bytes, length, &touched), 0U);
    EXPECT_EQ(touched, 72U + 40 + 32);
}

TEST(DatalistReplyEntry, ValuesAreConvertedByTheirType) {
    const Bytes value = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (uint32_t type = 0; type < 16; ++type) {
        SCOPED_TRACE(type);
        const auto reply = [&](Order order) {
            return Reply(order, 1).group(1).datalist_entry(type, "name", value, value).bytes();
        };
        const Walled block(reply(Order::network));
        EXPECT_EQ(convert(Kind::datalist, block.data(), block.bytes().size()), 0U);
        EXPECT_EQ(block.bytes(), reply(Order::host));
    }
}

TEST(DatalistReplyEntry, EmptyValuesAreNotConverted) {
    // What follows an empty first value is the second cell, and after it the next entry.
    const auto reply = [](Order order) {
        return Reply(order, 1)
            .group(2)
            .datalist_entry(2, "a", {}, {})
            .datalist_entry(2, "b", {}, {})
            .bytes();
    };
    const Walled block(reply(Order::network));
    EXPECT_EQ(convert(Kind::datalist, block.data(), block.bytes().size()), 0U);
    EXPECT_EQ(block.bytes(), reply(Order::host));
}

TEST(DatalistReplyEntry, TheFirstValueIsConvertedBeforeThereIsRoomForIt) {
    // The reply ends with the first value's cell.
    Reply sent(Order::network, 1);
    sent.group(1).word(1).word(0xE2).cell(8).word(0).word(0).cell(4);
    const std::size_t length = sent.size();
    ASSERT_EQ(length, 88U);
    sent.word(0x01020304).word(0);
    const Walled block(sent.bytes());
    EXPECT_EQ(convert(Kind::datalist, block.data(), length), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(word_at(block.bytes(), 88), 0x01020304U);
    EXPECT_EQ(converted(Kind::datalist, sent.bytes(), 87), KELVO_ERR_MSG_LENGTH)
        << "without room for the cell neither is touched";
}

TEST(DatalistReplyEntry, TheSecondValueOfTheLastEntryIsConvertedBeyondTheEnd) {
    Reply sent(Order::network, 1);
    sent.group(1).word(2).word(0xE2).cell(8).word(0).word(0).cell(0).cell(8);
    const std::size_t length = sent.size();
    sent.word(0x01020304).word(0x05060708);
    const Walled block(sent.bytes());
    EXPECT_EQ(convert(Kind::datalist, block.data(), length), 0U);
    const Bytes after = block.bytes();
    EXPECT_EQ(Bytes(after.end() - 8, after.end()), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(converted(Kind::datalist, sent.bytes(), length - 1), KELVO_ERR_MSG_LENGTH);
}

TEST(DatalistReplyEntry, OnlyTheLastSecondValueOfAGroupMayRunPastTheEnd) {
    for (const uint32_t entries : {1U, 2U}) {
        for (const uint32_t claimed : {8U, 0x80000000U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
            Reply r(Order::network, 1);
            r.group(entries).word(7).word(0xE2).cell(8).word(0).word(0).cell(0).cell(claimed);
            const Walled block(r.bytes());
            EXPECT_EQ(convert(Kind::datalist, block.data(), r.size()),
                      entries == 1 ? 0 : KELVO_ERR_MSG_LENGTH)
                << claimed;
        }
    }
}

TEST(DatalistReplyEntry, ANameOrFirstValueThatDoesNotFitIsALengthError) {
    for (const uint32_t claimed : {9U, 0x80000000U, 0xFFFFFFF0U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
        Reply name(Order::network, 1);
        name.group(1).word(7).word(0xE2).cell(claimed).word(0).word(0).cell(0).word(0);
        EXPECT_EQ(converted(Kind::datalist, name.bytes()), KELVO_ERR_MSG_LENGTH) << claimed;
        Reply value(Order::network, 1);
        value.group(1).word(7).word(0xE2).cell(8).word(0).word(0);
        value.cell(claimed).word(0).word(0).cell(0);
        EXPECT_EQ(converted(Kind::datalist, value.bytes()), KELVO_ERR_MSG_LENGTH) << claimed;
    }
}

}  // namespace
