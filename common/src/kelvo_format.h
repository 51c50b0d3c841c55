// SPDX-License-Identifier: Apache-2.0
//
// Formatting into a buffer of fixed size, with both ways in which it can fail answered.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "kelvo_status.h"

namespace kelvo {

/// Writes formatted text with its NUL into `size` bytes. The answers are the status codes for a
/// failed call (errno says why) and for a text that was cut.
[[nodiscard, gnu::format(printf, 3, 4)]] inline kelvo_status format_text(char* buffer,
                                                                         std::size_t size,
                                                                         const char* format,
                                                                         ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    if (length < 0) return KELVO_ERR_OS_CALL;
    return static_cast<std::size_t>(length) >= size ? KELVO_ERR_NAME_TOO_LONG : 0;
}

}  // namespace kelvo
