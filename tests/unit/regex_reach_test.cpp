// SPDX-License-Identifier: Apache-2.0
//
// A pattern is read up to its NUL and no further, wherever it breaks off: each stands before a page
// that may not be touched.
#include <gtest/gtest.h>

#include <string>

#include "kelvo_regex.h"
#include "support/fenced.h"

namespace {

using namespace kelvo::test;

constexpr int kSyntaxes[] = {0, KELVO_REGEX_EXTENDED, KELVO_REGEX_EXTENDED | KELVO_REGEX_NOSUB};

class RegexReach : public testing::Test {
  protected:
    /// Compiles in both syntaxes; what comes of it does not matter.
    void compile(const std::string& pattern) {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(pattern.c_str());
        const auto* const placed =
            reinterpret_cast<const char*>(fenced_.place(bytes, pattern.size() + 1));
        for (const int flags : kSyntaxes) {
            kelvo_regex compiled{};
            const Ending ending = observer_.observe([&] {
                if (kelvo_regcomp(&compiled, placed, flags) == 0) kelvo_regfree(&compiled);
            });
            EXPECT_EQ(ending, Ending::returned) << pattern << ", flags " << flags;
        }
    }

  private:
    Fenced fenced_;
    Observer observer_;
};

constexpr const char* kPatterns[] = {
    "^((int.*[0-9]+)/)$",   "a{12,345}?b{,7}",    "\\(a\\{1,2\\}\\)",
    "[^]a-z[:alpha:]\\]b]", "[]a[^]b&&[c]]]",     "[a\\M-\\C-x\\c\\n]",
    "[[:^xdigit:]x[:y]]",   "(?#a \\) comment)b", "(?i-mx:a)(?x) b # c",
    "(?<name>a)\\k<name>",  "(?'n'a)\\g'n'",      "(a)\\k<-1>\\k<1+1>",
    "(?=a)(?!b)(?<=c)",     "(?<!d)(?>e)",        "(?~a|b)",
    "(?(1)a|b)(?(<n>)c)",   "\\c\\M-\\C-a",       "\\M-a\\C-b\\c\\c\\cd",
    "\\p{Alpha}\\x{41}",    "\\X\\R\\b\\G\\101",
};

TEST_F(RegexReach, EndsWherePatternsBreakOff) {
    for (const std::string pattern : kPatterns) {
        for (std::size_t chars = 0; chars <= pattern.size(); ++chars) {
            compile(pattern.substr(0, chars));
        }
    }
}

TEST_F(RegexReach, EndsWhereSignsBreakOff) {
    const std::string signs = "\\[](){}^$*+?|:-#<>'=!~,.&acCMgkxi1 ";
    for (const char first : signs) {
        for (const char second : signs) {
            for (const char* before : {"", "(", "(?", "[", "\\", "a{"}) {
                compile(std::string(before) + first + second);
            }
        }
    }
}

}  // namespace
