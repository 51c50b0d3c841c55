// SPDX-License-Identifier: Apache-2.0
//
// The resolver on a platform that answers anything. An input is two bytes that choose process,
// options and card, two that choose the platform's answers, the prefix (a line) and the path.
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "fuzz/fuzz.h"
#include "kelvo_debug.h"
#include "kelvo_node_resolver.h"
#include "kelvo_status.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

using namespace kelvo::fuzz;
using kelvo::test::platform;

namespace {
// While a lookup runs, its thread does not wait; the fuzzer's own threads do.
thread_local constinit bool never_waits = false;
}  // namespace

extern "C" unsigned sleep(unsigned seconds) {
    if (never_waits) return 0;
    timespec left{static_cast<time_t>(seconds), 0};
    while (nanosleep(&left, &left) != 0) {
    }
    return 0;
}

// No allocation fails here, so there is nothing to pause.
kelvo::test::FailingMemory::Pause::Pause() : was_armed_(false) {}
kelvo::test::FailingMemory::Pause::~Pause() = default;

namespace {

constexpr std::size_t kMostChars = 256;
constexpr std::uint32_t kThisNode = 0x10;
constexpr std::uint32_t kUntouched = 77;
constexpr std::uint32_t kAllOptions = 31;

constexpr kelvo_status kStatuses[] = {0, 0, 0, 0, 0, 0x40000001, 0x80000001, 0xC0818200};
constexpr std::uint32_t kNodes[] = {kThisNode, 0x110, 0, KELVO_NODEID_INVALID};

/// What the platform answers while an input runs.
struct Answers {
    std::uint32_t card_type;
    std::uint32_t is_single_node;
    std::uint32_t node_type;
    kelvo_status parsed;
    kelvo_status processor;
    kelvo_status located;
    kelvo_status reported;
    kelvo_status named;
    std::uint32_t node;
    unsigned failed_binds;

    void choose(std::uint8_t card, std::uint32_t bits) {
        card_type = card & 7;
        is_single_node = card >> 3 & 3;
        node_type = card >> 5 & 3;
        parsed = kStatuses[bits & 7];
        processor = kStatuses[bits >> 3 & 7];
        located = kStatuses[bits >> 6 & 7];
        reported = kStatuses[bits >> 9 & 7];
        named = (bits >> 12 & 1) != 0 ? 0x40000001 : 0;
        node = kNodes[bits >> 13 & 3];
        failed_binds = bits >> 15;
    }
} answers;

/// Makes the platform give these answers.
void script_platform() {
    kelvo::test::Platform& services = platform();
    services.type = [] { return answers.card_type; };
    services.is_single_node = [] { return answers.is_single_node; };
    services.node_type = [](std::uint32_t) { return answers.node_type; };
    services.parse_nodeid = [](const char*, std::uint32_t* nodeid) {
        if (answers.parsed == 0) *nodeid = answers.node;
        return answers.parsed;
    };
    services.to_cpu_nodeid = [](std::uint32_t nodeid, std::uint32_t* cpu) {
        if (answers.processor == 0) *cpu = nodeid;
        return answers.processor;
    };
    services.locate = [](void*, const char* name, std::uint32_t* nodeid, kelvo_status* reported) {
        KELVO_HOLDS(std::strlen(name) <= 63);
        *nodeid = answers.node;
        *reported = answers.reported;
        return answers.located;
    };
    services.bind_ifdb = [](void** connection) -> kelvo_status {
        static int database;
        if (answers.failed_binds != 0) {
            --answers.failed_binds;
            return 0x80000001;
        }
        *connection = &database;
        return 0;
    };
    services.node_name = [](std::uint32_t, char* buffer, std::size_t size) -> kelvo_status {
        std::memset(buffer, 'n', size - 1);
        buffer[size - 1] = '\0';
        return answers.named;
    };
}

/// All that a lookup gives back.
struct Found {
    kelvo_status status;
    kelvo_nr_answer answer;
    std::uint32_t ambiguous;

    friend bool operator==(const Found& a, const Found& b) {
        return a.status == b.status && a.answer.node_type == b.answer.node_type &&
               a.answer.node_id == b.answer.node_id && a.answer.versioned == b.answer.versioned &&
               a.answer.server_type == b.answer.server_type && a.ambiguous == b.ambiguous;
    }
};

constexpr Found refused(kelvo_status status) {
    return {status, {KELVO_NODE_ILLEGAL, KELVO_NODEID_INVALID, 0, 0}, kUntouched};
}

Found look_up(const char* prefix, const char* path, std::uint32_t options) {
    Found found{0, {1, 2, 3, 4}, kUntouched};
    found.status = kelvo_nr_lookup_node(prefix, path, options, &found.answer, &found.ambiguous);
    if (found.status != 0) {
        KELVO_HOLDS(found == refused(found.status));
    } else {
        KELVO_HOLDS(found.answer.versioned <= 1 && found.ambiguous <= 1);
        KELVO_HOLDS(found.answer.node_type != KELVO_NODE_ILLEGAL);
        KELVO_HOLDS(found.answer.server_type <= KELVO_SERVER_MAX);
    }
    return found;
}

/// The path as one text: with what comes before it, and what after.
class Joined {
  public:
    Joined(const char* first, const char* second) {
        const std::size_t chars = std::strlen(first);
        std::memcpy(text_, first, chars);
        std::memcpy(text_ + chars, second, std::strlen(second) + 1);
    }
    operator const char*() const { return text_; }

