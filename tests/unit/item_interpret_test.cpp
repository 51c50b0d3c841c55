// SPDX-License-Identifier: Apache-2.0
//
// Item requests as they are received: every check in its order, every length, both byte orders.
#include <gtest/gtest.h>

#include <array>

#include "kelvo_common_msg_item.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kUnset = 0x5E5E5E5E;

/// What a reader of set, create, delete or verify hands out; sentinels until it does.
struct Out {
    char sentinel = 0;
    char* path = &sentinel;
    uint32_t type = kUnset;
    void* value = &sentinel;
    uint32_t value_length = kUnset;
    uint32_t argument = kUnset;

    [[nodiscard]] bool untouched() const {
        return path == &sentinel && type == kUnset && value == &sentinel &&
               value_length == kUnset && argument == kUnset;
    }
};

enum class Kind { get, set, create, remove, verify };

struct Reader {
    const char* name;
    Kind kind;
    Order order;
    kelvo_status (*read)(void*, uint32_t, Out&);
    friend void PrintTo(const Reader& reader, std::ostream* out) { *out << reader.name; }
};

#define CHANGE_READER(function, kind, order)                                                       \
    Reader {                                                                                       \
#function, kind, order, [](void* msg, uint32_t length, Out& out) {                      \
            return function(msg, static_cast<int32_t>(length), &out.path, &out.type, &out.value, \
                            &out.value_length, &out.argument);                                  \
        }          \
    }
#define VERIFY_READER(function, order)                                                             \
    Reader {                                                                                       \
#function, Kind::verify, order, [](void* msg, uint32_t length, Out& out) {              \
            return function(msg, length, &out.path, &out.type, &out.value, &out.value_length,   \
                            &out.argument);                                                     \
        }          \
    }
#define GET_READER(function, order)                                                                \
    Reader {                                                                                       \
#function, Kind::get, order, [](void* msg, uint32_t length, Out& out) {                 \
            return function(msg, static_cast<int32_t>(length), &out.path, &out.argument);       \
        }          \
    }

const Reader kReaders[] = {
    GET_READER(kelvo_common_msg_get_interpret, Order::host),
    GET_READER(kelvo_common_msg_get_interpret_endian_ntoh, Order::network),
    CHANGE_READER(kelvo_common_msg_set_interpret, Kind::set, Order::host),
    CHANGE_READER(kelvo_common_msg_set_interpret_endian_ntoh, Kind::set, Order::network),
    CHANGE_READER(kelvo_common_msg_create_interpret, Kind::create, Order::host),
    CHANGE_READER(kelvo_common_msg_create_interpret_endian_ntoh, Kind::create, Order::network),
    CHANGE_READER(kelvo_common_msg_delete_interpret, Kind::remove, Order::host),
    CHANGE_READER(kelvo_common_msg_delete_interpret_endian_ntoh, Kind::remove, Order::network),
    VERIFY_READER(kelvo_common_msg_verify_interpret, Order::host),
    VERIFY_READER(kelvo_common_msg_verify_interpret_endian_ntoh, Order::network),
};

/// The fields of a request, right unless a test sets one wrong.
struct Fields {
    uint32_t argument = 0x11223344;
    uint32_t count = 1;
    uint32_t type = 3;
    std::string path = "cfg/gl/a";
    uint32_t path_length_off_by = 0;
    Bytes value = {9, 8, 7, 6, 5};
    uint32_t value_length_off_by = 0;
};

Bytes request(Kind kind, Order order, const Fields& f) {
    Message m(order, 99);
    if (kind == Kind::verify) {
        m.word(f.type).word(f.argument);
    } else {
        m.word(0).word(f.argument).cell(f.count).cell(kind == Kind::get ? 0 : f.type);
    }
    m.cell(static_cast<uint32_t>(f.path.size() + 1) + f.path_length_off_by);
    m.raw(f.path.c_str(), f.path.size() + 1).fill();
    if (kind == Kind::get) return m.bytes();
    m.cell(static_cast<uint32_t>(f.value.size()) + f.value_length_off_by);
    m.raw(f.value.data(), f.value.size()).fill();
    return m.bytes();
}

/// Offset of the name's length cell.
std::size_t name_cell(Kind kind) {
    return kind == Kind::verify ? 48 : 64;
}

/// Bytes that a converting reader touches whatever the length: two words, and for a get the count.
std::size_t always_touched(const Reader& reader) {
    if (reader.order == Order::host) return 0;
    return reader.kind == Kind::get ? 52 : 48;
}

