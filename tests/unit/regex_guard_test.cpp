// SPDX-License-Identifier: Apache-2.0
//
// What the library keeps from the regular-expression engine, and what it lets it do: every pattern
// that is accepted compiles on a small stack, and every match ends soon.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <ctime>
#include <ostream>
#include <string>
#include <vector>

#include "kelvo_debug.h"
#include "kelvo_regex.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/random.h"
#include "support/sanitizers.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::platform;
using kelvo::test::Random;

#if KELVO_SANITIZES_ADDRESS || KELVO_SANITIZES_THREADS
// The sanitizers' own share of a thread's stack and time comes on top.
constexpr std::size_t kSmallStack = 512 * 1024;
constexpr double kMostMilliseconds = 100;
#else
constexpr std::size_t kSmallStack = 64 * 1024;
constexpr double kMostMilliseconds = 5;
#endif

constexpr int kFlags = KELVO_REGEX_EXTENDED | KELVO_REGEX_NOSUB;
constexpr int kBadPattern = 2;
constexpr int kNoMatch = 1;

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    while (times-- != 0) result += text;
    return result;
}

/// Compiles in a thread with little stack.
class Compiled {
  public:
    explicit Compiled(const std::string& pattern, int flags = kFlags)
        : pattern_(pattern), flags_(flags) {
        pthread_attr_t small;
        pthread_attr_init(&small);
        EXPECT_EQ(pthread_attr_setstacksize(&small, kSmallStack), 0);
        pthread_t thread;
        EXPECT_EQ(pthread_create(&thread, &small, compile, this), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&small);
    }
    ~Compiled() { kelvo_regfree(&compiled_); }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;

    [[nodiscard]] int error() const { return error_; }
    [[nodiscard]] int match(const std::string& text) const {
        return kelvo_regexec(&compiled_, text.c_str(), 0, nullptr, 0);
    }

  private:
    static void* compile(void* argument) {
        auto* const self = static_cast<Compiled*>(argument);
        self->error_ = kelvo_regcomp(&self->compiled_, self->pattern_.c_str(), self->flags_);
        return nullptr;
    }

    std::string pattern_;
    int flags_;
    int error_ = -1;
    kelvo_regex compiled_{};
};

// What is refused

/// A pattern that nests: `most` levels of it are accepted, and not one more.
struct Nest {
    const char* open;
    const char* inside;
    const char* close;
    std::size_t most;

    [[nodiscard]] std::string levels(std::size_t count) const {
        return repeated(open, count) + inside + repeated(close, count);
    }
};

std::ostream& operator<<(std::ostream& out, const Nest& nest) {
    return out << nest.open << nest.inside << nest.close;
}

constexpr Nest kNests[] = {
    {"(", "", ")", 33},        {"(?:", "", ")", 33},       {"(", "a", ")", 32},
    {"(?:", "a", ")", 32},     {"(?<n>", "a", ")", 32},    {"(?'n'", "a", ")", 32},
    {"(?>", "a", ")", 32},     {"(?=", "a", ")", 32},      {"(?!", "a", ")", 32},
    {"(?<=", "a", ")", 32},    {"(?<!", "a", ")", 32},     {"(?i:", "a", ")", 32},
    {"(?i)", "a", "", 32},     {"a(?i)b|", "c", "", 21},   {"(x(?i)", "a", ")", 16},
    {"(a|", "b", ")", 21},     {"(", "a", ")*", 21},       {"(a|", "b", "c)*", 16},
    {"(a|", "b", "c)*?", 16},  {"(a|", "b", "c)+{2}", 13}, {"(?~", "a", ")", 13},
    {"(?~a|", "b", ")*", 9},   {"(?(1)", "a", ")", 7},     {"(?(", "a", ")b|c)", 5},
    {"", "a", "{1,2}", 65},    {"", "a", "*{1,2}", 32},    {"", "a", "*?", 65},
    {"", "a", "{1,}", 65},     {"[", "a", "]", 66},        {"[^a", "b", "]", 66},
    {"[a&&[^", "b", "]]", 33}, {"\\c", "a", "", 33},       {"\\C-", "a", "", 33},
    {"\\M-", "a", "", 33},     {"\\M-\\c", "a", "", 16},
};

TEST(RegexGuard, NestingIsAcceptedUpToABound) {
    for (const Nest& nest : kNests) {
        // A group that "(?(1)" may ask about; where there is a named one, plain ones do not count.
        const std::string pattern = nest.levels(nest.most);
        const bool asks = pattern.find("(?(1)") != std::string::npos;
        EXPECT_EQ(Compiled(asks ? "(x)" + pattern : pattern).error(), 0) << nest;
        EXPECT_EQ(Compiled(nest.levels(nest.most + 1)).error(), kBadPattern) << nest;
        EXPECT_EQ(Compiled(nest.levels(5000)).error(), kBadPattern) << nest;
    }
}

