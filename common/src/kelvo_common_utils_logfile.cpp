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

/// Formats a line into the shared buffer. However the texts of several threads mix there, nobody
/// writes its last byte, which stays NUL. Not inlined, so that the race that is accepted here has a
/// name of its own in the reports of tools.
[[gnu::noinline, gnu::format(printf, 4, 0)]] void format_shared_line(
    const timeval& now, const tm& local, const char* tag, const char* format, va_list arguments) {
    const int wanted = std::snprintf(
        log_file.line, KELVO_LOGFILE_PREFIX_CHARS + 1,
        "%02d/%02d %02d:%02d:%02d.%03d %d:%ld %s:", local.tm_mon + 1, local.tm_mday, local.tm_hour,
        local.tm_min, local.tm_sec, static_cast<int>(now.tv_usec / 1000),
        static_cast<int>(procmgr_get_job_id()), static_cast<long>(gettid()), tag);
    const int prefix = std::clamp(wanted, 0, KELVO_LOGFILE_PREFIX_CHARS);
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
    const int bytes = std::fprintf(log_file.file, "%s\n", log_file.line);
    if (bytes > 0) log_file.written += bytes;
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
