/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_error_string.h
 * Texts that explain a status to people.
 *
 * Nothing here is logged. The texts of a status come from the platform (errcode_getstrings()).
 */
#ifndef KELVO_ERROR_STRING_H
#define KELVO_ERROR_STRING_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** What a text begins with that explains an error by itself. */
#define KELVO_ERROR_STRING_MARKER "^$,~"

/**
 * Marks a text as a whole explanation, which kelvo_util_prepare_error_string() then passes through.
 *
 * @param text  NUL-terminated; may be empty
 * @param out   receives ::KELVO_ERROR_STRING_MARKER followed by the text, released with free()
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM: `text` or `out` is null
 *   - ::KELVO_ERR_NO_MEMORY: the allocation failed
 */
KELVO_API kelvo_status kelvo_util_compose_error_string(const char* text, char** out);

/**
 * Explains a status.
 *
 * A context that begins with ::KELVO_ERROR_STRING_MARKER is the explanation: the result is what
 * follows the marker, and the status is ignored. Otherwise the result is put together from four
 * parts, each of which may be absent:
 *
 *   - O, the operating system's text, unless it says that there was no error (as strerror(0) does)
 *   - S, the subsystem's text, only when it begins with "Subsystem(", which says that the platform
 *     knows no more of the subsystem than its number
 *   - E, the error's text
 *   - X, the context
 *
 * All four read
 *
 *     O (S, E: cerrno 0x1234abcd): X
 *
 * with the status in 8 lower-case hexadecimal digits. The parentheses stand only around E behind O,
 * ", " and ": cerrno 0x..." only with S, and ": " before X only when there is O or E. With no part
 * at all the result is "Unable to construct error message".
 *
 * @param context  NUL-terminated, or null for none
 * @param status   what to explain
 * @param out      receives the explanation, released with free()
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM: `out` is null
 *   - (marked context) ::KELVO_ERR_NO_MEMORY: the allocation failed
 *   - the platform's status, when it has no texts to give
 *   - ::KELVO_ERR_NO_MEMORY: the allocation failed
 *
 * Note: S without E leaves a gap, as in "Subsystem(7), : cerrno 0x1234abcd". Nothing stands between
 * S and X when they are the only parts.
 */
KELVO_API kelvo_status kelvo_util_prepare_error_string(const char* context, kelvo_status status,
                                                       char** out);

KELVO_EXTERN_C_END

#endif
