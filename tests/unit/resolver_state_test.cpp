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

TEST(ResolverState, IsThatOfNoNodeWhileThePlatformNamesNone) {
    kelvo::test::platform().reset();
    kelvo::test::platform().my_nodeid = [](std::uint32_t*) { return kelvo_status{1}; };
    EXPECT_EQ(kelvo_nr_init(0, 7, nullptr), 1U);
    EXPECT_EQ(state.local.node_type, KELVO_NODE_PHYSICAL);
    EXPECT_EQ(state.local.node_id, KELVO_NODEID_INVALID);
    EXPECT_EQ(state.local.versioned, 0U);
    EXPECT_EQ(state.local.server_type, KELVO_SERVER_LOCAL);
    EXPECT_FALSE(state.has_ifdb_key);
}

}  // namespace
