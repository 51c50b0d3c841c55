// SPDX-License-Identifier: Apache-2.0
//
// A process replaces single services by defining them. Here it defines its node id, its node-id
// texts and the texts of statuses; the library and the rest of the platform then use these, and
// everything else stays the host platform's.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "kelvo_platform_host.h"
#include "kelvo_stack.h"
#include "kelvo_util_nodeid.h"
#include "support/child.h"

kelvo_status platform_my_nodeid(uint32_t* nodeid) {
    *nodeid = 0xABCD;
    return 0;
}

const char* errcode_strerror(kelvo_status /*status*/) {
    return "as this process puts it";
}

/// Ids are hexadecimal numbers here. It uses other services while the configuration is being read.
kelvo_status nodeid_parse(const char* text, uint32_t* nodeid) {
    uint32_t self;
    if (platform_my_nodeid(&self) != 0) return 1;
    debug_print("parsing '%s' on a card of type 0x%x", text, platform_type());
    return std::sscanf(text, "#%x", nodeid) == 1 ? 0 : 1;
}

kelvo_status nodeid_format(uint32_t nodeid, char* buffer, size_t size) {
    std::snprintf(buffer, size, "#%x", nodeid);
    return 0;
}

namespace {

using kelvo::test::in_child;
using kelvo::test::Outcome;
using kelvo::test::ScratchDirectory;
using kelvo::test::use_configuration;

TEST(Replacement, TheLibraryUsesTheProcessesServices) {
    const Outcome outcome = in_child([] {
        use_configuration("/dev/null");
        std::printf("%s", kelvo_util_nodeid_to_str(0x12));
        stack_shutdown(nullptr);
    });
    EXPECT_EQ(outcome.output, "#12");
    EXPECT_TRUE(outcome.errors.ends_with(
        "KELVO/KELVOUTILS/INTERNAL severity 7: A NULL pointer was passed as a fn parameter: "
        "rc 0x40818800 (as this process puts it)\n"))
        << outcome.errors;
}

TEST(Replacement, ThePlatformItselfUsesTheProcessesServices) {
    const Outcome outcome = in_child([] {
        use_configuration("/dev/null");
        uint8_t* message = nullptr;
        replica_build_msg_headers(8, 0, &message);
        platform_host_replica_header header;
        std::memcpy(&header, message - sizeof header, sizeof header);
        std::printf("%x", ntohl(header.node));
        platform_host_replica_free(message);
    });
    EXPECT_EQ(outcome.output, "abcd");
}

TEST(Replacement, TheConfigurationIsReadWithTheProcessesIdTexts) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("platform.conf", "node = { id = \"#77\"; };");
    const Outcome outcome = in_child([&] {
        use_configuration(path);
        char name[20];
        const kelvo_status status = platform_node_name(0x77, name, sizeof name);
        std::printf("0x%x %s", status, name);
    });
    EXPECT_EQ(outcome.output, "0x0 #77");
    // To the service that was called during the reading, the configuration was not there yet.
    EXPECT_TRUE(outcome.errors.ends_with("parsing '#77' on a card of type 0xffffffff\n"))
        << outcome.errors;
}

TEST(Replacement, OtherServicesAreUntouched) {
    char text[4];
    EXPECT_STREQ(buf_strncpy(text, "abcdef", sizeof text), "abc");
    errcode_strings strings;
    ASSERT_EQ(errcode_getstrings(KELVO_ERR_NO_OWNER, &strings), 0U);
    EXPECT_STREQ(strings.error, "no server owns the path");
}

}  // namespace
