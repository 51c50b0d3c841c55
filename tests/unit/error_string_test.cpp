// SPDX-License-Identifier: Apache-2.0
#include "kelvo_error_string.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::platform;

constexpr kelvo_status kStatus = 0x40C0A0Fu;

class ErrorString : public testing::Test {
  protected:
    ErrorString() { platform().reset(); }
    ~ErrorString() override { EXPECT_TRUE(platform().log.empty()) << "nothing here logs"; }

    static void answer(const char* subsystem, const char* error, const char* os_error) {
        platform().getstrings = [=](kelvo_status status, errcode_strings* strings) -> kelvo_status {
            EXPECT_EQ(status, kStatus);
            *strings = {subsystem, error, os_error};
            return 0;
        };
    }

    static std::string prepared(const char* context) {
        char* text = nullptr;
        EXPECT_EQ(kelvo_util_prepare_error_string(context, kStatus, &text), 0U);
        if (text == nullptr) return "(nothing)";
        const std::string result = text;
        std::free(text);
        return result;
    }
};

struct Row {
    bool os;
    bool subsystem;
    bool error;
    bool context;
    const char* expected;
};

constexpr Row kRows[] = {
    {false, false, false, false, "Unable to construct error message"},
    {false, false, false, true, "while binding"},
    {false, false, true, false, "no such item"},
    {false, false, true, true, "no such item: while binding"},
    {false, true, false, false, "Subsystem(12), : cerrno 0x040c0a0f"},
    {false, true, false, true, "Subsystem(12), : cerrno 0x040c0a0fwhile binding"},
    {false, true, true, false, "Subsystem(12), no such item: cerrno 0x040c0a0f"},
    {false, true, true, true, "Subsystem(12), no such item: cerrno 0x040c0a0f: while binding"},
    {true, false, false, false, "Broken pipe"},
    {true, false, false, true, "Broken pipe: while binding"},
    {true, false, true, false, "Broken pipe (no such item)"},
    {true, false, true, true, "Broken pipe (no such item): while binding"},
    {true, true, false, false, "Broken pipeSubsystem(12), : cerrno 0x040c0a0f"},
    {true, true, false, true, "Broken pipeSubsystem(12), : cerrno 0x040c0a0f: while binding"},
    {true, true, true, false, "Broken pipe (Subsystem(12), no such item: cerrno 0x040c0a0f)"},
    {true, true, true, true,
     "Broken pipe (Subsystem(12), no such item: cerrno 0x040c0a0f): while binding"},
};

TEST_F(ErrorString, EveryCombinationOfPartsReadsAsShown) {
    static_assert(std::size(kRows) == 16);
    // What makes a part absent: a null text, an empty one, or one that says nothing.
    const char* const no_error = std::strerror(0);
    for (const char* no_os : {static_cast<const char*>(nullptr), "", no_error}) {
        for (const char* no_subsystem :
             {static_cast<const char*>(nullptr), "", "a server", "Subsystem", "subsystem(12)"}) {
            for (const char* none : {static_cast<const char*>(nullptr), ""}) {
                for (const Row& row : kRows) {
                    answer(row.subsystem ? "Subsystem(12)" : no_subsystem,
                           row.error ? "no such item" : none, row.os ? "Broken pipe" : no_os);
                    EXPECT_EQ(prepared(row.context ? "while binding" : none), row.expected);
                }
            }
        }
    }
}

TEST_F(ErrorString, TheTextTakesExactlyItsLength) {
    for (const Row& row : kRows) {
        answer(row.subsystem ? "Subsystem(12)" : nullptr, row.error ? "no such item" : nullptr,
               row.os ? "Broken pipe" : nullptr);
        char* text = nullptr;
        std::size_t bytes;
        std::size_t allocations;
        {
            const FailingMemory counting;
            (void)kelvo_util_prepare_error_string(row.context ? "while binding" : nullptr, kStatus,
                                                  &text);
            bytes = FailingMemory::bytes();
            allocations = FailingMemory::allocations();
        }
        EXPECT_EQ(bytes, std::strlen(row.expected) + 1) << row.expected;
        EXPECT_EQ(allocations, 1U) << row.expected;
        std::free(text);
    }
}

TEST_F(ErrorString, PercentSignsInTextsAreText) {
    answer("Subsystem(%s%n)", "%d", "%s");
    EXPECT_EQ(prepared("100%x"), "%s (Subsystem(%s%n), %d: cerrno 0x040c0a0f): 100%x");
}

