// SPDX-License-Identifier: Apache-2.0
//
// The trace facility keeps its state for the whole process, so each scenario runs in a process of
// its own with standard output redirected, and the test compares what came out. Time, thread id,
// process id and mutex are replaced below, since their answers must be known or made to fail.
#include "kelvo_trace.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

using kelvo::test::FailingMemory;
using kelvo::test::platform;

// ---- What the C library answers ----

namespace {

struct System {
    bool has_time = true;
    std::atomic<pid_t> thread = 7;  ///< what gettid() answers; 0 for the truth
    pid_t process = 42;             ///< what getpid() answers; 0 for the truth
    int trylock_error = 0;
    int lock_error = 0;
    int unlock_error = 0;
    std::vector<std::string> modes;  ///< of the streams opened
};
System fake;

/// The facility's mutex: the only one that anybody here tries.
std::atomic<pthread_mutex_t*> traced_mutex = nullptr;

template <class Function>
Function next_definition(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}
using MutexCall = int (*)(pthread_mutex_t*);

}  // namespace

extern "C" {

std::tm* localtime_r(const std::time_t* seconds, std::tm* result) noexcept {
    static const auto real =
        next_definition<std::tm* (*)(const std::time_t*, std::tm*)>("localtime_r");
    if (!fake.has_time) return nullptr;
    if (real(seconds, result) == nullptr) return nullptr;
    result->tm_hour = 3;
    result->tm_min = 14;
    result->tm_sec = 5;
    return result;
}

pid_t gettid(void) noexcept {
    static const auto real = next_definition<pid_t (*)()>("gettid");
    const pid_t thread = fake.thread;
    return thread != 0 ? thread : real();
}

pid_t getpid(void) noexcept {
    static const auto real = next_definition<pid_t (*)()>("getpid");
    return fake.process != 0 ? fake.process : real();
}

std::FILE* fdopen(int descriptor, const char* mode) noexcept {
    static const auto real = next_definition<std::FILE* (*)(int, const char*)>("fdopen");
    {
        const FailingMemory::Pause pause;
        fake.modes.emplace_back(mode);
    }
    return real(descriptor, mode);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static const auto real = next_definition<MutexCall>("pthread_mutex_trylock");
    traced_mutex = mutex;
    return fake.trylock_error != 0 ? fake.trylock_error : real(mutex);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static const auto real = next_definition<MutexCall>("pthread_mutex_lock");
    return mutex == traced_mutex && fake.lock_error != 0 ? fake.lock_error : real(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    static const auto real = next_definition<MutexCall>("pthread_mutex_unlock");
    return mutex == traced_mutex && fake.unlock_error != 0 ? fake.unlock_error : real(mutex);
}

}  // extern "C"

namespace {

constexpr uint32_t kEnter = KELVO_TRACE_KIND_ENTER;
constexpr uint32_t kExit = KELVO_TRACE_KIND_EXIT;
constexpr uint32_t kNote = KELVO_TRACE_KIND_NOTE;

// ---- Running a scenario ----

enum class Output { file, pipe, closed, read_only };

/// Both ends of what the child takes for its standard output.
struct Channel {
    int write_end = -1;
    int read_end = -1;

    explicit Channel(Output output) {
        char name[] = "/tmp/trace_test_XXXXXX";
        int ends[2];
        switch (output) {
            case Output::file:
                write_end = mkstemp(name);
                read_end = open(name, O_RDONLY);
                unlink(name);
                break;
            case Output::pipe:
                EXPECT_EQ(pipe(ends), 0);
                read_end = ends[0];
                write_end = ends[1];
                break;
            case Output::closed:
                break;
            case Output::read_only:
                write_end = open("/dev/null", O_RDONLY);
        }
    }
    ~Channel() {
        if (read_end >= 0) close(read_end);
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    [[nodiscard]] std::string text() const {
        std::string all;
        char piece[4096];
        for (ssize_t n; read_end >= 0 && (n = read(read_end, piece, sizeof piece)) > 0;) {
            all.append(piece, static_cast<std::size_t>(n));
        }
        return all;
    }
};

/// Runs a scenario in a process of its own. @return what it wrote to its standard output
/// The scenario answers whether it found everything as it should be.
std::string output_of(Output output, const std::function<bool()>& scenario) {
    Channel channel(output);
    const pid_t child = fork();
    if (child == 0) {
        close(STDOUT_FILENO);
        if (channel.write_end >= 0) dup2(channel.write_end, STDOUT_FILENO);
        _exit(scenario() ? 0 : 1);
    }
    if (channel.write_end >= 0) close(channel.write_end);
    int status = -1;
    std::string text;
    if (output == Output::pipe) text = channel.text();  // a pipe is emptied while it is filled
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << "the scenario failed";
    return output == Output::pipe ? text : channel.text();
}

std::string output_of(const std::function<void()>& scenario) {
    return output_of(Output::file, [&] {
        scenario();
        return true;
    });
}

/// A line as it should be, made without the facility's own format.
std::string line_of(unsigned depth, const std::string& message, char mark = ' ',
                    const std::string& thread = "007") {
    return "[03:14:05][0x00000010][000042][" + thread + "]" + std::string(26, ' ') + "here #00012" +
           std::string(depth, ' ') + mark + message + "\n";
}

std::string started(const std::string& thread = "007") {
    return "TRACE_INFO: [000042|" + thread + "] **** started tracing ****\n";
}
std::string too_many_exits(const std::string& thread = "007") {
    return "TRACE_INFO: [000042|" + thread + "] More EXIT statements than ENTER statements!\n";
}
std::string table_full(const std::string& thread) {
    return "TRACE_INFO: [000042|" + thread +
           "] Need to increase MAX_THREADS (curr 16) - losing output\n";
}

uint32_t call(uint32_t kind, const char* message) {
    return trace(kind, "here", 12, "%s", message);
}

// ---- The line ----

TEST(TraceLine, HasItsFieldsInTheirPlaces) {
    const std::string text = output_of([] {
        platform().my_nodeid = [](uint32_t* nodeid) -> kelvo_status {
            *nodeid = 0xabcdef;
            return 0;
        };
        trace(kNote, "session.c", 123456, "%s has %d", "it", -1);
        fake.thread = 1234567;
        trace(kNote, "session.c", 0, "other");
    });
    EXPECT_EQ(text,
              "TRACE_INFO: [000042|007] **** started tracing ****\n"
              "[03:14:05][0x00abcdef][000042][007]                     session.c #123456  it has "
              "-1\n"
              "TRACE_INFO: [000042|1234567] **** started tracing ****\n"
              "[03:14:05][0x00abcdef][000042][1234567]                     session.c #00000  "
              "other\n");
}

TEST(TraceLine, TheCallReturnsZero) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            bool good = call(kNote, "a") == 0;
                            good = call(kEnter, "b") == 0 && good;
                            return call(kExit, "c") == 0 && good;
                        }),
              started() + line_of(1, "a") + line_of(1, "b") + line_of(1, "c"));
}

