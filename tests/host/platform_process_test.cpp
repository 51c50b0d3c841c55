// SPDX-License-Identifier: Apache-2.0
//
// Programs and scripts: what they are started with, what becomes of them, and that the process that
// starts them notices nothing.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "kelvo_platform_host.h"
#include "platform/failing_memory.h"
#include "support/child.h"

namespace {

using kelvo::test::contents;
using kelvo::test::FailingMemory;
using kelvo::test::in_child;
using kelvo::test::ScratchDirectory;
using namespace std::chrono_literals;

const ScratchDirectory& scratch() {
    static const ScratchDirectory directory;
    return directory;
}

[[maybe_unused]] const bool configured = [] {
    kelvo::test::use_configuration(scratch().write(
        "platform.conf", "scripts_directory = \"" + scratch().path() + "\"; boot_media = [ \"" +
                             scratch().path() + "/\", \"/no/such/place/\" ];"));
    return true;
}();

/// Waits until something holds, for a while. @return whether it did
bool eventually(const std::function<bool()>& holds) {
    for (int i = 0; i < 1500; ++i) {
        if (holds()) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) { EXPECT_GE(number, 0); }
    ~Descriptor() { close(number_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int get() const { return number_; }

  private:
    int number_;
};

Descriptor output_file(const std::string& name) {
    return Descriptor(open(scratch().path(name).c_str(), O_RDWR | O_CREAT | O_APPEND, 0644));
}

/// Starts sh with a command. @return the process id
int spawn_shell(const std::string& command, int in, int out, int err) {
    std::string words[] = {"sh", "-c", command};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    const int descriptors[3] = {in, out, err};
    return spawn_process("sh", arguments, descriptors);
}

bool is_running(pid_t pid) {
    return kill(pid, 0) == 0;
}

// ------------------------------------------------------------------------------------------------
// Programs
// ------------------------------------------------------------------------------------------------

TEST(Spawn, GivesTheProgramItsThreeDescriptors) {
    const Descriptor in(open(scratch().write("in", "line\n").c_str(), O_RDONLY));
    const Descriptor out = output_file("out");
    const Descriptor err = output_file("err");
    ASSERT_GT(
        spawn_shell("read x; echo \"$x out\"; echo \"$x err\" >&2", in.get(), out.get(), err.get()),
        0);
    EXPECT_TRUE(eventually([] { return contents(scratch().path("err")) == "line err\n"; }));
    EXPECT_EQ(contents(scratch().path("out")), "line out\n");
}

TEST(Spawn, ReturnsTheProcessIdOfTheProgram) {
    const Descriptor out = output_file("pid");
    const Descriptor null(open("/dev/null", O_RDWR));
    const int pid = spawn_shell("echo $$", null.get(), out.get(), null.get());
    EXPECT_TRUE(
        eventually([&] { return contents(scratch().path("pid")) == std::to_string(pid) + "\n"; }));
}

TEST(Spawn, PassesTheArgumentsAndTheEnvironment) {
    const Descriptor out = output_file("arguments");
    const Descriptor null(open("/dev/null", O_RDWR));
    setenv("KELVO_TEST_VALUE", "passed", 1);
    char name[] = "shell";
    char option[] = "-c";
    char command[] = "echo $0 $1 $KELVO_TEST_VALUE";
    char zero[] = "zero";
    char one[] = "one two";
    char* const arguments[] = {name, option, command, zero, one, nullptr};
    const int descriptors[3] = {null.get(), out.get(), out.get()};
    ASSERT_GT(spawn_process("sh", arguments, descriptors), 0);
    EXPECT_TRUE(eventually(
        [] { return contents(scratch().path("arguments")) == "zero one two passed\n"; }));
}

TEST(Spawn, AProgramThatCannotBeStartedIsAFailureWithItsErrno) {
    char name[] = "kelvo-no-such-program";
    char* const arguments[] = {name, nullptr};
    const int descriptors[3] = {0, 1, 2};
    errno = 0;
    EXPECT_EQ(spawn_process(name, arguments, descriptors), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(spawn_process("/etc/passwd", arguments, descriptors), -1);
    EXPECT_EQ(errno, EACCES);
    const int closed[3] = {0, 1, 9999};
    EXPECT_EQ(spawn_process("true", arguments, closed), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(spawn_process(nullptr, arguments, descriptors), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(spawn_process("true", nullptr, descriptors), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(spawn_process("true", arguments, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
}

/// Standard descriptors in each other's places: none overwrites another.
TEST(Spawn, DescriptorsMayTradePlaces) {
    const std::string shared = scratch().path("shared");
    const auto outcome = in_child([&] {
        dup2(open(scratch().write("zero", "").c_str(), O_RDWR | O_APPEND), 0);
        dup2(open(scratch().write("one", "from one\n").c_str(), O_RDWR | O_APPEND), 1);
        dup2(open(scratch().write("two", "").c_str(), O_RDWR | O_APPEND), 2);
        const int pid = spawn_shell("read x; echo \"$x out\"; echo \"$x err\" >&2", 1, 2, 0);
        eventually([&] { return pid > 0 && !is_running(pid); });
    });
    EXPECT_TRUE(outcome.succeeded());
    EXPECT_TRUE(eventually([] { return contents(scratch().path("zero")) == "from one err\n"; }));
    EXPECT_EQ(contents(scratch().path("two")), "from one out\n");
}

TEST(Spawn, NoOtherDescriptorIsPassedOn) {
    const Descriptor out = output_file("open");
    const Descriptor null(open("/dev/null", O_RDWR));
    const Descriptor extra(fcntl(null.get(), F_DUPFD, 100));  // stays open across exec
    ASSERT_GT(spawn_shell("test -e /proc/$$/fd/1 && echo 1; test -e /proc/$$/fd/" +
                              std::to_string(extra.get()) + " && echo extra; echo end",
                          null.get(), out.get(), null.get()),
              0);
    EXPECT_TRUE(eventually([] { return contents(scratch().path("open")).ends_with("end\n"); }));
    EXPECT_EQ(contents(scratch().path("open")), "1\nend\n");
}

volatile sig_atomic_t child_signals;

TEST(Spawn, TheProcessHasNoChildAndGetsNoSignal) {
    struct sigaction before;
    struct sigaction count {};
    count.sa_handler = [](int) { child_signals = child_signals + 1; };
    ASSERT_EQ(sigaction(SIGCHLD, &count, &before), 0);
    const Descriptor null(open("/dev/null", O_RDWR));
    const int pid = spawn_shell("exit 3", null.get(), null.get(), null.get());
    EXPECT_TRUE(eventually([&] { return !is_running(pid); }));  // reaped, and not by this process
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG | __WALL), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(child_signals, 0);
    sigaction(SIGCHLD, &before, nullptr);
}

TEST(Spawn, TheProcessKeepsWaitingForItsOwnChild) {
    const pid_t own = fork();
    if (own == 0) {
        usleep(100000);
        _exit(7);
    }
    const Descriptor null(open("/dev/null", O_RDWR));
    EXPECT_GT(spawn_shell("exit 3", null.get(), null.get(), null.get()), 0);
    int status = 0;
    EXPECT_EQ(waitpid(-1, &status, 0), own);
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Spawn, NoSignalIsBlockedOrIgnoredInTheProgram) {
    const Descriptor out = output_file("signals");
    const Descriptor null(open("/dev/null", O_RDWR));
    sigset_t usr1;
    sigset_t before;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &usr1, &before);
    auto* const pipe_before = signal(SIGPIPE, SIG_IGN);
    EXPECT_GT(
        spawn_shell("grep -E 'SigBlk|SigIgn' /proc/self/status", null.get(), out.get(), null.get()),
        0);
    signal(SIGPIPE, pipe_before);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(sigismember(&after, SIGUSR1), 1);
    EXPECT_EQ(sigismember(&after, SIGUSR2), 0);
    // The C library keeps two signals (32 and 33) to itself and ignores them.
    constexpr unsigned long kOwnSignals = 3UL << 31;
    unsigned long blocked = ~0UL;
    unsigned long ignored = ~0UL;
    EXPECT_TRUE(eventually([&] {
        const std::string lines = contents(scratch().path("signals"));
        return std::sscanf(lines.c_str(), "SigBlk: %lx SigIgn: %lx", &blocked, &ignored) == 2;
    }));
    EXPECT_EQ(blocked, 0U);
    EXPECT_EQ(ignored & ~kOwnSignals, 0U);
}

TEST(Spawn, ManyThreadsMaySpawnAtOnce) {
    const Descriptor out = output_file("many");
    const Descriptor null(open("/dev/null", O_RDWR));
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 5; ++n) {
                EXPECT_GT(spawn_shell("echo x", null.get(), out.get(), null.get()), 0);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(eventually([] { return contents(scratch().path("many")).size() == 80; }));
}

// ------------------------------------------------------------------------------------------------
// Scripts
// ------------------------------------------------------------------------------------------------

void write_script(const std::string& name, const std::string& body) {
    const std::string path = scratch().write(name, "#!/bin/sh\n" + body);
    ASSERT_EQ(chmod(path.c_str(), 0755), 0);
}

TEST(Script, GetsItsArgumentsSplitAtBlanksAndNothingElse) {
    write_script("list", "for a; do echo \"[$a]\"; done >" + scratch().path("listed") +
                             "; echo done >>" + scratch().path("listed"));
    const procmgr_spawn_params params{};
    ASSERT_EQ(procmgr_spawn_script("list", "  -x (SP)\t-c  a'b $HOME * ;", &params), 0U);
    EXPECT_TRUE(eventually([] {
        return contents(scratch().path("listed")) ==
               "[-x]\n[(SP)]\n[-c]\n[a'b]\n[$HOME]\n[*]\n[;]\ndone\n";
    })) << contents(scratch().path("listed"));
}

TEST(Script, MayHaveNoArguments) {
    write_script("none", "echo $# >" + scratch().path("number"));
    const procmgr_spawn_params params{10, {}};
    ASSERT_EQ(procmgr_spawn_script("none", " ", &params), 0U);
    EXPECT_TRUE(eventually([] { return contents(scratch().path("number")) == "0\n"; }));
}

TEST(Script, IsStartedWithoutWaitingForIt) {
    write_script("slow", "sleep 1.5");
    const procmgr_spawn_params params{60, {}};
    const auto before = std::chrono::steady_clock::now();
    ASSERT_EQ(procmgr_spawn_script("slow", "", &params), 0U);
    EXPECT_LT(std::chrono::steady_clock::now() - before, 1s);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

/// A script that announces itself and a child of its own, and would run for a minute.
void write_long_script(const std::string& name, const std::string& first_line) {
    write_script(name, first_line + "\nsleep 60 &\necho $$ $! >" + scratch().path(name + ".pids") +
                           "\nwait\nsleep 60\n");
}

struct Pids {
    pid_t script = 0;
    pid_t child = 0;
};

Pids pids_of(const std::string& name) {
    Pids pids;
    eventually([&] {
        return std::sscanf(contents(scratch().path(name + ".pids")).c_str(), "%d %d", &pids.script,
                           &pids.child) == 2;
    });
    return pids;
}

TEST(Script, IsEndedWithItsChildrenWhenItsTimeIsOver) {
    write_long_script("long", "");
    const procmgr_spawn_params params{1, {}};
    const auto before = std::chrono::steady_clock::now();
    ASSERT_EQ(procmgr_spawn_script("long", "", &params), 0U);
    const Pids pids = pids_of("long");
    ASSERT_GT(pids.child, 0);
    EXPECT_TRUE(is_running(pids.script));
    EXPECT_TRUE(eventually([&] { return !is_running(pids.script) && !is_running(pids.child); }));
    const auto took = std::chrono::steady_clock::now() - before;
    EXPECT_GT(took, 900ms);
    EXPECT_LT(took, 5s);
}

TEST(Script, ThatIgnoresItsEndIsKilledFiveSecondsLater) {
    write_long_script("stubborn", "trap '' TERM");
    const procmgr_spawn_params params{1, {}};
    const auto before = std::chrono::steady_clock::now();
    ASSERT_EQ(procmgr_spawn_script("stubborn", "", &params), 0U);
    const Pids pids = pids_of("stubborn");
    ASSERT_GT(pids.child, 0);
    EXPECT_TRUE(eventually([&] { return !is_running(pids.script) && !is_running(pids.child); }));
    EXPECT_GT(std::chrono::steady_clock::now() - before, 5900ms);
}

TEST(Script, WithoutALimitIsLeftAlone) {
    write_long_script("free", "");
    const procmgr_spawn_params params{};
    ASSERT_EQ(procmgr_spawn_script("free", "", &params), 0U);
    const Pids pids = pids_of("free");
    ASSERT_GT(pids.child, 0);
    EXPECT_EQ(getpgid(pids.script), pids.script);
    EXPECT_EQ(getsid(pids.script), pids.script);
    std::this_thread::sleep_for(200ms);
    EXPECT_TRUE(is_running(pids.script));
    kill(-pids.script, SIGKILL);
    EXPECT_TRUE(eventually([&] { return !is_running(pids.script); }));
}

TEST(Script, WritesToTheProcessesStandardError) {
    write_script("talk", "echo out; echo err >&2; cat; echo end");
    const auto outcome = in_child([] {
        const procmgr_spawn_params params{10, {}};
        const kelvo_status status = procmgr_spawn_script("talk", "", &params);
        char link[64];
        std::snprintf(link, sizeof link, "/proc/%d/fd/2", getpid());
        std::error_code ignored;
        const std::string errors = std::filesystem::read_symlink(link, ignored);
        eventually([&] { return status == 0 && contents(errors).ends_with("end\n"); });
    });
    EXPECT_EQ(outcome.errors, "out\nerr\nend\n");
    EXPECT_EQ(outcome.output, "");
}

TEST(Script, NamesWithADirectoryAreRefused) {
    const procmgr_spawn_params params{};
    for (const char* name : {"", ".", "..", "/bin/true", "../true", "a/b", "a/"}) {
        EXPECT_EQ(procmgr_spawn_script(name, "", &params), PLATFORM_HOST_ERR_SCRIPT_NAME) << name;
    }
}

TEST(Script, ThatCannotBeStartedIsAFailureWithItsErrno) {
    const procmgr_spawn_params params{};
    EXPECT_EQ(procmgr_spawn_script("absent", "", &params), PLATFORM_HOST_ERR_SYSTEM | ENOENT);
    const std::string not_executable = scratch().write("text", "x");
    EXPECT_EQ(procmgr_spawn_script("text", "", &params), PLATFORM_HOST_ERR_SYSTEM | EACCES);
    EXPECT_EQ(procmgr_spawn_script(std::string(5000, 'a').c_str(), "", &params),
              PLATFORM_HOST_ERR_SYSTEM | ENAMETOOLONG);
}

TEST(Script, NullsAreRefused) {
    const procmgr_spawn_params params{};
    EXPECT_EQ(procmgr_spawn_script(nullptr, "", &params), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(procmgr_spawn_script("a", nullptr, &params), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(procmgr_spawn_script("a", "", nullptr), KELVO_ERR_NULL_PARAM);
}

TEST(Script, EachAllocationMayFail) {
    write_script("quick", "echo ran >" + scratch().path("ran"));
    const procmgr_spawn_params params{};
    platform_type();
    for (std::size_t n = 0; n < 2; ++n) {
        const FailingMemory fail(n);
        EXPECT_EQ(procmgr_spawn_script("quick", "a b", &params), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(scratch().path("ran")));
    {
        const FailingMemory count;
        EXPECT_EQ(procmgr_spawn_script("quick", "a b", &params), 0U);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    EXPECT_TRUE(eventually([] { return contents(scratch().path("ran")) == "ran\n"; }));
}

// ------------------------------------------------------------------------------------------------
// Boot media
// ------------------------------------------------------------------------------------------------

TEST(BootMedia, AreTheConfiguredDirectories) {
    EXPECT_EQ(platform_get_boot_media(1), scratch().path() + "/");
}

TEST(BootMedia, ThatDoNotExistAreNone) {
    errno = 0;
    EXPECT_EQ(platform_get_boot_media(2), nullptr);
    EXPECT_EQ(errno, ENOENT);
    for (const uint32_t which : {0U, 3U, 0xFFFFFFFFU}) {
        errno = 0;
        EXPECT_EQ(platform_get_boot_media(which), nullptr);
        EXPECT_EQ(errno, ENODEV);
    }
}

}  // namespace
