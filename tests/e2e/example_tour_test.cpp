// SPDX-License-Identifier: Apache-2.0
//
// The example client's tour against the example server: it must end well, and say what it is for.
#include <gtest/gtest.h>

#include "e2e/processes.h"

namespace kelvo::test {
namespace {

class ExampleTour : public testing::Test {
  protected:
    RuntimeDirectory directory_;
    std::string log_ = directory_.file("/server.log");
    std::string transcript_ = directory_.file("/transcript");
};

TEST_F(ExampleTour, EndsWellAndShowsEveryPart) {
    Process server(EXAMPLE_SERVER, log_);
    Process client(EXAMPLE_CLIENT, transcript_);
    const int code = client.wait_for_end();
    const std::string text = contents(transcript_);
    EXPECT_EQ(code, 0) << text << "\n--- server ---\n" << contents(log_);
    for (const char* line : {
             "Who owns a path, and through which channel it is reached",
             "/dev/kelvosvr-local",
             "/dev/kelvosvr-primary-shared-sc",
             "/admin/dev/kelvosvr-primary-admin",
             "KELVO_ERR_NO_OWNER: no server owns the path",
             "KELVO_ERR_VERSION_MISMATCH: a bind request carries the wrong protocol version",
             "oper/net/if/lo/mtu (4-byte integer)",
             "EXAMPLE_ERR_VALUE_DIFFERS: the item holds another value",
             "\"uplink (rack 1/slot *)\" is encoded as \"uplink %28rack 1%2fslot %2a%29\"",
             "entries                                            2, more follow",
             "find oper/net/if/.*/mtu",
             "sees what is committed",
             "EXAMPLE_ERR_LOCKED: another client holds the item",
             "operation 99 on cfg/gl/example/9                   KELVO_ERR_NOT_SUPPORTED",
             "copy cfg/gl/example/ to cfg/gl/copy/",
             "changed cfg/gl/watched/x = 1 to 2",
             "the verifier is asked",
             "EXAMPLE_ERR_VERIFIER_REFUSED: a verifier refused the change",
             "refused with KELVO_ERR_MSG_LENGTH",
             "conversion_marker",
             "results checked, 0 differed.",
         })
        EXPECT_NE(text.find(line), std::string::npos) << line;
    EXPECT_EQ(text.find('\033'), std::string::npos) << "colour in a file";

    server.signal(SIGTERM);
    EXPECT_EQ(server.wait_for_end(), 0) << contents(log_);
}

TEST_F(ExampleTour, ServerTakesItsSocketsWithIt) {
    const std::string socket = directory_.file("/dev/kelvosvr-local");
    Process server(EXAMPLE_SERVER, log_);
    { const RawConnection up(directory_.file("/admin/dev/kelvosvr-primary-admin")); }
    EXPECT_TRUE(std::filesystem::exists(socket));
    server.signal(SIGTERM);
    EXPECT_EQ(server.wait_for_end(), 0);
    EXPECT_FALSE(std::filesystem::exists(socket));
}

TEST_F(ExampleTour, SecondServerInOneDirectoryIsRefused) {
    Process first(EXAMPLE_SERVER, log_);
    { const RawConnection up(directory_.file("/admin/dev/kelvosvr-primary-admin")); }
    const std::string second_log = directory_.file("/second.log");
    Process second(EXAMPLE_SERVER, second_log);
    EXPECT_EQ(second.wait_for_end(), 1);
    EXPECT_NE(contents(second_log).find("another server listens"), std::string::npos);
}

TEST_F(ExampleTour, SocketOfAKilledServerIsTakenOver) {
    Process first(EXAMPLE_SERVER, log_);
    { const RawConnection up(directory_.file("/admin/dev/kelvosvr-primary-admin")); }
    first.signal(SIGKILL);
    first.wait_for_end();
    Process second(EXAMPLE_SERVER, log_);
    const RawConnection up(directory_.file("/admin/dev/kelvosvr-primary-admin"));
    second.signal(SIGTERM);
    EXPECT_EQ(second.wait_for_end(), 0) << contents(log_);
}

}  // namespace
}  // namespace kelvo::test
