/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_logfile.h
 * The private log file of a process: time-stamped lines in a text file of bounded size, written
 * from any thread without ever waiting.
 *
 * A line reads
 *
 *     03/07 14:05:09.042 211:1234 nr:lookup done
 *
 * that is local month and day, local time with milliseconds, the process's job id and the calling
 * thread's id, then the caller's tag, a colon, and at once the caller's message.
 *
 * The file holds about ::KELVO_LOGFILE_LIMIT bytes. Once more than that have been written, the next
 * line is given up and writing goes back to the start of the file; the file is not cut, so older
 * lines remain behind the newer ones until they are overwritten.
 *
 * Nothing is ever reported to the caller: without a file, without memory or without a clock, and
 * while another thread is writing, lines are dropped. A failure to open the file, or to release its
 * lock, is logged on the system log.
 */
#ifndef KELVO_LOGFILE_H
#define KELVO_LOGFILE_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** Bytes written after which the file starts again. */
#define KELVO_LOGFILE_LIMIT 8388608

/** Bytes of a line at most, with a NUL in place of its newline; a longer one is cut. */
#define KELVO_LOGFILE_LINE_BYTES 1024

/** Bytes of a line's beginning, up to and including the colon, at most. */
#define KELVO_LOGFILE_PREFIX_CHARS 255

/**
 * Opens the log file of the process. Called once, before other threads write to it; the library
 * never closes it.
 *
 * A file that exists is continued at its end, and its size counts as written. One that does not
 * exist is created. A failure to open it is logged as "Failed to open log file ..."; it may be
 * called again then. While a file is open, nothing happens.
 *
 * A card of platform type 4 gets no log file: whatever it writes is dropped.
 *
 * @param path  NUL-terminated name of the file
 *
 * Note: on such a card a file that was open is forgotten, but stays open.
 */
KELVO_API void kelvo_init_logfile(const char* path);

/**
 * Writes a line. Never waits and does not allocate.
 *
 * @param tag     NUL-terminated text that says who writes
 * @param format  as for printf(), followed by its arguments; without a newline
 *
 * Note: threads that write at the same time share one buffer. While one of them writes its line to
 * the file, the others lose theirs, but may have mixed their text into it: the price of never
 * waiting.
 */
KELVO_API void kelvo_logfile(const char* tag, const char* format, ...) KELVO_PRINTF(2, 3);

KELVO_EXTERN_C_END

#endif
