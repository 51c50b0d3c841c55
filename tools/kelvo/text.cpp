// SPDX-License-Identifier: Apache-2.0
#include "text.h"

#include <algorithm>
#include <cstdio>

namespace kelvo::tool {

std::string printable(std::string_view text) {
    std::string out;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7f) {
            out += character;
        } else {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02x", byte);
            out += escape;
        }
    }
    return out;
}

std::string hex(unsigned long long number, int digits) {
    char text[20];
    std::snprintf(text, sizeof text, "0x%0*llx", digits, number);
    return text;
}

std::string wrapped(std::string_view text, std::size_t indent, std::size_t width) {
    std::string out;
    std::size_t column = indent;
    bool at_start = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
        const std::string_view word = text.substr(0, end);
        if (!at_start && column + 1 + word.size() > width) {
            out += "\n" + std::string(indent, ' ');
            column = indent;
            at_start = true;
        }
        if (!at_start) out += ' ';
        column += word.size() + (at_start ? 0 : 1);
        out += word;
        at_start = false;
        if (end < text.size() && text[end] == '\n') {
            out += '\n';
            if (end + 1 < text.size() && text[end + 1] != '\n') out += std::string(indent, ' ');
            column = indent;
            at_start = true;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

namespace {

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
}

/// How many letters must be put in, left out or changed, or neighbours swapped, to make one word of
/// the other. A capital is the same letter.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> table(a.size() + 1,
                                                std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) table[i][0] = i;
    for (std::size_t j = 0; j <= b.size(); ++j) table[0][j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed =
                table[i - 1][j - 1] + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            table[i][j] = std::min({changed, table[i - 1][j] + 1, table[i][j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped) table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
        }
    }
    return table[a.size()][b.size()];
}

}  // namespace

std::string suggestion(std::string_view text, const std::vector<std::string>& names) {
    // The dashes of an option are the same in all of them.
    const std::size_t dashes = std::min(text.find_first_not_of('-'), text.size());
    std::size_t best = 1 + (text.size() - dashes) / 3;
    const std::string* found = nullptr;
    if (text.size() > 64) return "";
    for (const std::string& name : names) {
        const std::size_t far = distance(text, name);
        if (far > best || (far == best && found != nullptr)) continue;
        best = far;
        found = &name;
    }
    return found == nullptr ? "" : " (did you mean '" + *found + "'?)";
}

std::string counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace kelvo::tool
