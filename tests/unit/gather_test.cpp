// SPDX-License-Identifier: Apache-2.0
//
// Gather lists: their length, flattening, and what happens when a huge message cannot be allocated.
// Typed values.
#include <gtest/gtest.h>
#include <sys/uio.h>
#include <unistd.h>

#include <numeric>

#include "kelvo_common_msg.h"
#include "kelvo_value.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/fenced.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

static_assert(sizeof(kelvo_slot) == sizeof(iovec));
static_assert(offsetof(kelvo_slot, base) == offsetof(iovec, iov_base));
static_assert(offsetof(kelvo_slot, length) == offsetof(iovec, iov_len));

constexpr uint32_t kHuge = 52428800;

class Gathering : public testing::Test {
  protected:
    void SetUp() override { platform().reset(); }
};

TEST(Alignment, IsEightZeroBytes) {
    EXPECT_EQ(sizeof kelvo_alignment, 8U);
    for (const uint8_t byte : kelvo_alignment) EXPECT_EQ(byte, 0);
}

TEST(SlotLengths, AreAddedUp) {
    const kelvo_slot list[] = {{nullptr, 40}, {nullptr, 0}, {nullptr, 7}};
    uint32_t total = 99;
    kelvo_common_msg_iovs_length(list, 3, &total);
    EXPECT_EQ(total, 47U);
    kelvo_common_msg_iovs_length(list, 1, &total);
    EXPECT_EQ(total, 40U);
}

TEST(SlotLengths, AreAddedUpForEveryNumberOfSlots) {
    kelvo_slot list[12];
    uint32_t expected = 0;
    for (int32_t count = 0; count < 12; ++count) {
        uint32_t total = 99;
        kelvo_common_msg_iovs_length(list, count, &total);
        EXPECT_EQ(total, expected) << count;
        list[count] = {nullptr, 1U << count};
        expected += 1U << count;
    }
}

TEST(SlotLengths, OfNoSlotsAreZero) {
    const kelvo_slot list[] = {{nullptr, 40}};
    for (const int32_t count : {0, -1, INT32_MIN}) {
        uint32_t total = 99;
        kelvo_common_msg_iovs_length(list, count, &total);
        EXPECT_EQ(total, 0U) << count;
    }
}

TEST(SlotLengths, AreAddedAsThirtyTwoBitNumbersAndWrap) {
    const kelvo_slot list[] = {{nullptr, 0xFFFFFFFF}, {nullptr, 3}, {nullptr, 0x500000005}};
    uint32_t total = 99;
    kelvo_common_msg_iovs_length(list, 2, &total);
    EXPECT_EQ(total, 2U);
    kelvo_common_msg_iovs_length(list, 3, &total);
    EXPECT_EQ(total, 7U);
}

const char kText[] = "abcde";
const kelvo_slot kList[] = {{kText, 5}, {kelvo_alignment, 3}, {nullptr, 0}, {kText + 1, 2}};
const Bytes kFlat = {'a', 'b', 'c', 'd', 'e', 0, 0, 0, 'b', 'c'};

TEST_F(Gathering, ThreeVariantsFlattenAlike) {
    uint8_t* out = nullptr;
    ASSERT_EQ(kelvo_common_msg_iovs_to_buffer(kList, 4, 10, &out), 0U);
    EXPECT_EQ(Bytes(out, out + 10), kFlat);
    free(out);
    ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v1(kList, 4, 10, &out, 0), 0U);
    EXPECT_EQ(Bytes(out, out + 10), kFlat);
    free(out);
    ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 0, 0, 77, &out), 0U);
    EXPECT_EQ(Bytes(out, out + 10), kFlat);
    free(out);
    EXPECT_TRUE(platform().calls.empty()) << "the replication layer is asked only for replicas";
}

