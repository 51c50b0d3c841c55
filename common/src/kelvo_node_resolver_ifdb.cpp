// SPDX-License-Identifier: Apache-2.0
//
// The interface database, asked for the node of an interface. Each thread binds to it once and
// keeps its connection under the resolver's thread key; nothing ever closes one.
#include <unistd.h>

#include "kelvo_assert.h"
#include "kelvo_node_resolver_state.h"
#include "kelvo_report.h"

using namespace kelvo;
using namespace kelvo::nr;

namespace {

constexpr int kBindAttempts = 6;
constexpr int kLookupRetries = 3;
constexpr unsigned kSecondsBetween = 1;

/// Binds the thread. A thread that cannot reach the database at all cannot go on.
void* bind_thread() {
    void* connection = nullptr;
    kelvo_status status = ifdb_bind(&connection);
    for (int attempt = 1; status != 0 && attempt < kBindAttempts; ++attempt) {
        sleep(kSecondsBetween);
        status = ifdb_bind(&connection);
    }
    KELVO_ASSERT(status == 0, "status == 0", kUnit);
    return connection;
}

/// The thread's connection, bound at its first use.
void* connection_of_thread() {
    if (!state.has_ifdb_key) return bind_thread();
    void* connection = pthread_getspecific(state.ifdb_key);
    if (connection != nullptr) return connection;
    connection = bind_thread();
    if (const int code = pthread_setspecific(state.ifdb_key, connection)) {
        report_internal("pthread_setspecific failed", static_cast<kelvo_status>(code));
    }
    return connection;
}

/// Whether asking again may help.
bool is_transient(kelvo_status status) {
    return (status & KELVO_STATUS_CLASS_MASK) == KELVO_STATUS_CLASS_TRANSIENT &&
           status != IFDB_UNKNOWN_INTERFACE;
}

/// Asks once. The call's own failure goes before what the database reports.
kelvo_status ask(void* connection, const char* name, u32* nodeid) {
    *nodeid = KELVO_NODEID_INVALID;
    kelvo_status reported = 0;
    const kelvo_status status = ifname_to_location(connection, name, nodeid, &reported);
    return status != 0 ? status : reported;
}

}  // namespace

kelvo_status nr::locate_interface(const char* name, u32* nodeid) {
    void* const connection = connection_of_thread();
    kelvo_status status = ask(connection, name, nodeid);
    for (int retry = 0; retry < kLookupRetries && is_transient(status); ++retry) {
        sleep(kSecondsBetween);
        status = ask(connection, name, nodeid);
    }
    return status;
}
