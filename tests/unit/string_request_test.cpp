// SPDX-License-Identifier: Apache-2.0
//
// Readers of requests that are a fixed part and counted strings: bind, list, data-list, find, group
// find, item locks and copy. They differ in layout, in what they convert and when; what they must
// check, and in which order, is the same, and so are these tests.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "kelvo_common_msg_bind.h"
#include "kelvo_common_msg_copy.h"
#include "kelvo_common_msg_find.h"
#include "kelvo_common_msg_list.h"
#include "kelvo_common_msg_transaction.h"
#include "support/string_request.h"

namespace {

using namespace kelvo::test;

const std::vector<std::size_t> kBindWords = {40, 44, 48, 52, 56, 60, 64, 68, 72, 76};
const std::vector<std::size_t> kListWords = {40, 44, 48, 52, 56, 60, 64, 68};
const std::vector<std::size_t> kListOut = {40, 44, 48, 52, 56, 60, 68};
const std::vector<std::size_t> kFindWords = {40, 44, 48, 52, 56, 60, 64, 68, 72, 76, 80};
const std::vector<std::size_t> kFindOut = {40, 68, 44, 48, 52, 56, 60, 80, 72, 76};

kelvo_status bind(void* msg, uint32_t length, StringsOut& out) {
    auto& w = out.word;
    return kelvo_common_msg_bind_interpret(msg, length, &w[0], &w[1], &w[2], &out.text[0], &w[3],
                                           &w[4], &w[5], &w[6], &w[7], &out.text[1], &w[8], &w[9]);
}

kelvo_status list(void* msg, uint32_t length, StringsOut& out) {
    return kelvo_common_msg_list_interpret(msg, length, &out.text[0], &out.text[1], &out.word[0],
                                           &out.word[1], &out.word[6]);
}

kelvo_status datalist(void* msg, uint32_t length, StringsOut& out) {
    return kelvo_common_msg_datalist_interpret(msg, length, &out.text[0], &out.text[1],
                                               &out.word[0], &out.word[1], &out.word[6]);
}

kelvo_status find_host(void* msg, uint32_t length, StringsOut& out) {
    return kelvo_common_msg_find_interpret(msg, length, &out.text[0], &out.text[1], &out.word[0],
                                           &out.word[1], &out.word[2], &out.word[7], &out.word[8],
                                           &out.word[9]);
}

kelvo_status find_ntoh(void* msg, uint32_t length, StringsOut& out) {
    return kelvo_common_msg_find_interpret_endian_ntoh(msg, length, &out.text[0], &out.text[1],
                                                       &out.word[0], &out.word[1], &out.word[2],
                                                       &out.word[7], &out.word[8], &out.word[9]);
}

kelvo_status find_hton(void* msg, uint32_t length, StringsOut& /*out*/) {
    return kelvo_common_msg_find_interpret_endian_hton(msg, length);
}

kelvo_status find_group(void* msg, uint32_t length, StringsOut& out) {
    return kelvo_common_msg_find_grp_ag_interpret_endian_ntoh(msg, length, &out.text[0], &out.never,
                                                              &out.word[0]);
}

template <auto kInterpret>
kelvo_status lock(void* msg, uint32_t length, StringsOut& out) {
    return kInterpret(msg, length, &out.text[0]);
}

kelvo_status copy(void* msg, uint32_t length, StringsOut& out) {
    return kelvo_common_msg_copy_subtree_interpret(msg, length, &out.text[0], &out.text[1],
                                                   &out.text[2], &out.word[0]);
}

StringReader lock_reader(const char* name, kelvo_status (*read)(void*, uint32_t, StringsOut&)) {
    return {name, Conversion::from_network, 40, {}, 1, {}, true, false, false, read};
}

const StringReader kReaders[] = {
    {"bind", Conversion::from_network, 80, kBindWords, 2, kBindWords, true, false, false, bind},
    {"list", Conversion::from_network, 72, kListWords, 2, kListOut, true, false, true, list},
    {"list_marked", Conversion::none, 72, kListWords, 2, kListOut, true, true, false, list},
    {"datalist", Conversion::from_network, 72, kListWords, 2, kListOut, true, false, true,
     datalist},
    {"datalist_marked", Conversion::none, 72, kListWords, 2, kListOut, true, true, false, datalist},
    {"find", Conversion::none, 88, kFindWords, 2, kFindOut, true, false, false, find_host},
    {"find_ntoh", Conversion::from_network, 88, kFindWords, 2, kFindOut, true, false, false,
     find_ntoh},
    {"find_hton", Conversion::to_network, 88, kFindWords, 2, {}, false, false, false, find_hton},
    {"find_group", Conversion::from_network, 48, {40}, 1, {40}, true, false, false, find_group},
    lock_reader("write_lock", lock<kelvo_common_msg_item_wrlock_interpret>),
    lock_reader("read_lock", lock<kelvo_common_msg_item_rdlock_interpret>),
    lock_reader("unlock", lock<kelvo_common_msg_item_unlock_interpret>),
    {"copy", Conversion::from_network, 48, {40}, 3, {40}, true, false, false, copy},
};

const std::vector<std::string> kTexts = {"cfg/gl/a", "oper/bc/de", "x"};

class StringRequest : public testing::TestWithParam<StringReader> {
  protected:
    static const StringReader& reader() { return GetParam(); }
    [[nodiscard]] static Bytes valid() { return reader().message(kTexts); }

