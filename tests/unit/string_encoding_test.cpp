// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "kelvo_string.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/wire_bytes.h"

namespace {

/// The classes of a locale in which 'Q' and the bytes 0x80 to 0x9f are control characters. Which
/// locales a machine has is not known, so the C library's answer is replaced instead.
bool odd_locale_is_current = false;

const unsigned short* odd_classes(const unsigned short* classes) {
    static std::array<unsigned short, 384> table;  // the C library's is indexed from -128 to 255
    std::copy(classes - 128, classes + 256, table.begin());
    table[128 + 'Q'] = _IScntrl;
    for (std::size_t byte = 0x80; byte < 0xa0; ++byte) table[128 + byte] = _IScntrl;
    return table.data() + 128;
}

template <class Function>
Function next_definition(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" const unsigned short** __ctype_b_loc(void) noexcept {
    static const auto real = next_definition<const unsigned short** (*)()>("__ctype_b_loc");
    if (!odd_locale_is_current) return real();
    thread_local const unsigned short* odd;
    odd = odd_classes(*real());
    return &odd;
}

namespace {

struct OddLocale {
    OddLocale() { odd_locale_is_current = true; }
    ~OddLocale() { odd_locale_is_current = false; }
    OddLocale(const OddLocale&) = delete;
    OddLocale& operator=(const OddLocale&) = delete;
};

using kelvo::test::FailingMemory;
using kelvo::test::Walled;

constexpr char kReserved[] = "'`\"<>()[]{}/\\&^!?~*%=,.+|";
char* const kUntouched = reinterpret_cast<char*>(0x5a5a);
constexpr uint32_t kUntouchedLength = 0xdeadbeef;

/// What a call answered. Texts are taken over and released.
struct Answer {
    kelvo_status status;
    std::string text;
    uint32_t length;

