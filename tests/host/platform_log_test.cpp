// SPDX-License-Identifier: Apache-2.0
//
// The logger: its lines, its level, its rate limit and its destinations. The program replaces the
// clock, so that time passes as a test says, and syslog(3).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <syslog.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "kelvo_platform_host.h"
#include "support/child.h"

namespace {

std::atomic<long> tenths{1000};

}  // namespace

void clock_get_fast_timespec(timespec* now) {
    *now = {tenths / 10, tenths % 10 * 100000000};
}

extern "C" {

void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::printf("%d ", priority);
    std::vprintf(format, arguments);
    std::printf("\n");
    va_end(arguments);
}

void __syslog_chk(int priority, int /*flag*/, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    syslog(priority, "%s", text);
}
}

namespace {

using kelvo::test::in_child;
using kelvo::test::Outcome;
using kelvo::test::ScratchDirectory;
using kelvo::test::use_configuration;

/// A record of its own for each test, limited or not.
struct Record {
    qor_msg_limit limit{1, {}};
    qor_msg_rec record;

    explicit Record(const char* format, bool limited = false)
        : record{
              0,         format, limited ? &limit : nullptr, "TESTS", "KELVO", "SAMPLE", 0, 7, {},
              0x2320001, 0} {}
    const qor_msg_rec* operator&() const { return &record; }
};

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

/// The text of a log line after "program[pid]: ".
std::string message_of(const std::string& line) {
    const std::size_t at = line.find("]: ");
    return at == std::string::npos ? line : line.substr(at + 3);
}

/// What a child writes to standard error, as messages.
template <class Work>
std::vector<std::string> logged_by(Work work) {
    const Outcome outcome = in_child([&] {
        use_configuration("/dev/null");
        work();
    });
    EXPECT_TRUE(outcome.succeeded());
    std::vector<std::string> lines = lines_of(outcome.errors);
    std::transform(lines.begin(), lines.end(), lines.begin(), message_of);
    return lines;
}

using Messages = std::vector<std::string>;

TEST(Logger, NamesProgramProcessRecordAndSeverity) {
    const Outcome outcome = in_child([] {
        use_configuration("/dev/null");
        const Record record("%s: rc 0x%x (%s)");
        std::printf("%d", getpid());
        qor_errmsg(&record, 7, "what happened", 0x40818800U, "text");
    });
    EXPECT_EQ(outcome.errors, "platform_log_test[" + outcome.output +
                                  "]: KELVO/TESTS/SAMPLE severity 7: what happened: rc 0x40818800 "
                                  "(text)\n");
}

TEST(Logger, ARecordWithoutArgumentsIsWrittenAsItIs) {
    const Record record("Failed to unlock log mutex");
    EXPECT_EQ(logged_by([&] { qor_errmsg(&record, 6); }),
              Messages{"KELVO/TESTS/SAMPLE severity 6: Failed to unlock log mutex"});
}

TEST(Logger, ControlCharactersDoNotBreakTheLine) {
    const Record record("%s");
    EXPECT_EQ(logged_by([&] {
                  qor_errmsg(&record, 7,
                             "a\nb\tc\x7f"
                             "d\xc3\xa9");
              }),
              Messages{"KELVO/TESTS/SAMPLE severity 7: a?b?c?d\xc3\xa9"});
}

TEST(Logger, ALineThatIsTooLongEndsInDots) {
    const Record record("%s");
    const std::string text(5000, 'x');
    const Outcome outcome = in_child([&] {
        use_configuration("/dev/null");
        qor_errmsg(&record, 7, text.c_str());
    });
    EXPECT_EQ(outcome.errors.size(), 2048U);
    EXPECT_TRUE(outcome.errors.ends_with("xxx...\n"));
}

TEST(Logger, ErrnoStays) {
    const Outcome outcome = in_child([] {
        use_configuration("/nowhere");
        close(2);
        const Record record("%s");
        errno = EXDEV;
        qor_errmsg(&record, 7, "x");
        std::printf("%d", errno == EXDEV);
    });
    EXPECT_EQ(outcome.output, "1");
}

TEST(Logger, AReaderThatHasGoneAwayDoesNotEndTheProcess) {
    const Outcome outcome = in_child([] {
        use_configuration("/dev/null");
        int ends[2];
        if (pipe(ends) != 0) return;
        dup2(ends[1], 2);
        close(ends[0]);
        const Record record("%s");
        qor_errmsg(&record, 7, "x");
        sigset_t pending;
        sigpending(&pending);
        std::printf("alive %d", sigismember(&pending, SIGPIPE));
    });
    EXPECT_EQ(outcome.output, "alive 0");
}

// ------------------------------------------------------------------------------------------------
// Level and destination
// ------------------------------------------------------------------------------------------------

/// Logs one message of each severity under a configuration. @return output and standard error
Outcome both_severities(const std::string& configuration) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("platform.conf", configuration);
    return in_child([&] {
        use_configuration(path);
        const Record record("%s");
        qor_errmsg(&record, 6, "notice");
        qor_errmsg(&record, 7, "detail");
        qor_errmsg(&record, 5, "other");
    });
}

