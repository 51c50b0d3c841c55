// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <random>

#include "kelvo_intgr_store.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::platform;

void* const kUntouched = reinterpret_cast<void*>(0x5a5a);

/// A value that is only compared.
void* number(uintptr_t value) {
    return reinterpret_cast<void*>(value);
}

class IntegerStore : public testing::Test {
  protected:
    void SetUp() override { platform().reset(); }
    void TearDown() override {
        kelvo_intgr_store_shutdown(root, 0);
        EXPECT_TRUE(platform().log.empty());
    }

    kelvo_status insert(uint32_t key, void* value) {
        return kelvo_intgr_store_insert(&root, key, value, nullptr);
    }

    /// The scripted tree is a chain in the order of the keys.
    std::vector<std::pair<uint32_t, void*>> contents() const {
        std::vector<std::pair<uint32_t, void*>> all;
        for (ordered_tree_node* at = root; at != nullptr; at = at->right) {
            auto* const entry = reinterpret_cast<kelvo_intgr_store_entry*>(at);
            all.emplace_back(entry->key, entry->value);
        }
        return all;
    }

    ordered_tree_node* root = nullptr;
};

TEST_F(IntegerStore, KeepsOneValuePerKey) {
    kelvo_intgr_store_entry* entry = nullptr;
    EXPECT_EQ(kelvo_intgr_store_insert(&root, 7, number(70), &entry), 0U);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->key, 7U);
    EXPECT_EQ(entry->value, number(70));
    EXPECT_EQ(root, &entry->links);
}

TEST_F(IntegerStore, ComparesKeysAsUnsignedNumbers) {
    for (const uint32_t key : {0x80000000U, 1U, 0xffffffffU, 0U, 0x7fffffffU}) {
        EXPECT_EQ(insert(key, number(key)), 0U);
    }
    std::vector<uint32_t> keys;
    for (const auto& [key, value] : contents()) {
        keys.push_back(key);
        EXPECT_EQ(value, number(key));
    }
    EXPECT_EQ(keys, (std::vector<uint32_t>{0, 1, 0x7fffffff, 0x80000000, 0xffffffff}));
}

