// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kelvo_util_nodeid.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/system_calls.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::platform;
using kelvo::test::system_calls;

constexpr const char* kCannotConvert = "Error - can't convert nodeid";
constexpr kelvo_status kRefused = 0x40001234;

struct NodeName {
    int32_t value;
    const char* display;
};

constexpr NodeName kNodeNames[] = {
    {-999999999, "illegal"},
    {-999999998, "memberset"},
    {-499999999, "nodeset_comp"},
    {-5, "unresolved"},
    {-6, "all_local_same_rack"},
    {-4, "all_admin"},
    {-3, "all_shared"},
    {-2, "all_local"},
    {-1, "all_lr"},
    {0, "physical"},
    {1000000000, "shared"},
    {1000000001, "admin"},
    {1000000002, "ccv"},
    {5, ""},
    {1, ""},
    {-7, ""},
    {-999999997, ""},
    {-1000000000, ""},
    {-500000000, ""},
    {999999999, ""},
    {1000000003, ""},
    {INT32_MAX, ""},
    {INT32_MIN, ""},
};

TEST(NodeTypes, EveryValueHasItsName) {
    for (const NodeName& row : kNodeNames) {
        EXPECT_STREQ(kelvo_comm_nodetype_desc(row.value), row.display) << row.value;
    }
}

TEST(NodeTypes, ListHoldsTheReservedValuesOnce) {
    std::set<int32_t> values;
#define COUNT(name, value, display, meaning) EXPECT_TRUE(values.insert(KELVO_NODE_##name).second);
    KELVO_NODE_TYPE_LIST(COUNT)
#undef COUNT
    EXPECT_EQ(values.size(), 13U);
}

TEST(ServerTypes, EveryValueHasItsName) {
    const char* const names[] = {"local", "shared_sc", "shared_nc", "admin", "shared_data_nc",
                                 "ccv",   "all",       "max",       "",      ""};
    for (uint32_t type = 0; type < std::size(names); ++type) {
        EXPECT_STREQ(kelvo_comm_servertype_desc(type), names[type]) << type;
    }
    EXPECT_STREQ(kelvo_comm_servertype_desc(UINT32_MAX), "");
}

class NodeidText : public testing::Test {
  protected:
    NodeidText() {
        platform().reset();
        system_calls = {};
        // What a death test runs begins in a process of its own, where no key exists yet.
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
    ~NodeidText() override { system_calls = {}; }

    static void refuse_format() {
        platform().format_nodeid = [](std::uint32_t, char*, std::size_t) { return kRefused; };
    }

    static std::vector<std::string> internal(const std::string& description, int code) {
        char text[200];
        std::snprintf(text, sizeof text, "%s: rc 0x%x (text of 0x%x)", description.c_str(), code,
                      code);
        return {text};
    }
};

TEST_F(NodeidText, IsThePlatformsForm) {
    EXPECT_STREQ(kelvo_util_nodeid_to_str(0x20103), "2_1_3");
}

TEST_F(NodeidText, PlatformIsGivenASlotOf32Bytes) {
    platform().format_nodeid = [](std::uint32_t, char* buffer, std::size_t size) -> kelvo_status {
        std::memset(buffer, 'n', size - 1);
        buffer[size - 1] = '\0';
        return 0;
    };
    EXPECT_EQ(kelvo_util_nodeid_to_str(1), std::string(31, 'n'));
}

TEST_F(NodeidText, FiveTextsStandSideBySideAndTheSixthTakesTheFirstSlot) {
    const char* texts[6];
    for (uint32_t i = 0; i < 5; ++i) texts[i] = kelvo_util_nodeid_to_str(i);
    EXPECT_EQ(std::set<const char*>(texts, texts + 5).size(), 5U);
    for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(texts[i], "0_0_" + std::to_string(i));
    texts[5] = kelvo_util_nodeid_to_str(5);
    EXPECT_EQ(texts[5], texts[0]);
    EXPECT_STREQ(texts[0], "0_0_5");
    for (uint32_t i = 1; i < 5; ++i) EXPECT_EQ(texts[i], "0_0_" + std::to_string(i));
}

TEST_F(NodeidText, NoNodeIsAConstantAndStillAdvancesTheRing) {
    const char* const first = kelvo_util_nodeid_to_str(1);
    const char* const none = kelvo_util_nodeid_to_str(0xFFFFFFFF);
    EXPECT_STREQ(none, "NODEID_INVALID");
    for (uint32_t i = 0; i < 3; ++i) EXPECT_NE(kelvo_util_nodeid_to_str(2), first);
    EXPECT_STREQ(first, "0_0_1");
    EXPECT_EQ(kelvo_util_nodeid_to_str(2), first);
    EXPECT_STREQ(none, "NODEID_INVALID");
}

TEST_F(NodeidText, SlotsAreThirtyTwoBytesApart) {
    const char* texts[5];
    for (const char*& text : texts) text = kelvo_util_nodeid_to_str(1);
    std::set<const char*> ordered(texts, texts + 5);
    const char* const lowest = *ordered.begin();
    for (const char* text : ordered) EXPECT_EQ((text - lowest) % 32, 0);
    EXPECT_EQ(*ordered.rbegin() - lowest, 128);
}

TEST_F(NodeidText, UnknownIdIsLoggedAndNamedByItsNumber) {
    refuse_format();
    EXPECT_STREQ(kelvo_util_nodeid_to_str(0xABC), "unknown node id 0xabc");
    ASSERT_EQ(platform().log.size(), 1U);
    EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_internal_nodeid_str);
    EXPECT_EQ(platform().log[0].severity, 7);
    EXPECT_EQ(platform().log[0].text,
              "NodeID to string conversion failed for node id 2748 (rc 0x40001234 - text of "
              "0x40001234)");
    EXPECT_EQ(system_calls.commands, 0);
}

