// SPDX-License-Identifier: Apache-2.0
//
// Regular expressions and path patterns from clients, matched with texts from clients. An input is
// a byte of flags, the pattern (a line) and the text. That no pattern hangs or overruns the stack
// is for the fuzzer's limits; here stands what an answer must be like.
#include "fuzz/fuzz.h"
#include "kelvo_status.h"
#include "kelvo_util_path.h"

using namespace kelvo::fuzz;

namespace {

constexpr std::size_t kMostChars = 256;
constexpr std::size_t kPlaces = 4;

/// What the flags of an input ask for.
struct Asked {
    bool as_path;
    bool dot_is_special;
    int compile_flags;
    int match_flags;

    explicit Asked(std::uint8_t flags)
        : as_path((flags & 1) != 0),
          dot_is_special((flags & 2) != 0),
          compile_flags((flags & 2) != 0 ? 0 : KELVO_REGEX_EXTENDED),
          match_flags(flags >> 2 & 3) {}
};

bool is_nowhere(const kelvo_regex_match& place) {
    return place.start == -1 && place.end == -1;
}

void check_places(const kelvo_regex& compiled, const char* text,
                  const kelvo_regex_match (&places)[kPlaces], bool matches) {
    const auto chars = static_cast<int>(std::strlen(text));
    for (std::size_t i = 0; i < kPlaces; ++i) {
        const kelvo_regex_match& place = places[i];
        if (is_nowhere(place)) continue;
        KELVO_HOLDS(matches && i <= compiled.groups);
        KELVO_HOLDS(0 <= place.start && place.start <= place.end && place.end <= chars);
    }
    KELVO_HOLDS(matches != is_nowhere(places[0]));
}

void check_regex(const char* pattern, const char* text, const Asked& asked) {
    kelvo_regex compiled;
    if (kelvo_regcomp(&compiled, pattern, asked.compile_flags) != 0) return;
    const int status = kelvo_regexec(&compiled, text, 0, nullptr, asked.match_flags);
    KELVO_HOLDS(status == 0 || status == 1);

    kelvo_regex_match places[kPlaces];
    std::fill_n(places, kPlaces, kelvo_regex_match{77, 77});
    KELVO_HOLDS(kelvo_regexec(&compiled, text, kPlaces, places, asked.match_flags) == status);
    check_places(compiled, text, places, status == 0);
    kelvo_regfree(&compiled);
    KELVO_HOLDS(compiled.engine == nullptr);
}

bool holds_syntax(const char* path, bool dot_is_special) {
    std::uint32_t is_regexp = 77;
    KELVO_HOLDS(kelvo_util_path_is_regexp(path, &is_regexp, dot_is_special ? 1 : 0) == 0);
    KELVO_HOLDS(is_regexp <= 1);
    return is_regexp == 1;
}

std::size_t count_components(std::string_view path) {
    const auto slashes = static_cast<std::size_t>(std::count(path.begin(), path.end(), '/'));
    return path.ends_with('/') ? slashes : slashes + 1;
}

/// The components of a pattern are those of its path; each is a regular expression if it looks so.
void check_elements(const kelvo_path_pattern* pattern, const char* path, bool dot_is_special) {
    std::size_t at = 0;
    std::size_t elements = 0;
    for (const kelvo_path_pattern* element = pattern;; ++element) {
        const std::size_t chars = std::strlen(element->text);
        KELVO_HOLDS(std::strncmp(element->text, path + at, chars) == 0);
        KELVO_HOLDS((element->is_regexp == 1) == holds_syntax(element->text, dot_is_special));
        at += chars;
        ++elements;
        if (element->is_last != 0) break;
    }
    KELVO_HOLDS(at == std::strlen(path) && elements == count_components(path));
}

bool matches(const char* path, const kelvo_path_pattern* pattern) {
    std::uint32_t matches = 77;
    KELVO_HOLDS(kelvo_util_path_regexec(path, pattern, &matches) == 0 && matches <= 1);
    return matches == 1;
}

/// The text's own beginnings that end a component.
bool lies_on_the_way(const char* path, const kelvo_path_pattern* pattern) {
    const char* const slash = std::strchr(path, '/');
    if (slash == nullptr || slash[1] == '\0') return true;
    static Block<kMostChars> block;
    return matches(block.hold_text({path, static_cast<std::size_t>(slash + 1 - path)}), pattern);
}

/// What must hold of the components of a path that matches, one by one: a literal is equal, and a
/// regular expression that is written without "/" matches none that has one.
void check_matched(const char* path, const kelvo_path_pattern* element) {
    for (std::string_view rest(path); !rest.empty(); ++element) {
        const std::size_t chars = std::min(rest.find('/'), rest.size() - 1) + 1;
        const std::string_view component = rest.substr(0, chars);
        const std::string_view written(element->text);
        if (element->is_regexp == 0) KELVO_HOLDS(component == written);
        KELVO_HOLDS(written.ends_with('/') || !component.ends_with('/'));
        if (element->is_last != 0) return;
        rest.remove_prefix(chars);
    }
}

void check_prefix(const char* path) {
    char* prefix = nullptr;
    KELVO_HOLDS(kelvo_util_longest_exact_path(path, &prefix) == 0);
    const std::string_view text(prefix);
    KELVO_HOLDS(std::string_view(path).starts_with(text) && !holds_syntax(prefix, false));
    const bool is_whole = text.size() == std::strlen(path);
    KELVO_HOLDS(is_whole || text.empty() || text.ends_with('/'));
    KELVO_HOLDS(is_whole == !holds_syntax(path, false));
    std::free(prefix);
}

void check_path(const char* pattern_path, const char* path, const Asked& asked) {
    const std::uint32_t dot = asked.dot_is_special ? 1 : 0;
    check_prefix(pattern_path);
    if (*pattern_path == '\0' || *path == '\0') return;  // would be logged

    kelvo_path_pattern* pattern = nullptr;
    const kelvo_status status = kelvo_util_path_regcomp(pattern_path, &pattern, dot);
    const bool is_literal = !holds_syntax(pattern_path, asked.dot_is_special);
    KELVO_HOLDS(status == 0 || (status == KELVO_ERR_BAD_REGEXP && !is_literal));
    std::uint32_t within = 77;
    KELVO_HOLDS(kelvo_util_node_within_regexp(path, pattern_path, &within, dot) == status);
    KELVO_HOLDS(status == 0 ? within <= 1 : within == 77);
    if (status != 0) return;

    check_elements(pattern, pattern_path, asked.dot_is_special);
    KELVO_HOLDS(matches(path, pattern) == (within == 1));
    if (within == 1) {
        KELVO_HOLDS(lies_on_the_way(path, pattern));
        check_matched(path, pattern);
    }
    if (is_literal) KELVO_HOLDS(matches(pattern_path, pattern));
    kelvo_util_path_regfree(pattern);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Block<kMostChars> blocks[2];
    if (size >= kMostChars) return -1;
    Input in(data, size);
    const Asked asked(in.byte());
    const char* const pattern = blocks[0].hold_text(in.until('\n'));
    const char* const text = blocks[1].hold_text(in.bytes(kMostChars));
    if (asked.as_path) {
        check_path(pattern, text, asked);
    } else {
        check_regex(pattern, text, asked);
    }
    return 0;
}