TEST(RegexGuard, WhatIsNoGroupIsOneLevel) {
    const std::string open = "(x)" + repeated("(?:", 32);
    const std::string close = repeated(")", 32);
    for (const std::string part :
         {"a", ".", "\\d", "\\ca", "[a]", "[^]a]", "\\1", "\\k<1>", "a{", "\\g", "\\k"}) {
        EXPECT_EQ(Compiled(open + part + "*" + close).error(), 0) << part;
        EXPECT_EQ(Compiled(open + part + "*{1,2}" + close).error(), kBadPattern) << part;
    }
    // What cannot be repeated itself, in a group that is.
    for (const std::string part : {"a\\b", "a\\Z", "\\Ga", "^a", "a$"}) {
        EXPECT_EQ(Compiled(open + part + close + "*").error(), 0) << part;
        EXPECT_EQ(Compiled(open + part + close + "*{1,2}").error(), kBadPattern) << part;
    }
    // A text unit is as high as two groups, or a quantifier on one.
    for (const std::string part : {"\\X", "\\R"}) {
        const auto nested = [&part](std::size_t groups) {
            return repeated("(?:", groups) + part + repeated(")", groups);
        };
        EXPECT_EQ(Compiled(nested(31)).error(), 0) << part;
        EXPECT_EQ(Compiled(nested(31) + "*").error(), kBadPattern) << part;
        EXPECT_EQ(Compiled(nested(32)).error(), kBadPattern) << part;
    }
    // A condition is as high as four groups.
    const auto conditions = [](std::size_t groups) {
        return "(x)" + repeated("(?(1)", 7) + repeated("(?:", groups) + "a" +
               repeated(")", 7 + groups);
    };
    EXPECT_EQ(Compiled(conditions(4)).error(), 0);
    EXPECT_EQ(Compiled(conditions(5)).error(), kBadPattern);
    const std::string basic_open = "\\(x\\)" + repeated("\\(", 32);
    const std::string basic_close = repeated("\\)", 32);
    for (const std::string part : {"a", "(", ")", "{", "|", "+", "?", "[a]", "\\1", "\\b", "\\."}) {
        EXPECT_EQ(Compiled(basic_open + part + "*" + basic_close, 0).error(), 0) << part;
        EXPECT_EQ(Compiled(basic_open + part + "**" + basic_close, 0).error(), kBadPattern) << part;
    }
}

TEST(RegexGuard, WhatOnlyLooksLikeNestingIsNotCounted) {
    for (const char* part : {"(a)",         "[(]",
                             "\\(",         "\\[",
                             "(?#()",       "(?#\\)((()",
                             "[[:alpha:]]", "[](]",
                             "[^](]",       "[\\](]",
                             "[[a](]",      "a*",
                             "a{1,2}",      "a|",
                             "\\ca",        "\\c(",
                             "\\M-(",       "\\C-\\c(",
                             "[\\c]]",      "{(a)",
                             "(?~a)",       "(?x: # ((((\n)",
                             "[a[]](]",     "[\x01(]"}) {
        EXPECT_EQ(Compiled(repeated(part, 100)).error(), 0) << part;
    }
    EXPECT_EQ(Compiled("a" + repeated("{1:}", 100)).error(), 0);
    EXPECT_EQ(Compiled("(?x)" + repeated("#((([[[\n", 100) + "a").error(), 0);
    EXPECT_EQ(Compiled("(?x-x)" + repeated("#(a)", 100) + "a").error(), 0);
}

TEST(RegexGuard, WhatOnlyLooksLikeTheEndOfNestingIsNotBelieved) {
    for (const char* part :
         {"([)]", "(\\)", "(\\c)", "(\\M-)", "(\\C-\\c)", "([])]", "([^])]", "([\\])]", "([[a])]",
          "([a&&[b])]", "([[:alpha:])]", "(?:(?#\\))", "([\\c])]", "(?x:#)\n"}) {
        const Nest nest = {part, "a", ")", 32};
        EXPECT_EQ(Compiled(nest.levels(32)).error(), 0) << part;
        EXPECT_EQ(Compiled(nest.levels(33)).error(), kBadPattern) << part;
    }
}

