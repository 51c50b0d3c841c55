// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kelvo_cfg_group.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/startup_lists.h"
#include "support/wire_bytes.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::PackedTuple;
using kelvo::test::platform;

constexpr uint32_t kSentinel = 0xdeadbeef;
constexpr char kNullLine[] =
    "A NULL pointer was passed as a fn parameter: rc 0x40818800 (text of 0x40818800)";

// ---- Apply bitmask ----

using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

class ApplyBitmask : public testing::Test {
  protected:
    void TearDown() override { kelvo_apply_bitmask_free(&mask); }

    kelvo_status add(uint32_t first, uint32_t second) {
        return kelvo_apply_bitmask_add(first, second, &mask);
    }

    Pairs rest() {
        Pairs pairs;
        uint32_t first;
        uint32_t second;
        while (kelvo_apply_bitmask_next(&mask, &first, &second), first != KELVO_APPLY_BITMASK_END) {
            pairs.emplace_back(first, second);
        }
        return pairs;
    }
    Pairs all() {
        kelvo_apply_bitmask_start(&mask);
        return rest();
    }

    kelvo_apply_bitmask mask = {};
};

TEST_F(ApplyBitmask, ReturnsTheEntriesInTheirOrder) {
    const Pairs pairs = {{1, 0}, {0, 1}, {1, 1}, {0, 0}, {1, 0}};
    for (const auto& [first, second] : pairs) EXPECT_EQ(add(first, second), 0U);
    EXPECT_EQ(mask.count, 5U);
    EXPECT_EQ(mask.first_bits[0], 0x15U);
    EXPECT_EQ(mask.second_bits[0], 0x06U);
    EXPECT_EQ(all(), pairs);
}

TEST_F(ApplyBitmask, AtTheEndOnlyTheFirstBitIsWritten) {
    EXPECT_EQ(add(1, 1), 0U);
    uint32_t first = kSentinel;
    uint32_t second = kSentinel;
    EXPECT_EQ(kelvo_apply_bitmask_next(&mask, &first, &second), 0U);
    EXPECT_EQ(mask.cursor, 1U);
    second = kSentinel;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(kelvo_apply_bitmask_next(&mask, &first, &second), 0U);
        EXPECT_EQ(first, 0xffffffffU);
        EXPECT_EQ(second, kSentinel);
        EXPECT_EQ(mask.cursor, 1U);
    }
}

TEST_F(ApplyBitmask, ACursorBeyondTheEntriesIsAtTheEnd) {
    EXPECT_EQ(add(1, 1), 0U);
    mask.cursor = 2;
    EXPECT_EQ(rest(), Pairs{});
    EXPECT_EQ(mask.cursor, 2U);
}

