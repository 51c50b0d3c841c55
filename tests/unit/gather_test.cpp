// SPDX-License-Identifier: Apache-2.0
//
// Gather lists: their length, flattening, and what happens when a huge message cannot be allocated.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <regex>

#include "kelvo_common_msg.h"
#include "kelvo_value.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

unsigned seconds_slept = 0;

}  // namespace

/// The dump sleeps so that its tools can write; here the seconds are only counted.
extern "C" unsigned sleep(unsigned seconds) {
    seconds_slept += seconds;
    return 0;
}

namespace {

static_assert(sizeof(kelvo_slot) == sizeof(iovec));
static_assert(offsetof(kelvo_slot, base) == offsetof(iovec, iov_base));
static_assert(offsetof(kelvo_slot, length) == offsetof(iovec, iov_len));

constexpr uint32_t kHuge = 52428800;

class Gathering : public testing::Test {
  protected:
    void SetUp() override {
        platform().reset();
        seconds_slept = 0;
    }
};

TEST(Alignment, IsEightZeroBytes) {
    EXPECT_EQ(sizeof kelvo_alignment, 8U);
    for (const uint8_t byte : kelvo_alignment) EXPECT_EQ(byte, 0);
}

TEST(SlotLengths, AreAddedUp) {
    const kelvo_slot list[] = {{nullptr, 40}, {nullptr, 0}, {nullptr, 7}};
    uint32_t total = 99;
    kelvo_common_msg_iovs_length(list, 3, &total);
    EXPECT_EQ(total, 47U);
    kelvo_common_msg_iovs_length(list, 1, &total);
    EXPECT_EQ(total, 40U);
}

TEST(SlotLengths, OfNoSlotsAreZero) {
    const kelvo_slot list[] = {{nullptr, 40}};
    for (const int32_t count : {0, -1, INT32_MIN}) {
        uint32_t total = 99;
        kelvo_common_msg_iovs_length(list, count, &total);
        EXPECT_EQ(total, 0U) << count;
    }
}

TEST(SlotLengths, AreAddedAsThirtyTwoBitNumbersAndWrap) {
    const kelvo_slot list[] = {{nullptr, 0xFFFFFFFF}, {nullptr, 3}, {nullptr, 0x500000005}};
    uint32_t total = 99;
    kelvo_common_msg_iovs_length(list, 2, &total);
    EXPECT_EQ(total, 2U);
    kelvo_common_msg_iovs_length(list, 3, &total);
    EXPECT_EQ(total, 7U);
}

const char kText[] = "abcde";
const kelvo_slot kList[] = {{kText, 5}, {kelvo_alignment, 3}, {nullptr, 0}, {kText + 1, 2}};
const Bytes kFlat = {'a', 'b', 'c', 'd', 'e', 0, 0, 0, 'b', 'c'};

TEST_F(Gathering, ThreeVariantsFlattenAlike) {
    uint8_t* out = nullptr;
    ASSERT_EQ(kelvo_common_msg_iovs_to_buffer(kList, 4, 10, &out), 0U);
    EXPECT_EQ(Bytes(out, out + 10), kFlat);
    free(out);
    ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v1(kList, 4, 10, &out, 0), 0U);
    EXPECT_EQ(Bytes(out, out + 10), kFlat);
    free(out);
    ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 0, 0, 77, &out), 0U);
    EXPECT_EQ(Bytes(out, out + 10), kFlat);
    free(out);
    EXPECT_TRUE(platform().calls.empty()) << "the replication layer is asked only for replicas";
}

TEST_F(Gathering, NoSlotsGiveABufferOfTheSizeAskedFor) {
    for (const int32_t count : {0, -1}) {
        uint8_t* out = nullptr;
        const FailingMemory memory;
        ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, count, 16, 0, 0, 0, &out), 0U);
        EXPECT_NE(out, nullptr);
        EXPECT_EQ(memory.allocations(), 1U);
        EXPECT_EQ(memory.bytes(), 16U);
        free(out);
    }
}

TEST_F(Gathering, TheReplicationLayerAllocatesForReplicas) {
    uint8_t* out = nullptr;
    ASSERT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 0, 1, 77, &out), 0U);
    EXPECT_EQ(platform().calls, std::vector<std::string>{"replica_build_msg_headers 10 77"});
    EXPECT_EQ(Bytes(out, out + 10), kFlat);
    free(out);
}

