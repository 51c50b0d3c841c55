// SPDX-License-Identifier: Apache-2.0
#include "platform/scripted_platform.h"

#include "platform/failed_sites.h"
#include "platform/failing_memory.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace kelvo::test {

namespace {

std::string formatted(const char* format, va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    return text;
}

}  // namespace

void Platform::reset() {
    log.clear();
    debug_lines.clear();
    trace_records.clear();
    calls.clear();
    tree_is_broken = false;

    strerror = [](kelvo_status status) -> const char* {
        thread_local char text[32];
        std::snprintf(text, sizeof text, "text of 0x%x", status);
        return text;
    };
    getstrings = [](kelvo_status, errcode_strings* strings) -> kelvo_status {
        *strings = {nullptr, "error", ""};
        return 0;
    };
    my_nodeid = [](std::uint32_t* nodeid) -> kelvo_status {
        *nodeid = 0x10;
        return 0;
    };
    type = [] { return std::uint32_t{PLATFORM_TYPE_ROUTE_PROCESSOR}; };
    is_single_node = [] { return 0U; };
    node_type = [](std::uint32_t) { return 0U; };
    node_name = [](std::uint32_t nodeid, char* buffer, std::size_t size) -> kelvo_status {
        std::snprintf(buffer, size, "node%x", nodeid);
        return 0;
    };
    parse_nodeid = [](const char* text, std::uint32_t* nodeid) -> kelvo_status {
        unsigned rack;
        unsigned slot;
        unsigned cpu;
        if (std::sscanf(text, "%u_%u_%u", &rack, &slot, &cpu) != 3) return 0x40000001;
        *nodeid = rack << 16 | slot << 8 | cpu;
        return 0;
    };
    format_nodeid = [](std::uint32_t nodeid, char* buffer, std::size_t size) -> kelvo_status {
        std::snprintf(buffer, size, "%u_%u_%u", nodeid >> 16, nodeid >> 8 & 0xff, nodeid & 0xff);
        return 0;
    };
    to_cpu_nodeid = [](std::uint32_t nodeid, std::uint32_t* cpu) -> kelvo_status {
        *cpu = nodeid;
        return 0;
    };
    bind_ifdb = [](void** connection) -> kelvo_status {
        static int database;
        *connection = &database;
        return 0;
    };
    locate = [](void*, const char*, std::uint32_t* nodeid, kelvo_status* reported) -> kelvo_status {
        *reported = 0;
        *nodeid = 0x10;
        return 0;
    };
    job_id = [] { return 211U; };
    spawn_script = [](const char*, const char*, const procmgr_spawn_params*) { return 0U; };
    spawn = [](const char*, char* const*, const int*) { return 4711; };
    boot_media = [](std::uint32_t) -> const char* { return nullptr; };
    debug_init_event = [](platform_debug_context* context, platform_debug_context*,
                          std::uint32_t index, std::uint32_t level, const char* name,
                          std::uint32_t value) -> kelvo_status {
        context->index = index;
        context->level = level;
        context->name = name;
        context->value = value;
        return 0;
    };
    debug_register = [](platform_debug_context*, const char*) { return 0U; };
    debug_cleanup = [](const char*) { return 0U; };
    dup = [](int descriptor) { return ::dup(descriptor); };
    fast_clock = [](timespec* now) { *now = {5, 999999999}; };
    mark_mutex_block = [](pthread_mutex_t*, const char*, std::uint32_t) {};
    alloc = [](std::size_t size, const void*) { return std::malloc(size); };
    build_replica = [](std::uint32_t size, std::uint32_t, std::uint8_t** buffer) -> kelvo_status {
        *buffer = static_cast<std::uint8_t*>(std::malloc(size));
        return 0;
    };
    payload_offset = [](const void* record, std::uint32_t* offset) -> kelvo_status {
        *offset = *static_cast<const std::uint8_t*>(record);
        return 0;
    };
    unpack_tuple = [] { return 0U; };
}

std::vector<std::string> Platform::log_texts() const {
    std::vector<std::string> texts;
    for (const Logged& line : log) texts.push_back(line.text);
    return texts;
}

Platform& platform() {
    static Platform the_platform;
    return the_platform;
}

namespace {

using Pause = FailingMemory::Pause;

constexpr std::size_t kMostCalls = 100;

struct ServiceFailures {
    bool armed;
    std::size_t first;
    std::size_t count;
    std::size_t calls;
    const char* called[kMostCalls];
};
thread_local constinit ServiceFailures failures{};

/// Counts a call of a service that can fail. @return whether it is to
bool refuse(const char* service, const void* caller) {
    if (!failures.armed) return false;
    const std::size_t number = failures.calls++;
    if (failures.calls > kMostCalls) std::abort();
    failures.called[number] = service;
    if (number < failures.first || number - failures.first >= failures.count) return false;
    add_failed_site(caller);
    errno = EAGAIN;
    return true;
}
/// In the service itself: whether this call is to fail.
#define KELVO_REFUSED() refuse(__func__, __builtin_return_address(0))

/// Adds a line made of its parts to the calls.
template <class... Parts>
void record_call(const Parts&... parts) {
    const Pause pause;
    std::ostringstream line;
    (line << ... << parts);
    const std::lock_guard lock(platform().mutex);
    platform().calls.push_back(line.str());
}

}  // namespace

