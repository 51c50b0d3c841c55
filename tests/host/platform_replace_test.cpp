// SPDX-License-Identifier: Apache-2.0
//
// A process replaces single services by defining them. Here it defines its node id and the text of
// statuses; the library and the rest of the platform then use these, and everything else stays the
// host platform's.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstring>

#include "kelvo_platform_host.h"

kelvo_status platform_my_nodeid(uint32_t* nodeid) {
    *nodeid = PLATFORM_HOST_NODEID(12, 34, 56);
    return 0;
}

namespace {

TEST(Replacement, ThePlatformItselfUsesTheProcessesNodeId) {
    uint8_t* message = nullptr;
    ASSERT_EQ(replica_build_msg_headers(8, 0, &message), 0U);
    platform_host_replica_header header;
    std::memcpy(&header, message - sizeof header, sizeof header);
    EXPECT_EQ(ntohl(header.node), PLATFORM_HOST_NODEID(12, 34, 56));
    platform_host_replica_free(message);
}

TEST(Replacement, OtherServicesAreUntouched) {
    char text[PLATFORM_HOST_NODEID_TEXT];
    EXPECT_EQ(nodeid_format(PLATFORM_HOST_NODEID(12, 34, 56), text, sizeof text), 0U);
    EXPECT_STREQ(text, "12_34_56");
}

}  // namespace