TEST_F(Gathering, AReplicationFailureWithABufferIsPassedOn) {
    static uint8_t buffer[16];
    platform().build_replica = [](uint32_t, uint32_t, uint8_t** stored) -> kelvo_status {
        *stored = buffer;
        return 0x4321;
    };
    uint8_t* out = nullptr;
    EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 1, 1, 0, &out), 0x4321U);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(buffer[0], 0) << "nothing is copied then";
}

TEST_F(Gathering, WithoutAReplicationBufferMemoryRanOutWhateverTheLayerSays) {
    for (const kelvo_status said : {0U, 0x4321U}) {
        platform().build_replica = [said](uint32_t, uint32_t, uint8_t** stored) {
            *stored = nullptr;
            return said;
        };
        uint8_t* out = nullptr;
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, 10, 1, 1, 0, &out),
                  KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(out, nullptr);
    }
}

TEST_F(Gathering, UpToFiftyMebibytesAFailureIsOnlyReported) {
    for (const uint32_t size : {10U, kHuge}) {
        uint8_t sentinel = 0;
        uint8_t* out = &sentinel;
        const FailingMemory memory(0);
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer(kList, 4, size, &out), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(out, &sentinel);
    }
    EXPECT_TRUE(platform().calls.empty()) << "no dump is taken";
}

TEST_F(Gathering, WithoutFailHardNoFailureStopsTheProcess) {
    for (const uint32_t size : {kHuge + 1, 0xFFFFFFFFU}) {
        uint8_t* out = nullptr;
        const FailingMemory memory(0, FailingMemory::kNever);
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v1(kList, 4, size, &out, 0), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(kelvo_common_msg_iovs_to_buffer_v2(kList, 4, size, 0, 0, 0, &out),
                  KELVO_ERR_NO_MEMORY);
    }
}

/// A huge message that cannot be allocated, with the process's output where a death test sees it.
void flatten_huge_message(uint32_t size, bool replicated) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    platform().build_replica = [](uint32_t, uint32_t, uint8_t** stored) {
        *stored = nullptr;
        return 0U;
    };
    platform().boot_media = [](uint32_t) -> const char* {
        static const char kDump[] = "dump taken\n";
        [[maybe_unused]] const auto written = write(STDERR_FILENO, kDump, sizeof kDump - 1);
        return nullptr;
    };
    uint8_t* out = nullptr;
    const FailingMemory memory(0);
    (void)kelvo_common_msg_iovs_to_buffer_v2(kList, 4, size, 1, replicated ? 1 : 0, 0, &out);
}

using GatheringDeathTest = Gathering;

TEST_F(GatheringDeathTest, AHugeMessageThatCannotBeAllocatedStopsTheProcess) {
    EXPECT_DEATH(
        flatten_huge_message(kHuge + 1, false),
        "message length: 52428801\ndump taken\n.*common/src/kelvo_common_msg_compose:[0-9]+: "
        ".*Assertion `0' failed");
    EXPECT_DEATH(flatten_huge_message(kHuge + 1, true), "message length: 52428801\ndump taken\n.*");
    EXPECT_DEATH(flatten_huge_message(0xFFFFFFFF, false), "message length: -1\ndump taken\n.*");
}

TEST_F(Gathering, WithoutBootMediaTheDumpIsLoggedAsImpossible) {
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
    EXPECT_EQ(seconds_slept, 0U);
}