TEST_F(ApplyBitmask, WithoutEntriesTheArraysAreNotLookedAt) {
    auto* const stale = reinterpret_cast<uint32_t*>(0x5a5a);
    mask = {0, 0, stale, stale};
    EXPECT_EQ(all(), Pairs{});
    for (std::size_t failing = 0; failing < 2; ++failing) {
        const FailingMemory fail(failing);
        EXPECT_EQ(add(1, 0), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(mask.first_bits, stale);
        EXPECT_EQ(mask.second_bits, stale);
    }
    EXPECT_EQ(add(1, 0), 0U);
    EXPECT_EQ(all(), (Pairs{{1, 0}}));
}

TEST_F(ApplyBitmask, AnEmptyListEndsAtOnce) {
    EXPECT_EQ(all(), Pairs{});
}

TEST_F(ApplyBitmask, TheArraysGrowByOneWordAt32Entries) {
    Pairs pairs;
    const FailingMemory counted;
    for (uint32_t i = 0; i < 33; ++i) {
        EXPECT_EQ(add(i % 2, i % 3 == 0 ? 1 : 0), 0U);
        EXPECT_EQ(FailingMemory::allocations(), i < 32 ? 2U : 4U) << i;
    }
    EXPECT_EQ(FailingMemory::bytes(), 2U * 4 + 2U * 8);
    for (uint32_t i = 0; i < 33; ++i) pairs.emplace_back(i % 2, i % 3 == 0 ? 1 : 0);
    EXPECT_EQ(all(), pairs);
    EXPECT_EQ(mask.first_bits[1], 0U);
    EXPECT_EQ(mask.second_bits[1], 0U);
    uint32_t first = 0;
    uint32_t second = kSentinel;
    kelvo_apply_bitmask_next(&mask, &first, &second);
    EXPECT_EQ(first, 0xffffffffU);
    EXPECT_EQ(second, kSentinel);
}

TEST_F(ApplyBitmask, ValuesAreNotMasked) {
    EXPECT_EQ(add(3, 0x80000004), 0U);
    EXPECT_EQ(mask.first_bits[0], 3U);
    EXPECT_EQ(mask.second_bits[0], 0x80000004U);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(add(0, 0), 0U);
    EXPECT_EQ(all(), (Pairs{{1, 0}, {1, 0}, {0, 1}}));
    for (int i = 3; i < 31; ++i) EXPECT_EQ(add(0, 0), 0U);
    EXPECT_EQ(add(3, 0), 0U);  // the last of its word: its second bit has no place
    EXPECT_EQ(add(0, 0), 0U);
    const Pairs pairs = all();
    EXPECT_EQ(pairs[31], (std::pair<uint32_t, uint32_t>{1, 1}));
    EXPECT_EQ(pairs[32], (std::pair<uint32_t, uint32_t>{0, 0}));
}

TEST_F(ApplyBitmask, StartBeginsAgain) {
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(add(1, i % 2), 0U);
    EXPECT_EQ(all().size(), 3U);
    EXPECT_EQ(rest(), Pairs{});
    kelvo_apply_bitmask_start(&mask);
    EXPECT_EQ(mask.cursor, 0U);
    EXPECT_EQ(rest().size(), 3U);
    EXPECT_EQ(add(0, 1), 0U);  // an entry added at the end is still to come
    EXPECT_EQ(rest(), (Pairs{{0, 1}}));
}

TEST_F(ApplyBitmask, WithoutMemoryForTheFirstWordsNothingIsKept) {
    for (std::size_t failing = 0; failing < 2; ++failing) {
        const FailingMemory fail(failing);
        EXPECT_EQ(add(1, 1), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
        EXPECT_EQ(mask.count, 0U);
        EXPECT_EQ(mask.first_bits, nullptr);
        EXPECT_EQ(mask.second_bits, nullptr);
    }
}

TEST_F(ApplyBitmask, WithoutMemoryForMoreWordsTheEntriesStay) {
    Pairs pairs;
    for (uint32_t i = 0; i < 64; ++i) {
        if (i == 32) {
            for (std::size_t failing = 0; failing < 2; ++failing) {
                const FailingMemory fail(failing);
                EXPECT_EQ(add(1, 1), KELVO_ERR_NO_MEMORY);
                EXPECT_EQ(mask.count, 32U);
            }
            EXPECT_EQ(all(), pairs);
        }
        pairs.emplace_back(i % 2, i % 5 == 0 ? 1 : 0);
        EXPECT_EQ(add(pairs.back().first, pairs.back().second), 0U);
    }
    EXPECT_EQ(all(), pairs);
}

TEST_F(ApplyBitmask, FreeSetsTheArraysToNullAndLeavesTheRest) {
    for (uint32_t i = 0; i < 40; ++i) EXPECT_EQ(add(1, 1), 0U);
    (void)all();
    kelvo_apply_bitmask_free(&mask);
    EXPECT_EQ(mask.count, 40U);
    EXPECT_EQ(mask.cursor, 40U);
    EXPECT_EQ(mask.first_bits, nullptr);
    EXPECT_EQ(mask.second_bits, nullptr);
}

TEST_F(ApplyBitmask, AFreedRecordThatWasNotClearedIsHarmless) {
    for (const uint32_t count : {1U, 31U, 32U, 33U}) {
        mask = {};
        for (uint32_t i = 0; i < count; ++i) EXPECT_EQ(add(1, 1), 0U);
        kelvo_apply_bitmask_free(&mask);
        EXPECT_EQ(all(), Pairs{});
        EXPECT_EQ(add(1, 1), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(mask.count, count);
    }
    mask = {};
    EXPECT_EQ(add(1, 0), 0U);
    EXPECT_EQ(all(), (Pairs{{1, 0}}));
}

TEST_F(ApplyBitmask, AgreesWithAModelAfterEveryStep) {
    std::mt19937 random(7);
    Pairs model;
    for (int step = 0; step < 2000; ++step) {
        const auto first = static_cast<uint32_t>(random() % 2);
        const auto second = static_cast<uint32_t>(random() % 2);
        const bool grows = model.size() % 32 == 0;
        const std::size_t failing = random() % 3;
        kelvo_status status;
        {
            const FailingMemory fail(failing);
            status = add(first, second);
        }
        ASSERT_EQ(status, grows && failing < 2 ? KELVO_ERR_NO_MEMORY : 0U);
        if (status == 0) model.emplace_back(first, second);
        ASSERT_EQ(mask.count, model.size());
        if (step % 50 == 0) {
            ASSERT_EQ(all(), model);
        }
    }
    EXPECT_EQ(all(), model);
}

// ---- Access options ----

TEST(AccessOptions, TheFirstRuleThatAppliesDecides) {
    struct Row {
        const char* path;
        uint32_t bit;
    };
    const Row rows[] = {
        // Each rule by itself.
        {"cfg/gl/a/config-group/G1/x", 0x1000},
        {"cfg/gl/a/config-group/", 0x1000},
        {"cfg/gl/ag", 0x20000},
        {"cfg/gl/ag/x", 0x20000},
        {"cfg/gl/agx", 0x20000},
        {"cfg/if/act/x/ag", 0x2000},
        {"/ag", 0x2000},
        {"cfg/x/aza", 0x10000},
        {"cfg/x/aya", 0x10000},
        {"/aza", 0x10000},
        {"/aya", 0x10000},
        {"cfg/gl/ah", 0x40000},
        {"cfg/gl/ahx/y", 0x40000},
        {"cfg/if/act/x/ah", 0x80000},
        {"/ah", 0x80000},
        {"oper/z@EX", 0x100000},
        {"@EX", 0x100000},
        // Exceptions.
        {"cfg/if/pre/x/ah", 0},
        {"cfg/if/preconf/ah", 0},
        {"cfg/if/pre/x@EX", 0},
        {"cfg/gl/cmt/y@EX", 0},
        {"cfg/gl/cmt@EX", 0},
        {"cfg/gl/cmt/ah", 0x80000},
        {"cfg/if/pre/x/ag", 0x2000},
        {"cfg/if/pre/x/aza", 0x10000},
        // An earlier rule wins.
        {"cfg/gl/a/config-group/G1/ag", 0x1000},
        {"cfg/gl/a/config-group/G1@EX", 0x1000},
        {"cfg/gl/ag/x/ag", 0x20000},
        {"cfg/gl/ag/x@EX", 0x20000},
        {"cfg/gl/ah/x/ag", 0x2000},
        {"cfg/gl/ah/x/aza", 0x10000},
        {"cfg/gl/ah/x/ah", 0x40000},
        {"cfg/gl/ah/x@EX", 0x40000},
        // None.
        {"", 0},
        {"a", 0},
        {"ag", 0},
        {"ah", 0},
        {"EX", 0},
        {"aza", 0},
        {"cfg/gl/a/config-group", 0},
        {"cfg/gl/a", 0},
        {"xcfg/gl/agx", 0},
        {"xcfg/gl/ah/x", 0},
        {"cfg/x/ag/", 0},
        {"cfg/x/ah/", 0},
        {"cfg/x/bza", 0},
        {"cfg/x/azb", 0},
        {"cfg/x/AG", 0},
        {"cfg/x@EXy", 0},
        {"cfg/x@ex", 0},
    };
    for (const Row& row : rows) {
        for (const uint32_t before : {0U, 1U, 0xffffffffU}) {
            uint32_t options = before;
            EXPECT_EQ(kelvo_update_access_options_common(row.path, &options), 0U) << row.path;
            EXPECT_EQ(options, before | row.bit) << row.path;
        }
    }
}

TEST(AccessOptions, ShortPathsAreReadWithinTheirBounds) {
    for (const char* path : {"", "g", "ag", "/ag", "EX", "aza"}) {
        const kelvo::test::Walled walled(kelvo::test::Bytes(path, path + std::strlen(path) + 1));
        uint32_t options = 0;
        EXPECT_EQ(
            kelvo_update_access_options_common(reinterpret_cast<char*>(walled.data()), &options),
            0U);
        EXPECT_EQ(options, std::strcmp(path, "/ag") == 0 ? 0x2000U : 0U) << path;
    }
}

TEST(AccessOptions, WhatStandsBeforeAPathIsNotReadAsPartOfIt) {
    for (const char* text : {"/ah", "/ag", "@EX"}) {
        uint32_t options = 0;
        EXPECT_EQ(kelvo_update_access_options_common(text + 1, &options), 0U);
        EXPECT_EQ(options, 0U) << text;
        EXPECT_EQ(kelvo_update_access_options_common(text, &options), 0U);
        EXPECT_NE(options, 0U) << text;
    }
}

TEST(AccessOptions, NullArgumentsAreRefusedInSilence) {
    platform().reset();
    uint32_t options = kSentinel;
    EXPECT_EQ(kelvo_update_access_options_common(nullptr, &options), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_update_access_options_common("cfg/gl/ag", nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(options, kSentinel);
    EXPECT_TRUE(platform().log.empty());
}

// ---- Group names ----

class GroupNames : public testing::Test {
  protected:
    static constexpr uint32_t kRoom = 16;

    void SetUp() override { platform().reset(); }
    void TearDown() override { kelvo_free_grp_names(list, kRoom); }

    void set(std::initializer_list<const char*> names) {
        for (const char* name : names) list[count++] = name == nullptr ? nullptr : copy_of(name);
    }
    /// A copy that is counted, which strdup() of a sanitizer is not.
    static char* copy_of(const char* name) {
        return std::strcpy(static_cast<char*>(malloc(std::strlen(name) + 1)), name);
    }
    kelvo_status unpack(const PackedTuple& tuple) {
        return kelvo_apply_grp_tuple_unpack(&tuple, list, &count);
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (uint32_t i = 0; i < count; ++i) all.emplace_back(list[i] == nullptr ? "-" : list[i]);
        return all;
    }

    char* list[kRoom] = {};
    uint32_t count = 0;
};

using Names = std::vector<std::string>;

TEST_F(GroupNames, ANameIsLookedUpAmongTheFirstEntries) {
    set({"G1", nullptr, "G2", ""});
    struct Row {
        const char* name;
        uint32_t count;
        uint32_t found;
    };
    for (const Row& row : {Row{"G1", 4, 1},
                           {"G2", 4, 1},
                           {"G2", 3, 1},
                           {"G2", 2, 0},
                           {"G3", 4, 0},
                           {"g1", 4, 0},
                           {"G", 4, 0},
                           {"G11", 4, 0},
                           {"", 4, 1},
                           {"", 3, 0},
                           {"G1", 0, 0}}) {
        EXPECT_EQ(kelvo_group_name_in_list(row.name, list, row.count), row.found)
            << row.name << " among " << row.count;
    }
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(GroupNames, NullArgumentsOfTheLookupAreLoggedAndFindNothing) {
    EXPECT_EQ(kelvo_group_name_in_list(nullptr, list, 1), 0U);
    EXPECT_EQ(kelvo_group_name_in_list("G1", nullptr, 1), 0U);
    EXPECT_EQ(platform().log_texts(), (Names{kNullLine, kNullLine}));
    EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_internal);
    EXPECT_EQ(platform().log[0].severity, 7);
}

TEST_F(GroupNames, ATuplesNamesAreAppended) {
    set({"G0"});
    EXPECT_EQ(unpack({"G1", "G2"}), 0U);
    EXPECT_EQ(names(), (Names{"G0", "G1", "G2"}));
    EXPECT_EQ(platform().calls, (Names{"packed_tuple_unpack %s%s%s%s%s%s%s%s"}));
}

TEST_F(GroupNames, EmptyAndRepeatedNamesArePassedOver) {
    struct Row {
        PackedTuple tuple;
        Names expected;
    };
    const Row rows[] = {
        {{"G1", "G1", "", "", "", "", "", ""}, {"G1"}},
        {{}, {}},
        {{"", "G1", "", "G2"}, {"G1", "G2"}},
        {{"a", "b", "c", "d", "e", "f", "g", "h"}, {"a", "b", "c", "d", "e", "f", "g", "h"}},
        {{"a", "b", "a", "b", "a", "b", "c", "c"}, {"a", "b", "c"}},
    };
    for (const Row& row : rows) {
        const FailingMemory counted;
        EXPECT_EQ(kelvo_apply_grp_tuple_unpack(&row.tuple, list, &count), 0U);
        EXPECT_EQ(FailingMemory::outstanding(), static_cast<long>(row.expected.size()));
        EXPECT_EQ(names(), row.expected);
        kelvo_free_grp_names(list, static_cast<int32_t>(count));
        count = 0;
    }
    set({"G1", nullptr});
    EXPECT_EQ(unpack({"G1", "G2"}), 0U);
    EXPECT_EQ(names(), (Names{"G1", "-", "G2"}));
}

TEST_F(GroupNames, NullArgumentsOfTheUnpackingAreLogged) {
    const PackedTuple tuple = {"G1"};
    EXPECT_EQ(kelvo_apply_grp_tuple_unpack(nullptr, list, &count), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_apply_grp_tuple_unpack(&tuple, nullptr, &count), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_apply_grp_tuple_unpack(&tuple, list, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log_texts(), (Names{kNullLine, kNullLine, kNullLine}));
    EXPECT_EQ(count, 0U);
}

TEST_F(GroupNames, ATupleThatCannotBeUnpackedKeepsNothing) {
    set({"G0"});
    platform().unpack_tuple = [] { return 0x87654321U; };
    const PackedTuple tuple = {"G1"};
    const FailingMemory counted;
    EXPECT_EQ(kelvo_apply_grp_tuple_unpack(&tuple, list, &count), 0x87654321U);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
    EXPECT_EQ(names(), (Names{"G0"}));
}

TEST_F(GroupNames, WithoutMemoryTheBuffersMadeBeforeAreNotReleased) {
    set({"G0"});
    const PackedTuple tuple = {"G1"};
    for (std::size_t failing = 0; failing < 8; ++failing) {
        const kelvo::test::LeaksAreMeant leaks;
        const FailingMemory fail(failing);
        EXPECT_EQ(kelvo_apply_grp_tuple_unpack(&tuple, list, &count), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), static_cast<long>(failing));
        EXPECT_EQ(names(), (Names{"G0"}));
    }
    EXPECT_TRUE(platform().calls.empty());
}

TEST_F(GroupNames, EachNameHasABufferOf256Bytes) {
    const PackedTuple tuple = {std::string(300, 'x')};
    EXPECT_EQ(unpack(tuple), 0U);
    EXPECT_EQ(names(), (Names{std::string(255, 'x')}));
}

TEST_F(GroupNames, FreeReleasesTheFirstEntriesAndSetsThemToNull) {
    const FailingMemory counted;
    set({"G1", nullptr, "G2", "G3"});
    kelvo_free_grp_names(list, -1);
    kelvo_free_grp_names(list, 0);
    EXPECT_EQ(names(), (Names{"G1", "-", "G2", "G3"}));
    kelvo_free_grp_names(list, 3);
    EXPECT_EQ(FailingMemory::outstanding(), 1);
    EXPECT_EQ(names(), (Names{"-", "-", "-", "G3"}));
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(GroupNames, FreeingANullListIsLogged) {
    kelvo_free_grp_names(nullptr, 3);
    EXPECT_EQ(platform().log_texts(), (Names{kNullLine}));
}

// ---- Group name from a path ----

TEST(GroupNameFromPath, IsWhatFollowsUpToTheNextSlash) {
    struct Row {
        std::string path;
        std::string name;
    };
    const Row rows[] = {
        {"cfg/gl/a/config-group/G1/x", "G1"},
        {"cfg/gl/a/config-group/G1/", "G1"},
        {"a/config-group/G1/a/config-group/G2/", "G1"},
        {"cfg/gl/a/config-group/a b%2f/x/y/z", "a b%2f"},
        {"cfg/gl/a/config-group//x", ""},
        {"cfg/gl/a/config-group/" + std::string(255, 'n') + "/x", std::string(255, 'n')},
        {"cfg/gl/a/config-group/" + std::string(256, 'n') + "/x", std::string(255, 'n')},
        {"cfg/gl/a/config-group/" + std::string(5000, 'n') + "/x", std::string(255, 'n')},
    };
    for (const Row& row : rows) {
        char* const name = kelvo_get_cfg_group_name_from_path(row.path.c_str());
        ASSERT_NE(name, nullptr) << row.path;
        EXPECT_EQ(name, row.name) << row.path;
        free(name);
    }
}

TEST(GroupNameFromPath, APathWithoutSuchAPartHasNone) {
    for (const char* path : {"", "cfg/gl/a/config-group", "cfg/gl/a/config-group/",
                             "cfg/gl/a/config-group/G1", "cfg/gl/config-group/G1/"}) {
        EXPECT_EQ(kelvo_get_cfg_group_name_from_path(path), nullptr) << path;
    }
    EXPECT_EQ(kelvo_get_cfg_group_name_from_path(nullptr), nullptr);
}

TEST(GroupNameFromPath, WithoutMemoryThereIsNoName) {
    const FailingMemory fail(0);
    EXPECT_EQ(kelvo_get_cfg_group_name_from_path("cfg/gl/a/config-group/G1/x"), nullptr);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

}  // namespace
