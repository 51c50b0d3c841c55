// SPDX-License-Identifier: Apache-2.0
//
// Every failure in turn: the node resolver, debug flags, log file, trace, process utilities.
#include <dlfcn.h>

#include <cstring>
#include <set>
#include <sstream>

#include "kelvo_debug.h"
#include "kelvo_logfile.h"
#include "kelvo_process.h"
#include "kelvo_trace.h"
#include "support/child.h"
#include "support/every_failure.h"
#include "support/resolver_fixture.h"
#include "support/system_calls.h"

namespace {

/// The files that the library has opened, which it does not close.
std::set<std::FILE*> open_files;

}  // namespace

extern "C" std::FILE* fopen(const char* path, const char* mode) {
    auto* const file =
        kelvo::test::c_library<std::FILE*(const char*, const char*)>("fopen")(path, mode);
    const kelvo::test::FailingMemory::Pause pause;
    const std::string caller = kelvo::test::file_of(__builtin_return_address(0));
    if (file != nullptr && caller.starts_with("libkelvoutils")) open_files.insert(file);
    return file;
}

using namespace kelvo::test;

namespace {

const std::string kRefusal = "0x40000abc (text of 0x40000abc)";

// ------------------------------------------------------------------------------------------------
// Resolver
// ------------------------------------------------------------------------------------------------

/// The resolver as a process of some name has initialised it.
struct Resolving {
    kelvo_nr_answer answer = {1, 2, 3, 4};
    std::uint32_t ambiguous = 4711;
    std::string path;
    char* channel = TextOut::untouched;

