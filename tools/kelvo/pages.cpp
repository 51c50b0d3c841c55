// SPDX-License-Identifier: Apache-2.0
#include "pages.h"

#include <algorithm>

namespace kelvo::tool {
namespace {

constexpr std::size_t kWidth = 79;

std::string table(const std::vector<Entry>& entries) {
    std::size_t widest = 0;
    for (const Entry& entry : entries) {
        if (entry.form.size() <= 24) widest = std::max(widest, entry.form.size());
    }
    std::string out;
    for (const Entry& entry : entries) {
        out += "  " + entry.form;
        out += entry.form.size() > widest ? "\n" + std::string(widest + 4, ' ')
                                          : std::string(widest + 2 - entry.form.size(), ' ');
        out += wrapped(entry.what, widest + 4, kWidth) + "\n";
    }
    return out;
}

std::string section(const std::string& title, const std::vector<Entry>& entries) {
    return entries.empty() ? "" : "\n" + title + ":\n" + table(entries);
}

/// "-f, --file FILE"
std::string form_of(const CLI::Option& option) {
    std::string form;
    for (const std::string& name : option.get_snames()) form += "-" + name + ", ";
    for (const std::string& name : option.get_lnames()) form += "--" + name + ", ";
    form.resize(form.size() - 2);
    const std::string type = takes_value(option) ? option.get_type_name() : "";
    return form + (type.empty() ? "" : " " + type);
}

std::string examples_of(const Verb& verb) {
    std::string out;
    for (const Example& example : verb.page.examples) {
        out += "\n  $ " + example.command + "\n";
        std::string_view rest = example.shows;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find('\n'), rest.size());
            out += "  " + std::string(rest.substr(0, end)) + "\n";
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    }
    return out.empty() ? "" : "\nExamples:\n" + out.substr(1);
}

}  // namespace

Verb* find_verb(const Verbs& verbs, std::vector<std::string>& words) {
    for (const auto& verb : verbs) {
        const std::string& name = verb->page.name;
        const std::size_t blank = name.find(' ');
        const std::size_t count = blank == std::string::npos ? 1 : 2;
        if (words.size() < count || words[0] != name.substr(0, blank)) continue;
        if (count == 2 && words[1] != name.substr(blank + 1)) continue;
        words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(count));
        return verb.get();
    }
    return nullptr;
}

std::vector<Entry> arguments_of(const Verb& verb) {
    std::vector<Entry> entries;
    for (const CLI::Option* option : verb.app.get_options()) {
        if (!option->get_positional()) continue;
        entries.push_back({option->get_name() + (option->get_items_expected_max() > 1 ? "..." : ""),
                           option->get_description()});
    }
    return entries;
}

std::vector<Entry> options_of(const Verb& verb) {
    std::vector<Entry> entries;
    for (const CLI::Option* option : verb.app.get_options()) {
        if (option->get_positional()) continue;
        entries.push_back({form_of(*option), option->get_description()});
    }
    // Help and JSON are declared first and read last.
    std::rotate(entries.begin(), entries.begin() + 2, entries.end());
    return entries;
}

std::string usage_of(const Verb& verb) {
    std::string usage = "kelvo " + verb.page.name + " [OPTION]...";
    for (const CLI::Option* option : verb.app.get_options()) {
        if (!option->get_positional()) continue;
        const std::string name = option->get_name();
        usage += option->get_required() ? " " + name : " [" + name + "]";
        if (option->get_items_expected_max() > 1) usage += "...";
    }
    return usage;
}

bool takes_value(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

std::vector<Entry> exit_codes() {
    return {
#define KELVO_EXIT_ENTRY(name, code, meaning) {#code, meaning},
        KELVO_EXIT_LIST(KELVO_EXIT_ENTRY)
#undef KELVO_EXIT_ENTRY
    };
}

std::string help(const Verb& verb) {
    return "usage: " + usage_of(verb) + "\n\n" + wrapped(verb.page.about, 0, kWidth) + "\n" +
           section("Arguments", arguments_of(verb)) + section("Options", options_of(verb)) +
           section("Exit codes", exit_codes()) + examples_of(verb);
}

std::string overview(const Verbs& verbs, const std::string& first) {
    std::vector<Entry> entries;
    for (const auto& verb : verbs) {
        const bool wanted = first.empty() || verb->page.name.starts_with(first + " ");
        if (wanted) entries.push_back({verb->page.name, verb->page.summary});
    }
    const std::string what =
        "Answers questions about paths, names and messages of the Kelvo data store.";
    return "usage: kelvo " + (first.empty() ? "" : first + " ") +
           "VERB [OPTION]... [ARGUMENT]...\n" + (first.empty() ? "\n" + what + "\n" : "") +
           section("Verbs", entries) +
           "\n'kelvo VERB --help' tells all about a verb, with examples. Other options: --help,\n"
           "--version.\n" +
           section("Exit codes", exit_codes());
}

}  // namespace kelvo::tool
