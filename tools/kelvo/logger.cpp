// SPDX-License-Identifier: Apache-2.0
#include "logger.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

#include "kelvo_platform.h"

namespace {

std::vector<std::string> logged;

}  // namespace

// Called by the library in place of the platform's service.
void qor_errmsg(const qor_msg_rec* record, int severity, ...) {
    va_list arguments;
    va_start(arguments, severity);
    char text[2048];
    std::vsnprintf(text, sizeof text, record->format, arguments);
    va_end(arguments);
    logged.push_back(std::string(record->mnemonic) + ": " + text);
}

std::vector<std::string> kelvo::tool::take_logged() {
    return std::exchange(logged, {});
}