    bool operator==(const Answer&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Answer& answer) {
        return out << std::hex << answer.status << " \"" << answer.text << "\" " << std::dec
                   << answer.length;
    }
};

template <class Call>
Answer answer(Call call) {
    char* text = kUntouched;
    uint32_t length = kUntouchedLength;
    const kelvo_status status = call(&text, &length);
    if (text == kUntouched) return {status, "(untouched)", length};
    Answer result{status, text, length};
    free(text);
    return result;
}

Answer encode(const std::string& text) {
    return answer([&](char** out, uint32_t* length) {
        return kelvo_string_encode(text.c_str(), out, length);
    });
}
Answer encode(const std::string& text, int type) {
    return answer([&](char** out, uint32_t* length) {
        return kelvo_string_encode_regex(text.c_str(), out, length, type);
    });
}
Answer decode(const std::string& text) {
    return answer([&](char** out, uint32_t* length) {
        return kelvo_string_decode(text.c_str(), out, length);
    });
}
Answer decode(const std::string& text, uint32_t* type) {
    return answer([&](char** out, uint32_t* length) {
        return kelvo_string_decode_regex(text.c_str(), out, length, type);
    });
}

Answer good(const std::string& text) {
    return {0, text, static_cast<uint32_t>(text.size())};
}
Answer refused(kelvo_status status) {
    return {status, "(untouched)", kUntouchedLength};
}

std::string text_of(std::initializer_list<int> bytes) {
    std::string text;
    for (const int byte : bytes) text.push_back(static_cast<char>(byte));
    return text;
}

// ---- Reserved characters ----

TEST(ReservedCharacters, AreExactlyTwentyFive) {
    ASSERT_EQ(std::strlen(kReserved), 25U);
    for (int c = 1; c < 256; ++c) {
        EXPECT_EQ(kelvo_is_char_reserved(c), std::strchr(kReserved, c) != nullptr ? 1U : 0U) << c;
    }
}

TEST(ReservedCharacters, NulIsReserved) {
    EXPECT_EQ(kelvo_is_char_reserved(0), 1U);
}

TEST(ReservedCharacters, TheArgumentIsTakenAsAChar) {
    EXPECT_EQ(kelvo_is_char_reserved(0x100 + '/'), 1U);
    EXPECT_EQ(kelvo_is_char_reserved(0x100 + 'a'), 0U);
    EXPECT_EQ(kelvo_is_char_reserved(-1), 0U);
}

// ---- Encode ----

TEST(Encode, EveryByteByItself) {
    for (int c = 1; c < 256; ++c) {
        const std::string text = text_of({c});
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02x", static_cast<unsigned>(c));
        const Answer expected = c < 0x20 || c == 0x7f ? refused(KELVO_ERR_INVALID_STRING)
                                : std::strchr(kReserved, c) != nullptr ? good(escaped)
                                                                       : good(text);
        EXPECT_EQ(encode(text), expected) << c;
    }
}

TEST(Encode, Texts) {
    struct Row {
        const char* text;
        const char* encoded;
    };
    const Row rows[] = {
        {"", ""},
        {"a/b c", "a%2fb c"},
        {"%", "%25"},
        {"%2f", "%252f"},
        {kReserved, "%27%60%22%3c%3e%28%29%5b%5d%7b%7d%2f%5c%26%5e%21%3f%7e%2a%25%3d%2c%2e%2b%7c"},
        {" aZ09-_:#$;", " aZ09-_:#$;"},
        {"\x80\xfe\xff", "\x80\xfe\xff"},
    };
    for (const Row& row : rows) EXPECT_EQ(encode(row.text), good(row.encoded)) << row.text;
}

TEST(Encode, AControlCharacterIsRefusedWhereverItStands) {
    for (const char* text : {"\ta", "a\tb", "a/b\t", "a\x7f", "\x01", "\x1f"}) {
        EXPECT_EQ(encode(text), refused(KELVO_ERR_INVALID_STRING)) << text;
    }
}

TEST(Encode, NullArgumentsAreRefusedInSilence) {
    kelvo::test::platform().reset();
    char* out = kUntouched;
    uint32_t length = kUntouchedLength;
    EXPECT_EQ(kelvo_string_encode(nullptr, &out, &length), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_encode("a", nullptr, &length), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_encode("a", &out, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_encode_regex(nullptr, &out, &length, 1), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_encode_regex("a", nullptr, &length, 1), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_encode_regex("a", &out, nullptr, 1), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_decode(nullptr, &out, &length), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_decode("a", nullptr, &length), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_decode("a", &out, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(out, kUntouched);
    EXPECT_EQ(length, kUntouchedLength);
    EXPECT_TRUE(kelvo::test::platform().log.empty());
}

TEST(Encode, ReadsNothingBeyondTheTextAndWritesNothingBeyondItsBuffer) {
    for (std::size_t length = 0; length < 40; ++length) {
        kelvo::test::Bytes bytes(length, '/');
        bytes.push_back(0);
        const Walled walled(bytes);
        const Answer encoded = encode(reinterpret_cast<const char*>(walled.data()));
        EXPECT_EQ(encoded.length, 3 * length);
        const Answer decoded = answer([&](char** out, uint32_t* count) {
            return kelvo_string_decode(reinterpret_cast<const char*>(walled.data()), out, count);
        });
        EXPECT_EQ(decoded, good(std::string(length, '/')));
        const Answer marked = answer([&](char** out, uint32_t* count) {
            return kelvo_string_encode_regex(reinterpret_cast<const char*>(walled.data()), out,
                                             count, 1);
        });
        EXPECT_EQ(marked.length, 11 + 3 * length);
    }
}

// ---- Encode with type ----

TEST(EncodeWithType, ChoosesTheMarker) {
    struct Row {
        int type;
        const char* marker;
    };
    const Row rows[] = {
        {0, "CGROUP_T00_"},  {1, "CGROUP_T01_"},   {2, "CGROUP_T00_"},  {3, "CGROUP_T00_"},
        {4, "CGROUP_T03_"},  {5, "CGROUP_T00_"},   {8, "CGROUP_T04_"},  {16, "CGROUP_T05_"},
        {17, "CGROUP_T00_"}, {255, "CGROUP_T00_"}, {-1, "CGROUP_T00_"}, {32, "CGROUP_T00_"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(encode("a/b", row.type), good(std::string(row.marker) + "a%2fb")) << row.type;
        EXPECT_EQ(encode("", row.type), good(row.marker)) << row.type;
    }
}

TEST(EncodeWithType, PassesTheStatusOfTheEncode) {
    EXPECT_EQ(encode("a\tb", 1), refused(KELVO_ERR_INVALID_STRING));
}

// ---- Decode ----

TEST(Decode, Texts) {
    struct Row {
        const char* text;
        const char* decoded;
    };
    const Row rows[] = {
        {"", ""},
        {"%25", "%"},
        {"%2f", "/"},
        {"%2F", "/"},
        {"%41", "A"},
        {"a%2fb c", "a/b c"},
        {"%20", " "},
        {"%252f", "%2f"},
        {"a/b*c", "a/b*c"},
        {"a\tb\x7f", "a\tb\x7f"},
        {"\x80\xff", "\x80\xff"},
        {"%7e%7E", "~~"},
        {"2f", "2f"},
    };
    for (const Row& row : rows) EXPECT_EQ(decode(row.text), good(row.decoded)) << row.text;
}

TEST(Decode, EveryEscapeInEitherCase) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        for (const char* format : {"%%%02x", "%%%02X"}) {
            char escape[4];
            std::snprintf(escape, sizeof escape, format, byte);
            const bool allowed = byte >= 0x20 && byte < 0x7f;
            EXPECT_EQ(decode(escape), allowed ? good(std::string(1, static_cast<char>(byte)))
                                              : refused(KELVO_ERR_INVALID_STRING))
                << escape;
        }
    }
}

TEST(Decode, EveryPairThatIsNotTwoDigitsIsRefused) {
    for (int first = 1; first < 256; ++first) {
        for (const int second : std::initializer_list<int>{1, '/', '0', '9', ':', '@', 'A', 'F',
                                                           'G', '`', 'a', 'f', 'g'}) {
            if (std::isxdigit(first) != 0 && std::isxdigit(second) != 0) continue;
            EXPECT_EQ(decode(text_of({'%', first, second})), refused(KELVO_ERR_INVALID_STRING))
                << first << " " << second;
        }
    }
}

TEST(Decode, AnEscapeThatTheEndCutsShortIsRefused) {
    for (const char* text : {"%", "%4", "a%", "a%4", "%41%", "%41%4"}) {
        kelvo::test::Bytes bytes(text, text + std::strlen(text) + 1);
        const Walled walled(bytes);
        EXPECT_EQ(answer([&](char** out, uint32_t* length) {
                      return kelvo_string_decode(reinterpret_cast<const char*>(walled.data()), out,
                                                 length);
                  }),
                  refused(KELVO_ERR_INVALID_STRING))
            << text;
    }
}

// ---- Decode with type ----

TEST(DecodeWithType, Texts) {
    struct Row {
        const char* text;
        uint32_t before;
        const char* decoded;
        uint32_t after;
    };
    const Row rows[] = {
        {"", 0, "", 0},
        {"plain", 0, "plain", 0},
        {"CGROUP_T00_a", 0, "a", 0},
        {"CGROUP_T01_a", 0, "a", 1},
        {"CGROUP_T03_a", 0, "a", 4},
        {"CGROUP_T04_a", 0, "a", 8},
        {"CGROUP_T05_a", 0, "a", 16},
        {"CGROUP_T01_", 0, "", 1},
        {"a%2fCGROUP_T01_b%2fCGROUP_T05_c", 0, "a/b/c", 17},
        {"CGROUP_T01_CGROUP_T03_CGROUP_T04_CGROUP_T05_", 0, "", 29},
        {"CGROUP_T01_a", 2, "a", 3},
        {"CGROUP_T00_a", 64, "a", 64},
        // Only a decoded text is searched: an escape may hide a marker's letters.
        {"CGROU%50_T03_a", 0, "a", 4},
        {"CGROUP%5fT03_a", 0, "a", 4},
        // Unknown markers overwrite what was gathered before, and later ones add to 255.
        {"CGROUP_T02_a", 0, "a", 255},
        {"CGROUP_T05_aCGROUP_xxxxb", 0, "ab", 255},
        {"CGROUP_xxxxaCGROUP_T05_b", 0, "ab", 255},
        {"CGROUP_xxxxa", 0x100, "a", 255},
        {"CGROUP_t01_a", 0, "a", 255},
        {"cgroup_T01_a", 0, "cgroup_T01_a", 0},
        // The search goes on behind a marker, not inside it.
        {"CGROUP_CGROUP_T01_", 0, "UP_T01_", 255},
        // A marker that the end cuts short goes as far as it is there.
        {"aCGROUP_", 0, "a", 255},
        {"aCGROUP_T01", 0, "a", 255},
        {"aCGROUP", 0, "aCGROUP", 0},
    };
    for (const Row& row : rows) {
        uint32_t type = row.before;
        EXPECT_EQ(decode(row.text, &type), good(row.decoded)) << row.text;
        EXPECT_EQ(type, row.after) << row.text;
    }
}

TEST(DecodeWithType, PassesTheFailureOfTheDecode) {
    uint32_t type = 7;
    EXPECT_EQ(decode("CGROUP_T01_%4", &type), refused(KELVO_ERR_INVALID_STRING));
    EXPECT_EQ(type, 7U);
    char* out = kUntouched;
    uint32_t length = kUntouchedLength;
    EXPECT_EQ(kelvo_string_decode_regex(nullptr, &out, &length, &type), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_decode_regex("a", nullptr, &length, &type), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_string_decode_regex("a", &out, nullptr, &type), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(out, kUntouched);
    EXPECT_EQ(length, kUntouchedLength);
    EXPECT_EQ(type, 7U);
}

TEST(DecodeWithType, WithoutATypeTheMarkersAreTakenOutAllTheSame) {
    EXPECT_EQ(decode("CGROUP_T01_a", nullptr), good("a"));
}

TEST(DecodeWithType, WithoutRoomForTheResultTheDecodedTextStaysHandedOut) {
    char* out = kUntouched;
    uint32_t length = kUntouchedLength;
    uint32_t type = 7;
    {
        const FailingMemory fail(2);  // after the decode's buffer and its cut to size
        EXPECT_EQ(kelvo_string_decode_regex("CGROUP_T01_%2f", &out, &length, &type),
                  KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::outstanding(), 1);
    }
    EXPECT_STREQ(out, "CGROUP_T01_/");
    EXPECT_EQ(length, 12U);
    EXPECT_EQ(type, 7U);
    free(out);
}

// ---- Type of a marker ----

TEST(MarkerType, EachMarker) {
    struct Row {
        const char* text;
        uint32_t before;
        uint32_t after;
    };
    const Row rows[] = {
        {"CGROUP_T00_", 6, 6},    {"CGROUP_T01_", 6, 7},    {"CGROUP_T03_x", 3, 7},
        {"CGROUP_T04_", 16, 24},  {"CGROUP_T05_", 0, 16},   {"CGROUP_T02_", 1, 255},
        {"CGROUP_T06_", 16, 255}, {"CGROUP_T01", 16, 255},  {"", 0, 255},
        {"text", 0x300, 255},     {" CGROUP_T01_", 0, 255},
    };
    for (const Row& row : rows) {
        uint32_t type = row.before;
        kelvo_get_regex_encoding_type(row.text, &type);
        EXPECT_EQ(type, row.after) << row.text;
    }
}

TEST(MarkerType, NullArgumentsDoNothing) {
    uint32_t type = 7;
    kelvo_get_regex_encoding_type(nullptr, &type);
    kelvo_get_regex_encoding_type("CGROUP_T01_", nullptr);
    EXPECT_EQ(type, 7U);
}

TEST(MarkerType, ReadsElevenCharactersAndNothingBeyondTheNul) {
    const std::string marker = "CGROUP_T05_";
    for (std::size_t length = 0; length <= marker.size(); ++length) {
        kelvo::test::Bytes bytes(marker.begin(),
                                 marker.begin() + static_cast<std::ptrdiff_t>(length));
        if (length < marker.size()) bytes.push_back(0);  // the whole marker needs no NUL
        const Walled walled(bytes);
        uint32_t type = 0;
        kelvo_get_regex_encoding_type(reinterpret_cast<const char*>(walled.data()), &type);
        EXPECT_EQ(type, length == marker.size() ? 16U : 255U) << length;
    }
}

TEST(RegexEncoded, TheMarkersStartAnywhereInTheText) {
    EXPECT_EQ(kelvo_is_string_regex_encoded("CGROUP_T01_a"), 1U);
    EXPECT_EQ(kelvo_is_string_regex_encoded("abCGROUP_c"), 1U);
    EXPECT_EQ(kelvo_is_string_regex_encoded("CGROUP_"), 1U);
    EXPECT_EQ(kelvo_is_string_regex_encoded("CGROUP"), 0U);
    EXPECT_EQ(kelvo_is_string_regex_encoded(""), 0U);
    EXPECT_EQ(kelvo_is_string_regex_encoded(nullptr), 0U);
}

// ---- Round trips ----

std::string random_text(std::mt19937& random, bool with_controls) {
    std::string text;
    for (std::size_t left = random() % 60; left > 0; --left) {
        if (random() % 8 == 0) {
            text += "CGROUP_T01_";
            continue;
        }
        const int c = static_cast<int>(1 + random() % 255);
        if (with_controls || std::iscntrl(c) == 0) text.push_back(static_cast<char>(c));
    }
    return text;
}

TEST(RoundTrip, DecodingAnEncodingGivesTheTextBack) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        const std::string text = random_text(random, false);
        const Answer encoded = encode(text);
        EXPECT_EQ(encoded.status, 0U);
        EXPECT_EQ(encoded.length, encoded.text.size());
        EXPECT_EQ(decode(encoded.text), good(text));
    }
}

TEST(RoundTrip, WithTypeTheBitIsAddedAndTheTextComesBack) {
    for (const int type : {0, 1, 2, 3, 4, 8, 16, 200}) {
        uint32_t bits = 0;
        EXPECT_EQ(decode(encode("a/b c%", type).text, &bits), good("a/b c%"));
        const bool has_bit = type == 1 || type == 4 || type == 8 || type == 16;
        EXPECT_EQ(bits, has_bit ? static_cast<uint32_t>(type) : 0U) << type;
    }
}

TEST(RoundTrip, EncodingIsRefusedExactlyForControlCharacters) {
    std::mt19937 random(2);
    for (int round = 0; round < 500; ++round) {
        const std::string text = random_text(random, true);
        const bool control = std::any_of(text.begin(), text.end(), [](char c) {
            return std::iscntrl(static_cast<unsigned char>(c)) != 0;
        });
        EXPECT_EQ(encode(text).status, control ? KELVO_ERR_INVALID_STRING : 0U);
    }
}

// ---- Locale ----

TEST(Locale, TheControlClassFollowsTheCurrentLocale) {
    EXPECT_EQ(encode("aQ\x85"), good("aQ\x85"));
    EXPECT_EQ(decode("%51"), good("Q"));
    {
        const OddLocale odd;
        EXPECT_EQ(encode("aQ"), refused(KELVO_ERR_INVALID_STRING));
        EXPECT_EQ(encode("a\x85"), refused(KELVO_ERR_INVALID_STRING));
        EXPECT_EQ(encode("a\xe9"), good("a\xe9"));
        EXPECT_EQ(decode("%51"), refused(KELVO_ERR_INVALID_STRING));
        EXPECT_EQ(decode("Q\x85"), good("Q\x85"));
    }
    EXPECT_EQ(encode("aQ\x85"), good("aQ\x85"));
}

// ---- Memory ----

TEST(Memory, EveryFailedAllocationIsAnsweredAndNothingIsKept) {
    struct Row {
        const char* name;
        std::size_t allocations;
        Answer (*call)();
    };
    const Row rows[] = {
        {"encode", 2, [] { return encode("a/b"); }},
        {"encode with type", 3, [] { return encode("/", 4); }},
        {"decode", 2, [] { return decode("a%2fb"); }},
    };
    for (const Row& row : rows) {
        for (std::size_t failing = 0; failing <= row.allocations; ++failing) {
            const FailingMemory fail(failing);
            const Answer got = row.call();
            EXPECT_EQ(FailingMemory::outstanding(), 0) << row.name << " " << failing;
            if (failing == row.allocations) {
                EXPECT_EQ(got.status, 0U) << row.name;
            } else {
                EXPECT_EQ(got, refused(KELVO_ERR_NO_MEMORY)) << row.name << " " << failing;
            }
        }
    }
}

TEST(Memory, ARefusedTextKeepsNothing) {
    const FailingMemory count;
    for (const char* text : {"a\tb", "%4", "%00"}) {
        char* out = kUntouched;
        uint32_t length = kUntouchedLength;
        kelvo_status status = kelvo_string_decode(text, &out, &length);
        if (status == 0) {
            free(out);
            status = kelvo_string_encode_regex(text, &out, &length, 1);
        }
        EXPECT_EQ(status, KELVO_ERR_INVALID_STRING) << text;
        EXPECT_EQ(FailingMemory::outstanding(), 0) << text;
    }
}

TEST(Memory, OneWorstCaseBufferAndOneCut) {
    const FailingMemory count;
    char* out = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(kelvo_string_encode("abcd", &out, &length), 0U);
    EXPECT_EQ(FailingMemory::allocations(), 2U);
    EXPECT_EQ(FailingMemory::bytes(), 3U * 4 + 1 + 5);
    free(out);
}

}  // namespace