TEST_F(ErrorString, TheStatusIsWrittenInEightLowerCaseDigits) {
    const struct {
        kelvo_status status;
        const char* expected;
    } rows[] = {
        {0, "Subsystem(, : cerrno 0x00000000"},
        {0xABCDEF, "Subsystem(, : cerrno 0x00abcdef"},
        {0xFFFFFFFF, "Subsystem(, : cerrno 0xffffffff"},
    };
    platform().getstrings = [](kelvo_status, errcode_strings* strings) -> kelvo_status {
        *strings = {"Subsystem(", nullptr, nullptr};
        return 0;
    };
    for (const auto& row : rows) {
        char* text = nullptr;
        EXPECT_EQ(kelvo_util_prepare_error_string(nullptr, row.status, &text), 0U);
        EXPECT_STREQ(text, row.expected);
        std::free(text);
    }
}

TEST_F(ErrorString, AMarkedContextIsTheWholeTextWhateverTheStatus) {
    platform().getstrings = [](kelvo_status, errcode_strings*) -> kelvo_status {
        ADD_FAILURE() << "the status is ignored";
        return 1;
    };
    EXPECT_EQ(prepared("^$,~what happened"), "what happened");
    EXPECT_EQ(prepared("^$,~"), "");
    EXPECT_EQ(prepared("^$,~^$,~twice"), "^$,~twice");
}

TEST_F(ErrorString, PartOfAMarkerIsAnOrdinaryContext) {
    answer(nullptr, "E", nullptr);
    for (const char* context : {"^", "^$,", "^$,x", " ^$,~"}) {
        EXPECT_EQ(prepared(context), std::string("E: ") + context);
    }
}

TEST_F(ErrorString, APlatformWithoutTextsIsPassedOn) {
    platform().getstrings = [](kelvo_status, errcode_strings*) { return 0x8000BEEFU; };
    char untouched[] = "untouched";
    char* text = untouched;
    EXPECT_EQ(kelvo_util_prepare_error_string("x", kStatus, &text), 0x8000BEEFU);
    EXPECT_EQ(text, untouched);
}

TEST_F(ErrorString, PreparingNeedsSomewhereToPutTheText) {
    EXPECT_EQ(kelvo_util_prepare_error_string("^$,~x", kStatus, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_util_prepare_error_string(nullptr, kStatus, nullptr), KELVO_ERR_NULL_PARAM);
}

TEST_F(ErrorString, EveryFailedAllocationIsAnswered) {
    for (const char* error : {"no such item", ""}) {
        for (const char* context : {static_cast<const char*>(nullptr), "^$,~x"}) {
            answer(nullptr, error, nullptr);
            char untouched[] = "untouched";
            char* text = untouched;
            kelvo_status status;
            {
                const FailingMemory fail(0);
                status = kelvo_util_prepare_error_string(context, kStatus, &text);
            }
            EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
            EXPECT_EQ(text, untouched);
        }
    }
}

TEST_F(ErrorString, ComposingMarksTheText) {
    for (const char* text : {"", "x", "what happened", "^$,~"}) {
        char* marked = nullptr;
        std::size_t bytes;
        {
            const FailingMemory counting;
            EXPECT_EQ(kelvo_util_compose_error_string(text, &marked), 0U);
            bytes = FailingMemory::bytes();
        }
        EXPECT_EQ(bytes, std::strlen(text) + 5);
        EXPECT_EQ(std::string(marked), std::string("^$,~") + text);
        EXPECT_EQ(prepared(marked), text);
        std::free(marked);
    }
}

TEST_F(ErrorString, ComposingRefusesNullArguments) {
    char untouched[] = "untouched";
    char* marked = untouched;
    EXPECT_EQ(kelvo_util_compose_error_string(nullptr, &marked), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(marked, untouched);
    EXPECT_EQ(kelvo_util_compose_error_string("x", nullptr), KELVO_ERR_NULL_PARAM);
}

TEST_F(ErrorString, ComposingWithoutMemoryIsAnswered) {
    char untouched[] = "untouched";
    char* marked = untouched;
    kelvo_status status;
    {
        const FailingMemory fail(0);
        status = kelvo_util_compose_error_string("x", &marked);
    }
    EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(marked, untouched);
}

}  // namespace
