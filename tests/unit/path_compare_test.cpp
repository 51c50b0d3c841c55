// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "kelvo_util_compare.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/wire_bytes.h"

namespace {

using kelvo::test::Bytes;
using kelvo::test::FailingMemory;
using kelvo::test::platform;
using kelvo::test::Walled;

class CompareTest : public testing::Test {
  protected:
    CompareTest() { platform().reset(); }

    static void expect_null_logged() {
        ASSERT_EQ(platform().log.size(), 1U);
        EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_internal);
        EXPECT_EQ(platform().log[0].severity, 7);
        EXPECT_EQ(
            platform().log[0].text,
            "A NULL pointer was passed as a fn parameter: rc 0x40818800 (text of 0x40818800)");
        platform().log.clear();
    }
};

using Comparison = kelvo_status (*)(const char*, const char*, std::int32_t*);

std::int32_t order(Comparison compare, const std::string& a, const std::string& b) {
    std::int32_t result = 7;
    EXPECT_EQ(compare(a.c_str(), b.c_str(), &result), 0U) << a << " " << b;
    return result;
}

struct OrderRow {
    std::string a;
    std::string b;
    std::int32_t result;
};

/// Every row, and its mirror image.
void expect_orders(Comparison compare, const std::vector<OrderRow>& rows) {
    for (const OrderRow& row : rows) {
        EXPECT_EQ(order(compare, row.a, row.b), row.result) << row.a << " against " << row.b;
        EXPECT_EQ(order(compare, row.b, row.a), -row.result) << row.b << " against " << row.a;
    }
    EXPECT_TRUE(platform().log.empty());
}

// Names

class NameOrder : public CompareTest {};

TEST_F(NameOrder, RowByRow) {
    expect_orders(kelvo_util_compare_names, {
                                                {"", "", 0},
                                                {"", "a", -1},
                                                {"a", "a", 0},
                                                {"ab", "b", 1},
                                                {"10", "9", 1},
                                                {"2", "10", -1},
                                                {"abc", "abd", -1},
                                                {"bzz", "caa", -1},  // the first difference
                                                {"b", "aaaa", -1},
                                                {"a/", "ab", -1},
                                                {"x\xC3", "xA", -1},
                                                {"\x80", "\xFF", -1},
                                                {"\xFF", "\x01", -1},
                                                {"\x7F", "\x80", 1},
                                                {"x\xC3z", "xA", 1},
                                            });
}

TEST_F(NameOrder, RandomNamesAgreeWithAPlainModel) {
    std::mt19937 random(1);
    for (int round = 0; round < 50000; ++round) {
        std::string names[2];
        for (std::string& name : names) {
            for (std::size_t n = random() % 4; n != 0; --n) name += "ab\xC3\x80"[random() % 4];
        }
        std::int32_t expected = 0;
        if (names[0].size() != names[1].size()) {
            expected = names[0].size() < names[1].size() ? -1 : 1;
        } else if (names[0] != names[1]) {
            const bool less = std::lexicographical_compare(
                names[0].begin(), names[0].end(), names[1].begin(), names[1].end(),
                [](char a, char b) {
                    return static_cast<signed char>(a) < static_cast<signed char>(b);
                });
            expected = less ? -1 : 1;
        }
        ASSERT_EQ(order(kelvo_util_compare_names, names[0], names[1]), expected)
            << names[0] << " against " << names[1];
    }
}

