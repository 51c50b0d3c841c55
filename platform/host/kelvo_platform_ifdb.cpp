// SPDX-License-Identifier: Apache-2.0
//
// The interface database: what the configuration says, then this node's own interfaces as the
// kernel lists them. There is nothing to connect to, so binding always succeeds; a configuration in
// error shows with the first lookup, as a failure that is not worth another try.
#include <net/if.h>

#include <cerrno>

#include "kelvo_platform_config.h"
#include "kelvo_platform_line.h"

namespace kelvo::host {
namespace {

constinit char the_database;

/// Whether the kernel has an interface of this name: 0, IFDB_UNKNOWN_INTERFACE, or why it could not
/// be asked.
kelvo_status ask_kernel(const char* name) noexcept {
    const KeepErrno keep;
    if (if_nametoindex(name) != 0) return 0;
    switch (errno) {
        case ENODEV:
        case ENXIO:
            return IFDB_UNKNOWN_INTERFACE;
        case EMFILE:
        case ENFILE:
        case ENOMEM:
        case ENOBUFS:
            return PLATFORM_HOST_ERR_SYSTEM_BUSY | static_cast<kelvo_status>(errno);
        default:
            return PLATFORM_HOST_ERR_SYSTEM | static_cast<kelvo_status>(errno);
    }
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

kelvo_status ifdb_bind(void** connection) {
    if (connection == nullptr) return KELVO_ERR_NULL_PARAM;
    *connection = &the_database;
    return 0;
}

kelvo_status ifname_to_location(void* connection, const char* name, uint32_t* nodeid,
                                kelvo_status* reported) {
    if (reported == nullptr) return KELVO_ERR_NULL_PARAM;
    *reported = 0;
    if (connection == nullptr || name == nullptr || nodeid == nullptr) return KELVO_ERR_NULL_PARAM;
    const Config* const config = good_config();
    if (config == nullptr) return PLATFORM_HOST_ERR_CONFIG;
    if (const Interface* const known = find_interface(*config, name)) {
        *nodeid = known->node.value;
        return 0;
    }
    *reported = ask_kernel(name);
    if (*reported == 0) *nodeid = config->self.id.value;
    return 0;
}
