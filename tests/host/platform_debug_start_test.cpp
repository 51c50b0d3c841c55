// SPDX-License-Identifier: Apache-2.0
//
// Which debug flags are on from the start. Each test registers them in a child process, with the
// configuration and the environment that it is about.
#include <gtest/gtest.h>

#include <string>

#include "support/child.h"
#include "support/debug_table.h"

namespace {

using kelvo::test::DebugTable;
using kelvo::test::in_child;
using kelvo::test::ScratchDirectory;
using kelvo::test::use_configuration;

/// The states of the two flags as they are registered under a configuration and an environment.
std::string states_under(const std::string& configuration, const char* variable) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("platform.conf", configuration);
    return in_child([&] {
               use_configuration(path);
               unsetenv("KELVO_DEBUG");
               if (variable != nullptr) setenv("KELVO_DEBUG", variable, 1);
               DebugTable table;
               table.add();
               std::printf("%s", table.states().c_str());
           })
        .output;
}

TEST(DebugFlags, TheConfigurationSaysWhichAreOn) {
    EXPECT_EQ(states_under("", nullptr), "00");
    EXPECT_EQ(states_under("debug = [ \"node-resolver\" ];", nullptr), "10");
    EXPECT_EQ(states_under("debug = [ \"x\", \"node-resolver/dfa\" ];", nullptr), "01");
    EXPECT_EQ(states_under("debug = [ \"/debug/kelvo/common/node-resolver/dfa\" ];", nullptr),
              "01");
    EXPECT_EQ(states_under("debug = [ \"all\" ];", nullptr), "11");
    EXPECT_EQ(states_under("debug = [ \"dfa\", \"node\", \"/debug/kelvo/common/\" ];", nullptr),
              "00");
}

TEST(DebugFlags, TheEnvironmentTakesThePlaceOfTheConfiguration) {
    EXPECT_EQ(states_under("", "node-resolver,node-resolver/dfa"), "11");
    EXPECT_EQ(states_under("debug = [ \"all\" ];", "node-resolver"), "10");
    EXPECT_EQ(states_under("debug = [ \"all\" ];", ""), "00");
    EXPECT_EQ(states_under("", " /debug/kelvo/common/node-resolver , x"), "10");
    EXPECT_EQ(states_under("", "all"), "11");
}

TEST(DebugFlags, StayOffWhileTheConfigurationIsInError) {
    EXPECT_EQ(states_under("debug = [ \"all\" ]; x = 1;", "all"), "00");
}

}  // namespace