Messages last_words(const std::string& text) {
    Messages words;
    for (const std::string& line : lines_of(text))
        words.push_back(line.substr(line.rfind(' ') + 1));
    return words;
}

TEST(Logger, TheLevelDecidesWhichSeveritiesAreWritten) {
    EXPECT_EQ(last_words(both_severities("").errors), (Messages{"notice", "detail", "other"}));
    EXPECT_EQ(last_words(both_severities("log = { level = \"notice\"; };").errors),
              (Messages{"notice", "detail", "other"}));
    EXPECT_EQ(last_words(both_severities("log = { level = \"error\"; };").errors),
              Messages{"detail"});
    EXPECT_EQ(both_severities("log = { level = \"none\"; };").errors, "");
}

TEST(Logger, SyslogGetsThePriorityOfTheSeverity) {
    const Outcome outcome = both_severities("log = { destination = \"syslog\"; };");
    EXPECT_EQ(outcome.errors, "");
    const auto line = [](int priority, const char* rest) {
        return std::to_string(LOG_DAEMON | priority) + " KELVO/TESTS/SAMPLE severity " + rest;
    };
    EXPECT_EQ(lines_of(outcome.output),
              (Messages{line(LOG_NOTICE, "6: notice"), line(LOG_ERR, "7: detail"),
                        line(LOG_WARNING, "5: other")}));
}

TEST(Logger, WritesToStandardErrorWhileTheConfigurationIsInError) {
    const Outcome outcome = both_severities("log = { destination = 7; };");
    const Messages lines = lines_of(outcome.errors);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_NE(lines[0].find("log.destination: must be a text"), std::string::npos);
    EXPECT_NE(lines[1].find("notice"), std::string::npos);
}

// ------------------------------------------------------------------------------------------------
// Rate limit
// ------------------------------------------------------------------------------------------------

constexpr int kBurst = 20;
constexpr long kRefill = 50;  // tenths of a second

TEST(RateLimit, LetsTwentyPassAndThenOneEachFiveSeconds) {
    const Messages messages = logged_by([] {
        const Record record("%d", true);
        for (int i = 1; i <= 25; ++i) qor_errmsg(&record, 7, i);
        tenths += kRefill - 1;
        qor_errmsg(&record, 7, 26);
        tenths += 1;
        qor_errmsg(&record, 7, 27);
        qor_errmsg(&record, 7, 28);
        tenths += 2 * kRefill;
        qor_errmsg(&record, 7, 29);
        qor_errmsg(&record, 7, 30);
        qor_errmsg(&record, 7, 31);
    });
    const std::string prefix = "KELVO/TESTS/SAMPLE severity 7: ";
    Messages expected;
    for (int i = 1; i <= kBurst; ++i) expected.push_back(prefix + std::to_string(i));
    expected.push_back(prefix + "27 (6 like it were suppressed)");
    expected.push_back(prefix + "29 (1 like it were suppressed)");
    expected.push_back(prefix + "30");
    EXPECT_EQ(messages, expected);
}

TEST(RateLimit, AFullBucketHoldsNoMoreThanTheBurst) {
    const Messages messages = logged_by([] {
        const Record record("%d", true);
        for (int i = 0; i < 30; ++i) qor_errmsg(&record, 7, i);
        tenths += 1000 * kRefill;
        for (int i = 0; i < 30; ++i) qor_errmsg(&record, 7, i);
    });
    EXPECT_EQ(messages.size(), 2U * kBurst);
}

