// SPDX-License-Identifier: Apache-2.0
//
// From a received message to its handler. A handler reads the message with the library's converting
// interpreter and with nothing else; what it answers is sent under the request's number.
#pragma once

#include <optional>

#include "service.h"

namespace example {

struct Request {
    Service& service;
    Connection& client;
    Message& message;

    std::uint32_t number() const { return message.frame().number; }
    void* data() { return message.data(); }
    std::uint32_t length() const { return message.length(); }
    /// The length as the item readers take it; a message is never longer than kMaxRequest.
    std::int32_t signed_length() const { return static_cast<std::int32_t>(message.length()); }
};

/// Answers a request; nothing when the answer comes later.
using Handler = std::optional<Reply> (*)(Request& request);

/// Handles one received message and queues its answer.
void dispatch(Service& service, Connection& client, Message message);

}  // namespace example