TEST_F(NameOrder, NullArgumentsAreLogged) {
    std::int32_t result = 7;
    EXPECT_EQ(kelvo_util_compare_names(nullptr, "a", &result), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_compare_names("a", nullptr, &result), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(result, 7);
    EXPECT_EQ(kelvo_util_compare_names("a", "a", nullptr), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
}

// Paths

class PathOrder : public CompareTest {};

TEST_F(PathOrder, RowByRow) {
    expect_orders(kelvo_util_compare_paths, {
                                                {"", "", 0},
                                                {"", "a", -1},
                                                {"", "/", -1},
                                                {"a/b", "a/b", 0},
                                                {"a/b/", "a/b/", 0},
                                                {"a/b", "a/b/c", -1},
                                                {"a/b/", "a/b/c", -1},
                                                {"a/2/x", "a/10/x", -1},
                                                {"a/2/zzz", "a/10/x", -1},
                                                {"a/b", "a/b/", -1},  // a longer component
                                                {"ab/", "abc", -1},   // "/" stands before "c"
                                                {"ab/x", "abc", -1},
                                                {"a0/x", "a/zzz", 1},
                                                {"a//", "a/b", -1},
                                                {"x/\xC3/y", "x/A/b", -1},
                                            });
}

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

TEST_F(PathOrder, RandomPathsAgreeWithComparingTheirComponents) {
    std::mt19937 random(2);
    for (int round = 0; round < 50000; ++round) {
        std::string paths[2];
        const std::string common(random() % 2 != 0 ? 250 : 0, 'k');
        for (std::string& path : paths) {
            path = common;
            for (std::size_t n = random() % 9; n != 0; --n) path += "ab/\xC3"[random() % 4];
        }
        const std::vector<std::string> a = split(paths[0]);
        const std::vector<std::string> b = split(paths[1]);
        std::int32_t expected = 0;
        for (std::size_t i = 0; expected == 0 && i < std::min(a.size(), b.size()); ++i) {
            expected = order(kelvo_util_compare_names, a[i], b[i]);
        }
        if (expected == 0 && a.size() != b.size()) expected = a.size() < b.size() ? -1 : 1;
        ASSERT_EQ(order(kelvo_util_compare_paths, paths[0], paths[1]), expected)
            << paths[0] << " against " << paths[1];
    }
}

TEST_F(PathOrder, PathsAreOnlyReadAndMayBeOneAndTheSame) {
    static constexpr char kPath[] = "a/b/c";  // in memory that cannot be written
    std::int32_t result = 7;
    EXPECT_EQ(kelvo_util_compare_paths(kPath, kPath, &result), 0U);
    EXPECT_EQ(result, 0);
}

TEST_F(PathOrder, NullArgumentsAreLogged) {
    std::int32_t result = 7;
    EXPECT_EQ(kelvo_util_compare_paths(nullptr, "a", &result), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(kelvo_util_compare_paths("a", nullptr, &result), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
    EXPECT_EQ(result, 7);
    EXPECT_EQ(kelvo_util_compare_paths("a", "a", nullptr), KELVO_ERR_NULL_PARAM);
    expect_null_logged();
}

/// A path of so many characters.
std::string path_of(std::size_t chars) {
    std::string path;
    while (path.size() < chars) path += "0123456/";
    return path.substr(0, chars);
}

std::size_t allocations_comparing(const std::string& a, const std::string& b) {
    const FailingMemory counting;
    std::int32_t result;
    (void)kelvo_util_compare_paths(a.c_str(), b.c_str(), &result);
    return FailingMemory::outstanding() == 0 ? FailingMemory::allocations() : 1000;
}

TEST_F(PathOrder, OnlyPathsOf256CharactersAndMoreAreAllocated) {
    EXPECT_EQ(allocations_comparing("a", "b/c"), 0U);
    EXPECT_EQ(allocations_comparing(path_of(255), path_of(255)), 0U);
    EXPECT_EQ(allocations_comparing(path_of(256), path_of(255)), 1U);
    EXPECT_EQ(allocations_comparing(path_of(255), path_of(256)), 1U);
    EXPECT_EQ(allocations_comparing(path_of(256), path_of(256)), 2U);
    EXPECT_EQ(allocations_comparing(path_of(5000), path_of(300)), 2U);
}

TEST_F(PathOrder, LongPathsCompareLikeShortOnes) {
    for (const std::size_t chars : {254U, 255U, 256U, 257U, 4096U}) {
        const std::string path = path_of(chars);
        EXPECT_EQ(order(kelvo_util_compare_paths, path, path), 0) << chars;
        EXPECT_EQ(order(kelvo_util_compare_paths, path, path + "z/z"), -1) << chars;
        EXPECT_EQ(order(kelvo_util_compare_paths, path + "z/z", path), 1) << chars;
    }
}

TEST_F(PathOrder, EveryFailedCopyIsAnsweredAndLeaksNothing) {
    const std::string path = path_of(256);
    for (const std::size_t failing : {0U, 1U}) {
        std::int32_t result = 7;
        kelvo_status status;
        long left;
        {
            const FailingMemory fail(failing);
            status = kelvo_util_compare_paths(path.c_str(), path.c_str(), &result);
            left = FailingMemory::outstanding();
        }
        EXPECT_EQ(status, KELVO_ERR_NO_MEMORY) << failing;
        EXPECT_EQ(result, 7) << failing;
        EXPECT_EQ(left, 0) << failing;
    }
    EXPECT_TRUE(platform().log.empty());
}

// Tokens

/// All tokens of a text, each followed by the delimiter that ended it, "$" for the end.
std::string tokens(std::string text, const char* delimiters) {
    std::string result;
    char* rest = nullptr;
    char* from = text.data();
    do {
        char delimiter = '$';
        char* const token = kelvo_util_strtok(from, delimiters, &rest, &delimiter);
        result += std::string(token) + delimiter;
        from = nullptr;
    } while (rest != nullptr);
    return result;
}

TEST(Tokens, RowByRow) {
    const struct {
        const char* text;
        const char* delimiters;
        const char* expected;
    } rows[] = {
        {"a,,b", ",", "a,,b$"},    {",,", ",", ",,$"},        {"", ",", "$"},
        {"abc", "", "abc$"},       {"abc", ",", "abc$"},      {"a,b/c", ",/", "a,b/c$"},
        {"a,b/c", "/,", "a,b/c$"}, {"a,b/c", "/", "a,b/c$"},  {"a/b,c/", ",/,/,", "a/b,c/$"},
        {"/a", "/", "/a$"},        {"a b", "///   ", "a b$"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(tokens(row.text, row.delimiters), row.expected) << row.text;
    }
}

TEST(Tokens, TheDelimiterIsOverwrittenAndTheRestBeginsBehindIt) {
    char text[] = "ab,c/d";
    char* rest = nullptr;
    char delimiter = 'x';
    EXPECT_EQ(kelvo_util_strtok(text, "/,", &rest, &delimiter), text);
    EXPECT_EQ(Bytes(text, text + sizeof text), (Bytes{'a', 'b', 0, 'c', '/', 'd', 0}));
    EXPECT_EQ(rest, text + 3);
    EXPECT_EQ(delimiter, ',');

    EXPECT_EQ(kelvo_util_strtok(nullptr, "/,", &rest, &delimiter), text + 3);
    EXPECT_EQ(rest, text + 5);
    EXPECT_EQ(delimiter, '/');

    delimiter = 'x';
    EXPECT_EQ(kelvo_util_strtok(nullptr, "/,", &rest, &delimiter), text + 5);
    EXPECT_EQ(rest, nullptr);
    EXPECT_EQ(delimiter, 'x');
    EXPECT_EQ(Bytes(text, text + sizeof text), (Bytes{'a', 'b', 0, 'c', 0, 'd', 0}));
}

TEST(Tokens, NobodyNeedsToAskForTheDelimiter) {
    char text[] = "a,b";
    char* rest = nullptr;
    EXPECT_STREQ(kelvo_util_strtok(text, ",", &rest, nullptr), "a");
    EXPECT_STREQ(kelvo_util_strtok(nullptr, ",", &rest, nullptr), "b");
    EXPECT_EQ(rest, nullptr);
}

TEST(Tokens, AStringStartsAnewWhateverTheRest) {
    char text[] = "a,b";
    char* rest = nullptr;
    EXPECT_STREQ(kelvo_util_strtok(text, ",", &rest, nullptr), "a");
    char other[] = "x";
    EXPECT_EQ(kelvo_util_strtok(other, ",", &rest, nullptr), other);
    EXPECT_EQ(rest, nullptr);
}

TEST(TokensDeathTest, GoingOnBehindTheLastTokenStopsTheProcess) {
    char* rest = nullptr;
    EXPECT_DEATH(kelvo_util_strtok(nullptr, ",", &rest, nullptr),
                 "^[^ ]+: common/src/kelvo_common_utils:[0-9]+: kelvo_util_strtok: "
                 "Assertion `\\*rest != \\(\\(void \\*\\)0\\)' failed\\.\n$");
}

// Item names

int sign(int number) {
    return (number > 0) - (number < 0);
}

/// The sign of the order. The names stand in writable blocks and must come out unchanged.
int item_order(const std::string& a, const std::string& b, std::int32_t commas) {
    std::string a_copy = a;
    std::string b_copy = b;
    const int result = kelvo_util_item_name_compare(a_copy.data(), b_copy.data(), commas);
    EXPECT_EQ(a_copy, a);
    EXPECT_EQ(b_copy, b);
    return sign(result);
}

TEST(ItemNames, RowByRow) {
    const struct {
        const char* a;
        const char* b;
        int with_commas;
        int without_commas;
    } rows[] = {
        {"", "", 0, 0},
        {"", "a", -1, -1},
        {"a", "a", 0, 0},
        {"9", "10", -1, -1},
        {"b", "aa", -1, -1},
        {"abc", "abd", -1, -1},
        {"x/y", "x,y", -1, -1},  // "/" is first; as bytes "," would be longer than "x"
        {"x,y", "x,y", 0, 0},
        {"x/y", "x/y", 0, 0},
        {"x/y", "x/y/", -1, -1},  // the "/" makes the last token longer
        {"x/", "xy", -1, -1},     // equally long with its "/": bytes decide
        {"xy/", "ab", 1, 1},
        {"a/b", "ab", -1, -1},  // "a" and its "/" against "ab"
        {"b/b", "ab", 1, 1},
        {"a,b", "ab", -1, 1},
        {"a,10", "a,9", 1, 1},
        {"a,9/z", "a,10/b", -1, -1},
        {"a/,b", "a/b", -1, 1},  // an empty token before ","
        {"a\xC3", "aA", 1, 1},   // unsigned here
        {"a,b,c", "a,b/c", 1, 1},
        {"a/b,c", "a,b/c", -1, -1},
        {"aa,b/c", "ab,a/c", -1, -1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(item_order(row.a, row.b, 1), row.with_commas) << row.a << " against " << row.b;
        EXPECT_EQ(item_order(row.b, row.a, -5), -row.with_commas) << row.b << " against " << row.a;
        EXPECT_EQ(item_order(row.a, row.b, 0), row.without_commas) << row.a << " against " << row.b;
        EXPECT_EQ(item_order(row.b, row.a, 0), -row.without_commas)
            << row.b << " against " << row.a;
    }
}

/// The rule, over the tokenizer and copies.
int model_item_order(std::string a, std::string b, bool commas) {
    const char* const delimiters = commas ? ",/" : "/";
    char* a_rest = a.data();
    char* b_rest = b.data();
    for (;;) {
        char a_delimiter = 0;
        char b_delimiter = 0;
        const std::string a_token = kelvo_util_strtok(a_rest, delimiters, &a_rest, &a_delimiter);
        const std::string b_token = kelvo_util_strtok(b_rest, delimiters, &b_rest, &b_delimiter);
        const bool a_more = a_rest != nullptr;
        const bool b_more = b_rest != nullptr;
        const std::size_t a_length = a_token.size() + (a_more && !b_more ? 1 : 0);
        const std::size_t b_length = b_token.size() + (b_more && !a_more ? 1 : 0);
        if (a_length != b_length) return a_length < b_length ? -1 : 1;
        if (const int bytes = std::strcmp(a_token.c_str(), b_token.c_str())) return sign(bytes);
        if (!a_more && !b_more) return 0;
        if (a_delimiter != b_delimiter) return a_delimiter == '/' ? -1 : 1;
    }
}

TEST(ItemNames, RandomNamesAgreeWithTheTokenizer) {
    std::mt19937 random(3);
    std::size_t equal = 0;
    for (int round = 0; round < 50000; ++round) {
        std::string names[2];
        for (std::string& name : names) {
            for (std::size_t n = random() % 7; n != 0; --n) name += "ab/,\xC3"[random() % 5];
        }
        if (random() % 16 == 0) names[1] = names[0];
        for (const std::int32_t commas : {0, 1}) {
            const int expected = model_item_order(names[0], names[1], commas != 0);
            equal += expected == 0 ? 1 : 0;
            ASSERT_EQ(item_order(names[0], names[1], commas), expected)
                << names[0] << " against " << names[1] << " commas " << commas;
        }
    }
    EXPECT_GT(equal, 1000U);
}

TEST(ItemNames, BytesThatDifferGiveTheirDifference) {
    const struct {
        const char* a;
        const char* b;
        int order;
    } rows[] = {
        {"a", "z", 'a' - 'z'},       {"x/a\xC3", "x/aA", 0xC3 - 'A'},
        {"ab/", "abc", -'c'},  // behind the token there is nothing
        {"ab/", "abc/", -1},   // lengths alone, on the other hand
        {"ad/z", "ab/a", 'd' - 'b'}, {"x/y", "x,y", -1},
    };
    for (const auto& row : rows) {
        std::string a = row.a;
        std::string b = row.b;
        EXPECT_EQ(kelvo_util_item_name_compare(a.data(), b.data(), 1), row.order) << a << " " << b;
        EXPECT_EQ(kelvo_util_item_name_compare(b.data(), a.data(), 1), -row.order) << b << " " << a;
    }
}

TEST(ItemNames, AnItemEqualsItself) {
    char name[] = "a/b,c/d";
    EXPECT_EQ(kelvo_util_item_name_compare(name, name, 1), 0);
    EXPECT_EQ(kelvo_util_item_name_compare(name, name, 0), 0);
}

TEST(ItemNames, ANullNameCountsAsEmpty) {
    char name[] = "a";
    char empty[] = "";
    EXPECT_EQ(kelvo_util_item_name_compare(nullptr, nullptr, 1), 0);
    EXPECT_EQ(kelvo_util_item_name_compare(nullptr, empty, 1), 0);
    EXPECT_EQ(kelvo_util_item_name_compare(nullptr, name, 1), -1);
    EXPECT_EQ(kelvo_util_item_name_compare(name, nullptr, 1), 1);
}

TEST(ItemNames, NothingIsAllocated) {
    std::string a(5000, 'x');
    a += "/y";
    std::string b = a + "z";
    std::size_t allocations;
    {
        const FailingMemory counting;
        (void)kelvo_util_item_name_compare(a.data(), b.data(), 1);
        allocations = FailingMemory::allocations();
    }
    EXPECT_EQ(allocations, 0U);
}

// Values

class ValueEquality : public CompareTest {};

/// Compares two values that end before a wall. The scripted platform reads a record's payload
/// offset from its first byte.
kelvo_status compare(const Bytes& lhs, const Bytes& rhs, std::int32_t type, std::uint32_t* equal) {
    const Walled left(lhs);
    const Walled right(rhs);
    return kelvo_compare_data(left.data(), right.data(), static_cast<std::uint32_t>(lhs.size()),
                              type, equal);
}

std::uint32_t equal_values(const Bytes& lhs, const Bytes& rhs, std::int32_t type) {
    std::uint32_t equal = 7;
    EXPECT_EQ(compare(lhs, rhs, type, &equal), 0U);
    return equal;
}

TEST_F(ValueEquality, OrdinaryValuesAreComparedByteByByte) {
    platform().payload_offset = [](const void*, std::uint32_t*) -> kelvo_status {
        ADD_FAILURE() << "only records have a payload";
        return 1;
    };
    for (const std::int32_t type : {0, 1, 2, 3, 6, 8, 9, 13, 99, -1, 7 + 0x100}) {
        EXPECT_EQ(equal_values({2, 1, 3}, {2, 1, 3}, type), 1U) << type;
        EXPECT_EQ(equal_values({2, 1, 3}, {2, 0, 3}, type), 0U) << type;
        EXPECT_EQ(equal_values({2, 1, 3}, {2, 1, 4}, type), 0U) << type;
        EXPECT_EQ(equal_values({}, {}, type), 1U) << type;
    }
}

TEST_F(ValueEquality, OnlyTheFirstLengthBytesCount) {
    const Bytes lhs{1, 2, 3};
    const Bytes rhs{1, 2, 4};
    std::uint32_t equal = 7;
    EXPECT_EQ(kelvo_compare_data(lhs.data(), rhs.data(), 2, 1, &equal), 0U);
    EXPECT_EQ(equal, 1U);
}

TEST_F(ValueEquality, RecordsAreComparedFromTheirPayloadOn) {
    EXPECT_EQ(equal_values({2, 0xAA, 5, 6}, {2, 0xBB, 5, 6}, 7), 1U);
    EXPECT_EQ(equal_values({2, 0xAA, 5, 6}, {2, 0xAA, 5, 7}, 7), 0U);
    EXPECT_EQ(equal_values({2, 0xAA, 4, 6}, {2, 0xAA, 5, 6}, 7), 0U);
    EXPECT_EQ(equal_values({0, 1}, {0, 2}, 7), 0U);
}

TEST_F(ValueEquality, RecordsWithDifferentHeadersAreDifferent) {
    EXPECT_EQ(equal_values({2, 9, 9, 9}, {3, 9, 9, 9}, 7), 0U);
    EXPECT_EQ(equal_values({3, 9, 9, 9}, {2, 9, 9, 9}, 7), 0U);
}

TEST_F(ValueEquality, APayloadAtTheEndIsEmptyAndBeyondItIsNone) {
    EXPECT_EQ(equal_values({3, 1, 2}, {3, 8, 9}, 7), 1U);
    EXPECT_EQ(equal_values({4, 1, 2}, {4, 1, 2}, 7), 0U);
    EXPECT_EQ(equal_values({255, 1, 2}, {255, 1, 2}, 7), 0U);
}

TEST_F(ValueEquality, APlatformThatFailsIsPassedOnWithTheAnswerNo) {
    for (const int failing : {0, 1}) {
        int calls = 0;
        platform().payload_offset = [&](const void*, std::uint32_t* offset) -> kelvo_status {
            *offset = 0;
            return calls++ == failing ? 0x80001111 : 0;
        };
        std::uint32_t equal = 7;
        EXPECT_EQ(compare({1, 2}, {1, 2}, 7, &equal), 0x80001111U);
        EXPECT_EQ(equal, 0U);
        EXPECT_EQ(calls, failing + 1);
    }
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(ValueEquality, NullArgumentsAreRefusedSilently) {
    const std::uint8_t value[] = {1};
    std::uint32_t equal = 7;
    EXPECT_EQ(kelvo_compare_data(nullptr, value, 1, 1, &equal), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_compare_data(value, nullptr, 1, 1, &equal), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_compare_data(value, value, 1, 1, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(equal, 7U);
    EXPECT_TRUE(platform().log.empty());
}

}  // namespace
