/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_util_compare.h
 * The store's order of names and paths, a tokenizer, and equality of values.
 *
 * Within one component of a path a shorter name stands before a longer one, and only names of equal
 * length are told apart by their bytes. So numbered names stand in the order of their numbers ("2"
 * before "10") although nobody parses them.
 */
#ifndef KELVO_UTIL_COMPARE_H
#define KELVO_UTIL_COMPARE_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/**
 * Compares two names: first by length, then by their first byte that differs.
 *
 * @param a       NUL-terminated text
 * @param b       NUL-terminated text
 * @param result  receives -1 when `a` is first, 1 when `b` is, 0 when they are equal
 * @return 0; ::KELVO_ERR_NULL_PARAM, logged, when an argument is null
 *
 * Note: bytes are compared as signed numbers, so those of 0x80 and above stand before ASCII.
 */
KELVO_API kelvo_status kelvo_util_compare_names(const char* a, const char* b, int32_t* result);

/**
 * Compares two paths component by component, each with its "/", in the order of
 * kelvo_util_compare_names(). The first component that differs decides; a path that ends where the
 * other goes on is first.
 *
 * A path of fewer than 256 characters costs no allocation, a longer one is copied.
 *
 * @param a       NUL-terminated text
 * @param b       NUL-terminated text
 * @param result  receives -1 when `a` is first, 1 when `b` is, 0 when they are equal; left alone on
 *                failure
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM, logged: an argument is null
 *   - ::KELVO_ERR_NO_MEMORY: a long path could not be copied
 *
 * Note: the "/" takes part in the comparison, as in "ab/" and "abc", which are equally long.
 */
KELVO_API kelvo_status kelvo_util_compare_paths(const char* a, const char* b, int32_t* result);

/**
 * Cuts the next token off a string, in place. All state is in `rest`, so any number of strings may
 * be cut at a time.
 *
 * The token ends before the first character that is one of the delimiters; this one is overwritten
 * with NUL, and the next token begins after it. Without such a character the token is all that is
 * left.
 *
 * @param str          the string, or null to go on at `*rest`
 * @param delims       NUL-terminated set of delimiters; may be empty
 * @param rest         receives where the next token begins, or null when this was the last one
 * @param delim_found  receives the delimiter that was overwritten; left alone when there was none;
 *                     may be null
 * @return the token, NUL-terminated
 *
 * A null `str` with a null `*rest` ends the process on an assertion.
 *
 * Note: unlike strtok(), leading delimiters are not skipped: two in a row have an empty token
 * between them.
 */
KELVO_API char* kelvo_util_strtok(char* str, const char* delims, char** rest, char* delim_found);

/**
 * Compares two item names token by token. Tokens are separated by "/", and by "," when
 * `commas_separate` is not 0.
 *
 * For each pair of tokens, in this order: when only one name goes on behind its token, its
 * delimiter counts as one more character of that token; the shorter token is first; of two equally
 * long ones the first byte that differs decides (unsigned); of two equal ones the one followed by
 * "/" stands before the one followed by ",".
 *
 * @param a                NUL-terminated text
 * @param b                NUL-terminated text
 * @param commas_separate  not 0 when "," separates tokens too
 * @return negative when `a` is first, positive when `b` is, 0 when they are equal; -1 and 1, except
 *         where bytes decide: then their difference
 *
 * The names are left unchanged; a null one counts as empty. No allocation.
 */
KELVO_API int32_t kelvo_util_item_name_compare(char* a, char* b, int32_t commas_separate);

/** The value type whose values are serialised records: a header and a payload. */
#define KELVO_VALUE_TYPE_RECORD 7

/**
 * Tells whether two values of one type and length are the same.
 *
 * For value type ::KELVO_VALUE_TYPE_RECORD only the payloads are compared; the bytes before them
 * are ignored. The platform says where a payload begins (record_payload_offset()). Records whose
 * payloads begin at different offsets are different, and so are those whose payload begins beyond
 * `length`.
 *
 * @param lhs         value
 * @param rhs         value
 * @param length      bytes of each
 * @param value_type  their type
 * @param equal       receives 1 or 0; it is 0 when the platform fails
 * @return 0, or in this order:
 *   - ::KELVO_ERR_NULL_PARAM, not logged: `lhs`, `rhs` or `equal` is null
 *   - the platform's status, for `lhs`, then for `rhs`
 */
KELVO_API kelvo_status kelvo_compare_data(const uint8_t* lhs, const uint8_t* rhs, uint32_t length,
                                          int32_t value_type, uint32_t* equal);

KELVO_EXTERN_C_END

#endif
