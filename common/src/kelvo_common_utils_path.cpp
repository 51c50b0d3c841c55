// SPDX-License-Identifier: Apache-2.0
//
// Paths whose components may be regular expressions. All matching is done one component at a time,
// so that a component never matches across a "/".
#include "kelvo_util_path.h"

#include "kelvo_bytes.h"
#include "kelvo_report.h"

namespace kelvo {
namespace {

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// The first character that makes a text a regular expression, or the text's end.
const char* find_syntax(const char* text, bool dot_is_special) {
    const char* const always = dot_is_special ? "(*+?[\\|{." : "(*+?[\\|{";
    text += std::strcspn(text, always);
    while (*text == '{' && !is_digit(text[1])) {
        ++text;
        text += std::strcspn(text, always);
    }
    return text;
}

}  // namespace
}  // namespace kelvo

using namespace kelvo;

kelvo_status kelvo_util_path_is_regexp(const char* path, uint32_t* is_regexp,
                                       int32_t dot_is_special) {
    if (any_null(path, is_regexp)) return refuse_null();
    *is_regexp = *find_syntax(path, dot_is_special != 0) != '\0';
    return 0;
}