    /// Where the length cell of a string of the valid message stands.
    [[nodiscard]] static std::size_t cell(std::size_t string) {
        std::size_t at = reader().fixed;
        for (std::size_t i = 0; i < string; ++i) at += 8 + (kTexts[i].size() + 8) / 8 * 8;
        return at;
    }

    /// The valid message with another length in a string's cell.
    [[nodiscard]] static Bytes with_length(std::size_t string, uint32_t length) {
        Bytes bytes = valid();
        put_word(bytes, cell(string),
                 reader().takes() == Order::network ? reversed(length) : length);
        return bytes;
    }

    /// Reads `length` bytes in a block that ends where the reader may touch no more, and compares
    /// what it leaves with the plain account.
    void read(const Bytes& bytes, std::size_t length) {
        const StringsOutcome expected = expected_outcome(reader(), bytes, length);
        Bytes inside = bytes;
        inside.resize(expected.touched);
        block_ = std::make_unique<Walled>(inside);
        out_ = StringsOut();
        status_ = reader().read(block_->data(), static_cast<uint32_t>(length), out_);
        EXPECT_EQ(status_, expected.status);
        Bytes after = expected.after;
        after.resize(expected.touched);
        EXPECT_EQ(block_->bytes(), after);
        EXPECT_TRUE(status_ == 0 || out_.untouched());
    }
    void read(const Bytes& bytes) { read(bytes, bytes.size()); }

    void expect_refused(kelvo_status status) {
        EXPECT_EQ(status_, status);
        EXPECT_TRUE(out_.untouched());
    }

