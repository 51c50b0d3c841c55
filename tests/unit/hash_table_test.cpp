// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "kelvo_hash_table.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::platform;

/// Tables cannot be destroyed; tests take them apart by hand.
void take_apart(kelvo_util_hash_tbl* table) {
    for (uint32_t i = 0; i < table->count; ++i) {
        free(table->buckets[i].key);
        for (kelvo_util_hash_entry* at = table->buckets[i].next; at != nullptr;) {
            kelvo_util_hash_entry* const next = at->next;
            free(at->key);
            free(at);
            at = next;
        }
    }
    free(table->buckets);
    free(table);
}

/// The hash by exact arithmetic: every intermediate result is taken modulo 2^32 in 64 bits.
uint32_t expected_hash(const std::string& key) {
    int64_t hash = 0;
    for (const char c : key) {
        const int64_t byte = static_cast<unsigned char>(c);
        hash = (hash * 33 + (byte < 128 ? byte : byte - 256) + (int64_t{1} << 32)) %
               (int64_t{1} << 32);
    }
    return static_cast<uint32_t>((hash + hash / 32) % (int64_t{1} << 32));
}

class HashTable : public testing::Test {
  protected:
    void SetUp() override { platform().reset(); }
    void TearDown() override {
        if (table != nullptr) take_apart(table);
    }

    void init(uint32_t count) { ASSERT_EQ(kelvo_util_hash_tbl_init(count, &table), 0U); }
    kelvo_status insert(const std::string& key) {
        return kelvo_util_hash_tbl_insert(table, key.c_str());
    }
    kelvo_status lookup(const std::string& key) {
        return kelvo_util_hash_tbl_lookup(table, key.c_str());
    }

    /// Bucket by bucket, the keys in the order of the chain.
    std::vector<std::vector<std::string>> contents() const {
        std::vector<std::vector<std::string>> all(table->count);
        for (uint32_t i = 0; i < table->count; ++i) {
            const kelvo_util_hash_entry* at = &table->buckets[i];
            for (; at != nullptr && at->key != nullptr; at = at->next) {
                EXPECT_EQ(at->hash, expected_hash(at->key));
                all[i].push_back(at->key);
            }
        }
        return all;
    }

    kelvo_util_hash_tbl* table = nullptr;
};

TEST_F(HashTable, BeginsWithClearedBuckets) {
    init(7);
    EXPECT_EQ(table->count, 7U);
    for (uint32_t i = 0; i < 7; ++i) {
        EXPECT_EQ(table->buckets[i].next, nullptr);
        EXPECT_EQ(table->buckets[i].key, nullptr);
        EXPECT_EQ(table->buckets[i].hash, 0U);
    }
}

TEST_F(HashTable, HashesAsDocumented) {
    struct Row {
        std::string key;
        uint32_t hash;
    };
    const Row rows[] = {
        {"", 0},
        {"a", 97 + 3},
        {"ab", 97 * 33 + 98 + 103},
        {"\x80", 0x07ffff7c},  // -128: 0xffffff80, and 0x07fffffc added
        {"\xff", 0x07fffffe},  // -1: 0xffffffff, and 0x07ffffff added
        {"\xff"
         "a",
         64 + 2},  // -33 + 97
    };
    for (const Row& row : rows) {
        init(1);
        EXPECT_EQ(insert(row.key), 0U);
        EXPECT_EQ(table->buckets[0].hash, row.hash) << row.key;
        EXPECT_EQ(expected_hash(row.key), row.hash) << row.key;
        take_apart(table);
        table = nullptr;
    }
}

TEST_F(HashTable, HashesLongKeysExactly) {
    std::mt19937 random(4);
    for (const std::size_t length : {100U, 4096U, 1000000U}) {
        std::string key(length, ' ');
        for (char& c : key) c = static_cast<char>(1 + random() % 255);
        init(13);
        EXPECT_EQ(insert(key), 0U);
        const uint32_t hash = expected_hash(key);
        EXPECT_EQ(table->buckets[hash % 13].hash, hash) << length;
        EXPECT_EQ(table->buckets[hash % 13].key, key);
        EXPECT_EQ(lookup(key), 0U);
        take_apart(table);
        table = nullptr;
    }
}