    explicit Resolving(std::string to_resolve) : path(std::move(to_resolve)) {
        (void)kelvo_nr_init(0, 0, nullptr);
    }
    ~Resolving() {
        if (channel != TextOut::untouched) std::free(channel);
        (void)kelvo_nr_shutdown();
    }
    Resolving(const Resolving&) = delete;
    Resolving& operator=(const Resolving&) = delete;
    [[nodiscard]] std::string seen() const {
        return show(static_cast<std::uint32_t>(answer.node_type)) + show(answer.node_id) +
               show(answer.versioned) + show(answer.server_type) + show(ambiguous) + show(channel);
    }
};
kelvo_status look_up_node(Resolving& a) {
    return kelvo_nr_lookup_node("", a.path.c_str(), 0, &a.answer, &a.ambiguous);
}
kelvo_status look_up_channel(Resolving& a) {
    return kelvo_nr_lookup_chan(a.path.c_str(), 0, &a.channel, nullptr, nullptr);
}
struct LongPath : Resolving {
    LongPath() : Resolving("cfg/gl/" + std::string(600, 'a')) {}
};
struct ThisNode : Resolving {
    ThisNode() : Resolving("cfg/node/act/10") {}
};
struct OtherNode : Resolving {
    OtherNode() : Resolving("cfg/node/act/0_0_32") {}
};
struct Interface : Resolving {
    Interface() : Resolving("cfg/if/act/Gi0") {}
};
/// Without the key for connections, a thread binds anew for each lookup.
struct InterfaceWithoutKey : Interface {
    InterfaceWithoutKey() { (void)kelvo_nr_shutdown(); }
};

/// A database that answers the second question only.
struct SlowInterface : Interface {
    SlowInterface() {
        static int questions;
        questions = 0;
        platform().locate = [](void*, const char*, std::uint32_t* nodeid,
                               kelvo_status* reported) -> kelvo_status {
            *reported = 0;
            if (++questions == 1) return KELVO_STATUS_CLASS_TRANSIENT;
            *nodeid = kThisNode;
            return 0;
        };
    }
};

/// A failed lookup leaves the illegal answer.
Expected illegal(kelvo_status status) {
    Expected expected = refused_with(status);
    expected.seen = "3294967297 4294967295 0 0 4711 \"untouched\" ";
    return expected;
}
Expected illegal_without_memory(const Fault& /*fault*/) {
    return illegal(KELVO_ERR_NO_MEMORY);
}
std::vector<std::string> node_log(const Fault& fault) {
    if (fault.name == "nodeid_parse") {
        return {"Failed to parse node ('0_0_32' from 'cfg/node/act/0_0_32/') (text of 0x40000abc)"};
    }
    return {"Failed to extract card nodeid: rc " + kRefusal};
}
Expected no_owner(const Fault& fault) {
    return illegal(KELVO_ERR_NO_OWNER).logs(node_log(fault));
}
Expected no_interface(const Fault& fault) {
    if (fault.name == "ifdb_bind") {
        if (!fault.once) return dies("status == 0");
        return leaves("0 16 1 0 0 \"untouched\" ");  // asked once more
    }
    return illegal(KELVO_ERR_NO_OWNER)
        .logs({"Unable to parse node from interface name ('Gi0' from 'cfg/if/act/Gi0/') (text of "
               "0x40000abc)"});
}
/// Without memory for the name the process stops. The C library may have none for its report then.
Expected no_channel(const Fault& fault) {
    if (fault.is_memory()) {
        return dies(fault.once ? "channel_name\\[0\\] != '.0'" : "Unexpected error");
    }
    if (fault.name == "platform_node_name") return refused_with(KELVO_ERR_NODE_NAME);
    return refused_with(KELVO_ERR_NO_OWNER).logs(node_log(fault));
}

/// The initialisation of a process of this name.
template <const char* name>
struct Starting {
    const ProcessName process{name};
    Starting() { std::memset(kelvo_cmn_debug_flags, 0, sizeof kelvo_cmn_debug_flags); }
    ~Starting() { (void)kelvo_nr_shutdown(); }
    Starting(const Starting&) = delete;
    Starting& operator=(const Starting&) = delete;
    [[nodiscard]] std::string seen() const { return ""; }
};
constexpr char kServer[] = "kelvosvr";
constexpr char kManagement[] = "kelvo_mc";

template <const char* name>
kelvo_status start(Starting<name>& /*process*/) {
    return kelvo_nr_init(0, 0, nullptr);
}

std::string debug_log(const Fault& fault) {
    return (fault.name == "platform_debug_register" ? "Failed to register for debugging: rc "
                                                    : "Failed to initialise debug event: rc ") +
           kRefusal;
}
Expected not_started(const Fault& fault) {
    if (fault.name == "platform_my_nodeid") {
        std::vector log = {"Failed to get nodeid : rc " + kRefusal};
        if (!fault.once && program_invocation_short_name == std::string(kManagement)) {
            log.push_back("Failed to initialise debug event: rc " + kRefusal);
        }
        return refused_with(kServiceRefused).logs(log);
    }
    return leaves("").logs({debug_log(fault)});  // lookups do not depend on the debug flags
}

// ------------------------------------------------------------------------------------------------
// Debug flags, process utilities
// ------------------------------------------------------------------------------------------------

struct Nothing {
    [[nodiscard]] static std::string seen() { return ""; }
};
kelvo_status debug_init(Nothing& /*nothing*/) {
    return kelvo_common_debug_init();
}
Expected debug_not_ready(const Fault& fault) {
    return refused_with(KELVO_ERR_OS_CALL).logs({debug_log(fault)});
}
kelvo_status debug_shutdown(Nothing& /*nothing*/) {
    return kelvo_common_debug_shutdown();
}
Expected debug_stays(const Fault& fault) {
    return refused_with(KELVO_ERR_DEBUG_INIT).logs({debug_log(fault)});
}
kelvo_status collect_showtech(Nothing& /*nothing*/) {
    return kelvo_util_collect_showtech(0);
}

struct Elapsed {
    std::int64_t time[2] = {7, 7};
    [[nodiscard]] std::string seen() const {
        return std::to_string(time[0]) + "." + std::to_string(time[1]);
    }
};
kelvo_status elapsed_time(Elapsed& a) {
    kelvo_get_elapsed_time_since_boot(a.time);
    return 0;
}
Expected no_time(const Fault& /*fault*/) {
    return leaves("0.0");
}

// ------------------------------------------------------------------------------------------------
// Log file
// ------------------------------------------------------------------------------------------------

/// A process without a log file: the one that an earlier attempt has opened is forgotten, as on a
/// card that gets none. In the end there is a line buffer again, which the next attempt gives back.
struct LogFile {
    static inline const ScratchDirectory scratch;
    std::string path = scratch.write("log", "an old line\n");

