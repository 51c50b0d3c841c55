// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kelvo_util_path.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::FailingMemory;
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

struct Released {
    void operator()(kelvo_path_pattern* pattern) const { kelvo_util_path_regfree(pattern); }
};
using Pattern = std::unique_ptr<kelvo_path_pattern, Released>;

Pattern compiled(const std::string& path, std::uint32_t dot_is_special = 0) {
    kelvo_path_pattern* pattern = nullptr;
    EXPECT_EQ(kelvo_util_path_regcomp(path.c_str(), &pattern, dot_is_special), 0U) << path;
    return Pattern(pattern);
}

// Compiling

class PathCompile : public PathTest {};

struct Element {
    std::string text;
    std::uint32_t is_regexp;
    bool operator==(const Element&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Element& element) {
    return out << element.text << (element.is_regexp != 0 ? " (regexp)" : " (literal)");
}

/// The elements up to the one that is marked as the last, whose flags must be exactly 0 or 1.
std::vector<Element> elements(const Pattern& pattern) {
    std::vector<Element> result;
    for (const kelvo_path_pattern* at = pattern.get();; ++at) {
        result.push_back({at->text, at->is_regexp});
        EXPECT_LE(at->is_last, 1U);
        if (at->is_last != 0) return result;
    }
}

TEST_F(PathCompile, APathIsSplitAfterEverySlash) {
    struct Row {
        const char* path;
        std::vector<Element> expected;
    };
    const Row rows[] = {
        {"a", {{"a", 0}}},
        {"/", {{"/", 0}}},
        {"a/", {{"a/", 0}}},
        {"a/b/c", {{"a/", 0}, {"b/", 0}, {"c", 0}}},
        {"a/b/", {{"a/", 0}, {"b/", 0}}},
        {"a//b", {{"a/", 0}, {"/", 0}, {"b", 0}}},
        {"a//", {{"a/", 0}, {"/", 0}}},
        {"/a", {{"/", 0}, {"a", 0}}},
        {"cfg/gl/int.*/mtu", {{"cfg/", 0}, {"gl/", 0}, {"int.*/", 1}, {"mtu", 0}}},
        {"a+/b|c", {{"a+/", 1}, {"b|c", 1}}},
        {"x{2}/x{a}/x}", {{"x{2}/", 1}, {"x{a}/", 0}, {"x}", 0}}},
        {"a{/2", {{"a{/", 0}, {"2", 0}}},
    };
    for (const Row& row : rows) EXPECT_EQ(elements(compiled(row.path)), row.expected) << row.path;
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathCompile, ADotCountsWhenItIsSpecial) {
    EXPECT_EQ(elements(compiled("a.b", 0)), (std::vector<Element>{{"a.b", 0}}));
    EXPECT_EQ(elements(compiled("a.b", 1)), (std::vector<Element>{{"a.b", 1}}));
    EXPECT_EQ(elements(compiled("a.b/c", 0x100)), (std::vector<Element>{{"a.b/", 1}, {"c", 0}}));
}

TEST_F(PathCompile, ALiteralElementHoldsNoCompiledPattern) {
    const Pattern pattern = compiled("ab/c*");
    EXPECT_EQ(pattern.get()[0].compiled.engine, nullptr);
    EXPECT_NE(pattern.get()[1].compiled.engine, nullptr);
    EXPECT_EQ(pattern.get()[1].compiled.flags, 0x30);
}

TEST_F(PathCompile, ARefusedComponentFailsSilentlyWherever) {
    for (const char* path : {"(", "a/[", "a/b*/c+)/d", "ok+/x**[/", "a\\"}) {
        kelvo_path_pattern* pattern = reinterpret_cast<kelvo_path_pattern*>(&pattern);
        const void* const untouched = pattern;
        long left;
        {
            const FailingMemory counting;
            EXPECT_EQ(kelvo_util_path_regcomp(path, &pattern, 0), KELVO_ERR_BAD_REGEXP) << path;
            left = FailingMemory::outstanding();
        }
        EXPECT_EQ(left, 0) << path;
        EXPECT_EQ(pattern, untouched) << path;
    }
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathCompile, AComponentThatTheEngineIsNotAskedForIsABadOne) {
    const auto nested = [](std::size_t levels) {
        return "a/" + std::string(levels, '(') + "b" + std::string(levels, ')') + "/c";
    };
    EXPECT_EQ(elements(compiled(nested(30))).size(), 3U);
    for (const std::string& path : {nested(31), std::string("a(*FAIL)|b"), std::string("(?{x})")}) {
        kelvo_path_pattern* pattern = nullptr;
        EXPECT_EQ(kelvo_util_path_regcomp(path.c_str(), &pattern, 0), KELVO_ERR_BAD_REGEXP) << path;
        EXPECT_EQ(pattern, nullptr) << path;
    }
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathCompile, NullAndEmptyArgumentsAreLogged) {
    kelvo_path_pattern* pattern = reinterpret_cast<kelvo_path_pattern*>(&pattern);
    const void* const untouched = pattern;
    EXPECT_EQ(kelvo_util_path_regcomp(nullptr, &pattern, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_path_regcomp("", &pattern, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(pattern, untouched);
    EXPECT_EQ(kelvo_util_path_regcomp("a", nullptr, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
}

TEST_F(PathCompile, ReleasingNothingDoesNothing) {
    kelvo_util_path_regfree(nullptr);
}

TEST_F(PathCompile, EveryReleaseIsComplete) {
    long left;
    {
        const FailingMemory counting;
        kelvo_path_pattern* pattern = nullptr;
        EXPECT_EQ(kelvo_util_path_regcomp("a/b*/c/d+/longer[0-9]*/e", &pattern, 0), 0U);
        kelvo_util_path_regfree(pattern);
        left = FailingMemory::outstanding();
    }
    EXPECT_EQ(left, 0);
}

TEST_F(PathCompile, EveryFailedAllocationIsAnsweredAndLeaksNothing) {
    compiled("warm*");  // the engine's own one-time preparation is another test's
    for (const char* path : {"a/b/c", "a/b*/c/longer[0-9]*/e", "x*"}) {
        bool succeeded = false;
        for (std::size_t failing = 0; !succeeded; ++failing) {
            kelvo_path_pattern* pattern = reinterpret_cast<kelvo_path_pattern*>(&pattern);
            const void* const untouched = pattern;
            kelvo_status status;
            long left;
            {
                const FailingMemory fail(failing);
                status = kelvo_util_path_regcomp(path, &pattern, 0);
                succeeded = FailingMemory::allocations() <= failing;
                if (status == 0) kelvo_util_path_regfree(pattern);
                left = FailingMemory::outstanding();
            }
            EXPECT_EQ(left, 0) << path << " allocation " << failing;
            if (succeeded) {
                EXPECT_EQ(status, 0U);
                continue;
            }
            // The array and the first text are the library's own; the engine refuses without
            // memory.
            if (failing < 2) {
                EXPECT_EQ(status, KELVO_ERR_NO_MEMORY) << path;
            }
            EXPECT_TRUE(status == KELVO_ERR_NO_MEMORY || status == KELVO_ERR_BAD_REGEXP)
                << path << " allocation " << failing << " status " << status;
            EXPECT_EQ(pattern, untouched) << path << " allocation " << failing;
        }
    }
    EXPECT_TRUE(platform().log.empty());
}

// Matching

class PathMatch : public PathTest {};

std::uint32_t matches(const std::string& path, const Pattern& pattern) {
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_path_regexec(path.c_str(), pattern.get(), &answer), 0U) << path;
    return answer;
}

struct MatchRow {
    const char* pattern;
    const char* path;
    std::uint32_t dot_is_special;
    std::uint32_t matches;
};

std::ostream& operator<<(std::ostream& out, const MatchRow& row) {
    return out << row.path << " with " << row.pattern << " (dot " << row.dot_is_special << ")";
}

constexpr MatchRow kMatchRows[] = {
    // A literal pattern, and the rule of prefixes both ways.
    {"cfg/gl/", "cfg/gl/", 0, 1},
    {"cfg/gl/", "cfg/gl/x", 0, 1},
    {"cfg/gl/", "cfg/gl/a/b", 0, 1},
    {"cfg/gl/", "cfg/", 0, 1},
    {"cfg/gl/", "cfg/gx/", 0, 0},
    {"cfg/gl/", "cf/gl/", 0, 0},
    // The trailing "/" is part of a component.
    {"cfg/gl", "cfg/gl/", 0, 0},
    {"cfg/gl", "cfg/gl", 0, 1},
    {"cfg/gl/", "cfg/gl", 0, 0},
    {"cfg/gl/", "cfg", 0, 0},
    {"gl", "gl/", 0, 0},
    {"a//b", "a//b", 0, 1},
    {"a//b", "a/b", 0, 0},
    // Literals compare bytes, syntax or not.
    {"a.b", "a.b", 0, 1},
    {"a.b", "axb", 0, 0},
    {"a.b", "axb", 1, 1},
    {"a.b", "axxb", 1, 0},
    {"x{a}", "x{a}", 0, 1},
    {"^a$", "^a$", 0, 1},
    {"^a$", "a", 0, 0},
    // Regular expressions match whole components.
    {"int.*/mtu", "int0/mtu", 0, 1},
    {"int.*/mtu", "int/mtu", 0, 1},
    {"int.*/mtu", "int0/0/mtu", 0, 0},
    {"int.*/mtu", "xint0/mtu", 0, 0},
    {"int.*/mtu", "int0/", 0, 1},
    {"int.*/mtu", "int0/mtu/x", 0, 0},
    {"int.*/mtu", "int0/mtux", 0, 0},
    {"a|b", "a", 0, 1},
    {"a|b", "b", 0, 1},
    {"a|b", "ab", 0, 0},
    {"a|b/", "b/", 0, 1},
    {"a|b/", "a/", 0, 1},
    {"x{2}", "xx", 0, 1},
    {"x{2}", "x{2}", 0, 0},
    {"cfg/gl*/x", "cfg/", 0, 1},
    {"cfg/gl*/x", "cfg/glll/", 0, 1},
    {"cfg/gl*/x", "cfg/glll/x", 0, 1},
    {"cfg/gl*/x", "cfg/glll/y", 0, 0},
    // With and without "/" behind a regular expression.
    {"int.*", "int0/", 0, 0},
    {"int.*", "int0", 0, 1},
    {"int.*/", "int0", 0, 0},
    {"int.*/", "int0/", 0, 1},
    {"int.*/", "int0/x/y", 0, 1},
    // A component that the engine could match across its "/" is not asked to.
    {".*", "a/", 0, 0},
};

TEST_F(PathMatch, RowByRow) {
    for (const MatchRow& row : kMatchRows) {
        EXPECT_EQ(matches(row.path, compiled(row.pattern, row.dot_is_special)), row.matches) << row;
    }
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathMatch, ThePathIsOnlyRead) {
    static constexpr char kPath[] = "cfg/gl/a";  // in memory that cannot be written
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_path_regexec(kPath, compiled("cfg/g.*/a").get(), &answer), 0U);
    EXPECT_EQ(answer, 1U);
}

TEST_F(PathMatch, NullAndEmptyArgumentsAreLoggedAndLeaveTheAnswerAlone) {
    const Pattern pattern = compiled("a*");
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_path_regexec(nullptr, pattern.get(), &answer), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_path_regexec("a", nullptr, &answer), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_path_regexec("", pattern.get(), &answer), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(answer, 7U);
    EXPECT_EQ(kelvo_util_path_regexec("a", pattern.get(), nullptr), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
}

TEST_F(PathMatch, ThePathIsCopiedOnceAndNotPerComponent) {
    const Pattern pattern = compiled("a/b/c/d/e/f");
    std::uint32_t answer = 7;
    std::size_t allocations;
    {
        const FailingMemory counting;
        EXPECT_EQ(kelvo_util_path_regexec("a/b/c/d/e/f", pattern.get(), &answer), 0U);
        allocations = FailingMemory::allocations();
    }
    EXPECT_EQ(allocations, 1U);
    EXPECT_EQ(answer, 1U);
}

TEST_F(PathMatch, APathThatCannotBeCopiedIsNotMatched) {
    const Pattern pattern = compiled("a*/b");
    std::uint32_t answer = 7;
    kelvo_status status;
    {
        const FailingMemory fail(0);
        status = kelvo_util_path_regexec("a/b", pattern.get(), &answer);
    }
    EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(answer, 7U);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathMatch, AComponentThatTheEngineHasNoMemoryForDoesNotMatch) {
    const Pattern pattern = compiled("a*/b");
    std::uint32_t answer = 7;
    kelvo_status status;
    {
        const FailingMemory fail(1, FailingMemory::kNever);
        status = kelvo_util_path_regexec("aaa/b", pattern.get(), &answer);
    }
    EXPECT_EQ(status, 0U);
    EXPECT_EQ(answer, 0U);
}

TEST_F(PathMatch, AComponentThatTakesTooLongDoesNotMatch) {
    // The second branch matches, but comes after two to the power of the length tries of the first.
    const Pattern pattern = compiled("(a|a)*c|a*/b");
    EXPECT_EQ(matches("aaa/b", pattern), 1U);
    EXPECT_EQ(matches(std::string(300, 'a') + "/b", pattern), 0U);
    EXPECT_TRUE(platform().log.empty());
}

/// A random component, as syntax and as a plain list of what may stand where.
struct ModelComponent {
    struct Atom {
        char character;  // '.' for any
        char repeat;     // '*', '+', '?' or 0
    };
    std::vector<Atom> atoms;
    bool slash;

    [[nodiscard]] std::string text() const {
        std::string text;
        for (const Atom& atom : atoms) {
            text += atom.character;
            if (atom.repeat != 0) text += atom.repeat;
        }
        return slash ? text + "/" : text;
    }
    [[nodiscard]] bool is_regexp(bool dot) const {
        for (const Atom& atom : atoms) {
            if (atom.repeat != 0 || (dot && atom.character == '.')) return true;
        }
        return false;
    }
    /// Whether the atoms from number `at` on match the whole text.
    [[nodiscard]] bool accepts(std::size_t at, const std::string& name) const {
        if (at == atoms.size()) return name.empty();
        const Atom& atom = atoms[at];
        std::size_t taken = 0;
        const std::size_t least = atom.repeat == '*' || atom.repeat == '?' ? 0 : 1;
        const std::size_t most = atom.repeat == '*' || atom.repeat == '+' ? name.size() : 1;
        for (;; ++taken) {
            if (taken >= least && accepts(at + 1, name.substr(taken))) return true;
            if (taken == most || taken == name.size()) return false;
            if (atom.character != '.' && atom.character != name[taken]) return false;
        }
    }
};

std::vector<std::string> split(const std::string& path) {
    std::vector<std::string> components;
    std::size_t from = 0;
    while (from < path.size()) {
        const std::size_t slash = path.find('/', from);
        const std::size_t end = slash == std::string::npos ? path.size() : slash + 1;
        components.push_back(path.substr(from, end - from));
        from = end;
    }
    return components;
}

bool model_matches(const std::string& path, const std::vector<ModelComponent>& pattern, bool dot) {
    const std::vector<std::string> components = split(path);
    for (std::size_t i = 0; i < std::min(components.size(), pattern.size()); ++i) {
        const ModelComponent& element = pattern[i];
        const bool slash = components[i].back() == '/';
        if (!element.is_regexp(dot)) {
            if (components[i] != element.text()) return false;
            continue;
        }
        if (slash != element.slash) return false;
        const std::string name = components[i].substr(0, components[i].size() - (slash ? 1 : 0));
        if (!element.accepts(0, name)) return false;
    }
    return true;
}

TEST_F(PathMatch, RandomPathsAgreeWithAPlainModel) {
    std::mt19937 random(20240611);
    const auto pick = [&random](std::size_t bound) { return random() % bound; };
    std::size_t matched = 0;
    for (int round = 0; round < 20000; ++round) {
        std::vector<ModelComponent> pattern(1 + pick(3));
        std::string pattern_path;
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            const std::size_t atoms = 1 + pick(3);
            for (std::size_t n = 0; n < atoms; ++n) {
                pattern[i].atoms.push_back({"ab."[pick(3)], "\0\0\0*+?"[pick(6)]});
            }
            pattern[i].slash = i + 1 < pattern.size() || pick(2) == 0;
            pattern_path += pattern[i].text();
        }
        std::string path;
        for (std::size_t length = 1 + pick(10); length != 0; --length) path += "aab./"[pick(5)];
        const bool dot = pick(2) == 0;
        const bool expected = model_matches(path, pattern, dot);
        matched += expected ? 1 : 0;
        ASSERT_EQ(matches(path, compiled(pattern_path, dot ? 1 : 0)), expected)
            << path << " with " << pattern_path << " (dot " << dot << ")";
    }
    EXPECT_GT(matched, 1000U);
}

// Matching in one go

class PathWithin : public PathTest {};

TEST_F(PathWithin, AgreesWithCompilingAndMatching) {
    for (const MatchRow& row : kMatchRows) {
        std::uint32_t answer = 7;
        EXPECT_EQ(kelvo_util_node_within_regexp(row.path, row.pattern, &answer, row.dot_is_special),
                  0U)
            << row;
        EXPECT_EQ(answer, row.matches) << row;
    }
}

TEST_F(PathWithin, NullAndEmptyArgumentsAreLogged) {
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_node_within_regexp(nullptr, "a", &answer, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_node_within_regexp("a", nullptr, &answer, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_node_within_regexp("", "a", &answer, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_node_within_regexp("a", "", &answer, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(answer, 7U);
    EXPECT_EQ(kelvo_util_node_within_regexp("a", "a", nullptr, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    // Whatever the pattern.
    EXPECT_EQ(kelvo_util_node_within_regexp(nullptr, "a[", &answer, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_node_within_regexp("", "a[", &answer, 0), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
}

TEST_F(PathWithin, OnlyNulEndsAText) {
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_node_within_regexp("\x01", "\x01", &answer, 0), 0U);
    EXPECT_EQ(answer, 1U);
    EXPECT_EQ(kelvo_util_node_within_regexp("a", "\x01", &answer, 0), 0U);
    EXPECT_EQ(answer, 0U);
}

TEST_F(PathWithin, ARefusedPatternLeavesTheAnswerAlone) {
    std::uint32_t answer = 7;
    EXPECT_EQ(kelvo_util_node_within_regexp("a", "a[", &answer, 0), KELVO_ERR_BAD_REGEXP);
    EXPECT_EQ(answer, 7U);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathWithin, EveryFailedAllocationIsAnsweredAndLeaksNothing) {
    bool succeeded = false;
    std::size_t failing = 0;
    for (; !succeeded; ++failing) {
        std::uint32_t answer = 7;
        kelvo_status status;
        long left;
        {
            const FailingMemory fail(failing);
            status = kelvo_util_node_within_regexp("a/b", "a/b", &answer, 0);
            succeeded = FailingMemory::allocations() <= failing;
            left = FailingMemory::outstanding();
        }
        EXPECT_EQ(left, 0) << failing;
        EXPECT_EQ(status, succeeded ? 0 : KELVO_ERR_NO_MEMORY) << failing;
        EXPECT_EQ(answer, succeeded ? 1U : 7U) << failing;
    }
    EXPECT_EQ(failing, 5U);  // the array, two texts, the path; then none fails
}

// The longest exact prefix

class PathPrefix : public PathTest {};

std::string longest_exact(const std::string& path) {
    char* prefix = nullptr;
    EXPECT_EQ(kelvo_util_longest_exact_path(path.c_str(), &prefix), 0U) << path;
    std::string result = prefix;
    std::free(prefix);
    return result;
}

TEST_F(PathPrefix, RowByRow) {
    const struct {
        const char* path;
        const char* prefix;
    } rows[] = {
        {"cfg/gl/a*/b", "cfg/gl/"},
        {"a*/b", ""},
        {"cfg/gl/a/b", "cfg/gl/a/b"},
        {"cfg/gl/a/", "cfg/gl/a/"},
        {"cfg/gl/a.b", "cfg/gl/a.b"},
        {"cfg/x{2}/b", "cfg/"},
        {"cfg/x{a}/b", "cfg/x{a}/b"},
        {"cfg/x{/2", "cfg/x{/2"},
        {"cfg/x{/2*", "cfg/x{/"},
        {"cfg/a/b+/c*", "cfg/a/"},
        {"a//b?", "a//"},
        {"/*", "/"},
        {"", ""},
        {"*", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(longest_exact(row.path), row.prefix) << row.path;
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(PathPrefix, RandomPathsAgreeWithTestingEveryLeadingPart) {
    std::mt19937 random(77);
    for (int round = 0; round < 20000; ++round) {
        std::string path;
        for (std::size_t length = random() % 12; length != 0; --length) {
            path += "abc/{2}.//*"[random() % 11];
        }
        std::string expected;
        for (const std::string& component : split(path)) {
            std::string leading = expected + component;
            if (leading.back() == '/') leading.pop_back();
            if (is_regexp(leading, 0) != 0) break;
            expected += component;
        }
        ASSERT_EQ(longest_exact(path), expected) << path;
    }
}

TEST_F(PathPrefix, NullArgumentsAreLogged) {
    char* prefix = nullptr;
    EXPECT_EQ(kelvo_util_longest_exact_path(nullptr, &prefix), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(prefix, nullptr);
    EXPECT_EQ(kelvo_util_longest_exact_path("a", nullptr), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
}

TEST_F(PathPrefix, ACopyThatFailsIsAnsweredSilently) {
    char* prefix = nullptr;
    kelvo_status status;
    {
        const FailingMemory fail(0);
        status = kelvo_util_longest_exact_path("a/b*", &prefix);
    }
    EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(prefix, nullptr);
    EXPECT_TRUE(platform().log.empty());
}

}  // namespace
