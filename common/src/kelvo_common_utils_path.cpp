// SPDX-License-Identifier: Apache-2.0
//
// Paths whose components may be regular expressions. A pattern is an array with one element per
// component; a path and a pattern are walked side by side. All matching is done one component at a
// time, so that a component never matches across a "/". Components whose ends say everything are
// decided here, the others by the engine.
#include "kelvo_util_path.h"

#include "kelvo_bytes.h"
#include "kelvo_regex_guard.h"
#include "kelvo_report.h"
#include "kelvo_text.h"

using namespace kelvo;

namespace {

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// The first character that makes a text a regular expression, or the text's end.
const char* find_syntax(const char* text, bool dot_is_special) {
    const char* const candidates = dot_is_special ? "(*+?[\\|{." : "(*+?[\\|{";
    for (;; ++text) {
        text += std::strcspn(text, candidates);
        if (*text != '{' || is_digit(text[1])) return text;
    }
}

bool holds_syntax(const char* text, bool dot_is_special) {
    return *find_syntax(text, dot_is_special) != '\0';
}

/// Of a component, which is never empty.
bool ends_in_slash(const char* component) {
    return component[std::strlen(component) - 1] == '/';
}

/// Components of a path that is not empty: a "/" that ends the path begins no further one.
std::size_t count_components(const char* path) {
    std::size_t count = 0;
    for (; *path != '\0'; path += component_chars(path)) ++count;
    return count;
}

/// A buffer that grows to what the longest component needs and is released in the end.
class Scratch {
  public:
    Scratch() = default;
    ~Scratch() { std::free(buffer_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    /// At least `size` bytes, or null without memory.
    char* room(std::size_t size) {
        if (size <= size_) return buffer_;
        auto* const grown = static_cast<char*>(std::realloc(buffer_, size));
        if (grown == nullptr) return nullptr;
        buffer_ = grown;
        size_ = size;
        return buffer_;
    }

  private:
    char* buffer_ = nullptr;
    std::size_t size_ = 0;
};

/// What the anchors, groups and NUL of an expression add to its component, at most.
constexpr std::size_t kExpressionExtra = sizeof "^(()/)$" - 1;
constexpr int kFlags = KELVO_REGEX_EXTENDED | KELVO_REGEX_NOSUB;

/// @return where the next piece goes
char* append(char* out, const char* piece, std::size_t bytes) {
    std::memcpy(out, piece, bytes);
    return out + bytes;
}

/// Writes the expression that matches whole components: "ab*/" becomes "^((ab*)/)$".
void write_expression(char* out, const char* component) {
    constexpr char kBegin[] = {'^', '(', '('};
    constexpr char kEnd[] = "))$";
    constexpr char kEndWithSlash[] = ")/)$";
    const std::size_t chars = std::strlen(component);
    const bool slash = component[chars - 1] == '/';
    out = append(out, kBegin, sizeof kBegin);
    out = append(out, component, slash ? chars - 1 : chars);
    if (slash) {
        append(out, kEndWithSlash, sizeof kEndWithSlash);
    } else {
        append(out, kEnd, sizeof kEnd);
    }
}

/// Longer components than this are the engine's, which then counts its steps.
constexpr std::size_t kMostPlainChars = 128;

/// What a component of ordinary characters with one ".*" among them says: how it begins and how it
/// ends. A pattern's element keeps both lengths above the flags that it was compiled with.
struct Wildcard {
    static constexpr std::size_t kChars = sizeof ".*" - 1;
    static constexpr int kBeforeShift = 16;  // kept one larger, so that 0 is for other components
    static constexpr int kAfterShift = 24;
    static_assert(kMostPlainChars <= 1 << 7, "neither reaches the sign");

    std::size_t before;
    std::size_t after;

    [[nodiscard]] int flags() const {
        return static_cast<int>(before + 1) << kBeforeShift | static_cast<int>(after)
                                                                  << kAfterShift;
    }
    [[nodiscard]] static bool is_in(int flags) { return flags >> kBeforeShift != 0; }
    [[nodiscard]] static Wildcard of(int flags) {
        return {static_cast<std::size_t>((flags >> kBeforeShift & 0xFF) - 1),
                static_cast<std::size_t>(flags >> kAfterShift)};
    }
    [[nodiscard]] std::size_t text_chars() const { return before + kChars + after; }
};

constexpr bool is_ordinary(char c) {
    const char lower = static_cast<char>(c | 0x20);
    return (lower >= 'a' && lower <= 'z') || is_digit(c) || c == '_' || c == '-' || c == ':' ||
           c == '%' || c == '=' || c == '/';
}

/// The flags for a component in which one ".*" stands among characters that stand for themselves;
/// 0 for any other component. The engine has nothing to add to what the two ends of such a
/// component say.
int wildcard_flags(const char* component, std::size_t chars) {
    if (chars > kMostPlainChars || !regex_has_default_syntax()) return 0;
    int flags = 0;
    for (std::size_t at = 0; at < chars; ++at) {
        if (flags == 0 && component[at] == '.' && component[at + 1] == '*') {
            flags = Wildcard{at, chars - at - Wildcard::kChars}.flags();
            ++at;
        } else if (!is_ordinary(component[at])) {
            return 0;
        }
    }
    return flags;
}

/// Where an element that holds no pattern keeps the characters of its text.
std::size_t& literal_chars(kelvo_path_pattern& element) {
    return element.compiled.groups;
}
std::size_t literal_chars(const kelvo_path_pattern& element) {
    return element.compiled.groups;
}

/// Fills a cleared element with the component at the start of `path`.
kelvo_status fill(kelvo_path_pattern* element, const char* path, bool dot_is_special,
                  Scratch& scratch) {
    const std::size_t chars = component_chars(path);
    element->text = copy_text(path, chars);
    if (element->text == nullptr) return KELVO_ERR_NO_MEMORY;
    if (!holds_syntax(element->text, dot_is_special)) {
        literal_chars(*element) = chars;
        return 0;
    }

    char* const expression = scratch.room(chars + kExpressionExtra);
    if (expression == nullptr) return KELVO_ERR_NO_MEMORY;
    write_expression(expression, element->text);
    if (kelvo_regcomp(&element->compiled, expression, kFlags) != 0) return KELVO_ERR_BAD_REGEXP;
    element->is_regexp = 1;
    element->compiled.flags |= wildcard_flags(element->text, chars);
    return 0;
}

/// Fills a cleared array, one element per component. The last element that was begun is marked as
/// the last one, so that what was built before a failure can be released like a whole pattern.
kelvo_status fill_all(kelvo_path_pattern* element, const char* path, bool dot_is_special) {
    Scratch scratch;
    for (;; ++element) {
        const kelvo_status status = fill(element, path, dot_is_special, scratch);
        path += component_chars(path);
        if (status != 0 || *path == '\0') {
            element->is_last = 1;
            return status;
        }
    }
}

/// @return what follows the component that the path begins with, or null when it does not match
const char* match_literal(const char* path, const char* end, const kelvo_path_pattern& element) {
    const std::size_t chars = literal_chars(element);
    if (static_cast<std::size_t>(end - path) < chars) return nullptr;
    if (!same_piece(path, element.text, chars)) return nullptr;
    path += chars;
    return path[-1] == '/' || path == end ? path : nullptr;
}

/// Characters of the component that a path begins with, the "/" that ends it included.
std::size_t path_component_chars(const char* path, const char* end) {
    const auto* const slash =
        static_cast<const char*>(std::memchr(path, '/', static_cast<std::size_t>(end - path)));
    return static_cast<std::size_t>(slash == nullptr ? end - path : slash + 1 - path);
}

/// The engine also matches a line of a text, so a text of several lines is left to it.
bool is_one_line(const char* component, std::size_t chars) {
    return std::memchr(component, '\n', chars) == nullptr;
}

bool has_ends(const char* path, std::size_t chars, const char* text, const Wildcard& wildcard) {
    const auto [before, after] = wildcard;
    if (before + after > chars) return false;
    return same_piece(path, text, before) &&
           same_piece(path + chars - after, text + before + Wildcard::kChars, after);
}

bool matches_regexp(const char* path, std::size_t chars, const kelvo_path_pattern& element) {
    const int flags = element.compiled.flags;
    if (Wildcard::is_in(flags) && chars <= kMostPlainChars && is_one_line(path, chars)) {
        const Wildcard wildcard = Wildcard::of(flags);
        const bool ends_in_slash = element.text[wildcard.text_chars() - 1] == '/';
        if (path[chars - 1] == '/' && !ends_in_slash) return false;
        return has_ends(path, chars, element.text, wildcard);
    }
    if (path[chars - 1] == '/' && !ends_in_slash(element.text)) return false;
    return regex_matches(element.compiled, path, chars);
}

/// Matches until the path or the pattern ends.
bool path_matches(const char* path, const char* end, const kelvo_path_pattern* element) {
    for (;; ++element) {
        if (element->is_regexp == 0) {
            path = match_literal(path, end, *element);
            if (path == nullptr) return false;
        } else {
            const std::size_t chars = path_component_chars(path, end);
            if (!matches_regexp(path, chars, *element)) return false;
            path += chars;
        }
        if (path == end || element->is_last != 0) return true;
    }
}

}  // namespace

kelvo_status kelvo_util_path_is_regexp(const char* path, uint32_t* is_regexp,
                                       int32_t dot_is_special) {
    if (any_null(path, is_regexp)) return refuse_null();
    *is_regexp = holds_syntax(path, dot_is_special != 0);
    return 0;
}

kelvo_status kelvo_util_path_regcomp(const char* path, kelvo_path_pattern** out,
                                     uint32_t dot_is_special) {
    if (any_null(path, out) || *path == '\0') return refuse_null();
    auto* const pattern = static_cast<kelvo_path_pattern*>(
        std::calloc(count_components(path), sizeof(kelvo_path_pattern)));
    if (pattern == nullptr) return KELVO_ERR_NO_MEMORY;
    if (auto status = fill_all(pattern, path, dot_is_special != 0)) {
        kelvo_util_path_regfree(pattern);
        return status;
    }
    *out = pattern;
    return 0;
}

kelvo_status kelvo_util_path_regexec(const char* path, const kelvo_path_pattern* pattern,
                                     uint32_t* matches) {
    if (any_null(path, pattern, matches) || *path == '\0') return refuse_null();
    const std::size_t chars = std::strlen(path);
    char* const copy = copy_text(path, chars);
    if (copy == nullptr) return KELVO_ERR_NO_MEMORY;
    *matches = path_matches(copy, copy + chars, pattern);
    std::free(copy);
    return 0;
}

void kelvo_util_path_regfree(kelvo_path_pattern* pattern) {
    if (pattern == nullptr) return;
    for (kelvo_path_pattern* element = pattern;; ++element) {
        if (element->is_regexp != 0) kelvo_regfree(&element->compiled);
        std::free(element->text);
        if (element->is_last != 0) break;
    }
    std::free(pattern);
}

kelvo_status kelvo_util_node_within_regexp(const char* path, const char* pattern_path,
                                           uint32_t* matches, uint32_t dot_is_special) {
    if (any_null(path, pattern_path, matches) || *path == '\0' || *pattern_path == '\0') {
        return refuse_null();
    }
    kelvo_path_pattern* pattern;
    if (auto status = kelvo_util_path_regcomp(pattern_path, &pattern, dot_is_special)) {
        return status;
    }
    const kelvo_status status = kelvo_util_path_regexec(path, pattern, matches);
    kelvo_util_path_regfree(pattern);
    return status;
}

kelvo_status kelvo_util_longest_exact_path(const char* path, char** prefix) {
    if (any_null(path, prefix)) return refuse_null();
    const char* end = find_syntax(path, false);
    if (*end != '\0') {
        while (end != path && end[-1] != '/') --end;
    }
    char* const copy = copy_text(path, static_cast<std::size_t>(end - path));
    if (copy == nullptr) return KELVO_ERR_NO_MEMORY;
    *prefix = copy;
    return 0;
}
