// SPDX-License-Identifier: Apache-2.0
//
// Components with one ".*" between ordinary characters, which the library decides without the
// engine: held to the engine, for every component and every such pattern within bounds.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "kelvo_regex.h"
#include "kelvo_status.h"
#include "kelvo_util_path.h"

namespace {

constexpr int kFlags = KELVO_REGEX_EXTENDED | KELVO_REGEX_NOSUB;

/// All texts of at most so many of the characters.
std::vector<std::string> texts(const std::string& characters, std::size_t most) {
    std::vector<std::string> all = {""};
    for (std::size_t at = 0; at < all.size(); ++at) {
        if (all[at].size() == most) continue;
        for (const char character : characters) all.push_back(all[at] + character);
    }
    return all;
}

/// A component as a pattern: as the library matches it, and the engine alone.
class Wildcard {
  public:
    explicit Wildcard(const std::string& component) {
        const bool slash = component.ends_with('/');
        const std::string name = component.substr(0, component.size() - (slash ? 1 : 0));
        const std::string expression = "^((" + name + (slash ? ")/)$" : "))$");
        EXPECT_EQ(kelvo_regcomp(&engine_, expression.c_str(), kFlags), 0) << expression;
        EXPECT_EQ(kelvo_util_path_regcomp(component.c_str(), &pattern_, 0), 0U) << component;
        ends_in_slash_ = slash;
    }
    ~Wildcard() {
        kelvo_regfree(&engine_);
        kelvo_util_path_regfree(pattern_);
    }
    Wildcard(const Wildcard&) = delete;
    Wildcard& operator=(const Wildcard&) = delete;

    [[nodiscard]] bool is_plain() const { return pattern_->compiled.flags != kFlags; }
    [[nodiscard]] bool library_matches(const std::string& component) const {
        std::uint32_t answer = 7;
        EXPECT_EQ(kelvo_util_path_regexec(component.c_str(), pattern_, &answer), 0U);
        return answer == 1;
    }
    [[nodiscard]] bool engine_matches(const std::string& component) const {
        if (component.ends_with('/') && !ends_in_slash_) return false;
        return kelvo_regexec(&engine_, component.c_str(), 0, nullptr, 0) == 0;
    }

