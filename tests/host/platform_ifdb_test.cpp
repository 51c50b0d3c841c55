// SPDX-License-Identifier: Apache-2.0
//
// The interface database: what a configuration says, what the kernel knows, and what is neither.
// Each test asks in a child process, with the configuration that it is about.
#include <gtest/gtest.h>

#include <string>

#include "kelvo_platform_host.h"
#include "support/child.h"

namespace {

using kelvo::test::in_child;
using kelvo::test::ScratchDirectory;
using kelvo::test::use_configuration;

constexpr uint32_t kSentinel = 0xA5A5A5A5;

/// Asks where an interface is and prints status, reported status and node, as hexadecimal numbers.
void print_location(const char* name) {
    void* connection = nullptr;
    if (const kelvo_status status = ifdb_bind(&connection)) std::printf("bind %x ", status);
    uint32_t node = kSentinel;
    kelvo_status reported = kSentinel;
    const kelvo_status status = ifname_to_location(connection, name, &node, &reported);
    std::printf("%x %x %x", status, reported, node);
}

/// The answer for an interface under a configuration of this text.
std::string located(const std::string& text, const char* name) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("platform.conf", text);
    return in_child([&] {
               use_configuration(path);
               print_location(name);
           })
        .output;
}

constexpr char kConfiguration[] = R"(
nodes = ({ id = "0_2_0"; });
interfaces = (
  { name = "port2-7"; node = "0_2_0"; },
  { name = "bundle1"; node = "none"; },
  { name = "lo"; node = "0_2_0"; }
);
)";

TEST(Interface, IsWhereTheConfigurationSays) {
    EXPECT_EQ(located(kConfiguration, "port2-7"), "0 0 200");
}

TEST(Interface, OfNoNodeHasTheInvalidNode) {
    EXPECT_EQ(located(kConfiguration, "bundle1"), "0 0 ffffffff");
}

TEST(Interface, OfTheKernelIsOnThisNode) {
    EXPECT_EQ(located("", "lo"), "0 0 1");
    EXPECT_EQ(located("node = { id = \"3_4_5\"; };", "lo"), "0 0 30405");
}

TEST(Interface, TheConfigurationComesBeforeTheKernel) {
    EXPECT_EQ(located(kConfiguration, "lo"), "0 0 200");
}

TEST(Interface, ThatNobodyKnowsIsReportedUnknown) {
    for (const char* name : {"", "no such interface", "port2-71", "PORT2-7",
                             "a23456789012345678901234567890123456789012345678901234567890123"}) {
        EXPECT_EQ(located(kConfiguration, name), "0 809a3c00 a5a5a5a5") << name;
    }
}

TEST(Interface, AShortageOfDescriptorsIsTransientAndNotAnUnknownInterface) {
    const auto outcome = in_child([] {
        use_configuration("/dev/null");
        platform_type();
        while (dup(1) >= 0) continue;
        print_location("lo");
    });
    EXPECT_EQ(outcome.output, "0 809b0c18 a5a5a5a5");
}

TEST(Interface, AnErrorInTheConfigurationIsPermanentAndBindingStillSucceeds) {
    EXPECT_EQ(located("nodes = 7;", "lo"), "409b0200 0 a5a5a5a5");
    EXPECT_NE(PLATFORM_HOST_ERR_CONFIG & KELVO_STATUS_CLASS_MASK, KELVO_STATUS_CLASS_TRANSIENT);
}

TEST(Interface, NullsAreRefused) {
    void* connection = nullptr;
    ASSERT_EQ(ifdb_bind(&connection), 0U);
    EXPECT_EQ(ifdb_bind(nullptr), KELVO_ERR_NULL_PARAM);
    uint32_t node = kSentinel;
    kelvo_status reported = kSentinel;
    EXPECT_EQ(ifname_to_location(nullptr, "lo", &node, &reported), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(ifname_to_location(connection, nullptr, &node, &reported), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(ifname_to_location(connection, "lo", nullptr, &reported), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(ifname_to_location(connection, "lo", &node, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(node, kSentinel);
    EXPECT_EQ(reported, 0U);
}

}  // namespace
