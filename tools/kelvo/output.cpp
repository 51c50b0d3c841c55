// SPDX-License-Identifier: Apache-2.0
#include "output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "exit_code.h"
#include "text.h"

namespace kelvo::tool {
namespace {

bool wants_colours() {
    const char* const refused = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool is_dumb = terminal == nullptr || std::strcmp(terminal, "dumb") == 0;
    return (refused == nullptr || *refused == '\0') && !is_dumb;
}

const char* code_of(Style style) {
    switch (style) {
        case Style::good:
            return "\x1b[32m";
        case Style::bad:
            return "\x1b[31m";
        case Style::name:
            return "\x1b[1m";
        case Style::faint:
            return "\x1b[2m";
        case Style::plain:
            break;
    }
    return "";
}

[[noreturn]] void fail() {
    throw Failure(Exit::output, std::string("standard output: ") + std::strerror(errno));
}

}  // namespace

Output::Output(bool json)
    : json_(json),
      on_terminal_(isatty(STDOUT_FILENO) != 0),
      coloured_(on_terminal_ && !json && wants_colours()) {}

void Output::write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) fail();
}

void Output::line(std::string_view text) {
    write(text);
    write("\n");
}

void Output::data(std::string_view text) {
    on_terminal_ ? line(printable(text)) : line(text);
}

void Output::record(const Json& object) {
    line(object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string Output::paint(Style style, std::string_view text) const {
    if (!coloured_ || style == Style::plain) return std::string(text);
    return code_of(style) + std::string(text) + "\x1b[0m";
}

void Output::flush() {
    if (std::fflush(stdout) != 0) fail();
}

}  // namespace kelvo::tool
