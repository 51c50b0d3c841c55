// SPDX-License-Identifier: Apache-2.0
//
// Calls of the C library that fail, or are counted, when a test says so. Including this file in a
// test program defines them there, for the library too; so only one file of a program may include
// it. What is not scripted goes to the C library.
#pragma once

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

// The thread sanitizer calls some of these before it can watch anybody, so it must not watch them.
#define KELVO_UNWATCHED __attribute__((no_sanitize("thread")))

namespace kelvo::test {

/// What the calling thread's next calls do. A code is a system error number, 0 for none.
struct SystemCalls {
    int once_fails = 0;
    int key_create_fails = 0;
    int setspecific_fails = 0;
    int format_fails = 0;     ///< vsnprintf() answers -1 with this errno
    int format_too_long = 0;  ///< vsnprintf() answers this length and writes nothing

    int keys_created = 0;
    int keys_deleted = 0;
    void (*destructor)(void*) = nullptr;  ///< of the key created last
    void* kept = nullptr;                 ///< the value stored last under a key
    unsigned slept = 0;      ///< seconds that sleep() was asked for; it returns at once
    int commands = 0;        ///< how often system() was called; it runs nothing
    char command[128] = "";  ///< what it was asked to run last
};

inline thread_local constinit SystemCalls system_calls;

template <class Function>
KELVO_UNWATCHED Function* c_library(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// What formatting answers instead of doing it, 0 for nothing.
KELVO_UNWATCHED inline int scripted_format() {
    if (const int code = system_calls.format_fails) {
        errno = code;
        return -1;
    }
    return system_calls.format_too_long;
}

}  // namespace kelvo::test

extern "C" {

KELVO_UNWATCHED int pthread_once(pthread_once_t* control, void (*routine)()) {
    if (const int code = kelvo::test::system_calls.once_fails) return code;
    return kelvo::test::c_library<int(pthread_once_t*, void (*)())>("pthread_once")(control,
                                                                                    routine);
}

KELVO_UNWATCHED int pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) noexcept {
    if (const int code = kelvo::test::system_calls.key_create_fails) return code;
    ++kelvo::test::system_calls.keys_created;
    kelvo::test::system_calls.destructor = destructor;
    return kelvo::test::c_library<int(pthread_key_t*, void (*)(void*))>("pthread_key_create")(
        key, destructor);
}

KELVO_UNWATCHED int pthread_key_delete(pthread_key_t key) noexcept {
    ++kelvo::test::system_calls.keys_deleted;
    return kelvo::test::c_library<int(pthread_key_t)>("pthread_key_delete")(key);
}

KELVO_UNWATCHED int pthread_setspecific(pthread_key_t key, const void* value) noexcept {
    const int code = kelvo::test::system_calls.setspecific_fails;
    if (code != 0 && value != nullptr) return code;
    kelvo::test::system_calls.kept = const_cast<void*>(value);
    return kelvo::test::c_library<int(pthread_key_t, const void*)>("pthread_setspecific")(key,
                                                                                          value);
}

KELVO_UNWATCHED int vsnprintf(char* buffer, std::size_t size, const char* format,
                              va_list arguments) noexcept {
    if (const int scripted = kelvo::test::scripted_format()) return scripted;
    return kelvo::test::c_library<int(char*, std::size_t, const char*, va_list)>("vsnprintf")(
        buffer, size, format, arguments);
}

/// What vsnprintf() is in a library that is compiled with _FORTIFY_SOURCE.
KELVO_UNWATCHED int __vsnprintf_chk(char* buffer, std::size_t size, int flag, std::size_t room,
                                    const char* format, va_list arguments) noexcept {
    if (const int scripted = kelvo::test::scripted_format()) return scripted;
    return kelvo::test::c_library<int(char*, std::size_t, int, std::size_t, const char*, va_list)>(
        "__vsnprintf_chk")(buffer, size, flag, room, format, arguments);
}

KELVO_UNWATCHED unsigned sleep(unsigned seconds) {
    kelvo::test::system_calls.slept += seconds;
    return 0;
}

KELVO_UNWATCHED int system(const char* command) {
    ++kelvo::test::system_calls.commands;
    std::snprintf(kelvo::test::system_calls.command, sizeof kelvo::test::system_calls.command, "%s",
                  command);
    return 0;
}

}  // extern "C"
