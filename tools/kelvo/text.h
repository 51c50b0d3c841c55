// SPDX-License-Identifier: Apache-2.0
//
// Texts for people.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelvo::tool {

/// A text with "\xNN" in place of its control characters, so that nothing read from a file can
/// command a terminal. Other bytes stay as they are.
std::string printable(std::string_view text);

/// A number as 0x and at least `digits` lower-case hexadecimal digits.
std::string hex(unsigned long long number, int digits = 1);

/// A text broken into lines of at most `width` columns at blanks, every line but the first begun
/// with `indent` blanks; a line break in the text stays one.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t width);

/// " (did you mean 'x'?)" when one of the names is close to the text, else "".
std::string suggestion(std::string_view text, const std::vector<std::string>& names);

/// "1 path", "2 paths".
std::string counted(std::size_t count, std::string_view noun);

}  // namespace kelvo::tool