TEST_F(Gathering, APieceOfAnyLengthIsCopiedAndNothingAroundIt) {
    Fenced fenced;
    for (size_t length = 0; length <= 140; ++length) {
        for (const bool last : {false, true}) {
            // Of other bytes each time, since released memory may still hold the ones before.
            Bytes piece(length);
            std::iota(piece.begin(), piece.end(), static_cast<uint8_t>(2 * length + last));
            const uint8_t* const source =
                last ? fenced.place(piece) : fenced.place_first(piece.data(), length);
            const kelvo_slot list[] = {{"abc", 3}, {source, length}, {"defgh", 5}};
            uint8_t* flat = nullptr;
            ASSERT_EQ(
                kelvo_common_msg_iovs_to_buffer(list, 3, static_cast<uint32_t>(length) + 8, &flat),
                0U);
            Bytes expected = {'a', 'b', 'c'};
            expected.insert(expected.end(), piece.begin(), piece.end());
            expected.insert(expected.end(), {'d', 'e', 'f', 'g', 'h'});
            EXPECT_EQ(Bytes(flat, flat + length + 8), expected) << length;
            free(flat);
        }
    }
}

TEST_F(Gathering, NoSlotsGiveABufferOfTheSizeAskedFor) {
    const kelvo_slot unreadable = {nullptr, 1};
    for (const int32_t count : {0, -1, INT32_MIN}) {
        uint8_t* out = nullptr;
        const FailingMemory memory;
        ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v2(&unreadable, count, 16, 0, 0, 0, &out), 0U);
        EXPECT_NE(out, nullptr);
        EXPECT_EQ(memory.allocations(), 1U);
        EXPECT_EQ(memory.bytes(), 16U);
        free(out);
        // The other variants count in unsigned numbers; what is too large for a signed one is none.
        const auto unsigned_count = static_cast<uint32_t>(count);
        ASSERT_EQ(kelvo_common_msg_iovs_to_buffer(&unreadable, unsigned_count, 16, &out), 0U);
        free(out);
    }
}

TEST_F(Gathering, TheReplicationLayerAllocatesForReplicas) {
    uint8_t* out = nullptr;
    for (const uint32_t replicated : {1U, 2U, 0x80000000U}) {
        platform().calls.clear();
        ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 0, replicated, 77, &out), 0U);
        EXPECT_EQ(platform().calls, std::vector<std::string>{"replica_build_msg_headers 10 77"});
        EXPECT_EQ(Bytes(out, out + 10), kFlat);
        free(out);
    }
}

TEST_F(Gathering, AReplicationFailureWithABufferIsPassedOn) {
    static uint8_t buffer[16];
    platform().build_replica = [](uint32_t, uint32_t, uint8_t** stored) -> kelvo_status {
        *stored = buffer;
        return 0x4321;
    };
    uint8_t* out = nullptr;
    EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 1, 1, 0, &out), 0x4321U);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(buffer[0], 0) << "nothing is copied then";
}

TEST_F(Gathering, WithoutAReplicationBufferMemoryRanOutWhateverTheLayerSays) {
    for (const kelvo_status said : {0U, 0x4321U}) {
        platform().build_replica = [said](uint32_t, uint32_t, uint8_t** stored) {
            *stored = nullptr;
            return said;
        };
        uint8_t* out = nullptr;
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 1, 1, 0, &out),
                  KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(out, nullptr);
    }
}

TEST_F(Gathering, UpToFiftyMebibytesAFailureIsOnlyReported) {
    for (const uint32_t size : {10U, kHuge}) {
        uint8_t sentinel = 0;
        uint8_t* out = &sentinel;
        const FailingMemory memory(0);
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer(kList, 4, size, &out), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(out, &sentinel);
    }
    EXPECT_TRUE(platform().calls.empty()) << "no dump is taken";
}

TEST_F(Gathering, WithoutFailHardNoFailureStopsTheProcess) {
    for (const uint32_t size : {kHuge + 1, 0xFFFFFFFFU}) {
        uint8_t* out = nullptr;
        const FailingMemory memory(0, FailingMemory::kNever);
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v1(kList, 4, size, &out, 0), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, size, 0, 0, 0, &out),
                  KELVO_ERR_NO_MEMORY);
    }
}

