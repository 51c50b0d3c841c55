// SPDX-License-Identifier: Apache-2.0
//
// A hostile client against the example server: whatever arrives, the server answers or closes that
// one connection, and serves the next.
#include <algorithm>
#include <random>

#include "e2e/messages.h"
#include "kelvo_common_msg.h"

namespace kelvo::test {
namespace {

using HostileClient = ExampleServer;

TEST_F(HostileClient, FrameLengthsThatCannotBeRightCloseTheConnection) {
    for (const std::uint32_t length : {0u, 15u, (1u << 20) + 1, 0x80000000u, 0xffffffffu}) {
        SCOPED_TRACE(length);
        const RawConnection connection(local_);
        Bytes message = framed(bind_message(), 1);
        put_word(message, 4, htonl(length));
        ASSERT_TRUE(connection.send(message));
        EXPECT_EQ(status_in(connection.message()), KELVO_ERR_MSG_LENGTH);
        EXPECT_TRUE(connection.closed());
    }
}

TEST_F(HostileClient, BytesThatAreNoFrameCloseTheConnection) {
    const RawConnection connection(local_);
    ASSERT_TRUE(connection.send(Bytes(64, 0x5a)));
    EXPECT_EQ(status_in(connection.message()), KELVO_ERR_MSG_LENGTH);
    EXPECT_TRUE(connection.closed());
}

TEST_F(HostileClient, MessagesShorterThanTheCommonHeaderAreAnswered) {
    const RawConnection connection(local_);
    for (std::size_t length = 16; length < 40; ++length)
        EXPECT_EQ(ask(connection, Bytes(length)), KELVO_ERR_MSG_LENGTH) << length;
}

TEST_F(HostileClient, BytesMayArriveOneByOne) {
    const RawConnection connection(local_);
    for (const std::uint8_t byte : framed(bind_message(), 7))
        ASSERT_TRUE(connection.send(Bytes{byte}));
    EXPECT_EQ(status_in(connection.message()), 0u);
}

TEST_F(HostileClient, TwoMessagesMayArriveTogether) {
    const RawConnection connection(local_);
    Bytes both = framed(bind_message(), 1);
    const Bytes second = framed(get_message("oper/net/if/lo/none"), 2);
    both.insert(both.end(), second.begin(), second.end());
    ASSERT_TRUE(connection.send(both));
    EXPECT_EQ(status_in(connection.message()), 0u);
    EXPECT_EQ(status_in(connection.message()), KELVO_ERR_NOT_FOUND);
}

TEST_F(HostileClient, MayLeaveInTheMiddleOfAMessage) {
    const Bytes whole = framed(bind_message(), 1);
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{15}, std::size_t{17}, whole.size() - 1}) {
        const RawConnection connection(local_);
        ASSERT_TRUE(connection.send(
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))));
    }
}

// The count in a get is asserted by the library's reader; the server must not let it get there.
TEST_F(HostileClient, WrongCountInAGetIsAnsweredAndStopsNothing) {
    const RawConnection connection(local_);
    ASSERT_EQ(ask(connection, bind_message()), 0u);
    for (const std::uint32_t type : {KELVO_MSG_ITEM_GET, KELVO_MSG_ITEM_GET_INH}) {
        Bytes get = get_message("oper/net/if/lo/none");
        put_word(get, 24, type);
        put_word(get, 48, htonl(2));
        EXPECT_EQ(ask(connection, get), KELVO_ERR_MSG_CONTENT);
        for (std::size_t length = 40; length < 52; ++length) {
            get.resize(length);
            EXPECT_EQ(ask(connection, get), KELVO_ERR_MSG_LENGTH) << length;
        }
    }
}

