// SPDX-License-Identifier: Apache-2.0
//
// The example client: a tour of what a client does with the library.
#include <cstdio>
#include <cstring>
#include <exception>

#include "kelvo_node_resolver.h"
#include "status.h"
#include "tour.h"

namespace {

int usage() {
    std::fputs(
        "usage: KELVO_RUNTIME_DIR=<directory> kelvo-example-client [--dump-all]\n"
        "Runs a tour of requests against a kelvo-example-server that serves the same directory.\n"
        "Every kind of message is shown in full once; with --dump-all, every message is.\n",
        stderr);
    return 2;
}

int tour(bool dump_everything) {
    if (const kelvo_status status = kelvo_nr_init(0, 0, nullptr)) {
        std::fprintf(stderr, "kelvo-example-client: the resolver: %s\n",
                     example::status_name(status).c_str());
        return 1;
    }
    const int code = example::Tour(dump_everything).run();
    kelvo_nr_shutdown();
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    const bool dump_everything = argc == 2 && std::strcmp(argv[1], "--dump-all") == 0;
    if (argc > 1 && !dump_everything) return usage();
    try {
        return tour(dump_everything);
    } catch (const std::exception& problem) {
        std::fflush(stdout);
        std::fprintf(stderr, "kelvo-example-client: %s\n", problem.what());
        return 1;
    }
}
