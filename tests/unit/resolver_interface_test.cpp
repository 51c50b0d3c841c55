// SPDX-License-Identifier: Apache-2.0
//
// Paths that name an interface: the connection of each thread, what is asked again, and what is
// made of the database's answers. Nobody really sleeps here.
#include <deque>
#include <set>
#include <thread>

#include "support/resolver_fixture.h"
#include "support/system_calls.h"

namespace {

using namespace kelvo::test;

constexpr std::uint32_t kManagement = KELVO_NR_OPT_MANAGEMENT;
constexpr std::uint32_t kServer = KELVO_NR_OPT_SERVER;

constexpr kelvo_status kTransient = 0x80001200;
constexpr kelvo_status kUnknownInterface = 0x809a3c00;
constexpr kelvo_status kPermanent = 0xa0001200;

constexpr const char* kBind = "ifdb_bind";
constexpr const char* kAsk = "ifname_to_location Gi0";
constexpr const char* kPath = "cfg/if/act/Gi0";

class ResolverInterface : public Resolver {
  protected:
    ResolverInterface() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        system_calls = {};
        start();
        locate_at(0x20);
    }
    ~ResolverInterface() override { system_calls = {}; }

    static void locate_at(std::uint32_t node) {
        platform().locate = [node](void*, const char*, std::uint32_t* nodeid,
                                   kelvo_status* reported) -> kelvo_status {
            *nodeid = node;
            *reported = 0;
            return 0;
        };
    }

    /// One answer of the database after the other: the call's status and what is reported. Then it
    /// finds node 0x20.
    struct Failure {
        kelvo_status status;
        kelvo_status reported;
    };
    static void fail_first(std::deque<Failure> failures) {
        platform().locate = [failures](void*, const char*, std::uint32_t* nodeid,
                                       kelvo_status* reported) mutable -> kelvo_status {
            *reported = 0;
            if (failures.empty()) {
                *nodeid = 0x20;
                return 0;
            }
            const Failure failure = failures.front();
            failures.pop_front();
            *reported = failure.reported;
            return failure.status;
        };
    }

    /// Looks the interface up for a thread that is bound already. @return how often it was asked
    /// for
    static std::size_t times_asked(const Found& expected) {
        platform().calls.clear();
        EXPECT_EQ(look_up(kPath), expected);
        return platform().calls.size();
    }
};

TEST_F(ResolverInterface, IsOnTheNodeThatTheDatabaseNames) {
    EXPECT_EQ(look_up("cfg/if/act/Gi0/mtu"), owner(node_answer(0x20)));
    EXPECT_EQ(platform().calls, (Lines{kBind, kAsk}));
    locate_at(kThisNode);
    EXPECT_EQ(look_up(kPath), owner(kLocal));
    EXPECT_EQ(lines_of(kPath), (Lines{"Setting versioned flag to TRUE (options=0x0)"}));
}

TEST_F(ResolverInterface, IsNotASubCard) {
    platform().to_cpu_nodeid = [](std::uint32_t, std::uint32_t*) { return kelvo_status{1}; };
    EXPECT_EQ(look_up(kPath), owner(node_answer(0x20)));
}

TEST_F(ResolverInterface, IsThisNodesForAServer) {
    EXPECT_EQ(look_up(kPath, kServer), owner(kLocal));
    EXPECT_TRUE(platform().calls.empty());
}

TEST_F(ResolverInterface, IsOnItsOwnNodeForEveryOtherCaller) {
    for (const std::uint32_t option : {0x1U, 0x2U, 0x20U, 0x80000000U}) {
        EXPECT_EQ(look_up(kPath, option), owner(node_answer(0x20))) << option;
    }
}

TEST_F(ResolverInterface, DeprecatedPathsResolveToo) {
    EXPECT_EQ(look_up("oper/if/Gi0"), owner(node_answer(0x20)));
}

// --- connections --------------------------------------------------------------------------------

TEST_F(ResolverInterface, EachThreadBindsOnceAndUsesItsOwnConnection) {
    static std::set<void*> used;
    used.clear();
    platform().bind_ifdb = [](void** connection) -> kelvo_status {
        static char connections[16];
        static int bound;
        *connection = &connections[bound++];
        return 0;
    };
    platform().locate = [](void* connection, const char*, std::uint32_t* nodeid,
                           kelvo_status* reported) -> kelvo_status {
        used.insert(connection);
        *nodeid = 0x20;
        *reported = 0;
        return 0;
    };
    const auto look_up_twice = [] {
        EXPECT_EQ(look_up(kPath).status, 0U);
        EXPECT_EQ(look_up(kPath).status, 0U);
    };
    look_up_twice();
    std::thread(look_up_twice).join();
    EXPECT_EQ(platform().calls, (Lines{kBind, kAsk, kAsk, kBind, kAsk, kAsk}));
    EXPECT_EQ(used.size(), 2U);
}