TEST_F(IntegerStore, APresentKeyKeepsItsOldValue) {
    EXPECT_EQ(insert(7, number(70)), 0U);
    auto* entry = static_cast<kelvo_intgr_store_entry*>(kUntouched);
    {
        const FailingMemory counted;
        EXPECT_EQ(kelvo_intgr_store_insert(&root, 7, number(71), &entry), 0x40824c00U);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    EXPECT_EQ(entry, kUntouched);
    void* value = nullptr;
    EXPECT_EQ(kelvo_intgr_store_contains(&root, 7, &value), 1U);
    EXPECT_EQ(value, number(70));
}

TEST_F(IntegerStore, WithoutMemoryNothingChanges) {
    EXPECT_EQ(insert(7, number(70)), 0U);
    auto* entry = static_cast<kelvo_intgr_store_entry*>(kUntouched);
    for (const uint32_t key : {7U, 8U}) {
        const FailingMemory fail(0);
        EXPECT_EQ(kelvo_intgr_store_insert(&root, key, number(71), &entry), KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(entry, kUntouched);
    EXPECT_EQ(contents().size(), 1U);
}

TEST_F(IntegerStore, ContainsIsATruthValue) {
    EXPECT_EQ(insert(7, number(70)), 0U);
    EXPECT_EQ(insert(8, nullptr), 0U);
    void* value = kUntouched;
    EXPECT_EQ(kelvo_intgr_store_contains(&root, 6, &value), 0U);
    EXPECT_EQ(value, kUntouched);
    EXPECT_EQ(kelvo_intgr_store_contains(&root, 7, nullptr), 1U);
    EXPECT_EQ(kelvo_intgr_store_contains(&root, 6, nullptr), 0U);
    EXPECT_EQ(kelvo_intgr_store_contains(&root, 8, &value), 1U);
    EXPECT_EQ(value, nullptr);
    ordered_tree_node* empty = nullptr;
    EXPECT_EQ(kelvo_intgr_store_contains(&empty, 7, &value), 0U);
}

TEST_F(IntegerStore, DeleteHandsOutTheValueAndFreesTheEntry) {
    const FailingMemory counted;
    EXPECT_EQ(insert(7, number(70)), 0U);
    EXPECT_EQ(insert(8, number(80)), 0U);
    void* value = kUntouched;
    EXPECT_EQ(kelvo_intgr_store_delete(&root, 6, &value), 0x40813e00U);
    EXPECT_EQ(value, kUntouched);
    EXPECT_EQ(kelvo_intgr_store_delete(&root, 7, &value), 0U);
    EXPECT_EQ(value, number(70));
    EXPECT_EQ(kelvo_intgr_store_delete(&root, 8, nullptr), 0U);
    EXPECT_EQ(root, nullptr);
    EXPECT_EQ(kelvo_intgr_store_delete(&root, 8, &value), 0x40813e00U);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

TEST_F(IntegerStore, DeleteDoesNotFreeTheValue) {
    char* const text = strdup("value");
    EXPECT_EQ(insert(7, text), 0U);
    EXPECT_EQ(kelvo_intgr_store_delete(&root, 7, nullptr), 0U);
    EXPECT_STREQ(text, "value");
    free(text);
}

TEST_F(IntegerStore, ShutdownFreesEntriesAndOnlyWhenAskedValues) {
    for (const int free_values : {0, 1, -1}) {
        const FailingMemory counted;
        void* values[] = {malloc(1), nullptr, malloc(2)};
        for (uint32_t key = 0; key < 3; ++key) EXPECT_EQ(insert(key, values[key]), 0U);
        ordered_tree_node* const before = root;
        kelvo_intgr_store_shutdown(root, free_values);
        EXPECT_EQ(root, before);  // the caller's root is left as it was
        root = nullptr;
        EXPECT_EQ(FailingMemory::outstanding(), free_values != 0 ? 0 : 2);
        if (free_values == 0) {
            for (void* const value : values) free(value);
        }
    }
    kelvo_intgr_store_shutdown(nullptr, 1);
}

TEST_F(IntegerStore, ATreeThatKeepsItsRootEndsTheProcess) {
    EXPECT_EQ(insert(7, nullptr), 0U);
    EXPECT_DEATH(
        {
            platform().tree_is_broken = true;
            kelvo_intgr_store_shutdown(root, 0);
        },
        "common/src/kelvo_intgr_store:[0-9]+: kelvo_intgr_store_shutdown: Assertion `deleted != "
        "\\(\\(void \\*\\)0\\)' failed\\.");
}

TEST_F(IntegerStore, AgreesWithAModelAfterEveryStep) {
    std::mt19937 random(6);
    std::map<uint32_t, void*> model;
    for (int step = 0; step < 5000; ++step) {
        const auto key = static_cast<uint32_t>(random() % 40) * 0x06666666U;
        void* const value = number(random());
        const bool present = model.count(key) != 0;
        void* got = kUntouched;
        switch (random() % 3) {
            case 0:
                ASSERT_EQ(insert(key, value), present ? KELVO_ERR_ALREADY_EXISTS : 0U);
                model.emplace(key, value);
                break;
            case 1:
                ASSERT_EQ(kelvo_intgr_store_delete(&root, key, &got),
                          present ? 0U : KELVO_ERR_NO_SUCH_KEY);
                ASSERT_EQ(got, present ? model.at(key) : kUntouched);
                model.erase(key);
                break;
            default:
                ASSERT_EQ(kelvo_intgr_store_contains(&root, key, &got), present ? 1U : 0U);
                ASSERT_EQ(got, present ? model.at(key) : kUntouched);
        }
        const std::vector<std::pair<uint32_t, void*>> expected(model.begin(), model.end());
        ASSERT_EQ(contents(), expected);
    }
}

}  // namespace