TEST(RegexGuard, AHashHidesWhatFollowsOnlyInFreeSpacing) {
    const Nest hidden = {"(#)\n", "a", ")", 31};
    EXPECT_EQ(Compiled("(?x:" + hidden.levels(31) + ")").error(), 0);
    EXPECT_EQ(Compiled("(?x:" + hidden.levels(32) + ")").error(), kBadPattern);
    EXPECT_EQ(Compiled("(?x)" + hidden.levels(31)).error(), 0);
    EXPECT_EQ(Compiled("(?x)" + hidden.levels(32)).error(), kBadPattern);
    EXPECT_EQ(Compiled(hidden.levels(500)).error(), 8);  // one ")" too many, says the engine

    const Nest plain = {"(#(", "a", "))", 15};
    EXPECT_EQ(Compiled("(?x-x:" + plain.levels(15) + ")").error(), 0);
    EXPECT_EQ(Compiled("(?x-x:" + plain.levels(16) + ")").error(), kBadPattern);
    EXPECT_EQ(Compiled("(?x:a(?-x:" + plain.levels(15) + "))").error(), 0);
    EXPECT_EQ(Compiled("(?x:a(?-x:" + plain.levels(16) + "))").error(), kBadPattern);
    EXPECT_EQ(Compiled("(?:(?x)a)" + plain.levels(16)).error(), 0);
    EXPECT_EQ(Compiled("(?:(?x)a)" + plain.levels(17)).error(), kBadPattern);
}

TEST(RegexGuard, ControlCharactersNestInAClassToo) {
    const auto control = [](std::size_t levels) { return "[" + repeated("\\c", levels) + "a]"; };
    EXPECT_EQ(Compiled(control(33)).error(), 0);
    EXPECT_EQ(Compiled(control(34)).error(), kBadPattern);
}

TEST(RegexGuard, ACallOfAGroupCountsAsItsNesting) {
    const auto chain = [](std::size_t calls) {
        std::string pattern;
        for (std::size_t i = 0; i < calls; ++i) {
            pattern += "(?<g" + std::to_string(i) + ">a\\g<g" + std::to_string(i + 1) + ">)";
        }
        return pattern + "(?<g" + std::to_string(calls) + ">x)";
    };
    EXPECT_EQ(Compiled(chain(21)).error(), 0);
    EXPECT_EQ(Compiled(chain(22)).error(), kBadPattern);
    EXPECT_EQ(Compiled(chain(3000)).error(), kBadPattern);
    EXPECT_EQ(Compiled("(?<n>\\((?:[^()]|\\g<n>)*\\))").error(), 0);
    EXPECT_EQ(Compiled("(?'n'\\((?:[^()]|\\g'n')*\\))").error(), 0);
}

TEST(RegexGuard, ManyReferencesToManyGroupsAreRefused) {
    const auto pattern = [](std::size_t references) {
        return repeated("(?<n>a)", 256) + repeated("\\k<n>", references);
    };
    EXPECT_EQ(Compiled(pattern(256)).error(), 0);
    EXPECT_EQ(Compiled(pattern(257)).error(), kBadPattern);
    const std::string plain = repeated("(a)", 256);
    EXPECT_EQ(Compiled(plain + repeated("\\k<1>", 256)).error(), 0);
    EXPECT_EQ(Compiled(plain + repeated("\\k<1>", 257)).error(), kBadPattern);
    EXPECT_EQ(Compiled("(a)" + repeated("\\k<1>", 65536)).error(), 0);
    EXPECT_EQ(Compiled("(a)" + repeated("\\k<1>", 65537)).error(), kBadPattern);
}

TEST(RegexGuard, WhatRepeatsNothingDoesNotNest) {
    constexpr int kNothingToRepeat = 13;
    for (const std::string sign : {"*", "+", "?", "{1,2}"}) {
        EXPECT_EQ(Compiled(repeated(sign, 100)).error(), kNothingToRepeat) << sign;
    }
    EXPECT_EQ(Compiled(repeated("*", 100), 0).error(), 0) << "text, in the basic syntax";
}

// The guard leaves it to the engine to say what is wrong.
TEST(RegexGuard, ABackslashAtTheEndIsAnEscapeThatIsMissing) {
    constexpr int kEscape = 5;
    EXPECT_EQ(Compiled("a\\").error(), kEscape);
    EXPECT_EQ(Compiled("a\\", 0).error(), kEscape);
}

TEST(RegexGuard, CalloutsAreRefused) {
    for (const char* pattern :
         {"a(*FAIL)|b", "(*COUNT[x]{X})a", "(?{x})a", "(?{{x}}[t])a", "(?(*FAIL)a|b)", "(?(?{x})a)",
          "(a(b(*MAX{1})))", "(?i)(*FAIL)", "(?x)(*FAIL)", "(?:(*NO_SUCH_NAME))"}) {
        EXPECT_EQ(Compiled(pattern).error(), kBadPattern) << pattern;
    }
    for (const char* pattern : {"[(*]", "[(?{]", "\\(*", "(a)*", "\\(?{x", "(?#(*FAIL)a"}) {
        EXPECT_EQ(Compiled(pattern).error(), 0) << pattern;
    }
}

