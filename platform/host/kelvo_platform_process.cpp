// SPDX-License-Identifier: Apache-2.0
//
// Programs and scripts. A script with a time limit is run by timeout(1), a small process of its own
// that ends the script's whole process group when the time is over.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kelvo_platform_config.h"
#include "kelvo_platform_launch.h"
#include "kelvo_platform_line.h"

namespace kelvo::host {
namespace {

constexpr char kBlanks[] = " \t";
/// How long after being asked to end a script is killed.
constexpr char kGrace[] = "--kill-after=5";

kelvo_status system_status(int error) noexcept {
    return PLATFORM_HOST_ERR_SYSTEM | static_cast<kelvo_status>(error);
}

bool is_script_name(const char* name) noexcept {
    if (name[0] == '\0' || std::strchr(name, '/') != nullptr) return false;
    return std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

/// The argument list of a script: the supervisor's words, the script's path, and its arguments,
/// split at blanks in a copy.
class ScriptArguments {
  public:
    explicit ScriptArguments(const char* arguments) noexcept
        : text_(strdup(arguments)),
          list_(static_cast<char**>(
              std::calloc(kFixed + std::strlen(arguments) / 2 + 2, sizeof(char*)))) {}
    ~ScriptArguments() noexcept {
        std::free(list_);
        std::free(text_);
    }
    ScriptArguments(const ScriptArguments&) = delete;
    ScriptArguments& operator=(const ScriptArguments&) = delete;

    [[nodiscard]] bool complete() const noexcept { return text_ != nullptr && list_ != nullptr; }

    void add(const char* word) noexcept { list_[count_++] = const_cast<char*>(word); }
    void add_arguments() noexcept {
        char* rest;
        for (char* word = strtok_r(text_, kBlanks, &rest); word != nullptr;
             word = strtok_r(nullptr, kBlanks, &rest)) {
            add(word);
        }
    }
    [[nodiscard]] char* const* list() const noexcept { return list_; }

  private:
    static constexpr std::size_t kFixed = 4;

    char* text_;
    char** list_;
    std::size_t count_ = 0;
};

/// Starts a complete argument list with no input, and this process's standard error for its output.
kelvo_status start(char* const* arguments) noexcept {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nothing < 0) return system_status(errno);
    const bool has_error = fcntl(STDERR_FILENO, F_GETFD) >= 0;
    const int output = has_error ? STDERR_FILENO : nothing;
    const int descriptors[3] = {nothing, output, output};
    const pid_t pid = launch({arguments[0], arguments, descriptors, true});
    const int error = errno;
    close(nothing);
    return pid < 0 ? system_status(error) : 0;
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

uint32_t procmgr_get_job_id(void) {
    const Config* const config = good_config();
    return config != nullptr ? config->job_id.value : 0;
}

kelvo_status procmgr_spawn_script(const char* script, const char* arguments,
                                  const procmgr_spawn_params* params) {
    if (script == nullptr || arguments == nullptr || params == nullptr) return KELVO_ERR_NULL_PARAM;
    if (!is_script_name(script)) return PLATFORM_HOST_ERR_SCRIPT_NAME;
    const Config* const config = good_config();
    if (config == nullptr) return PLATFORM_HOST_ERR_CONFIG;
    const KeepErrno keep;
    char path[4096];
    const int length =
        snprintf(path, sizeof path, "%s/%s", config->scripts_directory.value, script);
    if (static_cast<std::size_t>(length) >= sizeof path) return system_status(ENAMETOOLONG);
    if (access(path, X_OK) != 0) return system_status(errno);
    ScriptArguments list(arguments);
    if (!list.complete()) return KELVO_ERR_NO_MEMORY;
    char limit[16];
    if (params->time_limit_seconds != 0) {
        snprintf(limit, sizeof limit, "%u", params->time_limit_seconds);
        list.add("timeout");
        list.add(kGrace);
        list.add(limit);
    }
    list.add(path);
    list.add_arguments();
    return start(list.list());
}

int spawn_process(const char* name, char* const arguments[], const int descriptors[3]) {
    if (name == nullptr || arguments == nullptr || descriptors == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return launch({name, arguments, descriptors, false});
}

const char* platform_get_boot_media(uint32_t which) {
    const Config* const config = good_config();
    if (config == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    if (which < 1 || which > config->boot_media.count) {
        errno = ENODEV;
        return nullptr;
    }
    const char* const directory = config->boot_media.items[which - 1].value;
    struct stat status;
    return stat(directory, &status) == 0 ? directory : nullptr;
}