TEST(RateLimit, CountsEachRecordByItself) {
    const Messages messages = logged_by([] {
        const Record first("%d", true);
        const Record second("%d", true);
        for (int i = 0; i < 30; ++i) qor_errmsg(&first, 7, i);
        for (int i = 0; i < 30; ++i) qor_errmsg(&second, 7, i);
    });
    EXPECT_EQ(messages.size(), 2U * kBurst);
}

TEST(RateLimit, IsOffWhenItsFirstWordIsZeroAndForRecordsWithoutOne) {
    const Messages messages = logged_by([] {
        Record lifted("%d", true);
        lifted.limit.enabled = 0;
        const Record without("%d", false);
        for (int i = 0; i < 30; ++i) qor_errmsg(&lifted, 7, i);
        for (int i = 0; i < 30; ++i) qor_errmsg(&without, 7, i);
    });
    EXPECT_EQ(messages.size(), 60U);
}

TEST(RateLimit, WorksAcrossTheWrapOfItsClock) {
    tenths = 0xFFFFFFF0L;
    const Messages messages = logged_by([] {
        const Record record("%d", true);
        for (int i = 0; i < 30; ++i) qor_errmsg(&record, 7, i);
        tenths += 3 * kRefill;
        for (int i = 0; i < 30; ++i) qor_errmsg(&record, 7, i);
    });
    tenths = 1000;
    EXPECT_EQ(messages.size(), kBurst + 3U);
}

TEST(RateLimit, MessagesBelowTheLevelTakeNothingFromIt) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("platform.conf", "log = { level = \"error\"; };");
    const Outcome outcome = in_child([&] {
        use_configuration(path);
        const Record record("%d", true);
        for (int i = 0; i < 100; ++i) qor_errmsg(&record, 6, i);
        for (int i = 0; i < 5; ++i) qor_errmsg(&record, 7, i);
    });
    EXPECT_EQ(lines_of(outcome.errors).size(), 5U);
}

TEST(RateLimit, TouchesOnlyItsTwoWords) {
    const Outcome outcome = in_child([] {
        use_configuration("/dev/null");
        const Record record("%d", true);
        for (int i = 0; i < 30; ++i) qor_errmsg(&record, 7, i);
        std::printf("%u", record.limit.enabled);
        for (const uint32_t word : record.limit.bookkeeping) std::printf(" %u", word);
    });
    EXPECT_EQ(outcome.output, "1 2000 10 0 0 0 0 0");
}

TEST(RateLimit, ThreadsShareOneBucketAndTheirLinesStayWhole) {
    constexpr int kThreads = 8;
    constexpr int kEach = 100;
    const Messages messages = logged_by([] {
        const Record record("thread %d message %d of a length that would show a torn line", true);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&record, t] {
                for (int i = 0; i < kEach; ++i) qor_errmsg(&record, 7, t, i);
            });
        }
        for (std::thread& thread : threads) thread.join();
        tenths += kRefill;
        qor_errmsg(&record, 7, 9, 9);
    });
    ASSERT_EQ(messages.size(), kBurst + 1U);
    for (std::size_t i = 0; i < kBurst; ++i) {
        int thread;
        int number;
        ASSERT_EQ(
            std::sscanf(messages[i].c_str(), "KELVO/TESTS/SAMPLE severity 7: thread %d message %d",
                        &thread, &number),
            2)
            << messages[i];
        EXPECT_NE(messages[i].find("torn line"), std::string::npos);
    }
    int suppressed = 0;
    for (const std::string& message : messages) {
        int count;
        const std::size_t at = message.find('(');
        if (at == std::string::npos) continue;
        ASSERT_EQ(std::sscanf(message.c_str() + at, "(%d like it were suppressed)", &count), 1);
        suppressed += count;
    }
    EXPECT_EQ(suppressed, kThreads * kEach - kBurst);
}

TEST(Logger, UnlimitedLinesOfManyThreadsStayWhole) {
    const Messages messages = logged_by([] {
        const Record record("%d %s");
        const std::string tail(500, 'x');
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([&record, &tail, t] {
                for (int i = 0; i < 100; ++i) qor_errmsg(&record, 7, t * 100 + i, tail.c_str());
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    std::set<std::string> expected;
    for (int i = 0; i < 800; ++i) {
        expected.insert("KELVO/TESTS/SAMPLE severity 7: " + std::to_string(i) + " " +
                        std::string(500, 'x'));
    }
    EXPECT_EQ(messages.size(), 800U);
    EXPECT_EQ(std::set<std::string>(messages.begin(), messages.end()), expected);
}

}  // namespace
