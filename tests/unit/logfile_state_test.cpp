// SPDX-License-Identifier: Apache-2.0
//
// What the log file keeps count of and nobody outside can see. The source is part of this program.
#include <sys/resource.h>

#include <csignal>

#include "kelvo_common_utils_logfile.cpp"  // NOLINT(bugprone-suspicious-include)
#include "support/logfile_fixture.h"

namespace {

using namespace kelvo::test;

class LogfileState : public LogfileTest {};

TEST_F(LogfileState, ANewFileCountsFromNothing) {
    in_fresh_process([this] {
        EXPECT_EQ(log_file.file, nullptr);
        EXPECT_EQ(log_file.line, nullptr);
        open();
        EXPECT_NE(log_file.file, nullptr);
        EXPECT_EQ(log_file.written, 0);
        EXPECT_EQ(log_file.dropped, 0U);
    });
}

TEST_F(LogfileState, AnExistingFileCountsFromItsSize) {
    prepare_file(1000);
    in_fresh_process([this] {
        open();
        EXPECT_EQ(log_file.written, 1000);
        kelvo_logfile("nr", "x");
        EXPECT_EQ(log_file.written, 1000 + static_cast<i32>(prefix("nr").size()) + 2);
    });
}

TEST_F(LogfileState, AnotherFileCountsFromNothingAgain) {
    prepare_file(1000);
    in_fresh_process([this] {
        open();
        platform().type = [] { return 4U; };
        kelvo_init_logfile(other().c_str());
        EXPECT_EQ(log_file.file, nullptr);
        platform().type = [] { return 0U; };
        kelvo_init_logfile(other().c_str());
        EXPECT_NE(log_file.file, nullptr);
        EXPECT_EQ(log_file.written, 0);
    });
}

TEST_F(LogfileState, ASizeBeyondTheCountIsTheLargestCount) {
    prepare_file(5'000'000'000);
    in_fresh_process([this] {
        open();
        EXPECT_EQ(log_file.written, 2147483647);
    });
}

TEST_F(LogfileState, TheLineBufferIsCleared) {
    in_fresh_process([this] {
        open();
        for (int i = 0; i < 1024; ++i) EXPECT_EQ(log_file.line[i], '\0') << i;
    });
}

TEST_F(LogfileState, LostLinesAreCountedUntilTheFileStartsAgain) {
    prepare_file(8388608);
    in_fresh_process([this] {
        open();
        {
            const HeldWriter writer("brings the file beyond its limit");
            for (unsigned lost = 1; lost <= 3; ++lost) {
                kelvo_logfile("nr", "lost");
                EXPECT_EQ(log_file.dropped, lost);
            }
        }
        EXPECT_EQ(log_file.dropped, 3U);
        EXPECT_GT(log_file.written, 8388608);
        kelvo_logfile("nr", "given up");
        EXPECT_EQ(log_file.dropped, 0U);
        EXPECT_EQ(log_file.written, 0);
    });
}

TEST_F(LogfileState, ALineThatDoesNotReachTheFileIsNotCounted) {
    in_fresh_process([] {
        kelvo_init_logfile("/dev/full");
        ASSERT_NE(log_file.file, nullptr);
        (void)std::setvbuf(log_file.file, nullptr, _IONBF, 0);
        kelvo_logfile("nr", "x");
        EXPECT_EQ(log_file.written, 0);
    });
}

TEST_F(LogfileState, ALineWhoseEndDoesNotReachTheFileIsNotCounted) {
    in_fresh_process([this] {
        open();
        (void)std::setvbuf(log_file.file, nullptr, _IONBF, 0);
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit files{};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &files), 0);
        rlimit without_newline = files;
        without_newline.rlim_cur = prefix("nr").size() + 1;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &without_newline), 0);
        kelvo_logfile("nr", "x");
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &files), 0);
        EXPECT_EQ(content(), prefix("nr") + "x");
        EXPECT_EQ(log_file.written, 0);
    });
}

TEST_F(LogfileState, TheLockChecksForErrors) {
    in_fresh_process([this] {
        open();
        EXPECT_EQ(pthread_mutex_lock(&log_file.lock), 0);
        EXPECT_EQ(pthread_mutex_lock(&log_file.lock), EDEADLK);
        kelvo_logfile("nr", "lost");
        EXPECT_EQ(log_file.dropped, 1U);
        EXPECT_EQ(pthread_mutex_unlock(&log_file.lock), 0);
    });
}

[[gnu::noinline]] void leave_bits_on_the_stack() {
    volatile unsigned char bytes[4096];
    for (volatile unsigned char& byte : bytes) byte = 0xFF;
}

/// Some way down the stack, so that all of what it calls is where the bits are.
[[gnu::noinline]] void prepare_writing_among_bits() {
    [[maybe_unused]] volatile unsigned char bytes[256];
    prepare_writing();
    bytes[0] = 0;
}

TEST_F(LogfileState, TheLockDoesNotDependOnWhatStoodOnTheStack) {
    in_fresh_process([] {
        leave_bits_on_the_stack();
        prepare_writing_among_bits();
        EXPECT_EQ(pthread_mutex_lock(&log_file.lock), 0);
        EXPECT_EQ(pthread_mutex_lock(&log_file.lock), EDEADLK);
        EXPECT_EQ(pthread_mutex_unlock(&log_file.lock), 0);
    });
}

TEST_F(LogfileState, EveryAttemptBeginsWithALockAndALineOfItsOwn) {
    in_fresh_process([this] {
        kelvo_init_logfile(directory_.c_str());
        EXPECT_EQ(log_file.file, nullptr);
        ASSERT_NE(log_file.line, nullptr);
        std::memset(log_file.line, 'x', 1024);
        EXPECT_EQ(pthread_mutex_lock(&log_file.lock), 0);

        open();
        EXPECT_EQ(log_file.line[0], '\0');
        EXPECT_EQ(pthread_mutex_trylock(&log_file.lock), 0);
        EXPECT_EQ(pthread_mutex_unlock(&log_file.lock), 0);
    });
}

TEST_F(LogfileState, WhileAFileIsOpenNothingIsBegunAnew) {
    in_fresh_process([this] {
        open();
        EXPECT_EQ(pthread_mutex_lock(&log_file.lock), 0);
        const char* const line = log_file.line;
        kelvo_init_logfile(other().c_str());
        EXPECT_EQ(log_file.line, line);
        EXPECT_EQ(pthread_mutex_trylock(&log_file.lock), EBUSY);
        EXPECT_EQ(pthread_mutex_unlock(&log_file.lock), 0);
    });
}

}  // namespace