/// A boot medium in a temporary directory.
class MemoryDump : public Gathering {
  protected:
    void SetUp() override {
        Gathering::SetUp();
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

    std::string media_;
};

TEST_F(MemoryDump, RunsBothToolsIntoFilesOnTheBootMedium) {
    std::vector<int> output;
    platform().spawn = [&](const char* name, char* const*, const int* descriptors) {
        EXPECT_GE(descriptors[0], 0);
        EXPECT_EQ(descriptors[1], descriptors[2]) << "output and error share a descriptor";
        char byte;
        EXPECT_EQ(read(descriptors[0], &byte, 1), 0) << "there is no input";
        EXPECT_EQ(write(descriptors[1], name, strlen(name)), static_cast<ssize_t>(strlen(name)));
        output.push_back(descriptors[1]);
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
    for (int i = 0; i < 2; ++i) {
        std::string text;
        std::ifstream(media_ + names[static_cast<std::size_t>(i)]) >> text;
        EXPECT_EQ(text, i == 0 ? "memreport_ng" : "wdog_report");
        struct stat status {};
        ASSERT_EQ(stat((media_ + names[static_cast<std::size_t>(i)]).c_str(), &status), 0);
        const mode_t mask = umask(0);
        umask(mask);
        EXPECT_EQ(status.st_mode & 0777, 0644 & ~mask);
    }
    for (const int descriptor : output) {
        EXPECT_EQ(close(descriptor), 0) << "descriptors stay open: the caller is about to stop";
    }
    EXPECT_EQ(seconds_slept, 3U);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(MemoryDump, AFailedSpawnIsLoggedAndTheOtherToolStillRuns) {
    platform().spawn = [](const char*, char* const*, const int*) {
        errno = EACCES;
        return -1;
    };
    show_system_mem_status();
    EXPECT_EQ(platform().log_texts(),
              (std::vector<std::string>{"kelvo failed to spawn a process: rc 0xd (text of 0xd)",
                                        "kelvo failed to spawn a process: rc 0xd (text of 0xd)"}));
    EXPECT_EQ(platform().calls.size(), 3U);
    EXPECT_EQ(seconds_slept, 3U);
}

TEST_F(MemoryDump, ANameThatDoesNotFitIsCutToTheBuffer) {
    const std::string directory = media_;
    while (media_.size() < 245) media_ += "./";
    show_system_mem_status();
    media_ = directory;
    EXPECT_EQ(platform().calls.size(), 3U);
    const auto names = files();
    ASSERT_EQ(names.size(), 1U) << "both names are cut to the same 255 characters";
    EXPECT_EQ(names[0], std::string("RKTmz40263_").substr(0, names[0].size()));
    EXPECT_TRUE(names[0].size() == 9 || names[0].size() == 10) << names[0];
}

struct ValueRow {
    uint32_t type;
    Bytes after;
    uint32_t converted;
};

TEST(TypedValue, IsReversedByTheWidthOfItsType) {
    const ValueRow rows[] = {
        {0, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},          {1, {4, 3, 2, 1, 5, 6, 7, 8, 9}, 1},
        {2, {8, 7, 6, 5, 4, 3, 2, 1, 9}, 1},          {3, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        {9, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},          {10, {2, 1, 3, 4, 5, 6, 7, 8, 9}, 1},
        {11, {2, 1, 3, 4, 5, 6, 7, 8, 9}, 1},         {12, {4, 3, 2, 1, 5, 6, 7, 8, 9}, 1},
        {13, {8, 7, 6, 5, 4, 3, 2, 1, 9}, 1},         {14, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        {0x80000001, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
    };
    for (const ValueRow& row : rows) {
        SCOPED_TRACE(row.type);
        Bytes in_place = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        EXPECT_EQ(kelvo::convert_value(row.type, in_place.data(), in_place.data()), row.converted);
        EXPECT_EQ(in_place, row.after);

        const Bytes source = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        Bytes copy(9, 0xEE);
        EXPECT_EQ(kelvo::convert_value(row.type, copy.data(), source.data()), row.converted);
        for (std::size_t i = 0; i < 9; ++i) {
            EXPECT_EQ(copy[i], i < kelvo::value_width(row.type) ? row.after[i] : 0xEE) << i;
        }
    }
}

TEST(TypedValue, ANullPointerConvertsNothing) {
    uint32_t word = 0x01020304;
    EXPECT_EQ(kelvo::convert_value(1, nullptr, &word), 0U);
    EXPECT_EQ(kelvo::convert_value(1, &word, nullptr), 0U);
    EXPECT_EQ(word, 0x01020304U);
}

TEST(TypedValue, ConvertsAtAnyAddress) {
    Bytes bytes(16);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        std::iota(bytes.begin(), bytes.end(), 0);
        EXPECT_EQ(kelvo::convert_value(2, bytes.data() + shift, bytes.data() + shift), 1U);
        EXPECT_EQ(bytes[shift], shift + 7);
    }
}

}  // namespace
