// SPDX-License-Identifier: Apache-2.0
//
// A platform that does what a test tells it to. Linking this object into a test program defines
// every platform service there, so the dynamic linker binds the library to these instead of the
// host platform. Answers are set per service; calls that matter are recorded.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "kelvo_platform.h"

namespace kelvo::test {

/// One line of the system log: the record, the severity that the call passed, the formatted text.
struct Logged {
    const qor_msg_rec* record;
    int severity;
    std::string text;
};

struct Platform {
    // What was called.
    std::vector<Logged> log;
    std::vector<std::string> debug_lines;
    std::vector<std::string> trace_records;
    std::vector<std::string>
        calls;  ///< one line per call of the process, thread and debug services

    // What the services answer. Every function may be replaced.
    std::function<const char*(kelvo_status)> strerror;
    std::function<kelvo_status(kelvo_status, errcode_strings*)> getstrings;
    std::function<kelvo_status(std::uint32_t*)> my_nodeid;
    std::function<std::uint32_t()> type;
    std::function<std::uint32_t()> is_single_node;
    std::function<std::uint32_t(std::uint32_t)> node_type;
    std::function<kelvo_status(std::uint32_t, char*, std::size_t)> node_name;
    std::function<kelvo_status(const char*, std::uint32_t*)> parse_nodeid;
    std::function<kelvo_status(std::uint32_t, char*, std::size_t)> format_nodeid;
    std::function<kelvo_status(std::uint32_t, std::uint32_t*)> to_cpu_nodeid;
    std::function<kelvo_status(void**)> bind_ifdb;
    std::function<kelvo_status(void*, const char*, std::uint32_t*, kelvo_status*)> locate;
    std::function<std::uint32_t()> job_id;
    std::function<kelvo_status(const char*, const char*, const procmgr_spawn_params*)> spawn_script;
    std::function<int(const char*, char* const*, const int*)> spawn;
    std::function<const char*(std::uint32_t)> boot_media;
    std::function<kelvo_status(platform_debug_context*, platform_debug_context*, std::uint32_t,
                               std::uint32_t, const char*, std::uint32_t)>
        debug_init_event;
    std::function<kelvo_status(platform_debug_context*, const char*)> debug_register;
    std::function<kelvo_status(const char*)> debug_cleanup;
    std::function<int(int)> dup;
    std::function<void(timespec*)> fast_clock;
    std::function<void(pthread_mutex_t*, const char*, std::uint32_t)> mark_mutex_block;
    std::function<void*(std::size_t, const void*)> alloc;
    std::function<kelvo_status(std::uint32_t, std::uint32_t, std::uint8_t**)> build_replica;
    std::function<kelvo_status(const void*, std::uint32_t*)> payload_offset;
    /// Packed tuples of tests are plain arrays of texts; see packed_tuple().
    std::function<kelvo_status()> unpack_tuple;

    /// While set, the ordered tree finds nothing to delete.
    bool tree_is_broken = false;

    Platform() { reset(); }

    /// Forgets all records and restores the default answers: node 0x10, a route processor of a
    /// system of several nodes, every call succeeding.
    void reset();

    /// The texts logged so far, for comparison in one go.
    [[nodiscard]] std::vector<std::string> log_texts() const;

    std::mutex mutex;  ///< held while a record is added
};

/// The platform of this process.
Platform& platform();

/// What a refused service answers where it answers with a status: a permanent one of no area.
inline constexpr kelvo_status kServiceRefused = 0x40000ABC;

/// While one of these exists, this thread's calls of services that can fail are counted, and those
/// asked for do nothing but fail: with kServiceRefused, a null pointer or -1, and errno EAGAIN.
class FailingServices {
  public:
    static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

    /// Counts only.
    FailingServices() : FailingServices(kNever, kNever) {}

    /// The calls from number `first` on fail, `count` of them (counted from 0).
    explicit FailingServices(std::size_t first, std::size_t count = 1);
    ~FailingServices();
    FailingServices(const FailingServices&) = delete;
    FailingServices& operator=(const FailingServices&) = delete;

    /// The services called so far, in their order, the failed ones included.
    [[nodiscard]] static std::vector<std::string> called();
};

/// What the scripted packed_tuple_unpack() takes as a tuple.
using PackedTuple = std::vector<std::string>;

/// The scripted ordered tree keeps entries in a plain chain, in order; see scripted_platform.cpp.

}  // namespace kelvo::test