// Nothing stands behind a message that the server has received: the guard must refuse whatever a
// reader would reach beyond.
TEST_F(HostileClient, MessagesThatReadersWouldReachBeyondAreRefused) {
    const Order net = Order::network;
    const Bytes registered = registration(KELVO_MSG_VRFN_REG, 7)
                                 .words({0, 0, 0, 0, 2, 0})
                                 .text("oper/net/if/lo/a")
                                 .bytes();
    const Bytes activated =
        Message(net, KELVO_MSG_CB_RPLY_VERIFY).words({0, 0, 1, 1, 0, 0, 1, 2}).bytes();
    const auto bulk = [&](std::uint32_t items) {
        return Message(net, KELVO_MSG_BULK).words({0, 0, items, 0, 0, 0}).text("oper/net/if/");
    };
    const Bytes foreign_item =
        bulk(1).words({2, 0, KELVO_VALUE_INT8, 0}).text("lo/bulk").cell(8).bytes();
    const Bytes half_an_item_more = bulk(0).words({0, 0, 0, 0}).bytes();
    const Bytes list =
        Message(net, KELVO_MSG_LIST).words({9, 0, 0, 0, 0, 0, 0, 0}).text("oper/net/if/").bytes();
    const Bytes lock = Message(net, KELVO_MSG_ITEM_WRLOCK).bytes();

    const RawConnection connection(local_);
    ASSERT_EQ(ask(connection, bind_message()), 0u);
    for (const Bytes& message : {registered, Bytes(registered.begin(), registered.begin() + 132),
                                 activated, foreign_item, half_an_item_more, list, lock}) {
        SCOPED_TRACE(testing::Message() << "type " << word_at(message, 24));
        EXPECT_EQ(ask(connection, message), KELVO_ERR_MSG_LENGTH);
    }
    EXPECT_EQ(ask(connection, bulk(0).bytes()), 0u);
}

