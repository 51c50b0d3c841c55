// SPDX-License-Identifier: Apache-2.0
//
// A verb of the program: its page in the manual, its arguments, and what it does.
//
// To add one, derive from Verb in a file verb_<name>.cpp, declare its maker in verbs.h and put it
// into the list of verbs.cpp. Help, manual page and completion come from what is declared here, and
// the tests run every example of every page.
#pragma once

#include <CLI/App.hpp>
#include <map>
#include <string>
#include <vector>

#include "exit_code.h"
#include "output.h"
#include "record.h"
#include "text.h"

namespace kelvo::tool {

/// A command line for the shell, and exactly what it prints.
struct Example {
    std::string command;
    std::string shows;
};

/// What the manual says of a verb.
struct Page {
    std::string name;     ///< as it is typed: one word or two, such as "name encode"
    std::string summary;  ///< half a line
    std::string about;    ///< paragraphs, divided by empty lines
    std::vector<Example> examples;
};

class Verb {
  public:
    explicit Verb(Page page);
    virtual ~Verb() = default;
    Verb(const Verb&) = delete;
    Verb& operator=(const Verb&) = delete;

    /// Does what the verb is for. Called once, after the arguments have been read.
    virtual Exit run(Output& out) = 0;

    /// Declares the arguments NAME..., taken to the letter whatever they look like.
    CLI::Option* add_texts(const std::string& name, std::vector<std::string>& texts,
                           const std::string& what);
    /// Declares an option "--name" or an argument "NAME" with one text, taken to the letter too.
    CLI::Option* add_text(const std::string& name, std::string& text, const std::string& what);
    /// Declares an option that takes one of a few words.
    CLI::Option* add_choice(const std::string& name, std::string& value,
                            const std::vector<std::string>& choices, const std::string& what);
    /// Reports a record that cannot be answered: on standard error as "kelvo VERB: WHERE: WHY", or
    /// among the JSON records as {"input", "where", "error"}.
    void refuse(Output& out, const Record& record, const std::string& why) const;

    /// Says what the arguments may be, for completion.
    void complete_arguments(std::vector<std::string> words) { choices_[""] = std::move(words); }

    /// The words that may follow an option ("--name"), or stand as arguments ("").
    [[nodiscard]] const std::vector<std::string>& choices(const std::string& option) const;

    const Page page;
    CLI::App app;
    bool json = false;

  private:
    std::map<std::string, std::vector<std::string>> choices_;
};

}  // namespace kelvo::tool