TEST(TraceLine, TheLocationIsItsLastThirtyCharacters) {
    struct Row {
        std::string location;
        std::string shown;
    };
    const std::string digits = "0123456789012345678901234567890123456789";
    const Row rows[] = {
        {"", std::string(30, ' ')},
        {"a", std::string(29, ' ') + "a"},
        {digits.substr(0, 29), " " + digits.substr(0, 29)},
        {digits.substr(0, 30), digits.substr(0, 30)},
        {digits.substr(0, 31), digits.substr(1, 30)},
        {digits, digits.substr(10)},
    };
    for (const Row& row : rows) {
        const std::string text =
            output_of([&] { trace(kNote, row.location.c_str(), 12, "message"); });
        EXPECT_EQ(text, started() + "[03:14:05][0x00000010][000042][007]" + row.shown +
                            " #00012  message\n")
            << row.location;
    }
}

TEST(TraceLine, IsInterpretedAsAFormatOnceMore) {
    EXPECT_EQ(output_of([] {
                  trace(kNote, "here", 12, "%s", "50%% done");
                  trace(kNote, "here", 12, "%%%%");
              }),
              started() + line_of(1, "50% done") + line_of(1, "%"));
    EXPECT_EQ(output_of([] { trace(kNote, "he%%re", 12, "message"); }),
              started() + "[03:14:05][0x00000010][000042][007]" + std::string(24, ' ') +
                  "he%re #00012  message\n");
}

TEST(TraceLine, IsCutTo511BytesAndThenHasNoNewline) {
    const std::string head = line_of(1, "");
    const std::size_t room = 511 - (head.size() - 1);
    struct Row {
        std::size_t message;
        std::size_t shown;
        bool newline;
    };
    for (const Row& row :
         {Row{room - 2, room - 2, true}, Row{room - 1, room - 1, true}, Row{room, room, false},
          Row{room + 1, room, false}, Row{5000, room, false}}) {
        const std::string message(row.message, 'm');
        std::string expected = line_of(1, std::string(row.shown, 'm'));
        if (!row.newline) expected.pop_back();
        EXPECT_LE(expected.size(), 511U);
        EXPECT_EQ(output_of([&] { call(kNote, message.c_str()); }), started() + expected)
            << row.message;
    }
}

