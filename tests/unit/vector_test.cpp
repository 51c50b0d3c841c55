// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "kelvo_vector.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::platform;

constexpr uint32_t kNone = KELVO_VECTOR_NONE;
constexpr uint32_t kSentinel = 0xdeadbeef;

// ---- A plain model of the whole table ----

/// What a vector does, written the long way. `failing` is the number of the allocation that fails
/// within one call, counted from 0.
struct Model {
    struct Slot {
        bool used;
        std::string value;
        uint32_t next_free;
    };

    uint32_t minimum;
    uint32_t capacity;
    uint32_t used = 0;
    uint32_t free_count = 0;
    uint32_t head = kNone;
    std::vector<Slot> slots{};  // those below the high-water mark
    std::size_t allocation = 0;
    std::size_t failing = FailingMemory::kNever;

    [[nodiscard]] bool allocate() { return allocation++ != failing; }

    kelvo_status insert(const std::string& value, uint32_t* index) {
        allocation = 0;
        if (!allocate()) return KELVO_ERR_NO_MEMORY;
        if (head == kNone && slots.size() == capacity) {
            if (!allocate()) return KELVO_ERR_NO_MEMORY;
            capacity *= 2;
        }
        if (head != kNone) {
            *index = head;
            head = slots[head].next_free;
            slots[*index] = {true, value, 0};
        } else {
            *index = static_cast<uint32_t>(slots.size());
            slots.push_back({true, value, 0});
        }
        used += 1;
        if (used == capacity) {
            if (!allocate()) return KELVO_ERR_NO_MEMORY;
            capacity *= 2;
        }
        return 0;
    }

    kelvo_status remove(uint32_t index) {
        allocation = 0;
        if (index >= slots.size() || !slots[index].used) return KELVO_ERR_NULL_PARAM;
        used -= 1;
        free_count += 1;
        if (index == slots.size() - 1) {
            slots.pop_back();
        } else {
            slots[index] = {false, "", head};
            head = index;
        }
        if (2 * uint64_t{free_count} >= capacity && !slots.empty() && !slots.back().used) {
            while (!slots.empty() && !slots.back().used) {
                slots.pop_back();
                free_count -= 1;
            }
            head = kNone;
            for (std::size_t i = slots.size(); i > 0; --i) {
                if (slots[i - 1].used) continue;
                slots[i - 1].next_free = head;
                head = static_cast<uint32_t>(i - 1);
            }
        }
        while (4 * uint64_t{used} <= capacity && capacity / 2 >= minimum &&
               capacity / 2 >= slots.size()) {
            if (!allocate()) return KELVO_ERR_NO_MEMORY;
            capacity /= 2;
        }
        return 0;
    }
};

void expect_same(const kelvo_vector* vector, const Model& model, const std::string& where) {
    ASSERT_EQ(vector->minimum_capacity, model.minimum) << where;
    ASSERT_EQ(vector->capacity, model.capacity) << where;
    ASSERT_EQ(vector->used_count, model.used) << where;
    ASSERT_EQ(vector->free_count, model.free_count) << where;
    ASSERT_EQ(vector->free_head, model.head) << where;
    ASSERT_EQ(vector->high_water, model.slots.size()) << where;
    for (uint32_t i = 0; i < vector->high_water; ++i) {
        const kelvo_vector_slot& slot = vector->slots[i];
        const Model::Slot& expected = model.slots[i];
        ASSERT_EQ(slot.state, expected.used ? 2U : 1U) << where << " slot " << i;
        if (!expected.used) {
            ASSERT_EQ(slot.next_free, expected.next_free) << where << " slot " << i;
            continue;
        }
        ASSERT_EQ(std::string(static_cast<char*>(slot.value), slot.size), expected.value) << where;
    }
}

// ---- Helpers ----

class Vector : public testing::Test {
  protected:
    void SetUp() override { platform().reset(); }
    void TearDown() override {
        if (vector != nullptr) {
            EXPECT_EQ(vector_shutdown(vector), 0U);
        }
    }

    void init(uint32_t count) { ASSERT_EQ(vector_init(count, &vector), 0U); }