TEST(RegexGuard, ABeginningOfANamedClassIsRefused) {
    for (const char* pattern : {"[[:]", "[[:alpha]]", "[[:alphabet:]]", "[[:Alpha:]]", "[a[:]b]",
                                "[[:aaaaaaaaaaaaaaaaaaaaaaaaa:]", "[[:^]]", "[[:alpha:x]]",
                                "[[:abcdefg:]]", "[[:alph{:]]"}) {
        EXPECT_EQ(Compiled(pattern).error(), kBadPattern) << pattern;
    }
    for (const char* pattern : {"[:a]", "[[:^alpha:]]", "[[:xdigit:]]", "[a:[b]]", "[\\[:]"}) {
        EXPECT_EQ(Compiled(pattern).error(), 0) << pattern;
    }
}

TEST(RegexGuard, APatternOfWhichTheEngineMakesNothingIsRefused) {
    for (const char* pattern : {"(?<=.*?.{0,50})", "(?<!.*?.{0,50})x"}) {
        EXPECT_EQ(Compiled(pattern).error(), kBadPattern) << pattern;
    }
}

TEST(RegexGuard, BasicSyntaxHasGroupsOfItsOwn) {
    const auto nested = [](std::size_t levels) {
        return repeated("\\(", levels) + "a" + repeated("\\)", levels);
    };
    EXPECT_EQ(Compiled(nested(32), KELVO_REGEX_NOSUB).error(), 0);
    EXPECT_EQ(Compiled(nested(33), KELVO_REGEX_NOSUB).error(), kBadPattern);
    EXPECT_EQ(Compiled(repeated("(", 100), KELVO_REGEX_NOSUB).error(), 0);
    EXPECT_EQ(Compiled(repeated("\\([)\\]\\)", 100), KELVO_REGEX_NOSUB).error(), 0);
    EXPECT_EQ(Compiled("a" + repeated("\\{1,2\\}", 65), KELVO_REGEX_NOSUB).error(), 0);
    EXPECT_EQ(Compiled("a" + repeated("\\{1,2\\}", 66), KELVO_REGEX_NOSUB).error(), kBadPattern);
    EXPECT_EQ(Compiled("(" + repeated("\\{1,2\\}", 65), KELVO_REGEX_NOSUB).error(), 0);
    EXPECT_EQ(Compiled("a{1,2}", KELVO_REGEX_NOSUB).match("xa{1,2}"), 0);
    EXPECT_EQ(Compiled("(*", KELVO_REGEX_NOSUB).match("x((("), 0);
    EXPECT_EQ(Compiled(repeated("[[]", 100), KELVO_REGEX_NOSUB).match(repeated("[", 100)), 0);
}

