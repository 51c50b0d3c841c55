/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_util_path.h
 * Paths whose components may be regular expressions.
 *
 * A path is a string of components, each ended by "/" except possibly the last. A component runs up
 * to and including the next "/", or to the end of the string, so "a/b/c" has the three components
 * "a/", "b/" and "c", and "a/b/" has two. Clients may write a component as a regular expression, as
 * in "cfg/gl/int[0-9]/mtu". Matching is done one component at a time: a component never matches
 * across a "/".
 *
 * Refused null arguments (and empty texts, where they are refused) are logged as internal, with the
 * text "A NULL pointer was passed as a fn parameter"; every other failure is silent.
 */
#ifndef KELVO_UTIL_PATH_H
#define KELVO_UTIL_PATH_H

#include "kelvo_regex.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/**
 * One component of a compiled path. A pattern is an array of these in path order, whose last
 * element says so; its handle is the address of the first. kelvo_util_path_regcomp() makes it,
 * kelvo_util_path_regfree() releases it. It is not changed by matching, so any number of threads
 * may match with one pattern.
 */
typedef struct kelvo_path_pattern {
    uint32_t is_regexp;   /**< 1 for a regular expression, 0 for a literal */
    char* text;           /**< the component as written, its "/" included */
    kelvo_regex compiled; /**< holds a pattern only while `is_regexp` is 1 */
    uint32_t is_last;     /**< 1 in the last element, 0 in all others */
} kelvo_path_pattern;

KELVO_ASSERT_OFFSET(kelvo_path_pattern, is_regexp, 0);
KELVO_ASSERT_OFFSET(kelvo_path_pattern, text, 8);
KELVO_ASSERT_OFFSET(kelvo_path_pattern, compiled, 16);
KELVO_ASSERT_OFFSET(kelvo_path_pattern, is_last, 40);
KELVO_ASSERT_SIZE(kelvo_path_pattern, 48);

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

/**
 * Compiles a path, component by component. A component without regular-expression syntax (as
 * kelvo_util_path_is_regexp() sees it) becomes a literal; one with it matches whole components
 * only.
 *
 * @param path            NUL-terminated text
 * @param out             receives the pattern, released with kelvo_util_path_regfree()
 * @param dot_is_special  not 0 when "." makes a component a regular expression
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM, logged: `path` or `out` is null or `path` is empty
 *   - ::KELVO_ERR_NO_MEMORY: an allocation failed
 *   - ::KELVO_ERR_BAD_REGEXP: the engine refuses a component, or kelvo_regex.h says that it is not
 *     even asked: the component nests too deep (30 groups are the most) or holds a callout
 *
 * The components are taken one after the other, and the first that fails decides.
 *
 * Note: an engine that runs out of memory refuses the component, like one that cannot read it.
 */
KELVO_API kelvo_status kelvo_util_path_regcomp(const char* path, kelvo_path_pattern** out,
                                               uint32_t dot_is_special);

/**
 * Tells whether a path lies within what a pattern covers, or on the way to it: whether their
 * components match one by one until the shorter of the two ends. A path that goes on below the
 * pattern ("cfg/gl/a/b" with "cfg/gl/") matches, and so does one that stops above its end ("cfg/"
 * with "cfg/gl[0-9]/x").
 *
 * A literal component must be equal, its "/" included: the path "gl/" does not match a pattern that
 * ends in "gl". A path's component that ends in "/" never matches a regular expression that is
 * written without. A component whose match would take the engine too long does not match
 * (kelvo_regex.h).
 *
 * @param path     NUL-terminated text
 * @param pattern  from kelvo_util_path_regcomp()
 * @param matches  receives 1 or 0; left alone on failure
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM, logged: an argument is null or `path` is empty
 *   - ::KELVO_ERR_NO_MEMORY: the path could not be copied
 *
 * Note: a component for which the engine itself runs out of memory does not match.
 */
KELVO_API kelvo_status kelvo_util_path_regexec(const char* path, const kelvo_path_pattern* pattern,
                                               uint32_t* matches);

/** Releases a pattern. A null handle does nothing. */
KELVO_API void kelvo_util_path_regfree(kelvo_path_pattern* pattern);

/**
 * Matches a path with a pattern that is compiled for this one use.
 *
 * @param path            NUL-terminated text, as for kelvo_util_path_regexec()
 * @param pattern_path    NUL-terminated text, as for kelvo_util_path_regcomp()
 * @param matches         receives 1 or 0; left alone on failure
 * @param dot_is_special  as for kelvo_util_path_regcomp()
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM, logged: an argument is null or one of the texts is empty
 *   - the status of compiling the pattern, then that of the match
 */
KELVO_API kelvo_status kelvo_util_node_within_regexp(const char* path, const char* pattern_path,
                                                     uint32_t* matches, uint32_t dot_is_special);

/**
 * Copies the components of a path that stand before its first regular expression, where "." is not
 * special. The copy ends in "/", unless it is empty ("a[0-9]/b" gives "") or the whole path, which
 * it is when no component holds regular-expression syntax.
 *
 * @param path    NUL-terminated text
 * @param prefix  receives the copy, released with free()
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM, logged: an argument is null
 *   - ::KELVO_ERR_NO_MEMORY: the copy could not be made
 */
KELVO_API kelvo_status kelvo_util_longest_exact_path(const char* path, char** prefix);

KELVO_EXTERN_C_END

#endif
