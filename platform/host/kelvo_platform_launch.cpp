// SPDX-License-Identifier: Apache-2.0
#include "kelvo_platform_launch.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace kelvo::host {
namespace {

constexpr std::size_t kStack = 256UL * 1024;

/// What the process in between is told, and what it answers.
struct Errand {
    const Launch* how;
    const posix_spawn_file_actions_t* actions;
    const posix_spawnattr_t* attributes;
    pid_t pid;
    int error;
};

int run_errand(void* argument) noexcept {
    Errand& errand = *static_cast<Errand*>(argument);
    errand.error = posix_spawnp(&errand.pid, errand.how->program, errand.actions, errand.attributes,
                                errand.how->arguments, environ);
    return 0;
}

/// Sends the process in between and waits until it is gone. Signals stay blocked meanwhile, since a
/// handler would run in the memory of both. @return 0 or an errno
int send(Errand& errand) noexcept {
    void* const stack = mmap(nullptr, kStack, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (stack == MAP_FAILED) return errno;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    constexpr int kNoSignal = 0;
    const pid_t between = clone(run_errand, static_cast<char*>(stack) + kStack,
                                CLONE_VM | CLONE_VFORK | kNoSignal, &errand);
    const int error = between < 0 ? errno : errand.error;
    if (between >= 0) {
        while (waitpid(between, nullptr, __WALL) < 0 && errno == EINTR) continue;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    munmap(stack, kStack);
    return error;
}

/// Copies of the three descriptors above the standard ones, so that giving one its place never
/// overwrites another.
class Copies {
  public:
    explicit Copies(const int descriptors[3]) noexcept {
        for (int i = 0; i < 3; ++i) copies_[i] = fcntl(descriptors[i], F_DUPFD_CLOEXEC, 3);
    }
    ~Copies() noexcept {
        for (const int copy : copies_) {
            if (copy >= 0) close(copy);
        }
    }
    Copies(const Copies&) = delete;
    Copies& operator=(const Copies&) = delete;

    [[nodiscard]] bool complete() const noexcept {
        return copies_[0] >= 0 && copies_[1] >= 0 && copies_[2] >= 0;
    }
    int operator[](int i) const noexcept { return copies_[i]; }

  private:
    int copies_[3];
};

int prepare_actions(posix_spawn_file_actions_t& actions, const Copies& copies) noexcept {
    for (int i = 0; i < 3; ++i) {
        const int error = posix_spawn_file_actions_adddup2(&actions, copies[i], i);
        if (error != 0) return error;
    }
    return posix_spawn_file_actions_addclosefrom_np(&actions, 3);
}

void prepare_attributes(posix_spawnattr_t& attributes, bool own_session) noexcept {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    const int session = own_session ? POSIX_SPAWN_SETSID : 0;
    const int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | session;
    posix_spawnattr_setflags(&attributes, static_cast<short>(flags));
}

}  // namespace

pid_t launch(const Launch& how) noexcept {
    const Copies copies(how.descriptors);
    if (!copies.complete()) return -1;
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    prepare_attributes(attributes, how.own_session);
    Errand errand{&how, &actions, &attributes, -1, 0};
    int error = prepare_actions(actions, copies);
    if (error == 0) error = send(errand);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error == 0) return errand.pid;
    errno = error;
    return -1;
}

}  // namespace kelvo::host