class ItemReader : public testing::TestWithParam<Reader> {
  protected:
    [[nodiscard]] Kind kind() const { return GetParam().kind; }
    [[nodiscard]] bool network() const { return GetParam().order == Order::network; }
    [[nodiscard]] Bytes build(const Fields& fields) const {
        return request(kind(), GetParam().order, fields);
    }
    [[nodiscard]] Bytes host(const Fields& fields) const {
        return request(kind(), Order::host, fields);
    }

    /// Reads in an exact-size block, with the touched bytes mapped.
    void read(const Bytes& bytes, std::size_t length) {
        block_ = std::make_unique<Walled>(bytes);
        status_ = GetParam().read(block_->data(), static_cast<uint32_t>(length), out_);
    }
    void read(const Bytes& bytes) { read(bytes, bytes.size()); }

    void expect_refused(kelvo_status status) {
        EXPECT_EQ(status_, status);
        EXPECT_TRUE(out_.untouched());
    }

    std::unique_ptr<Walled> block_;
    Out out_;
    kelvo_status status_ = kUnset;
};

/// The get reader that stops the process where the others refuse.
bool stops_the_process(const Reader& r) {
    return r.kind == Kind::get && r.order == Order::network;
}

class ExactReader : public ItemReader {};       // all that refuse every shorter message
class CountingReader : public ItemReader {};    // all that refuse a wrong count
class ConvertingReader : public ItemReader {};  // all that convert
class ValueReader : public ItemReader {};       // all that have a value
class CreateReader : public ItemReader {};

TEST_P(ItemReader, HandsOutPointersIntoTheMessage) {
    const Fields fields;
    read(build(fields));
    ASSERT_EQ(status_, 0U);
    const std::size_t path_at = name_cell(kind()) + 8;
    EXPECT_EQ(reinterpret_cast<uint8_t*>(out_.path), block_->data() + path_at);
    EXPECT_STREQ(out_.path, "cfg/gl/a");
    EXPECT_EQ(out_.argument, 0x11223344U);
    EXPECT_EQ(block_->bytes(), host(fields))
        << "every field is in host order now, nothing else changed";
    if (kind() == Kind::get) return;
    EXPECT_EQ(out_.type, 3U);
    EXPECT_EQ(out_.value_length, 5U);
    EXPECT_EQ(static_cast<uint8_t*>(out_.value), block_->data() + path_at + 16 + 8);
}

TEST_P(ExactReader, EveryTruncationIsRefused) {
    expect_every_truncation_refused(build({}), always_touched(GetParam()),
                                    [&](uint8_t* msg, uint32_t length) {
                                        Out out;
                                        const kelvo_status st = GetParam().read(msg, length, out);
                                        EXPECT_TRUE(out.untouched());
                                        return st;
                                    });
}

