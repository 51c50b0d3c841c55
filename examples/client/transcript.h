// SPDX-License-Identifier: Apache-2.0
//
// What the client prints, and the count of what it expected and what it got. Colour is used on a
// terminal only, and not when NO_COLOR is set.
#pragma once

#include <span>
#include <string>

#include "kelvo_types.h"
#include "value.h"

namespace example {

class Transcript {
  public:
    Transcript();

    /// Begins a numbered scene.
    void scene(const std::string& title);
    /// Explains, in plain sentences.
    void note(const std::string& sentence);
    /// One indented line without a verdict.
    void line(const std::string& text);
    /// One line of a message's hex dump.
    void faint(const std::string& text);

    /// What was done and what came back; counted as a difference when it is not what was wanted.
    void status(const std::string& what, kelvo_status got, kelvo_status wanted = 0);
    /// The same for a value that was read.
    void value(const std::string& what, const Value& got, const Value& wanted);
    /// The same for anything else that must hold.
    void check(const std::string& what, const std::string& got, bool right);

    unsigned checks() const { return checks_; }
    unsigned differences() const { return differences_; }
    /// Prints the closing lines. @return the process's exit code
    int summary(unsigned requests, double milliseconds);

  private:
    void verdict(const std::string& what, const std::string& got, bool right, bool refusal);
    const char* colour(const char* code) const { return coloured_ ? code : ""; }

    bool coloured_;
    unsigned scenes_ = 0;
    unsigned checks_ = 0;
    unsigned differences_ = 0;
};

}  // namespace example