    uint32_t insert(const std::string& value) {
        uint32_t index = kSentinel;
        EXPECT_EQ(vector_insert(vector, value.data(), static_cast<uint32_t>(value.size()), &index),
                  0U);
        return index;
    }

    void insert_many(uint32_t count) {
        for (uint32_t i = 0; i < count; ++i) EXPECT_EQ(insert(std::string(1, 'v')), i);
    }

    std::optional<std::string> found(uint32_t index) const {
        void* value = nullptr;
        uint32_t size = 0;
        if (vector_find(vector, index, &value, &size) != 0) return std::nullopt;
        return std::string(static_cast<char*>(value), size);
    }

    std::vector<uint32_t> free_list() const {
        std::vector<uint32_t> list;
        for (uint32_t i = vector->free_head; i != kNone; i = vector->slots[i].next_free) {
            list.push_back(i);
        }
        return list;
    }

    std::vector<uint32_t> all_indices() const {
        std::vector<uint32_t> indices;
        uint32_t index = kNone;
        void* value;
        uint32_t size;
        uint32_t end;
        while (vector_get_next_value(vector, &index, &value, &size, &end) == 0 && end == 0) {
            indices.push_back(index);
        }
        return indices;
    }

    kelvo_vector* vector = nullptr;
};

// ---- Initialisation ----

TEST_F(Vector, TheCapacityIsTheNextPowerOfTwoAndAtLeastTwo) {
    struct Row {
        uint32_t count;
        uint32_t capacity;
    };
    for (const Row& row :
         {Row{1, 2}, {2, 2}, {3, 4}, {4, 4}, {5, 8}, {8, 8}, {9, 16}, {1000, 1024}}) {
        init(row.count);
        expect_same(vector, Model{row.capacity, row.capacity}, std::to_string(row.count));
        EXPECT_EQ(vector_shutdown(vector), 0U);
        vector = nullptr;
    }
}

