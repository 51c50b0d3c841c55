// SPDX-License-Identifier: Apache-2.0
//
// Texts of statuses.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>

#include "kelvo_platform_host.h"

namespace {

struct Row {
    kelvo_status code;
    const char* name;
    const char* meaning;
    const char* subsystem;
};

constexpr Row kRows[] = {
#define ROW(name, meaning) {name, #name, meaning, "Kelvo"},
    KELVO_STATUS_LIST(ROW)
#undef ROW
#define ROW(name, meaning) {name, #name, meaning, "Host platform"},
        PLATFORM_HOST_STATUS_LIST(ROW)
#undef ROW
            {IFDB_UNKNOWN_INTERFACE, "IFDB_UNKNOWN_INTERFACE", "no such interface is known",
             "Interface database"}};

TEST(Status, EveryCodeHasItsNameAndMeaning) {
    for (const Row& row : kRows) {
        EXPECT_EQ(errcode_strerror(row.code), std::string(row.name) + ": " + row.meaning);
    }
}

TEST(Status, EveryCodeHasItsStrings) {
    for (const Row& row : kRows) {
        errcode_strings strings{"x", "x", "x"};
        ASSERT_EQ(errcode_getstrings(row.code, &strings), 0U);
        EXPECT_STREQ(strings.subsystem, row.subsystem) << row.name;
        EXPECT_STREQ(strings.error, row.meaning);
        EXPECT_EQ(strings.os_error, nullptr);
    }
}

TEST(Status, NoTwoCodesAreEqual) {
    for (const Row& row : kRows) {
        for (const Row& other : kRows)
            EXPECT_EQ(&row == &other, row.code == other.code) << row.name;
    }
}

TEST(Status, ASmallNumberIsAnErrno) {
    for (const int number : {0, EPERM, ENOENT, EHWPOISON, 511}) {
        EXPECT_STREQ(errcode_strerror(static_cast<kelvo_status>(number)), strerror(number));
    }
}

TEST(Status, AnErrnoHasOnlyTheTextOfTheOperatingSystem) {
    errcode_strings strings{"x", "x", "x"};
    ASSERT_EQ(errcode_getstrings(ENOENT, &strings), 0U);
    EXPECT_EQ(strings.subsystem, nullptr);
    EXPECT_EQ(strings.error, nullptr);
    EXPECT_STREQ(strings.os_error, strerror(ENOENT));
}

TEST(Status, SuccessHasItsText) {
    errcode_strings strings{"x", "x", "x"};
    ASSERT_EQ(errcode_getstrings(0, &strings), 0U);
    EXPECT_EQ(strings.subsystem, nullptr);
    EXPECT_STREQ(strings.error, "Success");
    EXPECT_EQ(strings.os_error, nullptr);
}

TEST(Status, ACodeMayCarryAnErrno) {
    const kelvo_status status = PLATFORM_HOST_ERR_SYSTEM | ENOENT;
    EXPECT_STREQ(errcode_strerror(status),
                 "PLATFORM_HOST_ERR_SYSTEM: an operating-system call failed "
                 "(No such file or directory)");
    errcode_strings strings{};
    ASSERT_EQ(errcode_getstrings(status, &strings), 0U);
    EXPECT_STREQ(strings.subsystem, "Host platform");
    EXPECT_STREQ(strings.error, "an operating-system call failed");
    EXPECT_STREQ(strings.os_error, "No such file or directory");
}

TEST(Status, AnUnknownSubsystemIsNamedByItsNumber) {
    errcode_strings strings{};
    ASSERT_EQ(errcode_getstrings(0x81234600, &strings), 0U);
    EXPECT_STREQ(strings.subsystem, "Subsystem(291)");
    EXPECT_STREQ(strings.error, "unknown error 0x81234600");
    EXPECT_STREQ(errcode_strerror(0x81234600), "unknown status 0x81234600");
}

TEST(Status, AnUnknownErrorOfAKnownSubsystemIsNamedByItsCode) {
    errcode_strings strings{};
    ASSERT_EQ(errcode_getstrings(0x4081FE00, &strings), 0U);
    EXPECT_STREQ(strings.subsystem, "Kelvo");
    EXPECT_STREQ(strings.error, "unknown error 0x4081fe00");
}

TEST(Status, NullStringsAreRefused) {
    EXPECT_EQ(errcode_getstrings(1, nullptr), KELVO_ERR_NULL_PARAM);
}

TEST(Status, ErrnoStays) {
    errno = EXDEV;
    errcode_strings strings{};
    errcode_strerror(511);
    errcode_getstrings(511, &strings);
    EXPECT_EQ(errno, EXDEV);
}

TEST(Status, AThreadsTextOutlivesTheCallsOfOthers) {
    const char* const mine = errcode_strerror(0x81234600);
    std::thread([] { errcode_strerror(0x81234800); }).join();
    EXPECT_STREQ(mine, "unknown status 0x81234600");
}

}  // namespace