/// Flattens a huge message that cannot be allocated, with the process's output where a death test
/// sees it.
template <class Flatten>
void without_memory(Flatten flatten) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    platform().build_replica = [](uint32_t, uint32_t, uint8_t** stored) {
        *stored = nullptr;
        return 0U;
    };
    platform().boot_media = [](uint32_t) -> const char* {
        static const char kDump[] = "dump taken\n";
        [[maybe_unused]] const auto written = write(STDERR_FILENO, kDump, sizeof kDump - 1);
        return nullptr;
    };
    uint8_t* out = nullptr;
    const FailingMemory memory(0);
    (void)flatten(&out);
}

constexpr const char* kStop =
    "message length: 52428801\ndump taken\n.*common/src/kelvo_common_msg_compose:[0-9]+: "
    "kelvo_common_msg_iovs_to_buffer_v2: Assertion `0' failed";

using GatheringDeathTest = Gathering;

TEST_F(GatheringDeathTest, AHugeMessageThatCannotBeAllocatedStopsTheProcess) {
    for (const uint32_t fail_hard : {1U, 0x80000000U}) {
        for (const uint32_t replicated : {0U, 1U}) {
            EXPECT_DEATH(without_memory([=](uint8_t** out) {
                             return kelvo_common_msg_iovs_to_buffer_v2(
                                 kList, 4, kHuge + 1, fail_hard, replicated, 0, out);
                         }),
                         kStop);
        }
    }
    EXPECT_DEATH(without_memory([](uint8_t** out) {
                     return kelvo_common_msg_iovs_to_buffer_v1(kList, 4, kHuge + 1, out, 1);
                 }),
                 kStop);
    EXPECT_DEATH(without_memory([](uint8_t** out) {
                     return kelvo_common_msg_iovs_to_buffer(kList, 4, kHuge + 1, out);
                 }),
                 kStop);
}

TEST_F(GatheringDeathTest, TheLengthIsPrintedAsASignedNumber) {
    EXPECT_DEATH(without_memory([](uint8_t** out) {
                     return kelvo_common_msg_iovs_to_buffer(kList, 4, 0xFFFFFFFF, out);
                 }),
                 "message length: -1\ndump taken\n.*Assertion `0' failed");
}

struct ValueRow {
    uint32_t type;
    Bytes after;
    uint32_t converted;
};

TEST(TypedValue, IsReversedByTheWidthOfItsType) {
    const ValueRow rows[] = {
        {0, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},          {1, {4, 3, 2, 1, 5, 6, 7, 8, 9}, 1},
        {2, {8, 7, 6, 5, 4, 3, 2, 1, 9}, 1},          {3, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        {9, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},          {10, {2, 1, 3, 4, 5, 6, 7, 8, 9}, 1},
        {11, {2, 1, 3, 4, 5, 6, 7, 8, 9}, 1},         {12, {4, 3, 2, 1, 5, 6, 7, 8, 9}, 1},
        {13, {8, 7, 6, 5, 4, 3, 2, 1, 9}, 1},         {14, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        {0x80000001, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
    };
    for (const ValueRow& row : rows) {
        SCOPED_TRACE(row.type);
        Bytes in_place = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        EXPECT_EQ(kelvo::convert_value(row.type, in_place.data(), in_place.data()), row.converted);
        EXPECT_EQ(in_place, row.after);

        const Bytes source = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        Bytes copy(9, 0xEE);
        EXPECT_EQ(kelvo::convert_value(row.type, copy.data(), source.data()), row.converted);
        for (std::size_t i = 0; i < 9; ++i) {
            EXPECT_EQ(copy[i], i < kelvo::value_width(row.type) ? row.after[i] : 0xEE) << i;
        }
    }
}

TEST(TypedValue, ANullPointerConvertsNothing) {
    uint32_t word = 0x01020304;
    EXPECT_EQ(kelvo::convert_value(1, nullptr, &word), 0U);
    EXPECT_EQ(kelvo::convert_value(1, &word, nullptr), 0U);
    EXPECT_EQ(word, 0x01020304U);
}

TEST(TypedValue, ConvertsAtAnyAddress) {
    Bytes bytes(16);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        std::iota(bytes.begin(), bytes.end(), 0);
        EXPECT_EQ(kelvo::convert_value(2, bytes.data() + shift, bytes.data() + shift), 1U);
        EXPECT_EQ(bytes[shift], shift + 7);
    }
}

}  // namespace
