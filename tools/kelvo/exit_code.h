// SPDX-License-Identifier: Apache-2.0
//
// How the program ends: one table for all verbs. Help and the manual page print it.
#pragma once

#include <stdexcept>
#include <string>

namespace kelvo::tool {

// clang-format off
/// X(name, code, meaning)
#define KELVO_EXIT_LIST(X)                                                              \
    X(ok,       0, "everything that was asked has a good answer")                       \
    X(negative, 1, "an answer is a refusal, a difference or a problem found")           \
    X(usage,    2, "the command line is wrong")                                         \
    X(input,    3, "something to be read is missing or cannot be read")                 \
    X(output,   4, "the output cannot be written")                                      \
    X(platform, 5, "the platform cannot answer, as when its configuration is in error") \
    X(internal, 6, "the program itself failed, as when memory runs out")
// clang-format on

enum class Exit {
#define KELVO_EXIT_ENUMERATOR(name, code, meaning) name = code,
    KELVO_EXIT_LIST(KELVO_EXIT_ENUMERATOR)
#undef KELVO_EXIT_ENUMERATOR
};

/// Ends a verb early: the text goes to standard error, behind the verb's name.
class Failure : public std::runtime_error {
  public:
    Failure(Exit exit_code, const std::string& text)
        : std::runtime_error(text), exit_code_(exit_code) {}
    [[nodiscard]] Exit exit_code() const { return exit_code_; }

  private:
    Exit exit_code_;
};

}  // namespace kelvo::tool
