// SPDX-License-Identifier: Apache-2.0
//
// Startup lists: every step of every operation, a plain model of the rules, the send block, and the
// assertions word for word.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>

#include "kelvo_common_msg.h"
#include "platform/failing_memory.h"
#include "support/random.h"
#include "support/startup_lists.h"
#include "support/wire_bytes.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kAny = KELVO_NODEID_INVALID;
constexpr uint32_t kUnset = 0x5E5E5E5E;

class StartupList : public testing::Test {
  protected:
    ~StartupList() override {
        if (list_ != nullptr) kelvo_common_startup_list_free(&list_);
    }

    void given(const Pairs& added) { list_ = list_of(added); }

    kelvo_status add(uint32_t job, uint32_t node) {
        return kelvo_common_startup_list_add(&list_, job, node);
    }
    kelvo_status remove(uint32_t job, uint32_t node) {
        return kelvo_common_startup_list_remove(&list_, job, node);
    }
    [[nodiscard]] uint32_t contains(uint32_t job, uint32_t node) const {
        uint32_t flag = kUnset;
        kelvo_common_startup_list_contains(list_, job, node, &flag);
        return flag;
    }
    void expect_list(const Pairs& pairs) const {
        EXPECT_EQ(pairs_of(list_), pairs);
        EXPECT_EQ(list_ == nullptr ? 0 : list_->count, pairs.size());
    }

    kelvo_startup_list* list_ = nullptr;
};

TEST_F(StartupList, GrowsAtTheFront) {
    EXPECT_EQ(add(1, 10), 0U);
    expect_list({{1, 10}});
    EXPECT_EQ(add(2, 20), 0U);
    expect_list({{2, 20}, {1, 10}});
    EXPECT_EQ(add(1, 11), 0U);
    expect_list({{1, 11}, {2, 20}, {1, 10}});
}

TEST_F(StartupList, AnEntryIsOneAllocation) {
    const FailingMemory memory;
    ASSERT_EQ(add(1, 10), 0U);
    ASSERT_EQ(add(2, 10), 0U);
    EXPECT_EQ(memory.allocations(), 2U);
    kelvo_common_startup_list_free(&list_);
    EXPECT_EQ(memory.outstanding(), 0);
}

TEST_F(StartupList, RefusesAPairTwice) {
    EXPECT_EQ(add(5, 2), 0U);
    EXPECT_EQ(add(5, 2), KELVO_ERR_ALREADY_EXISTS);
    expect_list({{5, 2}});
}

TEST_F(StartupList, RefusesAnyNodeOfAJobThatItHolds) {
    given({{5, 2}, {6, 3}});
    EXPECT_EQ(add(5, kAny), KELVO_ERR_ALREADY_EXISTS);
    EXPECT_EQ(add(7, kAny), 0U);
    EXPECT_EQ(add(7, kAny), KELVO_ERR_ALREADY_EXISTS);
    expect_list({{7, kAny}, {6, 3}, {5, 2}});
}

TEST_F(StartupList, TakesANodeOfAJobThatItHoldsForAnyNode) {
    given({{5, kAny}});
    EXPECT_EQ(add(5, 2), 0U);
    expect_list({{5, 2}, {5, kAny}});
}

TEST_F(StartupList, StaysAsItIsWithoutMemory) {
    given({{5, 2}});
    kelvo_status status;
    {
        const FailingMemory memory(0);
        status = add(6, 2);
    }
    EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
    expect_list({{5, 2}});
}

TEST_F(StartupList, AMatchIsFoundBeforeMemoryIsAskedFor) {
    given({{5, 2}});
    const FailingMemory memory(0);
    EXPECT_EQ(add(5, 2), KELVO_ERR_ALREADY_EXISTS);
}

TEST_F(StartupList, RemovingTheFirstEntryMovesTheCount) {
    given({{1, 1}, {2, 2}, {3, 3}});
    EXPECT_EQ(remove(3, 3), 0U);
    expect_list({{2, 2}, {1, 1}});
    EXPECT_EQ(remove(2, 2), 0U);
    EXPECT_EQ(remove(1, 1), 0U);
    EXPECT_EQ(list_, nullptr);
}

TEST_F(StartupList, RemovingALaterEntryReducesTheCount) {
    given({{1, 1}, {2, 2}, {3, 3}});
    EXPECT_EQ(remove(2, 2), 0U);
    expect_list({{3, 3}, {1, 1}});
    EXPECT_EQ(remove(1, 1), 0U);
    expect_list({{3, 3}});
}

