// SPDX-License-Identifier: Apache-2.0
//
// The startup pairs of registration requests: which differ, what a failure leaves behind, and what
// many of them cost.
#include <gtest/gtest.h>

#include <ctime>

#include "platform/failing_memory.h"
#include "support/registration_readers.h"

namespace {

using namespace kelvo::test;

constexpr auto read_vs_unreg = read_startup_unreg<kelvo_common_msg_vs_unreg_interpret>;
constexpr auto read_edms_unreg = read_startup_unreg<kelvo_common_msg_edms_unreg_interpret>;

struct PairRow {
    Pairs pairs;
    uint32_t status;
};
const PairRow kPairRows[] = {
    {{{7, 1}, {7, 2}}, kOk},
    {{{7, 1}, {7, 1}}, kDuplicate},
    {{{7, 1}, {8, 1}}, kOk},
    {{{7, 1}, {7, kAny}}, kDuplicate},
    {{{7, kAny}, {7, 1}}, kOk},
    {{{7, kAny}, {7, kAny}}, kDuplicate},
    {{{7, 1}, {8, kAny}}, kOk},
    {{{7, 1}, {8, 2}, {7, 1}}, kDuplicate},
    {{{7, kAny}, {7, 1}, {7, kAny}}, kDuplicate},
};

TEST(PairsOfAMessage, MustDiffer) {
    const LeaksAreMeant leaks;
    for (const PairRow& row : kPairRows) {
        SCOPED_TRACE(testing::PrintToString(row.pairs));
        EXPECT_EQ(read(read_vs_reg, vs_reg(Order::host, "a", row.pairs)).status, row.status);
        EXPECT_EQ(read(read_edms_reg, edms_reg(Order::host, "a", row.pairs)).status, row.status);
        EXPECT_EQ(read(read_vs_unreg, startup_unreg(1, row.pairs)).status, row.status);
        EXPECT_EQ(read(read_edms_unreg, startup_unreg(1, row.pairs)).status, row.status);
    }
}

/// A pair is looked up before the next one is known to be missing, and after its own room.
TEST(PairsOfAMessage, AreTestedOneAfterAnother) {
    const LeaksAreMeant leaks;
    Bytes bytes = vs_reg(Order::host, "a", {{7, 1}, {7, 1}, {8, 1}});
    bytes.resize(bytes.size() - 8);
    EXPECT_EQ(read(read_vs_reg, bytes).status, kDuplicate);
    bytes.resize(bytes.size() - 8);
    EXPECT_EQ(read(read_vs_reg, bytes).status, kLength);
}

/// Entries left behind by a failure on the last of `count` pairs.
template <class Read>
long left_behind(Bytes bytes, Read read_message, uint32_t expected) {
    const LeaksAreMeant leaks;
    const FailingMemory memory;
    uint32_t words[2];
    void* block;
    char* path;
    kelvo_startup_list* list = nullptr;
    const uint32_t status = read_message(bytes.data(), static_cast<uint32_t>(bytes.size()), words,
                                         &block, &path, &list);
    const long outstanding = FailingMemory::outstanding();
    EXPECT_EQ(status, expected);
    EXPECT_EQ(list, nullptr);
    return outstanding;
}

const auto kVsReg = [](void* msg, uint32_t length, uint32_t* words, void** block, char** path,
                       kelvo_startup_list** list) {
    return kelvo_common_msg_vs_reg_interpret(msg, length, &words[0], block, &words[1], path, list);
};
const auto kEdmsReg = [](void* msg, uint32_t length, uint32_t* words, void** block, char** path,
                         kelvo_startup_list** list) {
    return kelvo_common_msg_edms_reg_interpret(msg, length, block, &words[1], path, list);
};
const auto kVsUnreg = [](void* msg, uint32_t length, uint32_t* words, void**, char**,
                         kelvo_startup_list** list) {
    return kelvo_common_msg_vs_unreg_interpret(msg, length, words, list);
};
const auto kEdmsUnreg = [](void* msg, uint32_t length, uint32_t* words, void**, char**,
                           kelvo_startup_list** list) {
    return kelvo_common_msg_edms_unreg_interpret(msg, length, words, list);
};

/// Many different pairs, so that the reader keeps a set of them.
Pairs many_pairs(uint32_t count) {
    Pairs pairs;
    for (uint32_t i = 0; i < count; ++i) pairs.emplace_back(i % 11, i);
    return pairs;
}

TEST(PairsOfAMessage, StayBehindWhenARegistrationFails) {
    for (const uint32_t count : {2U, 100U, 300U}) {
        Pairs pairs = many_pairs(count);
        pairs.push_back(pairs.front());
        EXPECT_EQ(left_behind(vs_reg(Order::host, "a", pairs), kVsReg, kDuplicate), count);
        EXPECT_EQ(left_behind(edms_reg(Order::host, "a", pairs), kEdmsReg, kDuplicate), count);
        Bytes longer = vs_reg(Order::host, "a", many_pairs(count));
        longer.push_back(0);
        EXPECT_EQ(left_behind(longer, kVsReg, kLength), count);
    }
}

TEST(PairsOfAMessage, AreReleasedWhenAnUnregistrationFails) {
    for (const uint32_t count : {0U, 2U, 100U, 300U}) {
        Pairs pairs = many_pairs(count);
        pairs.insert(pairs.end(), {{50, 1}, {50, 1}});
        EXPECT_EQ(left_behind(startup_unreg(1, pairs), kVsUnreg, kDuplicate), 0);
        EXPECT_EQ(left_behind(startup_unreg(1, pairs), kEdmsUnreg, kDuplicate), 0);
        Bytes longer = startup_unreg(1, many_pairs(count));
        longer.push_back(0);
        EXPECT_EQ(left_behind(longer, kVsUnreg, kLength), 0);
    }
    Bytes missing = startup_unreg(1, {{1, 1}});
    missing.resize(missing.size() - 8);
    EXPECT_EQ(left_behind(missing, kEdmsUnreg, kLength), 0) << "not even one was added";
}

/// Fails each allocation in turn until none is left to fail. @return the number that failed
template <class Read, class Check>
std::size_t fail_each_allocation(Bytes bytes, Read read_message, Check check) {
    const LeaksAreMeant leaks;
    for (std::size_t failing = 0;; ++failing) {
        uint32_t words[2];
        void* block;
        char* path;
        kelvo_startup_list* list = nullptr;
        uint32_t status;
        long outstanding;
        {
            const FailingMemory memory(failing);
            status = read_message(bytes.data(), static_cast<uint32_t>(bytes.size()), words, &block,
                                  &path, &list);
            outstanding = FailingMemory::outstanding();
        }
        if (status == kOk) {
            kelvo_common_startup_list_free(&list);
            return failing;
        }
        EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(list, nullptr);
        check(failing, outstanding);
        if (testing::Test::HasFailure()) return failing;
    }
}

TEST(PairsOfAMessage, NeedMemoryForEachEntry) {
    const auto one_per_pair = [](std::size_t failing, long outstanding) {
        EXPECT_EQ(outstanding, failing);
    };
    const auto nothing = [](std::size_t, long outstanding) { EXPECT_EQ(outstanding, 0); };
    EXPECT_EQ(fail_each_allocation(vs_reg(Order::host, "a", many_pairs(20)), kVsReg, one_per_pair),
              20U);
    EXPECT_EQ(
        fail_each_allocation(edms_reg(Order::host, "a", many_pairs(20)), kEdmsReg, one_per_pair),
        20U);
    EXPECT_EQ(fail_each_allocation(startup_unreg(1, many_pairs(20)), kVsUnreg, nothing), 20U);
    EXPECT_EQ(fail_each_allocation(startup_unreg(1, many_pairs(20)), kEdmsUnreg, nothing), 20U);
}

TEST(PairsOfAMessage, NeedMemoryForTheirSetWhenTheyAreMany) {
    const auto at_most_entries = [](std::size_t failing, long outstanding) {
        EXPECT_LE(outstanding, static_cast<long>(failing));
    };
    const auto nothing = [](std::size_t, long outstanding) { EXPECT_EQ(outstanding, 0); };
    EXPECT_GT(
        fail_each_allocation(vs_reg(Order::host, "a", many_pairs(500)), kVsReg, at_most_entries),
        500U);
    EXPECT_GT(fail_each_allocation(startup_unreg(1, many_pairs(500)), kVsUnreg, nothing), 500U);
}

/// A long list tells the pair of zeros from a place that is free.
TEST(PairsOfAMessage, MayBeZeroInLongLists) {
    Pairs pairs;
    for (uint32_t i = 1; i <= 40; ++i) pairs.emplace_back(i, i);
    pairs.emplace_back(0, 0);
    const auto long_list = [&pairs](Pair last) {
        Pairs all = pairs;
        all.push_back(last);
        return read(read_vs_unreg, startup_unreg(1, all)).status;
    };
    EXPECT_EQ(long_list({0, 1}), kOk);
    EXPECT_EQ(long_list({0, 0}), kDuplicate);
    EXPECT_EQ(long_list({0, kAny}), kDuplicate);
}

/// Each bit of both numbers tells pairs apart, also in a long list.
TEST(PairsOfAMessage, DifferInAnyBitInLongLists) {
    Pairs pairs;
    for (uint32_t i = 0; i < 40; ++i) pairs.emplace_back(0x10000 + i, 0x10000);
    pairs.emplace_back(0x20000, 0x20000);
    for (uint32_t bit = 0; bit < 32; ++bit) {
        pairs.emplace_back(0x20000 ^ 1U << bit, 0x20000);
        pairs.emplace_back(0x20000, 0x20000 ^ 1U << bit);
    }
    EXPECT_EQ(read(read_vs_unreg, startup_unreg(1, pairs)).list.size(), pairs.size());
    for (const Pair& pair : pairs) {
        Pairs all = pairs;
        all.push_back(pair);
        EXPECT_EQ(read(read_vs_unreg, startup_unreg(1, all)).status, kDuplicate);
    }
}

/// Readers of a million pairs: of one job, of many jobs, and with a duplicate at the end.
TEST(PairsOfAMessage, AMillionTakeTheTimeOfTheirBytes) {
    const uint32_t million = 1000000;
    Pairs pairs;
    for (uint32_t i = 0; i < million; ++i) pairs.emplace_back(i < million / 2 ? 5 : i, i);
    const std::clock_t start = std::clock();
    EXPECT_EQ(read(read_vs_reg, vs_reg(Order::host, "a", pairs)).list.size(), million);
    pairs.emplace_back(5, kAny);
    EXPECT_EQ(read(read_vs_unreg, startup_unreg(1, pairs)).status, kDuplicate);
    EXPECT_LT(std::clock() - start, 20 * CLOCKS_PER_SEC);  // of the processor, which may be shared
}

TEST(PairsOfAMessage, BillionsTakeTheTimeOfTheBytes) {
    const LeaksAreMeant leaks;
    Bytes bytes = startup_unreg(1, {{1, 1}});
    put_word(bytes, 48, 0xFFFFFFFF);
    const FailingMemory memory;
    EXPECT_EQ(read_vs_unreg(bytes.data(), static_cast<uint32_t>(bytes.size())).status, kLength);
    EXPECT_LE(memory.bytes(), 1000U);
}

TEST(PairsOfAMessage, BillionsTakeTheMemoryOfTheBytes) {
    const LeaksAreMeant leaks;
    Bytes bytes = startup_unreg(1, many_pairs(100));
    put_word(bytes, 48, 0xFFFFFFFF);
    const FailingMemory memory;
    EXPECT_EQ(read_vs_unreg(bytes.data(), static_cast<uint32_t>(bytes.size())).status, kLength);
    EXPECT_LE(memory.bytes(), 16 * bytes.size());
}

}  // namespace
