// SPDX-License-Identifier: Apache-2.0
//
// The steps that the guard counts for a pattern, which decide how much work a match is given. The
// source is part of this program.
#include <gtest/gtest.h>

#include <ostream>

#include "kelvo_regex_guard.cpp"  // NOLINT(bugprone-suspicious-include)

namespace {

using namespace kelvo;

struct Row {
    const char* pattern;
    double once;
    double per_character;
    double per_pair;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.pattern;
}

constexpr double kNever = kEndless;

constexpr Row kRows[] = {
    // What takes a character, and what does not, takes a step. Every character is looked at.
    {"", 0, 1, 0},
    {"abc", 3, 1, 0},
    {"a.[bc]\\d\\x", 5, 1, 0},
    {"^$\\b\\B\\A\\Z\\z\\G\\K\\y\\Y", 11, 1, 0},
    {"\\X", 8, 1, 0},
    {"\\R", 8, 1, 0},
    {"\\ca\\M-b\\C-c", 3, 1, 0},
    // A group is a step; only the dearest of its branches counts, whichever it is.
    {"(a)", 2, 1, 0},
    {"(?:a)", 2, 1, 0},
    {"(?>a)", 2, 1, 0},
    {"a|bcd|ef", 3, 1, 0},
    {"^|^^^|^^", 3, 1, 0},
    {"a*|b", 2, 2, 0},
    {"b|a*", 2, 2, 0},
    {"((?=a)|b)c", 9, 1, 0},
    {"(a(?i)b|c)d", 5, 1, 0},
    {"((?i:a)b)*", 1, 4, 0},
    {"(a(?i)bc|d)e", 6, 1, 0},
    {"(?#abc)d", 1, 1, 0},
    // A quantifier.
    {"a?", 2, 1, 0},
    {"ab?", 3, 1, 0},
    {"a??", 2, 1, 0},
    {"a?+", 2, 1, 0},
    {"a{5}", 6, 1, 0},
    {"a{5}{3}", 19, 1, 0},
    {"(a^){2,5}", 16, 1, 0},
    {"(a^){5,2}", 16, 1, 0},
    {"(a^){,5}", 16, 1, 0},
    {"(a^){0}", 4, 1, 0},
    {"(a^){19}", 58, 1, 0},
    {"(a^){90}", 271, 1, 0},
    {"a{", 2, 1, 0},
    {"a{}", 3, 1, 0},
    {"a{,}", 4, 1, 0},
    {"a{1,2,}", 7, 1, 0},
    {"a{1", 3, 1, 0},
    // A loop ends with a round that takes nothing, so each character has at most one.
    {"a*", 1, 2, 0},
    {"a+", 1, 2, 0},
    {"a*?", 1, 2, 0},
    {"a{3,}", 1, 2, 0},
    {"abc*", 3, 2, 0},
    {"(abc)*", 1, 3, 0},
    {"(^a|b)*", 1, 4, 0},
    {"(^$\\b\\B\\A\\Z\\z\\G\\K\\y\\Ya)*", 1, 14, 0},
    {"(a*)*", 1, 5, 0},
    {"(a*){5}", 11, 2, 0},
    {"(a^*){5}", 16, 3, 0},
    // A reference compares up to the whole text.
    {"\\1", 1, 2, 0},
    {"\\9", 1, 2, 0},
    {"\\k<n>", 1, 2, 0},
    {"\\k'n'", 1, 2, 0},
    {"\\k<n>{5}", 6, 2, 0},
    {"\\k", 1, 1, 0},
    {"\\g", 1, 1, 0},
    // A look-around goes back, and sets marks.
    {"(?=a)", 6, 1, 0},
    {"(?!a)", 6, 1, 0},
    {"(?<=a)", 6, 1, 0},
    {"(?<!a)", 6, 1, 0},
    {"(?=)", 5, 1, 0},
    {"(?=a*)", 6, 2, 0},
    {"(?=a*)b*", 7, 3, 0},
    {"(?:(?=a)b)*", 1, 9, 0},
    {"(?:(?=a*)b)*", 1, 9, 1},
    {"(?:(?=a*)b){5}", 41, 6, 0},
    {"(?:(?:(?=a*)b)*)*", 1, 12, 1},
    {"(?:(?=(?:(?=a*)b)*)c)*", 1, 9, kNever},
    {"(?~a)", 1, 8, 0},
    {"(?~a*)", 1, 8, 1},
    {"(?(1)a|b)", 7, 1, 0},
    {"(?(1)a)", 7, 1, 0},
    // Calls: one alone, several, and one that may multiply.
    {"(?<n>a\\g<n>?)", 4, 1, 0},
    {"(?'n'a\\g'n'?)", 4, 1, 0},
    {"\\g<n>\\g<n>", 8192 * 2, 8192, 0},
    {"\\g<n>b{2}", 8192 * 4, 8192, 0},
    {"\\g<n>b{1}", 3, 1, 0},
    {"\\g<n>(?=b)", 8192 * 7, 8192, 0},
    {"\\g<n>b*", 2, 2, 0},
    {"\\g<n>*", 1, 3, 0},
    {"(?=b*)b{2}", 9, 2, 0},
};

TEST(RegexCost, EveryPartTakesItsSteps) {
    for (const Row& row : kRows) {
        Guard guard(row.pattern, true);
        ASSERT_TRUE(guard.read()) << row;
        const Polynomial steps = guard.steps();
        EXPECT_EQ(steps.factors[0], row.once) << row;
        EXPECT_EQ(steps.factors[1], row.per_character) << row;
        EXPECT_EQ(steps.factors[2], row.per_pair) << row;
    }
}

TEST(RegexCost, BasicSyntaxHasSignsOfItsOwn) {
    const Row rows[] = {
        {"(){|+?a", 7, 1, 0},  {"\\(a\\)", 2, 1, 0},
        {"a\\{5\\}", 6, 1, 0}, {"a*", 1, 2, 0},
        {"a*?", 2, 2, 0},      {"\\b", 1, 1, 0},
        {"\\1", 1, 2, 0},      {"\\0\\9", 2, 3, 0},
        {"a\\{5}", 6, 1, 0},   {"\\(a\\)\\{5\\}", 11, 1, 0},
        {"[\\]]", 2, 1, 0},    {"\\X\\R", 2, 1, 0},
    };
    for (const Row& row : rows) {
        Guard guard(row.pattern, false);
        ASSERT_TRUE(guard.read()) << row;
        const Polynomial steps = guard.steps();
        EXPECT_EQ(steps.factors[0], row.once) << row;
        EXPECT_EQ(steps.factors[1], row.per_character) << row;
        EXPECT_EQ(steps.factors[2], row.per_pair) << row;
    }
}

RegexCost cost_of(const char* pattern) {
    RegexCost cost{7, 7, 7, 7};
    EXPECT_TRUE(regex_is_safe(pattern, true, &cost)) << pattern;
    return cost;
}

TEST(RegexCost, StepsMayBeRepeatedForEachStep) {
    for (const char* pattern :
         {"(?<n>a\\g<n>?)", "(?<n>a)\\k<n+0>", "(?<n>a)\\k<n-1>", "(a)\\k<1+0>", "(a)\\k<-1+1>",
          "(a)\\k'-1-1'", "(?<n>a)\\g<n>\\g<n>\\k<n+1>"}) {
        EXPECT_EQ(cost_of(pattern).squared, 1U) << pattern;
    }
    for (const char* pattern :
         {"a*", "(?<n>a)\\k<n>", "(a)\\k<-1>", "(a)\\k<1>b+", "(a)\\k'1'b-", "(a)\\k<1>+",
          "(a)\\k'1'+", "(?<n>a)\\g<n>\\g<n>", "(?<n>a{2})\\g<n>", "(a)\\k"}) {
        EXPECT_EQ(cost_of(pattern).squared, 0U) << pattern;
    }
}

TEST(RegexCost, StepsAreStoredAsPowersOfTwo) {
    const struct {
        double number;
        u8 stored;
        double power;
    } rows[] = {{0, 0, 0},
                {1, 1, 1},
                {2, 2, 2},
                {3, 3, 4},
                {4, 3, 4},
                {5, 4, 8},
                {1024, 11, 1024},
                {1025, 12, 2048},
                {0x1p62, 63, 0x1p62},
                {0x1p63, 63, 0x1p62},
                {kEndless, 63, 0x1p62}};
    for (const auto& row : rows) {
        EXPECT_EQ(rounded(row.number), row.stored) << row.number;
        EXPECT_EQ(power(row.stored), row.power) << row.number;
    }
    const RegexCost cost = cost_of("(?:(?=a*)b)*xyz");  // 4 steps, and 9, and 1
    EXPECT_EQ(cost.once, 3U);
    EXPECT_EQ(cost.per_character, 5U);
    EXPECT_EQ(cost.per_pair, 1U);
}

TEST(RegexCost, StepsGrowWithTheText) {
    EXPECT_EQ((RegexCost{0, 0, 0, 0}.steps(100)), 0);
    EXPECT_EQ((RegexCost{3, 0, 0, 0}.steps(100)), 4);
    EXPECT_EQ((RegexCost{0, 2, 0, 0}.steps(100)), 200);
    EXPECT_EQ((RegexCost{0, 0, 2, 0}.steps(100)), 20000);
    EXPECT_EQ((RegexCost{3, 2, 1, 0}.steps(10)), 124);
    EXPECT_EQ((RegexCost{3, 2, 0, 1}.steps(10)), 24 * 24);
}

TEST(RegexCost, ARefusedPatternLeavesTheCostAlone) {
    RegexCost cost{7, 7, 7, 7};
    EXPECT_FALSE(regex_is_safe("a(*FAIL)", true, &cost));
    EXPECT_EQ(cost.once, 7U);
    EXPECT_EQ(cost.squared, 7U);
}

}  // namespace
