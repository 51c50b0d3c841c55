// SPDX-License-Identifier: Apache-2.0
//
// Tests of the log file. A process has one and opens it once, so each test runs in a process of its
// own, with a scripted clock.
//
// Contention is forced by holding a writer inside its flush: that is the last thing it does with
// the lock taken. Including this file in a test program defines the functions of the C library
// that this takes, for the library too; so only one file of a program may include it.
#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <semaphore>
#include <string>
#include <thread>

#include "kelvo_logfile.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

namespace kelvo::test {

/// What the library finds when it asks the C library.
struct LogfileCalls {
    timeval now{};
    bool clock_fails = false;
    bool format_fails = false;     ///< vsnprintf() writes nothing
    bool has_thread_clock = true;  ///< whether a thread's clock, which tells its id, can be had
    pid_t thread_id = 0;           ///< what gettid() answers instead of the thread's id
    thread_local static inline constinit bool unlock_fails = false;  ///< the next one, once
    thread_local static inline constinit bool held_in_flush = false;
};
inline LogfileCalls logfile_calls;

inline std::binary_semaphore writer_is_held{0};
inline std::binary_semaphore let_writer_go{0};

/// A writer that stands inside its flush, with the lock taken, until this ends.
class HeldWriter {
  public:
    explicit HeldWriter(const char* message)
        : thread_([message] {
              LogfileCalls::held_in_flush = true;
              kelvo_logfile("held", "%s", message);
              LogfileCalls::held_in_flush = false;
          }) {
        writer_is_held.acquire();
    }
    ~HeldWriter() {
        let_writer_go.release();
        thread_.join();
    }
    HeldWriter(const HeldWriter&) = delete;
    HeldWriter& operator=(const HeldWriter&) = delete;

  private:
    std::thread thread_;
};

class LogfileTest : public testing::Test {
  protected:
    LogfileTest() {
        platform().reset();
        char name[] = "/tmp/kelvo_logfile_XXXXXX";
        directory_ = mkdtemp(name);
        path_ = directory_ + "/log";
        logfile_calls.now = {kNoon, 42999};
    }
    ~LogfileTest() override {
        (void)unlink(path_.c_str());
        (void)unlink(other().c_str());
        (void)rmdir(directory_.c_str());
    }

    /// Runs a part of the test in a process of its own, where local time is two hours ahead.
    template <class Body>
    static void in_fresh_process(Body body) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            setenv("TZ", "KLV-2", 1);
            tzset();
            body();
            std::fflush(nullptr);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "process status " << status;
    }

    void open() const { kelvo_init_logfile(path_.c_str()); }
    [[nodiscard]] std::string other() const { return directory_ + "/other"; }

    static bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }
    [[nodiscard]] static std::string content(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    [[nodiscard]] std::string content() const { return content(path_); }

    /// A file of so many bytes, sparse, that ends in "the end\n".
    void prepare_file(long bytes) const {
        std::ofstream out(path_, std::ios::binary);
        const std::string end = "the end\n";
        out.seekp(bytes - static_cast<long>(end.size()));
        out << end;
    }

    /// The beginning of this thread's lines while the clock stands as it was set at first.
    static std::string prefix(const std::string& tag) {
        return "03/07 14:05:09.042 211:" + std::to_string(gettid()) + " " + tag + ":";
    }

    static constexpr time_t kNoon = 1741349109;  // 2025-03-07 12:05:09 UTC

    std::string directory_;
    std::string path_;
};

}  // namespace kelvo::test

extern "C" {

int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    if (kelvo::test::logfile_calls.clock_fails) return -1;
    *now = kelvo::test::logfile_calls.now;
    return 0;
}

// Watched by the thread sanitizer, so that its reports name what calls it.
int vsnprintf(char* text, std::size_t size, const char* format, va_list arguments) noexcept {
    if (kelvo::test::logfile_calls.format_fails) return -1;
    static auto* const print = reinterpret_cast<int (*)(char*, std::size_t, const char*, va_list)>(
        dlsym(RTLD_NEXT, "vsnprintf"));
    return print(text, size, format, arguments);
}

/// What vsnprintf() is in a library that is compiled with _FORTIFY_SOURCE.
int __vsnprintf_chk(char* text, std::size_t size, int /*flag*/, std::size_t /*room*/,
                    const char* format, va_list arguments) noexcept {
    return vsnprintf(text, size, format, arguments);
}

__attribute__((no_sanitize("thread"))) int pthread_getcpuclockid(pthread_t thread,
                                                                 clockid_t* clock) noexcept {
    if (!kelvo::test::logfile_calls.has_thread_clock) return EPERM;
    static auto* const get =
        reinterpret_cast<int (*)(pthread_t, clockid_t*)>(dlsym(RTLD_NEXT, "pthread_getcpuclockid"));
    return get(thread, clock);
}

__attribute__((no_sanitize("thread"))) pid_t gettid() noexcept {
    const pid_t scripted = kelvo::test::logfile_calls.thread_id;
    return scripted != 0 ? scripted : static_cast<pid_t>(syscall(SYS_gettid));
}

int fflush(std::FILE* file) {
    if (kelvo::test::LogfileCalls::held_in_flush) {
        kelvo::test::writer_is_held.release();
        kelvo::test::let_writer_go.acquire();
    }
    static auto* const flush = reinterpret_cast<int (*)(std::FILE*)>(dlsym(RTLD_NEXT, "fflush"));
    return flush(file);
}

__attribute__((no_sanitize("thread"))) int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    static auto* const unlock =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_unlock"));
    const int code = unlock(mutex);
    if (!kelvo::test::LogfileCalls::unlock_fails) return code;
    kelvo::test::LogfileCalls::unlock_fails = false;
    return EPERM;
}

}  // extern "C"
