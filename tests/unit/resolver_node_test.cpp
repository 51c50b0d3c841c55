// SPDX-License-Identifier: Apache-2.0
//
// Paths that name a node, and the binds that are refused.
#include "support/resolver_fixture.h"

namespace {

using namespace kelvo::test;

constexpr std::uint32_t kManagement = KELVO_NR_OPT_MANAGEMENT;
constexpr std::uint32_t kServer = KELVO_NR_OPT_SERVER;
constexpr const char* kTrue = "Setting versioned flag to TRUE (options=0x0)";
constexpr kelvo_nr_answer kRack = {-6, 0x20, 1, 0};

class ResolverNode : public Resolver {
  protected:
    ResolverNode() { start(); }

    static void make_single(std::uint32_t answer) {
        platform().is_single_node = [answer] { return answer; };
    }
    static void make_racks() {
        make_single(1);
        platform().node_type = [](std::uint32_t nodeid) { return nodeid == 0x20 ? 2U : 0U; };
        start();
    }
};

TEST_F(ResolverNode, IsReadAsHexadecimal) {
    EXPECT_EQ(look_up("cfg/node/act/20/a"), owner(node_answer(0x20)));
    EXPECT_EQ(look_up("oper/a/node/2F"), owner(node_answer(0x2F)));
    EXPECT_EQ(look_up("oper/a/b/node/0x2f"), owner(node_answer(0x2F)));
    EXPECT_EQ(look_up("debug/node/10zz"), owner(kLocal)) << "what follows the digits is left";
    EXPECT_EQ(lines_of("cfg/node/act/20"), (Lines{"Converted ADP nodeid 0x20 to CPU nodeid 0x20",
                                                  "'cfg/node/act/20/' -> 0_0_32 ", kTrue}));
}

TEST_F(ResolverNode, IsParsedByThePlatformWhenItHoldsAnUnderscore) {
    platform().parse_nodeid = [](const char* text, std::uint32_t* nodeid) -> kelvo_status {
        EXPECT_STREQ(text, "0_1_main");
        *nodeid = 0x101;
        return 0;
    };
    EXPECT_EQ(look_up("cfg/node/act/0_1_main/a"), owner(node_answer(0x101)));
}

TEST_F(ResolverNode, OnlyItsOwnComponentCounts) {
    platform().parse_nodeid = [](const char*, std::uint32_t*) { return kelvo_status{1}; };
    EXPECT_EQ(look_up("cfg/node/act/20/a_b"), owner(node_answer(0x20)));
    EXPECT_EQ(look_up("oper/a_b/node/20"), owner(node_answer(0x20)));
}

TEST_F(ResolverNode, EmptyNameIsNoNode) {
    EXPECT_EQ(look_up("cfg/node/act//20"), refused(KELVO_ERR_NO_OWNER));
    expect_logged(qor_msg_rec_kelvoutils_parse_failed,
                  "Failed to parse node ('' from 'cfg/node/act//20/') (text of 0xa0813800)");
}

TEST_F(ResolverNode, UnparsedNodeIsLogged) {
    EXPECT_EQ(look_up("cfg/node/act/zz/a"), refused(KELVO_ERR_NO_OWNER));
    expect_logged(qor_msg_rec_kelvoutils_parse_failed,
                  "Failed to parse node ('zz' from 'cfg/node/act/zz/a/') (text of 0xa0813800)");
    platform().log.clear();
    EXPECT_EQ(look_up("cfg/node/act/0_x"), refused(KELVO_ERR_NO_OWNER));
    expect_logged(qor_msg_rec_kelvoutils_parse_failed,
                  "Failed to parse node ('0_x' from 'cfg/node/act/0_x/') (text of 0x40000001)");
}

TEST_F(ResolverNode, UnparsedNodeGoesToTheTraceOfAProcessThatHasOne) {
    int trace;
    ASSERT_EQ(start_as("client", 0, &trace), 0U);
    EXPECT_EQ(look_up("cfg/node/act/zz/a"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_TRUE(platform().log.empty());
    EXPECT_EQ(
        platform().trace_records,
        (Lines{"Failed to parse node ('zz' from 'cfg/node/act/zz/a/') (text of 0xa0813800)"}));
}

TEST_F(ResolverNode, LongComponentIsCutInTheReportOnly) {
    EXPECT_EQ(look_up("cfg/node/act/" + std::string(600, '0') + "20"), owner(node_answer(0x20)));
    EXPECT_EQ(look_up("cfg/node/act/" + std::string(600, 'z')), refused(KELVO_ERR_NO_OWNER));
    ASSERT_EQ(platform().log.size(), 1U);
    EXPECT_EQ(
        platform().log[0].text.rfind(
            "Failed to parse node ('" + std::string(511, 'z') + "' from 'cfg/node/act/zzz", 0),
        0U);
}

TEST_F(ResolverNode, SubCardStandsForItsProcessor) {
    platform().to_cpu_nodeid = [](std::uint32_t nodeid, std::uint32_t* cpu) -> kelvo_status {
        *cpu = nodeid & 0xF0;
        return 0;
    };
    EXPECT_EQ(look_up("cfg/node/act/25"), owner(node_answer(0x20)));
    EXPECT_EQ(lines_of("debug/node/25"), (Lines{"Converted ADP nodeid 0x25 to CPU nodeid 0x20",
                                                "'debug/node/25/' -> 0_0_32 ", kTrue}));
}

TEST_F(ResolverNode, UnknownSubCardIsRefused) {
    platform().to_cpu_nodeid = [](std::uint32_t, std::uint32_t* cpu) -> kelvo_status {
        *cpu = 0x20;
        return 0x4000beef;
    };
    EXPECT_EQ(look_up("cfg/node/act/25"), refused(KELVO_ERR_NO_OWNER));
    expect_logged(qor_msg_rec_kelvoutils_internal,
                  "Failed to extract card nodeid: rc 0x4000beef (text of 0x4000beef)");
    EXPECT_EQ(lines_of("cfg/node/act/25"),
              (Lines{"Failed to convert nodeid 0x25 from a ADP nodeid to a CPU nodeid: rc "
                     "0x4000beef, text of 0x4000beef"}));
}

TEST_F(ResolverNode, IsThisNodeForAServer) {
    platform().to_cpu_nodeid = [](std::uint32_t, std::uint32_t*) { return kelvo_status{1}; };
    EXPECT_EQ(look_up("cfg/node/act/zz", kServer), owner(kLocal));
    EXPECT_EQ(look_up("cfg/node/act/20", kServer), owner(kLocal));
    EXPECT_EQ(
        lines_of("debug/node/zz", kServer),
        (Lines{"'debug/node/zz/' -> 0_0_16 ", "Setting versioned flag to TRUE (options=0x4)"}));
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(ResolverNode, IsTheNamedOneForEveryOtherCaller) {
    for (const std::uint32_t option : {0x1U, 0x2U, 0x20U, 0x80000000U}) {
        EXPECT_EQ(look_up("cfg/node/act/20", option), owner(node_answer(0x20))) << option;
    }
}

// --- racks --------------------------------------------------------------------------------------

TEST_F(ResolverNode, RackStandsForItsLocalServersForAManagementClient) {
    make_racks();
    EXPECT_EQ(look_up("cfg/node/act/20", kManagement), owner(kRack));
    EXPECT_EQ(look_up("oper/kelvo/node/20", kManagement), owner(kRack));
    EXPECT_EQ(look_up("oper/kelvo2/node/20", kManagement), owner(kRack)) << "compared as text";
    EXPECT_EQ(look_up("remote/1/cfg/node/act/20", kManagement), refused(KELVO_ERR_BAD_PATH));
}

TEST_F(ResolverNode, NothingElseIsARack) {
    make_racks();
    EXPECT_EQ(look_up("cfg/node/act/20"), owner(node_answer(0x20))) << "no management client";
    EXPECT_EQ(look_up("cfg/node/act/21", kManagement), owner(node_answer(0x21))) << "other type";
    EXPECT_EQ(look_up("data/node/act/20", kManagement), owner(node_answer(0x20))) << "other path";
    EXPECT_EQ(look_up("oper/kelv/node/20", kManagement), owner(node_answer(0x20)));
    EXPECT_EQ(look_up("debug/node/20", kManagement), owner(node_answer(0x20)));
    make_single(0);
    start();
    EXPECT_EQ(look_up("cfg/node/act/20", kManagement), owner(node_answer(0x20))) << "several nodes";
}

// --- refused binds ------------------------------------------------------------------------------

TEST_F(ResolverNode, SomeProcessesMayNotBindToOtherNodes) {
    for (const char* process : {"kelvoshow", "kelvo_mc"}) {
        ASSERT_EQ(start_as(process, kThisNode), 0U);
        EXPECT_EQ(look_up("cfg/node/act/20"), refused(KELVO_ERR_REMOTE_LOCAL_BIND)) << process;
        EXPECT_EQ(look_up("cfg/node/act/10"), owner(kLocal)) << process;
        EXPECT_EQ(look_up("cfg/node/act/20", kManagement), owner(node_answer(0x20))) << process;
        EXPECT_EQ(look_up("cfg/node/act/20", kServer), owner(kLocal)) << process;
        EXPECT_EQ(lines_of("cfg/node/act/20"),
                  (Lines{"Converted ADP nodeid 0x20 to CPU nodeid 0x20",
                         "Attempted bind to local namespace on node 0_0_32 from node 0_0_16 has "
                         "been rejected, path cfg/node/act/20/"}))
            << process;
    }
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(ResolverNode, EveryOtherProcessMay) {
    for (const char* process : {"kelvoshow2", "kelvo_m", "client", ""}) {
        ASSERT_EQ(start_as(process), 0U);
        EXPECT_EQ(look_up("cfg/node/act/20"), owner(node_answer(0x20))) << process;
    }
}

TEST_F(ResolverNode, EveryBindIsFineWhereThereIsOneNode) {
    make_single(1);
    ASSERT_EQ(start_as("kelvo_mc"), 0U);
    EXPECT_EQ(look_up("cfg/node/act/20"), owner(node_answer(0x20)));
    make_single(2);
    ASSERT_EQ(start_as("kelvo_mc"), 0U);
    EXPECT_EQ(look_up("cfg/node/act/20"), refused(KELVO_ERR_REMOTE_LOCAL_BIND))
        << "any answer but 1 counts as several";
}

TEST_F(ResolverNode, PlatformIsAskedOnceWhetherThereIsOneNode) {
    static int asked;
    asked = 0;
    platform().is_single_node = [] {
        ++asked;
        return 7U;
    };
    ASSERT_EQ(start_as("kelvo_mc"), 0U);
    EXPECT_EQ(asked, 0) << "not before it matters";
    (void)look_up("cfg/gl");
    (void)look_up("cfg/node/act/10");
    EXPECT_EQ(asked, 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(look_up("cfg/node/act/20"), refused(KELVO_ERR_REMOTE_LOCAL_BIND));
    }
    EXPECT_EQ(asked, 1);
}

}  // namespace
