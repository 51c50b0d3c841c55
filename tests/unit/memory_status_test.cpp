// SPDX-License-Identifier: Apache-2.0
//
// The memory-status dump: its files, its tools, and what it does without either.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <regex>

#include "kelvo_common_msg.h"
#include "platform/scripted_platform.h"

namespace {

using namespace kelvo::test;

/// What the C library answers to the dump.
struct LibC {
    unsigned seconds_slept = 0;  ///< nobody sleeps here, the seconds are only counted
    std::optional<time_t> now;   ///< instead of the clock's
    bool timestamp_fits = true;
};
LibC libc;

}  // namespace

extern "C" unsigned sleep(unsigned seconds) {
    libc.seconds_slept += seconds;
    return 0;
}

extern "C" time_t time(time_t* out) noexcept {
    timespec clock;
    clock_gettime(CLOCK_REALTIME, &clock);
    const time_t now = libc.now.value_or(clock.tv_sec);
    if (out != nullptr) *out = now;
    return now;
}

extern "C" size_t strftime(char* text, size_t size, const char* format, const tm* time) noexcept {
    if (!libc.timestamp_fits) {
        std::fill_n(text, size, 'x');
        return 0;
    }
    using Function = size_t(char*, size_t, const char*, const tm*);
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "strftime"))(text, size, format, time);
}

namespace {

TEST(MemoryStatus, WithoutBootMediaTheDumpIsLoggedAsImpossible) {
    platform().reset();
    libc = {};
    platform().boot_media = [](uint32_t) -> const char* {
        errno = ENOENT;
        return nullptr;
    };
    show_system_mem_status();
    EXPECT_EQ(platform().calls, std::vector<std::string>{"platform_get_boot_media 1"});
    ASSERT_EQ(platform().log.size(), 1U);
    EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_internal);
    EXPECT_EQ(platform().log[0].severity, 7);
    EXPECT_EQ(platform().log[0].text, "Cannot get boot media: rc 0x2 (text of 0x2)");
    EXPECT_EQ(libc.seconds_slept, 0U);
}

/// A boot medium in a temporary directory.
class MemoryDump : public testing::Test {
  protected:
    void SetUp() override {
        platform().reset();
        libc = {};
        char name[] = "/tmp/kelvo-media-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        media_ = std::string(name) + "/";
        platform().boot_media = [this](uint32_t) { return media_.c_str(); };
    }
    void TearDown() override { std::filesystem::remove_all(media_); }

    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(media_)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] std::string content(const std::string& name) const {
        std::string text;
        std::ifstream(media_ + name) >> text;
        return text;
    }

    std::string media_;
};

/// What the tools were given.
struct Spawned {
    std::string tool;
    int output;
    std::vector<std::string> files;  ///< on the medium by then
};

bool is_null_device(int descriptor) {
    struct stat given {};
    struct stat null {};
    return fstat(descriptor, &given) == 0 && stat("/dev/null", &null) == 0 &&
           given.st_rdev == null.st_rdev;
}

