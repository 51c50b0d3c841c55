// SPDX-License-Identifier: Apache-2.0
//
// Node ids and their text form; nodes as a configuration names them.
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

#include "kelvo_platform_host.h"
#include "support/child.h"

namespace {

constexpr uint32_t kSentinel = 0xA5A5A5A5;

const kelvo::test::ScratchDirectory& scratch() {
    static const kelvo::test::ScratchDirectory directory;
    return directory;
}

/// The configuration of this whole program, named before anything asks for it.
[[maybe_unused]] const bool configured = [] {
    kelvo::test::use_configuration(scratch().write("platform.conf", R"(
node = { id = "0_1_0"; name = "rp0"; card_type = "standby-processor"; sub_cards = [ "0_1_16" ]; };
nodes = (
  { id = "0_2_0"; name = "lc2"; card_type = "line-card"; sub_cards = [ "0_2_16", "0_2_17" ]; },
  { id = "1_0_0"; name = "a234567890123456789"; node_type = "rack"; },
  { id = "1_1_0"; }
);
job_id = "211";
)"));
    return true;
}();

constexpr uint32_t kSelf = PLATFORM_HOST_NODEID(0, 1, 0);
constexpr uint32_t kLineCard = PLATFORM_HOST_NODEID(0, 2, 0);
constexpr uint32_t kRack = PLATFORM_HOST_NODEID(1, 0, 0);
constexpr uint32_t kNameless = PLATFORM_HOST_NODEID(1, 1, 0);
constexpr uint32_t kStranger = PLATFORM_HOST_NODEID(9, 9, 9);

// ------------------------------------------------------------------------------------------------
// Text form
// ------------------------------------------------------------------------------------------------

std::string text_of(uint32_t id) {
    char text[PLATFORM_HOST_NODEID_TEXT];
    return nodeid_format(id, text, sizeof text) == 0 ? text : "";
}

void expect_round_trip(uint32_t id) {
    uint32_t parsed = kSentinel;
    const std::string text = text_of(id);
    ASSERT_EQ(nodeid_parse(text.c_str(), &parsed), 0U) << id << " as '" << text << "'";
    ASSERT_EQ(parsed, id) << text;
}

TEST(NodeId, IsWrittenAsRackSlotAndProcessor) {
    EXPECT_EQ(text_of(0x00000001), "0_0_1");
    EXPECT_EQ(text_of(0x00000100), "0_1_0");
    EXPECT_EQ(text_of(0x00010000), "1_0_0");
    EXPECT_EQ(text_of(0x000C2238), "12_34_56");
    EXPECT_EQ(text_of(0x7FFFFFFF), "32767_255_255");
}

TEST(NodeId, EveryIdIsTheIdOfItsText) {
    for (uint32_t id = 1; id < 0x30000; ++id) expect_round_trip(id);
    for (uint32_t id = 0x7FFE0000; id < 0x7FFFFFFF; id += 7) expect_round_trip(id);
    expect_round_trip(999999999);
    expect_round_trip(1000000003);
    std::mt19937 random(7);
    for (int i = 0; i < 100000; ++i) {
        const auto id = static_cast<uint32_t>(random() & 0x7FFFFFFF);
        if (id == 0 || (id >= 1000000000 && id <= 1000000002)) continue;
        expect_round_trip(id);
    }
}

TEST(NodeId, NumbersThatMeanSomethingElseAreNoIds) {
    for (const uint32_t number : {0U, 1000000000U, 1000000001U, 1000000002U, 0x80000000U,
                                  0xFFFFFFFAU, KELVO_NODEID_INVALID}) {
        char text[32] = "untouched";
        EXPECT_EQ(nodeid_format(number, text, sizeof text), PLATFORM_HOST_ERR_NODE_ID) << number;
        EXPECT_STREQ(text, "untouched");
    }
}

TEST(NodeId, TextsThatAreNoIdsAreRefused) {
    const char* const texts[] = {"", "_", "1", "0_1", "0_1_", "_1_1", "0__1", "0_1_1_", "0_1_1 ",
                                 " 0_1_1", "0_1_1x", "x0_1_1", "+0_1_1", "-0_1_1", "00_1_1",
                                 "0_01_1", "0_1_01", "0x0_1_1", "0_256_1", "0_1_256", "32768_1_1",
                                 "0_0_0", "0_1_1_1", "0-1-1", "0_ 1_1", "a_b_c", "4294967296_0_1",
                                 // 1000000000 to 1000000002
                                 "15258_202_0", "15258_202_1", "15258_202_2",
                                 // 2^32 in one number, and what wraps to a small one
                                 "0_0_4294967297", "0_18446744073709551617_0"};
    for (const char* text : texts) {
        uint32_t id = kSentinel;
        EXPECT_EQ(nodeid_parse(text, &id), PLATFORM_HOST_ERR_NODE_ID) << "'" << text << "'";
        EXPECT_EQ(id, kSentinel);
    }
}

TEST(NodeId, TheBufferNeedsRoomForTheNul) {
    char text[8] = "#######";
    EXPECT_EQ(nodeid_format(0x000C2238, text, 8), PLATFORM_HOST_ERR_BUFFER_SIZE);
    EXPECT_EQ(nodeid_format(0x000C2238, text, 0), PLATFORM_HOST_ERR_BUFFER_SIZE);
    EXPECT_STREQ(text, "#######");
    EXPECT_EQ(nodeid_format(0x00012238, text, 8), 0U);
    EXPECT_STREQ(text, "1_34_56");
    EXPECT_EQ(nodeid_format(0x00012238, text, 7), PLATFORM_HOST_ERR_BUFFER_SIZE);
}

TEST(NodeId, NullsAreRefused) {
    uint32_t id;
    EXPECT_EQ(nodeid_parse(nullptr, &id), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(nodeid_parse("0_0_1", nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(nodeid_format(1, nullptr, 32), KELVO_ERR_NULL_PARAM);
}

// ------------------------------------------------------------------------------------------------
// Nodes
// ------------------------------------------------------------------------------------------------

TEST(Node, ThisNodeIsTheConfiguredOne) {
    uint32_t id = kSentinel;
    EXPECT_EQ(platform_my_nodeid(&id), 0U);
    EXPECT_EQ(id, kSelf);
    EXPECT_EQ(platform_type(), static_cast<uint32_t>(PLATFORM_TYPE_STANDBY_PROCESSOR));
    EXPECT_EQ(platform_is_single_node(), 0U);
    EXPECT_EQ(procmgr_get_job_id(), 211U);
    EXPECT_EQ(platform_my_nodeid(nullptr), KELVO_ERR_NULL_PARAM);
}

TEST(Node, NamesComeFromTheConfigurationOrElseAreTheIds) {
    const std::pair<uint32_t, const char*> names[] = {
        {kSelf, "rp0"}, {kLineCard, "lc2"}, {kRack, "a234567890123456789"}, {kNameless, "1_1_0"}};
    for (const auto& [id, name] : names) {
        char buffer[20];
        EXPECT_EQ(platform_node_name(id, buffer, sizeof buffer), 0U);
        EXPECT_STREQ(buffer, name);
    }
}

TEST(Node, ANameThatDoesNotFitOrIsNotKnownIsAFailure) {
    char buffer[20] = "untouched";
    EXPECT_EQ(platform_node_name(kRack, buffer, 19), PLATFORM_HOST_ERR_BUFFER_SIZE);
    EXPECT_EQ(platform_node_name(kSelf, buffer, 3), PLATFORM_HOST_ERR_BUFFER_SIZE);
    EXPECT_EQ(platform_node_name(kStranger, buffer, 20), PLATFORM_HOST_ERR_NODE_UNKNOWN);
    EXPECT_EQ(platform_node_name(kSelf, nullptr, 20), KELVO_ERR_NULL_PARAM);
    EXPECT_STREQ(buffer, "untouched");
}

TEST(Node, NodeTypesComeFromTheConfiguration) {
    EXPECT_EQ(platform_node_type(kRack), PLATFORM_NODE_TYPE_RACK);
    EXPECT_EQ(platform_node_type(kSelf), 0U);
    EXPECT_EQ(platform_node_type(kStranger), 0U);
    EXPECT_EQ(platform_node_type(KELVO_NODEID_INVALID), 0U);
}

TEST(Node, SubCardsAreServedByTheirProcessors) {
    const std::pair<uint32_t, uint32_t> pairs[] = {{PLATFORM_HOST_NODEID(0, 1, 16), kSelf},
                                                   {PLATFORM_HOST_NODEID(0, 2, 16), kLineCard},
                                                   {PLATFORM_HOST_NODEID(0, 2, 17), kLineCard},
                                                   {kSelf, kSelf},
                                                   {kLineCard, kLineCard},
                                                   {kStranger, kStranger}};
    for (const auto& [id, processor] : pairs) {
        uint32_t cpu = kSentinel;
        EXPECT_EQ(nodeid_to_cpu_nodeid(id, &cpu), 0U);
        EXPECT_EQ(cpu, processor) << id;
    }
    uint32_t cpu = kSentinel;
    EXPECT_EQ(nodeid_to_cpu_nodeid(KELVO_NODEID_INVALID, &cpu), PLATFORM_HOST_ERR_NODE_ID);
    EXPECT_EQ(nodeid_to_cpu_nodeid(kSelf, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(cpu, kSentinel);
}

}  // namespace
