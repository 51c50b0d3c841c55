/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_process.h
 * Small utilities of a process: priority, reserved memory, text copies, job ids, time since boot,
 * support data.
 *
 * Nothing here logs. Everything is reentrant; the priority functions act on the calling process.
 */
#ifndef KELVO_PROCESS_H
#define KELVO_PROCESS_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/**
 * Reads the scheduling priority of the calling process.
 * @param priority  receives it; must not be null
 * @return ::KELVO_ERR_OS_CALL when the operating system refuses; 0
 */
KELVO_API kelvo_status kelvo_util_get_priority(uint32_t* priority);

/**
 * Sets the scheduling priority of the calling process and keeps its policy. Which priorities are
 * valid depends on the policy: under the ordinary one only 0 is.
 * @return ::KELVO_ERR_OS_CALL when the operating system refuses; 0
 */
KELVO_API kelvo_status kelvo_util_set_priority(uint32_t priority);

/**
 * Tells whether memory is reserved for the process.
 * @param flag  receives 1; must not be null
 * @return 0
 *
 * Note: the flag is fixed, whatever kelvo_util_set_rsvd_mem_flag() was given.
 */
KELVO_API kelvo_status kelvo_util_get_rsvd_mem_flag(uint32_t* flag);

/** Accepts a value for the reserved-memory flag. @return 0. Note: it does nothing. */
KELVO_API kelvo_status kelvo_util_set_rsvd_mem_flag(uint32_t flag);

/**
 * Copies a text, accounting the memory to the place of the call: alloc_with_caller() is given the
 * address to which this function returns.
 *
 * @param text  must not be null
 * @return the copy, released with free(); null when there is no memory
 *
 * The size is a 32-bit number. A text of 4,294,967,295 characters or more does not fit into it and
 * is not copied: the result is null.
 */
KELVO_API char* kelvo_strdup(const char* text);

/**
 * Looks a job id up in an array.
 * @param job_id   compared bit for bit with the entries
 * @param count    number of entries; with 0 the array is not looked at
 * @param job_ids  the entries
 * @return 1 when one of them equals the job id, else 0
 */
KELVO_API uint32_t kelvo_util_jid_in_array(int32_t job_id, uint32_t count, const uint32_t* job_ids);

/**
 * Tells the time since boot, by the platform's fast clock.
 * @param out  two words: receives the seconds, then the microseconds (nanoseconds divided by 1000,
 *             rounded toward zero). Both are 0 when the platform has no such clock.
 */
KELVO_API void kelvo_get_elapsed_time_since_boot(int64_t* out);

/**
 * Starts the fast collection of the store's support data, on the card types that collect it:
 * route processor, distributed processor and standby processor. Elsewhere it does nothing.
 *
 * @param admin_plane  non-zero: collect for the admin plane
 *
 * The platform's script "techdump_fast" is started with a time limit of 1800 seconds; the call
 * then sleeps 2 seconds, so that the collection is under way when it returns.
 *
 * @return the process manager's status when the script could not be started (at once); 0
 */
KELVO_API kelvo_status kelvo_util_collect_showtech(uint32_t admin_plane);

KELVO_EXTERN_C_END

#endif
