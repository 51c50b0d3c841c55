// SPDX-License-Identifier: Apache-2.0
//
// Sockets and the poll loop. A client can make its own connection end, but nothing else: sizes are
// bounded, no call blocks, and a message that fails is answered with its status.
#include "server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "dispatch.h"

namespace example {
namespace {

constexpr std::size_t kMaxClients = 128;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_un address_of(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        throw std::runtime_error("the socket's name is too long: " + path +
                                 " (choose a shorter KELVO_RUNTIME_DIR)");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

int new_socket() {
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (made < 0) fail("socket");
    return made;
}

// A socket file that nobody listens on is left over from a process that was killed.
void remove_stale(const std::string& path, const sockaddr_un& address) {
    const int probe = new_socket();
    const bool alive = connect(probe, generic(address), sizeof address) == 0;
    close(probe);
    if (alive) throw std::runtime_error("another server listens on " + path);
    unlink(path.c_str());
}

int listen_on(const std::string& path) {
    const sockaddr_un address = address_of(path);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    remove_stale(path, address);
    const int listener = new_socket();
    const mode_t old = umask(0077);  // this user's clients only
    const int bound = bind(listener, generic(address), sizeof address);
    umask(old);
    if (bound != 0 || listen(listener, SOMAXCONN) != 0) fail(path);
    return listener;
}

int stop_signals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    const int made = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (made < 0) fail("signalfd");
    return made;
}

}  // namespace

Server::Server(Capture* capture) : signals_(stop_signals()), capture_(capture) {
    for (const Channel& channel : channels()) {
        const std::string path = socket_path(channel);
        listeners_.push_back(
            {listen_on(path), path, std::make_unique<Service>(channel, make_memory_storage())});
    }
}

Server::~Server() {
    for (Connection& client : clients_) client.service().forget(client);
    clients_.clear();
    for (const Listener& listener : listeners_) {
        close(listener.socket);
        unlink(listener.path.c_str());
    }
    close(signals_);
}

void Server::run() {
    while (!stopping_) wait();
}

// One round: whoever has something to say is served once.
void Server::wait() {
    std::vector<pollfd> polled{{signals_, POLLIN, 0}};
    for (const Listener& listener : listeners_) polled.push_back({listener.socket, POLLIN, 0});
    for (const Connection& client : clients_) {
        const int wanted =
            (client.hanging_up() ? 0 : POLLIN) | (client.has_outgoing() ? POLLOUT : 0);
        polled.push_back({client.socket(), static_cast<short>(wanted), 0});
    }
    if (poll(polled.data(), polled.size(), -1) < 0) {
        if (errno == EINTR) return;
        fail("poll");
    }

    const pollfd* next = polled.data();
    stopping_ = (next++)->revents != 0;
    const pollfd* listening = next;
    next += listeners_.size();
    for (auto client = clients_.begin(); client != clients_.end(); ++next) {
        const bool stays = serve(*client, next->revents);
        if (!stays) client->service().forget(*client);
        client = stays ? std::next(client) : clients_.erase(client);
    }
    for (Listener& listener : listeners_)
        if ((listening++)->revents != 0) accept_from(listener);
}

void Server::accept_from(Listener& listener) {
    const int accepted = accept4(listener.socket, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (accepted < 0) return;  // it has gone again, or descriptors are short: poll will tell
    if (clients_.size() >= kMaxClients) {
        close(accepted);
        return;
    }
    clients_.emplace_back(accepted, *listener.service, capture_);
}

/// False when the connection is over.
bool Server::serve(Connection& client, short events) {
    const bool gone = (events & (POLLHUP | POLLERR)) != 0;
    if (client.hanging_up() && gone) return false;
    const bool ready = gone || (events & POLLIN) != 0;
    if (ready && !client.hanging_up() && !receive(client)) return false;
    return client.flush() && (!client.hanging_up() || client.has_outgoing());
}

bool Server::receive(Connection& client) {
    switch (client.receiver().read_from(client.socket())) {
        case Receiver::State::incomplete:
            return true;
        case Receiver::State::closed:
            return false;
        case Receiver::State::lost:
            client.send(result(KELVO_ERR_MSG_LENGTH), 0);
            client.hang_up();
            return true;
        case Receiver::State::complete:
            dispatch(client.service(), client, client.receiver().take());
            return true;
    }
    return false;
}

}  // namespace example