    std::unique_ptr<Walled> block_;
    StringsOut out_;
    kelvo_status status_ = kUnset;
};

TEST_P(StringRequest, HandsOutItsFieldsAndLeavesTheOtherByteOrder) {
    read(valid());
    ASSERT_EQ(status_, 0U);
    for (std::size_t i = 0; i < reader().handed_out.size(); ++i) {
        EXPECT_EQ(out_.word[i], StringReader::value_at(reader().handed_out[i])) << "word " << i;
    }
    for (std::size_t i = reader().handed_out.size(); i < out_.word.size(); ++i) {
        EXPECT_EQ(out_.word[i], kUnset) << "word " << i;
    }
    for (std::size_t i = 0; reader().hands_out_texts && i < reader().strings; ++i) {
        EXPECT_EQ(reinterpret_cast<uint8_t*>(out_.text[i]), block_->data() + cell(i) + 8);
        EXPECT_STREQ(out_.text[i], kTexts[i].c_str());
    }
    EXPECT_EQ(out_.never, kUnset);
    Bytes twin = reader().message(reader().leaves(), kTexts);
    if (reader().marks) put_word(twin, 20, 0x12345678);
    EXPECT_EQ(block_->bytes(), twin);
}

TEST_P(StringRequest, EveryTruncationIsRefused) {
    const Bytes bytes = valid();
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        SCOPED_TRACE(length);
        read(bytes, length);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(StringRequest, BytesLeftOverAreRefused) {
    for (const std::size_t extra : {1U, 8U, 16U}) {
        Bytes bytes = valid();
        bytes.resize(bytes.size() + extra);
        read(bytes);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(StringRequest, AStringThatDoesNotFitIsALengthErrorHoweverLongItClaimsToBe) {
    for (std::size_t i = 0; i < reader().strings; ++i) {
        const auto room = static_cast<uint32_t>(valid().size() - cell(i) - 8);
        for (const uint32_t length : {room + 1, room + 8, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF0U,
                                      0xFFFFFFF7U, 0xFFFFFFF8U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(testing::Message() << "string " << i << " of length " << length);
            read(with_length(i, length));
            expect_refused(KELVO_ERR_MSG_LENGTH);
        }
    }
}

TEST_P(StringRequest, AnEmptyOrUnterminatedStringIsContent) {
    for (std::size_t i = 0; i < reader().strings; ++i) {
        const auto length = static_cast<uint32_t>(kTexts[i].size() + 1);
        for (const uint32_t wrong : {0U, length - 1}) {
            SCOPED_TRACE(testing::Message() << "string " << i << " of length " << wrong);
            read(with_length(i, wrong));
            expect_refused(KELVO_ERR_MSG_CONTENT);
        }
    }
}

TEST_P(StringRequest, AnEmptyStringIsContentWhereTheMessageEnds) {
    for (std::size_t i = 0; i < reader().strings; ++i) {
        read(with_length(i, 0), cell(i) + 8);
        expect_refused(KELVO_ERR_MSG_CONTENT);
        read(with_length(i, 0), cell(i) + 7);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(StringRequest, TheTextIsLookedAtBeforeRoomForItsFill) {
    for (std::size_t i = 0; i < reader().strings; ++i) {
        const std::size_t end_of_text = cell(i) + 8 + kTexts[i].size() + 1;
        Bytes bytes = valid();
        bytes[end_of_text - 1] = 'x';
        read(bytes, end_of_text);
        expect_refused(KELVO_ERR_MSG_CONTENT);
        read(valid(), end_of_text);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(StringRequest, AStringMayHoldNulAndNeedNoFill) {
    const std::vector<std::string> texts = {"1234567", std::string("12\0", 3), "123456789012345"};
    read(reader().message(texts));
    EXPECT_EQ(status_, 0U);
}

TEST_P(StringRequest, FillIsNotLookedAt) {
    Bytes bytes = valid();
    for (std::size_t i = 0; i < reader().strings; ++i) {
        put_word(bytes, cell(i) + 4, 0xFFFFFFFF);
        const std::size_t end = i + 1 < reader().strings ? cell(i + 1) : bytes.size();
        for (std::size_t at = cell(i) + 8 + kTexts[i].size() + 1; at < end; ++at) bytes[at] = 0xFF;
    }
    read(bytes);
    EXPECT_EQ(status_, 0U);
}

TEST_P(StringRequest, IsReadAtAnyAddress) {
    const Bytes bytes = valid();
    const StringsOutcome expected = expected_outcome(reader(), bytes, bytes.size());
    for (std::size_t shift = 0; shift < 8; ++shift) {
        Bytes shifted(shift, 0x77);
        shifted.insert(shifted.end(), bytes.begin(), bytes.end());
        EXPECT_EQ(reader().read(shifted.data() + shift, static_cast<uint32_t>(bytes.size()), out_),
                  0U);
        EXPECT_EQ(Bytes(shifted.begin() + static_cast<std::ptrdiff_t>(shift), shifted.end()),
                  expected.after);
    }
}

TEST_P(StringRequest, DamagedMessagesComeOutAsThePlainAccountSays) {
    std::mt19937 random(20);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const uint8_t bytes_of_interest[] = {0, 1, 7, 8, 9, 16, 0x7F, 0x80, 0xF8, 0xFF};
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes = valid();
        for (std::size_t damages = 1 + below(3); damages > 0; --damages) {
            const std::size_t at = cell(below(reader().strings)) + below(24);
            if (at < bytes.size()) bytes[at] = bytes_of_interest[below(10)];
        }
        const std::size_t length = below(4) == 0 ? below(bytes.size() + 1) : bytes.size();
        read(bytes, length);
        if (HasFailure()) FAIL() << "in round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(, StringRequest, testing::ValuesIn(kReaders),
                         [](const auto& row) { return row.param.name; });

}  // namespace