TEST_F(StartupList, RemovingAnyNodeRemovesTheFirstMatchFromTheFront) {
    given({{2, 7}, {9, 9}, {2, 8}, {4, 4}});
    EXPECT_EQ(remove(2, kAny), 0U);
    expect_list({{4, 4}, {9, 9}, {2, 7}});
    EXPECT_EQ(remove(2, kAny), 0U);
    expect_list({{4, 4}, {9, 9}});
}

TEST_F(StartupList, RemovingWhatIsNotThereChangesNothing) {
    given({{2, 7}});
    EXPECT_EQ(remove(2, 8), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(remove(3, kAny), KELVO_ERR_NOT_FOUND);
    expect_list({{2, 7}});
}

TEST_F(StartupList, AStoredAnyNodeIsAnOrdinaryValue) {
    given({{2, kAny}});
    EXPECT_EQ(contains(2, 7), 0U);
    EXPECT_EQ(contains(2, kAny), 1U);
    EXPECT_EQ(remove(2, 7), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(remove(2, kAny), 0U);
    EXPECT_EQ(list_, nullptr);
}

TEST_F(StartupList, RemovalReleasesTheEntry) {
    const FailingMemory memory;
    given({{1, 1}, {2, 2}, {3, 3}});
    ASSERT_EQ(remove(1, 1), 0U);
    ASSERT_EQ(remove(3, 3), 0U);
    ASSERT_EQ(remove(2, 2), 0U);
    EXPECT_EQ(memory.outstanding(), 0);
}

TEST_F(StartupList, ContainsAnswersOneOrZero) {
    given({{1, 10}, {2, 20}});
    EXPECT_EQ(contains(1, 10), 1U);
    EXPECT_EQ(contains(2, 20), 1U);
    EXPECT_EQ(contains(1, 20), 0U);
    EXPECT_EQ(contains(1, kAny), 1U);
    EXPECT_EQ(contains(3, kAny), 0U);
}

TEST_F(StartupList, GetGivesTheFirstPairAndReturnsItsNode) {
    given({{1, 10}, {2, 20}});
    uint32_t job = kUnset;
    uint32_t node = kUnset;
    EXPECT_EQ(kelvo_common_startup_list_get(list_, &job, &node), 20U);
    EXPECT_EQ(job, 2U);
    EXPECT_EQ(node, 20U);
}

TEST_F(StartupList, GetNextMovesACursorThroughTheList) {
    given({{1, 10}, {2, 20}});
    kelvo_startup_list* cursor = list_;
    uint32_t job = kUnset;
    uint32_t node = kUnset;
    EXPECT_EQ(kelvo_common_startup_list_get_next(&cursor, &job, &node), list_->next);
    EXPECT_EQ(cursor, list_->next);
    EXPECT_EQ(Pair(job, node), Pair(2, 20));
    EXPECT_EQ(kelvo_common_startup_list_get_next(&cursor, &job, &node), nullptr);
    EXPECT_EQ(cursor, nullptr);
    EXPECT_EQ(Pair(job, node), Pair(1, 10));
    expect_list({{2, 20}, {1, 10}});
}

TEST_F(StartupList, FreeReleasesEveryEntryAndClearsTheHandle) {
    const FailingMemory memory;
    given({{1, 10}, {2, 20}, {3, 30}});
    EXPECT_EQ(memory.outstanding(), 3);
    kelvo_common_startup_list_free(&list_);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(list_, nullptr);
}

TEST_F(StartupList, ACopyIsReversedAndItsOwn) {
    given({{1, 1}, {2, 2}});
    kelvo_startup_list* copy = nullptr;
    ASSERT_EQ(kelvo_common_startup_list_dup(list_, &copy), 0U);
    kelvo_common_startup_list_free(&list_);
    EXPECT_EQ(pairs_of(copy), (Pairs{{1, 1}, {2, 2}}));
    EXPECT_EQ(copy->count, 2U);
    kelvo_common_startup_list_free(&copy);
}

TEST_F(StartupList, APairForAnyNodeBeneathItsJobCannotBeCopied) {
    given({{5, kAny}, {5, 2}});
    kelvo_startup_list sentinel{};
    kelvo_startup_list* copy = &sentinel;
    const FailingMemory memory;
    EXPECT_EQ(kelvo_common_startup_list_dup(list_, &copy), KELVO_ERR_ALREADY_EXISTS);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(copy, &sentinel);
}

/// Pairs enough for the copy to keep a set of them, which grows a few times.
Pairs many_pairs(uint32_t count) {
    Pairs pairs;
    for (uint32_t i = 0; i < count; ++i) pairs.emplace_back(i % 7, i);
    return pairs;
}

TEST_F(StartupList, ACopyThatRunsOutOfMemoryLeavesNothing) {
    given(many_pairs(300));
    kelvo_startup_list sentinel{};
    std::size_t failures = 0;
    for (;; ++failures) {
        kelvo_startup_list* copy = &sentinel;
        kelvo_status status;
        long outstanding;
        {
            const FailingMemory memory(failures);
            status = kelvo_common_startup_list_dup(list_, &copy);
            outstanding = memory.outstanding();
        }
        if (status == 0) {
            EXPECT_EQ(outstanding, 300);
            kelvo_common_startup_list_free(&copy);
            break;
        }
        ASSERT_EQ(status, KELVO_ERR_NO_MEMORY) << "allocation " << failures;
        ASSERT_EQ(outstanding, 0) << "allocation " << failures;
        ASSERT_EQ(copy, &sentinel);
    }
    EXPECT_GT(failures, 300U) << "the set's own allocations fail, too";
}

TEST_F(StartupList, AMillionEntriesAreCopiedInNoTime) {
    const uint32_t count = 1000000;
    for (uint32_t i = 0; i < count; ++i) {
        auto* const entry = static_cast<kelvo_startup_list*>(malloc(sizeof(kelvo_startup_list)));
        *entry = {i / 3, i, i + 1, list_};
        list_ = entry;
    }
    const auto start = std::chrono::steady_clock::now();
    kelvo_startup_list* copy = nullptr;
    ASSERT_EQ(kelvo_common_startup_list_dup(list_, &copy), 0U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(copy->count, count);
    kelvo_common_startup_list_free(&copy);
}

/// The rules as they read, over a vector whose first element is the list's first entry.
struct Model {
    Pairs pairs;

    [[nodiscard]] bool contains(uint32_t job, uint32_t node) const {
        return std::any_of(pairs.begin(), pairs.end(),
                           [&](const Pair& entry) { return matches(entry, job, node); });
    }
    kelvo_status add(uint32_t job, uint32_t node) {
        if (contains(job, node)) return KELVO_ERR_ALREADY_EXISTS;
        pairs.insert(pairs.begin(), {job, node});
        return 0;
    }
    kelvo_status remove(uint32_t job, uint32_t node) {
        const auto found = std::find_if(pairs.begin(), pairs.end(), [&](const Pair& entry) {
            return matches(entry, job, node);
        });
        if (found == pairs.end()) return KELVO_ERR_NOT_FOUND;
        pairs.erase(found);
        return 0;
    }
    kelvo_status dup(Model* copy) const {
        for (const auto& [job, node] : pairs) {
            if (const kelvo_status status = copy->add(job, node)) return status;
        }
        return 0;
    }
};

TEST_F(StartupList, FollowsTheRulesOnRandomOperations) {
    Random random(20);
    const uint32_t nodes[] = {0, 1, 2, 3, 0xFFFFFFFE, kAny};
    for (const uint32_t jobs : {2U, 40U}) {
        Model model;
        for (int i = 0; i < 4000; ++i) {
            const uint32_t job = random.below(jobs);
            const uint32_t node = random.pick(nodes);
            if (list_ != nullptr) {
                ASSERT_EQ(contains(job, node), model.contains(job, node));
            }
            if (random.below(5) < 3 || list_ == nullptr) {
                ASSERT_EQ(add(job, node), model.add(job, node));
            } else {
                ASSERT_EQ(remove(job, node), model.remove(job, node));
            }
            ASSERT_EQ(pairs_of(list_), model.pairs);
            if (list_ == nullptr) continue;
            ASSERT_EQ(list_->count, model.pairs.size());

            Model model_copy;
            kelvo_startup_list* copy = nullptr;
            ASSERT_EQ(kelvo_common_startup_list_dup(list_, &copy), model.dup(&model_copy));
            if (copy == nullptr) continue;
            ASSERT_EQ(pairs_of(copy), model_copy.pairs);
            kelvo_common_startup_list_free(&copy);
        }
        if (list_ != nullptr) kelvo_common_startup_list_free(&list_);
    }
}

/// A send block as it should be: count, four bytes, pairs.
void expect_block(const kelvo_slot& slot, const Pairs& pairs) {
    const auto* const block = static_cast<const uint8_t*>(slot.base);
    ASSERT_EQ(slot.length, 8 + 8 * pairs.size());
    EXPECT_EQ(word_at(block, 0), pairs.size());
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        EXPECT_EQ(word_at(block, 8 + 8 * k), pairs[k].first);
        EXPECT_EQ(word_at(block, 12 + 8 * k), pairs[k].second);
    }
}

TEST_F(StartupList, TheSendBlockHoldsThePairsInListOrder) {
    given({{1, 1}, {2, 2}, {3, 3}});
    kelvo_slot* slots = nullptr;
    uint32_t count = kUnset;
    const FailingMemory memory;
    ASSERT_EQ(kelvo_common_startup_list_create_iovs(list_, 4, &slots, &count), 0U);
    EXPECT_EQ(count, 5U);
    expect_block(slots[4], {{3, 3}, {2, 2}, {1, 1}});
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(slots[i].base, nullptr);
        EXPECT_EQ(slots[i].length, 0U);
        slots[i] = {kelvo_alignment, 8};  // the caller's pieces are not released
    }
    kelvo_common_startup_list_free_iovs(4, &slots);
    EXPECT_EQ(slots, nullptr);
    EXPECT_EQ(memory.outstanding(), 0);
}

TEST_F(StartupList, TheBlockMayBeTheOnlyPiece) {
    given({{1, 7}});
    kelvo_slot* slots = nullptr;
    uint32_t count = kUnset;
    ASSERT_EQ(kelvo_common_startup_list_create_iovs(list_, 0, &slots, &count), 0U);
    EXPECT_EQ(count, 1U);
    expect_block(slots[0], {{1, 7}});
    kelvo_common_startup_list_free_iovs(0, &slots);
}

TEST_F(StartupList, AnEmptyListMakesABlockOfEightBytes) {
    kelvo_slot* slots = nullptr;
    uint32_t count = kUnset;
    ASSERT_EQ(kelvo_common_startup_list_create_iovs(nullptr, 2, &slots, &count), 0U);
    EXPECT_EQ(count, 3U);
    expect_block(slots[2], {});
    kelvo_common_startup_list_free_iovs(2, &slots);
}

// The first entry's count says how many pairs are sent; it is the caller's to spoil.
TEST_F(StartupList, EntriesThatAreNotThereAreSentAsZeroes) {
    given({{1, 1}, {2, 2}});
    list_->count = 4;
    kelvo_slot* slots = nullptr;
    uint32_t count = kUnset;
    ASSERT_EQ(kelvo_common_startup_list_create_iovs(list_, 0, &slots, &count), 0U);
    expect_block(slots[0], {{2, 2}, {1, 1}, {0, 0}, {0, 0}});
    kelvo_common_startup_list_free_iovs(0, &slots);

    list_->count = 1;
    ASSERT_EQ(kelvo_common_startup_list_create_iovs(list_, 0, &slots, &count), 0U);
    expect_block(slots[0], {{2, 2}});
    kelvo_common_startup_list_free_iovs(0, &slots);
    list_->count = 2;
}

TEST_F(StartupList, NoGatherListIsMadeWithoutMemory) {
    given({{1, 1}});
    for (const std::size_t failing : {0U, 1U}) {
        kelvo_slot sentinel{};
        kelvo_slot* slots = &sentinel;
        uint32_t count = kUnset;
        const FailingMemory memory(failing);
        EXPECT_EQ(kelvo_common_startup_list_create_iovs(list_, 4, &slots, &count),
                  KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(memory.outstanding(), 0);
        EXPECT_EQ(slots, &sentinel);
        EXPECT_EQ(count, kUnset);
    }
}

TEST_F(StartupList, MoreSlotsThanThirtyTwoBitsCountAreRefused) {
    kelvo_slot sentinel{};
    kelvo_slot* slots = &sentinel;
    uint32_t count = kUnset;
    const FailingMemory memory;
    EXPECT_EQ(kelvo_common_startup_list_create_iovs(nullptr, 0xFFFFFFFF, &slots, &count),
              KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(memory.bytes(), 8U) << "they are not even asked for";
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(slots, &sentinel);
    EXPECT_EQ(count, kUnset);
}

TEST_F(StartupList, TheSizeOfAHugeGatherListDoesNotWrap) {
    kelvo_slot* slots = nullptr;
    uint32_t count = kUnset;
    const FailingMemory memory(1);
    EXPECT_EQ(kelvo_common_startup_list_create_iovs(nullptr, 0xFFFFFFFE, &slots, &count),
              KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(memory.bytes(), 8 + 0xFFFFFFFF * sizeof(kelvo_slot));
}

/// The whole report of an assertion: "unit:line: function: Assertion `expression' failed."
std::string report(const std::string& function, const std::string& expression) {
    std::string escaped;
    for (const char c : expression) {
        if (std::string("()*.|&").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return "common/src/kelvo_common_structs:[0-9]+: " + function + ": Assertion `" + escaped +
           "' failed\\.";
}

struct Misuse {
    const char* function;
    const char* expression;
    std::vector<std::function<void(kelvo_startup_list*)>> calls;
};

#define NOT_NULL(pointer) pointer " != ((void *)0)"

/// Every pointer that an assertion names, null on its own.
const Misuse kMisuses[] = {
    {"kelvo_common_startup_list_add", NOT_NULL("list_handle"), {[](auto*) {
         (void)kelvo_common_startup_list_add(nullptr, 1, 1);
     }}},
    {"kelvo_common_startup_list_remove",
     NOT_NULL("list_handle") " && " NOT_NULL("*list_handle"),
     {[](auto*) { (void)kelvo_common_startup_list_remove(nullptr, 1, 1); },
      [](auto*) {
          kelvo_startup_list* empty = nullptr;
          (void)kelvo_common_startup_list_remove(&empty, 1, 1);
      }}},
    {"kelvo_common_startup_list_contains",
     NOT_NULL("list_handle") " && " NOT_NULL("contains"),
     {[](auto*) {
          uint32_t flag;
          kelvo_common_startup_list_contains(nullptr, 1, 1, &flag);
      },
      [](auto* list) { kelvo_common_startup_list_contains(list, 1, 1, nullptr); }}},
    {"kelvo_common_startup_list_get",
     NOT_NULL("list_handle") " && " NOT_NULL("jid") " && " NOT_NULL("nid"),
     {[](auto*) {
          uint32_t job;
          uint32_t node;
          (void)kelvo_common_startup_list_get(nullptr, &job, &node);
      },
      [](auto* list) {
          uint32_t node;
          (void)kelvo_common_startup_list_get(list, nullptr, &node);
      },
      [](auto* list) {
          uint32_t job;
          (void)kelvo_common_startup_list_get(list, &job, nullptr);
      }}},
    {"kelvo_common_startup_list_get_next",
     NOT_NULL("list_handle") " && " NOT_NULL("*list_handle") " && " NOT_NULL("jid") " && " NOT_NULL(
         "nid"),
     {[](auto*) {
          uint32_t job;
          uint32_t node;
          (void)kelvo_common_startup_list_get_next(nullptr, &job, &node);
      },
      [](auto*) {
          kelvo_startup_list* end = nullptr;
          uint32_t job;
          uint32_t node;
          (void)kelvo_common_startup_list_get_next(&end, &job, &node);
      },
      [](auto* list) {
          uint32_t node;
          (void)kelvo_common_startup_list_get_next(&list, nullptr, &node);
      },
      [](auto* list) {
          uint32_t job;
          (void)kelvo_common_startup_list_get_next(&list, &job, nullptr);
      }}},
    {"kelvo_common_startup_list_free",
     NOT_NULL("list_handle") " && " NOT_NULL("*list_handle"),
     {[](auto*) { kelvo_common_startup_list_free(nullptr); },
      [](auto*) {
          kelvo_startup_list* empty = nullptr;
          kelvo_common_startup_list_free(&empty);
      }}},
    {"kelvo_common_startup_list_dup",
     NOT_NULL("list_handle") " && " NOT_NULL("dup_list"),
     {[](auto*) {
          kelvo_startup_list* copy;
          (void)kelvo_common_startup_list_dup(nullptr, &copy);
      },
      [](auto* list) { (void)kelvo_common_startup_list_dup(list, nullptr); }}},
    {"kelvo_common_startup_list_create_iovs",
     NOT_NULL("iov_set") " && " NOT_NULL("num_iovs"),
     {[](auto* list) {
          uint32_t count;
          (void)kelvo_common_startup_list_create_iovs(list, 1, nullptr, &count);
      },
      [](auto* list) {
          kelvo_slot* slots;
          (void)kelvo_common_startup_list_create_iovs(list, 1, &slots, nullptr);
      }}},
    {"kelvo_common_startup_list_free_iovs",
     NOT_NULL("iov_set") " && " NOT_NULL("*iov_set"),
     {[](auto*) { kelvo_common_startup_list_free_iovs(1, nullptr); },
      [](auto*) {
          kelvo_slot* none = nullptr;
          kelvo_common_startup_list_free_iovs(1, &none);
      }}},
};

TEST(StartupListDeathTest, MisuseStopsTheProcess) {
    kelvo_startup_list* list = list_of({{1, 1}});
    for (const Misuse& misuse : kMisuses) {
        for (std::size_t i = 0; i < misuse.calls.size(); ++i) {
            SCOPED_TRACE(std::string(misuse.function) + ", call " + std::to_string(i));
            EXPECT_DEATH(misuse.calls[i](list), report(misuse.function, misuse.expression));
        }
    }
    kelvo_common_startup_list_free(&list);
}

}  // namespace
