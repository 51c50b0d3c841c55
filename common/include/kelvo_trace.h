/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_trace.h
 * A developer's call-flow trace: one line per call on standard output, indented by how deep the
 * calling thread is.
 *
 *     int open_session(const char* name) {
 *         KELVO_TRACE_ENTER("open_session %s", name);
 *         KELVO_TRACE_NOTE("%u are open", session_count);
 *         const int session = connect_to(name);
 *         KELVO_TRACE_EXIT("session %d", session);
 *         return session;
 *     }
 *
 * prints (the location right-aligned in 30 columns, one blank of indentation per level):
 *
 *     [14:05:09][0x00000010][004711][4711]                 src/session.c #00002  open_session a
 *     [14:05:09][0x00000010][004711][4711]                 src/session.c #00003   3 are open
 *     [14:05:09][0x00000010][004711][4711]                 src/session.c #00005  session 7
 *
 * A line is: local time, node id, process id, thread id, location, "#" and the line number, as many
 * blanks as the depth (at most 20), one more blank or "!" when the depth exceeds 20, the message, a
 * newline. It has at most 511 bytes: a message that would be longer is cut. One that printf()
 * cannot write is left out. The thread id is the system's (gettid()).
 *
 * A thread begins at depth 1. An ENTER is shown at the depth before it and raises it; an EXIT
 * lowers it and is shown at the depth after. Between the lines stand lines that begin with
 * "TRACE_INFO":
 *
 *     TRACE_INFO: [004711|4711] **** started tracing ****
 *     TRACE_INFO: [004711|4711] More EXIT statements than ENTER statements!
 *     TRACE_INFO: [004711|4711] Need to increase MAX_THREADS (curr 16) - losing output
 *
 * for a thread that is not known yet, for an EXIT at depth 1, and for each call of a thread that
 * the table has no room for.
 *
 * One mutex serialises everything, and each line is flushed: lines are whole. A thread that has to
 * wait for it tells the platform's thread monitor.
 *
 * Note: the finished line is used as a format once more, so a "%" in it is interpreted again.
 * "%%%%" in a format prints one "%"; any other "%" that the location or the values put into the
 * line reads arguments that are not there, which is undefined and may end the process. Keep "%" out
 * of them.
 *
 * Note: a line that fills its 511 bytes has no newline.
 */
#ifndef KELVO_TRACE_H
#define KELVO_TRACE_H

#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/** Threads that the table has room for. */
#define KELVO_TRACE_MAX_THREADS 16u

/** Kinds of calls. Every other number is a note too. */
enum {
    KELVO_TRACE_KIND_NOTE = 0,
    KELVO_TRACE_KIND_ENTER = 1, /**< raises the thread's depth */
    KELVO_TRACE_KIND_EXIT = 2   /**< lowers it */
};

/**
 * Writes one trace line. KELVO_TRACE_ENTER() and its neighbours fill in the first three arguments.
 *
 * @param kind      KELVO_TRACE_KIND_...
 * @param location  where the call stands; of a longer text the last 30 characters are shown
 * @param line      the line number there
 * @param format    the message, as for printf()
 *
 * @return 0
 *
 * The output is a duplicate of descriptor 1, taken when the first line is written and kept. Without
 * one nothing is written, and the next call tries again. When the time cannot be told, the line is
 * dropped, but the depth changes all the same.
 *
 * When the mutex cannot be locked or unlocked, "Kelvo TRACE_FATAL: Couldn't lock mutex (...)!" (or
 * "unlock") goes to standard error and the process ends with exit(57005), of which the system shows
 * the low 8 bits, 173.
 *
 * Note: a thread keeps its row after it has ended. A new thread that is given its id inherits its
 * depth.
 *
 * Note: the line of a thread that the table has no room for shows thread and depth of the call
 * before it, whichever thread made that.
 *
 * Note: in the first line of a thread, the "!" is that of the line before, whichever thread wrote
 * it.
 *
 * Note: the process id is read once. A child made by fork() shows the one its parent has shown.
 */
KELVO_API uint32_t trace(uint32_t kind, const char* location, uint32_t line, const char* format,
                         ...) KELVO_PRINTF(4, 5);

/** Traces the entry into a function: KELVO_TRACE_ENTER("name %d", argument). */
#define KELVO_TRACE_ENTER(...)                                                                     \
    ((void)trace(KELVO_TRACE_KIND_ENTER, __FILE__, __LINE__, __VA_ARGS__))

/** Traces the way out of a function, one for each KELVO_TRACE_ENTER(). */
#define KELVO_TRACE_EXIT(...) ((void)trace(KELVO_TRACE_KIND_EXIT, __FILE__, __LINE__, __VA_ARGS__))

/** Traces something on the way. */
#define KELVO_TRACE_NOTE(...) ((void)trace(KELVO_TRACE_KIND_NOTE, __FILE__, __LINE__, __VA_ARGS__))

KELVO_EXTERN_C_END

#endif
