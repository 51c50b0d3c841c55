/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_regex.h
 * The regular-expression engine of the store, under names of its own.
 *
 * The engine is Oniguruma, through its POSIX-style interface. The names keep it apart from the C
 * library's <regex.h>: a process may use both, each with its own patterns, without either noticing.
 *
 * The engine's process-wide defaults are left as they are. Unless the process changes them, a
 * pattern is in the engine's own extended syntax, every byte is a character, and "^" and "$" stand
 * at the beginning and end of any line of the text, not only at its beginning and end.
 *
 * Patterns and texts come from clients, so the engine is not given everything:
 *
 * - Refused is what could overrun the stack or hold the compiler up: more than 32 groups nested in
 *   each other, and fewer where alternatives, quantifiers, options switched in the middle of a
 *   group, classes inside classes, absent operators "(?~...)" or conditions add to the height of
 *   the tree; quantifiers one upon the other; escapes of control characters nested more than 32
 *   deep; a nesting that calls of groups "\g<...>" make too deep, each of which may visit all of it
 *   once more. What is accepted compiles on a stack of 64 KiB.
 * - Refused are callouts, "(*...)" and "(?{...})", and "[:" in a class where no named class
 *   follows.
 * - A match may give up only so many choices, fewer the longer the text is and the more often the
 *   pattern may go over it, and may stack only 20480 of them. One that comes to such a limit does
 *   not match. That keeps each match below about 5 milliseconds and 2 MiB.
 *
 * These bounds are sound for the engine's default syntax, and for basic syntax.
 */
#ifndef KELVO_REGEX_H
#define KELVO_REGEX_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** Flags of kelvo_regcomp(), in the engine's bits. */
enum {
    KELVO_REGEX_EXTENDED = 0x10, /**< extended syntax */
    KELVO_REGEX_NOSUB = 0x20     /**< only whether a text matches is asked, not where */
};

/** A compiled pattern. Callers provide the room; what is in it is the engine's. */
typedef struct kelvo_regex {
    void* engine;    /**< what the engine compiled */
    size_t groups;   /**< groups of the pattern */
    int flags;       /**< as given to kelvo_regcomp(), below what the library adds */
    uint8_t cost[4]; /**< what a match may cost, by the length of the text */
} kelvo_regex;

KELVO_ASSERT_OFFSET(kelvo_regex, groups, 8);
KELVO_ASSERT_OFFSET(kelvo_regex, flags, 16);
KELVO_ASSERT_OFFSET(kelvo_regex, cost, 20);
KELVO_ASSERT_SIZE(kelvo_regex, 24);

/** Where a group matched: offsets in bytes from the start of the text, both -1 where it did not. */
typedef struct kelvo_regex_match {
    int start; /**< first byte */
    int end;   /**< one past the last byte */
} kelvo_regex_match;

KELVO_ASSERT_OFFSET(kelvo_regex_match, end, 4);
KELVO_ASSERT_SIZE(kelvo_regex_match, 8);

/**
 * Compiles a pattern.
 *
 * @param compiled  receives the pattern; released with kelvo_regfree() after success, holds nothing
 *                  to release after a failure
 * @param pattern   NUL-terminated text
 * @param flags     KELVO_REGEX_...
 * @return 0, or the engine's error number (not a ::kelvo_status): 12 when memory ran out; a pattern
 *         that is not given to the engine has that of a bad pattern, 2
 *
 * Note: Oniguruma 6.9.8 releases a block twice when memory runs out while it reads alternatives,
 * possessive quantifiers, absent operators or texts whose letters have cases of several
 * characters. The C library ends the process then.
 */
KELVO_API int kelvo_regcomp(kelvo_regex* compiled, const char* pattern, int flags);

/**
 * Matches a text. Any number of threads may use one pattern at a time.
 *
 * @param compiled  from kelvo_regcomp()
 * @param string    NUL-terminated text
 * @param nmatch    elements of `matches`; 0 when nobody asks where the text matches
 * @param matches   receives the places of the whole match and of the groups, unless the pattern was
 *                  compiled with ::KELVO_REGEX_NOSUB; elements beyond the groups, and all of them
 *                  when the text does not match, become -1; may be null when nmatch is 0
 * @param eflags    the engine's own; 0 for none
 * @return 0 when the text matches, otherwise the engine's error number (not a ::kelvo_status): 1
 *         when it does not, 12 when memory ran out, which leaves the places alone
 *
 * A text that might match, but only at too great a cost, does not match. A debug line says so while
 * the flag "node-resolver" is on (kelvo_debug.h).
 */
KELVO_API int kelvo_regexec(const kelvo_regex* compiled, const char* string, size_t nmatch,
                            kelvo_regex_match* matches, int eflags);

/** Releases what a compiled pattern holds. The room itself is the caller's. */
KELVO_API void kelvo_regfree(kelvo_regex* compiled);

KELVO_EXTERN_C_END

#endif
