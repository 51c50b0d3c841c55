/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_util_path.h
 * Paths whose components may be regular expressions.
 *
 * A path is a string of components, each ended by "/" except possibly the last, with no leading
 * "/". Clients may write a component as a regular expression, as in "cfg/gl/int[0-9]/mtu".
 */
#ifndef KELVO_UTIL_PATH_H
#define KELVO_UTIL_PATH_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/**
 * Tells whether a string holds regular-expression syntax.
 *
 * Syntax is any of "(" "*" "+" "?" "[" "\" "|", a "." where the dot is special, and a "{" that a
 * decimal digit follows. An empty string holds none.
 *
 * @param path            NUL-terminated text
 * @param is_regexp       receives 1 or 0
 * @param dot_is_special  not 0 when "." counts
 * @return 0; ::KELVO_ERR_NULL_PARAM, logged, when `path` or `is_regexp` is null
 *
 * Note: ")" "]" "^" "$" "}" "-" and "," never count. A path made of them and of ordinary characters
 * is a literal path.
 */
KELVO_API kelvo_status kelvo_util_path_is_regexp(const char* path, uint32_t* is_regexp,
                                                 int32_t dot_is_special);

KELVO_EXTERN_C_END

#endif
