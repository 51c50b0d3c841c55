// SPDX-License-Identifier: Apache-2.0
//
// What the resolver knows of its process. Initialisation writes it, before other threads; lookups
// read it without a lock.
#pragma once

#include <pthread.h>

#include "kelvo_bytes.h"
#include "kelvo_debug_flag.h"
#include "kelvo_node_resolver.h"
#include "kelvo_platform.h"

/// Writes a debug line while a debug flag is on.
#define KELVO_NR_DEBUG_LINE(flag, ...)                                                             \
    do {                                                                                           \
        if (kelvo::debug_is_on(flag)) debug_print(__VA_ARGS__);                                    \
    } while (false)
/// A debug line of the resolver.
#define KELVO_NR_DEBUG(...) KELVO_NR_DEBUG_LINE(KELVO_DEBUG_NODE_RESOLVER, __VA_ARGS__)
/// A debug line of its state machine.
#define KELVO_NR_DEBUG_DFA(...) KELVO_NR_DEBUG_LINE(KELVO_DEBUG_NODE_RESOLVER_DFA, __VA_ARGS__)

namespace kelvo::nr {

/// The source unit that assertions of the resolver name.
inline constexpr const char* kUnit = "common/src/kelvo_node_resolver";

inline constexpr kelvo_nr_answer kIllegal = {KELVO_NODE_ILLEGAL, KELVO_NODEID_INVALID, 0,
                                             KELVO_SERVER_LOCAL};

struct State {
    u32 is_server = 0;  // kept for whoever inspects the process; no lookup asks
    void* trace = nullptr;
    u32 card_type = PLATFORM_TYPE_ROUTE_PROCESSOR;
    kelvo_nr_answer local = {KELVO_NODE_PHYSICAL, KELVO_NODEID_INVALID, 0, KELVO_SERVER_LOCAL};
    bool refuses_deprecated = false;
    bool permits_remote_binds = false;
    bool has_ifdb_key = false;
    pthread_key_t ifdb_key = 0;
};

extern State state;

[[nodiscard]] inline bool starts_with(const char* text, const char* start) noexcept {
    while (*start != '\0' && *text == *start) ++text, ++start;
    return *start == '\0';
}

/// Whether the whole system is one node. Asked once; threads that ask at the same time all store
/// the same answer.
[[nodiscard]] bool centralised();

/// Finds the node of an interface through the thread's connection to the interface database.
/// @return 0, with an invalid *nodeid for a name that stands for no node, or why there is none
[[nodiscard]] kelvo_status locate_interface(const char* name, u32* nodeid);

}  // namespace kelvo::nr
