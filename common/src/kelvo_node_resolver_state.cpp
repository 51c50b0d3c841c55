// SPDX-License-Identifier: Apache-2.0
//
// Initialisation and shutdown of the resolver, and what it keeps for the process.
#include "kelvo_node_resolver_state.h"

#include <atomic>
#include <cerrno>
#include <cstring>

#include "kelvo_report.h"

using namespace kelvo;
using namespace kelvo::nr;

constinit State nr::state;

namespace {

/// The platform has not been asked yet.
constexpr u32 kUnknown = 0xFFFFFFFF;

constinit std::atomic<u32> known_centralised = kUnknown;

bool process_is(const char* name) {
    return std::strcmp(program_invocation_short_name, name) == 0;
}

/// Learns which node and card this is.
kelvo_status learn_identity() {
    state.card_type = platform_type();
    const kelvo_status status = platform_my_nodeid(&state.local.node_id);
    // The blank at the end has always been there.
    if (status != 0) report_internal("Failed to get nodeid ", status);
    return status;
}

kelvo_status create_ifdb_key() {
    const int code = pthread_key_create(&state.ifdb_key, nullptr);
    if (code != 0) {
        report_internal("Failed to create imc connection context key",
                        static_cast<kelvo_status>(code));
    }
    state.has_ifdb_key = code == 0;
    return static_cast<kelvo_status>(code);
}

void delete_ifdb_key() {
    if (state.has_ifdb_key) (void)pthread_key_delete(state.ifdb_key);
    state.has_ifdb_key = false;
}

}  // namespace

bool nr::centralised() {
    u32 known = known_centralised.load(std::memory_order_relaxed);
    if (known == kUnknown) {
        known = platform_is_single_node();
        if (known > 1) known = 0;
        known_centralised.store(known, std::memory_order_relaxed);
    }
    return known != 0;
}

kelvo_status kelvo_nr_init(uint32_t is_server, uint32_t nodeid, void* trace_handle) {
    // A process that starts over begins from nothing.
    delete_ifdb_key();
    state = State{};
    known_centralised.store(kUnknown, std::memory_order_relaxed);

    state.is_server = is_server;
    state.trace = trace_handle;

    const bool is_show_tool = process_is("kelvoshow");
    kelvo_status status = 0;
    if (is_show_tool) {
        state.local.node_id = nodeid;
        state.refuses_deprecated = true;
    } else {
        status = learn_identity();
    }
    if (status == 0) status = create_ifdb_key();

    if (process_is("kelvo_mc")) {
        (void)kelvo_common_debug_init();  // reports its own failure; lookups do not depend on it
    } else if (!is_show_tool) {
        state.permits_remote_binds = true;
    }
    return status;
}

kelvo_status kelvo_nr_shutdown(void) {
    delete_ifdb_key();
    return 0;
}
