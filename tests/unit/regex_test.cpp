// SPDX-License-Identifier: Apache-2.0
//
// The engine under the library's names, beside the C library's engine in one process.
#include "kelvo_regex.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/failing_memory.h"

namespace {

using kelvo::test::FailingMemory;

constexpr int kFlags = KELVO_REGEX_EXTENDED | KELVO_REGEX_NOSUB;

/// Whether texts of every length match that have limits of their own, which preparation makes.
bool engine_is_complete() {
    kelvo_regex compiled{};
    if (kelvo_regcomp(&compiled, "a[bc]*$", kFlags) != 0) return false;
    bool matches = kelvo_regexec(&compiled, "ax", 0, nullptr, 0) != 0;
    for (std::string text = "a"; text.size() < 10000; text += text.substr(1) + "b") {
        matches = matches && kelvo_regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
    }
    const std::string longest = std::string(400000, 'x') + "a";
    matches = matches && kelvo_regexec(&compiled, longest.c_str(), 0, nullptr, 0) == 0;
    kelvo_regfree(&compiled);
    return matches;
}

/// Blocks that the attempts may keep in all: the limits of matches once, and what the engine itself
/// keeps of attempts that fail. Limits made anew each time would be many more.
constexpr long kMostKept = 100;
constexpr int kNoMemory = 12;  // the engine's number

/// Lets each allocation of the first compilation fail in turn, in a process of its own because the
/// engine is prepared once. @return 0 when every failure was answered and the engine is complete
int run_preparation_under_failures() {
    long kept = 0;
    for (std::size_t failing = 0;; ++failing) {
        kelvo_regex compiled{};
        bool reached;
        int error;
        {
            const FailingMemory fail(failing);
            error = kelvo_regcomp(&compiled, "b+", kFlags);
            reached = FailingMemory::allocations() > failing;
            if (reached) kept += FailingMemory::outstanding();
        }
        if (reached && (error != kNoMemory || compiled.engine != nullptr)) return 1;
        if (reached) continue;
        if (error != 0) return 2;
        kelvo_regfree(&compiled);
        if (kept > kMostKept) return 4;
        return engine_is_complete() ? 0 : 3;
    }
}

TEST(RegexDeathTest, PreparationThatRanOutOfMemoryIsRepeated) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(run_preparation_under_failures()), testing::ExitedWithCode(0), "");
}

TEST(RegexDeathTest, ThreadsMayCompileTheFirstPatternAtOnce) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto run = [] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([] {
                kelvo_regex compiled{};
                if (kelvo_regcomp(&compiled, "x+y", kFlags) != 0) std::_Exit(1);
                if (kelvo_regexec(&compiled, "xxy", 0, nullptr, 0) != 0) std::_Exit(2);
                kelvo_regfree(&compiled);
            });
        }
        for (std::thread& thread : threads) thread.join();
        std::_Exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(Regex, MatchesAndRefuses) {
    kelvo_regex compiled{};
    ASSERT_EQ(kelvo_regcomp(&compiled, "^((ab*)/)$", kFlags), 0);
    EXPECT_EQ(compiled.flags, 0x30);
    EXPECT_EQ(kelvo_regexec(&compiled, "abbb/", 0, nullptr, 0), 0);
    EXPECT_NE(kelvo_regexec(&compiled, "abbb", 0, nullptr, 0), 0);
    EXPECT_NE(kelvo_regexec(&compiled, "xa/", 0, nullptr, 0), 0);
    kelvo_regfree(&compiled);
    EXPECT_EQ(compiled.engine, nullptr);
}

TEST(Regex, PlacesAreReportedWhereTheyAreAskedFor) {
    kelvo_regex compiled{};
    ASSERT_EQ(kelvo_regcomp(&compiled, "b(c+)|(x)", KELVO_REGEX_EXTENDED), 0);
    EXPECT_EQ(compiled.groups, 2U);
    kelvo_regex_match matches[4] = {{7, 7}, {7, 7}, {7, 7}, {7, 7}};
    EXPECT_EQ(kelvo_regexec(&compiled, "abccd", 3, matches, 0), 0);
    EXPECT_EQ(matches[0].start, 1);
    EXPECT_EQ(matches[0].end, 4);
    EXPECT_EQ(matches[1].start, 2);
    EXPECT_EQ(matches[1].end, 4);
    EXPECT_EQ(matches[2].start, -1);
    EXPECT_EQ(matches[2].end, -1);
    EXPECT_EQ(matches[3].start, 7);
    kelvo_regfree(&compiled);
}

TEST(Regex, PlacesThatThereAreNotBecomeNone) {
    kelvo_regex compiled{};
    ASSERT_EQ(kelvo_regcomp(&compiled, "b(c+)", KELVO_REGEX_EXTENDED), 0);
    kelvo_regex_match matches[4] = {{7, 7}, {7, 7}, {7, 7}, {7, 7}};
    EXPECT_EQ(kelvo_regexec(&compiled, "abccd", 4, matches, 0), 0);
    EXPECT_EQ(matches[1].start, 2);
    for (const int beyond : {2, 3}) {
        EXPECT_EQ(matches[beyond].start, -1);
        EXPECT_EQ(matches[beyond].end, -1);
    }
    EXPECT_EQ(kelvo_regexec(&compiled, "abd", 1, matches, 0), 1);
    EXPECT_EQ(matches[0].start, -1);
    EXPECT_EQ(matches[0].end, -1);
    EXPECT_EQ(matches[1].start, 2);
    kelvo_regfree(&compiled);
}