TEST(RegexGuard, PatternsOfAnyBytesAreReadToTheirEnd) {
    Random random(11);
    constexpr const char* kParts[] = {"(",   "(?",   "(?<",  "(?'", "(?#",  "(?i",  "[",
                                      "[:",  "[^",   "\\",   "\\k", "\\k<", "\\g<", "\\c",
                                      "\\C", "\\C-", "\\M-", "{",   "{1",   "{1,",  "a",
                                      "|",   "*",    "+",    "?",   ")",    "]"};
    for (int round = 0; round < 3000; ++round) {
        std::string pattern;
        for (std::uint32_t parts = 1 + random.below(8); parts != 0; --parts) {
            pattern += random.pick(kParts);
        }
        // In a block of its exact size, where the sanitizer sees a read beyond its NUL.
        std::vector<char> exact(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
        kelvo_regex compiled{};
        if (kelvo_regcomp(&compiled, exact.data(), kFlags) == 0) kelvo_regfree(&compiled);
    }
}

// What a match may cost

double thread_milliseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// Expects a match to be short of time and memory. Another process may disturb a measurement, so
/// the best of a few counts.
void expect_bounded(const Compiled& compiled, const std::string& pattern, const std::string& text) {
    double best = kMostMilliseconds + 1;
    for (int attempt = 0; attempt < 5 && best > kMostMilliseconds; ++attempt) {
        const double begin = thread_milliseconds();
        std::size_t bytes;
        {
            const FailingMemory counting;
            (void)compiled.match(text);
            bytes = FailingMemory::bytes();
        }
        best = std::min(best, thread_milliseconds() - begin);
        ASSERT_LE(bytes, 2U << 20) << pattern << " with " << text.size() << " characters";
    }
    ASSERT_LE(best, kMostMilliseconds)
        << pattern << " with " << text.size() << " characters: " << text.substr(0, 40);
}

/// Texts that keep a matcher busy: almost what is looked for, at a length.
std::vector<std::string> busy_texts() {
    std::vector<std::string> texts;
    for (const std::size_t size : {12U, 40U, 250U, 600U, 3000U, 20000U}) {
        for (const char* unit : {"a", "ab", "a\n", "aaaaaaaaaaaab "}) {
            texts.push_back(repeated(unit, size / std::string(unit).size()) + "c\n");
        }
    }
    return texts;
}

constexpr const char* kHostilePatterns[] = {
    "^((.*a.*b.*c))$",
    "^(((a+)+\\k<1+0>b))$",
    "(?:a|a)*c(?!\n)",
    "(?:a*)*c(?!\n)",
    "(a*)*\\1\\1c(?!\n)",
    "(?:(a|b)|(a|b)|\\w)*c(?!\n)",
    "(?>a+|^)c(?!\n)",
    "(?!(?>(\\w|a+)?)*)",
    "(?:(?=.*c).)*y",
    "(?:(?=(?>.*)).)*",
    "(?:(?=(?:(?=(?>.*)).)*+).)*",
    "(?:(?=(?:(?=(?:(?=.*+).)*+).)*+).)*",
    "(?>(?>(?>(?:a|){1000}){1000}){1000})",
    "(?:(?:(?:(?:a|){1000}){1000}){1000})x",
    "(?(a)(?=a)){2212}",
    "((?:a|b){0,50}){0,50}c(?!\n)",
    "(?:a|a)*?(?:(?=a)(?=a)){3000}b",
    "(?<n>(?=.\\g<n>?).\\g<n>?)",
    "(?<n>.\\g<n>?\\g<n>?)c(?!\n)",
    "(?<n>(?:a\\g<n>?){1,30})c(?!\n)",
    "(?~(?~ab))c(?!\n)",
    "(?~|b|a*)*c(?!\n)",
    "(?<!a*)c(?!\n)",
    "(?<=a{1,50})c(?!\n)",
    "(?:(?<=a|b).)*c(?!\n)",
    "(?:\\X)*c(?!\n)",
    "(?m:.*.*.*)c(?!\n)",
};

TEST(RegexGuard, NotoriousPatternsEndSoon) {
    for (const char* pattern : kHostilePatterns) {
        const Compiled compiled(pattern);
        ASSERT_EQ(compiled.error(), 0) << pattern;
        for (const std::string& text : busy_texts()) expect_bounded(compiled, pattern, text);
    }
    for (const std::string& pattern :
         {repeated("(?=.*+)", 500) + "b", repeated("a?", 200) + repeated("a", 200),
          repeated("(a?)", 100) + "\\100c(?!\n)"}) {
        const Compiled compiled(pattern);
        ASSERT_EQ(compiled.error(), 0) << pattern;
        for (const std::string& text : busy_texts()) expect_bounded(compiled, pattern, text);
    }
}

TEST(RegexGuard, AMatchThatOneRunWouldMakeTooLongIsNotBegun) {
    const Compiled characters("x$");
    EXPECT_EQ(characters.match(repeated("a", 400000) + "x"), 0);
    EXPECT_EQ(characters.match(repeated("a", 4000000) + "x"), kNoMatch);
}

/// A random pattern of everything that makes compiling or matching dear.
std::string hostile(Random& random, int depth) {
    static constexpr const char* kAtoms[] = {"a",        "b",
                                             "ab",       ".",
                                             "\\w",      "\\b",
                                             "^",        "$",
                                             "[ab]",     "[^a]",
                                             "\\1",      "\\k<n>",
                                             "\\k<n+0>", "\\g<n>",
                                             "\\X",      "",
                                             "a*",       "a+",
                                             ".*",       ".*?",
                                             "(?>.*)",   ".*+",
                                             "a{1,3}",   ".{0,50}",
                                             "(?=a)",    "[[:alpha:]&&[^b]]",
                                             "(?!b)",    "(?<=a)"};
    static constexpr const char* kOpen[] = {"(",    "(?:",  "(?<n>", "(?<m>", "(?=",
                                            "(?!",  "(?<=", "(?<!",  "(?>",   "(?~",
                                            "(?~|", "(?i:", "(?(1)", "(?(a)"};
    static constexpr const char* kQuantifiers[] = {"",       "",      "",         "*",     "+",
                                                   "?",      "*?",    "*+",       "{1,3}", "{2,}",
                                                   "{0,20}", "{700}", "{1,2}{3}", "*{1,3}"};
    if (depth == 0 || random.below(12) == 0) return random.pick(kAtoms);
    if (random.below(5) == 0) return hostile(random, depth - 1) + hostile(random, depth - 1);
    std::string pattern = random.pick(kOpen) + hostile(random, depth - 1);
    if (random.below(6) == 0) pattern += "(?i)" + hostile(random, depth / 2);
    if (random.below(2) == 0) pattern += "|" + hostile(random, depth / 2);
    return pattern + ")" + random.pick(kQuantifiers);
}

TEST(RegexGuard, AThousandRandomPatternsCompileOnASmallStackAndEndSoon) {
    Random random(20240707);
    const std::vector<std::string> texts = busy_texts();
    int accepted = 0;
    for (int round = 0; accepted < 1000; ++round) {
        ASSERT_LT(round, 20000);
        const std::string pattern = hostile(random, 1 + static_cast<int>(random.below(8)));
        const Compiled compiled(pattern);
        if (compiled.error() != 0) continue;
        ++accepted;
        for (int i = 0; i < 3; ++i) {
            const std::string& text = texts[random.below(static_cast<std::uint32_t>(texts.size()))];
            ASSERT_NO_FATAL_FAILURE(expect_bounded(compiled, pattern, text));
        }
    }
}

TEST(RegexGuard, DeepRandomPatternsCompileOnASmallStackOrAreRefused) {
    Random random(5);
    int accepted = 0;
    int refused = 0;
    for (int round = 0; round < 3000; ++round) {
        // Random levels around the bound, each of a kind of its own.
        std::string open;
        std::string close;
        for (std::uint32_t level = 8 + random.below(16); level != 0; --level) {
            const Nest& nest = random.pick(kNests);
            if (nest.open[0] == '[' || nest.open[0] == '\\') continue;
            open += nest.open;
            close = nest.close + close;
        }
        const Compiled compiled(open + "a" + close);
        ++(compiled.error() == 0 ? accepted : refused);
    }
    EXPECT_GT(accepted, 100);
    EXPECT_GT(refused, 100);
}

TEST(RegexGuard, AMatchAllocatesNoMoreThanTheEngineDoes) {
    const Compiled compiled("^((int.*[0-9]+)/)$");
    const FailingMemory counting;
    const int result = compiled.match("interface0123/");
    const std::size_t allocations = FailingMemory::allocations();
    EXPECT_EQ(result, 0);
    EXPECT_LE(allocations, 1U);
}

TEST(RegexGuard, AMatchThatIsGivenUpSaysSoWhileTheFlagIsOn) {
    platform().reset();
    const Compiled many_choices("(?:a|a)*c(?!\n)");
    const Compiled much_stacked("(?:a|b)*$");
    const Compiled endless("(?:(?=(?:(?=(?:(?=.*+).)*+).)*+).)*");
    const std::string text = repeated("a", 400) + "c\n";
    const std::string long_text = repeated("a", 30000);
    for (const std::uint32_t enabled : {0U, 1U}) {
        kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = enabled;
        EXPECT_EQ(many_choices.match(text), kNoMatch);
        EXPECT_EQ(much_stacked.match(long_text), kNoMatch);
        EXPECT_EQ(endless.match(text), kNoMatch);
        EXPECT_EQ(many_choices.match("b"), kNoMatch);  // really does not
        EXPECT_EQ(platform().debug_lines.size(), enabled == 0 ? 0U : 3U);
    }
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 0;
    ASSERT_EQ(platform().debug_lines.size(), 3U);
    constexpr const char* kLine = "Regular expression given up: too much work for a text of ";
    EXPECT_EQ(platform().debug_lines[0], kLine + std::string("402 characters"));
    EXPECT_EQ(platform().debug_lines[1], kLine + std::string("30000 characters"));
    EXPECT_EQ(platform().debug_lines[2], kLine + std::string("402 characters"));
    EXPECT_TRUE(platform().log.empty());
}

/// The fewest characters with which a match is given up; 0 when it never is.
std::size_t given_up_from(const Compiled& compiled) {
    platform().reset();
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 1;
    std::size_t characters = 0;
    while (characters < 100 && platform().debug_lines.empty()) {
        EXPECT_EQ(compiled.match(repeated("a", ++characters) + "c\n"), kNoMatch);
    }
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 0;
    return platform().debug_lines.empty() ? 0 : characters;
}

TEST(RegexGuard, HowManyChoicesAMatchMayGiveUp) {
    EXPECT_EQ(given_up_from(Compiled("(?:a|a)*c(?!\n)")), 12U);
    EXPECT_EQ(given_up_from(Compiled("(?:a|a|a|a)*c(?!\n)")), 6U);
    EXPECT_EQ(given_up_from(Compiled("a*a*a*a*c(?!\n)")), 15U);
    EXPECT_EQ(given_up_from(Compiled("(?:.*.*.*a)c(?!\n)")), 19U);
    EXPECT_EQ(given_up_from(Compiled("a*c(?!\n)")), 0U);

    // As many steps as a run may have, 64 for each of 15625 characters, and 64 more.
    const Compiled many_steps(repeated("a*", 40));
    EXPECT_EQ(many_steps.match(repeated("b", 15624)), 0);
    EXPECT_EQ(many_steps.match(repeated("b", 15625)), kNoMatch);
}

/// Whether a match is given up that tries so many choices, each once, in a text of so many
/// characters. The pattern has no loop.
bool is_given_up(std::size_t choices, std::size_t characters) {
    platform().reset();
    const Compiled compiled("\\A(?:a" + repeated("|a", choices - 1) + ")c(?!\n)");
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 1;
    const std::string beginning = "ac\n";
    const std::string text = beginning + repeated("x", characters - beginning.size());
    EXPECT_EQ(compiled.match(text), kNoMatch);
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 0;
    return !platform().debug_lines.empty();
}

// 600000 for each run over the text, which is a step for each character and one for its end: the
// next lower power of two, but one at least.
TEST(RegexGuard, ALongerTextMayGiveUpFewerChoices) {
    EXPECT_FALSE(is_given_up(64, 9374));  // 600000 / 9375 = 64
    EXPECT_TRUE(is_given_up(65, 9374));
    EXPECT_FALSE(is_given_up(32, 9375));
    EXPECT_TRUE(is_given_up(33, 9375));
    EXPECT_FALSE(is_given_up(2, 299999));  // 600000 / 300000 = 2
    for (const std::size_t characters : {300000U, 700000U}) {
        EXPECT_FALSE(is_given_up(1, characters));
        EXPECT_TRUE(is_given_up(2, characters));
    }
}

// However short the text, no more than 32768: those of 13 to the fourth power, not of 14.
TEST(RegexGuard, NoMatchGivesUpMoreChoicesThanTheHighestLimit) {
    const auto is_too_much = [](std::size_t choices) {
        platform().reset();
        const std::string group = "(?:a" + repeated("|a", choices - 1) + ")";
        const Compiled compiled("\\A" + repeated(group, 4) + "c(?!\n)");
        kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 1;
        EXPECT_EQ(compiled.match("aaaac\n"), kNoMatch);
        kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 0;
        return !platform().debug_lines.empty();
    };
    EXPECT_FALSE(is_too_much(13));
    EXPECT_TRUE(is_too_much(14));
}

/// The value of one of the engine's settings, which are the process's.
template <class Number>
Number setting(const char* name) {
    using Getter = Number (*)();
    const auto getter = reinterpret_cast<Getter>(dlsym(RTLD_DEFAULT, name));
    EXPECT_NE(getter, nullptr) << name;
    return getter != nullptr ? getter() : Number{};
}

TEST(RegexGuard, TheSettingsOfTheProcessAreLeftAlone) {
    const auto settings = [] {
        return std::vector<unsigned long>{
            setting<unsigned>("onig_get_match_stack_limit_size"),
            setting<unsigned long>("onig_get_retry_limit_in_match"),
            setting<unsigned long>("onig_get_retry_limit_in_search"),
            setting<unsigned>("onig_get_parse_depth_limit"),
            setting<unsigned long>("onig_get_subexp_call_limit_in_search")};
    };
    const std::vector<unsigned long> before = settings();
    EXPECT_EQ(Compiled("(?:a|a)*c(?!\n)").match(repeated("a", 100) + "c\n"), kNoMatch);
    EXPECT_EQ(settings(), before);
    EXPECT_GT(before[1], 1000000UL);
}

// What well-meant patterns still do

struct WellMeant {
    const char* pattern;
    const char* text;
    bool matches;
};

std::ostream& operator<<(std::ostream& out, const WellMeant& row) {
    return out << row.text << " with " << row.pattern;
}

constexpr WellMeant kWellMeant[] = {
    {"^((int.*)/)$", "int0/", true},
    {"^((int.*)/)$", "xint0/", false},
    {"^((bundleport[0-9]+_[0-9]+_[0-9]+_[0-9]+)/)$", "bundleport0_3_0_12/", true},
    {"^((bundleport[0-9]+_[0-9]+_[0-9]+_[0-9]+)/)$", "bundleport0_3_0_/", false},
    {"^((([0-9]{1,3}\\.){3}[0-9]{1,3}))$", "192.168.100.1", true},
    {"^((([0-9]{1,3}\\.){3}[0-9]{1,3}))$", "192.168.1000.1", false},
    {"^((([0-9a-fA-F]{1,4}:){7}[0-9a-fA-F]{1,4}))$", "fe80:0:0:0:200:f8ff:fe21:67cf", true},
    {"^((([0-9a-fA-F]{1,4}:){7}[0-9a-fA-F]{1,4}))$", "fe80:0:0:0:200:f8ff:fe21", false},
    {"^((dummyport(0|1[0-9]*|2[0-9]{2})))$", "dummyport255", true},
    {"^((dummyport(0|1[0-9]*|2[0-9]{2})))$", "dummyport25", false},
    {"^((([a-z]+[-_]?)+))$", "entry-policy_in-from-customer-edge", true},
    {"^((([a-z]+[-_]?)+[0-9]))$", "entry-policy_in-from-customer-edge7", true},
    {"^(((?:(?!old).)*))$", "all-of-the-routes-that-customers-have-ever-announced-to-us", true},
    {"^(((?:(?!old).)*))$", "all-of-the-routes-that-are-old", false},
    {"^(((?!.*tmp).*))$", "a-name-without-it", true},
    {"^(((?!.*tmp).*))$", "a-name-with-tmp-in-it", false},
    {"^((.*(a|b).*(c|d).*))$", "xxxxxxxxxxaxxxxxxxxxxxxxxxxxdxxxxxxx", true},
    {"^((.*(a|b).*(c|d).*))$", "xxxxxxxxxxdxxxxxxxxxxxxxxxxxaxxxxxxx", false},
    {"^(((ab|cd|ef|gh|ij)*))$", "abcdefghijabcdefghijabcdefghijabcdefghij", true},
    {"^(((.)(.)\\4\\3.*))$", "abba-and-more", true},
    {"^(((?i)GIG.*))$", "gigabit", true},
    {"^(((?i:gig)E.*))$", "GIGE0", true},
    {"^(((?i:gig)E.*))$", "GIGe0", false},
    {"^((x{2,3}))$", "xxx", true},
    {"^((x{2,3}))$", "xxxx", false},
    {"^((x{a}))$", "x{a}", true},
    {"^(([[:alpha:]_][[:alnum:]_]*))$", "name_7", true},
    {"^(([[:alpha:]_][[:alnum:]_]*))$", "7_name", false},
    {"^(([^\\]]+\\]))$", "abc]", true},
    {"^(([a-z&&[^aeiou]]+))$", "rhythm", true},
    {"^(([a-z&&[^aeiou]]+))$", "rhyme", false},
    {"^(((?<q>['\"]).*\\k<q>))$", "'name'", true},
    {"^(((?<q>['\"]).*\\k<q>))$", "'name\"", false},
    {"^((a++b))$", "aaab", true},
    {"^((\\d+(?=k)k))$", "12k", true},
    {"^((.+(?<=-in)))$", "policy-in", true},
    {"^((.+(?<=-in)))$", "policy-out", false},
    {"^((\\((?<p>(?:[^()]|\\(\\g<p>\\))*)\\)))$", "(a(b)c)", true},
    {"^((\\((?<p>(?:[^()]|\\(\\g<p>\\))*)\\)))$", "(a(b)c", false},
    {"^(((?x) a b # both\n c))$", "abc", true},
    {"^(((?x: a b # both\n c)))$", "abc", true},
};

TEST(RegexGuard, WellMeantPatternsMatchAsBefore) {
    platform().reset();
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 1;
    for (const WellMeant& row : kWellMeant) {
        const Compiled compiled(row.pattern);
        if (compiled.error() != 0) {
            EXPECT_FALSE(row.matches) << row;
            continue;
        }
        EXPECT_EQ(compiled.match(row.text), row.matches ? 0 : kNoMatch) << row;
    }
    kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = 0;
    EXPECT_EQ(platform().debug_lines, std::vector<std::string>{});
}

TEST(RegexGuard, LongNamesAreMatched) {
    const std::string name = repeated("interface-", 25);
    for (const char* pattern : {"^((int.*-))$", "^(([a-z-]*-))$", "^(((?:[a-z]+-)*))$",
                                "^((.*face.*face.*-))$", "^(((?:(?!tmp).)*))$"}) {
        EXPECT_EQ(Compiled(pattern).match(name), 0) << pattern;
    }
    EXPECT_EQ(Compiled("^((a.*b))$").match("a" + repeated("x", 15000) + "b"), 0);
}

}  // namespace
