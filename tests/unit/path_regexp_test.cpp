// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kelvo_util_path.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::platform;

constexpr const char* kNullLine =
    "A NULL pointer was passed as a fn parameter: rc 0x40818800 (text of 0x40818800)";

class PathTest : public testing::Test {
  protected:
    PathTest() { platform().reset(); }

    static void expect_null_logged() {
        ASSERT_EQ(platform().log.size(), 1U);
        EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(platform().log[0].severity, 7);
        EXPECT_EQ(platform().log[0].text, kNullLine);
        platform().log.clear();
    }
};

class PathSyntax : public PathTest {};

std::uint32_t is_regexp(const std::string& path, std::int32_t dot_is_special) {
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_path_is_regexp(path.c_str(), &answer, dot_is_special), 0U);
    return answer;
}

TEST_F(PathSyntax, EveryCharacterCountsOrNot) {
    for (int c = 1; c < 256; ++c) {
        const char character = static_cast<char>(c);
        const bool always = std::strchr("(*+?[\\|", c) != nullptr;
        for (const std::string& path : {std::string(1, character), std::string("ab/") + character,
                                        std::string("x") + character + "z/y"}) {
            EXPECT_EQ(is_regexp(path, 0), always) << path;
            EXPECT_EQ(is_regexp(path, 1), always || c == '.') << path;
            EXPECT_EQ(is_regexp(path, -1), always || c == '.') << path;
        }
    }
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathSyntax, ABraceCountsOnlyBeforeADigit) {
    for (int next = 1; next < 256; ++next) {
        const bool digit = next >= '0' && next <= '9';
        const bool syntax = digit || std::strchr("(*+?[\\|", next) != nullptr;
        EXPECT_EQ(is_regexp(std::string("x{") + static_cast<char>(next) + "}", 0), syntax) << next;
    }
    EXPECT_EQ(is_regexp("x{", 0), 0U);
    EXPECT_EQ(is_regexp("x{a}", 0), 0U);
    EXPECT_EQ(is_regexp("x}", 0), 0U);
    EXPECT_EQ(is_regexp("x{{a{2", 0), 1U);
}

TEST_F(PathSyntax, AnEmptyStringHoldsNone) {
    EXPECT_EQ(is_regexp("", 1), 0U);
}

TEST_F(PathSyntax, ALiteralPathMayHoldAnchorsAndClosers) {
    EXPECT_EQ(is_regexp("cfg/)]^$}-,/x9_%20", 1), 0U);
}

TEST_F(PathSyntax, NullArgumentsAreLogged) {
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_path_is_regexp(nullptr, &answer, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(answer, 7U);
    EXPECT_EQ(kelvo_util_path_is_regexp("a", nullptr, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
}

}  // namespace