    LogFile() { forget(); }
    ~LogFile() {
        forget();
        kelvo_init_logfile(path.c_str());
        forget();
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    static void forget() {
        platform().type = [] { return std::uint32_t{PLATFORM_TYPE_LOCAL_ONLY}; };
        kelvo_init_logfile("");
        platform().type = [] { return std::uint32_t{PLATFORM_TYPE_ROUTE_PROCESSOR}; };
        for (std::FILE* const file : open_files) (void)std::fclose(file);
        const FailingMemory::Pause pause;
        open_files.clear();
    }
    /// Whether a line that is written now comes into the file.
    [[nodiscard]] std::string seen() const {
        const std::size_t before = contents(path).size();
        kelvo_logfile("tag", "message");
        return contents(path).size() > before ? "written" : "dropped";
    }
};
kelvo_status open_log(LogFile& a) {
    kelvo_init_logfile(a.path.c_str());
    return 0;
}
/// The C library asks for the file and for its buffer, which it can do without; then the library
/// for its line. A file that is open stays without a line.
Expected no_line_or_file(const Fault& fault) {
    if (fault.number == 0) {
        return refused_with(0).logs({"Failed to open log file " + LogFile::scratch.path("log")});
    }
    return leaves(fault.number == 1 && fault.once ? "written" : "dropped");
}

const Operation kOperations[] = {
    row<LongPath>("kelvo_nr_lookup_node", look_up_node, illegal_without_memory),
    row<OtherNode>("kelvo_nr_lookup_node_of_node", look_up_node, no_owner),
    row<Interface>("kelvo_nr_lookup_node_of_interface", look_up_node, no_interface),
    row<InterfaceWithoutKey>("kelvo_nr_lookup_node_of_interface_without_key", look_up_node,
                             no_interface),
    row<SlowInterface>("kelvo_nr_lookup_node_of_interface_asked_twice", look_up_node, no_interface),
    row<ThisNode>("kelvo_nr_lookup_chan", look_up_channel, no_channel),
    row<OtherNode>("kelvo_nr_lookup_chan_of_node", look_up_channel, no_channel),
    row<Starting<kServer>>("kelvo_nr_init", start<kServer>, not_started),
    row<Starting<kManagement>>("kelvo_nr_init_of_management_client", start<kManagement>,
                               not_started),
    row<Nothing>("kelvo_common_debug_init", debug_init, debug_not_ready),
    row<Nothing>("kelvo_common_debug_shutdown", debug_shutdown, debug_stays),
    row<Nothing>("kelvo_util_collect_showtech", collect_showtech),
    row<Elapsed>("kelvo_get_elapsed_time_since_boot", elapsed_time, no_time),
    row<LogFile>("kelvo_init_logfile", open_log, no_line_or_file),
};

// ------------------------------------------------------------------------------------------------
// Trace
// ------------------------------------------------------------------------------------------------

/// Two trace lines of a process that has not traced yet, with a failure during the first one.
/// @return the lines, and on standard error what failed
Outcome traced(bool memory, std::size_t number, std::size_t count) {
    constexpr std::size_t kNever = FailingMemory::kNever;
    return in_child([=] {
        bool failed;
        {
            const FailingServices services(memory ? kNever : number, count);
            const FailingMemory allocations(memory ? number : kNever, count);
            (void)trace(KELVO_TRACE_KIND_NOTE, "here", 1, "first");
            failed = memory ? FailingMemory::allocations() > number
                            : FailingServices::called().size() > number;
        }
        (void)trace(KELVO_TRACE_KIND_NOTE, "here", 2, "second");
        if (failed) std::fputs("failed", stderr);
    });
}

TEST(EveryFailureOfTheTrace, LeavesWholeLinesAndTheNextOneIsWritten) {
    for (const bool memory : {true, false}) {
        for (const std::size_t count : {std::size_t{1}, FailingMemory::kNever}) {
            for (std::size_t number = 0;; ++number) {
                const Outcome outcome = traced(memory, number, count);
                SCOPED_TRACE(testing::Message() << memory << " " << number << " " << count << "\n"
                                                << outcome.output);
                EXPECT_TRUE(outcome.succeeded());
                std::size_t lines = 0;
                std::istringstream output(outcome.output);
                for (std::string line; std::getline(output, line); ++lines) {
                    const bool whole = line.starts_with("TRACE_INFO: [") ||
                                       line.ends_with(" here #00001  first") ||
                                       line.ends_with(" here #00002  second");
                    EXPECT_TRUE(line.size() > 20 && whole) << line;
                }
                EXPECT_TRUE(lines == 2 || lines == 3);
                EXPECT_TRUE(outcome.output.ends_with(" here #00002  second\n"));
                if (outcome.errors.empty()) break;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Process, EveryFailure, testing::ValuesIn(kOperations), name_of);

}  // namespace