FailingServices::FailingServices(std::size_t first, std::size_t count) {
    failures = {true, first, count, 0, {}};
}
FailingServices::~FailingServices() {
    failures.armed = false;
}
std::vector<std::string> FailingServices::called() {
    return {failures.called, failures.called + failures.calls};
}

}  // namespace kelvo::test

using kelvo::test::formatted;
using kelvo::test::kServiceRefused;
using kelvo::test::Pause;
using kelvo::test::platform;
using kelvo::test::record_call;
using kelvo::test::refuse;

void qor_errmsg(const qor_msg_rec* record, int severity, ...) {
    const Pause pause;
    va_list arguments;
    va_start(arguments, severity);
    const std::string text = formatted(record->format, arguments);
    va_end(arguments);
    const std::lock_guard lock(platform().mutex);
    platform().log.push_back({record, severity, text});
}

const char* errcode_strerror(kelvo_status status) {
    return platform().strerror(status);
}

kelvo_status errcode_getstrings(kelvo_status status, errcode_strings* strings) {
    if (KELVO_REFUSED()) return kServiceRefused;
    return platform().getstrings(status, strings);
}

kelvo_status platform_my_nodeid(uint32_t* nodeid) {
    if (KELVO_REFUSED()) return kServiceRefused;
    return platform().my_nodeid(nodeid);
}
uint32_t platform_type(void) {
    return platform().type();
}
uint32_t platform_is_single_node(void) {
    return platform().is_single_node();
}
uint32_t platform_node_type(uint32_t nodeid) {
    return platform().node_type(nodeid);
}

kelvo_status platform_node_name(uint32_t nodeid, char* buffer, size_t size) {
    if (KELVO_REFUSED()) return kServiceRefused;
    return platform().node_name(nodeid, buffer, size);
}

kelvo_status nodeid_parse(const char* text, uint32_t* nodeid) {
    if (KELVO_REFUSED()) return kServiceRefused;
    return platform().parse_nodeid(text, nodeid);
}

kelvo_status nodeid_format(uint32_t nodeid, char* buffer, size_t size) {
    if (KELVO_REFUSED()) return kServiceRefused;
    return platform().format_nodeid(nodeid, buffer, size);
}

kelvo_status nodeid_to_cpu_nodeid(uint32_t nodeid, uint32_t* cpu_nodeid) {
    if (KELVO_REFUSED()) return kServiceRefused;
    return platform().to_cpu_nodeid(nodeid, cpu_nodeid);
}

kelvo_status ifdb_bind(void** connection) {
    if (KELVO_REFUSED()) return kServiceRefused;
    record_call("ifdb_bind");
    return platform().bind_ifdb(connection);
}

kelvo_status ifname_to_location(void* connection, const char* name, uint32_t* nodeid,
                                kelvo_status* reported) {
    if (KELVO_REFUSED()) {
        *reported = 0;
        return kServiceRefused;
    }
    record_call("ifname_to_location ", name);
    return platform().locate(connection, name, nodeid, reported);
}

uint32_t procmgr_get_job_id(void) {
    return platform().job_id();
}

kelvo_status procmgr_spawn_script(const char* script, const char* arguments,
                                  const procmgr_spawn_params* params) {
    if (KELVO_REFUSED()) return kServiceRefused;
    record_call("procmgr_spawn_script ", script, " ", arguments, " limit ",
                params->time_limit_seconds);
    return platform().spawn_script(script, arguments, params);
}

int spawn_process(const char* name, char* const arguments[], const int descriptors[3]) {
    if (KELVO_REFUSED()) return -1;
    {
        const Pause pause;
        std::string line;
        for (int i = 1; arguments[i] != nullptr; ++i) line.append(" ").append(arguments[i]);
        record_call("spawn_process ", name, line);
    }
    return platform().spawn(name, arguments, descriptors);
}

const char* platform_get_boot_media(uint32_t which) {
    if (KELVO_REFUSED()) return nullptr;
    record_call("platform_get_boot_media ", which);
    return platform().boot_media(which);
}

kelvo_status platform_debug_init_event(platform_debug_context* context,
                                       platform_debug_context* table, uint32_t index,
                                       uint32_t level, const char* name, uint32_t value) {
    if (KELVO_REFUSED()) return kServiceRefused;
    record_call("platform_debug_init_event ", index, " ", level, " ", name, " ", value);
    return platform().debug_init_event(context, table, index, level, name, value);
}

