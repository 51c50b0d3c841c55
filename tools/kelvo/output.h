// SPDX-License-Identifier: Apache-2.0
//
// What verbs write: lines for eyes, or one JSON object per line for programs. Colours appear on a
// terminal only, and never when NO_COLOR is set.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace kelvo::tool {

/// Fields stand in the order in which they are given.
using Json = nlohmann::ordered_json;

enum class Style { plain, good, bad, name, faint };

class Output {
  public:
    explicit Output(bool json);

    /// Whether records are written as JSON.
    [[nodiscard]] bool json() const { return json_; }

    /// Writes text as it is.
    void write(std::string_view text);
    /// Writes a line.
    void line(std::string_view text);
    /// Writes a text that is the answer itself as a line: byte for byte, except that a terminal
    /// gets no control characters.
    void data(std::string_view text);
    /// Writes one JSON object as a line. A text that is not UTF-8 has U+FFFD in place of the bytes
    /// that are none.
    void record(const Json& object);

    /// The text in a colour, on a terminal; elsewhere the text.
    [[nodiscard]] std::string paint(Style style, std::string_view text) const;

    /// Sends on what was written so far. Throws a Failure when that cannot be done.
    void flush();

  private:
    bool json_;
    bool on_terminal_;
    bool coloured_;
};

}  // namespace kelvo::tool
