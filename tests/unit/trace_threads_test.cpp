// SPDX-License-Identifier: Apache-2.0
//
// The trace facility under many threads, and the mutex that keeps their lines apart.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <thread>
#include <tuple>

#include "support/trace_scenarios.h"

namespace {

using namespace kelvo::test;

// ---- The mutex ----

TEST(TraceMutex, IsNotAnnouncedWhenItIsFree) {
    output_of(Output::file, [] {
        call(kNote, "message");
        return platform().calls.empty();
    });
}

TEST(TraceMutex, AWaitIsAnnouncedToTheThreadMonitor) {
    const std::string text = output_of(Output::file, [] {
        std::atomic<bool> held = false;
        std::atomic<bool> marked = false;
        bool good = true;
        platform().my_nodeid = [&](uint32_t* nodeid) -> kelvo_status {
            *nodeid = 0x10;
            held = true;
            while (!marked) std::this_thread::yield();
            return 0;
        };
        platform().mark_mutex_block = [&](pthread_mutex_t* mutex, const char* where,
                                          uint32_t line) {
            good = mutex == traced_mutex && std::string(where) == "trace" && line > 0 && line != 12;
            marked = true;
        };
        std::thread holder([] { call(kNote, "held"); });
        while (!held) std::this_thread::yield();
        call(kNote, "waited");
        holder.join();
        return good && platform().calls == std::vector<std::string>{"thread_mark_mutex_block trace",
                                                                    "thread_unmark_mutex_block"};
    });
    EXPECT_EQ(text, started() + line_of(1, "held") + line_of(1, "waited"));
}

constexpr int kFatalExit = 57005 & 0xff;  // what is left of the exit status

TEST(TraceMutexDeathTest, ALockThatCannotBeTriedEndsTheProcess) {
    EXPECT_EXIT(
        {
            fake.trylock_error = EINVAL;
            call(kNote, "message");
        },
        testing::ExitedWithCode(kFatalExit),
        "^Kelvo TRACE_FATAL: Couldn't lock mutex \\(Invalid argument\\)!\n$");
}

TEST(TraceMutexDeathTest, AWaitThatFailsEndsTheProcess) {
    EXPECT_EXIT(
        {
            fake.trylock_error = EBUSY;
            fake.lock_error = EDEADLK;
            platform().mark_mutex_block = [](pthread_mutex_t*, const char*, uint32_t) {
                std::fputs("marked ", stderr);
            };
            call(kNote, "message");
        },
        testing::ExitedWithCode(kFatalExit),
        "^marked Kelvo TRACE_FATAL: Couldn't lock mutex \\(Resource deadlock avoided\\)!\n$");
}

TEST(TraceMutexDeathTest, AnUnlockThatFailsEndsTheProcess) {
    EXPECT_EXIT(
        {
            close(STDOUT_FILENO);  // with or without a line
            fake.unlock_error = EPERM;
            call(kNote, "message");
        },
        testing::ExitedWithCode(kFatalExit),
        "^Kelvo TRACE_FATAL: Couldn't unlock mutex \\(Operation not permitted\\)!\n$");
    const std::string text = output_of(Output::file, [] {
        const pid_t child = fork();
        if (child == 0) {
            fake.unlock_error = EPERM;
            call(kNote, "message");
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == kFatalExit;
    });
    EXPECT_EQ(text, started() + line_of(1, "message"));
}

// ---- Many threads ----

/// Each thread makes `rounds` of ENTER, note and EXIT, all of them alive at once. A message names
/// its thread and counts its calls.
bool trace_from_threads(unsigned count, unsigned rounds) {
    fake.thread = 0;
    std::atomic<unsigned> ready = 0;
    std::atomic<unsigned> done = 0;
    const auto wait_for_all = [count](std::atomic<unsigned>& arrived) {
        ++arrived;
        while (arrived < count) std::this_thread::yield();
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < count; ++i) {
        threads.emplace_back([&] {
            wait_for_all(ready);
            unsigned call_number = 0;
            for (unsigned round = 0; round < rounds; ++round) {
                for (const uint32_t kind : {kEnter, kNote, kExit}) {
                    trace(kind, "here", 12, "by %d call %u", gettid(), call_number++);
                }
            }
            wait_for_all(done);
        });
    }
    for (std::thread& thread : threads) thread.join();
    return true;
}

struct Seen {
    unsigned calls = 0;
    unsigned started = 0;
    unsigned full = 0;
};

class TraceThreads : public testing::TestWithParam<std::tuple<unsigned, Output>> {};

TEST_P(TraceThreads, LinesAreWholeAndDepthsAreEachThreadsOwn) {
    const auto [count, output] = GetParam();
    constexpr unsigned kRounds = 20;
    const std::string text =
        output_of(output, [threads = count] { return trace_from_threads(threads, kRounds); });

    const std::regex info("TRACE_INFO: \\[000042\\|(\\d{3,})\\] (.*)");
    const std::regex plain(
        "\\[03:14:05\\]\\[0x00000010\\]\\[000042\\]\\[(\\d{3,})\\] {26}here #00012( +)by (\\d+) "
        "call (\\d+)");
    std::map<std::string, Seen> threads;
    std::set<std::string> in_table;
    std::size_t from = 0;
    for (std::size_t end; (end = text.find('\n', from)) != std::string::npos; from = end + 1) {
        const std::string line = text.substr(from, end - from);
        std::smatch match;
        if (std::regex_match(line, match, info)) {
            Seen& seen = threads[match[1]];
            if (match[2] == "**** started tracing ****") {
                if (++seen.started == 1 && in_table.size() < 16) in_table.insert(match[1]);
            } else {
                EXPECT_EQ(match[2], "Need to increase MAX_THREADS (curr 16) - losing output");
                ++seen.full;
            }
            continue;
        }
        ASSERT_TRUE(std::regex_match(line, match, plain)) << line;
        Seen& seen = threads[match[3]];
        EXPECT_EQ(match[4], std::to_string(seen.calls)) << line;
        if (in_table.count(match[3]) != 0) {
            EXPECT_EQ(match[1], match[3]) << line;
            // The depth and the blank after it.
            EXPECT_EQ(match[2].length(), seen.calls % 3 == 1 ? 3 : 2) << line;
        } else {
            EXPECT_EQ(in_table.count(match[1]), 1U) << "the record of a thread in the table";
        }
        ++seen.calls;
    }
    EXPECT_EQ(from, text.size());
    EXPECT_EQ(threads.size(), count);
    EXPECT_EQ(in_table.size(), std::min(count, 16U));
    for (const auto& [thread, seen] : threads) {
        const bool known = in_table.count(thread) != 0;
        EXPECT_EQ(seen.calls, 3 * kRounds) << thread;
        EXPECT_EQ(seen.started, known ? 1U : 3 * kRounds) << thread;
        EXPECT_EQ(seen.full, known ? 0U : 3 * kRounds) << thread;
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, TraceThreads,
                         testing::Combine(testing::Values(1U, 16U, 17U, 64U),
                                          testing::Values(Output::file, Output::pipe)));

}  // namespace
