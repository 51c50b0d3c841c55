// SPDX-License-Identifier: Apache-2.0
//
// The memory-status dump, taken for a process that is about to stop for lack of memory. So
// everything here lies on the stack.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "kelvo_common_msg.h"
#include "kelvo_platform.h"
#include "kelvo_report.h"

using namespace kelvo;

namespace {

constexpr unsigned kSecondsToWrite = 3;
constexpr std::size_t kTimestampBytes = 31;
constexpr std::size_t kFileNameBytes = 256;

/// Writes the local date and time. A time of which the locale makes too much is left out.
void tell_time(char* timestamp) {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    if (localtime_r(&now, &local) == nullptr ||
        std::strftime(timestamp, kTimestampBytes, "%Y%m%d-%X", &local) == 0) {
        timestamp[0] = '\0';
    }
}

/// Names a file on the boot medium. A name that does not fit is used as far as it goes.
void name_file(char* name, const char* media, const char* timestamp, const char* suffix) {
    (void)std::snprintf(name, kFileNameBytes, "%s%s%s%s", media, "RKTmz40263_", timestamp, suffix);
}

/// Runs a tool with no input and its output appended to a file. The descriptors stay open: the
/// process is about to end.
void run_into_file(const char* tool, char* const arguments[], const char* file) {
    const int input = open("/dev/null", O_RDONLY);
    const int output = open(file, O_WRONLY | O_CREAT | O_APPEND, 0644);
    const int descriptors[3] = {input, output, output};
    if (spawn_process(tool, arguments, descriptors) == -1) {
        report_internal("kelvo failed to spawn a process", static_cast<kelvo_status>(errno));
    }
}

}  // namespace

void show_system_mem_status(void) {
    char timestamp[kTimestampBytes];
    tell_time(timestamp);
    const char* const media = platform_get_boot_media(1);
    if (media == nullptr) {
        report_internal("Cannot get boot media", static_cast<kelvo_status>(errno));
        return;
    }
    char status_file[kFileNameBytes];
    char watchdog_file[kFileNameBytes];
    name_file(status_file, media, timestamp, ".mem.status");
    name_file(watchdog_file, media, timestamp, ".mem.status.watchdog");

    char report_name[] = "memreport_ng";
    char report_summary[] = "-s";
    char report_detail[] = "-d";
    char* const report[] = {report_name, report_summary, report_detail, nullptr};
    run_into_file(report_name, report, status_file);

    char watchdog_name[] = "wdog_report";
    char* const watchdog[] = {watchdog_name, nullptr};
    run_into_file(watchdog_name, watchdog, watchdog_file);

    sleep(kSecondsToWrite);
}
