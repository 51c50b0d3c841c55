// SPDX-License-Identifier: Apache-2.0
//
// What the host platform writes and reads as bytes: replicated messages, serialised records, packed
// tuples.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "kelvo_platform_host.h"
#include "platform/failing_memory.h"
#include "support/child.h"
#include "support/wire_bytes.h"

namespace {

using kelvo::test::Bytes;
using kelvo::test::FailingMemory;
using kelvo::test::use_configuration;
using kelvo::test::Walled;

constexpr uint32_t kSentinel = 0xA5A5A5A5;

[[maybe_unused]] const bool configured = [] {
    use_configuration("/dev/null");
    setenv("KELVO_JOB_ID", "211", 1);
    return true;
}();

Bytes bytes_at(const uint8_t* from, std::size_t length) {
    return {from, from + length};
}

// ------------------------------------------------------------------------------------------------
// Replicated messages
// ------------------------------------------------------------------------------------------------

TEST(Replica, TheHeaderStandsRightBeforeTheMessage) {
    uint8_t* message = nullptr;
    ASSERT_EQ(replica_build_msg_headers(0x01020304, 0xAABBCCDD, &message), 0U);
    EXPECT_EQ(bytes_at(message - 32, 24),
              (Bytes{'K',  'R',  'P',  'L',  0, 1, 0, 32, 1, 2, 3, 4,
                     0xAA, 0xBB, 0xCC, 0xDD, 0, 0, 0, 1,  0, 0, 0, 211}));
    EXPECT_EQ(bytes_at(message - 4, 4), (Bytes{0, 0, 0, 0}));
    platform_host_replica_free(message);
}

uint32_t next_sequence() {
    uint8_t* message = nullptr;
    EXPECT_EQ(replica_build_msg_headers(1, 0, &message), 0U);
    const Bytes bytes = bytes_at(message - 8, 4);
    platform_host_replica_free(message);
    return kelvo::test::reversed(kelvo::test::word_at(bytes, 0));
}

TEST(Replica, MessagesAreNumbered) {
    const uint32_t first = next_sequence();
    EXPECT_EQ(next_sequence(), first + 1);
    EXPECT_EQ(next_sequence(), first + 2);
}

TEST(Replica, TheMessageIsWritableToItsLastByteAndReleased) {
    const FailingMemory count;
    for (const uint32_t size : {0U, 1U, 100U}) {
        uint8_t* message = nullptr;
        ASSERT_EQ(replica_build_msg_headers(size, 0, &message), 0U);
        std::memset(message, 0xEE, size);
        platform_host_replica_free(message);
    }
    platform_host_replica_free(nullptr);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

TEST(Replica, WithoutMemoryThereIsNoBuffer) {
    uint8_t byte = 0;
    uint8_t* message = &byte;
    uint32_t node;
    platform_my_nodeid(&node);  // the configuration has been read
    const FailingMemory fail(0);
    EXPECT_EQ(replica_build_msg_headers(8, 0, &message), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(message, nullptr);
    EXPECT_EQ(replica_build_msg_headers(8, 0, nullptr), KELVO_ERR_NULL_PARAM);
}

// ------------------------------------------------------------------------------------------------
// Serialised records
// ------------------------------------------------------------------------------------------------

Bytes record(uint16_t version, uint16_t offset) {
    return {'K',
            'R',
            'E',
            'C',
            static_cast<uint8_t>(version >> 8),
            static_cast<uint8_t>(version),
            static_cast<uint8_t>(offset >> 8),
            static_cast<uint8_t>(offset),
            0,
            0,
            0,
            7,
            0,
            0,
            0,
            1};
}

struct Offset {
    kelvo_status status;
    uint32_t offset;
};

Offset offset_of(const Bytes& bytes) {
    const Walled block(bytes);
    Offset result{0, kSentinel};
    result.status = record_payload_offset(block.data(), &result.offset);
    return result;
}

TEST(Record, ThePayloadBeginsWhereTheHeaderSays) {
    for (const uint16_t offset : std::initializer_list<uint16_t>{16, 24, 32, 4096, 65528}) {
        const Offset found = offset_of(record(1, offset));
        EXPECT_EQ(found.status, 0U);
        EXPECT_EQ(found.offset, offset);
    }
}

TEST(Record, BytesThatAreNoRecordAreRefused) {
    Bytes other = record(1, 16);
    other[0] = 'k';
    for (const Bytes& bytes : {other, record(0, 16), record(2, 16), record(0x100, 16), record(1, 0),
                               record(1, 8), record(1, 15), record(1, 17), record(1, 20)}) {
        const Offset found = offset_of(bytes);
        EXPECT_EQ(found.status, PLATFORM_HOST_ERR_RECORD);
        EXPECT_EQ(found.offset, kSentinel);
    }
}

TEST(Record, OfAnotherKindIsTouchedNoFurtherThanItsFirstWord) {
    EXPECT_EQ(offset_of({'n', 'o', 'n', 'e'}).status, PLATFORM_HOST_ERR_RECORD);
}

TEST(Record, NullsAreRefused) {
    uint32_t offset = kSentinel;
    const Bytes bytes = record(1, 16);
    EXPECT_EQ(record_payload_offset(nullptr, &offset), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(record_payload_offset(bytes.data(), nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(offset, kSentinel);
}

// ------------------------------------------------------------------------------------------------
// Packed tuples
// ------------------------------------------------------------------------------------------------

Bytes packed(const std::vector<const char*>& texts) {
    const auto count = static_cast<uint32_t>(texts.size());
    Bytes bytes(platform_host_tuple_size(texts.data(), count));
    EXPECT_EQ(platform_host_tuple_pack(texts.data(), count, bytes.data(), bytes.size()), 0U);
    return bytes;
}

/// Unpacks into three buffers of 256 bytes, the last byte of each before a wall.
struct Unpacked {
    kelvo_status status;
    std::vector<std::string> texts;
};

Unpacked unpack_three(const Bytes& tuple) {
    const Bytes hashes(256, '#');
    const Walled block(tuple);
    const Walled first(hashes);
    const Walled second(hashes);
    const Walled third(hashes);
    const kelvo_status status =
        packed_tuple_unpack(block.data(), "%s%s%s", first.data(), second.data(), third.data());
    Unpacked result{status, {}};
    for (const Walled* buffer : {&first, &second, &third}) {
        if (status != 0) {
            EXPECT_EQ(buffer->bytes(), hashes) << "a failure leaves the buffers alone";
        } else {
            result.texts.emplace_back(reinterpret_cast<const char*>(buffer->data()));
        }
    }
    return result;
}

TEST(Tuple, IsPackedAsItsHeaderAndItsTexts) {
    EXPECT_EQ(packed({"ab", ""}), (Bytes{'K', 'T', 'U', 'P', 0,   0,   0, 24, 0, 0, 0, 2,
                                         0,   0,   0,   3,   'a', 'b', 0, 0,  0, 0, 1, 0}));
    EXPECT_EQ(packed({}), (Bytes{'K', 'T', 'U', 'P', 0, 0, 0, 12, 0, 0, 0, 0}));
}

TEST(Tuple, GivesItsTextsBack) {
    const Unpacked unpacked = unpack_three(packed({"G1", "", "G3"}));
    EXPECT_EQ(unpacked.status, 0U);
    EXPECT_EQ(unpacked.texts, (std::vector<std::string>{"G1", "", "G3"}));
}

TEST(Tuple, TextsThatItDoesNotCarryBecomeEmpty) {
    EXPECT_EQ(unpack_three(packed({"G1"})).texts, (std::vector<std::string>{"G1", "", ""}));
    EXPECT_EQ(unpack_three(packed({})).texts, (std::vector<std::string>{"", "", ""}));
}

TEST(Tuple, TextsThatAreNotWantedAreLeftOut) {
    EXPECT_EQ(unpack_three(packed({"1", "2", "3", "4"})).texts,
              (std::vector<std::string>{"1", "2", "3"}));
}

TEST(Tuple, ALongTextIsCutTo255Characters) {
    const std::string fits(255, 'x');
    const std::string longer(256, 'x');
    const std::string longest(70000, 'x');
    EXPECT_EQ(unpack_three(packed({fits.c_str(), longer.c_str(), longest.c_str()})).texts,
              (std::vector<std::string>{fits, fits, fits}));
}

TEST(Tuple, EveryWrongSizeIsRefused) {
    const Bytes good = packed({"G1", "", "G3"});
    for (uint8_t size = 0; size < good.size(); ++size) {
        Bytes cut(good.begin(), good.begin() + std::max<std::ptrdiff_t>(size, 12));
        cut[7] = size;
        EXPECT_EQ(unpack_three(cut).status, PLATFORM_HOST_ERR_TUPLE) << int{size};
    }
    Bytes extended = good;
    extended.push_back(0);
    ++extended[7];
    EXPECT_EQ(unpack_three(extended).status, PLATFORM_HOST_ERR_TUPLE);
}

TEST(Tuple, MalformedTextsAreRefused) {
    const auto altered = [](std::size_t at, uint8_t value) {
        Bytes bytes = packed({"ab", "c"});
        bytes.at(at) = value;
        return unpack_three(bytes).status;
    };
    EXPECT_EQ(altered(0, 'k'), PLATFORM_HOST_ERR_TUPLE);    // not a tuple
    EXPECT_EQ(altered(11, 3), PLATFORM_HOST_ERR_TUPLE);     // a text too many
    EXPECT_EQ(altered(11, 1), PLATFORM_HOST_ERR_TUPLE);     // bytes left over
    EXPECT_EQ(altered(15, 0), PLATFORM_HOST_ERR_TUPLE);     // no room for the NUL
    EXPECT_EQ(altered(15, 2), PLATFORM_HOST_ERR_TUPLE);     // ends before its NUL
    EXPECT_EQ(altered(12, 0xFF), PLATFORM_HOST_ERR_TUPLE);  // longer than the tuple
    EXPECT_EQ(altered(17, 0), PLATFORM_HOST_ERR_TUPLE);     // ends early
    EXPECT_EQ(altered(18, 'x'), PLATFORM_HOST_ERR_TUPLE);   // without its NUL
    EXPECT_EQ(altered(8, 0xFF), PLATFORM_HOST_ERR_TUPLE);   // a count that costs no time
}

TEST(Tuple, AFormatOfAnythingElseIsRefused) {
    const Bytes tuple = packed({"a"});
    char buffer[256] = "untouched";
    const char* const formats[] = {"%d", "%s ", " %s", "s", "%", "%s%", "%%s"};
    for (const char* format : formats) {
        EXPECT_EQ(packed_tuple_unpack(tuple.data(), format, buffer, buffer),
                  PLATFORM_HOST_ERR_TUPLE_FORMAT)
            << format;
    }
    EXPECT_EQ(packed_tuple_unpack(tuple.data(), ""), 0U);
    EXPECT_STREQ(buffer, "untouched");
}

TEST(Tuple, PackingNeedsTheWholeSize) {
    const char* const texts[] = {"ab"};
    char buffer[32];
    std::memset(buffer, '#', sizeof buffer);
    ASSERT_EQ(platform_host_tuple_size(texts, 1), 19U);
    EXPECT_EQ(platform_host_tuple_pack(texts, 1, buffer, 18), PLATFORM_HOST_ERR_BUFFER_SIZE);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(platform_host_tuple_pack(texts, 1, buffer, 19), 0U);
    EXPECT_EQ(buffer[19], '#');
}

TEST(Tuple, NullsAreRefused) {
    const Bytes tuple = packed({"a"});
    const char* const texts[] = {"ab"};
    char buffer[32];
    EXPECT_EQ(packed_tuple_unpack(nullptr, "%s", buffer), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(packed_tuple_unpack(tuple.data(), nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform_host_tuple_pack(nullptr, 1, buffer, 32), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform_host_tuple_pack(texts, 1, nullptr, 32), KELVO_ERR_NULL_PARAM);
}

}  // namespace
