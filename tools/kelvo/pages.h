// SPDX-License-Identifier: Apache-2.0
//
// The manual in its forms: help texts, the manual page, and the words that complete a command line.
// All come from what the verbs declare.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "verb.h"

namespace kelvo::tool {

using Verbs = std::vector<std::unique_ptr<Verb>>;

/// What `kelvo --help` prints. `first` leaves only the verbs that begin with that word.
std::string overview(const Verbs& verbs, const std::string& first = "");
/// What `kelvo VERB --help` prints.
std::string help(const Verb& verb);

/// What `kelvo man-page` prints: the manual page in the language of troff.
std::string manual(const Verbs& verbs);

/// What may stand in place of the last of the words that follow "kelvo", sorted.
std::vector<std::string> completions(const Verbs& verbs, std::vector<std::string> words);

/// The verb whose name the words begin with, which are taken away; null when there is none.
Verb* find_verb(const Verbs& verbs, std::vector<std::string>& words);

/// One option or argument as a page shows it: "-f, --file FILE" and its description.
struct Entry {
    std::string form;
    std::string what;
};
std::vector<Entry> arguments_of(const Verb& verb);
std::vector<Entry> options_of(const Verb& verb);
/// "kelvo resolve [OPTION]... [PATH]..."
std::string usage_of(const Verb& verb);

/// Whether the option is followed by a value.
bool takes_value(const CLI::Option& option);

/// The table of exit codes.
std::vector<Entry> exit_codes();

}  // namespace kelvo::tool
