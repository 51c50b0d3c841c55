// SPDX-License-Identifier: Apache-2.0
//
// The debug-flag registry: a list of every initialised flag, through the flags' own bookkeeping.
// A flag has its state from the moment its table is registered: the configuration and the
// environment say which flags are on, and a process may switch them while it runs. Programs read
// `enabled` without a lock, so it is stored atomically.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "kelvo_platform_config.h"
#include "kelvo_platform_line.h"
#include "kelvo_platform_lock.h"

namespace kelvo::host {
namespace {

using Flag = platform_debug_context;

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
constinit Flag* first = nullptr;

Flag* next_of(const Flag* flag) noexcept {
    return static_cast<Flag*>(flag->bookkeeping[0]);
}

Flag* table_of(const Flag* flag) noexcept {
    return static_cast<Flag*>(flag->bookkeeping[1]);
}

/// Calls `visit` for every flag for which `wanted` says so. @return how many those were
template <class Wanted, class Visit>
std::size_t for_each_flag(Wanted wanted, Visit visit) noexcept {
    std::size_t count = 0;
    Flag* after;
    for (Flag* flag = first; flag != nullptr; flag = after) {
        after = next_of(flag);  // the flag may leave the list
        if (!wanted(flag)) continue;
        visit(flag);
        ++count;
    }
    return count;
}

/// Takes a flag out of the list, and releases its table's path with the last flag that has it.
void withdraw(Flag* flag) noexcept {
    Flag* before = nullptr;
    for (Flag* at = first; at != flag; at = next_of(at)) before = at;
    if (before == nullptr) {
        first = next_of(flag);
    } else {
        before->bookkeeping[0] = next_of(flag);
    }
    const char* const path = flag->path;
    flag->path = nullptr;
    const auto shares_path = [=](const Flag* other) { return other->path == path; };
    if (path != nullptr && for_each_flag(shares_path, [](Flag*) {}) == 0) {
        std::free(const_cast<char*>(path));
    }
}

void switch_flag(Flag* flag, bool on) noexcept {
    __atomic_store_n(&flag->enabled, on ? 1U : 0U, __ATOMIC_RELAXED);
}

/// Whether a text is the flag's registered path followed by its name.
bool is_full_path(const Flag* flag, const char* text) noexcept {
    const std::size_t length = std::strlen(flag->path);
    if (std::strncmp(text, flag->path, length) != 0) return false;
    text += length;
    if (length > 0 && flag->path[length - 1] != '/' && *text++ != '/') return false;
    return std::strcmp(text, flag->name) == 0;
}

/// Whether a text selects a registered flag: "all", its name or its path.
bool selects(const char* text, const Flag* flag) noexcept {
    return std::strcmp(text, "all") == 0 || std::strcmp(text, flag->name) == 0 ||
           is_full_path(flag, text);
}

bool is_on_from_the_start(const Config* config, const Flag* flag) noexcept {
    if (config == nullptr) return false;
    for (const auto& text : config->debug) {
        if (selects(text.value, flag)) return true;
    }
    return false;
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

kelvo_status platform_debug_init_event(platform_debug_context* context,
                                       platform_debug_context* table, uint32_t index,
                                       uint32_t level, const char* name, uint32_t value) {
    if (context == nullptr || table == nullptr || name == nullptr) return KELVO_ERR_NULL_PARAM;
    const Locked lock(mutex);
    const auto same = [&](const Flag* flag) { return flag == context; };
    for_each_flag(same, withdraw);  // initialised before: it starts anew
    switch_flag(context, false);
    context->index = index;
    context->level = level;
    context->value = value;
    context->name = name;
    context->path = nullptr;
    context->bookkeeping[0] = first;
    context->bookkeeping[1] = table;
    first = context;
    return 0;
}

kelvo_status platform_debug_register(platform_debug_context* table, const char* path) {
    if (table == nullptr || path == nullptr) return KELVO_ERR_NULL_PARAM;
    const Config* const config = good_config();
    char* const own_path = strdup(path);
    if (own_path == nullptr) return KELVO_ERR_NO_MEMORY;
    const Locked lock(mutex);
    const auto is_new = [&](const Flag* flag) {
        return table_of(flag) == table && flag->path == nullptr;
    };
    const std::size_t count = for_each_flag(is_new, [&](Flag* flag) {
        flag->path = own_path;
        switch_flag(flag, is_on_from_the_start(config, flag));
    });
    if (count != 0) return 0;
    std::free(own_path);
    return KELVO_ERR_NOT_FOUND;
}

kelvo_status platform_debug_cleanup(const char* path) {
    if (path == nullptr) return KELVO_ERR_NULL_PARAM;
    const Locked lock(mutex);
    const auto under_path = [&](const Flag* flag) {
        return flag->path != nullptr && std::strcmp(flag->path, path) == 0;
    };
    const std::size_t count = for_each_flag(under_path, [](Flag* flag) {
        switch_flag(flag, false);
        withdraw(flag);
    });
    return count != 0 ? 0 : KELVO_ERR_NOT_FOUND;
}

kelvo_status platform_host_debug_set(const char* name, uint32_t on) {
    if (name == nullptr) return KELVO_ERR_NULL_PARAM;
    const Locked lock(mutex);
    const auto selected = [&](const Flag* flag) {
        return flag->path != nullptr && selects(name, flag);
    };
    const std::size_t count =
        for_each_flag(selected, [&](Flag* flag) { switch_flag(flag, on != 0); });
    return count != 0 ? 0 : KELVO_ERR_NOT_FOUND;
}

void debug_print(const char* format, ...) {
    const KeepErrno keep;
    Line line;
    line.add("%s[%d:%d]: debug: ", program_invocation_short_name, getpid(), gettid());
    va_list arguments;
    va_start(arguments, format);
    line.add_list(format, arguments);
    va_end(arguments);
    line.write_to(STDERR_FILENO);
}
