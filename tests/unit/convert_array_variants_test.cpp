// SPDX-License-Identifier: Apache-2.0
//
// What the processor has decides how a long array is converted, so here the processor is played.
// The source is part of this program.
#if defined(__x86_64__)
#include <cpuid.h>
#include <gtest/gtest.h>
#include <immintrin.h>

#include <atomic>
#include <vector>

#include "kelvo_array.h"

namespace {

/// What the processor says that it has, and that the system keeps.
struct Processor {
    bool tells_features = true;
    bool lets_the_system_keep_registers = true;
    unsigned kept = 0x7;
    bool tells_more_features = true;
    bool has_avx2 = true;
    int asked = 0;
};
Processor processor;

int played_cpuid(unsigned leaf, unsigned*, unsigned*, unsigned* c, unsigned*) {
    ++processor.asked;
    *c = processor.lets_the_system_keep_registers ? bit_OSXSAVE : ~unsigned{bit_OSXSAVE};
    return leaf == 1 && processor.tells_features ? 1 : 0;
}

int played_cpuid_count(unsigned leaf, unsigned part, unsigned*, unsigned* b, unsigned*, unsigned*) {
    *b = processor.has_avx2 ? bit_AVX2 : ~unsigned{bit_AVX2};
    return leaf == 7 && part == 0 && processor.tells_more_features ? 1 : 0;
}

}  // namespace

#pragma GCC diagnostic push
#if defined(__clang__)
#pragma GCC diagnostic ignored "-Wkeyword-macro"
#endif
#define __get_cpuid played_cpuid
#define __get_cpuid_count played_cpuid_count
#define __asm__(...) kept = processor.kept, d = 0
#include "kelvo_array.cpp"  // NOLINT(bugprone-suspicious-include)
#undef __get_cpuid
#undef __get_cpuid_count
#undef __asm__
#pragma GCC diagnostic pop

namespace {

using namespace kelvo;

/// A processor of its own for each test, which nobody has asked yet.
class ConvertArrayVariants : public testing::Test {
  protected:
    void SetUp() override {
        if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "there is one variant here";
        processor = {};
        vectors = Vectors::unknown;
    }
};

void expect_no_vectors(const Processor& lacking) {
    processor = lacking;
    vectors = Vectors::unknown;
    EXPECT_FALSE(has_avx2());
    EXPECT_FALSE(has_avx2()) << "once more";
    EXPECT_EQ(processor.asked, 1) << "the answer is remembered";
}

TEST_F(ConvertArrayVariants, VectorsNeedAProcessorThatHasThemAndASystemThatKeepsThem) {
    EXPECT_TRUE(has_avx2());
    EXPECT_TRUE(has_avx2());
    EXPECT_EQ(processor.asked, 1);
    expect_no_vectors({.tells_features = false});
    expect_no_vectors({.lets_the_system_keep_registers = false});
    expect_no_vectors({.kept = 0x3});
    expect_no_vectors({.kept = 0x5});
    expect_no_vectors({.tells_more_features = false});
    expect_no_vectors({.has_avx2 = false});
}

std::vector<u32> numbers(std::size_t count) {
    std::vector<u32> words(count);
    for (std::size_t i = 0; i < count; ++i)
        words[i] = static_cast<u32>(0x01020304 + i * 0x01000193);
    return words;
}

TEST_F(ConvertArrayVariants, AShortArrayAsksNobody) {
    std::vector<u32> words = numbers(kLongArray - 1);
    convert_array(words.data(), words.size());
    EXPECT_EQ(processor.asked, 0);
    words = numbers(kLongArray);
    convert_array(words.data(), words.size());
    EXPECT_EQ(processor.asked, 1);
}

TEST_F(ConvertArrayVariants, AllConvertAlike) {
    for (const bool has_vectors : {true, false}) {
        processor.has_avx2 = has_vectors;
        vectors = Vectors::unknown;
        for (std::size_t count = 0; count < kLongArray + 50; count += count < 50 ? 1 : 5) {
            for (std::size_t begin = 0; begin < 9; ++begin) {
                std::vector<u32> words = numbers(count + 9);
                std::vector<u32> expected = words;
                for (std::size_t i = 0; i < count; ++i) {
                    expected[begin + i] = network32(expected[begin + i]);
                }
                convert_array(words.data() + begin, count);
                ASSERT_TRUE(words == expected) << count << " from " << begin;
            }
        }
    }
}

}  // namespace
#endif