  private:
    kelvo_regex engine_{};
    kelvo_path_pattern* pattern_ = nullptr;
    bool ends_in_slash_ = false;
};

TEST(PathWildcard, EveryComponentAndEveryPatternWithinBounds) {
    std::vector<std::string> components;
    for (const std::string& name : texts("ab\n\r.\x80\xFF", 4)) {
        if (!name.empty()) components.push_back(name);
        components.push_back(name + "/");
    }
    std::size_t matched = 0;
    std::size_t refused = 0;
    for (const std::string& before : texts("ab", 2)) {
        for (const std::string& after : texts("ab", 2)) {
            for (const char* const slash : {"", "/"}) {
                const std::string text = before + ".*" + after + slash;
                const Wildcard pattern(text);
                ASSERT_TRUE(pattern.is_plain()) << text;
                for (const std::string& component : components) {
                    const bool expected = pattern.engine_matches(component);
                    ++(expected ? matched : refused);
                    ASSERT_EQ(pattern.library_matches(component), expected)
                        << text << " and " << testing::PrintToString(component);
                }
            }
        }
    }
    EXPECT_GT(matched, 10000U);
    EXPECT_GT(refused, 10000U);
}

TEST(PathWildcard, EveryOrdinaryCharacterStandsForItselfAlone) {
    for (int byte = 1; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        if (character == '/') continue;
        const std::string text = std::string("a") + character + ".*";
        kelvo_path_pattern* made = nullptr;
        if (kelvo_util_path_regcomp(text.c_str(), &made, 0) != 0) continue;
        kelvo_util_path_regfree(made);
        const Wildcard pattern(text);
        const bool ordinary =
            std::isalnum(byte) != 0 || std::string("_-:%=").find(character) != std::string::npos;
        EXPECT_EQ(pattern.is_plain(), ordinary) << byte;
        for (int other = 1; other < 256; ++other) {
            if (other == '/') continue;
            const std::string component = std::string("a") + static_cast<char>(other);
            ASSERT_EQ(pattern.library_matches(component), pattern.engine_matches(component))
                << byte << " and " << other;
        }
    }
}

TEST(PathWildcard, EveryLengthUpToWhereTheEngineCountsItsSteps) {
    for (const std::size_t ends : {0U, 1U, 60U}) {
        const std::string before(ends, 'a');
        const std::string after(ends, 'b');
        const Wildcard pattern(before + ".*" + after + "/");
        EXPECT_TRUE(pattern.is_plain()) << ends;
        for (std::size_t chars = 0; chars < 300; ++chars) {
            for (const char middle : {'a', 'b', 'c'}) {
                for (const std::string& name :
                     {before + std::string(chars, middle) + after, std::string(chars, middle)}) {
                    ASSERT_EQ(pattern.library_matches(name + "/"),
                              pattern.engine_matches(name + "/"))
                        << ends << " " << name;
                }
            }
        }
    }
}

/// Letters that differ from their neighbours, eight or four places away too.
std::string letters(std::size_t count) {
    std::string text(count, 'a');
    for (std::size_t at = 0; at < count; ++at) text[at] = static_cast<char>('a' + at % 23);
    return text;
}

void expect_every_character_to_count(const Wildcard& pattern, const std::string& name,
                                     std::size_t from, std::size_t to) {
    EXPECT_TRUE(pattern.library_matches(name)) << name;
    for (std::size_t at = from; at < to; ++at) {
        std::string other = name;
        other[at] = 'z';
        EXPECT_FALSE(pattern.library_matches(other)) << name << " and " << other;
    }
}

TEST(PathWildcard, EveryCharacterOfTheEndsCounts) {
    for (std::size_t chars = 1; chars <= 60; ++chars) {
        const std::string end = letters(chars);
        expect_every_character_to_count(Wildcard(end + ".*"), end + "mm", 0, chars);
        expect_every_character_to_count(Wildcard(".*" + end), "mm" + end, 2, 2 + chars);
    }
}

TEST(PathWildcard, EveryCharacterOfAPlainComponentCounts) {
    for (std::size_t chars = 1; chars <= 60; ++chars) {
        const std::string name = letters(chars);
        const Wildcard plain(name);
        expect_every_character_to_count(plain, name, 0, chars);
        EXPECT_FALSE(plain.library_matches(name + "m"));
        if (chars > 1) {
            EXPECT_FALSE(plain.library_matches(name.substr(0, chars - 1)));
        }
    }
}

// The engine stacks a choice for each character, up to a bound.
TEST(PathWildcard, ALongComponentIsGivenUpWhereTheEngineGivesUp) {
    const Wildcard pattern("x.*");
    ASSERT_TRUE(pattern.is_plain());
    EXPECT_TRUE(pattern.library_matches(std::string(10'000, 'x')));
    EXPECT_TRUE(pattern.engine_matches(std::string(10'000, 'x')));
    EXPECT_FALSE(pattern.library_matches(std::string(30'000, 'x')));
    EXPECT_FALSE(pattern.engine_matches(std::string(30'000, 'x')));
}

TEST(PathWildcard, OtherComponentsAreTheEngines) {
    for (const char* const text :
         {"a*", ".+", ".*.*", ".*?", ".*+", ".**", ".*{2}", "a.b.*", ".*|a", "(.*)", "^.*", ".*$",
          "[a].*", "a\\.*", "\\w.*", ".", "a .*", ".*\xC3"}) {
        kelvo_path_pattern* made = nullptr;
        if (kelvo_util_path_regcomp(text, &made, 0) != 0) continue;  // refused, by engine or guard
        EXPECT_TRUE(made->is_regexp == 0 || made->compiled.flags == kFlags) << text;
        kelvo_util_path_regfree(made);
    }
    const Wildcard longest(std::string(126, 'a') + ".*");
    EXPECT_TRUE(longest.is_plain());
    const Wildcard longer(std::string(127, 'a') + ".*");
    EXPECT_FALSE(longer.is_plain());
}

/// Something of the engine, whose header does not get on with the test framework's.
template <class Type>
Type engines(const char* name) {
    return reinterpret_cast<Type>(dlsym(RTLD_DEFAULT, name));
}

/// Whether "a.*" is decided without the engine.
bool is_plain_now() {
    kelvo_path_pattern* pattern = nullptr;
    EXPECT_EQ(kelvo_util_path_regcomp("a.*", &pattern, 0), 0U);
    const bool plain = pattern->compiled.flags != kFlags;
    kelvo_util_path_regfree(pattern);
    return plain;
}

TEST(PathWildcard, AnotherSyntaxOrEncodingOfTheProcessIsTheEngines) {
    auto* const syntax = engines<void**>("OnigDefaultSyntax");
    void* const syntax_was = *syntax;
    EXPECT_TRUE(is_plain_now());
    *syntax = engines<void*>("OnigSyntaxPosixExtended");
    EXPECT_FALSE(is_plain_now());
    *syntax = syntax_was;

    const auto set_encoding = engines<int (*)(void*)>("onigenc_set_default_encoding");
    ASSERT_EQ(set_encoding(engines<void*>("OnigEncodingUTF8")), 0);
    EXPECT_FALSE(is_plain_now());
    ASSERT_EQ(set_encoding(engines<void*>("OnigEncodingASCII")), 0);
    EXPECT_TRUE(is_plain_now());
}

}  // namespace
