// SPDX-License-Identifier: Apache-2.0
//
// The store's order. Length decides before bytes within a component, which makes numbered names
// stand in the order of their numbers; components decide one after the other.
#include "kelvo_util_compare.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "kelvo_assert.h"
#include "kelvo_bytes.h"
#include "kelvo_report.h"
#include "kelvo_text.h"

using namespace kelvo;

namespace {

/// The store has kept names beyond ASCII before it from the start.
constexpr i32 signed_byte(char byte) {
    return static_cast<signed char>(byte);
}

/// -1, 0 or 1. The first difference is remembered, but decides only if both names end together.
i32 name_order(const char* a, const char* b) {
    i32 remembered = 0;
    for (; *a != '\0' && *b != '\0'; ++a, ++b) {
        if (remembered != 0 || *a == *b) continue;
        remembered = signed_byte(*a) < signed_byte(*b) ? -1 : 1;
    }
    if (*b != '\0') return -1;
    if (*a != '\0') return 1;
    return remembered;
}

/// The characters of a component's rest, the "/" that ends it included.
std::size_t rest_chars(const char* text) {
    std::size_t chars = 0;
    while (text[chars] != '\0' && text[chars] != '/') ++chars;
    return text[chars] == '/' ? chars + 1 : chars;
}

/// How many bytes two words have in common before the first that differs.
std::size_t common_bytes(u64 a, u64 b) {
    const u64 difference = a ^ b;
    const int bits = std::endian::native == std::endian::little ? std::countr_zero(difference)
                                                                : std::countl_zero(difference);
    return static_cast<std::size_t>(bits) / 8;
}

/// How many characters two texts have in common. Neither has fewer than `chars`.
std::size_t common_chars(const char* a, const char* b, std::size_t chars) {
    std::size_t at = 0;
    for (; chars - at >= sizeof(u64); at += sizeof(u64)) {
        const std::size_t same = common_bytes(load64(a + at), load64(b + at));
        if (same != sizeof(u64)) return at + same;
    }
    while (at < chars && a[at] == b[at]) ++at;
    return at;
}

/// Up to their first difference two paths have the same components. Its own component decides as
/// two names do: by what each has of it from there on, then by the bytes that differ.
i32 path_order(const char* a, std::size_t a_chars, const char* b, std::size_t b_chars) {
    const std::size_t same = common_chars(a, b, std::min(a_chars, b_chars));
    if (a[same] == b[same]) return 0;
    const std::size_t a_rest = rest_chars(a + same);
    const std::size_t b_rest = rest_chars(b + same);
    if (a_rest != b_rest) return a_rest < b_rest ? -1 : 1;
    return signed_byte(a[same]) < signed_byte(b[same]) ? -1 : 1;
}

/// A path as it is compared: where it lies, or, when it is long, in a copy of its own.
class HeldPath {
  public:
    explicit HeldPath(const char* path)
        : chars_(std::strlen(path)),
          copy_(chars_ < kShort ? nullptr : copy_text(path, chars_)),
          text_(chars_ < kShort ? path : copy_) {}
    ~HeldPath() {
        if (copy_ != nullptr) std::free(copy_);
    }
    HeldPath(const HeldPath&) = delete;
    HeldPath& operator=(const HeldPath&) = delete;

    /// Null without memory.
    [[nodiscard]] const char* text() const { return text_; }
    [[nodiscard]] std::size_t chars() const { return chars_; }

  private:
    static constexpr std::size_t kShort = 256;
    std::size_t chars_;
    char* copy_;
    const char* text_;
};

/// A token of an item name. The name itself is only read.
struct Token {
    const char* text;
    std::size_t chars;
    char delimiter;  ///< NUL when the name ends here

    Token(const char* name, const char* delimiters)
        : text(name), chars(std::strcspn(name, delimiters)), delimiter(name[chars]) {}

