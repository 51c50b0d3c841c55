// SPDX-License-Identifier: Apache-2.0
//
// The server process: a socket per channel, one poll loop, no threads.
#pragma once

#include <sys/types.h>

#include <list>
#include <memory>
#include <vector>

#include "service.h"

namespace example {

class Server {
  public:
    /// Listens on every channel below KELVO_RUNTIME_DIR. Throws when it cannot. `capture` may be
    /// null.
    explicit Server(Capture* capture);
    /// Closes and removes the sockets.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Serves until SIGTERM or SIGINT.
    void run();

  private:
    struct Listener {
        int socket;
        std::string path;
        std::unique_ptr<Service> service;
    };

    void wait();
    void accept_from(Listener& listener);
    bool serve(Connection& client, short events);
    bool receive(Connection& client);

    int signals_;
    Capture* capture_;
    bool stopping_ = false;
    std::vector<Listener> listeners_;
    std::list<Connection> clients_;
};

}  // namespace example