TEST(TraceLine, AMessageThatCannotBeWrittenIsLeftOut) {
    EXPECT_EQ(output_of([] { trace(kNote, "here", 12, "begin %lc end", wint_t{0x7fffffff}); }),
              started() + line_of(1, ""));
}

TEST(TraceLine, TheProcessIdIsReadOnce) {
    EXPECT_EQ(output_of([] {
                  call(kNote, "a");
                  fake.process = 43;
                  call(kNote, "b");
              }),
              started() + line_of(1, "a") + line_of(1, "b"));
}

TEST(TraceLine, IsDroppedWithoutTheTimeWhileTheDepthChanges) {
    EXPECT_EQ(output_of([] {
                  fake.has_time = false;
                  call(kEnter, "dropped");
                  call(kEnter, "dropped");
                  fake.has_time = true;
                  call(kNote, "shown");
                  fake.has_time = false;
                  for (int i = 0; i < 3; ++i) call(kExit, "dropped");
                  fake.has_time = true;
                  call(kNote, "shown");
              }),
              started() + line_of(3, "shown") + too_many_exits() + line_of(1, "shown"));
}

TEST(TraceLine, TheMacrosFillInTheSourceLocation) {
    const int line = __LINE__;
    const std::string text = output_of([] {
        KELVO_TRACE_ENTER("in %d", 1);
        KELVO_TRACE_NOTE("plain");
        KELVO_TRACE_EXIT("out %s", "there");
    });
    const std::string file = __FILE__;
    const std::string location = file.size() > 30 ? file.substr(file.size() - 30)
                                                  : std::string(30 - file.size(), ' ') + file;
    const auto expected = [&](int offset, const std::string& message) {
        char number[16];
        std::snprintf(number, sizeof number, " #%05d", line + offset);
        return "[03:14:05][0x00000010][000042][007]" + location + number + message + "\n";
    };
    EXPECT_EQ(text, started() + expected(2, "  in 1") + expected(3, "   plain") +
                        expected(4, "  out there"));
}

// ---- Depth ----

TEST(TraceDepth, AnEnterIsShownBeforeTheRiseAndAnExitAfterTheDrop) {
    EXPECT_EQ(output_of([] {
                  call(kEnter, "one");
                  call(kEnter, "two");
                  call(kNote, "deep");
                  call(kExit, "two");
                  call(kExit, "one");
                  call(kExit, "too many");
                  call(kNote, "plain");
              }),
              started() + line_of(1, "one") + line_of(2, "two") + line_of(3, "deep") +
                  line_of(2, "two") + line_of(1, "one") + too_many_exits() +
                  line_of(1, "too many") + line_of(1, "plain"));
}

TEST(TraceDepth, TheFirstCallOfAThreadIsAtDepthOne) {
    EXPECT_EQ(output_of([] {
                  call(kExit, "first");
                  call(kNote, "plain");
                  call(kExit, "too many");
              }),
              started() + line_of(1, "first") + line_of(1, "plain") + too_many_exits() +
                  line_of(1, "too many"));
}

TEST(TraceDepth, EveryOtherKindIsAPlainLine) {
    EXPECT_EQ(output_of([] {
                  call(kEnter, "in");
                  for (const uint32_t kind : {0U, 3U, 0x101U, 0xffffffffU}) call(kind, "plain");
                  call(kNote, "after");
              }),
              started() + line_of(1, "in") + line_of(2, "plain") + line_of(2, "plain") +
                  line_of(2, "plain") + line_of(2, "plain") + line_of(2, "after"));
}

TEST(TraceDepth, BeyondTwentyTheIndentationStaysAndTheMarkChanges) {
    std::string expected = started();
    for (unsigned depth = 1; depth <= 24; ++depth) {
        expected += line_of(std::min(depth, 20U), "in", depth > 20 ? '!' : ' ');
    }
    for (unsigned depth = 24; depth >= 18; --depth) {
        expected += line_of(std::min(depth, 20U), "out", depth > 20 ? '!' : ' ');
    }
    EXPECT_EQ(output_of([] {
                  for (int i = 0; i < 24; ++i) call(kEnter, "in");
                  for (int i = 0; i < 7; ++i) call(kExit, "out");
              }),
              expected);
}

