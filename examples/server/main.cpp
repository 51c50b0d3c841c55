// SPDX-License-Identifier: Apache-2.0
//
// The example server: every server of this node in one process.
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "capture.h"
#include "kelvo_node_resolver.h"
#include "server.h"
#include "status.h"

namespace {

int serve(const char* capture_file) {
    std::optional<example::Capture> capture;
    if (capture_file != nullptr) capture.emplace(capture_file);
    // The resolver decides which of this node's servers owns a path.
    if (const kelvo_status status = kelvo_nr_init(1, 0, nullptr)) {
        std::fprintf(stderr, "kelvo-example-server: the resolver: %s\n",
                     example::status_name(status).c_str());
        return 1;
    }
    example::Server server(capture ? &*capture : nullptr);
    std::printf("listening on %zu channels\n", example::channels().size());
    std::fflush(stdout);
    server.run();
    std::printf("stopped\n");
    kelvo_nr_shutdown();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const bool captures = argc == 3 && std::string(argv[1]) == "--capture";
    if (argc != 1 && !captures) {
        std::fputs(
            "usage: KELVO_RUNTIME_DIR=<directory> kelvo-example-server [--capture FILE]\n"
            "Serves every channel of this node below the directory until SIGTERM or SIGINT. "
            "Writes\n"
            "all that it receives and sends to FILE, which Wireshark and kelvo decode open.\n",
            stderr);
        return 2;
    }
    try {
        return serve(captures ? argv[2] : nullptr);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "kelvo-example-server: %s\n", problem.what());
        return 1;
    }
}