TEST_F(HashTable, HashesKeysOfEveryLengthExactly) {
    for (const char byte : {'\x01', 'a', '\x7f', '\x80', '\xff'}) {
        for (std::size_t length = 0; length <= 40; ++length) {
            std::string key(length, byte);
            for (std::size_t i = 0; i < length; i += 3) key[i] = static_cast<char>(i + 1);
            init(1);
            EXPECT_EQ(insert(key), 0U);
            EXPECT_EQ(table->buckets[0].hash, expected_hash(key)) << length;
            EXPECT_EQ(lookup(key), 0U);
            take_apart(table);
            table = nullptr;
        }
    }
}

TEST_F(HashTable, KeepsAPrivateCopyOfEachKey) {
    init(3);
    std::string key = "name";
    EXPECT_EQ(insert(key), 0U);
    key[0] = 'g';
    EXPECT_EQ(lookup("name"), 0U);
    EXPECT_EQ(lookup("game"), KELVO_ERR_NOT_FOUND);
}

TEST_F(HashTable, KeysAreCopiedWithTheirCallerAccounted) {
    init(1);
    std::vector<std::size_t> sizes;
    platform().alloc = [&](std::size_t size, const void*) {
        sizes.push_back(size);
        return std::malloc(size);
    };
    EXPECT_EQ(insert("in the bucket"), 0U);
    EXPECT_EQ(insert("behind it"), 0U);
    EXPECT_EQ(sizes, (std::vector<std::size_t>{14, 10}));
}