TEST(TraceDepth, EachThreadHasItsOwn) {
    EXPECT_EQ(output_of([] {
                  call(kEnter, "a");
                  call(kEnter, "a");
                  fake.thread = 8;
                  call(kEnter, "b");
                  call(kNote, "b");
                  fake.thread = 7;
                  call(kNote, "a");
                  fake.thread = 8;
                  call(kExit, "b");
                  fake.thread = 7;
                  call(kExit, "a");
              }),
              started() + line_of(1, "a") + line_of(2, "a") + started("008") +
                  line_of(1, "b", ' ', "008") + line_of(2, "b", ' ', "008") + line_of(3, "a") +
                  line_of(1, "b", ' ', "008") + line_of(2, "a"));
}

TEST(TraceDepth, ANewThreadInheritsTheMarkOfTheLineBefore) {
    std::string expected = started();
    for (unsigned depth = 1; depth <= 21; ++depth) {
        expected += line_of(std::min(depth, 20U), "in", depth > 20 ? '!' : ' ');
    }
    EXPECT_EQ(output_of([] {
                  for (int i = 0; i < 21; ++i) call(kEnter, "in");
                  fake.thread = 8;
                  call(kNote, "first");
                  call(kNote, "second");
                  fake.thread = 9;
                  call(kNote, "first");
              }),
              expected + started("008") + line_of(1, "first", '!', "008") +
                  line_of(1, "second", ' ', "008") + started("009") +
                  line_of(1, "first", ' ', "009"));
}

// ---- The thread table ----

std::string number(int thread) {
    char text[16];
    std::snprintf(text, sizeof text, "%03d", thread);
    return text;
}

TEST(TraceTable, HasRoomForSixteenThreads) {
    std::string expected;
    for (int thread = 1; thread <= 16; ++thread) {
        expected += started(number(thread)) + line_of(1, "in", ' ', number(thread));
    }
    for (int thread = 16; thread >= 1; --thread) {
        expected += line_of(2, "known", ' ', number(thread));
    }
    EXPECT_EQ(output_of([] {
                  for (int thread = 1; thread <= 16; ++thread) {
                      fake.thread = thread;
                      call(kEnter, "in");
                  }
                  for (int thread = 16; thread >= 1; --thread) {
                      fake.thread = thread;
                      call(kNote, "known");
                  }
              }),
              expected);
}

TEST(TraceTable, AThreadWithoutRoomIsReportedOnEachCallAndShowsTheCallBeforeIt) {
    std::string expected;
    for (int thread = 1; thread <= 16; ++thread) {
        expected += started(number(thread)) + line_of(1, "in", ' ', number(thread));
    }
    const std::string unknown = started("017") + table_full("017");
    expected += unknown + line_of(1, "lost", ' ', "016");  // as the line before it
    expected += line_of(2, "in", ' ', "003");
    for (int i = 0; i < 3; ++i) expected += unknown + line_of(2, "lost", ' ', "003");
    expected += line_of(3, "plain", ' ', "003");  // the lost ENTER and EXIT changed nothing
    expected += started("018") + table_full("018") + line_of(3, "lost", ' ', "003");
    EXPECT_EQ(output_of([] {
                  for (int thread = 1; thread <= 16; ++thread) {
                      fake.thread = thread;
                      call(kEnter, "in");
                  }
                  fake.thread = 17;
                  call(kNote, "lost");
                  fake.thread = 3;
                  call(kEnter, "in");
                  fake.thread = 17;
                  for (const uint32_t kind : {kEnter, kNote, kExit}) call(kind, "lost");
                  fake.thread = 3;
                  call(kNote, "plain");
                  fake.thread = 18;
                  call(kNote, "lost");
              }),
              expected);
}

TEST(TraceTable, AThreadThatReusesAnIdInheritsItsDepth) {
    EXPECT_EQ(output_of([] {
                  std::thread([] { call(kEnter, "old"); }).join();
                  std::thread([] { call(kNote, "new"); }).join();
              }),
              started() + line_of(1, "old") + line_of(2, "new"));
}

// ---- Standard output ----

TEST(TraceOutput, AFileThatIsOpenForBothAndAPipeAreBothWrittenTo) {
    for (const Output output : {Output::file, Output::pipe}) {
        EXPECT_EQ(output_of(output, [] { return call(kNote, "message") == 0; }),
                  started() + line_of(1, "message"));
    }
}

