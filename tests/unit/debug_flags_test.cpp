// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "kelvo_debug.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::platform;
using Calls = std::vector<std::string>;

constexpr const char* kFirst = "platform_debug_init_event 0 6 node-resolver 1";
constexpr const char* kSecond = "platform_debug_init_event 1 6 node-resolver/dfa 1";
constexpr const char* kRegister = "platform_debug_register /debug/kelvo/common/";
constexpr const char* kCleanup = "platform_debug_cleanup /debug/kelvo/common/";

class DebugFlags : public testing::Test {
  protected:
    DebugFlags() { platform().reset(); }

    /// Makes the initialisation of one flag fail.
    static void refuse_flag(std::uint32_t refused) {
        platform().debug_init_event = [refused](auto*, auto*, std::uint32_t index, std::uint32_t,
                                                const char*, std::uint32_t) -> kelvo_status {
            return index == refused ? 0x4000abcd : 0;
        };
    }

    static void expect_logged(const std::string& text) {
        ASSERT_EQ(platform().log.size(), 1U);
        EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(platform().log[0].severity, 7);
        EXPECT_EQ(platform().log[0].text, text);
    }
};

TEST_F(DebugFlags, OptionsAreNamedAndValued) {
    static_assert(sizeof kelvo_cmn_debug_options / sizeof kelvo_cmn_debug_options[0] == 2);
    EXPECT_STREQ(kelvo_cmn_debug_options[0].name, "node-resolver");
    EXPECT_STREQ(kelvo_cmn_debug_options[1].name, "node-resolver/dfa");
    for (const kelvo_debug_option& option : kelvo_cmn_debug_options) {
        EXPECT_EQ(option.value, 1U);
        EXPECT_EQ(option.reserved, 0U);
    }
}

TEST_F(DebugFlags, EveryFlagHasAContextThatStartsOff) {
    static_assert(sizeof kelvo_cmn_debug_flags / sizeof kelvo_cmn_debug_flags[0] == 2);
    for (const platform_debug_context& flag : kelvo_cmn_debug_flags) EXPECT_EQ(flag.enabled, 0U);
}

TEST_F(DebugFlags, InitialisationGoesThroughTheFlagsAndRegistersTheirTable) {
    using Row = std::tuple<platform_debug_context*, platform_debug_context*, std::uint32_t,
                           std::uint32_t, const char*, std::uint32_t>;
    std::vector<Row> rows;
    platform().debug_init_event = [&rows](auto... arguments) -> kelvo_status {
        rows.emplace_back(arguments...);
        return 0;
    };
    platform_debug_context* registered = nullptr;
    platform().debug_register = [&](platform_debug_context* table, const char*) -> kelvo_status {
        registered = table;
        return 0;
    };

    EXPECT_EQ(kelvo_common_debug_init(), 0U);

    EXPECT_EQ(platform().calls, (Calls{kFirst, kSecond, kRegister}));
    ASSERT_EQ(rows.size(), 2U);
    for (std::uint32_t index = 0; index < 2; ++index) {
        EXPECT_EQ(rows[index], Row(&kelvo_cmn_debug_flags[index], &kelvo_cmn_debug_flags[0], index,
                                   6U, kelvo_cmn_debug_options[index].name, 1U));
    }
    EXPECT_EQ(registered, &kelvo_cmn_debug_flags[0]);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(DebugFlags, AFirstFlagThatFailsStopsBeforeTheSecond) {
    refuse_flag(0);
    EXPECT_EQ(kelvo_common_debug_init(), KELVO_ERR_OS_CALL);
    EXPECT_EQ(platform().calls, (Calls{kFirst}));
    expect_logged("Failed to initialise debug event: rc 0x4000abcd (text of 0x4000abcd)");
}

TEST_F(DebugFlags, ASecondFlagThatFailsStopsBeforeTheRegistration) {
    refuse_flag(1);
    EXPECT_EQ(kelvo_common_debug_init(), KELVO_ERR_OS_CALL);
    EXPECT_EQ(platform().calls, (Calls{kFirst, kSecond}));
    expect_logged("Failed to initialise debug event: rc 0x4000abcd (text of 0x4000abcd)");
}

TEST_F(DebugFlags, ARefusedRegistrationIsLoggedAndAnswered) {
    platform().debug_register = [](auto*, const char*) { return 0x1234U; };
    EXPECT_EQ(kelvo_common_debug_init(), KELVO_ERR_OS_CALL);
    EXPECT_EQ(platform().calls, (Calls{kFirst, kSecond, kRegister}));
    expect_logged("Failed to register for debugging: rc 0x1234 (text of 0x1234)");
}

TEST_F(DebugFlags, ShutdownWithdrawsTheDebugPath) {
    EXPECT_EQ(kelvo_common_debug_shutdown(), 0U);
    EXPECT_EQ(platform().calls, (Calls{kCleanup}));
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(DebugFlags, AFailedShutdownIsDescribedAsAFailedInitialisation) {
    platform().debug_cleanup = [](const char*) { return 0x4321U; };
    EXPECT_EQ(kelvo_common_debug_shutdown(), KELVO_ERR_DEBUG_INIT);
    EXPECT_EQ(platform().calls, (Calls{kCleanup}));
    expect_logged("Failed to initialise debug event: rc 0x4321 (text of 0x4321)");
}

}  // namespace