TEST_F(HashTable, TheEmptyKeyIsAKey) {
    init(3);
    EXPECT_EQ(lookup(""), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(insert(""), 0U);
    EXPECT_EQ(lookup(""), 0U);
}

TEST_F(HashTable, OneBucketHoldsEveryKeyInOneChainInOrder) {
    init(1);
    std::vector<std::string> keys;
    for (int i = 0; i < 50; ++i) {
        keys.push_back("key" + std::to_string(i));
        EXPECT_EQ(insert(keys.back()), 0U);
    }
    EXPECT_EQ(contents()[0], keys);
    for (const std::string& key : keys) EXPECT_EQ(lookup(key), 0U) << key;
    EXPECT_EQ(lookup("key50"), KELVO_ERR_NOT_FOUND);
}

TEST_F(HashTable, KeysOfOneHashAreToldApartByTheirText) {
    // "bA" and "ab" differ by one 33 and one -33.
    ASSERT_EQ(expected_hash("bA"), expected_hash("ab"));
    init(5);
    EXPECT_EQ(insert("bA"), 0U);
    EXPECT_EQ(lookup("ab"), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(insert("ab"), 0U);
    EXPECT_EQ(lookup("ab"), 0U);
    EXPECT_EQ(lookup("bA"), 0U);
}

TEST_F(HashTable, AKeyIsFoundByItsHashAndItsText) {
    init(1);
    EXPECT_EQ(insert("name"), 0U);
    table->buckets[0].hash ^= 1;
    EXPECT_EQ(lookup("name"), KELVO_ERR_NOT_FOUND);
    table->buckets[0].hash ^= 1;
    EXPECT_EQ(lookup("name"), 0U);
}

TEST_F(HashTable, ANodeWithoutAKeyEndsItsChain) {
    init(1);
    for (const char* key : {"a", "b", "c"}) EXPECT_EQ(insert(key), 0U);
    kelvo_util_hash_entry* const without_key = table->buckets[0].next;
    kelvo_util_hash_entry* const behind = without_key->next;
    free(without_key->key);
    without_key->key = nullptr;
    EXPECT_EQ(lookup("a"), 0U);
    EXPECT_EQ(lookup("c"), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(insert("d"), 0U);
    EXPECT_EQ(contents(), (std::vector<std::vector<std::string>>{{"a", "d"}}));
    EXPECT_NE(table->buckets[0].next, without_key);
    free(without_key);
    free(behind->key);
    free(behind);
}

TEST_F(HashTable, ADuplicateIsStoredAgain) {
    init(3);
    EXPECT_EQ(insert("a"), 0U);
    EXPECT_EQ(insert("a"), 0U);
    EXPECT_EQ(lookup("a"), 0U);
    EXPECT_EQ(contents()[expected_hash("a") % 3], (std::vector<std::string>{"a", "a"}));
}

TEST_F(HashTable, DestroyIsNotSupported) {
    init(3);
    EXPECT_EQ(insert("a"), 0U);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(kelvo_util_hash_tbl_destroy(), 0x40818400U);
    EXPECT_EQ(lookup("a"), 0U);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(HashTable, NullArgumentsAndACountOfZeroAreLogged) {
    init(3);
    auto* const sentinel = reinterpret_cast<kelvo_util_hash_tbl*>(0x5a5a);
    kelvo_util_hash_tbl* out = sentinel;
    EXPECT_EQ(kelvo_util_hash_tbl_init(3, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_util_hash_tbl_init(0, &out), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_util_hash_tbl_insert(nullptr, "a"), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_util_hash_tbl_insert(table, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_util_hash_tbl_lookup(nullptr, "a"), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_util_hash_tbl_lookup(table, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(out, sentinel);
    ASSERT_EQ(platform().log.size(), 6U);
    for (const auto& line : platform().log) {
        EXPECT_EQ(line.record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(line.severity, 7);
        EXPECT_EQ(line.text,
                  "A NULL pointer was passed as a fn parameter: rc 0x40818800 (text of "
                  "0x40818800)");
    }
}

TEST_F(HashTable, InitWithoutMemoryLeavesNothing) {
    auto* const sentinel = reinterpret_cast<kelvo_util_hash_tbl*>(0x5a5a);
    for (std::size_t failing = 0; failing < 2; ++failing) {
        kelvo_util_hash_tbl* out = sentinel;
        const FailingMemory fail(failing);
        EXPECT_EQ(kelvo_util_hash_tbl_init(3, &out), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(out, sentinel);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
}

TEST_F(HashTable, TheSizeOfAHugeTableDoesNotWrap) {
    kelvo_util_hash_tbl* out = nullptr;
    const FailingMemory fail(1);
    EXPECT_EQ(kelvo_util_hash_tbl_init(0xffffffff, &out), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(FailingMemory::bytes(), 16 + 8 + 0xffffffff * std::size_t{24});
}

TEST_F(HashTable, InsertWithoutMemoryChangesNothing) {
    init(1);
    {
        const FailingMemory fail(0);
        EXPECT_EQ(kelvo_util_hash_tbl_insert(table, "a"), KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(table->buckets[0].key, nullptr);
    EXPECT_EQ(table->buckets[0].hash, 0U);
    EXPECT_EQ(insert("a"), 0U);
    for (std::size_t failing = 0; failing < 2; ++failing) {
        const FailingMemory fail(failing);
        EXPECT_EQ(kelvo_util_hash_tbl_insert(table, "b"), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    EXPECT_EQ(contents(), (std::vector<std::vector<std::string>>{{"a"}}));
}

TEST_F(HashTable, AgreesWithAModelAfterEveryStep) {
    std::mt19937 random(5);
    for (const uint32_t count : {1U, 2U, 7U, 64U}) {
        init(count);
        std::vector<std::vector<std::string>> model(count);
        std::set<std::string> present;
        for (int step = 0; step < 400; ++step) {
            std::string key(random() % 4, ' ');
            for (char& c : key) c = "ab\x80\xff"[random() % 4];
            ASSERT_EQ(lookup(key), present.count(key) != 0 ? 0U : KELVO_ERR_NOT_FOUND);
            const bool fails = random() % 4 == 0;
            kelvo_status status;
            {
                const FailingMemory fail(fails ? 0 : FailingMemory::kNever);
                status = kelvo_util_hash_tbl_insert(table, key.c_str());
            }
            ASSERT_EQ(status, fails ? KELVO_ERR_NO_MEMORY : 0U);
            if (!fails) {
                present.insert(key);
                model[expected_hash(key) % count].push_back(key);
            }
            ASSERT_EQ(contents(), model);
        }
        take_apart(table);
        table = nullptr;
    }
}

}  // namespace
