// SPDX-License-Identifier: Apache-2.0
//
// How the table's verdict becomes an answer. That the verdict itself is right is the business of
// resolver_table_test.
#include <cstring>

#include "platform/failing_memory.h"
#include "support/resolver_fixture.h"

namespace {

using namespace kelvo::test;

constexpr std::uint32_t kRegexp = KELVO_NR_OPT_REGEXP;
constexpr std::uint32_t kManagement = KELVO_NR_OPT_MANAGEMENT;
constexpr std::uint32_t kServer = KELVO_NR_OPT_SERVER;
constexpr std::uint32_t kUnversionedOption = KELVO_NR_OPT_UNVERSIONED;
constexpr std::uint32_t kCcvOption = KELVO_NR_OPT_CCV;

constexpr const char* kTrue = "Setting versioned flag to TRUE (options=0x0)";
constexpr const char* kTrueForManagement = "Setting versioned flag to TRUE (options=0x2)";

class ResolverLookup : public Resolver {
  protected:
    ResolverLookup() { start(); }
};

// --- arguments ----------------------------------------------------------------------------------

TEST_F(ResolverLookup, NullArgumentsAreRefusedSilently) {
    kelvo_nr_answer answer{1, 2, 3, 4};
    std::uint32_t mark = kUntouched;
    EXPECT_EQ(kelvo_nr_lookup_node(nullptr, "cfg/gl", 0, &answer, &mark), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(answer, kIllegal);
    answer = {1, 2, 3, 4};
    EXPECT_EQ(kelvo_nr_lookup_node("cfg/gl", nullptr, 0, &answer, &mark), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(answer, kIllegal);
    EXPECT_EQ(kelvo_nr_lookup_node("cfg/gl", "", 0, nullptr, &mark), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(mark, kUntouched);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(ResolverLookup, NullArgumentIsRefusedBeforeABadPath) {
    kelvo_nr_answer answer;
    EXPECT_EQ(kelvo_nr_lookup_node("/cfg", nullptr, 0, &answer, nullptr), KELVO_ERR_NULL_PARAM);
}

TEST_F(ResolverLookup, MarkOfAmbiguityIsOptional) {
    kelvo_nr_answer answer;
    EXPECT_EQ(kelvo_nr_lookup_node("cfg/", "", 0, &answer, nullptr), 0U);
    EXPECT_EQ(answer, kSharedSc);
}

TEST_F(ResolverLookup, NeitherPartMayStartWithASlash) {
    EXPECT_EQ(look_up("/cfg/gl", ""), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(look_up("", "/cfg/gl"), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(look_up("cfg", "/gl"), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(look_up("cfg", "/"), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(look_up("/", "cfg/gl"), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(look_up("/", "/"), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(look_up("//"), refused(KELVO_ERR_BAD_PATH));
    EXPECT_TRUE(platform().log.empty());
}

// --- joining ------------------------------------------------------------------------------------

TEST_F(ResolverLookup, PartsAreJoinedAsTheyStand) {
    EXPECT_EQ(look_up("cfg/", "gl/x"), owner(kSharedSc));
    EXPECT_EQ(look_up("cf", "g/gl"), owner(kSharedSc));
    EXPECT_EQ(look_up("cfg/gl/x", ""), owner(kSharedSc));
    EXPECT_EQ(look_up("", "cfg/gl/x"), owner(kSharedSc));
    EXPECT_EQ(look_up("cfg", "gl"), refused(KELVO_ERR_NO_OWNER));
}

TEST_F(ResolverLookup, LastSlashIsAddedUnlessItIsThere) {
    EXPECT_EQ(lines_of("cfg/gl")[0], "'cfg/gl/' -> SHARED ");
    EXPECT_EQ(lines_of("cfg/gl/")[0], "'cfg/gl/' -> SHARED ");
    EXPECT_EQ(lines_of("cfg/gl//")[0], "'cfg/gl//' -> SHARED ");
}

TEST_F(ResolverLookup, RootIsAmbiguousNotInvalid) {
    EXPECT_EQ(look_up("", ""), ambiguous(kSharedNc));
    EXPECT_EQ(look_up("", "/"), ambiguous(kSharedNc));
    EXPECT_EQ(look_up("/", ""), ambiguous(kSharedNc));
    EXPECT_EQ(look_up("", kManagement), ambiguous(kAllLr));
    EXPECT_EQ(lines_of(""), (Lines{"Downgrading '/' from invalid to ambiguous",
                                   "kelvo_nr_lookup_node: ambiguous bind / -> shared",
                                   "kelvo_nr_lookup_shared: / -> shared-nc", kTrue}));
}

TEST_F(ResolverLookup, EmptyComponentMatchesNothing) {
    EXPECT_EQ(look_up("cfg//gl"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("oper//gl"), owner(kSharedNc)) << "any component may be empty";
}

Found look_up_without_memory(const std::string& prefix, const std::string& path) {
    Found found{0, {1, 2, 3, 4}, kUntouched};
    const FailingMemory fail(0, FailingMemory::kNever);
    found.status =
        kelvo_nr_lookup_node(prefix.c_str(), path.c_str(), 0, &found.answer, &found.ambiguous);
    return found;
}

TEST_F(ResolverLookup, PathsOf510BytesAllocateNothing) {
    const std::string path = "cfg/gl/" + std::string(600, 'x');
    for (const std::size_t length : {0U, 1U, 7U, 100U, 509U, 510U}) {
        EXPECT_NE(look_up_without_memory("", path.substr(0, length)).status, KELVO_ERR_NO_MEMORY)
            << length;
    }
    EXPECT_EQ(look_up_without_memory("", path.substr(0, 511)), refused(KELVO_ERR_NO_MEMORY));
}

TEST_F(ResolverLookup, LongerPathsNeedMemory) {
    const std::string path = "gl/" + std::string(503, 'x');
    ASSERT_EQ(path.size() + 4, 510U);
    EXPECT_EQ(look_up_without_memory("cfg/", path), owner(kSharedSc));
    EXPECT_EQ(look_up_without_memory("cfg/", path + "y"), refused(KELVO_ERR_NO_MEMORY));
    EXPECT_EQ(look_up_without_memory("cfg/", path + "/"), refused(KELVO_ERR_NO_MEMORY));
    EXPECT_EQ(look_up("cfg/", path + "y"), owner(kSharedSc));
    EXPECT_EQ(look_up("cfg/", path + std::string(100000, 'y') + "/"), owner(kSharedSc));
}

TEST_F(ResolverLookup, LongPathIsReleased) {
    for (const std::string start : {"cfg/gl/", "cfg/zzz/", "remote/1/cfg/gl/", "rules/"}) {
        const std::string path = start + std::string(600, 'x');
        kelvo_nr_answer answer;
        const FailingMemory count;
        (void)kelvo_nr_lookup_node("", path.c_str(), 0, &answer, nullptr);
        EXPECT_EQ(FailingMemory::allocations(), 1U) << start;
        EXPECT_EQ(FailingMemory::outstanding(), 0) << start;
    }
}

// --- the remote form ----------------------------------------------------------------------------

kelvo_nr_answer remote(kelvo_nr_answer answer, std::uint32_t number) {
    answer.node_id = number;
    return answer;
}

TEST_F(ResolverLookup, RemoteNumberBecomesTheNodeOfASystemwideAnswer) {
    EXPECT_EQ(look_up("remote/3/cfg/gl/a"), owner(remote(kSharedSc, 3)));
    EXPECT_EQ(look_up("remote/3/", "cfg/gl/a"), owner(remote(kSharedSc, 3)));
    EXPECT_EQ(look_up("remote/17/admin/cfg/gl"), owner(remote(kAdmin, 17)));
    EXPECT_EQ(look_up("remote/205/cfg/gl"), owner(remote(kSharedSc, 205)));
    EXPECT_EQ(look_up("remote/3/cfg/gl", kCcvOption), owner(remote(kCcv, 3)));
    EXPECT_EQ(look_up("remote/4294967295/cfg/gl"), owner(remote(kSharedSc, 0xFFFFFFFF)));
    EXPECT_EQ(look_up("remote/3/cfg"), ambiguous(remote(kSharedSc, 3)));
    EXPECT_EQ(look_up("remote/0/oper/a/gl"), owner(remote(kSharedNc, 0)));
    EXPECT_EQ(look_up("remote/3/ipc/gl"), owner(unversioned(remote(kSharedNc, 3))));
    EXPECT_EQ(look_up("remote/3//"), ambiguous(remote(kSharedNc, 3)));
}

TEST_F(ResolverLookup, RemoteNumberIsTheDigitsItBeginsWith) {
    EXPECT_EQ(look_up("remote/12ab/cfg/gl"), owner(remote(kSharedSc, 12)));
    EXPECT_EQ(look_up("remote/0x10/cfg/gl"), owner(remote(kSharedSc, 0)));
    EXPECT_EQ(look_up("remote/ab/cfg/gl"), owner(remote(kSharedSc, 0)));
    EXPECT_EQ(look_up("remote/12:3/cfg/gl"), owner(remote(kSharedSc, 12)));
    EXPECT_EQ(look_up("remote/12./cfg/gl"), owner(remote(kSharedSc, 12)));
}

TEST_F(ResolverLookup, OtherAnswersCannotCarryARemoteNumber) {
    for (const std::string path :
         {"remote/3/cfg/node/act/10/a", "remote/3/ipc/local", "remote/3/cfg/node/act"}) {
        EXPECT_EQ(look_up(path), refused(KELVO_ERR_BAD_PATH)) << path;
    }
    EXPECT_EQ(look_up("remote/3/cfg/node/act", kManagement), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(look_up("remote/3/cfg", kManagement), refused(KELVO_ERR_BAD_PATH)) << "all LR";
    EXPECT_EQ(look_up("remote/3/debug/gl/LR/ALL/kelvo/"), refused(KELVO_ERR_BAD_PATH))
        << "all shared";
}

TEST_F(ResolverLookup, RefusedRemotePathKeepsItsOwnStatus) {
    EXPECT_EQ(look_up("remote/3/cfg/zzz"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("remote/3/"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("remote/3"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("remote/"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("remote"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("remote/3/remote/4/cfg/gl"), refused(KELVO_ERR_NO_OWNER));
}

TEST_F(ResolverLookup, EveryOtherPathThatBeginsWithRIsRefused) {
    for (const std::string path :
         {"rules/x", "r", "remot/3/cfg/gl", "remotes/3/cfg/gl", "remote3/cfg/gl", "rack", "r*/x"}) {
        EXPECT_EQ(look_up(path), refused(KELVO_ERR_BAD_PATH)) << path;
    }
    EXPECT_EQ(look_up("re", "mote/3/cfg/gl"), owner(remote(kSharedSc, 3)));
    EXPECT_EQ(look_up("Remote/3/cfg/gl"), refused(KELVO_ERR_NO_OWNER));
}

TEST_F(ResolverLookup, RestOfARemotePathIsWhatLinesName) {
    EXPECT_EQ(
        lines_of("remote/3/cfg/gl"),
        (Lines{"kelvo_nr_get_remote_basename: remote/3/cfg/gl/ -> cfg/gl/", "'cfg/gl/' -> SHARED ",
               "kelvo_nr_lookup_shared: cfg/gl/ -> shared-sc", kTrue}));
}

// --- the state machine --------------------------------------------------------------------------

/// The lines that a walk is to leave, read off the table.
std::vector<std::string> transitions_of(const std::string& path) {
    std::vector<std::string> lines;
    const char* component = path.c_str();
    std::uint32_t hash = 0;
    std::uint32_t number = kelvo_nr_dfa_start_state;
    for (;;) {
        const kelvo_nr_dfa_state& state = kelvo_nr_dfa_state_table[number];
        if (state.operation == KELVO_NR_DFA_RESULT) return lines;
        std::uint32_t next = state.on_success;
        if (state.operation == KELVO_NR_DFA_ADVANCE) {
            hash = 0;
            component = std::strchr(component, '/') + 1;
            if (*component == '\0') next = state.on_failure;
        }
        if (state.operation == KELVO_NR_DFA_MATCH) {
            hash = 0;
            for (const char* at = component; *at != '/'; ++at) {
                hash = hash * 33 + static_cast<std::uint32_t>(static_cast<signed char>(*at));
            }
            if (hash != state.argument) next = state.on_failure;
        }
        char line[300];
        std::snprintf(line, sizeof line,
                      "Transition from state %u to state %u, with hash cache %u, for path '%s'",
                      number, next, hash, path.c_str());
        lines.emplace_back(line);
        number = next;
    }
}

TEST_F(ResolverLookup, EveryTransitionIsTracedUnderTheFinerFlag) {
    for (const std::string path :
         {"cfg/gl/", "oper/config/x\xe4/if/1/", "cfg/zzz/", "oper/", "/"}) {
        platform().debug_lines.clear();
        kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER_DFA].enabled = 1;
        (void)look_up(path == "/" ? "" : path, kServer);
        EXPECT_EQ(platform().debug_lines, transitions_of(path)) << path;
        EXPECT_EQ(platform().debug_lines[0].rfind("Transition from state 165 to state ", 0), 0U);
    }
}

TEST_F(ResolverLookup, RegexpEndsTheWalkOfAManagementClientThatMayUseThem) {
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER_DFA].enabled = 1;
    EXPECT_EQ(look_up("cfg/g*/x", kRegexp | kManagement), ambiguous(kAllLr));
    EXPECT_EQ(platform().debug_lines.back(), "Regexp path 'g*' found in 'cfg/g*/x/'");
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER_DFA].enabled = 0;

    EXPECT_EQ(look_up("cfg/g*/x", kRegexp), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("cfg/g*/x", kManagement), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("cfg/g*/x"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("admin/(oper|cfg)/x", kRegexp | kManagement), ambiguous(kAdmin));
    EXPECT_EQ(look_up("action/a*/gl", kRegexp | kManagement), owner(kSharedNc))
        << "where no name is compared, a regular expression is as good as any component";
}

TEST_F(ResolverLookup, RegexpCountsInTheComponentThatIsAskedForOnly) {
    EXPECT_EQ(look_up("cfg/zzz/x*", kRegexp | kManagement), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("cfg/gl/x*", kRegexp | kManagement), owner(kSharedSc));
    EXPECT_EQ(look_up("debug/node/10/x*", kRegexp), owner(kLocal));
    EXPECT_EQ(look_up("debug/node/10/x*", kRegexp | kManagement), owner(kLocal));
    EXPECT_EQ(look_up("action/a*/node/10", kRegexp | kManagement), owner(kLocal));
}

TEST_F(ResolverLookup, DotIsNotARegexp) {
    EXPECT_EQ(look_up("cfg/g.l", kRegexp | kManagement), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("oper/a/if/Gi0.1", kRegexp | kServer), owner(kLocal));
    EXPECT_EQ(look_up("oper/a/if/Gi0.1*", kRegexp | kManagement), owner(kAllLocal));
}

TEST_F(ResolverLookup, LinesOfARegexpFollowTheCoarserFlagToo) {
    EXPECT_EQ(lines_of("cfg/g*", kRegexp | kManagement),
              (Lines{"Changing INVALID to AMBIGUOUS for management client",
                     "kelvo_nr_lookup_node: ambiguous mgmt bind cfg/g*/ -> all LR",
                     "Setting versioned flag to TRUE (options=0x3)"}));
}

TEST_F(ResolverLookup, ComponentOf512BytesOverrunsTheRegexpTest) {
    const std::string fits = std::string(510, 'x') + "*";
    EXPECT_EQ(look_up("cfg/" + fits, kRegexp | kManagement), ambiguous(kAllLr));
    EXPECT_TRUE(platform().log.empty());
    const std::string overruns = std::string(511, 'x') + "*";
    EXPECT_EQ(look_up("cfg/" + overruns, kRegexp | kManagement), refused(KELVO_ERR_NO_OWNER));
    expect_logged(qor_msg_rec_kelvoutils_internal_state, "NR DFA pathname overrun");
    platform().log.clear();
    EXPECT_EQ(look_up("cfg/" + overruns, kManagement), refused(KELVO_ERR_NO_OWNER));
    EXPECT_TRUE(platform().log.empty());
    EXPECT_EQ(look_up("oper/a/if/" + overruns, kRegexp | kManagement), owner(kAllLocal))
        << "a wildcard test has no limit";
}

TEST_F(ResolverLookup, WildcardStandsForAllLocalServersOfAManagementClient) {
    for (const std::string path :
         {"cfg/if/act/Gi*", "data/node/act/0_*", "oper/if/Gi*", "oper/a/b/node/*", "debug/node/*",
          "oper/diag-timer-ntp-test/*"}) {
        EXPECT_EQ(look_up(path, kRegexp | kManagement), owner(kAllLocal)) << path;
        EXPECT_EQ(look_up(path, kRegexp), owner(kLocal)) << path;
    }
}

// --- deprecated paths ---------------------------------------------------------------------------

TEST_F(ResolverLookup, DeprecatedPathIsNamedInLaterLines) {
    EXPECT_EQ(lines_of("oper/config/startup"),
              (Lines{"Path 'oper/config/startup/' is deprecated",
                     "'oper/config/startup/' -> SHARED (deprecated)",
                     "kelvo_nr_lookup_shared: oper/config/startup/ -> shared-nc", kTrue}));
    EXPECT_EQ(lines_of("ipc/if"),
              (Lines{"Path 'ipc/if/' is deprecated", "'ipc/if/' -> LOCAL (deprecated)",
                     "Setting versioned flag to FALSE (options=0x0)"}));
    EXPECT_EQ(lines_of("oper/if/Gi*", kRegexp | kManagement)[1],
              "kelvo_nr_lookup_node: oper/if/Gi*/ -> all local (deprecated)");
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(ResolverLookup, UseOfSomeDeprecatedPathsIsLogged) {
    EXPECT_EQ(look_up("foo/x"), owner(kSharedNc));
    expect_logged(qor_msg_rec_kelvoutils_deprecated_path, "Kelvo path 'foo/x/' is deprecated");
    for (const std::string path : {"gsr", "cfg/if/gl/x"}) {
        platform().log.clear();
        EXPECT_EQ(look_up(path).status, 0U);
        expect_logged(qor_msg_rec_kelvoutils_deprecated_path,
                      "Kelvo path '" + path + "/' is deprecated");
    }
}

TEST_F(ResolverLookup, ShowToolRefusesDeprecatedPaths) {
    ASSERT_EQ(start_as("kelvoshow", kThisNode), 0U);
    EXPECT_EQ(look_up("oper/config/startup"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("foo"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("foo", kCcvOption), refused(KELVO_ERR_NO_OWNER)) << "nothing overrides this";
    EXPECT_TRUE(platform().log.empty()) << "what is refused is not logged";
    EXPECT_EQ(lines_of("foo"), (Lines{"Path 'foo/' is deprecated"}));
    EXPECT_EQ(look_up("cfg/gl"), owner(kSharedSc));
}

// --- management clients -------------------------------------------------------------------------

TEST_F(ResolverLookup, ManagementClientIsSentToAllLocalServers) {
    EXPECT_EQ(look_up("cfg/node/act"), owner(kLocal));
    EXPECT_EQ(look_up("cfg/node/act", kManagement), owner(kAllLocal));
    EXPECT_EQ(lines_of("cfg/node/act", kManagement),
              (Lines{"Upgrading LOCAL to ALL_LOCAL for management client",
                     "kelvo_nr_lookup_node: cfg/node/act/ -> all local ", kTrueForManagement}));
    EXPECT_EQ(look_up("oper/diag-timer-ntp-test"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("oper/diag-timer-ntp-test", kManagement), owner(kAllLocal))
        << "the flag upgrades whatever the result was";
}

TEST_F(ResolverLookup, InvalidTurnsAmbiguousForAManagementClient) {
    EXPECT_EQ(look_up("action"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("action", kManagement), ambiguous(kAllLr));
    EXPECT_EQ(look_up("admin/oper"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("admin/oper", kManagement), ambiguous(kAdmin));
    EXPECT_EQ(lines_of("admin/oper", kManagement),
              (Lines{"Changing INVALID to AMBIGUOUS for management client",
                     "kelvo_nr_lookup_node: ambiguous mgmt bind admin/oper/ -> admin",
                     kTrueForManagement}));
}

// --- CCV ----------------------------------------------------------------------------------------

TEST_F(ResolverLookup, UnverifiedRequestsGoToTheCcvWhateverThePath) {
    for (const std::string path : {"cfg/gl", "cfg/zzz", "cfg", "", "cfg/node/act/11", "foo"}) {
        EXPECT_EQ(look_up(path, kCcvOption), owner(kCcv)) << path;
        EXPECT_EQ(look_up(path, kCcvOption | kManagement), owner(kCcv)) << path;
    }
    EXPECT_EQ(look_up("ipc/gl", kCcvOption), owner(unversioned(kCcv)));
    EXPECT_EQ(look_up("cfg/gl", kCcvOption | kUnversionedOption), owner(unversioned(kCcv)));
    EXPECT_EQ(look_up("/cfg/gl", kCcvOption), refused(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(lines_of("gsr", kCcvOption),
              (Lines{"Path 'gsr/' is deprecated", "Changing to CCV for unverified config requests",
                     "kelvo_nr_lookup_node: gsr/ -> CCV (deprecated)",
                     "Setting versioned flag to TRUE (options=0x10)"}));
    EXPECT_EQ(lines_of("cfg/gl", kCcvOption)[1], "kelvo_nr_lookup_node: cfg/gl/ -> CCV ");
}

// --- shared, local, admin -----------------------------------------------------------------------

TEST_F(ResolverLookup, SharedServerIsChosenByThePath) {
    EXPECT_EQ(look_up("cfg/gl/x"), owner(kSharedSc));
    EXPECT_EQ(look_up("data/gl"), owner({1000000000, 0xFFFFFFFF, 1, 4}));
    EXPECT_EQ(look_up("oper/kelvo/gl"), owner(kSharedNc));
    EXPECT_EQ(look_up("debug/gl/LR/ALL/kelvo"), owner({-3, 0xFFFFFFFF, 1, 0}));
    EXPECT_EQ(look_up("shadow/gl"), owner(kSharedNc));
}

TEST_F(ResolverLookup, InvalidPathHasNoOwner) {
    for (const std::string path : {"cfg/zzz", "zzz", "cfg/node/10/a", "debug/if", "admin/zzz"}) {
        EXPECT_EQ(look_up(path), refused(KELVO_ERR_NO_OWNER)) << path;
        EXPECT_TRUE(lines_of(path).empty()) << path;
    }
}

TEST_F(ResolverLookup, LocalAndAdminSayWhereTheyGo) {
    EXPECT_EQ(look_up("ipc/local"), owner(unversioned(kLocal)));
    EXPECT_EQ(lines_of("cfg/if/act"), (Lines{"'cfg/if/act/' -> LOCAL ", kTrue}));
    EXPECT_EQ(look_up("admin/cfg/rack-slot/1"), owner(kAdmin));
    EXPECT_EQ(lines_of("admin/cfg/gl"),
              (Lines{"kelvo_nr_lookup_node: admin/cfg/gl/ -> admin ", kTrue}));
}

TEST_F(ResolverLookup, SharedPlaneIsOutOfReachOfACardThatIsLocalOnly) {
    start_on_card(PLATFORM_TYPE_LOCAL_ONLY);
    EXPECT_EQ(look_up("cfg/gl"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(lines_of("cfg/gl"),
              (Lines{"'cfg/gl/' -> SHARED ",
                     "An attempt was made to access Kelvo path 'cfg/gl/'.  This resolves to the "
                     "shared plane and cannot be accessed on this card type."}));
    EXPECT_EQ(look_up("cfg/if/act/Gi0"), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(look_up("cfg/if/act/Gi0", kServer), refused(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(lines_of("oper/if/Gi0"),
              (Lines{"Path 'oper/if/Gi0/' is deprecated",
                     "An attempt was made to access Kelvo path 'oper/if/Gi0/'.  This resolves to "
                     "the shared plane and cannot be accessed on this card type."}));
    EXPECT_TRUE(platform().calls.empty()) << "the interface database is not asked";
    EXPECT_TRUE(platform().log.empty());
    EXPECT_EQ(look_up("admin/cfg/gl"), owner(kAdmin));
    EXPECT_EQ(look_up("ipc/local"), owner(unversioned(kLocal)));
}

TEST_F(ResolverLookup, EveryOtherCardReachesTheSharedPlane) {
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 5U, 6U, 99U}) {
        start_on_card(type);
        EXPECT_EQ(look_up("cfg/gl"), owner(kSharedSc)) << type;
    }
}

// --- ambiguous paths ----------------------------------------------------------------------------

TEST_F(ResolverLookup, AmbiguousPathOfAManagementClient) {
    EXPECT_EQ(look_up("cfg/", kManagement), ambiguous(kAllLr));
    EXPECT_EQ(look_up("admin/", kManagement), ambiguous(kAdmin));
    EXPECT_EQ(look_up("admin/cfg", kManagement), ambiguous(kAdmin));
    EXPECT_EQ(
        lines_of("oper/a", kManagement),
        (Lines{"kelvo_nr_lookup_node: ambiguous mgmt bind oper/a/ -> all LR", kTrueForManagement}));
}

TEST_F(ResolverLookup, AmbiguousPathGoesByTheCard) {
    for (const std::uint32_t type : {0U, 1U, 3U}) {
        start_on_card(type);
        EXPECT_EQ(look_up("cfg/"), ambiguous(kSharedSc)) << type;
        EXPECT_EQ(look_up("oper/a"), ambiguous(kSharedNc)) << type;
        EXPECT_EQ(lines_of("oper/a"),
                  (Lines{"kelvo_nr_lookup_node: ambiguous bind oper/a/ -> shared",
                         "kelvo_nr_lookup_shared: oper/a/ -> shared-nc", kTrue}))
            << type;
    }
    for (const std::uint32_t type : {2U, 4U, 5U}) {
        start_on_card(type);
        EXPECT_EQ(look_up("cfg/"), ambiguous(kLocal)) << type;
        EXPECT_EQ(lines_of("cfg"),
                  (Lines{"kelvo_nr_lookup_node: ambiguous bind cfg/ -> local", kTrue}))
            << type;
    }
    for (const std::uint32_t type : {6U, 7U, 0xFFFFFFFFU}) {
        start_on_card(type);
        EXPECT_EQ(look_up("cfg/"), refused(KELVO_ERR_NO_OWNER)) << type;
        EXPECT_EQ(look_up("cfg/", kManagement), ambiguous(kAllLr)) << type;
    }
}

TEST_F(ResolverLookup, AmbiguousAdminPathIsForManagementClientsOnly) {
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 4U, 5U, 6U}) {
        start_on_card(type);
        for (const std::string path : {"admin", "admin/cfg", "admin/oper/a", "admin/ipc"}) {
            EXPECT_EQ(look_up(path), refused(KELVO_ERR_NO_OWNER)) << path << " on " << type;
        }
    }
}

TEST_F(ResolverLookup, AmbiguousAnswerIsUnversionedForTheLetterI) {
    EXPECT_EQ(look_up("ipc"), ambiguous(unversioned(kSharedNc)));
    EXPECT_EQ(look_up("ipc", kManagement), ambiguous(unversioned(kAllLr)));
    EXPECT_EQ(look_up("admin/ipc", kManagement), ambiguous(unversioned(kAdmin)));
    EXPECT_EQ(look_up("i*", kRegexp | kManagement), ambiguous(unversioned(kAllLr)));
    EXPECT_EQ(look_up("admin/i(a|b)", kRegexp | kManagement), ambiguous(unversioned(kAdmin)));
    EXPECT_EQ(look_up("oper/iptv"), ambiguous(kSharedNc)) << "only the first component counts";
    EXPECT_EQ(look_up("admin/oper/iptv", kManagement), ambiguous(kAdmin));
    EXPECT_EQ(look_up("I*", kRegexp | kManagement), ambiguous(kAllLr));
    EXPECT_EQ(lines_of("ipc", kManagement).back(), "Setting versioned flag to FALSE (options=0x2)");
}

// --- versions -----------------------------------------------------------------------------------

TEST_F(ResolverLookup, OptionKeepsAnswersUnversioned) {
    EXPECT_EQ(look_up("cfg/gl", kUnversionedOption), owner(unversioned(kSharedSc)));
    EXPECT_EQ(look_up("cfg", kUnversionedOption), ambiguous(unversioned(kSharedSc)));
    EXPECT_EQ(look_up("ipc/gl"), owner(unversioned(kSharedNc)));
    EXPECT_EQ(look_up("admin/ipc/gl"), owner(unversioned(kAdmin)));
    EXPECT_EQ(lines_of("cfg/gl", kUnversionedOption).back(),
              "Setting versioned flag to FALSE (options=0x8)");
}

// --- debug lines are gated ----------------------------------------------------------------------

TEST_F(ResolverLookup, NoLineIsWrittenWhileTheFlagsAreOff) {
    for (const std::string path : {"cfg/gl", "foo", "cfg", "", "remote/1/cfg/gl", "admin/cfg/gl"}) {
        (void)look_up(path);
        (void)look_up(path, kRegexp | kManagement | kCcvOption);
    }
    EXPECT_TRUE(platform().debug_lines.empty());
}

}  // namespace
