// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "kelvo_common_msg.h"

namespace example {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 5s;  // for a server to come up, and for an answer

int connected(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        throw std::runtime_error("the socket's name is too long: " + path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);

    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (made < 0) throw std::system_error(errno, std::generic_category(), "socket");
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const bool starting = errno == ENOENT || errno == ECONNREFUSED;
        if (!starting || std::chrono::steady_clock::now() > deadline) {
            const int why = errno;
            close(made);
            throw std::system_error(why, std::generic_category(), "no server on " + path);
        }
        std::this_thread::sleep_for(20ms);
    }
    return made;
}

}  // namespace

Session::Session(const Channel& channel, Observer& observer)
    : channel_(channel), observer_(observer), socket_(connected(socket_path(channel))) {
    const timeval patience{std::chrono::seconds(kPatience).count(), 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

Session::~Session() {
    close(socket_);
}

std::uint32_t Session::send(void* header, std::span<const kelvo_slot> list) {
    std::uint32_t length = 0;
    kelvo_common_msg_iovs_length(list.data(), static_cast<std::int32_t>(list.size()), &length);
    seal(header, Kind::request, ++last_number_, length);
    if (length >= sizeof(kelvo_msg_header)) {
        kelvo_msg_header common;
        std::memcpy(&common, header, sizeof common);
        types_[last_number_] = common.type;
    }
    observer_.sent(flatten(list));
    send_list(socket_, list);
    return last_number_;
}

std::uint32_t Session::send(std::span<std::uint8_t> message) {
    const kelvo_slot whole[] = {{message.data(), message.size()}};
    return send(message.data(), whole);
}

void Session::send_unframed(std::span<const std::uint8_t> bytes) {
    const kelvo_slot whole[] = {{bytes.data(), bytes.size()}};
    send_list(socket_, whole);
}

Message Session::receive() {
    switch (receiver_.read_from(socket_)) {
        case Receiver::State::complete:
            return receiver_.take();
        case Receiver::State::incomplete:
            throw std::runtime_error("the server does not answer");
        case Receiver::State::closed:
            throw std::runtime_error("the server closed the connection");
        case Receiver::State::lost:
            throw std::runtime_error("the server sends no messages");
    }
    throw std::logic_error("unreachable");
}

Message Session::reply_to(std::uint32_t number) {
    while (replies_.find(number) == replies_.end()) {
        Message message = receive();
        const Frame frame = message.frame();
        observer_.received(message.bytes(), types_[frame.number]);
        if (frame.kind == Kind::event) {
            events_.push_back(std::move(message));
        } else {
            replies_[frame.number] = std::move(message);
            ++answered_;
        }
    }
    types_.erase(number);
    return std::move(replies_.extract(number).mapped());
}

Message Session::next_event() {
    while (events_.empty()) {
        Message message = receive();
        observer_.received(message.bytes(), types_[message.frame().number]);
        if (message.frame().kind == Kind::event)
            events_.push_back(std::move(message));
        else
            replies_[message.frame().number] = std::move(message);
    }
    Message event = std::move(events_.front());
    events_.pop_front();
    return event;
}

bool Session::closed() {
    return receiver_.read_from(socket_) == Receiver::State::closed;
}

}  // namespace example
