// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kelvo_process.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

using kelvo::test::FailingMemory;
using kelvo::test::platform;

// ---- The operating system's part, replaced so that every answer can be had on every machine ----

namespace {

struct Scheduler {
    bool refuses = false;
    int priority = 7;
    pid_t asked = -1;
};
Scheduler scheduler;
std::vector<unsigned> sleeps;

}  // namespace

extern "C" int sched_getparam(pid_t pid, sched_param* parameters) noexcept {
    scheduler.asked = pid;
    if (scheduler.refuses) {
        errno = EPERM;
        return -1;
    }
    parameters->sched_priority = scheduler.priority;
    return 0;
}

extern "C" int sched_setparam(pid_t pid, const sched_param* parameters) noexcept {
    scheduler.asked = pid;
    if (scheduler.refuses) {
        errno = EINVAL;
        return -1;
    }
    scheduler.priority = parameters->sched_priority;
    return 0;
}

extern "C" unsigned sleep(unsigned seconds) {
    sleeps.push_back(seconds);
    return 0;
}

namespace {

class Process : public testing::Test {
  protected:
    void SetUp() override {
        platform().reset();
        scheduler = {};
        sleeps.clear();
    }
};

// ---- Priority ----

TEST_F(Process, ReadsThePriorityOfTheCallingProcess) {
    uint32_t priority = 0xdeadbeef;
    EXPECT_EQ(kelvo_util_get_priority(&priority), 0U);
    EXPECT_EQ(priority, 7U);
    EXPECT_EQ(scheduler.asked, 0);
}

TEST_F(Process, ARefusedReadLeavesThePriorityUntouched) {
    scheduler.refuses = true;
    uint32_t priority = 0xdeadbeef;
    EXPECT_EQ(kelvo_util_get_priority(&priority), KELVO_ERR_OS_CALL);
    EXPECT_EQ(priority, 0xdeadbeef);
}

TEST_F(Process, SetsThePriorityOfTheCallingProcess) {
    EXPECT_EQ(kelvo_util_set_priority(42), 0U);
    EXPECT_EQ(scheduler.priority, 42);
    EXPECT_EQ(scheduler.asked, 0);
}

TEST_F(Process, ARefusedPriorityIsAnOsError) {
    scheduler.refuses = true;
    EXPECT_EQ(kelvo_util_set_priority(42), KELVO_ERR_OS_CALL);
    EXPECT_EQ(scheduler.priority, 7);
    EXPECT_TRUE(platform().log.empty());
}

// ---- Reserved memory ----

TEST_F(Process, TheReservedMemoryFlagIsFixed) {
    uint32_t flag = 0xdeadbeef;
    EXPECT_EQ(kelvo_util_get_rsvd_mem_flag(&flag), 0U);
    EXPECT_EQ(flag, 1U);
    EXPECT_EQ(kelvo_util_set_rsvd_mem_flag(0), 0U);
    EXPECT_EQ(kelvo_util_get_rsvd_mem_flag(&flag), 0U);
    EXPECT_EQ(flag, 1U);
}

// ---- Text copies ----

TEST_F(Process, ATextIsCopiedWithItsNul) {
    for (const std::string& text : {std::string(), std::string("a"), std::string(5000, 'x')}) {
        std::size_t asked = 0;
        platform().alloc = [&](std::size_t size, const void*) {
            asked = size;
            return std::malloc(size);
        };
        char* const copy = kelvo_strdup(text.c_str());
        EXPECT_EQ(copy, text);
        EXPECT_NE(copy, text.c_str());
        EXPECT_EQ(asked, text.size() + 1);
        free(copy);
    }
}

// Kept whole and away from the test's other code: an address within it is a call made here.
[[gnu::noinline]] char* copy_from_here(const char* text) {
    char* const copy = kelvo_strdup(text);
    asm volatile("" ::: "memory");  // not a tail call
    return copy;
}

TEST_F(Process, TheCopyIsAccountedToThePlaceOfTheCall) {
    const void* caller = nullptr;
    platform().alloc = [&](std::size_t size, const void* from) {
        caller = from;
        return std::malloc(size);
    };
    free(copy_from_here("text"));
    const auto begin = reinterpret_cast<std::uintptr_t>(&copy_from_here);
    const auto at = reinterpret_cast<std::uintptr_t>(caller);
    EXPECT_GT(at, begin);
    EXPECT_LT(at, begin + 256);
}

TEST_F(Process, WithoutMemoryTheCopyIsNull) {
    const FailingMemory fail(0);
    EXPECT_EQ(kelvo_strdup("text"), nullptr);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

/// A text of any length out of little memory: one piece, mapped again and again.
class HugeText {
  public:
    explicit HugeText(std::size_t length) : length_(length), mapped_(length / kPiece + 1) {
        const int piece = memfd_create("text", 0);
        EXPECT_EQ(ftruncate(piece, kPiece), 0);
        base_ = static_cast<char*>(mmap(nullptr, mapped_ * kPiece, PROT_NONE,
                                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        for (std::size_t i = 0; i < mapped_; ++i) {
            const bool last = i + 1 == mapped_;
            mmap(base_ + i * kPiece, kPiece, PROT_READ | PROT_WRITE,
                 MAP_FIXED | (last ? MAP_PRIVATE : MAP_SHARED), piece, 0);
        }
        std::memset(base_, 'x', kPiece);
        close(piece);
        base_[length] = '\0';
    }
    ~HugeText() { munmap(base_, mapped_ * kPiece); }
    HugeText(const HugeText&) = delete;
    HugeText& operator=(const HugeText&) = delete;

    [[nodiscard]] const char* text() const { return base_; }
    [[nodiscard]] std::size_t length() const { return length_; }

  private:
    static constexpr std::size_t kPiece = std::size_t{16} << 20;
    std::size_t length_;
    std::size_t mapped_;
    char* base_;
};

TEST_F(Process, ATextTooLongForA32BitSizeIsNotCopied) {
    bool asked = false;
    platform().alloc = [&](std::size_t, const void*) -> void* {
        asked = true;
        return nullptr;
    };
    for (const std::size_t length : {std::size_t{0xffffffff}, std::size_t{0x100000004}}) {
        const HugeText huge(length);
        ASSERT_EQ(std::strlen(huge.text()), length);
        EXPECT_EQ(kelvo_strdup(huge.text()), nullptr) << length;
        EXPECT_FALSE(asked) << length;
    }
    const HugeText longest(0xfffffffe);
    EXPECT_EQ(kelvo_strdup(longest.text()), nullptr);
    EXPECT_TRUE(asked);
}

// ---- Job ids ----

TEST_F(Process, AJobIdIsFoundAnywhereAmongTheFirstEntries) {
    const uint32_t ids[] = {4, 8, 0xffffffff, 16};
    struct Row {
        int32_t job_id;
        uint32_t count;
        uint32_t found;
    };
    const Row rows[] = {{4, 4, 1},  {8, 4, 1},  {16, 4, 1}, {-1, 4, 1}, {5, 4, 0},
                        {16, 3, 0}, {-1, 2, 0}, {4, 1, 1},  {8, 1, 0},  {4, 0, 0}};
    for (const Row& row : rows) {
        EXPECT_EQ(kelvo_util_jid_in_array(row.job_id, row.count, ids), row.found)
            << row.job_id << " among " << row.count;
    }
}

TEST_F(Process, WithoutEntriesTheArrayIsNotRead) {
    EXPECT_EQ(kelvo_util_jid_in_array(4, 0, nullptr), 0U);
}

// ---- Time since boot ----

TEST_F(Process, TheTimeSinceBootIsInSecondsAndMicroseconds) {
    struct Row {
        timespec clock;
        int64_t seconds;
        int64_t microseconds;
    };
    const Row rows[] = {{{5, 999999999}, 5, 999999},
                        {{0, 0}, 0, 0},
                        {{7, 999}, 7, 0},
                        {{7, 1000}, 7, 1},
                        {{-3, -1999}, -3, -1}};
    for (const Row& row : rows) {
        platform().fast_clock = [&](timespec* now) { *now = row.clock; };
        int64_t out[3] = {-1, -1, 4711};
        kelvo_get_elapsed_time_since_boot(out);
        EXPECT_EQ(out[0], row.seconds);
        EXPECT_EQ(out[1], row.microseconds);
        EXPECT_EQ(out[2], 4711);
    }
}

/// Leaves bytes that are not zero where the next call's variables will be.
[[gnu::noinline]] void soil_stack() {
    char bytes[4096];
    std::memset(bytes, 0x5a, sizeof bytes);
    asm volatile("" ::"r"(bytes) : "memory");
}

TEST_F(Process, WithoutAFastClockTheTimeSinceBootIsZero) {
    platform().fast_clock = [](timespec*) {};
    int64_t out[2] = {-1, -1};
    soil_stack();
    kelvo_get_elapsed_time_since_boot(out);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 0);
}

// ---- Support data ----

constexpr char kSystemPlane[] =
    "procmgr_spawn_script techdump_fast -r -c kelvo -m kelvo_techdump_fast -a -S limit 1800";
constexpr char kAdminPlane[] =
    "procmgr_spawn_script techdump_fast -x (SP) -c kelvo-admin -m kelvo_techdump_fast -a -A limit "
    "1800";

TEST_F(Process, SupportDataIsCollectedOnProcessorsOnly) {
    for (uint32_t type = 0; type < 8; ++type) {
        platform().reset();
        sleeps.clear();
        platform().type = [type] { return type; };
        EXPECT_EQ(kelvo_util_collect_showtech(0), 0U);
        const bool collects = type == 0 || type == 1 || type == 3;
        EXPECT_EQ(platform().calls.size(), collects ? 1U : 0U) << type;
        EXPECT_EQ(sleeps, collects ? std::vector<unsigned>{2} : std::vector<unsigned>{}) << type;
    }
}

TEST_F(Process, SupportDataHasItsArgumentsForEachPlane) {
    for (const uint32_t plane : {0U, 1U, 0x80000000U}) {
        platform().calls.clear();
        EXPECT_EQ(kelvo_util_collect_showtech(plane), 0U);
        EXPECT_EQ(platform().calls,
                  std::vector<std::string>{plane != 0 ? kAdminPlane : kSystemPlane});
    }
}

TEST_F(Process, OnlyTheTimeLimitOfTheSpawnParametersIsSet) {
    platform().spawn_script = [](const char*, const char*, const procmgr_spawn_params* params) {
        EXPECT_EQ(params->time_limit_seconds, 1800U);
        for (const uint32_t word : params->reserved) EXPECT_EQ(word, 0U);
        return 0U;
    };
    EXPECT_EQ(kelvo_util_collect_showtech(0), 0U);
}

TEST_F(Process, AFailedStartIsReturnedAtOnce) {
    platform().spawn_script = [](const char*, const char*, const procmgr_spawn_params*) {
        return 0x12345678U;
    };
    EXPECT_EQ(kelvo_util_collect_showtech(1), 0x12345678U);
    EXPECT_TRUE(sleeps.empty());
    EXPECT_TRUE(platform().log.empty());
}

}  // namespace