TEST_F(NodeidText, UnknownIdAdvancesTheRing) {
    const char* const first = kelvo_util_nodeid_to_str(1);
    refuse_format();
    const char* const unknown = kelvo_util_nodeid_to_str(2);
    EXPECT_NE(unknown, first);
    for (uint32_t i = 0; i < 3; ++i) (void)kelvo_util_nodeid_to_str(3);
    EXPECT_EQ(kelvo_util_nodeid_to_str(4), first);
}

TEST_F(NodeidText, TraceDumpToolCapturesItsState) {
    char name[] = "kelvo_trace_dump";
    char* const before = program_invocation_short_name;
    program_invocation_short_name = name;
    (void)kelvo_util_nodeid_to_str(1);
    EXPECT_EQ(system_calls.commands, 0) << "only a failure runs the command";
    refuse_format();
    EXPECT_STREQ(kelvo_util_nodeid_to_str(0x1f), "unknown node id 0x1f");
    program_invocation_short_name = before;
    EXPECT_EQ(system_calls.commands, 1);
    EXPECT_STREQ(system_calls.command, "dumpaid_gen -o running -p kelvo_trace_dump");
}

TEST_F(NodeidText, ProcessesOfSimilarNamesDoNot) {
    char* const before = program_invocation_short_name;
    refuse_format();
    for (const char* similar : {"kelvo_trace_dump2", "kelvo_trace_dum", "xkelvo_trace_dump", ""}) {
        std::string name = similar;
        program_invocation_short_name = name.data();
        (void)kelvo_util_nodeid_to_str(1);
        program_invocation_short_name = before;
        EXPECT_EQ(system_calls.commands, 0) << similar;
    }
}

TEST_F(NodeidText, UnformableTextIsLoggedAndDoesNotUseUpItsSlot) {
    (void)kelvo_util_nodeid_to_str(1);
    const char* const second = kelvo_util_nodeid_to_str(2);
    for (uint32_t i = 0; i < 4; ++i) (void)kelvo_util_nodeid_to_str(3);  // back at the second slot
    platform().format_nodeid = [](std::uint32_t, char*, std::size_t) {
        system_calls.format_fails = EOVERFLOW;
        return kRefused;
    };
    // The log formats its lines too: it finds the call working again.
    platform().strerror = [](kelvo_status status) {
        static bool logged = false;
        system_calls.format_fails = logged ? 0 : EOVERFLOW;
        logged = !logged;
        return status == kRefused ? "refused" : "overflow";
    };
    EXPECT_STREQ(kelvo_util_nodeid_to_str(4), kCannotConvert);
    system_calls.format_fails = 0;
    ASSERT_EQ(platform().log.size(), 2U);
    EXPECT_EQ(platform().log[1].record, &qor_msg_rec_kelvoutils_internal);
    EXPECT_EQ(platform().log[1].severity, 7);
    EXPECT_EQ(platform().log[1].text,
              "Couldn't form error string in nodeid_to_str: rc 0x4b (overflow)");
    platform().reset();
    EXPECT_EQ(kelvo_util_nodeid_to_str(5), second);
}

TEST_F(NodeidText, NoMemoryForTheRingIsAnsweredSilently) {
    std::thread([] {
        {
            const FailingMemory fail(0);
            EXPECT_STREQ(kelvo_util_nodeid_to_str(1), kCannotConvert);
        }
        {
            const FailingMemory fail(0);
            EXPECT_STREQ(kelvo_util_nodeid_to_str(KELVO_NODEID_INVALID), kCannotConvert);
        }
        EXPECT_TRUE(platform().log.empty());
        EXPECT_STREQ(kelvo_util_nodeid_to_str(1), "0_0_1");
    }).join();
}

