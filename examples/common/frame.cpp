// SPDX-License-Identifier: Apache-2.0
//
// The frame, the receiver, and sending a gather list as it stands.
#include "frame.h"

#include <arpa/inet.h>
#include <limits.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <system_error>

#include "kelvo_common_msg.h"

namespace example {
namespace {

// A slot of the library is a `struct iovec` under another name.
static_assert(sizeof(kelvo_slot) == sizeof(iovec));
static_assert(offsetof(kelvo_slot, base) == offsetof(iovec, iov_base));
static_assert(offsetof(kelvo_slot, length) == offsetof(iovec, iov_len));

constexpr std::size_t kChunk = 0x10000;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::uint32_t total_length(std::span<const kelvo_slot> list) {
    std::uint32_t total = 0;
    kelvo_common_msg_iovs_length(list.data(), static_cast<std::int32_t>(list.size()), &total);
    return total;
}

std::size_t send_gather(int socket, std::span<const kelvo_slot> list) {
    msghdr message{};
    message.msg_iov = const_cast<iovec*>(reinterpret_cast<const iovec*>(list.data()));
    message.msg_iovlen = list.size();
    const ssize_t sent = sendmsg(socket, &message, MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) fail("sendmsg");
    return sent < 0 ? 0 : static_cast<std::size_t>(sent);
}

void send_rest(int socket, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) fail("send");
        if (sent > 0) bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
}

}  // namespace

void seal(void* header, Kind kind, std::uint32_t number, std::uint32_t length) {
    const std::uint32_t words[4] = {htonl(kFrameMagic), htonl(length),
                                    htonl(static_cast<std::uint32_t>(kind)), htonl(number)};
    std::memcpy(header, words, sizeof words);
}

Frame frame_of(const void* message) {
    std::uint32_t words[4];
    std::memcpy(words, message, sizeof words);
    return {ntohl(words[0]), ntohl(words[1]), static_cast<Kind>(ntohl(words[2])), ntohl(words[3])};
}

std::uint32_t Message::type() const {
    std::uint32_t type = 0;
    if (length() < sizeof(kelvo_msg_header)) return type;
    std::memcpy(&type, data() + offsetof(kelvo_msg_header, type), sizeof type);
    return type;
}

Receiver::State Receiver::next_want() {
    const Frame frame = frame_of(bytes_.data());
    if (frame.magic != kFrameMagic) return State::lost;
    if (frame.length < sizeof(Frame) || frame.length > longest_) return State::lost;
    want_ = frame.length;
    return have_ == want_ ? State::complete : State::incomplete;
}

Receiver::State Receiver::read_from(int socket) {
    while (have_ < want_) {
        const std::size_t room = std::min(want_ - have_, kChunk);
        bytes_.resize(have_ + room);
        const ssize_t got = recv(socket, bytes_.data() + have_, room, 0);
        if (got == 0) return State::closed;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return State::incomplete;
        if (got < 0) return State::closed;
        have_ += static_cast<std::size_t>(got);
        if (have_ == sizeof(Frame) && next_want() == State::lost) return State::lost;
    }
    return State::complete;
}

Message Receiver::take() {
    bytes_.resize(have_);
    bytes_.shrink_to_fit();
    Message message(std::move(bytes_));
    bytes_.clear();
    have_ = 0;
    want_ = sizeof(Frame);
    return message;
}

std::vector<std::uint8_t> flatten(std::span<const kelvo_slot> list) {
    const std::uint32_t size = total_length(list);
    std::uint8_t* buffer = nullptr;
    if (kelvo_common_msg_iovs_to_buffer(list.data(), static_cast<std::uint32_t>(list.size()), size,
                                        &buffer) != 0)
        throw std::bad_alloc();
    const std::unique_ptr<std::uint8_t, decltype(&std::free)> owner(buffer, &std::free);
    return {buffer, buffer + size};
}

// The kernel takes a limited number of pieces, and may stop short; what it has not taken is
// flattened and sent in one piece.
void send_list(int socket, std::span<const kelvo_slot> list) {
    const std::size_t total = total_length(list);
    const std::size_t sent = list.size() <= IOV_MAX ? send_gather(socket, list) : 0;
    if (sent == total) return;
    const std::vector<std::uint8_t> whole = flatten(list);
    send_rest(socket, std::span(whole).subspan(sent));
}

}  // namespace example
