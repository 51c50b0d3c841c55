// SPDX-License-Identifier: Apache-2.0
//
// The message-catalogue logger: one line per message, to standard error or to syslog(3). A message
// passes the level of the configuration first and its own rate limit then.
#include <syslog.h>
#include <unistd.h>

#include <cerrno>

#include "kelvo_platform_config.h"
#include "kelvo_platform_limit.h"
#include "kelvo_platform_line.h"

namespace kelvo::host {
namespace {

constexpr std::uint32_t priority_of(int severity) noexcept {
    switch (severity) {
        case 6:
            return LOG_NOTICE;
        case 7:
            return LOG_ERR;
        default:
            return LOG_WARNING;
    }
}

void write_line(std::uint32_t destination, std::uint32_t priority, Line& line) noexcept {
    if (destination == kLogToSyslog) {
        syslog(LOG_DAEMON | static_cast<int>(priority), "%s", line.text());
    } else {
        line.write_to(STDERR_FILENO);
    }
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

void qor_errmsg(const qor_msg_rec* record, int severity, ...) {
    const KeepErrno keep;
    const Config* const config = good_config();
    const std::uint32_t priority = priority_of(severity);
    const std::uint32_t level = config != nullptr ? config->log_level.value : LOG_NOTICE;
    if (priority > level) return;
    std::uint32_t suppressed = 0;
    if (record->limit != nullptr && !passes_limit(*record->limit, suppressed)) return;

    const std::uint32_t destination =
        config != nullptr ? config->log_destination.value : kLogToStandardError;
    Line line;
    if (destination == kLogToStandardError) {
        line.add("%s[%d]: ", program_invocation_short_name, getpid());
    }
    line.add("%s/%s/%s severity %d: ", record->group, record->facility, record->mnemonic, severity);
    va_list arguments;
    va_start(arguments, severity);
    line.add_list(record->format, arguments);
    va_end(arguments);
    if (suppressed != 0) line.add(" (%u like it were suppressed)", suppressed);
    write_line(destination, priority, line);
}
