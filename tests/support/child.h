// SPDX-License-Identifier: Apache-2.0
//
// Work done in a child process, for tests of what happens once in a process: its first use of the
// configuration, what it writes to its standard error, how it ends.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace kelvo::test {

/// A directory that goes away with the object.
class ScratchDirectory {
  public:
    ScratchDirectory() {
        char pattern[] = "/tmp/kelvo-test-XXXXXX";
        path_ = mkdtemp(pattern);
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    [[nodiscard]] std::string path() const { return path_; }
    [[nodiscard]] std::string path(const std::string& name) const { return path_ + "/" + name; }

    /// Writes a file. @return its path
    [[nodiscard]] std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

  private:
    std::string path_;
};

inline std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// How a child ended: its wait status, and what it wrote to standard output and error.
struct Outcome {
    int status;
    std::string output;
    std::string errors;

    [[nodiscard]] bool succeeded() const { return WIFEXITED(status) && WEXITSTATUS(status) == 0; }
};

/// Runs `work` in a child process, with files for its standard output and error.
template <class Work>
Outcome in_child(Work work) {
    const ScratchDirectory scratch;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (std::freopen(scratch.path("output").c_str(), "w", stdout) == nullptr) _exit(98);
        if (std::freopen(scratch.path("errors").c_str(), "w", stderr) == nullptr) _exit(99);
        work();
        std::fflush(nullptr);
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return {status, contents(scratch.path("output")), contents(scratch.path("errors"))};
}

/// Points the platform of this process at a configuration, as long as it has not read one yet.
inline void use_configuration(const std::string& path) {
    setenv("KELVO_PLATFORM_CONFIG", path.c_str(), 1);
}

}  // namespace kelvo::test
