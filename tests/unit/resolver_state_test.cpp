// SPDX-License-Identifier: Apache-2.0
//
// What the resolver keeps of its process and no lookup asks for. The source is part of this
// program.
#include "kelvo_node_resolver_state.cpp"  // NOLINT(bugprone-suspicious-include)

#include <gtest/gtest.h>

#include "platform/scripted_platform.h"

namespace {

TEST(ResolverState, KeepsWhetherItsProcessIsAServerAndItsTrace) {
    kelvo::test::platform().reset();
    EXPECT_EQ(state.is_server, 0U);
    EXPECT_EQ(state.trace, nullptr);
    int trace = 0;
    for (const std::uint32_t is_server : {1U, 0U, 0xFFFFFFFFU}) {
        EXPECT_EQ(kelvo_nr_init(is_server, 0, &trace), 0U);
        EXPECT_EQ(state.is_server, is_server);
        EXPECT_EQ(state.trace, &trace);
    }
    EXPECT_EQ(kelvo_nr_init(0, 0, nullptr), 0U);
    EXPECT_EQ(state.trace, nullptr);
    EXPECT_EQ(kelvo_nr_shutdown(), 0U);
}

}  // namespace