TEST_F(NodeidText, RingThatCannotBeKeptIsReleased) {
    std::thread([] {
        {
            const FailingMemory count;
            system_calls.setspecific_fails = ENOMEM;
            EXPECT_STREQ(kelvo_util_nodeid_to_str(1), kCannotConvert);
            system_calls.setspecific_fails = 0;
            EXPECT_EQ(FailingMemory::allocations(), 1U);
            EXPECT_EQ(FailingMemory::outstanding(), 0);
        }
        EXPECT_STREQ(kelvo_util_nodeid_to_str(1), "0_0_1");
    }).join();
    EXPECT_EQ(platform().log_texts(), internal("pthread_setspecific failed", ENOMEM));
    EXPECT_EQ(platform().log[0].severity, 7);
}

TEST_F(NodeidText, ThreadAllocatesItsRingOnce) {
    std::thread([] {
        const FailingMemory count;
        for (uint32_t i = 0; i < 100; ++i) (void)kelvo_util_nodeid_to_str(KELVO_NODEID_INVALID);
        EXPECT_EQ(FailingMemory::allocations(), 1U);
        EXPECT_EQ(FailingMemory::bytes(), 5U * 32 + 4);
    }).join();
}

/// Ends the process with what the condition says, for a death test.
[[noreturn]] void end(bool as_expected) {
    std::_Exit(as_expected ? 0 : 1);
}

using NodeidTextDeathTest = NodeidText;

TEST_F(NodeidTextDeathTest, FailedOnceCallIsLoggedEachTime) {
    const auto twice = [] {
        system_calls.once_fails = EINVAL;
        bool as_expected = std::strcmp(kelvo_util_nodeid_to_str(1), kCannotConvert) == 0;
        as_expected &= std::strcmp(kelvo_util_nodeid_to_str(2), kCannotConvert) == 0;
        auto expected = internal("pthread_once failed", EINVAL);
        expected.push_back(expected[0]);
        as_expected &= platform().log_texts() == expected;
        as_expected &= platform().log[0].record == &qor_msg_rec_kelvoutils_internal;
        as_expected &= platform().log[0].severity == 7;
        system_calls.once_fails = 0;
        as_expected &= std::strcmp(kelvo_util_nodeid_to_str(1), "0_0_1") == 0;
        system_calls.once_fails = EINVAL;  // though the key is there
        end(as_expected && std::strcmp(kelvo_util_nodeid_to_str(1), kCannotConvert) == 0);
    };
    EXPECT_EXIT(twice(), testing::ExitedWithCode(0), "");
}

TEST_F(NodeidTextDeathTest, FailedKeyIsLoggedOnceAndNothingIsConverted) {
    const auto twice = [] {
        system_calls.key_create_fails = EAGAIN;
        bool as_expected = std::strcmp(kelvo_util_nodeid_to_str(1), kCannotConvert) == 0;
        as_expected &= std::strcmp(kelvo_util_nodeid_to_str(~0U), kCannotConvert) == 0;
        end(as_expected &&
            platform().log_texts() ==
                internal("Couldn't create pthread key for nodeid to string conversion", EAGAIN) &&
            platform().log[0].severity == 7);
    };
    EXPECT_EXIT(twice(), testing::ExitedWithCode(0), "");
}

TEST_F(NodeidTextDeathTest, KeysDestructorFreesTheRingAndClearsTheKey) {
    const auto convert_release_convert = [] {
        const FailingMemory count;
        (void)kelvo_util_nodeid_to_str(1);
        bool as_expected = FailingMemory::outstanding() == 1;
        system_calls.destructor(system_calls.kept);
        as_expected &= FailingMemory::outstanding() == 0 && system_calls.kept == nullptr;
        (void)kelvo_util_nodeid_to_str(1);
        end(as_expected && FailingMemory::allocations() == 2);
    };
    EXPECT_EXIT(convert_release_convert(), testing::ExitedWithCode(0), "");
}

TEST_F(NodeidTextDeathTest, OneKeyIsMadeForTheProcess) {
    const auto convert = [] {
        (void)kelvo_util_nodeid_to_str(1);
        (void)kelvo_util_nodeid_to_str(2);
        end(system_calls.keys_created == 1);
    };
    EXPECT_EXIT(convert(), testing::ExitedWithCode(0), "");
}

TEST_F(NodeidText, ThreadsNeverShareASlot) {
    constexpr uint32_t kThreads = 8;
    std::atomic<uint32_t> wrong = 0;
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &wrong] {
            for (uint32_t round = 0; round < 2000; ++round) {
                const char* texts[5];
                for (uint32_t i = 0; i < 5; ++i) texts[i] = kelvo_util_nodeid_to_str(t << 8 | i);
                for (uint32_t i = 0; i < 5; ++i) {
                    char expected[32];
                    std::snprintf(expected, sizeof expected, "0_%u_%u", t, i);
                    if (std::strcmp(texts[i], expected) != 0) ++wrong;
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0U);
}

}  // namespace
