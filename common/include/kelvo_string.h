/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_string.h
 * Name encoding: any text as one component of a store path, and back.
 *
 * The store's paths use punctuation for their own syntax. A name that may contain such characters
 * is encoded before it becomes a component: each reserved character becomes '%' and its two
 * lower-case hexadecimal digits. A second layer marks a name with a regex encoding type, a short
 * prefix that says which kind of pattern the name stands for.
 *
 * Reserved are exactly these 25 characters:
 *
 *     ' ` " < > ( ) [ ] { } / \ & ^ ! ? ~ * % = , . + |
 *
 * The blank, letters, digits, '-', '_', ':', '#', '$', ';' and every byte of 0x80 and above stand
 * for themselves. Control characters cannot be encoded. What a control character is, and what the
 * upper case of a digit is, follows the current locale.
 *
 * Encoding is canonical; decoding accepts more than encoding produces: digits of either case,
 * escapes of characters that need none ("%41" for 'A'), and reserved or control characters that
 * stand there as they are. Decoding what was encoded gives the text back.
 *
 *     char* component;
 *     uint32_t characters;
 *     if (kelvo_string_encode("eth0/1 up", &component, &characters) == 0) {
 *         // component is "eth0%2f1 up", characters is 11
 *         char* name;
 *         if (kelvo_string_decode(component, &name, &characters) == 0) {
 *             // name is "eth0/1 up", characters is 9
 *             free(name);
 *         }
 *         free(component);
 *     }
 *
 * Lengths here are characters: they do not count the NUL. They are 32-bit numbers; of a result of
 * 4 GiB or more only the low half is told. Results are released with free(). Nothing is logged.
 */
#ifndef KELVO_STRING_H
#define KELVO_STRING_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** The start that all markers share. */
#define KELVO_REGEX_MARKER_START "CGROUP_"
/** Every marker is this long. */
#define KELVO_REGEX_MARKER_CHARS 11u

/**
 * X(type, marker) for each regex encoding type, in the order in which a reader tries the markers.
 * Types are bits, since one text may carry several markers. Every type that is not listed is
 * written with the first marker.
 *
 * Note: there is no marker for the value 2.
 */
#define KELVO_REGEX_MARKER_LIST(X)                                                                 \
    X(0, "CGROUP_T00_")                                                                            \
    X(1, "CGROUP_T01_")                                                                            \
    X(4, "CGROUP_T03_")                                                                            \
    X(8, "CGROUP_T04_")                                                                            \
    X(16, "CGROUP_T05_")

/** What a reader makes of the type at a marker that it does not know. */
#define KELVO_REGEX_TYPE_UNKNOWN 255u

/**
 * @return 1 when the character is reserved, else 0. The character is taken as a `char`.
 *
 * Note: NUL counts as reserved.
 */
KELVO_API uint32_t kelvo_is_char_reserved(int character);

/**
 * Encodes a text.
 *
 * @param text        the text
 * @param out         receives a new text, released with free()
 * @param out_length  receives its length in characters
 *
 * @return in this order: ::KELVO_ERR_NULL_PARAM when an argument is null; ::KELVO_ERR_NO_MEMORY
 *         when three times the text does not fit into memory; ::KELVO_ERR_INVALID_STRING at a
 *         control character; ::KELVO_ERR_NO_MEMORY when the result cannot be cut to its size; 0
 */
KELVO_API kelvo_status kelvo_string_encode(const char* text, char** out, uint32_t* out_length);

/**
 * Encodes a text with the marker of a regex encoding type before it.
 *
 * @param text        the text
 * @param out         receives a new text, released with free()
 * @param out_length  receives its length in characters
 * @param type        a type of ::KELVO_REGEX_MARKER_LIST; any other is written as type 0
 *
 * @return ::KELVO_ERR_NULL_PARAM when the text is null; ::KELVO_ERR_NO_MEMORY when there is no room
 *         for marker and text; then as kelvo_string_encode()
 */
KELVO_API kelvo_status kelvo_string_encode_regex(const char* text, char** out, uint32_t* out_length,
                                                 int type);

/**
 * Decodes a text. Whatever is not an escape is copied unchecked.
 *
 * @param text        the text; an empty one gives an empty result
 * @param out         receives a new text, released with free()
 * @param out_length  receives its length in characters
 *
 * @return in this order: ::KELVO_ERR_NULL_PARAM when an argument is null; ::KELVO_ERR_NO_MEMORY;
 *         ::KELVO_ERR_INVALID_STRING at a '%' that two hexadecimal digits do not follow, or whose
 *         digits name a control character or a value of 0x80 or more; ::KELVO_ERR_NO_MEMORY when
 *         the result cannot be cut to its size; 0
 */
KELVO_API kelvo_status kelvo_string_decode(const char* text, char** out, uint32_t* out_length);

/**
 * Decodes a text, takes every marker out of it and gathers their types.
 *
 * @param text        the text; markers may stand anywhere in it
 * @param out         receives a new text, released with free()
 * @param out_length  receives its length in characters
 * @param type        the caller sets it to 0; the types found are added as by
 *                    kelvo_get_regex_encoding_type(). When null, types are not gathered
 *
 * @return as kelvo_string_decode(); ::KELVO_ERR_NO_MEMORY when there is no room for the result; 0
 *
 * Whatever begins with ::KELVO_REGEX_MARKER_START is taken out as a marker of 11 characters; one
 * that the end of the text cuts short is taken out as far as it goes, and is unknown.
 *
 * Note: when the result has no room, the decoded text, still with its markers, has been handed out
 * in *out with its length, and the caller releases it.
 */
KELVO_API kelvo_status kelvo_string_decode_regex(const char* text, char** out, uint32_t* out_length,
                                                 uint32_t* type);

/**
 * Adds the type of the marker at the beginning of a text to *type. Does nothing when an argument is
 * null.
 *
 * The first marker that matches adds its type's bit, if it has one. At most 11 characters of the
 * text are read, and none beyond its NUL.
 *
 * Note: a text that begins with none of the markers does not add a bit: it sets *type to 255 and
 * so overwrites what was gathered before.
 */
KELVO_API void kelvo_get_regex_encoding_type(const char* text, uint32_t* type);

/** @return 1 when ::KELVO_REGEX_MARKER_START occurs anywhere in the text, else 0; 0 for null. */
KELVO_API uint32_t kelvo_is_string_regex_encoded(const char* text);

KELVO_EXTERN_C_END

#endif
