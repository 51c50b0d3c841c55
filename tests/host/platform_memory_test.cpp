// SPDX-License-Identifier: Apache-2.0
//
// Accounts of callers, waiting threads, bounded copies, and the two services of the kernel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kelvo_platform_host.h"
#include "platform/failing_memory.h"
#include "support/child.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::in_child;

const void* caller(std::uintptr_t number) {
    return reinterpret_cast<const void*>(number);
}

/// The account of a caller, all zero when it has none.
platform_host_caller account_of(const void* wanted) {
    platform_host_caller rows[PLATFORM_HOST_CALLERS + 1];
    const std::size_t count = platform_host_callers(rows, std::size(rows));
    for (std::size_t i = 0; i < count; ++i) {
        if (rows[i].caller == wanted) return rows[i];
    }
    return {wanted, 0, 0};
}

TEST(Accounts, AddUpCallsAndBytesOfEachCaller) {
    const auto outcome = in_child([] {
        for (const std::size_t size : {1U, 10U, 100U})
            std::free(alloc_with_caller(size, caller(16)));
        std::free(alloc_with_caller(7, caller(32)));
        for (const std::uintptr_t number : {16U, 32U, 48U}) {
            const platform_host_caller row = account_of(caller(number));
            std::printf("%lu %lu\n", row.allocations, row.bytes);
        }
    });
    EXPECT_EQ(outcome.output, "3 111\n1 7\n0 0\n");
}

TEST(Accounts, BlocksAreUsable) {
    const auto outcome = in_child([] {
        auto* const block = static_cast<char*>(alloc_with_caller(5, caller(16)));
        std::memcpy(block, "text", 5);
        std::printf("%s", block);
        std::free(block);
    });
    EXPECT_EQ(outcome.output, "text");
}

TEST(Accounts, AFailedAllocationIsNotCounted) {
    {
        const FailingMemory fail(0);
        EXPECT_EQ(alloc_with_caller(5, caller(64)), nullptr);
    }
    EXPECT_EQ(account_of(caller(64)).allocations, 0U);
}

TEST(Accounts, CallersBeyondTheTableShareOneRow) {
    const auto outcome = in_child([] {
        for (std::uintptr_t number = 1; number <= PLATFORM_HOST_CALLERS + 5; ++number) {
            std::free(alloc_with_caller(2, caller(number * 4096)));
        }
        std::free(alloc_with_caller(3, nullptr));
        platform_host_caller rows[PLATFORM_HOST_CALLERS + 1];
        const std::size_t count = platform_host_callers(rows, std::size(rows));
        const auto& others = rows[count - 1];
        std::printf("%zu %p %lu %lu %zu", count, others.caller, others.allocations, others.bytes,
                    platform_host_callers(nullptr, 0));
    });
    EXPECT_EQ(outcome.output, "257 (nil) 6 13 257");
}

TEST(Accounts, ThreadsCountExactly) {
    const auto outcome = in_child([] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([] {
                for (std::uintptr_t i = 0; i < 1000; ++i) {
                    std::free(alloc_with_caller(3, caller(1 + i % 50)));
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        platform_host_caller rows[PLATFORM_HOST_CALLERS + 1];
        const std::size_t count = platform_host_callers(rows, std::size(rows));
        const bool even = std::all_of(rows, rows + count, [](const auto& row) {
            return row.allocations == 160 && row.bytes == 480;
        });
        std::printf("%zu %d", count, even);
    });
    EXPECT_EQ(outcome.output, "50 1");
}

TEST(Accounts, ArePrintedALineEach) {
    const auto outcome = in_child([] {
        std::free(alloc_with_caller(5, reinterpret_cast<const void*>(&std::strlen)));
        std::free(alloc_with_caller(6, caller(16)));
        std::free(alloc_with_caller(7, nullptr));
        platform_host_print_callers(2);
    });
    EXPECT_NE(outcome.errors.find("5 bytes in          1 allocations by "), std::string::npos)
        << outcome.errors;
    EXPECT_NE(outcome.errors.find("6 bytes in          1 allocations by 0x10\n"),
              std::string::npos);
    EXPECT_TRUE(outcome.errors.ends_with("7 bytes in          1 allocations by all others\n"));
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 3);
}

// ------------------------------------------------------------------------------------------------
// Waiting threads
// ------------------------------------------------------------------------------------------------

std::vector<platform_host_blocked_thread> blocked_threads() {
    std::vector<platform_host_blocked_thread> rows(PLATFORM_HOST_BLOCKED_THREADS);
    rows.resize(platform_host_blocked_threads(rows.data(), rows.size()));
    return rows;
}

TEST(ThreadMonitor, ShowsAThreadFromMarkToUnmark) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    timespec before{};
    timespec after{};
    EXPECT_TRUE(blocked_threads().empty());
    clock_get_fast_timespec(&before);
    thread_mark_mutex_block(&mutex, "trace", 42);
    clock_get_fast_timespec(&after);
    const auto rows = blocked_threads();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].thread, static_cast<uint32_t>(gettid()));
    EXPECT_EQ(rows[0].mutex, &mutex);
    EXPECT_EQ(rows[0].line, 42U);
    EXPECT_STREQ(rows[0].where, "trace");
    EXPECT_GE(rows[0].since.tv_sec, before.tv_sec);
    EXPECT_LE(rows[0].since.tv_sec, after.tv_sec);
    thread_unmark_mutex_block();
    EXPECT_TRUE(blocked_threads().empty());
}

