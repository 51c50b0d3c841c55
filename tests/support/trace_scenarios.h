// SPDX-License-Identifier: Apache-2.0
//
// Scenarios of the trace facility, which keeps its state for the whole process: each runs in a
// process of its own with standard output redirected, and the test compares what came out. Time,
// thread id, process id and mutex are replaced here, since their answers must be known or made to
// fail. For programs of one source.
#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "kelvo_trace.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

// ---- What the C library answers ----

namespace kelvo::test {

struct System {
    bool has_time = true;
    std::atomic<pid_t> thread = 7;  ///< what gettid() answers; 0 for the truth
    pid_t process = 42;             ///< what getpid() answers; 0 for the truth
    int trylock_error = 0;
    int lock_error = 0;
    int unlock_error = 0;
    std::vector<std::string> modes;  ///< of the streams opened
};
inline System fake;

/// The facility's mutex: the only one that anybody here tries.
inline std::atomic<pthread_mutex_t*> traced_mutex = nullptr;

template <class Function>
Function next_definition(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}
using MutexCall = int (*)(pthread_mutex_t*);

}  // namespace kelvo::test

extern "C" {

std::tm* localtime_r(const std::time_t* seconds, std::tm* result) noexcept {
    static const auto real =
        kelvo::test::next_definition<std::tm* (*)(const std::time_t*, std::tm*)>("localtime_r");
    if (!kelvo::test::fake.has_time) return nullptr;
    if (real(seconds, result) == nullptr) return nullptr;
    result->tm_hour = 3;
    result->tm_min = 14;
    result->tm_sec = 5;
    return result;
}

pid_t gettid(void) noexcept {
    static const auto real = kelvo::test::next_definition<pid_t (*)()>("gettid");
    const pid_t thread = kelvo::test::fake.thread;
    return thread != 0 ? thread : real();
}

pid_t getpid(void) noexcept {
    static const auto real = kelvo::test::next_definition<pid_t (*)()>("getpid");
    return kelvo::test::fake.process != 0 ? kelvo::test::fake.process : real();
}

std::FILE* fdopen(int descriptor, const char* mode) noexcept {
    static const auto real =
        kelvo::test::next_definition<std::FILE* (*)(int, const char*)>("fdopen");
    {
        const kelvo::test::FailingMemory::Pause pause;
        kelvo::test::fake.modes.emplace_back(mode);
    }
    return real(descriptor, mode);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static const auto real =
        kelvo::test::next_definition<kelvo::test::MutexCall>("pthread_mutex_trylock");
    kelvo::test::traced_mutex = mutex;
    return kelvo::test::fake.trylock_error != 0 ? kelvo::test::fake.trylock_error : real(mutex);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static const auto real =
        kelvo::test::next_definition<kelvo::test::MutexCall>("pthread_mutex_lock");
    return mutex == kelvo::test::traced_mutex && kelvo::test::fake.lock_error != 0
               ? kelvo::test::fake.lock_error
               : real(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    static const auto real =
        kelvo::test::next_definition<kelvo::test::MutexCall>("pthread_mutex_unlock");
    return mutex == kelvo::test::traced_mutex && kelvo::test::fake.unlock_error != 0
               ? kelvo::test::fake.unlock_error
               : real(mutex);
}

}  // extern "C"

namespace kelvo::test {

inline constexpr uint32_t kEnter = KELVO_TRACE_KIND_ENTER;
inline constexpr uint32_t kExit = KELVO_TRACE_KIND_EXIT;
inline constexpr uint32_t kNote = KELVO_TRACE_KIND_NOTE;

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
inline std::string output_of(Output output, const std::function<bool()>& scenario) {
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

inline std::string output_of(const std::function<void()>& scenario) {
    return output_of(Output::file, [&] {
        scenario();
        return true;
    });
}

/// A line as it should be, made without the facility's own format.
inline std::string line_of(unsigned depth, const std::string& message, char mark = ' ',
                           const std::string& thread = "007") {
    return "[03:14:05][0x00000010][000042][" + thread + "]" + std::string(26, ' ') + "here #00012" +
           std::string(depth, ' ') + mark + message + "\n";
}

inline std::string started(const std::string& thread = "007") {
    return "TRACE_INFO: [000042|" + thread + "] **** started tracing ****\n";
}
inline std::string too_many_exits(const std::string& thread = "007") {
    return "TRACE_INFO: [000042|" + thread + "] More EXIT statements than ENTER statements!\n";
}
inline std::string table_full(const std::string& thread) {
    return "TRACE_INFO: [000042|" + thread +
           "] Need to increase MAX_THREADS (curr 16) - losing output\n";
}

inline uint32_t call(uint32_t kind, const char* message) {
    return trace(kind, "here", 12, "%s", message);
}

}  // namespace kelvo::test