TEST_F(HostileClient, AskingWithoutReadingDoesNotHoardReplies) {
    const RawConnection connection(local_);
    ASSERT_EQ(ask(connection, bind_message()), 0u);
    ASSERT_EQ(ask(connection, set_message("oper/net/if/lo/big", Bytes(500'000))), 0u);
    const Bytes get = framed(get_message("oper/net/if/lo/big"), 1);
    bool open = true;
    for (int i = 0; i < 1000 && open; ++i) open = connection.send(get);
    EXPECT_FALSE(open) << "the server keeps 500 MB for a client that does not read";
}

// One well-formed message of every type that the server serves.
std::vector<Bytes> well_formed_messages() {
    const std::string path = "oper/net/if/lo/hostile";
    const Bytes value{0, 0, 0, 42};
    const auto item = [&](std::uint32_t type) {
        return Message(Order::network, type).words({0, 0}).cell(1).cell(1).text(path);
    };
    const auto list = [&](std::uint32_t type) {
        return Message(Order::network, type).words({9, 0, 0, 0, 0, 0, 0, 0});
    };
    const auto bulk = [&](Order items) {
        return Message(Order::network, KELVO_MSG_BULK)
            .words({0, 0, 1, 0, 0, 0})
            .text("oper/net/if/")
            .raw(Message(items, 0).words({2, 0, 1, 0}).text("lo/bulk").value(value).bytes().data() +
                     40,
                 48);
    };
    return {
        bind_message(),
        get_message(path),
        item(KELVO_MSG_ITEM_SET).value(value).bytes(),
        item(KELVO_MSG_ITEM_CREATE).value(value).bytes(),
        item(KELVO_MSG_ITEM_COND_DELETE).value(value).bytes(),
        item(KELVO_MSG_ITEM_DELETE).value({}).bytes(),
        Message(Order::network, KELVO_MSG_ITEM_VERIFY)
            .words({1, 0})
            .text(path)
            .value(value)
            .bytes(),
        list(KELVO_MSG_LIST).text("oper/net/if/").text("").bytes(),
        list(KELVO_MSG_DATALIST).text("oper/net/if/").text("").bytes(),
        list(KELVO_MSG_FIND).words({0, 0, 0, 0}).text("oper/net/if/.*/hostile").text("").bytes(),
        Message(Order::network, KELVO_MSG_FIND_GRP_AG).words({0, 0}).text("blue").bytes(),
        Message(Order::network, KELVO_MSG_GET_ITEMS)
            .words({2, 0})
            .text("oper/net/if/lo")
            .text("hostile")
            .text("other")
            .bytes(),
        Message(Order::network, KELVO_MSG_TRANS_START).words({1, 0, 2, 0, 3, 0}).bytes(),
        Message(Order::network, KELVO_MSG_TRANS_COMMIT).bytes(),
        Message(Order::network, KELVO_MSG_TRANS_ABORT).bytes(),
        Message(Order::network, KELVO_MSG_ITEM_WRLOCK).text(path).bytes(),
        Message(Order::network, KELVO_MSG_ITEM_RDLOCK).text(path).bytes(),
        Message(Order::network, KELVO_MSG_ITEM_UNLOCK).text(path).bytes(),
        Message(Order::network, KELVO_MSG_COPY)
            .words({0, 0})
            .text("oper/net/if/lo/")
            .text("oper/net/if/copy/")
            .text("")
            .bytes(),
        bulk(Order::host).bytes(),
        bulk(Order::network).bytes(),
        registration(KELVO_MSG_NFN_REG, 7).words({0, 0}).text("oper/net/if/watched/").bytes(),
        Message(Order::network, KELVO_MSG_NFN_UNREG).words({7}).bytes(),
        registration(KELVO_MSG_VRFN_REG, 7)
            .words({0, 0, 0, 0, 2, 0})
            .text("oper/net/if/lo/a")
            .text("oper/net/if/lo/b")
            .bytes(),
        Message(Order::network, KELVO_MSG_VRFN_UNREG).words({7}).bytes(),
        Message(Order::network, KELVO_MSG_CB_RPLY_VERIFY)
            .words({0, 0, 1, 1, 0, 0})
            .words({0, 0, 0, 0})
            .text("objection")
            .bytes(),
        Message(Order::network, KELVO_MSG_UNBIND).bytes(),
    };
}

class EveryMessage : public HostileClient, public testing::WithParamInterface<std::size_t> {
  protected:
    Bytes message_ = well_formed_messages()[GetParam()];

    /// Asks, and binds again after an unbind that went through.
    void ask_and_stay_bound(const RawConnection& connection, const Bytes& message) const {
        const std::uint32_t status = ask(connection, message);
        if (word_at(message_, 24) != KELVO_MSG_UNBIND || status != 0) return;
        EXPECT_EQ(ask(connection, bind_message()), 0u);
    }
};

TEST_P(EveryMessage, IsAnsweredAtEveryLength) {
    const RawConnection connection(local_);
    ASSERT_EQ(ask(connection, bind_message()), 0u);
    for (std::size_t length = 16; length <= message_.size(); ++length)
        ask_and_stay_bound(
            connection,
            Bytes(message_.begin(), message_.begin() + static_cast<std::ptrdiff_t>(length)));
    message_.resize(message_.size() + 8);
    ask_and_stay_bound(connection, message_);
}

TEST_P(EveryMessage, IsAnsweredWithAnyWordAltered) {
    const RawConnection connection(local_);
    ASSERT_EQ(ask(connection, bind_message()), 0u);
    for (std::size_t at = 20; at + 4 <= message_.size(); at += 4) {
        if (at == 24) continue;  // the type: every type has its turn
        for (const std::uint32_t word :
             {0u, 1u, 2u, 8u, 9u, 0xffffu, 0x10000u, 0x1fffffffu, 0x7fffffffu, 0x80000000u,
              0xfffffff0u, 0xfffffff7u, 0xfffffff8u, 0xffffffffu}) {
            SCOPED_TRACE(testing::Message() << "offset " << at << ", word " << word);
            Bytes altered = message_;
            put_word(altered, at, htonl(word));
            ask_and_stay_bound(connection, altered);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfTheServer, EveryMessage,
                         testing::Range(std::size_t{0}, well_formed_messages().size()),
                         [](const auto& row) {
                             const Bytes message = well_formed_messages()[row.param];
                             std::string name = kelvo_comm_msg_desc(word_at(message, 24));
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return std::to_string(row.param) + "_" + name;
                         });

// The types that the server does not serve, and noise for those that it does.
TEST_F(HostileClient, NoiseOfEveryTypeIsAnswered) {
    std::mt19937 engine(541);
    const auto random = [&] { return static_cast<std::uint32_t>(engine()); };
    for (std::uint32_t type = 0; type <= KELVO_MSG_TYPE_COUNT; ++type) {
        if (type == KELVO_MSG_CB_GET) continue;  // answered when there is a callback
        SCOPED_TRACE(type);
        const RawConnection connection(local_);
        ASSERT_EQ(ask(connection, bind_message()), 0u);
        for (int round = 0; round < 20; ++round) {
            Bytes message(40 + random() % 200);
            for (std::size_t at = 40; at < message.size(); ++at)
                message[at] = static_cast<std::uint8_t>(random());
            put_word(message, 24, type);
            (void)ask(connection, message);
            if (type == KELVO_MSG_UNBIND) (void)ask(connection, bind_message());
        }
    }
}

}  // namespace
}  // namespace kelvo::test
