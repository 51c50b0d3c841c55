// SPDX-License-Identifier: Apache-2.0
//
// Item requests as they are received: every check in its order, every length, both byte orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "kelvo_common_msg_item.h"
#include "support/random.h"
#include "support/wire_bytes.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kUnset = 0x5E5E5E5E;

/// What a reader of set, create, delete or verify hands out; sentinels until it does.
struct Out {
    static inline char unset = 0;
    char* path = &unset;
    uint32_t type = kUnset;
    void* value = &unset;
    uint32_t value_length = kUnset;
    uint32_t argument = kUnset;

    [[nodiscard]] bool untouched() const { return *this == Out(); }
    friend bool operator==(const Out&, const Out&) = default;
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

/// What must come of a message.
struct Outcome {
    kelvo_status status;
    bool stops;  ///< the process, before there is a status
    Bytes after;
    std::size_t value_at = 0;  ///< where there is one
};

/// The plain account: the steps as the protocol lists them, on a copy with room for the words that
/// are touched whatever the length.
Outcome expected_outcome(const Reader& reader, Bytes bytes, std::size_t length) {
    bytes.resize(std::max<std::size_t>(bytes.size(), 52));
    const bool network = reader.order == Order::network;
    const Kind kind = reader.kind;
    const bool may_stop = network && kind == Kind::get;
    const auto word = [&](std::size_t at) {
        if (network) reverse_at(bytes, at);
        return word_at(bytes, at);
    };
    const auto refused = [&](kelvo_status status) { return Outcome{status, false, bytes}; };
    uint32_t type = word(40);
    (void)word(44);
    std::size_t at = 48;
    if (kind != Kind::verify) {
        if (length < 48) {
            return {KELVO_ERR_MSG_LENGTH, may_stop && word_at(bytes, 48) != 1, bytes};
        }
        if (length < 56) return refused(KELVO_ERR_MSG_LENGTH);
        if (word(48) != 1) return {KELVO_ERR_MSG_CONTENT, may_stop, bytes};
        if (length < 64) return refused(KELVO_ERR_MSG_LENGTH);
        type = word(56);
        if (kind == Kind::get && type != 0) return refused(KELVO_ERR_MSG_CONTENT);
        at = 64;
    }
    if (length < at + 8) return refused(KELVO_ERR_MSG_LENGTH);
    const std::size_t name = word(at);
    const std::size_t left = length - at;
    if (left < name + 8) return refused(KELVO_ERR_MSG_LENGTH);
    if (name == 0 || bytes[at + 8 + name - 1] != 0) return refused(KELVO_ERR_MSG_CONTENT);
    const std::size_t after_name = (name + 7) / 8 * 8 + 8;
    if (kind == Kind::get) {
        return refused(left == after_name ? 0 : KELVO_ERR_MSG_LENGTH);
    }
    if (left < after_name + 8) return refused(KELVO_ERR_MSG_LENGTH);
    const std::size_t value_at = at + after_name + 8;
    const std::size_t value = word(value_at - 8);
    if (left - after_name != (value + 7) / 8 * 8 + 8) return refused(KELVO_ERR_MSG_LENGTH);
    if (kind == Kind::create && type == 0) return refused(KELVO_ERR_BAD_VALUE_TYPE);
    if (network && value != 0 && type < 14) {
        const std::ptrdiff_t widths[14] = {0, 4, 8, 0, 0, 0, 0, 0, 0, 0, 2, 2, 4, 8};
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(value_at);
        std::reverse(first, first + widths[type]);
    }
    return {0, false, bytes, value_at};
}

/// Bytes of the buffer that a reader may touch, given a length.
std::size_t touched(const Reader& reader, std::size_t length) {
    if (reader.order == Order::host) return length;
    return std::max<std::size_t>(length, reader.kind == Kind::get && length < 48 ? 52 : 48);
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

    /// Reads `length` bytes in a block that ends where the reader may touch no more, and compares
    /// with the plain account.
    void read(const Bytes& bytes, std::size_t length) {
        const Outcome expected = expected_outcome(GetParam(), bytes, length);
        ASSERT_FALSE(expected.stops) << "that is for a death test";
        Bytes inside = bytes;
        inside.resize(touched(GetParam(), length));
        block_ = std::make_unique<Walled>(inside);
        out_ = Out();
        status_ = GetParam().read(block_->data(), static_cast<uint32_t>(length), out_);
        EXPECT_EQ(status_, expected.status);
        Bytes after = expected.after;
        after.resize(inside.size());
        EXPECT_EQ(block_->bytes(), after);
        if (status_ != 0) {
            EXPECT_TRUE(out_.untouched());
        } else {
            expect_handed_out(after, expected.value_at);
        }
    }
    void read(const Bytes& bytes) { read(bytes, bytes.size()); }

    /// Compares what was handed out with the bytes of the message, now in host order.
    void expect_handed_out(const Bytes& message, std::size_t value_at) const {
        EXPECT_EQ(reinterpret_cast<uint8_t*>(out_.path), block_->data() + name_cell(kind()) + 8);
        EXPECT_EQ(out_.argument, word_at(message, 44));
        if (kind() == Kind::get) return;
        EXPECT_EQ(out_.type, word_at(message, kind() == Kind::verify ? 40 : 56));
        EXPECT_EQ(out_.value_length, word_at(message, value_at - 8));
        const bool none = kind() == Kind::remove && out_.value_length == 0;
        EXPECT_EQ(out_.value, none ? nullptr : block_->data() + value_at);
    }

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

class CountingReader : public ItemReader {};  // all that refuse a wrong count
class ValueReader : public ItemReader {};     // all that have a value
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

TEST_P(ItemReader, EveryTruncationIsRefused) {
    Fields fields;
    fields.type = 1;
    const Bytes valid = build(fields);
    // The reader that stops the process does so for less than 48 bytes; see below.
    for (std::size_t length = stops_the_process(GetParam()) ? 48 : 0; length < valid.size();
         ++length) {
        SCOPED_TRACE(length);
        read(valid, length);
        expect_refused(KELVO_ERR_MSG_LENGTH);
    }
}

TEST_P(ItemReader, BytesLeftOverAreRefused) {
    for (const std::size_t extra : {1U, 8U}) {
        Fields fields;
        fields.type = 1;
        Bytes bytes = build(fields);
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

TEST_P(ValueReader, AValueIsConvertedOnlyAfterAllChecks) {
    Fields fields;
    fields.type = 1;
    Bytes bytes = build(fields);
    const std::size_t value = bytes.size() - 8;
    bytes.resize(bytes.size() + 1);
    read(bytes);
    expect_refused(KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(word_at(block_->data(), value), word_at(bytes, value));
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

TEST_P(ItemReader, DamagedMessagesComeOutAsThePlainAccountSays) {
    Random random(21);
    const uint8_t bytes_of_interest[] = {0, 1, 2, 7, 8, 9, 13, 16, 0x7F, 0x80, 0xF8, 0xFF};
    int accepted = 0;
    for (int round = 0; round < 4000; ++round) {
        Fields fields;
        fields.type = random.below(16);
        fields.path.resize(random.below(18), 'p');
        fields.value.resize(random.below(18), 0x5A);
        Bytes bytes = build(fields);
        for (uint32_t damages = random.below(3); damages > 0; --damages) {
            const uint32_t at = 40 + random.below(static_cast<uint32_t>(bytes.size() - 40));
            bytes[at] = random.pick(bytes_of_interest);
        }
        const std::size_t length = random.below(4) == 0
                                       ? random.below(static_cast<uint32_t>(bytes.size() + 1))
                                       : bytes.size();
        if (expected_outcome(GetParam(), bytes, length).stops) continue;
        read(bytes, length);
        if (status_ == 0) ++accepted;
        if (HasFailure()) FAIL() << "in round " << round;
    }
    EXPECT_GT(accepted, 1000);
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
    for (const uint32_t length : {0xFFFFFFFFU, 0x80000000U}) {
        const Walled block(build({}));
        EXPECT_EQ(GetParam().read(block.data(), length, out_), KELVO_ERR_MSG_LENGTH);
        EXPECT_TRUE(out_.untouched());
    }
}

std::vector<Reader> select(bool (*wanted)(const Reader&)) {
    std::vector<Reader> selected;
    std::copy_if(std::begin(kReaders), std::end(kReaders), std::back_inserter(selected), wanted);
    return selected;
}

constexpr auto kName = [](const auto& row) { return row.param.name; };

INSTANTIATE_TEST_SUITE_P(, ItemReader, testing::ValuesIn(kReaders), kName);
INSTANTIATE_TEST_SUITE_P(, CountingReader, testing::ValuesIn(select([](const Reader& r) {
                             return r.kind != Kind::verify && !stops_the_process(r);
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
    for (const uint32_t count : {0U, 2U, 0x01000000U}) {
        Fields fields;
        fields.count = count;
        Bytes bytes = request(Kind::get, Order::network, fields);
        char* path = nullptr;
        uint32_t argument;
        for (const std::size_t length : {bytes.size(), std::size_t{56}}) {
            EXPECT_DEATH((void)kelvo_common_msg_get_interpret_endian_ntoh(
                             bytes.data(), static_cast<int32_t>(length), &path, &argument),
                         kStop);
        }
    }
}

TEST(GetInterpretEndian, AMessageThatEndsInItsCountIsALengthErrorWhateverTheCount) {
    for (const int32_t length : {48, 55}) {
        Fields fields;
        fields.count = 2;
        Bytes bytes = request(Kind::get, Order::network, fields);
        Bytes expected = bytes;
        reverse_at(expected, 40);
        reverse_at(expected, 44);
        char* path = nullptr;
        uint32_t argument = kUnset;
        EXPECT_EQ(
            kelvo_common_msg_get_interpret_endian_ntoh(bytes.data(), length, &path, &argument),
            KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(bytes, expected) << "the count is not looked at, nor converted";
        EXPECT_EQ(argument, kUnset);
    }
}

TEST(GetInterpretEndianDeathTest, AShortMessageHasItsUnconvertedWordTested) {
    Bytes bytes = request(Kind::get, Order::network, {});
    char* path = nullptr;
    uint32_t argument;
    for (const int32_t length : {-1, 0, 40, 47}) {
        EXPECT_DEATH((void)kelvo_common_msg_get_interpret_endian_ntoh(bytes.data(), length, &path,
                                                                      &argument),
                     kStop);
    }
}

TEST(GetInterpretEndian, AShortMessageWhoseUnconvertedWordIsOneIsALengthError) {
    const Bytes valid = request(Kind::get, Order::network, {});
    for (const int32_t length : {INT32_MIN, -1, 0, 47}) {
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

}  // namespace