TEST_F(MemoryDump, RunsBothToolsIntoFilesOnTheBootMedium) {
    std::vector<Spawned> spawned;
    platform().spawn = [&](const char* name, char* const*, const int* descriptors) {
        EXPECT_TRUE(is_null_device(descriptors[0])) << "there is no input";
        EXPECT_EQ(fcntl(descriptors[0], F_GETFL) & O_ACCMODE, O_RDONLY);
        EXPECT_EQ(descriptors[1], descriptors[2]) << "output and error share a descriptor";
        EXPECT_EQ(fcntl(descriptors[1], F_GETFL) & (O_ACCMODE | O_APPEND), O_WRONLY | O_APPEND);
        EXPECT_EQ(write(descriptors[1], name, strlen(name)), static_cast<ssize_t>(strlen(name)));
        spawned.push_back({name, descriptors[1], files()});
        return 1;
    };
    show_system_mem_status();
    EXPECT_EQ(platform().calls, (std::vector<std::string>{"platform_get_boot_media 1",
                                                          "spawn_process memreport_ng -s -d",
                                                          "spawn_process wdog_report"}));
    const auto names = files();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_TRUE(std::regex_match(
        names[0], std::regex("RKTmz40263_[0-9]{8}-[0-9]{2}:[0-9]{2}:[0-9]{2}\\.mem\\.status")))
        << names[0];
    EXPECT_EQ(names[1], names[0] + ".watchdog");
    const mode_t mask = umask(0);
    umask(mask);
    ASSERT_EQ(spawned.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(content(names[i]), spawned[i].tool);
        struct stat status {};
        ASSERT_EQ(stat((media_ + names[i]).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0644 & ~mask);
        EXPECT_EQ(spawned[i].files.size(), i + 1) << "each file is opened when its tool is due";
        EXPECT_EQ(close(spawned[i].output), 0)
            << "descriptors stay open: the caller is about to stop";
    }
    EXPECT_EQ(libc.seconds_slept, 3U);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(MemoryDump, TheTimestampIsTheLocalTime) {
    setenv("TZ", "XYZ-05:30", 1);
    tzset();
    libc.now = 86400;
    show_system_mem_status();
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(files().front(), "RKTmz40263_19700102-05:30:00.mem.status");
}

TEST_F(MemoryDump, AFileThatIsThereIsAppendedTo) {
    libc.now = 0;
    libc.timestamp_fits = false;
    std::ofstream(media_ + "RKTmz40263_.mem.status") << "before,";
    platform().spawn = [](const char*, char* const*, const int* descriptors) {
        return static_cast<int>(write(descriptors[1], "after", 5));
    };
    show_system_mem_status();
    EXPECT_EQ(content("RKTmz40263_.mem.status"), "before,after");
}

TEST_F(MemoryDump, ATimeThatCannotBeToldIsLeftOut) {
    for (const bool fits : {true, false}) {
        libc.timestamp_fits = fits;
        libc.now = fits ? std::numeric_limits<time_t>::max() : 0;  // its year fits no date
        show_system_mem_status();
        EXPECT_EQ(files(), (std::vector<std::string>{"RKTmz40263_.mem.status",
                                                     "RKTmz40263_.mem.status.watchdog"}));
        for (const std::string& name : files()) std::filesystem::remove(media_ + name);
    }
}

TEST_F(MemoryDump, AFailedSpawnIsLoggedAndTheOtherToolStillRuns) {
    const std::string tools[] = {"memreport_ng", "wdog_report"};
    for (const std::string& failing : tools) {
        SCOPED_TRACE(failing);
        platform().calls.clear();
        platform().log.clear();
        libc = {};
        platform().spawn = [&](const char* tool, char* const*, const int*) {
            errno = EACCES;
            return tool == failing ? -1 : 1;
        };
        show_system_mem_status();
        ASSERT_EQ(platform().log.size(), 1U);
        EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(platform().log[0].severity, 7);
        EXPECT_EQ(platform().log[0].text, "kelvo failed to spawn a process: rc 0xd (text of 0xd)");
        EXPECT_EQ(platform().calls.size(), 3U);
        EXPECT_EQ(libc.seconds_slept, 3U);
    }
}

TEST_F(MemoryDump, ANameThatDoesNotFitIsCutToTheBuffer) {
    const std::string directory = media_;
    while (media_.size() < 245) media_ += "./";
    const std::size_t chars = 255 - media_.size();
    show_system_mem_status();
    media_ = directory;
    EXPECT_EQ(platform().calls.size(), 3U);
    const auto names = files();
    ASSERT_EQ(names.size(), 1U) << "both names are cut to the same 255 characters";
    EXPECT_EQ(names[0], std::string("RKTmz40263_").substr(0, chars));
}

}  // namespace
