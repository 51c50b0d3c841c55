// SPDX-License-Identifier: Apache-2.0
//
// Completion of command lines. The shell's part is a few lines (kelvo.bash) that ask here, so it
// knows every verb and option that there is.
#include <algorithm>

#include "pages.h"

namespace kelvo::tool {
namespace {

using Words = std::vector<std::string>;

/// The word of every verb's name that follows `words`.
Words next_words(const Verbs& verbs, const Words& words) {
    Words found;
    for (const auto& verb : verbs) {
        const std::string& name = verb->page.name;
        const std::size_t blank = name.find(' ');
        if (words.empty()) {
            found.push_back(name.substr(0, blank));
        } else if (blank != std::string::npos && words == Words{name.substr(0, blank)}) {
            found.push_back(name.substr(blank + 1));
        }
    }
    return found;
}

/// The option of a verb that the word names, or null.
const CLI::Option* option_named(const Verb& verb, const std::string& word) {
    for (const CLI::Option* option : verb.app.get_options()) {
        if (!option->get_positional() && option->check_name(word)) return option;
    }
    return nullptr;
}

Words option_names(const Verb& verb) {
    Words names;
    for (const CLI::Option* option : verb.app.get_options()) {
        if (option->get_positional()) continue;
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

/// What may stand behind the words that follow a verb; nothing where a file's name belongs.
Words words_of(const Verb& verb, Words words, const std::string& current) {
    // The shell makes three words of "--by=names".
    if (!words.empty() && words.back() == "=") words.pop_back();
    if (!words.empty()) {
        const CLI::Option* const option = option_named(verb, words.back());
        if (option != nullptr && takes_value(*option)) {
            return option->get_lnames().empty() ? Words()
                                                : verb.choices("--" + option->get_lnames().front());
        }
    }
    return current.starts_with('-') ? option_names(verb) : verb.choices("");
}

}  // namespace

std::vector<std::string> completions(const Verbs& verbs, std::vector<std::string> words) {
    if (words.empty()) return {};
    std::string current = words.back();
    words.pop_back();
    if (current == "=") current.clear();

    Words found;
    const bool asks_help = !words.empty() && words[0] == "help";
    if (asks_help) words.erase(words.begin());
    if (Verb* const verb = find_verb(verbs, words)) {
        if (!asks_help) found = words_of(*verb, words, current);
    } else {
        found = next_words(verbs, words);
        if (words.empty() && !asks_help) {
            found.insert(found.end(), {"help", "--help", "--version"});
        }
    }
    std::erase_if(found, [&](const std::string& word) { return !word.starts_with(current); });
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

}  // namespace kelvo::tool