TEST_F(ResolverInterface, BindingIsTriedSixTimesASecondApart) {
    for (int failures = 0; failures <= 5; ++failures) {
        start();
        platform().calls.clear();
        system_calls.slept = 0;
        platform().bind_ifdb = [left = failures](void** connection) mutable -> kelvo_status {
            static int database;
            if (left-- > 0) return kPermanent;
            *connection = &database;
            return 0;
        };
        EXPECT_EQ(look_up(kPath), owner(node_answer(0x20))) << failures;
        EXPECT_EQ(platform().calls.size(), static_cast<std::size_t>(failures) + 2);
        EXPECT_EQ(system_calls.slept, static_cast<unsigned>(failures));
        EXPECT_TRUE(platform().log.empty());
    }
}

using ResolverInterfaceDeathTest = ResolverInterface;

TEST_F(ResolverInterfaceDeathTest, SixthFailureToBindEndsTheProcess) {
    platform().bind_ifdb = [](void**) {
        std::fprintf(stderr, "bind after %u s\n", system_calls.slept);
        return kPermanent;
    };
    EXPECT_DEATH((void)look_up(kPath),
                 "bind after 0 s\nbind after 1 s\nbind after 2 s\nbind after 3 s\nbind after 4 s\n"
                 "bind after 5 s\n[^\n]*common/src/kelvo_node_resolver:[0-9]+: bind_thread: "
                 "Assertion `status == 0' failed");
}

TEST_F(ResolverInterface, ConnectionThatCannotBeKeptIsUsedAndBoundAnew) {
    system_calls.setspecific_fails = ENOMEM;
    EXPECT_EQ(look_up(kPath), owner(node_answer(0x20)));
    expect_logged(qor_msg_rec_kelvoutils_internal,
                  "pthread_setspecific failed: rc 0xc (text of 0xc)");
    system_calls.setspecific_fails = 0;
    EXPECT_EQ(look_up(kPath), owner(node_answer(0x20)));
    EXPECT_EQ(platform().calls, (Lines{kBind, kAsk, kBind, kAsk}));
}

TEST_F(ResolverInterface, WithoutAKeyEveryLookupBinds) {
    (void)kelvo_nr_shutdown();
    EXPECT_EQ(look_up(kPath), owner(node_answer(0x20)));
    EXPECT_EQ(look_up(kPath), owner(node_answer(0x20)));
    EXPECT_EQ(platform().calls, (Lines{kBind, kAsk, kBind, kAsk}));
    EXPECT_TRUE(platform().log.empty()) << "no connection is to be kept";
}

// --- asking again -------------------------------------------------------------------------------

TEST_F(ResolverInterface, TransientFailureIsRetriedThreeTimesASecondApart) {
    ASSERT_EQ(look_up(kPath).status, 0U);  // binds
    for (const Failure failure : {Failure{kTransient, 0}, Failure{0, kTransient},
                                  Failure{kTransient, kPermanent}, Failure{0x9FFFFFFF, 0}}) {
        for (std::size_t failures = 0; failures <= 3; ++failures) {
            system_calls.slept = 0;
            fail_first(std::deque<Failure>(failures, failure));
            EXPECT_EQ(times_asked(owner(node_answer(0x20))), failures + 1);
            EXPECT_EQ(system_calls.slept, failures);
        }
        EXPECT_TRUE(platform().log.empty());
        system_calls.slept = 0;
        fail_first(std::deque<Failure>(4, failure));
        EXPECT_EQ(times_asked(refused(KELVO_ERR_NO_OWNER)), 4U);
        EXPECT_EQ(system_calls.slept, 3U);
        platform().log.clear();
    }
}

TEST_F(ResolverInterface, OtherFailuresAreFinal) {
    ASSERT_EQ(look_up(kPath).status, 0U);
    for (const Failure failure :
         {Failure{kPermanent, 0}, Failure{0, kPermanent}, Failure{kUnknownInterface, 0},
          Failure{0, kUnknownInterface}, Failure{0x00000001, 0}, Failure{0x60000000, 0},
          Failure{0xc0818200, 0}, Failure{0xe0000000, 0}, Failure{kPermanent, kTransient},
          Failure{kUnknownInterface, kTransient}}) {
        system_calls.slept = 0;
        fail_first({failure});
        EXPECT_EQ(times_asked(refused(KELVO_ERR_NO_OWNER)), 1U)
            << std::hex << failure.status << " " << failure.reported;
        EXPECT_EQ(system_calls.slept, 0U);
    }
}

