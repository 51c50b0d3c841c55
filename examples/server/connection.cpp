// SPDX-License-Identifier: Apache-2.0
#include "connection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "kelvo_common_msg_types.h"

namespace example {
namespace {

// A client that asks and never reads must not make the server hoard its replies.
constexpr std::size_t kMaxOutgoing = std::size_t{2} * kMaxReply;

}  // namespace

Connection::~Connection() {
    close(socket_);
}

void Connection::received(const Message& message) {
    if (capture_ == nullptr) return;
    // A verifier's answer is laid out as an error set, which its type does not tell.
    const bool answer = message.type() == KELVO_MSG_CB_RPLY_VERIFY;
    capture_->add(message.bytes(), answer ? "kelvo.errorset" : "kelvo");
}

void Connection::send(Reply reply, std::uint32_t number) {
    seal(reply.message.data(), reply.kind, number,
         static_cast<std::uint32_t>(reply.message.size()));
    if (capture_ != nullptr) capture_->add(reply.message, std::string("kelvo.") + reply.layout);
    outgoing_.insert(outgoing_.end(), reply.message.begin(), reply.message.end());
}

bool Connection::flush() {
    while (has_outgoing()) {
        const ssize_t sent = ::send(socket_, outgoing_.data() + sent_, outgoing_.size() - sent_,
                                    MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        if (sent < 0) return false;
        sent_ += static_cast<std::size_t>(sent);
    }
    if (!has_outgoing()) {
        outgoing_.clear();
        sent_ = 0;
    }
    return outgoing_.size() - sent_ <= kMaxOutgoing;
}

}  // namespace example
