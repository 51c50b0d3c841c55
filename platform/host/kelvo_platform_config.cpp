// SPDX-License-Identifier: Apache-2.0
//
// The process's configuration: read once, on first need, and reported once when it is in error.
// While a thread reads it, a service that a process has replaced may call back into the platform;
// to that thread the configuration is in error for the moment, rather than waited for.
#include "kelvo_platform_config.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "kelvo_platform_line.h"

namespace kelvo::host {
namespace {

pthread_once_t once = PTHREAD_ONCE_INIT;
constinit platform_host_config the_config{};
constinit thread_local bool reading = false;

void read_once() noexcept {
    reading = true;
    read_config(the_config.config, nullptr);
    reading = false;
    if (the_config.config.good()) return;
    Line line;
    line.add("%s[%d]: platform configuration: %s", program_invocation_short_name, getpid(),
             the_config.config.error);
    line.write_to(STDERR_FILENO);
}

}  // namespace

const platform_host_config* process_config() noexcept {
    if (reading) return nullptr;
    const KeepErrno keep;
    pthread_once(&once, read_once);
    return &the_config;
}

const Config* good_config() noexcept {
    const platform_host_config* const process = process_config();
    return process != nullptr && process->config.good() ? &process->config : nullptr;
}

const Node* find_node(const Config& config, std::uint32_t id) noexcept {
    if (config.self.id.value == id) return &config.self;
    for (const Node& node : config.nodes) {
        if (node.id.value == id) return &node;
    }
    return nullptr;
}

const Interface* find_interface(const Config& config, const char* name) noexcept {
    for (const Interface& interface : config.interfaces) {
        if (std::strcmp(interface.name, name) == 0) return &interface;
    }
    return nullptr;
}

}  // namespace kelvo::host

using namespace kelvo::host;

platform_host_config* platform_host_config_load(const char* path) {
    auto* const loaded =
        static_cast<platform_host_config*>(std::calloc(1, sizeof(platform_host_config)));
    if (loaded == nullptr) return nullptr;
    read_config(loaded->config, path);
    return loaded;
}

void platform_host_config_free(platform_host_config* loaded) {
    if (loaded == nullptr) return;
    clear_config(loaded->config);
    std::free(loaded);
}

const char* platform_host_config_error(const platform_host_config* loaded) {
    if (loaded == nullptr) loaded = process_config();
    if (loaded == nullptr) return "the configuration is being read";
    return loaded->config.good() ? nullptr : loaded->config.error;
}