TEST(TraceOutput, AFileThatIsOpenForWritingOnlyIsAppendedTo) {
    char name[] = "/tmp/trace_test_XXXXXX";
    close(mkstemp(name));
    output_of([&] {
        dup2(open(name, O_WRONLY), STDOUT_FILENO);
        (void)!write(STDOUT_FILENO, "before\n", 7);
        call(kNote, "message");
    });
    const int file = open(name, O_RDONLY);
    char text[256] = {};
    EXPECT_GT(read(file, text, sizeof text - 1), 0);
    EXPECT_EQ(text, "before\n" + started() + line_of(1, "message"));
    close(file);
    unlink(name);
}

TEST(TraceOutput, IsADuplicateTakenOnce) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            int duplicated = 0;
                            int asked = 0;
                            platform().dup = [&](int descriptor) {
                                ++duplicated;
                                return descriptor == 1 ? ::dup(1) : -1;
                            };
                            platform().my_nodeid = [&](uint32_t* nodeid) -> kelvo_status {
                                *nodeid = 0x10;
                                return ++asked == 1 ? 0 : 1;
                            };
                            call(kNote, "a");
                            close(STDOUT_FILENO);  // the duplicate does not mind
                            call(kNote, "b");
                            return duplicated == 1 && asked == 1;
                        }),
              started() + line_of(1, "a") + line_of(1, "b"));
}

TEST(TraceOutput, WithoutOneNothingIsWrittenAndTheNextCallTriesAgain) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            const Channel later(Output::pipe);
                            close(STDOUT_FILENO);
                            bool good = call(kEnter, "lost") == 0;
                            dup2(later.write_end, STDOUT_FILENO);
                            good = call(kNote, "first") == 0 && good;
                            char text[512] = {};
                            good = read(later.read_end, text, sizeof text - 1) > 0 && good;
                            return good && text == started() + line_of(1, "first");
                        }),
              "");
}

int open_descriptors() {
    int count = 0;
    for (int i = 0; i < 64; ++i) count += fcntl(i, F_GETFD) != -1 ? 1 : 0;
    return count;
}

TEST(TraceOutput, OneThatCannotBeWrittenToIsLeftAlone) {
    EXPECT_EQ(output_of(Output::read_only,
                        [] {
                            const int before = open_descriptors();
                            for (int i = 0; i < 3; ++i) call(kNote, "lost");
                            return open_descriptors() == before;
                        }),
              "");
}

TEST(TraceOutput, WithoutADuplicateNothingIsWritten) {
    EXPECT_EQ(output_of([] {
                  platform().dup = [](int) { return -1; };
                  call(kEnter, "lost");
                  platform().reset();
                  call(kNote, "first");
              }),
              started() + line_of(1, "first"));
}

TEST(TraceOutput, WithoutMemoryForAStreamNothingIsWritten) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            const int before = open_descriptors();
                            {
                                const FailingMemory fail(0, FailingMemory::kNever);
                                call(kEnter, "lost");
                            }
                            const bool good = open_descriptors() == before;
                            call(kNote, "first");
                            return good;
                        }),
              started() + line_of(1, "first"));
}

TEST(TraceOutput, ANodeWithoutAnIdIsShownAsZero) {
    const std::string text = output_of([] {
        platform().my_nodeid = [](uint32_t*) -> kelvo_status { return 1; };
        call(kNote, "message");
    });
    EXPECT_NE(text.find("[03:14:05][0x00000000]"), std::string::npos) << text;
}

TEST(TraceOutput, EachLineIsThereAtOnce) {
    EXPECT_EQ(output_of(Output::pipe,
                        [] {
                            call(kNote, "message");
                            _exit(0);  // nothing is flushed here
                            return false;
                        }),
              started() + line_of(1, "message"));
}

TEST(TraceOutput, EachInformationLineIsThereAtOnce) {
    EXPECT_EQ(output_of(Output::pipe,
                        [] {
                            fake.has_time = false;  // no other line brings it along
                            call(kNote, "dropped");
                            _exit(0);
                            return false;
                        }),
              started());
}

TEST(TraceOutput, IsOpenedForReadingTooWhereThatIsAllowed) {
    for (const Output output : {Output::file, Output::pipe}) {
        const bool readable = output == Output::file;
        output_of(output, [readable] {
            call(kNote, "message");
            const std::vector<std::string> both = {"a+", "a"};
            return fake.modes == std::vector<std::string>(both.begin(), both.end() - readable);
        });
    }
}

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
