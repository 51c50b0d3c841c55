// SPDX-License-Identifier: Apache-2.0
//
// The manual page, kelvo(1).
#include "pages.h"

namespace kelvo::tool {
namespace {

/// A text as troff takes it to the letter.
std::string escaped(std::string_view text) {
    std::string out;
    bool begins_line = true;
    for (const char character : text) {
        if (begins_line && (character == '.' || character == '\'')) out += "\\&";
        begins_line = character == '\n';
        if (character == '\\') {
            out += "\\e";
        } else if (character == '-') {
            out += "\\-";
        } else {
            out += character;
        }
    }
    return out;
}

std::string paragraphs(const std::string& text) {
    std::string out;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find("\n\n", begin), text.size());
        out += ".PP\n" + escaped(text.substr(begin, end - begin)) + "\n";
        begin = end + 2;
    }
    return out;
}

std::string list(const std::vector<Entry>& entries) {
    std::string out;
    for (const Entry& entry : entries) {
        out += ".TP\n\\fB" + escaped(entry.form) + "\\fR\n" + escaped(entry.what) + "\n";
    }
    return out;
}

std::string example(const Example& example) {
    return ".PP\n.EX\n$ \\fB" + escaped(example.command) + "\\fR\n" + escaped(example.shows) +
           ".EE\n";
}

std::string section_of(const Verb& verb) {
    std::string out = ".SS " + verb.page.name + "\n\\fB" + escaped(usage_of(verb)) + "\\fR\n" +
                      paragraphs(verb.page.about) + list(arguments_of(verb)) +
                      list(options_of(verb));
    for (const Example& one : verb.page.examples) out += example(one);
    return out;
}

}  // namespace

std::string manual(const Verbs& verbs) {
    std::string out = ".TH KELVO 1 \"\" \"kelvo " KELVO_VERSION
                      "\" \"Kelvo data store\"\n"
                      ".SH NAME\nkelvo \\- answers questions about paths, names and messages of "
                      "the Kelvo data store\n"
                      ".SH SYNOPSIS\n\\fBkelvo\\fR \\fIVERB\\fR [\\fIOPTION\\fR]... "
                      "[\\fIARGUMENT\\fR]...\n"
                      ".SH DESCRIPTION\n"
                      "Each verb answers one kind of question. What it is asked comes from "
                      "arguments, from the lines of files, or from standard input. Answers are "
                      "lines for people, or with \\fB\\-\\-json\\fR one JSON object a line.\n"
                      ".SH VERBS\n";
    for (const auto& verb : verbs) out += section_of(*verb);
    out += ".SH EXIT STATUS\n" + list(exit_codes());
    out += ".SH ENVIRONMENT\n" +
           list({{"NO_COLOR", "when set and not empty, a terminal gets no colours either"},
                 {"KELVO_PLATFORM_CONFIG",
                  "the configuration of the host platform, in place of /etc/kelvo/platform.conf"}});
    return out;
}

}  // namespace kelvo::tool
