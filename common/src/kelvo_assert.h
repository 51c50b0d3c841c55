// SPDX-License-Identifier: Apache-2.0
//
// Programming errors end the process through the standard assertion, in every build. The texts of
// these reports are part of the interface: the expression is spelled out rather than made by the
// preprocessor, and the source unit is named as its users know it, without a suffix.
#pragma once

extern "C" [[noreturn]] void __assert_fail(const char* expression, const char* file,
                                           unsigned int line, const char* function) noexcept;

/// Ends the process with the report "unit:line: function: Assertion `expression' failed."
#define KELVO_ASSERT_AT(condition, expression, unit, line, function)                               \
    do {                                                                                           \
        if (!(condition)) [[unlikely]] {                                                           \
            __assert_fail((expression), (unit), (line), (function));                               \
        }                                                                                          \
    } while (false)

/// The same where the report's line and function are not fixed: they are the place of the check.
#define KELVO_ASSERT(condition, expression, unit)                                                  \
    KELVO_ASSERT_AT(condition, expression, unit, __LINE__, __func__)
