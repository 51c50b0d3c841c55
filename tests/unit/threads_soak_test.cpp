// SPDX-License-Identifier: Apache-2.0
//
// A million calls of everything that threads may call at once, from as many threads as the trace
// has room for, each call with an answer that is known. For the thread sanitizer, and for log and
// trace lines that must be whole.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <regex>
#include <sstream>
#include <thread>

#include "kelvo_common_msg_guard.h"
#include "kelvo_common_msg_item.h"
#include "kelvo_error_string.h"
#include "kelvo_hash_table.h"
#include "kelvo_logfile.h"
#include "kelvo_stack.h"
#include "kelvo_string.h"
#include "kelvo_trace.h"
#include "kelvo_util_compare.h"
#include "kelvo_util_path.h"
#include "kelvo_vector.h"
#include "support/child.h"
#include "support/operation_messages.h"
#include "support/resolver_fixture.h"

namespace {

using namespace kelvo::test;

constexpr std::uint32_t kThreads = KELVO_TRACE_MAX_THREADS;
constexpr std::uint32_t kCalls = 1'000'000 / kThreads;

/// What all threads share.
struct Shared {
    Bytes request = item_request(Order::host, KELVO_VALUE_INT4, "cfg/gl/a", {1, 2, 3, 4});
    kelvo_path_pattern* pattern = nullptr;
    std::mutex mutex;  ///< of the vector and of the log file
    kelvo_vector* vector = nullptr;

    Shared() {
        (void)kelvo_util_path_regcomp("cfg/a[0-9]*/x", &pattern, 0);
        (void)vector_init(4, &vector);
    }
    ~Shared() {
        kelvo_util_path_regfree(pattern);
        (void)vector_shutdown(vector);
    }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
};

/// What a thread has to itself.
struct Own {
    Shared& shared;
    std::uint32_t thread;
    std::uint32_t number = 0;  ///< of the call
    kelvo_stack* stack = nullptr;
    Bytes foreign = item_request(Order::network, KELVO_VALUE_INT4, "cfg/gl/a", {1, 2, 3, 4});
    Bytes received = foreign;

    Own(Shared& all, std::uint32_t id) : shared(all), thread(id) { (void)stack_init(id, &stack); }
    ~Own() { (void)stack_shutdown(stack); }
    Own(const Own&) = delete;
    Own& operator=(const Own&) = delete;
};

// ------------------------------------------------------------------------------------------------
// The calls. Each says whether the answer was right.
// ------------------------------------------------------------------------------------------------

struct Item {
    char* path = nullptr;
    std::uint32_t type = 0;
    void* value = nullptr;
    std::uint32_t length = 0;
    std::uint32_t argument = 0;

