// SPDX-License-Identifier: Apache-2.0
//
// The utilities on the host platform as it is: scripts that really run, a tree that really
// balances, the operating system's own answers.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "kelvo_cfg_group.h"
#include "kelvo_intgr_store.h"
#include "kelvo_platform_host.h"
#include "kelvo_process.h"
#include "kelvo_trace.h"
#include "support/child.h"

namespace {

using kelvo::test::contents;
using kelvo::test::in_child;
using kelvo::test::ScratchDirectory;
using Clock = std::chrono::steady_clock;

const ScratchDirectory& scratch() {
    static const ScratchDirectory directory;
    return directory;
}

[[maybe_unused]] const bool configured = [] {
    kelvo::test::use_configuration(
        scratch().write("platform.conf", "scripts_directory = \"" + scratch().path() + "\";"));
    return true;
}();

// ---- Support data ----

/// Waits until a script has finished its report.
std::string report() {
    for (int i = 0; i < 1000 && access(scratch().path("done").c_str(), F_OK) != 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return contents(scratch().path("report"));
}

TEST(SupportData, TheScriptRunsUnderItsTimeLimit) {
    const std::string script = scratch().write("techdump_fast",
                                               "#!/bin/sh\n"
                                               "cd " +
                                                   scratch().path() +
                                                   "\n"
                                                   "tr '\\0' ' ' </proc/$PPID/cmdline >report\n"
                                                   "printf '\\n%s\\n' \"$*\" >>report\n"
                                                   "touch done\n");
    ASSERT_EQ(chmod(script.c_str(), 0755), 0);
    const auto before = Clock::now();
    EXPECT_EQ(kelvo_util_collect_showtech(0), 0U);
    EXPECT_GE(Clock::now() - before, std::chrono::seconds(2));
    const std::string text = report();
    const std::string arguments = "-r -c kelvo -m kelvo_techdump_fast -a -S\n";
    EXPECT_TRUE(std::regex_search(text, std::regex("\\b1800 "))) << text;
    EXPECT_EQ(text.substr(text.find('\n') + 1), arguments);
}

TEST(SupportData, AScriptThatIsNotThereIsReportedAtOnce) {
    unlink(scratch().path("techdump_fast").c_str());
    const auto before = Clock::now();
    EXPECT_NE(kelvo_util_collect_showtech(1), 0U);
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(2));
}

// ---- Priority ----

TEST(Priority, IsTheSystemsAnswer) {
    sched_param parameters;
    ASSERT_EQ(sched_getparam(0, &parameters), 0);
    uint32_t priority = 0xdeadbeef;
    EXPECT_EQ(kelvo_util_get_priority(&priority), 0U);
    EXPECT_EQ(priority, static_cast<uint32_t>(parameters.sched_priority));
}

TEST(Priority, OnlyWhatThePolicyAllowsCanBeSet) {
    if (sched_getscheduler(0) != SCHED_OTHER) GTEST_SKIP() << "runs under a real-time policy";
    EXPECT_EQ(kelvo_util_set_priority(0), 0U);
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
    EXPECT_EQ(kelvo_util_set_priority(1), KELVO_ERR_OS_CALL);
    EXPECT_EQ(kelvo_util_set_priority(0xffffffff), KELVO_ERR_OS_CALL);
}

// ---- Time since boot ----

TEST(TimeSinceBoot, GoesOn) {
    int64_t first[2];
    int64_t second[2];
    kelvo_get_elapsed_time_since_boot(first);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    kelvo_get_elapsed_time_since_boot(second);
    EXPECT_GT(first[0], 0);
    EXPECT_GE(first[1], 0);
    EXPECT_LT(first[1], 1000000);
    const int64_t passed = (second[0] - first[0]) * 1000000 + second[1] - first[1];
    EXPECT_GE(passed, 40000);
}

// ---- Text copies ----

TEST(TextCopies, AreAccountedToWhoeverAsks) {
    const auto accounts = [] {
        std::vector<platform_host_caller> rows(PLATFORM_HOST_CALLERS + 1);
        rows.resize(platform_host_callers(rows.data(), rows.size()));
        uint64_t bytes = 0;
        for (const platform_host_caller& row : rows) bytes += row.bytes;
        return bytes;
    };
    const uint64_t before = accounts();
    char* const copy = kelvo_strdup("twelve chars");
    EXPECT_STREQ(copy, "twelve chars");
    EXPECT_EQ(accounts() - before, 13U);
    free(copy);
}

// ---- Containers on the host's services ----

TEST(IntegerStore, AgreesWithAMapOnTheHostsTree) {
    std::mt19937 random(8);
    std::map<uint32_t, void*> model;
    ordered_tree_node* root = nullptr;
    for (int step = 0; step < 20000; ++step) {
        const auto key = static_cast<uint32_t>(random() % 2000) * 2147483U;
        void* const value = reinterpret_cast<void*>(random());
        const bool present = model.count(key) != 0;
        void* got = nullptr;
        switch (random() % 3) {
            case 0:
                ASSERT_EQ(kelvo_intgr_store_insert(&root, key, value, nullptr),
                          present ? KELVO_ERR_ALREADY_EXISTS : 0U);
                model.emplace(key, value);
                break;
            case 1:
                ASSERT_EQ(kelvo_intgr_store_delete(&root, key, &got),
                          present ? 0U : KELVO_ERR_NO_SUCH_KEY);
                ASSERT_EQ(got, present ? model.at(key) : nullptr);
                model.erase(key);
                break;
            default:
                ASSERT_EQ(kelvo_intgr_store_contains(&root, key, &got), present ? 1U : 0U);
                ASSERT_EQ(got, present ? model.at(key) : nullptr);
        }
    }
    for (const auto& [key, value] : model) {
        void* got = nullptr;
        ASSERT_EQ(kelvo_intgr_store_contains(&root, key, &got), 1U);
        ASSERT_EQ(got, value);
    }
    kelvo_intgr_store_shutdown(root, 0);
}

TEST(GroupNames, AreUnpackedFromAHostTuple) {
    const char* const names[] = {"G1", "G1", "", "G2"};
    char* list[8] = {};
    uint32_t count = 0;
    std::vector<char> tuple(platform_host_tuple_size(names, 4));
    ASSERT_EQ(platform_host_tuple_pack(names, 4, tuple.data(), tuple.size()), 0U);
    EXPECT_EQ(kelvo_apply_grp_tuple_unpack(tuple.data(), list, &count), 0U);
    EXPECT_NE(kelvo_apply_grp_tuple_unpack("not a tuple", list, &count), 0U);
    EXPECT_EQ(count, 2U);
    EXPECT_STREQ(list[0], "G1");
    EXPECT_STREQ(list[1], "G2");
    kelvo_free_grp_names(list, 8);
}

// ---- Trace ----

TEST(Trace, ShowsTheNodeTheProcessAndTheLocalTime) {
    const auto outcome = in_child([] {
        setenv("TZ", "KLV-5:30", 1);
        tzset();
        KELVO_TRACE_ENTER("in %s", "here");
        KELVO_TRACE_EXIT("out %d", static_cast<int>(getpid()));
    });
    ASSERT_TRUE(outcome.succeeded()) << outcome.errors;
    uint32_t nodeid = 0;
    ASSERT_EQ(platform_my_nodeid(&nodeid), 0U);
    char node[16];
    std::snprintf(node, sizeof node, "0x%08x", nodeid);
    const std::regex expected(
        "TRACE_INFO: \\[(\\d{6,})\\|(\\d{3,})\\] \\*{4} started tracing \\*{4}\n"
        "\\[(\\d\\d):(\\d\\d):\\d\\d\\]\\[(0x[0-9a-f]{8})\\]\\[\\1\\]\\[\\2\\].{30} #\\d{5}  in "
        "here\n"
        "\\[.{8}\\]\\[\\5\\]\\[\\1\\]\\[\\2\\].{30} #\\d{5}  out (\\d+)\n");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(outcome.output, match, expected)) << outcome.output;
    EXPECT_EQ(std::stoi(match[1]), std::stoi(match[6]));
    EXPECT_EQ(std::stoi(match[2]), std::stoi(match[6]));  // the first thread of its process
    EXPECT_EQ(match[5], node);
    const std::time_t there = std::time(nullptr) + 5 * 3600 + 30 * 60;
    const long minutes = std::stoi(match[3]) * 60 + std::stoi(match[4]);
    const long behind = (there / 60 - minutes) % (24 * 60);
    EXPECT_LE(behind, 2) << outcome.output;
}

}  // namespace
