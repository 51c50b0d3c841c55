// SPDX-License-Identifier: Apache-2.0
#include "verb.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstdio>

#include "arguments.h"

namespace kelvo::tool {

Verb::Verb(Page described) : page(std::move(described)), app("", "kelvo " + page.name) {
    app.set_help_flag("-h,--help", "print this page");
    app.add_flag("--json", json, "write JSON, one object a line");
}

CLI::Option* Verb::add_texts(const std::string& name, std::vector<std::string>& texts,
                             const std::string& what) {
    const CLI::callback_t take = [&texts](const CLI::results_t& results) {
        for (const std::string& text : results) texts.push_back(unguarded(text));
        return true;
    };
    return app.add_option(name, take, what)
        ->type_name("")
        ->type_size(1)
        ->expected(0, CLI::detail::expected_max_vector_size)
        ->allow_extra_args();
}

CLI::Option* Verb::add_text(const std::string& name, std::string& text, const std::string& what) {
    const CLI::callback_t take = [&text](const CLI::results_t& results) {
        text = unguarded(results.back());
        return true;
    };
    const bool is_option = name.starts_with('-');
    return app.add_option(name, take, what)
        ->type_name(is_option ? "TEXT" : "")
        ->type_size(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

CLI::Option* Verb::add_choice(const std::string& name, std::string& value,
                              const std::vector<std::string>& words, const std::string& what) {
    std::string list;
    for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
    CLI::Option* const option = app.add_option(name, value, what + ": " + list);
    option->type_name("WORD")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
        ->check(CLI::Validator(
            [words, list](std::string& word) {
                for (const std::string& known : words) {
                    if (word == known) return std::string();
                }
                return "'" + printable(word) + "' is not one of " + list + suggestion(word, words);
            },
            ""));
    choices_["--" + option->get_lnames().front()] = words;
    return option;
}

void Verb::refuse(Output& out, const Record& record, const std::string& why) const {
    if (out.json()) {
        out.record({{"input", record.text}, {"where", record.where()}, {"error", why}});
        return;
    }
    out.flush();
    const std::string text = "kelvo " + page.name + ": " + record.where() + ": " + why + "\n";
    std::fputs(text.c_str(), stderr);
}

const std::vector<std::string>& Verb::choices(const std::string& option) const {
    static const std::vector<std::string> kNone;
    const auto found = choices_.find(option);
    return found == choices_.end() ? kNone : found->second;
}

}  // namespace kelvo::tool
