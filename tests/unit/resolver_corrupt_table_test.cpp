// SPDX-License-Identifier: Apache-2.0
//
// A table that no path could have brought about. This program defines the exported table itself, so
// the library walks this one.
#include <csignal>

#include "support/resolver_fixture.h"

/// "cfg" meets an operation that there is not, "data" a result that there is not; the walk goes on
/// behind the end of any other path, where there is no component, and ends as it should.
const kelvo_nr_dfa_state kelvo_nr_dfa_state_table[KELVO_NR_DFA_STATES] = {
    /* 0 */ {KELVO_NR_DFA_MATCH, 0x1b2b0, 1, 2},  // "cfg"
    /* 1 */ {0x49a0c016, 0, 5, 5},
    /* 2 */ {KELVO_NR_DFA_MATCH, 0x3881da, 3, 4},  // "data"
    /* 3 */ {KELVO_NR_DFA_RESULT, 0x61efc616, 0, 0},
    /* 4 */ {KELVO_NR_DFA_NO_OPERATION, 0, 6, 0},
    /* 5 */ {KELVO_NR_DFA_RESULT, KELVO_NR_DFA_LOCAL, 0, 0},
    /* 6 */ {KELVO_NR_DFA_ADVANCE, 0, 6, 7},
    /* 7 */ {KELVO_NR_DFA_ADVANCE, 0, 3, 8},
    /* 8 */ {KELVO_NR_DFA_ADVANCE, 0, 3, 5},
};
const uint32_t kelvo_nr_dfa_start_state = 0;

namespace {

using namespace kelvo::test;

class ResolverCorruptTableDeathTest : public Resolver {
  protected:
    ResolverCorruptTableDeathTest() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        start();
    }
};

/// Shows what a process had logged when it was stopped.
void show_log(int /*signal*/) {
    for (const Logged& line : platform().log) {
        std::fprintf(stderr, "logged on %s at %d: %s\n", line.record->mnemonic, line.severity,
                     line.text.c_str());
    }
}

void look_up_and_show(const char* path) {
    (void)std::signal(SIGABRT, show_log);
    (void)look_up(path);
}

TEST_F(ResolverCorruptTableDeathTest, LibraryWalksThisTable) {
    EXPECT_EQ(look_up("anything"), owner(kLocal));
}

TEST_F(ResolverCorruptTableDeathTest, RootIsAmbiguousOnlyWhereTheTableHasItInvalid) {
    EXPECT_EQ(look_up(""), owner(kLocal));
    EXPECT_EQ(lines_of("").front(), "'/' -> LOCAL ");
}

TEST_F(ResolverCorruptTableDeathTest, UnknownOperationEndsTheProcess) {
    EXPECT_DEATH(look_up_and_show("cfg"),
                 "common/src/kelvo_node_resolver:[0-9]+: refuse_state: Assertion `0' failed[^\n]*\n"
                 "logged on UNEXPECTED_VALUE at 7: Encountered unexpected DFA state: 0x1\n");
}

TEST_F(ResolverCorruptTableDeathTest, UnknownResultEndsTheProcess) {
    EXPECT_DEATH(
        look_up_and_show("data"),
        "common/src/kelvo_node_resolver:[0-9]+: refuse_result: Assertion `0' failed[^\n]*\n"
        "logged on INTERNAL at 7: Bad DFA return value: rc 0x61efc616 \\(text of "
        "0x61efc616\\)\n");
}

}  // namespace
