// SPDX-License-Identifier: Apache-2.0
//
// One line of output. It is put together in a buffer and leaves in one write, so that lines of
// several threads and processes stay whole. Control characters in what is printed (a path from a
// client may hold a newline) become "?", so that one line stays one line.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "kelvo_types.h"

namespace kelvo::host {

class Line {
  public:
    KELVO_PRINTF(2, 3) void add(const char* format, ...) noexcept;
    void add_list(const char* format, va_list arguments) noexcept;

    /// The text so far. A text that did not fit ends in "...".
    [[nodiscard]] const char* text() const noexcept { return text_; }

    /// Writes the line and its newline. Failure is silent, and a reader that has gone away does not
    /// end the process.
    void write_to(int descriptor) noexcept;

  private:
    static constexpr std::size_t kLongest = 2047;

    std::size_t length_ = 0;
    char text_[kLongest + 2] = "";  // the newline takes the place of the NUL, or stands before it
};

/// Keeps errno as it was when a service is done with its own calls.
class KeepErrno {
  public:
    KeepErrno() noexcept;
    ~KeepErrno() noexcept;
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

  private:
    int saved_;
};

}  // namespace kelvo::host
