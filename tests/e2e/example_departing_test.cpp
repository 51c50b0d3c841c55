// SPDX-License-Identifier: Apache-2.0
//
// Clients of the example server that leave while something of theirs is open: nothing of it stays,
// and nobody waits for them.
#include <memory>

#include "e2e/messages.h"
#include "status.h"

namespace kelvo::test {
namespace {

const std::string kPath = "oper/net/if/lo/shared";
constexpr std::uint32_t kEvent = 4;

class DepartingClient : public ExampleServer {
  protected:
    [[nodiscard]] std::unique_ptr<RawConnection> bound() const {
        auto connection = std::make_unique<RawConnection>(local_);
        EXPECT_EQ(ask(*connection, bind_message()), 0u);
        return connection;
    }
    /// Ends a connection. The server deals with its connections in the order in which they came, so
    /// it knows by the time that it has answered a new one.
    void leave(std::unique_ptr<RawConnection>& connection) const {
        connection.reset();
        (void)bound();
    }
    /// A client that verifies changes of the path and waits for work.
    [[nodiscard]] std::unique_ptr<RawConnection> verifier() const {
        auto connection = bound();
        EXPECT_EQ(
            ask(*connection,
                registration(KELVO_MSG_VRFN_REG, 1).words({0, 0, 0, 0, 1, 0}).text(kPath).bytes()),
            0u);
        EXPECT_TRUE(connection->send(framed(Message(Order::network, KELVO_MSG_CB_GET).bytes(), 7)));
        return connection;
    }
    static Bytes acceptance(std::uint32_t callback) {
        return Message(Order::network, KELVO_MSG_CB_RPLY_VERIFY)
            .words({0, 0, callback, 0, 0, 0})
            .bytes();
    }
    static Bytes lock_message() {
        return Message(Order::network, KELVO_MSG_ITEM_WRLOCK).text(kPath).bytes();
    }
};

TEST_F(DepartingClient, ItsLockGoesWithIt) {
    const auto stays = bound();
    auto leaves = bound();
    ASSERT_EQ(ask(*leaves, lock_message()), 0u);
    EXPECT_EQ(ask(*stays, set_message(kPath, {1})), EXAMPLE_ERR_LOCKED);
    leave(leaves);
    EXPECT_EQ(ask(*stays, set_message(kPath, {1})), 0u);
}

TEST_F(DepartingClient, ItsUnbindReleasesItsLock) {
    const auto stays = bound();
    const auto unbinds = bound();
    ASSERT_EQ(ask(*unbinds, lock_message()), 0u);
    ASSERT_EQ(ask(*unbinds, Message(Order::network, KELVO_MSG_UNBIND).bytes()), 0u);
    EXPECT_EQ(ask(*stays, set_message(kPath, {1})), 0u);
    EXPECT_EQ(ask(*unbinds, get_message(kPath)), EXAMPLE_ERR_NOT_BOUND);
}

TEST_F(DepartingClient, ItsOpenTransactionIsDropped) {
    const auto stays = bound();
    auto leaves = bound();
    ASSERT_EQ(ask(*leaves,
                  Message(Order::network, KELVO_MSG_TRANS_START).words({1, 0, 0, 0, 0, 0}).bytes()),
              0u);
    ASSERT_EQ(ask(*leaves, set_message(kPath, {1})), 0u);
    leave(leaves);
    EXPECT_EQ(ask(*stays, get_message(kPath)), KELVO_ERR_NOT_FOUND);
}

TEST_F(DepartingClient, NobodyNotifiesIt) {
    const auto stays = bound();
    auto leaves = bound();
    const Bytes notifier =
        registration(KELVO_MSG_NFN_REG, 1).words({0, 0}).text("oper/net/if/lo/").bytes();
    ASSERT_EQ(ask(*leaves, notifier), 0u);
    ASSERT_EQ(ask(*stays, set_message(kPath, {1})), 0u);
    EXPECT_EQ(ntohl(word_at(leaves->message(), 8)), kEvent);
    leave(leaves);
    EXPECT_EQ(ask(*stays, set_message(kPath, {2})), 0u);
}

TEST_F(DepartingClient, WhoWaitsForItAsVerifierIsAnswered) {
    const auto stays = bound();
    auto leaves = verifier();
    ASSERT_TRUE(stays->send(framed(set_message(kPath, {1}), 7)));
    EXPECT_GT(leaves->message().size(), 64u) << "the callback";
    leave(leaves);
    EXPECT_EQ(reply_on(*stays), EXAMPLE_ERR_VERIFIER_GONE);
    EXPECT_EQ(ask(*stays, set_message(kPath, {1})), 0u) << "nobody verifies any more";
}

TEST_F(DepartingClient, ItsVerifierAnswersInVain) {
    const auto verifies = verifier();
    auto leaves = bound();
    ASSERT_TRUE(leaves->send(framed(set_message(kPath, {1}), 7)));
    const Bytes callback = verifies->message();
    ASSERT_GT(callback.size(), 64u);
    leave(leaves);
    const auto stays = bound();
    EXPECT_EQ(ask(*verifies, acceptance(ntohl(word_at(callback, 28)))), KELVO_ERR_NOT_FOUND);
    EXPECT_EQ(ask(*stays, get_message(kPath)), KELVO_ERR_NOT_FOUND);
}

TEST_F(DepartingClient, WhileOneChangeIsVerifiedOthersWait) {
    const auto verifies = verifier();
    const auto asks = bound();
    const auto other = bound();
    ASSERT_TRUE(asks->send(framed(set_message(kPath, {1}), 7)));
    const Bytes callback = verifies->message();
    ASSERT_GT(callback.size(), 64u);
    EXPECT_EQ(ask(*other, set_message(kPath, {2})), EXAMPLE_ERR_LOCKED);
    EXPECT_EQ(ask(*verifies, acceptance(ntohl(word_at(callback, 28)))), 0u);
    EXPECT_EQ(reply_on(*asks), 0u);
    EXPECT_EQ(ask(*other, get_message(kPath)), 0u);
}

}  // namespace
}  // namespace kelvo::test
