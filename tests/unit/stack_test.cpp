// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "kelvo_stack.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::platform;

constexpr uint32_t kSentinel = 0xdeadbeef;

class Stack : public testing::Test {
  protected:
    void SetUp() override {
        platform().reset();
        ASSERT_EQ(stack_init(0x1234, &stack), 0U);
    }
    void TearDown() override {
        if (stack != nullptr) {
            EXPECT_EQ(stack_shutdown(stack), 0U);
        }
    }

    kelvo_status push(const std::string& value) {
        return stack_push(stack, value.data(), value.size());
    }

    std::string popped() {
        void* value = nullptr;
        uint64_t size = 0;
        if (stack_pop(stack, &value, &size) != 0) return "(nothing)";
        std::string text(static_cast<char*>(value), size);
        free(value);
        return text;
    }

    void expect_same(const std::vector<std::string>& model) const {
        ASSERT_EQ(stack->argument, 0x1234U);
        ASSERT_EQ(stack->depth, model.size());
        const kelvo_stack_node* node = stack->top;
        for (auto value = model.rbegin(); value != model.rend(); ++value, node = node->next) {
            ASSERT_NE(node, nullptr);
            ASSERT_EQ(std::string(static_cast<char*>(node->value), node->size), *value);
        }
        ASSERT_EQ(node, nullptr);
        uint32_t is_empty = kSentinel;
        ASSERT_EQ(stack_is_empty(stack, &is_empty), 0U);
        ASSERT_EQ(is_empty, model.empty() ? 1U : 0U);
    }

    kelvo_stack* stack = nullptr;
};

TEST_F(Stack, BeginsEmptyAndKeepsItsArgument) {
    expect_same({});
}

TEST_F(Stack, TheLastValueInIsTheFirstOut) {
    for (const char* value : {"one", "two", "three"}) EXPECT_EQ(push(value), 0U);
    expect_same({"one", "two", "three"});
    EXPECT_EQ(popped(), "three");
    EXPECT_EQ(popped(), "two");
    EXPECT_EQ(push("four"), 0U);
    expect_same({"one", "four"});
    EXPECT_EQ(popped(), "four");
    EXPECT_EQ(popped(), "one");
    expect_same({});
}

TEST_F(Stack, KeepsAPrivateCopyOfEachValue) {
    std::string value = "aaa";
    EXPECT_EQ(push(value), 0U);
    value[0] = 'b';
    expect_same({"aaa"});
}

TEST_F(Stack, AnEmptyValueHasABlockOfItsOwn) {
    EXPECT_EQ(stack_push(stack, "", 0), 0U);
    void* value = nullptr;
    uint64_t size = kSentinel;
    EXPECT_EQ(stack_pop(stack, &value, &size), 0U);
    EXPECT_NE(value, nullptr);
    EXPECT_EQ(size, 0U);
    free(value);
}

TEST_F(Stack, SizesHave64Bits) {
    constexpr uint64_t kHuge = 0x100000004;
    const FailingMemory fail(1);
    EXPECT_EQ(stack_push(stack, "four", kHuge), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(FailingMemory::bytes(), sizeof(kelvo_stack_node) + kHuge);
}

TEST_F(Stack, PeekChangesNothing) {
    EXPECT_EQ(push("one"), 0U);
    EXPECT_EQ(push("two"), 0U);
    void* value = nullptr;
    uint64_t size = 0;
    EXPECT_EQ(stack_peek(stack, &value, &size), 0U);
    EXPECT_EQ(value, stack->top->value);
    EXPECT_EQ(size, 3U);
    expect_same({"one", "two"});
}

TEST_F(Stack, PopAndPeekAnswerAnEmptyStackDifferently) {
    void* value = &platform();
    uint64_t size = kSentinel;
    EXPECT_EQ(stack_pop(stack, &value, &size), 0xA0827E00U);
    EXPECT_EQ(stack_peek(stack, &value, &size), 0xA0827A00U);
    EXPECT_EQ(value, &platform());
    EXPECT_EQ(size, kSentinel);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(Stack, EveryNullArgumentIsLoggedBeforeAnythingElse) {
    void* value = &platform();
    uint64_t size = kSentinel;
    uint32_t is_empty = kSentinel;
    const kelvo_status answers[] = {
        stack_init(1, nullptr),
        stack_is_empty(nullptr, &is_empty),
        stack_is_empty(stack, nullptr),
        stack_shutdown(nullptr),
        stack_push(nullptr, "v", 1),
        stack_push(stack, nullptr, 1),
        stack_pop(nullptr, &value, &size),
        stack_pop(stack, nullptr, &size),
        stack_pop(stack, &value, nullptr),
        stack_peek(nullptr, &value, &size),
        stack_peek(stack, nullptr, &size),
        stack_peek(stack, &value, nullptr),
    };
    for (const kelvo_status status : answers) EXPECT_EQ(status, KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(value, &platform());
    EXPECT_EQ(size, kSentinel);
    EXPECT_EQ(is_empty, kSentinel);
    ASSERT_EQ(platform().log.size(), std::size(answers));
    for (const auto& line : platform().log) {
        EXPECT_EQ(line.record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(line.severity, 7);
        EXPECT_EQ(line.text,
                  "A NULL pointer was passed as a fn parameter: rc 0x40818800 (text of "
                  "0x40818800)");
    }
}

TEST_F(Stack, WithoutMemoryNothingChanges) {
    EXPECT_EQ(push("one"), 0U);
    for (std::size_t failing = 0; failing < 2; ++failing) {
        const FailingMemory fail(failing);
        EXPECT_EQ(stack_push(stack, "two", 3), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    kelvo_stack* out = stack;
    {
        const FailingMemory fail(0);
        EXPECT_EQ(stack_init(1, &out), KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(out, stack);
    expect_same({"one"});
}

TEST_F(Stack, AgreesWithAModelAfterEveryStep) {
    std::mt19937 random(3);
    std::vector<std::string> model;
    for (int step = 0; step < 5000; ++step) {
        if (random() % 2 == 0) {
            const std::string value(random() % 12, static_cast<char>('a' + random() % 26));
            const std::size_t failing = random() % 4;
            kelvo_status status;
            {
                const FailingMemory fail(failing);
                status = stack_push(stack, value.data(), value.size());
            }
            ASSERT_EQ(status, failing < 2 ? KELVO_ERR_NO_MEMORY : 0U);
            if (status == 0) model.push_back(value);
        } else {
            ASSERT_EQ(popped(), model.empty() ? "(nothing)" : model.back());
            if (!model.empty()) model.pop_back();
        }
        expect_same(model);
        if (HasFatalFailure()) return;
    }
}

TEST_F(Stack, ShutdownReleasesEverything) {
    const FailingMemory counted;
    kelvo_stack* other = nullptr;
    ASSERT_EQ(stack_init(1, &other), 0U);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(stack_push(other, "value", 5), 0U);
    EXPECT_EQ(stack_shutdown(other), 0U);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

}  // namespace
