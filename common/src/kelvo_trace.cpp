// SPDX-License-Identifier: Apache-2.0
//
// The call-flow trace. Everything that it remembers is one object under one mutex, made when the
// process starts and never released. The record of what the next line shows outlives the call that
// filled it: the line of a thread that the table has no room for shows the record of the call
// before it, and a new thread inherits the record's overflow flag.
#include "kelvo_trace.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "kelvo_bytes.h"
#include "kelvo_platform.h"

using namespace kelvo;

namespace {

constexpr int kFatalExit = 0xDEAD;
constexpr u32 kDeepestShown = 20;
constexpr std::size_t kLocationChars = 30;
constexpr std::size_t kLineBytes = 512;

constexpr char kStarted[] = "**** started tracing ****";
constexpr char kTooManyExits[] = "More EXIT statements than ENTER statements!";
constexpr char kTableFull[] = "Need to increase MAX_THREADS (curr 16) - losing output";
static_assert(KELVO_TRACE_MAX_THREADS == 16, "the text names the number");

struct Thread {
    u32 id;
    u32 depth;
};

/// What the next line shows.
struct Record {
    u32 thread;
    u32 depth;
    bool overflow;
};

struct State {
    std::FILE* stream;  ///< null until a line can be written
    u32 nodeid;
    u32 process;
    u32 thread_count;
    Thread threads[KELVO_TRACE_MAX_THREADS];  ///< in the order of their first calls
    Record current;
};

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
State state;  // guarded by the mutex

[[noreturn]] void stop(const char* action, int error) {
    (void)std::fprintf(stderr, "Kelvo TRACE_FATAL: Couldn't %s mutex (%s)!\n", action,
                       std::strerror(error));
    (void)std::fflush(stderr);
    std::exit(kFatalExit);
}

void lock() {
    int error = pthread_mutex_trylock(&mutex);
    if (error == EBUSY) {
        thread_mark_mutex_block(&mutex, "trace", __LINE__);
        error = pthread_mutex_lock(&mutex);
        thread_unmark_mutex_block();
    }
    if (error != 0) stop("lock", error);
}

void unlock() {
    if (const int error = pthread_mutex_unlock(&mutex)) stop("unlock", error);
}

/// A stream on a duplicate of standard output, or null.
std::FILE* open_output() {
    const int descriptor = platform_dup(STDOUT_FILENO);
    if (descriptor < 0) return nullptr;
    std::FILE* stream = fdopen(descriptor, "a+");
    if (stream == nullptr) stream = fdopen(descriptor, "a");  // a pipe or file that cannot be read
    if (stream == nullptr) close(descriptor);
    return stream;
}

/// Gets ready to write. @return false when there is nowhere to write to
bool start() {
    if (state.stream != nullptr) return true;
    (void)platform_my_nodeid(&state.nodeid);
    state.stream = open_output();
    return state.stream != nullptr;
}

void inform(u32 thread, const char* text) {
    (void)std::fprintf(state.stream, "TRACE_INFO: [%6.6u|%3.3u] %s\n", state.process, thread, text);
    (void)std::fflush(state.stream);
}

void show(const Thread& thread) {
    state.current = {thread.id, std::min(thread.depth, kDeepestShown),
                     thread.depth > kDeepestShown};
}

/// An ENTER is shown at the depth before it, an EXIT at the depth after it.
void pass(Thread& thread, u32 kind) {
    show(thread);
    if (kind == KELVO_TRACE_KIND_ENTER) ++thread.depth;
    if (kind != KELVO_TRACE_KIND_EXIT) return;
    if (thread.depth <= 1) {
        inform(thread.id, kTooManyExits);
        return;
    }
    --thread.depth;
    show(thread);
}

/// The first call of a thread. Without room for it, the record stays that of the call before.
void meet(u32 thread, u32 kind) {
    inform(thread, kStarted);
    if (state.thread_count == KELVO_TRACE_MAX_THREADS) {
        inform(thread, kTableFull);
        return;
    }
    state.threads[state.thread_count++] = {thread, kind == KELVO_TRACE_KIND_ENTER ? 2U : 1U};
    state.current.thread = thread;
    state.current.depth = 1;  // the overflow flag stays as it was
}

void note_thread(u32 kind) {
    const auto id = static_cast<u32>(gettid());
    if (state.process == 0) state.process = static_cast<u32>(getpid());
    Thread* const end = state.threads + state.thread_count;
    Thread* const known =
        std::find_if(state.threads, end, [id](const Thread& thread) { return thread.id == id; });
    if (known != end) {
        pass(*known, kind);
    } else {
        meet(id, kind);
    }
}

const char* last_chars(const char* location) {
    const std::size_t length = std::strlen(location);
    return length > kLocationChars ? location + (length - kLocationChars) : location;
}

/// Builds the line in `text`, with its newline if there is room for it.
void build_line(char (&text)[kLineBytes], const std::tm& now, const char* location, u32 line,
                const char* format, va_list arguments) {
    const Record& shown = state.current;
    const int start = std::snprintf(
        text, kLineBytes, "[%2.2u:%2.2u:%2.2u][0x%08x][%6.6u][%3.3u]%30.30s #%5.5u%*s%c",
        static_cast<u32>(now.tm_hour), static_cast<u32>(now.tm_min), static_cast<u32>(now.tm_sec),
        state.nodeid, state.process, shown.thread, last_chars(location), line,
        static_cast<int>(shown.depth), "", shown.overflow ? '!' : ' ');
    if (std::vsnprintf(text + start, kLineBytes - static_cast<std::size_t>(start), format,
                       arguments) < 0) {
        text[start] = '\0';  // a message that cannot be formatted
    }
    const std::size_t length = std::strlen(text);
    (void)std::snprintf(text + length, kLineBytes - length, "\n");
}

/// Writes the finished line, as a format once more: that is how these lines have always been
/// written, and callers double their "%" twice.
void write_line(const char* text) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    (void)std::fprintf(state.stream, text);
#pragma GCC diagnostic pop
    (void)std::fflush(state.stream);
}

}  // namespace

uint32_t trace(uint32_t kind, const char* location, uint32_t line, const char* format, ...) {
    lock();
    if (!start()) {
        unlock();
        return 0;
    }
    note_thread(kind);
    const std::time_t seconds = std::time(nullptr);
    std::tm now;
    if (localtime_r(&seconds, &now) != nullptr) {
        char text[kLineBytes];
        va_list arguments;
        va_start(arguments, format);
        build_line(text, now, location, line, format, arguments);
        va_end(arguments);
        write_line(text);
    }
    unlock();
    return 0;
}