TEST_F(ResolverInterface, RetryEndsWithTheFirstFinalAnswer) {
    ASSERT_EQ(look_up(kPath).status, 0U);
    fail_first({{kTransient, 0}, {0, kPermanent}});
    EXPECT_EQ(times_asked(refused(KELVO_ERR_NO_OWNER)), 2U);
    ASSERT_EQ(platform().log.size(), 1U);
    EXPECT_EQ(platform().log[0].text,
              "Unable to parse node from interface name ('Gi0' from 'cfg/if/act/Gi0/') (text of "
              "0xa0001200)");
}

// --- what is refused ----------------------------------------------------------------------------

TEST_F(ResolverInterface, FailureIsLogged) {
    fail_first({{0, kUnknownInterface}});
    EXPECT_EQ(look_up("cfg/if/act/Gi0/mtu"), refused(KELVO_ERR_NO_OWNER));
    expect_logged(qor_msg_rec_kelvoutils_parse_failed,
                  "Unable to parse node from interface name ('Gi0' from 'cfg/if/act/Gi0/mtu/') "
                  "(text of 0x809a3c00)");
}

TEST_F(ResolverInterface, NameWithoutANodeIsLogged) {
    locate_at(0xFFFFFFFF);
    EXPECT_EQ(look_up(kPath), refused(KELVO_ERR_NO_OWNER));
    expect_logged(qor_msg_rec_kelvoutils_parse_failed,
                  "Parsed OK but nodeid invalid for interface name ('Gi0' from 'cfg/if/act/Gi0/') "
                  "(text of 0xa0813800)");
}

TEST_F(ResolverInterface, NodeThatTheDatabaseLeavesOutIsNone) {
    platform().locate = [first = true](void*, const char*, std::uint32_t* nodeid,
                                       kelvo_status* reported) mutable -> kelvo_status {
        if (first) *nodeid = 0x20;
        *reported = first ? kTransient : 0;
        first = false;
        return 0;
    };
    EXPECT_EQ(look_up(kPath), refused(KELVO_ERR_NO_OWNER));
    ASSERT_EQ(platform().log.size(), 1U);
    EXPECT_EQ(platform().log[0].text.rfind("Parsed OK but nodeid invalid", 0), 0U);
}

TEST_F(ResolverInterface, BothGoToTheTraceOfAProcessThatHasOne) {
    int trace;
    ASSERT_EQ(start_as("client", 0, &trace), 0U);
    fail_first({{kPermanent, 0}});
    EXPECT_EQ(look_up(kPath), refused(KELVO_ERR_NO_OWNER));
    locate_at(0xFFFFFFFF);
    EXPECT_EQ(look_up(kPath), refused(KELVO_ERR_NO_OWNER));
    EXPECT_TRUE(platform().log.empty());
    EXPECT_EQ(platform().trace_records,
              (Lines{"Unable to parse node from interface name ('Gi0' from 'cfg/if/act/Gi0/') "
                     "(text of 0xa0001200)",
                     "Parsed OK but nodeid invalid for interface name ('Gi0' from "
                     "'cfg/if/act/Gi0/') (text of 0xa0813800)"}));
}

TEST_F(ResolverInterface, NameOfMoreThan63CharactersIsNotAskedFor) {
    const std::string longest(63, 'n');
    EXPECT_EQ(look_up("cfg/if/act/" + longest), owner(node_answer(0x20)));
    EXPECT_EQ(platform().calls.back(), "ifname_to_location " + longest);
    platform().calls.clear();
    EXPECT_EQ(look_up("cfg/if/act/" + longest + "n"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_TRUE(platform().calls.empty());
    expect_logged(qor_msg_rec_kelvoutils_parse_failed,
                  "Unable to parse node from interface name ('" + longest + "n' from 'cfg/if/act/" +
                      longest + "n/') (text of 0xc0825c00)");
}

TEST_F(ResolverInterface, BindToAnotherNodeMayBeRefused) {
    for (const char* process : {"kelvoshow", "kelvo_mc"}) {
        ASSERT_EQ(start_as(process, kThisNode), 0U);
        locate_at(0x20);
        EXPECT_EQ(look_up(kPath), refused(KELVO_ERR_REMOTE_LOCAL_BIND)) << process;
        EXPECT_EQ(lines_of(kPath),
                  (Lines{"Attempted bind to local namespace on node 0_0_32 from node 0_0_16 has "
                         "been rejected, path cfg/if/act/Gi0/"}));
        EXPECT_EQ(look_up(kPath, kManagement), owner(node_answer(0x20))) << process;
        EXPECT_EQ(look_up(kPath, kServer), owner(kLocal)) << process;
        locate_at(kThisNode);
        EXPECT_EQ(look_up(kPath), owner(kLocal)) << process;
    }
    platform().is_single_node = [] { return 1U; };
    ASSERT_EQ(start_as("kelvo_mc"), 0U);
    locate_at(0x20);
    EXPECT_EQ(look_up(kPath), owner(node_answer(0x20)));
}

}  // namespace
