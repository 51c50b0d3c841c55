// SPDX-License-Identifier: Apache-2.0
//
// The example server: every server of this node in one process.
#include <cstdio>
#include <exception>

#include "kelvo_node_resolver.h"
#include "server.h"
#include "status.h"

namespace {

int serve() {
    // The resolver decides which of this node's servers owns a path.
    if (const kelvo_status status = kelvo_nr_init(1, 0, nullptr)) {
        std::fprintf(stderr, "kelvo-example-server: the resolver: %s\n",
                     example::status_name(status).c_str());
        return 1;
    }
    example::Server server;
    std::printf("listening on %zu channels\n", example::channels().size());
    std::fflush(stdout);
    server.run();
    std::printf("stopped\n");
    kelvo_nr_shutdown();
    return 0;
}

}  // namespace

int main(int argc, char**) {
    if (argc != 1) {
        std::fputs(
            "usage: KELVO_RUNTIME_DIR=<directory> kelvo-example-server\n"
            "Serves every channel of this node below the directory until SIGTERM or SIGINT.\n",
            stderr);
        return 2;
    }
    try {
        return serve();
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "kelvo-example-server: %s\n", problem.what());
        return 1;
    }
}
