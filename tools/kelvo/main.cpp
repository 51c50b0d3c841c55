// SPDX-License-Identifier: Apache-2.0
//
// kelvo: answers questions about the paths, names and messages of the Kelvo data store.
//
// Here a command line finds its verb, and whatever goes wrong finds its exit code.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "arguments.h"
#include "pages.h"
#include "verbs.h"

namespace {

using namespace kelvo::tool;

using Words = std::vector<std::string>;

int end(Exit exit_code) {
    return static_cast<int>(exit_code);
}

int complain(const std::string& who, Exit exit_code, const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", who.c_str(), what.c_str());
    if (exit_code == Exit::usage) std::fprintf(stderr, "Try '%s --help'.\n", who.c_str());
    return end(exit_code);
}

/// Prints a text that was asked for.
int print(const std::string& text) {
    Output out(false);
    out.write(text);
    out.flush();
    return end(Exit::ok);
}

/// What is wrong with an argument that nobody asked for.
std::string unexpected(const Verb& verb, const Words& extras) {
    const std::string& word = extras.front();
    if (word.size() < 2 || word[0] != '-') {
        return "unexpected argument '" + printable(word) + "'; usage: " + usage_of(verb);
    }
    Words known;
    for (const CLI::Option* option : verb.app.get_options()) {
        for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
    }
    return "unknown option '" + printable(word) + "'" +
           suggestion(word.substr(0, word.find('=')), known);
}

/// Refuses a value for an option that takes none.
void refuse_values_of_flags(const Verb& verb, const Words& words) {
    for (const std::string& word : words) {
        if (word == "--") return;
        const std::size_t sign = word.find('=');
        if (!word.starts_with("--") || sign == std::string::npos) continue;
        const CLI::Option* const option = verb.app.get_option_no_throw(word.substr(0, sign));
        if (option != nullptr && !takes_value(*option)) {
            throw Failure(Exit::usage, "'" + word.substr(0, sign) + "' takes no value");
        }
    }
}

/// Runs a verb with the words that follow its name.
int run(Verb& verb, const Words& words) {
    refuse_values_of_flags(verb, words);
    Words reversed;
    for (auto word = words.rbegin(); word != words.rend(); ++word)
        reversed.push_back(guarded(*word));
    try {
        verb.app.parse(std::move(reversed));
    } catch (const CLI::CallForHelp&) {
        return print(help(verb));
    } catch (const CLI::ExtrasError&) {
        throw Failure(Exit::usage, unexpected(verb, verb.app.remaining()));
    } catch (const CLI::ParseError& error) {
        throw Failure(Exit::usage, printable(error.what()));
    }
    Output out(verb.json);
    const Exit exit_code = verb.run(out);
    out.flush();
    return end(exit_code);
}

/// Runs a verb; whatever stops it is told under its name.
int attempt(Verb& verb, const Words& words) {
    const std::string who = "kelvo " + verb.page.name;
    try {
        return run(verb, words);
    } catch (const Failure& failure) {
        return complain(who, failure.exit_code(), failure.what());
    } catch (const std::bad_alloc&) {
        return complain(who, Exit::internal, "out of memory");
    } catch (const std::exception& error) {
        return complain(who, Exit::internal, error.what());
    }
}

/// The first word of every verb, and the words of the program itself.
Words first_words(const Verbs& verbs) {
    Words words{"help"};
    for (const auto& verb : verbs) {
        words.push_back(verb->page.name.substr(0, verb->page.name.find(' ')));
    }
    return words;
}

/// What is said when the words name no verb: the page of those that begin so, or an error.
int without_verb(const Verbs& verbs, const Words& words) {
    Words seconds;
    for (const auto& verb : verbs) {
        if (verb->page.name.starts_with(words[0] + " ")) {
            seconds.push_back(verb->page.name.substr(words[0].size() + 1));
        }
    }
    if (seconds.empty()) {
        return complain("kelvo", Exit::usage,
                        "unknown verb '" + printable(words[0]) + "'" +
                            suggestion(words[0], first_words(verbs)));
    }
    if (words.size() > 1 && (words[1] == "--help" || words[1] == "-h")) {
        return print(overview(verbs, words[0]));
    }
    std::string list;
    for (const std::string& second : seconds) list += (list.empty() ? "" : " or ") + second;
    return complain("kelvo " + words[0], Exit::usage,
                    words.size() == 1
                        ? "a second word is missing: " + list
                        : "unknown verb '" + printable(words[1]) + "'; after '" + words[0] +
                              "' comes " + list + suggestion(words[1], seconds));
}

/// Answers the shell: `kelvo complete -- WORD...`.
int complete(const Verbs& verbs, const Words& words) {
    const Words rest(words.begin() + std::min<std::ptrdiff_t>(2, std::ssize(words)), words.end());
    std::string text;
    for (const std::string& word : completions(verbs, rest)) text += word + "\n";
    return print(text);
}

int run_program(Words words) {
    const Verbs verbs = make_verbs();
    if (words.empty()) {
        std::fputs(overview(verbs).c_str(), stderr);
        return end(Exit::usage);
    }
    if (words[0] == "--version") return print("kelvo " KELVO_VERSION "\n");
    if (words[0] == "man-page") return print(manual(verbs));
    if (words[0] == "complete") return complete(verbs, words);
    if (words[0] == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    if (words[0] == "--help" || words[0] == "-h") return print(overview(verbs));
    Verb* const verb = find_verb(verbs, words);
    return verb == nullptr ? without_verb(verbs, words) : attempt(*verb, words);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run_program(Words(argv + 1, argv + argc));
    } catch (const Failure& failure) {
        return complain("kelvo", failure.exit_code(), failure.what());
    } catch (const std::exception& error) {
        return complain("kelvo", Exit::internal, error.what());
    }
}