TEST(ThreadMonitor, ASecondMarkTakesThePlaceOfTheFirst) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    thread_mark_mutex_block(&mutex, "first", 1);
    thread_mark_mutex_block(&mutex, "an area whose name is longer than the row", 2);
    const auto rows = blocked_threads();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_STREQ(rows[0].where, "an area whose name is longer th");
    thread_unmark_mutex_block();
    thread_unmark_mutex_block();  // once too often is harmless
    EXPECT_TRUE(blocked_threads().empty());
}

TEST(ThreadMonitor, KeepsSixtyFourThreadsAndLetsTheRestBe) {
    constexpr unsigned kThreads = PLATFORM_HOST_BLOCKED_THREADS + 6;
    std::mutex mutex;
    std::condition_variable changed;
    unsigned marked = 0;
    bool done = false;
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            thread_mark_mutex_block(nullptr, "here", 1);
            std::unique_lock lock(mutex);
            ++marked;
            changed.notify_all();
            changed.wait(lock, [&] { return done; });
            thread_unmark_mutex_block();
        });
    }
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return marked == kThreads; });
        EXPECT_EQ(blocked_threads().size(), PLATFORM_HOST_BLOCKED_THREADS);
        EXPECT_EQ(platform_host_blocked_threads(nullptr, 0), PLATFORM_HOST_BLOCKED_THREADS);
        done = true;
        changed.notify_all();
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(blocked_threads().empty());
}

TEST(ThreadMonitor, IsPrintedALineForEachThread) {
    const auto outcome = in_child([] {
        thread_mark_mutex_block(reinterpret_cast<pthread_mutex_t*>(16), "trace", 42);
        platform_host_print_blocked_threads(2);
        std::printf("%d", gettid());
    });
    const std::string start =
        "thread " + outcome.output + " waits for mutex 0x10 at trace:42 since ";
    EXPECT_TRUE(outcome.errors.starts_with(start)) << outcome.errors;
    EXPECT_TRUE(outcome.errors.ends_with(" s after boot\n")) << outcome.errors;
}

// ------------------------------------------------------------------------------------------------
// Copies, descriptors, clock
// ------------------------------------------------------------------------------------------------

TEST(BoundedCopy, EndsWithANulInsideItsSize) {
    char buffer[8];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(buf_strncpy(buffer, "abcdef", 4), buffer);
    EXPECT_EQ(std::memcmp(buffer, "abc\0####", 8), 0);
    EXPECT_EQ(buf_strncpy(buffer, "xy", 8), buffer);
    EXPECT_EQ(std::memcmp(buffer, "xy\0\0####", 8), 0);
    EXPECT_EQ(buf_strncpy(buffer, "anything", 1), buffer);
    EXPECT_EQ(std::memcmp(buffer, "\0y\0\0####", 8), 0);
}

TEST(BoundedCopy, OfSizeZeroTouchesNothing) {
    char byte = '#';
    EXPECT_EQ(buf_strncpy(&byte, "text", 0), &byte);
    EXPECT_EQ(byte, '#');
}

TEST(BoundedCopy, ReadsNoFurtherThanItCopies) {
    const char unterminated[3] = {'a', 'b', 'c'};
    char buffer[4];
    buf_strncpy(buffer, unterminated, 4);
    EXPECT_STREQ(buffer, "abc");
}

TEST(Dup, GivesASecondDescriptorOfTheSameFile) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int copy = platform_dup(ends[1]);
    ASSERT_GE(copy, 0);
    EXPECT_EQ(write(copy, "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
    for (const int descriptor : {ends[0], ends[1], copy}) close(descriptor);
    EXPECT_EQ(platform_dup(copy), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST(Clock, CountsFromBootWithoutGoingBack) {
    timespec exact{};
    timespec last{};
    clock_get_fast_timespec(&last);
    for (int i = 0; i < 10000; ++i) {
        timespec now{};
        clock_get_fast_timespec(&now);
        ASSERT_TRUE(now.tv_sec > last.tv_sec ||
                    (now.tv_sec == last.tv_sec && now.tv_nsec >= last.tv_nsec));
        last = now;
    }
    clock_gettime(CLOCK_MONOTONIC, &exact);
    EXPECT_LE(exact.tv_sec - last.tv_sec, 1);
}

}  // namespace