  private:
    char text_[2 * kMostChars + 16];
};

bool begins_wrongly(const char* prefix, const char* path) {
    return (*prefix == '/' || *path == '/') && std::strlen(prefix) + std::strlen(path) > 1;
}

/// A "/" at the end is added where there is none.
void check_ending(const Joined& joined, std::uint32_t options, const Found& found) {
    const std::size_t chars = std::strlen(joined);
    if (chars == 0 || joined[chars - 1] == '/') return;
    KELVO_HOLDS(look_up(joined, "", options) == found);
    KELVO_HOLDS(look_up("", Joined(joined, "/"), options) == found);
}

/// Only the versions of the answer depend on this option.
void check_unversioned(const Joined& joined, std::uint32_t options, Found found) {
    const Found without = look_up("", joined, options | KELVO_NR_OPT_UNVERSIONED);
    found.answer.versioned = 0;
    KELVO_HOLDS(without == found);
}

/// A path on another logical router has the owner that it has here, if that is a system-wide one.
void check_remote(const Joined& joined, std::uint32_t options, Found found) {
    if (*joined == '\0' || *joined == '/' || *joined == 'r') return;
    const Found remote = look_up("", Joined("remote/12/", joined), options);
    const bool is_systemwide = found.answer.node_type == KELVO_NODE_SHARED ||
                               found.answer.node_type == KELVO_NODE_ADMIN ||
                               found.answer.node_type == KELVO_NODE_CCV;
    if (found.status == 0 && !is_systemwide) found = refused(KELVO_ERR_BAD_PATH);
    if (found.status == 0) found.answer.node_id = 12;
    // A remote path never begins with what only the text before it decides.
    if (std::strncmp(joined, "i", 1) == 0 || std::strncmp(joined, "admin/i", 7) == 0) {
        KELVO_HOLDS(remote.status == found.status);
    } else {
        KELVO_HOLDS(remote == found);
    }
}

void check_channel(const Joined& joined, std::uint32_t options, const Found& found) {
    char untouched[] = "untouched";
    char* channel = untouched;
    std::uint32_t several = kUntouched;
    std::int32_t node_type = 77;
    const kelvo_status status =
        kelvo_nr_lookup_chan(joined, options, &channel, &several, &node_type);
    if (status != 0) {
        KELVO_HOLDS(channel == untouched && several == kUntouched && node_type == 77);
        KELVO_HOLDS(found.status == 0
                        ? status == KELVO_ERR_BAD_NODE_TYPE || status == KELVO_ERR_NODE_NAME ||
                              status == KELVO_ERR_NAME_TOO_LONG
                        : status == found.status);
        return;
    }
    KELVO_HOLDS(found.status == 0 && node_type == found.answer.node_type);
    KELVO_HOLDS(several == (node_type < 0 ? 1 : found.ambiguous));
    KELVO_HOLDS((node_type == KELVO_NODE_PHYSICAL) == (*channel != '\0'));
    if (*channel == '\0') return;
    KELVO_HOLDS(std::strncmp(channel, "/dev/kelvosvr-local", 19) == 0);
    std::free(channel);
}

/// Names of processes that the resolver knows, and of others.
char* process_name(std::uint8_t number) {
    static char names[][12] = {"client", "client", "kelvo_mc", "kelvoshow"};
    return names[number % 4];
}

void start_process(std::uint8_t choice) {
    program_invocation_short_name = process_name(choice);
    static int trace;
    const bool traces = (choice & 4) != 0;
    KELVO_HOLDS(kelvo_nr_init(0, kThisNode, traces ? &trace : nullptr) == 0);
    const std::uint32_t shows_lines = choice >= 240 ? 1 : 0;  // seldom, since lines are slow
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = shows_lines;
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER_DFA].enabled = shows_lines;
}

void forget_calls() {
    platform().log.clear();
    platform().debug_lines.clear();
    platform().trace_records.clear();
    platform().calls.clear();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Block<kMostChars> blocks[2];
    [[maybe_unused]] static const bool scripted = (script_platform(), true);
    if (size >= kMostChars) return -1;
    Input in(data, size);
    const std::uint8_t process = in.byte();
    const std::uint32_t options = in.byte() & kAllOptions;
    const std::uint8_t card = in.byte();
    const std::uint32_t low = in.byte();
    answers.choose(card, low | static_cast<std::uint32_t>(in.byte()) << 8);
    const char* const prefix = blocks[0].hold_text(in.until('\n'));
    const char* const path = blocks[1].hold_text(in.bytes(kMostChars));

    never_waits = true;
    start_process(process);
    const Joined joined(prefix, path);
    const Found found = look_up("", joined, options);
    const bool is_wrong = begins_wrongly(prefix, path);
    KELVO_HOLDS(look_up(prefix, path, options) == (is_wrong ? refused(KELVO_ERR_BAD_PATH) : found));
    check_ending(joined, options, found);
    check_unversioned(joined, options, found);
    check_remote(joined, options, found);
    check_channel(joined, options, found);
    (void)kelvo_nr_shutdown();
    forget_calls();
    return 0;
}
