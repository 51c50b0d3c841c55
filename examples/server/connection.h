// SPDX-License-Identifier: Apache-2.0
//
// One client's connection to one channel: the message being received, the bytes still to be sent,
// and the transaction that the client has open.
#pragma once

#include <cstdint>
#include <optional>

#include "capture.h"
#include "change.h"
#include "frame.h"
#include "reply.h"

namespace example {

class Service;

class Connection {
  public:
    /// `capture` may be null.
    Connection(int socket, Service& service, Capture* capture)
        : socket_(socket), service_(service), capture_(capture) {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    int socket() const { return socket_; }
    Service& service() const { return service_; }
    Receiver& receiver() { return receiver_; }

    /// Notes a message that has arrived, before anything converts it.
    void received(const Message& message);
    /// Frames a message and queues it.
    void send(Reply reply, std::uint32_t number);
    /// Sends what the socket takes. False when the client is gone, or lets replies pile up.
    bool flush();
    bool has_outgoing() const { return sent_ < outgoing_.size(); }

    /// The stream is lost: nothing more is read, and the connection ends once all is sent.
    void hang_up() { hanging_up_ = true; }
    bool hanging_up() const { return hanging_up_; }

    bool bound = false;
    /// Changes of an open transaction, in the order in which they were asked for.
    std::optional<Changes> transaction;

  private:
    int socket_;
    Service& service_;
    Capture* capture_;
    Receiver receiver_{kMaxRequest};
    std::vector<std::uint8_t> outgoing_;
    std::size_t sent_ = 0;  // of outgoing_
    bool hanging_up_ = false;
};

}  // namespace example
