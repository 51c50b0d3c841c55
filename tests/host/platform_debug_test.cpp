// SPDX-License-Identifier: Apache-2.0
//
// Debug flags: how they are registered and switched; debug lines; traces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "kelvo_platform_host.h"
#include "platform/failing_memory.h"
#include "support/child.h"
#include "support/debug_table.h"

namespace {

using kelvo::test::contents;
using kelvo::test::DebugTable;
using kelvo::test::FailingMemory;
using kelvo::test::in_child;
using kelvo::test::is_on;
using kelvo::test::kDebugPath;
using kelvo::test::ScratchDirectory;

TEST(DebugFlags, AreInitialisedAsGivenAndOff) {
    DebugTable table;
    EXPECT_EQ(table.flags[1].enabled, 0U);
    EXPECT_EQ(table.flags[1].index, 1U);
    EXPECT_EQ(table.flags[1].level, 6U);
    EXPECT_EQ(table.flags[1].value, 1U);
    EXPECT_STREQ(table.flags[1].name, "node-resolver/dfa");
    EXPECT_EQ(table.flags[1].path, nullptr);
    EXPECT_EQ(table.add(), 0U);
    EXPECT_STREQ(table.flags[0].path, kDebugPath);
    EXPECT_STREQ(table.flags[1].path, kDebugPath);
    EXPECT_EQ(table.states(), "00");
}

TEST(DebugFlags, AreSwitchedAtRunTime) {
    DebugTable table;
    ASSERT_EQ(table.add(), 0U);
    EXPECT_EQ(platform_host_debug_set("node-resolver", 1), 0U);
    EXPECT_EQ(table.states(), "10");
    EXPECT_EQ(platform_host_debug_set("/debug/kelvo/common/node-resolver/dfa", 7), 0U);
    EXPECT_EQ(table.states(), "11");
    EXPECT_EQ(platform_host_debug_set("node-resolver", 0), 0U);
    EXPECT_EQ(table.states(), "01");
    EXPECT_EQ(platform_host_debug_set("all", 0), 0U);
    EXPECT_EQ(table.states(), "00");
}

TEST(DebugFlags, OnlyRegisteredOnesAreSwitched) {
    EXPECT_EQ(platform_host_debug_set("all", 1), KELVO_ERR_NOT_FOUND);
    DebugTable table;
    EXPECT_EQ(platform_host_debug_set("node-resolver", 1), KELVO_ERR_NOT_FOUND);
    ASSERT_EQ(table.add(), 0U);
    EXPECT_EQ(platform_host_debug_set("node", 1), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_host_debug_set("", 1), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_host_debug_set("/debug/kelvo/commonnode-resolver", 1), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_host_debug_set(nullptr, 1), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(table.states(), "00");
}

TEST(DebugFlags, APathWithoutItsSlashIsJoinedWithOne) {
    DebugTable table("/debug/other");
    ASSERT_EQ(table.add(), 0U);
    EXPECT_EQ(platform_host_debug_set("/debug/othernode-resolver", 1), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_host_debug_set("/debug/other/node-resolver", 1), 0U);
    EXPECT_EQ(table.states(), "10");
}

TEST(DebugFlags, AnEmptyPathLeavesTheNameAlone) {
    DebugTable table("");
    ASSERT_EQ(table.add(), 0U);
    EXPECT_EQ(platform_host_debug_set("/node-resolver", 1), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_host_debug_set("node-resolver/dfa", 1), 0U);
    EXPECT_EQ(table.states(), "01");
}

TEST(DebugFlags, ATableIsRegisteredOnceAndCleanupPassesOverOthers) {
    DebugTable table;
    DebugTable unregistered("/debug/other/");
    ASSERT_EQ(table.add(), 0U);
    EXPECT_EQ(table.add(), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_debug_cleanup("/debug/other/"), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_debug_cleanup(kDebugPath), 0U);
    EXPECT_EQ(unregistered.add(), 0U);
}

TEST(DebugFlags, CleanupTakesAPathsTablesAwayAndNoOthers) {
    DebugTable first;
    DebugTable second;
    DebugTable other("/debug/other/");
    ASSERT_EQ(first.add(), 0U);
    ASSERT_EQ(second.add(), 0U);
    ASSERT_EQ(other.add(), 0U);
    ASSERT_EQ(platform_host_debug_set("all", 1), 0U);
    EXPECT_EQ(platform_debug_cleanup(kDebugPath), 0U);
    EXPECT_EQ(first.states() + second.states() + other.states(), "000011");
    EXPECT_EQ(first.flags[0].path, nullptr);
    EXPECT_EQ(platform_debug_cleanup(kDebugPath), KELVO_ERR_NOT_FOUND);
}

TEST(DebugFlags, ATableThatWasWithdrawnStartsAnewAfterInitialisation) {
    DebugTable table;
    ASSERT_EQ(table.add(), 0U);
    ASSERT_EQ(platform_debug_cleanup(kDebugPath), 0U);
    EXPECT_EQ(table.add(), KELVO_ERR_NOT_FOUND);
    table.init(0, "node-resolver");
    EXPECT_EQ(table.add(), 0U);
}

TEST(DebugFlags, InitialisingAFlagAgainStartsItAnew) {
    const FailingMemory count;
    {
        DebugTable table;
        ASSERT_EQ(table.add(), 0U);
        platform_host_debug_set("all", 1);
        table.init(0, "node-resolver");
        EXPECT_EQ(table.states(), "01");
        EXPECT_EQ(table.flags[0].path, nullptr);
        table.init(1, "node-resolver/dfa");
        EXPECT_EQ(table.add(), 0U);
        EXPECT_EQ(table.states(), "00");
    }
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

TEST(DebugFlags, ATableOfNoFlagsIsNotRegistered) {
    platform_debug_context nothing[1] = {};
    EXPECT_EQ(platform_debug_register(nothing, kDebugPath), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(platform_debug_register(nullptr, kDebugPath), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform_debug_register(nothing, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform_debug_cleanup(nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform_debug_init_event(nullptr, nothing, 0, 6, "a", 1), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform_debug_init_event(nothing, nullptr, 0, 6, "a", 1), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform_debug_init_event(nothing, nothing, 0, 6, nullptr, 1), KELVO_ERR_NULL_PARAM);
}

TEST(DebugFlags, RegistrationNeedsMemoryForThePath) {
    DebugTable table;
    platform_type();  // the configuration has been read
    {
        const FailingMemory fail(0);
        EXPECT_EQ(table.add(), KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(table.flags[0].path, nullptr);
    EXPECT_EQ(table.add(), 0U);
}

TEST(DebugFlags, ManyThreadsMayRegisterSwitchAndRead) {
    DebugTable shared("/debug/shared/");
    ASSERT_EQ(shared.add(), 0U);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&shared, t] {
            const std::string path = "/debug/thread" + std::to_string(t) + "/";
            for (uint32_t i = 0; i < 200; ++i) {
                DebugTable own(path.c_str());
                EXPECT_EQ(own.add(), 0U);
                platform_host_debug_set("/debug/shared/node-resolver", i % 2);
                EXPECT_EQ(platform_host_debug_set((path + "node-resolver").c_str(), 1), 0U);
                EXPECT_EQ(own.states(), "10");
                is_on(shared.flags[0]);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// ------------------------------------------------------------------------------------------------
// Lines and traces
// ------------------------------------------------------------------------------------------------

std::size_t lines_in(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(DebugPrint, WritesOneLineWithProgramProcessAndThread) {
    const auto outcome = in_child([] {
        errno = EXDEV;
        debug_print("'%s' -> %s\nnode %d", "cfg/x", "LOCAL", 7);
        std::printf("[%d:%d] %d", getpid(), gettid(), errno == EXDEV);
    });
    ASSERT_TRUE(outcome.output.ends_with(" 1"));
    EXPECT_EQ(outcome.errors, "platform_debug_test" +
                                  outcome.output.substr(0, outcome.output.size() - 2) +
                                  ": debug: 'cfg/x' -> LOCAL?node 7\n");
}

TEST(DebugPrint, LinesOfThreadsStayWhole) {
    const auto outcome = in_child([] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([] {
                for (int i = 0; i < 50; ++i) debug_print("%s", std::string(300, 'x').c_str());
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    EXPECT_EQ(lines_in(outcome.errors), 400U);
    std::istringstream in(outcome.errors);
    for (std::string line; std::getline(in, line);) {
        ASSERT_TRUE(line.ends_with(": debug: " + std::string(300, 'x'))) << line;
    }
}

TEST(Trace, RecordsAreAppendedToItsFile) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("trace", "before\n");
    void* const trace = platform_host_trace_open(path.c_str());
    ASSERT_NE(trace, nullptr);
    errno = EXDEV;
    platform_trace_record(trace, "%s: %d", "first", 1);
    platform_trace_record(trace, "second");
    EXPECT_EQ(errno, EXDEV);
    platform_host_trace_close(trace);
    platform_trace_record(trace, "after it was closed");
    std::istringstream in(contents(path));
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, "before");
    std::getline(in, line);
    EXPECT_TRUE(line.ends_with("]: first: 1")) << line;
    std::getline(in, line);
    EXPECT_TRUE(line.ends_with("]: second")) << line;
    EXPECT_FALSE(std::getline(in, line));
}

TEST(Trace, WhatIsNoTraceIsHarmless) {
    int nothing = 0;
    platform_trace_record(nullptr, "x");
    platform_trace_record(&nothing, "x");
    platform_trace_record(reinterpret_cast<void*>(1), "x");
    platform_host_trace_close(nullptr);
    platform_host_trace_close(&nothing);
    EXPECT_EQ(nothing, 0);
}

TEST(Trace, AFileThatCannotBeOpenedHasNoTrace) {
    errno = 0;
    EXPECT_EQ(platform_host_trace_open("/nowhere/trace"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST(Trace, SixteenMayBeOpen) {
    const ScratchDirectory scratch;
    std::vector<void*> traces;
    for (uint32_t i = 0; i < PLATFORM_HOST_TRACES; ++i) {
        traces.push_back(platform_host_trace_open(scratch.path(std::to_string(i)).c_str()));
        ASSERT_NE(traces.back(), nullptr);
    }
    EXPECT_EQ(platform_host_trace_open(scratch.path("more").c_str()), nullptr);
    EXPECT_EQ(errno, EMFILE);
    platform_trace_record(traces[3], "x");
    for (void* trace : traces) platform_host_trace_close(trace);
    EXPECT_EQ(lines_in(contents(scratch.path("3"))), 1U);
    EXPECT_EQ(lines_in(contents(scratch.path("4"))), 0U);
}

TEST(Trace, ThreadsMayRecordWhileItIsClosed) {
    const ScratchDirectory scratch;
    void* const trace = platform_host_trace_open(scratch.path("trace").c_str());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([trace] {
            for (int i = 0; i < 200; ++i) platform_trace_record(trace, "%s", "whole line");
        });
    }
    platform_host_trace_close(trace);
    for (std::thread& thread : threads) thread.join();
    std::istringstream in(contents(scratch.path("trace")));
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(line.ends_with("]: whole line")) << line;
    }
}

}  // namespace