TEST_P(ConvertingReader, ConvertsEachCellOnlyOnceThereIsRoomForIt) {
    const std::size_t first = kind() == Kind::get ? 48 : 0;
    const Bytes valid = build({});
    for (std::size_t length = first; length < valid.size(); ++length) {
        SCOPED_TRACE(length);
        read(Bytes(valid.begin(),
                   valid.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(length, 48))),
             length);
        Bytes expected(block_->bytes().size());
        std::copy_n(valid.begin(), expected.size(), expected.begin());
        reverse_at(expected, 40);
        reverse_at(expected, 44);
        const std::size_t value_cell = name_cell(kind()) + 8 + 16;
        for (const std::size_t cell :
             {std::size_t{48}, std::size_t{56}, std::size_t{64}, value_cell}) {
            const bool is_cell =
                cell <= name_cell(kind()) || (cell == value_cell && kind() != Kind::get);
            if (is_cell && length >= cell + 8) reverse_at(expected, cell);
        }
        EXPECT_EQ(block_->bytes(), expected);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(ItemReader, BytesLeftOverAreRefused) {
    for (const std::size_t extra : {1U, 8U}) {
        Bytes bytes = build({});
        bytes.resize(bytes.size() + extra);
        read(bytes);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(CountingReader, AWrongCountIsContentAndComesBeforeTheOtherFields) {
    for (const uint32_t count : {0U, 2U, 0x01000000U, 0xFFFFFFFFU}) {
        Fields fields;
        fields.count = count;
        fields.path_length_off_by = 100;
        Bytes bytes = build(fields);
        read(bytes);
        expect_refused(KELVO_ERR_MSG_CONTENT);
        bytes.resize(56);
        read(bytes);
        expect_refused(KELVO_ERR_MSG_CONTENT);
        bytes.resize(55);
        read(bytes);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(ItemReader, ANameThatDoesNotFitIsALengthError) {
    const Bytes valid = build({});
    const auto room = static_cast<uint32_t>(valid.size() - name_cell(kind()) - 8);
    for (const uint32_t length :
         {room + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF0U, 0xFFFFFFF8U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(length);
        Fields fields;
        fields.path_length_off_by = length - 9;
        read(build(fields));
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(ItemReader, AnEmptyOrUnterminatedNameIsContent) {
    Fields fields;
    fields.path_length_off_by = static_cast<uint32_t>(-9);
    read(build(fields));
    expect_refused(KELVO_ERR_MSG_CONTENT);

    fields.path_length_off_by = static_cast<uint32_t>(-1);
    read(build(fields));
    expect_refused(KELVO_ERR_MSG_CONTENT);
}

TEST_P(ItemReader, AnEmptyNameInAMessageThatEndsThereIsContent) {
    Fields fields;
    fields.path_length_off_by = static_cast<uint32_t>(-9);
    Bytes bytes = build(fields);
    bytes.resize(name_cell(kind()) + 8);
    read(bytes);
    expect_refused(KELVO_ERR_MSG_CONTENT);
}

TEST_P(ItemReader, AnUnterminatedNameIsContentEvenWithoutRoomForItsFill) {
    Fields fields;
    fields.path_length_off_by = static_cast<uint32_t>(-1);
    Bytes bytes = build(fields);
    bytes.resize(name_cell(kind()) + 8 + 8);
    read(bytes);
    expect_refused(KELVO_ERR_MSG_CONTENT);
}

TEST_P(ItemReader, ANameOfAMultipleOfEightNeedsNoFill) {
    Fields fields;
    fields.path = "cfg/gl/";
    const Bytes bytes = build(fields);
    if (kind() == Kind::get) {
        EXPECT_EQ(bytes.size(), 80U);
    }
    read(bytes);
    EXPECT_EQ(status_, 0U);
    EXPECT_STREQ(out_.path, "cfg/gl/");
}

TEST_P(ItemReader, FillBytesAreNotLookedAt) {
    Bytes bytes = build({});
    const std::size_t fill = name_cell(kind()) + 8 + 9;
    for (std::size_t i = 0; i < 7; ++i) bytes[fill + i] = 0xFF;
    if (kind() != Kind::verify) put_word(bytes, 52, 0xFFFFFFFF);
    put_word(bytes, name_cell(kind()) + 4, 0xFFFFFFFF);
    read(bytes);
    EXPECT_EQ(status_, 0U);
}

TEST_P(ValueReader, AValueThatDoesNotFitIsALengthError) {
    for (const uint32_t length :
         {0U, 9U, 16U, 0x7FFFFFFFU, 0xFFFFFFF0U, 0xFFFFFFF8U, 0xFFFFFFF9U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(length);
        Fields fields;
        fields.value_length_off_by = length - 5;
        read(build(fields));
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(ValueReader, AnEmptyValueIsAcceptedAndNullInADelete) {
    Fields fields;
    fields.type = 1;
    fields.value.clear();
    read(build(fields));
    ASSERT_EQ(status_, 0U);
    EXPECT_EQ(out_.value_length, 0U);
    EXPECT_EQ(out_.type, 1U);
    uint8_t* const end = block_->data() + block_->bytes().size();
    EXPECT_EQ(out_.value, kind() == Kind::remove ? nullptr : end);
}

TEST_P(ValueReader, ValueTypeZeroIsRefusedByCreateOnly) {
    Fields fields;
    fields.type = 0;
    read(build(fields));
    if (kind() == Kind::create) {
        expect_refused(KELVO_ERR_BAD_VALUE_TYPE);
    } else {
        EXPECT_EQ(status_, 0U);
        EXPECT_EQ(out_.type, 0U);
    }
}

TEST_P(CreateReader, ValueTypeZeroIsRefusedOnlyAfterEveryLength) {
    Fields fields;
    fields.type = 0;
    Bytes bytes = build(fields);
    bytes.resize(bytes.size() + 1);
    read(bytes);
    expect_refused(KELVO_ERR_MSG_LENGTH);
}

TEST_P(ValueReader, AnIntegerValueIsConvertedByTheConvertingReader) {
    struct {
        uint32_t type;
        Bytes converted;
    } const rows[] = {
        {1, {4, 3, 2, 1, 5, 6, 7, 8, 9}},  {2, {8, 7, 6, 5, 4, 3, 2, 1, 9}},
        {3, {1, 2, 3, 4, 5, 6, 7, 8, 9}},  {10, {2, 1, 3, 4, 5, 6, 7, 8, 9}},
        {11, {2, 1, 3, 4, 5, 6, 7, 8, 9}}, {12, {4, 3, 2, 1, 5, 6, 7, 8, 9}},
        {13, {8, 7, 6, 5, 4, 3, 2, 1, 9}}, {14, {1, 2, 3, 4, 5, 6, 7, 8, 9}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        Fields fields;
        fields.type = row.type;
        fields.value = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        read(build(fields));
        ASSERT_EQ(status_, 0U);
        const auto* value = static_cast<const uint8_t*>(out_.value);
        EXPECT_EQ(Bytes(value, value + 9), network() ? row.converted : fields.value);
    }
}

TEST_P(ItemReader, ReadsAMessageAtAnyAddress) {
    const Bytes valid = build({});
    for (std::size_t shift = 0; shift < 8; ++shift) {
        Bytes shifted(shift);
        shifted.insert(shifted.end(), valid.begin(), valid.end());
        Out out;
        EXPECT_EQ(GetParam().read(shifted.data() + shift, static_cast<uint32_t>(valid.size()), out),
                  0U);
    }
}

TEST_P(CountingReader, ANegativeLengthIsTooShort) {
    read(build({}), 0xFFFFFFFF);
    expect_refused(KELVO_ERR_MSG_LENGTH);
}

std::vector<Reader> select(bool (*wanted)(const Reader&)) {
    std::vector<Reader> selected;
    std::copy_if(std::begin(kReaders), std::end(kReaders), std::back_inserter(selected), wanted);
    return selected;
}

constexpr auto kName = [](const auto& row) { return row.param.name; };

INSTANTIATE_TEST_SUITE_P(, ItemReader, testing::ValuesIn(kReaders), kName);
INSTANTIATE_TEST_SUITE_P(, ExactReader, testing::ValuesIn(select([](const Reader& r) {
                             return !stops_the_process(r);
                         })),
                         kName);
INSTANTIATE_TEST_SUITE_P(, CountingReader, testing::ValuesIn(select([](const Reader& r) {
                             return r.kind != Kind::verify && !stops_the_process(r);
                         })),
                         kName);
INSTANTIATE_TEST_SUITE_P(, ConvertingReader, testing::ValuesIn(select([](const Reader& r) {
                             return r.order == Order::network;
                         })),
                         kName);
INSTANTIATE_TEST_SUITE_P(, ValueReader, testing::ValuesIn(select([](const Reader& r) {
                             return r.kind != Kind::get;
                         })),
                         kName);
INSTANTIATE_TEST_SUITE_P(, CreateReader, testing::ValuesIn(select([](const Reader& r) {
                             return r.kind == Kind::create;
                         })),
                         kName);

TEST(GetInterpret, AValueTypeOtherThanZeroIsContentBeforeTheName) {
    for (const Order order : {Order::host, Order::network}) {
        Message m(order, 3);
        m.word(0).word(5).cell(1).cell(3);
        Bytes bytes = m.bytes();
        char* path = nullptr;
        uint32_t argument = kUnset;
        const auto read = order == Order::host ? kelvo_common_msg_get_interpret
                                               : kelvo_common_msg_get_interpret_endian_ntoh;
        EXPECT_EQ(read(bytes.data(), 64, &path, &argument), KELVO_ERR_MSG_CONTENT);
        EXPECT_EQ(argument, kUnset);
        bytes = m.bytes();
        EXPECT_EQ(read(bytes.data(), 63, &path, &argument), KELVO_ERR_MSG_LENGTH);
    }
}

constexpr const char* kStop =
    "common/src/kelvo_common_msg_interpret_endian:[0-9]+: "
    "kelvo_common_msg_get_interpret_endian_ntoh: Assertion `castmsg->nameset->count == 1' failed";

TEST(GetInterpretEndianDeathTest, AWrongCountStopsTheProcess) {
    Fields fields;
    fields.count = 2;
    Bytes bytes = request(Kind::get, Order::network, fields);
    char* path = nullptr;
    uint32_t argument;
    EXPECT_DEATH((void)kelvo_common_msg_get_interpret_endian_ntoh(
                     bytes.data(), static_cast<int32_t>(bytes.size()), &path, &argument),
                 kStop);
}

TEST(GetInterpretEndianDeathTest, AShortMessageHasItsUnconvertedWordTested) {
    Bytes bytes = request(Kind::get, Order::network, {});
    char* path = nullptr;
    uint32_t argument;
    for (const int32_t length : {0, 40, 47}) {
        EXPECT_DEATH((void)kelvo_common_msg_get_interpret_endian_ntoh(bytes.data(), length, &path,
                                                                      &argument),
                     kStop);
    }
}

TEST(GetInterpretEndian, AShortMessageWhoseUnconvertedWordIsOneIsALengthError) {
    const Bytes valid = request(Kind::get, Order::network, {});
    for (const int32_t length : {0, 47}) {
        Bytes bytes = valid;
        put_word(bytes, 48, 1);
        Bytes expected = bytes;
        reverse_at(expected, 40);
        reverse_at(expected, 44);
        char* path = nullptr;
        uint32_t argument = kUnset;
        EXPECT_EQ(
            kelvo_common_msg_get_interpret_endian_ntoh(bytes.data(), length, &path, &argument),
            KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(bytes, expected) << "the two leading words are converted, the count is not";
        EXPECT_EQ(argument, kUnset);
    }
}

struct Reply {
    uint32_t word = 0x01020304;
    uint32_t result = 0;
    uint32_t type = 1;
    uint32_t length = 8;
};

Bytes reply(const Reply& r, std::size_t body) {
    Bytes bytes(40 + body);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i);
    put_word(bytes, 16, reversed(r.word));
    put_word(bytes, 24, reversed(r.result));
    put_word(bytes, 28, reversed(r.type));
    put_word(bytes, 32, reversed(r.length));
    return bytes;
}

Bytes with_fixed_words_converted(Bytes bytes) {
    for (const std::size_t at : {16U, 24U, 28U, 32U}) reverse_at(bytes, at);
    return bytes;
}

TEST(GetReply, IsConvertedInPlace) {
    const Bytes sent = reply({}, 8);
    const Walled block(sent);
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(block.data(), 48), 0U);
    Bytes expected = with_fixed_words_converted(sent);
    reverse_at(expected, 40);
    EXPECT_EQ(block.bytes(), expected);
}

TEST(GetReply, FixedWordsAreConvertedWhateverTheLength) {
    const Bytes sent = reply({}, 8);
    for (const uint32_t length : {0U, 39U}) {
        const Walled block(Bytes(sent.begin(), sent.begin() + 36));
        EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(block.data(), length),
                  KELVO_ERR_MSG_LENGTH);
        Bytes expected = with_fixed_words_converted(sent);
        expected.resize(36);
        EXPECT_EQ(block.bytes(), expected);
    }
}

TEST(GetReply, ItsLengthMustFitExactly) {
    for (const uint32_t value_length : {0U, 1U, 8U, 9U, 17U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
        for (const uint32_t body : {0U, 7U, 8U, 9U, 16U, 24U}) {
            Bytes bytes = reply({.type = 3, .length = value_length}, body);
            const bool fits = (value_length == 0 && body == 0) ||
                              (value_length <= 16 && value_length > 8 && body == 16) ||
                              (value_length <= 8 && value_length > 0 && body == 8) ||
                              (value_length == 17 && body == 24);
            EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 40 + body),
                      fits ? 0 : KELVO_ERR_MSG_LENGTH)
                << value_length << " in " << body;
        }
    }
}

TEST(GetReply, AFailedResultLeavesTheValueUnconverted) {
    const Bytes sent = reply({.result = 5}, 8);
    Bytes bytes = sent;
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 48), KELVO_ERR_REPLY_FAILED);
    EXPECT_EQ(bytes, with_fixed_words_converted(sent));
}

TEST(GetReply, ALengthErrorComesBeforeAFailedResult) {
    Bytes bytes = reply({.result = 5}, 8);
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 47), KELVO_ERR_MSG_LENGTH);
}

TEST(GetReply, AValueWithoutTypeStaysAsItIs) {
    const Bytes sent = reply({.type = 0}, 8);
    Bytes bytes = sent;
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_ntoh(bytes.data(), 48), 0U);
    EXPECT_EQ(bytes, with_fixed_words_converted(sent));
}

TEST(GetReply, IsNeverConvertedForSending) {
    const Bytes sent = reply({}, 8);
    Bytes bytes = sent;
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_hton(bytes.data(), 48), 0U);
    EXPECT_EQ(kelvo_lib_rply_item_get_interpret_hton(nullptr, 0), 0U);
    EXPECT_EQ(bytes, sent);
}

}  // namespace
