// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>

#include "kelvo_common_msg.h"
#include "platform/failing_memory.h"

namespace {

struct Row {
    uint32_t number;
    const char* tag;
    const char* description;
};

constexpr Row kRows[] = {
#define ROW(number, name, tag, description) {number, tag, description},
    KELVO_MSG_TYPE_LIST(ROW)
#undef ROW
};

TEST(MessageTypes, EveryTypeHasItsTexts) {
    ASSERT_EQ(std::size(kRows), 72U);
    for (const Row& row : kRows) {
        EXPECT_STREQ(kelvo_comm_msgtype_desc(row.number), row.tag);
        EXPECT_STREQ(kelvo_comm_msg_desc(row.number), row.description);
    }
}

TEST(MessageTypes, MemoryIsCounted) {
    kelvo::test::FailingMemory fail(0);
    void* volatile block = malloc(8);
    EXPECT_EQ(block, nullptr);
}

}  // namespace
