// SPDX-License-Identifier: Apache-2.0
//
// A connection to one channel: sends gather lists, receives replies and events.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <span>

#include "channels.h"
#include "frame.h"

namespace example {

/// Sees every message as it travels, before it is converted.
class Observer {
  public:
    virtual ~Observer() = default;
    virtual void sent(std::span<const std::uint8_t> message) = 0;
    /// `request_type` is the type of the request that this answers; of no meaning for an event.
    virtual void received(std::span<const std::uint8_t> message, std::uint32_t request_type) = 0;
};

class Session {
  public:
    /// Connects, and waits a few seconds for a server that is just starting. Throws when there is
    /// none.
    Session(const Channel& channel, Observer& observer);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Channel& channel() const { return channel_; }

    /// Frames a composed request and sends its list. `header` is the header area that the first
    /// slot covers. @return the request's number
    std::uint32_t send(void* header, std::span<const kelvo_slot> list);
    /// The same for a message in one piece.
    std::uint32_t send(std::span<std::uint8_t> message);
    /// Sends bytes that need not be a message.
    void send_unframed(std::span<const std::uint8_t> bytes);

    /// The reply to a request; events that come first are kept for next_event().
    Message reply_to(std::uint32_t number);
    Message call(void* header, std::span<const kelvo_slot> list) {
        return reply_to(send(header, list));
    }
    Message call(std::span<std::uint8_t> message) { return reply_to(send(message)); }
    /// The next event that the server has sent on its own.
    Message next_event();
    /// True when the server has closed the connection (waits for it).
    bool closed();

    unsigned answered() const { return answered_; }

  private:
    Message receive();

    const Channel& channel_;
    Observer& observer_;
    int socket_;
    Receiver receiver_{kMaxReply};
    std::uint32_t last_number_ = 0;
    unsigned answered_ = 0;
    std::map<std::uint32_t, std::uint32_t> types_;  // of the requests that are still unanswered
    std::map<std::uint32_t, Message> replies_;      // that came while another was waited for
    std::deque<Message> events_;
};

}  // namespace example
