// SPDX-License-Identifier: Apache-2.0
//
// Starting programs that nobody has to wait for.
//
// A child of this process would have to be waited for here, where it would meet whatever waiting
// the process does for its own children; and it would raise SIGCHLD. So the program is started by a
// short-lived process in between, which raises no signal and is not seen by wait(): when it ends,
// the program becomes a child of the system's reaper. That process shares this one's memory and
// runs only while the calling thread stands still, as in vfork(), which also makes starting
// programs cheap in a process of any size, and possible in one that has run out of memory.
#pragma once

#include <spawn.h>
#include <sys/types.h>

namespace kelvo::host {

/// How a program is started: found in PATH, with these descriptors as its standard input, output
/// and error and no others, no signal blocked or ignored.
struct Launch {
    const char* program;
    char* const* arguments;
    const int* descriptors;  ///< three
    bool own_session;        ///< makes it the leader of a session, and of a process group
};

/// @return the process id, or -1 with errno set
pid_t launch(const Launch& how) noexcept;

}  // namespace kelvo::host