    [[nodiscard]] i32 byte(std::size_t at) const {
        return at < chars ? static_cast<u8>(text[at]) : 0;
    }
    [[nodiscard]] bool ends_name() const { return delimiter == '\0'; }
    [[nodiscard]] const char* after() const { return text + chars + 1; }
};

/// The difference of the first bytes that differ, as strcmp() of the two texts would tell it. A
/// token that is over counts as NUL there.
i32 compare_texts(const Token& a, const Token& b) {
    const std::size_t chars = std::max(a.chars, b.chars);
    for (std::size_t i = 0; i < chars; ++i) {
        if (const i32 order = a.byte(i) - b.byte(i)) return order;
    }
    return 0;
}

/// Order of two tokens at the same place; 0 when the next ones decide, or when there are none.
i32 token_order(const Token& a, const Token& b) {
    const std::size_t a_chars = a.chars + (!a.ends_name() && b.ends_name() ? 1 : 0);
    const std::size_t b_chars = b.chars + (!b.ends_name() && a.ends_name() ? 1 : 0);
    if (a_chars != b_chars) return a_chars < b_chars ? -1 : 1;
    if (const i32 order = compare_texts(a, b)) return order;
    if (a.delimiter == b.delimiter) return 0;
    return a.delimiter == '/' ? -1 : 1;
}

kelvo_status compare_records(const u8* lhs, const u8* rhs, u32 length, u32* equal) {
    u32 lhs_offset = 0;
    u32 rhs_offset = 0;
    if (auto status = record_payload_offset(lhs, &lhs_offset)) return status;
    if (auto status = record_payload_offset(rhs, &rhs_offset)) return status;
    if (lhs_offset != rhs_offset || lhs_offset > length) return 0;
    *equal = std::memcmp(lhs + lhs_offset, rhs + lhs_offset, length - lhs_offset) == 0;
    return 0;
}

}  // namespace

kelvo_status kelvo_util_compare_names(const char* a, const char* b, int32_t* result) {
    if (any_null(a, b, result)) return refuse_null();
    *result = name_order(a, b);
    return 0;
}

kelvo_status kelvo_util_compare_paths(const char* a, const char* b, int32_t* result) {
    if (any_null(a, b, result)) return refuse_null();
    const HeldPath a_path(a);
    if (a_path.text() == nullptr) return KELVO_ERR_NO_MEMORY;
    const HeldPath b_path(b);
    if (b_path.text() == nullptr) return KELVO_ERR_NO_MEMORY;
    *result = path_order(a_path.text(), a_path.chars(), b_path.text(), b_path.chars());
    return 0;
}

char* kelvo_util_strtok(char* str, const char* delims, char** rest, char* delim_found) {
    if (str == nullptr) {
        KELVO_ASSERT(*rest != nullptr, "*rest != ((void *)0)", "common/src/kelvo_common_utils");
        str = *rest;
    }
    char* const end = std::strpbrk(str, delims);
    if (end == nullptr) {
        *rest = nullptr;
        return str;
    }
    if (delim_found != nullptr) *delim_found = *end;
    *end = '\0';
    *rest = end + 1;
    return str;
}

int32_t kelvo_util_item_name_compare(char* a, char* b, int32_t commas_separate) {
    const char* const delimiters = commas_separate != 0 ? "/," : "/";
    const char* a_rest = a != nullptr ? a : "";
    const char* b_rest = b != nullptr ? b : "";
    for (;;) {
        const Token a_token(a_rest, delimiters);
        const Token b_token(b_rest, delimiters);
        if (const i32 order = token_order(a_token, b_token)) return order;
        if (a_token.ends_name()) return 0;
        a_rest = a_token.after();
        b_rest = b_token.after();
    }
}

kelvo_status kelvo_compare_data(const uint8_t* lhs, const uint8_t* rhs, uint32_t length,
                                int32_t value_type, uint32_t* equal) {
    if (any_null(lhs, rhs, equal)) return KELVO_ERR_NULL_PARAM;
    *equal = 0;
    if (value_type == KELVO_VALUE_TYPE_RECORD) return compare_records(lhs, rhs, length, equal);
    *equal = std::memcmp(lhs, rhs, length) == 0;
    return 0;
}