    [[nodiscard]] bool is_right() const {
        return std::strcmp(path, "cfg/gl/a") == 0 && type == KELVO_VALUE_INT4 && length == 4 &&
               argument == 77;
    }
};

/// Readers in host order only read, so all read one message.
bool interprets(Own& own) {
    Item item;
    Bytes& message = own.shared.request;
    return kelvo_common_msg_set_interpret(message.data(), static_cast<std::int32_t>(message.size()),
                                          &item.path, &item.type, &item.value, &item.length,
                                          &item.argument) == 0 &&
           item.is_right();
}
bool converts(Own& own) {
    Item item;
    std::memcpy(own.received.data(), own.foreign.data(), own.foreign.size());
    return kelvo_common_msg_set_interpret_endian_ntoh(
               own.received.data(), static_cast<std::int32_t>(own.received.size()), &item.path,
               &item.type, &item.value, &item.length, &item.argument) == 0 &&
           item.is_right();
}
bool is_guarded(Own& own) {
    return kelvo_common_msg_guard(KELVO_OPERATION_SET_NTOH, own.foreign.data(),
                                  static_cast<std::uint32_t>(own.foreign.size())) == 0;
}
bool looks_up(Own& own) {
    if (own.number % 2 == 0) return look_up("cfg/gl/x") == owner(kSharedSc);
    return look_up("cfg/node/act/10") == owner(kLocal);
}
bool looks_up_interface(Own& /*own*/) {
    return look_up("cfg/if/act/Gi0") == owner(kLocal);
}
bool looks_up_channel(Own& /*own*/) {
    char* channel = nullptr;
    if (kelvo_nr_lookup_chan("cfg/node/act/20", 0, &channel, nullptr, nullptr) != 0) return false;
    const bool right = std::strcmp(channel, "/dev/kelvosvr-local.d/node20") == 0;
    std::free(channel);
    return right;
}
bool encodes_and_decodes(Own& /*own*/) {
    char* encoded = nullptr;
    char* decoded = nullptr;
    std::uint32_t chars = 0;
    bool right = kelvo_string_encode("eth0/1 up", &encoded, &chars) == 0 && chars == 11;
    right = right && kelvo_string_decode(encoded, &decoded, &chars) == 0 &&
            std::strcmp(decoded, "eth0/1 up") == 0;
    std::free(encoded);
    std::free(decoded);
    return right;
}
bool orders_paths(Own& /*own*/) {
    std::int32_t order = 7;
    return kelvo_util_compare_paths("cfg/gl/a", "cfg/gl/b/c", &order) == 0 && order == -1;
}
/// One pattern matches in all threads.
bool matches_pattern(Own& own) {
    std::uint32_t matches = 7;
    const char* const path = own.number % 2 == 0 ? "cfg/a12/x" : "cfg/b12/x";
    return kelvo_util_path_regexec(path, own.shared.pattern, &matches) == 0 &&
           matches == (own.number % 2 == 0 ? 1U : 0U);
}
bool compiles_pattern(Own& /*own*/) {
    std::uint32_t matches = 7;
    return kelvo_util_node_within_regexp("cfg/ab", "cfg/a[a-c]+", &matches, 0) == 0 && matches == 1;
}
bool names_node(Own& own) {
    const std::string expected = "0_1_" + std::to_string(own.thread);
    return kelvo_util_nodeid_to_str(0x100 + own.thread) == expected;
}
bool explains(Own& /*own*/) {
    char* text = nullptr;
    if (kelvo_util_prepare_error_string("context", 5, &text) != 0) return false;
    const bool right = std::strcmp(text, "error: context") == 0;
    std::free(text);
    return right;
}
/// A container belongs to one thread ...
bool pushes_and_pops(Own& own) {
    void* value = nullptr;
    std::uint64_t size = 0;
    if (stack_push(own.stack, &own.number, sizeof own.number) != 0) return false;
    if (stack_pop(own.stack, &value, &size) != 0) return false;
    const bool right = size == 4 && std::memcmp(value, &own.number, 4) == 0;
    std::free(value);
    return right;
}
/// ... or is guarded by its owner.
bool shares_vector(Own& own) {
    const std::lock_guard lock(own.shared.mutex);
    std::uint32_t index = 0;
    void* value = nullptr;
    std::uint32_t size = 0;
    return vector_insert(own.shared.vector, &own.number, sizeof own.number, &index) == 0 &&
           vector_find(own.shared.vector, index, &value, &size) == 0 &&
           std::memcmp(value, &own.number, size) == 0 &&
           vector_delete(own.shared.vector, index) == 0;
}
/// Lines of the log file are whole as long as no two are written at a time.
bool logs(Own& own) {
    const std::lock_guard lock(own.shared.mutex);
    kelvo_logfile("soak", "thread %u call %u of %u", own.thread, own.number, kCalls);
    return true;
}
/// Lines of the trace always are.
bool traces(Own& own) {
    return trace(KELVO_TRACE_KIND_NOTE, "soak", own.thread, "thread %u call %u of %u", own.thread,
                 own.number, kCalls) == 0;
}

using Call = bool (*)(Own&);
constexpr Call kMix[] = {interprets,
                         converts,
                         is_guarded,
                         looks_up,
                         looks_up_interface,
                         looks_up_channel,
                         encodes_and_decodes,
                         orders_paths,
                         matches_pattern,
                         compiles_pattern,
                         names_node,
                         explains,
                         pushes_and_pops,
                         shares_vector,
                         logs,
                         traces};

/// One thread's calls. @return how many answers were wrong
std::uint32_t run(Shared& shared, std::uint32_t thread) {
    Own own(shared, thread);
    std::uint32_t wrong = 0;
    for (; own.number < kCalls; ++own.number) {
        // Threads begin at different calls, so that unlike ones meet.
        if (!kMix[(own.number + thread) % std::size(kMix)](own)) ++wrong;
    }
    return wrong;
}

/// Switches the resolver's debug lines on and off, as the platform does, until told to stop.
void switch_debug_flag(const std::atomic<bool>& stop) {
    std::uint32_t& enabled = kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled;
    while (!stop) {
        __atomic_store_n(&enabled, 1U, __ATOMIC_RELAXED);
        std::this_thread::yield();
        __atomic_store_n(&enabled, 0U, __ATOMIC_RELAXED);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

/// How often each message stands in a file, all of whose lines must be like `line`; what matches
/// its group is the message.
std::map<std::string, std::uint32_t> messages_in(const std::string& path, const std::regex& line) {
    std::map<std::string, std::uint32_t> messages;
    std::istringstream file(contents(path));
    for (std::string text; std::getline(file, text);) {
        std::smatch parts;
        if (std::regex_match(text, parts, line)) {
            ++messages[parts[1]];
        } else {
            ADD_FAILURE() << "not a whole line: " << text;
        }
    }
    return messages;
}

/// Every line that the threads have written, once.
void expect_all(const std::map<std::string, std::uint32_t>& messages, Call call) {
    std::size_t expected = 0;
    for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
        for (std::uint32_t number = 0; number < kCalls; ++number) {
            if (kMix[(number + thread) % std::size(kMix)] != call) continue;
            ++expected;
            const std::string message = "thread " + std::to_string(thread) + " call " +
                                        std::to_string(number) + " of " + std::to_string(kCalls);
            const auto found = messages.find(message);
            if (found == messages.end() || found->second != 1) {
                ADD_FAILURE() << message << " is not there once";
                return;
            }
        }
    }
    EXPECT_EQ(messages.size(), expected);
}

using ThreadsSoak = Resolver;

TEST_F(ThreadsSoak, AMillionCallsAreAnsweredAndLinesAreWhole) {
    const ScratchDirectory scratch;
    const std::string log = scratch.path("log");
    const std::string traced = scratch.path("trace");
    platform().dup = [&traced](int) { return open(traced.c_str(), O_RDWR | O_CREAT, 0600); };
    kelvo_init_logfile(log.c_str());
    start();

    Shared shared;
    std::atomic<std::uint32_t> wrong = 0;
    std::atomic<bool> stop = false;
    std::thread switcher([&stop] { switch_debug_flag(stop); });
    std::vector<std::thread> threads;
    for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] { wrong += run(shared, thread); });
    }
    for (std::thread& thread : threads) thread.join();
    stop = true;
    switcher.join();

    EXPECT_EQ(wrong, 0U);
    EXPECT_TRUE(platform().log.empty());
    EXPECT_FALSE(platform().debug_lines.empty());
    expect_all(messages_in(log, std::regex(R"([\d/]+ [\d:.]+ 211:\d+ soak:(thread .*))")), logs);

    auto lines = messages_in(
        traced,
        std::regex(R"((?:\[[\d:]+\]\[0x00000010\]\[\d+\]\[\d+\] +soak #\d{5}  |)"
                   R"(TRACE_INFO: \[ *\d+\|\d+\] )(thread .*|\*{4} started tracing \*{4}))"));
    EXPECT_EQ(lines["**** started tracing ****"], kThreads);
    lines.erase("**** started tracing ****");
    expect_all(lines, traces);
}

}  // namespace
