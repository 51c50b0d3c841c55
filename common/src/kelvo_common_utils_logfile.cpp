// SPDX-License-Identifier: Apache-2.0
//
// The log file. A line is formatted before the lock is tried, into the one buffer that all threads
// share; whoever finds the lock taken drops its line. So no thread ever waits for another or for
// the disk behind another, at the price that two lines may mix.
#include "kelvo_logfile.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "kelvo_bytes.h"
#include "kelvo_platform.h"

using namespace kelvo;

namespace {

/// One per process. `file` and `line` change while the file is opened, before other threads write.
struct LogFile {
    std::FILE* file;  ///< null while lines are dropped
    char* line;       ///< the shared buffer, written without the lock
    pthread_mutex_t lock;
    i32 written;               ///< bytes since the file was opened or started again
    std::atomic<u32> dropped;  ///< lines lost to a taken lock since the file started again
};
constinit LogFile log_file{};

/// The size of an open file, whose position moves to its end; 0 for one that has no position.
i32 move_to_end(std::FILE* file) {
    (void)std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    return static_cast<i32>(std::clamp(size, 0L, long{std::numeric_limits<i32>::max()}));
}

void open_file(const char* path) {
    log_file.written = 0;
    log_file.file = std::fopen(path, "r+");
    if (log_file.file != nullptr) {
        log_file.written = move_to_end(log_file.file);
        return;
    }
    if (errno == ENOENT) log_file.file = std::fopen(path, "w+");
    if (log_file.file == nullptr) qor_errmsg(&qor_msg_rec_kelvoutils_fileopen_fail, 6, path);
}

/// Every attempt to open the file begins with a lock and a line of its own.
void prepare_writing() {
    pthread_mutexattr_t checking;
    pthread_mutexattr_init(&checking);
    pthread_mutexattr_settype(&checking, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(&log_file.lock, &checking);
    pthread_mutexattr_destroy(&checking);

    std::free(log_file.line);
    log_file.line = static_cast<char*>(std::calloc(KELVO_LOGFILE_LINE_BYTES, 1));
}

/// Writes the beginning of a line piece by piece. What would not fit is cut off.
class Prefix {
  public:
    explicit Prefix(char* line) : begin_(line), at_(line) {}

    void add(char character) {
        if (chars() < KELVO_LOGFILE_PREFIX_CHARS) *at_++ = character;
    }
    void add(const char* text) {
        while (*text != '\0' && chars() < KELVO_LOGFILE_PREFIX_CHARS) *at_++ = *text++;
    }
    /// A number below a hundred, as a calendar and a clock have them.
    void add_two_digits(int number) {
        add(static_cast<char>('0' + number / 10));
        add(static_cast<char>('0' + number % 10));
    }
    /// A number of at least so many digits.
    void add(i64 number, int digits) {
        char text[20];  // the least number has 19 digits
        char* begin = std::end(text);
        u64 rest = number < 0 ? 0 - static_cast<u64>(number) : static_cast<u64>(number);
        for (; rest != 0 || digits > 0; rest /= 10, --digits) {
            *--begin = static_cast<char>('0' + rest % 10);
        }
        if (number < 0) add('-');
        while (begin != std::end(text)) add(*begin++);
    }
    [[nodiscard]] int chars() const { return static_cast<int>(at_ - begin_); }

  private:
    char* begin_;
    char* at_;
};

/// The calling thread's id as the C library keeps it, also across fork(). Linux has it in the
/// number of the thread's clock, which saves a system call for every line.
pid_t thread_id() {
    clockid_t clock;
    if (pthread_getcpuclockid(pthread_self(), &clock) != 0) return gettid();
    return ~(clock >> 3);
}

/// "MM/DD hh:mm:ss.mmm job:thread tag:". @return its characters
int write_prefix(char* line, const timeval& now, const tm& local, const char* tag) {
    Prefix prefix(line);
    prefix.add_two_digits(local.tm_mon + 1);
    prefix.add('/');
    prefix.add_two_digits(local.tm_mday);
    prefix.add(' ');
    prefix.add_two_digits(local.tm_hour);
    prefix.add(':');
    prefix.add_two_digits(local.tm_min);
    prefix.add(':');
    prefix.add_two_digits(local.tm_sec);
    prefix.add('.');
    prefix.add(now.tv_usec / 1000, 3);
    prefix.add(' ');
    prefix.add(static_cast<i32>(procmgr_get_job_id()), 1);
    prefix.add(':');
    prefix.add(thread_id(), 1);
    prefix.add(' ');
    prefix.add(tag);
    prefix.add(':');
    line[prefix.chars()] = '\0';
    return prefix.chars();
}

/// Formats a line into the shared buffer. However the texts of several threads mix there, nobody
/// writes its last byte, which stays NUL. Not inlined, so that the race that is accepted here has a
/// name of its own in the reports of tools.
[[gnu::noinline, gnu::format(printf, 4, 0)]] void format_shared_line(
    const timeval& now, const tm& local, const char* tag, const char* format, va_list arguments) {
    const int prefix = write_prefix(log_file.line, now, local, tag);
    const auto room = static_cast<std::size_t>(KELVO_LOGFILE_LINE_BYTES - prefix);
    // The analyser does not follow a va_list through a call.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    (void)std::vsnprintf(log_file.line + prefix, room, format, arguments);
}

/// Writes the shared line, or starts the file again when it is full. With the lock held.
void write_or_start_again() {
    if (log_file.written > KELVO_LOGFILE_LIMIT) {
        log_file.written = 0;
        log_file.dropped.store(0, std::memory_order_relaxed);
        (void)std::fseek(log_file.file, 0, SEEK_SET);
        return;
    }
    const std::size_t chars = std::strlen(log_file.line);
    const bool written = std::fwrite(log_file.line, 1, chars, log_file.file) == chars &&
                         std::fputc('\n', log_file.file) != EOF;
    if (written) log_file.written += static_cast<i32>(chars + 1);
    (void)std::fflush(log_file.file);
}

void write_unless_busy() {
    if (pthread_mutex_trylock(&log_file.lock) != 0) {
        log_file.dropped.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    write_or_start_again();
    if (pthread_mutex_unlock(&log_file.lock) != 0) {
        qor_errmsg(&qor_msg_rec_kelvoutils_mutex_unlock_fail, 6);
    }
}

}  // namespace

void kelvo_init_logfile(const char* path) {
    if (platform_type() == PLATFORM_TYPE_LOCAL_ONLY) {
        log_file.file = nullptr;
        return;
    }
    if (log_file.file != nullptr) return;
    open_file(path);
    prepare_writing();
}

void kelvo_logfile(const char* tag, const char* format, ...) {
    if (log_file.file == nullptr || log_file.line == nullptr) return;
    timeval now;
    if (gettimeofday(&now, nullptr) != 0) return;
    tm local;
    if (localtime_r(&now.tv_sec, &local) == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    format_shared_line(now, local, tag, format, arguments);
    va_end(arguments);
    write_unless_busy();
}
