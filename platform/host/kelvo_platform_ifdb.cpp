// SPDX-License-Identifier: Apache-2.0
//
// The interface database: what the configuration says, then this node's own interfaces as the
// kernel lists them. There is nothing to connect to, so binding always succeeds; a configuration in
// error shows with the first lookup, as a failure that is not worth another try.
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kelvo_platform_config.h"
#include "kelvo_platform_line.h"

namespace kelvo::host {
namespace {

constinit char the_database;

kelvo_status status_of(int error) noexcept {
    switch (error) {
        case ENODEV:
            return IFDB_UNKNOWN_INTERFACE;
        case EMFILE:
        case ENFILE:
        case ENOMEM:
        case ENOBUFS:
            return PLATFORM_HOST_ERR_SYSTEM_BUSY | static_cast<kelvo_status>(error);
        default:
            return PLATFORM_HOST_ERR_SYSTEM | static_cast<kelvo_status>(error);
    }
}

/// Whether the kernel has an interface of this name: 0, IFDB_UNKNOWN_INTERFACE, or why it could not
/// be asked. (if_nametoindex() asks the same but may lose the reason of a failure.)
kelvo_status ask_kernel(const char* name) noexcept {
    const KeepErrno keep;
    ifreq request{};
    if (std::strlen(name) >= sizeof request.ifr_name) return IFDB_UNKNOWN_INTERFACE;
    buf_strncpy(request.ifr_name, name, sizeof request.ifr_name);
    const int any_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (any_socket < 0) return status_of(errno);
    const kelvo_status status =
        ioctl(any_socket, SIOCGIFINDEX, &request) == 0 ? 0 : status_of(errno);
    close(any_socket);
    return status;
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
