// SPDX-License-Identifier: Apache-2.0
//
// Requests to the example server, byte by byte, and a server that one test runs.
#pragma once

#include <gtest/gtest.h>

#include "e2e/processes.h"
#include "kelvo_common_msg_types.h"
#include "kelvo_status.h"

namespace kelvo::test {

inline Bytes bind_message() {
    return Message(Order::network, KELVO_MSG_BIND)
        .words({541, 0, 0, 0, 0, 0, 0, 0, 0, 0})
        .text("test")
        .text("end to end")
        .bytes();
}

inline Bytes get_message(const std::string& path) {
    return Message(Order::network, KELVO_MSG_ITEM_GET)
        .words({0, 0})
        .cell(1)
        .cell(0)
        .text(path)
        .bytes();
}

inline Bytes set_message(const std::string& path, const Bytes& value) {
    return Message(Order::network, KELVO_MSG_ITEM_SET)
        .words({0, 0})
        .cell(1)
        .cell(3)
        .text(path)
        .value(value)
        .bytes();
}

/// The fixed part that notifier and verifier registrations begin with.
inline Message registration(std::uint32_t type, std::uint32_t id) {
    return Message(Order::network, type).words({id, 0}).raw(Bytes(64).data(), 64);
}

inline std::uint32_t status_in(const Bytes& reply) {
    return reply.size() < 40 ? ~0u : ntohl(word_at(reply, 24));
}

/// A server in a directory of its own, which must end well.
class ExampleServer : public testing::Test {
  protected:
    /// The reply to request 7. @return the status of a result, 0 for an answer
    [[nodiscard]] std::uint32_t reply_on(const RawConnection& connection) const {
        const Bytes reply = connection.message();
        EXPECT_GE(reply.size(), 16u) << "no reply\n" << contents(log_);
        if (reply.size() < 16) return ~0u;
        EXPECT_EQ(ntohl(word_at(reply, 12)), 7u) << "the request's number";
        return ntohl(word_at(reply, 8)) == 2 ? status_in(reply) : 0;
    }
    [[nodiscard]] std::uint32_t ask(const RawConnection& connection, const Bytes& message) const {
        EXPECT_TRUE(connection.send(framed(message, 7)));
        return reply_on(connection);
    }
    void expect_served() const {
        const RawConnection fresh(local_);
        EXPECT_EQ(ask(fresh, bind_message()), 0u);
        EXPECT_EQ(ask(fresh, get_message("oper/net/if/lo/none")), KELVO_ERR_NOT_FOUND);
    }
    void TearDown() override {
        expect_served();
        server_.signal(SIGTERM);
        EXPECT_EQ(server_.wait_for_end(), 0) << contents(log_);
    }

    RuntimeDirectory directory_;
    std::string log_ = directory_.file("/server.log");
    std::string local_ = directory_.file("/dev/kelvosvr-local");
    Process server_{EXAMPLE_SERVER, log_};
};

}  // namespace kelvo::test