TEST(Regex, WithoutPlacesNoneAreWritten) {
    kelvo_regex compiled{};
    ASSERT_EQ(kelvo_regcomp(&compiled, "b(c+)", kFlags), 0);
    kelvo_regex_match match = {7, 7};
    EXPECT_EQ(kelvo_regexec(&compiled, "abccd", 1, &match, 0), 0);
    EXPECT_EQ(kelvo_regexec(&compiled, "abd", 1, &match, 0), 1);
    EXPECT_EQ(match.start, 7);
    kelvo_regfree(&compiled);
}

TEST(Regex, PlacesForWhichThereIsNoMemoryAreLeftAlone) {
    kelvo_regex compiled{};
    ASSERT_EQ(kelvo_regcomp(&compiled, "b(c+)", KELVO_REGEX_EXTENDED), 0);
    bool succeeded = false;
    for (std::size_t failing = 0; !succeeded; ++failing) {
        kelvo_regex_match matches[2] = {{7, 7}, {7, 7}};
        int error;
        long left;
        {
            const FailingMemory fail(failing);
            error = kelvo_regexec(&compiled, "abccd", 2, matches, 0);
            succeeded = FailingMemory::allocations() <= failing;
            left = FailingMemory::outstanding();
        }
        EXPECT_EQ(error, succeeded ? 0 : 12) << failing;
        EXPECT_EQ(matches[0].start, succeeded ? 1 : 7) << failing;
        EXPECT_EQ(left, 0) << failing;
    }
    kelvo_regfree(&compiled);
}

TEST(Regex, TheEndsOfATextMayBeSaidNotToBeEndsOfALine) {
    constexpr int kNotBeginning = 4;
    constexpr int kNotEnd = 8;
    kelvo_regex begins{};
    kelvo_regex ends{};
    ASSERT_EQ(kelvo_regcomp(&begins, "^a", kFlags), 0);
    ASSERT_EQ(kelvo_regcomp(&ends, "a$", kFlags), 0);
    EXPECT_EQ(kelvo_regexec(&begins, "a", 0, nullptr, kNotEnd), 0);
    EXPECT_EQ(kelvo_regexec(&begins, "a", 0, nullptr, kNotBeginning), 1);
    EXPECT_EQ(kelvo_regexec(&ends, "a", 0, nullptr, kNotBeginning), 0);
    EXPECT_EQ(kelvo_regexec(&ends, "a", 0, nullptr, kNotEnd), 1);
    kelvo_regfree(&begins);
    kelvo_regfree(&ends);
}

TEST(Regex, ABadPatternLeavesNothingToRelease) {
    for (const char* pattern : {"(", "[", ")", "x\\", "a(*FAIL)", "(?<=.*?.{0,50})"}) {
        kelvo_regex compiled{&compiled, 7, 7, {7, 7, 7, 7}};
        EXPECT_NE(kelvo_regcomp(&compiled, pattern, kFlags), 0) << pattern;
        EXPECT_EQ(compiled.engine, nullptr) << pattern;
        kelvo_regfree(&compiled);
    }
}

/// The name of the shared object that defines what a function pointer points at.
std::string home_of(const void* function) {
    Dl_info info{};
    return dladdr(function, &info) != 0 ? info.dli_fname : "";
}

TEST(Regex, TheProcessKeepsTheEngineOfItsCLibrary) {
    // "\d" is a digit to one engine and the letter to the other.
    regex_t theirs;
    ASSERT_EQ(regcomp(&theirs, "^\\d$", REG_EXTENDED | REG_NOSUB), 0);
    kelvo_regex ours{};
    ASSERT_EQ(kelvo_regcomp(&ours, "^\\d$", kFlags), 0);

    EXPECT_EQ(regexec(&theirs, "d", 0, nullptr, 0), 0);
    EXPECT_EQ(regexec(&theirs, "5", 0, nullptr, 0), REG_NOMATCH);
    EXPECT_EQ(kelvo_regexec(&ours, "5", 0, nullptr, 0), 0);
    EXPECT_NE(kelvo_regexec(&ours, "d", 0, nullptr, 0), 0);

    kelvo_regfree(&ours);
    regfree(&theirs);
    EXPECT_EQ(home_of(dlsym(RTLD_DEFAULT, "regcomp")).find("libonig"), std::string::npos);
}

// Of the engine's own flags, those that say what stands around the text count, and no others.
TEST(Regex, OnlyTheFlagsOfTheTextsEndsCount) {
    constexpr int kNotBeginning = 4;
    constexpr int kNotEnd = 8;
    for (const auto& [pattern, ignoring] : {std::pair{"^a", kNotBeginning}, {"a$", kNotEnd}}) {
        kelvo_regex compiled{};
        ASSERT_EQ(kelvo_regcomp(&compiled, pattern, kFlags), 0);
        for (int flag = 1; flag < 0x10000; flag *= 2) {
            EXPECT_EQ(kelvo_regexec(&compiled, "a", 0, nullptr, flag), flag == ignoring ? 1 : 0)
                << pattern << ", flag " << flag;
        }
        kelvo_regfree(&compiled);
    }
}

TEST(Regex, OnlyTheFlagOfNoPlacesKeepsThemBack) {
    constexpr int kAnyCase = 1;
    kelvo_regex compiled{};
    ASSERT_EQ(kelvo_regcomp(&compiled, "b", KELVO_REGEX_EXTENDED | kAnyCase), 0);
    kelvo_regex_match place{7, 7};
    EXPECT_EQ(kelvo_regexec(&compiled, "aB", 1, &place, 0), 0);
    EXPECT_EQ(place.start, 1);
    EXPECT_EQ(place.end, 2);
    kelvo_regfree(&compiled);
}

}  // namespace