TEST_F(Vector, InitLogsAndRefusesANullOutputAndACountOfZero) {
    EXPECT_EQ(vector_init(1, nullptr), KELVO_ERR_NULL_PARAM);
    auto* const sentinel = reinterpret_cast<kelvo_vector*>(0x5a5a);
    kelvo_vector* out = sentinel;
    EXPECT_EQ(vector_init(0, &out), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(out, sentinel);
    ASSERT_EQ(platform().log.size(), 2U);
    for (const auto& line : platform().log) {
        EXPECT_EQ(line.record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(line.severity, 7);
        EXPECT_EQ(line.text,
                  "A NULL pointer was passed as a fn parameter: rc 0x40818800 (text of "
                  "0x40818800)");
    }
}

TEST_F(Vector, InitWithoutMemoryForTheVectorLeavesTheOutput) {
    auto* const sentinel = reinterpret_cast<kelvo_vector*>(0x5a5a);
    kelvo_vector* out = sentinel;
    const FailingMemory fail(0);
    EXPECT_EQ(vector_init(5, &out), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(out, sentinel);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

TEST_F(Vector, InitWithoutMemoryForTheTableSetsTheOutputToNull) {
    kelvo_vector* out = reinterpret_cast<kelvo_vector*>(0x5a5a);
    const FailingMemory fail(1);
    EXPECT_EQ(vector_init(5, &out), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

TEST_F(Vector, TheGreatestTableIsAskedForInFull) {
    kelvo_vector* out = reinterpret_cast<kelvo_vector*>(0x5a5a);
    const FailingMemory fail(1);
    EXPECT_EQ(vector_init(0x80000000, &out), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(FailingMemory::bytes(), 32 + 0x80000000 * std::size_t{24});
}

TEST_F(Vector, ACapacityBeyond32BitsIsATableWithoutMemory) {
    for (const uint32_t count : {0x80000001U, 0xffffffffU}) {
        kelvo_vector* out = reinterpret_cast<kelvo_vector*>(0x5a5a);
        const FailingMemory counted;
        EXPECT_EQ(vector_init(count, &out), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
}

// ---- Arguments ----

TEST_F(Vector, EveryOtherFaultyArgumentIsRefusedInSilence) {
    init(2);
    EXPECT_EQ(insert("value"), 0U);
    insert("free");
    insert("last");
    EXPECT_EQ(vector_delete(vector, 1), 0U);
    kelvo_vector no_table = *vector;
    no_table.slots = nullptr;
    uint32_t index = kSentinel;
    void* const untouched = &index;
    void* value = untouched;
    uint32_t size = kSentinel;
    uint32_t end = kSentinel;
    uint32_t from = kNone;

    for (kelvo_vector* const unusable : {static_cast<kelvo_vector*>(nullptr), &no_table}) {
        EXPECT_EQ(vector_insert(unusable, "v", 1, &index), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(vector_find(unusable, 0, &value, &size), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(vector_delete(unusable, 0), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(vector_get_next_value(unusable, &from, &value, &size, &end),
                  KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(vector_shutdown(unusable), KELVO_ERR_NULL_PARAM);
    }
    EXPECT_EQ(vector_insert(vector, nullptr, 1, &index), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(vector_insert(vector, "v", 0, &index), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(vector_insert(vector, "v", 1, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(vector_find(vector, 0, nullptr, &size), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(vector_find(vector, 0, &value, nullptr), KELVO_ERR_NULL_PARAM);
    for (const uint32_t without_value : {1U, 3U, 4U, kNone}) {
        EXPECT_EQ(vector_find(vector, without_value, &value, &size), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(vector_delete(vector, without_value), KELVO_ERR_NULL_PARAM);
    }
    EXPECT_EQ(vector_get_next_value(vector, nullptr, &value, &size, &end), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(vector_get_next_value(vector, &from, nullptr, &size, &end), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(vector_get_next_value(vector, &from, &value, nullptr, &end), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(vector_get_next_value(vector, &from, &value, &size, nullptr), KELVO_ERR_NULL_PARAM);

    EXPECT_EQ(index, kSentinel);
    EXPECT_EQ(value, untouched);
    EXPECT_EQ(size, kSentinel);
    EXPECT_EQ(end, kSentinel);
    EXPECT_EQ(from, kNone);
    EXPECT_TRUE(platform().log.empty());
}

// ---- Insert and find ----

TEST_F(Vector, KeepsAPrivateCopyOfEachValue) {
    init(2);
    std::string value(3, 'a');
    const uint32_t index = insert(value);
    value[0] = 'b';
    EXPECT_EQ(found(index), "aaa");
}

TEST_F(Vector, ValuesOfOneByteSurviveTheFreeList) {
    init(4);
    insert_many(3);
    EXPECT_EQ(vector_delete(vector, 0), 0U);
    EXPECT_EQ(insert("x"), 0U);
    EXPECT_EQ(found(0), "x");
    EXPECT_EQ(found(1), "v");
}

TEST_F(Vector, FillingTheTableDoublesIt) {
    init(2);
    insert("a");
    EXPECT_EQ(vector->capacity, 2U);
    insert("b");
    EXPECT_EQ(vector->capacity, 4U);
    EXPECT_EQ(vector->minimum_capacity, 2U);
    EXPECT_EQ(found(0), "a");
    EXPECT_EQ(found(1), "b");
}

TEST_F(Vector, ADeletedIndexIsUsedAgainAndTheFreeCountStays) {
    init(8);
    insert_many(3);
    EXPECT_EQ(vector_delete(vector, 0), 0U);
    EXPECT_EQ(vector->free_count, 1U);
    EXPECT_EQ(insert("again"), 0U);
    EXPECT_EQ(vector->free_count, 1U);
    EXPECT_EQ(vector->free_head, kNone);
    EXPECT_EQ(insert("next"), 3U);
}

TEST_F(Vector, TheIndexFreedLastIsUsedFirst) {
    init(64);
    insert_many(6);
    for (const uint32_t index : {1U, 3U, 0U}) EXPECT_EQ(vector_delete(vector, index), 0U);
    EXPECT_EQ(free_list(), (std::vector<uint32_t>{0, 3, 1}));
    EXPECT_EQ(insert("a"), 0U);
    EXPECT_EQ(insert("b"), 3U);
    EXPECT_EQ(insert("c"), 1U);
    EXPECT_EQ(insert("d"), 6U);
}

TEST_F(Vector, WithoutMemoryForTheCopyNothingChanges) {
    init(2);
    insert("a");
    uint32_t index = kSentinel;
    {
        const FailingMemory fail(0);
        EXPECT_EQ(vector_insert(vector, "b", 1, &index), KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(index, kSentinel);
    expect_same(vector, Model{.minimum = 2, .capacity = 2, .used = 1, .slots = {{true, "a", 0}}},
                "after");
}

TEST_F(Vector, AFailedGrowthKeepsTheValueAndTellsItsIndex) {
    init(2);
    insert("a");
    uint32_t index = kSentinel;
    {
        const FailingMemory fail(1);
        EXPECT_EQ(vector_insert(vector, "b", 1, &index), KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(found(1), "b");
    EXPECT_EQ(vector->used_count, 2U);
    EXPECT_EQ(vector->capacity, 2U);
}

TEST_F(Vector, AnInsertIntoAFullTableGrowsItFirst) {
    init(2);
    insert("a");
    uint32_t index = kSentinel;
    {
        const FailingMemory fail(1);
        EXPECT_EQ(vector_insert(vector, "b", 1, &index), KELVO_ERR_NO_MEMORY);
    }
    index = kSentinel;
    {
        const FailingMemory fail(1);
        EXPECT_EQ(vector_insert(vector, "c", 1, &index), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    EXPECT_EQ(index, kSentinel);
    expect_same(
        vector,
        Model{.minimum = 2, .capacity = 2, .used = 2, .slots = {{true, "a", 0}, {true, "b", 0}}},
        "after");
    EXPECT_EQ(insert("c"), 2U);
    EXPECT_EQ(vector->capacity, 4U);
}

TEST_F(Vector, ATableOfTwoToThe31SlotsCannotGrow) {
    // Made by hand, with one slot that is there and all others claimed.
    kelvo_vector_slot slot = {KELVO_VECTOR_SLOT_USED, {nullptr}, 0};
    const uint32_t all = 0x80000000;
    kelvo_vector full = {2, all, all, 0, kNone, all, &slot};
    uint32_t index = kSentinel;
    {
        const FailingMemory counted;
        EXPECT_EQ(vector_insert(&full, "v", 1, &index), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    EXPECT_EQ(index, kSentinel);
    EXPECT_EQ(full.used_count, all);

    slot.state = KELVO_VECTOR_SLOT_FREE;
    slot.next_free = kNone;
    kelvo_vector last_free = {2, all, all - 1, 1, 0, all, &slot};
    EXPECT_EQ(vector_insert(&last_free, "v", 1, &index), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(last_free.used_count, all);
    EXPECT_EQ(last_free.capacity, all);
    free(slot.value);
}

// ---- Delete ----

TEST_F(Vector, DeletingTheLastIndexLowersTheMark) {
    init(8);
    insert_many(3);
    EXPECT_EQ(vector_delete(vector, 2), 0U);
    EXPECT_EQ(vector->high_water, 2U);
    EXPECT_EQ(vector->free_head, kNone);
    EXPECT_EQ(vector->free_count, 1U);
    EXPECT_EQ(insert("again"), 2U);
}

TEST_F(Vector, BelowHalfTheCapacityFreeSlotsStayAtTheTop) {
    init(16);
    insert_many(8);
    for (const uint32_t index : {5U, 6U, 7U}) EXPECT_EQ(vector_delete(vector, index), 0U);
    EXPECT_EQ(vector->high_water, 7U);  // 5 and 6 are free, 7 has left
    EXPECT_EQ(free_list(), (std::vector<uint32_t>{6, 5}));
    EXPECT_EQ(vector->free_count, 3U);
}

TEST_F(Vector, TrimmingLowersTheMarkAndSortsTheFreeList) {
    init(16);
    insert_many(12);
    for (const uint32_t index : {4U, 1U, 9U, 10U, 3U, 8U, 6U}) {
        EXPECT_EQ(vector_delete(vector, index), 0U);
    }
    EXPECT_EQ(free_list(), (std::vector<uint32_t>{6, 8, 3, 10, 9, 1, 4}));
    EXPECT_EQ(vector->high_water, 12U);
    EXPECT_EQ(vector_delete(vector, 11), 0U);  // the eighth: half of 16
    EXPECT_EQ(vector->high_water, 8U);         // 11 by itself, then 10, 9 and 8
    EXPECT_EQ(vector->free_count, 5U);
    EXPECT_EQ(free_list(), (std::vector<uint32_t>{1, 3, 4, 6}));
    EXPECT_EQ(all_indices(), (std::vector<uint32_t>{0, 2, 5, 7}));
}

TEST_F(Vector, WithoutAFreeSlotAtTheTopNothingIsTrimmed) {
    init(8);
    insert_many(6);
    for (const uint32_t index : {0U, 1U, 2U, 3U}) EXPECT_EQ(vector_delete(vector, index), 0U);
    EXPECT_EQ(free_list(), (std::vector<uint32_t>{3, 2, 1, 0}));
    EXPECT_EQ(vector->free_count, 4U);
    EXPECT_EQ(vector->high_water, 6U);
}

TEST_F(Vector, ATableMostlyEmptyIsHalvedDownToItsMinimum) {
    init(4);
    insert_many(32);
    EXPECT_EQ(vector->capacity, 64U);
    for (uint32_t left = 32; left > 0; --left) {
        EXPECT_EQ(vector_delete(vector, left - 1), 0U);
        uint32_t expected = 64;
        while (4 * (left - 1) <= expected && expected > 4) expected /= 2;
        EXPECT_EQ(vector->capacity, expected) << left;
    }
    EXPECT_EQ(vector->capacity, 4U);
}

TEST_F(Vector, ATableIsNotHalvedBelowItsMark) {
    init(2);
    insert_many(16);
    EXPECT_EQ(vector->capacity, 32U);
    for (uint32_t index = 0; index < 15; ++index) EXPECT_EQ(vector_delete(vector, index), 0U);
    EXPECT_EQ(vector->high_water, 16U);
    EXPECT_EQ(vector->capacity, 16U);
}

TEST_F(Vector, AFailedHalvingIsReportedAndTheValueIsGone) {
    init(2);
    insert_many(8);
    for (uint32_t left = 8; left > 5; --left) EXPECT_EQ(vector_delete(vector, left - 1), 0U);
    EXPECT_EQ(vector->capacity, 16U);
    {
        const FailingMemory fail(0);
        EXPECT_EQ(vector_delete(vector, 4), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::allocations(), 1U);
    }
    EXPECT_EQ(vector->capacity, 16U);
    EXPECT_EQ(vector->used_count, 4U);
    EXPECT_EQ(found(4), std::nullopt);
    EXPECT_EQ(vector_delete(vector, 3), 0U);  // the next one makes up for it
    EXPECT_EQ(vector->capacity, 8U);
}

TEST_F(Vector, ASecondHalvingThatFailsKeepsTheFirst) {
    init(2);
    insert_many(16);
    for (uint32_t index = 0; index < 15; ++index) EXPECT_EQ(vector_delete(vector, index), 0U);
    ASSERT_EQ(vector->capacity, 16U);
    {
        const FailingMemory fail(1);
        EXPECT_EQ(vector_delete(vector, 15), KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(vector->high_water, 0U);
    EXPECT_EQ(vector->capacity, 8U);
}

// ---- Iteration ----

TEST_F(Vector, IteratingOverAnEmptyVectorEndsAtOnce) {
    init(2);
    uint32_t index = kNone;
    void* value = &index;
    uint32_t size = kSentinel;
    uint32_t end = kSentinel;
    EXPECT_EQ(vector_get_next_value(vector, &index, &value, &size, &end), 0U);
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(size, kSentinel);
    EXPECT_EQ(end, 1U);
}

TEST_F(Vector, IterationSkipsFreeSlotsAndHandsOutEachValue) {
    init(16);
    insert("zero");
    insert_many(0);
    EXPECT_EQ(insert("1"), 1U);
    EXPECT_EQ(insert("two"), 2U);
    EXPECT_EQ(insert("3"), 3U);
    EXPECT_EQ(vector_delete(vector, 1), 0U);
    uint32_t index = kNone;
    void* value = nullptr;
    uint32_t size = 0;
    uint32_t end = kSentinel;
    ASSERT_EQ(vector_get_next_value(vector, &index, &value, &size, &end), 0U);
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(std::string(static_cast<char*>(value), size), "zero");
    EXPECT_EQ(end, 0U);
    ASSERT_EQ(vector_get_next_value(vector, &index, &value, &size, &end), 0U);
    EXPECT_EQ(index, 2U);
    EXPECT_EQ(std::string(static_cast<char*>(value), size), "two");
    EXPECT_EQ(all_indices(), (std::vector<uint32_t>{0, 2, 3}));
}

TEST_F(Vector, TheEndTellsWhereTheSearchStopped) {
    init(8);
    insert_many(3);
    struct Row {
        uint32_t from;
        uint32_t stopped;
    };
    for (const Row& row : {Row{2, 3}, {3, 4}, {6, 7}, {7, 8}}) {
        uint32_t index = row.from;
        void* value = &index;
        uint32_t size = kSentinel;
        uint32_t end = 0;
        EXPECT_EQ(vector_get_next_value(vector, &index, &value, &size, &end), 0U) << row.from;
        EXPECT_EQ(index, row.stopped) << row.from;
        EXPECT_EQ(value, nullptr);
        EXPECT_EQ(size, kSentinel);
        EXPECT_EQ(end, 1U);
    }
}

TEST_F(Vector, AnIndexAtTheCapacityOrAboveIsRefused) {
    init(8);
    for (const uint32_t from : {8U, 9U, 0xfffffffeU}) {
        uint32_t index = from;
        void* value = nullptr;
        uint32_t size = 0;
        uint32_t end = kSentinel;
        EXPECT_EQ(vector_get_next_value(vector, &index, &value, &size, &end), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(index, from);
        EXPECT_EQ(end, kSentinel);
    }
}

// ---- Everything at random, against the model ----

class VectorAgainstModel : public Vector, public testing::WithParamInterface<uint32_t> {};

TEST_P(VectorAgainstModel, EveryFieldAgreesAfterEveryStep) {
    std::mt19937 random(GetParam());
    const uint32_t count = 1 + GetParam() % 9;
    init(count);
    Model model{vector->capacity, vector->capacity};
    auto growing = 50UL;
    for (int step = 0; step < 3000; ++step) {
        if (step % 300 == 0) growing = 20 + random() % 60;
        model.failing = random() % 4 == 0 ? random() % 3 : FailingMemory::kNever;
        const std::string where =
            "seed " + std::to_string(GetParam()) + " step " + std::to_string(step);
        if (random() % 100 < growing) {
            const std::string value(1 + random() % 10, static_cast<char>('a' + random() % 26));
            uint32_t expected_index = kSentinel;
            uint32_t index = kSentinel;
            const kelvo_status expected = model.insert(value, &expected_index);
            kelvo_status status;
            {
                const FailingMemory fail(model.failing);
                status = vector_insert(vector, value.data(), static_cast<uint32_t>(value.size()),
                                       &index);
            }
            ASSERT_EQ(status, expected) << where;
            ASSERT_EQ(index, expected_index) << where;
        } else {
            const auto index = static_cast<uint32_t>(random() % (model.slots.size() + 2));
            const kelvo_status expected = model.remove(index);
            kelvo_status status;
            {
                const FailingMemory fail(model.failing);
                status = vector_delete(vector, index);
            }
            ASSERT_EQ(status, expected) << where << " delete " << index;
        }
        expect_same(vector, model, where);
        if (HasFatalFailure()) return;
        std::vector<uint32_t> used;
        for (uint32_t i = 0; i < model.slots.size(); ++i) {
            if (model.slots[i].used) used.push_back(i);
        }
        ASSERT_EQ(all_indices(), used) << where;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, VectorAgainstModel, testing::Range(0U, 20U));

TEST_F(Vector, ShutdownReleasesEverything) {
    const FailingMemory counted;
    init(2);
    for (int i = 0; i < 20; ++i) insert("value");
    for (const uint32_t index : {3U, 7U, 19U}) EXPECT_EQ(vector_delete(vector, index), 0U);
    EXPECT_EQ(vector_shutdown(vector), 0U);
    vector = nullptr;
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

}  // namespace