kelvo_status platform_debug_register(platform_debug_context* table, const char* path) {
    if (KELVO_REFUSED()) return kServiceRefused;
    record_call("platform_debug_register ", path);
    return platform().debug_register(table, path);
}

kelvo_status platform_debug_cleanup(const char* path) {
    if (KELVO_REFUSED()) return kServiceRefused;
    record_call("platform_debug_cleanup ", path);
    return platform().debug_cleanup(path);
}

void debug_print(const char* format, ...) {
    const Pause pause;
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    const std::lock_guard lock(platform().mutex);
    platform().debug_lines.push_back(text);
}

void platform_trace_record(void* /*trace*/, const char* format, ...) {
    const Pause pause;
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    const std::lock_guard lock(platform().mutex);
    platform().trace_records.push_back(text);
}

void thread_mark_mutex_block(pthread_mutex_t* mutex, const char* where, uint32_t line) {
    record_call("thread_mark_mutex_block ", where);
    platform().mark_mutex_block(mutex, where, line);
}

void thread_unmark_mutex_block(void) {
    record_call("thread_unmark_mutex_block");
}
int platform_dup(int descriptor) {
    if (KELVO_REFUSED()) return -1;
    return platform().dup(descriptor);
}
void clock_get_fast_timespec(timespec* now) {
    if (KELVO_REFUSED()) return;
    platform().fast_clock(now);
}
void* alloc_with_caller(size_t size, const void* caller) {
    if (KELVO_REFUSED()) return nullptr;
    return platform().alloc(size, caller);
}

char* buf_strncpy(char* destination, const char* source, size_t size) {
    std::snprintf(destination, size, "%s", source);
    return destination;
}

kelvo_status replica_build_msg_headers(uint32_t size, uint32_t replica_arg, uint8_t** buffer) {
    if (KELVO_REFUSED()) return kServiceRefused;
    record_call("replica_build_msg_headers ", size, " ", replica_arg);
    return platform().build_replica(size, replica_arg, buffer);
}

kelvo_status record_payload_offset(const void* record, uint32_t* offset) {
    if (KELVO_REFUSED()) return kServiceRefused;
    return platform().payload_offset(record, offset);
}

kelvo_status packed_tuple_unpack(const void* tuple, const char* format, ...) {
    if (KELVO_REFUSED()) return kServiceRefused;
    record_call("packed_tuple_unpack ", format);
    if (const kelvo_status status = platform().unpack_tuple()) return status;
    const auto& texts = *static_cast<const kelvo::test::PackedTuple*>(tuple);
    va_list arguments;
    va_start(arguments, format);
    for (std::size_t i = 0; i < std::strlen(format) / 2; ++i) {
        std::snprintf(va_arg(arguments, char*), 256, "%s",
                      i < texts.size() ? texts[i].c_str() : "");
    }
    va_end(arguments);
    return 0;
}

// The scripted tree is an unbalanced chain: each entry's `right` is its successor. It keeps the
// contract of the service and nothing more.

namespace {

/// The order of two entries. An order that is not the same seen from the other side is none.
std::uint32_t order(const ordered_tree_node* first, const ordered_tree_node* second,
                    ordered_tree_compare compare) {
    const std::uint32_t answer = compare(first, second);
    if (answer > 2 || compare(second, first) != 2 - answer) std::abort();
    return answer;
}

}  // namespace

ordered_tree_node* ordered_tree_search(ordered_tree_node* root, const ordered_tree_node* probe,
                                       ordered_tree_compare compare) {
    ordered_tree_node* at = root;
    while (at != nullptr && order(at, probe, compare) == 0) at = at->right;
    return at != nullptr && order(at, probe, compare) == 1 ? at : nullptr;
}

ordered_tree_node* ordered_tree_insert(ordered_tree_node** root, ordered_tree_node* entry,
                                       ordered_tree_compare compare) {
    ordered_tree_node** link = root;
    while (*link != nullptr && order(*link, entry, compare) == 0) link = &(*link)->right;
    if (*link != nullptr && order(*link, entry, compare) == 1) return *link;
    entry->right = *link;
    *link = entry;
    return nullptr;
}

ordered_tree_node* ordered_tree_delete(ordered_tree_node** root, const ordered_tree_node* probe,
                                       ordered_tree_compare compare) {
    if (platform().tree_is_broken) return nullptr;
    ordered_tree_node** link = root;
    while (*link != nullptr && order(*link, probe, compare) == 0) link = &(*link)->right;
    ordered_tree_node* const found = *link;
    if (found == nullptr || order(found, probe, compare) != 1) return nullptr;
    *link = found->right;
    return found;
}
