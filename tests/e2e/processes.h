// SPDX-License-Identifier: Apache-2.0
//
// Running the example programs: a temporary runtime directory, a server in it, and raw connections
// that can send anything.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/wire_bytes.h"

namespace kelvo::test {

/// A directory that ends with its scope, named by KELVO_RUNTIME_DIR meanwhile.
class RuntimeDirectory {
  public:
    RuntimeDirectory() {
        char name[] = "/tmp/kelvo-e2e.XXXXXX";
        if (mkdtemp(name) == nullptr) throw std::runtime_error("mkdtemp");
        path_ = name;
        setenv("KELVO_RUNTIME_DIR", name, 1);
    }
    ~RuntimeDirectory() { std::filesystem::remove_all(path_); }
    RuntimeDirectory(const RuntimeDirectory&) = delete;
    RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;

    [[nodiscard]] std::string file(const std::string& name) const { return path_ + name; }

  private:
    std::string path_;
};

inline std::string contents(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

/// A program whose standard output and error go into one file.
class Process {
  public:
    Process(const char* program, const std::string& output) : pid_(fork()) {
        if (pid_ != 0) return;
        const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        execl(program, program, static_cast<char*>(nullptr));
        _exit(127);
    }
    ~Process() {
        if (pid_ > 0) kill(pid_, SIGKILL);
        wait_for_end();
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void signal(int number) const { kill(pid_, number); }

    /// Its exit code, or minus the number of the signal that ended it.
    int wait_for_end() {
        if (pid_ <= 0) return -1;
        int state = 0;
        waitpid(pid_, &state, 0);
        pid_ = 0;
        return WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    }

  private:
    pid_t pid_;
};

/// A raw connection to a socket. Waits a few seconds for the server to come up.
class RawConnection {
  public:
    explicit RawConnection(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        for (int tries = 0;
             connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0;
             ++tries) {
            if (tries == 500) throw std::runtime_error("no server on " + path);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    ~RawConnection() { close(socket_); }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    /// False when the server has closed the connection.
    [[nodiscard]] bool send(const Bytes& bytes) const {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t n =
                ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (n <= 0) return false;
            sent += static_cast<std::size_t>(n);
        }
        return true;
    }

    /// Up to `size` bytes; fewer when the connection ends or nothing comes for ten seconds.
    [[nodiscard]] Bytes read(std::size_t size) const {
        Bytes bytes(size);
        std::size_t have = 0;
        while (have < size) {
            pollfd ready{socket_, POLLIN, 0};
            if (poll(&ready, 1, 10'000) <= 0) break;
            const ssize_t n = recv(socket_, bytes.data() + have, size - have, 0);
            if (n <= 0) break;
            have += static_cast<std::size_t>(n);
        }
        bytes.resize(have);
        return bytes;
    }

    /// One framed message; empty when none comes.
    [[nodiscard]] Bytes message() const {
        Bytes bytes = read(16);
        if (bytes.size() < 16) return {};
        const Bytes rest = read(ntohl(word_at(bytes, 4)) - 16);
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        return bytes;
    }

    [[nodiscard]] bool closed() const { return read(1).empty(); }

  private:
    int socket_;
};

/// Writes the transport's frame over the first 16 bytes: a request, as long as the bytes are.
inline Bytes framed(Bytes bytes, std::uint32_t number) {
    put_word(bytes, 0, htonl(0x4b454c56));
    put_word(bytes, 4, htonl(static_cast<std::uint32_t>(bytes.size())));
    put_word(bytes, 8, htonl(1));
    put_word(bytes, 12, htonl(number));
    return bytes;
}

}  // namespace kelvo::test
