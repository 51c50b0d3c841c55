// SPDX-License-Identifier: Apache-2.0
//
// What verbs read: records that are arguments, lines of files or lines of standard input.
#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "output.h"
#include "record.h"

namespace kelvo::tool {

class Verb;

class Input {
  public:
    /// Declares the arguments NAME... and the option --file of a verb. `what` says what they are.
    void declare(Verb& verb, const std::string& name, const std::string& what);

    /// Whether there are arguments or files, so that standard input is not read.
    [[nodiscard]] bool is_given() const { return !arguments_.empty() || !files_.empty(); }

    /// Calls for each record in order: the arguments, then the lines of each file; those of
    /// standard input when there is neither. A line ends at a line feed, or at a carriage return
    /// and a line feed; an empty line is passed over, and a NUL in a line is a Failure. What was
    /// written is sent on before input is waited for. Shows progress.
    void for_each(Output& out, const std::function<void(const Record&)>& answer) const;

  private:
    [[nodiscard]] std::vector<std::string> sources() const;

    std::string name_;
    std::vector<std::string> arguments_;
    std::vector<std::string> files_;
};

/// All bytes of a file, or of standard input when it is "-". Throws a Failure that names it.
std::vector<std::uint8_t> read_all(const std::string& file);

/// "standard input" for "-", else the file's name.
std::string name_of_file(const std::string& file);

}  // namespace kelvo::tool
