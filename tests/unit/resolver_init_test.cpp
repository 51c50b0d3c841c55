// SPDX-License-Identifier: Apache-2.0
//
// What the resolver learns when a process starts it, and what it lets go.
#include <algorithm>

#include "support/resolver_fixture.h"
#include "support/system_calls.h"

namespace {

using namespace kelvo::test;

constexpr kelvo_status kFailed = 0x4000f00d;

class ResolverInit : public Resolver {
  protected:
    ResolverInit() {
        system_calls = {};
        platform().is_single_node = [] { return 0U; };
    }
    ~ResolverInit() override { system_calls = {}; }

    static void fail_nodeid() {
        platform().my_nodeid = [](std::uint32_t* nodeid) {
            *nodeid = 0x99;
            return kFailed;
        };
    }
    static bool permits_remote_binds() {
        const Found found = look_up("cfg/node/act/20");
        EXPECT_EQ(found, found.status == 0 ? owner(node_answer(0x20))
                                           : refused(KELVO_ERR_REMOTE_LOCAL_BIND));
        return found.status == 0;
    }
    static bool refuses_deprecated_paths() {
        const Found found = look_up("oper/config/startup");
        EXPECT_EQ(found, found.status == 0 ? owner(kSharedNc) : refused(KELVO_ERR_NO_OWNER));
        return found.status != 0;
    }
    static bool initialised_debug_flags() {
        const auto& calls = platform().calls;
        return std::find(calls.begin(), calls.end(),
                         "platform_debug_register /debug/kelvo/common/") != calls.end();
    }
};

TEST_F(ResolverInit, OrdinaryProcessAsksThePlatform) {
    platform().type = [] { return 2U; };
    platform().my_nodeid = [](std::uint32_t* nodeid) -> kelvo_status {
        *nodeid = 0x4711;
        return 0;
    };
    EXPECT_EQ(start_as("client", 0x99), 0U);
    EXPECT_EQ(look_up("cfg"), ambiguous(node_answer(0x4711))) << "a line card goes to its own node";
    EXPECT_TRUE(permits_remote_binds());
    EXPECT_FALSE(refuses_deprecated_paths());
    EXPECT_FALSE(initialised_debug_flags());
    EXPECT_EQ(system_calls.keys_created, 1);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(ResolverInit, ConnectionsOutliveTheirThreads) {
    system_calls.destructor = [](void*) {};
    start();
    EXPECT_EQ(system_calls.keys_created, 1);
    EXPECT_EQ(system_calls.destructor, nullptr);
}

TEST_F(ResolverInit, ShowToolIsToldItsNodeAndAsksNothing) {
    platform().type = [] {
        ADD_FAILURE() << "asked for the card type";
        return 2U;
    };
    platform().my_nodeid = [](std::uint32_t*) {
        ADD_FAILURE() << "asked for the node";
        return kFailed;
    };
    EXPECT_EQ(start_as("kelvoshow", 0x4711), 0U);
    EXPECT_EQ(look_up("ipc/local"), owner(unversioned(node_answer(0x4711))));
    EXPECT_EQ(look_up("cfg"), ambiguous(kSharedSc)) << "counts as a route processor";
    EXPECT_FALSE(permits_remote_binds());
    EXPECT_TRUE(refuses_deprecated_paths());
    EXPECT_FALSE(initialised_debug_flags());
    EXPECT_EQ(system_calls.keys_created, 1);
}

TEST_F(ResolverInit, ManagementClientProcessInitialisesTheDebugFlags) {
    EXPECT_EQ(start_as("kelvo_mc"), 0U);
    EXPECT_TRUE(initialised_debug_flags());
    EXPECT_FALSE(permits_remote_binds());
    EXPECT_FALSE(refuses_deprecated_paths());
    EXPECT_EQ(look_up("cfg/if/act"), owner(kLocal));
}

TEST_F(ResolverInit, FailedDebugFlagsAreReportedThereAndChangeNothing) {
    platform().debug_register = [](auto*, const char*) { return kFailed; };
    EXPECT_EQ(start_as("kelvo_mc"), 0U);
    expect_logged(qor_msg_rec_kelvoutils_internal,
                  "Failed to register for debugging: rc 0x4000f00d (text of 0x4000f00d)");
    EXPECT_EQ(look_up("cfg/gl"), owner(kSharedSc));
}

TEST_F(ResolverInit, ProcessNamesAreComparedExactly) {
    for (const char* name : {"kelvoshow1", "kelvosho", "KELVOSHOW", "kelvo_mc2", "kelvo_m", ""}) {
        EXPECT_EQ(start_as(name, 0x99), 0U) << name;
        EXPECT_TRUE(permits_remote_binds()) << name;
        EXPECT_FALSE(refuses_deprecated_paths()) << name;
        EXPECT_FALSE(initialised_debug_flags()) << name;
    }
}

TEST_F(ResolverInit, FailedNodeIsLoggedAndLeavesTheKeyOut) {
    fail_nodeid();
    EXPECT_EQ(start_as("client"), kFailed);
    expect_logged(qor_msg_rec_kelvoutils_internal,
                  "Failed to get nodeid : rc 0x4000f00d (text of 0x4000f00d)");
    EXPECT_EQ(system_calls.keys_created, 0);
    EXPECT_TRUE(permits_remote_binds()) << "the last step is done all the same";
}

TEST_F(ResolverInit, FailedNodeStillInitialisesTheDebugFlags) {
    fail_nodeid();
    EXPECT_EQ(start_as("kelvo_mc"), kFailed);
    EXPECT_TRUE(initialised_debug_flags());
    EXPECT_FALSE(permits_remote_binds());
}

TEST_F(ResolverInit, FailedKeyIsLoggedAndItsCodeReturned) {
    system_calls.key_create_fails = EAGAIN;
    EXPECT_EQ(start_as("client"), static_cast<kelvo_status>(EAGAIN));
    expect_logged(qor_msg_rec_kelvoutils_internal,
                  "Failed to create imc connection context key: rc 0xb (text of 0xb)");
    EXPECT_TRUE(permits_remote_binds()) << "the last step is done all the same";
    platform().log.clear();
    EXPECT_EQ(start_as("kelvoshow", kThisNode), static_cast<kelvo_status>(EAGAIN));
    EXPECT_EQ(platform().log.size(), 1U);
    EXPECT_EQ(kelvo_nr_shutdown(), 0U);
    EXPECT_EQ(system_calls.keys_deleted, 0) << "there is none";
}

TEST_F(ResolverInit, TraceTakesThePlaceOfTheLogOnlyWhenGiven) {
    int trace;
    EXPECT_EQ(start_as("client", 0, &trace), 0U);
    (void)look_up("cfg/node/act/zz");
    EXPECT_EQ(platform().trace_records.size(), 1U);
    EXPECT_EQ(platform().log.size(), 0U);
    EXPECT_EQ(start_as("client"), 0U);
    (void)look_up("cfg/node/act/zz");
    EXPECT_EQ(platform().trace_records.size(), 1U);
    EXPECT_EQ(platform().log.size(), 1U);
}

TEST_F(ResolverInit, ServerFlagIsTakenAndChangesNoAnswer) {
    EXPECT_EQ(kelvo_nr_init(1, 0, nullptr), 0U);
    EXPECT_EQ(look_up("cfg/gl"), owner(kSharedSc));
    EXPECT_EQ(look_up("cfg/node/act/20"), owner(node_answer(0x20)));
}

TEST_F(ResolverInit, ShutdownDeletesTheKeyOnce) {
    start();
    EXPECT_EQ(kelvo_nr_shutdown(), 0U);
    EXPECT_EQ(system_calls.keys_deleted, 1);
    EXPECT_EQ(kelvo_nr_shutdown(), 0U);
    EXPECT_EQ(system_calls.keys_deleted, 1);
}

TEST_F(ResolverInit, StartingOverLeaksNoKeyAndForgetsWhatWas) {
    ASSERT_EQ(start_as("kelvoshow", 0x4711), 0U);
    start();
    EXPECT_EQ(system_calls.keys_created, 2);
    EXPECT_EQ(system_calls.keys_deleted, 1);
    EXPECT_EQ(look_up("cfg/if/act"), owner(kLocal));
    EXPECT_TRUE(permits_remote_binds());
    EXPECT_FALSE(refuses_deprecated_paths());
}

}  // namespace
